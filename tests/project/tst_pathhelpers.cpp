#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>
#include <kenro/project/subitem.h>

#include "sequentialdevice.h"
#include "testdata.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using KenroTest::SequentialDevice;

class TestPathHelpers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void skipReadCountsWhatItAsks()
    {
        SequentialDevice device(QByteArray(100, 'x'), QIODevice::Unbuffered);
        skipRead(&device, 300);
        QVERIFY(device.atEnd());
        QCOMPARE(device.reads, 2); // 256 asked, then 44: the count falls even at the end

        QByteArray more(1000, 'y');
        more[600] = 'z';
        SequentialDevice second(more, QIODevice::Unbuffered);
        skipRead(&second, 0);
        QCOMPARE(second.reads, 0);
        skipRead(&second, 600);
        QCOMPARE(second.reads, 3);
        QCOMPARE(second.read(1), QByteArray("z"));
    }

    void copyFileCopiesInChunks()
    {
        QTemporaryDir dir;
        QByteArray data(3 * 0x20000 + 17, Qt::Uninitialized);
        QRandomGenerator generator(7);
        for (char &byte : data)
            byte = char(generator.bounded(256));
        QString const source = dir.filePath(QStringLiteral("big.sff"));
        QVERIFY(KenroTest::writeFile(source, data));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QString const target = dir.filePath(QStringLiteral("out/copy.sff"));
        QVERIFY(copyFile(fs, source, fs, target));
        QFile copied(target);
        QVERIFY(copied.open(QIODevice::ReadOnly));
        QCOMPARE(copied.readAll(), data);

        // Over an existing file: replaced whole.
        QVERIFY(KenroTest::writeFile(source, "short"));
        QVERIFY(copyFile(fs, source, fs, target));
        QFile again(target);
        QVERIFY(again.open(QIODevice::ReadOnly));
        QCOMPARE(again.readAll(), QByteArray("short"));
    }

    void copyFileRefusals()
    {
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        QString const source = dir.filePath(QStringLiteral("a.txt"));
        QVERIFY(KenroTest::writeFile(source, "a"));
        QVERIFY(!copyFile(fs, source, fs, source));
        QVERIFY(!copyFile(fs, dir.filePath(QStringLiteral("missing")), fs,
                          dir.filePath(QStringLiteral("b.txt"))));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("b.txt"))));
        // A target under a plain file cannot be made.
        QVERIFY(!copyFile(fs, source, fs, source + QStringLiteral("/b.txt")));
        QFile file(source);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("a"));
    }

    void fixFileCaseFindsTheRealSpelling()
    {
        QTemporaryDir dir;
        QString const base = dir.path() + QLatin1Char('/');
        QVERIFY(KenroTest::writeFile(base + QStringLiteral("Chars/KFM/kfm.SFF"), "s"));
        FileSystemArchive &fs = FileSystemArchive::instance();
        QCOMPARE(fixFileCase(base, fs, QStringLiteral("Chars/KFM/kfm.SFF")),
                 base + QStringLiteral("Chars/KFM/kfm.SFF"));
        QCOMPARE(fixFileCase(base, fs, QStringLiteral("chars/kfm/KFM.sff")),
                 base + QStringLiteral("Chars/KFM/kfm.SFF"));
        // A component that matches nothing keeps its spelling, and so do the
        // later ones, since their directory is empty.
        QCOMPARE(fixFileCase(base, fs, QStringLiteral("chars/nothing/KFM.sff")),
                 base + QStringLiteral("Chars/nothing/KFM.sff"));
        // A directory does not match the last component, which names a file.
        QCOMPARE(fixFileCase(base, fs, QStringLiteral("CHARS")), base + QStringLiteral("CHARS"));
    }

    void realGameFolder()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const game = data + QStringLiteral("/game/");
        QVERIFY2(QDir(game).exists(), qPrintable(game));
        QTemporaryDir dir;
        FileSystemArchive &fs = FileSystemArchive::instance();
        int files = 0;
        QDirIterator it(game, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            QString const path = it.next();
            QString const relative = Kenro::absolutePathToRelative(path, game);
            QVERIFY2(!relative.startsWith(QLatin1String("../")), qPrintable(relative));
            // Written on a case-blind system, found on this one.
            QCOMPARE(fixFileCase(game, fs, relative.toUpper()), path);
            QString const copy = dir.filePath(relative);
            QVERIFY(copyFile(fs, path, fs, copy));
            QFile a(path), b(copy);
            QVERIFY(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
            QCOMPARE(QCryptographicHash::hash(b.readAll(), QCryptographicHash::Sha1),
                     QCryptographicHash::hash(a.readAll(), QCryptographicHash::Sha1));
            ++files;
        }
        QVERIFY2(files >= 20, qPrintable(QString::number(files)));
    }

    void fileExtensionIsUpperCase_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("extension");
        QTest::newRow("pcx") << QStringLiteral("foo.pcx") << QByteArray("PCX");
        QTest::newRow("double") << QStringLiteral("a.tar.gz") << QByteArray("GZ");
        QTest::newRow("none") << QStringLiteral("README") << QByteArray();
        QTest::newRow("dir dot") << QStringLiteral("dir.d/file") << QByteArray();
        QTest::newRow("mixed") << QStringLiteral("/x/Kfm.Sff") << QByteArray("SFF");
    }

    void fileExtensionIsUpperCase()
    {
        QFETCH(QString, path);
        QFETCH(QByteArray, extension);
        QCOMPARE(fileExtension(path), extension);
    }

    void absolutePathToRelative_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("relative");
        QTest::newRow("sibling") << "C:/a/b/c.txt"
                                 << "C:/a/d"
                                 << "../b/c.txt";
        QTest::newRow("empty base") << "C:/a/b.txt"
                                    << ""
                                    << "C:/a/b.txt";
        QTest::newRow("inside") << "/game/chars/kfm/kfm.def"
                                << "/game/"
                                << "chars/kfm/kfm.def";
        QTest::newRow("backslashes") << "C:\\a\\b\\c.txt"
                                     << "C:\\a"
                                     << "b/c.txt";
        QTest::newRow("two up") << "/x/y.txt"
                                << "/x/p/q"
                                << "../../y.txt";
        QTest::newRow("other drive, no drive logic") << "D:/x/y.txt"
                                                     << "C:/a"
                                                     << "../../:/x/y.txt";
        QTest::newRow("case sensitive") << "/Game/a.txt"
                                        << "/game"
                                        << "../Game/a.txt";
    }

    void absolutePathToRelative()
    {
        QFETCH(QString, path);
        QFETCH(QString, base);
        QFETCH(QString, relative);
        QCOMPARE(Kenro::absolutePathToRelative(path, base), relative);
    }

    void randomStringUsesLettersAndDigits()
    {
        QVERIFY(randomString(0).isEmpty());
        QVERIFY(randomString(-3).isEmpty());
        QString const text = randomString(500);
        QCOMPARE(text.size(), 500);
        QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9]+$")).match(text).hasMatch());
        QVERIFY(randomString(12) != randomString(12));
    }

    void subItemParse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("second");
        QTest::newRow("spaces") << "1, 2" << true << 1 << 2;
        QTest::newRow("negative") << " -5 ,7 " << true << -5 << 7;
        QTest::newRow("three") << "1,2,3" << false << 0 << 99;
        QTest::newRow("one") << "1" << false << 0 << 99;
        QTest::newRow("empty part") << "4," << false << 4 << 0;
        QTest::newRow("bad first") << "x,2" << false << 0 << 99;
        QTest::newRow("hex is not decimal") << "0x10,1" << false << 0 << 99;
    }

    void subItemParse()
    {
        QFETCH(QString, text);
        QFETCH(bool, ok);
        QFETCH(int, first);
        QFETCH(int, second);
        SubItem item;
        item.second = 99;
        QCOMPARE(SubItem::parse(text, item), ok);
        QCOMPARE(item.first, first);
        QCOMPARE(item.second, second);
    }
};

QTEST_GUILESS_MAIN(TestPathHelpers)
#include "tst_pathhelpers.moc"
