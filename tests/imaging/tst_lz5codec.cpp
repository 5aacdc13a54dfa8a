#include <kenro/imaging/imagecodecs.h>

#include "codectest.h"

#include <QTest>

using namespace Kenro;
using namespace CodecTest;

namespace {

QByteArray repeated(int value, int count)
{
    return QByteArray(count, char(value));
}

QByteArray save(QImage const &image, bool useBackReferences)
{
    QByteArray stream;
    QBuffer out(&stream);
    bool const ok = saveLZ5(image, &out, useBackReferences);
    return ok ? stream : QByteArray("<failed>");
}

// Five copies of 1, 2, 3 at a distance of 200, each behind a run of its own
// colour: five short back-references, the first four a group.
QByteArray fiveShortReferences()
{
    QByteArray pixels = bytes({1, 2, 3});
    for (int separator = 9; separator <= 13; ++separator)
        pixels += repeated(separator, 197) + bytes({1, 2, 3});
    return pixels;
}

// 1, 2, 1, 2, ... 65 long (or one 1 and 64 twos), again after a 9, then a 10.
QByteArray twice65(bool alternating)
{
    QByteArray block(65, 2);
    for (int i = 0; i < 65; ++i)
        block[i] = char(alternating ? 1 + i % 2 : (i ? 2 : 1));
    return block + bytes({9}) + block + bytes({10});
}

} // namespace

