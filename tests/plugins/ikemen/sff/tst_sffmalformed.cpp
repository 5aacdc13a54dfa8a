#include "sfflayout.h"
#include "sffreader.h"
#include "sffsprites.h"
#include "sffwriter.h"

#include <memoryarchive.h>
#include <testdata.h>

#include <kenro/project/messages.h>

#include <QRandomGenerator>
#include <QTest>

#include <cstring>
#include <functional>

using namespace Kenro;
using namespace Kenro::Ikemen;

namespace {

using namespace Kenro::Ikemen::SffLayout;

// A small archive: two palettes, sprites 0 and 1 with images of their own
// (indexed and, in 2.01, true colour), sprite 2 a link to sprite 0.
SffContent smallContent(bool trueColour)
{
    SffContent content;
    for (quint16 p = 0; p < 2; ++p) {
        SffPaletteData palette;
        palette.number = p;
        for (int i = 0; i < 256; ++i)
            palette.colors[i] = RGBA{uchar(i), uchar(p * 40), uchar(255 - i), 255};
        setSffAlpha(palette.colors);
        content.palettes.append(palette);
    }
    auto indexed = std::make_shared<SffImage>();
    indexed->image = QImage(5, 4, QImage::Format_Indexed8);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            indexed->image.scanLine(y)[x] = uchar(x * y + 0x40);
    auto other = std::make_shared<SffImage>();
    if (trueColour) {
        other->image = QImage(3, 2, QImage::Format_ARGB32);
        other->image.fill(qRgba(10, 20, 30, 128));
    } else {
        other->image = QImage(3, 2, QImage::Format_Indexed8);
        other->image.fill(7);
    }
    content.sprites.append({1, 0, 2, 3, indexed, 0});
    content.sprites.append({1, 1, -4, 5, other, 1});
    content.sprites.append({2, 0, 0, 0, indexed, 0});
    return content;
}

QByteArray smallArchive(SffVersion version)
{
    SffWriter writer;
    return writer.write(smallContent(version == SffVersion::V201), version);
}

// The offset of sprite \a index's node, and of palette \a index's node.
qint64 spriteNode(QByteArray const &data, int index)
{
    return get32(data, SpriteListOffset) + 28 * index;
}

qint64 paletteNode(QByteArray const &data, int index)
{
    return get32(data, PaletteListOffset) + 16 * index;
}

using Edit = std::function<void(QByteArray &)>;

} // namespace

class TestSffMalformed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void smallArchivesAreRead();
    void refused_data();
    void refused();
    void refusedFileKeepsTheModel();
    void randomMutations_data();
    void randomMutations();
};

void TestSffMalformed::smallArchivesAreRead()
{
    for (SffVersion version : {SffVersion::V101, SffVersion::V200, SffVersion::V201}) {
        SffReader reader;
        SffContent content;
        QVERIFY2(reader.read(smallArchive(version), content), qPrintable(reader.errorString()));
        QCOMPARE(content.sprites.size(), 3);
        QCOMPARE(content.sprites.at(2).image, content.sprites.at(0).image);
        QCOMPARE(content.sprites.at(1).axisX, qint16(-4));
    }
}

