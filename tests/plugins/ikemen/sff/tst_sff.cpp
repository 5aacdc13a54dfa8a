// Sprite archives: every real archive of the test data read, checked and
// written back in each version; archives made here in every pixel format;
// damaged archives refused; and the sprite file as the editors change it.
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
#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QSet>
#include <QSignalSpy>
#include <QTest>

#include <cstring>
#include <functional>
#include <map>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace Kenro::Ikemen::SffLayout;
using KenroTest::MemoryArchive;

namespace {

// Every sprite archive of the test data, and the folder of its streams.
struct ArchiveFile
{
    char const *path;
    char const *streams; // or null
    SffVersion version;
};

ArchiveFile const archiveFiles[] = {
    {"game/chars/kfm/kfm.sff", "kfm", SffVersion::V201},
    {"game/chars/kfm/intro.sff", "intro", SffVersion::V101},
    {"game/chars/kfm/ending.sff", nullptr, SffVersion::V101},
    {"game/chars/training/Training.sff", nullptr, SffVersion::V101},
    {"game/stages/stage0.sff", "stage0", SffVersion::V200},
    {"game/stages/kfm.sff", "stagekfm", SffVersion::V201},
    {"game/data/fight.sff", nullptr, SffVersion::V101},
    {"game/screenpack/num72.sff", "num72", SffVersion::V201},
};

struct Releaser
{
    void operator()(SffSprites *sprites) const
    {
        if (sprites)
            sprites->release();
    }
};
using SpritesPointer = std::unique_ptr<SffSprites, Releaser>;

// Opens \a path of \a archive as a sprite file; null on failure.
SpritesPointer open(QString const &path, Archive &archive = FileSystemArchive::instance())
{
    SpritesPointer sprites(new SffSprites);
    if (!sprites->fromFile(archive, path, 0, nullptr))
        sprites.reset();
    return sprites;
}

// The pixels as the manifest hashes them: indices, or R, G, B, A bytes.
QByteArray packedPixels(QImage const &image)
{
    QImage const packed = image.format() == QImage::Format_Indexed8
        ? image
        : image.convertToFormat(QImage::Format_RGBA8888);
    QByteArray bytes;
    for (int y = 0; y < packed.height(); ++y)
        bytes.append(reinterpret_cast<char const *>(packed.constScanLine(y)),
                     qsizetype(packed.width()) * packed.depth() / 8);
    return bytes;
}

QByteArray sha1(QByteArray const &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
}

// The colours of \a palette, four bytes each, alpha included; empty for none.
QByteArray colorBytes(Palette const *palette)
{
    RGBA colors[256];
    if (!palette || !palette->colorTable(colors))
        return QByteArray();
    return QByteArray(reinterpret_cast<char const *>(colors), sizeof colors);
}

// The red, green and blue bytes of \a palette.
QByteArray paletteRGB(Palette const *palette)
{
    QByteArray rgb = colorBytes(palette);
    for (qsizetype i = rgb.size() - 1; i >= 0; i -= 4)
        rgb.remove(i, 1);
    return rgb;
}

// What differs between two sprite files, or empty when they hold the same sprites.
QString difference(SffSprites const &a, SffSprites const &b)
{
    if (a.count() != b.count())
        return QStringLiteral("%1 sprites against %2").arg(a.count()).arg(b.count());
    for (unsigned int i = 0; i < a.count(); ++i) {
        SffSprite const *x = a.sprite(i);
        SffSprite const *y = b.sprite(i);
        QString const where = QStringLiteral("sprite %1 (%2): ").arg(i).arg(x->label());
        if (x->label() != y->label())
            return where + QStringLiteral("identifier ") + y->label();
        if (x->axis() != y->axis())
            return where + QStringLiteral("axis");
        if (x->pixels().size() != y->pixels().size() ||
            packedPixels(x->pixels()) != packedPixels(y->pixels()))
            return where + QStringLiteral("pixels");
        if (colorBytes(x->palette()) != colorBytes(y->palette()))
            return where + QStringLiteral("palette");
        if (x->imageIsShared() != y->imageIsShared())
            return where + QStringLiteral("link");
    }
    return QString();
}

// A small archive: two palettes, sprites 0 and 1 with images of their own
// (indexed and, in 2.01, true colour), sprite 2 a link to sprite 0.
QByteArray smallArchive(SffVersion version)
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
    if (version == SffVersion::V201) {
        other->image = QImage(3, 2, QImage::Format_ARGB32);
        other->image.fill(qRgba(10, 20, 30, 128));
    } else {
        other->image = QImage(3, 2, QImage::Format_Indexed8);
        other->image.fill(7);
    }
    content.sprites.append({1, 0, 2, 3, indexed, 0});
    content.sprites.append({1, 1, -4, 5, other, 1});
    content.sprites.append({2, 0, 0, 0, indexed, 0});
    return SffWriter().write(content, version);
}

// The offset of sprite \a index's node, and of palette \a index's node.
qint64 spriteNode(QByteArray const &data, int index)
{
    return get32(data, SpriteListOffset) + SpriteNodeSize * index;
}

qint64 paletteNode(QByteArray const &data, int index)
{
    return get32(data, PaletteListOffset) + PaletteNodeSize * index;
}

QByteArray withLength(quint32 length, QByteArray const &stream)
{
    QByteArray bytes(4, 0);
    put32(bytes, 0, length);
    return bytes + stream;
}

