// The stream decoders against plain byte-by-byte decoding written out here,
// on many streams and on every kind of device. The decoders read a plain
// buffer in place and other devices in chunks, decode in bulk while a chunk
// holds enough bytes and byte by byte near its end: whatever the path, the
// pixels, every other byte of the image, the result and the bytes left on
// the device must be those of decoding one byte at a time.
#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/imageinfo.h>

#include "bytechunks_p.h"
#include "codectest.h"
#include "rle8paths.h"
#include "sequentialdevice.h"

#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>

using namespace Kenro;
using namespace CodecTest;

namespace {

// Trickle: a pipe that hands out at most a few bytes a read, so that a
// decoder's chunks end anywhere in a packet.
enum class Device { Buffer, BufferAtOffset, BufferSubclass, Pipe, Trickle };

// Some bytes before a stream in a buffer that is read from their end on.
QByteArray const prefix("prefix");

std::unique_ptr<QIODevice> makeDevice(Device kind, QByteArray const &data)
{
    switch (kind) {
    case Device::Buffer: {
        auto buffer = std::make_unique<QBuffer>();
        buffer->setData(data); // opened by the decoder
        return buffer;
    }
    case Device::BufferAtOffset: {
        auto buffer = std::make_unique<QBuffer>();
        buffer->setData(prefix + data);
        buffer->open(QIODevice::ReadOnly);
        buffer->seek(prefix.size());
        return buffer;
    }
    case Device::BufferSubclass:
        return std::make_unique<Source>(data);
    case Device::Pipe:
        return std::make_unique<KenroTest::SequentialDevice>(data);
    case Device::Trickle:
        return std::make_unique<KenroTest::SequentialDevice>(data, QIODevice::NotOpen, 5);
    }
    return nullptr;
}

// What a failed case of a random round shows.
QString failedCase(int round, QImage const &image, QString const &message)
{
    return QStringLiteral("round %1, %2x%3: %4")
        .arg(round)
        .arg(image.width())
        .arg(image.height())
        .arg(message);
}

void addDeviceRows()
{
    QTest::addColumn<int>("device");
    QTest::newRow("buffer") << int(Device::Buffer);
    QTest::newRow("buffer at an offset") << int(Device::BufferAtOffset);
    QTest::newRow("buffer subclass") << int(Device::BufferSubclass);
    QTest::newRow("pipe") << int(Device::Pipe);
    QTest::newRow("pipe of five bytes a read") << int(Device::Trickle);
}

// Reads a stream as a data stream does: zeros past the end, remembering it.
class Bytes
{
public:
    explicit Bytes(QByteArray const &data) : m_data(data) {}
    bool atEnd() const { return m_at >= m_data.size(); }
    uint next()
    {
        if (atEnd()) {
            m_past = true;
            return 0;
        }
        return uchar(m_data[m_at++]);
    }
    bool ok() const { return !m_past; }
    qsizetype taken() const { return m_at; }

private:
    QByteArray const &m_data;
    qsizetype m_at = 0;
    bool m_past = false;
};

// Writes bytes into the lines of an image the RLE way: padding after each
// line of lineBytes, nothing past the image's bytes.
class Lines
{
public:
    Lines(QImage &image, qint64 lineBytes, qint64 padding)
        : m_bits(image.bits()),
          m_size(image.isNull() ? 0 : qint64(image.height()) * image.bytesPerLine()),
          m_lineBytes(lineBytes),
          m_padding(padding)
    {}
    bool full() const { return m_pos >= m_size; }
    void put(uint value)
    {
        if (full())
            return;
        m_bits[m_pos++] = uchar(value);
        if (++m_column == m_lineBytes) {
            m_column = 0;
            m_pos += m_padding;
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

struct Outcome
{
    bool ok = false;
    qsizetype taken = 0; // stream bytes read
};

Outcome referenceRle8(QImage &image, QByteArray const &stream)
{
    qint64 const lineBytes = (qint64(image.width()) * imageDepthOfFormat(image.format()) + 7) / 8;
    Lines out(image, lineBytes, uchar(image.bytesPerLine() - lineBytes));
    Bytes in(stream);
    while (!out.full() && !in.atEnd()) {
        uint const p = in.next();
        if ((p & 0xC0) != 0x40) {
            out.put(p);
            continue;
        }
        uint const value = in.next();
        for (uint i = 0; i < (p & 0x3F); ++i)
            out.put(value);
    }
    return {in.ok(), in.taken()};
}

Outcome referenceRle5(QImage &image, QByteArray const &stream)
{
    Lines out(image, image.width(), image.bytesPerLine() - image.width());
    Bytes in(stream);
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
    return {in.ok(), in.taken()};
}

Outcome referenceLz5(QImage &image, QByteArray const &stream)
{
    qint64 const size = qint64(image.width()) * image.height();
    QByteArray pixels(size, '\0'); // what the stream does not reach is zero
    Bytes in(stream);
    qint64 pos = 0;
    uint control = 0;
    int packet = 0;
    int place = 0;
    uint recycled = 0;
    bool ok = true;
    while (pos < size && !in.atEnd()) {
        if (packet == 0)
            control = in.next();
        bool const reference = control >> packet & 1;
        packet = (packet + 1) % 8;
        uint const first = in.next();
        if (!reference) {
            uint length = first >> 5;
            if (length == 0)
                length = in.next() + 8;
            for (uint i = 0; i < length && pos < size; ++i)
                pixels[pos++] = char(first & 0x1F);
            continue;
        }
        uint length = first & 0x3F;
        qint64 offset;
        if (length == 0) {
            uint const low = in.next();
            offset = ((first >> 6) << 8 | low) + 1;
            length = in.next() + 3;
        } else {
            length += 1;
            if (place < 3) {
                recycled |= (first >> 6) << (6 - 2 * place);
                offset = in.next() + 1;
                ++place;
            } else {
                offset = ((first >> 6) | recycled) + 1;
                place = 0;
                recycled = 0;
            }
        }
        if (offset > pos) { // before the first pixel: the stream is broken
            ok = false;
            break;
        }
        for (uint i = 0; i < length && pos < size; ++i, ++pos)
            pixels[pos] = pixels[pos - offset];
    }
    qsizetype const taken = std::min<qsizetype>(image.width(), image.bytesPerLine());
    for (int y = 0; y < image.height(); ++y)
        memcpy(image.scanLine(y), pixels.constData() + qint64(y) * image.width(), size_t(taken));
    return {ok && in.ok(), in.taken()};
}

// PCX up to the palette, which these tests leave to the PCX tests.
Outcome referencePcx(QImage &image, QByteArray const &file)
{
    Bytes in(file);
    uchar header[128];
    for (uchar &byte : header)
        byte = uchar(in.next());
    auto word = [&header](int at) { return header[at] | header[at + 1] << 8; };
    int const planes = header[65];
    int const depth = header[3] * planes;
    QImage::Format const format = imageFormatOfDepth(depth);
    if (header[0] != 10 || header[1] != 5 || format == QImage::Format_Invalid)
        return {false, in.taken()};
    int const w = word(8) - word(4) + 1;
    int const h = word(10) - word(6) + 1;
    int const bytesPerLine = word(66);
    if (w > 0 && h > 0 && (image.width() != w || image.height() != h || image.format() != format))
        image = QImage(w, h, format);
    if (image.isNull())
        return {false, in.taken()};
    memset(image.bits(), 0, size_t(image.sizeInBytes()));
    int const step = planes == 3 ? 4 : planes;
    qsizetype const stride = image.bytesPerLine();
    qint64 column = 0;
    int plane = 0;
    int row = 0;
    qsizetype offset = 0;
    while (row < image.height() && !in.atEnd()) {
        uint value = in.next();
        uint count = 1;
        if (value >= 0xC0) {
            count = value & 0x3F;
            value = in.next();
        }
        for (; count > 0 && row < image.height(); --count) {
            if (column < w) {
                if (offset < stride)
                    image.scanLine(row)[offset] = uchar(value);
                offset += step;
            }
            if (++column != bytesPerLine)
                continue;
            column = 0;
            if (++plane == planes) {
                plane = 0;
                ++row;
            }
            offset = plane;
        }
    }
    if (row < image.height()) {
        image = QImage();
        return {false, in.taken()};
    }
    if (depth > 8) {
        for (int y = 0; y < image.height(); ++y) {
            uchar *pixel = image.scanLine(y);
            for (int x = 0; x < image.width(); ++x, pixel += 4)
                std::swap(pixel[0], pixel[2]);
        }
    }
    return {in.ok(), in.taken()};
}

// Pixels with runs, repeats of earlier pixels near and far, and noise.
QByteArray structured(qsizetype count, QRandomGenerator &random, int modulo = 256)
{
    QByteArray pixels;
    while (pixels.size() < count) {
        int const kind = random.bounded(4);
        if (kind == 0 || pixels.size() < 2) {
            pixels.append(random.bounded(1, 80), char(random.bounded(modulo)));
        } else if (kind == 1) {
            qsizetype const distance =
                random.bounded(1, int(std::min<qsizetype>(pixels.size(), 600)));
            int const length = random.bounded(2, 140);
            for (int i = 0; i < length; ++i)
                pixels.append(pixels[pixels.size() - distance]);
        } else {
            for (int i = random.bounded(1, 12); i > 0; --i)
                pixels.append(char(random.bounded(modulo)));
        }
    }
    pixels.truncate(count);
    return pixels;
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

// RLE8 packets in a mix encoders seldom write, with the pixels they give in
// \a pixels: runs of 0 to 3, run values that are run bytes, runs of every
// length and rows of single pixels from 1 to over 2,000.
QByteArray mixedPackets(int packets, QRandomGenerator &random, qint64 *pixels)
{
    QByteArray stream;
    *pixels = 0;
    auto single = [&random] { return char(random.bounded(256) | (random.bounded(2) ? 0x80 : 0)); };
    for (int i = 0; i < packets; ++i) {
        int const kind = random.bounded(40);
        if (kind < 26) {
            int const run = kind < 20 ? random.bounded(4) : random.bounded(64);
            int const value = random.bounded(2) ? random.bounded(0x40, 0x80) : random.bounded(256);
            stream += bytes({0x40 | run, value});
            *pixels += run;
            continue;
        }
        int const row = kind == 26 ? random.bounded(100, 2200) : random.bounded(1, 40);
        for (int j = 0; j < row; ++j) {
            char const byte = single();
            stream.append((byte & 0xC0) == 0x40 ? char(byte | 0x80) : byte);
        }
        *pixels += row;
    }
    return stream;
}

// Cuts a stream somewhere, spoils a few of its bytes, or leaves it.
QByteArray mutated(QByteArray stream, QRandomGenerator &random)
{
    switch (random.bounded(4)) {
    case 0:
        if (!stream.isEmpty())
            stream.truncate(random.bounded(int(stream.size())));
        break;
    case 1:
        for (int i = random.bounded(1, 4); i > 0 && !stream.isEmpty(); --i)
            stream[random.bounded(int(stream.size()))] = char(random.bounded(256));
        break;
    default:
        break;
    }
    return stream;
}

QByteArray saved(std::function<bool(QIODevice *)> const &save)
{
    QByteArray stream;
    QBuffer out(&stream);
    return save(&out) ? stream : QByteArray();
}

// The first byte where two images differ, or empty.
QString difference(QImage const &image, QImage const &expected)
{
    if (image.isNull() != expected.isNull() || image.size() != expected.size() ||
        image.format() != expected.format())
        return QStringLiteral("size, format or nullness differs");
    if (image.isNull())
        return QString();
    for (qsizetype i = 0; i < image.sizeInBytes(); ++i) {
        if (image.constBits()[i] != expected.constBits()[i])
            return QStringLiteral("byte %1 (line %2): %3, expected %4")
                .arg(i)
                .arg(i / image.bytesPerLine())
                .arg(image.constBits()[i])
                .arg(expected.constBits()[i]);
    }
    return QString();
}

using Loader = bool (*)(QImage &, QIODevice *);
using Reference = Outcome (*)(QImage &, QByteArray const &);

// Decodes \a stream with a tail behind it into \a image on \a kind of device,
// and the same by \a reference; false with a message when they differ.
bool agrees(Loader load, Reference reference, QImage const &image, QByteArray const &stream,
            Device kind, QString *message, bool checkUnread = true)
{
    QByteArray const data = stream + "tail";
    QImage expected = image;
    expected.detach();
    Outcome const outcome = reference(expected, data);
    QImage decoded = image;
    decoded.detach();
    std::unique_ptr<QIODevice> const device = makeDevice(kind, data);
    bool const ok = load(decoded, device.get());
    QString const differs = difference(decoded, expected);
    QByteArray const unread = device->readAll();
    if (ok != outcome.ok)
        *message = QStringLiteral("result %1, expected %2").arg(ok).arg(outcome.ok);
    else if (!differs.isEmpty())
        *message = differs;
    else if (checkUnread && unread != data.mid(outcome.taken))
        *message = QStringLiteral("%1 bytes left unread, expected %2")
                       .arg(unread.size())
                       .arg(data.size() - outcome.taken);
    else
        return true;
    return false;
}

QImage prepared(QSize size, QImage::Format format)
{
    QImage image(size, format);
    fillBytes(image, 0xEE);
    return image;
}

} // namespace

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
            for (uchar &byte : bytes)
                byte =
                    uchar(round < 256 ? (round + 13 * (&byte - bytes)) % 256 : random.bounded(256));
            quint64 expected = 0;
            for (int i = 0; i < 64; ++i)
                expected |= quint64(bytes[i] >= 0x40 && bytes[i] <= 0x7F) << i;
            QCOMPARE(Kenro::runTags(bytes), expected);
            QCOMPARE(runTagsPortable(bytes), expected);
        }
    }

