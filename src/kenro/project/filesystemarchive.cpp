#include <kenro/project/filesystemarchive.h>

#include "file_p.h"

#include <QFileInfo>

namespace Kenro {

FileSystemArchive::FileSystemArchive() = default;
FileSystemArchive::~FileSystemArchive() = default;

FileSystemArchive &FileSystemArchive::instance()
{
    // Never destroyed: devices may still be committing while the process ends.
    static FileSystemArchive *archive = new FileSystemArchive;
    return *archive;
}

QString FileSystemArchive::name()
{
    return QString();
}

QString FileSystemArchive::path()
{
    return QString();
}

QString FileSystemArchive::absoluteFilePath(QString const &name)
{
    return name.isEmpty() ? QString() : QFileInfo(name).absolutePath();
}

QString FileSystemArchive::absoluteFileName(QString const &name)
{
    return name.isEmpty() ? QString() : QFileInfo(name).absoluteFilePath();
}

QStringList FileSystemArchive::entries(QString const &path, QStringList nameFilters,
                                       QFlags<QDir::Filter> filter, QFlags<QDir::SortFlag> sort)
{
    return QDir(path).entryList(nameFilters, filter | QDir::NoSymLinks | QDir::NoDotAndDotDot,
                                sort);
}

QIODevice *FileSystemArchive::openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode)
{
    QFileInfo const info(name);
    if (mode & QIODevice::WriteOnly) {
        if (!info.absoluteDir().exists())
            QDir().mkpath(info.path());
    } else if (!info.exists()) {
        return nullptr;
    }
    auto *file = new File(name);
    if (!file->open(mode)) {
        delete file;
        return nullptr;
    }
    return file;
}

void FileSystemArchive::closeFile(QIODevice *device)
{
    if (!device)
        return;
    if (auto *file = qobject_cast<QFile *>(device))
        file->flush();
    delete device; // File commits in its destructor
}

void FileSystemArchive::discardFile(QIODevice *device)
{
    if (!device)
        return;
    if (auto *file = dynamic_cast<File *>(device))
        file->discard();
    delete device;
}

bool FileSystemArchive::removeFile(QString const &name)
{
    return QFile::remove(name);
}

bool FileSystemArchive::renameFile(QString const &from, QString const &to)
{
    return QFile::rename(from, to);
}

void FileSystemArchive::flush() {}

bool FileSystemArchive::isReadOnly() const
{
    return false;
}

bool FileSystemArchive::isWritable(QString const &name) const
{
    QFileInfo const info(name);
    return !info.exists() || info.isWritable();
}

bool FileSystemArchive::fileExists(QString const &name) const
{
    return QFile::exists(name);
}

bool FileSystemArchive::directoryExists(QString const &name) const
{
    return QDir(name).exists();
}

void FileSystemArchive::free() {}

} // namespace Kenro
