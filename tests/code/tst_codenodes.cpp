// Code nodes without a document: the chain, the sections that gather values
// and frames, the tree model over them, and the values themselves.
#include "testdata.h"
#include "testnodes.h"

#include <QAbstractItemModelTester>
#include <QDate>
#include <QRandomGenerator>
#include <QSignalSpy>
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
template<typename List>
QString names(List const &nodes)
{
    QStringList out;
    for (CodeNode const *node : nodes)
        out << dynamic_cast<NamedCode const *>(node)->name();
    return out.join(QLatin1Char(' '));
}
Nodes chainOf(CodeNode *root)
{
    Nodes nodes;
    for (CodeNode *node = root->next(); node; node = node->next())
        nodes << node;
    return nodes;
}
QString chain(CodeNode *root)
{
    return names(chainOf(root));
}
QList<int> lines(Nodes const &nodes)
{
    QList<int> out;
    for (CodeNode const *node : nodes)
        out << node->lineNo();
    return out;
}
QVariantList ints(std::initializer_list<int> values)
{
    return QVariantList(values.begin(), values.end());
}
// The links of the chain agree both ways, and parents and children agree.
void checkConsistency(RootCode &root, Nodes const &alive)
{
    CodeNode *previous = &root;
    for (CodeNode *node = root.next(); node; previous = node, node = node->next()) {
        QCOMPARE(node->previous(), previous);
        QVERIFY(node->isValid());
    }
    QCOMPARE(chainOf(&root).size(), alive.size());
    for (CodeNode *node : alive) {
        if (ParentCode *parent = node->parent()) {
            QCOMPARE(parent->childAt(static_cast<unsigned int>(parent->childIndex(node))), node);
            QVERIFY(node->type() != CodeNode::Value || parent->type() == CodeNode::Group);
        }
        auto *parentCode = dynamic_cast<ParentCode *>(node);
        for (unsigned int i = 0; parentCode && i < parentCode->childCount(); ++i)
            QCOMPARE(parentCode->childAt(i)->parent(), parentCode);
    }
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
        QCOMPARE(chain(&root), "Data life loose power");
        QCOMPARE(power->previous(), loose);
        QCOMPARE(lines({&root, group, loose, power}), QList<int>({0, 0, 3, 3}));
        QCOMPARE(loose->document(), nullptr);
        QCOMPARE(life->document(), &document);
        // Line numbers follow edits above the node: they are never stored.
        QTextCursor cursor(line(0));
        cursor.movePosition(QTextCursor::EndOfBlock);
        cursor.insertText(QStringLiteral("\n; comment\n"));
        QCOMPARE(lines({group, life, power, val("tail", power)}), QList<int>({0, 3, 5, -1}));
        // A node made in the middle links itself directly behind its predecessor.
        auto *middle = val("middle", group);
        QCOMPARE(chain(&root), "Data middle life loose power tail");
        QCOMPARE(names(group->values()), "middle life loose power tail");
        middle->release();
        QCOMPARE(chain(&root), "Data life loose power tail");
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
        val("first", top); // right behind the heading: row 0
        QCOMPARE(names(top->values()), "first a b c");
        QCOMPARE(top->valueByName(QStringLiteral("b")), b);
        QCOMPARE(top->valueAt(4), nullptr);
        QCOMPARE(top->value(QStringLiteral("zz")), QVariant());
        auto *next = grp("Next", c);
        auto *d = val("d", next);
        // A heading typed in the middle of a section takes the values below it.
        auto *middle = grp("Middle", a);
        QCOMPARE(names(top->values()) + '|' + names(middle->values()), "first a|b c");
        QCOMPARE(names(root.childs()), "Top Middle Next");
        // Deleting a heading gives its values to the section above, at the end.
        middle->remove(false);
        QCOMPARE(names(top->values()), "first a b c");
        QCOMPARE(names(root.childs()), "Top Next");
        // With no section above, the values are left without a parent.
        top->remove(false);
        QCOMPARE(a->parent(), nullptr);
        QCOMPARE(names(root.childs()), "Next");
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
        QVERIFY(!CodeNode::isValid(d) && !CodeNode::isValid(next));
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
        auto *last = grp("Last", animation->next(), line(7));
        auto *loose = grp("L", &root);
        // A nested group does not end an outer one.
        QCOMPARE((QList<int>{a->lastLine(), sub->lastLine(), b->lastLine(), loose->lastLine()}),
                 (QList<int>{3, 3, 5, -1}));
        QCOMPARE(last->lastLine(), document.blockCount());
        QCOMPARE(b->code(), QStringLiteral("[B]\u2029z = 3\u2029"));
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
        addRow("comment kept", "life = 1000   ; health", "life = 900", false,
               "life = 900 ; health");
        addRow("no comment", "life = 1000", "life = 900", false, "life = 900");
        addRow("spacing kept", "  life  =  1000", "life = 900", true, "  life  =  900");
        addRow("spacing and comment", "\tv =  2, 3 ; fast", "v = 4, 5", true, "\tv =  4, 5 ; fast");
        addRow("more words than before", "x  =  1", "x = 1, 2", true, "x  =  1, 2");
        addRow("marker inside a word", "name = a;b ;c", "name = x", true, "name = x ;c");
        addRow("nothing merged", "", "life = 900", true, "life = 900");
    }
    void lineRewriteRules()
    {
        QFETCH(QString, oldText);
        QFETCH(QString, text);
        QFETCH(bool, preserve);
        QFETCH(QString, result);
        QCOMPARE(TestValue::rewrittenLine(oldText, text, preserve, QStringLiteral(";")), result);
    }
    void modelShowsTheTree()
    {
        TestRoot root(3);
        Tester tester(&root, Tester::FailureReportingMode::QtTest);
        auto *life = val("life", grp("Data", &root));
        auto *animation = new TestAnimation(QStringLiteral("Begin Action 0"), QTextBlock(), life);
        auto *second = new TestFrame(QStringLiteral("0,1"), QTextBlock(),
                                     new TestFrame(QString(), QTextBlock(), animation));
        QModelIndex const group = root.index(0, 0), frames = root.index(1, 0);
        QStringList shown;
        for (QModelIndex const &index : {group, root.index(0, 0, frames), root.index(1, 0, frames)})
            shown << index.data().toString();
        QCOMPARE(shown, QStringList({"Data", "Frame 1", "Frame - 0,1"}));
        QCOMPARE(root.index(0, 0, group).data(Qt::EditRole).toString(), "life");
        QCOMPARE(RootCode::node(root.index(1, 0, frames)), second);
        QVERIFY(!root.index(5, 0).isValid());
        QCOMPARE(root.rowCount(root.index(0, 0, group)), 0); // a value has no rows
        life->remove(false);
        QCOMPARE(root.rowCount(group), 0);
        // Version and type tell of a change only.
        QSignalSpy version(&root, &RootCode::versionChanged);
        QSignalSpy type(&root, &RootCode::typeChanged);
        for (int version : {2, 2})
            root.setVersion(version, true);
        root.setVersion(3, false);
        for (int type : {3, 4})
            root.setFileType(type, true);
        QCOMPARE(version.count() + 10 * type.count(), 11);
        QCOMPARE(root.version(), static_cast<unsigned short>(3));
    }
    void staleIndexesNeverCrashAView()
    {
        TestRoot root;
        CodeNode *after = grp("G", &root);
        Nodes values;
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
                int const kind = random.bounded(6);
                alive << (kind == 0 ? static_cast<CodeNode *>(new TestGroup(name, block, after))
                              : kind == 1
                              ? static_cast<CodeNode *>(new TestAnimation(name, block, after))
                              : kind == 2
                              ? static_cast<CodeNode *>(new TestFrame(name, block, after))
                              : new TestValue(name, ValueCode::Int, block, after, step));
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
    // What a value of each type keeps of what it is given, and writes back.
    void valuesConvertAndWriteBack_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("input");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("text");
        using V = ValueCode;
        // An invalid stored value: what was given is kept as it is.
        auto row = [](char const *name, V::Type type, QVariant const &input, QVariant const &stored,
                      QString const &text) {
            addRow(name, type, input, stored.isValid() ? stored : input, text);
        };
        row("string", V::String, 12, "12", "12");
        row("keyword", V::Keyword, "2", 2u, "high");
        row("keywords", V::KeywordVector, ints({0, 2}), {}, "");
        row("floatvec2 from list", V::FloatVec2, ints({3}), QPointF(3, 0), "3, 0");
        row("floatvec2", V::FloatVec2, QPointF(1, 2.5), {}, "1, 2.5");
        row("precision", V::FloatVec2, QPointF(1.23456789, 0), {}, "1.23457, 0");
        row("int", V::Int, "-7", -7, "-7");
        row("intvec2", V::IntVec2, QPoint(-3, 4), {}, "-3, 4");
        row("intvec2 from list", V::IntVec2, ints({4, 5, 6}), QPoint(4, 5), "4, 5");
        row("intvector of one", V::IntVector, "9", ints({9}), "9");
        row("intvector", V::IntVector, ints({1, 2, 3}), {}, "1, 2, 3");
        row("floatvec3", V::FloatVec3, QVariantList{0.5, 1.0, 2.0}, {}, "0.5, 1, 2");
        row("boolean", V::Boolean, true, {}, "1");
        row("date", V::Date, QDate(2024, 3, 2), {}, QDate(2024, 3, 2).toString(Qt::TextDate));
        row("unknown kept", V::Unknown, QSize(1, 2), {}, "");
    }
    void valuesConvertAndWriteBack()
    {
        QFETCH(int, type);
        QFETCH(QVariant, input);
        QFETCH(QVariant, stored);
        QFETCH(QString, text);
        TestValue value(QString(), ValueCode::Type(type), QTextBlock(), nullptr, input);
        QCOMPARE(value.rawValue(), stored);
        QCOMPARE(value.rawValue().typeId(), stored.typeId());
        value.setValue(input);
        QCOMPARE(value.rawValue(), stored);
        QCOMPARE(value.asString(value.valueType(), value.rawValue(), QLatin1Char(',')), text);
        QCOMPARE(value.asString(value.valueType(), value.rawValue(), QChar()),
                 QString(text).replace(", ", " "));
        // A value held as a string is written as it stands, whatever the type says.
        TestValue string(QString(), ValueCode::String, QTextBlock(), nullptr, "as typed");
        QCOMPARE(string.asString(ValueCode::Type(type), "as typed", QLatin1Char(',')), "as typed");
    }
    void valuesReadInOtherShapes()
    {
        auto make = [](ValueCode::Type type, QVariant const &value) {
            return TestValue(QString(), type, QTextBlock(), nullptr, value);
        };
        TestValue const scalar = make(ValueCode::Int, 7),
                        list = make(ValueCode::IntVector, ints({1, 2, 3}));
        QCOMPARE(scalar.asIntVector() + list.asIntVector(), QList<int>({7, 1, 2, 3}));
        QCOMPARE(scalar.asRealVector() + list.asRealVector(), QList<double>({7, 1, 2, 3}));
        QCOMPARE(scalar.asPoint(), QPoint(7, 0));
        QCOMPARE(scalar.asSize(), QSize(7, 0));
        QCOMPARE(scalar.asRect(), QRect(QPoint(7, 0), QPoint(-1, -1)));
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
        QCOMPARE(keyword.value().toString() + keyword.valueText(), "highhigh");
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
        // setValue leaves the tree and the views alone, and so does a value without a parent.
        a->setValue(9);
        QCOMPARE(group->value(QStringLiteral("a")), QVariant(9));
        val("l", &root)->valueChanged(3);
        QCOMPARE(changed.count(), 1);
    }
};

QTEST_MAIN(TestCodeNodes)
#include "tst_codenodes.moc"
