#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>

#include "dialoganswerer.h"
#include "rawzip.h"
#include "testdata.h"
#include "testproject.h"

#include <QDateTime>
#include <QDirIterator>
#include <QLoggingCategory>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <zip.h>

#include <memory>
#include <optional>

using namespace Kenro;
using KenroTest::RawMember;

namespace {

struct Releaser
{
    void operator()(Archive *archive) const
    {
        if (archive)
            archive->release();
    }
};
using ArchivePtr = std::unique_ptr<Archive, Releaser>;

ArchiveExtension *zipExtension()
{
    QList<Extension *> const found = ExtensionManager::byFormat(Extension::ArchiveFormat, "ZIP");
    return found.size() == 1 ? static_cast<ArchiveExtension *>(found.first()) : nullptr;
}

ArchivePtr writer(QString const &path)
{
    return ArchivePtr(zipExtension()->create(path, 0));
}

ArchivePtr reader(QString const &path)
{
    return ArchivePtr(zipExtension()->create(path, 1));
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

// The files of an archive as a restore finds them: what fileExists() accepts
// is a file, anything else a directory walked with a trailing '/'.
QStringList walk(Archive &archive, QString const &directory = QString())
{
    QStringList files;
    QStringList const names = archive.entries(directory,
                                              QDir::Dirs | QDir::Files | QDir::NoSymLinks |
                                                  QDir::Readable | QDir::NoDotAndDotDot,
                                              QDir::Name);
    for (QString const &name : names) {
        QString const entry = directory + name;
        if (archive.fileExists(entry))
            files.append(entry);
        else
            files.append(walk(archive, entry + QLatin1Char('/')));
    }
    return files;
}

QByteArray noise(qsizetype size, quint32 seed)
{
    QRandomGenerator random(seed);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

bool writeBytes(QString const &path, QByteArray const &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
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

// A ZIP of \a members made through the plug-in.
bool makeZip(QString const &path, QMap<QString, QByteArray> const &members)
{
    ArchivePtr zip = writer(path);
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        if (!put(*zip, it.key(), it.value()))
            return false;
    }
    return true;
}

} // namespace

class TestZip : public QObject
{
    Q_OBJECT

    std::unique_ptr<ExtensionManager> m_manager;
    QTemporaryDir m_tree; // a small tree on disk, also as tree.zip beside it

private Q_SLOTS:
    void initTestCase()
    {
        // Refused input is expected below; its warnings would only be noise.
        QLoggingCategory::setFilterRules(QStringLiteral("kenro.zip.warning=false"));
        m_manager = std::make_unique<ExtensionManager>(QStringLiteral(KENRO_PLUGIN_DIR));
        ArchiveExtension *extension = zipExtension();
        QVERIFY(extension);
        QCOMPARE(QByteArray(extension->description()), QByteArray("ZIP archives"));
        QCOMPARE(ExtensionManager::list(Extension::ArchiveFormat).size(), 1);

        QString const root = m_tree.filePath(QStringLiteral("tree"));
        QMap<QString, QByteArray> const files{
            {QStringLiteral("Alpha.def"), QByteArray(30, 'a')},
            {QStringLiteral("beta.DEF"), QByteArray(10, 'b')},
            {QStringLiteral("gamma.air"), QByteArray(20, 'g')},
            {QStringLiteral("delta.sff"), QByteArray(10, 'd')},
            {QStringLiteral("noext"), QByteArray(5, 'n')},
            {QStringLiteral(".hidden.def"), QByteArray(3, 'h')},
            {QStringLiteral("sub/one.def"), QByteArray(1, '1')},
            {QStringLiteral("sub/deeper/two.cns"), QByteArray(2, '2')},
            {QStringLiteral("Zeta/three.txt"), QByteArray(3, '3')},
            {QStringLiteral("apple/x.def"), QByteArray(4, 'x')},
            {QStringLiteral(".config/y"), QByteArray(6, 'y')}};
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QVERIFY(KenroTest::writeFile(root + QLatin1Char('/') + it.key(), it.value()));
        ArchivePtr zip = writer(m_tree.filePath(QStringLiteral("tree.zip")));
        for (QString const &name : filesBelow(root))
            QVERIFY(copyFile(FileSystemArchive::instance(), root + QLatin1Char('/') + name, *zip,
                             name));
    }

    void cleanupTestCase()
    {
        m_manager.reset();
        QVERIFY(ExtensionManager::list(Extension::ArchiveFormat).isEmpty());
    }

    void archiveForGivesZipArchives()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("Backup.ZIP"));
        Archive *made = ExtensionManager::archiveFor(path, 0);
        QVERIFY(made && made != &FileSystemArchive::instance());
        QCOMPARE(made->path(), path);
        QCOMPARE(made->name(), QStringLiteral("Backup.ZIP"));
        QVERIFY(!made->isReadOnly());
        QVERIFY(!QFile::exists(path)); // written when the last reference goes
        made->release();

        // Nothing was put in: an empty ZIP, which reads back as one.
        ArchivePtr empty(ExtensionManager::archiveFor(path, 1));
        QVERIFY(empty);
        QVERIFY(empty->isReadOnly());
        QVERIFY(empty->directoryExists(QString()));
        QVERIFY(empty->entries(QString(), QDir::Dirs | QDir::Files | QDir::Hidden, QDir::Name)
                    .isEmpty());

        QCOMPARE(ExtensionManager::archiveFor(dir.filePath(QStringLiteral("missing.zip")), 1),
                 nullptr);
        QCOMPARE(zipExtension()->create(path, 2), nullptr);
        QCOMPARE(zipExtension()->create(QString(), 0), nullptr);
    }

