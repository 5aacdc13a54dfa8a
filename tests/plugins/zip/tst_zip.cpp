#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>

#include "testdata.h"
#include "testproject.h"

#include <QDateTime>
#include <QDirIterator>
#include <QLoggingCategory>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <zip.h>
#include <zlib.h>

#include <memory>
#include <optional>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::addRow;
using KenroTest::noise;
using KenroTest::readFile;
using KenroTest::writeFile;

namespace {

using ArchivePtr = std::unique_ptr<Archive, void (*)(Archive *)>;
using Members = QMap<QString, QByteArray>;

// An archive through the ZIP plug-in that writes a new ZIP at \a path (mode
// 0) or reads the one there (mode 1).
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

// The files of an archive as a restore walks them: what fileExists() accepts
// is a file, anything else a directory walked with a trailing '/'.
QStringList walk(Archive &archive, QString const &directory = QString())
{
    QStringList files;
    for (QString const &name :
         archive.entries(directory, QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot, QDir::Name)) {
        if (archive.fileExists(directory + name))
            files.append(directory + name);
        else
            files.append(walk(archive, directory + name + u'/'));
    }
    return files;
}

// Every member of \a archive that reads back, with its content.
Members contents(Archive &archive)
{
    Members members;
    for (QString const &name : walk(archive)) {
        if (std::optional<QByteArray> const data = get(archive, name))
            members.insert(name, *data);
    }
    return members;
}

// The files below \a root, relative to it, hidden ones included.
QStringList filesBelow(QString const &root)
{
    QStringList names;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        names.append(QDir(root).relativeFilePath(it.next()));
    names.sort();
    return names;
}

bool makeZip(QString const &path, Members const &members)
{
    ArchivePtr zip = openZip(path, 0);
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        if (!put(*zip, it.key(), it.value()))
            return false;
    }
    return true;
}

// A ZIP made byte by byte, for members that no writer makes: each is stored
// (method 0) or deflated (8), with the sizes and checksum that the test states.
struct RawMember
{
    QByteArray name;
    QByteArray data; ///< as it lies in the file
    quint16 method = 0;
    quint32 crc = 0;
    quint32 size = 0;
};

RawMember member(QByteArray const &name, QByteArray const &content, bool deflate = false)
{
    // qCompress gives a length, a zlib header, raw deflate and a checksum.
    QByteArray const data = deflate ? qCompress(content).mid(6).chopped(4) : content;
    quint32 const crc = quint32(
        crc32(0, reinterpret_cast<Bytef const *>(content.constData()), uInt(content.size())));
    return RawMember{name, data, quint16(deflate ? 8 : 0), crc, quint32(content.size())};
}

QByteArray buildZip(QList<RawMember> const &members)
{
    QByteArray out, directory;
    auto put = [](QByteArray &to, quint32 value, int bytes) {
        char buffer[4];
        qToLittleEndian(value, buffer);
        to.append(buffer, bytes);
    };
    auto common = [&put](QByteArray &to, RawMember const &m) {
        for (quint32 field : {20u, 0u, quint32(m.method), 0u, (44u << 9) | (3 << 5) | 2})
            put(to, field, 2);
        for (quint32 field : {m.crc, quint32(m.data.size()), m.size})
            put(to, field, 4);
        put(to, quint32(m.name.size()), 2);
        put(to, 0, 2);
    };
    for (RawMember const &m : members) {
        put(directory, 0x02014b50, 4);
        put(directory, 20, 2);
        common(directory, m);
        put(directory, 0, 4); // comment, disk
        put(directory, 0, 4); // internal and
        put(directory, 0, 2); // external attributes
        put(directory, quint32(out.size()), 4);
        directory.append(m.name);
        put(out, 0x04034b50, 4);
        common(out, m);
        out.append(m.name + m.data);
    }
    quint32 const offset = quint32(out.size());
    out.append(directory);
    put(out, 0x06054b50, 4);
    put(out, 0, 4);
    put(out, quint32(members.size() * 0x10001), 4);
    put(out, quint32(directory.size()), 4);
    put(out, offset, 4);
    put(out, 0, 2);
    return out;
}

} // namespace

class TestZip : public QObject
{
    Q_OBJECT

