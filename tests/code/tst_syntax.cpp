#include "codedocument_p.h"

#include "testnodes.h"
#include "testparser.h"

#include <QAbstractItemModelTester>
#include <QFont>
#include <QTest>
#include <QTextDocument>

using namespace Kenro;
using namespace KenroTest;

namespace {

// Parses every line in order, as the document's pass does.
void parseAll(CodeDocumentPrivate &engine, bool highlight = true)
{
    for (QTextBlock block = engine.document()->begin(); block.isValid(); block = block.next())
        engine.parseBlock(block, highlight);
}

CodeBlockData *dataOf(QTextDocument &document, int line)
{
    return CodeBlockData::testBlockData(document.findBlockByNumber(line));
}

CodeNode *nodeOf(QTextDocument &document, int line)
{
    CodeBlockData *data = dataOf(document, line);
    return data ? data->codeNode() : nullptr;
}

QList<int> foldingOf(QTextDocument &document)
{
    QList<int> indents;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        CodeBlockData *data = CodeBlockData::testBlockData(block);
        indents.append(data ? data->foldingIndent() : -1);
    }
    return indents;
}

class RecordingMark : public CodeMark
{
public:
    int line = -1;
    int removals = 0;
    void setLine(int value) override { line = value; }
    void setDocument(CodeDocument *) override {}
    void removed() override { ++removals; }
};

class Link : public CodeLink
{
public:
    explicit Link(int *counter) : counter(counter) {}
    ~Link() override { ++*counter; }
    int *counter;
};

// A parser that drops every old node and adds a link to each line.
class LinkingParser : public TestParser
{
public:
    int deleted = 0;
    bool keep = true;
    CodeNode *parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                    CodeNode *context, RootCode *root, CodeParserSyntax *syntax) override
    {
        if (syntax)
            syntax->addLink(new Link(&deleted));
        if (!keep)
            return nullptr;
        return TestParser::parse(text, block, oldNode, context, root, syntax);
    }
};

QString const sample = QStringLiteral("; a character\n"
                                      "[Data]\n"
                                      "life = 1000\n"
                                      "old_power = 3000 ; kept for old files\n"
                                      "\n"
                                      "; the size section\n"
                                      "[Size]\n"
                                      "xscale =\n"
                                      "what is this\n"
                                      "[Begin Action 0]\n"
                                      "0, 0\n"
                                      "1, 0");

} // namespace

