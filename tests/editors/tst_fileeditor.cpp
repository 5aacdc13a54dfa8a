#include <kenro/editors/fileeditor.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/jobstats.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"
#include "testjobs.h"
#include "testproject.h"

#include <QAction>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using KenroTest::DialogAnswerer;

using Jobs = KenroTest::TestJobs;

namespace {

QString const externalTitle = QStringLiteral("External file!");
QString const externalText = QStringLiteral(
    "This file isn't a child of the project directory, so will be ignored on 'Run in engine', "
    "'Backup' and 'Save as' functions. Do you want to %1 it as copy?\nNote: As copy, %2");

// A file whose capabilities, writes and undo calls the test steers and sees.
class DocFile : public KenroTest::TextFile
{
public:
    Capabilities caps;
    bool failRead = false;
    bool failWrite = false;
    QList<unsigned int> writeFlags;
    int undos = 0;
    int redos = 0;

    Capabilities capabilities() const override { return caps; }
    bool toFile(Archive &archive, QString const &fileName, unsigned int flags,
                JobStats *stats) override
    {
        writeFlags.append(flags);
        return !failWrite && TextFile::toFile(archive, fileName, flags, stats);
    }
    bool fromFile(Archive &archive, QString const &fileName, unsigned int flags,
                  JobStats *stats) override
    {
        return !failRead && TextFile::fromFile(archive, fileName, flags, stats);
    }
    void undo() override { ++undos; }
    void redo() override { ++redos; }
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
    QAction m_action{QStringLiteral("Scripts")};
};

/**
 * A host with an engine and one open project whose folder is a temporary
 * directory: <dir>/obj/obj.def. New files are DocFiles.
 */
struct Workspace
{
    Workspace()
    {
        host.currentEngine = &engine;
        engine.fileFactory = [this](int, Project *) {
            auto *file = new DocFile;
            file->freed = &lastFreed;
            lastFreed = false;
            return file;
        };
        QString const definition = folder() + QStringLiteral("obj.def");
        KenroTest::writeFile(definition, "[Info]\n");
        auto *main = new KenroTest::TextFile;
        main->fromFile(FileSystemArchive::instance(), definition, 0, nullptr);
        project = new KenroTest::TestProject(&parent, 0, main, true);
        project->addToParent();
        host.current = project;
    }
    ~Workspace()
    {
        project->release();
        delete project;
    }

    // The project's folder, with a trailing '/'.
    QString folder() const { return dir.path() + QStringLiteral("/obj/"); }
    QList<ProjectFile *> scripts() { return project->filesByType(Project::Scripts); }
    DocFile *script(int index = 0) { return static_cast<DocFile *>(scripts().value(index)); }
    // A script file saved at \a path and shown by \a editor.
    DocFile *addScript(ScriptEditor &editor, QString const &path, QByteArray const &content)
    {
        auto *file = new DocFile;
        file->content = content;
        file->toFile(FileSystemArchive::instance(), path, 0, nullptr);
        project->addFile(file, Project::Scripts);
        editor.setCurrentFile(file);
        return file;
    }

    KenroTest::TestInterface host;
    KenroTest::TestEngine engine;
    QTemporaryDir dir;
    KenroTest::TestParentProject parent{dir.path() + QLatin1Char('/'),
                                        FileSystemArchive::instance()};
    KenroTest::TestProject *project = nullptr;
    bool lastFreed = false;
};

} // namespace

class TestFileEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void editorBase()
    {
        {
            ScriptEditor orphan; // made before any host: it never asks one
            orphan.switchToThis();
            QVERIFY(!orphan.isActive());
        }
        KenroTest::TestInterface host;
        ScriptEditor editor;
        QVERIFY(!editor.isActive());
        editor.switchToThis();
        QCOMPARE(host.switches, QList<Editor *>{&editor});
        QVERIFY(editor.isActive());
        editor.switchToThis(); // already current: the host is not asked again
        QCOMPARE(host.switches.size(), 1);
        editor.deactivate();
        QVERIFY(!editor.isActive());

        QSignalSpy visible(&editor, &Editor::visible);
        QSignalSpy writable(&editor, &Editor::writable);
        editor.setVisible(false);
        editor.setWritable(true);
        QCOMPARE(visible.count(), 1);
        QCOMPARE(visible.first().first().toBool(), false);
        QCOMPARE(writable.first().first().toBool(), true);

        // Without a file there is nothing modified, and undo goes nowhere.
        QVERIFY(!editor.isModified());
        editor.undo();
        editor.redo();
        DocFile file;
        file.modified = true;
        editor.setCurrentFile(&file);
        QCOMPARE(editor.currentFile(), &file);
        QVERIFY(editor.isModified());
        QVERIFY(editor.canClose(&file));
        editor.undo();
        editor.undo();
        editor.redo();
        QCOMPARE(file.undos, 2);
        QCOMPARE(file.redos, 1);
        QSignalSpy modified(&editor, &FileEditor::modified);
        editor.contentsChanged();
        QCOMPARE(modified.count(), 1);
        editor.setCurrentFile(nullptr);
    }

    void create()
    {
        Workspace space;
        ScriptEditor editor;
        QSignalSpy modified(&editor, &FileEditor::modified);
        editor.create();
        QCOMPARE(space.scripts().size(), 1);
        QCOMPARE(space.project->selectedFile(Project::Scripts), 0u);
        QVERIFY(editor.isActive());
        QCOMPARE(space.host.switches, QList<Editor *>{&editor});
        QCOMPARE(modified.count(), 1);

        // A file the project refuses is released, and nothing else happens.
        ScriptEditor odd(40);
        QSignalSpy oddModified(&odd, &FileEditor::modified);
        odd.create();
        QVERIFY(space.lastFreed);
        QVERIFY(!odd.isActive());
        QCOMPARE(oddModified.count(), 0);

        // No file from the engine, no project: nothing.
        space.engine.fileFactory = nullptr;
        editor.create();
        space.host.current = nullptr;
        space.engine.fileFactory = [](int, Project *) { return new DocFile; };
        editor.create();
        QCOMPARE(space.scripts().size(), 1);
        QCOMPARE(modified.count(), 1);
    }

    void open_data()
    {
        QTest::addColumn<bool>("inside");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("asCopy");

        QTest::newRow("inside the project") << true << int(QMessageBox::No) << false;
        QTest::newRow("outside, as a copy") << false << int(QMessageBox::Yes) << true;
        QTest::newRow("outside, taken over") << false << int(QMessageBox::No) << false;
    }

    void open()
    {
        QFETCH(bool, inside);
        QFETCH(int, answer);
        QFETCH(bool, asCopy);
        Workspace space;
        space.host.options.insert(QStringLiteral("project_path"), space.dir.path());
        QString const folder = inside ? space.folder() + QStringLiteral("states/")
                                      : space.dir.path() + QStringLiteral("/outside/");
        QString const path = folder + QStringLiteral("common.cns");
        QVERIFY(KenroTest::writeFile(path, "[Statedef 0]\n"));

        ScriptEditor editor;
        QSignalSpy modified(&editor, &FileEditor::modified);
        DialogAnswerer answerer{QMessageBox::StandardButton(answer)};
        answerer.files = {{path}};
        editor.open();

        QCOMPARE(answerer.seen.size(), inside ? 1 : 2);
        DialogAnswerer::Seen const dialog = answerer.seen.first();
        QVERIFY(dialog.fileDialog);
        QCOMPARE(dialog.title, QStringLiteral("Open scripts..."));
        QCOMPARE(dialog.nameFilters, QStringList{QStringLiteral("Scripts (*.cns)")});
        QCOMPARE(dialog.directory, space.dir.path());
        QCOMPARE(dialog.acceptMode, QFileDialog::AcceptOpen);
        if (!inside) {
            QCOMPARE(answerer.seen.last().title, externalTitle);
            QCOMPARE(answerer.seen.last().text,
                     externalText.arg(QStringLiteral("load"),
                                      QStringLiteral("if you save it the previous file will be "
                                                     "overwritten!")));
            QCOMPARE(answerer.seen.last().buttons, QMessageBox::Yes | QMessageBox::No);
        }

        QCOMPARE(space.scripts().size(), 1);
        DocFile *file = space.script();
        QCOMPARE(file->content, QByteArray("[Statedef 0]\n"));
        // A copy keeps no name of its own: saving it asks for one.
        QCOMPARE(file->fileName(), asCopy ? QString() : path);
        QVERIFY(editor.isActive());
        QCOMPARE(modified.count(), 1);
        QString const remembered = QFileInfo(path).absolutePath();
        QCOMPARE(space.project->option(QStringLiteral("scripts_path")).toString(), remembered);
        QCOMPARE(space.host.options.value(QStringLiteral("scripts_path")).toString(), remembered);

        // The next dialog starts where the last file was found.
        answerer.files = {{}};
        answerer.seen.clear();
        editor.open();
        QCOMPARE(answerer.seen.size(), 1);
        QCOMPARE(answerer.seen.first().directory, remembered);
        QCOMPARE(space.scripts().size(), 1); // cancelled: nothing added
    }

    void openFailures()
    {
        Workspace space;
        QString const path = space.folder() + QStringLiteral("broken.cns");
        QVERIFY(KenroTest::writeFile(path, "x"));
        DialogAnswerer answerer(QMessageBox::Yes);

        // A file that fails to read leaves the project again, with no box.
        space.engine.fileFactory = [&space](int, Project *) {
            auto *file = new DocFile;
            file->failRead = true;
            file->freed = &space.lastFreed;
            return file;
        };
        ScriptEditor editor;
        QSignalSpy modified(&editor, &FileEditor::modified);
        answerer.files = {{path}};
        editor.open();
        QCOMPARE(answerer.seen.size(), 1);
        QVERIFY(space.scripts().isEmpty());
        QVERIFY(space.lastFreed);
        QCOMPARE(modified.count(), 0);
        QVERIFY(!space.host.options.contains(QStringLiteral("scripts_path")));

        // A type with no filter in the engine's map opens nothing at all.
        ScriptEditor sounds(Project::Sounds);
        sounds.open();
        QCOMPARE(answerer.seen.size(), 1);
        QVERIFY(!sounds.isActive());

        // Without an engine or a project there is nothing to open into.
        space.host.currentEngine = nullptr;
        editor.open();
        space.host.currentEngine = &space.engine;
        space.host.current = nullptr;
        editor.open();
        QCOMPARE(answerer.seen.size(), 1);
    }

    void save()
    {
        Workspace space;
        ScriptEditor editor;
        QString const path = space.folder() + QStringLiteral("a.cns");
        DocFile *file = space.addScript(editor, path, "one");
        QSignalSpy modified(&editor, &FileEditor::modified);
        Jobs jobs;
        space.host.provider = &jobs;

        // Unmodified, or a file that cannot save: nothing is written.
        file->content = "two";
        editor.save();
        QVERIFY(editor.isActive());
        file->modified = true;
        file->canSaveFile = false;
        editor.save();
        QCOMPARE(KenroTest::readFile(path), QByteArray("one"));
        QVERIFY(jobs.titles.isEmpty());

        file->canSaveFile = true;
        editor.save();
        QCOMPARE(KenroTest::readFile(path), QByteArray("two"));
        QCOMPARE(modified.count(), 1);
        QCOMPARE(jobs.titles, QStringList{QStringLiteral("Saving a.cns")});
        QCOMPARE(jobs.jobs.back()->detached, 0);
        QCOMPARE(file->writeFlags.last(), 0u);

        // A file that saves in the background gets the flag, and its job goes with it.
        file->caps = ProjectFile::AsyncSave;
        file->modified = true;
        editor.save();
        QCOMPARE(jobs.jobs.back()->detached, 1);
        QCOMPARE(file->writeFlags.last(), unsigned(ProjectFile::Background));
    }

    void saveFallsBackToSaveAs()
    {
        Workspace space;
        ScriptEditor editor;
        DocFile *file = space.addScript(editor, space.folder() + QStringLiteral("a.cns"), "one");
        file->content = "two";
        file->modified = true;
        file->failWrite = true;
        DialogAnswerer answerer(QMessageBox::Ok);
        editor.save();
        // The write failed, so the user was asked for another place; cancelling ends it.
        QCOMPARE(answerer.seen.size(), 1);
        QCOMPARE(answerer.seen.first().title, QStringLiteral("Save scripts as..."));
        QCOMPARE(answerer.seen.first().acceptMode, QFileDialog::AcceptSave);
        QVERIFY(file->modified);
    }

    void saveFileAsSuffixes_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("written");

        QTest::newRow("suffix added") << "*.cns"
                                      << "x"
                                      << "x.cns";
        QTest::newRow("suffix present") << "*.cns"
                                        << "x.cns"
                                        << "x.cns";
        QTest::newRow("suffix case counts") << "*.ext"
                                            << "x.EXT"
                                            << "x.EXT.ext";
        QTest::newRow("second suffix kept") << "*.st*.cns"
                                            << "x.cns"
                                            << "x.cns";
        QTest::newRow("first suffix added") << "*.st*.cns"
                                            << "x"
                                            << "x.st";
        QTest::newRow("blanks: no suffix") << "*.st *.cns"
                                           << "x"
                                           << "x";
        QTest::newRow("wildcard: no suffix") << "*"
                                             << "x"
                                             << "x";
    }

    void saveFileAsSuffixes()
    {
        QFETCH(QString, filter);
        QFETCH(QString, typed);
        QFETCH(QString, written);
        Workspace space;
        space.engine.filters.insert(Project::Scripts, filter);
        ScriptEditor editor;
        DocFile *file = space.addScript(editor, space.folder() + QStringLiteral("a.cns"), "one");
        QSignalSpy modified(&editor, &FileEditor::modified);
        DialogAnswerer answerer;
        answerer.files = {{space.folder() + typed}};
        editor.saveAs();

        QCOMPARE(answerer.seen.size(), 1);
        QCOMPARE(answerer.seen.first().nameFilters,
                 (QStringList{QStringLiteral("Scripts (%1)").arg(filter),
                              QStringLiteral("All files (*.*)")}));
        QCOMPARE(file->fileName(), space.folder() + written);
        QCOMPARE(KenroTest::readFile(space.folder() + written), QByteArray("one"));
        QCOMPARE(modified.count(), 1);
        QCOMPARE(space.project->option(QStringLiteral("scripts_path")).toString(),
                 QFileInfo(space.folder() + written).absolutePath());
    }

    void saveFileAsOutside_data()
    {
        QTest::addColumn<int>("answer");
        QTest::newRow("as a copy") << int(QMessageBox::Yes);
        QTest::newRow("taken over") << int(QMessageBox::No);
    }

    void saveFileAsOutside()
    {
        QFETCH(int, answer);
        Workspace space;
        ScriptEditor editor;
        QString const old = space.folder() + QStringLiteral("a.cns");
        DocFile *file = space.addScript(editor, old, "one");
        QString const outside = space.dir.path() + QStringLiteral("/elsewhere/b.cns");
        DialogAnswerer answerer{QMessageBox::StandardButton(answer)};
        answerer.files = {{outside}};
        QVERIFY(FileEditor::saveFileAs(file, &editor, &space.host));

        QCOMPARE(answerer.titles(),
                 (QStringList{QStringLiteral("Save scripts as..."), externalTitle}));
        QCOMPARE(answerer.seen.last().text,
                 externalText.arg(QStringLiteral("save"),
                                  QStringLiteral("we keep the reference to the previous file!")));
        QCOMPARE(KenroTest::readFile(outside), QByteArray("one"));
        QCOMPARE(file->fileName(), answer == QMessageBox::Yes ? old : outside);
        QCOMPARE(space.host.options.value(QStringLiteral("scripts_path")).toString(),
                 space.dir.path() + QStringLiteral("/elsewhere"));
    }

    void saveFileAsFailureKeepsThePreviousFile()
    {
        Workspace space;
        ScriptEditor editor;
        QString const old = space.folder() + QStringLiteral("a.cns");
        DocFile *file = space.addScript(editor, old, "one");
        file->content = "two";
        file->modified = true;
        // A plain file where the new folder would have to be: the write cannot happen.
        QVERIFY(KenroTest::writeFile(space.folder() + QStringLiteral("blocker"), "b"));
        QString const target = space.folder() + QStringLiteral("blocker/b.cns");
        QSignalSpy modified(&editor, &FileEditor::modified);
        DialogAnswerer answerer(QMessageBox::Ok);
        answerer.files = {{target}};
        QVERIFY(!FileEditor::saveFileAs(file, &editor, &space.host));

        QCOMPARE(answerer.titles(),
                 (QStringList{QStringLiteral("Save scripts as..."),
                              QStringLiteral("Save file error!")}));
        QCOMPARE(answerer.seen.last().text,
                 QStringLiteral("An error has occurred while trying to save the file!"));
        QCOMPARE(file->fileName(), old);
        QVERIFY(file->isModified());
        QCOMPARE(KenroTest::readFile(old), QByteArray("one"));
        QCOMPARE(KenroTest::readFile(target), QByteArray("<missing>"));
        // The directory is remembered and modified() sent all the same.
        QCOMPARE(modified.count(), 1);
        QCOMPARE(space.host.options.value(QStringLiteral("scripts_path")).toString(),
                 space.folder() + QStringLiteral("blocker"));

        // No filter, a file that cannot save, or no host: no dialog at all.
        file->canSaveFile = false;
        QVERIFY(!FileEditor::saveFileAs(file, &editor, &space.host));
        file->canSaveFile = true;
        QVERIFY(!FileEditor::saveFileAs(file, &editor, nullptr));
        ScriptEditor sounds(Project::Sounds);
        QVERIFY(!FileEditor::saveFileAs(file, &sounds, &space.host));
        QCOMPARE(answerer.seen.size(), 2);
    }

    void canDiscardFile_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("asked");
        QTest::addColumn<bool>("result");

        QTest::newRow("no file") << 0 << int(QMessageBox::No) << false << true;
        QTest::newRow("unmodified") << 1 << int(QMessageBox::No) << false << true;
        QTest::newRow("with children") << 2 << int(QMessageBox::No) << false << true;
        QTest::newRow("modified, yes") << 3 << int(QMessageBox::Yes) << true << true;
        QTest::newRow("modified, no") << 3 << int(QMessageBox::No) << true << false;
    }

    void canDiscardFile()
    {
        QFETCH(int, kind);
        QFETCH(int, answer);
        QFETCH(bool, asked);
        QFETCH(bool, result);
        KenroTest::TestInterface host;
        ScriptEditor editor;
        DocFile file;
        file.modified = kind >= 2;
        if (kind == 2)
            file.caps = ProjectFile::HasChildren;
        DialogAnswerer answerer{QMessageBox::StandardButton(answer)};
        QCOMPARE(editor.canDiscard(kind == 0 ? nullptr : static_cast<ProjectFile const *>(&file)),
                 result);
        QCOMPARE(answerer.seen.size(), asked ? 1 : 0);
        if (asked) {
            QCOMPARE(answerer.seen.first().title, QStringLiteral("Discard changes?"));
            QCOMPARE(answerer.seen.first().text,
                     QStringLiteral("Do you want to discard the changes made in scripts?"));
            QCOMPARE(answerer.seen.first().buttons, QMessageBox::Yes | QMessageBox::No);
        }
    }

    void canDiscardProject()
    {
        Workspace space;
        ScriptEditor editor;
        for (bool modified : {true, false, true}) {
            auto *file = new DocFile;
            file->modified = modified;
            space.project->addFile(file, Project::Scripts);
        }
        DialogAnswerer answerer(QMessageBox::No);
        // Every modified file is asked even after the first no.
        QVERIFY(!editor.canDiscard(space.project));
        QCOMPARE(answerer.seen.size(), 2);
        answerer.answer = QMessageBox::Yes;
        QVERIFY(editor.canDiscard(static_cast<Project *>(nullptr))); // the current project
        QCOMPARE(answerer.seen.size(), 4);
        space.host.current = nullptr;
        QVERIFY(editor.canDiscard(static_cast<Project *>(nullptr)));
        QCOMPARE(answerer.seen.size(), 4);
    }

    void parentSaveAsksWhereToWrite()
    {
        // A modified file whose place cannot be written goes through its
        // editor's save as, which the host names.
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        host.currentEngine = &engine;
        QTemporaryDir dir;
        KenroTest::MemoryArchive archive;
        archive.files.insert(QStringLiteral("/root/p/p.def"), "def");
        archive.readOnly = true;
        KenroTest::TestParentProject parent(QStringLiteral("/root/"), archive);
        auto *main = new KenroTest::TextFile;
        main->fromFile(archive, QStringLiteral("/root/p/p.def"), 0, nullptr);
        KenroTest::TestProject project(&parent, 0, main, true);
        project.addToParent();
        auto *script = new DocFile;
        script->name = QStringLiteral("/root/p/p.cns");
        script->content = "changed";
        script->modified = true;
        project.addFile(script, Project::Scripts);

        ScriptEditor editor;
        host.fileEditor = &editor;
        QString const target = dir.path() + QStringLiteral("/p.cns");
        DialogAnswerer answerer(QMessageBox::Yes);
        answerer.files = {{target}};
        parent.save(nullptr);
        QCOMPARE(host.editorRequests, QList<int>{Project::Scripts});
        QCOMPARE(KenroTest::readFile(target), QByteArray("changed"));
        QCOMPARE(answerer.titles(),
                 (QStringList{QStringLiteral("Save scripts as..."), externalTitle}));
        project.release();
    }
};

QTEST_MAIN(TestFileEditor)
#include "tst_fileeditor.moc"
