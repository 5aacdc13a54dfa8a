#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/imageinfo.h>

#include "bytechunks_p.h"
#include "devicereader_p.h"
#include "pixelbytes_p.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace Kenro {

namespace {

// RLE8 packets of 0x40 to 0x7F are runs of up to 63; every other byte is a pixel.
constexpr int MaximumRun = 63;

/**
 * Writes runs into the bytes of an image line by line. After each line of
 * lineBytes bytes the position skips padding; it never passes the end.
 */
class LineWriter
{
public:
    LineWriter(QImage &image, qint64 lineBytes, qint64 padding)
        : m_bits(image.bits()),
          m_size(image.isNull() ? 0 : qint64(image.height()) * image.bytesPerLine()),
          m_lineBytes(lineBytes),
          m_padding(padding)
    {}

    bool full() const { return m_pos >= m_size; }

    /// Writes one byte; inside a line that takes the short way.
    void put(uchar value)
    {
        if (Q_LIKELY(m_column + 1 < m_lineBytes && m_pos < m_size)) {
            m_bits[m_pos++] = value;
            ++m_column;
        } else {
            run(value, 1);
        }
    }

    /// Writes \a count bytes of \a value; a run may cross line ends and is cut at the end.
    void run(uchar value, qint64 count)
    {
        while (count > 0 && m_pos < m_size) {
            qint64 chunk = std::min(count, m_size - m_pos);
            // A line of no bytes never ends: the bytes then go on without padding.
            if (m_lineBytes > 0)
                chunk = std::min(chunk, m_lineBytes - m_column);
            std::memset(m_bits + m_pos, value, size_t(chunk));
            m_pos += chunk;
            m_column += chunk;
            count -= chunk;
            if (m_column == m_lineBytes) {
                m_column = 0;
                m_pos += m_padding;
            }
        }
    }

private:
    uchar *m_bits;
    qint64 m_size;
    qint64 m_lineBytes;
    qint64 m_padding;
    qint64 m_pos = 0;
    qint64 m_column = 0;
};

// Room behind an RLE8 buffer for the chunks that a packet ending at its end writes.
constexpr qint64 Rle8Slack = 64;
// A block of 64 stream bytes, and what the chunks of its last pixels read past it.
constexpr qint64 Rle8BlockReach = 96;

// The most pixels one block of 64 stream bytes gives: 32 runs of 63.
constexpr qint64 Rle8BlockPixels = 32 * 63;

/**
 * Decodes the packets of one RLE8 block of 64 stream bytes at \a next, which
 * starts at a packet: the bytes of 0x40 to 0x7F in it are found at once; of
 * a row of them that follows another byte, the first starts a run and the
 * second is its value, and so on alternately. So the run packets are known
 * before any is read, and the bytes between them are single pixels, copied
 * in chunks. Returns the stream bytes taken: 64, or 65 when the last byte
 * starts a run. When \a Bounded, stops before a packet that would write past
 * \a last; otherwise the block must fit.
 */
template<bool Bounded>
qint64 decodeRle8Block(uchar const *next, uchar *&out, uchar *last)
{
    constexpr quint64 even = 0x5555555555555555ULL;
    quint64 const tags = runTags(next);
    quint64 const starts = tags & ~(tags << 1);
    // Adding the starts at even places clears those rows: left are the rows
    // that start at odd places.
    quint64 const oddRows = (tags + (starts & even)) & tags;
    quint64 heads = ((tags & ~oddRows) & even) | (oddRows & ~even);
    qint64 taken = 0;
    uchar *to = out;
    while (heads != 0) {
        qint64 const at = qCountTrailingZeroBits(heads);
        heads &= heads - 1;
        qint64 const pixels = at - taken;
        uint const run = next[at] & 0x3F;
        if (Bounded && Q_UNLIKELY(to + pixels + run > last)) {
            out = to;
            return taken;
        }
        // Two chunks cover nearly every row of single pixels, and four
        // chunks any run: no branch on their lengths.
        Chunk16::load(next + taken).store(to);
        Chunk16::load(next + taken + 16).store(to + 16);
        if (Q_UNLIKELY(pixels > 32))
            copyChunks(to + 32, next + taken + 32, pixels - 32);
        to += pixels;
        Chunk16 const fill = Chunk16::filled(next[at + 1]);
        fill.store(to);
        fill.store(to + 16);
        fill.store(to + 32);
        fill.store(to + 48);
        to += run;
        taken = at + 2;
    }
    if (taken < 64) {
        qint64 pixels = 64 - taken;
        if (Bounded && Q_UNLIKELY(to + pixels > last))
            pixels = last - to;
        copyChunks(to, next + taken, pixels);
        to += pixels;
        taken += pixels;
    }
    out = to;
    return taken;
}

/**
 * Decodes RLE8 blocks while the chunk from \a next to \a end holds a whole
 * block, a run's value behind it and what a chunk copy reads past that.
 * Stops before a packet that would write past \a last.
 */
void decodeRle8Blocks(uchar const *&next, uchar const *end, uchar *&out, uchar *last)
{
    while (out < last && end - next >= Rle8BlockReach) {
        // Far from the end of the image, a block needs no test for each packet.
        if (last - out >= Rle8BlockPixels) {
            next += decodeRle8Block<false>(next, out, last);
            continue;
        }
        qint64 const taken = decodeRle8Block<true>(next, out, last);
        next += taken;
        if (taken < 64)
            return;
    }
}

} // namespace

