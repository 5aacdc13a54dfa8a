// WAV read and write by hand: the RIFF header, a leading "fmt " chunk and
// the first "data" chunk found by a plain byte search.
#include <kenro/sound/soundcodecs.h>

#include "soundcodecs_p.h"

#include <QBuffer>
#include <QDataStream>

#include <algorithm>
#include <cstring>

namespace Kenro {

namespace {

// The 24 bytes of a "fmt " chunk with its header.
struct FormatChunk
{
    char id[4] = {};
    quint32 size = 0;
    quint16 tag = 0;
    quint16 channels = 0;
    quint32 rate = 0;
    quint32 byteRate = 0;
    quint16 blockAlign = 0;
    quint16 bits = 0;
};

constexpr int formatChunkSize = 24;
// A declared data size past the end of the file is made up with silence, but
// only this much of it: a damaged size field must not conjure gigabytes.
constexpr qint64 maxMissingBytes = qint64(1) << 24;

FormatChunk readFormatChunk(QDataStream &stream)
{
    FormatChunk chunk;
    stream.readRawData(chunk.id, 4);
    stream >> chunk.size >> chunk.tag >> chunk.channels >> chunk.rate >> chunk.byteRate >>
        chunk.blockAlign >> chunk.bits;
    return chunk;
}

quint32 frameCount(FormatChunk const &chunk, qint64 dataSize)
{
    unsigned const frameBytes = unsigned(chunk.bits) * chunk.channels / 8;
    if (chunk.byteRate == 0 || frameBytes == 0)
        return 0;
    return quint32(quint64(dataSize) / frameBytes);
}

// Moves \a stream to the first "data" of \a bytes, if any lies past the
// start, and reads that chunk's size.
quint32 findDataChunk(QDataStream &stream, QByteArray const &bytes)
{
    qsizetype const offset = bytes.indexOf("data");
    if (offset > 0)
        stream.device()->seek(offset);
    char id[4];
    quint32 size = 0;
    stream.readRawData(id, 4);
    stream >> size;
    return stream.status() == QDataStream::Ok ? size : 0;
}

} // namespace

SoundSample soundFromWAV(QIODevice *device)
{
    SoundSample sample;
    if (!SoundCodecs::openForReading(device))
        return sample;
    QDataStream header(device);
    header.setByteOrder(QDataStream::LittleEndian);
    char id[4];
    quint32 riffSize = 0;
    char form[4] = {};
    header.readRawData(id, 4);
    header >> riffSize;
    if (header.readRawData(form, 4) != 4 || std::memcmp(form, "WAVE", 4) != 0)
        return sample;

    QByteArray body = SoundCodecs::readUpTo(device, qint64(riffSize) - 4);
    QBuffer buffer(&body);
    buffer.open(QIODevice::ReadOnly);
    QDataStream stream(&buffer);
    stream.setByteOrder(QDataStream::LittleEndian);
    FormatChunk const format = readFormatChunk(stream);
    if (stream.status() != QDataStream::Ok || std::memcmp(format.id, "fmt", 3) != 0 ||
        format.tag != 1)
        return sample;

    quint32 const size = findDataChunk(stream, body);
    qint64 const present = std::min<qint64>(size, buffer.bytesAvailable());
    qint64 const length = size - present > maxMissingBytes ? present : size;
    if (length > SoundCodecs::maxSampleBytes)
        return sample;
    // Zero-filled, so that a file cut short ends in silence (for signed depths).
    sample.data = QByteArray(length, '\0');
    stream.readRawData(sample.data.data(), int(present));

    sample.channels = format.channels;
    sample.bits = format.bits;
    sample.frequency = format.rate;
    sample.frames = frameCount(format, sample.data.size());
    return sample;
}

SampleInfo soundInfoFromWAV(QIODevice *device)
{
    SampleInfo info;
    if (!SoundCodecs::openForReading(device))
        return info;
    QByteArray const bytes = device->readAll();
    QDataStream stream(bytes);
    stream.setByteOrder(QDataStream::LittleEndian);
    // The RIFF header goes unchecked here.
    stream.skipRawData(12);
    FormatChunk const format = readFormatChunk(stream);
    if (format.tag != 1) {
        info.bits = 0;
        return info;
    }
    quint32 const size = findDataChunk(stream, bytes);
    info.channels = format.channels;
    info.bits = format.bits;
    info.frequency = format.rate;
    info.frames = frameCount(format, size);
    return info;
}

bool soundToWAV(SoundSample const &sample, QIODevice *device)
{
    if (!SoundCodecs::openForWriting(device))
        return false;
    QDataStream stream(device);
    stream.setByteOrder(QDataStream::LittleEndian);
    auto const dataSize = quint32(sample.data.size());
    auto const blockAlign = quint16(sample.channels * sample.bits / 8);
    stream.writeRawData("RIFF", 4);
    stream << quint32(dataSize + 36);
    stream.writeRawData("WAVEfmt ", 8);
    stream << quint32(16) << quint16(1) << quint16(sample.channels) << quint32(sample.frequency)
           << quint32(quint32(blockAlign) * sample.frequency) << blockAlign << quint16(sample.bits);
    stream.writeRawData("data", 4);
    stream << dataSize;
    stream.writeRawData(sample.data.constData(), int(sample.data.size()));
    return stream.status() == QDataStream::Ok;
}

} // namespace Kenro
