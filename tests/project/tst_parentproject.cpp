#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>
#include <kenro/project/jobstats.h>
#include <kenro/project/parentproject.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "modelnames.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"
#include "testjobs.h"
#include "testproject.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QDirIterator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using KenroTest::childIndex;
using KenroTest::childNames;
using KenroTest::copyTree;
using KenroTest::TestParentProject;

using Jobs = KenroTest::TestJobs;

namespace {

// A text file that also follows its file on disk, recording pauses.
class WatchedFile : public KenroTest::TextFile, public FileWatchObject
{
public:
    QString fileName() const override { return TextFile::fileName(); }
    void reload() override {}
    void pauseWatch(bool pause) override { pauses.append(pause); }
    QList<bool> pauses;
};

/**
 * A project read from a character's definition: the files of its [Files]
 * section that exist beside it, with leading "/" as engines list them.
 */
class DefProject : public KenroTest::TestProject
{
    Q_OBJECT

public:
    DefProject(ParentProject *parent, QString const &definition)
        : TestProject(parent, 0, readMain(parent->archive(), definition), true)
    {
        Archive &store = parent->archive();
        QString const directory = store.absoluteFilePath(definition);
        bool inFiles = false;
        for (QByteArray const &raw : main->content.split('\n')) {
            QString line = QString::fromLatin1(raw);
            line = line.left(line.indexOf(QLatin1Char(';'))).trimmed();
            if (line.startsWith(QLatin1Char('['))) {
                inFiles = line.compare(QLatin1String("[Files]"), Qt::CaseInsensitive) == 0;
                continue;
            }
            int const equals = line.indexOf(QLatin1Char('='));
            if (!inFiles || equals < 0)
                continue;
            QString const key = line.left(equals).trimmed().toLower();
            QString const value = line.mid(equals + 1).trimmed();
            if (value.isEmpty() || !store.fileExists(directory + QLatin1Char('/') + value))
                continue;
            int type = 5;
            if (key == QLatin1String("sprite"))
                type = Sprites;
            else if (key == QLatin1String("sound"))
                type = Sounds;
            else if (key == QLatin1String("anim"))
                type = Animations;
            else if (key == QLatin1String("cmd") || key == QLatin1String("cns") ||
                     key.startsWith(QLatin1String("st")))
                type = Scripts;
            entries.append(FileEntry(type, QLatin1Char('/') + value));
        }
        addToParent();
    }

    // The files of the project on disk, relative to its folder.
    QStringList relativeFiles() const
    {
        QStringList names{QFileInfo(fileName()).fileName()};
        for (FileEntry const &entry : entries) {
            if (!names.contains(entry.second.mid(1)))
                names.append(entry.second.mid(1));
        }
        return names;
    }

    static KenroTest::TextFile *readMain(Archive &archive, QString const &definition)
    {
        auto *file = new WatchedFile;
        file->fromFile(archive, definition, 0, nullptr);
        main = file;
        return file;
    }

    void close()
    {
        release();
        delete this;
    }

    static inline KenroTest::TextFile *main = nullptr;
};

// A game folder as an engine would open it: characters are folders, stages
// are definition files.
class GameRoot : public TestParentProject
{
    Q_OBJECT

public:
    GameRoot(QString const &base, Archive &archive, Engine *engine)
        : TestParentProject(base, archive)
    {
        testEngine = engine;
        addPath(QStringLiteral("chars"), ProjectDirectories);
        addPath(QStringLiteral("stages"), ProjectFiles, {QStringLiteral("*.def")});
    }
};

// The only folder in \a directory, or empty.
QString onlyEntry(QString const &directory)
{
    QStringList const names = QDir(directory).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    return names.size() == 1 ? names.first() : QString();
}

class AsyncFile : public KenroTest::TextFile
{
public:
    Capabilities capabilities() const override { return AsyncSave; }
};

} // namespace

