#pragma once

#include "sndbank.h"

#include <QString>

class QIODevice;

namespace Kenro::Ikemen {

/**
 * Writes a sound bank in the layout that the games' own tools make: the
 * header padded to 512 bytes (or to its kept comment), then the members one
 * after the other, the last one linking to the end of the file.
 */
class SndWriter
{
public:
    /**
     * Writes \a bank to \a device, which must be open for writing. False when
     * the bank is too large for the offsets of the format or the device
     * refuses bytes; errorString() then tells which.
     */
    bool write(SndBank const &bank, QIODevice *device);
    /// The size of the file that write() makes of \a bank.
    static qint64 fileSize(SndBank const &bank);
    QString errorString() const;

private:
    bool put(QIODevice *device, QByteArrayView bytes);

    QString m_error;
};

} // namespace Kenro::Ikemen
