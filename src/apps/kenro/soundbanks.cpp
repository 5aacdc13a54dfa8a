#include "soundbanks.h"

#include "inputfile.h"

#include <ikemen/snd/sndreader.h>
#include <ikemen/snd/sndwriter.h>

#include <QFile>
#include <QSaveFile>

namespace Kenro::Cli::SoundBanks {

bool read(QString const &path, Ikemen::SndBank &bank, QStringList &warnings, QString &why)
{
    QFile file(path);
    if (!openInput(file, why))
        return false;
    Ikemen::SndReader reader;
    if (!reader.read(file.readAll())) {
        why = QStringLiteral("not a valid SND sound bank: %1").arg(reader.errorString());
        return false;
    }
    warnings = reader.warnings();
    bank = reader.takeBank();
    return true;
}

bool write(QString const &path, Ikemen::SndBank const &bank, QString &why)
{
    return saveFile(
        path,
        [&bank](QSaveFile &file, QString &why) {
            Ikemen::SndWriter writer;
            if (writer.write(bank, &file))
                return true;
            why = writer.errorString();
            return false;
        },
        why);
}

QString memberFileName(qint32 group, qint32 number)
{
    return QStringLiteral("%1_%2.wav").arg(group).arg(number);
}

} // namespace Kenro::Cli::SoundBanks
