#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messagelist.h>
#include <kenro/project/parentproject.h>

#include "memoryarchive.h"
#include "testinterface.h"
#include "testproject.h"

#include "testdata.h"
#include <QSignalSpy>
#include <QTemporaryDir>

#include <QTest>

using namespace Kenro;
using KenroTest::MemoryArchive;
using KenroTest::TestProject;
using KenroTest::TextFile;

namespace {

TextFile *load(QString const &name)
{
    auto *file = new TextFile;
    file->fromFile(FileSystemArchive::instance(), name, 0, nullptr);
    return file;
}

// Records the signals of a project and its parent in the order they come.
struct SignalLog
{
    QStringList lines;

    void watch(Project &project, ParentProject *parent)
    {
        QObject::connect(&project, &Project::fileAdded, [this](ProjectFile const *file, int type) {
            lines << QStringLiteral("added %1 %2").arg(name(file)).arg(type);
        });
        QObject::connect(&project, &Project::fileRemoved,
                         [this](ProjectFile const *file, int type) {
                             lines << QStringLiteral("removed %1 %2").arg(name(file)).arg(type);
                         });
        if (!parent)
            return;
        QObject::connect(parent, &ParentProject::fileAdded, [this](ProjectFile *file) {
            lines << QStringLiteral("parent added %1").arg(name(file));
        });
        QObject::connect(parent, &ParentProject::fileClosed, [this](ProjectFile *file) {
            lines << QStringLiteral("parent closed %1").arg(name(file));
        });
    }

    static QString name(ProjectFile const *file) { return file ? file->fileName() : QString(); }
};

TextFile *named(QString const &name)
{
    auto *file = new TextFile;
    file->name = name;
    return file;
}

} // namespace