class TestLZ5Codec : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decodes_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("unread");
        QTest::newRow("short run") << 3 << bytes({0x00, 0x65}) << bytes({5, 5, 5}) << true << 0;
        QTest::newRow("long run") << 10 << bytes({0x00, 0x07, 0x02}) << repeated(7, 10) << true
                                  << 0;
        QTest::newRow("run cut at the end")
            << 4 << bytes({0x00, 0x07, 0x02}) << repeated(7, 4) << true << 0;
        QTest::newRow("value has five bits")
            << 2 << bytes({0x00, 0x5F}) << bytes({31, 31}) << true << 0;
        QTest::newRow("overlapping copy") << 8 << bytes({0x04, 0x21, 0x22, 0x00, 0x01, 0x03})
                                          << bytes({1, 2, 1, 2, 1, 2, 1, 2}) << true << 0;
        // Offset 300: the two high bits of the packet's first byte and one more byte.
        QTest::newRow("long reference far back")
            << 303 << bytes({0x08, 0x29, 0x00, 0xFF, 0x00, 0x1C, 0x40, 0x2B, 0x00})
            << bytes({9}) + repeated(0, 299) + bytes({9, 0, 0}) << true << 0;
        QTest::newRow("reference cut at the end")
            << 5 << bytes({0x04, 0x21, 0x22, 0x00, 0x01, 0x03}) << bytes({1, 2, 1, 2, 1}) << true
            << 0;
        QTest::newRow("ends between packets")
            << 5 << bytes({0x00, 0x45}) << bytes({5, 5, 0, 0, 0}) << true << 0;
        QTest::newRow("stops inside a group")
            << 2 << bytes({0x00, 0x45, 0x45, 0x45, 0x45, 0x45, 0x45, 0x45, 0x45, 0x00})
            << bytes({5, 5}) << true << 8;
        // The end test comes before each packet, not before its control byte.
        QTest::newRow("control byte alone") << 2 << bytes({0x00}) << bytes({0, 0}) << false << 0;
        QTest::newRow("empty stream") << 2 << QByteArray() << bytes({0, 0}) << true << 0;
        QTest::newRow("cut inside a packet")
            << 9 << bytes({0x00, 0x05}) << repeated(5, 8) + bytes({0}) << false << 0;
        // The missing length byte reads as 0: a copy of three, then false.
        QTest::newRow("cut inside a reference")
            << 4 << bytes({0x02, 0x21, 0x00, 0x00}) << bytes({1, 1, 1, 1}) << false << 0;
        QTest::newRow("reference before the start")
            << 4 << bytes({0x02, 0x21, 0x02, 0x05}) << bytes({1, 0, 0, 0}) << false << 0;
        QTest::newRow("stops at the end of the image")
            << 2 << bytes({0x00, 0x45, 0x45, 0x45}) << bytes({5, 5}) << true << 2;
    }
    void decodes()
    {
        QFETCH(int, width);
        QFETCH(QByteArray, stream);
        QFETCH(QByteArray, expected);
        QFETCH(bool, ok);
        QFETCH(int, unread);
        QImage image(width, 1, QImage::Format_Indexed8);
        fillBytes(image, 0xEE);
        Source device(stream);
        QCOMPARE(loadLZ5(image, &device), ok);
        QCOMPARE(pixels(image), expected);
        QCOMPARE(int(device.bytesAvailable()), unread);
    }

    void decodesIntoPaddedLines()
    {
        // Width 5 has three bytes of padding a line; the stream runs across lines.
        QImage image(5, 3, QImage::Format_Indexed8);
        fillBytes(image, 0xEE);
        Source device(bytes({0x00, 0xE1, 0x00, 0x00, 0x41}));
        QVERIFY(loadLZ5(image, &device));
        QCOMPARE(pixels(image), repeated(1, 7) + repeated(0, 8));
        QCOMPARE(image.constScanLine(0)[5], uchar(0xEE)); // padding untouched
        QCOMPARE(image.constScanLine(2)[4], uchar(0));
    }

    void encodes_data()
    {
        QTest::addColumn<QByteArray>("pixels");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("runs") << bytes({4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 7})
                              << bytes({0x00, 0x04, 0x02, 0x27});
        QTest::newRow("value cut to five bits") << bytes({0x41}) << bytes({0x00, 0x21});
        // Four short references share the fourth one's offset byte; the
        // fifth, left alone, carries its own.
        QTest::newRow("five short references")
            << fiveShortReferences()
            << bytes({0x50, 0x21, 0x22, 0x23, 0x09, 0xBD, 0xC2, 0xC7, 0x0A, 0xBD, 0x02, 0xC7,
                      0x0B, 0xBD, 0x15, 0x42, 0xC7, 0x0C, 0xBD, 0xC2, 0x0D, 0xBD, 0x02, 0xC7});
        // Nine 5s, then 1, 2, 3 as at the start: a short run of seven and a
        // reference instead of a run of nine.
        QTest::newRow("run of seven then a match")
            << bytes({5, 5, 1, 2, 3, 9, 5, 5, 5, 5, 5, 5, 5, 5, 5, 1, 2, 3, 10})
            << bytes({0x40, 0x45, 0x21, 0x22, 0x23, 0x29, 0xE5, 0x04, 0x0C, 0x2A});
        QTest::newRow("distance 256 is short")
            << bytes({1, 2, 3}) + repeated(9, 253) + bytes({1, 2, 3, 10})
            << bytes({0x10, 0x21, 0x22, 0x23, 0x09, 0xF5, 0x02, 0xFF, 0x2A});
        QTest::newRow("distance 257 needs the long rule")
            << bytes({1, 2, 3}) + repeated(9, 254) + bytes({1, 2, 3, 10})
            << bytes({0x00, 0x21, 0x22, 0x23, 0x09, 0xF6, 0x21, 0x22, 0x23, 0x2A});
        QTest::newRow("distance 257, long")
            << bytes({1, 2, 3, 4}) + repeated(9, 253) + bytes({1, 2, 3, 4, 10})
            << bytes({0x20, 0x21, 0x22, 0x23, 0x24, 0x09, 0xF5, 0x40, 0x00, 0x01, 0x2A});
        QTest::newRow("length 65, long")
            << twice65(true) << bytes({0x14, 0x21, 0x22, 0x3E, 0x01, 0x29, 0x00, 0x41, 0x3E, 0x2A});
        QTest::newRow("length 65 needs the long rule")
            << twice65(false) << bytes({0x00, 0x21, 0x02, 0x38, 0x29, 0x21, 0x02, 0x38, 0x2A});
    }
    void encodes()
    {
        QFETCH(QByteArray, pixels);
        QFETCH(QByteArray, expected);
        QImage const image = indexed(int(pixels.size()), 1, pixels);
        QByteArray const stream = save(image, true);
        QCOMPARE(stream.toHex(' '), expected.toHex(' '));

        QImage decoded(image.width(), 1, QImage::Format_Indexed8);
        Source device(stream);
        QVERIFY(loadLZ5(decoded, &device));
        QByteArray masked = pixels;
        for (char &byte : masked)
            byte = char(byte & 0x1F);
        QCOMPARE(CodecTest::pixels(decoded), masked);
    }

    void runsOnlyWithoutBackReferences()
    {
        QImage const image = indexed(61, 17, noise(61 * 17, 5, 3));
        QByteArray const stream = save(image, false);
        // Every packet is a run: each control byte is 0, each packet one byte
        // or, with a zero length field, two.
        int i = 0;
        int packets = 0;
        while (i < stream.size()) {
            QCOMPARE(int(uchar(stream[i++])), 0);
            for (int k = 0; k < 8 && i < stream.size(); ++k, ++packets) {
                if ((uchar(stream[i++]) >> 5) == 0)
                    ++i;
            }
        }
        QCOMPARE(i, int(stream.size()));
        QVERIFY(packets > 0);
        QImage decoded(61, 17, QImage::Format_Indexed8);
        Source device(stream);
        QVERIFY(loadLZ5(decoded, &device));
        QCOMPARE(pixels(decoded), pixels(image));
    }

    void roundTrips_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("colors");
        QTest::newRow("one pixel") << 1 << 1 << 32;
        QTest::newRow("noise") << 64 << 64 << 32;
        QTest::newRow("two colours, padded lines") << 37 << 29 << 2;
        QTest::newRow("long runs") << 300 << 7 << 1;
        QTest::newRow("tall") << 3 << 500 << 4;
    }
    void roundTrips()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(int, colors);
        QByteArray data = noise(width * height, quint32(width * 7 + height), colors);
        // Repeat a stretch far back and near, so that references of both forms appear.
        if (data.size() > 1200)
            data.replace(1100, 90, data.mid(10, 90));
        QImage const image = indexed(width, height, data);
        for (bool useBackReferences : {true, false}) {
            QByteArray const stream = save(image, useBackReferences);
            QImage decoded(width, height, QImage::Format_Indexed8);
            Source device(stream + "tail");
            QVERIFY(loadLZ5(decoded, &device));
            QCOMPARE(pixels(decoded), pixels(image));
            QCOMPARE(device.readAll(), QByteArray("tail"));
        }
    }

    void emptyImageGivesEmptyStream()
    {
        QCOMPARE(save(QImage(), true), QByteArray());
        QImage empty;
        Source device(bytes({0x00, 0x21}));
        QVERIFY(loadLZ5(empty, &device));
        QCOMPARE(device.bytesAvailable(), qint64(2)); // nothing to fill, nothing read
    }

    void narrowFormatsStayInBounds()
    {
        // One bit a pixel: fewer bytes a line than pixels. Neither side may
        // step outside the image's bytes.
        QImage mono(70, 9, QImage::Format_Mono);
        mono.fill(1);
        QByteArray const stream = save(mono, true);
        QVERIFY(!stream.isEmpty());
        Source device(bytes({0x00, 0x00, 0xFF, 0x00, 0xFF, 0x00, 0xFF}));
        QVERIFY(loadLZ5(mono, &device));
    }

    void garbageFailsCleanly()
    {
        int failures = 0;
        for (quint32 seed = 1; seed <= 300; ++seed) {
            QImage image(23, 11, QImage::Format_Indexed8);
            Source device(noise(int(seed % 97) + 1, seed));
            if (!loadLZ5(image, &device))
                ++failures;
        }
        QVERIFY(failures > 0); // references before the start and cut packets are caught
    }
};

QTEST_GUILESS_MAIN(TestLZ5Codec)
#include "tst_lz5codec.moc"