    // Each path the processor can take, on each kind of device.
    void rle8_data()
    {
        QTest::addColumn<int>("device");
        QTest::addColumn<int>("path");
        char const *const devices[] = {"buffer", "buffer at an offset", "buffer subclass", "pipe",
                                       "pipe of five bytes a read"};
        for (Rle8Path path : KenroTest::rle8Paths()) {
            for (int device = int(Device::Buffer); device <= int(Device::Trickle); ++device)
                QTest::addRow("%s, %s", qPrintable(KenroTest::rle8PathName(path)),
                              devices[device - int(Device::Buffer)])
                    << device << int(path);
        }
    }
    void rle8()
    {
        QFETCH(int, device);
        QFETCH(int, path);
        KenroTest::Rle8PathScope const scope{Rle8Path(path)};
        QVERIFY(scope.taken());
        QImage::Format const formats[] = {QImage::Format_Indexed8, QImage::Format_Indexed8,
                                          QImage::Format_RGB32, QImage::Format_ARGB32,
                                          QImage::Format_Mono};
        QRandomGenerator random(8);
        for (int round = 0; round < 400; ++round) {
            QImage const image = prepared(caseSize(random), formats[random.bounded(5)]);
            QByteArray stream;
            switch (random.bounded(4)) {
            case 0:
            case 1: {
                // Encoded pixels: runs of every length, bytes that must be runs of one.
                QImage source = image;
                source.detach();
                QByteArray const pixels = structured(source.sizeInBytes(), random);
                memcpy(source.bits(), pixels.constData(), size_t(pixels.size()));
                stream = mutated(saved([&](QIODevice *d) { return saveRLE8(source, d); }), random);
                break;
            }
            case 2:
                // Rows of run bytes, each one a run or the value of one.
                stream = biasedNoise(random.bounded(2000), random, 2);
                break;
            default:
                stream = biasedNoise(random.bounded(3000), random, random.bounded(1, 8));
                break;
            }
            QString message;
            QVERIFY2(agrees(loadRLE8, referenceRle8, image, stream, Device(device), &message),
                     qPrintable(failedCase(round, image, message)));
        }
    }

