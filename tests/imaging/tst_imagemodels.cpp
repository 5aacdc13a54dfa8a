// Palettes as PaletteObject edits them, the user-ordered list models, and
// what every sprite does with its image.
#include <kenro/imaging/organizableobject.h>
#include <kenro/imaging/paletteobject.h>

#include "memorysprites.h"
#include "testdata.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QRandomGenerator>
#include <QTest>

#include <algorithm>
#include <array>
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
Colors with(Colors p, std::initializer_list<std::pair<int, RGBA>> entries)
{
    for (auto [i, color] : entries)
        p.c[i] = color;
    return p;
}
Mask maskOf(QList<int> const &entries)
{
    Mask mask{};
    for (int i : entries)
        mask[i] = true;
    return mask;
}
QStringList entries(RGBA const *p)
{
    QStringList list;
    for (int i = 0; i < 256; ++i)
        list << QString::asprintf("%d: %d,%d,%d,%d", i, p[i].r, p[i].g, p[i].b, p[i].a);
    return list;
}
/// Words in a user-given order; compares by the first letter only.
class WordList : public OrganizableObject
{
public:
    explicit WordList(QStringList words) : words(std::move(words)) {}
    QStringList words;
    Moves moves;
    QList<bool> movesFromDrag;
    int changeDepth = 0, changeSteps = 0, compares = 0;
    int rowCount(QModelIndex const &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(words.size());
    }
    QVariant data(QModelIndex const &index, int role) const override
    {
        return checkIndex(index, CheckIndexOption::IndexIsValid) && role == Qt::DisplayRole
            ? words.at(index.row())
            : QVariant();
    }
    void move(unsigned int from, unsigned int to) override
    {
        int const f = int(from);
        int const t = int(to);
        moves.append({f, t});
        movesFromDrag.append(isMoveFromDrag());
        QVERIFY(f != t && f < words.size() && t < words.size() && changeDepth > 0);
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
QStringList const five = QStringLiteral("a b c d e").split(u' ');

} // namespace

Q_DECLARE_METATYPE(Kenro::RGBA)
Q_DECLARE_METATYPE(Colors)
Q_DECLARE_METATYPE(Operation)

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
        RGBA const w{10, 10, 10, 128};
        auto row = [](char const *name, RGBA third, RGBA ninth, RGBA wanted, int expected) {
            QTest::newRow(name) << third << ninth << wanted << expected;
        };
        row("exact twice: the first", w, w, w, 3);
        row("nearer wins", {13, 10, 10, 128}, {11, 10, 10, 0}, w, 9);
        row("tie: smaller alpha difference", {12, 10, 10, 200}, {8, 10, 10, 130}, w, 9);
        row("tie: larger alpha difference stays", {12, 10, 10, 130}, {8, 10, 10, 200}, w, 3);
        // A negative alpha difference is below a positive one, but as a byte it is above.
        row("tie: negative later wins", {12, 10, 10, 200}, {8, 10, 10, 100}, w, 9);
        row("tie: negative stored as a large byte", {12, 10, 10, 100}, {8, 10, 10, 250}, w, 9);
        // All at one distance: below the wanted alpha the last wins, at it the first.
        row("all equal, alpha below", {}, {}, {9, 9, 9, 255}, 255);
        row("all equal, alpha met", {}, {}, {9, 9, 9, 0}, 0);
    }
    void indexFindsNearest()
    {
        QFETCH(RGBA, third);
        QFETCH(RGBA, ninth);
        QFETCH(RGBA, wanted);
        QFETCH(int, expected);
        Colors p;
        std::fill_n(p.c, 256,
                    third == RGBA{} && ninth == RGBA{} ? RGBA{} : RGBA{250, 250, 250, 128});
        p = with(p, {{3, third}, {9, ninth}});
        QCOMPARE(int(PaletteObject(&p.c).index(wanted)), expected);
    }
    void edits_data()
    {
        QTest::addColumn<Colors>("before");
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<Colors>("after");
        QTest::addColumn<int>("brackets"); // changing() and changed() pairs
        auto row = [](char const *name, Colors const &before, Colors const &after, Operation op) {
            QTest::newRow(name) << before << op << after << 1;
        };
        auto silent = [](char const *name, Colors const &before, Colors const &after,
                         Operation op) { QTest::newRow(name) << before << op << after << 0; };
        Colors const d = distinct();
        Colors source; // no colour of it in d
        for (int i = 0; i < 256; ++i)
            source.c[i] = RGBA{uchar(i), 0, 0, 1};
        RGBA const c{1, 2, 3, 4};
        RGBA const first{0, 10, 255, 0};
        RGBA const last{5, 0, 0, 255};
        row("copy", d, source, [=](auto &o) { o.fromPalette(source.c); });
        silent("copy of nothing", d, d, [](auto &o) { o.fromPalette(nullptr); });
        row("a colour", d, with(d, {{4, c}}), [=](auto &o) { o.setColor(uchar(4), c); });
        row("masked colours", d, with(d, {{0, c}, {17, c}, {255, c}}), [=](auto &o) {
            o.setColor(maskOf({0, 17, 255}).data(), c);
        });
        // Steps divide by the count, by one less after the first, truncating:
        // 5/2, 10 - 10/2, 255 - 255/2, 255/2.
        row("gradient", d, with(d, {{4, first}, {9, RGBA{2, 5, 128, 127}}, {200, last}}),
            [=](auto &o) {
                o.gradient(maskOf({4, 9, 200}).data(), first, last);
            });
        row("gradient of one", d, with(d, {{77, first}}),
            [=](auto &o) { o.gradient(maskOf({77}).data(), first, last); });
        row("gradient of none", d, d, [=](auto &o) { o.gradient(Mask{}.data(), first, last); });
        Colors ramp;
        for (int i = 0; i < 256; ++i)
            ramp.c[i] = RGBA{uchar(i), uchar(255 - i), 0, uchar(i)};
        row("gradient of all", d, ramp, [](auto &o) {
            o.gradient(nullptr, {0, 255, 0, 0}, {255, 0, 0, 255});
        });
        // By indices the steps are written from entry 0, whatever "from" says.
        for (std::pair<int, int> range :
             {std::pair{10, 20}, {0, 255}, {5, 6}, {20, 20}, {20, 10}}) {
            Colors want = d;
            int const steps = std::max(0, range.second - range.first);
            for (int i = 0, n = steps; i < steps; ++i, n = steps - 1)
                want.c[i] = RGBA{uchar(i * 90 / n), uchar(200 - i * 180 / n), uchar(9 - i * 9 / n),
                                 uchar(255 - i * 255 / n)};
            auto const [from, to] = std::pair{uchar(range.first), uchar(range.second)};
            row(qPrintable(QStringLiteral("gradient %1 to %2").arg(from).arg(to)), d, want,
                [=](auto &o) {
                    o.gradient(from, {0, 200, 9, 255}, to, {90, 20, 0, 0});
                });
        }
        // A repeat clears the nearest earlier copy; entry 0 is never looked at.
        Colors grey;
        for (int i = 0; i < 256; ++i)
            grey.c[i] = RGBA{uchar(i), uchar(i), uchar(i), 200};
        grey = with(grey, {{5, grey.c[1]}, {30, grey.c[0]}, {40, grey.c[20]}, {60, grey.c[20]}});
        grey.c[50] = RGBA{1, 1, 1, 7};
        RGBA const r{9, 8, 7, 255};
        Colors const cleared = with(grey, {{1, r}, {20, r}, {40, r}});
        row("repeats", grey, cleared, [](auto &o) { o.clearDuplicated(RGB{9, 8, 7}); });
        // Lacking colours go from entry 255 down, looked up in the palette as it
        // stands: entries 255 and 254, replaced, come back below them.
        Colors reversed;
        std::reverse_copy(source.c, source.c + 256, reversed.c);
        row("added colours", cleared, reversed, [=](auto &o) { o.addColors(source.c); });
        RGBA const e{5, 6, 7, 8};
        Colors const extra = with(d, {{10, c}, {11, c}, {200, e}});
        row("added over their own", d,
            with(d, {{252, d.c[255]}, {253, d.c[254]}, {254, e}, {255, c}}),
            [=](auto &o) { o.addColors(extra.c); });
        silent("added nothing", d, d, [](auto &o) { o.addColors(nullptr); });
        // Each entry the nearest in colour to the one before, the first on a tie.
        Colors shuffled;
        Colors sorted;
        shuffled.c[0] = sorted.c[0] = RGBA{0, 0, 0, 0};
        for (int i = 1; i < 256; ++i) {
            int const level = (i * 97) % 255 + 1; // 97 is coprime with 255
            shuffled.c[i] = RGBA{uchar(level), uchar(level), uchar(level), uchar(255 - level)};
            sorted.c[i] = RGBA{uchar(i), uchar(i), uchar(i), uchar(255 - i)};
        }
        row("tones", shuffled, sorted, [](auto &o) { o.sortByTones(); });
        Colors tones;
        for (int i = 0; i < 256; ++i)
            tones.c[i] = RGBA{200, 200, 200, uchar(i)};
        tones = with(tones, {{0, {100, 100, 100, 9}}, {20, {98, 100, 100, 255}}});
        tones = with(tones, {{30, {102, 100, 100, 0}}, {40, {150, 100, 100, 0}}});
        Colors toned = tones;
        for (auto [a, b] : {std::pair{1, 20}, {2, 30}, {3, 40}})
            std::swap(toned.c[a], toned.c[b]);
        row("tones, ties", tones, toned, [](auto &o) { o.sortByTones(); });
        Colors shifted = d; // clamped, alpha kept
        for (RGBA &x : shifted.c)
            x = RGBA{255, uchar(std::max(x.g - 20, 0)), uchar(std::min(x.b + 7, 255)), x.a};
        row("RGB", d, shifted, [](auto &o) { o.addRGB(nullptr, 300, -20, 7); });
        row("RGB masked", d, with(d, {{1, {0, d.c[1].g, d.c[1].b, d.c[1].a}}}),
            [=](auto &o) { o.addRGB(maskOf({1}).data(), -300, 0, 0); });
        silent("empty", d, Colors{}, [](auto &o) { o.empty(); });
        // Entry 0 is only the lower end of an exchange; keepAlphaEnds swaps the end alphas.
        auto switched = [&](char const *name, QList<int> entries, bool ends, QList<int> pairs) {
            Colors want = d;
            for (int i = 0; i + 1 < pairs.size(); i += 2)
                std::swap(want.c[pairs[i]], want.c[pairs[i + 1]]);
            if (ends)
                std::swap(want.c[0].a, want.c[255].a);
            bool const all = entries.value(0) < 0;
            row(name, d, want,
                [=](auto &o) { o.switchColors(all ? nullptr : maskOf(entries).data(), ends); });
        };
        QList<int> all;
        for (int i = 0; i < 128; ++i)
            all << i << 255 - i;
        switched("switch all", {-1}, false, all);
        switched("switch all, alpha ends", {-1}, true, all);
        switched("switch 0, 3, 7", {0, 3, 7}, false, {0, 7});
        switched("switch an odd count", {3, 9, 11, 40, 255}, false, {3, 255, 9, 40});
        switched("switch 5", {5}, false, {});
        switched("switch 0", {0}, false, {});
        switched("switch 255", {255}, false, {});
        switched("switch nothing, alpha ends", {}, true, {});
        switched("switch 0 and 255, alpha ends", {0, 255}, true, {0, 255});
        // Clamped HSL shifts, opaque; red's lightness 127 rebuilds the others as 1; grey has hue -1.
        auto hue = [&](char const *name, RGBA color, short h, short s, RGBA expected) {
            row(name, with(d, {{42, color}}), with(d, {{42, expected}}),
                [=](auto &o) { o.addHueSaturation(maskOf({42}).data(), h, s); });
        };
        hue("red to green", {255, 0, 0, 100}, 120, 0, {1, 255, 1, 255});
        hue("hue at 359", {0, 0, 255, 5}, 200, 0, {255, 1, 5, 255});
        hue("saturation at 0", {0, 0, 255, 9}, 0, -300, {128, 128, 128, 255});
        hue("grey saturated", {128, 128, 128, 0}, 1, 255, {255, 1, 1, 255});
        hue("grey stays", {128, 128, 128, 0}, 50, 0, {128, 128, 128, 255});
        // On the masked entries, alpha kept; dark has m = 110, light m = 250.
        Colors stripes;
        for (int i = 0; i < 256; ++i)
            stripes.c[i] = i % 2 ? RGBA{250, 250, 250, 3} : RGBA{200, 100, 30, 77};
        // Each effect's dark, then light, red, green and blue.
        uchar const effects[] = {
            200, 100, 30,  250, 250, 250, 30,  100, 200, 250, 250, 250, 200, 30,  100, 250,
            250, 250, 100, 200, 30,  250, 250, 250, 200, 30,  100, 250, 250, 250, 100, 200,
            30,  250, 250, 250, 30,  100, 200, 250, 250, 250, 232, 132, 62,  255, 255, 255,
            168, 68,  0,   218, 218, 218, 110, 110, 110, 250, 250, 250, 210, 55,  0,   255,
            125, 0,   87,  0,   115, 122, 0,   185, 160, 160, 160, 200, 200, 200, 255, 228,
            158, 255, 255, 255, 72,  0,   0,   122, 122, 122, 200, 100, 30,  250, 250, 250};
        for (int effect = 0; effect < 16; ++effect) {
            Colors want = stripes;
            for (int i : {2, 3, 100, 101}) {
                uchar const *rgb = effects + effect * 6 + i % 2 * 3;
                want.c[i] = RGBA{rgb[0], rgb[1], rgb[2], stripes.c[i].a};
            }
            auto const kind = RGBPaletteEffect(effect);
            row(qPrintable(QStringLiteral("effect %1").arg(effect)), stripes, want, [=](auto &o) {
                o.applyEffect(kind, maskOf({2, 3, 100, 101}).data());
            });
        }
    }
    // The palette as wanted, between as many changing(), each seen before any
    // change, as changed().
    void edits()
    {
        QFETCH(Colors, before);
        QFETCH(Operation, operation);
        QFETCH(Colors, after);
        QFETCH(int, brackets);
        Colors p = before;
        PaletteObject object(&p.c);
        int changing = 0;
        int changed = 0;
        QObject::connect(&object, &PaletteObject::changing, [&] {
            QCOMPARE(entries(p.c), entries(before.c));
            QCOMPARE(changed, changing++);
        });
        QObject::connect(&object, &PaletteObject::changed, [&] { ++changed; });
        operation(object);
        QCOMPARE(QPair(changing, changed), QPair(brackets, brackets));
        QCOMPARE(entries(p.c), entries(after.c));
    }
    void dropsMoveRowsInTheirOrder_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<int>("target");
        QTest::addColumn<QString>("order");
        QTest::addColumn<Moves>("moves");
        auto row = [](char const *name, QList<int> rows, int target, char const *order,
                      Moves moves) {
            QTest::newRow(name) << rows << target << QString::fromLatin1(order) << moves;
        };
        row("two rows to the top", {3, 1}, 0, "bdace", {{3, 0}, {2, 0}});
        row("two rows down", {0, 1}, 4, "cdabe", {{1, 3}, {0, 2}});
        row("from both sides", {0, 4}, 2, "baecd", {{4, 2}, {0, 1}});
        row("to the end", {0}, 5, "bcdea", {{0, 4}});
        row("onto its own place", {1, 2}, 2, "abcde", {});
        row("just below itself", {2}, 3, "abcde", {});
        row("no row: the top", {2}, -1, "cabde", {{2, 0}});
        row("past the end: the last place", {0}, 9, "bcdae", {{0, 3}});
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
        QVERIFY(!list.movesFromDrag.contains(false) && !list.isMoveFromDrag());
        QCOMPARE(QPair(list.changeDepth, list.changeSteps), QPair(0, 1));
    }
    // Foreign, cut, out-of-range and noisy drag data moves what it names, or nothing.
    void badDropsFailCleanly()
    {
        WordList list(five);
        QVERIFY(!list.drop({1, 3}, 0, Qt::CopyAction) &&
                !list.dropMimeData(nullptr, Qt::MoveAction, 0, 0, QModelIndex()));
        QMimeData text;
        text.setText(QStringLiteral("1, 3"));
        QVERIFY(!list.dropMimeData(&text, Qt::MoveAction, 0, 0, QModelIndex()));
        QVERIFY(list.changeSteps == 0 && list.words == five);
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
            noisy.dropBytes(KenroTest::noise(random.bounded(64), random.generate()), 2);
        }
    }
    void autoOrganizeSortsStablyThroughMove()
    {
        QStringList words;
        QRandomGenerator random(11);
        for (int i = 0; i < 500; ++i)
            words << QString(QChar(u'a' + random.bounded(26))) + QString::number(i);
        WordList list(words);
        QAbstractItemModelTester tester(&list,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.autoOrganize();
        std::stable_sort(words.begin(), words.end(),
                         [](QString const &a, QString const &b) { return a.at(0) < b.at(0); });
        QCOMPARE(list.words, words);
        QVERIFY(list.changeSteps == 1 && !list.movesFromDrag.contains(true));
        QVERIFY2(list.compares < 500 * 10, qPrintable(QString::number(list.compares)));
        qsizetype const moves = list.moves.size();
        QVERIFY(moves < 500);
        list.autoOrganize(); // sorted already
        QCOMPARE(list.moves.size(), moves);
    }
    void aligned_data()
    {
        QTest::addColumn<QImage>("source");
        QTest::addColumn<QPoint>("oldAxis");
        QTest::addColumn<QPoint>("newAxis");
        QTest::addColumn<QPoint>("extent");
        // Pixels of every byte value; colour tables for all of them.
        auto image = [](int width, QImage::Format format) {
            QImage image(width, 2, format);
            for (int i = 0; i < image.sizeInBytes(); ++i)
                image.bits()[i] = uchar(i * 37 + 11);
            for (int i = 0; i < (image.depth() == 8 ? 256 : image.depth() == 1 ? 2 : 0); ++i)
                image.setColor(i, qRgb(i, 255 - i, i / 2));
            return image;
        };
        QImage const indexed = image(3, QImage::Format_Indexed8);
        QImage const argb = image(3, QImage::Format_ARGB32);
        QImage const rgb = image(3, QImage::Format_RGB32);
        QImage const mono = image(9, QImage::Format_Mono);
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
        KenroTest::MemorySprite const sprite(nullptr, QStringLiteral("0, 0"), source);
        // What a copy of the image gives, with zeros where it has no pixels.
        QSize const size(newAxis.x() + extent.x(), newAxis.y() + extent.y());
        QCOMPARE(sprite.aligned(oldAxis, newAxis, extent),
                 source.isNull() || size.isEmpty() ? QImage()
                                                   : source.copy(QRect(oldAxis - newAxis, size)));
    }
};

QTEST_GUILESS_MAIN(TestImageModels)
#include "tst_imagemodels.moc"
