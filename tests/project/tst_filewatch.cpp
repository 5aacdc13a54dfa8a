#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "testdata.h"
#include "testinterface.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;

namespace {

class WatchedText : public FileWatchObject
{
public:
    QString name;
    int reloads = 0;

    QString fileName() const override { return name; }
    void reload() override { ++reloads; }

    void open(Archive &archive, QString const &path)
    {
        fileLoaded(archive, path, false);
        name = path;
    }
};

// Rewrites \a path as another program would.
void touch(QString const &path, QByteArray const &data)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Append));
    file.write(data);
}

} // namespace

class TestFileWatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sharedPaths()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("kfm.cns"));
        QVERIFY(KenroTest::writeFile(path, "[Statedef 0]"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        auto *first = new WatchedText;
        auto *second = new WatchedText;
        first->open(fs, path);
        second->open(fs, path);
        QCOMPARE(FileWatchObject::watchedFiles(), QStringList({path}));
        delete first;
        QCOMPARE(FileWatchObject::watchedFiles(), QStringList({path}));

        // Moving to another file leaves the old one.
        QString const other = dir.filePath(QStringLiteral("kfm.air"));
        QVERIFY(KenroTest::writeFile(other, "[Begin Action 0]"));
        second->open(fs, other);
        QCOMPARE(FileWatchObject::watchedFiles(), QStringList({other}));
        // A copy and a file of another archive change nothing.
        second->fileLoaded(fs, path, true);
        KenroTest::MemoryArchive memory;
        second->fileLoaded(memory, QStringLiteral("x.cns"), false);
        QCOMPARE(FileWatchObject::watchedFiles(), QStringList({other}));
        second->open(fs, QString());
        QVERIFY(FileWatchObject::watchedFiles().isEmpty());
        delete second;
        QVERIFY(FileWatchObject::watchedFiles().isEmpty());
    }

    void externalChangeAsksOnce()
    {
        KenroTest::TestInterface host;
        KenroTest::DialogAnswerer answerer(QMessageBox::Yes);
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("kfm.cmd"));
        QVERIFY(KenroTest::writeFile(path, "[Command]"));
        WatchedText first, second;
        first.open(FileSystemArchive::instance(), path);
        second.open(FileSystemArchive::instance(), path);

        touch(path, "\nname = \"x\"");
        QTRY_COMPARE(first.reloads, 1);
        QCOMPARE(second.reloads, 1);
        QCOMPARE(answerer.titles(), QStringList({QStringLiteral("File modified")}));
        QVERIFY(answerer.seen.first().text.contains(path));
        QVERIFY(answerer.seen.first().buttons & QMessageBox::Yes);

        // Answered No: nothing reloads.
        answerer.answer = QMessageBox::No;
        touch(path, "\n; more");
        QTRY_COMPARE(answerer.seen.size(), 2);
        QTest::qWait(50);
        QCOMPARE(first.reloads, 1);
    }

    void ownSaveAsksNothing()
    {
        KenroTest::TestInterface host;
        KenroTest::DialogAnswerer answerer(QMessageBox::Yes);
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("kfm.def"));
        QVERIFY(KenroTest::writeFile(path, "[Info]"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        WatchedText document;
        document.open(fs, path);

        // A save through the archive replaces the file; its notice is swallowed.
        document.fileSaved(fs, path, false);
        QVERIFY(document.isWatchPaused());
        QIODevice *device = fs.openFile(path, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("[Info]\r\nname = \"kfm\"");
        fs.closeFile(device);
        QTRY_VERIFY(!document.isWatchPaused());
        QTest::qWait(200);
        QVERIFY(answerer.seen.isEmpty());
        QCOMPARE(document.reloads, 0);

        // The replaced file is still watched: the next change asks.
        touch(path, "\n");
        QTRY_COMPARE(document.reloads, 1);
        QCOMPARE(answerer.seen.size(), 1);
    }

    void switchedOff()
    {
        KenroTest::TestInterface host;
        host.options.insert(QStringLiteral("enable_file_watcher"), false);
        KenroTest::DialogAnswerer answerer(QMessageBox::Yes);
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("stage.def"));
        QVERIFY(KenroTest::writeFile(path, "[Info]"));
        WatchedText document;
        document.open(FileSystemArchive::instance(), path);
        document.pauseWatch(true);
        touch(path, "\n");
        QTest::qWait(300);
        QVERIFY(answerer.seen.isEmpty());
        QCOMPARE(document.reloads, 0);
        QVERIFY(document.isWatchPaused());
    }
};

QTEST_MAIN(TestFileWatch)
#include "tst_filewatch.moc"