    // Streams laid out against the blocks of 64 bytes that are read at once.
    void rle8BlockEdges_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QByteArray const pixels(62, 0x11);
        // Bytes 62 and 63: a run that ends with the block.
        QTest::newRow("run ends the block") << pixels + bytes({0x43, 0x22}) + QByteArray(100, 0x33);
        // Byte 63 starts a run whose value is the first byte of the next block.
        QTest::newRow("run across blocks")
            << pixels + bytes({0x01, 0x45, 0x44}) + QByteArray(100, 0x33);
        // A row of run bytes of odd and even length across the block's end.
        for (int row = 1; row <= 6; ++row) {
            QByteArray stream(60, 0x11);
            for (int i = 0; i < row; ++i)
                stream.append(char(0x41 + i));
            stream.append(char(0x12)); // the value of the last run, or a pixel
            QTest::newRow(qPrintable(QStringLiteral("row of %1").arg(row)))
                << stream + QByteArray(100, 0x33);
        }
        // A run of 2 whose second pixel an image of 11 pixels has no room for:
        // the packet is read whole all the same.
        QTest::newRow("run of 2 cut")
            << QByteArray(10, 0x11) + bytes({0x42, 0x55}) + QByteArray(150, 0x33);
        // Runs of nothing only: a block gives no pixels.
        QByteArray empty;
        for (int i = 0; i < 200; ++i)
            empty += bytes({0x40, 0x7F});
        QTest::newRow("empty runs") << empty + QByteArray(200, 0x44);
        // The longest runs, more pixels than a block's share of the image,
        // for many blocks.
        QByteArray longest;
        for (int i = 0; i < 1000; ++i)
            longest += bytes({0x7F, 0x40 + i % 64});
        QTest::newRow("longest runs") << longest;
        // The most pixels a block gives: a pixel, 31 runs of 63 and one more
        // whose value is the first byte of the next block.
        QByteArray most = bytes({0x01});
        for (int i = 0; i < 32; ++i)
            most += bytes({0x7F, 0x80 + i});
        QTest::newRow("most pixels of a block") << most + QByteArray(100, 0x33);
    }
    void rle8BlockEdges()
    {
        QFETCH(QByteArray, stream);
        for (Rle8Path path : KenroTest::rle8Paths()) {
            KenroTest::Rle8PathScope const scope(path);
            QVERIFY(scope.taken());
            // Images that end before, inside and after the stream's pixels.
            for (QSize size :
                 {QSize(1, 1), QSize(11, 1), QSize(50, 2), QSize(61, 1), QSize(62, 1), QSize(63, 1),
                  QSize(65, 1), QSize(100, 3), QSize(293, 7), QSize(2015, 1), QSize(2016, 1),
                  QSize(2017, 1), QSize(2018, 1), QSize(2100, 1), QSize(300, 40)}) {
                for (int device = int(Device::Buffer); device <= int(Device::Trickle); ++device) {
                    QString message;
                    QVERIFY2(agrees(loadRLE8, referenceRle8,
                                    prepared(size, QImage::Format_Indexed8), stream, Device(device),
                                    &message),
                             qPrintable(QStringLiteral("%1, %2x%3 on device %4: %5")
                                            .arg(KenroTest::rle8PathName(path))
                                            .arg(size.width())
                                            .arg(size.height())
                                            .arg(device)
                                            .arg(message)));
                }
            }
        }
    }

