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

/**
 * True when the head of text file \a path holds a NUL byte outside a UTF-16
 * text: binary content, which would parse into a flood of nonsense errors.
 */
bool looksBinary(QString const &path);

} // namespace Kenro::Cli
