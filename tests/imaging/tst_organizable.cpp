#include <kenro/imaging/organizableobject.h>

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QRandomGenerator>
#include <QTest>

using namespace Kenro;

namespace {

using Moves = QList<QPair<int, int>>;

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
    void endChange() override
    {
        if (--changeDepth == 0)
            ++changeSteps;
    }
    void remove(unsigned int index) override
    {
        beginRemoveRows(QModelIndex(), int(index), int(index));
        words.removeAt(int(index));
        endRemoveRows();
    }
};

QStringList const five = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                          QStringLiteral("d"), QStringLiteral("e")};

// The drag data of \a rows, as a view makes it.
QMimeData *dragOf(WordList &list, QList<int> const &rows)
{
    QModelIndexList indexes;
    for (int row : rows)
        indexes << list.index(row);
    return list.mimeData(indexes);
}

} // namespace

class TestOrganizable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void flagsLetDropsLandBetweenRows()
    {
        WordList list(five);
        WordList other(five);
        QCOMPARE(list.supportedDropActions(), Qt::MoveAction);
        QCOMPARE(int(list.flags(list.index(0))), 37);
        QCOMPARE(int(list.flags(list.index(4))), 37);
        QCOMPARE(int(list.flags(QModelIndex())), 8);
        QCOMPARE(int(list.flags(other.index(1))), 8);
        QVERIFY(!list.isMoveFromDrag());
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
        std::unique_ptr<QMimeData> data(dragOf(list, rows));
        QVERIFY(!list.dropMimeData(data.get(), Qt::MoveAction, target, 0, QModelIndex()));
        QCOMPARE(list.words.join(QString()), order);
        QCOMPARE(list.moves, moves);
        QVERIFY(!list.movesFromDrag.contains(false));
        QVERIFY(!list.isMoveFromDrag());
        QCOMPARE(list.changeDepth, 0);
        QCOMPARE(list.changeSteps, 1);
    }

    void foreignDropsMoveNothing()
    {
        WordList list(five);
        std::unique_ptr<QMimeData> data(dragOf(list, {1, 3}));
        QVERIFY(!list.dropMimeData(data.get(), Qt::CopyAction, 0, 0, QModelIndex()));
        QVERIFY(!list.dropMimeData(nullptr, Qt::MoveAction, 0, 0, QModelIndex()));
        QMimeData text;
        text.setText(QStringLiteral("1, 3"));
        QVERIFY(!list.dropMimeData(&text, Qt::MoveAction, 0, 0, QModelIndex()));
        QCOMPARE(list.moves.size(), 0);
        QCOMPARE(list.changeSteps, 0);
        QCOMPARE(list.words, five);
    }

    void brokenDragDataFailsCleanly()
    {
        WordList list(five);
        QString const format = list.mimeTypes().first();
        std::unique_ptr<QMimeData> whole(dragOf(list, {1, 3}));
        QByteArray const encoded = whole->data(format);

        // Cut short: only whole records count.
        for (int size = 0; size < encoded.size(); ++size) {
            WordList cut(five);
            QMimeData data;
            data.setData(format, encoded.left(size));
            cut.dropMimeData(&data, Qt::MoveAction, 0, 0, QModelIndex());
            QVERIFY(cut.moves.size() <= 1);
            QStringList sorted = cut.words;
            sorted.sort();
            QCOMPARE(sorted, five);
        }

        // Rows that the list does not have.
        QByteArray foreign;
        QDataStream stream(&foreign, QIODevice::WriteOnly);
        stream << 7 << 0 << QMap<int, QVariant>() << -2 << 0 << QMap<int, QVariant>() << 4 << 0
               << QMap<int, QVariant>();
        QMimeData data;
        data.setData(format, foreign);
        list.dropMimeData(&data, Qt::MoveAction, 0, 0, QModelIndex());
        QCOMPARE(list.words.join(QString()), QStringLiteral("eabcd"));

        // Noise.
        QRandomGenerator random(3);
        for (int round = 0; round < 200; ++round) {
            WordList noisy(five);
            QByteArray bytes(random.bounded(64), Qt::Uninitialized);
            for (char &byte : bytes)
                byte = char(random.bounded(256));
            QMimeData noise;
            noise.setData(format, bytes);
            QVERIFY(!noisy.dropMimeData(&noise, Qt::MoveAction, 2, 0, QModelIndex()));
            QStringList sorted = noisy.words;
            sorted.sort();
            QCOMPARE(sorted, five);
        }
    }

    void autoOrganizeSortsStablyThroughMove()
    {
        WordList list({QStringLiteral("d1"), QStringLiteral("b1"), QStringLiteral("d2"),
                       QStringLiteral("a1"), QStringLiteral("b2"), QStringLiteral("c1")});
        QAbstractItemModelTester tester(&list,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        list.autoOrganize();
        QCOMPARE(list.words,
                 QStringList({QStringLiteral("a1"), QStringLiteral("b1"), QStringLiteral("b2"),
                              QStringLiteral("c1"), QStringLiteral("d1"), QStringLiteral("d2")}));
        QCOMPARE(list.changeSteps, 1);
        QVERIFY(!list.movesFromDrag.contains(true));

        int const moves = list.moves.size();
        list.autoOrganize();
        QCOMPARE(list.moves.size(), moves);

        WordList single({QStringLiteral("x")});
        single.autoOrganize();
        QCOMPARE(single.compares, 0);
        QCOMPARE(single.changeSteps, 0);
    }

    void autoOrganizeOfManyRows()
    {
        QStringList words;
        QRandomGenerator random(11);
        for (int i = 0; i < 500; ++i)
            words << QString(QChar(u'a' + random.bounded(26))) + QString::number(i);
        WordList list(words);
        list.autoOrganize();
        for (int i = 1; i < list.words.size(); ++i) {
            QString const &before = list.words.at(i - 1);
            QString const &after = list.words.at(i);
            QVERIFY(before.at(0) <= after.at(0));
            if (before.at(0) == after.at(0)) // equal ones in their old order
                QVERIFY(before.mid(1).toInt() < after.mid(1).toInt());
        }
        // Halving keeps the compares near n log n.
        QVERIFY2(list.compares < 500 * 10, qPrintable(QString::number(list.compares)));
        QVERIFY(list.moves.size() < 500);
    }

    void selectionIsPlainState()
    {
        WordList list(five);
        QCOMPARE(list.selected(), 0u);
        list.setSelected(3);
        QCOMPARE(list.selected(), 3u);
        list.remove(0);
        QCOMPARE(list.rowCount(), 4);
    }
};

QTEST_GUILESS_MAIN(TestOrganizable)
#include "tst_organizable.moc"