    // Long streams of that mix into images that they fill, overfill or leave
    // short of pixels, read in place and through a pipe.
    void rle8Mixed()
    {
        for (Rle8Path path : KenroTest::rle8Paths()) {
            KenroTest::Rle8PathScope const scope(path);
            QVERIFY(scope.taken());
            QRandomGenerator random(12);
            for (int round = 0; round < 150; ++round) {
                qint64 pixels = 0;
                QByteArray const stream = mixedPackets(random.bounded(20, 1500), random, &pixels);
                int const width = random.bounded(1, 700);
                qint64 const wanted = pixels * random.bounded(50, 130) / 100;
                QImage const image =
                    prepared(QSize(width, int(std::max<qint64>(1, wanted / width))),
                             QImage::Format_Indexed8);
                for (Device device : {Device::Buffer, Device::Pipe}) {
                    QString message;
                    QVERIFY2(agrees(loadRLE8, referenceRle8, image, stream, device, &message),
                             qPrintable(KenroTest::rle8PathName(path) + QLatin1String(", ") +
                                        failedCase(round, image, message)));
                }
            }
        }
    }

    void rle5_data() { addDeviceRows(); }
    void rle5()
    {
        QFETCH(int, device);
        QRandomGenerator random(5);
        for (int round = 0; round < 400; ++round) {
            QImage::Format const format =
                random.bounded(6) ? QImage::Format_Indexed8 : QImage::Format_Mono;
            QImage const image = prepared(caseSize(random), format);
            // Any bytes make packets; long ones have up to 31 run bytes.
            QByteArray stream = noise(random.bounded(3000), random.generate());
            if (random.bounded(2)) {
                for (int at = 1; at < stream.size(); at += 3 + 31)
                    stream[at] = char(0x80 | 31);
            }
            QString message;
            QVERIFY2(agrees(loadRLE5, referenceRle5, image, stream, Device(device), &message),
                     qPrintable(failedCase(round, image, message)));
        }
    }

