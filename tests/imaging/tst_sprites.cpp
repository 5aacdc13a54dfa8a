#include <kenro/imaging/sprites.h>

#include "memorysprites.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Kenro;
using KenroTest::MemoryPalette;
using KenroTest::MemorySprite;
using KenroTest::MemorySprites;

namespace {

struct Releaser
{
    void operator()(MemorySprites *sprites) const { sprites->release(); }
};
using SpritesPointer = std::unique_ptr<MemorySprites, Releaser>;

// An indexed image of \a size with every pixel \a index, on a ramp of 256
// distinct colours rotated by \a shift: its colour i is colour i + shift of
// the unrotated ramp.
QImage indexedImage(QSize size, uchar index, int shift = 0)
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

QStringList identifiers(MemorySprites const &sprites)
{
    QStringList result;
    for (int row = 0; row < sprites.rowCount(); ++row)
        result << sprites.index(row).data().toString();
    return result;
}

QStringList identifiers(KenroTest::MemoryPalettes const &palettes)
{
    QStringList result;
    for (int row = 0; row < palettes.rowCount(); ++row)
        result << palettes.index(row).data().toString();
    return result;
}

/// A sprite that only notes how its image is set.
class RecordingSprite : public Sprite
{
public:
    QImage picture;
    QList<bool> notifications;

    QVariant property(QString const &) const override { return QVariant(); }
    void setProperty(QString const &, QVariant const &) override {}
    unsigned int index() const override { return 0; }
    Sprites *parent() const override { return nullptr; }
    Sprite *duplicate() override { return nullptr; }
    void crop() override {}
    void splitRGB() override {}
    bool isEmpty() const override { return picture.isNull(); }
    QImage image() const override { return picture; }
    ImageInfo imageProperties() const override { return ImageInfo(); }
    bool imageIsShared() const override { return false; }
    using Sprite::setImage;
    void setImage(QImage const &, bool, PaletteMode, Palette *, ShareMode) override {}
    void setImage(QImage const &image, bool notify) override
    {
        picture = image;
        notifications << notify;
    }
    Palette *palette() const override { return nullptr; }
    void setPalette(Palette *) override {}
};

} // namespace

