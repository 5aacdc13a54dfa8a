#include "soundtesthelpers.h"

#include <kenro/sound/soundcodecs.h>

#include <QBuffer>
#include <QtEndian>

#include <cmath>
#include <random>

namespace KenroTest {

QList<RiffChunk> riffChunks(QByteArray const &file)
{
    QList<RiffChunk> chunks;
    if (file.size() < 12 || !file.startsWith("RIFF") || file.mid(8, 4) != "WAVE")
        return chunks;
    qsizetype at = 12;
    while (at + 8 <= file.size()) {
        quint32 const size = qFromLittleEndian<quint32>(file.constData() + at + 4);
        chunks.append({file.mid(at, 4), file.mid(at + 8, size)});
        at += 8 + qsizetype(size) + (size & 1);
    }
    return chunks;
}

QByteArray chunkBody(QList<RiffChunk> const &chunks, QByteArray const &id)
{
    for (RiffChunk const &chunk : chunks) {
        if (chunk.id == id)
            return chunk.body;
    }
    return QByteArray();
}

namespace {

void append32(QByteArray &bytes, quint32 value)
{
    char raw[4];
    qToLittleEndian(value, raw);
    bytes.append(raw, 4);
}

void append16(QByteArray &bytes, quint16 value)
{
    char raw[2];
    qToLittleEndian(value, raw);
    bytes.append(raw, 2);
}

} // namespace

QByteArray riffFile(QList<RiffChunk> const &chunks)
{
    QByteArray body("WAVE");
    for (RiffChunk const &chunk : chunks) {
        body += chunk.id;
        append32(body, quint32(chunk.body.size()));
        body += chunk.body;
        if (chunk.body.size() & 1)
            body.append('\0');
    }
    QByteArray file("RIFF");
    append32(file, quint32(body.size()));
    return file + body;
}

QByteArray formatBody(quint16 tag, quint16 channels, quint32 rate, quint16 bits, quint32 byteRate)
{
    QByteArray body;
    append16(body, tag);
    append16(body, channels);
    append32(body, rate);
    append32(body, byteRate);
    append16(body, quint16(channels * bits / 8));
    append16(body, bits);
    return body;
}

double snr16(QByteArray const &reference, QByteArray const &test)
{
    qsizetype const count = std::min(reference.size(), test.size()) / 2;
    auto const *a = reinterpret_cast<qint16 const *>(reference.constData());
    auto const *b = reinterpret_cast<qint16 const *>(test.constData());
    double signal = 0;
    double error = 0;
    for (qsizetype i = 0; i < count; ++i) {
        signal += double(a[i]) * a[i];
        error += double(a[i] - b[i]) * (a[i] - b[i]);
    }
    return error > 0 ? 10 * std::log10(signal / error) : 999.0;
}

QByteArray noise(int count, quint32 seed)
{
    std::mt19937 random(seed);
    QByteArray bytes(count, '\0');
    for (char &byte : bytes)
        byte = char(random() & 0xFF);
    return bytes;
}

Kenro::SoundSample pcm(quint16 channels, quint16 bits, quint32 frequency, QByteArray const &data)
{
    Kenro::SoundSample sample;
    sample.channels = channels;
    sample.bits = bits;
    sample.frequency = frequency;
    sample.frames = quint32(data.size() / (channels * bits / 8));
    sample.data = data;
    return sample;
}

bool consistent(Kenro::SoundSample const &sample)
{
    return sample.data.isEmpty() ||
        sample.data.size() == qsizetype(sample.frames) * sample.channels * sample.bits / 8;
}

Kenro::SoundSample decoded(QByteArray const &bytes, char const *format)
{
    QByteArray copy = bytes;
    QBuffer buffer(&copy);
    Kenro::SoundSample sample;
    Kenro::loadSound(&buffer, format, sample);
    return sample;
}

QByteArray encoded(Kenro::SoundSample const &sample, char const *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    return Kenro::saveSound(&buffer, format, sample) ? bytes : QByteArray();
}

} // namespace KenroTest
