// Code documents: the pass that parses and colours lines, the messages and
// block data it leaves, loading and saving, and the node files that mirror
// the document's sections.
#include "codedocument_p.h"

#include <kenro/code/codenodefile.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "testdata.h"
#include "testinterface.h"
#include "testnodes.h"
#include "testparser.h"

#include <QAbstractItemModelTester>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QTemporaryDir>

using namespace Kenro;
using namespace KenroTest;

namespace {

using Tester = QAbstractItemModelTester;

QString const sample = QStringLiteral(
    "; a character\n[Data]\nlife = 1000\nold_power = 3000 ; kept for old files\n\n"
    "; the size section\n[Size]\nxscale =\nwhat is this\n[Begin Action 0]\n0, 0\n1, 0");
QString const script = QStringLiteral("[Hits]\ndamage = 10\n[Begin Action 0]\n0, 1\n[Other]\n"
                                      "x = 1\n[Begin Action 20]\n2, 3\n[Hits]\n[Begin Action 5]\n");

CodeBlockData *dataOf(QTextDocument &document, int line)
{
    return CodeBlockData::testBlockData(document.findBlockByNumber(line));
}
CodeNode *nodeOf(QTextDocument &document, int line)
{
    CodeBlockData *data = dataOf(document, line);
    return data ? data->codeNode() : nullptr;
}
void parseAll(CodeDocumentPrivate &engine)
{
    for (QTextBlock block = engine.document()->begin(); block.isValid(); block = block.next())
        engine.parseBlock(block, true);
}
QString freshDescription(QString const &text)
{
    TestDocument fresh;
    fresh.setPlainText(text);
    return fresh.describe();
}

class Mark : public CodeMark
{
public:
    int line = -1, removals = 0;
    CodeDocument *document = nullptr;
    void setLine(int value) override { line = value; }
    void setDocument(CodeDocument *value) override { document = value; }
    void removed() override { ++removals; }
};

// A parser that adds a link to each line, and can be told to make no node.
class LinkingParser : public TestParser
{
    class Link : public CodeLink
    {
    public:
        explicit Link(int *counter) : counter(counter) {}
        ~Link() override { ++*counter; }
        int *counter;
    };

public:
    int deleted = 0;
    bool keep = true;
    CodeNode *parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                    CodeNode *context, RootCode *root, CodeParserSyntax *syntax) override
    {
        if (syntax)
            syntax->addLink(new Link(&deleted));
        return keep ? TestParser::parse(text, block, oldNode, context, root, syntax) : nullptr;
    }
};

int documentsAlive = 0, filesAlive = 0;

class CountedDocument : public TestDocument
{
public:
    CountedDocument() { ++documentsAlive; }
    ~CountedDocument() override { --documentsAlive; }
};

// A node file that mirrors the nodes of its kind as a list.
class MirrorFile : public CodeNodeFile
{
public:
    MirrorFile(CodeDocument *document, CodeNode::Type kind, unsigned int subType = 0)
        : CodeNodeFile(document), kind(kind), subType(subType)
    {
        ++filesAlive;
        if (document)
            document->registerNodeFile(this, kind, subType);
    }
    CodeNode::Type kind;
    unsigned int subType;
    QList<CodeNode *> nodes;
    int calls = 0, changes = 0;
    QStringList faults;

    void insertChild(CodeNode *child, unsigned int index) override
    {
        note(isMine(child) && index <= unsigned(nodes.size()), QString::number(index));
        nodes.insert(qMin(int(index), nodes.size()), child);
    }
    void removeChild(CodeNode *child) override { note(nodes.removeOne(child), "removal"); }
    void childChanged(CodeNode *child) override
    {
        ++changes;
        note(nodes.contains(child), "change");
    }
    // A call that does not fit what the file holds is noted as a fault.
    void note(bool fits, QString const &call)
    {
        ++calls;
        if (!fits)
            faults << call;
    }
    bool isMine(CodeNode const *node) const
    {
        return node->type() == kind &&
            (kind != CodeNode::Group || static_cast<GroupCode const *>(node)->subType() == subType);
    }
    // The nodes of the file's kind as the document's root holds them.
    QList<CodeNode *> expected() const
    {
        QList<CodeNode *> result;
        for (CodeNode *node : document()->root()->childs()) {
            if (isMine(node))
                result << node;
        }
        return result;
    }

private:
    ~MirrorFile() override { --filesAlive; }
    void free() override { delete this; }
};

