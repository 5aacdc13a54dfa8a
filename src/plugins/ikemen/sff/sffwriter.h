#pragma once

#include "sffcontent.h"

#include <QString>
#include <QStringList>

namespace Kenro::Ikemen {

/**
 * Writes an SffContent as a sprite archive of a chosen version. Images read
 * from a version 2 archive and left untouched keep their stored bytes; others
 * are encoded anew: RLE8 for indexed images and PNG for true colour in
 * version 2, PCX in version 1.01.
 */
class SffWriter
{
public:
    /**
     * The archive bytes of \a content in \a version, or an empty array, with
     * errorString(), when that version cannot hold the content.
     */
    QByteArray write(SffContent const &content, SffVersion version);
    /// Why the last write gave nothing.
    QString errorString() const;
    /// What the last write had to leave out, one line each.
    QStringList warnings() const;

private:
    QByteArray writeVersion1(SffContent const &content);
    QByteArray writeVersion2(SffContent const &content, SffVersion version);
    QByteArray fail(QString const &message);

    QString m_error;
    QStringList m_warnings;
};

} // namespace Kenro::Ikemen
