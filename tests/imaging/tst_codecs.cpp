// The image codecs on streams written by hand, on the real streams cut out of sprite
// archives, and on random streams against the byte-by-byte decoders below.
#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/imageinfo.h>

#include "bytechunks_p.h"
#include "rle8paths_p.h"
#include "sequentialdevice.h"
#include "streammanifest.h"
#include "testdata.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>

using namespace Kenro;
using KenroTest::noise;
using KenroTest::StreamEntry;

using Load = std::function<bool(QImage &, QIODevice *)>;
using Save = std::function<bool(QImage const &, QIODevice *)>;
Q_DECLARE_METATYPE(Load)
Q_DECLARE_METATYPE(Save)
Q_DECLARE_METATYPE(KenroTest::StreamEntry)
Q_DECLARE_METATYPE(Kenro::Rle8Path)

namespace {

auto const hex = [](char const *bytes) { return QByteArray::fromHex(bytes); };
QImage indexed(int width, int height, QByteArray const &pixels)
{
    QImage image(width, height, QImage::Format_Indexed8);
    for (int y = 0; y < height && width > 0; ++y)
        memcpy(image.scanLine(y), pixels.constData() + y * width, size_t(width));
    return image;
}
QByteArray pixels(QImage const &image)
{
    QByteArray packed;
    for (int y = 0; y < image.height(); ++y)
        packed.append(reinterpret_cast<char const *>(image.constScanLine(y)),
                      qsizetype(image.width()) * image.depth() / 8);
    return packed;
}
QImage filled(QSize size, QImage::Format format, uchar value = 0xEE)
{
    QImage image(size, format);
    memset(image.bits(), value, size_t(image.sizeInBytes()));
    return image;
}
template<typename Function>
QByteArray saved(Function save)
{
    QByteArray stream;
    QBuffer out(&stream);
    return save(&out) ? stream : QByteArray("<failed>");
}
// A buffer, but not a QBuffer as such, open for reading.
struct Source : QBuffer
{
    explicit Source(QByteArray const &data)
    {
        setData(data);
        open(QIODevice::ReadOnly);
    }
};
QList<QPair<Rle8Path, char const *>> rle8Paths()
{
    QList<QPair<Rle8Path, char const *>> paths{{Rle8Path::Portable, "portable"}};
    Rle8Path const chosen = rle8Path();
    if (setRle8Path(Rle8Path::Avx2))
        paths.append({Rle8Path::Avx2, "AVX2"});
    if (setRle8Path(Rle8Path::Avx512))
        paths.append({Rle8Path::Avx512, "AVX-512"});
    setRle8Path(chosen);
    return paths;
}
auto const loadPcx = [](QImage &image, QIODevice *device) {
    return loadPCX(image, device, nullptr);
};
auto const saveLz5 = [](QImage const &image, QIODevice *device) {
    return saveLZ5(image, device, true);
};
// A PCX header for an image at 0, 0; the 16 header colours are (i, 2i, 3i).
QByteArray pcxHeader(int width, int height, int bytesPerLine = -1, int planes = 1, int bits = 8)
{
    QByteArray data = hex("0a0501") + char(bits) + QByteArray(124, 0);
    data[65] = char(planes);
    data[68] = 1;
    qToLittleEndian(quint16(width - 1), data.data() + 8);
    qToLittleEndian(quint16(height - 1), data.data() + 10);
    qToLittleEndian(quint16(bytesPerLine < 0 ? width : bytesPerLine), data.data() + 66);
    for (int i = 0; i < 48; ++i)
        data[16 + i] = char(i / 3 * (i % 3 + 1));
    return data;
}
// The marker and a palette of 256 colours (255 - i, i, 7).
QByteArray pcxPalette()
{
    QByteArray data(1, 12);
    for (int i = 0; i < 256; ++i)
        data += QByteArray(1, char(255 - i)) + char(i) + char(7);
    return data;
}
// Noise of every byte value; RGB32 pixels opaque, as the format reads them back.
QImage noiseImage(int width, int height, QImage::Format format, quint32 seed)
{
    QImage image(width, height, format);
    QByteArray const data = noise(image.sizeInBytes(), seed);
    memcpy(image.bits(), data.constData(), size_t(data.size()));
    return format == QImage::Format_RGB32
        ? image.convertToFormat(QImage::Format_ARGB32).convertToFormat(format)
        : image;
}
// A small indexed image with a palette, that every format can carry.
QImage sample()
{
    QImage image = indexed(5, 3, hex("010101020304040404040001000100"));
    for (int i = 0; i < 256; ++i)
        image.setColor(i, qRgb(i, 255 - i, i / 2));
    return image;
}
// A trickling pipe gives five bytes a read, so that chunks end anywhere in a packet.
char const *const deviceNames[] = {"buffer", "buffer at an offset", "buffer subclass", "pipe",
                                   "trickling pipe"};
std::unique_ptr<QIODevice> makeDevice(int kind, QByteArray const &data)
{
    if (kind >= 3)
        return std::make_unique<KenroTest::SequentialDevice>(data, QIODevice::NotOpen,
                                                             kind == 3 ? 0 : 5);
    if (kind == 2)
        return std::make_unique<Source>(data);
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(kind == 0 ? data : "prefix" + data);
    if (kind == 1 && buffer->open(QIODevice::ReadOnly))
        buffer->seek(6);
    return buffer;
}
// Reads a stream as a data stream does: zeros past the end, remembering it.
struct Bytes
{
    QByteArray const &data;
    qsizetype taken = 0;
    bool past = false;
    bool atEnd() const { return taken >= data.size(); }
    uint next() { return (past = past || atEnd()) ? 0 : uchar(data[taken++]); }
};
// Writes bytes into the lines of an image, skipping the padding behind each line.
struct Lines
{
    uchar *bits;
    qint64 size, lineBytes, padding;
    qint64 pos = 0, column = 0;
    bool full() const { return pos >= size; }
    void put(uint value)
    {
        if (full())
            return;
        bits[pos++] = uchar(value);
        if (++column == lineBytes) {
            column = 0;
            pos += padding;
        }
    }
};
struct Outcome
{
    bool ok;
    qsizetype taken; // stream bytes read
};
Outcome referenceRle8(QImage &image, QByteArray const &stream)
{
    qint64 const lineBytes = (qint64(image.width()) * imageDepthOfFormat(image.format()) + 7) / 8;
    Lines out{image.bits(), image.sizeInBytes(), lineBytes,
              uchar(image.bytesPerLine() - lineBytes)};
    Bytes in{stream};
    while (!out.full() && !in.atEnd()) {
        uint const p = in.next();
        uint const value = (p & 0xC0) == 0x40 ? in.next() : p;
        for (uint i = (p & 0xC0) == 0x40 ? p & 0x3F : 1; i > 0; --i)
            out.put(value);
    }
    return {!in.past, in.taken};
}
Outcome referenceRle5(QImage &image, QByteArray const &stream)
{
    Lines out{image.bits(), image.sizeInBytes(), image.width(),
              image.bytesPerLine() - image.width()};
    Bytes in{stream};
    while (!out.full() && !in.atEnd()) {
        uint const first = in.next() + 1;
        uint const b = in.next();
        uint const color = b & 0x80 ? in.next() & 0x1F : 0;
        for (uint i = 0; i < first; ++i)
            out.put(color);
        for (uint i = b & 0x1F; i > 0 && !out.full(); --i) {
            uint const packet = in.next();
            for (uint k = 0; k <= packet >> 5; ++k)
                out.put(packet & 0x1F);
        }
    }
    return {!in.past, in.taken};
}
Outcome referenceLz5(QImage &image, QByteArray const &stream)
{
    qint64 const size = qint64(image.width()) * image.height();
    QByteArray pixels(size, '\0'); // what the stream does not reach is zero
    Bytes in{stream};
    qint64 pos = 0;
    uint control = 0;
    int packet = 0;
    int place = 0; // of a short back-reference in its group of four
    uint recycled = 0;
    bool ok = true;
    while (pos < size && !in.atEnd()) {
        if (packet == 0)
            control = in.next();
        bool const reference = control >> packet & 1;
        packet = (packet + 1) % 8;
        uint const first = in.next();
        uint length = reference ? first & 0x3F : first >> 5;
        qint64 offset = 0;
        if (!reference && length == 0) {
            length = in.next() + 8;
        } else if (reference && length == 0) {
            offset = ((first >> 6) << 8 | in.next()) + 1;
            length = in.next() + 3;
        } else if (reference) {
            ++length;
            recycled |= (first >> 6) << (6 - 2 * place);
            offset = (place < 3 ? in.next() : recycled) + 1;
            recycled = place < 3 ? recycled : 0;
            place = (place + 1) % 4;
        }
        if (offset > pos) { // before the first pixel: the stream is broken
            ok = false;
            break;
        }
        for (uint i = 0; i < length && pos < size; ++i, ++pos)
            pixels[pos] = reference ? pixels[pos - offset] : char(first & 0x1F);
    }
    qsizetype const taken = std::min<qsizetype>(image.width(), image.bytesPerLine());
    for (int y = 0; y < image.height(); ++y)
        memcpy(image.scanLine(y), pixels.constData() + qint64(y) * image.width(), size_t(taken));
    return {ok && !in.past, in.taken};
}
// PCX up to the palette, which the codec tests look after.
Outcome referencePcx(QImage &image, QByteArray const &file)
{
    Bytes in{file};
    uchar h[128];
    for (uchar &byte : h)
        byte = uchar(in.next());
    auto word = [&h](int at) { return h[at] | h[at + 1] << 8; };
    int const planes = h[65];
    QImage::Format const format = imageFormatOfDepth(h[3] * planes);
    int const w = word(8) - word(4) + 1;
    int const height = word(10) - word(6) + 1;
    if (h[0] != 10 || h[1] != 5 || format == QImage::Format_Invalid)
        return {false, in.taken};
    if (w > 0 && height > 0 && (image.size() != QSize(w, height) || image.format() != format))
        image = QImage(w, height, format);
    if (image.isNull())
        return {false, in.taken};
    memset(image.bits(), 0, size_t(image.sizeInBytes()));
    qint64 column = 0;
    int plane = 0;
    int row = 0;
    qsizetype offset = 0;
    while (row < image.height() && !in.atEnd()) {
        uint const p = in.next();
        uint const value = p >= 0xC0 ? in.next() : p;
        for (uint count = p >= 0xC0 ? p & 0x3F : 1; count > 0 && row < image.height(); --count) {
            if (column < w && offset < image.bytesPerLine())
                image.scanLine(row)[offset] = uchar(value);
            offset += column < w ? (planes == 3 ? 4 : planes) : 0;
            if (++column != word(66))
                continue;
            column = 0;
            row += (plane = (plane + 1) % planes) == 0;
            offset = plane;
        }
    }
    if (row < image.height()) {
        image = QImage();
        return {false, in.taken};
    }
    for (int y = 0; image.depth() > 8 && y < image.height(); ++y) {
        uchar *pixel = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x, pixel += 4)
            std::swap(pixel[0], pixel[2]); // file order red, green, blue
    }
    return {!in.past, in.taken};
}
// An image whose bytes, padding included, are pixels with runs, repeats of
// earlier pixels near and far, and noise.
QImage structuredImage(QSize size, QImage::Format format, QRandomGenerator &random,
                       int modulo = 256)
{
    QImage image(size, format);
    QByteArray pixels;
    while (pixels.size() < image.sizeInBytes()) {
        int const kind = pixels.size() < 2 ? 0 : random.bounded(4);
        qsizetype const distance = kind == 1 ? random.bounded(1, int(qMin(pixels.size(), 600))) : 0;
        if (kind == 0)
            pixels.append(random.bounded(1, 80), char(random.bounded(modulo)));
        for (int i = kind == 1 ? random.bounded(2, 140) : 0; i > 0; --i)
            pixels.append(pixels[pixels.size() - distance]);
        for (int i = kind > 1 ? random.bounded(1, 12) : 0; i > 0; --i)
            pixels.append(char(random.bounded(modulo)));
    }
    memcpy(image.bits(), pixels.constData(), size_t(image.sizeInBytes()));
    return image;
}
// Bytes of which a share of about one in \a oneIn are from 0x40 to 0x7F.
QByteArray biasedNoise(int count, QRandomGenerator &random, int oneIn)
{
    QByteArray data;
    for (int i = 0; i < count; ++i) {
        int const byte = random.bounded(256);
        data.append(char(random.bounded(oneIn) == 0 ? 0x40 | (byte & 0x3F) : byte));
    }
    return data;
}
QSize caseSize(QRandomGenerator &random)
{
    if (random.bounded(5) == 0)
        return QSize(random.bounded(100, 400), random.bounded(10, 40));
    return QSize(random.bounded(1, 70), random.bounded(1, 40));
}
QByteArray mutated(QByteArray stream, QRandomGenerator &random)
{
    int const kind = random.bounded(4);
    if (kind == 0 && !stream.isEmpty())
        stream.truncate(random.bounded(int(stream.size())));
    for (int i = kind == 1 ? random.bounded(1, 4) : 0; i > 0 && !stream.isEmpty(); --i)
        stream[random.bounded(int(stream.size()))] = char(random.bounded(256));
    return stream;
}
using Loader = bool (*)(QImage &, QIODevice *);
using Reference = Outcome (*)(QImage &, QByteArray const &);
// What differs between \a load and \a reference on \a stream and a tail; empty for nothing.
QString disagreement(Loader load, Reference reference, QImage const &image,
                     QByteArray const &stream, int kind, bool checkUnread)
{
    QByteArray const data = stream + "tail";
    QImage expected = image.copy();
    Outcome const outcome = reference(expected, data);
    QImage decoded = image.copy();
    std::unique_ptr<QIODevice> const device = makeDevice(kind, data);
    bool const ok = load(decoded, device.get());
    QByteArray const unread = device->readAll();
    if (ok != outcome.ok)
        return QStringLiteral("result %1, expected %2").arg(ok).arg(outcome.ok);
    if (decoded.size() != expected.size() || decoded.format() != expected.format())
        return QStringLiteral("size or format differs");
    uchar const *const end = decoded.constBits() + decoded.sizeInBytes();
    auto const [at, wanted] = std::mismatch(decoded.constBits(), end, expected.constBits());
    if (at != end)
        return QString::asprintf("byte %td: %d, expected %d", at - decoded.constBits(), *at,
                                 *wanted);
    if (checkUnread && unread != data.mid(outcome.taken))
        return QString::asprintf("%lld bytes unread, expected %lld", qint64(unread.size()),
                                 qint64(data.size() - outcome.taken));
    return QString();
}
struct Case
{
    QImage image;
    QByteArray stream;
};
// RLE8 packets that encoders seldom write: runs of 0 to 3, run values that
// are run bytes, rows of up to 2,000 single pixels; images filled or not.
Case rle8Mixed(QRandomGenerator &random)
{
    QByteArray stream;
    qint64 pixels = 0;
    for (int i = random.bounded(20, 1500); i > 0; --i) {
        int const kind = random.bounded(40);
        if (kind < 26) {
            int const run = kind < 20 ? random.bounded(4) : random.bounded(64);
            int const value = random.bounded(2) ? random.bounded(0x40, 0x80) : random.bounded(256);
            stream += char(0x40 | run);
            stream += char(value);
            pixels += run;
            continue;
        }
        int const row = kind == 26 ? random.bounded(100, 2200) : random.bounded(1, 40);
        for (int j = 0; j < row; ++j) {
            char const byte = char(random.bounded(256) | (random.bounded(2) ? 0x80 : 0));
            stream.append((byte & 0xC0) == 0x40 ? char(byte | 0x80) : byte);
        }
        pixels += row;
    }
    int const width = random.bounded(1, 700);
    qint64 const height = std::max<qint64>(1, pixels * random.bounded(50, 130) / 100 / width);
    return {filled(QSize(width, int(height)), QImage::Format_Indexed8), stream};
}
Case rle8Case(QRandomGenerator &random, int)
{
    QImage::Format const formats[] = {QImage::Format_Indexed8, QImage::Format_Indexed8,
                                      QImage::Format_RGB32, QImage::Format_ARGB32,
                                      QImage::Format_Mono};
    Case c{filled(caseSize(random), formats[random.bounded(5)]), {}};
    int const kind = random.bounded(5);
    if (kind == 4)
        return rle8Mixed(random);
    if (kind < 2) { // encoded pixels: runs of every length, bytes that must be runs of one
        QImage const source = structuredImage(c.image.size(), c.image.format(), random);
        c.stream = mutated(saved([&](QIODevice *d) { return saveRLE8(source, d); }), random);
    } else { // rows of run bytes, each one a run or the value of one
        c.stream = kind == 2 ? biasedNoise(random.bounded(2000), random, 2)
                             : biasedNoise(random.bounded(3000), random, random.bounded(1, 8));
    }
    return c;
}
Case rle5Case(QRandomGenerator &random, int)
{
    // Any bytes make packets; long ones have up to 31 run bytes.
    Case c{
        filled(caseSize(random), random.bounded(6) ? QImage::Format_Indexed8 : QImage::Format_Mono),
        noise(random.bounded(3000), random.generate())};
    for (int at = random.bounded(2) ? 1 : int(c.stream.size()); at < c.stream.size(); at += 34)
        c.stream[at] = char(0x80 | 31);
    return c;
}
Case lz5Case(QRandomGenerator &random, int)
{
    QImage const image =
        filled(caseSize(random), random.bounded(8) ? QImage::Format_Indexed8 : QImage::Format_Mono);
    if (random.bounded(4) == 0)
        return {image, noise(random.bounded(1000), random.generate())};
    // Runs and back-references, near ones overlapping what they copy.
    QImage const source = structuredImage(image.size(), QImage::Format_Indexed8, random, 32);
    bool const references = random.bounded(4) != 0;
    return {image,
            mutated(saved([&](QIODevice *d) { return saveLZ5(source, d, references); }), random)};
}
Case pcxCase(QRandomGenerator &random, int)
{
    QImage::Format const formats[] = {QImage::Format_Indexed8, QImage::Format_RGB32,
                                      QImage::Format_ARGB32};
    QSize const size = caseSize(random);
    QImage const source = structuredImage(size, formats[random.bounded(3)], random);
    QByteArray file = saved([&](QIODevice *d) { return savePCX(source, d); });
    int const kind = random.bounded(5);
    if (kind == 0) { // lines of the file longer or shorter than the width
        int const bytesPerLine = std::max(1, size.width() + random.bounded(-5, 6));
        qToLittleEndian(quint16(bytesPerLine), file.data() + 66);
    } else if (kind == 1) { // bits and planes whose pixels outgrow the lines of the image
        file[3] = char(1);
        file[65] = char(random.bounded(2) ? 5 : 8);
    }
    // A target of another size is replaced; one of the same is reused.
    return {filled(random.bounded(2) ? size : QSize(3, 2), QImage::Format_Indexed8),
            mutated(file, random)};
}
// Noise behind a header that gets past the checks, into no image.
Case pcxNoiseCase(QRandomGenerator &random, int)
{
    QSize const size = caseSize(random);
    int const planes = random.bounded(3) ? 1 : 4;
    return {QImage(),
            pcxHeader(size.width(), size.height(), random.bounded(45), planes) +
                noise(random.bounded(900), random.generate())};
}
// Streams against the blocks of 64 bytes read at once, into images that end
// before, inside and after their pixels: 13 streams in 15 sizes.
Case rle8EdgeCase(QRandomGenerator &, int round)
{
    static QList<QByteArray> const streams = [] {
        QByteArray const tail(100, 0x33);
        // Byte 63 ends a run, or starts one whose value is in the next block.
        QList<QByteArray> list{QByteArray(62, 0x11) + hex("4322") + tail,
                               QByteArray(62, 0x11) + hex("014544") + tail};
        // A row of run bytes of odd and even length across the block's end.
        for (int row = 1; row <= 6; ++row)
            list << QByteArray(60, 0x11) + hex("414243444546").left(row) + '\x12' + tail;
        // A run of 2 with room for one pixel is read whole.
        list << QByteArray(10, 0x11) + hex("4255") + tail + tail;
        list << hex("407f").repeated(200) + QByteArray(200, 0x44)
             << hex("4000").repeated(20000) + '\7';
        // The longest runs, for many blocks; the most pixels a block gives: a
        // pixel and 32 runs of 63, the last one's value in the next block.
        QByteArray longest;
        QByteArray most = hex("01");
        for (int i = 0; i < 1000; ++i)
            longest += QByteArray(1, char(0x7F)) + char(0x40 + i % 64);
        for (int i = 0; i < 32; ++i)
            most += QByteArray(1, char(0x7F)) + char(0x80 + i);
        return list << longest << most + tail;
    }();
    static QSize const sizes[] = {{1, 1},    {11, 1},   {50, 2},   {61, 1},   {62, 1},
                                  {63, 1},   {65, 1},   {100, 3},  {293, 7},  {2015, 1},
                                  {2016, 1}, {2017, 1}, {2018, 1}, {2100, 1}, {300, 40}};
    return {filled(sizes[round % 15], QImage::Format_Indexed8), streams.at(round / 15)};
}
struct Codec
{
    char const *name;
    Loader load;
    Reference reference;
    Case (*make)(QRandomGenerator &, int round);
    int rounds;
    quint32 seed;
    bool checkUnread; // PCX reads on to its palette, which the reference leaves
} const codecs[] = {
    {"RLE8", loadRLE8, referenceRle8, rle8Case, 400, 8, true},
    {"RLE8 block edges", loadRLE8, referenceRle8, rle8EdgeCase, 13 * 15, 0, true},
    {"RLE5", loadRLE5, referenceRle5, rle5Case, 400, 5, true},
    {"LZ5", loadLZ5, referenceLz5, lz5Case, 400, 55, true},
    {"PCX", loadPcx, referencePcx, pcxCase, 300, 10, false},
    {"PCX noise", loadPcx, referencePcx, pcxNoiseCase, 300, 11, false},
};

} // namespace

