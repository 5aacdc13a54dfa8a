// Sprite archives: the real ones read, checked and written back in each
// version; made here in every pixel format; damaged; edited.
#include "actpalette.h"
#include "sfflayout.h"
#include "sffpalette.h"
#include "sffpalettes.h"
#include "sffreader.h"
#include "sffsprite.h"
#include "sffsprites.h"
#include "sffwriter.h"

#include <memoryarchive.h>
#include <streammanifest.h>
#include <testdata.h>

#include <kenro/imaging/imagecodecs.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>

#include <QAbstractItemModelTester>
#include <QBuffer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>
#include <QTest>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace Kenro::Ikemen::SffLayout;
using KenroTest::imageSummary;
using KenroTest::MemoryArchive;

namespace {

// The archives of the test data, the folder of their streams, their counts
// of sprites, palettes (-1: in PCX files) and links. num72 says 2.00 but holds
// PNG sprites, which need 2.01.
struct ArchiveFile
{
    char const *path, *streams;
    SffVersion version;
    int sprites, palettes, linked;
} const archiveFiles[] = {
    {"chars/kfm/kfm.sff", "kfm", SffVersion::V201, 281, 7, 41},
    {"chars/kfm/intro.sff", "intro", SffVersion::V101, 12, -1, 0},
    {"chars/kfm/ending.sff", "", SffVersion::V101, 7, -1, 0},
    {"chars/training/Training.sff", "", SffVersion::V101, 283, -1, 47},
    {"stages/stage0.sff", "stage0", SffVersion::V200, 2, 2, 0},
    {"stages/kfm.sff", "stagekfm", SffVersion::V201, 7, 6, 0},
    {"data/fight.sff", "", SffVersion::V101, 43, -1, 0},
    {"screenpack/num72.sff", "num72", SffVersion::V201, 22, 0, 0},
};
struct Releaser
{
    void operator()(SffSprites *sprites) const { sprites->release(); }
};
using SpritesPointer = std::unique_ptr<SffSprites, Releaser>;
SpritesPointer open(QString const &path, Archive &archive = FileSystemArchive::instance())
{
    SpritesPointer sprites(new SffSprites);
    return sprites->fromFile(archive, path, 0, nullptr) ? std::move(sprites) : nullptr;
}
auto const game = [](QString const &root, char const *path) {
    return root + QStringLiteral("/game/") + QLatin1String(path);
};
// The colours of \a palette; empty for none.
QByteArray colorBytes(Palette const *palette)
{
    RGBA colors[256];
    return palette && palette->colorTable(colors)
        ? QByteArray(reinterpret_cast<char const *>(colors), sizeof colors)
        : QByteArray();
}
QStringList describe(SffSprites const &sprites)
{
    QStringList lines;
    for (unsigned int i = 0; i < sprites.count(); ++i) {
        SffSprite const *x = sprites.sprite(i);
        lines << QString::asprintf("%s at %d,%d: %s %s%s", qPrintable(x->label()), x->axis().x(),
                                   x->axis().y(), qPrintable(imageSummary(x->pixels())),
                                   KenroTest::paletteSha1(x->image().colorTable()).constData(),
                                   x->imageIsShared() ? " shared" : "");
    }
    return lines;
}
// Two palettes; sprites 0 and 1 with images (1 in true colour in 2.01), 2 a link to 0.
QByteArray smallArchive(SffVersion version)
{
    SffContent content;
    for (quint16 p = 0; p < 2; ++p) {
        content.palettes.append(SffPaletteData());
        content.palettes[p].number = p;
        for (int i = 0; i < 256; ++i)
            content.palettes[p].colors[i] = RGBA{uchar(i), uchar(p * 40), uchar(255 - i), 255};
        setSffAlpha(content.palettes[p].colors);
    }
    auto indexed = std::make_shared<SffImage>();
    indexed->image = QImage(5, 4, QImage::Format_Indexed8);
    for (int i = 0; i < 20; ++i)
        indexed->image.scanLine(i / 5)[i % 5] = uchar(i % 5 * (i / 5) + 0x40);
    auto other = std::make_shared<SffImage>();
    bool const trueColour = version == SffVersion::V201;
    other->image = QImage(3, 2, trueColour ? QImage::Format_ARGB32 : QImage::Format_Indexed8);
    other->image.fill(trueColour ? qRgba(10, 20, 30, 128) : 7);
    content.sprites = {{1, 0, 2, 3, indexed, 0}, {1, 1, -4, 5, other, 1}, {2, 0, 0, 0, indexed, 0}};
    return SffWriter().write(content, version);
}
// A field to spoil: where (node, pixels or 1.01 subheader k), at, bits (none:
// the file ends there), value; negative places and values count from the end.
enum class In { File, Sprite, Palette, Pixels, Subheader };
struct Field
{
    In in;
    int k, at, bits;
    qint64 value;
};
qint64 place(QByteArray const &d, In in, int k)
{
    qint64 at = in == In::File ? 0 : get32(d, 24);
    while (in == In::Subheader && k-- > 0)
        at = get32(d, at);
    if (in == In::Pixels)
        return get32(d, LiteralOffset) + get32(d, place(d, In::Sprite, k) + 16) + 4;
    return in == In::Sprite ? get32(d, SpriteListOffset) + SpriteNodeSize * k
        : in == In::Palette ? get32(d, PaletteListOffset) + PaletteNodeSize * k
                            : at;
}
void damage(QByteArray &d, Field const &f)
{
    qint64 const p = place(d, f.in, f.k) + f.at;
    quint32 const v = quint32(f.value < 0 ? d.size() + f.value : f.value);
    if (f.bits == 0)
        d.truncate(p < 0 ? d.size() + p : p);
    else if (f.bits == 8)
        d[p] = char(v);
    else if (f.bits == 16)
        put16(d, p, quint16(v));
    else
        put32(d, p, v);
}
// What a node stores: the length of the pixels and the stream that \a save writes.
QByteArray stored(QImage const &image, bool (*save)(QImage const &, QIODevice *), quint32 length)
{
    QByteArray stream;
    QBuffer buffer(&stream);
    QByteArray bytes(4, 0);
    put32(bytes, 0, length);
    return save(image, &buffer) ? bytes + stream : QByteArray();
}
// Pixels \a index on a ramp of colours rotated by \a shift.
QImage rampImage(uchar index, int shift = 0)
{
    QImage image(2, 2, QImage::Format_Indexed8);
    for (int i = 0; i < 256; ++i)
        image.setColor(i, qRgb((i + shift) % 256, (i + shift) % 256, 255 - (i + shift) % 256));
    image.fill(index);
    return image;
}

} // namespace

