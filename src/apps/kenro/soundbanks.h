#pragma once

#include <ikemen/snd/sndbank.h>

#include <QString>

namespace Kenro::Cli {

/// Sound bank files for the commands, with errors worded for the user.
namespace SoundBanks {

/**
 * Reads bank \a path into \a bank, with what the reader found odd in
 * \a warnings. On failure returns false with the reason in \a why: a
 * missing file, a directory, or a damaged bank.
 */
bool read(QString const &path, Ikemen::SndBank &bank, QStringList &warnings, QString &why);

/**
 * Writes \a bank to \a path through a temporary file that replaces the
 * target only when complete; false with the reason in \a why.
 */
bool write(QString const &path, Ikemen::SndBank const &bank, QString &why);

/// The file name of a sound exported as group \a group, number \a number: "<group>_<number>.wav".
QString memberFileName(qint32 group, qint32 number);

} // namespace SoundBanks

} // namespace Kenro::Cli
