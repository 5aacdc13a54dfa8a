// Ogg Vorbis: reading through vorbisfile over device callbacks, writing
// through libvorbisenc's VBR mode into Ogg pages.
#include <kenro/sound/soundcodecs.h>

#include "soundcodecs_p.h"

#include <vorbis/codec.h>
#include <vorbis/vorbisenc.h>
#include <vorbis/vorbisfile.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace Kenro {

namespace {

size_t readOgg(void *buffer, size_t size, size_t count, void *source)
{
    qint64 const read =
        static_cast<QIODevice *>(source)->read(static_cast<char *>(buffer), qint64(size * count));
    return read < 0 ? 0 : size_t(read);
}

int seekOgg(void *source, ogg_int64_t offset, int whence)
{
    auto *device = static_cast<QIODevice *>(source);
    if (device->isSequential())
        return -1;
    qint64 target = offset;
    if (whence == SEEK_CUR)
        target = device->pos() + offset;
    else if (whence == SEEK_END)
        target = device->size() - offset;
    return SoundCodecs::seekWithin(device, target) ? 0 : -1;
}

long tellOgg(void *source)
{
    return long(static_cast<QIODevice *>(source)->pos());
}

bool writePage(QIODevice *device, ogg_page const &page)
{
    return device->write(reinterpret_cast<char const *>(page.header), page.header_len) ==
        page.header_len &&
        device->write(reinterpret_cast<char const *>(page.body), page.body_len) == page.body_len;
}

// The float that the encoder gets for one sample of \a width bytes.
float toFloat(unsigned char const *bytes, int width)
{
    switch (width) {
    case 2:
        return float(qint16(quint16(bytes[0] | bytes[1] << 8))) / 32767.0f;
    case 3:
        return float(quint32(bytes[0]) | quint32(bytes[1]) << 8 | quint32(bytes[2]) << 16) *
            5.9604645e-08f;
    case 4: {
        qint32 value;
        std::memcpy(&value, bytes, 4);
        return float(value) * 4.656613e-10f;
    }
    default:
        return float(bytes[0]) / 255.0f;
    }
}

struct Encoder
{
    ogg_stream_state stream{};
    vorbis_info info{};
    vorbis_dsp_state dsp{};
    vorbis_block block{};
    bool streamReady = false;
    bool dspReady = false;

    ~Encoder()
    {
        if (dspReady) {
            vorbis_block_clear(&block);
            vorbis_dsp_clear(&dsp);
        }
        if (streamReady)
            ogg_stream_clear(&stream);
        vorbis_info_clear(&info);
    }

    // Encodes every finished block and writes out the full pages.
    void drain(QIODevice *device)
    {
        ogg_packet packet;
        ogg_page page;
        while (vorbis_analysis_blockout(&dsp, &block) == 1) {
            vorbis_analysis(&block, nullptr);
            vorbis_bitrate_addblock(&block);
            while (vorbis_bitrate_flushpacket(&dsp, &packet) == 1) {
                ogg_stream_packetin(&stream, &packet);
                while (ogg_stream_pageout(&stream, &page) != 0)
                    writePage(device, page);
            }
        }
    }
};

} // namespace

SoundSample soundFromOGG(QIODevice *device)
{
    SoundSample sample;
    if (!SoundCodecs::openForReading(device))
        return sample;
    OggVorbis_File file;
    ov_callbacks const callbacks{readOgg, seekOgg, nullptr, tellOgg};
    if (ov_open_callbacks(device, &file, nullptr, 0, callbacks) != 0)
        return sample;
    vorbis_info const *info = ov_info(&file, -1);
    ogg_int64_t const total = ov_pcm_total(&file, -1);
    qint64 const size = info ? qint64(info->channels) * 2 * total : -1;
    if (info && info->channels > 0 && total >= 0 && size <= SoundCodecs::maxSampleBytes) {
        sample.channels = quint16(info->channels);
        sample.bits = 16;
        sample.frequency = quint32(info->rate);
        sample.frames = quint32(total);
        sample.data = QByteArray(size, '\0');
        qint64 done = 0;
        int section = 0;
        while (done < size) {
            int const request = int(std::min<qint64>(size - done, 1 << 30));
            long const read = ov_read(&file, sample.data.data() + done, request, 0, 2, 1, &section);
            if (read < 1)
                break;
            done += read;
        }
    }
    ov_clear(&file);
    return sample;
}

bool soundToOGG(SoundSample const &sample, QIODevice *device)
{
    if (!SoundCodecs::openForWriting(device) || sample.channels == 0)
        return false;
    Encoder encoder;
    vorbis_info_init(&encoder.info);
    if (vorbis_encode_init_vbr(&encoder.info, sample.channels, long(sample.frequency), 0.4f) != 0)
        return false;
    if (vorbis_analysis_init(&encoder.dsp, &encoder.info) != 0)
        return false;
    vorbis_block_init(&encoder.dsp, &encoder.block);
    encoder.dspReady = true;
    ogg_stream_init(&encoder.stream, std::rand());
    encoder.streamReady = true;

    vorbis_comment comment;
    vorbis_comment_init(&comment);
    ogg_packet header, commentHeader, codeHeader;
    int const headerResult =
        vorbis_analysis_headerout(&encoder.dsp, &comment, &header, &commentHeader, &codeHeader);
    vorbis_comment_clear(&comment);
    if (headerResult != 0)
        return false;
    ogg_stream_packetin(&encoder.stream, &header);
    ogg_stream_packetin(&encoder.stream, &commentHeader);
    ogg_stream_packetin(&encoder.stream, &codeHeader);
    ogg_page page;
    while (ogg_stream_flush(&encoder.stream, &page) != 0)
        writePage(device, page);

    constexpr qint64 roundFrames = 65536;
    int const channels = sample.channels;
    int const width = sample.bits / 8;
    qint64 const frameBytes = qint64(std::max(width, 1)) * channels;
    // The frames are divided by the channel count once more: stereo sound
    // keeps its first half, as these files always have.
    qint64 remaining = sample.frames / quint32(channels);
    // Never past the data, whatever the header claims.
    qint64 const available = std::min<qint64>(remaining, sample.data.size() / frameBytes);
    auto const *in = reinterpret_cast<unsigned char const *>(sample.data.constData());
    qint64 frame = 0;
    while (remaining > 0) {
        float **buffer = vorbis_analysis_buffer(&encoder.dsp, int(roundFrames));
        if (!buffer)
            break;
        qint64 const count = std::min(remaining, roundFrames);
        for (qint64 i = 0; i < count; ++i, ++frame) {
            for (int c = 0; c < channels; ++c)
                buffer[c][i] =
                    frame < available ? toFloat(in + frame * frameBytes + c * width, width) : 0.0f;
        }
        vorbis_analysis_wrote(&encoder.dsp, int(count));
        encoder.drain(device);
        remaining -= roundFrames;
    }
    // Only a length of whole rounds gets the end of stream.
    if (remaining == 0) {
        vorbis_analysis_wrote(&encoder.dsp, 0);
        encoder.drain(device);
    }
    return true;
}

} // namespace Kenro
