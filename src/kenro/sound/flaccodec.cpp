// FLAC through libFLAC's stream decoder and encoder, over callbacks on the
// device.
#include <kenro/sound/soundcodecs.h>

#include "soundcodecs_p.h"

#include <QVector>

#include <FLAC/stream_decoder.h>
#include <FLAC/stream_encoder.h>

#include <algorithm>

namespace Kenro {

namespace {

struct DecodeJob
{
    QIODevice *device = nullptr;
    SoundSample sample;
    // Where the next decoded sample goes in sample.data.
    qsizetype written = 0;
    bool streamInfo = false;
    bool error = false;
};

FLAC__StreamDecoderReadStatus readData(FLAC__StreamDecoder const *, FLAC__byte buffer[],
                                       size_t *bytes, void *client)
{
    auto *job = static_cast<DecodeJob *>(client);
    qint64 const count = job->device->read(reinterpret_cast<char *>(buffer), qint64(*bytes));
    if (count < 0) {
        *bytes = 0;
        return FLAC__STREAM_DECODER_READ_STATUS_ABORT;
    }
    *bytes = size_t(count);
    return count == 0 ? FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM
                      : FLAC__STREAM_DECODER_READ_STATUS_CONTINUE;
}

FLAC__StreamDecoderSeekStatus seekData(FLAC__StreamDecoder const *, FLAC__uint64 offset,
                                       void *client)
{
    static_cast<DecodeJob *>(client)->device->seek(qint64(offset));
    return FLAC__STREAM_DECODER_SEEK_STATUS_OK;
}

FLAC__StreamDecoderTellStatus tellData(FLAC__StreamDecoder const *, FLAC__uint64 *offset,
                                       void *client)
{
    qint64 const pos = static_cast<DecodeJob *>(client)->device->pos();
    if (pos < 0)
        return FLAC__STREAM_DECODER_TELL_STATUS_ERROR;
    *offset = FLAC__uint64(pos);
    return FLAC__STREAM_DECODER_TELL_STATUS_OK;
}

FLAC__StreamDecoderLengthStatus lengthData(FLAC__StreamDecoder const *, FLAC__uint64 *length,
                                           void *client)
{
    qint64 const size = static_cast<DecodeJob *>(client)->device->size();
    if (size < 0)
        return FLAC__STREAM_DECODER_LENGTH_STATUS_ERROR;
    *length = FLAC__uint64(size);
    return FLAC__STREAM_DECODER_LENGTH_STATUS_OK;
}

FLAC__bool atEnd(FLAC__StreamDecoder const *, void *client)
{
    return static_cast<DecodeJob *>(client)->device->atEnd();
}

FLAC__StreamDecoderWriteStatus writeFrame(FLAC__StreamDecoder const *, FLAC__Frame const *frame,
                                          FLAC__int32 const *const buffer[], void *client)
{
    auto *job = static_cast<DecodeJob *>(client);
    unsigned const bits = frame->header.bits_per_sample;
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32)
        return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
    qsizetype const width = bits / 8;
    QByteArray &data = job->sample.data;
    char *out = data.data();
    for (unsigned i = 0; i < frame->header.blocksize; ++i) {
        for (unsigned c = 0; c < frame->header.channels; ++c) {
            // A stream longer than its header said keeps what fits.
            if (job->written + width > data.size())
                return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
            auto const value = quint32(buffer[c][i]);
            for (qsizetype b = 0; b < width; ++b)
                out[job->written + b] = char((value >> (8 * b)) & 0xFF);
            job->written += width;
        }
    }
    return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
}

void readMetadata(FLAC__StreamDecoder const *, FLAC__StreamMetadata const *metadata, void *client)
{
    if (metadata->type != FLAC__METADATA_TYPE_STREAMINFO)
        return;
    auto *job = static_cast<DecodeJob *>(client);
    FLAC__StreamMetadata_StreamInfo const &info = metadata->data.stream_info;
    job->sample.channels = quint16(info.channels);
    job->sample.bits = quint16(info.bits_per_sample);
    job->sample.frequency = info.sample_rate;
    job->sample.frames = quint32(info.total_samples);
    job->streamInfo = true;
}

void noteError(FLAC__StreamDecoder const *, FLAC__StreamDecoderErrorStatus, void *client)
{
    static_cast<DecodeJob *>(client)->error = true;
}

bool decode(FLAC__StreamDecoder *decoder, DecodeJob &job)
{
    if (FLAC__stream_decoder_init_stream(decoder, readData, seekData, tellData, lengthData, atEnd,
                                         writeFrame, readMetadata, noteError,
                                         &job) != FLAC__STREAM_DECODER_INIT_STATUS_OK)
        return false;
    if (!FLAC__stream_decoder_process_until_end_of_metadata(decoder) || job.error ||
        !job.streamInfo)
        return false;
    qint64 const size =
        qint64(job.sample.channels) * job.sample.bits * qint64(job.sample.frames) / 8;
    if (size > SoundCodecs::maxSampleBytes)
        return false;
    job.sample.data = QByteArray(size, '\0');
    if (!FLAC__stream_decoder_seek_absolute(decoder, 0) ||
        !FLAC__stream_decoder_process_until_end_of_stream(decoder)) {
        job.sample.data.clear();
        return false;
    }
    return true;
}

struct EncodeJob
{
    QIODevice *device = nullptr;
};

FLAC__StreamEncoderWriteStatus writeData(FLAC__StreamEncoder const *, FLAC__byte const buffer[],
                                         size_t bytes, unsigned, unsigned, void *client)
{
    qint64 const count = static_cast<EncodeJob *>(client)->device->write(
        reinterpret_cast<char const *>(buffer), qint64(bytes));
    return count < 1 ? FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR
                     : FLAC__STREAM_ENCODER_WRITE_STATUS_OK;
}

FLAC__StreamEncoderSeekStatus seekOutput(FLAC__StreamEncoder const *, FLAC__uint64 offset,
                                         void *client)
{
    static_cast<EncodeJob *>(client)->device->seek(qint64(offset));
    return FLAC__STREAM_ENCODER_SEEK_STATUS_OK;
}

FLAC__StreamEncoderTellStatus tellOutput(FLAC__StreamEncoder const *, FLAC__uint64 *offset,
                                         void *client)
{
    qint64 const pos = static_cast<EncodeJob *>(client)->device->pos();
    if (pos < 0)
        return FLAC__STREAM_ENCODER_TELL_STATUS_ERROR;
    *offset = FLAC__uint64(pos);
    return FLAC__STREAM_ENCODER_TELL_STATUS_OK;
}

// One sample as the encoder gets it. 8-bit bytes go in uncentred and 16-bit
// samples as their first byte, sign-extended: the form in which these files
// have always been written.
int widen(unsigned char const *bytes, unsigned bits, int previous)
{
    switch (bits) {
    case 8:
        return bytes[0];
    case 16:
        return qint8(bytes[0]);
    case 24:
        return qint32(quint32(bytes[0]) << 8 | quint32(bytes[1]) << 16 | quint32(bytes[2]) << 24) >>
            8;
    case 32:
        return qint32(quint32(bytes[0]) | quint32(bytes[1]) << 8 | quint32(bytes[2]) << 16 |
                      quint32(bytes[3]) << 24);
    default:
        return previous;
    }
}

bool encode(FLAC__StreamEncoder *encoder, SoundSample const &sample, EncodeJob &job)
{
    FLAC__stream_encoder_set_channels(encoder, sample.channels);
    FLAC__stream_encoder_set_bits_per_sample(encoder, sample.bits);
    FLAC__stream_encoder_set_sample_rate(encoder, sample.frequency);
    FLAC__stream_encoder_set_compression_level(encoder, 8);
    if (FLAC__stream_encoder_init_stream(encoder, writeData, seekOutput, tellOutput, nullptr,
                                         &job) != FLAC__STREAM_ENCODER_INIT_STATUS_OK)
        return false;

    constexpr quint32 blockFrames = 10000;
    unsigned const width = sample.bits / 8;
    qsizetype const channels = sample.channels;
    // Never past the data, whatever the header claims.
    quint32 const available = width
        ? quint32(std::min<qint64>(sample.frames, sample.data.size() / (width * channels)))
        : sample.frames;
    auto const *in = reinterpret_cast<unsigned char const *>(sample.data.constData());
    QVector<int> block(qsizetype(blockFrames) * channels, 0);
    qsizetype source = 0;
    bool accepted = true;
    for (quint32 done = 0; accepted && done < available;) {
        quint32 const frames = std::min(blockFrames, available - done);
        qsizetype const count = qsizetype(frames) * channels;
        int *values = block.data();
        for (qsizetype i = 0; i < count; ++i) {
            values[i] = widen(in + source, sample.bits, values[i]);
            source += width;
        }
        // libFLAC 1.4 checks the range of every sample and refuses 8-bit
        // values above 127: that is a failure to report, not a file to keep.
        accepted = FLAC__stream_encoder_process_interleaved(encoder, values, frames);
        done += frames;
    }
    FLAC__stream_encoder_finish(encoder);
    return accepted;
}

} // namespace

SoundSample soundFromFLAC(QIODevice *device)
{
    if (!SoundCodecs::openForReading(device))
        return SoundSample();
    FLAC__StreamDecoder *decoder = FLAC__stream_decoder_new();
    if (!decoder)
        return SoundSample();
    DecodeJob job;
    job.device = device;
    bool const ok = decode(decoder, job);
    FLAC__stream_decoder_finish(decoder);
    FLAC__stream_decoder_delete(decoder);
    return ok ? job.sample : SoundSample();
}

bool soundToFLAC(SoundSample const &sample, QIODevice *device)
{
    if (!SoundCodecs::openForWriting(device) || sample.channels == 0)
        return false;
    FLAC__StreamEncoder *encoder = FLAC__stream_encoder_new();
    if (!encoder)
        return false;
    EncodeJob job{device};
    bool const ok = encode(encoder, sample, job);
    FLAC__stream_encoder_delete(encoder);
    return ok;
}

} // namespace Kenro
