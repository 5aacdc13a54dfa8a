#pragma once

#include <QByteArrayView>
#include <QString>

#include <functional>

class QFile;
class QSaveFile;

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
 * Opens \a file, named already, for reading. False with the reason in
 * \a why when it is missing, a directory, or cannot be opened.
 */
bool openInput(QFile &file, QString &why);

/**
 * Writes file \a path with \a write through a temporary file that
 * replaces the target only once \a write and the commit succeeded, so that
 * a failure leaves no half-written file and an older target as it was.
 * \a write may set \a why on failure; otherwise the file's error is used.
 */
bool saveFile(QString const &path, std::function<bool(QSaveFile &, QString &)> const &write,
              QString &why);

/// Writes \a bytes as file \a path through saveFile(); the reason of a failure in \a why.
bool saveBytes(QString const &path, QByteArrayView bytes, QString &why);

/**
 * Makes folder \a path ready for output, making it when missing. False with
 * the reason in \a why when it is a file or cannot be made.
 */
bool prepareOutputFolder(QString const &path, QString &why);

/**
 * True when the head of text file \a path holds a NUL byte outside a UTF-16
 * text: binary content, which would parse into a flood of nonsense errors.
 */
bool looksBinary(QString const &path);

} // namespace Kenro::Cli
