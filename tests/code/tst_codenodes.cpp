#include "testnodes.h"

#include <QAbstractItemModelTester>
#include <QTest>
#include <QTextDocument>

using namespace Kenro;
using namespace KenroTest;

namespace {

QTextBlock line(QTextDocument &document, int number)
{
    return document.findBlockByNumber(number);
}

QList<CodeNode *> chain(CodeNode *root)
{
    QList<CodeNode *> nodes;
    for (CodeNode *node = root; node; node = node->next())
        nodes.append(node);
    return nodes;
}

} // namespace

class TestCodeNodes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chainAndLineNumbers()
    {
        QTextDocument document(QStringLiteral("[Data]\nlife = 1000\n\npower = 3000\n"));
        TestRoot root;
        auto *group = new TestGroup(QStringLiteral("Data"), line(document, 0), &root);
        auto *life =
            new TestValue(QStringLiteral("life"), ValueCode::Int, line(document, 1), group, 1000);
        // A node without a block belongs to the next node that has one.
        auto *loose = new TestValue(QStringLiteral("loose"), ValueCode::Int, QTextBlock(), life);
        auto *power =
            new TestValue(QStringLiteral("power"), ValueCode::Int, line(document, 3), loose, 3000);
        QCOMPARE(chain(&root), (QList<CodeNode *>{&root, group, life, loose, power}));
        QCOMPARE(power->previous(), loose);
        QCOMPARE(group->lineNo(), 0);
        QCOMPARE(loose->lineNo(), 3);
        QCOMPARE(power->lineNo(), 3);
        QCOMPARE(root.lineNo(), 0);
        QCOMPARE(loose->document(), nullptr);
        QCOMPARE(life->document(), &document);

        // Line numbers follow edits above the node: they are never stored.
        QTextCursor cursor(&document);
        cursor.setPosition(line(document, 0).length() - 1);
        cursor.insertText(QStringLiteral("\n; comment\n"));
        QCOMPARE(group->lineNo(), 0);
        QCOMPARE(life->lineNo(), 3);
        QCOMPARE(power->lineNo(), 5);

        // At the end of the chain without a block: -1.
        auto *tail = new TestValue(QStringLiteral("tail"), ValueCode::Int, QTextBlock(), power);
        QCOMPARE(tail->lineNo(), -1);

        // A node made in the middle links itself directly behind its predecessor.
        auto *middle = new TestValue(QStringLiteral("middle"), ValueCode::Int, QTextBlock(), group);
        QCOMPARE(chain(&root), (QList<CodeNode *>{&root, group, middle, life, loose, power, tail}));
        QCOMPARE(group->values(), (QList<ValueCode *>{middle, life, loose, power, tail}));
        middle->release();
        QCOMPARE(chain(&root), (QList<CodeNode *>{&root, group, life, loose, power, tail}));
        QCOMPARE(life->previous(), group);
    }

    void searchesAlongParentsAndChain()
    {
        TestRoot root;
        auto *outer = new TestGroup(QStringLiteral("A"), QTextBlock(), &root);
        auto *value = new TestValue(QStringLiteral("v"), ValueCode::Int, QTextBlock(), outer);
        auto *animation = new TestAnimation(QStringLiteral("1"), QTextBlock(), value);
        auto *frame = new TestFrame(QString(), QTextBlock(), animation);
        auto *second = new TestGroup(QStringLiteral("B"), QTextBlock(), frame);

        QCOMPARE(frame->previous(CodeNode::Group, 0), outer);
        QCOMPARE(frame->previous(CodeNode::Group, CodeNode::Animation), nullptr);
        // The type test comes before the stop test.
        QCOMPARE(frame->previous(CodeNode::Animation, CodeNode::AnimationMask), animation);
        QCOMPARE(outer->next(CodeNode::Group, CodeNode::SectionMask), nullptr);
        QCOMPARE(outer->next(CodeNode::Group, 0), second);
        QCOMPARE(frame->next(CodeNode::Group, CodeNode::SectionMask), second);
        QCOMPARE(outer->next(CodeNode::Frame, CodeNode::Group), frame);
        QCOMPARE(value->next(CodeNode::Frame, CodeNode::Animation), nullptr);
        QCOMPARE(frame->parent(CodeNode::Animation, 0), animation);
        QCOMPARE(frame->parent(CodeNode::Root, 0), &root);
        QCOMPARE(frame->parent(CodeNode::Root, CodeNode::Animation), nullptr);
        QCOMPARE(second->next(CodeNode::Value, 0), nullptr);
        QCOMPARE(root.previous(CodeNode::Root, 0), nullptr);
    }

    void valuesFindTheirSection()
    {
        TestRoot root;
        // No heading above: no parent, but in the chain.
        auto *orphan = new TestValue(QStringLiteral("o"), ValueCode::Int, QTextBlock(), &root);
        QCOMPARE(orphan->parent(), nullptr);
        QCOMPARE(root.next(), orphan);

        auto *group = new TestGroup(QStringLiteral("G"), QTextBlock(), orphan);
        auto *a = new TestValue(QStringLiteral("a"), ValueCode::Int, QTextBlock(), group);
        auto *b = new TestValue(QStringLiteral("b"), ValueCode::Int, QTextBlock(), a);
        // Behind a value: one row behind it in the same group.
        auto *ab = new TestValue(QStringLiteral("ab"), ValueCode::Int, QTextBlock(), a);
        QCOMPARE(group->values(), (QList<ValueCode *>{a, ab, b}));
        // Right behind the heading: row 0.
        auto *first = new TestValue(QStringLiteral("first"), ValueCode::Int, QTextBlock(), group);
        QCOMPARE(group->valueAt(0), first);
        QCOMPARE(group->valueAt(4), nullptr);
        QCOMPARE(root.childs(), (QList<CodeNode *>{group}));

        // Behind an animation heading a value has no section.
        auto *animation = new TestAnimation(QStringLiteral("0"), QTextBlock(), b);
        auto *frame = new TestFrame(QString(), QTextBlock(), animation);
        auto *stray = new TestValue(QStringLiteral("s"), ValueCode::Int, QTextBlock(), frame);
        QCOMPARE(stray->parent(), nullptr);
        QCOMPARE(frame->parent(), animation);
        QCOMPARE(root.childs(), (QList<CodeNode *>{group, animation}));

        QCOMPARE(group->valueByName(QStringLiteral("b")), b);
        QCOMPARE(group->valueByName(QStringLiteral("zz")), nullptr);
        QCOMPARE(group->value(QStringLiteral("zz")), QVariant());
    }

    void headingsGatherAndHandOnValues()
    {
        TestRoot root;
        QAbstractItemModelTester tester(&root,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto *top = new TestGroup(QStringLiteral("Top"), QTextBlock(), &root);
        auto *a = new TestValue(QStringLiteral("a"), ValueCode::Int, QTextBlock(), top);
        auto *b = new TestValue(QStringLiteral("b"), ValueCode::Int, QTextBlock(), a);
        auto *c = new TestValue(QStringLiteral("c"), ValueCode::Int, QTextBlock(), b);
        auto *next = new TestGroup(QStringLiteral("Next"), QTextBlock(), c);
        auto *d = new TestValue(QStringLiteral("d"), ValueCode::Int, QTextBlock(), next);
        QCOMPARE(top->values(), (QList<ValueCode *>{a, b, c}));

        // A heading typed in the middle of a section takes the values below it.
        auto *middle = new TestGroup(QStringLiteral("Middle"), QTextBlock(), a);
        QCOMPARE(top->values(), (QList<ValueCode *>{a}));
        QCOMPARE(middle->values(), (QList<ValueCode *>{b, c}));
        QCOMPARE(next->values(), (QList<ValueCode *>{d}));
        QCOMPARE(root.childs(), (QList<CodeNode *>{top, middle, next}));

        // Deleting a heading gives its values to the section above, at the end.
        middle->remove(false);
        QCOMPARE(top->values(), (QList<ValueCode *>{a, b, c}));
        QCOMPARE(b->parent(), top);
        QCOMPARE(root.childs(), (QList<CodeNode *>{top, next}));

        // With no section above, the values are left without a parent.
        top->remove(false);
        QCOMPARE(a->parent(), nullptr);
        QCOMPARE(c->parent(), nullptr);
        QCOMPARE(root.childs(), (QList<CodeNode *>{next}));

        // A heading passes frames and takes them from their animation.
        auto *animation = new TestAnimation(QStringLiteral("0"), QTextBlock(), d);
        auto *frame = new TestFrame(QString(), QTextBlock(), animation);
        QCOMPARE(frame->parent(), animation);
        new TestGroup(QStringLiteral("Cut"), QTextBlock(), animation);
        QCOMPARE(frame->parent(), nullptr);
        QCOMPARE(animation->childCount(), 0u);

        // remove(true) without a document takes the children along.
        bool const before = CodeNode::isValid(d);
        QVERIFY(before);
        next->remove(true);
        QVERIFY(!CodeNode::isValid(d));
        QVERIFY(!CodeNode::isValid(next));
    }

    void groupLastLine()
    {
        QTextDocument document(QStringLiteral(
            "[A]\nx = 1\n[A.sub]\ny = 2\n[B]\nz = 3\n[Begin Action 0]\n0,0, 0,0, 5\n"));
        TestRoot root;
        auto *a = new TestGroup(QStringLiteral("A"), line(document, 0), &root);
        auto *x = new TestValue(QStringLiteral("x"), ValueCode::Int, line(document, 1), a, 1);
        auto *sub = new TestGroup(QStringLiteral("A.sub"), line(document, 2), x);
        // Nest the sub-section in A by hand, as an extension's parser would.
        root.removeChild(sub);
        a->ParentCode::insertChild(sub, 0);
        auto *y = new TestValue(QStringLiteral("y"), ValueCode::Int, line(document, 3), sub, 2);
        auto *b = new TestGroup(QStringLiteral("B"), line(document, 4), y);
        auto *z = new TestValue(QStringLiteral("z"), ValueCode::Int, line(document, 5), b, 3);
        auto *animation = new TestAnimation(QStringLiteral("0"), line(document, 6), z);
        new TestFrame(QString(), line(document, 7), animation);

        QCOMPARE(a->lastLine(), 3); // a nested group does not end an outer one
        QCOMPARE(sub->lastLine(), 3);
        QCOMPARE(b->lastLine(), 5);
        QCOMPARE(b->code(), QStringLiteral("[B]\u2029z = 3\u2029"));
        auto *loose = new TestGroup(QStringLiteral("L"), QTextBlock(), &root);
        QCOMPARE(loose->lastLine(), -1);

        auto *last = new TestGroup(QStringLiteral("Last"), line(document, 7), animation->next());
        QCOMPARE(last->lastLine(), document.blockCount());
        QCOMPARE(last->code(), QStringLiteral("0,0, 0,0, 5\u2029"));
        QCOMPARE(y->parent(), sub);
    }

    void selectionAndRewrites()
    {
        QTextDocument document(QStringLiteral("[Data]\nlife  =   1000 ; health\nattack = 10"));
        TestRoot root;
        auto *group = new TestGroup(QStringLiteral("Data"), line(document, 0), &root);
        auto *life =
            new TestValue(QStringLiteral("life"), ValueCode::Int, line(document, 1), group, 1000);
        auto *attack =
            new TestValue(QStringLiteral("attack"), ValueCode::Int, line(document, 2), life, 10);
        QCOMPARE(life->select().selectedText(), QStringLiteral("life  =   1000 ; health\u2029"));
        QCOMPARE(attack->select().selectedText(), QStringLiteral("attack = 10"));
        QCOMPARE(group->code(), document.toPlainText().replace(QLatin1Char('\n'), QChar(0x2029)));
        QVERIFY(TestValue(QString(), ValueCode::Int, QTextBlock(), nullptr).select().isNull());

        // A rewrite replaces the line's text and keeps its line break.
        life->change(QStringLiteral("life = 900"));
        QCOMPARE(document.toPlainText(), QStringLiteral("[Data]\nlife = 900\nattack = 10"));
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
        QTest::newRow("comment kept with one blank")
            << "life = 1000   ; health"
            << "life = 900" << false << "life = 900 ; health";
        QTest::newRow("no comment") << "life = 1000"
                                    << "life = 900" << false << "life = 900";
        QTest::newRow("spacing kept") << "  life  =  1000"
                                      << "life = 900" << true << "  life  =  900";
        QTest::newRow("spacing and comment kept")
            << "\tvelocity =  2, 3 ; fast"
            << "velocity = 4, 5" << true << "\tvelocity =  4, 5 ; fast";
        QTest::newRow("more words than before") << "x  =  1"
                                                << "x = 1, 2" << true << "x  =  1, 2";
        QTest::newRow("comment marker inside a word") << "name = a;b ;c"
                                                      << "name = x" << true << "name = x ;c";
        QTest::newRow("nothing merged falls back") << ""
                                                   << "life = 900" << true << "life = 900";
    }

    void lineRewriteRules()
    {
        QFETCH(QString, oldText);
        QFETCH(QString, text);
        QFETCH(bool, preserve);
        QFETCH(QString, result);
        QCOMPARE(TestValue::rewrittenLine(oldText, text, preserve, QStringLiteral(";")), result);
    }

    void namedProperties()
    {
        TestValue value(QStringLiteral("life"), ValueCode::Int, QTextBlock(), nullptr, 1);
        QCOMPARE(value.propertyNames(),
                 QStringList({QStringLiteral("DisplayName"), QStringLiteral("Name")}));
        QCOMPARE(value.property(QStringLiteral("Name")).toString(), QStringLiteral("life"));
        QCOMPARE(value.property(QStringLiteral("DisplayName")).toString(), QStringLiteral("life"));
        QVERIFY(!value.property(QStringLiteral("name")).isValid());
        value.setProperty(QStringLiteral("DisplayName"), QStringLiteral("ignored"));
        QCOMPARE(value.name(), QStringLiteral("life"));
        value.setProperty(QStringLiteral("Name"), QStringLiteral("power"));
        QCOMPARE(value.name(), QStringLiteral("power"));
    }

    void poolReusesBlocks()
    {
        auto *first = new TestValue(QStringLiteral("a"), ValueCode::Int, QTextBlock(), nullptr);
        QVERIFY(first->isValid());
        void *address = first;
        std::size_t const bytes = CodeNode::poolBytes();
        first->release();
        QVERIFY(!CodeNode::isValid(static_cast<CodeNode *>(address)));
        QVERIFY(!CodeNode::isValid(nullptr));
        // The same size comes back at the same address, and counts as valid again.
        auto *second = new TestValue(QStringLiteral("b"), ValueCode::Int, QTextBlock(), nullptr);
        QCOMPARE(static_cast<void *>(second), address);
        QVERIFY(CodeNode::isValid(static_cast<CodeNode *>(address)));
        QCOMPARE(CodeNode::poolBytes(), bytes);
        // Once the free blocks of earlier tests are used up, new ones are taken.
        QList<TestValue *> more;
        for (int i = 0; i < 500; ++i)
            more.append(new TestValue(QStringLiteral("c"), ValueCode::Int, QTextBlock(), nullptr));
        QVERIFY(CodeNode::poolBytes() > bytes);
        for (TestValue *value : more) {
            QCOMPARE(reinterpret_cast<quintptr>(value) % alignof(std::max_align_t), quintptr(0));
            value->release();
        }
        second->release();
        TestRoot root;
        QVERIFY(root.isValid()); // the root never comes from the pool
    }
};

QTEST_MAIN(TestCodeNodes)
#include "tst_codenodes.moc"
