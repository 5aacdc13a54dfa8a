#include "soundbanks.h"

#include "inputfile.h"

#include <ikemen/snd/sndreader.h>
#include <ikemen/snd/sndwriter.h>

#include <QFile>
#include <QSaveFile>

namespace Kenro::Cli::SoundBanks {

bool read(QString const &path, Ikemen::SndBank &bank, QStringList &warnings, QString &why)
{
    why = unreadableFileReason(path);
    if (!why.isEmpty())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        why = file.errorString();
        return false;
    }
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
    why = unwritableFileReason(path);
    if (!why.isEmpty())
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        why = file.errorString();
        return false;
    }
    Ikemen::SndWriter writer;
    if (!writer.write(bank, &file)) {
        file.cancelWriting();
        why = writer.errorString();
        return false;
    }
    if (!file.commit()) {
        why = file.errorString();
        return false;
    }
    return true;
}

QString memberFileName(qint32 group, qint32 number)
{
    return QStringLiteral("%1_%2.wav").arg(group).arg(number);
}

} // namespace Kenro::Cli::SoundBanks
