#pragma once

#include <kenro/imaging/rgb.h>

#include <QByteArray>

namespace Kenro::Ikemen {

// A character's palette file (.act): 256 RGB triples, the last colour of the
// palette first, as the runtime's tools write them.

/// The palette held by \a data into \a colors, colour 0 transparent; false unless \a data is 768 bytes or more.
bool readAct(QByteArray const &data, RGBA (&colors)[256]);
/// The 768 bytes of a palette file for \a colors.
QByteArray writeAct(RGBA const (&colors)[256]);

} // namespace Kenro::Ikemen
