// The animation nodes among the other kinds of section: AIR's actions and
// frames, with "[Name]" sections of values mixed in.
#include "airdocument.h"
#include "airparser.h"
#include "testnodes.h"

#include <kenro/code/animationcode.h>
#include <kenro/code/animations.h>
#include <kenro/code/framecode.h>
#include <kenro/editors/interface/interface.h>

#include <QTest>

using namespace Kenro;

namespace {

// AIR lines, and "[Name]" headings of sections with values "key = value".
class MixedParser final : public CodeParser
{
public:
    CodeNode *parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                    CodeNode *context, RootCode *root, CodeParserSyntax *syntax) override
    {
        QString const trimmed = text.trimmed();
        if (trimmed.startsWith(QLatin1Char('[')) &&
            !trimmed.contains(QLatin1String("Action"), Qt::CaseInsensitive)) {
            QString const name = trimmed.mid(1, trimmed.size() - 2);
            auto *group = dynamic_cast<KenroTest::TestGroup *>(oldNode);
            if (group && group->groupName == name)
                return group;
            return new KenroTest::TestGroup(name, block, context, 1);
        }
        int const equals = static_cast<int>(trimmed.indexOf(QLatin1Char('=')));
        if (equals > 0 && !trimmed.startsWith(QLatin1String("Clsn"), Qt::CaseInsensitive))
            return new KenroTest::TestValue(trimmed.left(equals).trimmed(), ValueCode::String,
                                            block, context, trimmed.mid(equals + 1).trimmed());
        return air.parse(text, block, oldNode, context, root, syntax);
    }

    KenroIkemen::AirParser air;
};

class MixedDocument final : public CodeDocument
{
public:
    MixedDocument() { setParser(&parser); }
    ~MixedDocument() override { setParser(nullptr); }
    void formatLines(int, int, bool) override {}
    MixedParser parser;

protected:
    void free() override { delete this; }
};

AnimationCode *actionAt(CodeDocument &document, int line)
{
    return dynamic_cast<AnimationCode *>(document.nodeInBlock(document.findBlockByNumber(line)));
}

FrameCode *frameAt(CodeDocument &document, int line)
{
    return dynamic_cast<FrameCode *>(document.nodeInBlock(document.findBlockByNumber(line)));
}

} // namespace

class TestAnimationCode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }

    void sectionsEndAnimations()
    {
        MixedDocument document;
        document.setPlainText(QStringLiteral("[Begin Action 1]\n" // 0
                                             "1,1, 0,0, 1\n" // 1
                                             "; about the next\n" // 2
                                             "1,2, 0,0, 1\n" // 3
                                             "[Data]\n" // 4
                                             "life = 1000\n" // 5
                                             "2,2, 0,0, 1\n" // 6
                                             "[Begin Action 2]\n" // 7
                                             "3,3, 0,0, 1\n")); // 8
        AnimationCode *first = actionAt(document, 0);
        QVERIFY(first);
        QCOMPARE(first->frameCount(), 2u);
        QCOMPARE(first->lastLine(), 3);
        // Lines above a frame belong to it.
        QCOMPARE(first->frameAt(1)->firstLine(), 2);
        QCOMPARE(first->frameAt(0)->firstLine(), 1);
        // A frame below a section of values has no animation.
        FrameCode *loose = frameAt(document, 6);
        QVERIFY(loose);
        QCOMPARE(loose->parent(), nullptr);
        QCOMPARE(loose->index(), -1);
        QCOMPARE(loose->firstLine(), 6);
        AnimationCode *second = actionAt(document, 7);
        QCOMPARE(second->frameCount(), 1u);
        QCOMPARE(second->lastLine(), document.blockCount());
        QCOMPARE(document.root()->childCount(), 3u);
        QCOMPARE(document.root()->childIndex(second), 2);
    }

    void aSectionTakesFramesAway()
    {
        MixedDocument document;
        document.setPlainText(
            QStringLiteral("[Begin Action 1]\n1,1, 0,0, 1\n1,2, 0,0, 1\n1,3, 0,0, 1\n"));
        AnimationCode *action = actionAt(document, 0);
        QTextCursor cursor(document.findBlockByNumber(2));
        cursor.insertText(QStringLiteral("[Data]\n"));
        QCOMPARE(action->frameCount(), 1u);
        QCOMPARE(frameAt(document, 3)->parent(), nullptr);
        QCOMPARE(frameAt(document, 4)->parent(), nullptr);
    }

    void aHeadingGoneHandsItsFramesOn()
    {
        MixedDocument document;
        document.setPlainText(
            QStringLiteral("[Begin Action 1]\n1,1, 0,0, 1\n[Begin Action 2]\n2,1, 0,0, 1\n"
                           "2,2, 0,0, 1\n[Data]\n[Begin Action 3]\n3,1, 0,0, 1\n"));
        AnimationCode *first = actionAt(document, 0);
        QTextCursor cursor(document.findBlockByNumber(2));
        cursor.select(QTextCursor::BlockUnderCursor);
        cursor.removeSelectedText(); // line 2 and the line break in front of it
        QCOMPARE(first->frameCount(), 3u);
        QCOMPARE(first->frameAt(2), frameAt(document, 3));
        // With a section of values in between, the frames are left alone.
        cursor = QTextCursor(document.findBlockByNumber(5));
        cursor.select(QTextCursor::BlockUnderCursor);
        cursor.removeSelectedText();
        QCOMPARE(frameAt(document, 5)->parent(), nullptr);
        QCOMPARE(first->frameCount(), 3u);
    }

    void theTreeShowsFrames()
    {
        MixedDocument document;
        document.setPlainText(QStringLiteral("[Begin Action 1]\n1,1, 0,0, 1\n"));
        QAbstractItemModel *model = document.model();
        QModelIndex const action = model->index(0, 0);
        QCOMPARE(model->data(action).toString(), QStringLiteral("Action 1"));
        QCOMPARE(model->rowCount(action), 1);
        QCOMPARE(model->data(model->index(0, 0, action)).toString(), QStringLiteral("Frame - 1,1"));
        QCOMPARE(actionAt(document, 0)->propertyNames(),
                 QStringList({QStringLiteral("DisplayName"), QStringLiteral("Name"),
                              QStringLiteral("Identifier")}));
        QCOMPARE(
            frameAt(document, 1)->propertyNames(),
            QStringList({QStringLiteral("Identifier"), QStringLiteral("Offset"),
                         QStringLiteral("Delay"), QStringLiteral("Scale"), QStringLiteral("Angle"),
                         QStringLiteral("Flip"), QStringLiteral("LoopPoint")}));
        QCOMPARE(frameAt(document, 1)->property(QStringLiteral("Delay")).toInt(), 1);
        QVERIFY(!frameAt(document, 1)->property(QStringLiteral("Nothing")).isValid());
    }
};

QTEST_MAIN(TestAnimationCode)
#include "tst_animationcode.moc"
