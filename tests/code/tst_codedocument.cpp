#include <kenro/code/codeblockdata.h>
#include <kenro/code/groupcode.h>
#include <kenro/code/valuecode.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>
#include <kenro/project/messages.h>

#include "dialoganswerer.h"
#include "testdata.h"
#include "testinterface.h"
#include "testparser.h"

#include <QAbstractItemModelTester>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using KenroTest::TestDocument;

namespace {

QString const sample = QStringLiteral("; a character\n"
                                      "[Data]\n"
                                      "life = 1000\n"
                                      "old_power = 3000\n"
                                      "\n"
                                      "[Size]\n"
                                      "xscale = 1\n"
                                      "bad line\n");

// The same text parsed from scratch.
QString freshDescription(QString const &text)
{
    TestDocument fresh;
    fresh.setPlainText(text);
    return fresh.describe();
}

// Line states tell sections apart but not what stands in an animation
// section, and the rules of a heading's death and of a value's birth read
// frames differently; so the random edits keep to sections and values.
QStringList const snippets = {QStringLiteral("[Group]"),   QStringLiteral("[Other]"),
                              QStringLiteral("value = 7"), QStringLiteral("name = text"),
                              QStringLiteral("; comment"), QStringLiteral("[Third] ; c"),
                              QStringLiteral("old_x = 1"), QStringLiteral("nonsense here"),
                              QStringLiteral("empty ="),   QString()};

} // namespace

class TestCodeDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }

    void editsKeepTheTreeInStep()
    {
        TestDocument document;
        QAbstractItemModelTester tester(document.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        document.setPlainText(sample);
        QCOMPARE(document.describe(), freshDescription(document.toPlainText()));
        QRandomGenerator random(6);
        for (int step = 0; step < 600; ++step) {
            QString const before = document.toPlainText();
            QTextCursor cursor(&document);
            int const size = document.characterCount() - 1;
            int const action = random.bounded(10);
            if (action < 4) {
                cursor.setPosition(random.bounded(size + 1));
                QString text = snippets.at(random.bounded(snippets.size()));
                if (random.bounded(2))
                    text = QLatin1Char('\n') + text;
                cursor.insertText(text);
            } else if (action < 6 && size > 0) {
                int const from = random.bounded(size);
                cursor.setPosition(from);
                cursor.setPosition(qMin(size, from + random.bounded(1, 30)),
                                   QTextCursor::KeepAnchor);
                cursor.removeSelectedText();
            } else if (action < 8) {
                QStringList lines;
                for (int i = random.bounded(1, 5); i > 0; --i)
                    lines.append(snippets.at(random.bounded(snippets.size())));
                cursor.setPosition(random.bounded(size + 1));
                cursor.movePosition(QTextCursor::StartOfBlock);
                cursor.insertText(lines.join(QLatin1Char('\n')) + QLatin1Char('\n'));
            } else if (action == 8) {
                document.undo();
            } else {
                document.redo();
            }
            QString const expected = freshDescription(document.toPlainText());
            QString const actual = document.describe();
            if (actual != expected) {
                qWarning().noquote() << "step" << step << "action" << action << "before:\n"
                                     << before << "\nafter:\n"
                                     << document.toPlainText();
                QCOMPARE(actual, expected);
            }
        }
    }

    void textChangePathAndInserts()
    {
        TestDocument document;
        document.setPlainText(QStringLiteral("[Data]\nlife = 1000\n[Size]\nxscale = 1"));
        auto *data = static_cast<GroupCode *>(document.nodeInBlock(document.firstBlock()));
        QCOMPARE(data->valueCount(), 1u);

        // Inside a change the new node can be read at once.
        document.beginChange();
        document.insertAfter(data->valueAt(0), QStringLiteral("power = 3000"), true);
        QVERIFY(document.isCodeBeingChanged());
        QCOMPARE(data->valueCount(), 2u);
        QCOMPARE(data->valueAt(1)->name(), QStringLiteral("power"));
        document.endChange();
        QVERIFY(!document.isCodeBeingChanged());
        QCOMPARE(document.toPlainText(),
                 QStringLiteral("[Data]\nlife = 1000\npower = 3000\n[Size]\nxscale = 1"));

        document.insertBefore(nullptr, QStringLiteral("; top"), false);
        document.insertBefore(data, QStringLiteral("[Header]"), true);
        document.insertAfter(data, QStringLiteral("attack = 10"), false);
        document.insertAfter(nullptr, QStringLiteral("[End]"), false);
        QCOMPARE(document.toPlainText(),
                 QStringLiteral("; top\n[Header]\n[Data]\nlife = 1000\npower = 3000\nattack = 10\n"
                                "[Size]\nxscale = 1[End]\n"));
        QCOMPARE(document.describe(), freshDescription(document.toPlainText()));

        // A section appends a value behind its last one.
        data->appendValue(QStringLiteral("defence = 5"));
        QCOMPARE(data->valueAt(data->valueCount() - 1)->name(), QStringLiteral("defence"));
        QCOMPARE(document.findBlockByNumber(6).text(), QStringLiteral("defence = 5"));

        // A node rewrites its line through the same path.
        QModelIndex const index = document.indexInLine(3);
        QVERIFY(index.isValid());
        QCOMPARE(document.lineNo(index), 3);
        QCOMPARE(static_cast<ValueCode *>(CodeDocument::nodeFromIndex(index))->name(),
                 QStringLiteral("life"));
    }

    void loadAndSave()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("kfm.cns"));
        QVERIFY(KenroTest::writeFile(path, "[Data]\nlife = 1000\n\tpower = 1\n"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        TestDocument document;
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QCOMPARE(document.fileName(), path);
        QCOMPARE(document.title(), QStringLiteral("kfm.cns"));
        QVERIFY(!document.isModified());
        QVERIFY(document.codecId() > 0); // what the detector says of plain ASCII
        QCOMPARE(
            static_cast<GroupCode *>(document.nodeInBlock(document.firstBlock()))->valueCount(),
            2u);

        // Files are written with CRLF line ends.
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QCOMPARE(KenroTest::readFile(path), QByteArray("[Data]\r\nlife = 1000\r\n\tpower = 1\r\n"));

        // Tabs to spaces on loading, spaces to tabs on saving.
        document.setOption(QStringLiteral("open_tabToSpace"), true, false, false);
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QCOMPARE(document.findBlockByNumber(2).text(), QStringLiteral("    power = 1"));
        QTextCursor cursor(document.findBlockByNumber(1));
        cursor.insertText(QStringLiteral("   "));
        document.setOption(QStringLiteral("save_spaceToTab"), true, false, false);
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QCOMPARE(KenroTest::readFile(path),
                 QByteArray("[Data]\r\n   life = 1000\r\n\tpower = 1\r\n"));

        QVERIFY(!document.fromFile(fs, dir.filePath(QStringLiteral("missing.cns")), 0, nullptr));
        document.reset();
        QVERIFY(document.isEmpty());
        QVERIFY(document.fileName().isEmpty());
        QCOMPARE(document.codecName(), QStringLiteral("UTF-8"));
        QVERIFY(document.search(RegExp(QStringLiteral("a")), 8).isEmpty());
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
        QVERIFY(document->toFile(fs, path, 0, nullptr));
        QVERIFY(document->fromFile(fs, path, 0, nullptr)); // every line saved
        QVERIFY(document->toFile(fs, path, ProjectFile::Background, nullptr));
        // Edits while the bytes are written; the second save waits for the first.
        QTextCursor cursor(document->findBlockByNumber(5));
        cursor.insertText(QStringLiteral("; edited\n"));
        QVERIFY(document->toFile(fs, path, ProjectFile::Background, nullptr));
        QString const second = document->toPlainText();
        document->waitForSave();
        QByteArray expected = second.toUtf8();
        expected.replace("\n", "\r\n");
        QCOMPARE(KenroTest::readFile(path), expected);
        QVERIFY(!document->isModified());

        // Revision marks: lines changed since loading are negative, the rest
        // carry the saved revision.
        QVERIFY(document->findBlockByNumber(5).revision() < 0);
        QVERIFY(document->findBlockByNumber(100).revision() >= 0);
        QTextCursor later(document->findBlockByNumber(200));
        later.insertText(QStringLiteral("x"));
        QVERIFY(document->findBlockByNumber(200).revision() >
                document->findBlockByNumber(100).revision());

        // Destroyed while a save runs: the file on disk is the whole new text.
        QTextCursor last(document->findBlockByNumber(1));
        last.insertText(QStringLiteral("; last\n"));
        QString const third = document->toPlainText();
        QVERIFY(document->toFile(fs, path, ProjectFile::Background, nullptr));
        document->release();
        expected = third.toUtf8();
        expected.replace("\n", "\r\n");
        QCOMPARE(KenroTest::readFile(path), expected);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList({QStringLiteral("big.cns")}));
    }

    void realFilesRoundTrip()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        int files = 0;
        QDirIterator it(data + QStringLiteral("/game"),
                        {QStringLiteral("*.cns"), QStringLiteral("*.cmd"), QStringLiteral("*.air"),
                         QStringLiteral("*.def")},
                        QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QString const path = it.next();
            QByteArray original = KenroTest::readFile(path);
            TestDocument document;
            QVERIFY2(document.fromFile(fs, path, 0, nullptr), qPrintable(path));
            QString const copy = dir.filePath(QString::number(files) + QStringLiteral(".txt"));
            QVERIFY(document.toFile(fs, copy, ProjectFile::Copy, nullptr));
            // The CRLF rule: every line end is written as CRLF.
            original.replace("\r\n", "\n");
            original.replace("\n", "\r\n");
            QVERIFY2(KenroTest::readFile(copy) == original, qPrintable(path));
            QCOMPARE(document.fileName(), path);
            ++files;
        }
        QVERIFY2(files >= 15, qPrintable(QString::number(files)));
    }

    void watchedFiles()
    {
        KenroTest::TestInterface host;
        KenroTest::DialogAnswerer answerer(QMessageBox::Yes);
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("kfm.air"));
        QVERIFY(KenroTest::writeFile(path, "[Data]\nlife = 1\n"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        TestDocument document;
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QVERIFY(FileWatchObject::watchedFiles().contains(path));

        // The document's own save asks nothing.
        document.insert(QStringLiteral("power = 2"));
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QTest::qWait(300);
        QVERIFY(answerer.seen.isEmpty());

        // Another program's change asks once and reloads.
        QVERIFY(KenroTest::writeFile(path, "[Data]\nlife = 5\n"));
        QTRY_COMPARE(document.toPlainText(), QStringLiteral("[Data]\nlife = 5\n"));
        QCOMPARE(answerer.seen.size(), 1);
    }

    void charactersTheCodecCannotHold()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("latin.def"));
        QVERIFY(KenroTest::writeFile(path, "name = \"caf\xe9\"\r\n"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        TestDocument document;
        QVERIFY(document.fromFile(fs, path, 0, nullptr));
        QCOMPARE(document.findBlockByNumber(0).text(), QStringLiteral("name = \"caf\u00e9\""));
        QVERIFY(document.toFile(fs, path, 0, nullptr));
        QCOMPARE(KenroTest::readFile(path), QByteArray("name = \"caf\xe9\"\r\n"));
        // A character the file's codec cannot hold: the file becomes UTF-8.
        document.insert(QStringLiteral("\n; \u900f\u660e"));
        QVERIFY(document.toFile(fs, path, ProjectFile::Background, nullptr));
        document.waitForSave();
        QCOMPARE(document.codecName(), QStringLiteral("UTF-8"));
        QCOMPARE(QString::fromUtf8(KenroTest::readFile(path)),
                 QStringLiteral("name = \"caf\u00e9\"\r\n\r\n; \u900f\u660e"));
    }

    void searchAndReplace()
    {
        TestDocument document;
        document.setPlainText(QStringLiteral("life = 100\npower = 200\nlife2 = 300"));
        QList<ProjectFile::SearchResult> all =
            document.search(RegExp(QStringLiteral("(\\w+) = (\\d+)")), 8);
        QCOMPARE(all.size(), 3);
        QCOMPARE(all.at(1).line, 1);
        QCOMPARE(all.at(1).position, 0);
        QCOMPARE(all.at(1).captures, QStringList({QStringLiteral("power"), QStringLiteral("200")}));
        QCOMPARE(all.at(2).text, QStringLiteral("life2 = 300"));
        document.replace(all, QStringLiteral("%1 := %2"));
        QCOMPARE(document.toPlainText(), QStringLiteral("life := 100\npower := 200\nlife2 := 300"));
        document.undo();
        QCOMPARE(document.toPlainText(), QStringLiteral("life = 100\npower = 200\nlife2 = 300"));

        QTextCursor cursor(&document);
        cursor.setPosition(12);
        document.setCursor(cursor);
        QList<ProjectFile::SearchResult> next = document.search(RegExp(QStringLiteral("life")), 0);
        QCOMPARE(next.size(), 1);
        QCOMPARE(next.first().line, 2);
        cursor.setPosition(30);
        document.setCursor(cursor);
        QVERIFY(document.search(RegExp(QStringLiteral("life")), 0).isEmpty());
        QCOMPARE(document.search(RegExp(QStringLiteral("life")), 2).first().line, 0);
        QCOMPARE(document.search(RegExp(QStringLiteral("life")), 1).first().line, 2);
        QCOMPARE(document.search(RegExp(QStringLiteral("life")), 5).first().line, 2);
    }

    void marksFollowTheirLines()
    {
        class Mark : public CodeMark
        {
        public:
            int line = 0;
            CodeDocument *document = nullptr;
            int removals = 0;
            void setLine(int value) override { line = value; }
            void setDocument(CodeDocument *value) override { document = value; }
            void removed() override { ++removals; }
        } mark;
        auto *document = new TestDocument;
        document->setPlainText(QStringLiteral("a = 1\nb = 2\nc = 3"));
        QVERIFY(!document->addMark(&mark, 0));
        QVERIFY(!document->addMark(&mark, 9));
        QVERIFY(document->addMark(&mark, 2));
        QCOMPARE(mark.document, document);
        QCOMPARE(document->marksAt(2), QList<CodeMark *>({&mark}));
        QVERIFY(document->hasMark(&mark));
        document->removeMark(&mark);
        QVERIFY(!document->hasMark(&mark));
        QVERIFY(document->addMark(&mark, 3));
        document->release(); // destroyed: the mark is not told
        QCOMPARE(mark.removals, 0);
    }
};

QTEST_MAIN(TestCodeDocument)
#include "tst_codedocument.moc"
