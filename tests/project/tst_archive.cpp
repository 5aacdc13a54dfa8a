#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>

#include "dialoganswerer.h"

#include "testdata.h"
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <QTest>
#include <QThread>

#include <functional>

using Kenro::Archive;
using Kenro::FileSystemArchive;

namespace {

// Runs \a work on another thread after \a delay milliseconds.
QThread *later(int delay, std::function<void()> work)
{
    QThread *thread = QThread::create([delay, work] {
        QThread::msleep(delay);
        work();
    });
    thread->start();
    return thread;
}

// The temporary sibling that a device in replace mode writes to.
QString temporaryOf(QString const &target)
{
    QFileInfo const info(target);
    QStringList const names = info.dir().entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    for (QString const &name : names) {
        if (name.size() == info.fileName().size() + 6 && name.startsWith(info.fileName()))
            return info.dir().filePath(name);
    }
    return QString();
}

class CountingArchive : public Archive
{
public:
    int *freed;
    explicit CountingArchive(int *counter) : freed(counter) {}
    QString name() override { return QStringLiteral("counting"); }
    QString path() override { return QString(); }
    QString absoluteFilePath(QString const &) override { return QString(); }
    QString absoluteFileName(QString const &) override { return QString(); }
    QStringList entries(QString const &, QStringList, QFlags<QDir::Filter>,
                        QFlags<QDir::SortFlag>) override
    {
        return {};
    }
    QIODevice *openFile(QString const &, QFlags<QIODevice::OpenModeFlag>) override
    {
        return nullptr;
    }
    void closeFile(QIODevice *) override {}
    void discardFile(QIODevice *) override {}
    bool removeFile(QString const &) override { return false; }
    bool renameFile(QString const &, QString const &) override { return false; }
    void flush() override {}
    bool isReadOnly() const override { return true; }
    bool isWritable(QString const &) const override { return false; }
    bool fileExists(QString const &) const override { return false; }
    bool directoryExists(QString const &) const override { return false; }

private:
    void free() override { ++*freed; }
};

} // namespace

class TestArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void referenceCounting()
    {
        int freed = 0;
        CountingArchive archive(&freed);
        QCOMPARE(archive.refCount(), 1u);
        archive.addRef();
        archive.release();
        QCOMPARE(freed, 0);
        archive.release();
        QCOMPARE(freed, 1);

        // The file system is never disposed of, however often it is released.
        FileSystemArchive &fs = FileSystemArchive::instance();
        for (int i = 0; i < 5; ++i)
            fs.release();
        QCOMPARE(&FileSystemArchive::instance(), &fs);
        QVERIFY(fs.name().isEmpty());
        QVERIFY(fs.path().isEmpty());
        QVERIFY(!fs.isReadOnly());
    }

    void pathsAndQueries()
    {
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        QString const name = dir.filePath(QStringLiteral("a.txt"));
        QVERIFY(fs.absoluteFilePath(QString()).isEmpty());
        QVERIFY(fs.absoluteFileName(QString()).isEmpty());
        QCOMPARE(fs.absoluteFilePath(name), QFileInfo(dir.path()).absoluteFilePath());
        QCOMPARE(fs.absoluteFileName(name), name);
        QVERIFY(fs.isWritable(name)); // not there yet
        QVERIFY(!fs.fileExists(name));
        QVERIFY(fs.directoryExists(dir.path()));
        QVERIFY(!fs.directoryExists(name));
        QCOMPARE(fs.openFile(name, QIODevice::ReadOnly), nullptr);

        QVERIFY(KenroTest::writeFile(name, "x"));
        QVERIFY(fs.fileExists(name));
        QVERIFY(fs.renameFile(name, dir.filePath(QStringLiteral("b.txt"))));
        QVERIFY(!fs.renameFile(name, dir.filePath(QStringLiteral("c.txt"))));
        QVERIFY(fs.removeFile(dir.filePath(QStringLiteral("b.txt"))));
        QVERIFY(!fs.removeFile(dir.filePath(QStringLiteral("b.txt"))));
    }

    void entriesLeaveOutLinksAndDots()
    {
        QTemporaryDir dir;
        QVERIFY(KenroTest::writeFile(dir.filePath(QStringLiteral("one.sff")), "1"));
        QVERIFY(KenroTest::writeFile(dir.filePath(QStringLiteral("two.air")), "22"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("sub")));
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("one.sff")),
                            dir.filePath(QStringLiteral("link.sff"))));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QCOMPARE(fs.entries(dir.path(), QDir::AllEntries, QDir::Name),
                 QStringList({QStringLiteral("one.sff"), QStringLiteral("sub"),
                              QStringLiteral("two.air")}));
        QCOMPARE(fs.entries(dir.path(), {QStringLiteral("*.air")}, QDir::Files, QDir::Name),
                 QStringList({QStringLiteral("two.air")}));
        QCOMPARE(fs.entries(dir.path(), QDir::Dirs, QDir::Name),
                 QStringList({QStringLiteral("sub")}));
    }

    void writingMakesMissingDirectories()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("a/b/c/new.txt"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("hello");
        fs.closeFile(device);
        QCOMPARE(KenroTest::readFile(name), QByteArray("hello"));
    }

    void replaceKeepsOldContentUntilClosed()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("sheet.ext"));
        QVERIFY(KenroTest::writeFile(name, "old content"));
        FileSystemArchive &fs = FileSystemArchive::instance();

        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("new");
        static_cast<QFile *>(device)->flush();
        QCOMPARE(KenroTest::readFile(name), QByteArray("old content"));
        QString const temporary = temporaryOf(name);
        QVERIFY2(!temporary.isEmpty(), "no temporary sibling while replacing");
        QCOMPARE(KenroTest::readFile(temporary), QByteArray("new"));

        fs.closeFile(device);
        QCOMPARE(KenroTest::readFile(name), QByteArray("new"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files),
                 QStringList({QStringLiteral("sheet.ext")}));
    }

    void discardKeepsOldContent()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("keep.txt"));
        QVERIFY(KenroTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("never seen");
        fs.discardFile(device);
        QCOMPARE(KenroTest::readFile(name), QByteArray("old"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files),
                 QStringList({QStringLiteral("keep.txt")}));
    }

    void discardedNewFileIsGone()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("fresh.txt"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("partial");
        fs.discardFile(device);
        QVERIFY(!QFile::exists(name));
        QVERIFY(QDir(dir.path()).entryList(QDir::Files).isEmpty());
    }

    void readWriteStartsFromOldContent()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("rw.bin"));
        QVERIFY(KenroTest::writeFile(name, "abc"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::ReadWrite);
        QVERIFY(device);
        QCOMPARE(device->readAll(), QByteArray("abc"));
        device->write("def");
        QCOMPARE(KenroTest::readFile(name), QByteArray("abc"));
        fs.closeFile(device);
        QCOMPARE(KenroTest::readFile(name), QByteArray("abcdef"));
    }

    void deletingTheDeviceCommits()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("d.txt"));
        QVERIFY(KenroTest::writeFile(name, "1"));
        QIODevice *device = FileSystemArchive::instance().openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("2");
        delete device;
        QCOMPARE(KenroTest::readFile(name), QByteArray("2"));
    }

    void killedWriterLeavesOldContent_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::newRow("write") << QStringLiteral("write");
        QTest::newRow("readwrite") << QStringLiteral("readwrite");
    }

    void killedWriterLeavesOldContent()
    {
        QFETCH(QString, mode);
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("victim.cns"));
        QByteArray const old(100000, 'o');
        QVERIFY(KenroTest::writeFile(name, old));

        QProcess writer;
        writer.start(QStringLiteral(KENRO_ARCHIVE_WRITER), {name, mode});
        QVERIFY2(writer.waitForStarted(10000), qPrintable(writer.errorString()));
        QVERIFY(writer.waitForReadyRead(20000));
        QCOMPARE(writer.readLine().trimmed(), QByteArray("writing"));
        QThread::msleep(50); // let it write a while longer
        writer.kill(); // SIGKILL: no destructor runs
        QVERIFY(writer.waitForFinished(10000));
        QCOMPARE(writer.exitStatus(), QProcess::CrashExit);

        QCOMPARE(KenroTest::readFile(name), old);
        // What was being written survives as the temporary sibling, not under the name.
        QString const temporary = temporaryOf(name);
        QVERIFY(!temporary.isEmpty());
        QVERIFY(KenroTest::readFile(temporary).contains("nnnn"));
    }

    void commitWaitsForAFileThatCannotBeRemoved()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("busy.txt"));
        QVERIFY(KenroTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("new");

        // A non-empty directory under the name cannot be removed; it goes away
        // while the commit sleeps between its tries.
        QVERIFY(QFile::remove(name));
        QVERIFY(QDir().mkpath(name + QStringLiteral("/inner")));
        QThread *helper = later(500, [name] { QDir(name).removeRecursively(); });
        QElapsedTimer clock;
        clock.start();
        fs.closeFile(device);
        qint64 const waited = clock.elapsed();
        helper->wait();
        delete helper;
        QVERIFY2(waited >= 400, qPrintable(QString::number(waited)));
        QCOMPARE(KenroTest::readFile(name), QByteArray("new"));
    }

    void commitWaitsForTheTemporaryToBeRenamed()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("ren.txt"));
        QVERIFY(KenroTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("new");
        static_cast<QFile *>(device)->flush();

        // Without its temporary file the rename fails until the file is back.
        QString const temporary = temporaryOf(name);
        QString const away = dir.filePath(QStringLiteral("away"));
        QVERIFY(QFile::rename(temporary, away));
        QThread *helper = later(500, [away, temporary] { QFile::rename(away, temporary); });
        QElapsedTimer clock;
        clock.start();
        fs.closeFile(device);
        qint64 const waited = clock.elapsed();
        helper->wait();
        delete helper;
        QVERIFY2(waited >= 400, qPrintable(QString::number(waited)));
        QCOMPARE(KenroTest::readFile(name), QByteArray("new"));
        QVERIFY(!QFile::exists(away));
    }

    void discardWaitsForTheTemporaryToGo()
    {
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("dis.txt"));
        QVERIFY(KenroTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("new");

        QString const temporary = temporaryOf(name);
        QVERIFY(QFile::rename(temporary, dir.filePath(QStringLiteral("moved"))));
        QVERIFY(QDir().mkpath(temporary + QStringLiteral("/inner")));
        QThread *helper = later(500, [temporary] { QDir(temporary).removeRecursively(); });
        QElapsedTimer clock;
        clock.start();
        fs.discardFile(device);
        qint64 const waited = clock.elapsed();
        helper->wait();
        delete helper;
        QVERIFY2(waited >= 400, qPrintable(QString::number(waited)));
        QCOMPARE(KenroTest::readFile(name), QByteArray("old"));
    }

    void everyTenthFailureAsksTheUser()
    {
        KenroTest::DialogAnswerer answerer(QMessageBox::No);
        QTemporaryDir dir;
        QString const name = dir.filePath(QStringLiteral("asked.txt"));
        QVERIFY(KenroTest::writeFile(name, "old"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QIODevice *device = fs.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("new");

        QVERIFY(QFile::remove(name));
        QVERIFY(QDir().mkpath(name + QStringLiteral("/inner")));
        // Ten failures take two seconds; the directory goes after the first question.
        QThread *helper = later(2700, [name] { QDir(name).removeRecursively(); });
        fs.closeFile(device);
        helper->wait();
        delete helper;

        QCOMPARE(answerer.titles(), QStringList({QStringLiteral("File error!")}));
        KenroTest::DialogAnswerer::Seen const &box = answerer.seen.first();
        QVERIFY(
            box.text.startsWith(QStringLiteral("Can't replace contents of file '%1'.").arg(name)));
        // The box offers only Ok, so even a user who wants out keeps the data.
        QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(KenroTest::readFile(name), QByteArray("new"));
    }
};

QTEST_MAIN(TestArchive)
#include "tst_archive.moc"