    void lz5_data() { addDeviceRows(); }
    void lz5()
    {
        QFETCH(int, device);
        QRandomGenerator random(55);
        for (int round = 0; round < 400; ++round) {
            QImage const image =
                prepared(caseSize(random),
                         random.bounded(8) ? QImage::Format_Indexed8 : QImage::Format_Mono);
            QByteArray stream;
            if (random.bounded(4)) {
                // Encoded pixels: short and long runs and back-references,
                // near ones that overlap what they copy.
                QImage source(image.width(), image.height(), QImage::Format_Indexed8);
                QByteArray const pixels =
                    structured(qsizetype(image.width()) * image.height(), random, 32);
                for (int y = 0; y < source.height(); ++y)
                    memcpy(source.scanLine(y), pixels.constData() + y * source.width(),
                           size_t(source.width()));
                bool const references = random.bounded(4) != 0;
                stream = mutated(
                    saved([&](QIODevice *d) { return saveLZ5(source, d, references); }), random);
            } else {
                stream = noise(random.bounded(1000), random.generate());
            }
            QString message;
            QVERIFY2(agrees(loadLZ5, referenceLz5, image, stream, Device(device), &message),
                     qPrintable(failedCase(round, image, message)));
        }
    }

    // Back-references of every length from every distance up to 80, each
    // behind pixels that differ, in both forms.
    void lz5Copies_data() { addDeviceRows(); }
    void lz5Copies()
    {
        QFETCH(int, device);
        struct Packet
        {
            bool reference;
            QByteArray bytes;
        };
        for (int distance = 1; distance <= 80; ++distance) {
            // distance single pixels that differ from their neighbours, then the copies.
            QList<Packet> packets;
            for (int i = 0; i < distance; ++i)
                packets.append({false, bytes({0x20 | (i % 31 + 1)})});
            int const o = distance - 1;
            int shorts = 0;
            for (int length = 2; length <= 70; ++length) {
                if (length % 2 || length > 64) {
                    packets.append(
                        {true, bytes({(o >> 2) & 0xC0, o & 0xFF, std::max(length, 3) - 3})});
                    continue;
                }
                // The fourth short reference of a group takes its offset from
                // the high bits of the group's first bytes; the others bring
                // a byte of offset.
                int const place = shorts++ % 4;
                QByteArray packet = bytes({((o >> (6 - 2 * place)) & 3) << 6 | (length - 1)});
                if (place < 3)
                    packet.append(char(o));
                packets.append({true, packet});
            }
            // Groups of eight packets behind their control byte.
            QByteArray stream;
            for (qsizetype k = 0; k < packets.size(); k += 8) {
                uchar control = 0;
                for (qsizetype i = k; i < std::min(k + 8, packets.size()); ++i)
                    control |= uchar(packets[i].reference) << (i - k);
                stream.append(char(control));
                for (qsizetype i = k; i < std::min(k + 8, packets.size()); ++i)
                    stream.append(packets[i].bytes);
            }
            // All of it, and an image that fills up on the way.
            for (QSize size : {QSize(60, 50), QSize(7, 13)}) {
                QString message;
                QVERIFY2(agrees(loadLZ5, referenceLz5, prepared(size, QImage::Format_Indexed8),
                                stream, Device(device), &message),
                         qPrintable(QStringLiteral("distance %1, %2x%3: %4")
                                        .arg(distance)
                                        .arg(size.width())
                                        .arg(size.height())
                                        .arg(message)));
            }
        }
    }

