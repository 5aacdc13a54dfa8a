#include <kenro/project/filesystemarchive.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/project.h>
#include <kenro/project/projectfile.h>

#include "memoryarchive.h"
#include "testinterface.h"
#include "testproject.h"

#include <QSignalSpy>
#include <QTest>

using namespace Kenro;
using KenroTest::MemoryArchive;
using KenroTest::TestInterface;
using KenroTest::TestProject;
using KenroTest::TextFile;

class TestProjectFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void optionsFallBackFileProjectInterface()
    {
        auto *host = new TestInterface;
        host->options.insert(QStringLiteral("k"), QStringLiteral("global"));
        auto *file = new TextFile;
        QCOMPARE(file->option(QStringLiteral("k")).toString(), QStringLiteral("global"));

        TestProject project(nullptr, 0, nullptr, false);
        QVERIFY(project.addFile(file, Project::Scripts));
        QCOMPARE(file->project(), &project);
        QCOMPARE(file->option(QStringLiteral("k")).toString(), QStringLiteral("global"));

        project.setOption(QStringLiteral("k"), QStringLiteral("project"), false);
        QCOMPARE(file->option(QStringLiteral("k")).toString(), QStringLiteral("project"));
        QCOMPARE(host->options.value(QStringLiteral("k")).toString(), QStringLiteral("global"));

        file->setOption(QStringLiteral("k"), QStringLiteral("own"), false, false);
        QCOMPARE(file->option(QStringLiteral("k")).toString(), QStringLiteral("own"));

        // A null value removes the own key and the project shows through again.
        file->setOption(QStringLiteral("k"), QVariant(), false, false);
        QCOMPARE(file->option(QStringLiteral("k")).toString(), QStringLiteral("project"));
        project.setOption(QStringLiteral("k"), QVariant(), false);
        QCOMPARE(file->option(QStringLiteral("k")).toString(), QStringLiteral("global"));

        QCOMPARE(file->option(QStringLiteral("none"), 5).toInt(), 5);
        QCOMPARE(project.option(QStringLiteral("none"), 6).toInt(), 6);

        // Without a host, nothing crashes and unset keys are invalid.
        delete host;
        QCOMPARE(Interface::instance(), nullptr);
        QVERIFY(!file->option(QStringLiteral("k")).isValid());
        QVERIFY(!project.option(QStringLiteral("k")).isValid());
        QCOMPARE(file->option(QStringLiteral("k"), 3).toInt(), 3);
        auto *lone = new TextFile;
        QVERIFY(!lone->option(QStringLiteral("k")).isValid());
        lone->release();
        project.release();
    }

    void setOptionRoutes()
    {
        TestInterface host;
        auto *file = new TextFile;
        // In-project with no project falls through to the file's own map.
        file->setOption(QStringLiteral("a"), 1, true, true);
        QCOMPARE(file->option(QStringLiteral("a")).toInt(), 1);
        QVERIFY(!host.options.contains(QStringLiteral("a")));

        TestProject project(nullptr, 0, nullptr, false);
        project.addFile(file, Project::Sprites);
        file->setOption(QStringLiteral("b"), 2, true, false);
        QCOMPARE(project.option(QStringLiteral("b")).toInt(), 2);
        QVERIFY(!host.options.contains(QStringLiteral("b")));
        file->setOption(QStringLiteral("c"), 3, true, true);
        QCOMPARE(project.option(QStringLiteral("c")).toInt(), 3);
        QCOMPARE(host.options.value(QStringLiteral("c")).toInt(), 3);
        project.release();
    }

    void mainFileHandsItsCodeOptionsToTheProject()
    {
        TestInterface host;
        auto *main = new TextFile;
        main->setOption(QStringLiteral("parseCode"), false, false, false);
        main->setOption(QStringLiteral("modelCode"), true, false, false);
        main->setOption(QStringLiteral("other"), 9, false, false);
        TestProject project(nullptr, 7, main, true);
        QCOMPARE(project.type(), 7);
        QCOMPARE(project.mainFile(), main);
        QCOMPARE(project.file(Project::Main), main);
        QCOMPARE(host.options.value(QStringLiteral("parseCode")), QVariant(false));
        QCOMPARE(host.options.value(QStringLiteral("modelCode")), QVariant(true));
        QCOMPARE(project.option(QStringLiteral("parseCode")), QVariant(false));
        // The file now reads them through its project; its own keys are gone.
        host.options.remove(QStringLiteral("parseCode"));
        project.setOption(QStringLiteral("parseCode"), QVariant(), false);
        QVERIFY(!main->option(QStringLiteral("parseCode")).isValid());
        QCOMPARE(main->option(QStringLiteral("other")).toInt(), 9);
        project.release();
    }

    void addFileSelectsAndRefusesTwice()
    {
        TestProject project(nullptr, 0, nullptr, false);
        QSignalSpy added(&project, &Project::fileAdded);
        auto *a = new TextFile;
        auto *b = new TextFile;
        QCOMPARE(project.file(Project::Sprites), nullptr);
        QVERIFY(project.addFile(a, Project::Sprites));
        QVERIFY(project.addFile(b, Project::Sprites));
        QVERIFY(!project.addFile(b, Project::Sprites));
        QVERIFY(project.addFile(b, Project::Sounds)); // one file under two types
        QCOMPARE(project.file(Project::Sprites), b);
        QCOMPARE(project.filesByType(Project::Sprites), (QList<ProjectFile *>{a, b}));
        QCOMPARE(added.count(), 3);
        QCOMPARE(added.at(2).at(1).toInt(), int(Project::Sounds));
        bool aFreed = false, bFreed = false;
        a->freed = &aFreed;
        b->freed = &bFreed;
        project.release();
        QVERIFY(aFreed);
        QVERIFY(bFreed);
    }

    void namesAndReadOnly()
    {
        MemoryArchive archive;
        auto *file = new TextFile;
        QVERIFY(file->displayName().isEmpty());
        QVERIFY(!file->isReadOnly());
        file->name = QStringLiteral("a/b/c.txt");
        QCOMPARE(file->displayName(), QStringLiteral("c.txt"));
        file->name = QStringLiteral("plain.txt");
        QCOMPARE(file->displayName(), QStringLiteral("plain.txt"));

        QCOMPARE(&file->archive(), &FileSystemArchive::instance());
        archive.files.insert(QStringLiteral("x.cns"), "text");
        QVERIFY(file->fromFile(archive, QStringLiteral("x.cns"), 0, nullptr));
        QCOMPARE(&file->archive(), &archive);
        QVERIFY(file->fileExists());
        QVERIFY(!file->isReadOnly());
        archive.readOnly = true;
        QVERIFY(file->isReadOnly());
        file->release();
        QVERIFY(!archive.freed);
    }

    void toFileAndFromFileSwapArchivesAndTellTheParent()
    {
        MemoryArchive root(QStringLiteral("root"));
        MemoryArchive other(QStringLiteral("other"));
        KenroTest::TestParentProject parent(QStringLiteral("/game/"), root);
        QCOMPARE(root.refCount(), 2u);
        QSignalSpy saved(&parent, &ParentProject::fileSaved);
        QSignalSpy opened(&parent, &ParentProject::fileOpened);
        QSignalSpy addedToParent(&parent, &ParentProject::fileAdded);

        auto *file = new TextFile;
        file->content = "data";
        TestProject project(&parent, 0, nullptr, false);
        QCOMPARE(&project.archive(), &root);
        QCOMPARE(root.refCount(), 3u);
        project.addFile(file, Project::Scripts);
        QCOMPARE(addedToParent.count(), 1);

        QVERIFY(file->toFile(other, QStringLiteral("s.cns"), 0, nullptr));
        QCOMPARE(&file->archive(), &other);
        QCOMPARE(other.refCount(), 2u);
        QCOMPARE(saved.count(), 1);
        QCOMPARE(saved.at(0).at(0).value<ProjectFile *>(), file);

        // A copy keeps the present archive and tells nobody.
        QVERIFY(file->toFile(root, QStringLiteral("copy.cns"), ProjectFile::Copy, nullptr));
        QCOMPARE(&file->archive(), &other);
        QCOMPARE(saved.count(), 1);
        QCOMPARE(root.files.value(QStringLiteral("copy.cns")), QByteArray("data"));

        // Reading a copy keeps the archive but still reports the opening.
        QVERIFY(file->fromFile(root, QStringLiteral("copy.cns"), ProjectFile::Copy, nullptr));
        QCOMPARE(&file->archive(), &other);
        QCOMPARE(opened.count(), 1);
        QVERIFY(file->fromFile(root, QStringLiteral("copy.cns"), 0, nullptr));
        QCOMPARE(&file->archive(), &root);
        QCOMPARE(other.refCount(), 1u);
        QCOMPARE(opened.count(), 2);

        // The project gives back its reference, and through the file the file's.
        QCOMPARE(root.refCount(), 4u);
        project.release();
        QCOMPARE(root.refCount(), 2u);
        QCOMPARE(root.flushes, 1);
    }

    void releaseFreesAtTheLastReference()
    {
        bool freed = false;
        auto *file = new TextFile;
        file->freed = &freed;
        file->addRef();
        QCOMPARE(file->refCount(), 2u);
        file->release();
        QVERIFY(!freed);
        file->release();
        QVERIFY(freed);
    }
};

QTEST_MAIN(TestProjectFile)
#include "tst_projectfile.moc"
