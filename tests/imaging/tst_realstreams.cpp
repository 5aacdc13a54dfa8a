// The real pixel streams cut out of sprite archives, decoded and encoded
// again. Expected checksums come from the manifest beside the streams.
#include <kenro/imaging/imagecodecs.h>

#include "rle8paths.h"
#include "streammanifest.h"
#include "testdata.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QTest>

using namespace Kenro;
using KenroTest::StreamEntry;
using KenroTest::streamManifest;

namespace {

// The pixels of an image, lines packed without padding, as the manifest sums them.
QByteArray packedPixels(QImage const &image, int bytesPerPixel)
{
    QByteArray packed;
    for (int y = 0; y < image.height(); ++y)
        packed.append(reinterpret_cast<char const *>(image.constScanLine(y)),
                      qsizetype(image.width()) * bytesPerPixel);
    return packed;
}

QByteArray sha1(QByteArray const &data)
{
    return QCryptographicHash::hash(data, QCryptographicHash::Sha1).toHex();
}

QByteArray paletteBytes(QList<QRgb> const &table)
{
    QByteArray bytes;
    for (QRgb color : table) {
        bytes.append(char(qRed(color)));
        bytes.append(char(qGreen(color)));
        bytes.append(char(qBlue(color)));
    }
    return bytes;
}

// The first pixel where two images differ, as text, or empty.
QByteArray firstDifference(QImage const &a, QImage const &b)
{
    if (a.size() != b.size() || a.format() != b.format())
        return "size or format differs";
    int const bytes = a.depth() / 8;
    for (int y = 0; y < a.height(); ++y) {
        uchar const *la = a.constScanLine(y);
        uchar const *lb = b.constScanLine(y);
        for (int x = 0; x < a.width() * bytes; ++x) {
            if (la[x] != lb[x])
                return QByteArray("byte ") + QByteArray::number(x) + " of line " +
                    QByteArray::number(y);
        }
    }
    return QByteArray();
}

using Loader = bool (*)(QImage &, QIODevice *);

QImage decode(Loader load, QByteArray data, int width, int height, bool *ok)
{
    QImage image(width, height, QImage::Format_Indexed8);
    QBuffer buffer(&data);
    *ok = load(image, &buffer);
    return image;
}

} // namespace

class TestRealStreams : public QObject
{
    Q_OBJECT

private:
    void addRows(QStringList const &formats)
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("format");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<QByteArray>("pixelsSha1");
        QTest::addColumn<QByteArray>("paletteSha1");
        QString const root = KenroTest::testDataPath();
        if (root.isEmpty()) {
            // Without test data the tests themselves skip or fail; one row reaches them.
            QTest::newRow("no test data")
                << QString() << QString() << 0 << 0 << QByteArray() << QByteArray();
            return;
        }
        for (StreamEntry const &e : streamManifest(root)) {
            if (formats.contains(e.format))
                QTest::newRow(qPrintable(e.file))
                    << e.path << e.format << e.width << e.height << e.pixelsSha1 << e.paletteSha1;
        }
    }

