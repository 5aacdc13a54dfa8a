#pragma once

#include "fileinspector.h"

namespace Kenro::Cli {

/// Single sound files (WAV, FLAC, Ogg Vorbis, MP3): their format, length and layout.
class SoundInspector : public FileInspector
{
public:
    bool handles(QByteArray const &suffix) const override;
    bool inspect(QString const &path, FileReport &report, QString &why) const override;
};

} // namespace Kenro::Cli