void TestSffMalformed::refused_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<QString>("fault");
    int const v1 = int(SffVersion::V101);
    int const v2 = int(SffVersion::V200);
    int const png = int(SffVersion::V201);

    QTest::newRow("empty") << v2 << Edit([](QByteArray &d) { d.clear(); })
                           << "shorter than the 512";
    QTest::newRow("cut header") << v2 << Edit([](QByteArray &d) { d.truncate(511); })
                                << "shorter than the 512";
    QTest::newRow("no signature") << v2 << Edit([](QByteArray &d) { d[3] = 'X'; })
                                  << "not a sprite archive";
    QTest::newRow("version 3") << v2 << Edit([](QByteArray &d) { d[15] = 3; }) << "version 3.00";
    QTest::newRow("version 2.1") << v2 << Edit([](QByteArray &d) { d[14] = 1; }) << "version 2.10";

    // Version 2: counts, offsets and blocks.
    QTest::newRow("sprite count") << v2
                                  << Edit([](QByteArray &d) { put32(d, SpriteCount, 1000000); })
                                  << "list of 1000000 sprites";
    QTest::newRow("sprite list past end")
        << v2 << Edit([](QByteArray &d) { put32(d, SpriteListOffset, quint32(d.size() - 20)); })
        << "sprites at offset";
    QTest::newRow("palette count")
        << v2 << Edit([](QByteArray &d) { put32(d, PaletteCount, 0xFFFFFFFF); })
        << "list of 4294967295 palettes";
    QTest::newRow("literal block")
        << v2 << Edit([](QByteArray &d) { put32(d, LiteralLength, quint32(d.size())); })
        << "literal data block runs past";
    QTest::newRow("translate block")
        << v2 << Edit([](QByteArray &d) { put32(d, TranslateLength, 0x7FFFFFFF); })
        << "translate data block runs past";
    QTest::newRow("file cut in the data")
        << v2 << Edit([](QByteArray &d) { d.chop(10); }) << "literal data block runs past";
    QTest::newRow("sprite data offset")
        << v2 << Edit([](QByteArray &d) { put32(d, spriteNode(d, 1) + 16, 0xFFFFFFF0); })
        << "sprite 1 (group 1, number 1): its data runs past the end of the literal block";
    QTest::newRow("sprite data length")
        << v2 << Edit([](QByteArray &d) { put32(d, spriteNode(d, 0) + 20, 100000); })
        << "sprite 0 (group 1, number 0): its data runs past";
    QTest::newRow("sprite in translate block")
        << v2 << Edit([](QByteArray &d) { put16(d, spriteNode(d, 0) + 26, 1); })
        << "past the end of the translate block";
    QTest::newRow("sprite data too short for a length")
        << v2 << Edit([](QByteArray &d) { put32(d, spriteNode(d, 0) + 20, 3); })
        << "too short for a length";
    QTest::newRow("unknown format")
        << v2 << Edit([](QByteArray &d) { d[spriteNode(d, 1) + 14] = 7; })
        << "unknown pixel format 7";
    QTest::newRow("huge image") << v2 << Edit([](QByteArray &d) {
        put16(d, spriteNode(d, 0) + 4, 65535);
        put16(d, spriteNode(d, 0) + 6, 65535);
    }) << "cannot hold an image of 65535 x 65535";
    QTest::newRow("raw image longer than its data") << v2 << Edit([](QByteArray &d) {
        d[spriteNode(d, 0) + 14] = 0;
        put16(d, spriteNode(d, 0) + 4, 300);
    }) << "fewer than its 300 x 4 pixels";
    QTest::newRow("palette index")
        << v2 << Edit([](QByteArray &d) { put16(d, spriteNode(d, 1) + 24, 9); })
        << "sprite 1 (group 1, number 1) uses palette 9 of 2";
    QTest::newRow("sprite link past end")
        << v2 << Edit([](QByteArray &d) { put16(d, spriteNode(d, 2) + 12, 99); })
        << "sprite 2 (group 2, number 0) links to sprite 99";
    QTest::newRow("sprite link loop") << v2 << Edit([](QByteArray &d) {
        put32(d, spriteNode(d, 1) + 20, 0);
        put16(d, spriteNode(d, 1) + 12, 2);
        put16(d, spriteNode(d, 2) + 12, 1);
    }) << "links go round in a loop";
    QTest::newRow("sprite linked to itself")
        << v2 << Edit([](QByteArray &d) { put16(d, spriteNode(d, 2) + 12, 2); }) << "loop";
    QTest::newRow("palette colours")
        << v2 << Edit([](QByteArray &d) { put16(d, paletteNode(d, 0) + 4, 300); })
        << "counts 300 colours";
    QTest::newRow("palette too short")
        << v2 << Edit([](QByteArray &d) { put32(d, paletteNode(d, 1) + 12, 8); })
        << "palette 1 (group 0, number 1): 8 bytes do not hold its 256 colours";
    QTest::newRow("palette data offset")
        << v2 << Edit([](QByteArray &d) { put32(d, paletteNode(d, 0) + 8, 0xFFFFFF00); })
        << "palette 0 (group 0, number 0): its data runs past the end of the literal block";
    QTest::newRow("palette link past end") << v2 << Edit([](QByteArray &d) {
        put32(d, paletteNode(d, 1) + 12, 0);
        put16(d, paletteNode(d, 1) + 6, 50);
    }) << "links to palette 50";
    QTest::newRow("palette link loop") << v2 << Edit([](QByteArray &d) {
        put32(d, paletteNode(d, 0) + 12, 0);
        put16(d, paletteNode(d, 0) + 6, 1);
        put32(d, paletteNode(d, 1) + 12, 0);
        put16(d, paletteNode(d, 1) + 6, 0);
    }) << "palette 0: its links go round in a loop";
    QTest::newRow("bad pixel stream") << v2 << Edit([](QByteArray &d) {
        // An RLE8 run packet cut short by the end of the stream.
        qint64 const node = spriteNode(d, 1);
        qint64 const data = get32(d, LiteralOffset) + get32(d, node + 16);
        put32(d, node + 20, 5);
        d[data + 4] = char(0x45);
    }) << "pixel data (format 2) cannot be decoded";
    QTest::newRow("bad PNG") << png << Edit([](QByteArray &d) {
        qint64 const node = spriteNode(d, 1);
        qint64 const data = get32(d, LiteralOffset) + get32(d, node + 16);
        d[data + 4 + 20] = char(~d.at(data + 4 + 20));
        d[data + 4 + 1] = 'X';
    }) << "format 12) cannot be decoded";

    // Version 1.01: the chain of subfiles.
    QTest::newRow("v1 count") << v1 << Edit([](QByteArray &d) { put32(d, 20, 100000); })
                              << "counts 100000 sprites";
    QTest::newRow("v1 list ends early")
        << v1 << Edit([](QByteArray &d) { put32(d, 512, 0); }) << "ends after 1 of the 3";
    QTest::newRow("v1 first sprite past end")
        << v1 << Edit([](QByteArray &d) { put32(d, 24, quint32(d.size() - 8)); })
        << "sprite 0: its header at offset";
    QTest::newRow("v1 list goes back")
        << v1 << Edit([](QByteArray &d) { put32(d, 512, 512); }) << "not after it";
    QTest::newRow("v1 data past end") << v1 << Edit([](QByteArray &d) {
        quint32 const last = get32(d, 512 + get32(d, 512) - 512);
        put32(d, last + 4, 1000000);
    }) << "sprite 2 (group 2, number 0)";
    QTest::newRow("v1 cut") << v1 << Edit([](QByteArray &d) {
        d.chop(int(d.size() - get32(d, 512) - 40));
    }) << "sprite 1 (group 1, number 1)";
    QTest::newRow("v1 link forward") << v1 << Edit([](QByteArray &d) {
        qint64 const second = get32(d, 512);
        qint64 const third = get32(d, second);
        put16(d, third + 16, 2);
    }) << "links to sprite 2, which does not come before it";
    QTest::newRow("v1 PCX of 65535 x 65535") << v1 << Edit([](QByteArray &d) {
        put16(d, 512 + 32 + 8, 65534);
        put16(d, 512 + 32 + 10, 65534);
        put16(d, 512 + 32 + 66, 65535);
    }) << "sprite 0 (group 1, number 0): the PCX header asks for more pixels";
    QTest::newRow("v1 PCX wider than its lines")
        << v1 << Edit([](QByteArray &d) { put16(d, 512 + 32 + 8, 4000); })
        << "asks for more pixels";
    QTest::newRow("v1 bad PCX") << v1 << Edit([](QByteArray &d) { d[512 + 32] = 9; })
                                << "sprite 0 (group 1, number 0): the PCX data cannot be decoded";
}

