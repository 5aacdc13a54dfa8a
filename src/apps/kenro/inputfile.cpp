#include "inputfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

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

bool openInput(QFile &file, QString &why)
{
    why = unreadableFileReason(file.fileName());
    if (why.isEmpty() && !file.open(QIODevice::ReadOnly))
        why = file.errorString();
    return why.isEmpty();
}

bool saveFile(QString const &path, std::function<bool(QSaveFile &, QString &)> const &write,
              QString &why)
{
    why = unwritableFileReason(path);
    if (!why.isEmpty())
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        why = file.errorString();
        return false;
    }
    if (!write(file, why)) {
        if (why.isEmpty())
            why = file.errorString();
        file.cancelWriting();
        return false;
    }
    if (!file.commit()) {
        why = file.errorString();
        return false;
    }
    return true;
}

bool saveBytes(QString const &path, QByteArrayView bytes, QString &why)
{
    return saveFile(
        path,
        [bytes](QSaveFile &file, QString &) {
            return file.write(bytes.data(), bytes.size()) == bytes.size();
        },
        why);
}

bool prepareOutputFolder(QString const &path, QString &why)
{
    QFileInfo const info(path);
    if (info.exists() && !info.isDir()) {
        why = QStringLiteral("is a file, a folder was expected");
        return false;
    }
    if (!info.exists() && !QDir().mkpath(path)) {
        why = QStringLiteral("cannot make the folder");
        return false;
    }
    return true;
}

bool looksBinary(QString const &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QByteArray const head = file.read(8192);
    if (head.startsWith("\xff\xfe") || head.startsWith("\xfe\xff"))
        return false;
    return head.contains('\0');
}

} // namespace Kenro::Cli
