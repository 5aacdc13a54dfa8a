// The stream decoders against plain byte-by-byte decoding written out here,
// on many streams and on every kind of device. The decoders read a plain
// buffer in place and other devices in chunks, decode in bulk while a chunk
// holds enough bytes and byte by byte near its end: whatever the path, the
// pixels, every other byte of the image, the result and the bytes left on
// the device must be those of decoding one byte at a time.
#include <kenro/imaging/imageinfo.h>

#include "bytechunks_p.h"
#include "codectest.h"
#include "sequentialdevice.h"

#include <QTest>

#include <algorithm>
#include <iterator>
#include <memory>

using namespace Kenro;
using namespace CodecTest;

namespace {

// The kinds of device: a buffer that the decoder opens, one open and read
// from an offset on, a subclass of a buffer, a pipe, and a pipe that hands
// out at most five bytes a read, so that a decoder's chunks end anywhere.
char const *const devices[] = {"buffer", "buffer at an offset", "buffer subclass", "pipe",
                               "trickling pipe"};
int const Pipe = 3;

std::unique_ptr<QIODevice> makeDevice(int kind, QByteArray const &data)
{
    if (kind >= Pipe)
        return std::make_unique<KenroTest::SequentialDevice>(data, QIODevice::NotOpen,
                                                             kind == Pipe ? 0 : 5);
    if (kind == 2)
        return std::make_unique<Source>(data);
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(kind == 0 ? data : "prefix" + data);
    if (kind == 1 && buffer->open(QIODevice::ReadOnly))
        buffer->seek(6);
    return buffer;
}

void addDeviceRows()
{
    QTest::addColumn<int>("device");
    for (int device = 0; device < 5; ++device)
        QTest::newRow(devices[device]) << device;
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

// Writes bytes into the lines of an image the RLE way: padding after each
// line of lineBytes, nothing past the image's bytes.
struct Lines
{
    uchar *bits;
    qint64 size;
    qint64 lineBytes;
    qint64 padding;
    qint64 pos = 0;
    qint64 column = 0;

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

// Pixels with runs, repeats of earlier pixels near and far, and noise.
QByteArray structured(qsizetype count, QRandomGenerator &random, int modulo = 256)
{
    QByteArray pixels;
    while (pixels.size() < count) {
        int const kind = pixels.size() < 2 ? 0 : random.bounded(4);
        qsizetype const distance = kind == 1 ? random.bounded(1, int(qMin(pixels.size(), 600))) : 0;
        if (kind == 0)
            pixels.append(random.bounded(1, 80), char(random.bounded(modulo)));
        for (int i = kind == 1 ? random.bounded(2, 140) : 0; i > 0; --i)
            pixels.append(pixels[pixels.size() - distance]);
        for (int i = kind > 1 ? random.bounded(1, 12) : 0; i > 0; --i)
            pixels.append(char(random.bounded(modulo)));
    }
    return pixels.left(count);
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

// A size for the image of a case: mostly small, sometimes with many pixels.
QSize caseSize(QRandomGenerator &random)
{
    if (random.bounded(5) == 0)
        return QSize(random.bounded(100, 400), random.bounded(10, 40));
    return QSize(random.bounded(1, 70), random.bounded(1, 40));
}

// Cuts a stream somewhere, spoils a few of its bytes, or leaves it.
QByteArray mutated(QByteArray stream, QRandomGenerator &random)
{
    int const kind = random.bounded(4);
    if (kind == 0 && !stream.isEmpty())
        stream.truncate(random.bounded(int(stream.size())));
    for (int i = kind == 1 ? random.bounded(1, 4) : 0; i > 0 && !stream.isEmpty(); --i)
        stream[random.bounded(int(stream.size()))] = char(random.bounded(256));
    return stream;
}

// An image of \a size whose bytes, padding included, are \a random pixels.
QImage structuredImage(QSize size, QImage::Format format, QRandomGenerator &random,
                       int modulo = 256)
{
    QImage image(size, format);
    QByteArray const pixels = structured(image.sizeInBytes(), random, modulo);
    memcpy(image.bits(), pixels.constData(), size_t(pixels.size()));
    return image;
}

using Loader = bool (*)(QImage &, QIODevice *);
using Reference = Outcome (*)(QImage &, QByteArray const &);

// Empty when decoding \a stream with a tail behind it into \a image on
// \a kind of device agrees with \a reference; else what differs.
QString disagreement(Loader load, Reference reference, QImage const &image,
                     QByteArray const &stream, int kind, bool checkUnread = true)
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
    for (qsizetype i = 0; i < decoded.sizeInBytes(); ++i) {
        if (decoded.constBits()[i] != expected.constBits()[i])
            return QStringLiteral("byte %1 (line %2): %3, expected %4")
                .arg(i)
                .arg(i / decoded.bytesPerLine())
                .arg(decoded.constBits()[i])
                .arg(expected.constBits()[i]);
    }
    if (checkUnread && unread != data.mid(outcome.taken))
        return QStringLiteral("%1 bytes unread, expected %2")
            .arg(unread.size())
            .arg(data.size() - outcome.taken);
    return QString();
}

// The random cases of each decoder: an image to decode into and a stream.
struct Case
{
    QImage image;
    QByteArray stream;
};

Case rle8Case(QRandomGenerator &random)
{
    QImage::Format const formats[] = {QImage::Format_Indexed8, QImage::Format_Indexed8,
                                      QImage::Format_RGB32, QImage::Format_ARGB32,
                                      QImage::Format_Mono};
    Case c{filled(caseSize(random), formats[random.bounded(5)]), {}};
    int const kind = random.bounded(4);
    if (kind < 2) { // encoded pixels: runs of every length, bytes that must be runs of one
        QImage const source = structuredImage(c.image.size(), c.image.format(), random);
        c.stream = mutated(saved([&](QIODevice *d) { return saveRLE8(source, d); }), random);
    } else { // rows of run bytes, each one a run or the value of one
        c.stream = kind == 2 ? biasedNoise(random.bounded(2000), random, 2)
                             : biasedNoise(random.bounded(3000), random, random.bounded(1, 8));
    }
    return c;
}

// RLE8 packets in a mix encoders seldom write: runs of 0 to 3, run values
// that are run bytes, runs of every length and rows of single pixels from 1
// to over 2,000, into images that they fill, overfill or leave short.
Case rle8MixedCase(QRandomGenerator &random)
{
    QByteArray stream;
    qint64 pixels = 0;
    for (int i = random.bounded(20, 1500); i > 0; --i) {
        int const kind = random.bounded(40);
        if (kind < 26) {
            int const run = kind < 20 ? random.bounded(4) : random.bounded(64);
            int const value = random.bounded(2) ? random.bounded(0x40, 0x80) : random.bounded(256);
            stream += bytes({0x40 | run, value});
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

Case rle5Case(QRandomGenerator &random)
{
    Case c{
        filled(caseSize(random), random.bounded(6) ? QImage::Format_Indexed8 : QImage::Format_Mono),
        noise(random.bounded(3000), random.generate())};
    // Any bytes make packets; long ones have up to 31 run bytes.
    for (int at = random.bounded(2) ? 1 : int(c.stream.size()); at < c.stream.size(); at += 34)
        c.stream[at] = char(0x80 | 31);
    return c;
}

Case lz5Case(QRandomGenerator &random)
{
    Case c{
        filled(caseSize(random), random.bounded(8) ? QImage::Format_Indexed8 : QImage::Format_Mono),
        {}};
    if (random.bounded(4) == 0)
        return {c.image, noise(random.bounded(1000), random.generate())};
    // Encoded pixels: short and long runs and back-references, near ones
    // that overlap what they copy.
    QImage const source = structuredImage(c.image.size(), QImage::Format_Indexed8, random, 32);
    bool const references = random.bounded(4) != 0;
    c.stream = mutated(saved([&](QIODevice *d) { return saveLZ5(source, d, references); }), random);
    return c;
}

Case pcxCase(QRandomGenerator &random)
{
    QImage::Format const formats[] = {QImage::Format_Indexed8, QImage::Format_RGB32,
                                      QImage::Format_ARGB32};
    QSize const size = caseSize(random);
    QImage const source = structuredImage(size, formats[random.bounded(3)], random);
    QByteArray file = saved([&](QIODevice *d) { return savePCX(source, d); });
    int const kind = random.bounded(5);
    if (kind == 0) { // lines of the file longer or shorter than the width
        int const bytesPerLine = std::max(1, size.width() + random.bounded(-5, 6));
        file[66] = char(bytesPerLine & 0xFF);
        file[67] = char(bytesPerLine >> 8);
    } else if (kind == 1) { // bits and planes whose pixels outgrow the lines of the image
        file[3] = char(1);
        file[65] = char(random.bounded(2) ? 5 : 8);
    }
    // A target of another size is replaced; one of the same is reused.
    return {filled(random.bounded(2) ? size : QSize(3, 2), QImage::Format_Indexed8),
            mutated(file, random)};
}

bool loadPcx(QImage &image, QIODevice *device)
{
    return loadPCX(image, device, nullptr);
}

struct Codec
{
    char const *name;
    Loader load;
    Reference reference;
    Case (*make)(QRandomGenerator &);
    int rounds;
    quint32 seed;
    bool everyDevice; // else a buffer and a pipe
    bool checkUnread;
} const codecs[] = {
    {"RLE8", loadRLE8, referenceRle8, rle8Case, 400, 8, true, true},
    {"RLE8 mixed packets", loadRLE8, referenceRle8, rle8MixedCase, 150, 12, false, true},
    {"RLE5", loadRLE5, referenceRle5, rle5Case, 400, 5, true, true},
    {"LZ5", loadLZ5, referenceLz5, lz5Case, 400, 55, true, true},
    // PCX reads on to its palette, which the reference leaves.
    {"PCX", loadPcx, referencePcx, pcxCase, 300, 10, true, false},
};

} // namespace

Q_DECLARE_METATYPE(Kenro::Rle8Path)

class TestDecoderPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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

    // Random streams of each decoder, on each path of RLE8 the processor can
    // take, on each kind of device.
    void randomStreams_data()
    {
        QTest::addColumn<int>("codec");
        QTest::addColumn<Rle8Path>("path");
        QTest::addColumn<int>("device");
        for (int codec = 0; codec < int(std::size(codecs)); ++codec) {
            bool const rle8 = codecs[codec].load == loadRLE8;
            for (auto [path, pathName] : rle8Paths().mid(0, rle8 ? -1 : 1)) {
                for (int device = 0; device < 5; ++device) {
                    if (codecs[codec].everyDevice || device == 0 || device == Pipe)
                        QTest::addRow("%s%s%s, %s", codecs[codec].name, rle8 ? " " : "",
                                      rle8 ? pathName : "", devices[device])
                            << codec << path << device;
                }
            }
        }
    }
    void randomStreams()
    {
        QFETCH(int, codec);
        QFETCH(Rle8Path, path);
        QFETCH(int, device);
        Codec const &c = codecs[codec];
        Rle8PathScope const scope(path);
        QVERIFY(scope.taken);
        QRandomGenerator random(c.seed);
        for (int round = 0; round < c.rounds; ++round) {
            Case const test = c.make(random);
            QString const message =
                disagreement(c.load, c.reference, test.image, test.stream, device, c.checkUnread);
            QVERIFY2(message.isEmpty(),
                     qPrintable(QString::asprintf("round %d, %dx%d: ", round, test.image.width(),
                                                  test.image.height()) +
                                message));
        }
    }

    // Streams laid out against the blocks of 64 bytes that are read at once.
    void rle8BlockEdges_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QByteArray const tail(100, 0x33);
        QByteArray const pixels(62, 0x11);
        // Bytes 62 and 63: a run that ends with the block.
        QTest::newRow("run ends the block") << pixels + bytes({0x43, 0x22}) + tail;
        // Byte 63 starts a run whose value is the first byte of the next block.
        QTest::newRow("run across blocks") << pixels + bytes({0x01, 0x45, 0x44}) + tail;
        // A row of run bytes of odd and even length across the block's end,
        // then the value of the last run, or a pixel.
        for (int row = 1; row <= 6; ++row)
            QTest::addRow("row of %d", row) << QByteArray(60, 0x11) +
                    bytes({0x41, 0x42, 0x43, 0x44, 0x45, 0x46}).left(row) + bytes({0x12}) + tail;
        // A run of 2 whose second pixel an image of 11 pixels has no room for:
        // the packet is read whole all the same.
        QTest::newRow("run of 2 cut") << QByteArray(10, 0x11) + bytes({0x42, 0x55}) + tail + tail;
        // Runs of nothing only: a block gives no pixels.
        QTest::newRow("empty runs") << bytes({0x40, 0x7F}).repeated(200) + QByteArray(200, 0x44);
        // The longest runs, more pixels than a block's share of the image, for
        // many blocks; and the most pixels a block gives: a pixel, 31 runs of
        // 63 and one more whose value is the first byte of the next block.
        QByteArray longest;
        QByteArray most = bytes({0x01});
        for (int i = 0; i < 1000; ++i)
            longest += bytes({0x7F, 0x40 + i % 64});
        for (int i = 0; i < 32; ++i)
            most += bytes({0x7F, 0x80 + i});
        QTest::newRow("longest runs") << longest;
        QTest::newRow("most pixels of a block") << most + tail;
    }
    void rle8BlockEdges()
    {
        QFETCH(QByteArray, stream);
        for (auto [path, name] : rle8Paths()) {
            Rle8PathScope const scope(path);
            QVERIFY(scope.taken);
            // Images that end before, inside and after the stream's pixels.
            for (QSize size :
                 {QSize(1, 1), QSize(11, 1), QSize(50, 2), QSize(61, 1), QSize(62, 1), QSize(63, 1),
                  QSize(65, 1), QSize(100, 3), QSize(293, 7), QSize(2015, 1), QSize(2016, 1),
                  QSize(2017, 1), QSize(2018, 1), QSize(2100, 1), QSize(300, 40)}) {
                for (int device = 0; device < 5; ++device) {
                    QString const message =
                        disagreement(loadRLE8, referenceRle8, filled(size, QImage::Format_Indexed8),
                                     stream, device);
                    QVERIFY2(message.isEmpty(),
                             qPrintable(QString::asprintf("%s, %dx%d on %s: ", name, size.width(),
                                                          size.height(), devices[device]) +
                                        message));
                }
            }
        }
    }

    // Back-references of every length from every distance up to 80, each
    // behind pixels that differ, in both forms.
    void lz5Copies_data() { addDeviceRows(); }
    void lz5Copies()
    {
        QFETCH(int, device);
        for (int distance = 1; distance <= 80; ++distance) {
            // distance single pixels that differ from their neighbours, then the copies.
            QList<QByteArray> packets;
            for (int i = 0; i < distance; ++i)
                packets.append(bytes({0x20 | (i % 31 + 1)}));
            int const o = distance - 1;
            int shorts = 0;
            quint8 references[32] = {}; // control bytes
            for (int length = 2; length <= 70; ++length) {
                references[packets.size() / 8] |= 1 << packets.size() % 8;
                if (length % 2 || length > 64) {
                    packets.append(bytes({(o >> 2) & 0xC0, o & 0xFF, std::max(length, 3) - 3}));
                    continue;
                }
                // The fourth short reference of a group takes its offset from
                // the high bits of the group's first bytes; the others bring
                // a byte of offset.
                int const place = shorts++ % 4;
                packets.append(bytes({((o >> (6 - 2 * place)) & 3) << 6 | (length - 1)}) +
                               (place < 3 ? bytes({o}) : QByteArray()));
            }
            // Groups of eight packets behind their control byte.
            QByteArray stream;
            for (qsizetype k = 0; k < packets.size(); ++k)
                stream += (k % 8 ? QByteArray() : bytes({references[k / 8]})) + packets[k];
            // All of it, and an image that fills up on the way.
            for (QSize size : {QSize(60, 50), QSize(7, 13)}) {
                QString const message = disagreement(
                    loadLZ5, referenceLz5, filled(size, QImage::Format_Indexed8), stream, device);
                QVERIFY2(message.isEmpty(),
                         qPrintable(QString::asprintf("distance %d, %dx%d: ", distance,
                                                      size.width(), size.height()) +
                                    message));
            }
        }
    }

    // A device in text mode reads without carriage returns, and the decoders
    // read what it gives so; the bytes behind the stream stay unread.
    void textMode_data() { addDeviceRows(); }
    void textMode()
    {
        QFETCH(int, device);
        QByteArray const stream = bytes({0x05, 0x0D, 0x0A, 0x07, 0x43, 0x0D, 0x0A, 0x09, 0x0D});
        std::unique_ptr<QIODevice> const in = makeDevice(device, stream + "\r\ntail");
        if (!in->isOpen())
            QVERIFY(in->open(QIODevice::ReadOnly));
        in->setTextModeEnabled(true);
        QImage image = filled({7, 1}, QImage::Format_Indexed8);
        QVERIFY(loadRLE8(image, in.get()));
        QCOMPARE(pixels(image).toHex(' '), QByteArray("05 0a 07 0a 0a 0a 09"));
        QCOMPARE(in->readAll(), QByteArray("\ntail"));
    }

    // A pipe that hands out a little at a time, many thousand times: runs of
    // nothing, then the pixel.
    void tricklingPipe()
    {
        QByteArray const stream = bytes({0x40, 0x00}).repeated(20000) + bytes({7});
        KenroTest::SequentialDevice pipe(stream + "tail", QIODevice::NotOpen, 5);
        QImage image = filled({1, 1}, QImage::Format_Indexed8);
        QVERIFY(loadRLE8(image, &pipe));
        QCOMPARE(image.constBits()[0], uchar(7));
        QCOMPARE(pipe.readAll(), QByteArray("tail"));
    }
};

QTEST_GUILESS_MAIN(TestDecoderPaths)
#include "tst_decoderpaths.moc"