    void pcx_data() { addDeviceRows(); }
    void pcx()
    {
        QFETCH(int, device);
        QImage::Format const formats[] = {QImage::Format_Indexed8, QImage::Format_RGB32,
                                          QImage::Format_ARGB32};
        QRandomGenerator random(10);
        for (int round = 0; round < 300; ++round) {
            QSize const size = caseSize(random);
            QImage source(size, formats[random.bounded(3)]);
            QByteArray const pixels = structured(source.sizeInBytes(), random);
            memcpy(source.bits(), pixels.constData(), size_t(pixels.size()));
            QByteArray file = saved([&](QIODevice *d) { return savePCX(source, d); });
            switch (random.bounded(5)) {
            case 0: { // lines of the file longer or shorter than the width
                int const bytesPerLine = std::max(1, size.width() + random.bounded(-5, 6));
                file[66] = char(bytesPerLine & 0xFF);
                file[67] = char(bytesPerLine >> 8);
                break;
            }
            case 1: // bits and planes whose pixels outgrow the lines of the image
                file[3] = char(1);
                file[65] = char(random.bounded(2) ? 5 : 8);
                break;
            default:
                break;
            }
            file = mutated(file, random);
            // A target of another size is replaced; one of the same is reused.
            QImage const image =
                prepared(random.bounded(2) ? size : QSize(3, 2), QImage::Format_Indexed8);
            QString message;
            QVERIFY2(agrees([](QImage &i, QIODevice *d) { return loadPCX(i, d, nullptr); },
                            referencePcx, image, file, Device(device), &message, false),
                     qPrintable(QStringLiteral("round %1: %2").arg(round).arg(message)));
        }
    }

