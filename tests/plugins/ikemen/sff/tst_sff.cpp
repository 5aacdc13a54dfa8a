#include "actpalette.h"
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

#include <QBuffer>
#include <QCryptographicHash>
#include <QSet>
#include <QTest>
#include <QtEndian>

#include <cstring>
#include <map>

using namespace Kenro;
using namespace Kenro::Ikemen;
using KenroTest::MemoryArchive;

namespace {

// Every sprite archive of the test data, by the name the stream folders use.
struct ArchiveFile
{
    char const *path;
    char const *streams; // folder of its streams, or null
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

// Opens \a path of the test data as a sprite file; null on failure.
SffSprites *open(QString const &path)
{
    auto *sprites = new SffSprites;
    if (!sprites->fromFile(FileSystemArchive::instance(), path, 0, nullptr)) {
        sprites->release();
        return nullptr;
    }
    return sprites;
}

// The pixels as the manifest hashes them: indices, or R, G, B, A bytes.
QByteArray packedPixels(QImage const &image)
{
    QByteArray bytes;
    if (image.format() == QImage::Format_Indexed8) {
        for (int y = 0; y < image.height(); ++y)
            bytes.append(reinterpret_cast<char const *>(image.constScanLine(y)), image.width());
        return bytes;
    }
    QImage const argb = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < argb.height(); ++y) {
        auto const *line = reinterpret_cast<QRgb const *>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x) {
            char const pixel[4] = {char(qRed(line[x])), char(qGreen(line[x])), char(qBlue(line[x])),
                                   char(qAlpha(line[x]))};
            bytes.append(pixel, 4);
        }
    }
    return bytes;
}

QByteArray sha1(QByteArray const &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex();
}

QByteArray paletteRGB(Palette const *palette)
{
    RGBA colors[256];
    if (!palette || !palette->colorTable(colors))
        return QByteArray();
    QByteArray bytes;
    for (RGBA const &color : colors) {
        char const rgb[3] = {char(color.r), char(color.g), char(color.b)};
        bytes.append(rgb, 3);
    }
    return bytes;
}

// What differs between two sprite files, or empty when they hold the same sprites.
QString difference(SffSprites const &a, SffSprites const &b)
{
    if (a.count() != b.count())
        return QStringLiteral("%1 sprites against %2").arg(a.count()).arg(b.count());
    for (unsigned int i = 0; i < a.count(); ++i) {
        SffSprite const *x = a.sprite(i);
        SffSprite const *y = b.sprite(i);
        QString const where =
            QStringLiteral("sprite %1 (%2, %3): ").arg(i).arg(x->group()).arg(x->number());
        if (x->group() != y->group() || x->number() != y->number())
            return where + QStringLiteral("identifier %1, %2").arg(y->group()).arg(y->number());
        if (x->axis() != y->axis())
            return where + QStringLiteral("axis");
        if (x->pixels().size() != y->pixels().size() ||
            packedPixels(x->pixels()) != packedPixels(y->pixels()))
            return where + QStringLiteral("pixels");
        if (paletteRGB(x->palette()) != paletteRGB(y->palette()))
            return where + QStringLiteral("palette");
        RGBA first[256];
        RGBA second[256];
        if (x->palette() &&
            (!y->palette()->colorTable(second) || !x->palette()->colorTable(first) ||
             std::memcmp(first, second, sizeof first) != 0))
            return where + QStringLiteral("palette alpha");
        if (x->imageIsShared() != y->imageIsShared())
            return where + QStringLiteral("link");
    }
    return QString();
}

} // namespace

class TestSff : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void streamsOfTheManifest_data();
    void streamsOfTheManifest();
    void everyArchive_data();
    void everyArchive();
    void writtenBack_data();
    void writtenBack();
    void untouchedVersion2IsRewrittenAsRead();
    void trueColourIsRefusedByVersion1();
    void characterPalettes();
    void filePalettesOverTheArchive();
    void actPaletteRoundTrip();
    void editing();
    void everyPixelFormat_data();
    void everyPixelFormat();

private:
    std::map<QString, SffSprites *> m_open;

    SffSprites *cached(QString const &path)
    {
        auto found = m_open.find(path);
        if (found == m_open.end())
            found = m_open.emplace(path, open(path)).first;
        return found->second;
    }

public:
    ~TestSff() override
    {
        for (auto const &[path, sprites] : m_open) {
            if (sprites)
                sprites->release();
        }
    }
};