template<typename Save>
QByteArray encoded(QImage const &image, Save save)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    save(image, &buffer);
    return bytes;
}

// An indexed image of \a size with every pixel \a index, on a ramp of 256
// distinct colours rotated by \a shift: its colour i is colour i + shift of
// the unrotated ramp.
QImage rampImage(QSize size, uchar index, int shift = 0)
{
    QImage image(size, QImage::Format_Indexed8);
    QList<QRgb> table;
    for (int i = 0; i < 256; ++i) {
        int const k = (i + shift) % 256;
        table << qRgb(k, k, 255 - k);
    }
    image.setColorTable(table);
    image.fill(index);
    return image;
}

using Edit = std::function<void(QByteArray &)>;

} // namespace

Q_DECLARE_METATYPE(Edit)
Q_DECLARE_METATYPE(KenroTest::StreamEntry)

class TestSff : public QObject
{
    Q_OBJECT

    std::map<QString, SpritesPointer> m_open;

    // The real archive \a path, read once for all the tests that only look.
    SffSprites *cached(QString const &path)
    {
        auto found = m_open.find(path);
        if (found == m_open.end())
            found = m_open.emplace(path, open(path)).first;
        return found->second.get();
    }

private Q_SLOTS:
    void streamsOfTheManifest_data()
    {
        QTest::addColumn<QString>("archive");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("label");
        QTest::addColumn<KenroTest::StreamEntry>("stream");
        QString const data = KenroTest::testDataPath();
        if (data.isEmpty()) {
            QTest::newRow("no test data")
                << QString() << 0 << QString() << KenroTest::StreamEntry();
            return;
        }
        QList<KenroTest::StreamEntry> const streams = KenroTest::streamManifest(data);
        QCOMPARE(streams.size(), 283);
        for (KenroTest::StreamEntry const &stream : streams) {
            // "<folder>/<index>_<group>_<number>.<suffix>"
            QString const folder = stream.file.section(QLatin1Char('/'), 0, 0);
            QStringList const parts = stream.file.section(QLatin1Char('/'), 1)
                                          .section(QLatin1Char('.'), 0, 0)
                                          .split(QLatin1Char('_'));
            QString archive;
            for (ArchiveFile const &known : archiveFiles) {
                if (known.streams && folder == QLatin1String(known.streams))
                    archive = data + QLatin1Char('/') + QLatin1String(known.path);
            }
            QTest::newRow(qPrintable(stream.file))
                << archive << parts.value(0).toInt()
                << QStringLiteral("%1, %2").arg(parts.value(1).toInt()).arg(parts.value(2).toInt())
                << stream;
        }
    }
    void streamsOfTheManifest()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, archive);
        QFETCH(int, index);
        QFETCH(QString, label);
        QFETCH(KenroTest::StreamEntry, stream);
        QVERIFY2(!archive.isEmpty(), "the stream's folder names no known archive");
        SffSprites *sprites = cached(archive);
        QVERIFY2(sprites, qPrintable(archive));
        SffSprite const *sprite = sprites->sprite((unsigned int)(index));
        QVERIFY(sprite);
        QCOMPARE(sprite->label(), label);
        QImage const pixels = sprite->pixels();
        QCOMPARE(pixels.size(), QSize(stream.width, stream.height));
        QCOMPARE(pixels.format(),
                 stream.format == QLatin1String("png32") ? QImage::Format_ARGB32
                                                         : QImage::Format_Indexed8);
        QCOMPARE(sha1(packedPixels(pixels)), stream.pixelsSha1);
        // A PCX file that carries its palette gives it to its sprite. A sprite on
        // the previous sprite's palette stores none: the bytes where its palette
        // would stand belong to the next sprite.
        bool const own =
            index == 0 || sprite->palette() != sprites->sprite(unsigned(index) - 1)->palette();
        if (!stream.paletteSha1.isEmpty() && own)
            QCOMPARE(sha1(paletteRGB(sprite->palette())), stream.paletteSha1);
    }

    void everyArchive_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("version");
        QTest::addColumn<int>("sprites");
        QTest::addColumn<int>("palettes");
        QTest::addColumn<int>("linked");
        // Counts from the archives' own headers; linked sprites share an image.
        // num72 says 2.00 in its header but holds PNG sprites, which need 2.01.
        int const v1 = int(SffVersion::V101);
        int const v201 = int(SffVersion::V201);
        QTest::newRow("kfm") << "game/chars/kfm/kfm.sff" << v201 << 281 << 7 << 41;
        QTest::newRow("intro") << "game/chars/kfm/intro.sff" << v1 << 12 << -1 << 0;
        QTest::newRow("ending") << "game/chars/kfm/ending.sff" << v1 << 7 << -1 << 0;
        QTest::newRow("training") << "game/chars/training/Training.sff" << v1 << 283 << -1 << 47;
        QTest::newRow("stage0") << "game/stages/stage0.sff" << int(SffVersion::V200) << 2 << 2 << 0;
        QTest::newRow("stage kfm") << "game/stages/kfm.sff" << v201 << 7 << 6 << 0;
        QTest::newRow("fight") << "game/data/fight.sff" << v1 << 43 << -1 << 0;
        QTest::newRow("num72") << "game/screenpack/num72.sff" << v201 << 22 << 0 << 0;
    }
    void everyArchive()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, path);
        QFETCH(int, version);
        QFETCH(int, sprites);
        QFETCH(int, palettes);
        QFETCH(int, linked);
        SffSprites *file = cached(data + QLatin1Char('/') + path);
        QVERIFY(file);
        QCOMPARE(int(file->version()), version);
        QCOMPARE(int(file->count()), sprites);
        QCOMPARE(file->messages()->count(Message::All), 0u);
        if (palettes >= 0)
            QCOMPARE(int(file->palettes()->count()), palettes);
        QSet<SffImage const *> images;
        for (unsigned int i = 0; i < file->count(); ++i) {
            SffSprite const *sprite = file->sprite(i);
            QVERIFY2(!sprite->isEmpty(), qPrintable(QString::number(i)));
            images.insert(sprite->imageData().get());
            QImage const image = sprite->image();
            QCOMPARE(sprite->imageProperties().size(), image.size());
            // Indexed sprites show through their palette, colour 0 transparent.
            if (image.format() == QImage::Format_Indexed8) {
                QVERIFY(sprite->palette());
                QCOMPARE(image.colorTable().size(), 256);
                QCOMPARE(qAlpha(image.colorTable().at(0)), 0);
                QCOMPARE(qAlpha(image.colorTable().at(1)), 255);
            }
        }
        if (linked >= 0)
            QCOMPARE(int(file->count()) - int(images.size()), linked);
    }

    void writtenBack_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("version");
        for (ArchiveFile const &file : archiveFiles) {
            bool const one = file.version == SffVersion::V101;
            QTest::addRow("%s as read", file.path)
                << QString::fromLatin1(file.path) << int(file.version);
            if (QByteArray(file.path).contains("num72"))
                continue; // true colour: see trueColourIsRefusedByVersion1
            QTest::addRow("%s in the other version", file.path)
                << QString::fromLatin1(file.path) << int(one ? SffVersion::V201 : SffVersion::V101);
            if (one)
                QTest::addRow("%s as 2.00", file.path)
                    << QString::fromLatin1(file.path) << int(SffVersion::V200);
        }
    }
    void writtenBack()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, path);
        QFETCH(int, version);
        SffSprites *original = cached(data + QLatin1Char('/') + path);
        QVERIFY(original);
        SffVersion const before = original->version();
        MemoryArchive archive;
        original->setVersion(SffVersion(version));
        bool const written =
            original->toFile(archive, QStringLiteral("out.sff"), ProjectFile::Copy, nullptr);
        original->setVersion(before);
        QVERIFY2(written, qPrintable(original->messages()->at(0, Message::All).text));

        SpritesPointer const again = open(QStringLiteral("out.sff"), archive);
        QVERIFY(again);
        QCOMPARE(int(again->version()), version);
        QString const differs = difference(*original, *again);
        QVERIFY2(differs.isEmpty(), qPrintable(differs));
        unsigned int const palettes = original->palettes()->count();
        if (SffVersion(version) != SffVersion::V101) {
            if (before == SffVersion::V101)
                return;
            // Palettes that no sprite uses stay in version 2.
            QCOMPARE(again->palettes()->count(), palettes);
            for (unsigned int i = 0; i < palettes; ++i)
                QCOMPARE(paletteRGB(again->palettes()->at(i)),
                         paletteRGB(original->palettes()->at(i)));
        } else if (before != SffVersion::V101) {
            // Version 1.01 keeps the palettes of its sprites and names each one it drops.
            QSet<Palette const *> used;
            for (unsigned int i = 0; i < original->count(); ++i)
                used.insert(original->at(i)->palette());
            used.remove(nullptr);
            QCOMPARE(again->palettes()->count(), unsigned(used.size()));
            QCOMPARE(original->messages()->count(Message::Warning),
                     palettes - unsigned(used.size()));
            if (used.size() < qsizetype(palettes))
                QVERIFY(original->messages()
                            ->at(0, Message::Warning)
                            .text.contains(QLatin1String("used by no sprite")));
        }
    }

    // Stored streams are kept, so an untouched archive of the usual layout
    // comes back byte for byte.
    void untouchedVersion2IsRewrittenAsRead()
    {
        KENRO_REQUIRE_TESTDATA(data);
        for (char const *name :
             {"game/chars/kfm/kfm.sff", "game/stages/stage0.sff", "game/screenpack/num72.sff"}) {
            SffReader reader;
            SffContent content;
            QByteArray const bytes =
                KenroTest::readFile(data + QLatin1Char('/') + QLatin1String(name));
            QVERIFY2(reader.read(bytes, content), qPrintable(reader.errorString()));
            QByteArray rewritten = SffWriter().write(content, content.version);
            QVERIFY(rewritten.size() > 13);
            SffContent again;
            QVERIFY(reader.read(rewritten, again));
            QCOMPARE(again.sprites.size(), content.sprites.size());
            // num72 says 2.00 but holds PNG sprites: the rewrite says 2.01 (byte 13).
            rewritten[13] = bytes[13];
            QVERIFY2(rewritten == bytes, name);
        }
    }

    void trueColourIsRefusedByVersion1()
    {
        KENRO_REQUIRE_TESTDATA(data);
        SffSprites *fonts = cached(data + QStringLiteral("/game/screenpack/num72.sff"));
        QVERIFY(fonts);
        MemoryArchive archive;
        archive.files.insert(QStringLiteral("num72.sff"), QByteArrayLiteral("the previous file"));
        for (SffVersion version : {SffVersion::V101, SffVersion::V200}) {
            fonts->setVersion(version);
            QVERIFY(
                !fonts->toFile(archive, QStringLiteral("num72.sff"), ProjectFile::Copy, nullptr));
            fonts->setVersion(SffVersion::V201);
            QCOMPARE(archive.files.value(QStringLiteral("num72.sff")),
                     QByteArrayLiteral("the previous file"));
            QString const text = fonts->messages()->at(0, Message::Error).text;
            QVERIFY2(text.contains(QLatin1String("true-colour")) &&
                         text.contains(QLatin1String("group 0, number 48")) &&
                         (version == SffVersion::V101 || text.contains(QLatin1String("2.01"))),
                     qPrintable(text));
        }
    }

    void actPalettes()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QByteArray const bytes =
            KenroTest::readFile(data + QStringLiteral("/game/chars/training/01.act"));
        RGBA colors[256];
        QVERIFY(readAct(bytes, colors));
        // Colour 0 comes last in the file.
        QCOMPARE(colors[0].r, uchar(bytes.at(765)));
        QCOMPARE(colors[255].b, uchar(bytes.at(2)));
        QCOMPARE(colors[0].a, uchar(0));
        QCOMPARE(colors[1].a, uchar(255));
        QCOMPARE(writeAct(colors), bytes.left(768));
        QVERIFY(!readAct(bytes.left(767), colors));
        QVERIFY(!readAct(QByteArray(), colors));

        // The file holds the colours of the first sprite's own palette.
        SpritesPointer const training =
            open(data + QStringLiteral("/game/chars/training/Training.sff"));
        QVERIFY(training);
        auto *palettes = static_cast<SffPalettes *>(training->palettes());
        SffPalette *shown = palettes->showFile(colors, QStringLiteral("01.act"), 1u << 16 | 1u);
        QVERIFY(shown && shown != training->sprite(0)->palette()); // a palette of its own
        QCOMPARE(training->sprite(0)->group(), quint16(9000));
        QCOMPARE(paletteRGB(shown), paletteRGB(training->sprite(0)->palette()));
    }

    void filePalettesOverTheArchive()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const path = data + QStringLiteral("/game/chars/kfm/kfm.sff");
        SpritesPointer const kfm = open(path);
        QVERIFY(kfm);
        auto *palettes = static_cast<SffPalettes *>(kfm->palettes());
        unsigned int const count = palettes->count();
        auto *used = static_cast<SffPalette *>(kfm->sprite(0)->palette());
        QVERIFY(used && used->file().isEmpty());
        unsigned int const usedIdentifier = used->identifier();
        SffContent const before = kfm->content();

        RGBA colors[256];
        for (int i = 0; i < 256; ++i)
            colors[i] = RGBA{uchar(i), uchar(255 - i), uchar(i * 7), 255};
        // A palette file over a palette of the archive: the same object, so that
        // its sprites show the file's colours; nothing is modified by showing.
        QCOMPARE(palettes->showFile(colors, QStringLiteral("/c/a.act"), usedIdentifier), used);
        QCOMPARE(palettes->count(), count);
        QCOMPARE(used->file(), QStringLiteral("/c/a.act"));
        QCOMPARE(used->identifier(), usedIdentifier);
        QCOMPARE(kfm->sprite(0)->palette(), static_cast<Palette *>(used));
        QCOMPARE(kfm->sprite(0)->image().color(5), colors[5].toQRgb());
        QCOMPARE(qAlpha(kfm->sprite(0)->image().color(0)), 0); // colour 0 stays transparent
        // A palette file of an identifier that no palette has is one more palette.
        unsigned int const fresh = palettes->freeIdentifier(1);
        SffPalette *added = palettes->showFile(colors, QStringLiteral("/c/b.act"), fresh);
        QVERIFY(added && added != used);
        QCOMPARE(palettes->count(), count + 1);
        QVERIFY(!kfm->isModified());
        QVERIFY(palettes->isUsed(used));
        QVERIFY(!palettes->isUsed(added));

        // An edit of a palette that no sprite shows leaves the archive as it is;
        // one of a palette that sprites show is an edit of the archive.
        colors[9] = RGBA{1, 2, 3, 255};
        added->setColorTable(colors, NoShare);
        QVERIFY(!kfm->isModified());
        QCOMPARE(kfm->content().palettes.size(), before.palettes.size());
        used->setColorTable(colors, NoShare);
        QVERIFY(kfm->isModified());
        QCOMPARE(kfm->content().palettes.at(palettes->indexOf(used)).colors[9].b, uchar(3));

        // Read again, the archive keeps showing the palette files over its own.
        QVERIFY(kfm->fromFile(FileSystemArchive::instance(), path, 0, nullptr));
        QVERIFY(!kfm->isModified());
        QCOMPARE(palettes->count(), count + 1);
        for (unsigned int identifier : {usedIdentifier, fresh}) {
            int const row = palettes->find(0, identifier);
            QVERIFY(row >= 0);
            QVERIFY(!palettes->palette(unsigned(row))->file().isEmpty());
            QCOMPARE(palettes->palette(unsigned(row))->data().colors[9].b, uchar(3));
        }
        QCOMPARE(kfm->sprite(0)->palette(),
                 palettes->at(unsigned(palettes->find(0, usedIdentifier))));
        // Cleared of unused palettes, the archive keeps those of palette files.
        palettes->clearUnused();
        QVERIFY(palettes->find(0, fresh) >= 0);
    }

    // Sprites added, shared, copied, cropped and removed; the file written
    // and read back in each version keeps them, links included.
    void editing()
    {
        MemoryArchive archive; // outlives the file that keeps it
        SpritesPointer const sprites(new SffSprites);
        QAbstractItemModelTester tester(sprites.get(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy changed(sprites.get(), &OrganizableObject::changed);
        QImage image(4, 3, QImage::Format_Indexed8);
        QList<QRgb> table(256, qRgb(0, 0, 0));
        table[1] = qRgb(255, 0, 0);
        image.setColorTable(table);
        image.fill(0);
        image.setPixel(1, 1, 1);
        image.setPixel(2, 1, 1);
        Sprite *first = sprites->add(QStringLiteral("5, 0"), image, NoShare);
        QVERIFY(first);
        QVERIFY(sprites->isModified());
        QCOMPARE(changed.size(), 1);
        QVERIFY(!sprites->add(QStringLiteral("5, 0"), image, NoShare)); // taken
        QVERIFY(!sprites->add(QStringLiteral("70000, 0"), image, NoShare)); // out of range
        QCOMPARE(sprites->palettes()->count(), 1u);
        QCOMPARE(qRed(first->image().color(1)), 255);
        // Share reuses an equal image and palette: the two become a link.
        Sprite *second = sprites->add(QStringLiteral("5, 1"), image, Share);
        QVERIFY(second && first->imageIsShared() && second->imageIsShared());
        QCOMPARE(second->palette(), first->palette());
        Sprite *copy = first->duplicate();
        QVERIFY(copy);
        QCOMPARE(copy->property(QStringLiteral("Identifier")).toString(), QStringLiteral("5, 2"));
        QCOMPARE(sprites->find(0, QStringLiteral("5, 2")), 2);
        // Crop keeps the axis on the same pixel.
        static_cast<SffSprite *>(copy)->setAxis(QPoint(2, 2));
        copy->crop();
        QCOMPARE(copy->imageProperties().size(), QSize(2, 1));
        QCOMPARE(static_cast<SffSprite *>(copy)->axis(), QPoint(1, 1));
        QVERIFY(!copy->imageIsShared());
        for (SffVersion version : {SffVersion::V101, SffVersion::V200, SffVersion::V201}) {
            sprites->setVersion(version);
            QVERIFY(sprites->toFile(archive, QStringLiteral("e.sff"), 0, nullptr));
            QVERIFY(!sprites->isModified());
            QCOMPARE(changed.last(), QVariantList{false});
            SpritesPointer const again = open(QStringLiteral("e.sff"), archive);
            QVERIFY(again);
            QString const differs = difference(*sprites, *again);
            QVERIFY2(differs.isEmpty(), qPrintable(differs));
        }
        // Colours set on a palette keep colour 0 transparent and the rest opaque.
        RGBA grey[256] = {};
        sprites->palettes()->at(0)->setColorTable(grey, NoShare);
        RGBA colors[256];
        QVERIFY(sprites->palettes()->at(0)->colorTable(colors));
        QCOMPARE(colors[0].a, uchar(0));
        QCOMPARE(colors[255].a, uchar(255));
        QVERIFY(sprites->isModified());
        // Removing the palette leaves the sprites without one; clearUnused drops what nobody uses.
        QVERIFY(sprites->palettes()->add(grey, QStringLiteral("1, 1"), NoShare));
        QCOMPARE(sprites->palettes()->count(), 2u);
        sprites->palettes()->clearUnused();
        QCOMPARE(sprites->palettes()->count(), 1u);
        sprites->palettes()->remove(0);
        QVERIFY(!first->palette());
        // Sizes past what a node holds are refused, and the file stays as it was.
        QByteArray const before = archive.files.value(QStringLiteral("e.sff"));
        QVERIFY(sprites->add(QStringLiteral("9, 9"), QImage(70000, 1, QImage::Format_Indexed8),
                             NoShare));
        QVERIFY(!sprites->toFile(archive, QStringLiteral("e.sff"), 0, nullptr));
        QVERIFY(
            sprites->messages()->at(0, Message::Error).text.contains(QLatin1String("70000 x 1")));
        QCOMPARE(archive.files.value(QStringLiteral("e.sff")), before);
        sprites->remove(sprites->count() - 1);
        sprites->remove(0);
        QCOMPARE(sprites->count(), 2u);
        QVERIFY(!second->imageIsShared());
    }

    // What becomes of the palette when a new image replaces a sprite's.
    void setImageDealsWithThePalette_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("palettes");
        QTest::addColumn<int>("firstRed"); // red of entry 1 of the sprite's palette afterwards
        QTest::addColumn<int>("pixel"); // index at 0, 0 afterwards
        QTest::newRow("ignore") << int(Sprite::Ignore) << 1 << 1 << 1;
        QTest::newRow("own palette") << int(Sprite::OwnPalette) << 2 << 101 << 1;
        QTest::newRow("adapt image") << int(Sprite::AdaptImage) << 1 << 1 << 101;
        QTest::newRow("swap palette") << int(Sprite::SwapPalette) << 1 << 101 << 1;
    }
    void setImageDealsWithThePalette()
    {
        QFETCH(int, mode);
        QFETCH(int, palettes);
        QFETCH(int, firstRed);
        QFETCH(int, pixel);
        SpritesPointer const file(new SffSprites);
        Sprite *sprite = file->add(QStringLiteral("0, 0"), rampImage(QSize(2, 2), 0), NoShare);
        QSignalSpy rows(file.get(), &QAbstractItemModel::dataChanged);
        // The same ramp shifted by 100: colour 1 of the new image is colour 101 of the old.
        sprite->setImage(rampImage(QSize(2, 2), 1, 100), true, Sprite::PaletteMode(mode), nullptr,
                         NoShare);
        QCOMPARE(file->palettes()->count(), unsigned(palettes));
        RGBA colors[256];
        QVERIFY(sprite->palette()->colorTable(colors));
        QCOMPARE(int(colors[1].r), firstRed);
        QCOMPARE(sprite->image().pixelIndex(0, 0), pixel);
        QCOMPARE(rows.size(), 1);
        sprite->setImage(QImage(), false);
        QVERIFY(sprite->isEmpty());
        QCOMPARE(rows.size(), 1);
    }

    // Archives made here with one sprite stored in each pixel format, and a
    // link to it: read, and written anew from the pixels.
    void everyPixelFormat_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QImage>("expected");
        QImage indexed(7, 5, QImage::Format_Indexed8);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 7; ++x)
                indexed.scanLine(y)[x] = uchar((x / 3 + y) % 4 + (x == 6 ? 28 : 0));
        QList<QRgb> colours;
        QList<QRgb> grey;
        for (int i = 0; i < 256; ++i) {
            colours.append(qRgb(i, 255 - i, i / 2));
            grey.append(qRgb(i, i, i));
        }
        indexed.setColorTable(colours);
        QImage greyIndexed = indexed;
        greyIndexed.setColorTable(grey);
        QByteArray raw;
        for (int y = 0; y < 5; ++y)
            raw.append(reinterpret_cast<char const *>(indexed.constScanLine(y)), 7);
        QTest::newRow("raw") << int(FormatRaw) << raw << indexed;
        QTest::newRow("raw with a length") << int(FormatRaw) << withLength(35, raw) << indexed;
        QTest::newRow("RLE8") << int(FormatRLE8) << withLength(35, encoded(indexed, saveRLE8))
                              << indexed;
        auto const lz5 = [](QImage const &image, QIODevice *device) {
            return saveLZ5(image, device, true);
        };
        QTest::newRow("LZ5") << int(FormatLZ5) << withLength(35, encoded(indexed, lz5)) << indexed;
        // RLE5 has no encoder: 6 pixels of colour 5 (first run, colour byte), then
        // runs of 2 pixels of 1 and 27 pixels of 9, in packets of up to 8.
        QImage five(7, 5, QImage::Format_Indexed8);
        for (int i = 0; i < 35; ++i)
            five.scanLine(i / 7)[i % 7] = uchar(i < 6 ? 5 : i < 8 ? 1 : 9);
        QTest::newRow("RLE5") << int(FormatRLE5)
                              << withLength(35, QByteArray::fromHex("05 85 05 21 e9 e9 e9 69"))
                              << five;
        QTest::newRow("PNG8") << int(FormatPNG8) << withLength(35, encoded(indexed, savePNG))
                              << indexed;
        // Qt writes an indexed image of a grey ramp as a grey PNG.
        QTest::newRow("PNG8 grey")
            << int(FormatPNG8) << withLength(35, encoded(greyIndexed, savePNG)) << indexed;
        QImage mono(9, 2, QImage::Format_Mono);
        mono.setColorTable({qRgb(0, 0, 0), qRgb(255, 0, 0)});
        mono.fill(0);
        mono.setPixel(3, 1, 1);
        QTest::newRow("PNG8 of 1 bit") << int(FormatPNG8) << withLength(18, encoded(mono, savePNG))
                                       << mono.convertToFormat(QImage::Format_Indexed8);
        QImage rgb(3, 2, QImage::Format_RGB32);
        rgb.fill(qRgb(200, 100, 50));
        rgb.setPixel(1, 1, qRgb(1, 2, 3));
        QTest::newRow("PNG24") << int(FormatPNG24)
                               << withLength(
                                      6 * 3,
                                      encoded(rgb.convertToFormat(QImage::Format_RGB888), savePNG))
                               << rgb;
        QImage argb(3, 2, QImage::Format_ARGB32);
        argb.fill(qRgba(200, 100, 50, 7));
        argb.setPixel(0, 1, qRgba(1, 2, 3, 255));
        QTest::newRow("PNG32") << int(FormatPNG32) << withLength(6 * 4, encoded(argb, savePNG))
                               << argb;
    }
    void everyPixelFormat()
    {
        QFETCH(int, format);
        QFETCH(QByteArray, stored);
        QFETCH(QImage, expected);
        // The stream stored as it stands, in the translate block for the
        // indexed ones, as stages keep them.
        SffContent content;
        SffPaletteData palette;
        std::memset(palette.colors, 0, sizeof palette.colors);
        content.palettes.append(palette);
        auto image = std::make_shared<SffImage>();
        image->image = expected;
        image->stored = stored;
        image->storedFormat = quint8(format);
        image->storedDepth = format == FormatPNG24 ? 24 : format == FormatPNG32 ? 32 : 8;
        image->storedInTranslateBlock = expected.format() == QImage::Format_Indexed8;
        content.sprites.append({3, 4, 1, -1, image, 0});
        content.sprites.append({3, 5, 0, 0, image, 0});
        SffWriter writer;
        QByteArray const bytes = writer.write(content, SffVersion::V201);
        // The link's node repeats its source's format, depth, place and block.
        for (int at : {14, 15, 16, 17, 18, 19, 26, 27})
            QCOMPARE(bytes[spriteNode(bytes, 1) + at], bytes[spriteNode(bytes, 0) + at]);
        SffReader reader;
        SffContent read;
        QVERIFY2(reader.read(bytes, read), qPrintable(reader.errorString()));
        QCOMPARE(read.sprites.size(), 2);
        for (int i = 0; i < 2; ++i) {
            QImage const decoded = read.sprites.at(i).image->image;
            QCOMPARE(decoded.format(), expected.format());
            QCOMPARE(decoded.size(), expected.size());
            QCOMPARE(packedPixels(decoded), packedPixels(expected));
        }
        QCOMPARE(read.sprites.at(1).image, read.sprites.at(0).image);
        QCOMPARE(read.sprites.at(0).image->storedFormat, quint8(format));
        // Encoded anew (the stored stream dropped), the pixels stay.
        read.sprites[0].image->storedFormat = FormatNone;
        SffContent again;
        QVERIFY(reader.read(writer.write(read, SffVersion::V201), again));
        QCOMPARE(packedPixels(again.sprites.at(1).image->image), packedPixels(expected));
    }

    void refused_data()
    {
        QTest::addColumn<int>("version");
        QTest::addColumn<Edit>("edit");
        QTest::addColumn<QString>("fault");
        auto row = [](char const *name, SffVersion version, Edit edit, char const *fault) {
            QTest::newRow(name) << int(version) << edit << QString::fromLatin1(fault);
        };
        SffVersion const v1 = SffVersion::V101;
        SffVersion const v2 = SffVersion::V200;
        row(
            "empty", v2, [](QByteArray &d) { d.clear(); }, "shorter than the 512");
        row(
            "cut header", v2, [](QByteArray &d) { d.truncate(511); }, "shorter than the 512");
        row(
            "no signature", v2, [](QByteArray &d) { d[3] = 'X'; }, "not a sprite archive");
        row(
            "version 3", v2, [](QByteArray &d) { d[15] = 3; }, "version 3.00");
        row(
            "version 2.1", v2, [](QByteArray &d) { d[14] = 1; }, "version 2.10");

        // Version 2: counts, offsets and blocks.
        row(
            "sprite count", v2, [](QByteArray &d) { put32(d, SpriteCount, 1000000); },
            "list of 1000000 sprites");
        row(
            "sprite list past end", v2,
            [](QByteArray &d) { put32(d, SpriteListOffset, quint32(d.size() - 20)); },
            "sprites at offset");
        row(
            "palette count", v2, [](QByteArray &d) { put32(d, PaletteCount, 0xFFFFFFFF); },
            "list of 4294967295 palettes");
        row(
            "literal block", v2, [](QByteArray &d) { put32(d, LiteralLength, quint32(d.size())); },
            "literal data block runs past");
        row(
            "translate block", v2, [](QByteArray &d) { put32(d, TranslateLength, 0x7FFFFFFF); },
            "translate data block runs past");
        row(
            "file cut in the data", v2, [](QByteArray &d) { d.chop(10); },
            "literal data block runs past");
        row(
            "sprite data offset", v2,
            [](QByteArray &d) { put32(d, spriteNode(d, 1) + 16, 0xFFFFFFF0); },
            "sprite 1 (group 1, number 1): its data runs past the end of the literal block");
        row(
            "sprite data length", v2,
            [](QByteArray &d) { put32(d, spriteNode(d, 0) + 20, 100000); },
            "sprite 0 (group 1, number 0): its data runs past");
        row(
            "sprite in translate block", v2,
            [](QByteArray &d) { put16(d, spriteNode(d, 0) + 26, 1); },
            "past the end of the translate block");
        row(
            "sprite data too short for a length", v2,
            [](QByteArray &d) { put32(d, spriteNode(d, 0) + 20, 3); }, "too short for a length");
        row(
            "unknown format", v2, [](QByteArray &d) { d[spriteNode(d, 1) + 14] = 7; },
            "unknown pixel format 7");
        row(
            "huge image", v2,
            [](QByteArray &d) {
                put16(d, spriteNode(d, 0) + 4, 65535);
                put16(d, spriteNode(d, 0) + 6, 65535);
            },
            "cannot hold an image of 65535 x 65535");
        row(
            "raw image longer than its data", v2,
            [](QByteArray &d) {
                d[spriteNode(d, 0) + 14] = 0;
                put16(d, spriteNode(d, 0) + 4, 300);
            },
            "fewer than its 300 x 4 pixels");
        row(
            "palette index", v2, [](QByteArray &d) { put16(d, spriteNode(d, 1) + 24, 9); },
            "sprite 1 (group 1, number 1) uses palette 9 of 2");
        row(
            "sprite link past end", v2, [](QByteArray &d) { put16(d, spriteNode(d, 2) + 12, 99); },
            "sprite 2 (group 2, number 0) links to sprite 99");
        row(
            "sprite link loop", v2,
            [](QByteArray &d) {
                put32(d, spriteNode(d, 1) + 20, 0);
                put16(d, spriteNode(d, 1) + 12, 2);
                put16(d, spriteNode(d, 2) + 12, 1);
            },
            "links go round in a loop");
        row(
            "sprite linked to itself", v2,
            [](QByteArray &d) { put16(d, spriteNode(d, 2) + 12, 2); }, "loop");
        row(
            "palette colours", v2, [](QByteArray &d) { put16(d, paletteNode(d, 0) + 4, 300); },
            "counts 300 colours");
        row(
            "palette too short", v2, [](QByteArray &d) { put32(d, paletteNode(d, 1) + 12, 8); },
            "palette 1 (group 0, number 1): 8 bytes do not hold its 256 colours");
        row(
            "palette data offset", v2,
            [](QByteArray &d) { put32(d, paletteNode(d, 0) + 8, 0xFFFFFF00); },
            "palette 0 (group 0, number 0): its data runs past the end of the literal block");
        row(
            "palette link past end", v2,
            [](QByteArray &d) {
                put32(d, paletteNode(d, 1) + 12, 0);
                put16(d, paletteNode(d, 1) + 6, 50);
            },
            "links to palette 50");
        row(
            "palette link loop", v2,
            [](QByteArray &d) {
                for (int i = 0; i < 2; ++i) {
                    put32(d, paletteNode(d, i) + 12, 0);
                    put16(d, paletteNode(d, i) + 6, quint16(1 - i));
                }
            },
            "palette 0: its links go round in a loop");
        row(
            "bad pixel stream", v2,
            [](QByteArray &d) {
                // An RLE8 run packet cut short by the end of the stream.
                qint64 const node = spriteNode(d, 1);
                put32(d, node + 20, 5);
                d[get32(d, LiteralOffset) + get32(d, node + 16) + 4] = char(0x45);
            },
            "pixel data (format 2) cannot be decoded");
        row(
            "bad PNG", SffVersion::V201,
            [](QByteArray &d) {
                qint64 const data = get32(d, LiteralOffset) + get32(d, spriteNode(d, 1) + 16) + 4;
                d[data + 20] = char(~d.at(data + 20));
                d[data + 1] = 'X';
            },
            "format 12) cannot be decoded");

        // Version 1.01: the chain of subfiles.
        row(
            "v1 count", v1, [](QByteArray &d) { put32(d, 20, 100000); }, "counts 100000 sprites");
        row(
            "v1 list ends early", v1, [](QByteArray &d) { put32(d, 512, 0); },
            "ends after 1 of the 3");
        row(
            "v1 first sprite past end", v1,
            [](QByteArray &d) { put32(d, 24, quint32(d.size() - 8)); },
            "sprite 0: its header at offset");
        row(
            "v1 list goes back", v1, [](QByteArray &d) { put32(d, 512, 512); }, "not after it");
        row(
            "v1 data past end", v1,
            [](QByteArray &d) { put32(d, get32(d, get32(d, 512)) + 4, 1000000); },
            "sprite 2 (group 2, number 0)");
        row(
            "v1 cut", v1, [](QByteArray &d) { d.truncate(get32(d, 512) + 40); },
            "sprite 1 (group 1, number 1)");
        row(
            "v1 link forward", v1, [](QByteArray &d) { put16(d, get32(d, get32(d, 512)) + 16, 2); },
            "links to sprite 2, which does not come before it");
        row(
            "v1 PCX of 65535 x 65535", v1,
            [](QByteArray &d) {
                put16(d, 512 + 32 + 8, 65534);
                put16(d, 512 + 32 + 10, 65534);
                put16(d, 512 + 32 + 66, 65535);
            },
            "sprite 0 (group 1, number 0): the PCX header asks for more pixels");
        row(
            "v1 PCX wider than its lines", v1, [](QByteArray &d) { put16(d, 512 + 32 + 8, 4000); },
            "asks for more pixels");
        row(
            "v1 bad PCX", v1, [](QByteArray &d) { d[512 + 32] = 9; },
            "sprite 0 (group 1, number 0): the PCX data cannot be decoded");
    }
    void refused()
    {
        QFETCH(int, version);
        QFETCH(Edit, edit);
        QFETCH(QString, fault);
        QByteArray data = smallArchive(SffVersion(version));
        SffReader reader;
        SffContent content;
        QVERIFY2(reader.read(data, content), qPrintable(reader.errorString()));
        QCOMPARE(content.sprites.size(), 3);
        QCOMPARE(content.sprites.at(2).image, content.sprites.at(0).image);
        QCOMPARE(content.sprites.at(1).axisX, qint16(-4));
        edit(data);
        QVERIFY2(!reader.read(data, content), "a damaged archive was taken");
        QVERIFY2(reader.errorString().contains(fault), qPrintable(reader.errorString()));
    }

    void refusedFileKeepsTheModel()
    {
        MemoryArchive archive;
        archive.files.insert(QStringLiteral("good.sff"), smallArchive(SffVersion::V200));
        QByteArray bad = smallArchive(SffVersion::V200);
        put32(bad, SpriteCount, 77777);
        archive.files.insert(QStringLiteral("chars/bad.sff"), bad);
        SpritesPointer const sprites = open(QStringLiteral("good.sff"), archive);
        QVERIFY(sprites);
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
    }

    void randomMutations_data()
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
        for (auto [name, rounds] :
             {std::pair{"stages/stage0.sff", 800}, std::pair{"chars/kfm/ending.sff", 80},
              std::pair{"screenpack/num72.sff", 60}, std::pair{"chars/kfm/kfm.sff", 25}})
            QTest::newRow(name) << KenroTest::readFile(data + QStringLiteral("/game/") +
                                                       QLatin1String(name))
                                << rounds;
    }
    void randomMutations()
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
};

QTEST_GUILESS_MAIN(TestSff)
#include "tst_sff.moc"
