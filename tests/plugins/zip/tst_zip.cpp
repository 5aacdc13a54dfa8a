#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>

#include "testdata.h"

#include <QDataStream>
#include <QDateTime>
#include <QDirIterator>
#include <QLoggingCategory>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <zip.h>
#include <zlib.h>

#include <memory>
#include <optional>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::noise;
using KenroTest::readFile;
using KenroTest::writeFile;

namespace {

using ArchivePtr = std::unique_ptr<Archive, void (*)(Archive *)>;
using Members = QMap<QString, QByteArray>;
FileSystemArchive &disk = FileSystemArchive::instance();

// Through the plug-in: mode 0 writes a new ZIP at \a path, mode 1 reads the one there.
ArchivePtr openZip(QString const &path, int mode)
{
    QList<Extension *> const zip = ExtensionManager::byFormat(Extension::ArchiveFormat, "ZIP");
    return ArchivePtr(static_cast<ArchiveExtension *>(zip.value(0))->create(path, mode),
                      [](Archive *archive) { archive ? archive->release() : void(); });
}

bool put(Archive &archive, QString const &name, QByteArray const &data)
{
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    if (!device)
        return false;
    bool const written = device->write(data) == data.size();
    archive.closeFile(device);
    return written;
}

std::optional<QByteArray> get(Archive &archive, QString const &name)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device)
        return std::nullopt;
    QByteArray const data = device->readAll();
    archive.closeFile(device);
    return data;
}

// The files as a restore walks them: what fileExists() refuses is a directory.
QStringList walk(Archive &archive, QString const &directory = QString())
{
    QStringList files;
    for (QString const &name :
         archive.entries(directory, QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot, QDir::Name))
        files += archive.fileExists(directory + name) ? QStringList{directory + name}
                                                      : walk(archive, directory + name + u'/');
    return files;
}

// Every member that reads back, with its content.
Members contents(Archive &archive)
{
    Members members;
    for (QString const &name : walk(archive)) {
        if (std::optional<QByteArray> const data = get(archive, name))
            members.insert(name, *data);
    }
    return members;
}

QStringList filesBelow(QString const &root)
{
    QStringList names;
    for (QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         it.hasNext();)
        names.append(QDir(root).relativeFilePath(it.next()));
    names.sort();
    return names;
}

bool makeZip(QString const &path, Members const &members)
{
    ArchivePtr zip = openZip(path, 0);
    bool all = true;
    for (auto it = members.cbegin(); it != members.cend(); ++it)
        all = put(*zip, it.key(), it.value()) && all;
    return all;
}

// A member of a ZIP made byte by byte, stored (method 0) or deflated (8), with
// sizes and checksum that a test may make wrong.
struct RawMember
{
    QByteArray name, data;
    quint16 method;
    quint32 crc, size;
};

RawMember member(QByteArray const &name, QByteArray const &content, bool deflate = false,
                 quint32 size = 0)
{
    // qCompress gives a length, a zlib header, raw deflate and a checksum.
    QByteArray const data = deflate ? qCompress(content).mid(6).chopped(4) : content;
    auto const crc = quint32(
        crc32(0, reinterpret_cast<Bytef const *>(content.constData()), uInt(content.size())));
    return {name, data, quint16(deflate ? 8 : 0), crc, size ? size : quint32(content.size())};
}

QByteArray buildZip(QList<RawMember> const &members)
{
    QByteArray out, directory;
    QDataStream file(&out, QIODevice::WriteOnly), central(&directory, QIODevice::WriteOnly);
    file.setByteOrder(QDataStream::LittleEndian);
    central.setByteOrder(QDataStream::LittleEndian);
    for (RawMember const &m : members) {
        auto const offset = quint32(file.device()->pos());
        central << quint32(0x02014b50) << quint16(20);
        file << quint32(0x04034b50);
        for (QDataStream *stream : {&central, &file})
            *stream << quint16(20) << quint16(0) << m.method << quint16(0)
                    << quint16((44u << 9) | (3 << 5) | 2) << m.crc << quint32(m.data.size())
                    << m.size << quint16(m.name.size()) << quint16(0);
        central << quint32(0) << quint32(0) << quint16(0) << offset;
        central.writeRawData(m.name.constData(), int(m.name.size()));
        file.writeRawData(m.name.constData(), int(m.name.size()));
        file.writeRawData(m.data.constData(), int(m.data.size()));
    }
    auto const offset = quint32(out.size());
    file.writeRawData(directory.constData(), int(directory.size()));
    file << quint32(0x06054b50) << quint32(0) << quint32(members.size() * 0x10001)
         << quint32(directory.size()) << offset << quint16(0);
    return out;
}

} // namespace

