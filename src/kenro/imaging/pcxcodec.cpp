#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/imageinfo.h>
#include <kenro/imaging/rgb.h>

#include "bytechunks_p.h"
#include "devicereader_p.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <QImageReader>

namespace Kenro {

namespace {

constexpr int HeaderSize = 128;
constexpr uchar PaletteMarker = 12;
// Both sides of a PCX run fit in the low six bits of a byte of 0xC0 or more.
constexpr int MaximumRun = 63;

struct PcxHeader
{
    uchar manufacturer = 0;
    uchar version = 0;
    uchar encoding = 0;
    uchar bitsPerPixel = 0;
    quint16 xMin = 0;
    quint16 yMin = 0;
    quint16 xMax = 0;
    quint16 yMax = 0;
    RGB colors[16] = {};
    uchar planes = 0;
    quint16 bytesPerLine = 0;
};

PcxHeader readHeader(DeviceReader &in)
{
    PcxHeader header;
    header.manufacturer = in.byte();
    header.version = in.byte();
    header.encoding = in.byte();
    header.bitsPerPixel = in.byte();
    header.xMin = in.word();
    header.yMin = in.word();
    header.xMax = in.word();
    header.yMax = in.word();
    in.word(); // resolutions
    in.word();
    for (RGB &color : header.colors) {
        color.r = in.byte();
        color.g = in.byte();
        color.b = in.byte();
    }
    in.byte(); // reserved
    header.planes = in.byte();
    header.bytesPerLine = in.word();
    in.word(); // palette information
    for (int i = 0; i < 58; ++i)
        in.byte();
    return header;
}

void appendWord(QByteArray &out, quint16 value)
{
    out.append(char(value & 0xFF));
    out.append(char(value >> 8));
}

QByteArray headerBytes(QImage const &image, int planes)
{
    QByteArray out;
    out.reserve(HeaderSize);
    out.append(char(10)); // manufacturer
    out.append(char(5)); // version
    out.append(char(1)); // run-length encoding
    out.append(char(8)); // bits per pixel and plane
    appendWord(out, 0);
    appendWord(out, 0);
    appendWord(out, quint16(image.width() - 1));
    appendWord(out, quint16(image.height() - 1));
    appendWord(out, 0);
    appendWord(out, 0);
    out.append(48, '\0'); // 16-colour palette
    out.append('\0'); // reserved
    out.append(char(planes));
    // No padding byte is ever written, so the line length is the width, odd or not.
    appendWord(out, quint16(image.width()));
    appendWord(out, 1);
    out.append(58, '\0');
    return out;
}

// Reads the 256-colour palette behind 8-bit pixel data, or makes the
// fallback of the 16 header colours and black. True for a real palette.
bool readPalette(QIODevice *device, PcxHeader const &header, QList<QRgb> &table)
{
    qint64 const pos = device->pos();
    qint64 const size = device->size();
    // Kept as it always was: with anything between the pixels and the marker
    // this lands on the first palette byte, and the fallback is taken.
    if (pos + 0x301 < size)
        device->skip(size - pos - 0x300);
    char marker = 0;
    if (!device->atEnd())
        device->getChar(&marker);
    table.clear();
    if (uchar(marker) == PaletteMarker && device->bytesAvailable() >= 768) {
        QByteArray const bytes = device->read(768);
        if (bytes.size() == 768) {
            auto const *rgb = reinterpret_cast<uchar const *>(bytes.constData());
            table.reserve(256);
            for (int i = 0; i < 256; ++i)
                table.append(qRgb(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]));
            return true;
        }
    }
    table.reserve(256);
    for (RGB const &color : header.colors)
        table.append(qRgb(color.r, color.g, color.b));
    while (table.size() < 256)
        table.append(qRgb(0, 0, 0));
    return false;
}

// Writes the PCX runs of one plane of one line.
void encodeLine(QByteArray &out, uchar const *line, int width, int step)
{
    int x = 0;
    while (x < width) {
        uchar const value = line[x * step];
        int run = 1;
        while (x + run < width && run < MaximumRun && line[(x + run) * step] == value)
            ++run;
        if (run > 1 || value >= 0xC0)
            out.append(char(0xC0 | run));
        out.append(char(value));
        x += run;
    }
}

// True when an image of \a w x \a h pixels would take more memory than Qt
// lets an image read from a file take (QImageReader::allocationLimit(), which
// the host may change): such an image is not made, as if the memory were not
// there. A few bytes of run-length data can stand for gigabytes of pixels.
bool exceedsImageLimit(int w, int h, QImage::Format format)
{
    int const megabytes = QImageReader::allocationLimit();
    if (megabytes <= 0)
        return false;
    qint64 const bitsPerPixel = QImage::toPixelFormat(format).bitsPerPixel();
    qint64 const lineBytes = (qint64(w) * bitsPerPixel + 31) / 32 * 4;
    return lineBytes * h > qint64(megabytes) * 1024 * 1024;
}

} // namespace

