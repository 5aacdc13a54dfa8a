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
#include <QListView>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTemporaryDir>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::DialogAnswerer;
using KenroTest::readFile;

namespace {

// A file whose capabilities and write failures the test steers; it records
// undo, redo and the flags of each write.
struct DocFile : KenroTest::TextFile
{
    Capabilities caps;
    bool failWrite = false;
    QString calls; // 'u' undo, 'r' redo, then the flags of each write
    Capabilities capabilities() const override { return caps; }
    bool toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *job) override
    {
        calls += QString::number(flags);
        return !failWrite && TextFile::toFile(archive, name, flags, job);
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
// files are DocFiles; an editor of its scripts shows obj/a.cns, saved as
// "one" and modified to "two".
struct Workspace
{
    Workspace()
    {
        host.currentEngine = &engine;
        engine.fileFactory = [](int, Project *) { return new DocFile; };
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
};

QStringList row()
{
    QFETCH(QString, row);
    return row.split(u'|');
}

} // namespace

class TestEditors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void save()
    {
        Workspace space;
        KenroTest::TestJobs jobs;
        space.host.provider = &jobs;
        space.editor.undo();
        space.editor.redo();
        space.editor.switchToThis();
        space.editor.switchToThis(); // already current: the host is not asked again
        QCOMPARE(space.host.switches.size(), 1);
        space.editor.create(); // a new file of the project, and the current one
        space.editor.setCurrentFile(space.file);
        // Unmodified, or a file that cannot save: nothing is written.
        space.file->modified = false;
        space.editor.save();
        space.file->modified = true;
        space.file->canSaveFile = false;
        space.editor.save();
        QByteArray const kept = readFile(space.file->fileName());
        space.file->canSaveFile = true;
        space.editor.save();
        QCOMPARE(kept + readFile(space.file->fileName()), QByteArray("onetwo"));
        QVERIFY(space.scripts() == 2 && space.modified.count() == 2);
        // A file that saves in the background gets the flag, and its job goes with it.
        space.file->caps = ProjectFile::AsyncSave;
        space.file->modified = true;
        space.editor.save();
        QCOMPARE(jobs.titles.join(u'|'), "Saving a.cns|Saving a.cns"_L1);
        QCOMPARE(jobs.jobs.front()->detached + jobs.jobs.back()->detached, 1);
        QCOMPARE(space.file->calls, "0ur02"_L1);
        // A failed write asks for another place; cancelling ends it.
        space.file->failWrite = space.file->modified = true;
        DialogAnswerer answerer;
        space.editor.save();
        QVERIFY(answerer.titles() == QStringList{u"Save scripts as..."_s} && space.file->modified);
        // A modified file whose place cannot be written goes through the save
        // as of the editor the host names.
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
        answerer.answer = QMessageBox::Yes;
        answerer.files = {{space.dir.filePath(u"p.cns"_s)}};
        parent.save(nullptr);
        QCOMPARE(space.host.editorRequests, QList<int>{Project::Scripts});
        QCOMPARE(readFile(space.dir.filePath(u"p.cns"_s)), QByteArray("changed"));
        project.release();
    }

    // Rows: the type's filter, the name typed, the answer to the question
    // that follows, the file written (none: the write fails) and the file's name after.
    void saveAs_data()
    {
        QTest::addColumn<QString>("row");
        int const none = QMessageBox::NoButton, yes = QMessageBox::Yes, no = QMessageBox::No;
        auto add = [](char const *tag, QString const &text, int answer) {
            QTest::newRow(tag) << text.arg(answer);
        };
        add("suffix added", u"*.cns|obj/x|%1|obj/x.cns|obj/x.cns"_s, none);
        add("suffix present", u"*.cns|obj/x.cns|%1|obj/x.cns|obj/x.cns"_s, none);
        add("suffix case counts", u"*.ext|obj/x.EXT|%1|obj/x.EXT.ext|obj/x.EXT.ext"_s, none);
        add("second suffix kept", u"*.st*.cns|obj/x.cns|%1|obj/x.cns|obj/x.cns"_s, none);
        add("first suffix added", u"*.st*.cns|obj/x|%1|obj/x.st|obj/x.st"_s, none);
        add("blanks: no suffix", u"*.st *.cns|obj/x|%1|obj/x|obj/x"_s, none);
        add("wildcard: no suffix", u"*|obj/x|%1|obj/x|obj/x"_s, none);
        add("outside, as a copy", u"*.cns|b.cns|%1|b.cns|obj/a.cns"_s, yes);
        add("outside, taken over", u"*.cns|b.cns|%1|b.cns|b.cns"_s, no);
        // A plain file where the folder would have to be.
        add("failing", u"*.cns|obj/a.cns/b.cns|%1||obj/a.cns"_s, QMessageBox::Ok);
    }

    void saveAs()
    {
        QStringList const in = row();
        QString const &written = in[3];
        bool const asked = in[2].toInt() != QMessageBox::NoButton;
        Workspace space;
        space.engine.filters.insert(Project::Scripts, in[0]);
        DialogAnswerer answerer{QMessageBox::StandardButton(in[2].toInt())};
        answerer.files = {{space.dir.filePath(in[1])}};
        QCOMPARE(FileEditor::saveFileAs(space.file, &space.editor, &space.host),
                 !written.isEmpty());
        QCOMPARE(answerer.seen.first().nameFilters,
                 QStringList({u"Scripts (%1)"_s.arg(in[0]), u"All files (*.*)"_s}));
        QString const second = written.isEmpty() ? u"|Save file error!"_s : u"|External file!"_s;
        QCOMPARE(answerer.titles().join(u'|'), u"Save scripts as..."_s + (asked ? second : u""_s));
        QVERIFY(written.isEmpty() || readFile(space.dir.filePath(written)) == "two");
        QCOMPARE(space.file->fileName(), space.dir.filePath(in[4]));
        QCOMPARE(space.file->isModified(), in[4] != written);
        QCOMPARE(readFile(space.dir.filePath(u"obj/a.cns"_s)), QByteArray("one"));
        // The folder is remembered and modified() sent, whatever happened.
        QCOMPARE(space.modified.count(), 1);
        QCOMPARE(space.host.options.value(u"scripts_path"_s).toString(),
                 QFileInfo(space.dir.filePath(in[1])).absolutePath());
        // A file that cannot save, or no host: no dialog at all.
        space.file->canSaveFile = false;
        QVERIFY(!FileEditor::saveFileAs(space.file, &space.editor, &space.host) &&
                !FileEditor::saveFileAs(space.file, &space.editor, nullptr));
        QCOMPARE(answerer.seen.size(), asked ? 2 : 1);
    }

    // A file is asked about only when it is modified and has no children;
    // every file of a project is asked, even after a no.
    void canDiscard()
    {
        QStringList results;
        for (auto [caps, modified, answer] :
             {std::tuple{0, false, QMessageBox::No},
              {int(ProjectFile::HasChildren), true, QMessageBox::No},
              {0, true, QMessageBox::Yes},
              {0, true, QMessageBox::No}}) {
            Workspace space;
            space.file->caps = ProjectFile::Capabilities::fromInt(caps);
            space.file->modified = modified;
            auto *other = new DocFile;
            other->modified = true;
            space.project->addFile(other, Project::Scripts);
            DialogAnswerer answerer{answer};
            results << QString::number(space.editor.canDiscard(space.file));
            results.last() += answerer.seen.isEmpty() ? u"" : u"?"; // null: the current project
            results.last() +=
                QString::number(space.editor.canDiscard(static_cast<Project *>(nullptr)));
            results.last() += QString::number(answerer.seen.size());
            QVERIFY(answerer.seen.value(0).text ==
                    "Do you want to discard the changes made in scripts?"_L1);
            QVERIFY(space.editor.canDiscard(static_cast<ProjectFile const *>(nullptr)));
            space.host.current = nullptr;
            QVERIFY(space.editor.canDiscard(static_cast<Project *>(nullptr)));
        }
        QCOMPARE(results.join(u' '), "101 101 1?13 0?03"_L1);
    }

    void itemsDialog()
    {
        KenroTest::TestInterface host;
        QStringListModel model({u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s});
        QStringList selected;
        // The current row, past the end or none, and two picked: rows come back in
        // model order, each once.
        for (int current : {0, 4, -1, 5}) {
            QPointer<ItemsDialog> dialog =
                host.itemsDialog(nullptr, "icon_file", u"Pick"_s, &model, current);
            auto *view = dialog->findChild<QListView *>();
            view->selectionModel()->select(model.index(3, 0), QItemSelectionModel::Select);
            view->selectionModel()->select(model.index(1, 0), QItemSelectionModel::Select);
            QString rows;
            for (int row : dialog->selectedRows())
                rows += QString::number(row);
            selected << rows;
            QVERIFY(dialog->windowTitle() == "Pick"_L1 &&
                    host.iconRequests.last() == "icon_file"_L1);
            dialog->show();
            Q_EMIT view->doubleClicked(model.index(1, 0));
            QCOMPARE(dialog->result(), int(QDialog::Accepted));
            dialog->release();
            QVERIFY(dialog.isNull());
        }
        QCOMPARE(selected.join(u' '), "013 134 13 13"_L1);
    }

    // Open dialogs are Qt's own (Q) unless the user asked for the platform's
    // (P); a save dialog is left to the platform. Names may come back sorted.
    void fileDialogs()
    {
        QStringList results;
        for (QVariant const &native : {QVariant(), QVariant(false), QVariant(true)}) {
            KenroTest::TestInterface host;
            if (native.isValid())
                host.options.insert(u"use_native_open"_s, native);
            host.options.insert(u"sort_file_names"_s, native.isValid() && !native.toBool());
            QTemporaryDir dir;
            QStringList chosen;
            for (QString const &name : {u"c.txt"_s, u"a.txt"_s, u"b.txt"_s}) {
                chosen.append(dir.filePath(name));
                QVERIFY(KenroTest::writeFile(chosen.last(), name.toUtf8()));
            }
            DialogAnswerer answerer;
            answerer.files = {chosen, {dir.filePath(u"new.txt"_s)}, {}};
            QString result;
            for (QString const &name :
                 getOpenFileNames(nullptr, u"Open"_s, dir.path(), u"Text (*.txt)"_s))
                result += name.mid(dir.path().size() + 1, 1);
            QCOMPARE(getSaveFileName(nullptr, u"Save"_s, dir.path(), QString()),
                     dir.filePath(u"new.txt"_s));
            QVERIFY(getOpenFileName(nullptr, u"Cancelled"_s, dir.path(), QString()).isEmpty());
            QCOMPARE(answerer.seen[0].directory + answerer.seen[0].nameFilters.join(u'|'),
                     dir.path() + u"Text (*.txt)"_s);
            result += u' ';
            for (DialogAnswerer::Seen const &seen : std::as_const(answerer.seen))
                result += seen.options.testFlag(QFileDialog::DontUseNativeDialog) ? u'Q' : u'P';
            results << result;
        }
        QCOMPARE(results.join(u", "), "cab QPQ, abc QPQ, cab PPP"_L1);
    }
};

QTEST_MAIN(TestEditors)
#include "tst_editors.moc"
