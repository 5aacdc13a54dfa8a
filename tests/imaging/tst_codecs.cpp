// The image stream codecs on streams written out by hand, on devices of
// every kind, and on the real streams cut out of sprite archives.
#include "codectest.h"
#include "sequentialdevice.h"
#include "streammanifest.h"
#include "testdata.h"

#include <QCryptographicHash>
#include <QFile>
#include <QImageReader>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Kenro;
using namespace CodecTest;
using KenroTest::StreamEntry;

using Load = std::function<bool(QImage &, QIODevice *)>;
using Save = std::function<bool(QImage const &, QIODevice *)>;
Q_DECLARE_METATYPE(Load)
Q_DECLARE_METATYPE(Save)
Q_DECLARE_METATYPE(KenroTest::StreamEntry)

namespace {

bool loadPcx(QImage &image, QIODevice *device)
{
    return loadPCX(image, device, nullptr);
}

bool saveLz5(QImage const &image, QIODevice *device)
{
    return saveLZ5(image, device, true);
}

// A PCX header for an image at 0, 0; the 16 header colours are (i, 2i, 3i).
QByteArray pcxHeader(int width, int height, int bytesPerLine = -1, int planes = 1, int bits = 8)
{
    bytesPerLine = bytesPerLine < 0 ? width : bytesPerLine;
    QByteArray data = bytes({10, 5, 1, bits, 0, 0, 0, 0, (width - 1) & 0xFF, (width - 1) >> 8,
                             (height - 1) & 0xFF, (height - 1) >> 8, 72, 0, 72, 0});
    for (int i = 0; i < 16; ++i)
        data += bytes({i, 2 * i, 3 * i});
    return data + bytes({0, planes, bytesPerLine & 0xFF, bytesPerLine >> 8, 1, 0}) +
        QByteArray(58, '\0');
}

// The marker and a palette of 256 colours (255 - i, i, 7).
QByteArray pcxPalette()
{
    QByteArray data = bytes({12});
    for (int i = 0; i < 256; ++i)
        data += bytes({255 - i, i, 7});
    return data;
}

QImage loadedPcx(QByteArray const &data, bool *ok, bool *hasPalette = nullptr)
{
    QImage image;
    Source device(data);
    *ok = loadPCX(image, &device, hasPalette);
    return image;
}

// Noise of every byte value; RGB32 pixels opaque, as the format reads them back.
QImage noiseImage(int width, int height, QImage::Format format, quint32 seed)
{
    QImage image(width, height, format);
    QByteArray const data = noise(int(image.sizeInBytes()), seed);
    memcpy(image.bits(), data.constData(), size_t(data.size()));
    return format == QImage::Format_RGB32
        ? image.convertToFormat(QImage::Format_ARGB32).convertToFormat(format)
        : image;
}

// A small indexed image with a palette, that every format can carry.
QImage sample()
{
    QImage image = indexed(5, 3, bytes({1, 1, 1, 2, 3, 4, 4, 4, 4, 4, 0, 1, 0, 1, 0}));
    for (int i = 0; i < 256; ++i)
        image.setColor(i, qRgb(i, 255 - i, i / 2));
    return image;
}

QByteArray sha1(QByteArray const &data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Sha1).toHex();
}

QImage decoded(Load const &load, QByteArray data, QSize size, bool *ok)
{
    QImage image(size, QImage::Format_Indexed8);
    QBuffer buffer(&data);
    *ok = load(image, &buffer);
    return image;
}

} // namespace

