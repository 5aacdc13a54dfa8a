#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>
#include <kenro/project/pathhelpers.h>
#include <kenro/project/subitem.h>
#include <kenro/project/textcodecs.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "sequentialdevice.h"
#include "testdata.h"
#include "testinterface.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCodec>
#include <QThread>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::addRow;
using KenroTest::noise;
using KenroTest::readFile;
using KenroTest::writeFile;

namespace {

FileSystemArchive &disk()
{
    return FileSystemArchive::instance();
}

// The temporary sibling ("name" and six characters) that a replacing device writes to.
QString temporaryOf(QString const &target)
{
    QFileInfo const info(target);
    for (QString const &name : info.dir().entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        if (name.size() == info.fileName().size() + 6 && name.startsWith(info.fileName()))
            return info.dir().filePath(name);
    }
    return QString();
}

// A document of the file-watch tests: counts its reloads.
class WatchedText : public FileWatchObject
{
public:
    QString name;
    int reloads = 0;
    QString fileName() const override { return name; }
    void reload() override { ++reloads; }
    void open(QString const &path)
    {
        fileLoaded(disk(), path, false);
        name = path;
    }
};

// Appends to \a path as another program would.
void touch(QString const &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    file.write("\n;");
}

} // namespace

class TestFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void referenceCountsAndListings()
    {
        KenroTest::MemoryArchive archive;
        archive.addRef();
        archive.release();
        QVERIFY(!archive.freed);
        archive.release();
        QVERIFY(archive.freed);
        // Listings leave out links, "." and "..".
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(u"one"_s), "1") &&
                QFile::link(dir.filePath(u"one"_s), dir.filePath(u"link"_s)));
        QCOMPARE(disk().entries(dir.path(), QDir::AllEntries, QDir::Name), QStringList{u"one"_s});
        QCOMPARE(disk().openFile(dir.filePath(u"none"_s), QIODevice::ReadOnly), nullptr);
    }

    // Writing over a file goes to a temporary sibling that replaces it only
    // when the device is closed; the old content is there until then.
    void devices_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("old"); // "-": no file yet
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("end"); // 0 close, 1 discard, 2 delete
        QTest::addColumn<QString>("result"); // "-": no file
        int const write = QIODevice::WriteOnly;
        addRow("new file in new folders", "a/b/n.txt", "-", write, 0, "new");
        addRow("replaced", "r.txt", "old", write, 0, "new");
        addRow("deleting commits", "d.txt", "old", write, 2, "new");
        addRow("discarded", "k.txt", "old", write, 1, "old");
        addRow("new file discarded", "n.txt", "-", write, 1, "-");
        addRow("read-write", "rw.txt", "abc", QIODevice::ReadWrite, 0, "abcnew");
    }

    void devices()
    {
        QFETCH(QString, name);
        QFETCH(QString, old);
        QFETCH(int, mode);
        QFETCH(int, end);
        QFETCH(QString, result);
        bool const existed = old != "-"_L1;
        QTemporaryDir dir;
        QString const path = dir.filePath(name);
        QVERIFY(!existed || writeFile(path, old.toUtf8()));
        QIODevice *device = disk().openFile(path, QIODevice::OpenMode(mode));
        QVERIFY(device);
        if (mode & QIODevice::ReadOnly)
            QCOMPARE(device->readAll(), old.toUtf8());
        device->write("new");
        static_cast<QFile *>(device)->flush();
        if (existed) {
            QCOMPARE(readFile(path), old.toUtf8());
            QCOMPARE(readFile(temporaryOf(path)),
                     (mode & QIODevice::ReadOnly ? old.toUtf8() : "") + "new");
        }
        end == 0 ? disk().closeFile(device) : end == 1 ? disk().discardFile(device) : delete device;
        QCOMPARE(readFile(path), result == "-"_L1 ? "<missing>" : result.toUtf8());
        // Nothing is left beside the file.
        QCOMPARE(QFileInfo(path).dir().entryList(QDir::Files).size(), result == "-"_L1 ? 0 : 1);
    }

    void killedWriterLeavesOldContent_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::newRow("write") << u"write"_s;
        QTest::newRow("readwrite") << u"readwrite"_s;
    }

    void killedWriterLeavesOldContent()
    {
        QFETCH(QString, mode);
        QTemporaryDir dir;
        QString const name = dir.filePath(u"victim.cns"_s);
        QByteArray const old(100000, 'o');
        QVERIFY(writeFile(name, old));
        QProcess writer;
        writer.start(QStringLiteral(KENRO_TEST_WRITER), {u"file"_s, name, mode});
        QVERIFY2(writer.waitForStarted(10000), qPrintable(writer.errorString()));
        QVERIFY(writer.waitForReadyRead(20000));
        QCOMPARE(writer.readLine().trimmed(), QByteArray("writing"));
        writer.kill(); // SIGKILL: no destructor runs
        QVERIFY(writer.waitForFinished(10000));
        QCOMPARE(readFile(name), old);
        // What was being written survives as the temporary sibling, not under the name.
        QVERIFY(readFile(temporaryOf(name)).contains("nnnn"));
    }

    // The file system refuses for a while: commit and discard keep trying
    // rather than lose data, and ask the user every tenth failure (every
    // two seconds). A helper thread takes the obstacle away.
    void waitsForTheFileSystem_data()
    {
        QTest::addColumn<bool>("discard");
        QTest::addColumn<bool>("onTemporary");
        QTest::addColumn<int>("delay");
        QTest::newRow("target cannot be removed") << false << false << 500;
        QTest::newRow("temporary cannot be renamed") << false << true << 500;
        QTest::newRow("temporary cannot be removed") << true << true << 500;
        QTest::newRow("asked after ten failures") << false << false << 2700;
    }

    void waitsForTheFileSystem()
    {
        QFETCH(bool, discard);
        QFETCH(bool, onTemporary);
        QFETCH(int, delay);
        KenroTest::DialogAnswerer answerer(QMessageBox::No);
        QTemporaryDir dir;
        QString const name = dir.filePath(u"busy.txt"_s);
        QVERIFY(writeFile(name, "old"));
        QIODevice *device = disk().openFile(name, QIODevice::WriteOnly);
        QVERIFY(device);
        device->write("new");
        static_cast<QFile *>(device)->flush();
        // A non-empty folder under the name can be neither removed nor renamed over.
        QString const blocked = onTemporary ? temporaryOf(name) : name;
        QString const away = dir.filePath(u"away"_s);
        QVERIFY(QFile::rename(blocked, away));
        bool const folder = !onTemporary || discard;
        QVERIFY(!folder || QDir().mkpath(blocked + u"/inner"_s));
        QThread *helper = QThread::create([=] {
            QThread::msleep(delay);
            folder ? QDir(blocked).removeRecursively() : QFile::rename(away, blocked);
        });
        helper->start();
        QElapsedTimer clock;
        clock.start();
        discard ? disk().discardFile(device) : disk().closeFile(device);
        qint64 const waited = clock.elapsed();
        helper->wait();
        delete helper;
        QVERIFY2(waited >= delay - 100, qPrintable(QString::number(waited)));
        QCOMPARE(readFile(name), discard ? QByteArray("old") : QByteArray("new"));
        QCOMPARE(answerer.seen.size(), delay / 2000);
        if (delay > 2000) {
            QCOMPARE(answerer.titles(), QStringList{u"File error!"_s});
            QVERIFY(answerer.seen[0].text.startsWith(
                u"Can't replace contents of file '%1'."_s.arg(name)));
            // Only Ok is offered, so even a user who wants out keeps the data.
            QCOMPARE(answerer.seen[0].buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        }
    }

    void skipReadAndCopyFile()
    {
        KenroTest::SequentialDevice device(QByteArray(1000, 'x') + 'z', QIODevice::Unbuffered);
        skipRead(&device, 1000);
        QCOMPARE(device.read(1), QByteArray("z"));
        skipRead(&device, 300); // ends at the end
        QTemporaryDir dir;
        QByteArray const data = noise(3 * 0x20000 + 17, 7); // chunks and a short rest
        QString const source = dir.filePath(u"big.sff"_s), target = dir.filePath(u"out/copy.sff"_s);
        QVERIFY(writeFile(source, data));
        QVERIFY(copyFile(disk(), source, disk(), target));
        QCOMPARE(readFile(target), data);
        QVERIFY(writeFile(source, "short"));
        QVERIFY(copyFile(disk(), source, disk(), target));
        QCOMPARE(readFile(target), QByteArray("short"));
        // Refused: the same name, a missing source, a target below a file.
        QVERIFY(!copyFile(disk(), source, disk(), source));
        QVERIFY(!copyFile(disk(), dir.filePath(u"none"_s), disk(), dir.filePath(u"b"_s)));
        QVERIFY(!copyFile(disk(), source, disk(), source + u"/b"_s));
        QVERIFY(!QFile::exists(dir.filePath(u"b"_s)));
        QCOMPARE(readFile(source), QByteArray("short"));
    }

    void fixFileCase_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::addColumn<QString>("fixed");
        addRow("as it is", "Chars/KFM/kfm.SFF", "Chars/KFM/kfm.SFF");
        addRow("other case", "chars/kfm/KFM.sff", "Chars/KFM/kfm.SFF");
        // A component that matches nothing keeps its spelling, and so do the later ones.
        addRow("unknown folder", "chars/none/KFM.sff", "Chars/none/KFM.sff");
        addRow("a folder last", "CHARS", "CHARS"); // the last component names a file
    }

    void fixFileCase()
    {
        QFETCH(QString, relative);
        QFETCH(QString, fixed);
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(u"Chars/KFM/kfm.SFF"_s), "s"));
        QCOMPARE(Kenro::fixFileCase(dir.path() + u'/', disk(), relative), dir.filePath(fixed));
    }

    void realGameFolder()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const game = data + u"/game/"_s;
        QTemporaryDir dir;
        int files = 0;
        for (QDirIterator it(game, QDir::Files, QDirIterator::Subdirectories); it.hasNext();
             ++files) {
            QString const path = it.next();
            QString const relative = Kenro::absolutePathToRelative(path, game);
            QVERIFY2(!relative.startsWith("../"_L1), qPrintable(relative));
            // Written on a case-blind system, found on this one.
            QCOMPARE(Kenro::fixFileCase(game, disk(), relative.toUpper()), path);
            QVERIFY(copyFile(disk(), path, disk(), dir.filePath(relative)));
            QVERIFY2(readFile(dir.filePath(relative)) == readFile(path), qPrintable(relative));
        }
        QVERIFY2(files >= 20, qPrintable(QString::number(files)));
    }

    void absolutePathToRelative_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("relative");
        addRow("sibling", "C:/a/b/c.txt", "C:/a/d", "../b/c.txt");
        addRow("empty base", "C:/a/b.txt", "", "C:/a/b.txt");
        addRow("inside", "/game/chars/kfm.def", "/game/", "chars/kfm.def");
        addRow("backslashes", "C:\\a\\b\\c.txt", "C:\\a", "b/c.txt");
        addRow("two up", "/x/y.txt", "/x/p/q", "../../y.txt");
        addRow("no drive logic", "D:/x/y.txt", "C:/a", "../../:/x/y.txt");
        addRow("case sensitive", "/Game/a.txt", "/game", "../Game/a.txt");
    }

    void absolutePathToRelative()
    {
        QFETCH(QString, path);
        QFETCH(QString, base);
        QFETCH(QString, relative);
        QCOMPARE(Kenro::absolutePathToRelative(path, base), relative);
    }

    void randomStringsAndFileExtensions()
    {
        QVERIFY(randomString(0).isEmpty() && randomString(-3).isEmpty());
        QString const text = randomString(500);
        QVERIFY(QRegularExpression(u"^[A-Za-z0-9]{500}$"_s).match(text).hasMatch());
        QVERIFY(randomString(12) != randomString(12));
        QCOMPARE(fileExtension(u"/x/a.tar.Gz"_s), QByteArray("GZ"));
        QCOMPARE(fileExtension(u"dir.d/file"_s), QByteArray());
    }

    void subItemParse_data()
    {
        QTest::addColumn<QString>("result"); // parsed, first, second; the text is the row's name
        for (auto [text, result] : {std::pair{"1, 2", "1 1 2"},
                                    {" -5 ,7 ", "1 -5 7"},
                                    {"1,2,3", "0 0 99"},
                                    {"1", "0 0 99"},
                                    {"4,", "0 4 0"},
                                    {"x,2", "0 0 99"},
                                    {"0x10,1", "0 0 99"}})
            addRow(text, result);
    }

    void subItemParse()
    {
        QFETCH(QString, result);
        SubItem item;
        item.second = 99;
        bool const ok = SubItem::parse(QString::fromLatin1(QTest::currentDataTag()), item);
        QCOMPARE(u"%1 %2 %3"_s.arg(ok).arg(item.first).arg(item.second), result);
    }

    void codecList()
    {
        QCOMPARE(TextCodecs::index("SYSTEM") + TextCodecs::index("none") +
                     TextCodecs::index(nullptr),
                 0);
        QCOMPARE(TextCodecs::name(-4), u"System"_s);
        for (int i = 1; i < TextCodecs::count();
             ++i) // a codec named twice answers at its first place
            QCOMPARE(TextCodecs::name(TextCodecs::index(TextCodecs::name(i).toLatin1())),
                     TextCodecs::name(i));
        // Latin-1 bytes that look like a mark are not one.
        int codec = TextCodecs::index("ISO-8859-1");
        bool mark = true;
        QCOMPARE(TextCodecs::stringFromData("\xef\xbb\xbf", &codec, &mark),
                 u"\u00ef\u00bb\u00bf"_s);
        QVERIFY(!mark);
        codec = 0; // the system's
        TextCodecs::stringFromData("x", &codec);
        QCOMPARE(codec, TextCodecs::index(QTextCodec::codecForLocale()->name()));
    }

    void codecDetection_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("codec");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("mark");
        addRow("utf-8 mark", QByteArray("\xef\xbb\xbf;a"), "UTF-8", ";a", true);
        addRow("utf-16le", QByteArray::fromHex("fffe3b006100"), "UTF-16LE", ";a", true);
        addRow("utf-16be", QByteArray::fromHex("feff003b0061"), "UTF-16BE", ";a", true);
        addRow("cut utf-16", QByteArray::fromHex("fffe61"), "UTF-16LE", QString(), true);
    }

    void codecDetection()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, codec);
        QFETCH(QString, text);
        QFETCH(bool, mark);
        int index = -1;
        bool found = !mark;
        QString const decoded = TextCodecs::stringFromData(bytes, &index, &found);
        QCOMPARE(TextCodecs::name(index), codec);
        QCOMPARE(found, mark);
        if (!text.isNull()) {
            QCOMPARE(decoded, text);
            QCOMPARE(TextCodecs::stringToData(decoded, index, found), bytes);
        }
    }

    void realTexts_data()
    {
        QTest::addColumn<QString>("codec"); // the file is the row's name
        QTest::addColumn<QString>("same"); // the same text in another encoding
        addRow("sjis_constants.cns", "Shift_JIS", "utf8_constants.cns");
        addRow("eucjp_constants.cns", "EUC-JP", "utf8_constants.cns");
        addRow("utf8_constants.cns", "UTF-8", "");
        addRow("latin1_info.def", "ISO-8859-1", "utf16le_bom_info.def");
        addRow("utf16le_bom_info.def", "UTF-16LE", "");
    }

    void realTexts()
    {
        QString const file = QString::fromLatin1(QTest::currentDataTag());
        QFETCH(QString, codec);
        QFETCH(QString, same);
        KENRO_REQUIRE_TESTDATA(data);
        QByteArray const bytes = readFile(data + u"/text/"_s + file);
        int index = -1;
        bool mark = false;
        QString const text = TextCodecs::stringFromData(bytes, &index, &mark);
        QCOMPARE(mark, bytes.startsWith("\xff\xfe"));
        QCOMPARE(QTextCodec::codecForName(TextCodecs::name(index).toLatin1())->name(),
                 QTextCodec::codecForName(codec.toLatin1())->name());
        QVERIFY(!text.contains(QChar::ReplacementCharacter));
        // Written back with the index it reported, the bytes are the same.
        QCOMPARE(TextCodecs::stringToData(text, index, mark), bytes);
        index = -1;
        if (!same.isEmpty())
            QCOMPARE(text, TextCodecs::stringFromData(readFile(data + u"/text/"_s + same), &index));
    }

    void garbageAndCutBytes()
    {
        QRandomGenerator random(1122);
        for (int round = 0; round < 200; ++round) {
            int codec = -1;
            TextCodecs::stringFromData(noise(random.bounded(1, 2048), random.generate()), &codec);
            QVERIFY(codec >= 0 && codec < TextCodecs::count());
        }
        QByteArray const japanese =
            QTextCodec::codecForName("Shift_JIS")->fromUnicode(u"\u3042\u3044"_s);
        for (int cut = 0; cut <= japanese.size(); ++cut) {
            for (int codec : {-1, TextCodecs::index("Shift_JIS")})
                TextCodecs::stringFromData(japanese.left(cut), &codec);
        }
        int codec = -1;
        QCOMPARE(TextCodecs::stringFromData(QByteArray(), &codec), QString());
    }

    void fileWatching()
    {
        KenroTest::TestInterface host;
        KenroTest::DialogAnswerer answerer(QMessageBox::Yes);
        QTemporaryDir dir;
        QString const path = dir.filePath(u"kfm.cmd"_s), other = dir.filePath(u"kfm.air"_s);
        QVERIFY(writeFile(path, "[Command]") && writeFile(other, "[Begin]"));
        WatchedText first, second, third;
        for (WatchedText *document : {&first, &second, &third})
            document->open(path);
        third.open(other); // moving leaves the old file
        QCOMPARE(FileWatchObject::watchedFiles().size(), 2);
        // A copy and a file of another archive change nothing.
        third.fileLoaded(disk(), path, true);
        KenroTest::MemoryArchive memory;
        third.fileLoaded(memory, u"x.cns"_s, false);
        third.open(QString());
        QCOMPARE(FileWatchObject::watchedFiles(), QStringList{path});
        // A change is asked about once for all its documents.
        touch(path);
        QTRY_COMPARE(first.reloads + second.reloads, 2);
        QCOMPARE(answerer.titles(), QStringList{u"File modified"_s});
        QVERIFY(answerer.seen[0].text.contains(path));
        answerer.answer = QMessageBox::No;
        touch(path);
        QTRY_COMPARE(answerer.seen.size(), 2);
        QCOMPARE(first.reloads + third.reloads, 1);
        // A save through the archive replaces the file: its notice is
        // swallowed, and the new file is watched.
        first.fileSaved(disk(), path, false);
        second.fileSaved(disk(), path, false);
        QIODevice *device = disk().openFile(path, QIODevice::WriteOnly);
        QVERIFY(first.isWatchPaused() && device);
        disk().closeFile(device);
        QTRY_VERIFY(!first.isWatchPaused() && !second.isWatchPaused());
        answerer.answer = QMessageBox::Yes;
        touch(path);
        QTRY_COMPARE(first.reloads, 2);
        // Switched off by the host: nothing is asked, and a pause stays.
        host.options.insert(u"enable_file_watcher"_s, false);
        first.pauseWatch(true);
        touch(path);
        QTest::qWait(300);
        QCOMPARE(answerer.seen.size(), 3);
        QVERIFY(first.isWatchPaused());
    }
};

QTEST_MAIN(TestFiles)
#include "tst_files.moc"
