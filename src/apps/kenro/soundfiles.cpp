#include "soundfiles.h"

#include "inputfile.h"
#include "vorbiswriter.h"

#include <kenro/project/pathhelpers.h>
#include <kenro/sound/soundcodecs.h>

#include <QFile>
#include <QSaveFile>

namespace Kenro::Cli::SoundFiles {

namespace {

QByteArray formatOfHead(QByteArray const &head)
{
    if (head.startsWith("RIFF") && head.mid(8, 4) == "WAVE")
        return "WAV";
    if (head.startsWith("fLaC"))
        return "FLAC";
    if (head.startsWith("OggS"))
        return "OGG";
    if (head.startsWith("ID3") ||
        (head.size() >= 2 && quint8(head.at(0)) == 0xff && (quint8(head.at(1)) & 0xe0) == 0xe0))
        return "MP3";
    return QByteArray();
}

QByteArray formatOfSuffix(QString const &path)
{
    QByteArray const suffix = fileExtension(path);
    for (char const *known : {"WAV", "FLAC", "OGG", "MP3"}) {
        if (suffix == known)
            return suffix;
    }
    return QByteArray();
}

// The library's FLAC encoder passes 8- and 16-bit sound on in the form that
// stored files of this field have always had (uncentred bytes, low bytes
// only). A converted file should sound like its source: such sound is
// widened to 24 bits, which that encoder writes losslessly.
SoundSample widenForFLAC(SoundSample const &sample)
{
    if ((sample.bits != 8 && sample.bits != 16) || sample.channels == 0)
        return sample;
    int const width = sample.bits / 8;
    qsizetype const values =
        qMin<qint64>(qint64(sample.frames) * sample.channels, sample.data.size() / width);
    SoundSample wide;
    wide.channels = sample.channels;
    wide.frequency = sample.frequency;
    wide.bits = 24;
    wide.frames = quint32(values / sample.channels);
    wide.data.resize(qsizetype(wide.frames) * wide.channels * 3);
    auto const *in = reinterpret_cast<unsigned char const *>(sample.data.constData());
    auto *out = reinterpret_cast<unsigned char *>(wide.data.data());
    for (qsizetype i = 0; i < qsizetype(wide.frames) * wide.channels; ++i) {
        qint32 const value = width == 1
            ? (qint32(in[i]) - 128) * 65536
            : qint32(qint16(quint16(in[2 * i] | in[2 * i + 1] << 8))) * 256;
        out[3 * i] = quint8(value);
        out[3 * i + 1] = quint8(value >> 8);
        out[3 * i + 2] = quint8(value >> 16);
    }
    return wide;
}

} // namespace

QByteArray formatOf(QString const &path, QByteArray const &head)
{
    QByteArray const byContent = formatOfHead(head);
    return byContent.isEmpty() ? formatOfSuffix(path) : byContent;
}

QByteArray writeFormatFor(QString const &path)
{
    QByteArray const format = formatOfSuffix(path);
    return canWrite(format) ? format : QByteArray();
}

bool canWrite(QByteArray const &format)
{
    return format == "WAV" || format == "FLAC" || format == "OGG";
}

bool read(QString const &path, SoundSample &sample, QByteArray &format, QString &why)
{
    QFile file(path);
    if (!openInput(file, why))
        return false;
    format = formatOf(path, file.peek(12));
    if (format.isEmpty()) {
        why = QStringLiteral("not a sound file of a known kind (WAV, FLAC, Ogg Vorbis, MP3)");
        return false;
    }
    if (!loadSound(&file, format.constData(), sample) || sample.channels == 0 ||
        sample.frequency == 0) {
        why = QStringLiteral("not a valid %1 file, or damaged").arg(QLatin1String(format));
        return false;
    }
    return true;
}

bool write(QString const &path, QByteArray const &format, SoundSample const &sample, QString &why,
           SampleInfo *written)
{
    SoundSample const prepared = format == "FLAC" ? widenForFLAC(sample) : sample;
    bool const saved = saveFile(
        path,
        [&](QSaveFile &file, QString &why) {
            bool const done = format == "OGG" ? writeVorbis(prepared, &file)
                                              : saveSound(&file, format.constData(), prepared);
            if (!done && file.error() == QFileDevice::NoError)
                why = QStringLiteral("the %1 encoder refused the sound").arg(QLatin1String(format));
            return done;
        },
        why);
    if (!saved)
        return false;
    if (written) {
        *written = prepared;
        // Ogg Vorbis decodes to 16 bits.
        if (format == "OGG")
            written->bits = 16;
    }
    return true;
}

} // namespace Kenro::Cli::SoundFiles