void TestSff::streamsOfTheManifest_data()
{
    QTest::addColumn<QString>("archive");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QByteArray>("pixelsSha1");
    QTest::addColumn<QByteArray>("paletteSha1");
    QString const data = KenroTest::testDataPath();
    if (data.isEmpty()) {
        QTest::newRow("no test data")
            << QString() << 0 << 0 << 0 << QString() << QSize() << QByteArray() << QByteArray();
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
            << archive << parts.value(0).toInt() << parts.value(1).toInt() << parts.value(2).toInt()
            << stream.format << QSize(stream.width, stream.height) << stream.pixelsSha1
            << stream.paletteSha1;
    }
}

void TestSff::streamsOfTheManifest()
{
    KENRO_REQUIRE_TESTDATA(data);
    QFETCH(QString, archive);
    QFETCH(int, index);
    QFETCH(int, group);
    QFETCH(int, number);
    QFETCH(QString, format);
    QFETCH(QSize, size);
    QFETCH(QByteArray, pixelsSha1);
    QFETCH(QByteArray, paletteSha1);
    QVERIFY2(!archive.isEmpty(), "the stream's folder names no known archive");
    SffSprites *sprites = cached(archive);
    QVERIFY2(sprites, qPrintable(archive));
    SffSprite const *sprite = sprites->sprite((unsigned int)(index));
    QVERIFY(sprite);
    QCOMPARE(int(sprite->group()), group);
    QCOMPARE(int(sprite->number()), number);
    QImage const pixels = sprite->pixels();
    QCOMPARE(pixels.size(), size);
    QCOMPARE(pixels.format(),
             format == QLatin1String("png32") ? QImage::Format_ARGB32 : QImage::Format_Indexed8);
    QCOMPARE(sha1(packedPixels(pixels)), pixelsSha1);
    // A PCX file that carries its palette gives it to its sprite. A sprite on
    // the previous sprite's palette stores none: the bytes where its palette
    // would stand belong to the next sprite.
    bool const own =
        index == 0 || sprite->palette() != sprites->sprite(unsigned(index) - 1)->palette();
    if (!paletteSha1.isEmpty() && own)
        QCOMPARE(sha1(paletteRGB(sprite->palette())), paletteSha1);
}

void TestSff::everyArchive_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("sprites");
    QTest::addColumn<int>("palettes");
    QTest::addColumn<int>("linked");
    // Counts from the archives' own headers; linked sprites share an image.
    // num72 says 2.00 in its header but holds PNG sprites, which need 2.01.
    QTest::newRow("kfm") << "game/chars/kfm/kfm.sff" << int(SffVersion::V201) << 281 << 7 << 41;
    QTest::newRow("intro") << "game/chars/kfm/intro.sff" << int(SffVersion::V101) << 12 << -1 << 0;
    QTest::newRow("ending") << "game/chars/kfm/ending.sff" << int(SffVersion::V101) << 7 << -1 << 0;
    QTest::newRow("training") << "game/chars/training/Training.sff" << int(SffVersion::V101) << 283
                              << -1 << 47;
    QTest::newRow("stage0") << "game/stages/stage0.sff" << int(SffVersion::V200) << 2 << 2 << 0;
    QTest::newRow("stage kfm") << "game/stages/kfm.sff" << int(SffVersion::V201) << 7 << 6 << 0;
    QTest::newRow("fight") << "game/data/fight.sff" << int(SffVersion::V101) << 43 << -1 << 0;
    QTest::newRow("num72") << "game/screenpack/num72.sff" << int(SffVersion::V201) << 22 << 0 << 0;
}

void TestSff::everyArchive()
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

void TestSff::writtenBack_data()
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

