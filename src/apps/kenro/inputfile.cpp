#include "inputfile.h"

#include <QFileInfo>

namespace Kenro::Cli {

QString unreadableFileReason(QString const &path)
{
    QFileInfo const info(path);
    if (!info.exists())
        return QStringLiteral("no such file");
    if (info.isDir())
        return QStringLiteral("is a directory, a file was expected");
    if (!info.isReadable())
        return QStringLiteral("permission denied");
    return QString();
}

QString unwritableFileReason(QString const &path)
{
    QFileInfo const info(path);
    if (info.isDir())
        return QStringLiteral("is a directory, a file was expected");
    QFileInfo const folder(info.absolutePath());
    if (!folder.isDir())
        return QStringLiteral("no such directory: %1").arg(folder.filePath());
    if (info.exists() && !info.isWritable())
        return QStringLiteral("permission denied");
    if (!folder.isWritable())
        return QStringLiteral("permission denied: %1").arg(folder.filePath());
    return QString();
}

} // namespace Kenro::Cli