class TestSprites : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enumsHaveTheirScriptValues()
    {
        QCOMPARE(int(NoShare), 0);
        QCOMPARE(int(Share), 1);
        QCOMPARE(int(AskToShare), 2);
        QCOMPARE(int(Sprite::Ignore), 0);
        QCOMPARE(int(Sprite::OwnPalette), 1);
        QCOMPARE(int(Sprite::AdaptImage), 2);
        QCOMPARE(int(Sprite::SwapPalette), 3);
    }

    void theSpriteHelpers()
    {
        RecordingSprite sprite;
        QCOMPARE(sprite.propertyNames(), QStringList({QStringLiteral("Identifier")}));
        QImage const image = indexedImage(QSize(2, 2), 1);
        sprite.setImage(image);
        QCOMPARE(sprite.notifications, QList<bool>({true}));
        QCOMPARE(sprite.picture, image);
        RecordingSprite copy(sprite);
        QCOMPARE(copy.picture, image);
    }

    void alignedPutsTheAxisOnTheNewPlace_data()
    {
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QPoint>("oldAxis");
        QTest::addColumn<QPoint>("newAxis");
        QTest::addColumn<QPoint>("extent");
        QImage argb(3, 2, QImage::Format_ARGB32);
        argb.fill(qRgba(10, 20, 30, 200));
        QImage rgb(3, 2, QImage::Format_RGB32);
        rgb.fill(qRgb(1, 2, 3));
        QImage mono(9, 2, QImage::Format_Mono);
        mono.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
        mono.fill(1);
        QTest::newRow("indexed") << indexedImage(QSize(3, 2), 7) << QPoint(1, 1) << QPoint(4, 5)
                                 << QPoint(6, 2);
        QTest::newRow("argb") << argb << QPoint(0, 0) << QPoint(2, 1) << QPoint(3, 3);
        QTest::newRow("rgb") << rgb << QPoint(2, 1) << QPoint(2, 1) << QPoint(1, 1);
        QTest::newRow("mono") << mono << QPoint(0, 0) << QPoint(3, 0) << QPoint(9, 2);
        // A canvas too small for the image keeps what fits.
        QTest::newRow("cut at the right") << argb << QPoint(0, 0) << QPoint(1, 0) << QPoint(1, 2);
        QTest::newRow("cut at the left") << argb << QPoint(2, 1) << QPoint(0, 0) << QPoint(2, 2);
    }

    void alignedPutsTheAxisOnTheNewPlace()
    {
        QFETCH(QImage, source);
        QFETCH(QPoint, oldAxis);
        QFETCH(QPoint, newAxis);
        QFETCH(QPoint, extent);
        RecordingSprite sprite;
        sprite.picture = source;
        QImage const result = sprite.aligned(oldAxis, newAxis, extent);
        QCOMPARE(result.size(), QSize(newAxis.x() + extent.x(), newAxis.y() + extent.y()));
        QCOMPARE(result.format(), source.format());
        QCOMPARE(result.colorTable(), source.colorTable());
        QPoint const shift = newAxis - oldAxis;
        for (int y = 0; y < result.height(); ++y) {
            for (int x = 0; x < result.width(); ++x) {
                QPoint const from = QPoint(x, y) - shift;
                bool const inside = source.rect().contains(from);
                if (source.depth() >= 24) {
                    QRgb const pixel = result.pixel(x, y);
                    QRgb const wanted = inside ? source.pixel(from) : 0u;
                    // The RGB32 format reads back with full alpha.
                    QCOMPARE(pixel & 0xffffff, wanted & 0xffffff);
                } else {
                    int const wanted = inside ? source.pixelIndex(from) : 0;
                    QCOMPARE(result.pixelIndex(x, y), wanted);
                }
            }
        }
    }

    void alignedOfNothingIsNull()
    {
        RecordingSprite sprite;
        QVERIFY(sprite.aligned(QPoint(), QPoint(2, 2), QPoint(2, 2)).isNull());
        sprite.picture = indexedImage(QSize(2, 2), 1);
        QVERIFY(sprite.aligned(QPoint(), QPoint(0, 0), QPoint(0, 4)).isNull());
        QVERIFY(sprite.aligned(QPoint(), QPoint(-3, 1), QPoint(1, 1)).isNull());
        QVERIFY(!sprite.aligned(QPoint(), QPoint(0, 0), QPoint(1, 1)).isNull());
    }

    void spritesKeepTheListModelContract()
    {
        SpritesPointer file(new MemorySprites);
        MemorySprites &sprites = *file;
        QAbstractItemModelTester tester(&sprites,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester paletteTester(
            &sprites.paletteList, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy modified(&sprites, &OrganizableObject::modified);
        QSignalSpy changed(&sprites, &OrganizableObject::changed);

        QVERIFY(sprites.add(QStringLiteral("1, 0"), indexedImage(QSize(4, 4), 1), Share));
        QVERIFY(sprites.add(QStringLiteral("0, 1"), indexedImage(QSize(4, 4), 2), Share));
        QVERIFY(sprites.insert(0, QStringLiteral("2, 0"), QImage(), Share));
        QVERIFY(sprites.insert(1, QStringLiteral("0, 0"), indexedImage(QSize(2, 2), 3, 9), Share));
        QVERIFY(sprites.insert(99, QStringLiteral("1, 1"), indexedImage(QSize(4, 4), 1), Share));
        QCOMPARE(
            identifiers(sprites),
            QStringList({QStringLiteral("2, 0"), QStringLiteral("0, 0"), QStringLiteral("1, 0"),
                         QStringLiteral("0, 1"), QStringLiteral("1, 1")}));
        // One palette for the three sprites with the same colours, one for the other.
        QCOMPARE(sprites.paletteList.count(), 2u);
        QCOMPARE(sprites.count(), 5u);
        QVERIFY(!sprites.isEmpty());
        QVERIFY(sprites.isModified());
        QCOMPARE(changed.size(), 1);
        QVERIFY(modified.size() >= 5);

        // Identifiers are unique.
        QCOMPARE(sprites.add(QStringLiteral("0, 0"), QImage(), Share), nullptr);
        QCOMPARE(sprites.count(), 5u);
        QCOMPARE(sprites.find(0, QStringLiteral("1, 1")), 4);
        QCOMPARE(sprites.find(4, QStringLiteral("1, 1")), 4);
        QCOMPARE(sprites.find(0, QStringLiteral("7, 7")), -1);
        QCOMPARE(sprites.at(1)->index(), 1u);
        QCOMPARE(sprites.at(1)->parent(), &sprites);
        QCOMPARE(sprites.at(5), nullptr);
        QCOMPARE(sprites.at(1)->property(QStringLiteral("Identifier")),
                 QVariant(QStringLiteral("0, 0")));

        sprites.move(4, 0);
        sprites.move(1, 3);
        QCOMPARE(
            identifiers(sprites),
            QStringList({QStringLiteral("1, 1"), QStringLiteral("0, 0"), QStringLiteral("1, 0"),
                         QStringLiteral("2, 0"), QStringLiteral("0, 1")}));
        std::unique_ptr<QMimeData> drag(sprites.mimeData({sprites.index(2), sprites.index(4)}));
        sprites.dropMimeData(drag.get(), Qt::MoveAction, 0, 0, QModelIndex());
        QCOMPARE(
            identifiers(sprites),
            QStringList({QStringLiteral("1, 0"), QStringLiteral("0, 1"), QStringLiteral("1, 1"),
                         QStringLiteral("0, 0"), QStringLiteral("2, 0")}));
        QCOMPARE(sprites.changeDepth, 0);

        sprites.autoOrganize();
        QCOMPARE(
            identifiers(sprites),
            QStringList({QStringLiteral("0, 0"), QStringLiteral("0, 1"), QStringLiteral("1, 0"),
                         QStringLiteral("1, 1"), QStringLiteral("2, 0")}));

        sprites.setSelected(3);
        QCOMPARE(sprites.selected(), 3u);
        sprites.remove(0);
        sprites.remove(3);
        sprites.remove(9);
        QCOMPARE(
            identifiers(sprites),
            QStringList({QStringLiteral("0, 1"), QStringLiteral("1, 0"), QStringLiteral("1, 1")}));
        sprites.clear();
        QCOMPARE(sprites.count(), 0u);
        QVERIFY(sprites.isEmpty());
    }

    void palettesKeepTheListModelContract()
    {
        SpritesPointer file(new MemorySprites);
        KenroTest::MemoryPalettes &palettes = file->paletteList;
        QAbstractItemModelTester tester(&palettes,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        RGBA red[256] = {};
        RGBA blue[256] = {};
        red[1] = RGBA{255, 0, 0, 255};
        blue[1] = RGBA{0, 0, 255, 255};
        QCOMPARE(palettes.sprites(), file.get());

        Palette *first = palettes.add(red, 5u, NoShare);
        QVERIFY(first);
        QCOMPARE(palettes.add(red, 6u, Share), first);
        QCOMPARE(palettes.count(), 1u);
        Palette *second = palettes.add(red, 6u, NoShare);
        QVERIFY(second && second != first);
        QCOMPARE(palettes.add(blue, 6u, NoShare), nullptr); // the identifier is taken
        Palette *third = palettes.insert(0, blue, 2u, NoShare);
        QCOMPARE(identifiers(palettes),
                 QStringList({QStringLiteral("2"), QStringLiteral("5"), QStringLiteral("6")}));
        QCOMPARE(palettes.find(0, 6), 2);
        QCOMPARE(palettes.find(0, 7), -1);
        QCOMPARE(third->index(), 0u);
        QCOMPARE(third->parent(), &palettes);
        RGBA out[256];
        QVERIFY(third->colorTable(out));
        QCOMPARE(out[1], blue[1]);

        // Asked to share: the answer decides.
        bool answer = false;
        int questions = 0;
        file->askToShare = [&] {
            ++questions;
            return answer;
        };
        Palette *asked = palettes.add(blue, 8u, AskToShare);
        QVERIFY(asked && asked != third);
        answer = true;
        QCOMPARE(palettes.add(blue, 9u, AskToShare), third);
        QCOMPARE(questions, 2);

        palettes.autoOrganize();
        QCOMPARE(identifiers(palettes),
                 QStringList({QStringLiteral("2"), QStringLiteral("5"), QStringLiteral("6"),
                              QStringLiteral("8")}));

        // A sprite on a duplicate palette moves to the first of its kind.
        Sprite *sprite = file->add(QStringLiteral("0, 0"), QImage(), NoShare);
        sprite->setPalette(second);
        palettes.removeDuplicates();
        QCOMPARE(identifiers(palettes), QStringList({QStringLiteral("2"), QStringLiteral("5")}));
        QCOMPARE(sprite->palette(), first);
        palettes.clearUnused();
        QCOMPARE(identifiers(palettes), QStringList({QStringLiteral("5")}));
        palettes.remove(0);
        QCOMPARE(sprite->palette(), nullptr);
        QVERIFY(palettes.add(red, 1u, NoShare)->duplicate());
        QCOMPARE(palettes.count(), 2u);
        palettes.clear();
        QCOMPARE(palettes.count(), 0u);
    }

    void imagesAreSharedAsAsked()
    {
        SpritesPointer file(new MemorySprites);
        QImage const image = indexedImage(QSize(3, 3), 4);
        Sprite *a = file->add(QStringLiteral("0, 0"), image, NoShare);
        Sprite *b = file->add(QStringLiteral("0, 1"), image, NoShare);
        QVERIFY(!a->imageIsShared() && !b->imageIsShared());
        Sprite *c = file->add(QStringLiteral("0, 2"), image, Share);
        QVERIFY(a->imageIsShared() && c->imageIsShared());
        Sprite *copy = c->duplicate();
        QVERIFY(copy);
        QCOMPARE(copy->property(QStringLiteral("Identifier")), QVariant(QStringLiteral("0, 3")));
        QCOMPARE(copy->image(), image);
        QCOMPARE(copy->palette(), c->palette());
        int questions = 0;
        file->askToShare = [&] {
            ++questions;
            return false;
        };
        Sprite *d = file->add(QStringLiteral("0, 4"), indexedImage(QSize(5, 5), 4, 50), AskToShare);
        QCOMPARE(questions, 0); // nothing equal to share with
        QVERIFY(!d->imageIsShared());
        Sprite *e = file->add(QStringLiteral("0, 5"), image, AskToShare);
        QCOMPARE(questions, 2); // once for the image, once for its palette
        QVERIFY(!e->imageIsShared());
        QVERIFY(e->palette() != a->palette());
        ImageInfo const info = d->imageProperties();
        QCOMPARE(info.size(), QSize(5, 5));
        QCOMPARE(info.format, QImage::Format_Indexed8);
    }

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
        SpritesPointer file(new MemorySprites);
        Sprite *sprite = file->add(QStringLiteral("0, 0"), indexedImage(QSize(2, 2), 0), NoShare);
        QSignalSpy rows(file.get(), &QAbstractItemModel::dataChanged);
        // The same ramp shifted by 100: colour 1 of the new image is colour 101 of the old.
        sprite->setImage(indexedImage(QSize(2, 2), 1, 100), true, Sprite::PaletteMode(mode),
                         nullptr, NoShare);
        QCOMPARE(file->paletteList.count(), unsigned(palettes));
        RGBA colors[256];
        QVERIFY(sprite->palette()->colorTable(colors));
        QCOMPARE(int(colors[1].r), firstRed);
        QCOMPARE(sprite->image().pixelIndex(0, 0), pixel);
        QCOMPARE(rows.size(), 1);

        sprite->setImage(QImage(), false);
        QVERIFY(sprite->isEmpty());
        QCOMPARE(rows.size(), 1);
    }

    void cropKeepsTheAxisInPlace()
    {
        SpritesPointer file(new MemorySprites);
        QImage image = indexedImage(QSize(6, 5), 0);
        image.setPixel(2, 1, 9);
        image.setPixel(4, 3, 8);
        auto *sprite = static_cast<MemorySprite *>(file->add(QStringLiteral("0, 0"), image, Share));
        sprite->axis = QPoint(3, 4);
        QImage const before = sprite->aligned(sprite->axis, QPoint(6, 6), QPoint(6, 6));
        sprite->crop();
        QCOMPARE(sprite->image().size(), QSize(3, 3));
        QCOMPARE(sprite->axis, QPoint(1, 3));
        QCOMPARE(sprite->aligned(sprite->axis, QPoint(6, 6), QPoint(6, 6)), before);

        sprite->splitRGB();
        QCOMPARE(file->count(), 4u);
        QCOMPARE(file->at(1)->image().format(), QImage::Format_Grayscale8);
        QCOMPARE(file->at(1)->image().size(), QSize(3, 3));
    }
};

QTEST_GUILESS_MAIN(TestSprites)
#include "tst_sprites.moc"