void TestSffMalformed::refused()
{
    QFETCH(int, version);
    QFETCH(Edit, edit);
    QFETCH(QString, fault);
    QByteArray data = smallArchive(SffVersion(version));
    QVERIFY(!data.isEmpty());
    edit(data);
    SffReader reader;
    SffContent content;
    QVERIFY2(!reader.read(data, content), "a damaged archive was taken");
    QVERIFY2(reader.errorString().contains(fault), qPrintable(reader.errorString()));
}

void TestSffMalformed::refusedFileKeepsTheModel()
{
    KenroTest::MemoryArchive archive;
    archive.files.insert(QStringLiteral("good.sff"), smallArchive(SffVersion::V200));
    QByteArray bad = smallArchive(SffVersion::V200);
    put32(bad, SpriteCount, 77777);
    archive.files.insert(QStringLiteral("chars/bad.sff"), bad);
    auto *sprites = new SffSprites;
    QVERIFY(sprites->fromFile(archive, QStringLiteral("good.sff"), 0, nullptr));
    QCOMPARE(sprites->count(), 3u);
    QVERIFY(!sprites->fromFile(archive, QStringLiteral("chars/bad.sff"), 0, nullptr));
    QCOMPARE(sprites->count(), 3u);
    QCOMPARE(sprites->fileName(), QStringLiteral("good.sff"));
    QCOMPARE(sprites->messages()->count(Message::Error), 1u);
    QString const text = sprites->messages()->at(0, Message::Error).text;
    QVERIFY2(text.startsWith(QLatin1String("bad.sff: ")) &&
                 text.contains(QLatin1String("77777 sprites")),
             qPrintable(text));
    QVERIFY(!sprites->fromFile(archive, QStringLiteral("missing.sff"), 0, nullptr));
    QVERIFY(sprites->messages()
                ->at(0, Message::Error)
                .text.contains(QLatin1String("cannot be opened")));
    sprites->release();
}

