#include <kenro/imaging/imagecodecs.h>

#include "codectest.h"

#include <QTest>

using namespace Kenro;
using namespace CodecTest;

namespace {

using Loader = bool (*)(QImage &, QIODevice *);

QByteArray saveRle8(QImage const &image)
{
    QByteArray data;
    QBuffer out(&data);
    return saveRLE8(image, &out) ? data : QByteArray("<failed>");
}

} // namespace

class TestRLECodecs : public QObject
{
    Q_OBJECT

private:
    // Columns shared by the decoder rows of both formats.
    static void decoderColumns()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("unread");
    }

    // Decodes into an indexed image whose bytes are all 0xEE beforehand;
    // line padding must keep that value.
    static void checkDecoder(Loader load)
    {
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(QByteArray, stream);
        QFETCH(QByteArray, expected);
        QFETCH(bool, ok);
        QFETCH(int, unread);
        QImage image(width, height, QImage::Format_Indexed8);
        fillBytes(image, 0xEE);
        Source device(stream);
        QCOMPARE(load(image, &device), ok);
        QCOMPARE(pixels(image).toHex(' '), expected.toHex(' '));
        QCOMPARE(int(device.bytesAvailable()), unread);
        for (int y = 0; y < height; ++y) {
            uchar const *line = image.constScanLine(y);
            for (qsizetype x = width; x < image.bytesPerLine(); ++x)
                QCOMPARE(line[x], uchar(0xEE));
        }
    }