void TestSff::writtenBack()
{
    KENRO_REQUIRE_TESTDATA(data);
    QFETCH(QString, path);
    QFETCH(int, version);
    SffSprites *original = cached(data + QLatin1Char('/') + path);
    QVERIFY(original);
    SffVersion const before = original->version();
    MemoryArchive archiveObject;
    MemoryArchive *archive = &archiveObject;
    original->setVersion(SffVersion(version));
    bool const written =
        original->toFile(*archive, QStringLiteral("out.sff"), ProjectFile::Copy, nullptr);
    original->setVersion(before);
    QVERIFY2(written, qPrintable(original->messages()->at(0, Message::All).text));

    auto *again = new SffSprites;
    QVERIFY(again->fromFile(*archive, QStringLiteral("out.sff"), 0, nullptr));
    QCOMPARE(int(again->version()), version);
    QString const differs = difference(*original, *again);
    QVERIFY2(differs.isEmpty(), qPrintable(differs));
    // Palettes that no sprite uses stay in version 2, and are named when version 1.01 drops them.
    if (SffVersion(version) != SffVersion::V101) {
        unsigned int archived = 0;
        for (unsigned int i = 0; i < original->palettes()->count(); ++i)
            archived += static_cast<SffPalette *>(original->palettes()->at(i))->file().isEmpty();
        if (before != SffVersion::V101) {
            QCOMPARE(again->palettes()->count(), archived);
            for (unsigned int i = 0; i < archived; ++i)
                QCOMPARE(paletteRGB(again->palettes()->at(i)),
                         paletteRGB(original->palettes()->at(i)));
        }
    } else if (before != SffVersion::V101) {
        // Version 1.01 keeps the palettes of its sprites and names each one it drops.
        QSet<Palette const *> used;
        for (unsigned int i = 0; i < original->count(); ++i)
            used.insert(original->at(i)->palette());
        used.remove(nullptr);
        QCOMPARE(again->palettes()->count(), unsigned(used.size()));
        QCOMPARE(original->messages()->count(Message::Warning),
                 original->palettes()->count() - unsigned(used.size()));
        if (used.size() < qsizetype(original->palettes()->count()))
            QVERIFY(original->messages()
                        ->at(0, Message::Warning)
                        .text.contains(QLatin1String("used by no sprite")));
    }
    again->release();
}

void TestSff::untouchedVersion2IsRewrittenAsRead()
{
    KENRO_REQUIRE_TESTDATA(data);
    // Stored streams are kept, so an untouched archive of the usual layout comes back byte for byte.
    for (char const *name :
         {"game/chars/kfm/kfm.sff", "game/stages/stage0.sff", "game/screenpack/num72.sff"}) {
        QString const path = data + QLatin1Char('/') + QLatin1String(name);
        SffReader reader;
        SffContent content;
        QByteArray const bytes = KenroTest::readFile(path);
        QVERIFY2(reader.read(bytes, content), qPrintable(reader.errorString()));
        SffWriter writer;
        QByteArray const rewritten = writer.write(content, content.version);
        QVERIFY(!rewritten.isEmpty());
        SffContent again;
        QVERIFY(reader.read(rewritten, again));
        QCOMPARE(again.sprites.size(), content.sprites.size());
        QCOMPARE(rewritten.size(), bytes.size());
        // num72 says 2.00 but holds PNG sprites: the rewrite says 2.01 (byte 13).
        qsizetype first = 0;
        while (first < bytes.size() && (bytes.at(first) == rewritten.at(first) || first == 13))
            ++first;
        QCOMPARE(first, bytes.size());
    }
}

void TestSff::trueColourIsRefusedByVersion1()
{
    KENRO_REQUIRE_TESTDATA(data);
    SffSprites *fonts = cached(data + QStringLiteral("/game/screenpack/num72.sff"));
    QVERIFY(fonts);
    MemoryArchive archiveObject;
    MemoryArchive *archive = &archiveObject;
    archive->files.insert(QStringLiteral("num72.sff"), QByteArrayLiteral("the previous file"));
    fonts->setVersion(SffVersion::V101);
    QVERIFY(!fonts->toFile(*archive, QStringLiteral("num72.sff"), ProjectFile::Copy, nullptr));
    fonts->setVersion(SffVersion::V201);
    QCOMPARE(archive->files.value(QStringLiteral("num72.sff")),
             QByteArrayLiteral("the previous file"));
    QString const text = fonts->messages()->at(0, Message::Error).text;
    QVERIFY2(text.contains(QLatin1String("true-colour")) &&
                 text.contains(QLatin1String("group 0, number 48")),
             qPrintable(text));
    // Version 2.00 cannot hold it either.
    fonts->setVersion(SffVersion::V200);
    QVERIFY(!fonts->toFile(*archive, QStringLiteral("num72.sff"), ProjectFile::Copy, nullptr));
    fonts->setVersion(SffVersion::V201);
    QVERIFY(fonts->messages()->at(0, Message::Error).text.contains(QLatin1String("2.01")));
}

void TestSff::characterPalettes()
{
    KENRO_REQUIRE_TESTDATA(data);
    SffSprites *training = open(data + QStringLiteral("/game/chars/training/Training.sff"));
    QVERIFY(training);
    // The palette file holds the colours of the first sprite's own palette, last colour first.
    RGBA colors[256];
    QVERIFY(
        readAct(KenroTest::readFile(data + QStringLiteral("/game/chars/training/01.act")), colors));
    auto *palettes = static_cast<SffPalettes *>(training->palettes());
    SffPalette *shown = palettes->showFile(colors, QStringLiteral("01.act"), 1u << 16 | 1u);
    QVERIFY(shown && shown != training->sprite(0)->palette()); // a palette of its own
    QCOMPARE(training->sprite(0)->group(), quint16(9000));
    QCOMPARE(paletteRGB(shown), paletteRGB(training->sprite(0)->palette()));
    training->release();
}