    std::unique_ptr<ExtensionManager> m_manager;
    QTemporaryDir m_tree; // a small tree on disk, and tree.zip beside it

private Q_SLOTS:
    void initTestCase()
    {
        // Refused input is expected below; its warnings would only be noise.
        QLoggingCategory::setFilterRules(u"kenro.zip.warning=false"_s);
        m_manager = std::make_unique<ExtensionManager>(QStringLiteral(KENRO_PLUGIN_DIR));
        QCOMPARE(ExtensionManager::byFormat(Extension::ArchiveFormat, "ZIP").size(), 1);
        QString const root = m_tree.filePath(u"tree/"_s);
        QMap<QString, int> const files{{u"Alpha.def"_s, 30},     {u"beta.DEF"_s, 10},
                                       {u"gamma.air"_s, 20},     {u"delta.sff"_s, 10},
                                       {u"noext"_s, 5},          {u".hidden.def"_s, 3},
                                       {u"sub/one.def"_s, 1},    {u"sub/deeper/two.cns"_s, 2},
                                       {u"Zeta/three.txt"_s, 3}, {u"apple/x.def"_s, 4},
                                       {u".config/y"_s, 6}};
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QVERIFY(writeFile(root + it.key(), QByteArray(it.value(), 'x')));
        ArchivePtr zip = openZip(m_tree.filePath(u"tree.zip"_s), 0);
        for (QString const &name : filesBelow(root))
            QVERIFY(copyFile(FileSystemArchive::instance(), root + name, *zip, name));
    }

    void cleanupTestCase()
    {
        m_manager.reset();
        QVERIFY(ExtensionManager::list(Extension::ArchiveFormat).isEmpty());
    }

