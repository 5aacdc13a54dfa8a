#pragma once

#include <kenro/project/object.h>

#include <QDir>
#include <QIODevice>
#include <QString>
#include <QStringList>

namespace Kenro {

/**
 * An abstract, reference-counted file store addressed by plain path strings.
 * A new archive counts 1; release() disposes of it through free() at zero,
 * except for the file-system archive, which lives for the whole process.
 */
class KENRO_EXPORT Archive : public Object
{
public:
    Archive();
    Archive(Archive const &);
    Archive &operator=(Archive const &);

    /// Drops one reference; at zero calls free(), unless this is the file system.
    void release() final;
    ~Archive() override;

    /// Display name of the store.
    virtual QString name() = 0;
    /// Path on disk of the store as a whole; the base under which backups are kept.
    virtual QString path() = 0;
    /// Absolute directory of the entry \a name.
    virtual QString absoluteFilePath(QString const &name) = 0;
    /// Absolute path of the entry \a name.
    virtual QString absoluteFileName(QString const &name) = 0;
    /// Names inside the directory \a path, as QDir::entryList would give them.
    virtual QStringList entries(QString const &path, QStringList nameFilters,
                                QFlags<QDir::Filter> filter, QFlags<QDir::SortFlag> sort) = 0;
    /// A device open in \a mode, or null when the entry cannot be opened.
    virtual QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) = 0;
    /// Ends a device given out by openFile() and commits what was written.
    virtual void closeFile(QIODevice *device) = 0;
    /// Ends a device and throws away what was written.
    virtual void discardFile(QIODevice *device) = 0;
    virtual bool removeFile(QString const &name) = 0;
    virtual bool renameFile(QString const &from, QString const &to) = 0;
    /// Commits pending changes of the store as a whole.
    virtual void flush() = 0;
    /// True when the store as a whole cannot be written.
    virtual bool isReadOnly() const = 0;
    /// True when the entry \a name could be written.
    virtual bool isWritable(QString const &name) const = 0;
    virtual bool fileExists(QString const &name) const = 0;
    virtual bool directoryExists(QString const &name) const = 0;

    void addRef();
    unsigned int refCount() const;

    /// entries() with an empty list of name filters.
    QStringList entries(QString const &path, QFlags<QDir::Filter> filter,
                        QFlags<QDir::SortFlag> sort);

private:
    /// Called when the count reaches zero: the archive disposes of itself.
    virtual void free() = 0;

    unsigned int m_refCount = 1;
};

} // namespace Kenro
