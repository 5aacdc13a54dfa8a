#pragma once

#include <kenro/project/archive.h>

namespace Kenro {

/**
 * The ordinary file system as an archive: a process-wide singleton that is
 * never destroyed by release(). Writing over an existing file goes to a
 * temporary sibling that replaces the target when the device is closed.
 */
class KENRO_EXPORT FileSystemArchive final : public Archive
{
public:
    /// The singleton, created at first use; safe from any thread.
    static FileSystemArchive &instance();

    QString name() override;
    QString path() override;
    QString absoluteFilePath(QString const &name) override;
    QString absoluteFileName(QString const &name) override;
    using Archive::entries;
    QStringList entries(QString const &path, QStringList nameFilters, QFlags<QDir::Filter> filter,
                        QFlags<QDir::SortFlag> sort) override;
    QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) override;
    void closeFile(QIODevice *device) override;
    void discardFile(QIODevice *device) override;
    bool removeFile(QString const &name) override;
    bool renameFile(QString const &from, QString const &to) override;
    void flush() override;
    bool isReadOnly() const override;
    bool isWritable(QString const &name) const override;
    bool fileExists(QString const &name) const override;
    bool directoryExists(QString const &name) const override;

private:
    FileSystemArchive();
    ~FileSystemArchive() override;
    void free() override;
};

} // namespace Kenro
