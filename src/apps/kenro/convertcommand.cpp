#include "convertcommand.h"

#include "console.h"
#include "soundfiles.h"

#include <QCommandLineParser>
#include <QFileInfo>

namespace Kenro::Cli {

namespace {

QString const rateOption = QStringLiteral("rate");
QString const formatOption = QStringLiteral("format");
QString const channelsOption = QStringLiteral("channels");
QString const bitsOption = QStringLiteral("bits");

QString describe(QByteArray const &format, SampleInfo const &info)
{
    double const seconds = info.frequency ? double(info.frames) / info.frequency : 0.0;
    return QStringLiteral("%1, %2 Hz, %3 bit, %4 channel%5, %6 s")
        .arg(QLatin1String(format))
        .arg(info.frequency)
        .arg(info.bits)
        .arg(info.channels)
        .arg(info.channels == 1 ? QString() : QStringLiteral("s"))
        .arg(seconds, 0, 'f', 2);
}

// An option's whole number within \a low to \a high; 0 when unset; -1 when wrong.
qint64 numberOption(QCommandLineParser const &parser, QString const &name, qint64 low, qint64 high)
{
    if (!parser.isSet(name))
        return 0;
    bool ok = false;
    qint64 const value = parser.value(name).toLongLong(&ok);
    return ok && value >= low && value <= high ? value : -1;
}

} // namespace

QString ConvertCommand::name() const
{
    return QStringLiteral("convert");
}

QString ConvertCommand::summary() const
{
    return QStringLiteral(
        "Converts a sound file between WAV, FLAC, Ogg Vorbis and (read only) MP3.");
}

QString ConvertCommand::description() const
{
    return summary() +
        QStringLiteral(
               "\nThe output format follows OUT's suffix (.wav, .flac, .ogg) unless --format\n"
               "says otherwise. FLAC output of 8- and 16-bit sound is stored at 24 bits; Ogg\n"
               "Vorbis decodes to 16 bits. OUT is replaced only once it is completely written.");
}

QStringList ConvertCommand::arguments() const
{
    return {QStringLiteral("IN"), QStringLiteral("OUT")};
}

QStringList ConvertCommand::argumentHelp() const
{
    return {QStringLiteral("The sound file to read (WAV, FLAC, Ogg Vorbis or MP3)."),
            QStringLiteral("The sound file to write (WAV, FLAC or Ogg Vorbis).")};
}

void ConvertCommand::addOptions(QCommandLineParser &parser) const
{
    parser.addOption(
        {rateOption, QStringLiteral("Resamples to HZ samples per second."), QStringLiteral("HZ")});
    parser.addOption({formatOption, QStringLiteral("Writes FORMAT: wav, flac or ogg."),
                      QStringLiteral("FORMAT")});
    parser.addOption(
        {channelsOption, QStringLiteral("Writes N channels: 1 or 2."), QStringLiteral("N")});
    parser.addOption({bitsOption, QStringLiteral("Writes N bits per sample: 8, 16, 24 or 32."),
                      QStringLiteral("N")});
}

int ConvertCommand::run(QCommandLineParser const &parser, CliInterface &) const
{
    QString const in = parser.positionalArguments().at(0);
    QString const out = parser.positionalArguments().at(1);
    QString const hint = QStringLiteral(" (see 'kenro convert --help')");

    // A folder named as OUT is a wrong target, whatever its name says of a format.
    if (QFileInfo(out).isDir())
        return Console::fail(OutputError, out,
                             QStringLiteral("is a directory, a file was expected"));
    QByteArray format = parser.isSet(formatOption) ? parser.value(formatOption).toUpper().toLatin1()
                                                   : SoundFiles::formatOf(out, QByteArray());
    if (format == "OGA" || format == "VORBIS")
        format = "OGG";
    if (format == "MP3")
        return Console::fail(UsageError, out,
                             QStringLiteral("MP3 can be read but not written") + hint);
    if (!SoundFiles::canWrite(format))
        return Console::fail(
            UsageError, out,
            (parser.isSet(formatOption)
                 ? QStringLiteral("unknown format '%1'").arg(parser.value(formatOption))
                 : QStringLiteral("cannot tell the format from the suffix; use --format")) +
                hint);
    qint64 const rate = numberOption(parser, rateOption, 1, 768000);
    qint64 const channels = numberOption(parser, channelsOption, 1, 2);
    qint64 const bits = numberOption(parser, bitsOption, 8, 32);
    if (rate < 0)
        return Console::fail(UsageError, QStringLiteral("--rate"),
                             QStringLiteral("expects a number of hertz from 1 to 768000") + hint);
    if (channels < 0)
        return Console::fail(UsageError, QStringLiteral("--channels"),
                             QStringLiteral("expects 1 or 2") + hint);
    if (bits < 0 || (bits && bits % 8))
        return Console::fail(UsageError, QStringLiteral("--bits"),
                             QStringLiteral("expects 8, 16, 24 or 32") + hint);

    SoundSample sample;
    QByteArray inFormat;
    QString why;
    if (!SoundFiles::read(in, sample, inFormat, why))
        return Console::fail(InputError, in, why);
    QString const before = describe(inFormat, sample);

    SampleInfo target = sample;
    target.frequency = rate ? quint32(rate) : sample.frequency;
    target.channels = channels ? quint16(channels) : sample.channels;
    target.bits = bits ? quint16(bits) : sample.bits;
    bool const changes = target.frequency != sample.frequency ||
        target.channels != sample.channels || target.bits != sample.bits;
    if (changes && !resampleSound(sample, target))
        return Console::fail(InputError, in,
                             QStringLiteral("cannot convert %1 to %2 Hz, %3 bit, %4 channels")
                                 .arg(before)
                                 .arg(target.frequency)
                                 .arg(target.bits)
                                 .arg(target.channels));

    SampleInfo written;
    if (!SoundFiles::write(out, format, sample, why, &written))
        return Console::fail(OutputError, out, why);
    Console::out(QStringLiteral("%1 (%2) -> %3 (%4)\n")
                     .arg(QFileInfo(in).fileName(), before, QFileInfo(out).fileName(),
                          describe(format, written)));
    return Success;
}

} // namespace Kenro::Cli