private Q_SLOTS:
    void rle5Decodes_data()
    {
        decoderColumns();
        QTest::newRow("no colour byte, two runs")
            << 6 << 1 << bytes({2, 0x02, 0x25, 0x03}) << bytes({0, 0, 0, 5, 5, 3}) << true << 0;
        QTest::newRow("colour byte")
            << 2 << 1 << bytes({1, 0x80, 0x07}) << bytes({7, 7}) << true << 0;
        // Bits 6 and 5 of the second byte mean nothing; the colour keeps 5 bits.
        QTest::newRow("ignored bits")
            << 4 << 1 << bytes({0, 0xE1, 0xFF, 0xE2}) << bytes({31, 2, 2, 2}) << true << 0;
        QTest::newRow("runs cross lines")
            << 3 << 2 << bytes({5, 0x80, 0x04}) << bytes({4, 4, 4, 4, 4, 4}) << true << 0;
        QTest::newRow("packet after packet")
            << 3 << 1 << bytes({0, 0x80, 1, 1, 0x80, 2}) << bytes({1, 2, 2}) << true << 0;
        QTest::newRow("stops at the end")
            << 2 << 1 << bytes({3, 0x82, 0x01, 0x21, 0x22}) << bytes({1, 1}) << true << 2;
        QTest::newRow("ends between packets")
            << 4 << 1 << bytes({0, 0x00}) << bytes({0, 0xEE, 0xEE, 0xEE}) << true << 0;
        QTest::newRow("cut in a packet")
            << 4 << 1 << bytes({0, 0x81, 3}) << bytes({3, 0, 0xEE, 0xEE}) << false << 0;
        QTest::newRow("empty") << 2 << 1 << QByteArray() << bytes({0xEE, 0xEE}) << true << 0;
    }
    void rle5Decodes() { checkDecoder(loadRLE5); }

    void rle5HasNoEncoder()
    {
        QBuffer device;
        QVERIFY(!saveRLE5(QImage(2, 2, QImage::Format_Indexed8), &device));
        QVERIFY(!device.isOpen());
        QVERIFY(device.data().isEmpty());
    }

    void rle8Decodes_data()
    {
        decoderColumns();
        QTest::newRow("single bytes")
            << 3 << 1 << bytes({0x00, 0x3F, 0x80}) << bytes({0, 0x3F, 0x80}) << true << 0;
        QTest::newRow("run") << 3 << 1 << bytes({0x43, 0x41}) << bytes({0x41, 0x41, 0x41}) << true
                             << 0;
        QTest::newRow("empty run writes nothing")
            << 2 << 1 << bytes({0x40, 0x99, 0x05, 0x06}) << bytes({5, 6}) << true << 0;
        QTest::newRow("runs cross lines")
            << 3 << 2 << bytes({0x46, 0x02}) << QByteArray(6, 2) << true << 0;
        QTest::newRow("stops at the end")
            << 2 << 1 << bytes({0x45, 1, 7, 8}) << bytes({1, 1}) << true << 2;
        QTest::newRow("cut in a run") << 2 << 1 << bytes({1, 0x45}) << bytes({1, 0}) << false << 0;
        QTest::newRow("ends early") << 3 << 1 << bytes({9}) << bytes({9, 0xEE, 0xEE}) << true << 0;
    }
    void rle8Decodes() { checkDecoder(loadRLE8); }

    void rle8Encodes_data()
    {
        QTest::addColumn<QByteArray>("pixels");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("lone 0x41 is a run of one") << bytes({0x41}) << bytes({0x41, 0x41});
        QTest::newRow("lone bytes") << bytes({0x3F, 0x80, 0}) << bytes({0x3F, 0x80, 0});
        QTest::newRow("run") << bytes({7, 7, 7}) << bytes({0x43, 7});
        QTest::newRow("64 equal") << QByteArray(64, 9) << bytes({0x7F, 9, 9});
        QTest::newRow("64 of 0x7F") << QByteArray(64, 0x7F) << bytes({0x7F, 0x7F, 0x41, 0x7F});
    }
    void rle8Encodes()
    {
        QFETCH(QByteArray, pixels);
        QFETCH(QByteArray, expected);
        QCOMPARE(saveRle8(indexed(int(pixels.size()), 1, pixels)).toHex(' '), expected.toHex(' '));
    }

    void rle8RoundTrips_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("indexed, padded lines") << int(QImage::Format_Indexed8) << 13 << 11;
        QTest::newRow("indexed 1x1") << int(QImage::Format_Indexed8) << 1 << 1;
        QTest::newRow("ARGB32") << int(QImage::Format_ARGB32) << 9 << 7;
    }
    void rle8RoundTrips()
    {
        QFETCH(int, format);
        QFETCH(int, width);
        QFETCH(int, height);
        QImage image(width, height, QImage::Format(format));
        for (int y = 0; y < height; ++y) {
            // Runs and noise across lines, with bytes of every kind.
            QByteArray const line = noise(int(image.bytesPerLine()), quint32(y), y % 3 ? 256 : 2);
            memcpy(image.scanLine(y), line.constData(), size_t(line.size()));
        }
        QByteArray const stream = saveRle8(image);
        QImage again(width, height, QImage::Format(format));
        Source device(stream + "tail");
        QVERIFY(loadRLE8(again, &device));
        QCOMPARE(pixels(again), pixels(image));
        QCOMPARE(device.readAll(), QByteArray("tail"));
    }

    void rle8PaddingIsALowByte()
    {
        // RGB32 lines hold three bytes a pixel in the stream: 900 of 1200
        // bytes. The padding, 300, is taken by its low byte: 44.
        QImage image(300, 2, QImage::Format_RGB32);
        fillBytes(image, 0xEE);
        QByteArray stream;
        for (int i = 0; i < 14; ++i)
            stream += bytes({0x7F, 1});
        stream += bytes({0x52, 1, 2});
        Source device(stream);
        QVERIFY(loadRLE8(image, &device));
        uchar const *bits = image.constBits();
        QCOMPARE(bits[899], uchar(1));
        QCOMPARE(bits[900], uchar(0xEE));
        QCOMPARE(bits[943], uchar(0xEE));
        QCOMPARE(bits[944], uchar(2));
    }

    void rle8WritesWholeBytesOfEachPixel()
    {
        QImage image(1, 1, QImage::Format_RGB32);
        image.setPixel(0, 0, 0xFF102030);
        QCOMPARE(saveRle8(image).toHex(' '), bytes({0x30, 0x20, 0x10, 0xFF}).toHex(' '));
        QCOMPARE(saveRle8(QImage()), QByteArray());
    }

    void narrowFormatsStayInBounds()
    {
        // Fewer bytes a line than pixels, and no byte count the stream knows.
        QImage mono(70, 5, QImage::Format_Mono);
        mono.fill(0);
        QByteArray const stream = QByteArray(200, char(0x7F)); // runs of 63 of 0x7F
        Source first(stream);
        QVERIFY(loadRLE8(mono, &first));
        Source second(stream);
        QVERIFY(loadRLE5(mono, &second));
        QCOMPARE(saveRle8(mono), QByteArray()); // no whole byte a pixel
    }

    void garbageFailsCleanly()
    {
        int failures = 0;
        for (quint32 seed = 1; seed <= 300; ++seed) {
            QImage image(int(seed % 29) + 1, int(seed % 7) + 1, QImage::Format_Indexed8);
            Source forRle5(noise(int(seed % 50), seed));
            Source forRle8(noise(int(seed % 50), seed + 1000));
            failures += !loadRLE5(image, &forRle5);
            failures += !loadRLE8(image, &forRle8);
        }
        QVERIFY(failures > 0);
    }
};

QTEST_GUILESS_MAIN(TestRLECodecs)
#include "tst_rlecodecs.moc"
