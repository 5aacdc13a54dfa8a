// Code nodes without a document: the chain, the sections that gather values
// and frames, the tree model over them, and the values themselves.
#include "testnodes.h"

#include <QAbstractItemModelTester>
#include <QDate>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>
#include <QTreeView>

using namespace Kenro;
using namespace KenroTest;

namespace {

using Nodes = QList<CodeNode *>;
using Tester = QAbstractItemModelTester;

TestValue *val(char const *name, CodeNode *after, QTextBlock const &block = {}, int value = 0)
{
    return new TestValue(QString::fromLatin1(name), ValueCode::Int, block, after, value);
}

TestGroup *grp(char const *name, CodeNode *after, QTextBlock const &block = {})
{
    return new TestGroup(QString::fromLatin1(name), block, after);
}

Nodes chain(CodeNode *root)
{
    Nodes nodes;
    for (CodeNode *node = root->next(); node; node = node->next())
        nodes.append(node);
    return nodes;
}

QList<ValueCode *> vals(std::initializer_list<CodeNode *> nodes)
{
    QList<ValueCode *> list;
    for (CodeNode *node : nodes)
        list.append(static_cast<ValueCode *>(node));
    return list;
}

// The links of the chain agree both ways, and parents and children agree.
void checkConsistency(RootCode &root, Nodes const &alive)
{
    CodeNode *previous = &root;
    for (CodeNode *node = root.next(); node; previous = node, node = node->next()) {
        QCOMPARE(node->previous(), previous);
        QVERIFY(node->isValid());
    }
    QCOMPARE(chain(&root).size(), alive.size());
    for (CodeNode *node : alive) {
        if (ParentCode *parent = node->parent()) {
            QCOMPARE(parent->childAt(static_cast<unsigned int>(parent->childIndex(node))), node);
            if (node->type() == CodeNode::Value)
                QCOMPARE(parent->type(), CodeNode::Group);
        }
        if (auto *parentCode = dynamic_cast<ParentCode *>(node)) {
            for (unsigned int i = 0; i < parentCode->childCount(); ++i)
                QCOMPARE(parentCode->childAt(i)->parent(), parentCode);
        }
    }
}

QVariantList ints(std::initializer_list<int> values)
{
    QVariantList list;
    for (int value : values)
        list.append(value);
    return list;
}

} // namespace