    void emptyArchives()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"Backup.ZIP"_s);
        Archive *made = ExtensionManager::archiveFor(path, 0);
        QVERIFY(made && made != &FileSystemArchive::instance());
        QCOMPARE(made->path(), path);
        QCOMPARE(made->name(), u"Backup.ZIP"_s);
        QVERIFY(!made->isReadOnly());
        QVERIFY(!QFile::exists(path)); // written when the last reference goes
        made->release();
        // Nothing was put in: an empty ZIP, which reads back as one.
        ArchivePtr empty = openZip(path, 1);
        QVERIFY(empty && empty->isReadOnly());
        QVERIFY(empty->directoryExists(QString()));
        QVERIFY(empty->entries(QString(), QDir::AllEntries | QDir::Hidden, QDir::Name).isEmpty());
        QCOMPARE(ExtensionManager::archiveFor(dir.filePath(u"missing.zip"_s), 1), nullptr);
        QCOMPARE(openZip(path, 2).get(), nullptr);
        QCOMPARE(openZip(QString(), 0).get(), nullptr);
    }

    void writesAndReadsBackANestedTree()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"tree.zip"_s);
        QString const unicode = QString::fromUtf8("data/\xc3\xbcn\xc3\xaf.txt");
        qint64 const start = QDateTime::currentSecsSinceEpoch();
        Members const expected{{u"chars/kfm/empty.cns"_s, ""},
                               {u"chars/kfm/kfm.air"_s, "[Begin Action 0]"},
                               {u"chars/kfm/kfm.def"_s, "[Files]; appended"},
                               {u"chars/kfm/kfm.sff"_s, noise(300000, 7)},
                               {unicode, "utf"}};
        ArchivePtr zip = openZip(path, 0);
        QVERIFY(put(*zip, u"/chars/kfm/kfm.sff"_s, expected.value(u"chars/kfm/kfm.sff"_s)));
        QVERIFY(put(*zip, u"./chars/kfm/kfm.def"_s, "replaced") && put(*zip, unicode, "utf"));
        QVERIFY(put(*zip, u"chars//kfm/../kfm/kfm.def"_s, "[Files]"));
        QVERIFY(put(*zip, u"chars/kfm/empty.cns"_s, QByteArray()) && put(*zip, u".hidden"_s, "h"));
        QVERIFY(put(*zip, u"chars/kfm/draft.air"_s, "[Begin Action 0]") &&
                put(*zip, u"chars/gone"_s, ""));
        QIODevice *device = zip->openFile(u"stages/stage0.def"_s, QIODevice::WriteOnly);
        QVERIFY(device && device->write("never"));
        zip->discardFile(device);
        device = zip->openFile(u"chars/kfm/kfm.def"_s, QIODevice::Append);
        QVERIFY(device && device->write("; appended"));
        zip->closeFile(device);
        QVERIFY(zip->renameFile(u"chars/kfm/draft.air"_s, u"chars/kfm/kfm.air"_s));
        for (auto [from, to] : {std::pair{"chars/kfm/kfm.air", "chars/kfm/kfm.def"},
                                {"chars/kfm/draft.air", "x"},
                                {"chars/kfm", "chars/k2"},
                                {"chars/kfm/kfm.air", "chars/kfm/kfm.air/below"}})
            QVERIFY2(!zip->renameFile(QLatin1String(from), QLatin1String(to)), from);
        QVERIFY(zip->removeFile(u"chars/gone"_s) && !zip->removeFile(u"chars/gone"_s));
        QVERIFY(!zip->removeFile(u"chars"_s));
        // The pending contents answer as a file system would.
        QVERIFY(!zip->fileExists(u"stages/stage0.def"_s) && !zip->directoryExists(u"stages"_s));
        QVERIFY(zip->directoryExists(u"/chars/kfm/"_s) && !zip->fileExists(u"chars"_s));
        QVERIFY(zip->isWritable(u"chars/new.txt"_s));
        for (char const *name : {"chars", "chars/kfm/kfm.def/below", "../outside.txt"})
            QVERIFY2(!zip->isWritable(QLatin1String(name)) &&
                         !zip->openFile(QLatin1String(name), QIODevice::WriteOnly),
                     name);
        QCOMPARE(zip->absoluteFileName(u"/chars/./kfm/kfm.def"_s), u"chars/kfm/kfm.def"_s);
        QCOMPARE(zip->absoluteFilePath(u"chars/kfm/kfm.def"_s), u"chars/kfm"_s);
        QCOMPARE(zip->entries(QString(), QDir::Dirs | QDir::Files | QDir::Writable, QDir::Name)
                     .join(u' '),
                 "chars data"_L1);
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
        QVERIFY(!back->isWritable(u"chars/kfm/kfm.def"_s));
        QVERIFY(back->entries(QString(), QDir::Dirs | QDir::Files | QDir::Writable, QDir::Name)
                    .isEmpty());
        // Another reader sees the same members, with the times they were written.
        int error = 0;
        zip_t *other = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error);
        QVERIFY(other);
        QCOMPARE(zip_get_num_entries(other, 0), zip_int64_t(expected.size() + 1));
        for (zip_int64_t i = 0; i < zip_get_num_entries(other, 0); ++i) {
            zip_stat_t stat;
            QCOMPARE(zip_stat_index(other, zip_uint64_t(i), 0, &stat), 0);
            // DOS times count in steps of two seconds.
            QVERIFY2(stat.mtime >= start - 2 && stat.mtime <= QDateTime::currentSecsSinceEpoch(),
                     stat.name);
        }
        zip_discard(other);
    }

    void entriesFollowQDir_data()
    {
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QStringList>("nameFilters");
        QTest::addColumn<int>("filter");
        QTest::addColumn<int>("sort");
        int const all = QDir::Dirs | QDir::Files, files = QDir::Files, name = QDir::Name;
        QStringList const none, defs{u"*.def"_s};
        addRow("by name", "", none, all, name);
        addRow("files", "", none, files, name);
        addRow("directories, case-blind order", "", none, int(QDir::Dirs), name | QDir::IgnoreCase);
        addRow("wildcards", "", defs, all, name);
        addRow("wildcards, case-sensitive", "", defs, all | QDir::CaseSensitive, name);
        addRow("wildcards, all directories", "", defs, files | QDir::AllDirs, name);
        addRow("wildcards on directories", "", QStringList{u"a*"_s, u"?eta*"_s}, all, name);
        addRow("size", "", none, files, int(QDir::Size));
        addRow("size reversed", "", none, files, int(QDir::Size | QDir::Reversed));
        addRow("type", "", none, files | QDir::Hidden, int(QDir::Type));
        addRow("directories first", "", none, all, name | QDir::DirsFirst);
        addRow("directories last, reversed", "", none, all, name | QDir::DirsLast | QDir::Reversed);
        addRow("as a restore walks", "", none,
               all | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot, name);
        addRow("defaults", "", none, int(QDir::NoFilter), int(QDir::NoSort));
        addRow("subdirectory", "sub", none, all, name);
        addRow("missing", "nothing", none, all, name);
        addRow("a file", "noext", none, all, name);
    }

    void entriesFollowQDir()
    {
        QFETCH(QString, directory);
        QFETCH(QStringList, nameFilters);
        QFETCH(int, filter);
        QFETCH(int, sort);
        auto const filters = QDir::Filters::fromInt(filter);
        auto const order = QDir::SortFlags::fromInt(sort);
        QStringList expected = FileSystemArchive::instance().entries(
            m_tree.filePath(u"tree/"_s) + directory, nameFilters, filters, order);
        ArchivePtr zip = openZip(m_tree.filePath(u"tree.zip"_s), 1);
        QVERIFY(zip);
        QStringList listed = zip->entries(directory, nameFilters, filters, order);
        // QDir gives "." and ".." for NoFilter; an archive never lists them.
        expected.removeAll(u"."_s);
        expected.removeAll(u".."_s);
        QCOMPARE(listed, expected);
    }

    void damagedFilesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray const endRecord("PK\x05\x06", 4);
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("text") << QByteArray("this is not a ZIP archive\n");
        QTest::newRow("noise") << noise(4096, 3);
        QTest::newRow("cut end record") << endRecord + QByteArray(10, '\0');
        QByteArray pastTheEnd = endRecord + QByteArray(18, '\0');
        pastTheEnd[8] = pastTheEnd[10] = 1; // one entry
        pastTheEnd[12] = 46; // a directory of 46 bytes
        pastTheEnd[17] = 0x10; // at offset 4096
        QTest::newRow("directory past the end") << pastTheEnd;
        pastTheEnd[17] = 0;
        pastTheEnd[16] = 100; // a directory of noise inside the file
        QTest::newRow("directory of noise") << noise(200, 4) + pastTheEnd;
        QTest::newRow("a folder") << QByteArray("folder");
        QTest::newRow("no file") << QByteArray("none");
    }

    void damagedFilesAreRefused()
    {
        QFETCH(QByteArray, bytes);
        QTemporaryDir dir;
        QString const path = dir.filePath(u"damaged.zip"_s);
        if (bytes == "folder")
            QVERIFY(QDir().mkpath(path));
        else if (bytes != "none")
            QVERIFY(writeFile(path, bytes));
        QVERIFY(!openZip(path, 1));
        if (QFileInfo(path).isFile())
            QCOMPARE(readFile(path), bytes);
    }

    void cutArchivesAreRefused()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"whole.zip"_s);
        QVERIFY(makeZip(path, {{u"a/one.txt"_s, "one"}, {u"two.bin"_s, noise(500, 2)}}));
        QByteArray const whole = readFile(path);
        QVERIFY(openZip(path, 1));
        for (qsizetype length = 0; length < whole.size(); ++length) {
            QVERIFY(writeFile(path, whole.left(length)));
            QVERIFY2(!openZip(path, 1), qPrintable(QString::number(length)));
        }
    }

    void changedBytesNeverGiveWrongContent()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"changed.zip"_s);
        Members const members{{u"a/one.txt"_s, "one one one"},
                              {u"empty"_s, QByteArray()},
                              {u"two.bin"_s, noise(300, 9)}};
        QVERIFY(makeZip(path, members));
        QByteArray const whole = readFile(path);
        int refused = 0;
        int failedReads = 0;
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray changed = whole;
            changed[at] = char(changed.at(at) ^ 0x5A);
            QVERIFY(writeFile(path, changed));
            ArchivePtr zip = openZip(path, 1);
            if (!zip) {
                ++refused;
                continue;
            }
            QStringList const names = walk(*zip);
            Members const read = contents(*zip);
            failedReads += names.size() - read.size();
            for (QByteArray const &data : read)
                QVERIFY2(members.values().contains(data), qPrintable(QString::number(at)));
        }
        // Changes to the headers are caught on opening, changes to the data
        // by the checksums when reading.
        QVERIFY(refused > 0 && failedReads > 0);
    }

    void implausibleMembersFailToRead()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"raw.zip"_s);
        RawMember bomb = member("bomb.bin", QByteArray(1000, 'a'), true);
        bomb.size = 0xF0000000u;
        RawMember stretched = member("short.bin", QByteArray(1000, 'b'), true);
        stretched.size = 2000;
        RawMember cut = member("long.bin", QByteArray(1000, 'c'), true);
        cut.size = 500;
        RawMember padded = member("padded.bin", "abc");
        padded.size = 100;
        RawMember checksum = member("checksum.bin", "abc");
        checksum.crc ^= 1;
        QVERIFY(writeFile(
            path,
            buildZip({member("small.txt", "small"),
                      member("packed.txt", QByteArray(5000, 'p'), true), bomb, stretched, cut,
                      padded, checksum, member("../escape.txt", "out"),
                      member("/rooted.txt", "rooted"), member("./small.txt", "a second small.txt"),
                      member("empty/", "")})));
        ArchivePtr archive = openZip(path, 1);
        QVERIFY(archive);
        QCOMPARE(walk(*archive),
                 QStringList({u"bomb.bin"_s, u"checksum.bin"_s, u"long.bin"_s, u"packed.txt"_s,
                              u"padded.bin"_s, u"rooted.txt"_s, u"short.bin"_s, u"small.txt"_s}));
        // Only the plausible members read; the first of two names wins.
        QCOMPARE(contents(*archive),
                 Members({{u"packed.txt"_s, QByteArray(5000, 'p')},
                          {u"rooted.txt"_s, "rooted"},
                          {u"small.txt"_s, "small"}}));
        QVERIFY(archive->directoryExists(u"empty"_s) && !archive->fileExists(u"empty"_s));
        QVERIFY(archive->entries(QString(), QDir::Dirs, QDir::Name).contains(u"empty"_s));
        QVERIFY(!get(*archive, u"../escape.txt"_s));
    }

    void failedWritesLeaveTheTargetAlone()
    {
        QTemporaryDir dir;
        // A folder where the ZIP should go, with and without members to write.
        QString const folder = dir.filePath(u"target.zip"_s);
        QVERIFY(writeFile(folder + u"/inside.txt"_s, "inside"));
        for (bool const withMembers : {true, false}) {
            ArchivePtr zip = openZip(folder, 0);
            if (withMembers)
                QVERIFY(put(*zip, u"a.txt"_s, "a"));
            zip->flush();
            zip.reset(); // tries once more
            QCOMPARE(readFile(folder + u"/inside.txt"_s), QByteArray("inside"));
            QCOMPARE(
                QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                QStringList{u"target.zip"_s});
        }
        // A file where its folder should be.
        QString const blocker = dir.filePath(u"blocker"_s);
        QVERIFY(writeFile(blocker, "keep"));
        QVERIFY(makeZip(blocker + u"/backup.zip"_s, {{u"a.txt"_s, "a"}}));
        QCOMPARE(readFile(blocker), QByteArray("keep"));
    }

    void aNewZipReplacesTheOldOnlyWhenWritten()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"backup/2024/game.zip"_s);
        QVERIFY(makeZip(path, {{u"old.txt"_s, "old"}})); // folders are made
        QByteArray const old = readFile(path);
        ArchivePtr zip = openZip(path, 0);
        QVERIFY(put(*zip, u"new.txt"_s, "new"));
        QCOMPARE(readFile(path), old);
        zip->flush();
        ArchivePtr first = openZip(path, 1);
        QVERIFY(first);
        QCOMPARE(walk(*first), QStringList{u"new.txt"_s});
        // Later changes are written at the next flush, or at the end.
        QVERIFY(put(*zip, u"later.txt"_s, "later"));
        zip.reset();
        ArchivePtr second = openZip(path, 1);
        QVERIFY(second);
        QCOMPARE(walk(*second), QStringList({u"later.txt"_s, u"new.txt"_s}));
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
        QByteArray output;
        while (!output.contains("closing")) {
            QVERIFY2(helper.waitForReadyRead(120000), "the writer never got to writing");
            output += helper.readAllStandardOutput();
        }
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
        FileSystemArchive &disk = FileSystemArchive::instance();
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