class TestZip : public QObject
{
    Q_OBJECT

    std::unique_ptr<ExtensionManager> m_manager;

private Q_SLOTS:
    void initTestCase()
    {
        // Refused input is expected below; its warnings would only be noise.
        QLoggingCategory::setFilterRules(u"kenro.zip.warning=false"_s);
        m_manager = std::make_unique<ExtensionManager>(QStringLiteral(KENRO_PLUGIN_DIR));
        QCOMPARE(ExtensionManager::byFormat(Extension::ArchiveFormat, "ZIP").size(), 1);
    }

    void cleanupTestCase()
    {
        m_manager.reset();
        QVERIFY(ExtensionManager::list(Extension::ArchiveFormat).isEmpty());
    }

    void writesAndReadsBackANestedTree()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"tree.zip"_s);
        qint64 const start = QDateTime::currentSecsSinceEpoch();
        Members const expected{{u"chars/kfm/empty.cns"_s, ""},
                               {u"chars/kfm/kfm.air"_s, "[Begin Action 0]"},
                               {u"chars/kfm/kfm.def"_s, "[Files]; appended"},
                               {u"chars/kfm/kfm.sff"_s, noise(300000, 7)},
                               {u"data/\u00fcn\u00ef.txt"_s, "utf"}};
        ArchivePtr zip = openZip(path, 0);
        QVERIFY(put(*zip, u"/chars/kfm/kfm.sff"_s, expected.value(u"chars/kfm/kfm.sff"_s)));
        // Names lose a leading "/" or "./", doubled slashes and "..": a later write replaces.
        for (QString const &write :
             u"./chars/kfm/kfm.def=replaced|data/\u00fcn\u00ef.txt=utf|chars//kfm/../kfm/kfm.def="
             u"[Files]|chars/kfm/empty.cns=|.hidden=h|chars/kfm/draft.air=[Begin Action 0]|"
             u"chars/gone="_s.split(u'|'))
            QVERIFY2(put(*zip, write.section(u'=', 0, 0), write.section(u'=', 1).toUtf8()),
                     qPrintable(write));
        QIODevice *device = zip->openFile(u"stages/stage0.def"_s, QIODevice::WriteOnly);
        QVERIFY(device && device->write("never"));
        zip->discardFile(device);
        device = zip->openFile(u"chars/kfm/kfm.def"_s, QIODevice::Append);
        QVERIFY(device && device->write("; appended"));
        zip->closeFile(device);
        QVERIFY(zip->renameFile(u"chars/kfm/draft.air"_s, u"chars/kfm/kfm.air"_s));
        QStringList const refused{u"chars/kfm/kfm.air"_s,   u"chars/kfm/kfm.def"_s,
                                  u"chars/kfm/draft.air"_s, u"x"_s,
                                  u"chars/kfm"_s,           u"chars/k2"_s,
                                  u"chars/kfm/kfm.air"_s,   u"chars/kfm/kfm.air/below"_s};
        for (int i = 0; i < refused.size(); i += 2)
            QVERIFY2(!zip->renameFile(refused[i], refused[i + 1]), qPrintable(refused[i + 1]));
        QVERIFY(zip->removeFile(u"chars/gone"_s) && !zip->removeFile(u"chars/gone"_s) &&
                !zip->removeFile(u"chars"_s));
        // The pending contents answer as a file system would.
        QVERIFY(!zip->fileExists(u"stages/stage0.def"_s) && !zip->directoryExists(u"stages"_s));
        QVERIFY(zip->directoryExists(u"/chars/kfm/"_s) && !zip->fileExists(u"chars"_s));
        QVERIFY(zip->isWritable(u"chars/new.txt"_s));
        for (char const *name : {"chars", "chars/kfm/kfm.def/below", "../outside.txt"})
            QVERIFY2(!zip->isWritable(QLatin1String(name)) &&
                         !zip->openFile(QLatin1String(name), QIODevice::WriteOnly),
                     name);
        QDir::Filters const writable = QDir::Dirs | QDir::Files | QDir::Writable;
        QCOMPARE(zip->entries(QString(), writable, QDir::Name).join(u' '), "chars data"_L1);
        QVERIFY(!QFile::exists(path));
        zip.reset();
        ArchivePtr back = openZip(path, 1);
        QVERIFY(back && back->isReadOnly());
        QCOMPARE(contents(*back), expected); // hidden files are not walked
        QCOMPARE(get(*back, u".hidden"_s), QByteArray("h"));
        // A ZIP that was read refuses every change.
        QVERIFY(!back->openFile(u"new.txt"_s, QIODevice::WriteOnly) &&
                !back->openFile(u".hidden"_s, QIODevice::Append));
        QVERIFY(!back->removeFile(u".hidden"_s) && !back->renameFile(u".hidden"_s, u"shown"_s));
        QVERIFY(!back->isWritable(u"chars/kfm/kfm.def"_s) &&
                back->entries(QString(), writable, QDir::Name).isEmpty());
        // Another reader sees every member, with the time it was written.
        int error = 0, timely = 0;
        zip_t *other = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error);
        QVERIFY(other);
        zip_stat_t stat; // DOS times count in steps of two seconds
        for (zip_uint64_t i = 0; zip_stat_index(other, i, 0, &stat) == 0; ++i)
            timely += stat.mtime >= start - 2 && stat.mtime <= QDateTime::currentSecsSinceEpoch();
        zip_discard(other);
        QCOMPARE(timely, expected.size() + 1);
    }

    // A ZIP of a tree lists what QDir lists of the tree, for every filter and order.
    void entriesFollowQDir()
    {
        QTemporaryDir dir;
        QString const root = dir.filePath(u"tree/"_s);
        for (QString const &file : u"Alpha.def:30 beta.DEF:10 gamma.air:20 delta.sff:10 noext:5 "
                                   u".hidden.def:3 sub/one.def:1 sub/deeper/two.cns:2 "
                                   u"Zeta/three.txt:3 apple/x.def:4 .config/y:6"_s.split(u' '))
            QVERIFY(writeFile(root + file.section(u':', 0, 0),
                              QByteArray(file.section(u':', 1).toInt(), 'x')));
        {
            ArchivePtr zip = openZip(dir.filePath(u"tree.zip"_s), 0);
            for (QString const &name : filesBelow(root))
                QVERIFY(copyFile(disk, root + name, *zip, name));
        }
        ArchivePtr zip = openZip(dir.filePath(u"tree.zip"_s), 1);
        QVERIFY(zip);
        int const all = QDir::Dirs | QDir::Files, files = QDir::Files, name = QDir::Name;
        QStringList const none, defs{u"*.def"_s}, dirs{u"a*"_s, u"?eta*"_s};
        int count = 0;
        for (auto [directory, nameFilters, filter, sort] :
             std::initializer_list<std::tuple<char const *, QStringList, int, int>>{
                 {"", none, all, name},
                 {"", none, files, name},
                 {"", none, QDir::Dirs, name | QDir::IgnoreCase},
                 {"", defs, all, name},
                 {"", defs, all | QDir::CaseSensitive, name},
                 {"", defs, files | QDir::AllDirs, name},
                 {"", dirs, all, name},
                 {"", none, files, QDir::Size},
                 {"", none, files, int(QDir::Size) | QDir::Reversed},
                 {"", none, files | QDir::Hidden, QDir::Type},
                 {"", none, all, name | QDir::DirsFirst},
                 {"", none, all, name | QDir::DirsLast | QDir::Reversed},
                 {"", none, all | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot, name},
                 {"", none, QDir::NoFilter, QDir::NoSort},
                 {"sub", none, all, name},
                 {"nothing", none, all, name},
                 {"noext", none, all, name}}) {
            auto const filters = QDir::Filters::fromInt(filter);
            auto const order = QDir::SortFlags::fromInt(sort);
            QString const in = QLatin1String(directory), tag = QString::number(++count) + u':';
            // QDir gives "." and ".." for NoFilter; an archive never lists them.
            QStringList const expected = disk.entries(root + in, nameFilters, filters, order)
                                             .filter(QRegularExpression(u"^(?!\\.\\.?$)"_s));
            QCOMPARE(tag + zip->entries(in, nameFilters, filters, order).join(u' '),
                     tag + expected.join(u' '));
        }
    }

    // Damaged files, every cut of a good one and every changed byte of one:
    // refused on opening or failing to read, never read wrong.
    void damagedFilesAreRefused()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"damaged.zip"_s);
        // End records: cut, with one entry of 46 bytes at 4096 (past the end), and at 100
        // (noise inside the file).
        QByteArray const end = QByteArray::fromHex("504b0506 00000000 01000100 2e000000");
        for (QByteArray const &bytes :
             {QByteArray(), QByteArray("this is not a ZIP archive\n"), noise(4096, 3),
              end.left(4) + QByteArray(10, '\0'), end + QByteArray::fromHex("00100000 0000"),
              noise(200, 4) + end + QByteArray::fromHex("64000000 0000")}) {
            QVERIFY(writeFile(path, bytes) && !openZip(path, 1));
            QCOMPARE(readFile(path), bytes);
        }
        QVERIFY(!openZip(dir.filePath(u"none.zip"_s), 1));
        QVERIFY(QDir().mkpath(dir.filePath(u"folder.zip"_s)) &&
                !openZip(dir.filePath(u"folder.zip"_s), 1));
        Members const members{{u"a/one.txt"_s, "one one one"},
                              {u"empty"_s, QByteArray()},
                              {u"two.bin"_s, noise(500, 2)}};
        QVERIFY(makeZip(path, members));
        QByteArray const whole = readFile(path);
        QVERIFY(openZip(path, 1));
        for (qsizetype length = 0; length < whole.size(); ++length) {
            QVERIFY(writeFile(path, whole.left(length)));
            QVERIFY2(!openZip(path, 1), qPrintable(QString::number(length)));
        }
        int refused = 0, failedReads = 0;
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray changed = whole;
            changed[at] = char(changed.at(at) ^ 0x5A);
            QVERIFY(writeFile(path, changed));
            ArchivePtr zip = openZip(path, 1);
            refused += !zip;
            Members const read = zip ? contents(*zip) : Members();
            failedReads += zip ? walk(*zip).size() - read.size() : 0;
            for (QByteArray const &data : read)
                QVERIFY2(members.values().contains(data), qPrintable(QString::number(at)));
        }
        // Changed headers are caught on opening, changed data by the checksums.
        QVERIFY(refused > 0 && failedReads > 0);
    }

    void implausibleMembersFailToRead()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"raw.zip"_s);
        RawMember checksum = member("checksum.bin", "abc");
        checksum.crc ^= 1;
        QVERIFY(writeFile(
            path,
            buildZip({member("small.txt", "small"),
                      member("packed.txt", QByteArray(5000, 'p'), true),
                      member("bomb.bin", QByteArray(1000, 'a'), true, 0xF0000000u),
                      member("short.bin", QByteArray(1000, 'b'), true, 2000),
                      member("long.bin", QByteArray(1000, 'c'), true, 500),
                      member("padded.bin", "abc", false, 100), checksum,
                      member("../escape.txt", "out"), member("/rooted.txt", "rooted"),
                      member("./small.txt", "a second small.txt"), member("empty/", "")})));
        ArchivePtr archive = openZip(path, 1);
        QVERIFY(archive);
        QCOMPARE(walk(*archive).join(u' '),
                 "bomb.bin checksum.bin long.bin packed.txt padded.bin "
                 "rooted.txt short.bin small.txt"_L1);
        // Only the plausible members read; the first of two names wins.
        QCOMPARE(contents(*archive),
                 Members({{u"packed.txt"_s, QByteArray(5000, 'p')},
                          {u"rooted.txt"_s, "rooted"},
                          {u"small.txt"_s, "small"}}));
        QVERIFY(archive->directoryExists(u"empty"_s) && !archive->fileExists(u"empty"_s));
        QVERIFY(archive->entries(QString(), QDir::Dirs, QDir::Name).contains(u"empty"_s));
        QVERIFY(!get(*archive, u"../escape.txt"_s));
    }

    // A new ZIP is written when its last reference goes, replaces the old one
    // only then, and never a folder or a file on its way.
    void writingReplacesOnlyWhatItMay()
    {
        QTemporaryDir dir;
        QString const empty = dir.filePath(u"Backup.ZIP"_s);
        Archive *made = ExtensionManager::archiveFor(empty, 0);
        QVERIFY(made && made != &disk && !made->isReadOnly());
        QCOMPARE(made->path() + u'|' + made->name(), empty + u"|Backup.ZIP"_s);
        QVERIFY(!QFile::exists(empty)); // written when the last reference goes
        made->release();
        ArchivePtr back = openZip(empty, 1);
        QVERIFY(back && back->isReadOnly() && back->directoryExists(QString()));
        QVERIFY(back->entries(QString(), QDir::AllEntries | QDir::Hidden, QDir::Name).isEmpty());
        QCOMPARE(ExtensionManager::archiveFor(dir.filePath(u"missing.zip"_s), 1), nullptr);
        QVERIFY(!openZip(empty, 2) && !openZip(QString(), 0));
        QVERIFY(QFile::remove(empty));
        QString const folder = dir.filePath(u"target.zip"_s);
        QVERIFY(writeFile(folder + u"/inside.txt"_s, "inside"));
        for (bool const withMembers : {true, false}) {
            ArchivePtr zip = openZip(folder, 0);
            QVERIFY(!withMembers || put(*zip, u"a.txt"_s, "a"));
            zip->flush();
            zip.reset(); // tries once more
            QCOMPARE(readFile(folder + u"/inside.txt"_s), QByteArray("inside"));
            QCOMPARE(
                QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                QStringList{u"target.zip"_s});
        }
        QVERIFY(writeFile(dir.filePath(u"blocker"_s), "keep"));
        QVERIFY(makeZip(dir.filePath(u"blocker/backup.zip"_s), {{u"a.txt"_s, "a"}}) &&
                readFile(dir.filePath(u"blocker"_s)) == "keep");
        QString const path = dir.filePath(u"backup/2024/game.zip"_s);
        QVERIFY(makeZip(path, {{u"old.txt"_s, "old"}})); // folders are made
        QByteArray const old = readFile(path);
        ArchivePtr zip = openZip(path, 0);
        QVERIFY(put(*zip, u"new.txt"_s, "new"));
        QCOMPARE(readFile(path), old);
        zip->flush();
        ArchivePtr first = openZip(path, 1);
        QVERIFY(first && walk(*first) == QStringList{u"new.txt"_s});
        // Later changes are written at the next flush, or at the end.
        QVERIFY(put(*zip, u"later.txt"_s, "later"));
        zip.reset();
        ArchivePtr second = openZip(path, 1);
        QVERIFY(second && walk(*second).join(u' ') == "later.txt new.txt"_L1);
        QCOMPARE(get(*first, u"new.txt"_s), QByteArray("new")); // the first reader still serves
    }

    void killedWriterLeavesTheOldZip()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"backup.zip"_s);
        Members const members{{u"old/kfm.def"_s, "[Files]\r\n"},
                              {u"old/kfm.sff"_s, noise(50000, 3)}};
        QVERIFY(makeZip(path, members));
        QByteArray const before = readFile(path);
        QProcess helper;
        helper.start(QStringLiteral(KENRO_TEST_WRITER),
                     {u"zip"_s, path, QStringLiteral(KENRO_PLUGIN_DIR)});
        QVERIFY(helper.waitForStarted());
        for (QByteArray output; !output.contains("closing");
             output += helper.readAllStandardOutput())
            QVERIFY2(helper.waitForReadyRead(120000), "the writer never got to writing");
        // Killed once the new ZIP is partly on disk next to the old one.
        for (bool writing = false; !writing;) {
            QVERIFY2(!helper.waitForFinished(1), "the writer finished before it was killed");
            for (QString const &name :
                 QDir(dir.path()).entryList({u"backup.zip?*"_s}, QDir::Files | QDir::Hidden))
                writing = writing || QFileInfo(dir.filePath(name)).size() > 0;
        }
        helper.kill();
        QVERIFY(helper.waitForFinished());
        QCOMPARE(helper.exitStatus(), QProcess::CrashExit);
        QCOMPARE(readFile(path), before);
        ArchivePtr zip = openZip(path, 1);
        QVERIFY(zip);
        QCOMPARE(contents(*zip), members);
    }

    void realGameTreeRoundTrips()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const root = data + u"/game/"_s;
        QStringList const names = filesBelow(root);
        QVERIFY(names.size() >= 20);
        QTemporaryDir dir;
        QString const path = dir.filePath(u"game.zip"_s);
        {
            ArchivePtr zip = openZip(path, 0);
            for (QString const &name : names)
                QVERIFY2(copyFile(disk, root + name, *zip, name), qPrintable(name));
        }
        ArchivePtr zip = openZip(path, 1);
        QVERIFY(zip);
        Members const read = contents(*zip);
        QCOMPARE(read.keys(), names);
        for (QString const &name : names) {
            QString const out = dir.filePath(u"out/"_s) + name;
            QVERIFY2(copyFile(*zip, name, disk, out), qPrintable(name));
            QVERIFY2(readFile(out) == readFile(root + name) && read.value(name) == readFile(out),
                     qPrintable(name));
        }
    }
};

QTEST_MAIN(TestZip)
#include "tst_zip.moc"
