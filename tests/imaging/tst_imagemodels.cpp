// Palettes as PaletteObject edits them, the user-ordered list models, and
// what every sprite does with its image.
#include <kenro/imaging/organizableobject.h>
#include <kenro/imaging/paletteobject.h>

#include "memorysprites.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

#include <array>
#include <cstring>
#include <functional>
#include <memory>

using namespace Kenro;

namespace {

struct Colors
{
    RGBA c[256];
};
using Operation = std::function<void(PaletteObject &)>;
using Mask = std::array<bool, 256>;
using Moves = QList<QPair<int, int>>;

// Every entry different: red counts up, green down, blue and alpha scrambled.
Colors distinct()
{
    Colors p;
    for (int i = 0; i < 256; ++i)
        p.c[i] = RGBA{uchar(i), uchar(255 - i), uchar(i * 7), uchar(i ^ 0x55)};
    return p;
}

Mask maskOf(QList<int> const &entries)
{
    Mask mask{};
    for (int i : entries)
        mask[i] = true;
    return mask;
}

// The first entry where two palettes differ, as text, or empty.
QByteArray difference(RGBA const *a, RGBA const *b)
{
    auto text = [](RGBA c) {
        return QString::asprintf("%d,%d,%d,%d", c.r, c.g, c.b, c.a).toLatin1();
    };
    for (int i = 0; i < 256; ++i) {
        if (a[i] != b[i])
            return "entry " + QByteArray::number(i) + ": " + text(a[i]) + " against " + text(b[i]);
    }
    return QByteArray();
}

// Runs \a operation on \a p, which must then hold \a want, between one (or
// \a signals) changing() before any change and as many changed().
void expectChange(Colors &p, Operation const &operation, Colors const &want, int signals = 1)
{
    Colors const before = p;
    PaletteObject object(&p.c);
    int changing = 0;
    int changed = 0;
    QObject::connect(&object, &PaletteObject::changing, [&] {
        QCOMPARE(difference(p.c, before.c), QByteArray());
        QCOMPARE(changed, changing++);
    });
    QObject::connect(&object, &PaletteObject::changed, [&] { ++changed; });
    operation(object);
    QCOMPARE(changing, signals);
    QCOMPARE(changed, signals);
    QCOMPARE(difference(p.c, want.c), QByteArray());
}

/// Words in a user-given order; compares by the first letter only.
class WordList : public OrganizableObject
{
public:
    explicit WordList(QStringList words) : words(std::move(words)) {}

    QStringList words;
    Moves moves;
    QList<bool> movesFromDrag;
    int changeDepth = 0;
    int changeSteps = 0;
    int compares = 0;

    int rowCount(QModelIndex const &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(words.size());
    }
    QVariant data(QModelIndex const &index, int role) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role != Qt::DisplayRole)
            return QVariant();
        return words.at(index.row());
    }
    void move(unsigned int from, unsigned int to) override
    {
        int const f = static_cast<int>(from);
        int const t = static_cast<int>(to);
        moves.append({f, t});
        movesFromDrag.append(isMoveFromDrag());
        QVERIFY(f != t && f < words.size() && t < words.size());
        QVERIFY(changeDepth > 0);
        beginMoveRows(QModelIndex(), f, f, QModelIndex(), t > f ? t + 1 : t);
        words.move(f, t);
        endMoveRows();
    }
    int compare(unsigned int a, unsigned int b) const override
    {
        ++const_cast<WordList *>(this)->compares;
        return words.at(int(a)).at(0).unicode() - words.at(int(b)).at(0).unicode();
    }
    void beginChange() override { ++changeDepth; }
    void endChange() override { changeSteps += --changeDepth == 0; }
    void remove(unsigned int) override {}

    /// Drops the drag data of \a rows, as a view makes it, before \a target.
    bool drop(QList<int> const &rows, int target, Qt::DropAction action = Qt::MoveAction)
    {
        QModelIndexList indexes;
        for (int row : rows)
            indexes << index(row);
        std::unique_ptr<QMimeData> const data(mimeData(indexes));
        return dropMimeData(data.get(), action, target, 0, QModelIndex());
    }
    /// Drops \a encoded as the list's own drag data before \a target; nothing is lost.
    void dropBytes(QByteArray const &encoded, int target)
    {
        QMimeData data;
        data.setData(mimeTypes().first(), encoded);
        QVERIFY(!dropMimeData(&data, Qt::MoveAction, target, 0, QModelIndex()));
        QStringList sorted = words;
        sorted.sort();
        QCOMPARE(sorted.join(QString()), QStringLiteral("abcde"));
    }
};

