#include "soundcommands.h"

#include "cliinterface.h"
#include "console.h"
#include "inputfile.h"
#include "progressbar.h"
#include "soundbanks.h"

#include <kenro/sound/soundcodecs.h>

#include <QBuffer>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSet>

#include <algorithm>

namespace Kenro::Cli {

namespace {

QString const manifestName = QStringLiteral("sounds.json");

bool isWav(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    return soundInfoFromWAV(&buffer).frequency != 0;
}

// The header's comment without the zeros that the writer puts back anyway.
QByteArray headerComment(Ikemen::SndBank const &bank)
{
    QByteArray comment = bank.reserved;
    if (comment.size() > Ikemen::SndBank::usualHeaderSize - Ikemen::SndBank::headerSize)
        return comment;
    while (comment.endsWith('\0'))
        comment.chop(1);
    return comment;
}

struct Entry
{
    qint32 group = 0;
    qint32 number = 0;
    QString file;
};

// The sounds of a folder without a manifest: "<group>_<number>.wav", in group and number order.
QList<Entry> entriesByName(QString const &folder)
{
    static QRegularExpression const pattern(QStringLiteral("^(-?\\d+)_(-?\\d+)\\.wav$"),
                                            QRegularExpression::CaseInsensitiveOption);
    QList<Entry> entries;
    for (QString const &name : QDir(folder).entryList(QDir::Files)) {
        QRegularExpressionMatch const match = pattern.match(name);
        bool groupOk = false;
        bool numberOk = false;
        Entry entry{match.captured(1).toInt(&groupOk), match.captured(2).toInt(&numberOk), name};
        if (match.hasMatch() && groupOk && numberOk)
            entries.append(entry);
    }
    std::sort(entries.begin(), entries.end(), [](Entry const &a, Entry const &b) {
        return std::make_pair(a.group, a.number) < std::make_pair(b.group, b.number);
    });
    return entries;
}

// The manifest's entries and header into \a entries and \a bank; false with \a why when it is malformed.
bool readManifest(QString const &path, QList<Entry> &entries, Ikemen::SndBank &bank, QString &why)
{
    QFile file(path);
    if (!openInput(file, why))
        return false;
    QJsonParseError error;
    QJsonObject const manifest = QJsonDocument::fromJson(file.readAll(), &error).object();
    if (error.error != QJsonParseError::NoError) {
        why = QStringLiteral("not valid JSON: %1 at offset %2")
                  .arg(error.errorString())
                  .arg(error.offset);
        return false;
    }
    QJsonValue const sounds = manifest.value(QStringLiteral("sounds"));
    if (!sounds.isArray()) {
        why = QStringLiteral("no \"sounds\" list");
        return false;
    }
    bank.version = quint32(
        manifest.value(QStringLiteral("version")).toInteger(Ikemen::SndBank::defaultVersion));
    bank.reserved =
        QByteArray::fromBase64(manifest.value(QStringLiteral("header")).toString().toLatin1());
    for (QJsonValue const &value : sounds.toArray()) {
        QJsonObject const sound = value.toObject();
        QString const name = sound.value(QStringLiteral("file")).toString();
        // Only plain names: a manifest must not reach files outside its folder.
        if (name.isEmpty() || name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\')) ||
            name == QLatin1String("..") || !sound.value(QStringLiteral("group")).isDouble() ||
            !sound.value(QStringLiteral("number")).isDouble()) {
            why = QStringLiteral("sound %1 needs \"group\", \"number\" and a plain \"file\" name")
                      .arg(entries.size() + 1);
            return false;
        }
        entries.append({sound.value(QStringLiteral("group")).toInt(),
                        sound.value(QStringLiteral("number")).toInt(), name});
    }
    return true;
}

} // namespace

QString SoundsExportCommand::name() const
{
    return QStringLiteral("sounds export");
}

QString SoundsExportCommand::summary() const
{
    return QStringLiteral("Writes every sound of an SND bank as a WAV file, with a manifest.");
}

QString SoundsExportCommand::description() const
{
    return summary() +
        QStringLiteral("\nEach sound is written as it is stored, as \"<group>_<number>.wav\"; the\n"
                       "manifest sounds.json keeps the order, the version and the header comment,\n"
                       "so that 'kenro sounds build' makes the same bank again.");
}

QStringList SoundsExportCommand::arguments() const
{
    return {QStringLiteral("SND"), QStringLiteral("DIR")};
}

QStringList SoundsExportCommand::argumentHelp() const
{
    return {QStringLiteral("The sound bank to read."),
            QStringLiteral("The folder to write to; made when missing.")};
}

int SoundsExportCommand::run(QCommandLineParser const &parser, CliInterface &host) const
{
    QString const snd = parser.positionalArguments().at(0);
    QString const folder = parser.positionalArguments().at(1);
    Ikemen::SndBank bank;
    QStringList warnings;
    QString why;
    if (!SoundBanks::read(snd, bank, warnings, why))
        return Console::fail(InputError, snd, why);
    for (QString const &warning : std::as_const(warnings))
        Console::warn(snd, warning);
    if (!prepareOutputFolder(folder, why))
        return Console::fail(OutputError, folder, why);

    QDir const dir(folder);
    QSet<QString> taken;
    QJsonArray sounds;
    ProgressBar bar(QStringLiteral("Exporting"), host.progressEnabled());
    bar.setMaximum(unsigned(bank.members.size()));
    for (Ikemen::SndMember const &member : std::as_const(bank.members)) {
        // A bank may hold a group and number twice: the later ones get a count.
        QString name = SoundBanks::memberFileName(member.group, member.number);
        for (int copy = 2; taken.contains(name); ++copy)
            name = QStringLiteral("%1_%2-%3.wav").arg(member.group).arg(member.number).arg(copy);
        taken.insert(name);
        QString const path = dir.filePath(name);
        if (!saveBytes(path, member.wav(), why))
            return Console::fail(OutputError, path, why);
        sounds.append(QJsonObject{{QStringLiteral("group"), member.group},
                                  {QStringLiteral("number"), member.number},
                                  {QStringLiteral("file"), name}});
        bar.incrementValue();
    }
    QJsonObject const manifest{
        {QStringLiteral("version"), qint64(bank.version)},
        {QStringLiteral("header"), QString::fromLatin1(headerComment(bank).toBase64())},
        {QStringLiteral("sounds"), sounds}};
    QString const manifestPath = dir.filePath(manifestName);
    if (!saveBytes(manifestPath, QJsonDocument(manifest).toJson(QJsonDocument::Indented), why))
        return Console::fail(OutputError, manifestPath, why);
    bar.finish();
    Console::out(QStringLiteral("%1: %2 sounds written to %3\n")
                     .arg(snd)
                     .arg(bank.members.size())
                     .arg(folder));
    return Success;
}

QString SoundsBuildCommand::name() const
{
    return QStringLiteral("sounds build");
}

QString SoundsBuildCommand::summary() const
{
    return QStringLiteral("Makes an SND bank of a folder of WAV files (the inverse of export).");
}

QString SoundsBuildCommand::description() const
{
    return summary() +
        QStringLiteral("\nWith a sounds.json manifest its order, version and header are used;\n"
                       "without one, every \"<group>_<number>.wav\" is taken in group and number\n"
                       "order. SND is replaced only once it is completely written.");
}

QStringList SoundsBuildCommand::arguments() const
{
    return {QStringLiteral("DIR"), QStringLiteral("SND")};
}

QStringList SoundsBuildCommand::argumentHelp() const
{
    return {QStringLiteral("The folder of WAV files."), QStringLiteral("The sound bank to write.")};
}

int SoundsBuildCommand::run(QCommandLineParser const &parser, CliInterface &host) const
{
    QString const folder = parser.positionalArguments().at(0);
    QString const snd = parser.positionalArguments().at(1);
    QFileInfo const info(folder);
    if (!info.exists())
        return Console::fail(InputError, folder, QStringLiteral("no such folder"));
    if (!info.isDir())
        return Console::fail(InputError, folder,
                             QStringLiteral("is a file, a folder was expected"));

    QDir const dir(folder);
    Ikemen::SndBank bank;
    QList<Entry> entries;
    QString why;
    QString const manifestPath = dir.filePath(manifestName);
    if (QFileInfo::exists(manifestPath)) {
        if (!readManifest(manifestPath, entries, bank, why))
            return Console::fail(InputError, manifestPath, why);
    } else {
        entries = entriesByName(folder);
    }
    if (entries.isEmpty())
        return Console::fail(
            InputError, folder,
            QStringLiteral("no sounds: neither %1 nor files named <group>_<number>.wav")
                .arg(manifestName));

    ProgressBar bar(QStringLiteral("Reading"), host.progressEnabled());
    bar.setMaximum(unsigned(entries.size()));
    for (Entry const &entry : std::as_const(entries)) {
        QString const path = dir.filePath(entry.file);
        QFile file(path);
        if (!openInput(file, why))
            return Console::fail(InputError, path, why);
        QByteArray const bytes = file.readAll();
        // Banks do hold members that are no WAV files; they are kept, with a word.
        if (!isWav(bytes))
            Console::warn(path, QStringLiteral("not a WAV file; stored as it is"));
        bank.members.append(Ikemen::SndMember(entry.group, entry.number, bytes));
        bar.incrementValue();
    }
    bar.finish();
    if (!SoundBanks::write(snd, bank, why))
        return Console::fail(OutputError, snd, why);
    Console::out(QStringLiteral("%1: %2 sounds written from %3\n")
                     .arg(snd)
                     .arg(bank.members.size())
                     .arg(folder));
    return Success;
}

} // namespace Kenro::Cli
