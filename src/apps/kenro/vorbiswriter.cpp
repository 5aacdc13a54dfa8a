#include "vorbiswriter.h"

#include <QIODevice>
#include <QRandomGenerator>

#include <vorbis/vorbisenc.h>

namespace Kenro::Cli {

namespace {

// libvorbis's states, cleared in the reverse order of their making.
class VorbisStream
{
public:
    explicit VorbisStream(QIODevice *device) : m_device(device) { vorbis_info_init(&m_info); }

    ~VorbisStream()
    {
        if (m_analysing) {
            vorbis_block_clear(&m_block);
            vorbis_dsp_clear(&m_dsp);
        }
        if (m_streaming)
            ogg_stream_clear(&m_stream);
        vorbis_info_clear(&m_info);
    }

    bool start(SoundSample const &sample)
    {
        if (vorbis_encode_init_vbr(&m_info, sample.channels, long(sample.frequency), 0.4f) != 0 ||
            vorbis_analysis_init(&m_dsp, &m_info) != 0)
            return false;
        vorbis_block_init(&m_dsp, &m_block);
        m_analysing = true;
        ogg_stream_init(&m_stream, int(QRandomGenerator::global()->bounded(1 << 30)));
        m_streaming = true;

        vorbis_comment comment;
        vorbis_comment_init(&comment);
        ogg_packet header, commentHeader, codeHeader;
        int const result =
            vorbis_analysis_headerout(&m_dsp, &comment, &header, &commentHeader, &codeHeader);
        vorbis_comment_clear(&comment);
        if (result != 0)
            return false;
        ogg_stream_packetin(&m_stream, &header);
        ogg_stream_packetin(&m_stream, &commentHeader);
        ogg_stream_packetin(&m_stream, &codeHeader);
        ogg_page page;
        // The headers stand on pages of their own, before any sound.
        while (ogg_stream_flush(&m_stream, &page) != 0)
            writePage(page);
        return m_ok;
    }

    float **buffer(int frames) { return vorbis_analysis_buffer(&m_dsp, frames); }

    /// Tells the encoder that \a frames were put in the buffer (0 ends the stream) and writes what is ready.
    bool wrote(int frames)
    {
        vorbis_analysis_wrote(&m_dsp, frames);
        ogg_packet packet;
        ogg_page page;
        while (m_ok && vorbis_analysis_blockout(&m_dsp, &m_block) == 1) {
            vorbis_analysis(&m_block, nullptr);
            vorbis_bitrate_addblock(&m_block);
            while (vorbis_bitrate_flushpacket(&m_dsp, &packet) == 1) {
                ogg_stream_packetin(&m_stream, &packet);
                while (ogg_stream_pageout(&m_stream, &page) != 0)
                    writePage(page);
            }
        }
        // The last page goes out whole, end-of-stream mark included.
        if (frames == 0) {
            while (ogg_stream_flush(&m_stream, &page) != 0)
                writePage(page);
        }
        return m_ok;
    }

private:
    void writePage(ogg_page const &page)
    {
        m_ok = m_ok &&
            m_device->write(reinterpret_cast<char const *>(page.header), page.header_len) ==
                page.header_len;
        m_ok = m_ok &&
            m_device->write(reinterpret_cast<char const *>(page.body), page.body_len) ==
                page.body_len;
    }

    QIODevice *m_device;
    vorbis_info m_info{};
    vorbis_dsp_state m_dsp{};
    vorbis_block m_block{};
    ogg_stream_state m_stream{};
    bool m_analysing = false;
    bool m_streaming = false;
    bool m_ok = true;
};

} // namespace

bool writeVorbis(SoundSample const &sample, QIODevice *device)
{
    int const width = sample.bits == 20 ? 3 : sample.bits / 8;
    if (!device || sample.channels == 0 || width == 0 || sample.frequency == 0)
        return false;
    VorbisStream stream(device);
    if (!stream.start(sample))
        return false;
    qint64 const frameBytes = qint64(width) * sample.channels;
    // Never past the data, whatever the header claims.
    qint64 const frames = qMin<qint64>(sample.frames, sample.data.size() / frameBytes);
    char const *in = sample.data.constData();
    constexpr qint64 chunk = 4096;
    for (qint64 done = 0; done < frames;) {
        int const count = int(qMin(chunk, frames - done));
        float **buffer = stream.buffer(count);
        for (int i = 0; i < count; ++i) {
            char const *frame = in + (done + i) * frameBytes;
            for (int c = 0; c < sample.channels; ++c)
                buffer[c][i] = decodeSample(frame + c * width, sample.bits);
        }
        if (!stream.wrote(count))
            return false;
        done += count;
    }
    return stream.wrote(0);
}

} // namespace Kenro::Cli
