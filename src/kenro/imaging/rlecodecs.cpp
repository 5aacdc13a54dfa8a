#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/imageinfo.h>

#include "devicereader_p.h"
#include "pixelbytes_p.h"

#include <algorithm>
#include <cstring>

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
    LineWriter out(image, lineBytes, padding);
    DeviceReader in(device, lineBytes * image.height() + 16);
    while (!out.full() && !in.atEnd()) {
        uchar const p = in.byte();
        if ((p & 0xC0) == 0x40) {
            int const count = p & 0x3F;
            uchar const value = in.byte();
            out.run(value, count);
        } else {
            out.put(p);
        }
    }
    return in.ok();
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
