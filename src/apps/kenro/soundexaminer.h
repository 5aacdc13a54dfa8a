#pragma once

#include "fileexaminer.h"

namespace Kenro::Cli {

/// Single sound files (WAV, FLAC, Ogg Vorbis, MP3): their format, length and layout.
class SoundExaminer : public FileExaminer
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool examine(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