Q_DECLARE_METATYPE(Kenro::Ikemen::SffVersion)
Q_DECLARE_METATYPE(Field)

class TestSff : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void realArchives_data()
    {
        QTest::addColumn<int>("file");
        for (int i = 0; i < int(std::size(archiveFiles)); ++i)
            QTest::newRow(archiveFiles[i].path) << i;
    }
    // Counts; sprites with images, indexed ones through palettes, colour 0 clear;
    // the streams of the manifest. Written as read, 1.01 as 2.00 and 2.01, the
    // rest as 1.01, and read back alike: version 2 keeps unused palettes, 1.01
    // names each it drops and, as 2.00, refuses true colour.
    void realArchives()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(int, file);
        ArchiveFile const &archive = archiveFiles[file];
        SpritesPointer const sprites = open(game(root, archive.path));
        QVERIFY(sprites && sprites->messages()->count(Message::All) == 0);
        QCOMPARE(sprites->version(), archive.version);
        QCOMPARE(int(sprites->count()), archive.sprites);
        QVERIFY(archive.palettes < 0 || int(sprites->palettes()->count()) == archive.palettes);
        QSet<SffImage const *> images;
        QSet<Palette const *> used;
        for (unsigned int i = 0; i < sprites->count(); ++i) {
            SffSprite const *sprite = sprites->sprite(i);
            images.insert(sprite->imageData().get());
            used.insert(sprite->palette());
            QImage const image = sprite->image();
            bool const indexed = image.format() == QImage::Format_Indexed8;
            QVERIFY2(!sprite->isEmpty() && sprite->imageProperties().size() == image.size() &&
                         (!indexed ||
                          (sprite->palette() && image.colorCount() == 256 &&
                           qAlpha(image.color(0)) == 0 && qAlpha(image.color(1)) == 255)),
                     qPrintable(sprite->label()));
        }
        used.remove(nullptr);
        QCOMPARE(int(sprites->count() - images.size()), archive.linked);
        int streams = 0;
        for (KenroTest::StreamEntry const &stream : KenroTest::streamManifest(root)) {
            QStringList const parts =
                stream.file.split(QRegularExpression(QStringLiteral("[/_.]")));
            if (parts.value(0) != QLatin1String(archive.streams))
                continue;
            ++streams;
            int const index = parts.value(1).toInt();
            SffSprite const *sprite = sprites->sprite(unsigned(index));
            QVERIFY2(sprite, qPrintable(stream.file));
            QCOMPARE(sprite->label() + u' ' + imageSummary(sprite->pixels()),
                     parts.value(2) + QStringLiteral(", ") + parts.value(3) + u' ' +
                         stream.summary());
            // A sprite on the previous sprite's palette stores none.
            if (!stream.paletteSha1.isEmpty() &&
                (index == 0 || sprite->palette() != sprites->sprite(index - 1)->palette()))
                QCOMPARE(KenroTest::paletteSha1(sprite->image().colorTable()), stream.paletteSha1);
        }
        QCOMPARE(streams > 0, *archive.streams != 0);
        bool const trueColour = QByteArray(archive.path).contains("num72");
        for (SffVersion version : {SffVersion::V101, SffVersion::V200, SffVersion::V201}) {
            if (version != archive.version && archive.version != SffVersion::V101 &&
                version != SffVersion::V101)
                continue;
            MemoryArchive out;
            out.files.insert(QStringLiteral("out.sff"), QByteArrayLiteral("the previous file"));
            sprites->setVersion(version);
            bool const written =
                sprites->toFile(out, QStringLiteral("out.sff"), ProjectFile::Copy, nullptr);
            sprites->setVersion(archive.version);
            QString const message = sprites->messages()->at(0, Message::All).text;
            if (trueColour && version != archive.version) {
                QVERIFY2(
                    !written && out.files.value(QStringLiteral("out.sff")) == "the previous file" &&
                        message.contains(QLatin1String("true-colour")) &&
                        message.contains(QLatin1String("group 0, number 48")) &&
                        (version == SffVersion::V101 || message.contains(QLatin1String("2.01"))),
                    qPrintable(message));
                continue;
            }
            QVERIFY2(written, qPrintable(message));
            SpritesPointer const again = open(QStringLiteral("out.sff"), out);
            QVERIFY(again && again->version() == version);
            QCOMPARE(describe(*again), describe(*sprites));
            unsigned int const palettes = sprites->palettes()->count();
            unsigned int const kept =
                version == SffVersion::V101 ? unsigned(used.size()) : palettes;
            if (archive.version == SffVersion::V101)
                continue;
            QCOMPARE(again->palettes()->count(), kept);
            QCOMPARE(sprites->messages()->count(Message::Warning), palettes - kept);
            QVERIFY(palettes == kept || message.contains(QLatin1String("used by no sprite")));
            for (unsigned int i = 0; i < palettes && kept == palettes; ++i)
                QCOMPARE(colorBytes(again->palettes()->at(i)),
                         colorBytes(sprites->palettes()->at(i)));
        }
        // Version 2 comes back byte for byte, but num72's version (byte 13).
        SffReader reader;
        SffContent content;
        QByteArray const bytes = KenroTest::readFile(game(root, archive.path));
        QVERIFY2(reader.read(bytes, content), qPrintable(reader.errorString()));
        QByteArray const rewritten = SffWriter().write(content, content.version);
        QVERIFY(archive.version == SffVersion::V101 ||
                rewritten.left(13) + bytes.at(13) + rewritten.mid(14) == bytes);
    }
    // A palette file holds the last colour first. Shown over the archive's palette of its
    // identifier it is no edit, else one more palette; edits of what sprites show are edits
    // of the archive, which read again shows the files still, and keeps them through clearUnused.
    void paletteFiles()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QByteArray const bytes = KenroTest::readFile(game(root, "chars/training/01.act"));
        RGBA colors[256];
        QVERIFY(readAct(bytes, colors) && !readAct(bytes.left(767), colors));
        QCOMPARE(writeAct(colors), bytes.left(768));
        QCOMPARE(QList<int>({colors[0].r, colors[255].b, colors[0].a, colors[1].a}),
                 QList<int>({uchar(bytes.at(765)), uchar(bytes.at(2)), 0, 255}));
        SpritesPointer const training = open(game(root, "chars/training/Training.sff"));
        QVERIFY(training);
        SffPalette *shown = static_cast<SffPalettes *>(training->palettes())
                                ->showFile(colors, QStringLiteral("01.act"), 1u << 16 | 1u);
        // Of the first sprite's palette, but a palette of its own.
        QVERIFY(shown && shown != training->sprite(0)->palette() &&
                training->sprite(0)->group() == 9000);
        QCOMPARE(colorBytes(shown), colorBytes(training->sprite(0)->palette()));
        QString const path = game(root, "chars/kfm/kfm.sff");
        SpritesPointer const kfm = open(path);
        QVERIFY(kfm);
        auto *palettes = static_cast<SffPalettes *>(kfm->palettes());
        unsigned int const count = palettes->count();
        auto *used = static_cast<SffPalette *>(kfm->sprite(0)->palette());
        QVERIFY(used && used->file().isEmpty());
        unsigned int const usedIdentifier = used->identifier();
        qsizetype const stored = kfm->content().palettes.size();
        for (int i = 0; i < 256; ++i)
            colors[i] = RGBA{uchar(i), uchar(255 - i), uchar(i * 7), 255};
        QCOMPARE(palettes->showFile(colors, QStringLiteral("/c/a.act"), usedIdentifier), used);
        QVERIFY(palettes->count() == count && used->identifier() == usedIdentifier &&
                kfm->sprite(0)->palette() == used && used->file() == QStringLiteral("/c/a.act"));
        QCOMPARE(kfm->sprite(0)->image().color(5), colors[5].toQRgb());
        QCOMPARE(qAlpha(kfm->sprite(0)->image().color(0)), 0); // colour 0 stays transparent
        unsigned int const fresh = palettes->freeIdentifier(1);
        SffPalette *added = palettes->showFile(colors, QStringLiteral("/c/b.act"), fresh);
        QVERIFY(added && added != used && palettes->count() == count + 1 && !kfm->isModified());
        QVERIFY(palettes->isUsed(used) && !palettes->isUsed(added));
        colors[9] = RGBA{1, 2, 3, 255};
        added->setColorTable(colors, NoShare);
        QVERIFY(!kfm->isModified() && kfm->content().palettes.size() == stored);
        used->setColorTable(colors, NoShare);
        QVERIFY(kfm->isModified() &&
                kfm->content().palettes.at(palettes->indexOf(used)).colors[9].b == 3);
        QVERIFY(kfm->fromFile(FileSystemArchive::instance(), path, 0, nullptr));
        QVERIFY(!kfm->isModified() && palettes->count() == count + 1);
        for (unsigned int identifier : {usedIdentifier, fresh}) {
            SffPalette const *palette = palettes->palette(unsigned(palettes->find(0, identifier)));
            QVERIFY(palette && !palette->file().isEmpty() && palette->data().colors[9].b == 3);
        }
        QCOMPARE(kfm->sprite(0)->palette(),
                 palettes->at(unsigned(palettes->find(0, usedIdentifier))));
        palettes->clearUnused();
        QVERIFY(palettes->find(0, fresh) >= 0);
    }
    void editing()
    {
        MemoryArchive archive; // outlives the file that keeps it
        SpritesPointer const sprites(new SffSprites);
        QAbstractItemModelTester tester(sprites.get(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy changed(sprites.get(), &OrganizableObject::changed);
        QImage image = rampImage(0);
        image.setPixel(1, 1, 1);
        Sprite *first = sprites->add(QStringLiteral("5, 0"), image, NoShare);
        QVERIFY(first && sprites->isModified() && changed.size() == 1);
        QVERIFY(!sprites->add(QStringLiteral("5, 0"), image, NoShare)); // taken
        QVERIFY(!sprites->add(QStringLiteral("70000, 0"), image, NoShare)); // out of range
        QVERIFY(sprites->palettes()->count() == 1 && first->image().color(1) == image.color(1));
        // Share reuses an equal image and palette: the two become a link.
        Sprite *second = sprites->add(QStringLiteral("5, 1"), image, Share);
        QVERIFY(second && first->imageIsShared() && second->imageIsShared());
        QCOMPARE(second->palette(), first->palette());
        auto *copy = static_cast<SffSprite *>(first->duplicate());
        QVERIFY(copy && sprites->find(0, QStringLiteral("5, 2")) == 2);
        QCOMPARE(copy->property(QStringLiteral("Identifier")).toString(), QStringLiteral("5, 2"));
        // Crop keeps the axis on the same pixel.
        copy->setAxis(QPoint(2, 2));
        copy->crop();
        QVERIFY(copy->imageProperties().size() == QSize(1, 1) && !copy->imageIsShared());
        QCOMPARE(copy->axis(), QPoint(1, 1));
        for (SffVersion version : {SffVersion::V101, SffVersion::V200, SffVersion::V201}) {
            sprites->setVersion(version);
            QVERIFY(sprites->toFile(archive, QStringLiteral("e.sff"), 0, nullptr) &&
                    !sprites->isModified());
            QCOMPARE(changed.last(), QVariantList{false});
            SpritesPointer const again = open(QStringLiteral("e.sff"), archive);
            QCOMPARE(again ? describe(*again) : QStringList(), describe(*sprites));
        }
        // Colours set on a palette keep colour 0 transparent and the rest opaque.
        RGBA colors[256] = {};
        sprites->palettes()->at(0)->setColorTable(colors, NoShare);
        QVERIFY(sprites->palettes()->at(0)->colorTable(colors) && sprites->isModified());
        QCOMPARE(QList<int>({colors[0].a, colors[255].a}), QList<int>({0, 255}));
        // Removing the palette leaves the sprites without one; clearUnused drops what nobody uses.
        QVERIFY(sprites->palettes()->add(colors, QStringLiteral("1, 1"), NoShare));
        sprites->palettes()->clearUnused();
        QCOMPARE(sprites->palettes()->count(), 1u);
        sprites->palettes()->remove(0);
        QVERIFY(!first->palette());
        // Sizes past what a node holds are refused, and the file stays as it was.
        QByteArray const before = archive.files.value(QStringLiteral("e.sff"));
        QVERIFY(sprites->add(QStringLiteral("9, 9"), QImage(70000, 1, QImage::Format_Indexed8),
                             NoShare));
        QVERIFY(!sprites->toFile(archive, QStringLiteral("e.sff"), 0, nullptr));
        QString text = sprites->messages()->at(0, Message::Error).text;
        QVERIFY2(text.contains(QLatin1String("70000 x 1")), qPrintable(text));
        QCOMPARE(archive.files.value(QStringLiteral("e.sff")), before);
        sprites->remove(sprites->count() - 1);
        sprites->remove(0);
        QVERIFY(sprites->count() == 2 && !second->imageIsShared());
        // A file that cannot be opened leaves the model too.
        QVERIFY(!sprites->fromFile(archive, QStringLiteral("missing.sff"), 0, nullptr));
        text = sprites->messages()->at(0, Message::Error).text;
        QVERIFY2(sprites->count() == 2 && text.contains(QLatin1String("cannot be opened")),
                 qPrintable(text));
    }
    // A new image of the ramp shifted by 100 (its colour 1 is 101) in each mode: rows
    // changed, palettes, the red of entry 1 of the sprite's palette, the pixel at 0, 0.
    void setImageDealsWithThePalette_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("expected");
        KenroTest::addRow("ignore", Sprite::Ignore, "1, 1 1 1");
        KenroTest::addRow("own palette", Sprite::OwnPalette, "1, 2 101 1");
        KenroTest::addRow("adapt image", Sprite::AdaptImage, "1, 1 1 101");
        KenroTest::addRow("swap palette", Sprite::SwapPalette, "1, 1 101 1");
    }
    void setImageDealsWithThePalette()
    {
        QFETCH(int, mode);
        QFETCH(QString, expected);
        SpritesPointer const file(new SffSprites);
        Sprite *sprite = file->add(QStringLiteral("0, 0"), rampImage(0), NoShare);
        QSignalSpy rows(file.get(), &QAbstractItemModel::dataChanged);
        sprite->setImage(rampImage(1, 100), true, Sprite::PaletteMode(mode), nullptr, NoShare);
        QCOMPARE(QString::asprintf("%lld, %u %d %d", qint64(rows.size()), file->palettes()->count(),
                                   uchar(colorBytes(sprite->palette()).at(4)),
                                   sprite->image().pixelIndex(0, 0)),
                 expected);
        sprite->setImage(QImage(), false);
        QVERIFY(sprite->isEmpty() && rows.size() == 1);
    }
    void everyPixelFormat_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QImage>("expected");
        QImage indexed(8, 5, QImage::Format_Indexed8); // lines without padding
        for (int i = 0; i < 40; ++i)
            indexed.bits()[i] = uchar((i % 8 / 3 + i / 8) % 4 + (i % 8 == 6 ? 28 : 0));
        QImage grey = indexed;
        for (int i = 0; i < 256; ++i) {
            indexed.setColor(i, qRgb(i, 255 - i, i / 2));
            grey.setColor(i, qRgb(i, i, i)); // Qt writes a grey ramp as a grey PNG
        }
        QByteArray const pixels(reinterpret_cast<char const *>(indexed.constBits()), 40);
        QTest::newRow("raw") << int(FormatRaw) << pixels << indexed;
        QTest::newRow("raw with a length")
            << int(FormatRaw) << QByteArray::fromHex("28000000") + pixels << indexed;
        // RLE5, written out: 6 of colour 5, 2 of 1 and 27 of 9.
        QImage five(7, 5, QImage::Format_Indexed8);
        for (int i = 0; i < 35; ++i)
            five.scanLine(i / 7)[i % 7] = uchar(i < 6 ? 5 : i < 8 ? 1 : 9);
        QTest::newRow("RLE5") << int(FormatRLE5)
                              << QByteArray::fromHex("23000000 05 85 05 21 e9 e9 e9 69") << five;
        QTest::newRow("PNG8") << int(FormatPNG8) << stored(indexed, savePNG, 40) << indexed;
        QTest::newRow("PNG8 grey") << int(FormatPNG8) << stored(grey, savePNG, 40) << indexed;
        QImage mono(9, 2, QImage::Format_Mono);
        mono.setColorTable({qRgb(0, 0, 0), qRgb(255, 0, 0)});
        mono.fill(0);
        mono.setPixel(3, 1, 1);
        QTest::newRow("PNG8 of 1 bit") << int(FormatPNG8) << stored(mono, savePNG, 18)
                                       << mono.convertToFormat(QImage::Format_Indexed8);
        QImage rgb(3, 2, QImage::Format_RGB32);
        rgb.fill(qRgb(200, 100, 50));
        rgb.setPixel(1, 1, qRgb(1, 2, 3));
        QTest::newRow("PNG24") << int(FormatPNG24)
                               << stored(rgb.convertToFormat(QImage::Format_RGB888), savePNG, 18)
                               << rgb;
    }
    void everyPixelFormat()
    {
        QFETCH(int, format);
        QFETCH(QByteArray, stored);
        QFETCH(QImage, expected);
        // Indexed streams in the translate block, as stages keep them.
        SffContent content;
        content.palettes.append(SffPaletteData());
        auto image =
            std::make_shared<SffImage>(SffImage{expected, stored, quint8(format),
                                                quint8(format == FormatPNG24       ? 24
                                                           : format == FormatPNG32 ? 32
                                                                                   : 8),
                                                expected.format() == QImage::Format_Indexed8});
        content.sprites = {{3, 4, 1, -1, image, 0}, {3, 5, 0, 0, image, 0}};
        SffWriter writer;
        QByteArray const bytes = writer.write(content, SffVersion::V201);
        // The link's node repeats its source's format, depth, place and block.
        qint64 const source = place(bytes, In::Sprite, 0);
        for (int at : {14, 15, 16, 17, 18, 19, 26, 27})
            QCOMPARE(bytes[source + SpriteNodeSize + at], bytes[source + at]);
        SffReader reader;
        SffContent read;
        QVERIFY2(reader.read(bytes, read), qPrintable(reader.errorString()));
        QVERIFY(read.sprites.size() == 2 && read.sprites.at(1).image == read.sprites.at(0).image &&
                read.sprites.at(0).image->storedFormat == format);
        QCOMPARE(imageSummary(read.sprites.at(0).image->image), imageSummary(expected));
        // Encoded anew (the stored stream dropped), the pixels stay.
        read.sprites[0].image->storedFormat = FormatNone;
        SffContent again;
        QVERIFY(reader.read(writer.write(read, SffVersion::V201), again));
        QCOMPARE(imageSummary(again.sprites.at(1).image->image), imageSummary(expected));
    }
    void refused_data()
    {
        QTest::addColumn<SffVersion>("version");
        QTest::addColumn<QList<Field>>("fields");
        QTest::addColumn<QString>("fault");
        auto row = [](SffVersion version, char const *name, QList<Field> fields,
                      char const *fault) {
            QTest::newRow(name) << version << fields << QString::fromLatin1(fault);
        };
        SffVersion const v1 = SffVersion::V101;
        SffVersion const v2 = SffVersion::V200;
        auto top = [](int at, int b, qint64 v) { return Field{In::File, 0, at, b, v}; };
        auto spr = [](int k, int at, int b, qint64 v) { return Field{In::Sprite, k, at, b, v}; };
        auto pal = [](int k, int at, int b, qint64 v) { return Field{In::Palette, k, at, b, v}; };
        auto sub = [](int k, int at, int b, qint64 v) { return Field{In::Subheader, k, at, b, v}; };
        row(v2, "empty", {top(0, 0, 0)}, "shorter than the 512");
        row(v2, "cut header", {top(511, 0, 0)}, "shorter than the 512");
        row(v2, "no signature", {top(3, 8, 'X')}, "not a sprite archive");
        row(v2, "version 3", {top(15, 8, 3)}, "version 3.00");
        row(v2, "version 2.1", {top(14, 8, 1)}, "version 2.10");
        row(v2, "sprite count", {top(SpriteCount, 32, 1000000)}, "list of 1000000 sprites");
        row(v2, "sprite list past end", {top(SpriteListOffset, 32, -20)}, "sprites at offset");
        row(v2, "palette count", {top(PaletteCount, 32, 0xFFFFFFFF)},
            "list of 4294967295 palettes");
        row(v2, "literal block", {top(LiteralLength, 32, -1)}, "literal data block runs past");
        row(v2, "translate block", {top(TranslateLength, 32, 0x7FFFFFFF)},
            "translate data block runs past");
        row(v2, "file cut in the data", {top(-10, 0, 0)}, "literal data block runs past");
        row(v2, "sprite data offset", {spr(1, 16, 32, 0xFFFFFFF0)},
            "sprite 1 (group 1, number 1): its data runs past the end of the literal block");
        row(v2, "sprite data length", {spr(0, 20, 32, 100000)},
            "sprite 0 (group 1, number 0): its data runs past");
        row(v2, "sprite in translate block", {spr(0, 26, 16, 1)},
            "past the end of the translate block");
        row(v2, "sprite data too short for a length", {spr(0, 20, 32, 3)},
            "too short for a length");
        row(v2, "unknown format", {spr(1, 14, 8, 7)}, "unknown pixel format 7");
        row(v2, "huge image", {spr(0, 4, 16, 65535), spr(0, 6, 16, 65535)},
            "cannot hold an image of 65535 x 65535");
        row(v2, "raw image longer than its data", {spr(0, 14, 8, 0), spr(0, 4, 16, 300)},
            "fewer than its 300 x 4 pixels");
        row(v2, "palette index", {spr(1, 24, 16, 9)},
            "sprite 1 (group 1, number 1) uses palette 9 of 2");
        row(v2, "sprite link past end", {spr(2, 12, 16, 99)},
            "sprite 2 (group 2, number 0) links to sprite 99");
        row(v2, "sprite link loop", {spr(1, 20, 32, 0), spr(1, 12, 16, 2), spr(2, 12, 16, 1)},
            "links go round in a loop");
        row(v2, "sprite linked to itself", {spr(2, 12, 16, 2)}, "loop");
        row(v2, "palette colours", {pal(0, 4, 16, 300)}, "counts 300 colours");
        row(v2, "palette too short", {pal(1, 12, 32, 8)},
            "palette 1 (group 0, number 1): 8 bytes do not hold its 256 colours");
        row(v2, "palette data offset", {pal(0, 8, 32, 0xFFFFFF00)},
            "palette 0 (group 0, number 0): its data runs past the end of the literal block");
        row(v2, "palette link past end", {pal(1, 12, 32, 0), pal(1, 6, 16, 50)},
            "links to palette 50");
        row(v2, "palette link loop",
            {pal(0, 12, 32, 0), pal(0, 6, 16, 1), pal(1, 12, 32, 0), pal(1, 6, 16, 0)},
            "palette 0: its links go round in a loop");
        // An RLE8 run packet cut short by the end of the stream.
        row(v2, "bad pixel stream", {spr(1, 20, 32, 5), Field{In::Pixels, 1, 0, 8, 0x45}},
            "pixel data (format 2) cannot be decoded");
        row(SffVersion::V201, "bad PNG", {Field{In::Pixels, 1, 1, 8, 'X'}},
            "format 12) cannot be decoded");
        row(v1, "v1 count", {top(20, 32, 100000)}, "counts 100000 sprites");
        row(v1, "v1 list ends early", {sub(0, 0, 32, 0)}, "ends after 1 of the 3");
        row(v1, "v1 first sprite past end", {top(24, 32, -8)}, "sprite 0: its header at offset");
        row(v1, "v1 list goes back", {sub(0, 0, 32, 512)}, "not after it");
        row(v1, "v1 data past end", {sub(2, 4, 32, 1000000)}, "sprite 2 (group 2, number 0)");
        row(v1, "v1 cut", {sub(1, 40, 0, 0)}, "sprite 1 (group 1, number 1)");
        row(v1, "v1 link forward", {sub(2, 16, 16, 2)},
            "links to sprite 2, which does not come before it");
        row(v1, "v1 PCX of 65535 x 65535",
            {sub(0, 40, 16, 65534), sub(0, 42, 16, 65534), sub(0, 98, 16, 65535)},
            "sprite 0 (group 1, number 0): the PCX header asks for more pixels");
        row(v1, "v1 PCX wider than its lines", {sub(0, 40, 16, 4000)}, "asks for more pixels");
        row(v1, "v1 bad PCX", {sub(0, 32, 8, 9)},
            "sprite 0 (group 1, number 0): the PCX data cannot be decoded");
    }
    void refused()
    {
        QFETCH(SffVersion, version);
        QFETCH(QList<Field>, fields);
        QFETCH(QString, fault);
        QByteArray data = smallArchive(version);
        SffReader reader;
        SffContent content;
        QVERIFY2(reader.read(data, content), qPrintable(reader.errorString()));
        QVERIFY(content.sprites.size() == 3 &&
                content.sprites.at(2).image == content.sprites.at(0).image &&
                content.sprites.at(1).axisX == -4);
        for (Field const &field : fields)
            damage(data, field);
        QVERIFY2(!reader.read(data, content), "a damaged archive was taken");
        QVERIFY2(reader.errorString().contains(fault), qPrintable(reader.errorString()));
        // Refused, a file leaves the model as it was, with one message that names it.
        MemoryArchive archive;
        archive.files.insert(QStringLiteral("good.sff"), smallArchive(version));
        archive.files.insert(QStringLiteral("chars/bad.sff"), data);
        SpritesPointer const sprites = open(QStringLiteral("good.sff"), archive);
        QVERIFY(sprites &&
                !sprites->fromFile(archive, QStringLiteral("chars/bad.sff"), 0, nullptr));
        QCOMPARE(QString::asprintf("%u %s %u: %s", sprites->count(),
                                   qPrintable(sprites->fileName()),
                                   sprites->messages()->count(Message::Error),
                                   qPrintable(sprites->messages()->at(0, Message::Error).text)),
                 QStringLiteral("3 good.sff 1: bad.sff: ") + reader.errorString());
    }
    void randomMutations_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<int>("rounds");
        for (SffVersion version : {SffVersion::V101, SffVersion::V200, SffVersion::V201})
            QTest::addRow("small %d", int(version)) << smallArchive(version) << 1500;
        // Real archives, the larger ones fewer times: every round decodes them whole.
        QString const root = KenroTest::testDataPath();
        for (auto [name, rounds] :
             {std::pair{"stages/stage0.sff", 800}, std::pair{"chars/kfm/ending.sff", 80},
              std::pair{"screenpack/num72.sff", 60}, std::pair{"chars/kfm/kfm.sff", 25}}) {
            if (!root.isEmpty())
                QTest::newRow(name) << KenroTest::readFile(game(root, name)) << rounds;
        }
    }
    void randomMutations()
    {
        QFETCH(QByteArray, archive);
        QFETCH(int, rounds);
        QVERIFY(archive.size() >= 512);
        QRandomGenerator random(20261123);
        int refused = 0;
        for (int round = 0; round < rounds; ++round) {
            QByteArray data = archive;
            int const size = int(data.size());
            int const kind = random.bounded(5);
            if (kind == 0)
                data.truncate(random.bounded(size));
            for (int i = 0, n = kind == 1 ? 1 + random.bounded(8) : 0; i < n; ++i)
                data[random.bounded(size)] = char(random.bounded(256));
            if (kind == 2) // a header count or offset
                put32(data, 16 + 4 * random.bounded(14),
                      random.bounded(2) ? random.generate() : quint32(random.bounded(size + 64)));
            else if (kind == 3) // sizes, links, palette indices
                put16(data, 512 + 2 * random.bounded(qMin(size - 514, 400) / 2),
                      quint16(random.generate()));
            else if (kind == 4) // offsets, lengths
                put32(data, 512 + random.bounded(qMin(size - 516, 800)),
                      random.generate() % quint32(size * 2));
            SffReader reader;
            SffContent content;
            if (!reader.read(data, content)) {
                QVERIFY(!reader.errorString().isEmpty());
                ++refused;
                continue;
            }
            SffWriter writer;
            QByteArray const written = writer.write(content, SffVersion::V201);
            QVERIFY2(!written.isEmpty(), qPrintable(writer.errorString()));
            SffContent again;
            QVERIFY2(reader.read(written, again), qPrintable(reader.errorString()));
            QCOMPARE(again.sprites.size(), content.sprites.size());
        }
        QVERIFY(refused > 0); // the mutations reach the checks, not only the happy path
    }
};

QTEST_GUILESS_MAIN(TestSff)
#include "tst_sff.moc"
