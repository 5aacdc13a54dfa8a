// The code editor over the real scripts of the test game: folding, fold
// boxes, links followed through the host, and a picture of a state file.
#include <ikemen/air/airdocument.h>
#include <ikemen/project/definitionproject.h>
#include <ikemen/project/gameproject.h>
#include <ikemen/script/scriptdocument.h>

#include <kenro/code/codeblockdata.h>
#include <kenro/editors/codeeditor.h>
#include <kenro/editors/fileeditor.h>
#include <kenro/project/filesystemarchive.h>

#include "editorband.h"
#include "scenerenderer.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QTextBlock>
#include <QTimer>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::addRow;

namespace {

// Where the host was sent: the file and line each link opened.
class Recorder : public FileEditor
{
public:
    QStringList opened;
    QAction *action() override { return nullptr; }
    char const *name() const override { return "code"; }
    unsigned int areas() const override { return 1; }
    void retranslate() override {}
    QList<ProjectFile::SearchResult> find(RegExp const &, unsigned int) override { return {}; }
    void replace(QList<ProjectFile::SearchResult> const &, QString const &) override {}
    int fileType() const override { return Project::Scripts; }
    void cut() override {}
    void copy() override {}
    void paste() override {}
    void release() override {}
    void navigateTo(unsigned int line, unsigned int) override
    {
        opened << u"%1:%2"_s.arg(QFileInfo(currentFile()->fileName()).fileName()).arg(line);
    }
};

bool show(CodeEditor &editor, CodeDocument *document)
{
    editor.setDocument(document);
    editor.resize(640, 480);
    editor.show();
    return QTest::qWaitForWindowExposed(&editor);
}

// A script of the game as the engine reads it, with a document of its kind, in an editor.
struct Opened
{
    CodeDocument *document;
    CodeEditor editor;
    explicit Opened(QString const &path)
        : document(path.endsWith(u".air"_s, Qt::CaseInsensitive)
                       ? static_cast<CodeDocument *>(new Ikemen::AirDocument)
                       : new Ikemen::ScriptDocument)
    {
        document->fromFile(FileSystemArchive::instance(), path, 0, nullptr);
    }
    ~Opened()
    {
        editor.setDocument(nullptr);
        document->release();
    }
};

} // namespace

class TestIkemenEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The GL driver that a shown window may load stays until the end.
    void cleanupTestCase() { KenroTest::keepGLDriverLoaded(); }

    void everyScriptFolds_data()
    {
        QTest::addColumn<QString>("path");
        KENRO_REQUIRE_TESTDATA(data);
        QDirIterator it(data + u"/game"_s,
                        {u"*.def"_s, u"*.cns"_s, u"*.cmd"_s, u"*.st"_s, u"*.air"_s}, QDir::Files,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QString const path = it.next();
            QTest::newRow(qPrintable(path.mid(data.size()))) << path;
        }
    }
    void everyScriptFolds()
    {
        QFETCH(QString, path);
        Opened opened(path);
        auto &[document, editor] = opened;
        QVERIFY(show(editor, document));
        QString const text = document->toPlainText();
        int folds = 0, hidden = 0;
        for (QTextBlock b = document->begin(); b.isValid(); b = b.next()) {
            if (b.isVisible())
                editor.toggleBlockVisible(b); // nothing for a line that does not fold
            folds += CodeBlockData::testBlockData(b) && CodeBlockData::testBlockData(b)->isFolded();
            hidden += !b.isVisible();
        }
        QVERIFY(folds > 0 && hidden > 0);
        QCOMPARE(document->lineCount(), document->blockCount() - hidden);
        for (QTextBlock b = document->lastBlock(); b.isValid(); b = b.previous()) {
            if (CodeBlockData::testBlockData(b) && CodeBlockData::testBlockData(b)->isFolded())
                editor.toggleBlockVisible(b);
        }
        QCOMPARE(document->lineCount(), document->blockCount());
        QCOMPARE(document->toPlainText(), text);
    }

    void foldBoxes_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("line");
        QTest::addColumn<bool>("box");
        addRow("[Data]", "chars/kfm/kfm.cns", 4, true);
        addRow("comment in a section", "chars/kfm/kfm.cns", 5, false);
        addRow("value", "chars/kfm/kfm.cns", 6, false);
        addRow("[Statedef 200]", "chars/kfm/kfm.cns", 255, true);
        addRow("comment above a heading", "chars/kfm/kfm.def", 3, false);
        addRow("[Info]", "chars/kfm/kfm.def", 4, true);
        addRow("comment above an action", "chars/kfm/kfm.air", 4, false);
        addRow("[Begin Action 0]", "chars/kfm/kfm.air", 5, true);
        addRow("frame", "chars/kfm/kfm.air", 9, false);
    }
    void foldBoxes()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, file);
        QFETCH(int, line);
        Opened opened(data + u"/game/"_s + file);
        auto &[document, editor] = opened;
        QVERIFY(show(editor, document));
        editor.setCurrentLine(unsigned(line), CodeEditor::Centre);
        QTEST(KenroTest::bandSummary(editor).split(u' ').contains(u"%1:f"_s.arg(line)), "box");
    }

    void links_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("text"); // the click is on its last character
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("expected");
        addRow("file", "kfm.def", "kfm.cmd", int(Qt::ControlModifier), "kfm.cmd:0");
        addRow("common file", "kfm.def", "common1.cns", int(Qt::ControlModifier), "common1.cns:0");
        addRow("state here", "kfm.cns", "value = 181", int(Qt::ControlModifier), "kfm.cns:154");
        addRow("state elsewhere", "kfm.cmd", "value = 3050", int(Qt::ControlModifier),
               "kfm.cns:3333");
        addRow("common state", "kfm.cns", "value = 0", int(Qt::ControlModifier), "common1.cns:30");
        addRow("no Ctrl", "kfm.def", "kfm.cmd", 0, "");
        addRow("Ctrl and Shift", "kfm.def", "kfm.cmd", int(Qt::ControlModifier | Qt::ShiftModifier),
               "");
        addRow("not a state", "kfm.cns", "value = 190", int(Qt::ControlModifier), "");
    }
    void links()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, file);
        QFETCH(QString, text);
        QFETCH(int, modifiers);
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        Recorder recorder;
        host.fileEditor = &recorder;
        Ikemen::DefinitionProject *project = Ikemen::GameProject::openDefinition(
            data + u"/game/chars/kfm/kfm.def"_s, FileSystemArchive::instance(), &engine);
        QVERIFY(project);
        CodeDocument *document = nullptr;
        for (ProjectFile *f : project->files()) {
            if (f->fileName().endsWith(u'/' + file))
                document = dynamic_cast<CodeDocument *>(f);
        }
        QVERIFY(document);
        CodeEditor editor;
        QVERIFY(show(editor, document));
        QTextCursor at = document->find(text);
        editor.setCurrentLine(unsigned(at.blockNumber()), CodeEditor::Centre);
        at.setPosition(at.selectionEnd() - 1);
        QPoint const pos = editor.cursorRect(at).center() + QPoint(2, 0);
        QTest::mouseClick(editor.viewport(), Qt::LeftButton, Qt::KeyboardModifiers(modifiers), pos);
        QTEST(recorder.opened.join(u' '), "expected");
        if (recorder.opened.isEmpty())
            QCOMPARE(editor.textCursor().position(), at.position());
        editor.setDocument(nullptr);
        project->release();
    }

    void picture()
    {
        KENRO_REQUIRE_TESTDATA(data);
        Opened opened(data + u"/game/chars/kfm/kfm.cns"_s);
        auto &[document, editor] = opened;
        QVERIFY(show(editor, document));
        // A folded state controller, an edited line, a marked line, and the
        // cursor on a heading's bracket with its partner.
        int const top = document->find(u"[Statedef 200]"_s).blockNumber();
        editor.toggleBlockVisible(document->find(u"[State 200, 1]"_s).block());
        editor.setCurrentLine(unsigned(top), CodeEditor::Bottom);
        QTextCursor(document->findBlockByNumber(top + 1)).insertText(u" "_s);
        editor.setCurrentLine(unsigned(top + 3), CodeEditor::Top);
        editor.markCurrentLine(true);
        editor.setTextCursor(QTextCursor(document->find(u"[State 200, 2]"_s).block()));
        QMetaObject::invokeMethod(editor.findChild<QTimer *>(u"parenTimer"_s), "timeout");
        QString const path = KenroTest::picturePath(u"codeeditor_kfm_cns.png"_s);
        QVERIFY(editor.grab().save(path));
    }
};

QTEST_MAIN(TestIkemenEditor)
#include "tst_ikemeneditor.moc"
