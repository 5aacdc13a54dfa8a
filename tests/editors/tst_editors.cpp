#include <kenro/editors/filedialogs.h>
#include <kenro/editors/fileeditor.h>
#include <kenro/editors/itemsdialog.h>
#include <kenro/project/filesystemarchive.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"
#include "testjobs.h"
#include "testproject.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QListView>
#include <QPushButton>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::addRow;
using KenroTest::DialogAnswerer;
using KenroTest::readFile;

namespace {

// A file whose capabilities and failures the test steers, and whose write
// flags and undo calls it sees.
class DocFile : public KenroTest::TextFile
{
public:
    Capabilities caps;
    bool failRead = false;
    bool failWrite = false;
    QString calls; // 'u' undo, 'r' redo, then the flags of each write
    Capabilities capabilities() const override { return caps; }
    bool toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *job) override
    {
        calls += QString::number(flags);
        return !failWrite && TextFile::toFile(archive, name, flags, job);
    }
    bool fromFile(Archive &archive, QString const &name, unsigned int flags, JobStats *job) override
    {
        return !failRead && TextFile::fromFile(archive, name, flags, job);
    }
    void undo() override { calls += u'u'; }
    void redo() override { calls += u'r'; }
};

class ScriptEditor : public FileEditor
{
    Q_OBJECT

public:
    explicit ScriptEditor(int type = Project::Scripts) : m_type(type) {}
    QAction *action() override { return &m_action; }
    char const *name() const override { return "scripts"; }
    unsigned int areas() const override { return 1; }
    void retranslate() override {}
    QList<ProjectFile::SearchResult> find(RegExp const &, unsigned int) override { return {}; }
    void replace(QList<ProjectFile::SearchResult> const &, QString const &) override {}
    int fileType() const override { return m_type; }
    void cut() override {}
    void copy() override {}
    void paste() override {}
    void release() override {}

private:
    int m_type;
    QAction m_action{u"Scripts"_s};
};

// A host with an engine and one open project, <dir>/obj/obj.def, whose new
// files are DocFiles; an editor of its scripts shows obj/a.cns.
struct Workspace
{
    Workspace()
    {
        host.currentEngine = &engine;
        engine.fileFactory = [this](int, Project *) {
            auto *file = new DocFile;
            file->failRead = failRead;
            file->freed = &lastFreed;
            return file;
        };
        QString const main = dir.filePath(u"obj/obj.def"_s);
        KenroTest::writeFile(main, "[Info]");
        project = new KenroTest::TestProject(&parent, 0, new KenroTest::TextFile, true);
        project->mainFile()->fromFile(FileSystemArchive::instance(), main, 0, nullptr);
        project->addToParent();
        host.current = project;
        file->content = "one";
        file->toFile(FileSystemArchive::instance(), dir.filePath(u"obj/a.cns"_s), 0, nullptr);
        file->content = "two";
        file->modified = true;
        project->addFile(file, Project::Scripts);
        editor.setCurrentFile(file);
    }
    ~Workspace()
    {
        project->release();
        delete project;
    }
    int scripts() { return project->filesByType(Project::Scripts).size(); }

    KenroTest::TestInterface host;
    KenroTest::TestEngine engine;
    QTemporaryDir dir;
    KenroTest::TestParentProject parent{dir.path() + u'/', FileSystemArchive::instance()};
    KenroTest::TestProject *project = nullptr;
    DocFile *file = new DocFile;
    ScriptEditor editor;
    QSignalSpy modified{&editor, &FileEditor::modified};
    bool lastFreed = false;
    bool failRead = false;
};

} // namespace

