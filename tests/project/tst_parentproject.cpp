#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>

#include "memoryarchive.h"
#include "modelnames.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"
#include "testjobs.h"
#include "testproject.h"

#include <QAbstractItemModelTester>
#include <QDirIterator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <memory>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::indexAt;
using KenroTest::readFile;
using KenroTest::rowNames;
using KenroTest::TestParentProject;
using KenroTest::TestProject;
using KenroTest::TextFile;

namespace {

using Tester = QAbstractItemModelTester;
constexpr auto reportToQtTest = QAbstractItemModelTester::FailureReportingMode::QtTest;

// A text file that also follows its file on disk, recording pauses.
class WatchedFile : public TextFile, public FileWatchObject
{
public:
    QString fileName() const override { return TextFile::fileName(); }
    void reload() override {}
    void pauseWatch(bool pause) override { pauses += pause ? u'p' : u'r'; }
    QString pauses;
};

// An open project on \a main of \a parent, listing \a entries; close() ends it.
TestProject *open(ParentProject &parent, QString const &main,
                  QList<Project::FileEntry> const &entries = {})
{
    auto *file = new WatchedFile;
    if (!file->fromFile(parent.archive(), main, 0, nullptr))
        file->name = main;
    auto *project = new TestProject(&parent, 0, file, true);
    project->entries = entries;
    project->addToParent();
    return project;
}

void close(Project *project)
{
    project->release();
    delete project;
}

// The files that a character's definition names in its [Files] section and
// that exist beside it, with a leading "/" as engines list them.
QList<Project::FileEntry> definitionFiles(QString const &definition)
{
    QList<Project::FileEntry> entries;
    bool inFiles = false;
    for (QByteArray const &raw : readFile(definition).split('\n')) {
        QString const line = QString::fromLatin1(raw).section(u';', 0, 0).trimmed();
        inFiles =
            line.startsWith(u'[') ? line.compare("[Files]"_L1, Qt::CaseInsensitive) == 0 : inFiles;
        QString const key = line.section(u'=', 0, 0).trimmed().toLower();
        QString const value = line.section(u'=', 1).trimmed();
        if (inFiles && !value.isEmpty() &&
            QFileInfo::exists(QFileInfo(definition).path() + u'/' + value))
            entries.append({key == "sprite"_L1     ? Project::Sprites
                                : key == "anim"_L1 ? Project::Animations
                                                   : Project::Scripts,
                            u'/' + value});
    }
    return entries;
}

// The names of the files of a project on disk, relative to its game's folder.
QStringList filesOf(TestProject const *project, QString const &game)
{
    QString const main = QDir(game).relativeFilePath(project->fileName());
    QString const folder = main.left(main.lastIndexOf(u'/') + 1);
    QStringList names{main};
    for (Project::FileEntry const &entry : project->entries) {
        if (!names.contains(folder + entry.second.mid(1)))
            names.append(folder + entry.second.mid(1));
    }
    return names;
}

// The names of \a names whose files below \a to differ from those below \a from.
QStringList differing(QStringList const &names, QString const &from, QString const &to)
{
    QStringList out;
    for (QString const &name : names)
        if (readFile(from + name) != readFile(to + name))
            out.append(name);
    return out;
}

// A copy of the game of the test data, opened as an engine would: characters
// are folders, stages are definition files.
struct Game
{
    explicit Game(QString const &data)
    {
        copied = KenroTest::copyTree(data + u"/game"_s, base.chopped(1));
    }
    void open()
    {
        root = std::make_unique<TestParentProject>(base, FileSystemArchive::instance());
        root->testEngine = &engine;
        root->addPath(u"chars"_s, ParentProject::ProjectDirectories);
        root->addPath(u"stages"_s, ParentProject::ProjectFiles, {u"*.def"_s});
    }
    TestProject *character(QString const &name, ParentProject *parent = nullptr)
    {
        QString const main = base + u"chars/"_s + name;
        return ::open(parent ? *parent : *root, main, definitionFiles(main));
    }
    QTemporaryDir dir;
    QString base = dir.path() + u"/game/"_s;
    bool copied = false;
    KenroTest::TestInterface host;
    KenroTest::TestEngine engine;
    std::unique_ptr<TestParentProject> root;
};

} // namespace