    // A device in text mode reads without carriage returns, and the decoders
    // read what it gives so; the bytes behind the stream stay unread.
    void textMode_data() { addDeviceRows(); }
    void textMode()
    {
        QFETCH(int, device);
        QByteArray const stream = bytes({0x05, 0x0D, 0x0A, 0x07, 0x43, 0x0D, 0x0A, 0x09, 0x0D});
        std::unique_ptr<QIODevice> const in = makeDevice(Device(device), stream + "\r\ntail");
        if (!in->isOpen())
            QVERIFY(in->open(QIODevice::ReadOnly));
        in->setTextModeEnabled(true);
        QImage image = prepared(QSize(7, 1), QImage::Format_Indexed8);
        QVERIFY(loadRLE8(image, in.get()));
        QCOMPARE(pixels(image).toHex(' '),
                 bytes({0x05, 0x0A, 0x07, 0x0A, 0x0A, 0x0A, 0x09}).toHex(' '));
        QCOMPARE(in->readAll(), QByteArray("\ntail"));
    }

    // A pipe that hands out a little at a time, many thousand times.
    void tricklingPipe()
    {
        QByteArray stream;
        for (int i = 0; i < 20000; ++i)
            stream += bytes({0x40, 0x00}); // runs of nothing
        KenroTest::SequentialDevice pipe(stream + bytes({7}) + "tail", QIODevice::NotOpen, 5);
        QImage image = prepared(QSize(1, 1), QImage::Format_Indexed8);
        QVERIFY(loadRLE8(image, &pipe));
        QCOMPARE(image.constBits()[0], uchar(7));
        QCOMPARE(pipe.readAll(), QByteArray("tail"));
    }

    // Decoding twice from one open buffer: the second starts where the first stopped.
    void streamsOneAfterAnother()
    {
        QImage const first = indexed(4, 2, bytes({1, 1, 1, 1, 2, 3, 0x41, 0x41}));
        QImage const second = indexed(3, 1, bytes({9, 9, 9}));
        QByteArray data = saved([&](QIODevice *d) { return saveRLE8(first, d); }) +
            saved([&](QIODevice *d) { return saveLZ5(second, d, true); }) + "tail";
        QBuffer device(&data);
        QVERIFY(device.open(QIODevice::ReadOnly));
        QImage a(4, 2, QImage::Format_Indexed8);
        QImage b(3, 1, QImage::Format_Indexed8);
        QVERIFY(loadRLE8(a, &device));
        QVERIFY(loadLZ5(b, &device));
        QCOMPARE(pixels(a), pixels(first));
        QCOMPARE(pixels(b), pixels(second));
        QCOMPARE(device.readAll(), QByteArray("tail"));
    }
};

QTEST_GUILESS_MAIN(TestDecoderPaths)
#include "tst_decoderpaths.moc"
