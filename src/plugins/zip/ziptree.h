#pragma once

#include <QByteArray>
#include <QDir>
#include <QMap>
#include <QString>
#include <QStringList>

namespace KenroZip {

/// One entry of an archive, keyed in Members by its normalised name.
struct Member
{
    /// The content of a member written in this session.
    QByteArray data;
    /// Position in the ZIP directory of a member that was read.
    quint64 index = 0;
    /// Uncompressed size in bytes, as the ZIP directory states it.
    quint64 size = 0;
    /// Modification time in seconds since the epoch.
    qint64 modified = 0;
    /// An explicit directory entry ("name/" in the ZIP).
    bool directory = false;
};

/// The contents of an archive, sorted by name so that a directory's
/// descendants form one run of keys.
using Members = QMap<QString, Member>;

/**
 * Puts \a name into the form that Members are keyed by: '/' separators, no
 * leading "/" or "./", no empty or "." components, and ".." resolved. The
 * root directory is the empty string. Returns false, leaving \a result
 * empty, for a name that climbs out of the root.
 */
bool normaliseName(QString const &name, QString &result);

/// True when \a name (normalised) is the root, an explicit directory entry
/// or a prefix of some entry.
bool isDirectory(Members const &members, QString const &name);

/// True when \a name (normalised) is a member holding content.
bool isFile(Members const &members, QString const &name);

/**
 * True when a member named \a name (normalised, not empty) could be written:
 * it is no directory, and none of the directories above it is a file.
 */
bool canHoldFile(Members const &members, QString const &name);

/**
 * The names inside the directory \a directory (normalised), filtered and
 * sorted the way QDir::entryList does for a directory on disk. "." and ".."
 * never appear; names starting with a dot count as hidden; every entry is
 * readable, directories are executable and files are not, and everything is
 * writable only when \a writable is set. Directories have no size, and an
 * implicit directory takes the newest time of what it holds. An empty list
 * when the directory does not exist.
 */
QStringList listEntries(Members const &members, QString const &directory,
                        QStringList const &nameFilters, QDir::Filters filter, QDir::SortFlags sort,
                        bool writable);

} // namespace KenroZip