class TestParentProjects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void projectTree()
    {
        KenroTest::TestInterface host;
        KenroTest::MemoryArchive archive;
        for (QString const &name :
             u"stages/a.def stages/a.sff stages/b.def chars/x/x.def"_s.split(u' '))
            archive.files.insert(u"/root/"_s + name, "");
        TestParentProject parent(u"/root/"_s, archive);
        Tester tester(&parent, reportToQtTest);
        QVERIFY(!parent.addPath(QString(), 1));
        auto *stages = static_cast<ParentProject::DirectoryPath *>(
            parent.addPath(u"/stages/"_s, ParentProject::ProjectFiles, {u"*.def"_s}));
        parent.addPath(u"chars"_s, ParentProject::ProjectDirectories);
        ParentProject::Path *stage = parent.itemPath(indexAt(parent, u"stages/a.def"_s));
        QVERIFY(stages->isDirectory() && !stages->isProject() && stage->isProject() &&
                !stage->isDirectory() && !stage->isFile());
        QCOMPARE(stages->fullPath() + u' ' + stage->fullPath(),
                 "/root/stages/ /root/stages/a.def"_L1);
        QVERIFY(parent.filePath(u"/root/"_s) == parent.itemPath(QModelIndex()) &&
                !parent.filePath(u"/elsewhere/chars/"_s) && !parent.filePath(u"/root/chars/y/"_s));
        // Two projects of one scanned folder: its entries stay, each adds its files.
        TestProject *a = open(parent, u"/root/stages/a.def"_s, {{Project::Sprites, u"/a.sff"_s}});
        TestProject *b = open(parent, u"/root/stages/b.def"_s, {{Project::Sprites, u"/b.sff"_s}});
        stages->scan(); // as when the folder changes on disk
        QCOMPARE(rowNames(parent, u"stages"_s), "a.def b.def a.sff b.sff"_L1);
        QCOMPARE(parent.filePath(u"/root/stages/b.sff"_s)->fileType(), int(Project::Sprites));
        close(a);
        QCOMPARE(rowNames(parent, u"stages"_s), "a.def b.def b.sff"_L1);
        b->entries.clear();
        b->fileHierarchyChanged();
        QCOMPARE(rowNames(parent, u"stages"_s), "a.def b.def"_L1);
        close(b);
        TestProject *x = open(parent, u"/root/chars/x/x.def"_s,
                              {{Project::Animations, u"/x.air"_s},
                               {Project::Scripts, u"/states/a.cns"_s},
                               {Project::Scripts, u"/states/b.cns"_s},
                               {Project::Sprites, u"/art/x.sff"_s}});
        QCOMPARE(parent.openedProjects(), QList<Project *>{x});
        QCOMPARE(rowNames(parent, u"chars/x"_s) + u'|' + rowNames(parent, u"chars/x/states"_s),
                 "x.def x.air states art|a.cns b.cns"_L1);
        ParentProject::Path *air = parent.itemPath(indexAt(parent, u"chars/x/x.air"_s));
        QVERIFY(air->isFile() && !air->isProject() && air->fileType() == Project::Animations);
        QCOMPARE(air->fullPath(), u"/root/chars/x/x.air"_s);
        host.iconRequests.clear();
        for (QString const &name : u"x.def x.air art art/x.sff"_s.split(u' '))
            indexAt(parent, u"chars/x/"_s + name).data(Qt::DecorationRole);
        QCOMPARE(host.iconRequests.join(u' '),
                 "icon_code icon_animation icon_folder icon_sprite"_L1);
        // The tree follows the file list: moved, dropped and new entries.
        QPersistentModelIndex const kept = indexAt(parent, u"chars/x/x.air"_s);
        x->entries = {{Project::Sprites, u"/art/x.sff"_s},
                      {Project::Animations, u"/x.air"_s},
                      {Project::Sounds, u"/x.snd"_s}};
        x->fileHierarchyChanged();
        QCOMPARE(rowNames(parent, u"chars/x"_s), "x.def art x.air x.snd"_L1);
        QCOMPARE(kept.data().toString(), u"x.air"_s);
        QSignalSpy closed(&parent, &ParentProject::fileClosed);
        close(x);
        QCOMPARE(closed.count(), 1); // the main file
        // A scanned project folder stays when its project closes, without its files.
        QCOMPARE(rowNames(parent, u"chars"_s) + u'|' + rowNames(parent, u"chars/x"_s), "x|"_L1);
        QCOMPARE(parent.disposed, 2); // each time the last project closes
        parent.removePath(u"chars/missing"_s); // nothing there, nothing done
        parent.removePath(u"/root/chars"_s);
        QCOMPARE(rowNames(parent, QString()), "stages"_L1);
    }

    void gameTreeFollowsTheDisk()
    {
        KENRO_REQUIRE_TESTDATA(data);
        Game game(data);
        QVERIFY(game.copied);
        game.open();
        TestParentProject &root = *game.root;
        Tester tester(&root, reportToQtTest);
        QVERIFY(root.isGame());
        QCOMPARE(rowNames(root, u"chars"_s) + u'|' + rowNames(root, u"stages"_s),
                 "kfm training|kfm.def stage0.def"_L1);
        QVERIFY(root.itemPath(indexAt(root, u"chars/kfm"_s))->isProject());
        // Folders and files that come and go on disk come and go in the tree.
        QVERIFY(QDir().mkpath(game.base + u"chars/newcomer"_s));
        QVERIFY(KenroTest::writeFile(game.base + u"stages/arena.def"_s, "[Info]\n"));
        QVERIFY(KenroTest::writeFile(game.base + u"stages/arena.sff"_s, "x"));
        QTRY_COMPARE(rowNames(root, u"chars"_s), "kfm newcomer training"_L1);
        QTRY_COMPARE(rowNames(root, u"stages"_s), "arena.def kfm.def stage0.def"_L1);
        QVERIFY(QDir(game.base + u"chars/newcomer"_s).removeRecursively());
        QVERIFY(QFile::remove(game.base + u"stages/kfm.def"_s));
        QTRY_COMPARE(rowNames(root, u"chars"_s), "kfm training"_L1);
        QTRY_COMPARE(rowNames(root, u"stages"_s), "arena.def stage0.def"_L1);
        // An open character shows its files under its folder, each once.
        TestProject *kfm = game.character(u"kfm/kfm.def"_s);
        QCOMPARE(rowNames(root, u"chars/kfm"_s),
                 "kfm.def kfm.cmd kfm.cns kfm.sff kfm.air kfm.snd kfm.ai"_L1);
        QCOMPARE(root.filePath(game.base + u"chars/kfm/kfm.air"_s)->fileType(),
                 int(Project::Animations));
        close(kfm);
        QCOMPARE(root.disposed, 1);
    }

    void backupAndRestore()
    {
        KENRO_REQUIRE_TESTDATA(data);
        for (bool const zip : {false, true}) {
            Game game(data);
            std::unique_ptr<ExtensionManager> extensions;
            if (zip)
                extensions = std::make_unique<ExtensionManager>(QStringLiteral(KENRO_PLUGIN_DIR));
            QCOMPARE(ExtensionManager::byFormat(Extension::ArchiveFormat, "ZIP").size(),
                     zip ? 1 : 0);
            game.open();
            TestProject *kfm = game.character(u"kfm/kfm.def"_s);
            TestProject *training = game.character(u"training/Training.def"_s);
            KenroTest::TestJobs jobs;
            QVERIFY(game.root->backup(u"before"_s, jobs.newJob(QString(), 0)));
            QCOMPARE(jobs.jobs.front()->value, 2u);
            QStringList const made =
                QDir(game.base + u"backup"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
            QCOMPARE(made.size(), 1); // no plain tree beside a ZIP
            QString const stamp = made.first().chopped(zip ? 4 : 0);
            QVERIFY(!zip || made.first().endsWith(".zip"_L1));
            QRegularExpression const stamped(
                u"^\\d\\d\\.\\d\\d\\.\\d{4}_\\d+\\.\\d+\\.\\d+_(am|pm)_before$"_s);
            QVERIFY2(stamped.match(stamp).hasMatch(), qPrintable(stamp));
            QStringList const names = filesOf(kfm, game.base) + filesOf(training, game.base);
            QVERIFY(names.size() >= 14);
            for (QString const &name : names)
                QVERIFY(KenroTest::writeFile(game.base + name, "damaged"));
            QVERIFY(game.root->restoreBackup(u'/' + stamp, nullptr));
            QCOMPARE(differing(names, game.base, data + u"/game/"_s), QStringList());
            // The watch was paused over the copy and resumed after it.
            QCOMPARE(static_cast<WatchedFile *>(training->mainFile())->pauses, u"pr"_s);
            QCOMPARE(game.host.refreshes, 1);
            close(kfm);
            close(training);
        }
    }

    void saveAsLoneProjectAndGame()
    {
        KENRO_REQUIRE_TESTDATA(data);
        Game game(data);
        QString const source = data + u"/game/"_s;
        // A lone character: saved as a new definition in a new folder, where it opens again.
        {
            TestParentProject lone(game.base + u"chars/kfm/"_s, FileSystemArchive::instance());
            lone.testEngine = &game.engine;
            TestProject *kfm = game.character(u"kfm/kfm.def"_s, &lone);
            QVERIFY(!lone.isGame());
            QString const target = game.dir.path() + u"/lone/kfm.def"_s;
            QVERIFY(QDir().mkpath(game.dir.path() + u"/lone"_s));
            lone.saveAs(target, nullptr);
            QCOMPARE(lone.basePath(), game.dir.path() + u"/lone/"_s);
            QCOMPARE(kfm->fileName(), target);
            QVERIFY(kfm->entries.size() >= 6);
            QCOMPARE(definitionFiles(target), kfm->entries);
            QCOMPARE(differing(filesOf(kfm, game.dir.path() + u"/lone/"_s),
                               game.dir.path() + u"/lone/"_s, source + u"chars/kfm/"_s),
                     QStringList());
            close(kfm);
        }
        // The whole game: open and closed projects, copied into a new folder.
        game.open();
        TestProject *kfm = game.character(u"kfm/kfm.def"_s);
        QStringList training;
        for (QDirIterator it(game.base + u"chars/training"_s, QDir::Files); it.hasNext();)
            training.append(u"chars/training/"_s + QFileInfo(it.next()).fileName());
        game.root->projectFileLists.insert(u"chars/training/"_s, training);
        QStringList const stage{u"stages/stage0.def"_s, u"stages/stage0.sff"_s};
        game.root->projectFileLists.insert(u"stages/stage0.def"_s, stage);
        QString const target = game.dir.path() + u"/saved/"_s;
        QStringList const files = training + stage + filesOf(kfm, game.base);
        KenroTest::TestJobs jobs;
        game.root->saveAs(target, jobs.newJob(QString(), 0));
        QCOMPARE(game.root->basePath(), target);
        QCOMPARE(jobs.jobs.front()->value, unsigned(training.size() + stage.size() + 1));
        QCOMPARE(differing(files, target, source), QStringList());
        close(kfm);
    }
};

QTEST_MAIN(TestParentProjects)
#include "tst_parentproject.moc"
