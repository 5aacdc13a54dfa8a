#pragma once

#include "zipfile.h"
#include "ziptree.h"

#include <kenro/project/archive.h>

#include <QMutex>

#include <memory>

namespace KenroZip {

/**
 * A ZIP file as an archive. Names inside are relative paths with '/'
 * separators; a leading "/" or "./" is dropped, and a name that climbs out
 * of the root ("../x") names nothing. Directories are the prefixes of the
 * names, plus explicit "dir/" entries of a ZIP that was read.
 *
 * An archive made for reading serves the members of an existing ZIP and
 * refuses every change. An archive made for writing starts empty, keeps
 * what is written in memory, and writes the whole ZIP at flush() and when
 * the last reference goes; the file at its path is replaced only by a
 * complete new ZIP.
 *
 * Devices come from openFile() as buffers: one for reading holds the whole
 * member, one for writing joins the archive at closeFile().
 */
class ZipArchive final : public Kenro::Archive
{
public:
    /// An archive that will write a new ZIP at \a path. Nothing is written yet.
    static ZipArchive *createWriter(QString const &path);
    /// The existing ZIP at \a path for reading, or null when it is missing,
    /// no ZIP, or damaged.
    static ZipArchive *openReader(QString const &path);

    /// The file name of the ZIP, for display.
    QString name() override;
    /// The path of the ZIP as it was given.
    QString path() override;
    /// The directory part of the normalised \a name; empty at the root.
    QString absoluteFilePath(QString const &name) override;
    /// The normalised \a name; empty for a name outside the archive.
    QString absoluteFileName(QString const &name) override;
    using Kenro::Archive::entries;
    QStringList entries(QString const &path, QStringList nameFilters, QFlags<QDir::Filter> filter,
                        QFlags<QDir::SortFlag> sort) override;
    /**
     * A buffer over the member \a name. For reading it holds the whole
     * member, or null comes back when there is no such member or it cannot
     * be read intact. For writing (refused when read-only, or when \a name
     * is a directory or lies below a file) it starts empty, or with the
     * current content for ReadWrite or Append without Truncate.
     */
    QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) override;
    /// Deletes \a device; what was written to it replaces the member of its name.
    void closeFile(QIODevice *device) override;
    /// Deletes \a device; the archive keeps what it had.
    void discardFile(QIODevice *device) override;
    /// Drops the member \a name; false when read-only or there is no such file.
    bool removeFile(QString const &name) override;
    /// Moves the member \a from to \a to, which must not exist yet; false when
    /// read-only. Directories are not renamed.
    bool renameFile(QString const &from, QString const &to) override;
    /// Writes the ZIP when something changed since the last successful write.
    /// A failure leaves the file on disk untouched and the contents pending.
    void flush() override;
    bool isReadOnly() const override;
    bool isWritable(QString const &name) const override;
    /// True for members with content; false for directories.
    bool fileExists(QString const &name) const override;
    bool directoryExists(QString const &name) const override;

private:
    explicit ZipArchive(QString const &path);
    ~ZipArchive() override;
    /// Writes pending changes, then deletes the archive.
    void free() override;

    QString const m_path;
    // Null for an archive that writes.
    std::unique_ptr<ZipReader> m_reader;
    // Guards the members and the reader: the library may use an archive
    // from its worker threads.
    mutable QMutex m_mutex;
    Members m_members;
    // A new archive has something to write: at least the empty ZIP.
    bool m_changed = true;
};

} // namespace KenroZip
