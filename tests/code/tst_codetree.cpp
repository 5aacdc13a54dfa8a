#include "testnodes.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

using namespace Kenro;
using namespace KenroTest;

namespace {

QList<CodeNode *> chain(RootCode &root)
{
    QList<CodeNode *> nodes;
    for (CodeNode *node = root.next(); node; node = node->next())
        nodes.append(node);
    return nodes;
}

// The links of the chain agree both ways, and parents and children agree.
void checkConsistency(RootCode &root, QList<CodeNode *> const &alive)
{
    QCOMPARE(root.previous(), nullptr);
    CodeNode *previous = &root;
    int count = 0;
    for (CodeNode *node = root.next(); node; node = node->next()) {
        QCOMPARE(node->previous(), previous);
        QVERIFY(node->isValid());
        previous = node;
        ++count;
    }
    QCOMPARE(count, alive.size());
    for (CodeNode *node : alive) {
        if (ParentCode *parent = node->parent()) {
            QVERIFY(parent->childIndex(node) >= 0);
            QCOMPARE(parent->childAt(static_cast<unsigned int>(parent->childIndex(node))), node);
            if (node->type() == CodeNode::Value)
                QCOMPARE(parent->type(), CodeNode::Group);
        }
        if (auto *parentCode = dynamic_cast<ParentCode *>(node)) {
            for (unsigned int i = 0; i < parentCode->childCount(); ++i)
                QCOMPARE(parentCode->childAt(i)->parent(), parentCode);
        }
    }
    for (CodeNode *child : root.childs())
        QCOMPARE(child->parent(), static_cast<ParentCode *>(&root));
}

} // namespace

class TestCodeTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void modelShowsTheTree()
    {
        TestRoot root;
        QAbstractItemModelTester tester(&root,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto *group = new TestGroup(QStringLiteral("Data"), QTextBlock(), &root);
        auto *life = new TestValue(QStringLiteral("life"), ValueCode::Int, QTextBlock(), group, 1);
        auto *animation = new TestAnimation(QStringLiteral("Begin Action 0"), QTextBlock(), life);
        auto *first = new TestFrame(QString(), QTextBlock(), animation);
        auto *second = new TestFrame(QStringLiteral("0,1"), QTextBlock(), first);

        QCOMPARE(root.rowCount(), 2);
        QCOMPARE(root.columnCount(), 1);
        QModelIndex const groupIndex = root.index(0, 0);
        QModelIndex const animationIndex = root.index(1, 0);
        QCOMPARE(groupIndex.data().toString(), QStringLiteral("Data"));
        QCOMPARE(root.index(0, 0, groupIndex).data(Qt::EditRole).toString(),
                 QStringLiteral("life"));
        QCOMPARE(animationIndex.data().toString(), QStringLiteral("Begin Action 0"));
        QCOMPARE(root.index(0, 0, animationIndex).data().toString(), QStringLiteral("Frame 1"));
        QCOMPARE(root.index(1, 0, animationIndex).data().toString(), QStringLiteral("Frame - 0,1"));
        QCOMPARE(RootCode::node(root.index(1, 0, animationIndex)), second);
        QCOMPARE(root.parent(root.index(0, 0, groupIndex)), groupIndex);
        QCOMPARE(root.flags(groupIndex), Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        QCOMPARE(root.flags(QModelIndex()), Qt::NoItemFlags);
        QVERIFY(!root.index(5, 0).isValid());
        QVERIFY(!root.index(0, 1).isValid());
        QCOMPARE(root.rowCount(root.index(0, 0, groupIndex)), 0); // a value has no rows
        QVERIFY(!groupIndex.data(Qt::ToolTipRole).isValid());
        QVERIFY(root.data(groupIndex, Qt::DecorationRole).value<QIcon>().isNull());

        life->remove(false);
        QCOMPARE(root.rowCount(groupIndex), 0);
    }

    void versionAndType()
    {
        TestRoot root(3);
        QCOMPARE(root.fileType(), short(3));
        QCOMPARE(root.type(), CodeNode::Root);
        QCOMPARE(root.parent(), nullptr);
        QVERIFY(root.canParseCode());
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
        QCOMPARE(root.childAt(0), nullptr);
    }

    void staleIndexesNeverCrashAView()
    {
        TestRoot root;
        auto *group = new TestGroup(QStringLiteral("G"), QTextBlock(), &root);
        CodeNode *after = group;
        QList<TestValue *> values;
        for (int i = 0; i < 5; ++i) {
            values.append(new TestValue(QStringLiteral("v%1").arg(i), ValueCode::Int, QTextBlock(),
                                        after, i));
            after = values.last();
        }
        QTreeView view;
        view.setModel(&root);
        view.expandAll();
        view.resize(200, 300);
        view.show();
        QModelIndex const stale = root.index(2, 0, root.index(0, 0));
        view.setCurrentIndex(stale);
        QCOMPARE(stale.data().toString(), QStringLiteral("v2"));

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

        // The whole group goes; its values are left to the section above (none).
        group->release();
        view.viewport()->repaint();
        QCoreApplication::processEvents();
        QCOMPARE(root.rowCount(), 0);
    }

    void randomCreationAndRelease()
    {
        QTextDocument document;
        QString text;
        for (int i = 0; i < 64; ++i)
            text += QStringLiteral("line %1\n").arg(i);
        document.setPlainText(text);

        TestRoot root;
        QAbstractItemModelTester tester(&root,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QRandomGenerator random(20261122);
        QList<CodeNode *> alive;
        for (int step = 0; step < 4000; ++step) {
            int const action = random.bounded(10);
            if (action < 6 || alive.isEmpty()) {
                CodeNode *after = alive.isEmpty() || random.bounded(8) == 0
                    ? static_cast<CodeNode *>(&root)
                    : alive.at(random.bounded(alive.size()));
                QTextBlock const block = random.bounded(3) == 0
                    ? QTextBlock()
                    : document.findBlockByNumber(random.bounded(64));
                CodeNode *made = nullptr;
                switch (random.bounded(6)) {
                case 0:
                    made = new TestGroup(QStringLiteral("g%1").arg(step), block, after);
                    break;
                case 1:
                    made = new TestAnimation(QStringLiteral("a%1").arg(step), block, after);
                    break;
                case 2:
                    made = new TestFrame(QString::number(step), block, after);
                    break;
                default:
                    made = new TestValue(QStringLiteral("v%1").arg(step), ValueCode::Int, block,
                                         after, step);
                    break;
                }
                alive.append(made);
            } else {
                CodeNode *gone = alive.takeAt(random.bounded(alive.size()));
                gone->release();
            }
            if (step % 50 == 0 || alive.size() < 3) {
                checkConsistency(root, alive);
                if (QTest::currentTestFailed())
                    QFAIL(qPrintable(QStringLiteral("inconsistent after step %1").arg(step)));
            }
        }
        checkConsistency(root, alive);
        QCOMPARE(chain(root).size(), alive.size());
        root.destroy();
        QCOMPARE(root.next(), nullptr);
        QCOMPARE(root.rowCount(), 0);
    }
};

QTEST_MAIN(TestCodeTree)
#include "tst_codetree.moc"
