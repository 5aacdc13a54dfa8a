#include "soundexaminer.h"

#include "soundfiles.h"

namespace Kenro::Cli {

bool SoundExaminer::handles(QByteArray const &suffix) const
{
    return suffix == "WAV" || suffix == "FLAC" || suffix == "OGG" || suffix == "MP3";
}

bool SoundExaminer::examine(QString const &path, FileReport &report, QString &why) const
{
    SoundSample sample;
    QByteArray format;
    if (!SoundFiles::read(path, sample, format, why))
        return false;
    report.kind = QStringLiteral("%1 sound").arg(QLatin1String(format));
    report.facts = {
        {QStringLiteral("channels"), sample.channels},
        {QStringLiteral("bits"), sample.bits},
        {QStringLiteral("rate"), sample.frequency},
        {QStringLiteral("frames"), sample.frames},
        {QStringLiteral("seconds"),
         qRound(double(sample.frames) * 1000 / sample.frequency) / 1000.0},
    };
    return true;
}

} // namespace Kenro::Cli