    void writesAndReadsBackANestedTree()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("tree.zip"));
        QByteArray const sprites = noise(300000, 7);
        QByteArray const definition("[Files]\r\nsprite = kfm.sff\n");
        QString const unicode = QString::fromUtf8("data/\xc3\xbcn\xc3\xaf.txt");
        qint64 const start = QDateTime::currentSecsSinceEpoch();

        ArchivePtr zip = writer(path);
        QVERIFY(put(*zip, QStringLiteral("/chars/kfm/kfm.sff"), sprites));
        QVERIFY(put(*zip, QStringLiteral("./chars/kfm/kfm.def"), "replaced"));
        QVERIFY(put(*zip, QStringLiteral("chars//kfm/../kfm/kfm.def"), definition));
        QVERIFY(put(*zip, QStringLiteral("chars/kfm/empty.cns"), QByteArray()));
        QVERIFY(put(*zip, QStringLiteral("chars/kfm/draft.air"), "[Begin Action 0]\r\n"));
        QVERIFY(put(*zip, QStringLiteral("chars/gone.txt"), "gone"));
        QVERIFY(put(*zip, unicode, "utf"));
        QVERIFY(put(*zip, QStringLiteral(".hidden"), "h"));
        QIODevice *dropped =
            zip->openFile(QStringLiteral("stages/stage0.def"), QIODevice::WriteOnly);
        QVERIFY(dropped);
        dropped->write("never");
        zip->discardFile(dropped);
        QIODevice *appended = zip->openFile(QStringLiteral("chars/kfm/empty.cns"),
                                            QIODevice::WriteOnly | QIODevice::Append);
        QVERIFY(appended);
        appended->write("; appended\n");
        zip->closeFile(appended);

        QVERIFY(zip->renameFile(QStringLiteral("chars/kfm/draft.air"),
                                QStringLiteral("chars/kfm/kfm.air")));
        QVERIFY(!zip->renameFile(QStringLiteral("chars/kfm/kfm.air"),
                                 QStringLiteral("chars/kfm/kfm.def")));
        QVERIFY(!zip->renameFile(QStringLiteral("chars/kfm/draft.air"), QStringLiteral("x")));
        QVERIFY(!zip->renameFile(QStringLiteral("chars/kfm"), QStringLiteral("chars/k2")));
        QVERIFY(!zip->renameFile(QStringLiteral("chars/kfm/kfm.air"),
                                 QStringLiteral("chars/kfm/kfm.air/below")));
        QVERIFY(zip->removeFile(QStringLiteral("chars/gone.txt")));
        QVERIFY(!zip->removeFile(QStringLiteral("chars/gone.txt")));
        QVERIFY(!zip->removeFile(QStringLiteral("chars")));

        // The pending contents answer as a file system would.
        QVERIFY(zip->fileExists(QStringLiteral("chars/kfm/kfm.air")));
        QVERIFY(!zip->fileExists(QStringLiteral("chars/kfm/draft.air")));
        QVERIFY(!zip->fileExists(QStringLiteral("stages/stage0.def")));
        QVERIFY(!zip->directoryExists(QStringLiteral("stages")));
        QVERIFY(zip->directoryExists(QStringLiteral("/chars/kfm/")));
        QVERIFY(!zip->fileExists(QStringLiteral("chars")));
        QVERIFY(zip->isWritable(QStringLiteral("chars/new.txt")));
        QVERIFY(!zip->isWritable(QStringLiteral("chars")));
        QVERIFY(!zip->isWritable(QStringLiteral("chars/kfm/kfm.def/below")));
        QVERIFY(!zip->isWritable(QStringLiteral("../outside.txt")));
        QCOMPARE(zip->openFile(QStringLiteral("../outside.txt"), QIODevice::WriteOnly), nullptr);
        QCOMPARE(zip->openFile(QStringLiteral("chars"), QIODevice::WriteOnly), nullptr);
        QCOMPARE(get(*zip, QStringLiteral("chars/kfm/kfm.def")), definition);
        QCOMPARE(zip->absoluteFileName(QStringLiteral("/chars/./kfm/kfm.def")),
                 QStringLiteral("chars/kfm/kfm.def"));
        QCOMPARE(zip->absoluteFilePath(QStringLiteral("chars/kfm/kfm.def")),
                 QStringLiteral("chars/kfm"));
        QCOMPARE(zip->entries(QString(), QDir::Dirs | QDir::Files | QDir::Writable, QDir::Name),
                 (QStringList{QStringLiteral("chars"), QStringLiteral("data")}));
        QVERIFY(!QFile::exists(path));
        zip.reset();

        QMap<QString, QByteArray> const expected{
            {QStringLiteral(".hidden"), "h"},
            {QStringLiteral("chars/kfm/empty.cns"), "; appended\n"},
            {QStringLiteral("chars/kfm/kfm.air"), "[Begin Action 0]\r\n"},
            {QStringLiteral("chars/kfm/kfm.def"), definition},
            {QStringLiteral("chars/kfm/kfm.sff"), sprites},
            {unicode, "utf"}};
        ArchivePtr back = reader(path);
        QVERIFY(back);
        QVERIFY(back->isReadOnly());
        QStringList visible = expected.keys();
        visible.removeFirst(); // hidden files are not walked
        QCOMPARE(walk(*back), visible);
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(get(*back, it.key()), it.value());
        QCOMPARE(back->entries(QString(), QDir::Dirs | QDir::Files | QDir::Hidden, QDir::Name),
                 (QStringList{QStringLiteral(".hidden"), QStringLiteral("chars"),
                              QStringLiteral("data")}));

        // A ZIP that was read refuses every change.
        QCOMPARE(back->openFile(QStringLiteral("new.txt"), QIODevice::WriteOnly), nullptr);
        QCOMPARE(back->openFile(QStringLiteral(".hidden"), QIODevice::Append), nullptr);
        QCOMPARE(back->openFile(QStringLiteral("chars"), QIODevice::ReadOnly), nullptr);
        QVERIFY(!back->removeFile(QStringLiteral(".hidden")));
        QVERIFY(!back->renameFile(QStringLiteral(".hidden"), QStringLiteral("shown")));
        QVERIFY(!back->isWritable(QStringLiteral("chars/kfm/kfm.def")));
        QVERIFY(back->entries(QString(), QDir::Dirs | QDir::Files | QDir::Writable, QDir::Name)
                    .isEmpty());

        // Another reader sees the same members, with the times they were written.
        int error = 0;
        zip_t *other = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &error);
        QVERIFY(other);
        QCOMPARE(zip_get_num_entries(other, 0), zip_int64_t(expected.size()));
        for (zip_int64_t i = 0; i < zip_get_num_entries(other, 0); ++i) {
            zip_stat_t stat;
            QCOMPARE(zip_stat_index(other, zip_uint64_t(i), 0, &stat), 0);
            QVERIFY(expected.contains(QString::fromUtf8(stat.name)));
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

        int const entries = QDir::Dirs | QDir::Files;
        QStringList const none;
        QStringList const defs{QStringLiteral("*.def")};
        QTest::newRow("by name") << QString() << none << entries << int(QDir::Name);
        QTest::newRow("hidden too")
            << QString() << none << (entries | QDir::Hidden) << int(QDir::Name);
        QTest::newRow("files") << QString() << none << int(QDir::Files) << int(QDir::Name);
        QTest::newRow("directories, case-blind order")
            << QString() << none << int(QDir::Dirs) << int(QDir::Name | QDir::IgnoreCase);
        QTest::newRow("wildcards, case-blind") << QString() << defs << entries << int(QDir::Name);
        QTest::newRow("wildcards, case-sensitive")
            << QString() << defs << (entries | QDir::CaseSensitive) << int(QDir::Name);
        QTest::newRow("wildcards, all directories")
            << QString() << defs << int(QDir::Files | QDir::AllDirs) << int(QDir::Name);
        QTest::newRow("wildcards on directories")
            << QString() << QStringList{QStringLiteral("a*"), QStringLiteral("?eta*")} << entries
            << int(QDir::Name);
        QTest::newRow("size") << QString() << none << int(QDir::Files) << int(QDir::Size);
        QTest::newRow("size reversed")
            << QString() << none << int(QDir::Files) << int(QDir::Size | QDir::Reversed);
        QTest::newRow("type") << QString() << none << (int(QDir::Files) | QDir::Hidden)
                              << int(QDir::Type);
        QTest::newRow("directories first")
            << QString() << none << entries << int(QDir::Name | QDir::DirsFirst);
        QTest::newRow("directories last, reversed")
            << QString() << none << entries << int(QDir::Name | QDir::DirsLast | QDir::Reversed);
        QTest::newRow("executable")
            << QString() << none << (entries | QDir::Executable) << int(QDir::Name);
        QTest::newRow("as a restore walks")
            << QString() << none
            << (entries | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot)
            << int(QDir::Name);
        QTest::newRow("defaults") << QString() << none << int(QDir::NoFilter) << int(QDir::NoSort);
        QTest::newRow("unsorted") << QString() << none << entries << int(QDir::Unsorted);
        QTest::newRow("subdirectory")
            << QStringLiteral("sub") << none << entries << int(QDir::Name);
        QTest::newRow("trailing slash")
            << QStringLiteral("sub/deeper/") << none << entries << int(QDir::Name);
        QTest::newRow("missing") << QStringLiteral("nothing") << none << entries << int(QDir::Name);
        QTest::newRow("a file") << QStringLiteral("noext") << none << entries << int(QDir::Name);
    }

    void entriesFollowQDir()
    {
        QFETCH(QString, directory);
        QFETCH(QStringList, nameFilters);
        QFETCH(int, filter);
        QFETCH(int, sort);
        QDir::Filters const filters = QDir::Filters::fromInt(filter);
        QDir::SortFlags const order = QDir::SortFlags::fromInt(sort);

        QStringList expected = FileSystemArchive::instance().entries(
            m_tree.filePath(QStringLiteral("tree/")) + directory, nameFilters, filters, order);
        ArchivePtr zip = reader(m_tree.filePath(QStringLiteral("tree.zip")));
        QVERIFY(zip);
        QStringList listed = zip->entries(directory, nameFilters, filters, order);
        // QDir gives "." and ".." for NoFilter, whatever else is asked; an
        // archive never lists them.
        expected.removeAll(QStringLiteral("."));
        expected.removeAll(QStringLiteral(".."));
        if (sort == QDir::Unsorted) {
            expected.sort();
            listed.sort();
        }
        QCOMPARE(listed, expected);
    }

    void copiesInAndOut()
    {
        QTemporaryDir dir;
        FileSystemArchive &disk = FileSystemArchive::instance();
        QString const path = dir.filePath(QStringLiteral("copy.zip"));
        QString const source = dir.filePath(QStringLiteral("in.bin"));
        QByteArray const bytes = noise(200000, 11);
        QVERIFY(writeBytes(source, bytes));

        ArchivePtr zip = writer(path);
        QVERIFY(copyFile(disk, source, *zip, QStringLiteral("deep/in/data.bin")));
        QVERIFY(!copyFile(disk, dir.filePath(QStringLiteral("missing")), *zip,
                          QStringLiteral("x.bin")));
        QVERIFY(!zip->fileExists(QStringLiteral("x.bin")));
        zip.reset();

        ArchivePtr back = reader(path);
        QVERIFY(back);
        QString const target = dir.filePath(QStringLiteral("out/data.bin"));
        QVERIFY(copyFile(*back, QStringLiteral("deep/in/data.bin"), disk, target));
        QCOMPARE(KenroTest::readFile(target), bytes);
        QVERIFY(!copyFile(*back, QStringLiteral("deep/in/missing.bin"), disk,
                          dir.filePath(QStringLiteral("out/missing.bin"))));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("out/missing.bin"))));
        QVERIFY(!copyFile(disk, source, *back, QStringLiteral("added.bin")));
    }

    void backsUpAndRestoresAProject()
    {
        KenroTest::DialogAnswerer answerer;
        QTemporaryDir dir;
        QString const base = dir.filePath(QStringLiteral("game/"));
        QString const kfm = base + QStringLiteral("chars/kfm/");
        QByteArray const sff = noise(120000, 5);
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.def"), "[Files]\r\n"));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.air"), "[Begin Action 0]\r\n"));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("kfm.sff"), sff));
        QVERIFY(KenroTest::writeFile(kfm + QStringLiteral("sub/extra.st"), "st"));

        auto load = [](QString const &name) {
            auto *file = new KenroTest::TextFile;
            file->fromFile(FileSystemArchive::instance(), name, 0, nullptr);
            return file;
        };
        KenroTest::TestParentProject parent(base, FileSystemArchive::instance());
        KenroTest::TestProject project(&parent, 0, load(kfm + QStringLiteral("kfm.def")), true);
        project.entries = {{Project::Animations, QStringLiteral("/kfm.air")},
                           {Project::Sprites, QStringLiteral("/kfm.sff")},
                           {Project::Scripts, QStringLiteral("/sub/extra.st")}};
        KenroTest::TextFile *air = load(kfm + QStringLiteral("kfm.air"));
        project.addFile(air, Project::Animations);
        air->content = "[Begin Action 1]\r\n";
        air->modified = true;

        // As a backup does: relative names, then the last reference writes.
        QString const path = dir.filePath(QStringLiteral("backup/before.zip"));
        ArchivePtr backup = writer(path);
        QVERIFY(project.saveAll(*backup, QString(), true, nullptr));
        backup.reset();
        project.release();

        ArchivePtr zip = reader(path);
        QVERIFY(zip);
        QStringList const files = walk(*zip);
        QCOMPARE(
            files,
            (QStringList{QStringLiteral("chars/kfm/kfm.air"), QStringLiteral("chars/kfm/kfm.def"),
                         QStringLiteral("chars/kfm/kfm.sff"),
                         QStringLiteral("chars/kfm/sub/extra.st")}));
        QString const restored = dir.filePath(QStringLiteral("restored/"));
        for (QString const &entry : files)
            QVERIFY(copyFile(*zip, entry, FileSystemArchive::instance(), restored + entry));
        QCOMPARE(KenroTest::readFile(restored + QStringLiteral("chars/kfm/kfm.air")),
                 QByteArray("[Begin Action 1]\r\n"));
        QCOMPARE(KenroTest::readFile(restored + QStringLiteral("chars/kfm/kfm.def")),
                 QByteArray("[Files]\r\n"));
        QCOMPARE(KenroTest::readFile(restored + QStringLiteral("chars/kfm/kfm.sff")), sff);
        QCOMPARE(KenroTest::readFile(restored + QStringLiteral("chars/kfm/sub/extra.st")),
                 QByteArray("st"));
        QVERIFY(answerer.seen.isEmpty());
    }

    void damagedFilesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray endRecord("PK\x05\x06", 4);
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("text") << QByteArray("this is not a ZIP archive\n");
        QTest::newRow("noise") << noise(4096, 3);
        QTest::newRow("cut end record") << endRecord + QByteArray(10, '\0');
        QByteArray pastTheEnd = endRecord + QByteArray(18, '\0');
        pastTheEnd[8] = pastTheEnd[10] = 1; // one entry
        pastTheEnd[12] = 46; // directory of 46 bytes
        pastTheEnd[17] = 0x10; // at offset 4096
        QTest::newRow("directory past the end") << pastTheEnd;
        QByteArray overNoise = noise(200, 4) + pastTheEnd;
        overNoise[200 + 17] = 0;
        overNoise[200 + 16] = 100; // a directory of noise inside the file
        QTest::newRow("directory of noise") << overNoise;
    }

    void damagedFilesAreRefused()
    {
        QFETCH(QByteArray, bytes);
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("damaged.zip"));
        QVERIFY(writeBytes(path, bytes));
        QVERIFY(!reader(path));
        QCOMPARE(KenroTest::readFile(path), bytes);
    }

    void missingFilesAndFoldersAreRefused()
    {
        QTemporaryDir dir;
        QVERIFY(!reader(dir.filePath(QStringLiteral("missing.zip"))));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("folder.zip")));
        QVERIFY(!reader(dir.filePath(QStringLiteral("folder.zip"))));
    }

    void truncatedArchivesAreRefused()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("whole.zip"));
        QVERIFY(makeZip(
            path,
            {{QStringLiteral("a/one.txt"), "one"}, {QStringLiteral("two.bin"), noise(500, 2)}}));
        QByteArray const whole = KenroTest::readFile(path);
        QVERIFY(reader(path));
        for (qsizetype length = 0; length < whole.size(); ++length) {
            QVERIFY(writeBytes(path, whole.left(length)));
            QVERIFY2(!reader(path), qPrintable(QString::number(length)));
        }
    }

    void changedBytesNeverGiveWrongContent()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("changed.zip"));
        QMap<QString, QByteArray> const members{{QStringLiteral("a/one.txt"), "one one one"},
                                                {QStringLiteral("empty"), QByteArray()},
                                                {QStringLiteral("two.bin"), noise(300, 9)}};
        QVERIFY(makeZip(path, members));
        QByteArray const whole = KenroTest::readFile(path);
        QList<QByteArray> const contents = members.values();

        int refused = 0;
        int failedReads = 0;
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray changed = whole;
            changed[at] = char(changed.at(at) ^ 0x5A);
            QVERIFY(writeBytes(path, changed));
            ArchivePtr zip = reader(path);
            if (!zip) {
                ++refused;
                continue;
            }
            for (QString const &name : walk(*zip)) {
                std::optional<QByteArray> const data = get(*zip, name);
                if (!data)
                    ++failedReads;
                else
                    QVERIFY2(contents.contains(*data), qPrintable(QString::number(at)));
            }
        }
        // Changes to the headers are caught on opening, changes to the data
        // by the checksums when reading.
        QVERIFY(refused > 0);
        QVERIFY(failedReads > 0);
    }

    void implausibleMembersFailToRead()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("raw.zip"));
        RawMember bomb = KenroTest::deflatedMember("bomb.bin", QByteArray(1000, 'a'));
        bomb.size = 0xF0000000u;
        RawMember stretched = KenroTest::deflatedMember("short.bin", QByteArray(1000, 'b'));
        stretched.size = 2000;
        RawMember cut = KenroTest::deflatedMember("long.bin", QByteArray(1000, 'c'));
        cut.size = 500;
        RawMember padded = KenroTest::storedMember("padded.bin", "abc");
        padded.size = 100;
        RawMember checksum = KenroTest::storedMember("checksum.bin", "abc");
        checksum.crc ^= 1;
        QByteArray const zip = KenroTest::buildZip(
            {KenroTest::storedMember("small.txt", "small"),
             KenroTest::deflatedMember("packed.txt", QByteArray(5000, 'p')), bomb, stretched, cut,
             padded, checksum, KenroTest::storedMember("../escape.txt", "out"),
             KenroTest::storedMember("/rooted.txt", "rooted"),
             KenroTest::storedMember("./small.txt", "a second small.txt"),
             KenroTest::storedMember("empty/", QByteArray())});
        QVERIFY(writeBytes(path, zip));

        ArchivePtr archive = reader(path);
        QVERIFY(archive);
        QCOMPARE(walk(*archive),
                 (QStringList{QStringLiteral("bomb.bin"), QStringLiteral("checksum.bin"),
                              QStringLiteral("long.bin"), QStringLiteral("packed.txt"),
                              QStringLiteral("padded.bin"), QStringLiteral("rooted.txt"),
                              QStringLiteral("short.bin"), QStringLiteral("small.txt")}));
        QCOMPARE(get(*archive, QStringLiteral("small.txt")), QByteArray("small")); // the first
        QVERIFY(archive->directoryExists(QStringLiteral("empty")));
        QVERIFY(!archive->fileExists(QStringLiteral("empty")));
        QVERIFY(
            archive->entries(QString(), QDir::Dirs, QDir::Name).contains(QStringLiteral("empty")));
        QCOMPARE(get(*archive, QStringLiteral("packed.txt")), QByteArray(5000, 'p'));
        QCOMPARE(get(*archive, QStringLiteral("rooted.txt")), QByteArray("rooted"));
        for (char const *name :
             {"bomb.bin", "short.bin", "long.bin", "padded.bin", "checksum.bin", "../escape.txt"})
            QVERIFY2(!get(*archive, QString::fromLatin1(name)), name);
    }

    void failedWritesLeaveTheTargetAlone()
    {
        QTemporaryDir dir;
        // A folder where the ZIP should go, with and without members to write.
        QString const folder = dir.filePath(QStringLiteral("target.zip"));
        QVERIFY(KenroTest::writeFile(folder + QStringLiteral("/inside.txt"), "inside"));
        for (bool const withMembers : {true, false}) {
            ArchivePtr zip = writer(folder);
            if (withMembers)
                QVERIFY(put(*zip, QStringLiteral("a.txt"), "a"));
            zip->flush();
            zip.reset(); // tries once more
            QVERIFY(QFileInfo(folder).isDir());
            QCOMPARE(KenroTest::readFile(folder + QStringLiteral("/inside.txt")),
                     QByteArray("inside"));
            QCOMPARE(
                QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                QStringList{QStringLiteral("target.zip")});
        }

        // A file where its folder should be.
        QString const blocker = dir.filePath(QStringLiteral("blocker"));
        QVERIFY(writeBytes(blocker, "keep"));
        {
            ArchivePtr zip = writer(blocker + QStringLiteral("/backup.zip"));
            QVERIFY(put(*zip, QStringLiteral("a.txt"), "a"));
        }
        QCOMPARE(KenroTest::readFile(blocker), QByteArray("keep"));
    }

    void aNewZipReplacesTheOldOnlyWhenWritten()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("backup/2024/game.zip"));
        QVERIFY(makeZip(path, {{QStringLiteral("old.txt"), "old"}})); // folders are made
        QByteArray const old = KenroTest::readFile(path);

        ArchivePtr zip = writer(path);
        QVERIFY(put(*zip, QStringLiteral("new.txt"), "new"));
        QCOMPARE(KenroTest::readFile(path), old);
        zip->flush();
        ArchivePtr first = reader(path);
        QVERIFY(first);
        QCOMPARE(walk(*first), QStringList{QStringLiteral("new.txt")});

        // Later changes are written at the next flush, or at the end.
        QVERIFY(put(*zip, QStringLiteral("later.txt"), "later"));
        zip.reset();
        ArchivePtr second = reader(path);
        QVERIFY(second);
        QCOMPARE(walk(*second),
                 (QStringList{QStringLiteral("later.txt"), QStringLiteral("new.txt")}));
        // The first reader still serves the ZIP it opened.
        QCOMPARE(get(*first, QStringLiteral("new.txt")), QByteArray("new"));
    }

    void killedWriterLeavesTheOldZip()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("backup.zip"));
        QMap<QString, QByteArray> const members{{QStringLiteral("old/kfm.def"), "[Files]\r\n"},
                                                {QStringLiteral("old/kfm.sff"), noise(50000, 3)}};
        QVERIFY(makeZip(path, members));
        QByteArray const before = KenroTest::readFile(path);

        QProcess helper;
        helper.start(QStringLiteral(KENRO_ZIP_WRITER),
                     {QStringLiteral(KENRO_PLUGIN_DIR), path, QStringLiteral("96")});
        QVERIFY(helper.waitForStarted());
        QByteArray output;
        while (!output.contains("closing")) {
            QVERIFY2(helper.waitForReadyRead(120000), "the writer never got to writing");
            output += helper.readAllStandardOutput();
        }
        // Killed once the new ZIP is partly on disk next to the old one.
        bool writing = false;
        while (!writing) {
            QVERIFY2(!helper.waitForFinished(1), "the writer finished before it was killed");
            QStringList const names = QDir(dir.path())
                                          .entryList(QStringList{QStringLiteral("backup.zip?*")},
                                                     QDir::Files | QDir::Hidden);
            for (QString const &name : names)
                writing = writing || QFileInfo(dir.filePath(name)).size() > 0;
        }
        helper.kill();
        QVERIFY(helper.waitForFinished());
        QCOMPARE(helper.exitStatus(), QProcess::CrashExit);

        QCOMPARE(KenroTest::readFile(path), before);
        ArchivePtr zip = reader(path);
        QVERIFY(zip);
        QCOMPARE(walk(*zip), members.keys());
        for (auto it = members.cbegin(); it != members.cend(); ++it)
            QCOMPARE(get(*zip, it.key()), it.value());
    }

    void realGameTreeRoundTrips()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const root = data + QStringLiteral("/game");
        QStringList const names = filesBelow(root);
        QVERIFY(!names.isEmpty());
        FileSystemArchive &disk = FileSystemArchive::instance();

        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("game.zip"));
        {
            ArchivePtr zip = writer(path);
            for (QString const &name : names)
                QVERIFY2(copyFile(disk, root + QLatin1Char('/') + name, *zip, name),
                         qPrintable(name));
        }
        ArchivePtr zip = reader(path);
        QVERIFY(zip);
        QStringList walked = walk(*zip);
        walked.sort();
        QCOMPARE(walked, names);
        for (QString const &name : names) {
            QString const out = dir.filePath(QStringLiteral("out/")) + name;
            QVERIFY2(copyFile(*zip, name, disk, out), qPrintable(name));
            QVERIFY2(KenroTest::readFile(out) ==
                         KenroTest::readFile(root + QLatin1Char('/') + name),
                     qPrintable(name));
        }
    }
};

QTEST_MAIN(TestZip)
#include "tst_zip.moc"