class TestProjectSuite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fileBookkeeping()
    {
        TestProject project(nullptr, 0, nullptr, false);
        QVERIFY(project.isEmpty());
        QVERIFY(!project.isModified());
        QCOMPARE(project.file(Project::Sounds), nullptr);
        QVERIFY(project.filesByType(Project::Sounds).isEmpty());

        TextFile *a = named(QStringLiteral("a"));
        TextFile *b = named(QStringLiteral("b"));
        TextFile *c = named(QStringLiteral("c"));
        QVERIFY(project.addFile(a, Project::Sprites));
        QVERIFY(project.addFile(b, Project::Sprites));
        project.setSelectedFile(Project::Sprites, 0);
        QCOMPARE(project.file(Project::Sprites), a);
        // Adding makes the new file the selected one even when another was selected.
        QVERIFY(project.addFile(c, Project::Sprites));
        QCOMPARE(project.selectedFile(Project::Sprites), 2u);
        QCOMPARE(project.file(Project::Sprites), c);
        project.setSelectedFile(Project::Sprites, 9);
        QCOMPARE(project.file(Project::Sprites), a); // out of range: the first

        project.moveFile(Project::Sprites, 2, 0);
        QCOMPARE(project.filesByType(Project::Sprites), (QList<ProjectFile *>{c, a, b}));
        project.moveFile(Project::Sprites, 0, 3); // out of range: nothing
        project.moveFile(Project::Sounds, 0, 0);
        QCOMPARE(project.filesByType(Project::Sprites), (QList<ProjectFile *>{c, a, b}));

        QVERIFY(project.isEmpty());
        b->content = "x";
        b->modified = true;
        QVERIFY(!project.isEmpty());
        QVERIFY(project.isModified());
        QCOMPARE(project.fileCount(), 3u);
        QCOMPARE(project.fileID(a), Project::FileTypes(0b10));
        project.removeFile(Project::Sprites, 7); // bad index: nothing
        QCOMPARE(project.fileCount(), 3u);
        project.release();
    }

    void removalSignals()
    {
        MemoryArchive archive;
        KenroTest::TestParentProject parent(QStringLiteral("/game/"), archive);
        TestProject project(&parent, 0, nullptr, false);
        project.addToParent();
        QCOMPARE(parent.refCount(), 1u);
        SignalLog log;
        log.watch(project, &parent);

        bool freed = false;
        TextFile *shared = named(QStringLiteral("shared"));
        shared->freed = &freed;
        QVERIFY(project.addFile(shared, Project::Sprites));
        QVERIFY(project.addFile(shared, Project::Animations));
        QCOMPARE(project.fileID(shared), Project::FileTypes(0b1010));

        // Leaving one of two types keeps the file.
        project.removeFile(Project::Sprites, 0);
        QVERIFY(!freed);
        QCOMPARE(project.fileID(shared), Project::FileTypes(0b1000));
        QVERIFY(project.addFile(shared, Project::Sprites));

        // Removing the file itself: the parent hears first, then each type, then -1.
        project.removeFile(shared);
        QVERIFY(freed);
        QCOMPARE(log.lines,
                 QStringList({
                     QStringLiteral("added shared 1"),
                     QStringLiteral("parent added shared"),
                     QStringLiteral("added shared 3"),
                     QStringLiteral("parent added shared"),
                     QStringLiteral("removed shared 1"),
                     QStringLiteral("added shared 1"),
                     QStringLiteral("parent added shared"),
                     QStringLiteral("parent closed shared"),
                     QStringLiteral("removed shared 1"),
                     QStringLiteral("removed shared 3"),
                     QStringLiteral("removed shared -1"),
                 }));

        // The last reference of a single type closes and releases.
        log.lines.clear();
        TextFile *single = named(QStringLiteral("single"));
        bool singleFreed = false;
        single->freed = &singleFreed;
        project.addFile(single, Project::Sounds);
        project.removeFile(Project::Sounds, 0);
        QVERIFY(singleFreed);
        QCOMPARE(log.lines,
                 QStringList(
                     {QStringLiteral("added single 2"), QStringLiteral("parent added single"),
                      QStringLiteral("removed single 2"), QStringLiteral("parent closed single")}));

        // takeFile keeps the reference and always ends with -1, even for a stranger.
        log.lines.clear();
        TextFile *kept = named(QStringLiteral("kept"));
        project.addFile(kept, Project::Scripts);
        QCOMPARE(project.takeFile(kept), kept);
        TextFile *stranger = named(QStringLiteral("stranger"));
        project.takeFile(stranger);
        QCOMPARE(log.lines.mid(2),
                 QStringList({QStringLiteral("removed kept 4"), QStringLiteral("removed kept -1"),
                              QStringLiteral("removed stranger -1")}));
        QCOMPARE(kept->refCount(), 1u);
        kept->release();
        stranger->release();

        // Releasing the project closes its files through the parent.
        log.lines.clear();
        project.addFile(named(QStringLiteral("last")), Project::Scripts);
        log.lines.clear();
        project.release();
        QCOMPARE(log.lines, QStringList({QStringLiteral("parent closed last")}));
        QCOMPARE(parent.refCount(), 0u);
    }

    void typeSignalsCarryTheirTypes()
    {
        TestProject project(nullptr, 0, nullptr, false);
        QSignalSpy removed(&project, &Project::fileRemoved);
        TextFile *file = named(QStringLiteral("f"));
        project.addFile(file, 31);
        project.takeFile(file);
        QCOMPARE(removed.count(), 2);
        QCOMPARE(removed.at(0).at(1).toInt(), 31);
        QCOMPARE(removed.at(1).at(1).toInt(), -1);
        QCOMPARE(removed.at(1).at(0).value<ProjectFile const *>(), file);
        QVERIFY(!project.addFile(file, 32));
        file->release();
        project.release();
    }

    void pathsAndReload()
    {
        QTemporaryDir dir;
        QString const base = dir.path() + QStringLiteral("/game/");
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("chars/kfm/kfm.def"), "def"));
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("chars/kfm/kfm.cns"), "cns"));
        KenroTest::TestParentProject parent(base, FileSystemArchive::instance());
        TestProject project(&parent, 0, load(base + QStringLiteral("chars/kfm/kfm.def")), true);
        QCOMPARE(project.fileName(), base + QStringLiteral("chars/kfm/kfm.def"));
        QCOMPARE(project.absolutePath(), base + QStringLiteral("chars/kfm"));
        QCOMPARE(project.basePath(), QStringLiteral("chars/kfm"));

        TextFile *cns = load(base + QStringLiteral("chars/kfm/kfm.cns"));
        TextFile *gone = named(base + QStringLiteral("chars/kfm/gone.cns"));
        gone->content = "in memory";
        project.addFile(cns, Project::Scripts);
        project.addFile(gone, Project::Scripts);
        cns->content = "edited";
        QVERIFY(
            KenroTest::writeFile(base + QStringLiteral("chars/kfm/kfm.cns"), "changed on disk"));
        project.reload();
        QCOMPARE(cns->content, QByteArray("changed on disk"));
        QCOMPARE(gone->content, QByteArray("in memory"));
        project.release();
    }

    void saveAllToAnotherDirectory()
    {
        QTemporaryDir dir;
        QString const base = dir.path() + QStringLiteral("/game/");
        QString const kfm = base + QStringLiteral("chars/kfm/");
        QByteArray const sff(300000, 's');
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.def"), "[Files]\r\n"));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.air"), "[Begin Action 0]\r\n"));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.cns"), "[Statedef 0]\r\n"));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.sff"), sff));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.snd"), "snd"));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("sub/extra.st"), "st"));

        KenroTest::TestParentProject parent(base, FileSystemArchive::instance());
        TestProject project(&parent, 0, load(kfm + QStringLiteral("kfm.def")), true);
        project.entries = {{Project::Animations, QStringLiteral("/kfm.air")},
                           {Project::Scripts, QStringLiteral("/kfm.cns")},
                           {Project::Sprites, QStringLiteral("/kfm.sff")},
                           {Project::Sounds, QStringLiteral("/kfm.snd")},
                           {Project::Scripts, QStringLiteral("/sub/extra.st")}};
        TextFile *air = load(kfm + QStringLiteral("kfm.air"));
        TextFile *cns = load(kfm + QStringLiteral("kfm.cns"));
        TextFile *sprites = load(kfm + QStringLiteral("kfm.sff"));
        project.addFile(air, Project::Animations);
        project.addFile(cns, Project::Scripts);
        project.addFile(sprites, Project::Sprites);
        project.addFile(sprites, 5); // one file under two types
        air->content = "[Begin Action 1]\r\n";
        air->modified = true;

        // A copy writes the modified file from memory and copies the rest.
        QString const copy = dir.path() + QStringLiteral("/copy");
        QStringList names;
        QVERIFY(project.saveAll(FileSystemArchive::instance(), copy, true, &names));
        QCOMPARE(names,
                 QStringList({QStringLiteral("/kfm.def"), QStringLiteral("/kfm.air"),
                              QStringLiteral("/kfm.cns"), QStringLiteral("/kfm.sff"),
                              QStringLiteral("/kfm.snd"), QStringLiteral("/sub/extra.st")}));
        QString const copied = copy + QStringLiteral("/chars/kfm/");
        QCOMPARE(KenroTest::readFile(copied + QStringLiteral("kfm.air")),
                 QByteArray("[Begin Action 1]\r\n"));
        QCOMPARE(KenroTest::readFile(copied + QStringLiteral("kfm.def")),
                 QByteArray("[Files]\r\n"));
        QCOMPARE(KenroTest::readFile(copied + QStringLiteral("kfm.cns")),
                 QByteArray("[Statedef 0]\r\n"));
        QCOMPARE(KenroTest::readFile(copied + QStringLiteral("kfm.sff")), sff);
        QCOMPARE(KenroTest::readFile(copied + QStringLiteral("kfm.snd")), QByteArray("snd"));
        QCOMPARE(KenroTest::readFile(copied + QStringLiteral("sub/extra.st")), QByteArray("st"));
        QCOMPARE(air->writes, 1);
        QCOMPARE(cns->writes + sprites->writes, 0); // unmodified: copied, not rewritten
        // A copy leaves every file where it was.
        QCOMPARE(air->fileName(), kfm + QStringLiteral("kfm.air"));
        QVERIFY(air->isModified());
        QCOMPARE(KenroTest::readFile(kfm + QStringLiteral("kfm.air")),
                 QByteArray("[Begin Action 0]\r\n"));

        // Saving moves the open files; the main file is the caller's to write.
        QString const moved = dir.path() + QStringLiteral("/moved");
        QVERIFY(project.saveAll(FileSystemArchive::instance(), moved, false, nullptr));
        QString const target = moved + QStringLiteral("/chars/kfm/");
        QCOMPARE(air->fileName(), target + QStringLiteral("kfm.air"));
        QCOMPARE(cns->fileName(), target + QStringLiteral("kfm.cns"));
        QVERIFY(!air->isModified());
        QCOMPARE(KenroTest::readFile(target + QStringLiteral("kfm.cns")),
                 QByteArray("[Statedef 0]\r\n"));
        QCOMPARE(KenroTest::readFile(target + QStringLiteral("kfm.sff")), sff);
        QCOMPARE(KenroTest::readFile(target + QStringLiteral("kfm.snd")), QByteArray("snd"));
        QVERIFY(!QFile::exists(target + QStringLiteral("kfm.def")));
        QCOMPARE(project.mainFile()->fileName(), kfm + QStringLiteral("kfm.def"));
        project.release();
    }

    void saveAllMovesEveryFileToTheTarget()
    {
        QTemporaryDir dir;
        QString const base = dir.path() + QStringLiteral("/");
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("obj/main.def"), "main"));
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("obj/a.cns"), "a"));
        KenroTest::TestParentProject parent(base, FileSystemArchive::instance());
        TestProject project(&parent, 0, load(base + QStringLiteral("obj/main.def")), true);
        project.entries = {{Project::Scripts, QStringLiteral("/a.cns")}};
        TextFile *a = load(base + QStringLiteral("obj/a.cns"));
        project.addFile(a, Project::Scripts);
        a->content = "edited";
        a->modified = true;

        MemoryArchive zip(QStringLiteral("backup.zip"));
        zip.readOnly = true;
        QVERIFY(!project.saveAll(zip, QStringLiteral("out"), false, nullptr));
        QCOMPARE(&a->archive(), &FileSystemArchive::instance());
        zip.readOnly = false;

        QVERIFY(project.saveAll(zip, QStringLiteral("out"), false, nullptr));
        QCOMPARE(&a->archive(), &zip);
        QCOMPARE(&project.mainFile()->archive(), &zip);
        QCOMPARE(&project.archive(), &zip);
        QCOMPARE(zip.files.value(QStringLiteral("out/obj/a.cns")), QByteArray("edited"));
        project.release();
        QCOMPARE(zip.refCount(), 1u);
        QCOMPARE(zip.flushes, 1);
    }
};

QTEST_MAIN(TestProjectSuite)
#include "tst_project.moc"