void TestSff::filePalettesOverTheArchive()
{
    KENRO_REQUIRE_TESTDATA(data);
    QString const path = data + QStringLiteral("/game/chars/kfm/kfm.sff");
    SffSprites *kfm = open(path);
    QVERIFY(kfm);
    auto *palettes = static_cast<SffPalettes *>(kfm->palettes());
    unsigned int const count = palettes->count();
    SffPalette *used = static_cast<SffPalette *>(kfm->sprite(0)->palette());
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
    SffContent const content = kfm->content();
    QCOMPARE(content.palettes.size(), before.palettes.size());
    used->setColorTable(colors, NoShare);
    QVERIFY(kfm->isModified());
    int const written = int(palettes->indexOf(used));
    QCOMPARE(kfm->content().palettes.at(written).colors[9].b, uchar(3));

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
    int const shown = palettes->find(0, usedIdentifier);
    QCOMPARE(kfm->sprite(0)->palette(), palettes->at(unsigned(shown)));
    // Cleared of unused palettes, the archive keeps those of palette files.
    palettes->clearUnused();
    QVERIFY(palettes->find(0, fresh) >= 0);
    kfm->release();
}

void TestSff::actPaletteRoundTrip()
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
}

void TestSff::editing()
{
    auto *sprites = new SffSprites;
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
    QVERIFY(!sprites->add(QStringLiteral("5, 0"), image, NoShare)); // taken
    QVERIFY(!sprites->add(QStringLiteral("70000, 0"), image, NoShare)); // out of range
    QCOMPARE(sprites->palettes()->count(), 1u);
    QCOMPARE(qRed(first->image().color(1)), 255);
    // Share reuses an equal image: the two become a link.
    Sprite *second = sprites->add(QStringLiteral("5, 1"), image, Share);
    QVERIFY(second && first->imageIsShared() && second->imageIsShared());
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
    // Written and read back: the links stay links, the cropped copy its own image.
    MemoryArchive archiveObject;
    MemoryArchive *archive = &archiveObject;
    for (SffVersion version : {SffVersion::V101, SffVersion::V200, SffVersion::V201}) {
        sprites->setVersion(version);
        QVERIFY(sprites->toFile(*archive, QStringLiteral("e.sff"), 0, nullptr));
        QVERIFY(!sprites->isModified());
        auto *again = new SffSprites;
        QVERIFY(again->fromFile(*archive, QStringLiteral("e.sff"), 0, nullptr));
        QString const differs = difference(*sprites, *again);
        QVERIFY2(differs.isEmpty(), qPrintable(differs));
        again->release();
    }
    // Removing the palette leaves the sprites without one; clearUnused drops what nobody uses.
    RGBA grey[256] = {};
    QVERIFY(sprites->palettes()->add(grey, QStringLiteral("1, 1"), NoShare));
    QCOMPARE(sprites->palettes()->count(), 2u);
    sprites->palettes()->clearUnused();
    QCOMPARE(sprites->palettes()->count(), 1u);
    sprites->palettes()->remove(0);
    QVERIFY(!first->palette());
    // Sizes past what a node holds are refused, and the file stays as it was.
    QByteArray const before = archive->files.value(QStringLiteral("e.sff"));
    QVERIFY(
        sprites->add(QStringLiteral("9, 9"), QImage(70000, 1, QImage::Format_Indexed8), NoShare));
    QVERIFY(!sprites->toFile(*archive, QStringLiteral("e.sff"), 0, nullptr));
    QVERIFY(sprites->messages()->at(0, Message::Error).text.contains(QLatin1String("70000 x 1")));
    QCOMPARE(archive->files.value(QStringLiteral("e.sff")), before);
    sprites->remove(sprites->count() - 1);
    QCOMPARE(sprites->model(), static_cast<QAbstractItemModel *>(sprites));
    QVERIFY(sprites->canSave());
    sprites->remove(0);
    QCOMPARE(sprites->count(), 2u);
    QVERIFY(!second->imageIsShared());
    sprites->release();
}