QStringList const five = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                          QStringLiteral("d"), QStringLiteral("e")};

struct Releaser
{
    void operator()(KenroTest::MemorySprites *sprites) const { sprites->release(); }
};

} // namespace

Q_DECLARE_METATYPE(Kenro::RGBA)

class TestImageModels : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void indexFindsNearest_data()
    {
        QTest::addColumn<RGBA>("third");
        QTest::addColumn<RGBA>("ninth");
        QTest::addColumn<RGBA>("wanted");
        QTest::addColumn<int>("expected");
        RGBA const wanted{10, 10, 10, 128};
        QTest::newRow("exact twice: the first") << wanted << wanted << wanted << 3;
        QTest::newRow("nearer wins") << RGBA{13, 10, 10, 128} << RGBA{11, 10, 10, 0} << wanted << 9;
        QTest::newRow("tie: smaller alpha difference")
            << RGBA{12, 10, 10, 200} << RGBA{8, 10, 10, 130} << wanted << 9;
        QTest::newRow("tie: larger alpha difference stays")
            << RGBA{12, 10, 10, 130} << RGBA{8, 10, 10, 200} << wanted << 3;
        // A negative difference is below any positive one when it comes later...
        QTest::newRow("tie: negative later wins")
            << RGBA{12, 10, 10, 200} << RGBA{8, 10, 10, 100} << wanted << 9;
        // ...but stored as a byte it is large, so a later positive one wins over it.
        QTest::newRow("tie: negative stored as a large byte")
            << RGBA{12, 10, 10, 100} << RGBA{8, 10, 10, 250} << wanted << 9;
        // All at one distance: below the wanted alpha the last wins, at it the first.
        QTest::newRow("all equal, alpha below") << RGBA{} << RGBA{} << RGBA{9, 9, 9, 255} << 255;
        QTest::newRow("all equal, alpha met") << RGBA{} << RGBA{} << RGBA{9, 9, 9, 0} << 0;
    }
    void indexFindsNearest()
    {
        QFETCH(RGBA, third);
        QFETCH(RGBA, ninth);
        QFETCH(RGBA, wanted);
        QFETCH(int, expected);
        Colors p;
        for (RGBA &c : p.c)
            c = third == RGBA{} && ninth == RGBA{} ? RGBA{} : RGBA{250, 250, 250, 128};
        p.c[3] = third;
        p.c[9] = ninth;
        QCOMPARE(int(PaletteObject(&p.c).index(wanted)), expected);
    }

    // Copies, colours, gradients (the steps divide by the count, by one less
    // after the first, truncating), repeats, added colours, tones, shifts.
    void edits()
    {
        Colors source;
        for (int i = 0; i < 256; ++i)
            source.c[i] = RGBA{uchar(i), 0, 0, 1}; // none of them in the palette
        Colors p = distinct();
        Colors want = source;
        expectChange(
            p, [&](PaletteObject &o) { o.fromPalette(source.c); }, want);
        expectChange(
            p, [](PaletteObject &o) { o.fromPalette(nullptr); }, want, 0);
        want = p = distinct();
        RGBA const c{1, 2, 3, 4};
        want.c[4] = c;
        expectChange(
            p, [&](PaletteObject &o) { o.setColor(uchar(4), c); }, want);
        want.c[0] = want.c[17] = want.c[255] = c;
        expectChange(
            p,
            [&](PaletteObject &o) {
                o.setColor(maskOf({0, 17, 255}).data(), c);
            },
            want);
        RGBA const first{0, 10, 255, 0};
        RGBA const last{5, 0, 0, 255};
        want.c[4] = first;
        want.c[9] = RGBA{2, 5, 128, 127}; // 5/2, 10 - 10/2, 255 - 255/2, 255/2
        want.c[200] = last;
        Mask const three = maskOf({4, 9, 200});
        expectChange(
            p, [&](PaletteObject &o) { o.gradient(three.data(), first, last); }, want);
        want.c[77] = first; // a single entry gets first
        Mask const one = maskOf({77});
        expectChange(
            p, [&](PaletteObject &o) { o.gradient(one.data(), first, last); }, want);
        expectChange(
            p, [&](PaletteObject &o) { o.gradient(Mask{}.data(), first, last); }, want);
        for (int i = 0; i < 256; ++i)
            want.c[i] = RGBA{uchar(i), uchar(255 - i), 0, uchar(i)};
        expectChange(
            p,
            [](PaletteObject &o) {
                o.gradient(nullptr, {0, 255, 0, 0}, {255, 0, 0, 255});
            },
            want);
        // A repeat clears the nearest earlier copy; entry 0 is never looked at.
        for (int i = 0; i < 256; ++i)
            p.c[i] = RGBA{uchar(i), uchar(i), uchar(i), 200};
        p.c[5] = p.c[1];
        p.c[30] = p.c[0];
        p.c[40] = p.c[60] = p.c[20];
        p.c[50] = RGBA{1, 1, 1, 7};
        want = p;
        want.c[1] = want.c[20] = want.c[40] = RGBA{9, 8, 7, 255};
        expectChange(
            p,
            [](PaletteObject &o) {
                o.clearDuplicated(RGB{9, 8, 7});
            },
            want);
        // Lacking colours go from entry 255 down, looked up in the palette as it
        // stands: entries 255 and 254, replaced, come back below them.
        std::reverse_copy(source.c, source.c + 256, want.c);
        expectChange(
            p, [&](PaletteObject &o) { o.addColors(source.c); }, want);
        source = p = want = distinct();
        RGBA const d{5, 6, 7, 8};
        source.c[10] = source.c[11] = c;
        source.c[200] = d;
        want.c[252] = p.c[255];
        want.c[253] = p.c[254];
        want.c[254] = d;
        want.c[255] = c;
        expectChange(
            p, [&](PaletteObject &o) { o.addColors(source.c); }, want);
        expectChange(
            p, [](PaletteObject &o) { o.addColors(nullptr); }, want, 0);
        // Each entry the nearest in colour to the one before, the first on a tie.
        for (int i = 1; i < 256; ++i) {
            int const level = (i * 97) % 255 + 1; // a shuffled ramp: 97 is coprime with 255
            p.c[i] = RGBA{uchar(level), uchar(level), uchar(level), uchar(255 - level)};
            want.c[i] = RGBA{uchar(i), uchar(i), uchar(i), uchar(255 - i)};
        }
        want.c[0] = p.c[0] = RGBA{0, 0, 0, 0};
        expectChange(
            p, [](PaletteObject &o) { o.sortByTones(); }, want);
        for (int i = 0; i < 256; ++i)
            p.c[i] = RGBA{200, 200, 200, uchar(i)};
        p.c[0] = RGBA{100, 100, 100, 9};
        p.c[20] = RGBA{98, 100, 100, 255};
        p.c[30] = RGBA{102, 100, 100, 0};
        p.c[40] = RGBA{150, 100, 100, 0};
        want = p;
        std::swap(want.c[1], want.c[20]);
        std::swap(want.c[2], want.c[30]);
        std::swap(want.c[3], want.c[40]);
        expectChange(
            p, [](PaletteObject &o) { o.sortByTones(); }, want);
        // Clamped to 0-255, alpha kept.
        for (int i = 0; i < 256; ++i)
            want.c[i] = RGBA{255, uchar(std::max(p.c[i].g - 20, 0)),
                             uchar(std::min(p.c[i].b + 7, 255)), p.c[i].a};
        expectChange(
            p, [](PaletteObject &o) { o.addRGB(nullptr, 300, -20, 7); }, want);
        want.c[1].r = 0;
        Mask const second = maskOf({1});
        expectChange(
            p, [&](PaletteObject &o) { o.addRGB(second.data(), -300, 0, 0); }, want);
        expectChange(
            p, [](PaletteObject &o) { o.empty(); }, Colors{}, 0); // no signal
    }

    // By indices, the steps are written from entry 0 whatever "from" says.
    void gradientByIndices_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        for (auto [from, to] : {std::pair{10, 20}, {0, 255}, {5, 6}, {20, 20}, {20, 10}})
            QTest::addRow("%d to %d", from, to) << from << to;
    }
    void gradientByIndices()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        Colors p = distinct();
        Colors want = p;
        int const steps = std::max(0, to - from);
        for (int i = 0; i < steps; ++i) {
            int const n = i == 0 ? steps : steps - 1;
            want.c[i] = RGBA{uchar(i * 90 / n), uchar(200 - i * 180 / n), uchar(9 - i * 9 / n),
                             uchar(255 - i * 255 / n)};
        }
        RGBA const first{0, 200, 9, 255};
        RGBA const last{90, 20, 0, 0};
        expectChange(
            p, [&](PaletteObject &o) { o.gradient(uchar(from), first, uchar(to), last); }, want);
    }

    // Entry 0 is only the lower end of an exchange; keepAlphaEnds swaps the end alphas.
    void switchColors_data()
    {
        QTest::addColumn<QList<int>>("entries"); // of the mask; -1 for none
        QTest::addColumn<bool>("keepAlphaEnds");
        QTest::addColumn<QList<int>>("exchanged"); // pairs
        QList<int> all;
        for (int i = 0; i < 128; ++i)
            all << i << 255 - i;
        QTest::newRow("all") << QList<int>{-1} << false << all;
        QTest::newRow("all, alpha ends") << QList<int>{-1} << true << all;
        QTest::newRow("0, 3, 7") << QList<int>{0, 3, 7} << false << QList<int>{0, 7};
        QTest::newRow("odd count")
            << QList<int>{3, 9, 11, 40, 255} << false << QList<int>{3, 255, 9, 40};
        QTest::newRow("only 5") << QList<int>{5} << false << QList<int>{};
        QTest::newRow("only 0") << QList<int>{0} << false << QList<int>{};
        QTest::newRow("only 255") << QList<int>{255} << false << QList<int>{};
        QTest::newRow("nothing, alpha ends") << QList<int>{} << true << QList<int>{};
        QTest::newRow("0 and 255, alpha ends") << QList<int>{0, 255} << true << QList<int>{0, 255};
    }
    void switchColors()
    {
        QFETCH(QList<int>, entries);
        QFETCH(bool, keepAlphaEnds);
        QFETCH(QList<int>, exchanged);
        Colors p = distinct();
        Colors want = p;
        for (int i = 0; i + 1 < exchanged.size(); i += 2)
            std::swap(want.c[exchanged[i]], want.c[exchanged[i + 1]]);
        if (keepAlphaEnds)
            std::swap(want.c[0].a, want.c[255].a);
        Mask const mask = maskOf(entries.value(0) < 0 ? QList<int>() : entries);
        bool const *selected = entries.value(0) < 0 ? nullptr : mask.data();
        expectChange(
            p, [&](PaletteObject &o) { o.switchColors(selected, keepAlphaEnds); }, want);
    }

    // Clamped HSL shifts, opaque; red's lightness of 127 rebuilds the others as 1;
    // a grey has hue -1.
    void addHueSaturation_data()
    {
        QTest::addColumn<RGBA>("color");
        QTest::addColumn<int>("hue");
        QTest::addColumn<int>("saturation");
        QTest::addColumn<RGBA>("expected");
        QTest::newRow("red to green") << RGBA{255, 0, 0, 100} << 120 << 0 << RGBA{1, 255, 1, 255};
        QTest::newRow("hue at 359") << RGBA{0, 0, 255, 5} << 200 << 0 << RGBA{255, 1, 5, 255};
        QTest::newRow("saturation at 0")
            << RGBA{0, 0, 255, 9} << 0 << -300 << RGBA{128, 128, 128, 255};
        QTest::newRow("grey saturated")
            << RGBA{128, 128, 128, 0} << 1 << 255 << RGBA{255, 1, 1, 255};
        QTest::newRow("grey stays")
            << RGBA{128, 128, 128, 0} << 50 << 0 << RGBA{128, 128, 128, 255};
    }
    void addHueSaturation()
    {
        QFETCH(RGBA, color);
        QFETCH(int, hue);
        QFETCH(int, saturation);
        QFETCH(RGBA, expected);
        Colors p = distinct();
        p.c[42] = color;
        Colors want = p;
        want.c[42] = expected;
        Mask const mask = maskOf({42});
        expectChange(
            p,
            [&](PaletteObject &o) {
                o.addHueSaturation(mask.data(), short(hue), short(saturation));
            },
            want);
    }

    // On the masked entries, alpha kept; dark has m = 110, light m = 250.
    void applyEffect_data()
    {
        QTest::addColumn<int>("effect");
        QTest::addColumn<RGBA>("dark");
        QTest::addColumn<RGBA>("light");
        int effect = 0;
        for (auto [dark, light] : {std::pair{RGBA{200, 100, 30}, RGBA{250, 250, 250}},
                                   {{30, 100, 200}, {250, 250, 250}},
                                   {{200, 30, 100}, {250, 250, 250}},
                                   {{100, 200, 30}, {250, 250, 250}},
                                   {{200, 30, 100}, {250, 250, 250}},
                                   {{100, 200, 30}, {250, 250, 250}},
                                   {{30, 100, 200}, {250, 250, 250}},
                                   {{232, 132, 62}, {255, 255, 255}},
                                   {{168, 68, 0}, {218, 218, 218}},
                                   {{110, 110, 110}, {250, 250, 250}},
                                   {{210, 55, 0}, {255, 125, 0}},
                                   {{87, 0, 115}, {122, 0, 185}},
                                   {{160, 160, 160}, {200, 200, 200}},
                                   {{255, 228, 158}, {255, 255, 255}},
                                   {{72, 0, 0}, {122, 122, 122}},
                                   {{200, 100, 30}, {250, 250, 250}}}) {
            QTest::addRow("%d", effect) << effect << dark << light;
            ++effect;
        }
    }
    void applyEffect()
    {
        QFETCH(int, effect);
        QFETCH(RGBA, dark);
        QFETCH(RGBA, light);
        Colors p;
        for (int i = 0; i < 256; ++i)
            p.c[i] = i % 2 ? RGBA{250, 250, 250, 3} : RGBA{200, 100, 30, 77};
        Colors want = p;
        for (int i : {2, 3, 100, 101})
            want.c[i] =
                i % 2 ? RGBA{light.r, light.g, light.b, 3} : RGBA{dark.r, dark.g, dark.b, 77};
        Mask const mask = maskOf({2, 3, 100, 101});
        expectChange(
            p, [&](PaletteObject &o) { o.applyEffect(RGBPaletteEffect(effect), mask.data()); },
            want);
    }

    void dropsMoveRowsInTheirOrder_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<int>("target");
        QTest::addColumn<QString>("order");
        QTest::addColumn<Moves>("moves");
        QTest::newRow("two rows to the top")
            << QList<int>{3, 1} << 0 << "bdace" << Moves{{3, 0}, {2, 0}};
        QTest::newRow("two rows down") << QList<int>{0, 1} << 4 << "cdabe" << Moves{{1, 3}, {0, 2}};
        QTest::newRow("from both sides")
            << QList<int>{0, 4} << 2 << "baecd" << Moves{{4, 2}, {0, 1}};
        QTest::newRow("to the end") << QList<int>{0} << 5 << "bcdea" << Moves{{0, 4}};
        QTest::newRow("onto its own place") << QList<int>{1, 2} << 2 << "abcde" << Moves{};
        QTest::newRow("just below itself") << QList<int>{2} << 3 << "abcde" << Moves{};
        QTest::newRow("no row: the top") << QList<int>{2} << -1 << "cabde" << Moves{{2, 0}};
        QTest::newRow("past the end: the last place")
            << QList<int>{0} << 9 << "bcdae" << Moves{{0, 3}};
    }
    void dropsMoveRowsInTheirOrder()
    {
        QFETCH(QList<int>, rows);
        QFETCH(int, target);
        QFETCH(QString, order);
        QFETCH(Moves, moves);
        WordList list(five);
        QAbstractItemModelTester tester(&list,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(!list.drop(rows, target)); // the view removes nothing itself
        QCOMPARE(list.words.join(QString()), order);
        QCOMPARE(list.moves, moves);
        QVERIFY(!list.movesFromDrag.contains(false));
        QVERIFY(!list.isMoveFromDrag());
        QCOMPARE(list.changeDepth, 0);
        QCOMPARE(list.changeSteps, 1);
    }

    // Foreign, cut, out-of-range and noisy drag data moves what it names, or nothing.
    void badDropsFailCleanly()
    {
        WordList list(five);
        QVERIFY(!list.drop({1, 3}, 0, Qt::CopyAction));
        QVERIFY(!list.dropMimeData(nullptr, Qt::MoveAction, 0, 0, QModelIndex()));
        QMimeData text;
        text.setText(QStringLiteral("1, 3"));
        QVERIFY(!list.dropMimeData(&text, Qt::MoveAction, 0, 0, QModelIndex()));
        QCOMPARE(list.changeSteps, 0);
        QCOMPARE(list.words, five);

        std::unique_ptr<QMimeData> const whole(list.mimeData({list.index(1), list.index(3)}));
        QByteArray const encoded = whole->data(list.mimeTypes().first());
        for (int size = 0; size < encoded.size(); ++size) {
            WordList cut(five);
            cut.dropBytes(encoded.left(size), 0); // only whole records count
            QVERIFY(cut.moves.size() <= 1);
        }

        QByteArray foreign; // rows that the list does not have, and row 4
        QDataStream stream(&foreign, QIODevice::WriteOnly);
        for (int row : {7, -2, 4})
            stream << row << 0 << QMap<int, QVariant>();
        list.dropBytes(foreign, 0);
        QCOMPARE(list.words.join(QString()), QStringLiteral("eabcd"));

        QRandomGenerator random(3);
        for (int round = 0; round < 200; ++round) {
            WordList noisy(five);
            QByteArray bytes(random.bounded(64), Qt::Uninitialized);
            for (char &byte : bytes)
                byte = char(random.bounded(256));
            noisy.dropBytes(bytes, 2);
        }
    }

    void autoOrganizeSortsStablyThroughMove()
    {
        WordList list({QStringLiteral("d1"), QStringLiteral("b1"), QStringLiteral("d2"),
                       QStringLiteral("a1"), QStringLiteral("b2"), QStringLiteral("c1")});
        QAbstractItemModelTester tester(&list,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.autoOrganize();
        QCOMPARE(list.words.join(QLatin1Char(' ')), QStringLiteral("a1 b1 b2 c1 d1 d2"));
        QCOMPARE(list.changeSteps, 1);
        QVERIFY(!list.movesFromDrag.contains(true));
        int const moves = list.moves.size();
        list.autoOrganize(); // sorted already
        QCOMPARE(list.moves.size(), moves);

        WordList single({QStringLiteral("x")});
        single.autoOrganize();
        QCOMPARE(single.compares, 0);
        QCOMPARE(single.changeSteps, 0);

        QStringList words;
        QRandomGenerator random(11);
        for (int i = 0; i < 500; ++i)
            words << QString(QChar(u'a' + random.bounded(26))) + QString::number(i);
        WordList many(words);
        many.autoOrganize();
        for (int i = 1; i < many.words.size(); ++i) {
            QString const &before = many.words.at(i - 1);
            QString const &after = many.words.at(i);
            QVERIFY(before.at(0) <= after.at(0));
            if (before.at(0) == after.at(0)) // equal ones in their old order
                QVERIFY(before.mid(1).toInt() < after.mid(1).toInt());
        }
        // Halving keeps the compares near n log n.
        QVERIFY2(many.compares < 500 * 10, qPrintable(QString::number(many.compares)));
        QVERIFY(many.moves.size() < 500);
    }

    // The image on a canvas, its axis moved to the new place, the rest zero.
    void aligned_data()
    {
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QPoint>("oldAxis");
        QTest::addColumn<QPoint>("newAxis");
        QTest::addColumn<QPoint>("extent");
        QImage indexed(3, 2, QImage::Format_Indexed8);
        indexed.setColorTable({qRgb(1, 2, 3), qRgb(4, 5, 6)});
        indexed.fill(1);
        indexed.setPixel(0, 1, 0);
        QImage argb(3, 2, QImage::Format_ARGB32);
        argb.fill(qRgba(10, 20, 30, 200));
        argb.setPixel(2, 0, qRgba(1, 2, 3, 4));
        QImage rgb(3, 2, QImage::Format_RGB32);
        rgb.fill(qRgb(1, 2, 3));
        QImage mono(9, 2, QImage::Format_Mono);
        mono.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
        mono.fill(1);
        mono.setPixel(8, 1, 0);
        QTest::newRow("indexed") << indexed << QPoint(1, 1) << QPoint(4, 5) << QPoint(6, 2);
        QTest::newRow("argb") << argb << QPoint(0, 0) << QPoint(2, 1) << QPoint(3, 3);
        QTest::newRow("rgb") << rgb << QPoint(2, 1) << QPoint(2, 1) << QPoint(1, 1);
        QTest::newRow("mono") << mono << QPoint(0, 0) << QPoint(3, 0) << QPoint(9, 2);
        // A canvas too small for the image keeps what fits.
        QTest::newRow("cut at the right") << argb << QPoint(0, 0) << QPoint(1, 0) << QPoint(1, 2);
        QTest::newRow("cut at the left") << argb << QPoint(2, 1) << QPoint(0, 0) << QPoint(2, 2);
        QTest::newRow("cut at the top") << indexed << QPoint(0, 1) << QPoint(0, 0) << QPoint(3, 1);
        // Nothing to show, or no canvas: a null image.
        QTest::newRow("no image") << QImage() << QPoint() << QPoint(2, 2) << QPoint(2, 2);
        QTest::newRow("no width") << indexed << QPoint() << QPoint(0, 0) << QPoint(0, 4);
        QTest::newRow("negative") << indexed << QPoint() << QPoint(-3, 1) << QPoint(1, 1);
    }
    void aligned()
    {
        QFETCH(QImage, source);
        QFETCH(QPoint, oldAxis);
        QFETCH(QPoint, newAxis);
        QFETCH(QPoint, extent);
        std::unique_ptr<KenroTest::MemorySprites, Releaser> sprites(new KenroTest::MemorySprites);
        QImage const result = sprites->add(QStringLiteral("0, 0"), source, NoShare)
                                  ->aligned(oldAxis, newAxis, extent);
        // What a copy of the image gives, with zeros where it has no pixels.
        QSize const size(newAxis.x() + extent.x(), newAxis.y() + extent.y());
        QCOMPARE(result,
                 source.isNull() || size.isEmpty() ? QImage()
                                                   : source.copy(QRect(oldAxis - newAxis, size)));
    }
};

QTEST_GUILESS_MAIN(TestImageModels)
#include "tst_imagemodels.moc"
