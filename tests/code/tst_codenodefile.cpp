#include <kenro/code/codenodefile.h>
#include <kenro/code/groupcode.h>
#include <kenro/code/valuecode.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/regexp.h>

#include "memoryarchive.h"
#include "testinterface.h"
#include "testnodes.h"
#include "testparser.h"
#include "testproject.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Kenro;
using KenroTest::TestDocument;

namespace {

int documentsAlive = 0;
int filesAlive = 0;

/// A document that counts its instances.
class CountedDocument : public TestDocument
{
public:
    CountedDocument() { ++documentsAlive; }
    ~CountedDocument() override { --documentsAlive; }
};

/// A node file that mirrors the nodes of its kind as a list and notes every call.
class MirrorFile : public CodeNodeFile
{
public:
    MirrorFile(CodeDocument *document, CodeNode::Type kind, unsigned int subType = 0)
        : CodeNodeFile(document), kind(kind), subType(subType)
    {
        ++filesAlive;
    }

    CodeNode::Type kind;
    unsigned int subType;
    QList<CodeNode *> nodes;
    int calls = 0;
    int changes = 0;
    QStringList faults;

    void insertChild(CodeNode *child, unsigned int index) override
    {
        ++calls;
        if (!isMine(child))
            faults << QStringLiteral("foreign node of type %1").arg(child->type());
        if (index > static_cast<unsigned int>(nodes.size()))
            faults << QStringLiteral("index %1 past %2").arg(index).arg(nodes.size());
        nodes.insert(qMin(static_cast<int>(index), nodes.size()), child);
    }
    void removeChild(CodeNode *child) override
    {
        ++calls;
        if (!nodes.removeOne(child))
            faults << QStringLiteral("removal of an unknown node");
    }
    void childChanged(CodeNode *child) override
    {
        ++calls;
        ++changes;
        if (!nodes.contains(child))
            faults << QStringLiteral("change of an unknown node");
    }

    bool isMine(CodeNode const *node) const
    {
        if (node->type() != kind)
            return false;
        return kind != CodeNode::Group ||
            static_cast<GroupCode const *>(node)->subType() == subType;
    }