QStringList namesOf(QList<CodeNode *> const &nodes)
{
    QStringList names;
    for (CodeNode const *node : nodes)
        names << dynamic_cast<NamedCode const *>(node)->name();
    return names;
}
unsigned int subTypeOf(CodeDocument &document, QString const &name)
{
    for (CodeNode *node : document.root()->childs()) {
        if (node->type() == CodeNode::Group && namesOf({node}).first() == name)
            return static_cast<GroupCode *>(node)->subType();
    }
    return 0;
}

} // namespace

class TestCodeDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }
    void init() { documentsAlive = filesAlive = 0; }

    void passParsesColoursAndReports()
    {
        QTextDocument document(sample);
        TestRoot root;
        TestParser parser;
        CodeDocumentPrivate engine(&document, &root);
        Tester messagesTester(&engine, Tester::FailureReportingMode::QtTest);
        Tester treeTester(&root, Tester::FailureReportingMode::QtTest);
        engine.setParser(&parser);
        parseAll(engine);
        auto *data = static_cast<TestGroup *>(nodeOf(document, 1));
        QCOMPARE(data->values().size(), 2);
        QCOMPARE(root.rowCount(), 3);
        QCOMPARE(static_cast<ParentCode *>(nodeOf(document, 9))->childCount(), 2u);
        // Comments alone leave a line unparsed.
        QVERIFY(!dataOf(document, 0)->isParsed() && dataOf(document, 3)->isParsed());
        // One error, one deprecation and one warning; the last two count alike.
        QStringList const messages = {"1 3:0 'old_power' is deprecated",
                                      "1 7:0 'xscale' has no value", "0 8:0 Syntax error"};
        QCOMPARE(messageLines(&engine), messages);
        QCOMPARE(engine.count(Message::Warning), 2u);
        QCOMPARE(engine.rowCount(), 3);
        // The comment's format covers its characters only; a deprecation is underlined.
        engine.parseBlock(document.findBlockByNumber(3), true);
        QVector<QTextCharFormat> const formats = engine.formatChanges();
        QCOMPARE(formats.size(), document.findBlockByNumber(3).length() - 1);
        QVERIFY(formats.last().fontItalic());
        QCOMPARE(formats.at(0).underlineStyle(), QTextCharFormat::SpellCheckUnderline);
        QCOMPARE(dataOf(document, 6)->parenthesis().size(), 2);
        QCOMPARE(dataOf(document, 6)->parenthesis().at(1).position, 5u);
        // States say which kind of section a line stands in. A heading closes
        // the section above; blank lines and comments stay with what follows them.
        QList<int> states, folding;
        for (int line : {0, 1, 4, 9, 11})
            states << document.findBlockByNumber(line).userState();
        int const kind = static_cast<int>(data->subType()), action = 0x40000000;
        QCOMPARE(states, QList<int>({-1, kind, kind, action, action}));
        for (int line = 0; line < document.blockCount(); ++line)
            folding << dataOf(document, line)->foldingIndent();
        QCOMPARE(folding, QList<int>({0, 0, 1, 1, 0, 0, 0, 1, 0, 0, 1, 1}));
        // A second pass keeps every node but the frames, in the same order.
        QList<CodeNode *> before;
        for (CodeNode *node = root.next(); node; node = node->next())
            before << (node->type() == CodeNode::Frame ? nullptr : node);
        parseAll(engine);
        int i = 0;
        for (CodeNode *node = root.next(); node; node = node->next(), ++i)
            QVERIFY(!before.value(i) || before.value(i) == node);
        QCOMPARE(i, before.size());
        QCOMPARE(messageLines(&engine), messages);
        // Without highlighting nothing is reported, but nodes are still made.
        engine.parseBlock(document.findBlockByNumber(8), false);
        QCOMPARE(messageLines(&engine), messages.mid(0, 2));
    }
    void replacedDroppedAndDeadLines()
    {
        QTextDocument document(QStringLiteral("[Data]\nlife = 1000\nbroken line\npower = 5\n"));
        TestRoot root;
        Tester tester(&root, Tester::FailureReportingMode::QtTest);
        LinkingParser parser;
        CodeDocumentPrivate engine(&document, &root);
        Tester messagesTester(&engine, Tester::FailureReportingMode::QtTest);
        engine.setParser(&parser);
        parseAll(engine);
        auto *group = static_cast<GroupCode *>(nodeOf(document, 0));
        QCOMPARE(group->valueCount(), 2u);
        QCOMPARE(dataOf(document, 1)->links().size(), 1);
        // A line that now gives another node: the old one goes, with the line's link.
        QTextCursor cursor(document.findBlockByNumber(1));
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(QStringLiteral("attack = 10"));
        engine.parseBlock(document.findBlockByNumber(1), true);
        QCOMPARE(group->valueAt(0)->name(), QStringLiteral("attack"));
        QCOMPARE(group->valueCount(), 2u);
        QCOMPARE(parser.deleted, 1);
        // Deleting lines ends their block data: marks are told, messages and nodes go.
        Mark mark;
        engine.addMark(&mark, 3);
        QCOMPARE(dataOf(document, 2)->marks().size(), 1);
        CodeNode *power = nodeOf(document, 3);
        cursor = QTextCursor(document.findBlockByNumber(2));
        cursor.movePosition(QTextCursor::Down, QTextCursor::KeepAnchor, 2);
        cursor.removeSelectedText();
        QCOMPARE(mark.removals, 1);
        QCOMPARE(engine.count(Message::Error), 0u);
        QCOMPARE(group->valueCount(), 1u);
        QVERIFY(!CodeNode::isValid(power));
        // A parser that answers null: the line has no node any more.
        parser.keep = false;
        engine.parseBlock(document.findBlockByNumber(1), true);
        QCOMPARE(nodeOf(document, 1), nullptr);
        QCOMPARE(group->valueCount(), 0u);
        // While the document is being destroyed, marks are not told.
        Mark quiet;
        engine.addMark(&quiet, 1);
        engine.clearing = true;
        document.clear();
        QCOMPARE(quiet.removals, 0);
        engine.clearing = false;
    }
    // Line states tell sections apart but not what stands in an animation
    // section, so the edits keep to sections and values.
    void editsKeepTheTreeInStep()
    {
        TestDocument document;
        Tester tester(document.model(), Tester::FailureReportingMode::QtTest);
        document.setPlainText(sample.section(QLatin1Char('\n'), 0, 8));
        checkRandomEdits(
            document,
            QStringLiteral("[Group]|[Other]|value = 7|name = t|; comment|[Third] ; c|"
                           "old_x = 1|nonsense xy|empty =|")
                .split(QLatin1Char('|')),
            6, 600, [&document] { return document.describe(); }, freshDescription);
    }
    void loadAndSave()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("kfm.cns"));
        QVERIFY(writeFile(path, "[Data]\nlife = 1000\n\tpower = 1\nab\tc\n"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        TestDocument document;
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QCOMPARE(document.title(), QStringLiteral("kfm.cns"));
        QVERIFY(!document.isModified());
        auto *data = static_cast<GroupCode *>(document.nodeInBlock(document.firstBlock()));
        QCOMPARE(data->valueCount(), 2u);
        // Files are written with CRLF line ends.
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QCOMPARE(readFile(path), QByteArray("[Data]\r\nlife = 1000\r\n\tpower = 1\r\nab\tc\r\n"));
        // Tabs to spaces on loading, to the next multiple of four; spaces to
        // tabs on saving.
        document.setOption(QStringLiteral("open_tabToSpace"), true, false, false);
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QCOMPARE(document.toPlainText().section('\n', 2, 3),
                 QStringLiteral("    power = 1\nab  c"));
        QTextCursor(document.findBlockByNumber(1)).insertText(QStringLiteral("   "));
        document.setOption(QStringLiteral("save_spaceToTab"), true, false, false);
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QCOMPARE(readFile(path),
                 QByteArray("[Data]\r\n   life = 1000\r\n\tpower = 1\r\nab\tc\r\n"));
        QVERIFY(!document.fromFile(fs, dir.filePath(QStringLiteral("missing.cns")), 0, nullptr));
        document.reset();
        QVERIFY(document.isEmpty() && document.fileName().isEmpty());
        // A character the file's codec cannot hold makes the file UTF-8.
        QVERIFY(writeFile(path, "name = \"caf\xe9\"\r\n"));
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QCOMPARE(document.findBlockByNumber(0).text(), QStringLiteral("name = \"caf\u00e9\""));
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QCOMPARE(readFile(path), QByteArray("name = \"caf\xe9\"\r\n"));
        document.insert(QStringLiteral("\n; \u900f\u660e"));
        QVERIFY(document.toFile(fs, path, ProjectFile::Background, nullptr));
        document.waitForSave();
        QCOMPARE(document.codecName(), QStringLiteral("UTF-8"));
        QCOMPARE(QString::fromUtf8(readFile(path)),
                 QStringLiteral("name = \"caf\u00e9\"\r\n\r\n; \u900f\u660e"));
    }
    void backgroundSaves()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("big.cns"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QString text;
        for (int i = 0; i < 20000; ++i)
            text += QStringLiteral("value%1 = %1\n").arg(i);
        auto *document = new TestDocument;
        document->setPlainText(text);
        QVERIFY(document->toFile(fs, path, 0, nullptr) && document->fromFile(fs, path, 0, nullptr));
        auto saved = [&] { return document->toPlainText().toUtf8().replace("\n", "\r\n"); };
        // Edits while the bytes are written; the second save waits for the first.
        QVERIFY(document->toFile(fs, path, ProjectFile::Background, nullptr));
        QTextCursor(document->findBlockByNumber(5)).insertText(QStringLiteral("; edited\n"));
        QVERIFY(document->toFile(fs, path, ProjectFile::Background, nullptr));
        QByteArray const second = saved();
        document->waitForSave();
        QCOMPARE(readFile(path), second);
        QVERIFY(!document->isModified());
        // Revision marks: lines changed since loading are negative, the rest
        // carry the saved revision.
        auto revision = [document](int line) {
            return document->findBlockByNumber(line).revision();
        };
        QVERIFY(revision(5) < 0 && revision(100) >= 0);
        QTextCursor(document->findBlockByNumber(200)).insertText(QStringLiteral("x"));
        QVERIFY(revision(200) > revision(100));
        // Destroyed while a save runs: the file on disk is the whole new text.
        QTextCursor(document->findBlockByNumber(1)).insertText(QStringLiteral("; last\n"));
        QByteArray const third = saved();
        QVERIFY(document->toFile(fs, path, ProjectFile::Background, nullptr));
        document->release();
        QCOMPARE(readFile(path), third);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({"big.cns"}));
    }
    void realFilesRoundTrip()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        int files = 0;
        QDirIterator it(data + QStringLiteral("/game"), {"*.cns", "*.cmd", "*.air", "*.def"},
                        QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QString const path = it.next();
            QByteArray original = readFile(path);
            TestDocument document;
            QVERIFY2(document.fromFile(fs, path, 0, nullptr), qPrintable(path));
            QString const copy = dir.filePath(QString::number(files++));
            QVERIFY(document.toFile(fs, copy, ProjectFile::Copy, nullptr));
            QCOMPARE(document.fileName(), path);
            // Every line end is written as CRLF; nothing else changes.
            original.replace("\r\n", "\n");
            QVERIFY2(readFile(copy) == original.replace("\n", "\r\n"), qPrintable(path));
        }
        QVERIFY2(files >= 15, qPrintable(QString::number(files)));
    }
    void watchedFiles()
    {
        TestInterface host;
        DialogAnswerer answerer(QMessageBox::Yes);
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("kfm.air"));
        QVERIFY(writeFile(path, "[Data]\nlife = 1\n"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        TestDocument document;
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QVERIFY(FileWatchObject::watchedFiles().contains(path));
        // The document's own save asks nothing; another program's change
        // asks once and reloads.
        document.insert(QStringLiteral("power = 2"));
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QTRY_VERIFY(!document.isWatchPaused()); // the notice of the own save came
        QVERIFY(answerer.seen.isEmpty());
        QVERIFY(writeFile(path, "[Data]\nlife = 5\n"));
        QTRY_COMPARE(document.toPlainText(), QStringLiteral("[Data]\nlife = 5\n"));
        QCOMPARE(answerer.seen.size(), 1);
    }
    void marksFollowTheirLines()
    {
        Mark mark;
        auto *document = new TestDocument;
        document->setPlainText(QStringLiteral("a = 1\nb = 2\nc = 3"));
        QVERIFY(!document->addMark(&mark, 0));
        QVERIFY(!document->addMark(&mark, 9));
        QVERIFY(document->addMark(&mark, 2));
        QCOMPARE(mark.document, document);
        QCOMPARE(document->marksAt(2), QList<CodeMark *>({&mark}));
        document->removeMark(&mark);
        QVERIFY(!document->hasMark(&mark));
        QVERIFY(document->addMark(&mark, 3));
        QTextCursor(document->findBlockByNumber(0)).insertText(QStringLiteral("x\n"));
        QCOMPARE(document->marksAt(4), QList<CodeMark *>({&mark}));
        document->release(); // destroyed: the mark is not told
        QCOMPARE(mark.removals, 0);
    }
    void nodeFilesShowTheirKindInTextOrder()
    {
        TestDocument document;
        document.setPlainText(script);
        unsigned int const hits = subTypeOf(document, QStringLiteral("Hits"));
        unsigned int const other = subTypeOf(document, QStringLiteral("Other"));
        QVERIFY(hits != 0 && other != 0 && hits != other);
        auto *animations = new MirrorFile(&document, CodeNode::Animation);
        auto *sections = new MirrorFile(&document, CodeNode::Group, hits);
        QCOMPARE(namesOf(animations->nodes),
                 QStringList({"Begin Action 0", "Begin Action 20", "Begin Action 5"}));
        QCOMPARE(sections->nodes, sections->expected());
        QCOMPARE(sections->nodes.size(), 2);
        QCOMPARE(document.nodeFile(CodeNode::Group, hits), sections);
        QCOMPARE(document.nodeFile(CodeNode::Group, other), nullptr);
        QCOMPARE(document.nodeFile(CodeNode::Animation, 3), animations); // kinds are for sections
        // A file of another document is not taken.
        TestDocument elsewhere;
        document.registerNodeFile(new MirrorFile(&elsewhere, CodeNode::Value), CodeNode::Value, 0);
        QCOMPARE(document.nodeFile(CodeNode::Value), nullptr);
        QCOMPARE(document.refCount(), 3u);
        auto *values = new MirrorFile(&document, CodeNode::Value); // values never stand at the top
        // Random edits reach each file as its own kind of node, in text order.
        QStringList const snippets =
            QStringLiteral("[Begin Action 7]|[Begin Action 8]|[Hits]|[Other]|4, 5|value = 3|"
                           "; note|")
                .split(QLatin1Char('|'));
        QRandomGenerator random(25);
        for (int step = 0; step < 400; ++step) {
            randomEdit(document, random, snippets);
            QCOMPARE(animations->nodes, animations->expected());
            QCOMPARE(sections->nodes, sections->expected());
            QCOMPARE(animations->faults + sections->faults, QStringList());
        }
        QVERIFY(animations->calls > 50 && sections->calls > 20);
        // A change reaches the file of its kind only.
        int const changes = sections->changes;
        for (CodeNode *node : document.root()->childs()) {
            document.root()->childChanged(node);
            if (auto *group = dynamic_cast<GroupCode *>(node); group && group->valueCount())
                group->valueAt(0)->valueChanged(6);
        }
        QCOMPARE(sections->changes, changes + int(sections->nodes.size()));
        QCOMPARE(sections->faults + values->faults, QStringList());
        QCOMPARE(values->calls, 0);
        // A re-parse reaches the files as a removal and an insertion of each node.
        int const before = animations->calls;
        document.reparse();
        QCOMPARE(animations->nodes, animations->expected());
        QCOMPARE(animations->calls, before + 2 * animations->nodes.size());
        // A later file of the same kind takes the place of the earlier one,
        // which hears no more; registered again, a file is not held twice.
        animations->addRef();
        QList<unsigned int> const references = {document.refCount(), 1};
        auto *later = new MirrorFile(&document, CodeNode::Animation);
        QCOMPARE(document.nodeFile(CodeNode::Animation), later);
        QCOMPARE(QList<unsigned int>({document.refCount(), animations->refCount()}), references);
        int const calls = animations->calls;
        document.insert(QStringLiteral("[Begin Action 9]"));
        QCOMPARE(animations->calls, calls);
        QCOMPARE(later->nodes, later->expected());
        animations->release();
        later->addRef();
        document.registerNodeFile(later, CodeNode::Animation, 0);
        QCOMPARE(QList<unsigned int>({document.refCount(), later->refCount()}), references);
    }
    void operationsGoToTheDocument()
    {
        TestInterface host;
        host.options.insert(QStringLiteral("hostOption"), 5);
        MemoryArchive archive;
        auto *document = new TestDocument;
        auto *file = new MirrorFile(document, CodeNode::Animation);
        file->addRef();
        document->release();
        QCOMPARE(file->model(), document->model());
        archive.files.insert(QStringLiteral("a.air"), QByteArray("[Begin Action 1]\n1, 2\n"));
        QVERIFY(file->fromFile(archive, QStringLiteral("a.air"), 0, nullptr));
        QCOMPARE(file->fileName(), QStringLiteral("a.air"));
        QCOMPARE(file->nodes.size(), 1);
        QVERIFY(!file->isEmpty() && !file->isModified());
        QCOMPARE(file->messages(), nullptr);
        QVERIFY(!file->fromFile(archive, QStringLiteral("missing.air"), 0, nullptr));
        file->beginChange();
        document->insert(QStringLiteral("[Begin Action 2]"));
        document->insert(QStringLiteral("\n3, 4"));
        file->endChange();
        QVERIFY(file->isModified());
        file->undo();
        QCOMPARE(file->nodes.size(), 1);
        file->redo();
        QCOMPARE(file->nodes.size(), 2);
        QList<ProjectFile::SearchResult> const found =
            file->search(RegExp(QStringLiteral("Action (\\d)")), ProjectFile::SearchAll);
        QCOMPARE(found.at(1).captures, QStringList("2"));
        file->replace(found, QStringLiteral("Action 1%1"));
        QCOMPARE(namesOf(file->nodes), QStringList({"Begin Action 11", "Begin Action 12"}));
        file->undo(); // one step for all
        QCOMPARE(namesOf(file->nodes), QStringList({"Begin Action 1", "Begin Action 2"}));
        file->redo();
        QVERIFY(file->toFile(archive, QStringLiteral("b.air"), 0, nullptr));
        QVERIFY(archive.files.value(QStringLiteral("b.air")).startsWith("[Begin Action 11]\r\n"));
        QVERIFY(!file->isModified());
        file->setOption(QStringLiteral("own"), 3, false, false);
        QCOMPARE(document->option(QStringLiteral("own")), QVariant(3));
        QCOMPARE(file->option(QStringLiteral("hostOption")), QVariant(5));
        file->reset();
        QVERIFY(document->isEmpty());
        QCOMPARE(file->nodes.size(), 0);
        QCOMPARE(file->faults, QStringList());
        archive.release();
        QVERIFY(!archive.freed); // the document still keeps it
        file->release();
        QVERIFY(archive.freed);
    }
    void releasingInAnyOrderFreesAll_data()
    {
        QTest::addColumn<QString>("order");
        for (char const *order : {"dab", "dba", "adb", "abd", "bda", "bad", "d"})
            addRow(order, order);
    }
    void releasingInAnyOrderFreesAll()
    {
        QFETCH(QString, order);
        auto *document = new CountedDocument;
        document->setPlainText(script);
        MirrorFile *files[] = {new MirrorFile(document, CodeNode::Animation),
                               new MirrorFile(document, CodeNode::Frame)};
        bool const filesKept = order.size() > 1; // "d": only the document holds them
        bool held[] = {true, filesKept, filesKept};
        for (MirrorFile *file : files) {
            if (filesKept)
                file->addRef();
        }
        for (QChar const step : order) {
            int const which = QStringLiteral("dab").indexOf(step);
            which == 0 ? document->release() : files[which - 1]->release();
            held[which] = false;
            // A file lives while someone can reach it; the document while
            // the test or a living file holds it.
            bool const alive[] = {held[1] || held[0], held[2] || held[0]};
            QCOMPARE(filesAlive, int(alive[0]) + int(alive[1]));
            QCOMPARE(documentsAlive, int(held[0] || alive[0] || alive[1]));
            // A file saves alone, in the background, only while no one else
            // holds its document.
            bool const alone = !held[0] && filesAlive == 1;
            for (int i = 0; i < 2; ++i) {
                if (alive[i]) {
                    QCOMPARE(files[i]->canSave(), alone);
                    QCOMPARE(files[i]->capabilities(),
                             alone ? ProjectFile::AsyncSave
                                   : ProjectFile::AsyncSave | ProjectFile::HasChildren);
                }
            }
            if (alive[0] && !held[0])
                QCOMPARE(files[0]->nodes.size(), 3); // still working through the document
        }
        QCOMPARE(documentsAlive + filesAlive, 0);
    }
    void aDocumentDestroyedDirectlyLeavesNoDanglingFile()
    {
        MirrorFile *survivor = nullptr;
        {
            TestDocument document;
            document.setPlainText(script);
            new MirrorFile(&document, CodeNode::Animation);
            survivor = new MirrorFile(&document, CodeNode::Frame);
            survivor->addRef();
        }
        // The file that only the document held went with it; the other
        // forwards to nothing now.
        QCOMPARE(filesAlive, 1);
        QCOMPARE(survivor->document(), nullptr);
        QVERIFY(survivor->isEmpty() && !survivor->canSave());
        survivor->release();
        QCOMPARE(filesAlive, 0);
    }
};

QTEST_MAIN(TestCodeDocument)
#include "tst_codedocument.moc"