class TestCodecs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void encodes_data()
    {
        QTest::addColumn<Save>("save");
        QTest::addColumn<Load>("load");
        QTest::addColumn<QImage>("image");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<int>("mask"); // of the bits that come back
        auto lz5 = [](char const *name, QByteArray const &pixels, char const *expected) {
            QTest::newRow(name) << Save(saveLz5) << Load(loadLZ5)
                                << indexed(int(pixels.size()), 1, pixels) << hex(expected) << 0x1F;
        };
        auto rle8 = [](char const *name, QImage const &image, char const *expected) {
            QTest::newRow(name) << Save(saveRLE8) << Load(loadRLE8) << image << hex(expected)
                                << 0xFF;
        };
        QByteArray const abc = hex("010203");
        QByteArray const nines(253, 9);
        QByteArray five = abc;
        for (char separator = 9; separator <= 13; ++separator)
            five += QByteArray(197, separator) + abc;
        QByteArray const alternating = hex("0102").repeated(32) + '\1';
        QByteArray const ones = '\1' + QByteArray(64, 2);
        lz5("LZ5 runs", QByteArray(10, 4) + char(0x47), "00040227");
        // Four short references share the fourth one's offset byte, the fifth carries its own.
        lz5("LZ5 five short references", five,
            "50212223 09bdc2c7 0abd02c7 0bbd1542 c70cbdc2 0dbd02c7");
        // Nine 5s then 1, 2, 3: a run of seven and a reference, not a run of nine.
        lz5("LZ5 run of seven then a match", hex("050501020309") + QByteArray(9, 5) + abc + '\n',
            "4045212223 29e5040c2a");
        // Short up to a distance of 256; farther the long rule, which four meets.
        lz5("LZ5 distance 256 is short", abc + nines + abc + '\n', "1021222309 f502ff2a");
        lz5("LZ5 distance 257 needs the long rule", abc + '\t' + nines + abc + '\n',
            "0021222309 f62122232a");
        lz5("LZ5 distance 257, long", abc + '\4' + nines + abc + '\4' + '\n',
            "2021222324 09f54000012a");
        lz5("LZ5 length 65, long", alternating + '\t' + alternating + '\n',
            "142122 3e012900 413e2a");
        lz5("LZ5 length 65 needs the long rule", ones + '\t' + ones + '\n', "00210238 29210238 2a");
        // Bytes from 0x40 to 0x7F are runs of one; others stand alone.
        rle8("RLE8 lone bytes", indexed(5, 1, hex("3f407f8000")), "3f4140417f8000");
        rle8("RLE8 64 of 0x7F", indexed(64, 1, QByteArray(64, 0x7F)), "7f7f417f");
        rle8("RLE8 empty image", QImage(), "");
        QImage argb(9, 7, QImage::Format_ARGB32);
        argb.fill(qRgba(1, 0x41, 0x41, 0x41));
        argb.setPixel(2, 3, 0x7F417F40);
        rle8("RLE8 ARGB32", argb, "");
        // All four bytes of an RGB32 pixel, which the decoder reads as three and padding.
        QImage rgb(1, 1, QImage::Format_RGB32);
        rgb.setPixel(0, 0, 0xFF102030);
        QTest::newRow("RLE8 RGB32") << Save(saveRLE8) << Load() << rgb << hex("302010ff") << 0;
        // PCX: lines of the width; bytes of 0xC0 and more are runs of one; runs stop
        // at 63 and each line's end; 256 colours, no alpha, no header colours.
        QImage colours = indexed(3, 2, hex("01c0c8bf0404"));
        colours.setColorTable({qRgb(1, 2, 3), qRgb(4, 5, 6), qRgba(7, 8, 9, 10)});
        QByteArray const header = pcxHeader(3, 2).replace(16, 48, QByteArray(48, '\0'));
        QTest::newRow("PCX lone bytes")
            << Save(savePCX) << Load() << colours
            << header + hex("01c1c0c1c8bfc2040c 010203040506070809") + QByteArray(253 * 3, '\0')
            << 0xFF;
        QTest::newRow("PCX long runs")
            << Save(savePCX) << Load()
            << indexed(64, 2, QByteArray(64, 5) + QByteArray(64, char(200)))
            << QByteArray(header).replace(8, 4, hex("3f000100")).replace(66, 2, hex("4000")) +
                hex("ff0505ffc8c1c8 0c") + QByteArray(768, '\0')
            << 0xFF;
        // Premultiplied bytes come back as they were, as plain ARGB32.
        QTest::newRow("PCX ARGB32")
            << Save(savePCX) << Load(loadPcx) << noiseImage(70, 3, QImage::Format_ARGB32, 210)
            << QByteArray() << 0xFF;
        QTest::newRow("PCX premultiplied")
            << Save(savePCX) << Load(loadPcx)
            << noiseImage(3, 3, QImage::Format_ARGB32_Premultiplied, 9) << QByteArray() << 0xFF;
    }
    void encodes()
    {
        QFETCH(Save, save);
        QFETCH(Load, load);
        QFETCH(QImage, image);
        QFETCH(QByteArray, expected);
        QFETCH(int, mask);
        QByteArray const stream = saved([&](QIODevice *d) { return save(image, d); });
        if (!expected.isEmpty() || image.isNull())
            QCOMPARE(stream.toHex(' '), expected.toHex(' '));
        if (!load || image.isNull())
            return;
        QImage again(image.size(), image.format());
        Source device(stream + "tail");
        QVERIFY(load(again, &device));
        QByteArray wanted = pixels(image);
        for (char &byte : wanted)
            byte = char(byte & mask);
        QCOMPARE(pixels(again).toHex(' '), wanted.toHex(' '));
        QCOMPARE(device.readAll(), QByteArray("tail"));
    }
    // Fewer bytes a line than pixels stay in bounds; an empty image takes nothing;
    // a PCX file without planes is a header only.
    void narrowAndEmptyImages()
    {
        QImage mono(70, 9, QImage::Format_Mono);
        mono.fill(1);
        QVERIFY(!saved([&](QIODevice *d) { return saveLZ5(mono, d, true); }).isEmpty());
        QCOMPARE(saved([&](QIODevice *d) { return saveRLE8(mono, d); }), QByteArray());
        QByteArray const header =
            saved([&](QIODevice *d) { return savePCX(QImage(4, 4, QImage::Format_RGB16), d); });
        QVERIFY(header.size() == 128 && header[65] == 0); // no plane, a header only
        QByteArray const runs(200, 0x7F); // of 63 pixels each in RLE8, of 128 in RLE5
        for (auto [load, stream] : {std::pair{Load(loadLZ5), hex("0000ff00ff00ff")},
                                    {Load(loadRLE5), runs},
                                    {Load(loadRLE8), runs}}) {
            Source device(stream);
            Source nothing(hex("0021"));
            QImage empty;
            QVERIFY(load(mono, &device) && load(empty, &nothing) && nothing.bytesAvailable() == 2);
        }
    }
    // Under a limit of a megabyte: bad headers leave the image untouched; data cut short and
    // images past the limit give a null image; lines shorter than their pixels leave the rest
    // 0. The palette is the one right behind the pixels, else the 16 header colours and black.
    void pcxLoads_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("result"); // pixels and palette, "null" or "untouched"
        auto row = [](char const *name, QByteArray const &file, QByteArray const &result) {
            QTest::newRow(name) << file << result;
        };
        auto sized = [&](char const *name, int width, int height, int bytesPerLine, bool ok) {
            QByteArray line;
            for (int left = bytesPerLine; left > 0; left -= 63)
                line += QByteArray(1, char(0xC0 | std::min(left, 63))) + char(7);
            int const stored = std::min(width, bytesPerLine);
            QByteArray const pixels = QByteArray(stored, 7) + QByteArray(width - stored, 0);
            row(name,
                pcxHeader(width, height, bytesPerLine) + line.repeated(height) +
                    QByteArray(1000, 1),
                ok ? pixels.repeated(height).toHex() + ", header colours" : "null");
        };
        sized("huge, one byte a line", 65535, 65535, 1, false);
        sized("a megabyte", 1024, 1024, 1024, true);
        sized("a line more", 1024, 1025, 1024, false);
        sized("lines a byte short", 10, 2, 9, true);
        sized("lines a byte long", 3, 2, 4, true);
        QByteArray const two = pcxHeader(2, 1, 2) + hex("01c1f0");
        row("palette right behind", two + pcxPalette(), "01f0, file palette, found");
        // One stray byte: the skip lands on the first palette byte.
        row("stray byte", two + '\0' + pcxPalette(), "01f0, header colours");
        row("many stray bytes", two + QByteArray(40, 'x') + pcxPalette(), "01f0, header colours");
        row("other marker", two + pcxPalette().replace(0, 1, "\x0D"), "01f0, header colours");
        row("palette cut short", two + pcxPalette().left(768), "01f0, header colours");
        row("no palette", two, "01f0, header colours");
        // Five bits have no palette and leave the answer as it was.
        row("5 bits", pcxHeader(2, 1, 2, 1, 5) + hex("01c1f0") + pcxPalette(),
            "01f0, 0 colours, found");
        QByteArray const good = pcxHeader(2, 1) + hex("0102");
        row("manufacturer", QByteArray(good).replace(0, 1, "\x0B"), "untouched");
        row("version", QByteArray(good).replace(1, 1, "\x03"), "untouched");
        row("16 bits", pcxHeader(2, 1, 2, 2) + hex("0102"), "untouched");
        row("4 bits", pcxHeader(2, 1, 2, 1, 4) + hex("0102"), "untouched");
        row("empty", QByteArray(), "untouched");
        row("half a header", good.left(2), "untouched");
        row("30000 x 30000", pcxHeader(30000, 30000) + hex("ff01"), "null");
        QByteArray const file = saved(
            [](QIODevice *d) { return savePCX(noiseImage(31, 17, QImage::Format_ARGB32, 9), d); });
        for (int length = 129; length < file.size(); length += 7)
            QTest::addRow("cut at %d", length) << file.left(length) << QByteArray("null");
    }
    void pcxLoads()
    {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, result);
        QList<QRgb> palette;
        QList<QRgb> header;
        for (int i = 0; i < 256; ++i) {
            palette << qRgb(255 - i, i, 7);
            header << (i < 16 ? qRgb(i, 2 * i, 3 * i) : qRgb(0, 0, 0));
        }
        int const limit = QImageReader::allocationLimit();
        QImageReader::setAllocationLimit(1); // megabytes
        QImage image(3, 3, QImage::Format_RGB32);
        image.fill(Qt::red);
        QImage const before = image;
        Source device(file);
        bool hasPalette = true;
        bool const ok = loadPCX(image, &device, &hasPalette);
        QImageReader::setAllocationLimit(limit);
        QByteArray const colours = image.colorTable() == palette ? "file palette"
            : image.colorTable() == header                       ? "header colours"
                                           : QByteArray::number(image.colorCount()) + " colours";
        QCOMPARE(ok ? pixels(image).toHex() + ", " + colours + (hasPalette ? ", found" : "")
                     : image.isNull()  ? QByteArray("null")
                     : image == before ? QByteArray("untouched")
                                       : QByteArray("changed"),
                 result);
    }
    void devices_data()
    {
        QTest::addColumn<Load>("load");
        QTest::addColumn<Save>("save");
        QTest::newRow("PNG") << Load(loadPNG) << Save(savePNG);
        QTest::newRow("PCX") << Load(loadPcx) << Save(savePCX);
        QTest::newRow("LZ5") << Load(loadLZ5) << Save(saveLz5);
        QTest::newRow("RLE8") << Load(loadRLE8) << Save(saveRLE8);
        QTest::newRow("RLE5") << Load(loadRLE5) << Save(saveRLE5);
    }
    // Devices are opened and left open; none, or one that cannot open, fails and
    // leaves the image untouched. The RLE5 encoder writes and opens nothing.
    void devices()
    {
        QFETCH(Load, load);
        QFETCH(Save, save);
        bool const rle5 = QTest::currentDataTag() == QLatin1String("RLE5");
        QByteArray data = rle5 ? hex("0e8001") : QByteArray();
        QBuffer device(&data);
        QCOMPARE(save(sample(), &device), !rle5);
        QCOMPARE(device.openMode() & QIODevice::ReadWrite,
                 rle5 ? QIODevice::NotOpen : QIODevice::WriteOnly);
        device.close();
        QImage image = filled({5, 3}, QImage::Format_Indexed8, 7);
        QImage const before = image;
        QFile missing(QStringLiteral("/nonexistent/kenro/missing.bin"));
        QVERIFY(!load(image, nullptr) && !save(image, nullptr) && !load(image, &missing) &&
                !save(image, &missing));
        QCOMPARE(image, before);
        QVERIFY(load(image, &device));
        QCOMPARE(device.openMode() & QIODevice::ReadWrite, QIODevice::ReadOnly);
        QCOMPARE(pixels(image.convertToFormat(QImage::Format_Indexed8, sample().colorTable())),
                 pixels(rle5 ? filled({5, 3}, QImage::Format_Indexed8, 1) : sample()));
    }
    // loadPNG is true once the device is open; savePNG opens a device that is
    // not readable, where the others open one that is not writable.
    void pngAnswers()
    {
        QImage image(3, 3, QImage::Format_RGB32);
        Source garbage(QByteArray("not a PNG at all"));
        QVERIFY(loadPNG(image, &garbage) && image.isNull());
        QByteArray data("old");
        QBuffer readOnly(&data);
        readOnly.open(QIODevice::ReadOnly);
        QVERIFY(!savePNG(sample(), &readOnly) && data == "old");
        QTemporaryDir dir;
        QFile writeOnly(dir.filePath(QStringLiteral("a.png")));
        QVERIFY(writeOnly.open(QIODevice::WriteOnly));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("already open")));
        QVERIFY(!savePNG(sample(), &writeOnly)); // opened again, which a file refuses
        QVERIFY(savePCX(sample(), &writeOnly)); // the others ask for writability
        QFile readWrite(dir.filePath(QStringLiteral("b.png")));
        QVERIFY(readWrite.open(QIODevice::ReadWrite) && savePNG(sample(), &readWrite));
        readWrite.close();
        QCOMPARE(QImage(readWrite.fileName(), "PNG").size(), QSize(5, 3));
    }
    void realStreams_data()
    {
        QTest::addColumn<StreamEntry>("entry");
        QString const root = KenroTest::testDataPath();
        if (root.isEmpty()) // the test skips or fails; one row reaches it
            QTest::newRow("no test data") << StreamEntry();
        QMap<QString, int> counts;
        for (StreamEntry const &e : KenroTest::streamManifest(root)) {
            QTest::newRow(qPrintable(e.file)) << e;
            ++counts[e.format];
        }
        QMap<QString, int> all{{"lz5", 239}, {"rle8", 10}, {"pcx", 12}, {"png32", 22}};
        QCOMPARE(counts, root.isEmpty() ? counts : all);
    }
    // The pixels that the manifest sums, RLE8 on each path; saved and read back:
    // LZ5 tighter with references, RLE8 no larger than the archive's.
    void realStreams()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(StreamEntry, entry);
        QByteArray const data = KenroTest::readFile(entry.path);
        QVERIFY2(data != "<missing>", qPrintable(entry.path));
        QString const want = entry.summary();
        QImage image(entry.width, entry.height, QImage::Format_Indexed8);
        auto decode = [&image](Load const &load, QByteArray const &stream) {
            Source device(stream);
            return load(image, &device) ? KenroTest::imageSummary(image) : QStringLiteral("failed");
        };
        if (entry.format == QLatin1String("png32")) {
            QCOMPARE(decode(loadPNG, data), want);
        } else if (entry.format == QLatin1String("pcx")) {
            bool hasPalette = false;
            Source device(data);
            QVERIFY(loadPCX(image, &device, &hasPalette) && device.atEnd());
            QCOMPARE(KenroTest::imageSummary(image) + u' ' + QString::number(image.colorCount()),
                     want + QStringLiteral(" 256"));
            QCOMPARE(hasPalette ? KenroTest::paletteSha1(image.colorTable()) : QByteArray(),
                     entry.paletteSha1);
            QImage again;
            Source copy(saved([&](QIODevice *d) { return savePCX(image, d); }));
            QVERIFY(loadPCX(again, &copy, &hasPalette) && hasPalette); // ours carry their palette
            QCOMPARE(KenroTest::imageSummary(again), want);
            QCOMPARE(again.colorTable(), image.colorTable());
        } else if (entry.format == QLatin1String("lz5")) {
            QCOMPARE(decode(loadLZ5, data), want);
            QImage const original = image;
            qsizetype sizes[2] = {};
            for (bool references : {true, false}) {
                QByteArray const stream =
                    saved([&](QIODevice *d) { return saveLZ5(original, d, references); });
                sizes[references] = stream.size();
                QCOMPARE(decode(loadLZ5, stream), want);
            }
            QVERIFY2(sizes[true] < sizes[false], "back-references that do not pay");
        } else {
            for (auto [path, name] : rle8Paths()) {
                QVERIFY2(setRle8Path(path), name);
                QCOMPARE(name + (u' ' + decode(loadRLE8, data)), name + (u' ' + want));
            }
            QByteArray const stream = saved([&](QIODevice *d) { return saveRLE8(image, d); });
            QVERIFY(stream.size() <= data.size()); // the archive's encoder packs no tighter
            QCOMPARE(decode(loadRLE8, stream), want);
        }
    }
    // Both ways of finding the bytes of 0x40 to 0x7F agree with the definition.
    void runTags()
    {
        QRandomGenerator random(7);
        for (int round = 0; round < 2000; ++round) {
            uchar bytes[64];
            quint64 expected = 0;
            for (int i = 0; i < 64; ++i) {
                bytes[i] = uchar(round < 256 ? (round + 13 * i) % 256 : random.bounded(256));
                expected |= quint64(bytes[i] >= 0x40 && bytes[i] <= 0x7F) << i;
            }
            QCOMPARE(Kenro::runTags(bytes), expected);
            QCOMPARE(runTagsPortable(bytes), expected);
        }
    }
    void randomStreams_data()
    {
        QTest::addColumn<int>("codec");
        QTest::addColumn<Rle8Path>("path");
        QTest::addColumn<int>("device");
        for (int codec = 0; codec < int(std::size(codecs)); ++codec) {
            bool const rle8 = codecs[codec].load == loadRLE8;
            for (auto [path, pathName] : rle8Paths().mid(0, rle8 ? -1 : 1)) {
                for (int device = 0; device < 5; ++device)
                    QTest::addRow("%s%s%s, %s", codecs[codec].name, rle8 ? " " : "",
                                  rle8 ? pathName : "", deviceNames[device])
                        << codec << path << device;
            }
        }
    }
    void randomStreams()
    {
        QFETCH(int, codec);
        QFETCH(Rle8Path, path);
        QFETCH(int, device);
        Codec const &c = codecs[codec];
        QVERIFY(c.load != loadRLE8 || setRle8Path(path));
        QRandomGenerator random(c.seed);
        for (int round = 0; round < c.rounds; ++round) {
            Case const test = c.make(random, round);
            QString const message =
                disagreement(c.load, c.reference, test.image, test.stream, device, c.checkUnread);
            QVERIFY2(message.isEmpty(),
                     qPrintable(QString::asprintf("round %d, %dx%d: ", round, test.image.width(),
                                                  test.image.height()) +
                                message));
        }
    }
};

QTEST_GUILESS_MAIN(TestCodecs)
#include "tst_codecs.moc"