class TestCodeNodes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chainAndLineNumbers()
    {
        QTextDocument document(QStringLiteral("[Data]\nlife = 1000\n\npower = 3000\n"));
        auto line = [&document](int n) { return document.findBlockByNumber(n); };
        TestRoot root;
        auto *group = grp("Data", &root, line(0));
        auto *life = val("life", group, line(1));
        auto *loose = val("loose", life); // belongs to the next node that has a line
        auto *power = val("power", loose, line(3));
        QCOMPARE(chain(&root), (Nodes{group, life, loose, power}));
        QCOMPARE(power->previous(), loose);
        QCOMPARE((QList<int>{root.lineNo(), group->lineNo(), loose->lineNo(), power->lineNo()}),
                 (QList<int>{0, 0, 3, 3}));
        QCOMPARE(loose->document(), nullptr);
        QCOMPARE(life->document(), &document);

        // Line numbers follow edits above the node: they are never stored.
        QTextCursor cursor(line(0));
        cursor.movePosition(QTextCursor::EndOfBlock);
        cursor.insertText(QStringLiteral("\n; comment\n"));
        QCOMPARE((QList<int>{group->lineNo(), life->lineNo(), power->lineNo()}),
                 (QList<int>{0, 3, 5}));
        auto *tail = val("tail", power);
        QCOMPARE(tail->lineNo(), -1); // nothing with a line behind it

        // A node made in the middle links itself directly behind its predecessor.
        auto *middle = val("middle", group);
        QCOMPARE(chain(&root), (Nodes{group, middle, life, loose, power, tail}));
        QCOMPARE(group->values(), vals({middle, life, loose, power, tail}));
        middle->release();
        QCOMPARE(chain(&root), (Nodes{group, life, loose, power, tail}));
        QCOMPARE(life->previous(), group);
    }

    void sectionsGatherAndHandOnValues()
    {
        TestRoot root;
        Tester tester(&root, Tester::FailureReportingMode::QtTest);
        auto *orphan = val("o", &root); // no heading above: in the chain, without a parent
        QCOMPARE(orphan->parent(), nullptr);
        auto *top = grp("Top", orphan);
        auto *a = val("a", top);
        auto *c = val("c", a);
        auto *b = val("b", a); // behind a value: one row behind it
        auto *first = val("first", top); // right behind the heading: row 0
        QCOMPARE(top->values(), vals({first, a, b, c}));
        QCOMPARE(top->valueByName(QStringLiteral("b")), b);
        QCOMPARE(top->valueAt(4), nullptr);
        QCOMPARE(top->value(QStringLiteral("zz")), QVariant());
        auto *next = grp("Next", c);
        auto *d = val("d", next);

        // A heading typed in the middle of a section takes the values below it.
        auto *middle = grp("Middle", a);
        QCOMPARE(top->values(), vals({first, a}));
        QCOMPARE(middle->values(), vals({b, c}));
        QCOMPARE(root.childs(), (Nodes{top, middle, next}));
        // Deleting a heading gives its values to the section above, at the end.
        middle->remove(false);
        QCOMPARE(top->values(), vals({first, a, b, c}));
        QCOMPARE(root.childs(), (Nodes{top, next}));
        // With no section above, the values are left without a parent.
        top->remove(false);
        QCOMPARE(a->parent(), nullptr);
        QCOMPARE(root.childs(), (Nodes{next}));

        // Behind an animation heading a value has no section; a heading
        // passes frames and takes them from their animation.
        auto *animation = new TestAnimation(QStringLiteral("0"), QTextBlock(), d);
        auto *frame = new TestFrame(QString(), QTextBlock(), animation);
        QCOMPARE(val("s", frame)->parent(), nullptr);
        QCOMPARE(frame->parent(), animation);
        grp("Cut", animation);
        QCOMPARE(frame->parent(), nullptr);
        QCOMPARE(animation->childCount(), 0u);

        // remove(true) without a document takes the children along.
        next->remove(true);
        QVERIFY(!CodeNode::isValid(d));
        QVERIFY(!CodeNode::isValid(next));
    }

    void groupLastLine()
    {
        QTextDocument document(QStringLiteral(
            "[A]\nx = 1\n[A.sub]\ny = 2\n[B]\nz = 3\n[Begin Action 0]\n0,0, 0,0, 5\n"));
        auto line = [&document](int n) { return document.findBlockByNumber(n); };
        TestRoot root;
        auto *a = grp("A", &root, line(0));
        auto *sub = grp("A.sub", val("x", a, line(1)), line(2));
        // Nest the sub-section in A by hand, as an extension's parser would.
        root.removeChild(sub);
        a->ParentCode::insertChild(sub, 0);
        auto *b = grp("B", val("y", sub, line(3)), line(4));
        auto *animation = new TestAnimation(QStringLiteral("0"), line(6), val("z", b, line(5)));
        new TestFrame(QString(), line(7), animation);
        QCOMPARE(a->lastLine(), 3); // a nested group does not end an outer one
        QCOMPARE(sub->lastLine(), 3);
        QCOMPARE(b->lastLine(), 5);
        QCOMPARE(b->code(), QStringLiteral("[B]\u2029z = 3\u2029"));
        QCOMPARE(grp("L", &root)->lastLine(), -1);
        auto *last = grp("Last", animation->next(), line(7));
        QCOMPARE(last->lastLine(), document.blockCount());
        QCOMPARE(last->code(), QStringLiteral("0,0, 0,0, 5\u2029"));
    }

    void selectionAndRewrites()
    {
        QTextDocument document(QStringLiteral("[Data]\nlife  =   1000 ; health\nattack = 10"));
        TestRoot root;
        auto *group = grp("Data", &root, document.findBlockByNumber(0));
        auto *life = val("life", group, document.findBlockByNumber(1));
        auto *attack = val("attack", life, document.findBlockByNumber(2));
        QCOMPARE(life->select().selectedText(), QStringLiteral("life  =   1000 ; health\u2029"));
        QCOMPARE(attack->select().selectedText(), QStringLiteral("attack = 10"));
        QVERIFY(TestValue(QString(), ValueCode::Int, QTextBlock(), nullptr).select().isNull());
        // A rewrite replaces the line's text and keeps its line break.
        life->change(QStringLiteral("life = 900"));
        attack->change(QStringLiteral("attack = 11"));
        QCOMPARE(document.toPlainText(), QStringLiteral("[Data]\nlife = 900\nattack = 11"));
        // remove(false) takes the node's own line, line break included.
        life->remove(false);
        QCOMPARE(document.toPlainText(), QStringLiteral("[Data]\nattack = 11"));
    }

    void lineRewriteRules_data()
    {
        QTest::addColumn<QString>("oldText");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("preserve");
        QTest::addColumn<QString>("result");
        struct Row
        {
            char const *name, *oldText, *text;
            bool preserve;
            char const *result;
        };
        for (Row const &r : {
                 Row{"comment kept", "life = 1000   ; health", "life = 900", false,
                     "life = 900 ; health"},
                 Row{"no comment", "life = 1000", "life = 900", false, "life = 900"},
                 Row{"spacing kept", "  life  =  1000", "life = 900", true, "  life  =  900"},
                 Row{"spacing and comment", "\tv =  2, 3 ; fast", "v = 4, 5", true,
                     "\tv =  4, 5 ; fast"},
                 Row{"more words than before", "x  =  1", "x = 1, 2", true, "x  =  1, 2"},
                 Row{"marker inside a word", "name = a;b ;c", "name = x", true, "name = x ;c"},
                 Row{"nothing merged", "", "life = 900", true, "life = 900"},
             })
            QTest::newRow(r.name) << r.oldText << r.text << r.preserve << r.result;
    }

    void lineRewriteRules()
    {
        QFETCH(QString, oldText);
        QFETCH(QString, text);
        QFETCH(bool, preserve);
        QFETCH(QString, result);
        QCOMPARE(TestValue::rewrittenLine(oldText, text, preserve, QStringLiteral(";")), result);
    }

    // A stale index must tell a released node from a live one, also when
    // its block is given to a new node of the same size.
    void poolReusesBlocks()
    {
        auto *first = val("a", nullptr);
        void *address = first;
        first->release();
        QVERIFY(!CodeNode::isValid(static_cast<CodeNode *>(address)));
        auto *second = val("b", nullptr);
        QCOMPARE(static_cast<void *>(second), address);
        QVERIFY(CodeNode::isValid(second));
        second->release();
        TestRoot root;
        QVERIFY(root.isValid()); // the root never comes from the pool
    }

    void modelShowsTheTree()
    {
        TestRoot root(3);
        Tester tester(&root, Tester::FailureReportingMode::QtTest);
        auto *group = grp("Data", &root);
        auto *life = val("life", group);
        auto *animation = new TestAnimation(QStringLiteral("Begin Action 0"), QTextBlock(), life);
        auto *first = new TestFrame(QString(), QTextBlock(), animation);
        auto *second = new TestFrame(QStringLiteral("0,1"), QTextBlock(), first);
        QModelIndex const groupIndex = root.index(0, 0);
        QModelIndex const animationIndex = root.index(1, 0);
        QCOMPARE(root.rowCount(), 2);
        QCOMPARE(groupIndex.data().toString(), QStringLiteral("Data"));
        QCOMPARE(root.index(0, 0, groupIndex).data(Qt::EditRole).toString(), "life");
        QCOMPARE(root.index(0, 0, animationIndex).data().toString(), "Frame 1");
        QCOMPARE(root.index(1, 0, animationIndex).data().toString(), "Frame - 0,1");
        QCOMPARE(RootCode::node(root.index(1, 0, animationIndex)), second);
        QCOMPARE(root.parent(root.index(0, 0, groupIndex)), groupIndex);
        QCOMPARE(root.flags(QModelIndex()), Qt::NoItemFlags);
        QVERIFY(!root.index(5, 0).isValid());
        QCOMPARE(root.rowCount(root.index(0, 0, groupIndex)), 0); // a value has no rows
        life->remove(false);
        QCOMPARE(root.rowCount(groupIndex), 0);

        // Version and type tell of a change only.
        QSignalSpy version(&root, &RootCode::versionChanged);
        QSignalSpy type(&root, &RootCode::typeChanged);
        root.setVersion(2, true);
        root.setVersion(2, true);
        root.setVersion(3, false);
        root.setFileType(3, true);
        root.setFileType(4, true);
        QCOMPARE(version.count(), 1);
        QCOMPARE(type.count(), 1);
        QCOMPARE(root.version(), static_cast<unsigned short>(3));
    }

    void staleIndexesNeverCrashAView()
    {
        TestRoot root;
        CodeNode *after = grp("G", &root);
        QList<CodeNode *> values;
        for (int i = 0; i < 5; ++i)
            values.append(after = val("v", after, QTextBlock(), i));
        QTreeView view;
        view.setModel(&root);
        view.expandAll();
        view.resize(200, 300);
        view.show();
        QModelIndex const stale = root.index(2, 0, root.index(0, 0));
        view.setCurrentIndex(stale);
        values.at(2)->release();
        // The index still points at the released node: every answer is empty.
        QVERIFY(!root.data(stale).isValid());
        QCOMPARE(root.rowCount(stale), 0);
        QVERIFY(!root.index(0, 0, stale).isValid());
        QModelIndex const parent = root.parent(stale);
        QVERIFY(!parent.isValid() || parent == root.index(0, 0));
        view.viewport()->repaint();
        QCoreApplication::processEvents();
        QCOMPARE(root.rowCount(root.index(0, 0)), 4);
        root.childAt(0)->release(); // its values are left to the section above (none)
        view.viewport()->repaint();
        QCoreApplication::processEvents();
        QCOMPARE(root.rowCount(), 0);
    }

    void randomCreationAndRelease()
    {
        QTextDocument document(QStringLiteral("line\n").repeated(64));
        TestRoot root;
        Tester tester(&root, Tester::FailureReportingMode::QtTest);
        QRandomGenerator random(20261122);
        Nodes alive;
        for (int step = 0; step < 4000; ++step) {
            if (random.bounded(10) < 6 || alive.isEmpty()) {
                CodeNode *after = alive.isEmpty() || random.bounded(8) == 0
                    ? static_cast<CodeNode *>(&root)
                    : alive.at(random.bounded(alive.size()));
                QTextBlock const block = random.bounded(3) == 0
                    ? QTextBlock()
                    : document.findBlockByNumber(random.bounded(64));
                QString const name = QString::number(step);
                switch (random.bounded(6)) {
                case 0:
                    alive.append(new TestGroup(name, block, after));
                    break;
                case 1:
                    alive.append(new TestAnimation(name, block, after));
                    break;
                case 2:
                    alive.append(new TestFrame(name, block, after));
                    break;
                default:
                    alive.append(new TestValue(name, ValueCode::Int, block, after, step));
                }
            } else {
                alive.takeAt(random.bounded(alive.size()))->release();
            }
            if (step % 50 == 0 || alive.size() < 3) {
                checkConsistency(root, alive);
                if (QTest::currentTestFailed())
                    QFAIL(qPrintable(QStringLiteral("inconsistent after step %1").arg(step)));
            }
        }
        root.destroy();
        QCOMPARE(root.next(), nullptr);
        QCOMPARE(root.rowCount(), 0);
    }

    void valuesConvertWhatTheyAreGiven_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("input");
        QTest::addColumn<QVariant>("stored");
        using V = ValueCode;
        QTest::newRow("string") << int(V::String) << QVariant(12) << QVariant("12");
        QTest::newRow("keyword") << int(V::Keyword) << QVariant("2") << QVariant(2u);
        QTest::newRow("keywords") << int(V::KeywordVector) << QVariant(ints({0, 2}))
                                  << QVariant(ints({0, 2}));
        QTest::newRow("floatvec2 from list")
            << int(V::FloatVec2) << QVariant(ints({3})) << QVariant(QPointF(3, 0));
        QTest::newRow("int") << int(V::Int) << QVariant("-7") << QVariant(-7);
        QTest::newRow("intvec2 from list")
            << int(V::IntVec2) << QVariant(ints({4, 5, 6})) << QVariant(QPoint(4, 5));
        QTest::newRow("intvector of one")
            << int(V::IntVector) << QVariant("9") << QVariant(ints({9}));
        QTest::newRow("unknown kept")
            << int(V::Unknown) << QVariant(QSize(1, 2)) << QVariant(QSize(1, 2));
    }

    void valuesConvertWhatTheyAreGiven()
    {
        QFETCH(int, type);
        QFETCH(QVariant, input);
        QFETCH(QVariant, stored);
        TestValue value(QString(), ValueCode::Type(type), QTextBlock(), nullptr, input);
        QCOMPARE(value.rawValue(), stored);
        QCOMPARE(value.rawValue().typeId(), stored.typeId());
        value.setValue(input);
        QCOMPARE(value.rawValue(), stored);
    }

    void valuesWrittenBackAsText_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("text");
        using V = ValueCode;
        QTest::newRow("floatvec2") << int(V::FloatVec2) << QVariant(QPointF(1, 2.5)) << ","
                                   << "1, 2.5";
        QTest::newRow("no separator") << int(V::FloatVec2) << QVariant(QPointF(1, 2.5)) << ""
                                      << "1 2.5";
        QTest::newRow("precision") << int(V::FloatVec2) << QVariant(QPointF(1.23456789, 0)) << ","
                                   << "1.23457, 0";
        QTest::newRow("intvec2") << int(V::IntVec2) << QVariant(QPoint(-3, 4)) << ","
                                 << "-3, 4";
        QTest::newRow("intvector") << int(V::IntVector) << QVariant(ints({1, 2, 3})) << ","
                                   << "1, 2, 3";
        QTest::newRow("floatvec3")
            << int(V::FloatVec3) << QVariant(QVariantList{0.5, 1.0, 2.0}) << ","
            << "0.5, 1, 2";
        QTest::newRow("boolean") << int(V::Boolean) << QVariant(true) << ","
                                 << "1";
        QTest::newRow("keyword") << int(V::Keyword) << QVariant(1u) << ","
                                 << "low";
        QTest::newRow("date") << int(V::Date) << QVariant(QDate(2024, 3, 2)) << ","
                              << QDate(2024, 3, 2).toString(Qt::TextDate);
    }

    void valuesWrittenBackAsText()
    {
        QFETCH(int, type);
        QFETCH(QVariant, value);
        QFETCH(QString, separator);
        QFETCH(QString, text);
        TestValue node(QString(), ValueCode::Type(type), QTextBlock(), nullptr, value);
        QChar const joiner = separator.isEmpty() ? QChar() : separator.at(0);
        QCOMPARE(node.asString(node.valueType(), node.rawValue(), joiner), text);
        // A value held as a string is written as it stands, whatever the type says.
        TestValue string(QString(), ValueCode::String, QTextBlock(), nullptr, "as typed");
        QCOMPARE(string.asString(ValueCode::Type(type), "as typed", QLatin1Char(',')), "as typed");
    }

    void valuesReadInOtherShapes()
    {
        auto make = [](ValueCode::Type type, QVariant const &value) {
            return TestValue(QString(), type, QTextBlock(), nullptr, value);
        };
        TestValue const scalar = make(ValueCode::Int, 7);
        QCOMPARE(scalar.asIntVector(), QList<int>({7}));
        QCOMPARE(scalar.asRealVector(), QList<double>({7.0}));
        QCOMPARE(scalar.asPoint(), QPoint(7, 0));
        QCOMPARE(scalar.asSize(), QSize(7, 0));
        QCOMPARE(scalar.asRect(), QRect(QPoint(7, 0), QPoint(-1, -1)));
        TestValue const list = make(ValueCode::IntVector, ints({1, 2, 3}));
        QCOMPARE(list.asIntVector(), QList<int>({1, 2, 3}));
        QCOMPARE(list.asRealVector(), QList<double>({1, 2, 3}));
        QCOMPARE(list.asPoint(), QPoint(1, 2));
        QCOMPARE(list.asRect(), QRect(QPoint(1, 2), QPoint(3, -1))); // the bottom stays -1
        QCOMPARE(make(ValueCode::IntVec4, ints({-10, -20, 10, 0})).asRect(),
                 QRect(QPoint(-10, -20), QPoint(10, 0)));
        TestValue const point = make(ValueCode::IntVec2, QPoint(3, 4));
        QCOMPARE(point.asSize(), QSize(3, 4));
        QVERIFY(point.asIntVector().isEmpty());
        QCOMPARE(make(ValueCode::FloatVec2, QPointF(0.5, 1.5)).asPointF(), QPointF(0.5, 1.5));
        // A keyword vector counts as a scalar first, then gives its elements.
        TestValue const keywords = make(ValueCode::KeywordVector, ints({2, 1}));
        QCOMPARE(keywords.asRealVector(), QList<double>({0, 2, 1}));
        QCOMPARE(keywords.asIntVector(), QList<int>({0}));
        TestValue const keyword = make(ValueCode::Keyword, 2);
        QCOMPARE(keyword.value(), QVariant("high"));
        QCOMPARE(keyword.valueText(), "high");
    }

    void changesReachTheGroupAndTheViews()
    {
        TestRoot root;
        auto *group = grp("G", &root);
        auto *a = val("a", group, QTextBlock(), 1);
        auto *b = val("b", a, QTextBlock(), 2);
        QSignalSpy changed(&root, &QAbstractItemModel::dataChanged);
        b->valueChanged(QStringLiteral("5"));
        QCOMPARE(b->rawValue(), QVariant(5));
        QCOMPARE(group->changedChildren, Nodes({b}));
        QCOMPARE(changed.count(), 1);
        QModelIndex const index = changed.first().first().toModelIndex();
        QCOMPARE(RootCode::node(index), b);
        QCOMPARE(index.parent(), root.index(0, 0));
        // setValue leaves the tree and the views alone.
        a->setValue(9);
        QCOMPARE(group->value(QStringLiteral("a")), QVariant(9));
        QCOMPARE(changed.count(), 1);
        // A value without a parent tells nobody.
        val("l", &root)->valueChanged(3);
        QCOMPARE(changed.count(), 1);
    }
};

QTEST_MAIN(TestCodeNodes)
#include "tst_codenodes.moc"
