#pragma once

#include "sffcontent.h"

#include <QString>

namespace Kenro::Ikemen {

/**
 * Reads sprite archives of versions 1.01, 2.00 and 2.01 into an SffContent,
 * decoding every image. A damaged archive is refused as a whole, with a
 * message that names the fault and where it lies; nothing is read outside
 * the bytes given.
 */
class SffReader
{
public:
    /// Reads the archive \a data into \a content; false, content undefined, on a fault.
    bool read(QByteArray const &data, SffContent &content);
    /// What was wrong with the last archive refused.
    QString errorString() const;

private:
    bool readVersion1(QByteArray const &data, SffContent &content);
    bool readVersion2(QByteArray const &data, SffContent &content);
    bool fail(QString const &message);

    QString m_error;
};

} // namespace Kenro::Ikemen