class TestEditors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void createAndUndo()
    {
        Workspace space;
        space.editor.undo();
        space.editor.redo();
        space.editor.switchToThis();
        space.editor.switchToThis(); // already current: the host is not asked again
        QCOMPARE(space.host.switches.size(), 1);
        space.editor.setCurrentFile(nullptr);
        space.editor.undo(); // without a file undo goes nowhere
        QVERIFY(!space.editor.isModified());
        QCOMPARE(space.file->calls, "0ur"_L1);
        space.editor.create();
        QCOMPARE(space.scripts(), 2);
        QCOMPARE(space.modified.count(), 1);
        // A file the project refuses is released.
        ScriptEditor odd(40);
        odd.create();
        QVERIFY(space.lastFreed && !odd.isActive());
        QCOMPARE(space.modified.count(), 1);
    }

    void open_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("asCopy");
        addRow("inside the project", "obj/states/", int(QMessageBox::No), false);
        addRow("outside, as a copy", "outside/", int(QMessageBox::Yes), true);
        addRow("outside, taken over", "outside/", int(QMessageBox::No), false);
        addRow("unreadable", "obj/", int(QMessageBox::No), false);
    }

    void open()
    {
        QFETCH(QString, folder);
        QFETCH(int, answer);
        QFETCH(bool, asCopy);
        Workspace space;
        space.failRead = folder == "obj/"_L1;
        space.host.options.insert(u"project_path"_s, space.dir.path());
        QString const path = space.dir.filePath(folder + u"common.cns"_s);
        QVERIFY(KenroTest::writeFile(path, "[Statedef 0]"));
        DialogAnswerer answerer{QMessageBox::StandardButton(answer)};
        answerer.files = {{path}};
        space.editor.open();
        DialogAnswerer::Seen const dialog = answerer.seen.first();
        QCOMPARE(dialog.title + dialog.nameFilters.join(u'|'), u"Open scripts...Scripts (*.cns)"_s);
        QCOMPARE(dialog.directory, space.dir.path());
        QCOMPARE(answerer.titles().size(), folder.startsWith("obj"_L1) ? 1 : 2); // "External file!"
        if (space.failRead) { // the new file leaves the project again, and nothing is remembered
            QVERIFY(space.lastFreed && space.scripts() == 1 && space.modified.isEmpty());
            QVERIFY(!space.host.options.contains(u"scripts_path"_s));
            return;
        }
        auto *file = static_cast<DocFile *>(space.project->file(Project::Scripts));
        QCOMPARE(file->content, QByteArray("[Statedef 0]"));
        QCOMPARE(file->fileName(), asCopy ? QString() : path); // a copy keeps no name
        QVERIFY(space.editor.isActive());
        QCOMPARE(space.modified.count(), 1);
        // The folder is remembered; the next dialog starts there.
        QString const remembered = QFileInfo(path).absolutePath();
        QCOMPARE(space.host.options.value(u"scripts_path"_s).toString(), remembered);
        answerer.seen.clear();
        space.editor.open(); // cancelled: nothing added
        QCOMPARE(answerer.seen.first().directory, remembered);
        QCOMPARE(space.scripts(), 2);
        ScriptEditor(Project::Sounds).open(); // no filter for the type: no dialog at all
        QCOMPARE(answerer.seen.size(), 1);
    }

    void save()
    {
        Workspace space;
        KenroTest::TestJobs jobs;
        space.host.provider = &jobs;
        // Unmodified, or a file that cannot save: nothing is written.
        space.file->modified = false;
        space.editor.save();
        space.file->modified = true;
        space.file->canSaveFile = false;
        space.editor.save();
        QCOMPARE(readFile(space.file->fileName()), QByteArray("one"));
        space.file->canSaveFile = true;
        space.editor.save();
        QCOMPARE(readFile(space.file->fileName()), QByteArray("two"));
        QCOMPARE(space.modified.count(), 1);
        // A file that saves in the background gets the flag, and its job goes with it.
        space.file->caps = ProjectFile::AsyncSave;
        space.file->modified = true;
        space.editor.save();
        QCOMPARE(jobs.titles.join(u'|'), "Saving a.cns|Saving a.cns"_L1);
        QCOMPARE(jobs.jobs.front()->detached + jobs.jobs.back()->detached, 1);
        QCOMPARE(space.file->calls, "002"_L1);
        // A failed write asks for another place; cancelling ends it.
        space.file->failWrite = space.file->modified = true;
        DialogAnswerer answerer;
        space.editor.save();
        QCOMPARE(answerer.titles(), QStringList{u"Save scripts as..."_s});
        QVERIFY(space.file->modified);
    }

    void saveAs_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("written"); // empty: the write fails
        QTest::addColumn<QString>("name"); // the file's name afterwards
        int const none = QMessageBox::NoButton, yes = QMessageBox::Yes, no = QMessageBox::No;
        addRow("suffix added", "*.cns", "obj/x", none, "obj/x.cns", "obj/x.cns");
        addRow("suffix present", "*.cns", "obj/x.cns", none, "obj/x.cns", "obj/x.cns");
        addRow("suffix case counts", "*.ext", "obj/x.EXT", none, "obj/x.EXT.ext", "obj/x.EXT.ext");
        addRow("second suffix kept", "*.st*.cns", "obj/x.cns", none, "obj/x.cns", "obj/x.cns");
        addRow("first suffix added", "*.st*.cns", "obj/x", none, "obj/x.st", "obj/x.st");
        addRow("blanks: no suffix", "*.st *.cns", "obj/x", none, "obj/x", "obj/x");
        addRow("wildcard: no suffix", "*", "obj/x", none, "obj/x", "obj/x");
        addRow("outside, as a copy", "*.cns", "b.cns", yes, "b.cns", "obj/a.cns");
        addRow("outside, taken over", "*.cns", "b.cns", no, "b.cns", "b.cns");
        // A plain file where the folder would have to be.
        addRow("failing", "*.cns", "obj/a.cns/b.cns", int(QMessageBox::Ok), "", "obj/a.cns");
    }

    void saveAs()
    {
        QFETCH(QString, filter);
        QFETCH(QString, typed);
        QFETCH(int, answer);
        QFETCH(QString, written);
        QFETCH(QString, name);
        Workspace space;
        space.engine.filters.insert(Project::Scripts, filter);
        DialogAnswerer answerer{QMessageBox::StandardButton(answer)};
        answerer.files = {{space.dir.filePath(typed)}};
        QCOMPARE(FileEditor::saveFileAs(space.file, &space.editor, &space.host),
                 !written.isEmpty());
        QCOMPARE(answerer.seen.first().nameFilters,
                 QStringList({u"Scripts (%1)"_s.arg(filter), u"All files (*.*)"_s}));
        QString const second = written.isEmpty() ? u"Save file error!"_s : u"External file!"_s;
        QCOMPARE(answerer.titles().join(u'|'),
                 u"Save scripts as..."_s +
                     (answer == QMessageBox::NoButton ? QString() : u'|' + second));
        QVERIFY(written.isEmpty() || readFile(space.dir.filePath(written)) == "two");
        QCOMPARE(space.file->fileName(), space.dir.filePath(name));
        QCOMPARE(space.file->isModified(), name != written);
        QCOMPARE(readFile(space.dir.filePath(u"obj/a.cns"_s)), QByteArray("one"));
        // The folder is remembered and modified() sent, whatever happened.
        QCOMPARE(space.modified.count(), 1);
        QCOMPARE(space.host.options.value(u"scripts_path"_s).toString(),
                 QFileInfo(space.dir.filePath(typed)).absolutePath());
        // A file that cannot save, or no host: no dialog at all.
        space.file->canSaveFile = false;
        QVERIFY(!FileEditor::saveFileAs(space.file, &space.editor, &space.host) &&
                !FileEditor::saveFileAs(space.file, &space.editor, nullptr));
        QCOMPARE(answerer.seen.size(), answer == QMessageBox::NoButton ? 1 : 2);
    }

    void canDiscard_data()
    {
        QTest::addColumn<int>("caps");
        QTest::addColumn<bool>("modified");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("result"); // of each file, then of all
        addRow("unmodified", 0, false, int(QMessageBox::No), "1 0");
        addRow("with children", int(ProjectFile::HasChildren), true, int(QMessageBox::No), "1 0");
        addRow("modified, yes", 0, true, int(QMessageBox::Yes), "1 1");
        addRow("modified, no", 0, true, int(QMessageBox::No), "0 0");
    }

    void canDiscard()
    {
        QFETCH(int, caps);
        QFETCH(bool, modified);
        QFETCH(int, answer);
        QFETCH(QString, result);
        Workspace space;
        space.file->caps = ProjectFile::Capabilities::fromInt(caps);
        space.file->modified = modified;
        auto *other = new DocFile;
        other->modified = true;
        space.project->addFile(other, Project::Scripts);
        DialogAnswerer answerer{QMessageBox::StandardButton(answer)};
        QStringList results{QString::number(space.editor.canDiscard(space.file))};
        bool const asked = !answerer.seen.isEmpty();
        QCOMPARE(asked, caps == 0 && modified);
        QVERIFY(!asked ||
                answerer.seen.first().text ==
                    "Do you want to discard the changes made in scripts?"_L1);
        // Every file of a project is asked, even after a no; null is the current project.
        results << QString::number(space.editor.canDiscard(static_cast<Project *>(nullptr)));
        QCOMPARE(results.join(u' '), result);
        QCOMPARE(answerer.seen.size(), asked ? 3 : 1);
        QVERIFY(space.editor.canDiscard(static_cast<ProjectFile const *>(nullptr)));
        space.host.current = nullptr;
        QVERIFY(space.editor.canDiscard(static_cast<Project *>(nullptr)));
    }

    void parentSaveAsksWhereToWrite()
    {
        // A modified file whose place cannot be written goes through its
        // editor's save as, which the host names.
        Workspace space;
        KenroTest::MemoryArchive archive;
        archive.readOnly = true;
        KenroTest::TestParentProject parent(u"/root/"_s, archive);
        KenroTest::TestProject project(&parent, 0, nullptr, false);
        project.addToParent();
        auto *script = new DocFile;
        script->name = u"/root/p/p.cns"_s;
        script->content = "changed";
        script->modified = true;
        project.addFile(script, Project::Scripts);
        space.host.fileEditor = &space.editor;
        DialogAnswerer answerer(QMessageBox::Yes);
        answerer.files = {{space.dir.filePath(u"p.cns"_s)}};
        parent.save(nullptr);
        QCOMPARE(space.host.editorRequests, QList<int>{Project::Scripts});
        QCOMPARE(readFile(space.dir.filePath(u"p.cns"_s)), QByteArray("changed"));
        project.release();
    }

    void itemsDialog_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<QList<int>>("selected");
        addRow("first", 0, QList<int>{0, 1, 3});
        addRow("last", 4, QList<int>{1, 3, 4});
        addRow("none", -1, QList<int>{1, 3});
        addRow("past the end", 5, QList<int>{1, 3});
    }

    void itemsDialog()
    {
        QFETCH(int, current);
        QFETCH(QList<int>, selected);
        KenroTest::TestInterface host;
        QStringListModel model({u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s});
        QPointer<ItemsDialog> dialog =
            host.itemsDialog(nullptr, "icon_file", u"Pick"_s, &model, current);
        QVERIFY(dialog->windowTitle() == "Pick"_L1 &&
                host.iconRequests == QStringList{u"icon_file"_s});
        // Rows come back in model order, each once; a double click accepts.
        auto *view = dialog->findChild<QListView *>();
        view->selectionModel()->select(model.index(3, 0), QItemSelectionModel::Select);
        view->selectionModel()->select(model.index(1, 0), QItemSelectionModel::Select);
        QCOMPARE(dialog->selectedRows(), selected);
        dialog->show();
        Q_EMIT view->doubleClicked(model.index(1, 0));
        QCOMPARE(dialog->result(), int(QDialog::Accepted));
        dialog->release();
        QVERIFY(dialog.isNull());
    }

    void fileDialogs_data()
    {
        QTest::addColumn<QVariant>("native");
        QTest::addColumn<bool>("sort");
        addRow("unset", QVariant(), false);
        addRow("Qt's own, sorted", QVariant(false), true);
        addRow("native", QVariant(true), false);
    }

    void fileDialogs()
    {
        QFETCH(QVariant, native);
        QFETCH(bool, sort);
        KenroTest::TestInterface host;
        if (native.isValid())
            host.options.insert(u"use_native_open"_s, native);
        host.options.insert(u"sort_file_names"_s, sort);
        QTemporaryDir dir;
        QStringList chosen;
        for (char const *name : {"c.txt", "a.txt", "b.txt"}) {
            chosen.append(dir.filePath(QLatin1String(name)));
            QVERIFY(KenroTest::writeFile(chosen.last(), name));
        }
        DialogAnswerer answerer;
        answerer.files = {chosen, {dir.filePath(u"new.txt"_s)}, {}};
        QStringList sorted = chosen;
        if (sort)
            sorted.sort();
        QCOMPARE(getOpenFileNames(nullptr, u"Open"_s, dir.path(), u"Text (*.txt)"_s), sorted);
        QCOMPARE(getSaveFileName(nullptr, u"Save"_s, dir.path(), QString()),
                 dir.filePath(u"new.txt"_s));
        QVERIFY(getOpenFileName(nullptr, u"Cancelled"_s, dir.path(), QString()).isEmpty());
        QCOMPARE(answerer.seen[0].directory, dir.path());
        QCOMPARE(answerer.seen[0].nameFilters, QStringList{u"Text (*.txt)"_s});
        // Open dialogs are Qt's own unless the user asked for the platform's;
        // a save dialog is left to the platform.
        QString options;
        for (DialogAnswerer::Seen const &seen : std::as_const(answerer.seen))
            options += seen.options.testFlag(QFileDialog::DontUseNativeDialog) ? u'Q' : u'P';
        QCOMPARE(options, native.toBool() ? "PPP"_L1 : "QPQ"_L1);
    }
};

QTEST_MAIN(TestEditors)
#include "tst_editors.moc"