namespace {

QByteArray withLength(quint32 length, QByteArray const &stream)
{
    QByteArray bytes(4, 0);
    qToLittleEndian(length, bytes.data());
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

} // namespace

void TestSff::everyPixelFormat_data()
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
    quint32 const pixels = 7 * 5;
    QByteArray raw;
    for (int y = 0; y < 5; ++y)
        raw.append(reinterpret_cast<char const *>(indexed.constScanLine(y)), 7);
    QTest::newRow("raw") << int(FormatRaw) << raw << indexed;
    QTest::newRow("raw with a length") << int(FormatRaw) << withLength(pixels, raw) << indexed;
    QTest::newRow("RLE8") << int(FormatRLE8) << withLength(pixels, encoded(indexed, saveRLE8))
                          << indexed;
    auto const lz5 = [](QImage const &image, QIODevice *device) {
        return saveLZ5(image, device, true);
    };
    QTest::newRow("LZ5") << int(FormatLZ5) << withLength(pixels, encoded(indexed, lz5)) << indexed;
    // RLE5 has no encoder: 6 pixels of colour 5 (first run, colour byte), then
    // runs of 2 pixels of 1 and 27 pixels ... of 9, in packets of up to 8.
    QImage five(7, 5, QImage::Format_Indexed8);
    five.fill(0);
    QByteArray rle5 = QByteArray::fromHex("05 85 05 21 e9 e9 e9 69");
    for (int i = 0; i < 35; ++i)
        five.scanLine(i / 7)[i % 7] = uchar(i < 6 ? 5 : i < 8 ? 1 : 9);
    QTest::newRow("RLE5") << int(FormatRLE5) << withLength(pixels, rle5) << five;
    QTest::newRow("PNG8") << int(FormatPNG8) << withLength(pixels, encoded(indexed, savePNG))
                          << indexed;
    // Qt writes an indexed image of a grey ramp as a grey PNG.
    QTest::newRow("PNG8 grey") << int(FormatPNG8)
                               << withLength(pixels, encoded(greyIndexed, savePNG)) << indexed;
    QImage mono(9, 2, QImage::Format_Mono);
    mono.setColorTable({qRgb(0, 0, 0), qRgb(255, 0, 0)});
    mono.fill(0);
    mono.setPixel(3, 1, 1);
    QTest::newRow("PNG8 of 1 bit") << int(FormatPNG8) << withLength(18, encoded(mono, savePNG))
                                   << mono.convertToFormat(QImage::Format_Indexed8);
    QImage rgb(3, 2, QImage::Format_RGB32);
    rgb.fill(qRgb(200, 100, 50));
    rgb.setPixel(1, 1, qRgb(1, 2, 3));
    QTest::newRow("PNG24")
        << int(FormatPNG24)
        << withLength(6 * 3, encoded(rgb.convertToFormat(QImage::Format_RGB888), savePNG)) << rgb;
    QImage argb(3, 2, QImage::Format_ARGB32);
    argb.fill(qRgba(200, 100, 50, 7));
    argb.setPixel(0, 1, qRgba(1, 2, 3, 255));
    QTest::newRow("PNG32") << int(FormatPNG32) << withLength(6 * 4, encoded(argb, savePNG)) << argb;
}

void TestSff::everyPixelFormat()
{
    QFETCH(int, format);
    QFETCH(QByteArray, stored);
    QFETCH(QImage, expected);
    // An archive with the stream stored as it stands, in the translate block
    // for the indexed ones, as stages keep them.
    SffContent content;
    content.version = SffVersion::V201;
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
    QVERIFY(!bytes.isEmpty());
    SffReader reader;
    SffContent read;
    QVERIFY2(reader.read(bytes, read), qPrintable(reader.errorString()));
    QCOMPARE(read.sprites.size(), 2);
    QImage const decoded = read.sprites.at(0).image->image;
    QCOMPARE(decoded.format(), expected.format());
    QCOMPARE(decoded.size(), expected.size());
    QCOMPARE(packedPixels(decoded), packedPixels(expected));
    QCOMPARE(read.sprites.at(1).image, read.sprites.at(0).image);
    QCOMPARE(read.sprites.at(0).image->storedFormat, quint8(format));
    // Encoded anew (the stored stream dropped), the pixels stay.
    read.sprites[0].image->storedFormat = FormatNone;
    SffContent again;
    QVERIFY(reader.read(writer.write(read, SffVersion::V201), again));
    QCOMPARE(packedPixels(again.sprites.at(1).image->image), packedPixels(expected));
}

QTEST_GUILESS_MAIN(TestSff)
#include "tst_sff.moc"
