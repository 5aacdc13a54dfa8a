#pragma once

#include <kenro/sound/soundsample.h>

#include <QByteArray>
#include <QList>

namespace KenroTest {

/// One chunk of a RIFF file, found by walking the chunk list.
struct RiffChunk
{
    QByteArray id;
    QByteArray body;
};

/// The chunks of a RIFF WAVE file in order; empty when it is none.
QList<RiffChunk> riffChunks(QByteArray const &file);

/// The body of the first chunk named \a id, or a null array.
QByteArray chunkBody(QList<RiffChunk> const &chunks, QByteArray const &id);

/// A RIFF WAVE file made of \a chunks in that order, each padded to even size.
QByteArray riffFile(QList<RiffChunk> const &chunks);

/// A PCM "fmt " chunk body.
QByteArray formatBody(quint16 tag, quint16 channels, quint32 rate, quint16 bits, quint32 byteRate);

/// The signal-to-noise ratio in dB of 16-bit \a test against \a reference, over the common length.
double snr16(QByteArray const &reference, QByteArray const &test);

/// \a count bytes of reproducible noise from \a seed.
QByteArray noise(int count, quint32 seed);

/// A sample of \a data with the frames that it holds.
Kenro::SoundSample pcm(quint16 channels, quint16 bits, quint32 frequency, QByteArray const &data);

/// Whether \a sample is empty or its data has the size that its header gives.
bool consistent(Kenro::SoundSample const &sample);

/// Reads \a bytes as \a format through an in-memory device.
Kenro::SoundSample decoded(QByteArray const &bytes, char const *format);

/// Writes \a sample as \a format into memory; empty when the save failed.
QByteArray encoded(Kenro::SoundSample const &sample, char const *format);

} // namespace KenroTest
