#pragma once

#include <kenro/sound/soundsample.h>

#include <QByteArray>
#include <QString>

namespace Kenro::Cli {

/// Reading and writing whole sound files for the commands, with errors worded for the user.
namespace SoundFiles {

/**
 * The format of sound file \a path by its first bytes ("WAV", "FLAC",
 * "OGG", "MP3"), else by its suffix; empty when neither says.
 */
QByteArray formatOf(QString const &path, QByteArray const &head);
/// The format written for the suffix of \a path: "WAV", "FLAC" or "OGG"; empty for others.
QByteArray writeFormatFor(QString const &path);
/// True for the formats that can be written.
bool canWrite(QByteArray const &format);

/**
 * Reads \a path into \a sample and its format into \a format. On failure
 * returns false with the reason in \a why: a missing file, a directory,
 * an unknown kind, or content that does not decode.
 */
bool read(QString const &path, SoundSample &sample, QByteArray &format, QString &why);

/**
 * Writes \a sample as \a format to \a path through a temporary file that
 * replaces the target only when complete, and the layout that the file got
 * to \a written when given. On failure returns false with the reason in
 * \a why and leaves \a path as it was.
 */
bool write(QString const &path, QByteArray const &format, SoundSample const &sample, QString &why,
           SampleInfo *written = nullptr);

} // namespace SoundFiles

} // namespace Kenro::Cli
