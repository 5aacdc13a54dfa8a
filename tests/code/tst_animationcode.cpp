// The animation nodes among the other kinds of section: AIR's actions and
// frames, with "[Name]" sections of values mixed in.
#include "testnodes.h"
#include <ikemen/air/airdocument.h>
#include <ikemen/air/airparser.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/animations.h>
#include <kenro/code/framecode.h>
#include <kenro/editors/interface/interface.h>

#include <QRandomGenerator>
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

    Kenro::Ikemen::AirParser air;
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

// The tree written out: each section with its children, then the nodes of
// the chain that have no parent.
QString describe(CodeDocument &document)
{
    QString out;
    for (CodeNode *child : document.root()->childs()) {
        auto *section = dynamic_cast<ParentCode *>(child);
        out += QStringLiteral("%1 %2:").arg(child->type()).arg(child->lineNo());
        for (unsigned int i = 0; section && i < section->childCount(); ++i)
            out += QStringLiteral(" %1").arg(section->childAt(i)->lineNo());
        out += QLatin1Char('\n');
    }
    for (CodeNode *node = document.root()->next(); node; node = node->next()) {
        if (!node->parent() && !(node->type() & (CodeNode::SectionMask | CodeNode::HitBox)))
            out += QStringLiteral("loose %1 %2\n").arg(node->type()).arg(node->lineNo());
    }
    return out;
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

    // Line edits leave the model that a fresh reading of the text gives.
    void aSectionGoneGivesFramesBack()
    {
        QString const text =
            QStringLiteral("[Begin Action 1]\n1,1, 0,0, 1\n[Data]\nlife = 1\n2,2, 0,0, 1\n"
                           "2,3, 0,0, 1\n[Begin Action 2]\n3,3, 0,0, 1\n");
        MixedDocument document;
        document.setPlainText(text);
        AnimationCode *first = actionAt(document, 0);
        QCOMPARE(first->frameCount(), 1u);
        QTextCursor cursor(document.findBlockByNumber(2));
        cursor.select(QTextCursor::BlockUnderCursor);
        cursor.removeSelectedText();
        QCOMPARE(first->frameCount(), 3u);
        QCOMPARE(first->frameAt(1), frameAt(document, 3));
        QCOMPARE(first->frameAt(2), frameAt(document, 4));
        QCOMPARE(actionAt(document, 5)->frameCount(), 1u);

        // A section heading turned into a frame line.
        document.setPlainText(text);
        first = actionAt(document, 0);
        cursor = QTextCursor(document.findBlockByNumber(2));
        cursor.select(QTextCursor::LineUnderCursor);
        cursor.insertText(QStringLiteral("9,9, 0,0, 1"));
        QCOMPARE(first->frameCount(), 4u);
        QCOMPARE(first->frameAt(1), frameAt(document, 2));
        QCOMPARE(first->frameAt(3), frameAt(document, 5));
    }

    void anActionBetweenTakesValuesAway()
    {
        MixedDocument document;
        document.setPlainText(QStringLiteral("[Data]\nlife = 1\npower = 2\n"));
        auto *data = static_cast<GroupCode *>(document.root()->childAt(0));
        QCOMPARE(data->valueCount(), 2u);
        QTextCursor cursor(document.findBlockByNumber(2));
        cursor.insertText(QStringLiteral("[Begin Action 3]\n"));
        QCOMPARE(data->valueCount(), 1u);
        QCOMPARE(document.nodeInBlock(document.findBlockByNumber(3))->parent(), nullptr);
        cursor = QTextCursor(document.findBlockByNumber(2));
        cursor.select(QTextCursor::BlockUnderCursor);
        cursor.removeSelectedText();
        QCOMPARE(data->valueCount(), 2u);
        QCOMPARE(data->valueAt(1)->name(), QStringLiteral("power"));
    }

    void editSequencesMatchAFreshParse()
    {
        // No values: a section's death hands values on only up to a frame,
        // while a new value looks past frames, so values below frames in a
        // section of values are left out of this comparison.
        QStringList const snippets = {QStringLiteral("[Begin Action 5]"),
                                      QStringLiteral("[Data]"),
                                      QStringLiteral("[Other]"),
                                      QStringLiteral("1,2, 3,4, 5"),
                                      QStringLiteral(" Clsn1[0] = 1,2,3,4"),
                                      QStringLiteral("; note"),
                                      QString()};
        for (quint32 seed = 5; seed < 9; ++seed)
            editSequence(seed, snippets);
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

private:
    void editSequence(quint32 seed, QStringList const &snippets)
    {
        QRandomGenerator random(seed);
        MixedDocument document;
        document.setPlainText(
            QStringLiteral("[Begin Action 1]\n1,1, 0,0, 1\n[Data]\n2,2, 0,0, 1\n"));
        for (int step = 0; step < 300; ++step) {
            QTextCursor cursor(&document);
            QTextBlock const block =
                document.findBlockByNumber(random.bounded(document.blockCount()));
            cursor.setPosition(block.position());
            if (random.bounded(3) == 0 && document.blockCount() > 1) {
                cursor.select(QTextCursor::BlockUnderCursor);
                cursor.removeSelectedText();
            } else if (random.bounded(2) == 0) {
                cursor.select(QTextCursor::LineUnderCursor);
                cursor.insertText(snippets.at(random.bounded(snippets.size())));
            } else {
                cursor.insertText(snippets.at(random.bounded(snippets.size())) + QLatin1Char('\n'));
            }
            MixedDocument fresh;
            fresh.setPlainText(document.toPlainText());
            if (describe(document) != describe(fresh)) {
                qWarning("step %d, text:\n%s", step, qPrintable(document.toPlainText()));
                QCOMPARE(describe(document), describe(fresh));
            }
        }
    }
};

QTEST_MAIN(TestAnimationCode)
#include "tst_animationcode.moc"
