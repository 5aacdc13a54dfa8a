#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>
#include <kenro/project/pathhelpers.h>
#include <kenro/project/subitem.h>
#include <kenro/project/textcodecs.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "testdata.h"
#include "testinterface.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextCodec>
#include <QThread>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::readFile;
using KenroTest::writeFile;

namespace {

FileSystemArchive &disk = FileSystemArchive::instance();

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

struct WatchedText : FileWatchObject
{
    QString name;
    int reloads = 0;
    QString fileName() const override { return name; }
    void reload() override { ++reloads; }
    void open(QString const &path)
    {
        fileLoaded(disk, path, false);
        name = path;
    }
};

void touch(QString const &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append) && file.write("\n;"));
}

// Each row of \a rows split at '|', given to \a actual, against the row's last part.
template<typename Function>
void compareRows(QStringList const &rows, Function actual)
{
    QStringList got, expected;
    for (QString const &row : rows) {
        QString const in = row.section(u'|', 0, -2) + u" -> "_s;
        got << in + actual(row.split(u'|'));
        expected << in + row.section(u'|', -1);
    }
    QCOMPARE(got, expected);
}

} // namespace

class TestFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Writing over a file goes to a temporary sibling that replaces it only
    // when the device is closed; the old content is there until then.
    // Rows: the old content ("-": no file), the open mode, the end (0 close,
    // 1 discard, 2 delete) and the content after it ("-": no file).
    void devices_data()
    {
        QTest::addColumn<QString>("row");
        for (auto [tag, row] : {std::pair{"new file in new folders", "-|2|0|new"},
                                {"replaced", "old|2|0|new"},
                                {"deleting commits", "old|2|2|new"},
                                {"discarded", "old|2|1|old"},
                                {"new file discarded", "-|2|1|-"},
                                {"read-write", "abc|3|0|abcnew"}})
            QTest::newRow(tag) << QString::fromLatin1(row);
    }

    void devices()
    {
        QFETCH(QString, row);
        QStringList const in = row.split(u'|');
        QString const &old = in[0], &result = in[3];
        int const mode = in[1].toInt(), end = in[2].toInt();
        QTemporaryDir dir;
        QString const path = dir.filePath(u"a/b/file.txt"_s);
        QByteArray const before = old == "-"_L1 ? QByteArray() : old.toUtf8();
        QVERIFY(before.isEmpty() || writeFile(path, before));
        QIODevice *device = disk.openFile(path, QIODevice::OpenMode(mode));
        QVERIFY(device);
        QCOMPARE(device->readAll(), mode & QIODevice::ReadOnly ? before : QByteArray());
        device->write("new");
        static_cast<QFile *>(device)->flush();
        QVERIFY(before.isEmpty() || readFile(path) == before);
        end == 0 ? disk.closeFile(device) : end == 1 ? disk.discardFile(device) : delete device;
        QCOMPARE(readFile(path), result == "-"_L1 ? "<missing>" : result.toUtf8());
        QCOMPARE(QFileInfo(path).dir().entryList(QDir::Files).size(), result == "-"_L1 ? 0 : 1);
    }

    void killedWriterLeavesOldContent()
    {
        for (QString const &mode : {u"write"_s, u"readwrite"_s}) {
            QTemporaryDir dir;
            QString const name = dir.filePath(u"victim.cns"_s);
            QVERIFY(writeFile(name, QByteArray(100000, 'o')));
            QProcess writer;
            writer.start(QStringLiteral(KENRO_TEST_WRITER), {u"file"_s, name, mode});
            QVERIFY(writer.waitForReadyRead(20000));
            QCOMPARE(writer.readLine(), QByteArray("writing\n"));
            writer.kill(); // SIGKILL: no destructor runs
            QVERIFY(writer.waitForFinished(10000));
            QCOMPARE(readFile(name), QByteArray(100000, 'o'));
            // What was being written survives as the temporary sibling, not under the name.
            QVERIFY(readFile(temporaryOf(name)).contains("nnnn"));
        }
    }

    // The file system refuses for a while: commit and discard keep trying
    // rather than lose data, and ask the user every tenth failure (every
    // two seconds). A helper thread takes the obstacle away.
    void waitsForTheFileSystem_data()
    {
        QTest::addColumn<QString>("row"); // discard, on the temporary, delay
        QTest::newRow("target cannot be removed") << u"0 0 500"_s;
        QTest::newRow("temporary cannot be renamed") << u"0 1 500"_s;
        QTest::newRow("temporary cannot be removed") << u"1 1 500"_s;
        QTest::newRow("asked after ten failures") << u"0 0 2700"_s;
    }

    void waitsForTheFileSystem()
    {
        QFETCH(QString, row);
        QStringList const in = row.split(u' ');
        bool const discard = in[0] == u'1', onTemporary = in[1] == u'1';
        int const delay = in[2].toInt();
        KenroTest::DialogAnswerer answerer(QMessageBox::No);
        QTemporaryDir dir;
        QString const name = dir.filePath(u"busy.txt"_s), away = dir.filePath(u"away"_s);
        QVERIFY(writeFile(name, "old"));
        QIODevice *device = disk.openFile(name, QIODevice::WriteOnly);
        QVERIFY(device && device->write("new"));
        static_cast<QFile *>(device)->flush();
        // A non-empty folder under the name can be neither removed nor renamed over.
        QString const blocked = onTemporary ? temporaryOf(name) : name;
        bool const folder = !onTemporary || discard;
        QVERIFY(QFile::rename(blocked, away) && (!folder || QDir().mkpath(blocked + u"/in"_s)));
        std::unique_ptr<QThread> helper(QThread::create([=] {
            QThread::msleep(delay);
            folder ? QDir(blocked).removeRecursively() : QFile::rename(away, blocked);
        }));
        helper->start();
        QElapsedTimer clock;
        clock.start();
        discard ? disk.discardFile(device) : disk.closeFile(device);
        QVERIFY2(clock.elapsed() >= delay - 100, qPrintable(QString::number(clock.elapsed())));
        helper->wait();
        QCOMPARE(readFile(name), discard ? QByteArray("old") : QByteArray("new"));
        QCOMPARE(answerer.titles(), QStringList(delay / 2000, u"File error!"_s));
        // Only Ok is offered, so even a user who wants out keeps the data.
        for (KenroTest::DialogAnswerer::Seen const &box : std::as_const(answerer.seen))
            QVERIFY(box.text.contains(name) && box.buttons == QMessageBox::Ok);
    }

    void copyFileAndReferences()
    {
        QTemporaryDir dir;
        QByteArray const data = KenroTest::noise(3 * 0x20000 + 17, 7); // chunks and a short rest
        QString const source = dir.filePath(u"big"_s), target = dir.filePath(u"out/copy"_s);
        for (QByteArray const &content : {data, QByteArray("short")}) {
            QVERIFY(writeFile(source, content) && copyFile(disk, source, disk, target));
            QCOMPARE(readFile(target), content);
        }
        QVERIFY(!copyFile(disk, source, disk, source));
        QVERIFY(!copyFile(disk, dir.filePath(u"none"_s), disk, dir.filePath(u"b"_s)));
        QVERIFY(!copyFile(disk, source, disk, source + u"/b"_s) &&
                !QFile::exists(dir.filePath(u"b"_s)));
        // An archive goes when its last reference does.
        KenroTest::MemoryArchive archive;
        archive.addRef();
        archive.release();
        QVERIFY(!archive.freed);
        archive.release();
        QVERIFY(archive.freed);
    }

    void pathHelpers()
    {
        QTemporaryDir dir;
        QVERIFY(writeFile(dir.filePath(u"Chars/KFM/kfm.SFF"_s), "s"));
        // A component that matches nothing keeps its spelling, and so do the
        // later ones; the last component names a file, not a folder.
        compareRows(
            {u"Chars/KFM/kfm.SFF|Chars/KFM/kfm.SFF"_s, u"chars/kfm/KFM.sff|Chars/KFM/kfm.SFF"_s,
             u"chars/none/KFM.sff|Chars/none/KFM.sff"_s, u"CHARS|CHARS"_s},
            [&](QStringList const &in) {
                return fixFileCase(dir.path() + u'/', disk, in[0]).mid(dir.path().size() + 1);
            });
        compareRows({u"C:/a/b/c.txt|C:/a/d|../b/c.txt"_s, u"C:/a/b.txt||C:/a/b.txt"_s,
                     u"/game/chars/kfm.def|/game/|chars/kfm.def"_s,
                     u"C:\\a\\b\\c.txt|C:\\a|b/c.txt"_s, u"/x/y.txt|/x/p/q|../../y.txt"_s,
                     u"D:/x/y.txt|C:/a|../../:/x/y.txt"_s, u"/Game/a.txt|/game|../Game/a.txt"_s},
                    [](QStringList const &in) { return absolutePathToRelative(in[0], in[1]); });
        // Parsed, first and second, from a pair that starts as 0 and 99.
        compareRows({u"1, 2|1 1 2"_s, u" -5 ,7 |1 -5 7"_s, u"1,2,3|0 0 99"_s, u"1|0 0 99"_s,
                     u"4,|0 4 0"_s, u"x,2|0 0 99"_s, u"0x10,1|0 0 99"_s},
                    [](QStringList const &in) {
                        SubItem item;
                        item.second = 99;
                        bool const ok = SubItem::parse(in[0], item);
                        return u"%1 %2 %3"_s.arg(ok).arg(item.first).arg(item.second);
                    });
        QVERIFY(randomString(0).isEmpty() && randomString(-3).isEmpty());
        QVERIFY(QRegularExpression(u"^[A-Za-z0-9]{500}$"_s).match(randomString(500)).hasMatch());
        QVERIFY(randomString(12) != randomString(12));
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
            QString const relative = absolutePathToRelative(path, game);
            // Written on a case-blind system, found on this one.
            QCOMPARE(fixFileCase(game, disk, relative.toUpper()), path);
            QVERIFY(copyFile(disk, path, disk, dir.filePath(relative)));
            QVERIFY2(readFile(dir.filePath(relative)) == readFile(path), qPrintable(relative));
        }
        QVERIFY2(files >= 20, qPrintable(QString::number(files)));
    }

    void codecs()
    {
        QCOMPARE(TextCodecs::index("SYSTEM") + TextCodecs::index("none") +
                     TextCodecs::index(nullptr),
                 0);
        // A codec named twice answers at its first place.
        for (int i = 1; i < TextCodecs::count(); ++i)
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
        compareRows({u"efbbbf3b61|UTF-8 ;a"_s, u"fffe3b006100|UTF-16LE ;a"_s,
                     u"feff003b0061|UTF-16BE ;a"_s, u"fffe61|UTF-16LE"_s},
                    [](QStringList const &in) {
                        QByteArray const bytes = QByteArray::fromHex(in[0].toLatin1());
                        int index = -1;
                        bool mark = false;
                        QString const text = TextCodecs::stringFromData(bytes, &index, &mark);
                        bool const back = TextCodecs::stringToData(text, index, mark) == bytes;
                        return TextCodecs::name(index) + (mark ? QString() : u" unmarked"_s) +
                            (bytes.size() > 3 ? u' ' + (back ? text : u"not written back"_s)
                                              : QString());
                    });
        // Garbage and cut characters never give an index out of range.
        QRandomGenerator random(1122);
        QByteArray const japanese =
            QTextCodec::codecForName("Shift_JIS")->fromUnicode(u"\u3042\u3044"_s);
        for (int round = 0; round < 200; ++round) {
            codec = round < 100 ? -1 : TextCodecs::index("Shift_JIS");
            TextCodecs::stringFromData(
                round % 2 ? KenroTest::noise(random.bounded(2048), random.generate())
                          : japanese.left(round % japanese.size()),
                &codec);
            QVERIFY(codec >= 0 && codec < TextCodecs::count());
        }
    }

    void realTexts()
    {
        KENRO_REQUIRE_TESTDATA(data);
        // The file, one of the same text, and the codec.
        for (QString const &row : {u"sjis_constants.cns|utf8_constants.cns|Shift_JIS"_s,
                                   u"eucjp_constants.cns|utf8_constants.cns|EUC-JP"_s,
                                   u"utf8_constants.cns|utf8_constants.cns|UTF-8"_s,
                                   u"latin1_info.def|utf16le_bom_info.def|ISO-8859-1"_s,
                                   u"utf16le_bom_info.def|latin1_info.def|UTF-16LE"_s}) {
            QStringList const in = row.split(u'|');
            QByteArray const bytes = readFile(data + u"/text/"_s + in[0]);
            int index = -1, other = -1;
            bool mark = false;
            QString const text = TextCodecs::stringFromData(bytes, &index, &mark);
            QCOMPARE(mark, bytes.startsWith("\xff\xfe"));
            QCOMPARE(QTextCodec::codecForName(TextCodecs::name(index).toLatin1())->name(),
                     QTextCodec::codecForName(in[2].toLatin1())->name());
            QVERIFY2(!text.contains(QChar::ReplacementCharacter), qPrintable(in[0]));
            QCOMPARE(TextCodecs::stringToData(text, index, mark), bytes);
            QCOMPARE(text,
                     TextCodecs::stringFromData(readFile(data + u"/text/"_s + in[1]), &other));
        }
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
        KenroTest::MemoryArchive memory;
        third.fileLoaded(memory, path, false); // a file of another archive, or a copy: nothing
        third.fileLoaded(disk, path, true);
        QCOMPARE(FileWatchObject::watchedFiles().size(), 2);
        third.open(QString());
        QCOMPARE(FileWatchObject::watchedFiles(), QStringList{path});
        // A change is asked about once for all its documents.
        touch(path);
        QTRY_COMPARE(first.reloads + second.reloads, 2);
        QCOMPARE(answerer.titles(), QStringList{u"File modified"_s});
        answerer.answer = QMessageBox::No;
        touch(path);
        QTRY_COMPARE(answerer.seen.size(), 2);
        QCOMPARE(first.reloads, 1);
        // A save through the archive replaces the file: its notice is
        // swallowed, and the new file is watched.
        first.fileSaved(disk, path, false);
        second.fileSaved(disk, path, false);
        disk.closeFile(disk.openFile(path, QIODevice::WriteOnly));
        QTRY_VERIFY(!first.isWatchPaused() && !second.isWatchPaused());
        answerer.answer = QMessageBox::Yes;
        touch(path);
        QTRY_COMPARE(first.reloads, 2);
        // Switched off by the host: nothing is asked, and a pause stays.
        host.options.insert(u"enable_file_watcher"_s, false);
        first.pauseWatch(true);
        touch(path);
        QTest::qWait(300);
        QVERIFY(answerer.seen.size() == 3 && first.isWatchPaused());
    }
};

QTEST_MAIN(TestFiles)
#include "tst_files.moc"