private Q_SLOTS:
    void manifestIsComplete()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QCOMPARE(streamManifest(root).size(), 283);
        QCOMPARE(streamManifest(root, QStringLiteral("lz5")).size(), 239);
        QCOMPARE(streamManifest(root, QStringLiteral("rle8")).size(), 10);
        QCOMPARE(streamManifest(root, QStringLiteral("pcx")).size(), 12);
        QCOMPARE(streamManifest(root, QStringLiteral("png32")).size(), 22);
    }

    void decodes_data()
    {
        addRows({QStringLiteral("lz5"), QStringLiteral("rle8"), QStringLiteral("pcx"),
                 QStringLiteral("png32")});
    }
    void decodes()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QString, path);
        QFETCH(QString, format);
        QFETCH(int, width);
        QFETCH(int, height);
        QFETCH(QByteArray, pixelsSha1);
        QFETCH(QByteArray, paletteSha1);
        QByteArray data = KenroTest::readFile(path);
        QVERIFY2(data != "<missing>", qPrintable(path));
        QBuffer buffer(&data);
        QImage image;
        if (format == QLatin1String("png32")) {
            QVERIFY(loadPNG(image, &buffer));
            QCOMPARE(image.size(), QSize(width, height));
            image = image.convertToFormat(QImage::Format_RGBA8888);
            QCOMPARE(sha1(packedPixels(image, 4)), pixelsSha1);
            return;
        }
        if (format == QLatin1String("pcx")) {
            bool hasPalette = false;
            QVERIFY(loadPCX(image, &buffer, &hasPalette));
            QCOMPARE(image.format(), QImage::Format_Indexed8);
            QCOMPARE(image.size(), QSize(width, height));
            QCOMPARE(sha1(packedPixels(image, 1)), pixelsSha1);
            QCOMPARE(hasPalette, !paletteSha1.isEmpty());
            QCOMPARE(image.colorCount(), 256);
            if (hasPalette)
                QCOMPARE(sha1(paletteBytes(image.colorTable())), paletteSha1);
            QVERIFY(buffer.atEnd());
            return;
        }
        if (format == QLatin1String("lz5")) {
            image = QImage(width, height, QImage::Format_Indexed8);
            QVERIFY(loadLZ5(image, &buffer));
            QCOMPARE(sha1(packedPixels(image, 1)), pixelsSha1);
            return;
        }
        // Each path the processor can take decodes the same pixels.
        for (Kenro::Rle8Path path : KenroTest::rle8Paths()) {
            KenroTest::Rle8PathScope const scope(path);
            QVERIFY(scope.taken());
            image = QImage(width, height, QImage::Format_Indexed8);
            buffer.close();
            QVERIFY2(loadRLE8(image, &buffer), qPrintable(KenroTest::rle8PathName(path)));
            QCOMPARE(sha1(packedPixels(image, 1)), pixelsSha1);
        }
    }

    // Saved again, with and without back-references, and read back.
    void lz5RoundTrips()
    {
        KENRO_REQUIRE_TESTDATA(root);
        qint64 original = 0;
        qint64 saved = 0;
        qint64 savedRunsOnly = 0;
        QList<StreamEntry> const entries = streamManifest(root, QStringLiteral("lz5"));
        QVERIFY(!entries.isEmpty());
        for (StreamEntry const &e : entries) {
            QByteArray const data = KenroTest::readFile(e.path);
            original += data.size();
            bool ok = false;
            QImage const image = decode(loadLZ5, data, e.width, e.height, &ok);
            QVERIFY2(ok, qPrintable(e.file));
            for (bool useBackReferences : {true, false}) {
                QByteArray stream;
                QBuffer out(&stream);
                QVERIFY(saveLZ5(image, &out, useBackReferences));
                (useBackReferences ? saved : savedRunsOnly) += stream.size();
                QImage const again = decode(loadLZ5, stream, e.width, e.height, &ok);
                QVERIFY2(ok, qPrintable(e.file));
                QByteArray const difference = firstDifference(image, again);
                QVERIFY2(difference.isEmpty(),
                         qPrintable(e.file + QLatin1Char(' ') + QString::fromLatin1(difference)));
            }
        }
        qInfo("LZ5 of %lld sprites: %lld bytes in the archives, %lld saved here (ratio %.4f), "
              "%lld with runs only",
              qint64(entries.size()), original, saved, double(saved) / double(original),
              savedRunsOnly);
        // Back-references must pay for themselves on real sprites.
        QVERIFY(saved < savedRunsOnly);
    }

    void rle8AndPcxRoundTrip_data() { addRows({QStringLiteral("rle8"), QStringLiteral("pcx")}); }
    void rle8AndPcxRoundTrip()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QString, path);
        QFETCH(QString, format);
        QFETCH(int, width);
        QFETCH(int, height);
        QByteArray const data = KenroTest::readFile(path);
        QImage image;
        bool ok = false;
        if (format == QLatin1String("pcx")) {
            QByteArray copy = data;
            QBuffer in(&copy);
            QVERIFY(loadPCX(image, &in, nullptr));
        } else {
            image = decode(loadRLE8, data, width, height, &ok);
            QVERIFY(ok);
        }
        QByteArray stream;
        QBuffer out(&stream);
        QVERIFY(format == QLatin1String("pcx") ? savePCX(image, &out) : saveRLE8(image, &out));
        QImage again;
        if (format == QLatin1String("pcx")) {
            QBuffer in(&stream);
            bool hasPalette = false;
            QVERIFY(loadPCX(again, &in, &hasPalette));
            QVERIFY(hasPalette); // our files always carry their palette
            QCOMPARE(again.colorTable(), image.colorTable());
        } else {
            again = decode(loadRLE8, stream, width, height, &ok);
            QVERIFY(ok);
            // The encoder that made the archive packs no tighter than ours.
            QVERIFY2(stream.size() <= data.size(),
                     qPrintable(QStringLiteral("%1 > %2").arg(stream.size()).arg(data.size())));
        }
        QByteArray const difference = firstDifference(image, again);
        QVERIFY2(difference.isEmpty(), difference.constData());
    }
};

QTEST_GUILESS_MAIN(TestRealStreams)
#include "tst_realstreams.moc"