void TestSffMalformed::randomMutations_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<int>("rounds");
    QTest::newRow("small 1.01") << smallArchive(SffVersion::V101) << 1500;
    QTest::newRow("small 2.00") << smallArchive(SffVersion::V200) << 1500;
    QTest::newRow("small 2.01") << smallArchive(SffVersion::V201) << 1500;
    QString const data = KenroTest::testDataPath();
    if (data.isEmpty())
        return;
    // Real archives, the larger ones fewer times: every round decodes them whole.
    QTest::newRow("stage0") << KenroTest::readFile(data + QStringLiteral("/game/stages/stage0.sff"))
                            << 800;
    QTest::newRow("ending") << KenroTest::readFile(data +
                                                   QStringLiteral("/game/chars/kfm/ending.sff"))
                            << 80;
    QTest::newRow("num72") << KenroTest::readFile(data +
                                                  QStringLiteral("/game/screenpack/num72.sff"))
                           << 60;
    QTest::newRow("kfm") << KenroTest::readFile(data + QStringLiteral("/game/chars/kfm/kfm.sff"))
                         << 25;
}

void TestSffMalformed::randomMutations()
{
    QFETCH(QByteArray, archive);
    QFETCH(int, rounds);
    QVERIFY(archive.size() >= 512);
    // A fixed seed, so that a failure can be repeated.
    QRandomGenerator random(20261123);
    int refused = 0;
    for (int round = 0; round < rounds; ++round) {
        QByteArray data = archive;
        int const size = int(data.size());
        switch (random.bounded(5)) {
        case 0: // truncation
            data.truncate(random.bounded(size));
            break;
        case 1: // byte flips anywhere
            for (int i = 0, n = 1 + random.bounded(8); i < n; ++i)
                data[random.bounded(size)] = char(random.bounded(256));
            break;
        case 2: // a header count or offset
            put32(data, 16 + 4 * random.bounded(14),
                  random.bounded(2) ? random.generate() : quint32(random.bounded(size + 64)));
            break;
        case 3: // a 16-bit field of the node area (sizes, links, palette indices)
            put16(data, 512 + 2 * random.bounded(qMin(size - 514, 400) / 2),
                  quint16(random.generate()));
            break;
        default: // a 32-bit field of the node area (offsets, lengths)
            put32(data, 512 + random.bounded(qMin(size - 516, 800)),
                  random.generate() % quint32(size * 2));
            break;
        }
        SffReader reader;
        SffContent content;
        if (!reader.read(data, content)) {
            QVERIFY(!reader.errorString().isEmpty());
            ++refused;
            continue;
        }
        // What is taken can be written again and read back alike.
        SffWriter writer;
        QByteArray const written = writer.write(content, SffVersion::V201);
        QVERIFY2(!written.isEmpty(), qPrintable(writer.errorString()));
        SffContent again;
        QVERIFY2(reader.read(written, again), qPrintable(reader.errorString()));
        QCOMPARE(again.sprites.size(), content.sprites.size());
    }
    // The mutations must reach the checks, not only the happy path.
    QVERIFY(refused > 0);
}

QTEST_GUILESS_MAIN(TestSffMalformed)
#include "tst_sffmalformed.moc"