bool loadPCX(QImage &image, QIODevice *device, bool *hasPalette)
{
    if (!openForReading(device))
        return false;
    qint64 const available = device->isSequential() ? -1 : device->bytesAvailable();
    DeviceReader in(device, available);
    PcxHeader const header = readHeader(in);
    int const depth = header.bitsPerPixel * header.planes;
    QImage::Format const format = imageFormatOfDepth(depth);
    if (header.manufacturer != 10 || header.version != 5 || format == QImage::Format_Invalid)
        return false;

    int const w = int(header.xMax) - int(header.xMin) + 1;
    int const h = int(header.yMax) - int(header.yMin) + 1;
    if (w > 0 && h > 0 && (image.width() != w || image.height() != h || image.format() != format)) {
        // A byte of data gives at most one run of 63; data too short for the
        // header's size can only fail, so it does before taking the memory.
        qint64 const needed = qint64(h) * header.planes * header.bytesPerLine;
        if ((available >= 0 && (available - HeaderSize) * MaximumRun < needed) ||
            exceedsImageLimit(w, h, format)) {
            image = QImage();
            return false;
        }
        image = QImage(w, h, format);
    }
    if (image.isNull())
        return false;

    uchar *const bits = image.bits();
    qsizetype const stride = image.bytesPerLine();
    int const height = image.height();
    std::memset(bits, 0, size_t(image.sizeInBytes()));
    // 24-bit files go into the four-byte pixels of RGB32, the fourth byte left at 0.
    int const step = header.planes == 3 ? 4 : header.planes;
    qint64 column = 0;
    int plane = 0;
    int row = 0;
    uchar *line = bits;
    qsizetype offset = 0; // within the line, where the next value goes
    qint64 const lineBytes = header.bytesPerLine;
    // Single bytes and short runs of one plane are written as a chunk when
    // the chunk stays among the pixels that the line of the file reaches;
    // later packets overwrite what it wrote past the run.
    qsizetype const chunkLimit = std::min<qsizetype>({w, stride, header.bytesPerLine}) - 16;
    uchar const *next = in.next();
    uchar const *end = in.end();
    auto byte = [&in, &next, &end]() -> uchar { return in.byte(next, end); };
    while (row < height && (next != end || in.advance(next, end))) {
        uchar value = *next++;
        qint64 count = 1;
        if (value >= 0xC0) {
            count = value & 0x3F;
            value = byte();
        }
        // The run in pieces that end at the end of a plane's line; a line of
        // no bytes never ends.
        while (count > 0) {
            qint64 const piece = lineBytes > column ? std::min(count, lineBytes - column) : count;
            // Bytes past the width are padding of the file's lines: dropped.
            qint64 const stored = std::clamp<qint64>(w - column, 0, piece);
            if (step == 1 && stored <= 16 && offset <= chunkLimit) {
                Chunk16::filled(value).store(line + offset);
            } else if (step == 1) {
                qint64 const room = std::clamp<qint64>(stride - offset, 0, stored);
                std::memset(line + offset, value, size_t(room));
            } else {
                for (qint64 i = 0; i < stored && offset + i * step < stride; ++i)
                    line[offset + i * step] = value;
            }
            offset += stored * step;
            column += piece;
            count -= piece;
            if (column != lineBytes)
                continue;
            column = 0;
            if (++plane == header.planes) {
                plane = 0;
                if (++row == height)
                    break;
                line = bits + row * stride;
            }
            offset = plane;
        }
    }
    in.take(next);
    if (row < height) {
        image = QImage();
        return false;
    }
    bool const ok = in.ok();
    in.finish();

    if (depth > 8) {
        // File order is red, green, blue; memory order of a QRgb is blue first.
        for (int y = 0; y < height; ++y) {
            uchar *pixel = bits + y * stride;
            for (int x = 0; x < image.width(); ++x, pixel += 4)
                std::swap(pixel[0], pixel[2]);
        }
        if (hasPalette)
            *hasPalette = false;
    } else if (depth == 8) {
        QList<QRgb> table;
        bool const found = readPalette(device, header, table);
        image.setColorTable(table);
        if (hasPalette)
            *hasPalette = found;
    }
    return ok;
}

bool savePCX(QImage const &image, QIODevice *device)
{
    if (!openForWriting(device))
        return false;
    int const planes = imageDepthOfFormat(image.format()) / 8;
    QByteArray out = headerBytes(image, planes);
    if (planes == 0)
        return writeAll(device, out);

    // Planes of colour images are red, green, blue and alpha: the bytes of a
    // swapped QRgb in memory.
    QImage const source = planes > 1 ? image.rgbSwapped() : image;
    int const step = planes > 1 ? 4 : 1;
    int const width = source.width();
    out.reserve(out.size() + qsizetype(source.sizeInBytes()) + 769);
    for (int y = 0; y < source.height(); ++y) {
        uchar const *line = source.constScanLine(y);
        for (int plane = 0; plane < planes; ++plane)
            encodeLine(out, line + plane, width, step);
    }
    if (planes == 1) {
        out.append(char(PaletteMarker));
        QList<QRgb> table = image.colorTable();
        table.resize(256);
        for (QRgb color : std::as_const(table)) {
            out.append(char(qRed(color)));
            out.append(char(qGreen(color)));
            out.append(char(qBlue(color)));
        }
    }
    return writeAll(device, out);
}

} // namespace Kenro
