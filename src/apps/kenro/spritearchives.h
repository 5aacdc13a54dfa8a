#pragma once

#include <ikemen/sff/sffcontent.h>

#include <QString>
#include <QStringList>

namespace Kenro::Cli {

/// Sprite archive and palette files for the commands, with errors worded for the user.
namespace SpriteArchives {

/**
 * Reads archive \a path into \a content. On failure returns false with the
 * reason in \a why: a missing file, a directory, or a damaged archive.
 */
bool read(QString const &path, Ikemen::SffContent &content, QString &why);

/**
 * Writes \a content to \a path as an archive of \a version, through a
 * temporary file that replaces the target only when complete. What the
 * version had to leave out goes to \a warnings. Returns an ExitCode:
 * Success, InputError when the version cannot hold the content, or
 * OutputError when the file cannot be written, with the reason in \a why;
 * on failure no file is left.
 */
int write(QString const &path, Ikemen::SffContent const &content, Ikemen::SffVersion version,
          QStringList &warnings, QString &why);

/// "1.01", "2.00" or "2.01".
QString versionName(Ikemen::SffVersion version);
/// The version named by \a name ("1", "1.01", "2", "2.00", "2.01"); false when none is.
bool versionFromName(QString const &name, Ikemen::SffVersion &version);
/// The name of a version 2 pixel format, such as "RLE8" or "PNG32".
QString formatName(quint8 format);

} // namespace SpriteArchives

} // namespace Kenro::Cli