    /// The nodes of the file's kind as the document's root holds them.
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

QString nameOf(CodeNode const *node)
{
    auto const *named = dynamic_cast<NamedCode const *>(node);
    return named ? named->name() : QString();
}

QStringList namesOf(QList<CodeNode *> const &nodes)
{
    QStringList names;
    for (CodeNode const *node : nodes)
        names << nameOf(node);
    return names;
}

// The kind of the first section named \a name.
unsigned int subTypeOf(CodeDocument &document, QString const &name)
{
    for (CodeNode *node : document.root()->childs()) {
        if (node->type() == CodeNode::Group && nameOf(node) == name)
            return static_cast<GroupCode *>(node)->subType();
    }
    return 0;
}

QString const script = QStringLiteral("[Hits]\n"
                                      "damage = 10\n"
                                      "[Begin Action 0]\n"
                                      "0, 1\n"
                                      "[Other]\n"
                                      "x = 1\n"
                                      "[Begin Action 20]\n"
                                      "2, 3\n"
                                      "[Hits]\n"
                                      "[Begin Action 5]\n");

QStringList const snippets = {QStringLiteral("[Begin Action 7]"),
                              QStringLiteral("[Begin Action 8]"),
                              QStringLiteral("[Hits]"),
                              QStringLiteral("[Other]"),
                              QStringLiteral("4, 5"),
                              QStringLiteral("value = 3"),
                              QStringLiteral("; note"),
                              QString()};

// Releases the references that a test holds, one by one, in the order of
// \a order ("d" the document, "a" and "b" the node files).
struct Holdings
{
    CountedDocument *document = nullptr;
    MirrorFile *a = nullptr;
    MirrorFile *b = nullptr;
    bool holdsDocument = true;
    bool holdsA = true;
    bool holdsB = true;
};

} // namespace

class TestCodeNodeFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }
    void init()
    {
        // A failed test may leave objects behind; the next one counts afresh.
        documentsAlive = 0;
        filesAlive = 0;
    }

    void registrationShowsWhatIsThereInTextOrder()
    {
        TestDocument document;
        document.setPlainText(script);
        unsigned int const hits = subTypeOf(document, QStringLiteral("Hits"));
        unsigned int const other = subTypeOf(document, QStringLiteral("Other"));
        QVERIFY(hits != 0 && other != 0 && hits != other);

        auto *animations = new MirrorFile(&document, CodeNode::Animation);
        auto *sections = new MirrorFile(&document, CodeNode::Group, hits);
        document.registerNodeFile(animations, CodeNode::Animation, 0);
        document.registerNodeFile(sections, CodeNode::Group, hits);

        QCOMPARE(namesOf(animations->nodes),
                 QStringList({QStringLiteral("Begin Action 0"), QStringLiteral("Begin Action 20"),
                              QStringLiteral("Begin Action 5")}));
        QCOMPARE(sections->nodes.size(), 2);
        QCOMPARE(sections->nodes.at(0)->lineNo(), 0);
        QCOMPARE(sections->nodes.at(1)->lineNo(), 8);
        QCOMPARE(animations->faults, QStringList());
        QCOMPARE(sections->faults, QStringList());
        QCOMPARE(document.nodeFile(CodeNode::Animation), animations);
        QCOMPARE(document.nodeFile(CodeNode::Group, hits), sections);
        QCOMPARE(document.nodeFile(CodeNode::Group, other), nullptr);
        QCOMPARE(document.nodeFile(CodeNode::Value), nullptr);
        // A kind number means nothing but for sections.
        QCOMPARE(document.nodeFile(CodeNode::Animation, 3), animations);

        document.registerNodeFile(nullptr, CodeNode::Value, 0);
        QCOMPARE(document.nodeFile(CodeNode::Value), nullptr);
        TestDocument elsewhere;
        auto *stranger = new MirrorFile(&elsewhere, CodeNode::Value);
        document.registerNodeFile(stranger, CodeNode::Value, 0);
        QCOMPARE(document.nodeFile(CodeNode::Value), nullptr);
        QCOMPARE(stranger->calls, 0);
        stranger->release();
        QCOMPARE(document.refCount(), 3u);
    }

    void filesFollowEditsOfTheirOwnKind()
    {
        TestDocument document;
        document.setPlainText(script);
        unsigned int const hits = subTypeOf(document, QStringLiteral("Hits"));
        auto *animations = new MirrorFile(&document, CodeNode::Animation);
        auto *sections = new MirrorFile(&document, CodeNode::Group, hits);
        document.registerNodeFile(animations, CodeNode::Animation, 0);
        document.registerNodeFile(sections, CodeNode::Group, hits);

        QRandomGenerator random(25);
        for (int step = 0; step < 400; ++step) {
            int const lines = document.blockCount();
            int const action = random.bounded(10);
            QTextCursor cursor(&document);
            if (action < 5) {
                cursor.setPosition(document.findBlockByNumber(random.bounded(lines)).position());
                cursor.insertText(snippets.at(random.bounded(snippets.size())) + QLatin1Char('\n'));
            } else if (action < 7 && lines > 1) {
                QTextBlock const block = document.findBlockByNumber(random.bounded(lines - 1));
                cursor.setPosition(block.position());
                cursor.setPosition(block.position() + block.length(), QTextCursor::KeepAnchor);
                cursor.removeSelectedText();
            } else if (action < 9) {
                QTextBlock const block = document.findBlockByNumber(random.bounded(lines));
                cursor.setPosition(block.position());
                cursor.setPosition(block.position() + block.length() - 1, QTextCursor::KeepAnchor);
                cursor.insertText(snippets.at(random.bounded(snippets.size())));
            } else {
                document.undo();
            }
            QList<CodeNode *> const wanted = animations->expected();
            for (int i = 1; i < wanted.size(); ++i)
                QVERIFY(wanted.at(i - 1)->lineNo() < wanted.at(i)->lineNo());
            QCOMPARE(animations->nodes, wanted);
            QCOMPARE(sections->nodes, sections->expected());
            QCOMPARE(animations->faults, QStringList());
            QCOMPARE(sections->faults, QStringList());
        }
        QVERIFY(animations->calls > 50);
        QVERIFY(sections->calls > 20);

        // A re-parse reaches the files as a removal and an insertion of each node.
        int const before = animations->calls;
        document.reparse();
        QCOMPARE(animations->nodes, animations->expected());
        QCOMPARE(animations->calls, before + 2 * animations->nodes.size());
    }

    void aChangeReachesTheFileOfItsKindOnly()
    {
        TestDocument document;
        document.setPlainText(QStringLiteral("loose = 1\n[Hits]\nx = 2\n[Other]\n"));
        unsigned int const hits = subTypeOf(document, QStringLiteral("Hits"));
        auto *sections = new MirrorFile(&document, CodeNode::Group, hits);
        auto *values = new MirrorFile(&document, CodeNode::Value);
        document.registerNodeFile(sections, CodeNode::Group, hits);
        document.registerNodeFile(values, CodeNode::Value, 0);
        // Values stand in sections or nowhere, never at the top.
        QCOMPARE(values->nodes, QList<CodeNode *>());
        QCOMPARE(sections->nodes.size(), 1);

        document.root()->childChanged(document.root()->childAt(0));
        QCOMPARE(sections->changes, 1);
        document.root()->childChanged(document.root()->childAt(1));
        QCOMPARE(sections->changes, 1);
        auto *section = static_cast<KenroTest::TestGroup *>(document.root()->childAt(0));
        section->valueAt(0)->valueChanged(6);
        QCOMPARE(section->changedChildren.size(), 1);
        QCOMPARE(values->calls, 0);
        QCOMPARE(sections->changes, 1);
        QCOMPARE(sections->faults, QStringList());
    }

    void theLaterOfTwoFilesWins()
    {
        TestDocument document;
        document.setPlainText(script);
        auto *first = new MirrorFile(&document, CodeNode::Animation);
        auto *second = new MirrorFile(&document, CodeNode::Animation);
        first->addRef(); // kept by the test to look at it afterwards
        document.registerNodeFile(first, CodeNode::Animation, 0);
        document.registerNodeFile(second, CodeNode::Animation, 0);
        QCOMPARE(document.nodeFile(CodeNode::Animation), second);
        QCOMPARE(document.refCount(), 2u);
        QCOMPARE(first->refCount(), 1u);
        int const calls = first->calls;
        document.insert(QStringLiteral("[Begin Action 9]"));
        QCOMPARE(first->calls, calls);
        QCOMPARE(second->nodes.size(), 4);
        QCOMPARE(first->project(), nullptr);
        first->release();
        QCOMPARE(document.refCount(), 2u);
        QCOMPARE(document.nodeFile(CodeNode::Animation), second);

        // Registered again, a file is not held twice.
        second->addRef();
        document.registerNodeFile(second, CodeNode::Animation, 0);
        QCOMPARE(document.refCount(), 2u);
        QCOMPARE(second->refCount(), 1u);
    }

    void anotherKindOfSectionDoesNotReachTheFile()
    {
        TestDocument document;
        document.setPlainText(QStringLiteral("[Hits]\n[Other]\n"));
        unsigned int const hits = subTypeOf(document, QStringLiteral("Hits"));
        auto *sections = new MirrorFile(&document, CodeNode::Group, hits);
        document.registerNodeFile(sections, CodeNode::Group, hits);
        QCOMPARE(sections->nodes.size(), 1);
        document.insert(QStringLiteral("\n[Other]\n[Hits]"));
        QCOMPARE(sections->nodes, sections->expected());
        QCOMPARE(sections->nodes.size(), 2);
        QCOMPARE(sections->faults, QStringList());
        int const calls = sections->calls;
        QTextCursor cursor(&document);
        cursor.setPosition(document.findBlockByNumber(1).position());
        cursor.setPosition(document.findBlockByNumber(2).position(), QTextCursor::KeepAnchor);
        cursor.removeSelectedText(); // the first [Other]
        QCOMPARE(sections->calls, calls);
        QCOMPARE(sections->nodes, sections->expected());
    }

    void operationsGoToTheDocument()
    {
        KenroTest::TestInterface host;
        host.options.insert(QStringLiteral("hostOption"), 5);
        KenroTest::MemoryArchive archiveObject;
        KenroTest::MemoryArchive *archive = &archiveObject;
        auto *document = new TestDocument;
        auto *file = new MirrorFile(document, CodeNode::Animation);
        document->registerNodeFile(file, CodeNode::Animation, 0);
        file->addRef();
        document->release();
        QCOMPARE(file->document(), document);
        QCOMPARE(file->model(), document->model());
        QVERIFY(file->isEmpty());

        archive->files.insert(QStringLiteral("a.air"), QByteArray("[Begin Action 1]\n1, 2\n"));
        QVERIFY(file->fromFile(*archive, QStringLiteral("a.air"), 0, nullptr));
        QCOMPARE(document->toPlainText(), QStringLiteral("[Begin Action 1]\n1, 2\n"));
        QCOMPARE(file->fileName(), QStringLiteral("a.air"));
        QCOMPARE(file->displayName(), QStringLiteral("a.air"));
        QCOMPARE(file->nodes.size(), 1);
        QVERIFY(!file->isEmpty());
        QVERIFY(!file->isModified());
        QCOMPARE(file->messages(), nullptr);
        QVERIFY(document->messages() != nullptr);
        QVERIFY(!file->fromFile(*archive, QStringLiteral("missing.air"), 0, nullptr));

        file->beginChange();
        document->insert(QStringLiteral("[Begin Action 2]"));
        document->insert(QStringLiteral("\n3, 4"));
        file->endChange();
        QVERIFY(file->isModified());
        QCOMPARE(file->nodes.size(), 2);
        file->undo();
        QCOMPARE(file->nodes.size(), 1);
        QCOMPARE(document->toPlainText(), QStringLiteral("[Begin Action 1]\n1, 2\n"));
        file->redo();
        QCOMPARE(file->nodes.size(), 2);

        QList<ProjectFile::SearchResult> const found =
            file->search(RegExp(QStringLiteral("Action (\\d)")), ProjectFile::SearchAll);
        QCOMPARE(found.size(), 2);
        file->replace(found, QStringLiteral("Action 1%1"));
        QCOMPARE(
            namesOf(file->nodes),
            QStringList({QStringLiteral("Begin Action 11"), QStringLiteral("Begin Action 12")}));

        QVERIFY(file->toFile(*archive, QStringLiteral("b.air"), 0, nullptr));
        QVERIFY(archive->files.value(QStringLiteral("b.air")).startsWith("[Begin Action 11]\r\n"));
        QCOMPARE(file->fileName(), QStringLiteral("b.air"));
        QVERIFY(!file->isModified());

        file->setOption(QStringLiteral("own"), 3, false, false);
        QCOMPARE(document->option(QStringLiteral("own")), QVariant(3));
        QCOMPARE(file->option(QStringLiteral("own")), QVariant(3));
        QCOMPARE(file->option(QStringLiteral("hostOption")), QVariant(5));
        QCOMPARE(file->option(QStringLiteral("absent"), 9), QVariant(9));

        file->reset();
        QVERIFY(document->isEmpty());
        QCOMPARE(file->nodes.size(), 0);
        QCOMPARE(file->fileName(), QString());
        QCOMPARE(file->faults, QStringList());
        archive->release();
        QVERIFY(!archive->freed); // the document still keeps it
        file->release();
        QVERIFY(archive->freed);
    }

    void theProjectIsTheFilesOwnOrElseTheDocuments()
    {
        KenroTest::TestProject project(nullptr, 0, nullptr, false);
        auto *document = new TestDocument;
        auto *file = new MirrorFile(document, CodeNode::Animation);
        document->registerNodeFile(file, CodeNode::Animation, 0);
        QCOMPARE(file->project(), nullptr);
        QVERIFY(project.addFile(document, Project::Scripts));
        QCOMPARE(file->project(), &project);

        KenroTest::TestProject own(nullptr, 0, nullptr, false);
        file->addRef();
        QVERIFY(own.addFile(file, Project::Animations));
        QCOMPARE(file->project(), &own);
        own.removeFile(file);
        project.removeFile(document);
    }

    void savingAloneNeedsAnUnsharedDocument_data()
    {
        QTest::addColumn<int>("files");
        QTest::addColumn<bool>("keepDocument");
        QTest::addColumn<bool>("canSave");
        QTest::addColumn<int>("capabilities");
        // The test document has the two capabilities of a code document, 4 and 8.
        QTest::newRow("one file, document handed over") << 1 << false << true << 4;
        QTest::newRow("one file, document also kept") << 1 << true << false << 5;
        QTest::newRow("two files") << 2 << false << false << 5;
        QTest::newRow("two files, document kept") << 2 << true << false << 5;
    }

    void savingAloneNeedsAnUnsharedDocument()
    {
        QFETCH(int, files);
        QFETCH(bool, keepDocument);
        QFETCH(bool, canSave);
        QFETCH(int, capabilities);
        auto *document = new CountedDocument;
        QCOMPARE(int(document->capabilities()), 12);
        QList<MirrorFile *> kept;
        for (int i = 0; i < files; ++i) {
            auto *file = new MirrorFile(document, CodeNode::Group, unsigned(i));
            file->addRef();
            document->registerNodeFile(file, CodeNode::Group, unsigned(i));
            kept << file;
        }
        if (!keepDocument)
            document->release();
        for (MirrorFile *file : std::as_const(kept)) {
            QCOMPARE(file->canSave(), canSave);
            QCOMPARE(int(file->capabilities()), capabilities);
        }
        if (keepDocument)
            document->release();
        for (MirrorFile *file : std::as_const(kept))
            file->release();
        QCOMPARE(documentsAlive, 0);
        QCOMPARE(filesAlive, 0);
    }

    void releasingInAnyOrderFreesAll_data()
    {
        QTest::addColumn<QString>("order");
        QTest::addColumn<bool>("filesKept");
        for (QString const order :
             {QStringLiteral("dab"), QStringLiteral("dba"), QStringLiteral("adb"),
              QStringLiteral("abd"), QStringLiteral("bda"), QStringLiteral("bad")}) {
            QTest::newRow(qPrintable(order)) << order << true;
        }
        QTest::newRow("document only") << QStringLiteral("d") << false;
    }

    void releasingInAnyOrderFreesAll()
    {
        QFETCH(QString, order);
        QFETCH(bool, filesKept);
        Holdings held;
        held.document = new CountedDocument;
        held.document->setPlainText(script);
        held.a = new MirrorFile(held.document, CodeNode::Animation);
        held.b = new MirrorFile(held.document, CodeNode::Frame);
        held.document->registerNodeFile(held.a, CodeNode::Animation, 0);
        held.document->registerNodeFile(held.b, CodeNode::Frame, 0);
        held.holdsA = held.holdsB = filesKept;
        if (filesKept) {
            held.a->addRef();
            held.b->addRef();
        }
        QCOMPARE(documentsAlive, 1);
        QCOMPARE(filesAlive, 2);

        for (QChar const step : order) {
            if (step == QLatin1Char('d')) {
                held.document->release();
                held.holdsDocument = false;
            } else if (step == QLatin1Char('a')) {
                held.a->release();
                held.holdsA = false;
            } else {
                held.b->release();
                held.holdsB = false;
            }
            // A file lives while someone can reach it; the document while
            // the test or a living file holds it.
            bool const aAlive = held.holdsA || held.holdsDocument;
            bool const bAlive = held.holdsB || held.holdsDocument;
            QCOMPARE(filesAlive, int(aAlive) + int(bAlive));
            QCOMPARE(documentsAlive, int(held.holdsDocument || aAlive || bAlive));
            if (aAlive && !held.holdsDocument) {
                // Still working through the document that it keeps alive.
                QCOMPARE(held.a->nodes.size(), 3);
                QVERIFY(held.a->document() != nullptr);
            }
        }
        QCOMPARE(documentsAlive, 0);
        QCOMPARE(filesAlive, 0);
    }

    void aDocumentDestroyedDirectlyLeavesNoDanglingFile()
    {
        MirrorFile *survivor = nullptr;
        {
            TestDocument document;
            document.setPlainText(script);
            auto *held = new MirrorFile(&document, CodeNode::Animation);
            survivor = new MirrorFile(&document, CodeNode::Frame);
            document.registerNodeFile(held, CodeNode::Animation, 0);
            document.registerNodeFile(survivor, CodeNode::Frame, 0);
            survivor->addRef();
            QCOMPARE(filesAlive, 2);
        }
        // The file that only the document held went with it; the other
        // forwards to nothing now.
        QCOMPARE(filesAlive, 1);
        QCOMPARE(survivor->document(), nullptr);
        QVERIFY(survivor->isEmpty());
        QVERIFY(!survivor->canSave());
        QCOMPARE(survivor->fileName(), QString());
        survivor->release();
        QCOMPARE(filesAlive, 0);
    }
};

QTEST_MAIN(TestCodeNodeFile)
#include "tst_codenodefile.moc"
