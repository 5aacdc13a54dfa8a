#include "testnodes.h"

#include <QDate>
#include <QSignalSpy>
#include <QTest>

using namespace Kenro;
using namespace KenroTest;

namespace {

QVariantList ints(std::initializer_list<int> values)
{
    QVariantList list;
    for (int value : values)
        list.append(value);
    return list;
}

// Makes a free-standing value; the caller releases it.
TestValue *make(ValueCode::Type type, QVariant const &value)
{
    return new TestValue(QStringLiteral("v"), type, QTextBlock(), nullptr, value);
}

} // namespace

class TestValueCode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convertFrom_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("input");
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("string") << int(ValueCode::String) << QVariant(12)
                                << QVariant(QStringLiteral("12"));
        QTest::newRow("file") << int(ValueCode::File) << QVariant(QStringLiteral("kfm.sff"))
                              << QVariant(QStringLiteral("kfm.sff"));
        QTest::newRow("boolean kept") << int(ValueCode::Boolean) << QVariant(2) << QVariant(2);
        QTest::newRow("keyword") << int(ValueCode::Keyword) << QVariant(QStringLiteral("2"))
                                 << QVariant(2u);
        QTest::newRow("keyword vector of one")
            << int(ValueCode::KeywordVector) << QVariant(1) << QVariant(QVariantList{1u});
        QTest::newRow("keyword vector")
            << int(ValueCode::KeywordVector) << QVariant(ints({0, 2})) << QVariant(ints({0, 2}));
        QTest::newRow("float kept") << int(ValueCode::Float) << QVariant(QStringLiteral("1.5"))
                                    << QVariant(QStringLiteral("1.5"));
        QTest::newRow("floatvec2 from list")
            << int(ValueCode::FloatVec2) << QVariant(ints({3})) << QVariant(QPointF(3, 0));
        QTest::newRow("floatvec2 from point")
            << int(ValueCode::FloatVec2) << QVariant(QPointF(1, 2)) << QVariant(QPointF(1, 2));
        QTest::newRow("floatvec3 of one")
            << int(ValueCode::FloatVec3) << QVariant(QStringLiteral("2.5"))
            << QVariant(QVariantList{2.5});
        QTest::newRow("int") << int(ValueCode::Int) << QVariant(QStringLiteral("-7"))
                             << QVariant(-7);
        QTest::newRow("intvec2 from list")
            << int(ValueCode::IntVec2) << QVariant(ints({4, 5, 6})) << QVariant(QPoint(4, 5));
        QTest::newRow("intvec2 from point")
            << int(ValueCode::IntVec2) << QVariant(QPoint(1, -1)) << QVariant(QPoint(1, -1));
        QTest::newRow("intvector of one")
            << int(ValueCode::IntVector) << QVariant(QStringLiteral("9")) << QVariant(ints({9}));
        QTest::newRow("unknown kept")
            << int(ValueCode::Unknown) << QVariant(QSize(1, 2)) << QVariant(QSize(1, 2));
    }

    void convertFrom()
    {
        QFETCH(int, type);
        QFETCH(QVariant, input);
        QFETCH(QVariant, stored);
        TestValue *value = make(ValueCode::Type(type), input);
        QCOMPARE(value->rawValue(), stored);
        QCOMPARE(value->rawValue().typeId(), stored.typeId());
        value->release();
    }

    void keywordsReadAsText()
    {
        TestValue *value = make(ValueCode::Keyword, 2);
        QCOMPARE(value->value(), QVariant(QStringLiteral("high")));
        QCOMPARE(value->rawValue(), QVariant(2u));
        QCOMPARE(value->valueText(), QStringLiteral("high"));
        value->setValue(QStringLiteral("1"));
        QCOMPARE(value->value().toString(), QStringLiteral("low"));
        value->release();
    }

    void writtenBackAsText_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("text");
        QTest::newRow("floatvec2") << int(ValueCode::FloatVec2) << QVariant(QPointF(1, 2.5)) << ","
                                   << "1, 2.5";
        QTest::newRow("floatvec2 without separator")
            << int(ValueCode::FloatVec2) << QVariant(QPointF(1, 2.5)) << ""
            << "1 2.5";
        QTest::newRow("float precision")
            << int(ValueCode::FloatVec2) << QVariant(QPointF(1.23456789, 0)) << ","
            << "1.23457, 0";
        QTest::newRow("intvec2") << int(ValueCode::IntVec2) << QVariant(QPoint(-3, 4)) << ","
                                 << "-3, 4";
        QTest::newRow("intvector") << int(ValueCode::IntVector) << QVariant(ints({1, 2, 3})) << ","
                                   << "1, 2, 3";
        QTest::newRow("floatvec3")
            << int(ValueCode::FloatVec3) << QVariant(QVariantList{0.5, 1.0, 2.0}) << ","
            << "0.5, 1, 2";
        QTest::newRow("boolean") << int(ValueCode::Boolean) << QVariant(true) << ","
                                 << "1";
        QTest::newRow("keyword") << int(ValueCode::Keyword) << QVariant(1u) << ","
                                 << "low";
        QTest::newRow("date") << int(ValueCode::Date) << QVariant(QDate(2024, 3, 2)) << ","
                              << QDate(2024, 3, 2).toString(Qt::TextDate);
        QTest::newRow("int") << int(ValueCode::Int) << QVariant(42) << ","
                             << "42";
    }

    void writtenBackAsText()
    {
        QFETCH(int, type);
        QFETCH(QVariant, value);
        QFETCH(QString, separator);
        QFETCH(QString, text);
        TestValue *node = make(ValueCode::Type(type), value);
        QChar const joiner = separator.isEmpty() ? QChar() : separator.at(0);
        QCOMPARE(node->asString(node->valueType(), node->rawValue(), joiner), text);
        node->release();

        // A value held as a string is written as it stands, whatever the type says.
        TestValue *string = make(ValueCode::String, QStringLiteral("as typed"));
        QCOMPARE(
            string->asString(ValueCode::Type(type), QStringLiteral("as typed"), QLatin1Char(',')),
            QStringLiteral("as typed"));
        string->release();
    }

    void readInOtherShapes()
    {
        TestValue *scalar = make(ValueCode::Int, 7);
        QCOMPARE(scalar->asIntVector(), QList<int>({7}));
        QCOMPARE(scalar->asRealVector(), QList<double>({7.0}));
        QCOMPARE(scalar->asVector(), QVariantList({7}));
        QCOMPARE(scalar->asPoint(), QPoint(7, 0));
        QCOMPARE(scalar->asPointF(), QPointF(7, 0));
        QCOMPARE(scalar->asSize(), QSize(7, 0));
        QRect rect = scalar->asRect();
        QCOMPARE(rect.left(), 7);
        QCOMPARE(rect.right(), -1);
        QCOMPARE(scalar->asUInt(), 7u);
        QVERIFY(scalar->asBool());
        scalar->release();

        TestValue *list = make(ValueCode::IntVector, ints({1, 2, 3}));
        QCOMPARE(list->asIntVector(), QList<int>({1, 2, 3}));
        QCOMPARE(list->asRealVector(), QList<double>({1, 2, 3}));
        QCOMPARE(list->asVector(), ints({1, 2, 3}));
        QCOMPARE(list->asPoint(), QPoint(1, 2));
        // Three numbers: left, top and right; the bottom stays -1.
        rect = list->asRect();
        QCOMPARE(rect.left(), 1);
        QCOMPARE(rect.top(), 2);
        QCOMPARE(rect.right(), 3);
        QCOMPARE(rect.bottom(), -1);
        list->release();

        TestValue *corners = make(ValueCode::IntVec4, ints({-10, -20, 10, 0}));
        QCOMPARE(corners->asRect(), QRect(QPoint(-10, -20), QPoint(10, 0)));
        corners->release();

        TestValue *point = make(ValueCode::IntVec2, QPoint(3, 4));
        QCOMPARE(point->asPoint(), QPoint(3, 4));
        QCOMPARE(point->asSize(), QSize(3, 4));
        QVERIFY(point->asIntVector().isEmpty());
        point->release();

        TestValue *pointF = make(ValueCode::FloatVec2, QPointF(0.5, 1.5));
        QCOMPARE(pointF->asPointF(), QPointF(0.5, 1.5));
        QVERIFY(pointF->asRealVector().isEmpty());
        pointF->release();

        // A keyword vector counts as a scalar first, then gives its elements.
        TestValue *keywords = make(ValueCode::KeywordVector, ints({2, 1}));
        QCOMPARE(keywords->asRealVector(), QList<double>({0, 2, 1}));
        QCOMPARE(keywords->asIntVector(), QList<int>({0}));
        keywords->release();
    }

    void changesReachTheGroupAndTheViews()
    {
        TestRoot root;
        auto *group = new TestGroup(QStringLiteral("G"), QTextBlock(), &root);
        auto *a = new TestValue(QStringLiteral("a"), ValueCode::Int, QTextBlock(), group, 1);
        auto *b = new TestValue(QStringLiteral("b"), ValueCode::Int, QTextBlock(), a, 2);
        QSignalSpy changed(&root, &QAbstractItemModel::dataChanged);
        b->valueChanged(QStringLiteral("5"));
        QCOMPARE(b->rawValue(), QVariant(5));
        QCOMPARE(group->changedChildren, QList<CodeNode *>({b}));
        QCOMPARE(changed.count(), 1);
        QModelIndex const index = changed.first().first().toModelIndex();
        QCOMPARE(RootCode::node(index), b);
        QCOMPARE(index.row(), 1);
        QCOMPARE(index.parent(), root.index(0, 0));

        // setValue leaves the tree and the views alone.
        a->setValue(9);
        QCOMPARE(a->rawValue(), QVariant(9));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(group->value(QStringLiteral("a")), QVariant(9));

        // A value without a parent tells nobody.
        auto *loose = new TestValue(QStringLiteral("l"), ValueCode::Int, QTextBlock(), &root, 0);
        QCOMPARE(loose->parent(), nullptr);
        loose->valueChanged(3);
        QCOMPARE(changed.count(), 1);
    }
};

QTEST_MAIN(TestValueCode)
#include "tst_valuecode.moc"
