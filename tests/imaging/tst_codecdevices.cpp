// How every codec opens its device, PNG, and the image information rules.
#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/imageinfo.h>

#include "codectest.h"
#include "sequentialdevice.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Kenro;
using namespace CodecTest;

namespace {

using Load = std::function<bool(QImage &, QIODevice *)>;
using Save = std::function<bool(QImage const &, QIODevice *)>;

bool loadPcx(QImage &image, QIODevice *device)
{
    return loadPCX(image, device, nullptr);
}

// A small indexed image with a palette, that every format can carry.
QImage sample()
{
    QImage image = indexed(5, 3, bytes({1, 1, 1, 2, 3, 4, 4, 4, 4, 4, 0, 1, 0, 1, 0}));
    QList<QRgb> table;
    for (int i = 0; i < 256; ++i)
        table.append(qRgb(i, 255 - i, i / 2));
    image.setColorTable(table);
    return image;
}

} // namespace

Q_DECLARE_METATYPE(Load)
Q_DECLARE_METATYPE(Save)

class TestCodecDevices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void imageInfoDefaults()
    {
        ImageInfo info;
        QCOMPARE(info.width, quint16(0));
        QCOMPARE(info.height, quint16(0));
        QCOMPARE(info.format, QImage::Format_Indexed8);
        info.width = 640;
        info.height = 480;
        QCOMPARE(info.size(), QSize(640, 480));
    }

    void formatOfDepth_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("format");
        QTest::newRow("1") << 1 << int(QImage::Format_Invalid);
        QTest::newRow("4") << 4 << int(QImage::Format_Invalid);
        QTest::newRow("5") << 5 << int(QImage::Format_Indexed8);
        QTest::newRow("8") << 8 << int(QImage::Format_Indexed8);
        QTest::newRow("16") << 16 << int(QImage::Format_Invalid);
        QTest::newRow("24") << 24 << int(QImage::Format_RGB32);
        QTest::newRow("32") << 32 << int(QImage::Format_ARGB32);
        QTest::newRow("0") << 0 << int(QImage::Format_Invalid);
    }
    void formatOfDepth()
    {
        QFETCH(int, bits);
        QFETCH(int, format);
        QCOMPARE(int(imageFormatOfDepth(bits)), format);
    }

    void depthOfFormat_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("bits");
        QTest::newRow("indexed") << int(QImage::Format_Indexed8) << 8;
        QTest::newRow("RGB32") << int(QImage::Format_RGB32) << 24;
        QTest::newRow("ARGB32") << int(QImage::Format_ARGB32) << 32;
        QTest::newRow("premultiplied") << int(QImage::Format_ARGB32_Premultiplied) << 32;
        QTest::newRow("RGB888") << int(QImage::Format_RGB888) << 0;
        QTest::newRow("mono") << int(QImage::Format_Mono) << 0;
        QTest::newRow("invalid") << int(QImage::Format_Invalid) << 0;
    }
    void depthOfFormat()
    {
        QFETCH(int, format);
        QFETCH(int, bits);
        QCOMPARE(imageDepthOfFormat(QImage::Format(format)), bits);
    }

    void codecs_data()
    {
        QTest::addColumn<Load>("load");
        QTest::addColumn<Save>("save");
        QTest::newRow("PNG") << Load(loadPNG) << Save(savePNG);
        QTest::newRow("PCX") << Load(loadPcx) << Save(savePCX);
        QTest::newRow("LZ5") << Load(loadLZ5) << Save([](QImage const &i, QIODevice *d) {
            return saveLZ5(i, d, true);
        });
        QTest::newRow("RLE8") << Load(loadRLE8) << Save(saveRLE8);
    }

    // Closed devices are opened, read or written, and left open.
    void codecs()
    {
        QFETCH(Load, load);
        QFETCH(Save, save);
        QImage const image = sample();
        QByteArray data;
        QBuffer out(&data);
        QVERIFY(save(image, &out));
        QVERIFY(out.isOpen());
        QCOMPARE(out.openMode() & QIODevice::ReadWrite, QIODevice::WriteOnly);
        QVERIFY(!data.isEmpty());

        QBuffer in(&data);
        QImage again(image.width(), image.height(), QImage::Format_Indexed8);
        QVERIFY(load(again, &in));
        QVERIFY(in.isOpen());
        QCOMPARE(in.openMode() & QIODevice::ReadWrite, QIODevice::ReadOnly);
        QCOMPARE(pixels(again.convertToFormat(QImage::Format_Indexed8, image.colorTable())),
                 pixels(image));
    }

    void codecsWithoutADevice()
    {
        QFETCH(Load, load);
        QFETCH(Save, save);
        QImage image(2, 2, QImage::Format_Indexed8);
        fillBytes(image, 7);
        QImage const before = image;
        QVERIFY(!load(image, nullptr));
        QVERIFY(!save(image, nullptr));

        QFile missing(QStringLiteral("/nonexistent/kenro/missing.bin"));
        QVERIFY(!load(image, &missing));
        QVERIFY(!save(image, &missing));
        QCOMPARE(image, before);
    }
    void codecsWithoutADevice_data() { codecs_data(); }

    // On a device that cannot seek, decoders leave what follows their stream
    // unread, however many chunks they take.
    void decodersOnAPipe()
    {
        QImage const image = sample();
        QByteArray pcx;
        QBuffer out(&pcx);
        QVERIFY(savePCX(image, &out));
        KenroTest::SequentialDevice pcxPipe(pcx);
        QImage again;
        bool hasPalette = false;
        QVERIFY(loadPCX(again, &pcxPipe, &hasPalette));
        QVERIFY(hasPalette);
        QCOMPARE(pixels(again), pixels(image));
        QCOMPARE(again.colorTable(), image.colorTable());

        QByteArray lz5;
        QBuffer lz5Out(&lz5);
        QVERIFY(saveLZ5(image, &lz5Out, true));
        KenroTest::SequentialDevice lz5Pipe(lz5 + "tail");
        again = QImage(image.size(), QImage::Format_Indexed8);
        QVERIFY(loadLZ5(again, &lz5Pipe));
        QCOMPARE(pixels(again), pixels(image));
        QCOMPARE(lz5Pipe.readAll(), QByteArray("tail"));

        // Thousands of empty runs before the pixels: many chunks.
        QByteArray rle8;
        for (int i = 0; i < 5000; ++i)
            rle8 += bytes({0x40, 0x00});
        KenroTest::SequentialDevice rle8Pipe(rle8 + bytes({1, 2, 3}) + "tail");
        QImage three(3, 1, QImage::Format_Indexed8);
        QVERIFY(loadRLE8(three, &rle8Pipe));
        QCOMPARE(pixels(three), bytes({1, 2, 3}));
        QCOMPARE(rle8Pipe.readAll(), QByteArray("tail"));
    }

    void loadPngIsTrueOnceOpen()
    {
        QImage image(3, 3, QImage::Format_RGB32);
        Source garbage(QByteArray("not a PNG at all"));
        QVERIFY(loadPNG(image, &garbage));
        QVERIFY(image.isNull());
    }

    // The PNG writer asks whether the device is readable, not whether it is
    // writable, before opening it for writing.
    void savePngAsksForReadability()
    {
        QImage const image = sample();
        QByteArray data("old");
        QBuffer readOnly(&data);
        readOnly.open(QIODevice::ReadOnly);
        QVERIFY(!savePNG(image, &readOnly));
        QCOMPARE(data, QByteArray("old"));

        QTemporaryDir dir;
        QFile writeOnly(dir.filePath(QStringLiteral("a.png")));
        QVERIFY(writeOnly.open(QIODevice::WriteOnly));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("already open")));
        QVERIFY(!savePNG(image, &writeOnly)); // opened again, which a file refuses
        QVERIFY(savePCX(image, &writeOnly)); // the others ask for writability
        writeOnly.close();

        QFile readWrite(dir.filePath(QStringLiteral("b.png")));
        QVERIFY(readWrite.open(QIODevice::ReadWrite));
        QVERIFY(savePNG(image, &readWrite));
        readWrite.close();
        QImage again;
        QVERIFY(again.load(readWrite.fileName(), "PNG"));
        QCOMPARE(again.size(), image.size());
    }
};

QTEST_GUILESS_MAIN(TestCodecDevices)
#include "tst_codecdevices.moc"
