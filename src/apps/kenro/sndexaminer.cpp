#include "sndexaminer.h"

#include "soundbanks.h"

#include <kenro/sound/soundcodecs.h>

#include <QBuffer>
#include <QSet>

namespace Kenro::Cli {

bool SndExaminer::handles(QByteArray const &suffix) const
{
    return suffix == "SND";
}

bool SndExaminer::examine(QString const &path, FileReport &report, QString &why) const
{
    Ikemen::SndBank bank;
    QStringList warnings;
    if (!SoundBanks::read(path, bank, warnings, why))
        return false;
    report.kind = QStringLiteral("SND sound bank");
    QSet<qint32> groups;
    double seconds = 0;
    for (Ikemen::SndMember const &member : std::as_const(bank.members)) {
        groups.insert(member.group);
        QByteArray bytes = member.wavCopy();
        QBuffer buffer(&bytes);
        SampleInfo const info = soundInfoFromWAV(&buffer);
        if (info.frequency)
            seconds += double(info.frames) / info.frequency;
        report.parts.append({QStringLiteral("%1,%2").arg(member.group).arg(member.number), 0,
                             int(member.size()), QStringLiteral("byte")});
    }
    report.facts = {{QStringLiteral("version"), bank.version},
                    {QStringLiteral("sounds"), int(bank.members.size())},
                    {QStringLiteral("groups"), int(groups.size())},
                    {QStringLiteral("seconds"), qRound(seconds * 1000) / 1000.0}};
    // A bank has no lines: its oddities stand at the head of the file.
    for (QString const &warning : std::as_const(warnings))
        report.diagnostics.append({Message::Warning, path, 1, 1, warning});
    return true;
}

} // namespace Kenro::Cli
