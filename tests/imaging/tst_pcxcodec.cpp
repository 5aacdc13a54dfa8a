#include <kenro/imaging/imagecodecs.h>

#include "codectest.h"

#include <QImageReader>
#include <QTest>

#include <algorithm>

using namespace Kenro;
using namespace CodecTest;

namespace {

struct Header
{
    int manufacturer = 10;
    int version = 5;
    int bitsPerPixel = 8;
    int planes = 1;
    int xMin = 0;
    int yMin = 0;
    int xMax = 0;
    int yMax = 0;
    int bytesPerLine = 0;
};

void appendWord(QByteArray &data, int value)
{
    data.append(char(value & 0xFF));
    data.append(char((value >> 8) & 0xFF));
}

// A 128-byte header; the 16 header colours are (i, 2i, 3i).
QByteArray header(Header const &h)
{
    QByteArray data = bytes({h.manufacturer, h.version, 1, h.bitsPerPixel});
    appendWord(data, h.xMin);
    appendWord(data, h.yMin);
    appendWord(data, h.xMax);
    appendWord(data, h.yMax);
    appendWord(data, 72);
    appendWord(data, 72);
    for (int i = 0; i < 16; ++i)
        data += bytes({i, 2 * i, 3 * i});
    data += bytes({0, h.planes});
    appendWord(data, h.bytesPerLine);
    appendWord(data, 1);
    data.append(58, '\0');
    return data;
}

Header indexedHeader(int width, int height)
{
    Header h;
    h.xMax = width - 1;
    h.yMax = height - 1;
    h.bytesPerLine = width;
    return h;
}

// A palette of 256 colours (255 - i, i, 7).
QByteArray palette()
{
    QByteArray data;
    for (int i = 0; i < 256; ++i)
        data += bytes({255 - i, i, 7});
    return data;
}

QByteArray save(QImage const &image)
{
    QByteArray data;
    QBuffer out(&data);
    return savePCX(image, &out) ? data : QByteArray("<failed>");
}

QImage load(QByteArray const &data, bool *ok, bool *hasPalette = nullptr)
{
    QImage image;
    Source device(data);
    *ok = loadPCX(image, &device, hasPalette);
    return image;
}

QImage colorImage(int width, int height, QImage::Format format, quint32 seed)
{
    QImage image(width, height, format);
    QByteArray const data = noise(int(image.sizeInBytes()), seed);
    memcpy(image.bits(), data.constData(), size_t(data.size()));
    if (format == QImage::Format_RGB32) {
        for (int y = 0; y < height; ++y) {
            auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < width; ++x)
                line[x] |= 0xFF000000;
        }
    }
    return image;
}

} // namespace