class TestCodecs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Headerless streams into an image whose bytes are all 0xEE beforehand:
    // the pixels, the answer, what is left unread; padding stays.
    void decodes_data()
    {
        QTest::addColumn<Load>("load");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("unread");
        auto row = [](char const *name, Load load, QSize size, QByteArray stream,
                      QByteArray expected, bool ok = true, int unread = 0) {
            QTest::newRow(name) << load << size << stream << expected << ok << unread;
        };
        Load const lz5 = loadLZ5;
        Load const rle5 = loadRLE5;
        Load const rle8 = loadRLE8;
        // Offset 300: the two high bits of the packet's first byte and one more byte.
        row("LZ5 long reference far back", lz5, {303, 1},
            bytes({0x08, 0x29, 0x00, 0xFF, 0x00, 0x1C, 0x40, 0x2B, 0x00}),
            bytes({9}) + QByteArray(299, 0) + bytes({9, 0, 0}));
        row("LZ5 ends between packets", lz5, {5, 1}, bytes({0x00, 0x45}), bytes({5, 5, 0, 0, 0}));
        // The end test comes before each packet, not before its control byte.
        row("LZ5 control byte alone", lz5, {2, 1}, bytes({0x00}), bytes({0, 0}), false);
        // The missing length byte reads as 0: a copy of three, then false.
        row("LZ5 cut inside a reference", lz5, {4, 1}, bytes({0x02, 0x21, 0x00, 0x00}),
            bytes({1, 1, 1, 1}), false);
        row("LZ5 reference before the start", lz5, {4, 1}, bytes({0x02, 0x21, 0x02, 0x05}),
            bytes({1, 0, 0, 0}), false);
        // Bits 6 and 5 of the second byte mean nothing; the colour keeps 5 bits;
        // without a colour byte the first run is of colour 0.
        row("RLE5 colour byte", rle5, {4, 1}, bytes({0, 0xE1, 0xFF, 0xE2}), bytes({31, 2, 2, 2}));
        row("RLE5 no colour byte", rle5, {6, 1}, bytes({2, 0x02, 0x25, 0x03}),
            bytes({0, 0, 0, 5, 5, 3}));
        row("RLE5 cut in a packet", rle5, {4, 1}, bytes({0, 0x81, 3}), bytes({3, 0, 0xEE, 0xEE}),
            false);
        row("RLE8 empty run writes nothing", rle8, {3, 1}, bytes({0x40, 0x99, 0x05, 0x80}),
            bytes({5, 0x80, 0xEE}));
        row("RLE8 stops at the end", rle8, {2, 1}, bytes({0x45, 1, 7, 8}), bytes({1, 1}), true, 2);
        row("RLE8 cut in a run", rle8, {2, 1}, bytes({1, 0x45}), bytes({1, 0}), false);
    }
    void decodes()
    {
        QFETCH(Load, load);
        QFETCH(QSize, size);
        QFETCH(QByteArray, stream);
        QFETCH(QByteArray, expected);
        QFETCH(bool, ok);
        QFETCH(int, unread);
        QImage image = filled(size, QImage::Format_Indexed8);
        Source device(stream);
        QCOMPARE(load(image, &device), ok);
        QCOMPARE(pixels(image).toHex(' '), expected.toHex(' '));
        QCOMPARE(int(device.bytesAvailable()), unread);
        for (int y = 0; y < size.height(); ++y) {
            for (qsizetype x = size.width(); x < image.bytesPerLine(); ++x)
                QCOMPARE(image.constScanLine(y)[x], uchar(0xEE));
        }
    }

    // The bytes an encoder writes where they are given, and the pixels they
    // decode to, with what follows the stream left unread.
    void encodes_data()
    {
        QTest::addColumn<Save>("save");
        QTest::addColumn<Load>("load");
        QTest::addColumn<QImage>("image");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<int>("mask"); // of the bits that come back
        auto lz5 = [](char const *name, QByteArray const &pixels, QByteArray const &expected) {
            QTest::newRow(name) << Save(saveLz5) << Load(loadLZ5)
                                << indexed(int(pixels.size()), 1, pixels) << expected << 0x1F;
        };
        lz5("LZ5 runs", bytes({4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 0x47}),
            bytes({0x00, 0x04, 0x02, 0x27}));
        // Five copies of 1, 2, 3 at a distance of 200, each behind a run of
        // its own colour: four short references share the fourth one's offset
        // byte; the fifth, left alone, carries its own.
        QByteArray five = bytes({1, 2, 3});
        for (int separator = 9; separator <= 13; ++separator)
            five += QByteArray(197, char(separator)) + bytes({1, 2, 3});
        lz5("LZ5 five short references", five,
            bytes({0x50, 0x21, 0x22, 0x23, 0x09, 0xBD, 0xC2, 0xC7, 0x0A, 0xBD, 0x02, 0xC7,
                   0x0B, 0xBD, 0x15, 0x42, 0xC7, 0x0C, 0xBD, 0xC2, 0x0D, 0xBD, 0x02, 0xC7}));
        // Nine 5s, then 1, 2, 3 as at the start: a short run of seven and a
        // reference instead of a run of nine.
        lz5("LZ5 run of seven then a match",
            bytes({5, 5, 1, 2, 3, 9, 5, 5, 5, 5, 5, 5, 5, 5, 5, 1, 2, 3, 10}),
            bytes({0x40, 0x45, 0x21, 0x22, 0x23, 0x29, 0xE5, 0x04, 0x0C, 0x2A}));
        QByteArray const nines(253, 9);
        lz5("LZ5 distance 256 is short", bytes({1, 2, 3}) + nines + bytes({1, 2, 3, 10}),
            bytes({0x10, 0x21, 0x22, 0x23, 0x09, 0xF5, 0x02, 0xFF, 0x2A}));
        lz5("LZ5 distance 257 needs the long rule",
            bytes({1, 2, 3, 9}) + nines + bytes({1, 2, 3, 10}),
            bytes({0x00, 0x21, 0x22, 0x23, 0x09, 0xF6, 0x21, 0x22, 0x23, 0x2A}));
        lz5("LZ5 distance 257, long", bytes({1, 2, 3, 4}) + nines + bytes({1, 2, 3, 4, 10}),
            bytes({0x20, 0x21, 0x22, 0x23, 0x24, 0x09, 0xF5, 0x40, 0x00, 0x01, 0x2A}));
        // 1, 2, 1, 2, ... 65 long (or one 1 and 64 twos), again after a 9, then a 10.
        QByteArray alternating(65, 1);
        QByteArray ones = bytes({1}) + QByteArray(64, 2);
        for (int i = 1; i < 65; i += 2)
            alternating[i] = 2;
        lz5("LZ5 length 65, long", alternating + bytes({9}) + alternating + bytes({10}),
            bytes({0x14, 0x21, 0x22, 0x3E, 0x01, 0x29, 0x00, 0x41, 0x3E, 0x2A}));
        lz5("LZ5 length 65 needs the long rule", ones + bytes({9}) + ones + bytes({10}),
            bytes({0x00, 0x21, 0x02, 0x38, 0x29, 0x21, 0x02, 0x38, 0x2A}));
        QTest::newRow("LZ5 runs only")
            << Save([](QImage const &i, QIODevice *d) { return saveLZ5(i, d, false); })
            << Load(loadLZ5) << indexed(3, 500, noise(1500, 2, 4)) << QByteArray() << 0xFF;
        auto rle8 = [](char const *name, QImage const &image, QByteArray const &expected) {
            QTest::newRow(name) << Save(saveRLE8) << Load(loadRLE8) << image << expected << 0xFF;
        };
        // Bytes from 0x40 to 0x7F are runs of one; others stand alone.
        rle8("RLE8 lone bytes", indexed(5, 1, bytes({0x3F, 0x40, 0x7F, 0x80, 0})),
             bytes({0x3F, 0x41, 0x40, 0x41, 0x7F, 0x80, 0}));
        rle8("RLE8 run", indexed(3, 1, bytes({7, 7, 7})), bytes({0x43, 7}));
        rle8("RLE8 64 equal", indexed(64, 1, QByteArray(64, 9)), bytes({0x7F, 9, 9}));
        rle8("RLE8 64 of 0x7F", indexed(64, 1, QByteArray(64, 0x7F)),
             bytes({0x7F, 0x7F, 0x41, 0x7F}));
        rle8("RLE8 empty image", QImage(), QByteArray());
        // Runs cross the ends of lines, padded ones too.
        rle8("RLE8 padded lines", noiseImage(13, 11, QImage::Format_Indexed8, 3), QByteArray());
        QImage argb(9, 7, QImage::Format_ARGB32);
        argb.fill(qRgba(1, 0x41, 0x41, 0x41));
        argb.setPixel(2, 3, 0x7F417F40);
        rle8("RLE8 ARGB32", argb, QByteArray());
        // All four bytes of an RGB32 pixel, which the decoder reads as three and padding.
        argb = QImage(1, 1, QImage::Format_RGB32);
        argb.setPixel(0, 0, 0xFF102030);
        QTest::newRow("RLE8 RGB32")
            << Save(saveRLE8) << Load() << argb << bytes({0x30, 0x20, 0x10, 0xFF}) << 0;
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

    // Without back-references every control byte is 0, each packet one byte
    // or, with a zero length field, two.
    void lz5RunsOnlyWritesOnlyRuns()
    {
        QImage const image = indexed(61, 17, noise(61 * 17, 5, 3));
        QByteArray const stream = saved([&](QIODevice *d) { return saveLZ5(image, d, false); });
        int i = 0;
        while (i < stream.size()) {
            QCOMPARE(int(uchar(stream[i++])), 0);
            for (int k = 0; k < 8 && i < stream.size(); ++k)
                i += (uchar(stream[i]) >> 5) == 0 ? 2 : 1;
        }
        QCOMPARE(i, int(stream.size()));
        QVERIFY(i > 0);
    }

    // Fewer bytes a line than pixels, and no byte count the streams know:
    // nothing steps outside the image's bytes. An empty image takes nothing.
    void narrowAndEmptyImages()
    {
        QImage mono(70, 9, QImage::Format_Mono);
        mono.fill(1);
        QVERIFY(!saved([&](QIODevice *d) { return saveLZ5(mono, d, true); }).isEmpty());
        QCOMPARE(saved([&](QIODevice *d) { return saveRLE8(mono, d); }), QByteArray());
        QByteArray const runs(200, 0x7F); // of 63 pixels each in RLE8, of 128 in RLE5
        for (auto [load, stream] : {std::pair{Load(loadLZ5), bytes({0, 0, 0xFF, 0, 0xFF, 0, 0xFF})},
                                    {Load(loadRLE5), runs},
                                    {Load(loadRLE8), runs}}) {
            Source device(stream);
            QVERIFY(load(mono, &device));
            QImage empty;
            Source nothing(bytes({0x00, 0x21}));
            QVERIFY(load(empty, &nothing));
            QCOMPARE(nothing.bytesAvailable(), qint64(2));
        }
    }

    // Noise fails now and then (references before the start, cut packets), cleanly.
    void garbageFailsCleanly()
    {
        int failures = 0;
        for (quint32 seed = 1; seed <= 300; ++seed) {
            QSize const size(int(seed % 40) + 1, int(seed % 13) + 1);
            QImage image(size, QImage::Format_Indexed8);
            for (Load const &load : {Load(loadLZ5), Load(loadRLE5), Load(loadRLE8)}) {
                Source device(noise(int(seed % 97) + 1, seed));
                failures += !load(image, &device);
            }
            // A real PCX header in front of noise gets past the checks.
            bool ok = false;
            QImage const pcx =
                loadedPcx(pcxHeader(size.width(), size.height(), int(seed % 45), seed % 3 ? 1 : 4) +
                              noise(int(seed * 5 % 900), seed),
                          &ok);
            QVERIFY(!ok || pcx.size() == size);
        }
        QVERIFY(failures > 0);
    }

    void pcxEncodes()
    {
        QImage image = indexed(3, 2, bytes({1, 0xC0, 200, 0xBF, 4, 4}));
        image.setColorTable({qRgb(1, 2, 3), qRgb(4, 5, 6), qRgba(7, 8, 9, 10)});
        QByteArray const data = saved([&](QIODevice *d) { return savePCX(image, d); });
        // Lines of the width, odd or not; no resolution, no header colours.
        // Bytes of 0xC0 and more are runs of one; 0xBF stands alone. The
        // palette is cut or filled to 256 colours; its alpha is lost.
        QByteArray expected = pcxHeader(3, 2).replace(12, 52, QByteArray(52, '\0'));
        expected += bytes({1, 0xC1, 0xC0, 0xC1, 200, 0xBF, 0xC2, 4, 12});
        expected += bytes({1, 2, 3, 4, 5, 6, 7, 8, 9}) + QByteArray(253 * 3, '\0');
        QCOMPARE(data.toHex(' '), expected.toHex(' '));
        // Runs stop at 63 and at the end of each line.
        image = indexed(64, 2, QByteArray(64, 5) + QByteArray(64, char(200)));
        QCOMPARE(saved([&](QIODevice *d) { return savePCX(image, d); }).mid(128, 8).toHex(' '),
                 QByteArray("ff 05 05 ff c8 c1 c8 0c"));
        // Formats of no plane get a header only.
        QByteArray const header =
            saved([&](QIODevice *d) { return savePCX(QImage(4, 4, QImage::Format_RGB16), d); });
        QCOMPARE(header.size(), 128);
        QCOMPARE(int(header[65]), 0);
    }

    // Where the palette of an 8-bit file is, and the 16 header colours and
    // black when there is none; 5 bits keep no table and leave hasPalette.
    void pcxFindsThePalette_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("tail");
        QTest::addColumn<bool>("expectPalette");
        QTest::newRow("marker right behind") << 8 << pcxPalette() << true;
        // One stray byte: the skip lands on the first palette byte.
        QTest::newRow("stray byte") << 8 << bytes({0}) + pcxPalette() << false;
        QTest::newRow("many stray bytes") << 8 << QByteArray(40, 'x') + pcxPalette() << false;
        QTest::newRow("other marker") << 8 << pcxPalette().replace(0, 1, "\x0D") << false;
        QTest::newRow("palette cut short") << 8 << pcxPalette().left(768) << false;
        QTest::newRow("no palette") << 8 << QByteArray() << false;
        QTest::newRow("5 bits") << 5 << pcxPalette() << true;
    }
    void pcxFindsThePalette()
    {
        QFETCH(int, bits);
        QFETCH(QByteArray, tail);
        QFETCH(bool, expectPalette);
        bool ok = false;
        bool hasPalette = bits == 5 || !expectPalette; // 5 bits leave it as it was
        QImage const image = loadedPcx(pcxHeader(2, 1, 2, 1, bits) + bytes({1, 0xC1, 0xF0}) + tail,
                                       &ok, &hasPalette);
        QVERIFY(ok);
        QCOMPARE(hasPalette, expectPalette);
        QCOMPARE(pixels(image), bytes({1, 0xF0}));
        QCOMPARE(image.colorCount(), bits == 8 ? 256 : 0);
        for (int i = 0; i < image.colorCount(); ++i) {
            QRgb const expected = expectPalette ? qRgb(255 - i, i, 7)
                : i < 16                        ? qRgb(i, 2 * i, 3 * i)
                                                : qRgb(0, 0, 0);
            QCOMPARE(image.color(i), expected);
        }
    }

    // Saved and read back from a device that cannot seek: an 8-bit file
    // still finds its palette, premultiplied bytes come back as they were,
    // as plain ARGB32, and RGB32 keeps the fourth byte at 0.
    void pcxRoundTrips_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::newRow("indexed 1x1") << indexed(1, 1, bytes({0xC0}));
        QImage small = indexed(17, 9, noise(17 * 9, 3));
        small.setColorTable(sample().colorTable());
        QTest::newRow("indexed 17x9") << small;
        QTest::newRow("RGB32 5x4") << noiseImage(5, 4, QImage::Format_RGB32, 20);
        QTest::newRow("ARGB32 70x3") << noiseImage(70, 3, QImage::Format_ARGB32, 210);
        QTest::newRow("premultiplied 3x3")
            << noiseImage(3, 3, QImage::Format_ARGB32_Premultiplied, 9);
    }
    void pcxRoundTrips()
    {
        QFETCH(QImage, image);
        KenroTest::SequentialDevice pipe(saved([&](QIODevice *d) { return savePCX(image, d); }));
        QImage again;
        bool hasPalette = true;
        QVERIFY(loadPCX(again, &pipe, &hasPalette));
        QCOMPARE(hasPalette, image.format() == QImage::Format_Indexed8);
        QCOMPARE(again.format(),
                 image.format() == QImage::Format_ARGB32_Premultiplied ? QImage::Format_ARGB32
                                                                       : image.format());
        if (image.format() == QImage::Format_RGB32) {
            image = image.convertToFormat(QImage::Format_RGB888);
            again = again.convertToFormat(QImage::Format_RGB888);
        }
        QCOMPARE(pixels(again).toHex(), pixels(image).toHex());
        for (int i = 0; i < image.colorCount(); ++i)
            QCOMPARE(again.color(i), image.color(i));
    }

    // A few bytes of runs can stand for an image of any size. One past the
    // memory that Qt lets an image read from a file take is not made: false
    // and a null image, as when the memory is not there. Lines of the file
    // shorter than their pixels are read as the steps say, the rest left 0.
    void pcxSizes_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("bytesPerLine");
        QTest::addColumn<bool>("ok");
        QTest::newRow("huge, one byte a line") << 65535 << 65535 << 1 << false;
        QTest::newRow("a megabyte") << 1024 << 1024 << 1024 << true;
        QTest::newRow("a line more") << 1024 << 1025 << 1024 << false;
        QTest::newRow("lines a byte short") << 10 << 2 << 9 << true;
        QTest::newRow("lines a byte long") << 3 << 2 << 4 << true;
    }
    void pcxSizes()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, bytesPerLine);
        QFETCH(bool, ok);
        int const limit = QImageReader::allocationLimit();
        QImageReader::setAllocationLimit(1); // megabytes
        QByteArray line;
        for (int left = bytesPerLine; left > 0; left -= 63)
            line += bytes({0xC0 | std::min(left, 63), 7});
        Source device(pcxHeader(width, height, bytesPerLine) + line.repeated(height) +
                      QByteArray(1000, 1));
        QImage image(3, 3, QImage::Format_Indexed8);
        bool const loaded = loadPCX(image, &device, nullptr);
        QImageReader::setAllocationLimit(limit);
        QCOMPARE(loaded, ok);
        QCOMPARE(image.isNull(), !ok);
        int const stored = std::min(width, bytesPerLine);
        if (ok)
            QCOMPARE(pixels(image),
                     (QByteArray(stored, 7) + QByteArray(width - stored, 0)).repeated(height));
    }

    // Bad headers leave the image untouched; data too short for the header
    // gives a null image.
    void pcxRefuses_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("untouched");
        QByteArray const good = pcxHeader(2, 1) + bytes({1, 2});
        QTest::newRow("manufacturer") << QByteArray(good).replace(0, 1, "\x0B") << true;
        QTest::newRow("version") << QByteArray(good).replace(1, 1, "\x03") << true;
        QTest::newRow("16 bits") << pcxHeader(2, 1, 2, 2) + bytes({1, 2}) << true;
        QTest::newRow("4 bits") << pcxHeader(2, 1, 2, 1, 4) + bytes({1, 2}) << true;
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("half a header") << good.left(2) << true;
        // A header that claims far more than the data can hold fails at once.
        QTest::newRow("30000 x 30000") << pcxHeader(30000, 30000) + bytes({0xFF, 1}) << false;
        QByteArray const file = saved(
            [](QIODevice *d) { return savePCX(noiseImage(31, 17, QImage::Format_ARGB32, 9), d); });
        for (int length = 129; length < file.size(); length += 7)
            QTest::addRow("cut at %d", length) << file.left(length) << false;
    }
    void pcxRefuses()
    {
        QFETCH(QByteArray, file);
        QFETCH(bool, untouched);
        QImage image(3, 3, QImage::Format_RGB32);
        image.fill(Qt::red);
        QImage const before = image;
        Source device(file);
        QVERIFY(!loadPCX(image, &device, nullptr));
        QCOMPARE(untouched ? image == before : image.isNull(), true);
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
    // Closed devices are opened, read or written, and left open; no device
    // or one that cannot open fails and leaves the image untouched. There is
    // no RLE5 encoder: it writes nothing and opens nothing.
    void devices()
    {
        QFETCH(Load, load);
        QFETCH(Save, save);
        QImage const image = sample();
        QByteArray data;
        QBuffer out(&data);
        bool const rle5 = QTest::currentDataTag() == QLatin1String("RLE5");
        QCOMPARE(save(image, &out), !rle5);
        QCOMPARE(out.openMode() & QIODevice::ReadWrite,
                 rle5 ? QIODevice::NotOpen : QIODevice::WriteOnly);
        QCOMPARE(data.isEmpty(), rle5);
        QBuffer in(&data);
        QImage again(image.width(), image.height(), QImage::Format_Indexed8);
        QVERIFY(load(again, &in));
        QCOMPARE(in.openMode() & QIODevice::ReadWrite, QIODevice::ReadOnly);
        if (!rle5)
            QCOMPARE(pixels(again.convertToFormat(QImage::Format_Indexed8, image.colorTable())),
                     pixels(image));
        QImage untouched = filled({2, 2}, QImage::Format_Indexed8, 7);
        QImage const before = untouched;
        QFile missing(QStringLiteral("/nonexistent/kenro/missing.bin"));
        QVERIFY(!load(untouched, nullptr) && !save(untouched, nullptr));
        QVERIFY(!load(untouched, &missing) && !save(untouched, &missing));
        QCOMPARE(untouched, before);
    }

    // loadPNG is true once the device is open, whatever it holds. The PNG
    // writer asks whether the device is readable, not whether it is
    // writable, before opening it for writing.
    void pngAnswers()
    {
        QImage image(3, 3, QImage::Format_RGB32);
        Source garbage(QByteArray("not a PNG at all"));
        QVERIFY(loadPNG(image, &garbage));
        QVERIFY(image.isNull());
        QByteArray data("old");
        QBuffer readOnly(&data);
        readOnly.open(QIODevice::ReadOnly);
        QVERIFY(!savePNG(sample(), &readOnly));
        QCOMPARE(data, QByteArray("old"));
        QTemporaryDir dir;
        QFile writeOnly(dir.filePath(QStringLiteral("a.png")));
        QVERIFY(writeOnly.open(QIODevice::WriteOnly));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("already open")));
        QVERIFY(!savePNG(sample(), &writeOnly)); // opened again, which a file refuses
        QVERIFY(savePCX(sample(), &writeOnly)); // the others ask for writability
        QFile readWrite(dir.filePath(QStringLiteral("b.png")));
        QVERIFY(readWrite.open(QIODevice::ReadWrite));
        QVERIFY(savePNG(sample(), &readWrite));
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
    // Each real stream decodes to the pixels whose checksum the manifest
    // gives, RLE8 on each path the processor can take, and is saved and read
    // back: LZ5 with back-references tighter than with runs only, RLE8 no
    // larger than the archive's, PCX with its palette.
    void realStreams()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(StreamEntry, entry);
        QByteArray const data = KenroTest::readFile(entry.path);
        QVERIFY2(data != "<missing>", qPrintable(entry.path));
        QSize const size(entry.width, entry.height);
        bool ok = false;
        QImage image;
        Source device(data);
        if (entry.format == QLatin1String("png32")) {
            QVERIFY(loadPNG(image, &device));
            QCOMPARE(image.size(), size);
            QCOMPARE(sha1(pixels(image.convertToFormat(QImage::Format_RGBA8888))),
                     entry.pixelsSha1);
        } else if (entry.format == QLatin1String("pcx")) {
            bool hasPalette = false;
            QVERIFY(loadPCX(image, &device, &hasPalette));
            QVERIFY(device.atEnd());
            QCOMPARE(image.format(), QImage::Format_Indexed8);
            QCOMPARE(image.size(), size);
            QCOMPARE(sha1(pixels(image)), entry.pixelsSha1);
            QCOMPARE(hasPalette, !entry.paletteSha1.isEmpty());
            QCOMPARE(image.colorCount(), 256);
            QByteArray rgb;
            for (QRgb color : image.colorTable())
                rgb += bytes({qRed(color), qGreen(color), qBlue(color)});
            QCOMPARE(hasPalette ? sha1(rgb) : QByteArray(), entry.paletteSha1);
            QImage const again =
                loadedPcx(saved([&](QIODevice *d) { return savePCX(image, d); }), &ok, &hasPalette);
            QVERIFY(ok && hasPalette); // our files always carry their palette
            QCOMPARE(pixels(again), pixels(image));
            QCOMPARE(again.colorTable(), image.colorTable());
        } else if (entry.format == QLatin1String("lz5")) {
            image = decoded(loadLZ5, data, size, &ok);
            QVERIFY(ok);
            QCOMPARE(sha1(pixels(image)), entry.pixelsSha1);
            qsizetype sizes[2] = {};
            for (bool references : {true, false}) {
                QByteArray const stream =
                    saved([&](QIODevice *d) { return saveLZ5(image, d, references); });
                sizes[references] = stream.size();
                QCOMPARE(pixels(decoded(loadLZ5, stream, size, &ok)), pixels(image));
                QVERIFY(ok);
            }
            QVERIFY2(sizes[true] < sizes[false], "back-references that do not pay");
        } else {
            for (auto [path, name] : rle8Paths()) {
                Rle8PathScope const scope(path);
                QVERIFY(scope.taken);
                image = decoded(loadRLE8, data, size, &ok);
                QVERIFY2(ok, name);
                QCOMPARE(sha1(pixels(image)), entry.pixelsSha1);
            }
            QByteArray const stream = saved([&](QIODevice *d) { return saveRLE8(image, d); });
            QVERIFY(stream.size() <= data.size()); // the archive's encoder packs no tighter
            QCOMPARE(pixels(decoded(loadRLE8, stream, size, &ok)), pixels(image));
            QVERIFY(ok);
        }
    }
};

QTEST_GUILESS_MAIN(TestCodecs)
#include "tst_codecs.moc"