class TestParentProjects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pathsAndModel()
    {
        KenroTest::TestInterface host;
        KenroTest::MemoryArchive archive;
        archive.files.insert(QStringLiteral("/root/stages/a.def"), "a");
        archive.files.insert(QStringLiteral("/root/stages/b.sff"), "b");
        archive.files.insert(QStringLiteral("/root/chars/x/x.def"), "x");
        TestParentProject parent(QStringLiteral("/root/"), archive);
        QAbstractItemModelTester tester(&parent,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(parent.basePath(), QStringLiteral("/root/"));
        QVERIFY(parent.addPath(QString(), 1) == nullptr);

        auto *stages = parent.addPath(QStringLiteral("/stages/"), ParentProject::ProjectFiles,
                                      {QStringLiteral("*.def")});
        QVERIFY(stages && stages->isDirectory() && !stages->isProject());
        QCOMPARE(stages->fullPath(), QStringLiteral("/root/stages/"));
        QModelIndex const stagesIndex = childIndex(parent, QModelIndex(), QStringLiteral("stages"));
        QCOMPARE(childNames(parent, stagesIndex), QStringList{QStringLiteral("a.def")});
        ParentProject::Path *stage = parent.itemPath(parent.index(0, 0, stagesIndex));
        QVERIFY(stage->isProject() && !stage->isDirectory() && !stage->isFile());
        QCOMPARE(stage->fileType(), 0);
        QCOMPARE(stage->fullPath(), QStringLiteral("/root/stages/a.def")); // no trailing "/"

        // Filters that pass nothing give no children; components made on the
        // way share the flags.
        auto *deep = parent.addPath(QStringLiteral("chars/x"), ParentProject::ProjectFiles,
                                    {QStringLiteral("*.none")});
        QVERIFY(deep);
        QModelIndex const chars = childIndex(parent, QModelIndex(), QStringLiteral("chars"));
        QCOMPARE(childNames(parent, chars), QStringList{QStringLiteral("x")});
        QCOMPARE(parent.rowCount(parent.index(0, 0, chars)), 0);
        QCOMPARE(parent.filePath(QStringLiteral("/root/chars/x/")), deep);
        QCOMPARE(parent.filePath(QStringLiteral("/root/")), parent.itemPath(QModelIndex()));
        QVERIFY(!parent.filePath(QStringLiteral("/elsewhere/chars/")));
        QVERIFY(!parent.filePath(QStringLiteral("/root/chars/y/")));

        // Roles: names for display and tips, icons by kind from the host.
        QCOMPARE(stagesIndex.data(Qt::ToolTipRole).toString(), QStringLiteral("stages"));
        host.iconRequests.clear();
        stagesIndex.data(Qt::DecorationRole);
        QCOMPARE(host.iconRequests, QStringList{QStringLiteral("icon_folder")});
        QVERIFY(!stagesIndex.data(Qt::EditRole).isValid());

        parent.removePath(QStringLiteral("/root/chars/x"));
        QCOMPARE(parent.rowCount(chars), 0);
        parent.removePath(QStringLiteral("chars/missing")); // nothing there, nothing done
        parent.removePath(QStringLiteral("chars"));
        QCOMPARE(childNames(parent, QModelIndex()), QStringList{QStringLiteral("stages")});
    }

    void projectSubtreesAndIcons()
    {
        KenroTest::TestInterface host;
        KenroTest::MemoryArchive archive;
        TestParentProject parent(QStringLiteral("/root/"), archive);
        QAbstractItemModelTester tester(&parent,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto *main = new KenroTest::TextFile;
        main->name = QStringLiteral("/root/chars/hero/hero.def");
        auto *project = new KenroTest::TestProject(&parent, 0, main, true);
        project->entries = {{Project::Animations, QStringLiteral("/hero.air")},
                            {Project::Scripts, QStringLiteral("/states/a.cns")},
                            {Project::Scripts, QStringLiteral("/states/b.cns")},
                            {Project::Sprites, QStringLiteral("/art/hero.sff")}};
        project->addToParent();
        QCOMPARE(parent.refCount(), 1u);
        QCOMPARE(parent.openedProjects(), QList<Project *>{project});

        QModelIndex const hero =
            childIndex(parent, childIndex(parent, QModelIndex(), QStringLiteral("chars")),
                       QStringLiteral("hero"));
        QVERIFY(hero.isValid());
        QCOMPARE(childNames(parent, hero),
                 (QStringList{QStringLiteral("hero.def"), QStringLiteral("hero.air"),
                              QStringLiteral("states"), QStringLiteral("art")}));
        QModelIndex const states = childIndex(parent, hero, QStringLiteral("states"));
        QCOMPARE(childNames(parent, states),
                 (QStringList{QStringLiteral("a.cns"), QStringLiteral("b.cns")}));
        ParentProject::Path *air =
            parent.itemPath(childIndex(parent, hero, QStringLiteral("hero.air")));
        QVERIFY(air->isFile() && !air->isProject());
        QCOMPARE(air->fileType(), int(Project::Animations));
        QCOMPARE(air->fullPath(), QStringLiteral("/root/chars/hero/hero.air"));

        host.iconRequests.clear();
        for (QString const &name :
             {QStringLiteral("hero.def"), QStringLiteral("hero.air"), QStringLiteral("art")})
            childIndex(parent, hero, name).data(Qt::DecorationRole);
        childIndex(parent, childIndex(parent, hero, QStringLiteral("art")),
                   QStringLiteral("hero.sff"))
            .data(Qt::DecorationRole);
        QCOMPARE(host.iconRequests,
                 (QStringList{QStringLiteral("icon_code"), QStringLiteral("icon_animation"),
                              QStringLiteral("icon_folder"), QStringLiteral("icon_sprite")}));

        // The tree follows the file list: moved, dropped and new entries.
        QPersistentModelIndex const kept = childIndex(parent, hero, QStringLiteral("hero.air"));
        project->entries = {{Project::Sprites, QStringLiteral("/art/hero.sff")},
                            {Project::Animations, QStringLiteral("/hero.air")},
                            {Project::Sounds, QStringLiteral("/hero.snd")}};
        project->fileHierarchyChanged();
        QCOMPARE(childNames(parent, hero),
                 (QStringList{QStringLiteral("hero.def"), QStringLiteral("art"),
                              QStringLiteral("hero.air"), QStringLiteral("hero.snd")}));
        QVERIFY(kept.isValid());
        QCOMPARE(kept.data().toString(), QStringLiteral("hero.air"));

        // The first project node answers for what lies outside any project;
        // a project node gives its first child that is a project itself.
        QCOMPARE(parent.projectForFile(nullptr),
                 parent.itemPath(childIndex(parent, hero, QStringLiteral("hero.def"))));
        QCOMPARE(parent.projectForFile(parent.itemPath(kept)), parent.projectForFile(nullptr));

        QSignalSpy closed(&parent, &ParentProject::fileClosed);
        project->release();
        delete project;
        QCOMPARE(closed.count(), 1); // the main file
        QCOMPARE(parent.rowCount(childIndex(parent, QModelIndex(), QStringLiteral("chars"))), 0);
        QCOMPARE(parent.refCount(), 0u);
        QCOMPARE(parent.disposed, 1);
        QVERIFY(parent.projectForFile(nullptr) == nullptr);
    }

    void sharedFoldersOutliveTheirProjects()
    {
        KenroTest::TestInterface host;
        KenroTest::MemoryArchive archive;
        for (QString const &name : {QStringLiteral("stages/a.def"), QStringLiteral("stages/a.sff"),
                                    QStringLiteral("stages/b.def"), QStringLiteral("stages/b.sff"),
                                    QStringLiteral("chars/x/x.def")})
            archive.files.insert(QStringLiteral("/root/") + name, "");
        TestParentProject parent(QStringLiteral("/root/"), archive);
        QAbstractItemModelTester tester(&parent,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto *stages = static_cast<ParentProject::DirectoryPath *>(parent.addPath(
            QStringLiteral("stages"), ParentProject::ProjectFiles, {QStringLiteral("*.def")}));
        parent.addPath(QStringLiteral("chars"), ParentProject::ProjectDirectories);
        QModelIndex const stagesIndex = childIndex(parent, QModelIndex(), QStringLiteral("stages"));
        QModelIndex const charsIndex = childIndex(parent, QModelIndex(), QStringLiteral("chars"));
        QStringList const scanned{QStringLiteral("a.def"), QStringLiteral("b.def")};

        auto open = [&](QString const &main, QString const &file) {
            auto *definition = new KenroTest::TextFile;
            definition->name = QStringLiteral("/root/") + main;
            auto *project = new KenroTest::TestProject(&parent, 0, definition, true);
            if (!file.isEmpty())
                project->entries = {{Project::Sprites, file}};
            project->addToParent();
            return project;
        };
        auto close = [](KenroTest::TestProject *project) {
            project->release();
            delete project;
        };

        // Two projects of one scanned folder: its entries stay, each adds its files.
        KenroTest::TestProject *a = open(QStringLiteral("stages/a.def"), QStringLiteral("/a.sff"));
        KenroTest::TestProject *b = open(QStringLiteral("stages/b.def"), QStringLiteral("/b.sff"));
        QStringList const both{QStringLiteral("a.def"), QStringLiteral("b.def"),
                               QStringLiteral("a.sff"), QStringLiteral("b.sff")};
        QCOMPARE(childNames(parent, stagesIndex), both);
        QVERIFY(parent.itemPath(parent.index(0, 0, stagesIndex))->isProject());
        QCOMPARE(parent.filePath(QStringLiteral("/root/stages/b.sff"))->fileType(),
                 int(Project::Sprites));
        stages->scan(); // as when the folder changes on disk
        QCOMPARE(childNames(parent, stagesIndex), both);
        close(a);
        QCOMPARE(childNames(parent, stagesIndex),
                 (QStringList{QStringLiteral("a.def"), QStringLiteral("b.def"),
                              QStringLiteral("b.sff")}));
        b->entries.clear();
        b->fileHierarchyChanged();
        QCOMPARE(childNames(parent, stagesIndex), scanned);
        close(b);
        QCOMPARE(childNames(parent, stagesIndex), scanned);

        // A scanned project folder stays when its project closes, without its files.
        KenroTest::TestProject *x = open(QStringLiteral("chars/x/x.def"), QStringLiteral("/x.air"));
        QModelIndex const xIndex = childIndex(parent, charsIndex, QStringLiteral("x"));
        QCOMPARE(childNames(parent, xIndex),
                 (QStringList{QStringLiteral("x.def"), QStringLiteral("x.air")}));
        close(x);
        QCOMPARE(childNames(parent, charsIndex), QStringList{QStringLiteral("x")});
        QCOMPARE(parent.rowCount(childIndex(parent, charsIndex, QStringLiteral("x"))), 0);
        QCOMPARE(parent.disposed, 2);
    }

    void loneProjectRootAndGameMarker()
    {
        KenroTest::MemoryArchive archive;
        archive.files.insert(QStringLiteral("/game/data/system.def"), "");
        KenroTest::TestEngine engine;
        TestParentProject game(QStringLiteral("/game/"), archive);
        QVERIFY(!game.isGame()); // no engine
        game.testEngine = &engine;
        QVERIFY(game.isGame());
        TestParentProject lone(QStringLiteral("/game/chars/"), archive);
        lone.testEngine = &engine;
        QVERIFY(!lone.isGame());

        // A project whose folder is the root itself hangs its files on the root.
        auto *main = new KenroTest::TextFile;
        main->name = QStringLiteral("/game/chars/hero.def");
        KenroTest::TestProject project(&lone, 0, main, true);
        project.entries = {{Project::Animations, QStringLiteral("/hero.air")}};
        project.addToParent();
        QCOMPARE(childNames(lone, QModelIndex()),
                 (QStringList{QStringLiteral("hero.def"), QStringLiteral("hero.air")}));
        project.release();
        QCOMPARE(lone.disposed, 1);
    }

    void saveWritesModifiedFiles()
    {
        KenroTest::TestInterface host;
        KenroTest::MemoryArchive archive;
        archive.files.insert(QStringLiteral("/root/p/p.def"), "old");
        archive.files.insert(QStringLiteral("/root/p/p.air"), "old");
        TestParentProject parent(QStringLiteral("/root/"), archive);
        auto *main = new KenroTest::TextFile;
        main->fromFile(archive, QStringLiteral("/root/p/p.def"), 0, nullptr);
        KenroTest::TestProject project(&parent, 0, main, true);
        project.addToParent();
        auto *air = new AsyncFile;
        air->fromFile(archive, QStringLiteral("/root/p/p.air"), 0, nullptr);
        project.addFile(air, Project::Animations);
        auto *gone = new KenroTest::TextFile; // its file is not in the archive
        gone->name = QStringLiteral("/root/p/gone.cns");
        gone->modified = true;
        project.addFile(gone, Project::Scripts);

        main->content = "new";
        main->modified = true;
        air->content = "moved";
        air->modified = true;
        Jobs jobs;
        parent.save(&jobs);
        QCOMPARE(archive.files.value(QStringLiteral("/root/p/p.def")), QByteArray("new"));
        QCOMPARE(archive.files.value(QStringLiteral("/root/p/p.air")), QByteArray("moved"));
        QVERIFY(!archive.files.contains(QStringLiteral("/root/p/gone.cns")));
        QCOMPARE(gone->writes, 0);
        QCOMPARE(jobs.titles,
                 (QStringList{QStringLiteral("Saving..."), QStringLiteral("Saving p.air")}));
        QCOMPARE(jobs.jobs.front()->maximum, 1u);
        QCOMPARE(jobs.jobs.front()->value, 1u);
        QCOMPARE(jobs.jobs.back()->detached, 1);

        // Nothing modified, nothing written.
        int const writes = main->writes;
        parent.save(nullptr);
        QCOMPARE(main->writes, writes);
        project.release();
    }

    void backupPlaceAndReadOnlyRestore()
    {
        KenroTest::TestInterface host;
        KenroTest::MemoryArchive archive(QStringLiteral("game.zip"));
        archive.files.insert(QStringLiteral("/root/p/p.def"), "def");
        TestParentProject parent(QStringLiteral("/root/"), archive);
        auto *main = new WatchedFile;
        main->fromFile(archive, QStringLiteral("/root/p/p.def"), 0, nullptr);
        KenroTest::TestProject project(&parent, 0, main, true);
        project.addToParent();

        // Backups of a project inside an archive lie beside the archive.
        QRegularExpression const stamp(
            QStringLiteral("^/memory/game\\.zip/backup/"
                           "\\d\\d\\.\\d\\d\\.\\d{4}_\\d+\\.\\d+\\.\\d+_(am|pm)_first$"));
        QString const place = parent.backupPath(QStringLiteral("first"));
        QVERIFY2(stamp.match(place).hasMatch(), qPrintable(place));
        TestParentProject onDisk(QStringLiteral("/disk/game/"), FileSystemArchive::instance());
        QVERIFY(onDisk.backupPath(QString()).startsWith(QStringLiteral("/disk/game/backup/")));

        // A read-only archive cannot take a backup back: nothing is touched.
        archive.readOnly = true;
        QVERIFY(!parent.restoreBackup(QStringLiteral("/first"), nullptr));
        QVERIFY(main->pauses.isEmpty());
        QCOMPARE(host.refreshes, 0);
        QCOMPARE(archive.files.value(QStringLiteral("/root/p/p.def")), QByteArray("def"));
        project.release();
    }

    void gameTreeFollowsTheDisk()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        KenroTest::TestInterface host;
        QTemporaryDir copy;
        QString const base = copy.path() + QStringLiteral("/game/");
        QVERIFY(
            copyTree(testdata + QStringLiteral("/game"), copy.path() + QStringLiteral("/game")));
        KenroTest::TestEngine engine;
        GameRoot game(base, FileSystemArchive::instance(), &engine);
        QAbstractItemModelTester tester(&game,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(game.isGame());
        QModelIndex const chars = childIndex(game, QModelIndex(), QStringLiteral("chars"));
        QModelIndex const stages = childIndex(game, QModelIndex(), QStringLiteral("stages"));
        QCOMPARE(childNames(game, chars),
                 (QStringList{QStringLiteral("kfm"), QStringLiteral("training")}));
        QCOMPARE(childNames(game, stages),
                 (QStringList{QStringLiteral("kfm.def"), QStringLiteral("stage0.def")}));
        QVERIFY(game.itemPath(game.index(0, 0, chars))->isProject());

        // Folders and files that come and go on disk come and go in the tree.
        QVERIFY(QDir().mkpath(base + QStringLiteral("chars/newcomer")));
        QTRY_COMPARE(childNames(game, chars),
                     (QStringList{QStringLiteral("kfm"), QStringLiteral("newcomer"),
                                  QStringLiteral("training")}));
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("stages/arena.def"), "[Info]\n"));
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("stages/arena.sff"), "x"));
        QTRY_COMPARE(childNames(game, stages),
                     (QStringList{QStringLiteral("arena.def"), QStringLiteral("kfm.def"),
                                  QStringLiteral("stage0.def")}));
        QVERIFY(QDir(base + QStringLiteral("chars/newcomer")).removeRecursively());
        QVERIFY(QFile::remove(base + QStringLiteral("stages/kfm.def")));
        QTRY_COMPARE(childNames(game, chars),
                     (QStringList{QStringLiteral("kfm"), QStringLiteral("training")}));
        QTRY_COMPARE(childNames(game, stages),
                     (QStringList{QStringLiteral("arena.def"), QStringLiteral("stage0.def")}));

        // An open character shows its files under its folder.
        auto *kfm = new DefProject(&game, base + QStringLiteral("chars/kfm/kfm.def"));
        QModelIndex const kfmIndex = childIndex(game, chars, QStringLiteral("kfm"));
        QStringList const files = childNames(game, kfmIndex);
        QCOMPARE(files.first(), QStringLiteral("kfm.def"));
        for (QString const &name :
             {QStringLiteral("kfm.cmd"), QStringLiteral("kfm.cns"), QStringLiteral("kfm.sff"),
              QStringLiteral("kfm.air"), QStringLiteral("kfm.snd"), QStringLiteral("kfm.ai")})
            QVERIFY2(files.contains(name), qPrintable(name));
        QCOMPARE(files.count(QStringLiteral("kfm.cns")), 1); // listed twice, shown once
        QCOMPARE(game.filePath(base + QStringLiteral("chars/kfm/kfm.air"))->fileType(),
                 int(Project::Animations));
        kfm->close();
        QCOMPARE(game.disposed, 1);
    }

    void backupAndRestoreAsATree()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        KenroTest::TestInterface host;
        QTemporaryDir copy;
        QString const base = copy.path() + QStringLiteral("/game/");
        QVERIFY(
            copyTree(testdata + QStringLiteral("/game"), copy.path() + QStringLiteral("/game")));
        KenroTest::TestEngine engine;
        GameRoot game(base, FileSystemArchive::instance(), &engine);
        auto *kfm = new DefProject(&game, base + QStringLiteral("chars/kfm/kfm.def"));
        auto *training =
            new DefProject(&game, base + QStringLiteral("chars/training/Training.def"));
        WatchedFile *watched = static_cast<WatchedFile *>(DefProject::main);

        QVERIFY(ExtensionManager::byFormat(Extension::ArchiveFormat, "ZIP").isEmpty());
        Jobs jobs;
        QVERIFY(game.backup(QStringLiteral("before"), jobs.newJob(QString(), 0)));
        QCOMPARE(jobs.jobs.front()->maximum, 2u);
        QString const stamp = onlyEntry(base + QStringLiteral("backup"));
        QVERIFY(stamp.endsWith(QStringLiteral("_before")));
        QVERIFY(QRegularExpression(
                    QStringLiteral("^\\d\\d\\.\\d\\d\\.\\d{4}_\\d+\\.\\d+\\.\\d+_(am|pm)_before$"))
                    .match(stamp)
                    .hasMatch());
        QString const backupRoot = base + QStringLiteral("backup/") + stamp + QLatin1Char('/');
        for (DefProject *project : {kfm, training}) {
            QString const folder = QStringLiteral("chars/") +
                QFileInfo(project->fileName()).dir().dirName() + QLatin1Char('/');
            for (QString const &name : project->relativeFiles())
                QCOMPARE(KenroTest::readFile(backupRoot + folder + name),
                         KenroTest::readFile(testdata + QStringLiteral("/game/") + folder + name));
        }

        // Damage the game, then restore.
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("chars/kfm/kfm.air"), "ruined"));
        QVERIFY(QFile::remove(base + QStringLiteral("chars/training/Training.cmd")));
        QVERIFY(game.restoreBackup(QLatin1Char('/') + stamp, nullptr));
        for (DefProject *project : {kfm, training}) {
            QString const folder = QStringLiteral("chars/") +
                QFileInfo(project->fileName()).dir().dirName() + QLatin1Char('/');
            for (QString const &name : project->relativeFiles())
                QCOMPARE(KenroTest::readFile(base + folder + name),
                         KenroTest::readFile(testdata + QStringLiteral("/game/") + folder + name));
        }
        QCOMPARE(watched->pauses, (QList<bool>{true, false}));
        QCOMPARE(host.refreshes, 1);
        // A name without its leading "/" is glued onto the folder of backups.
        QVERIFY(game.restoreBackup(stamp, nullptr));
        kfm->close();
        training->close();
    }

    void backupAndRestoreThroughTheZipPlugin()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        KenroTest::TestInterface host;
        QTemporaryDir copy;
        QString const base = copy.path() + QStringLiteral("/game/");
        QVERIFY(
            copyTree(testdata + QStringLiteral("/game"), copy.path() + QStringLiteral("/game")));
        ExtensionManager extensions(QStringLiteral(KENRO_PLUGIN_DIR));
        QCOMPARE(ExtensionManager::byFormat(Extension::ArchiveFormat, "ZIP").size(), 1);
        KenroTest::TestEngine engine;
        GameRoot game(base, FileSystemArchive::instance(), &engine);
        auto *kfm = new DefProject(&game, base + QStringLiteral("chars/kfm/kfm.def"));
        auto *training =
            new DefProject(&game, base + QStringLiteral("chars/training/Training.def"));
        WatchedFile *watched = static_cast<WatchedFile *>(DefProject::main);

        QVERIFY(game.backup(QStringLiteral("zipped"), nullptr));
        QString const stamp = onlyEntry(base + QStringLiteral("backup"));
        QVERIFY(stamp.endsWith(QStringLiteral("_zipped.zip"))); // no plain tree beside it
        QString const name = QLatin1Char('/') + stamp.chopped(4);

        // Damage every project file, then restore from the ZIP.
        QStringList names;
        for (DefProject *project : {kfm, training}) {
            QString const folder = QStringLiteral("chars/") +
                QFileInfo(project->fileName()).dir().dirName() + QLatin1Char('/');
            for (QString const &file : project->relativeFiles()) {
                names.append(folder + file);
                QVERIFY(KenroTest::writeFile(base + folder + file, "damaged"));
            }
        }
        QVERIFY(game.restoreBackup(name, nullptr));
        for (QString const &file : std::as_const(names))
            QCOMPARE(KenroTest::readFile(base + file),
                     KenroTest::readFile(testdata + QStringLiteral("/game/") + file));
        // The watch was paused over the copy and resumed after it.
        QCOMPARE(watched->pauses, (QList<bool>{true, false}));
        QCOMPARE(host.refreshes, 1);
        kfm->close();
        training->close();
    }

    void saveAsLoneProjectAndGame()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        KenroTest::TestInterface host;
        QTemporaryDir copy;
        QString const source = testdata + QStringLiteral("/game/");
        QVERIFY(
            copyTree(testdata + QStringLiteral("/game"), copy.path() + QStringLiteral("/game")));
        QString const base = copy.path() + QStringLiteral("/game/");
        KenroTest::TestEngine engine;

        // A lone character: saved as a new definition in a new folder.
        {
            TestParentProject lone(base + QStringLiteral("chars/kfm/"),
                                   FileSystemArchive::instance());
            lone.testEngine = &engine;
            auto *kfm = new DefProject(&lone, base + QStringLiteral("chars/kfm/kfm.def"));
            QStringList const loneFiles = kfm->relativeFiles();
            QVERIFY(!lone.isGame());
            QString const target = copy.path() + QStringLiteral("/lone/kfm.def");
            QVERIFY(QDir().mkpath(copy.path() + QStringLiteral("/lone")));
            lone.saveAs(target, nullptr);
            QCOMPARE(lone.basePath(), copy.path() + QStringLiteral("/lone/"));
            for (QString const &name : kfm->relativeFiles())
                QCOMPARE(KenroTest::readFile(copy.path() + QStringLiteral("/lone/") + name),
                         KenroTest::readFile(source + QStringLiteral("chars/kfm/") + name));
            QCOMPARE(kfm->fileName(), target);
            kfm->close();

            // It opens again from its new place.
            TestParentProject again(copy.path() + QStringLiteral("/lone/"),
                                    FileSystemArchive::instance());
            auto *reopened = new DefProject(&again, target);
            QCOMPARE(reopened->relativeFiles(), loneFiles);
            QVERIFY(loneFiles.size() >= 7);
            reopened->close();
        }

        // The whole game: open and closed projects, copied into a new folder.
        GameRoot game(base, FileSystemArchive::instance(), &engine);
        auto *kfm = new DefProject(&game, base + QStringLiteral("chars/kfm/kfm.def"));
        QStringList trainingFiles;
        QDirIterator it(base + QStringLiteral("chars/training"), QDir::Files);
        while (it.hasNext())
            trainingFiles.append(QStringLiteral("chars/training/") +
                                 QFileInfo(it.next()).fileName());
        game.projectFileLists.insert(QStringLiteral("chars/training/"), trainingFiles);
        game.projectFileLists.insert(
            QStringLiteral("stages/stage0.def"),
            {QStringLiteral("stages/stage0.def"), QStringLiteral("stages/stage0.sff")});
        QString const target = copy.path() + QStringLiteral("/saved/");
        Jobs jobs;
        game.saveAs(target, jobs.newJob(QString(), 0));
        QCOMPARE(game.basePath(), target);
        QCOMPARE(jobs.jobs.front()->maximum, unsigned(trainingFiles.size() + 2 + 1));
        QCOMPARE(jobs.jobs.front()->value, jobs.jobs.front()->maximum);
        QStringList expected = trainingFiles;
        expected << QStringLiteral("stages/stage0.def") << QStringLiteral("stages/stage0.sff");
        for (QString const &name : kfm->relativeFiles())
            expected << QStringLiteral("chars/kfm/") + name;
        for (QString const &name : std::as_const(expected))
            QCOMPARE(KenroTest::readFile(target + name), KenroTest::readFile(source + name));
        kfm->close();

        GameRoot reopened(target, FileSystemArchive::instance(), &engine);
        QModelIndex const chars = childIndex(reopened, QModelIndex(), QStringLiteral("chars"));
        QCOMPARE(childNames(reopened, chars),
                 (QStringList{QStringLiteral("kfm"), QStringLiteral("training")}));
        auto *again = new DefProject(&reopened, target + QStringLiteral("chars/kfm/kfm.def"));
        QCOMPARE(childNames(reopened, childIndex(reopened, chars, QStringLiteral("kfm"))).size(),
                 again->relativeFiles().size());
        again->close();
    }
};

QTEST_MAIN(TestParentProjects)
#include "tst_parentproject.moc"
