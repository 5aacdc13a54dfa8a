#pragma once

#include <QString>

namespace Kenro::Cli {

/**
 * Why \a path cannot be read as a file: "no such file", "is a directory",
 * "permission denied"; empty when it can be.
 */
QString unreadableFileReason(QString const &path);

/**
 * Why nothing can be written as file \a path: "is a directory", "no such
 * directory", "permission denied"; empty when it can be tried.
 */
QString unwritableFileReason(QString const &path);

} // namespace Kenro::Cli
