#pragma once

#include <kenro/kenro_export.h>

#include <QByteArray>
#include <QString>

class QIODevice;

namespace Kenro {

class Archive;

/**
 * Consumes \a count bytes of \a device, which need not be seekable. The count
 * falls by what was asked for, so the call returns at the end of the device.
 */
KENRO_EXPORT void skipRead(QIODevice *device, unsigned int count);

/**
 * Copies \a sourceName of \a source to \a targetName of \a target in 128 KiB
 * chunks. Returns false when the two names are equal (whatever the archives)
 * or when either side cannot be opened.
 */
KENRO_EXPORT bool copyFile(Archive &source, QString const &sourceName, Archive &target,
                           QString const &targetName);

/**
 * Finds the real spelling of \a relativePath below \a basePath in \a archive,
 * for paths written on case-blind systems. Components that match nothing keep
 * their spelling. Returns the absolute name, whether or not it exists.
 */
KENRO_EXPORT QString fixFileCase(QString const &basePath, Archive &archive,
                                 QString const &relativePath);

/// The upper-case suffix of \a path in Latin-1: "foo.pcx" gives "PCX".
KENRO_EXPORT QByteArray fileExtension(QString const &path);

/**
 * \a path relative to \a baseDirectory, with "../" for each directory of the
 * base past the common part. The comparison is by characters and
 * case-sensitive; an empty base gives the path unchanged.
 */
KENRO_EXPORT QString absolutePathToRelative(QString const &path, QString const &baseDirectory);

/// \a length random letters and digits; empty for a length below 1.
KENRO_EXPORT QString randomString(int length);

} // namespace Kenro