class TestPCXCodec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oddWidthKeepsItsLineLength()
    {
        QImage image = indexed(3, 2, bytes({1, 2, 200, 4, 4, 4}));
        image.setColorTable({qRgb(1, 2, 3), qRgb(4, 5, 6), qRgba(7, 8, 9, 10)});
        QByteArray const data = save(image);
        Header h = indexedHeader(3, 2);
        QByteArray expected = header(h);
        expected.replace(12, 4, bytes({0, 0, 0, 0})); // no resolution
        expected.replace(16, 48, QByteArray(48, '\0')); // no header colours
        expected += bytes({1, 2, 0xC1, 200, 0xC3, 4, 12});
        expected += bytes({1, 2, 3, 4, 5, 6, 7, 8, 9}) + QByteArray(253 * 3, '\0');
        QCOMPARE(data.toHex(' '), expected.toHex(' '));

        bool ok = false;
        bool hasPalette = false;
        QImage const again = load(data, &ok, &hasPalette);
        QVERIFY(ok);
        QVERIFY(hasPalette);
        QCOMPARE(pixels(again), pixels(image));
        QCOMPARE(again.colorCount(), 256);
        QCOMPARE(again.color(2), qRgb(7, 8, 9)); // the table's alpha is lost
        QCOMPARE(again.color(3), qRgb(0, 0, 0));
    }

    void runsStopAt63()
    {
        QByteArray const data = save(indexed(64, 2, repeated64()));
        QCOMPARE(data.mid(128, 6).toHex(' '), bytes({0xFF, 5, 5, 0xFF, 200, 0xC1}).toHex(' '));
        QCOMPARE(uchar(data[134]), uchar(200));
        QCOMPARE(uchar(data[135]), uchar(12));
    }

    void findsThePalette_data()
    {
        QTest::addColumn<QByteArray>("tail");
        QTest::addColumn<bool>("expectPalette");
        QTest::newRow("marker right behind") << bytes({12}) + palette() << true;
        // One stray byte: the skip lands on the first palette byte.
        QTest::newRow("stray byte") << bytes({0, 12}) + palette() << false;
        QTest::newRow("many stray bytes") << QByteArray(40, 'x') + bytes({12}) + palette() << false;
        QTest::newRow("other marker") << bytes({13}) + palette() << false;
        QTest::newRow("palette cut short") << bytes({12}) + palette().left(767) << false;
        QTest::newRow("no palette") << QByteArray() << false;
    }
    void findsThePalette()
    {
        QFETCH(QByteArray, tail);
        QFETCH(bool, expectPalette);
        QByteArray const file = header(indexedHeader(2, 1)) + bytes({1, 0xC1, 0xF0}) + tail;
        bool ok = false;
        bool hasPalette = !expectPalette;
        QImage const image = load(file, &ok, &hasPalette);
        QVERIFY(ok);
        QCOMPARE(hasPalette, expectPalette);
        QCOMPARE(pixels(image), bytes({1, 0xF0}));
        QCOMPARE(image.colorCount(), 256);
        for (int i = 0; i < 256; ++i) {
            QRgb const expected = expectPalette ? qRgb(255 - i, i, 7)
                : i < 16                        ? qRgb(i, 2 * i, 3 * i)
                                                : qRgb(0, 0, 0);
            QCOMPARE(image.color(i), expected);
        }
    }

    void roundTrips_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("indexed 1x1") << int(QImage::Format_Indexed8) << 1 << 1;
        QTest::newRow("indexed 17x9") << int(QImage::Format_Indexed8) << 17 << 9;
        QTest::newRow("RGB32 5x4") << int(QImage::Format_RGB32) << 5 << 4;
        QTest::newRow("ARGB32 70x3") << int(QImage::Format_ARGB32) << 70 << 3;
        QTest::newRow("premultiplied 3x3") << int(QImage::Format_ARGB32_Premultiplied) << 3 << 3;
    }
    void roundTrips()
    {
        QFETCH(int, format);
        QFETCH(int, width);
        QFETCH(int, height);
        QImage image = colorImage(width, height, QImage::Format(format), quint32(width * height));
        if (image.format() == QImage::Format_Indexed8) {
            image = indexed(width, height, noise(width * height, 3));
            image.setColorTable({qRgb(10, 20, 30), qRgb(40, 50, 60)});
        }
        bool ok = false;
        QImage const again = load(save(image) + "tail", &ok);
        QVERIFY(ok);
        QCOMPARE(again.size(), image.size());
        if (image.format() == QImage::Format_RGB32) {
            QCOMPARE(again.format(), QImage::Format_RGB32);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x)
                    QCOMPARE(again.pixel(x, y), image.pixel(x, y));
            }
            return;
        }
        // Premultiplied bytes come back as they were, as plain ARGB32.
        QCOMPARE(pixels(again), pixels(image));
        if (image.format() != QImage::Format_Indexed8)
            QCOMPARE(again.format(), QImage::Format_ARGB32);
    }

    void reads24BitsIntoFourBytes()
    {
        Header h = indexedHeader(2, 1);
        h.planes = 3;
        // Planes red, green, blue; bytes per line 2 each.
        QByteArray const file = header(h) + bytes({1, 2, 3, 4, 5, 6}) + "tail";
        Source device(file);
        QImage image;
        bool hasPalette = true;
        QVERIFY(loadPCX(image, &device, &hasPalette));
        QVERIFY(!hasPalette);
        QCOMPARE(image.format(), QImage::Format_RGB32);
        // Blue, green, red in memory, the fourth byte left at 0.
        QCOMPARE(pixels(image).toHex(' '), bytes({5, 3, 1, 0, 6, 4, 2, 0}).toHex(' '));
        QCOMPARE(device.readAll(), QByteArray("tail")); // nothing read past the pixels
    }

    void dropsLinePadding()
    {
        Header h = indexedHeader(3, 2);
        h.bytesPerLine = 4;
        // A run of eight crosses the line end; the fourth byte of each line is dropped.
        QByteArray const file = header(h) + bytes({0xC8, 9}) + bytes({12}) + palette();
        bool ok = false;
        QImage const image = load(file, &ok);
        QVERIFY(ok);
        QCOMPARE(pixels(image), bytes({9, 9, 9, 9, 9, 9}));

        QByteArray const second = header(h) + bytes({1, 2, 3, 0xC0, 99, 4, 5, 6, 7, 8});
        QCOMPARE(pixels(load(second, &ok)), bytes({1, 2, 3, 5, 6, 7}));
        QVERIFY(ok);
    }

    // A few bytes of runs can stand for an image of any size. One past the
    // memory that Qt lets an image read from a file take is not made: false
    // and a null image, as when the memory is not there. Lines of the file
    // shorter than their pixels are read as the steps say, the rest left 0.
    void sizesPastTheImageLimit_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("bytesPerLine");
        QTest::addColumn<bool>("ok");
        QTest::newRow("huge, one byte a line") << 65535 << 65535 << 1 << false;
        QTest::newRow("a megabyte") << 1024 << 1024 << 1024 << true;
        QTest::newRow("a line more") << 1024 << 1025 << 1024 << false;
        QTest::newRow("lines a byte short") << 10 << 2 << 9 << true;
    }
    void sizesPastTheImageLimit()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, bytesPerLine);
        QFETCH(bool, ok);
        int const limit = QImageReader::allocationLimit();
        QImageReader::setAllocationLimit(1); // megabytes
        Header h = indexedHeader(width, height);
        h.bytesPerLine = bytesPerLine;
        QByteArray line;
        for (int left = bytesPerLine; left > 0; left -= 63)
            line += bytes({0xC0 | std::min(left, 63), 7});
        Source device(header(h) + line.repeated(height) + QByteArray(1000, 1));
        QImage image(3, 3, QImage::Format_Indexed8);
        image.fill(4);
        bool const loaded = loadPCX(image, &device, nullptr);
        QImageReader::setAllocationLimit(limit);
        QCOMPARE(loaded, ok);
        if (!ok) {
            QVERIFY(image.isNull());
            return;
        }
        QCOMPARE(image.size(), QSize(width, height));
        int const stored = std::min(width, bytesPerLine);
        QByteArray const expected = QByteArray(stored, 7) + QByteArray(width - stored, 0);
        for (int y = 0; y < height; ++y) {
            auto const *row = reinterpret_cast<char const *>(image.constScanLine(y));
            QCOMPARE(QByteArray(row, width), expected);
        }
    }

    void fitsTheCallersImage()
    {
        QByteArray const file = header(indexedHeader(2, 2)) + bytes({1, 2, 3, 4});
        QImage image(2, 2, QImage::Format_Indexed8);
        uchar const *bits = image.constBits();
        Source device(file);
        QVERIFY(loadPCX(image, &device, nullptr));
        QCOMPARE(image.constBits(), bits); // same size and format: filled in place
        QCOMPARE(pixels(image), bytes({1, 2, 3, 4}));

        // An empty extent in the header keeps the caller's image and its size.
        Header h = indexedHeader(2, 2);
        h.xMin = 5;
        QImage kept(4, 1, QImage::Format_Indexed8);
        fillBytes(kept, 0xEE);
        Source second(header(h) + bytes({0xC4, 7}));
        QVERIFY(loadPCX(kept, &second, nullptr));
        QCOMPARE(kept.size(), QSize(4, 1));
        QCOMPARE(pixels(kept), bytes({0, 0, 0, 0})); // cleared, nothing stored
    }

    void fiveBitsKeepNoTable()
    {
        Header h = indexedHeader(2, 1);
        h.bitsPerPixel = 5;
        bool hasPalette = true;
        bool ok = false;
        QImage const image =
            load(header(h) + bytes({3, 4}) + bytes({12}) + palette(), &ok, &hasPalette);
        QVERIFY(ok);
        QVERIFY(hasPalette); // left as the caller set it
        QCOMPARE(image.format(), QImage::Format_Indexed8);
        QCOMPARE(image.colorCount(), 0);
        QCOMPARE(pixels(image), bytes({3, 4}));
    }

    void rejectsBadHeaders_data()
    {
        QTest::addColumn<QByteArray>("file");
        Header h = indexedHeader(2, 1);
        QByteArray const data = bytes({1, 2});
        Header bad = h;
        bad.manufacturer = 11;
        QTest::newRow("manufacturer") << header(bad) + data;
        bad = h;
        bad.version = 3;
        QTest::newRow("version") << header(bad) + data;
        bad = h;
        bad.planes = 2;
        QTest::newRow("16 bits") << header(bad) + data;
        bad = h;
        bad.bitsPerPixel = 4;
        QTest::newRow("4 bits") << header(bad) + data;
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("half a header") << header(h).left(2);
    }
    void rejectsBadHeaders()
    {
        QFETCH(QByteArray, file);
        QImage image(3, 3, QImage::Format_RGB32);
        image.fill(Qt::red);
        QImage const before = image;
        Source device(file);
        QVERIFY(!loadPCX(image, &device, nullptr));
        QCOMPARE(image, before);
    }

    void shortDataGivesANullImage()
    {
        QByteArray const file = save(colorImage(31, 17, QImage::Format_ARGB32, 9));
        for (int length = 129; length < file.size(); length += 7) {
            bool ok = true;
            QImage const image = load(file.left(length), &ok);
            QVERIFY2(!ok, qPrintable(QString::number(length)));
            QVERIFY(image.isNull());
        }
        // A header that claims far more than the data can hold fails at once.
        Header h = indexedHeader(30000, 30000);
        bool ok = true;
        QVERIFY(load(header(h) + bytes({0xFF, 1}), &ok).isNull());
        QVERIFY(!ok);
    }

    void otherFormatsGetAHeaderOnly()
    {
        QImage image(4, 4, QImage::Format_RGB16);
        image.fill(0);
        QByteArray const data = save(image);
        QCOMPARE(data.size(), 128);
        QCOMPARE(int(data[65]), 0); // no planes
    }

    void garbageFailsCleanly()
    {
        for (quint32 seed = 1; seed <= 200; ++seed) {
            // A real header in front of noise gets past the checks.
            Header h = indexedHeader(int(seed % 40) + 1, int(seed % 13) + 1);
            h.planes = seed % 3 ? 1 : 4;
            h.bytesPerLine = int(seed % 45);
            QByteArray const file = header(h) + noise(int(seed * 5 % 900), seed);
            bool ok = false;
            QImage const image = load(file, &ok);
            if (ok)
                QCOMPARE(image.size(), QSize(h.xMax + 1, h.yMax + 1));
        }
    }

private:
    static QByteArray repeated64() { return QByteArray(64, char(5)) + QByteArray(64, char(200)); }
};

QTEST_GUILESS_MAIN(TestPCXCodec)
#include "tst_pcxcodec.moc"
