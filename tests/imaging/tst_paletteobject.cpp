#include <kenro/imaging/paletteobject.h>

#include <QSignalSpy>
#include <QTest>

#include <array>
#include <cstring>
#include <functional>

using namespace Kenro;

namespace {

using Palette = RGBA[256];
using Mask = std::array<bool, 256>;

// Every entry different: red counts up, green down, blue and alpha scrambled.
void fillDistinct(Palette &p)
{
    for (int i = 0; i < 256; ++i)
        p[i] = RGBA{uchar(i), uchar(255 - i), uchar(i * 7), uchar(i ^ 0x55)};
}

// A distinct palette and a copy of it as it was.
struct Distinct
{
    Distinct()
    {
        fillDistinct(p);
        std::memcpy(before, p, sizeof(p));
    }
    Palette p;
    Palette before;
};

Mask maskOf(std::initializer_list<int> entries)
{
    Mask mask{};
    for (int i : entries)
        mask[i] = true;
    return mask;
}

QByteArray bytes(RGBA const &c)
{
    return QByteArray::number(c.r) + ',' + QByteArray::number(c.g) + ',' + QByteArray::number(c.b) +
        ',' + QByteArray::number(c.a);
}

// The first entry where two palettes differ, or -1.
int firstDifference(Palette const &a, Palette const &b)
{
    for (int i = 0; i < 256; ++i) {
        if (a[i] != b[i])
            return i;
    }
    return -1;
}

} // namespace

Q_DECLARE_METATYPE(Kenro::RGBA)

#define COMPARE_RGBA(actual, expected) QCOMPARE(bytes(actual), bytes(expected))

class TestPaletteObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void valuesAreBytesRedFirst()
    {
        RGBA const c{0x11, 0x22, 0x33, 0x44};
        quint32 word;
        std::memcpy(&word, &c, 4);
        QCOMPARE(word, quint32(0x44332211)); // red in the lowest byte
        QCOMPARE(c.toQRgb(), QRgb(0x44112233));
        COMPARE_RGBA(RGBA::fromQRgb(0x44112233), c);
        RGB const rgb{1, 2, 3};
        QCOMPARE(reinterpret_cast<uchar const *>(&rgb)[2], uchar(3));
        QVERIFY(rgb == (RGB{1, 2, 3}));
        QVERIFY(rgb != (RGB{1, 2, 4}));
    }

    void readSideEmitsNothing()
    {
        Palette p;
        fillDistinct(p);
        Palette other{};
        PaletteObject object(&p);
        QSignalSpy changing(&object, &PaletteObject::changing);
        QSignalSpy changed(&object, &PaletteObject::changed);
        QCOMPARE(&object.palette()[0], &p[0]);
        COMPARE_RGBA(object.at(7), p[7]);
        COMPARE_RGBA(object[200], p[200]);
        QCOMPARE(object.colorAt(9), QColor(9, 246, 63, 9 ^ 0x55));
        Palette out{};
        object.toPalette(out);
        QCOMPARE(firstDifference(out, p), -1);
        object = &other;
        QCOMPARE(&object.palette()[0], &other[0]);
        COMPARE_RGBA(object.at(7), RGBA{});
        QCOMPARE(changing.count() + changed.count(), 0);
    }

    void indexFindsNearest_data()
    {
        QTest::addColumn<int>("first");
        QTest::addColumn<RGBA>("firstColor");
        QTest::addColumn<int>("second");
        QTest::addColumn<RGBA>("secondColor");
        QTest::addColumn<RGBA>("wanted");
        QTest::addColumn<int>("expected");
        RGBA const wanted{10, 10, 10, 128};
        QTest::newRow("exact twice: the first") << 3 << wanted << 9 << wanted << wanted << 3;
        QTest::newRow("nearer wins")
            << 3 << RGBA{13, 10, 10, 128} << 9 << RGBA{11, 10, 10, 0} << wanted << 9;
        QTest::newRow("tie: smaller alpha difference")
            << 3 << RGBA{12, 10, 10, 200} << 9 << RGBA{8, 10, 10, 130} << wanted << 9;
        QTest::newRow("tie: larger alpha difference stays")
            << 3 << RGBA{12, 10, 10, 130} << 9 << RGBA{8, 10, 10, 200} << wanted << 3;
        // A negative difference is below any positive one when it comes later...
        QTest::newRow("tie: negative later wins")
            << 3 << RGBA{12, 10, 10, 200} << 9 << RGBA{8, 10, 10, 100} << wanted << 9;
        // ...but stored as a byte it is large, so a later positive one wins over it.
        QTest::newRow("tie: negative stored as a large byte")
            << 3 << RGBA{12, 10, 10, 100} << 9 << RGBA{8, 10, 10, 250} << wanted << 9;
    }
    void indexFindsNearest()
    {
        QFETCH(int, first);
        QFETCH(RGBA, firstColor);
        QFETCH(int, second);
        QFETCH(RGBA, secondColor);
        QFETCH(RGBA, wanted);
        QFETCH(int, expected);
        Palette p;
        for (RGBA &c : p)
            c = RGBA{250, 250, 250, 128};
        p[first] = firstColor;
        p[second] = secondColor;
        QCOMPARE(int(PaletteObject(&p).index(wanted)), expected);
    }

    void indexTieWithNegativeAlphaTakesTheLast()
    {
        // All entries at one distance and all below the wanted alpha: each
        // negative difference is less than the stored byte, so the last wins.
        Palette p{};
        QCOMPARE(int(PaletteObject(&p).index(RGBA{255, 255, 255, 255})), 255);
        // With the wanted alpha met exactly, the first one stays.
        QCOMPARE(int(PaletteObject(&p).index(RGBA{255, 255, 255, 0})), 0);
    }

    // Every mutator brackets its work with changing() and changed(), once each,
    // and changing() comes while the palette is still untouched.
    void mutatorsSignalOnce_data()
    {
        QTest::addColumn<std::function<void(PaletteObject &)>>("operation");
        static RGBA source[256];
        for (int i = 0; i < 256; ++i)
            source[i] = RGBA{uchar(i), 1, 2, 3};
        auto row = [](char const *name, std::function<void(PaletteObject &)> f) {
            QTest::newRow(name) << f;
        };
        row("fromPalette", [](PaletteObject &o) { o.fromPalette(source); });
        row("setColor index", [](PaletteObject &o) { o.setColor(uchar(4), RGBA{1, 1, 1, 1}); });
        row("setColor mask", [](PaletteObject &o) { o.setColor(nullptr, RGBA{1, 1, 1, 1}); });
        row("gradient indices", [](PaletteObject &o) {
            o.gradient(0, RGBA{}, 255, RGBA{255, 0, 0, 255});
        });
        row("gradient mask", [](PaletteObject &o) {
            o.gradient(nullptr, RGBA{}, RGBA{9, 9, 9, 9});
        });
        row("clearDuplicated", [](PaletteObject &o) {
            o.setColor(uchar(9), o.at(3));
            o.clearDuplicated(RGB{1, 2, 3});
        });
        row("addColors", [](PaletteObject &o) { o.addColors(source); });
        row("applyEffect", [](PaletteObject &o) { o.applyEffect(Grey, nullptr); });
        row("switchColors", [](PaletteObject &o) { o.switchColors(nullptr, true); });
        row("sortByTones", [](PaletteObject &o) { o.sortByTones(); });
        row("addHueSaturation", [](PaletteObject &o) { o.addHueSaturation(nullptr, 30, 10); });
        row("addRGB", [](PaletteObject &o) { o.addRGB(nullptr, 5, -5, 5); });
    }
    void mutatorsSignalOnce()
    {
        QFETCH(std::function<void(PaletteObject &)>, operation);
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        PaletteObject object(&p);
        int changing = 0;
        int changed = 0;
        bool untouchedAtChanging = false;
        connect(&object, &PaletteObject::changing, this, [&] {
            if (changing == 0)
                untouchedAtChanging = firstDifference(p, before) == -1;
            ++changing;
            QCOMPARE(changed, changing - 1);
        });
        connect(&object, &PaletteObject::changed, this, [&] { ++changed; });
        operation(object);
        QVERIFY(untouchedAtChanging);
        QVERIFY(firstDifference(p, before) != -1);
        // clearDuplicated's row makes its duplicate with setColor first.
        int const calls = QByteArray(QTest::currentDataTag()) == "clearDuplicated" ? 2 : 1;
        QCOMPARE(changing, calls);
        QCOMPARE(changed, calls);
    }

    void emptyZeroesWithoutSignals()
    {
        Palette p;
        fillDistinct(p);
        PaletteObject object(&p);
        QSignalSpy changing(&object, &PaletteObject::changing);
        QSignalSpy changed(&object, &PaletteObject::changed);
        object.empty();
        Palette zero{};
        QCOMPARE(firstDifference(p, zero), -1);
        QCOMPARE(changing.count() + changed.count(), 0);
    }

    void nullSourcesChangeNothing()
    {
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        PaletteObject object(&p);
        object.fromPalette(nullptr);
        object.addColors(nullptr);
        QCOMPARE(firstDifference(p, before), -1);
    }

    void setColorWithMask()
    {
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        Mask const mask = maskOf({0, 17, 255});
        RGBA const c{1, 2, 3, 4};
        PaletteObject(&p).setColor(mask.data(), c);
        for (int i = 0; i < 256; ++i)
            COMPARE_RGBA(p[i], mask[i] ? c : before[i]);
    }

    void gradientOverAMask()
    {
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        Mask const mask = maskOf({4, 9, 200});
        RGBA const first{0, 10, 255, 0};
        RGBA const last{5, 0, 0, 255};
        PaletteObject object(&p);
        object.gradient(mask.data(), first, last);
        COMPARE_RGBA(p[4], first);
        // The midpoint by truncating signed division: 5/2, 10 - 10/2, 255 - 255/2, 255/2.
        COMPARE_RGBA(p[9], (RGBA{2, 5, 128, 127}));
        COMPARE_RGBA(p[200], last);
        for (int i = 0; i < 256; ++i) {
            if (!mask[i])
                COMPARE_RGBA(p[i], before[i]);
        }

        object.gradient(maskOf({77}).data(), first, last);
        COMPARE_RGBA(p[77], first); // a single entry gets first

        Palette copy;
        std::memcpy(copy, p, sizeof(p));
        object.gradient(Mask{}.data(), first, last); // nothing selected, nothing divided
        QCOMPARE(firstDifference(p, copy), -1);
    }

    void gradientOverAll()
    {
        Palette p;
        fillDistinct(p);
        PaletteObject(&p).gradient(nullptr, RGBA{0, 255, 0, 0}, RGBA{255, 0, 0, 255});
        for (int i = 0; i < 256; ++i)
            COMPARE_RGBA(p[i], (RGBA{uchar(i), uchar(255 - i), 0, uchar(i)}));
    }

    void gradientByIndices_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::newRow("10 to 20") << 10 << 20;
        QTest::newRow("0 to 255") << 0 << 255;
        QTest::newRow("one step") << 5 << 6;
        QTest::newRow("equal ends") << 20 << 20;
        QTest::newRow("reversed ends") << 20 << 10;
    }
    void gradientByIndices()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        RGBA const first{0, 200, 9, 255};
        RGBA const last{90, 20, 0, 0};
        PaletteObject(&p).gradient(uchar(from), first, uchar(to), last);
        int const steps = from < to ? to - from : 0;
        // The entries are counted from 0, whatever "from" says.
        for (int i = 0; i < 256; ++i) {
            if (i >= steps) {
                COMPARE_RGBA(p[i], before[i]);
                continue;
            }
            int const n = i == 0 ? steps : steps - 1;
            RGBA const expected{uchar(0 + i * 90 / n), uchar(200 - i * 180 / n),
                                uchar(9 - i * 9 / n), uchar(255 - i * 255 / n)};
            COMPARE_RGBA(p[i], expected);
        }
        if (steps > 1)
            COMPARE_RGBA(p[steps - 1], last);
        if (steps > 0)
            COMPARE_RGBA(p[0], first);
    }

    void clearDuplicatedReplacesTheEarlierCopy()
    {
        Palette p;
        for (int i = 0; i < 256; ++i)
            p[i] = RGBA{uchar(i), uchar(i), uchar(i), 200};
        p[5] = p[1];
        p[30] = p[0]; // a copy of entry 0 is never cleared
        p[40] = p[20];
        p[60] = p[20]; // three copies: each later one clears the one before
        p[50] = RGBA{1, 1, 1, 7}; // same colour as 1, other alpha: not a repeat
        PaletteObject(&p).clearDuplicated(RGB{9, 8, 7});
        RGBA const replaced{9, 8, 7, 255};
        COMPARE_RGBA(p[1], replaced);
        COMPARE_RGBA(p[5], (RGBA{1, 1, 1, 200}));
        COMPARE_RGBA(p[0], (RGBA{0, 0, 0, 200}));
        COMPARE_RGBA(p[30], (RGBA{0, 0, 0, 200}));
        COMPARE_RGBA(p[20], replaced);
        COMPARE_RGBA(p[40], replaced);
        COMPARE_RGBA(p[60], (RGBA{20, 20, 20, 200}));
        COMPARE_RGBA(p[50], (RGBA{1, 1, 1, 7}));
        COMPARE_RGBA(p[2], (RGBA{2, 2, 2, 200}));
    }

    void addColorsFillsFromTheTop()
    {
        Palette p;
        fillDistinct(p);
        Palette source;
        for (int i = 0; i < 256; ++i)
            source[i] = RGBA{uchar(i), 0, 0, 1}; // none present
        PaletteObject(&p).addColors(source);
        for (int i = 0; i < 256; ++i)
            COMPARE_RGBA(p[255 - i], source[i]);

        fillDistinct(p);
        Palette before;
        std::memcpy(before, p, sizeof(p));
        std::memcpy(source, p, sizeof(p)); // all present
        RGBA const x{1, 2, 3, 4};
        RGBA const y{5, 6, 7, 8};
        source[10] = x;
        source[11] = x; // found at its first store
        source[200] = y;
        // Looked up in the palette as it stands: x and y have taken the places
        // of entries 255 and 254 by now, so these two come back below them.
        PaletteObject(&p).addColors(source);
        COMPARE_RGBA(p[255], x);
        COMPARE_RGBA(p[254], y);
        COMPARE_RGBA(p[253], before[254]);
        COMPARE_RGBA(p[252], before[255]);
        for (int i = 0; i < 252; ++i)
            COMPARE_RGBA(p[i], before[i]);
    }

    void applyEffect_data()
    {
        QTest::addColumn<int>("effect");
        QTest::addColumn<RGBA>("dark");
        QTest::addColumn<RGBA>("light");
        // dark: (200, 100, 30), m = 110; light: (250, 250, 250), m = 250.
        QTest::newRow("0 none") << 0 << RGBA{200, 100, 30, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("1 red-blue") << 1 << RGBA{30, 100, 200, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("2 green-blue") << 2 << RGBA{200, 30, 100, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("3 red-green") << 3 << RGBA{100, 200, 30, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("4 blue-green") << 4 << RGBA{200, 30, 100, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("5 green-red") << 5 << RGBA{100, 200, 30, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("6 blue-red") << 6 << RGBA{30, 100, 200, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("7 lighten") << 7 << RGBA{232, 132, 62, 77} << RGBA{255, 255, 255, 3};
        QTest::newRow("8 darken") << 8 << RGBA{168, 68, 0, 77} << RGBA{218, 218, 218, 3};
        QTest::newRow("9 grey") << 9 << RGBA{110, 110, 110, 77} << RGBA{250, 250, 250, 3};
        QTest::newRow("10 warm") << 10 << RGBA{210, 55, 0, 77} << RGBA{255, 125, 0, 3};
        QTest::newRow("11 violet") << 11 << RGBA{87, 0, 115, 77} << RGBA{122, 0, 185, 3};
        QTest::newRow("12 contrast") << 12 << RGBA{160, 160, 160, 77} << RGBA{200, 200, 200, 3};
        QTest::newRow("13 strong lighten")
            << 13 << RGBA{255, 228, 158, 77} << RGBA{255, 255, 255, 3};
        QTest::newRow("14 strong darken") << 14 << RGBA{72, 0, 0, 77} << RGBA{122, 122, 122, 3};
        QTest::newRow("15 none") << 15 << RGBA{200, 100, 30, 77} << RGBA{250, 250, 250, 3};
    }
    void applyEffect()
    {
        QFETCH(int, effect);
        QFETCH(RGBA, dark);
        QFETCH(RGBA, light);
        Palette p;
        for (int i = 0; i < 256; ++i)
            p[i] = i % 2 ? RGBA{250, 250, 250, 3} : RGBA{200, 100, 30, 77};
        Mask const mask = maskOf({2, 3, 100, 101});
        PaletteObject(&p).applyEffect(RGBPaletteEffect(effect), mask.data());
        for (int i = 0; i < 256; ++i) {
            RGBA const original = i % 2 ? RGBA{250, 250, 250, 3} : RGBA{200, 100, 30, 77};
            COMPARE_RGBA(p[i], !mask[i] ? original : i % 2 ? light : dark);
        }
    }

    void switchColorsReversesAll()
    {
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        PaletteObject object(&p);
        object.switchColors(nullptr, false);
        for (int i = 0; i < 256; ++i)
            COMPARE_RGBA(p[i], before[255 - i]);

        std::memcpy(p, before, sizeof(p));
        object.switchColors(nullptr, true);
        for (int i = 1; i < 255; ++i)
            COMPARE_RGBA(p[i], before[255 - i]);
        // The ends exchange their colours but keep their alpha bytes.
        COMPARE_RGBA(p[0], (RGBA{before[255].r, before[255].g, before[255].b, before[0].a}));
        COMPARE_RGBA(p[255], (RGBA{before[0].r, before[0].g, before[0].b, before[255].a}));
    }

    void switchColorsWithMask_data()
    {
        QTest::addColumn<QList<int>>("entries");
        QTest::addColumn<bool>("keepAlphaEnds");
        QTest::addColumn<QList<int>>("expected"); // pairs exchanged
        QTest::newRow("0, 3, 7") << QList<int>{0, 3, 7} << false << QList<int>{0, 7};
        QTest::newRow("odd count")
            << QList<int>{3, 9, 11, 40, 255} << false << QList<int>{3, 255, 9, 40};
        QTest::newRow("only 5") << QList<int>{5} << false << QList<int>{};
        QTest::newRow("only 0") << QList<int>{0} << false << QList<int>{};
        QTest::newRow("only 255") << QList<int>{255} << false << QList<int>{};
        QTest::newRow("nothing, alpha ends") << QList<int>{} << true << QList<int>{};
        QTest::newRow("0 and 255, alpha ends") << QList<int>{0, 255} << true << QList<int>{0, 255};
    }
    void switchColorsWithMask()
    {
        QFETCH(QList<int>, entries);
        QFETCH(bool, keepAlphaEnds);
        QFETCH(QList<int>, expected);
        Palette p;
        fillDistinct(p);
        Palette want;
        std::memcpy(want, p, sizeof(p));
        for (int i = 0; i + 1 < expected.size(); i += 2)
            std::swap(want[expected[i]], want[expected[i + 1]]);
        if (keepAlphaEnds)
            std::swap(want[0].a, want[255].a);
        Mask mask{};
        for (int i : entries)
            mask[i] = true;
        PaletteObject(&p).switchColors(mask.data(), keepAlphaEnds);
        QCOMPARE(firstDifference(p, want), -1);
    }

    void sortByTonesChainsNeighbours()
    {
        Palette p;
        // A shuffled grey ramp behind a black seed comes out in order.
        p[0] = RGBA{0, 0, 0, 0};
        for (int i = 1; i < 256; ++i) {
            int const level = (i * 97) % 255 + 1; // 97 is coprime with 255
            p[i] = RGBA{uchar(level), uchar(level), uchar(level), uchar(255 - level)};
        }
        PaletteObject(&p).sortByTones();
        for (int i = 0; i < 256; ++i)
            COMPARE_RGBA(p[i], (RGBA{uchar(i), uchar(i), uchar(i), uchar(i ? 255 - i : 0)}));

        // The seed stays even when it is the odd one out; ties keep the first;
        // alpha plays no part.
        Palette q;
        for (int i = 0; i < 256; ++i)
            q[i] = RGBA{200, 200, 200, uchar(i)};
        q[0] = RGBA{100, 100, 100, 9};
        q[30] = RGBA{102, 100, 100, 0};
        q[20] = RGBA{98, 100, 100, 255};
        q[40] = RGBA{150, 100, 100, 0};
        PaletteObject(&q).sortByTones();
        COMPARE_RGBA(q[0], (RGBA{100, 100, 100, 9}));
        COMPARE_RGBA(q[1], (RGBA{98, 100, 100, 255}));
        COMPARE_RGBA(q[2], (RGBA{102, 100, 100, 0}));
        COMPARE_RGBA(q[3], (RGBA{150, 100, 100, 0}));
        // The grey rest is all at one distance, so it keeps its order: the
        // old entries 1 to 3 stay where the three exchanges put them.
        for (int i = 4; i < 256; ++i) {
            int const alpha = i == 20 ? 1 : i == 30 ? 2 : i == 40 ? 3 : i;
            COMPARE_RGBA(q[i], (RGBA{200, 200, 200, uchar(alpha)}));
        }
    }

    void addHueSaturation_data()
    {
        QTest::addColumn<RGBA>("color");
        QTest::addColumn<int>("hue");
        QTest::addColumn<int>("saturation");
        QTest::addColumn<RGBA>("expected");
        // Pure red has an 8-bit lightness of 127, half a step below the middle:
        // rebuilt from it, the other channels come back as 1.
        QTest::newRow("red to green") << RGBA{255, 0, 0, 100} << 120 << 0 << RGBA{1, 255, 1, 255};
        QTest::newRow("red to blue") << RGBA{255, 0, 0, 0} << 240 << 0 << RGBA{1, 1, 255, 255};
        QTest::newRow("hue clamped at 0") << RGBA{255, 0, 0, 5} << -30 << 0 << RGBA{255, 1, 1, 255};
        QTest::newRow("hue clamped at 359")
            << RGBA{0, 0, 255, 5} << 200 << 0 << RGBA{255, 1, 5, 255};
        QTest::newRow("no shift makes opaque")
            << RGBA{10, 20, 30, 0} << 0 << 0 << RGBA{10, 20, 30, 255};
        QTest::newRow("saturation clamped at 0")
            << RGBA{0, 0, 255, 9} << 0 << -300 << RGBA{128, 128, 128, 255};
        // An achromatic grey has hue -1: a shift of 1 gives hue 0, red, once saturated.
        QTest::newRow("grey saturated")
            << RGBA{128, 128, 128, 0} << 1 << 255 << RGBA{255, 1, 1, 255};
        QTest::newRow("grey stays grey")
            << RGBA{128, 128, 128, 0} << 50 << 0 << RGBA{128, 128, 128, 255};
    }
    void addHueSaturation()
    {
        QFETCH(RGBA, color);
        QFETCH(int, hue);
        QFETCH(int, saturation);
        QFETCH(RGBA, expected);
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        p[42] = color;
        Mask const mask = maskOf({42});
        PaletteObject(&p).addHueSaturation(mask.data(), short(hue), short(saturation));
        COMPARE_RGBA(p[42], expected);
        p[42] = before[42];
        QCOMPARE(firstDifference(p, before), -1);
    }

    void addRGBClampsAndKeepsAlpha()
    {
        Distinct d;
        Palette &p = d.p;
        Palette const &before = d.before;
        PaletteObject object(&p);
        object.addRGB(nullptr, 300, -20, 7);
        for (int i = 0; i < 256; ++i) {
            RGBA const &b = before[i];
            COMPARE_RGBA(
                p[i],
                (RGBA{255, uchar(std::max(b.g - 20, 0)), uchar(std::min(b.b + 7, 255)), b.a}));
        }
        std::memcpy(p, before, sizeof(p));
        object.addRGB(maskOf({1}).data(), -300, 0, 0);
        COMPARE_RGBA(p[1], (RGBA{0, before[1].g, before[1].b, before[1].a}));
        p[1] = before[1];
        QCOMPARE(firstDifference(p, before), -1);
    }
};

QTEST_GUILESS_MAIN(TestPaletteObject)
#include "tst_paletteobject.moc"