bool loadRLE5(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    LineWriter out(image, image.width(), image.bytesPerLine() - image.width());
    DeviceReader in(device, qint64(image.width()) * image.height() + 16);
    while (!out.full() && !in.atEnd()) {
        int const first = in.byte() + 1;
        uchar const b = in.byte();
        // Without a colour byte the first run is of colour 0.
        uchar const color = b & 0x80 ? in.byte() & 0x1F : 0;
        out.run(color, first);
        for (int i = b & 0x1F; i > 0 && !out.full(); --i) {
            uchar const packet = in.byte();
            out.run(packet & 0x1F, (packet >> 5) + 1);
        }
    }
    return in.ok();
}

bool saveRLE5(QImage const &, QIODevice *)
{
    return false;
}

bool loadRLE8(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    qint64 const lineBytes = (qint64(image.width()) * imageDepthOfFormat(image.format()) + 7) / 8;
    // Only the low byte of the padding is taken, as the format always had it.
    qint64 const padding = uchar(image.bytesPerLine() - lineBytes);
    qint64 const size = image.isNull() ? 0 : qint64(image.height()) * image.bytesPerLine();
    // The stream's bytes one after the other, without padding: lines of
    // lineBytes bytes padding bytes apart until the end of the image. A line
    // of no bytes never ends, and the bytes then go on without padding.
    qint64 count = size;
    if (lineBytes > 0 && padding > 0) {
        qint64 const lines = size / (lineBytes + padding);
        count = lines * lineBytes + std::min(size - lines * (lineBytes + padding), lineBytes);
    }
    // Decoded into a buffer with room behind its end for whole chunks, then
    // copied into the lines: what the stream does not reach stays as it was.
    std::unique_ptr<uchar[]> const buffer(new (std::nothrow) uchar[size_t(count + Rle8Slack)]);
    if (!buffer)
        return false;
    uchar *const first = buffer.get();
    uchar *const last = first + count;
    uchar *out = first;

    DeviceReader in(device, count + 16);
    uchar const *next = in.next();
    uchar const *end = in.end();
    while (out < last) {
        decodeRle8Blocks(next, end, out, last);
        if (out == last || (next == end && !in.advance(next, end)))
            break;
        // Near the end of the chunk or of the image: one packet, byte by byte.
        uint const p = *next++;
        if ((p & 0xC0) == 0x40) {
            uint value = 0;
            if (next != end || in.advance(next, end))
                value = *next++;
            else
                in.setPastEnd();
            qint64 const run = std::min<qint64>(p & 0x3F, last - out);
            std::memset(out, int(value), size_t(run));
            out += run;
        } else {
            *out++ = uchar(p);
        }
    }
    in.take(next);
    bool const ok = in.ok();
    in.finish();

    if (out > first) {
        qint64 const stride = lineBytes > 0 && padding > 0 ? lineBytes + padding : count;
        copyLines(image.bits(), stride, first, stride == count ? count : lineBytes, out - first);
    }
    return ok;
}

bool saveRLE8(QImage const &image, QIODevice *device)
{
    if (!openForWriting(device))
        return false;
    PixelBytes const pixels(image, qint64(image.width()) * (image.depth() / 8));
    uchar const *const data = pixels.data();
    qint64 const n = pixels.size();
    QByteArray out;
    out.reserve(qsizetype(n / 2 + 16));
    for (qint64 i = 0; i < n;) {
        uchar const value = data[i];
        int run = 1;
        while (run < MaximumRun && i + run < n && data[i + run] == value)
            ++run;
        // A lone byte stands for itself unless it looks like a run.
        if (run == 1 && (value < 0x40 || value > 0x7F)) {
            out.append(char(value));
        } else {
            out.append(char(run | 0x40));
            out.append(char(value));
        }
        i += run;
    }
    return writeAll(device, out);
}

} // namespace Kenro