class TestSyntax : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formatTable()
    {
        QTextCharFormat const comment = CodeParserSyntax::syntaxFormat(CodeParserSyntax::Comment);
        QCOMPARE(comment.foreground().color(), QColor(Qt::gray));
        QVERIFY(comment.fontItalic());
        QVERIFY(comment.fontFixedPitch());
        QCOMPARE(comment.fontPointSize(), 10.0);
        QCOMPARE(comment.fontFamilies().toStringList(), QStringList({QStringLiteral("Courier")}));
        QTextCharFormat const bold = CodeParserSyntax::syntaxFormat(CodeParserSyntax::TokenType(5));
        QCOMPARE(bold.fontWeight(), int(QFont::Bold));
        QCOMPARE(bold.foreground().color(), QColor(0, 128, 0));
        QCOMPARE(
            CodeParserSyntax::syntaxFormat(CodeParserSyntax::TokenType(9)).foreground().color(),
            QColor(255, 0, 255));
        QVERIFY(!CodeParserSyntax::syntaxFormat(CodeParserSyntax::TokenType(10))
                     .hasProperty(QTextFormat::ForegroundBrush));

        QTextCharFormat changed = CodeParserSyntax::syntaxFormat(CodeParserSyntax::TokenType(8));
        QTextCharFormat const saved = changed;
        changed.setForeground(Qt::darkYellow);
        CodeParserSyntax::setSyntaxFormat(CodeParserSyntax::TokenType(8), changed);
        QCOMPARE(
            CodeParserSyntax::syntaxFormat(CodeParserSyntax::TokenType(8)).foreground().color(),
            QColor(Qt::darkYellow));
        CodeParserSyntax::setSyntaxFormat(CodeParserSyntax::TokenType(8), saved);
    }

    void wholeDocumentParse()
    {
        QTextDocument document(sample);
        TestRoot root;
        TestParser parser;
        CodeDocumentPrivate engine(&document, &root);
        QAbstractItemModelTester messagesTester(
            &engine, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester treeTester(&root,
                                            QAbstractItemModelTester::FailureReportingMode::QtTest);
        engine.setParser(&parser);
        parseAll(engine);

        QCOMPARE(nodeOf(document, 0), nullptr);
        auto *data = static_cast<TestGroup *>(nodeOf(document, 1));
        QCOMPARE(data->type(), CodeNode::Group);
        QCOMPARE(data->values().size(), 2);
        QCOMPARE(data->valueByName(QStringLiteral("life"))->rawValue(), QVariant(1000));
        QCOMPARE(root.rowCount(), 3);
        CodeNode *animation = nodeOf(document, 9);
        QCOMPARE(animation->type(), CodeNode::Animation);
        QCOMPARE(static_cast<ParentCode *>(animation)->childCount(), 2u);

        // Comments alone leave a line unparsed.
        QVERIFY(!dataOf(document, 0)->isParsed());
        QVERIFY(dataOf(document, 2)->isParsed());
        QVERIFY(dataOf(document, 3)->isParsed());

        // One error, one deprecation and one warning; the last two count alike.
        QCOMPARE(engine.count(Message::Error), 1u);
        QCOMPARE(engine.count(Message::Warning), 2u);
        QCOMPARE(engine.count(Message::All), 3u);
        QCOMPARE(engine.rowCount(), 3);
        Message const deprecated = engine.at(0, Message::All);
        QCOMPARE(deprecated.type, Message::Warning);
        QCOMPARE(deprecated.line, 3u);
        QCOMPARE(deprecated.text, QStringLiteral("'old_power' is deprecated"));
        Message const error = engine.at(0, Message::Error);
        QCOMPARE(error.line, 8u);
        QCOMPARE(error.column, 0u);
        QCOMPARE(engine.at(1, Message::All).line, 7u);
        QCOMPARE(engine.at(3, Message::All).type, Message::All);
        QCOMPARE(engine.at(0, Message::Information).text, QString());
        QCOMPARE(dataOf(document, 8)->syntaxMessages().first().type, 0);

        // The comment's format covers its characters only.
        engine.parseBlock(document.findBlockByNumber(3), true);
        QVector<QTextCharFormat> const formats = engine.formatChanges();
        QCOMPARE(formats.size(), document.findBlockByNumber(3).length() - 1);
        QVERIFY(formats.last().fontItalic());
        QCOMPARE(formats.at(0).underlineStyle(), QTextCharFormat::SpellCheckUnderline);
        QCOMPARE(formats.at(0).underlineColor(), QColor(255, 127, 0));

        // Parentheses of a heading.
        QVector<CodeBlockData::Parenthesis> const parens = dataOf(document, 6)->parenthesis();
        QCOMPARE(parens.size(), 2);
        QCOMPARE(parens.at(0).type, 0);
        QCOMPARE(QChar(parens.at(1).character), QLatin1Char(']'));
        QCOMPARE(parens.at(1).position, 5u);

        // States say which kind of section a line stands in.
        QCOMPARE(document.findBlockByNumber(0).userState(), -1);
        int const dataKind = static_cast<int>(data->subType());
        QCOMPARE(document.findBlockByNumber(1).userState(), dataKind);
        QCOMPARE(document.findBlockByNumber(4).userState(), dataKind);
        QCOMPARE(document.findBlockByNumber(9).userState(), 0x40000000);
        QCOMPARE(document.findBlockByNumber(11).userState(), 0x40000000);

        // A heading closes the section above; blank lines and comments stay
        // with what follows them.
        QCOMPARE(foldingOf(document), QList<int>({0, 0, 1, 1, 0, 0, 0, 1, 0, 0, 1, 1}));

        // Without highlighting nothing is reported, but nodes are still made.
        engine.parseBlock(document.findBlockByNumber(8), false);
        QCOMPARE(engine.count(Message::Error), 0u);
        QCOMPARE(engine.rowCount(), 2);
    }

    void keptNodesStayInPlace()
    {
        QTextDocument document(sample);
        TestRoot root;
        TestParser parser;
        CodeDocumentPrivate engine(&document, &root);
        engine.setParser(&parser);
        parseAll(engine);
        QList<CodeNode *> before;
        QList<CodeNode::Type> types;
        for (CodeNode *node = &root; node; node = node->next()) {
            before.append(node);
            types.append(node->type());
        }
        parseAll(engine);
        QList<CodeNode *> after;
        for (CodeNode *node = &root; node; node = node->next())
            after.append(node);
        // Frames are made anew, everything else is kept, in the same order.
        QCOMPARE(after.size(), before.size());
        for (int i = 0; i < before.size(); ++i) {
            QCOMPARE(after.at(i)->type(), types.at(i));
            if (types.at(i) != CodeNode::Frame)
                QCOMPARE(after.at(i), before.at(i));
        }
        QCOMPARE(engine.count(Message::All), 3u);
    }

    void replacedAndDroppedNodes()
    {
        QTextDocument document(QStringLiteral("[Data]\nlife = 1000\npower = 5"));
        TestRoot root;
        QAbstractItemModelTester tester(&root,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        LinkingParser parser;
        CodeDocumentPrivate engine(&document, &root);
        engine.setParser(&parser);
        parseAll(engine);
        auto *group = static_cast<GroupCode *>(nodeOf(document, 0));
        QCOMPARE(group->valueCount(), 2u);
        QCOMPARE(dataOf(document, 1)->links().size(), 1);

        // A line that now gives another node: the old one goes.
        QTextCursor cursor(document.findBlockByNumber(1));
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(QStringLiteral("attack = 10"));
        engine.parseBlock(document.findBlockByNumber(1), true);
        QCOMPARE(group->valueAt(0)->name(), QStringLiteral("attack"));
        QCOMPARE(group->valueCount(), 2u);
        QCOMPARE(dataOf(document, 1)->links().size(), 1);
        QCOMPARE(parser.deleted, 1); // the line's old link went with the re-parse

        // A parser that answers null: the line has no node any more.
        parser.keep = false;
        engine.parseBlock(document.findBlockByNumber(2), true);
        QCOMPARE(nodeOf(document, 2), nullptr);
        QCOMPARE(group->valueCount(), 1u);
        QCOMPARE(root.next()->next()->next(), nullptr);
    }

    void lineDeathReleasesItsNodeAndTellsItsMarks()
    {
        QTextDocument document(QStringLiteral("[Data]\nbroken line\nlife = 1\n"));
        TestRoot root;
        TestParser parser;
        CodeDocumentPrivate engine(&document, &root);
        QAbstractItemModelTester tester(&engine,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        engine.setParser(&parser);
        parseAll(engine);
        QCOMPARE(engine.rowCount(), 1);

        RecordingMark mark;
        CodeBlockData *broken = dataOf(document, 1);
        engine.addMark(&mark, 2);
        QCOMPARE(broken->marks().size(), 1);
        QCOMPARE(mark.line, 2);

        CodeNode *life = nodeOf(document, 2);
        auto *group = static_cast<GroupCode *>(nodeOf(document, 0));
        QCOMPARE(group->valueCount(), 1u);

        // Deleting the two lines ends their block data.
        QTextCursor cursor(document.findBlockByNumber(1));
        cursor.movePosition(QTextCursor::Down, QTextCursor::KeepAnchor, 2);
        cursor.removeSelectedText();
        QCOMPARE(mark.removals, 1);
        QCOMPARE(engine.rowCount(), 0);
        QCOMPARE(engine.count(Message::Error), 0u);
        QCOMPARE(group->valueCount(), 0u);
        QVERIFY(!CodeNode::isValid(life));

        // While the document is being destroyed, marks are not told.
        RecordingMark quiet;
        engine.addMark(&quiet, 1);
        engine.clearing = true;
        document.clear();
        QCOMPARE(quiet.removals, 0);
        engine.clearing = false;
    }
};

QTEST_MAIN(TestSyntax)
#include "tst_syntax.moc"
