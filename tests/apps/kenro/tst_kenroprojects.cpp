#include "testdata.h"
#include "toolrun.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::Literals::StringLiterals;
using KenroTest::at;
using KenroTest::Result;

namespace {

// What the header of file \a path announces, as the totals of a report list
// them: actions, sprites, palettes and sounds; -1 where it says nothing.
QList<int> header(QString const &path)
{
    QByteArray const bytes = KenroTest::readFile(path);
    auto le32 = [&bytes](int offset) {
        return bytes.size() < offset + 4 ? -1 : qFromLittleEndian<qint32>(bytes.data() + offset);
    };
    if (bytes.startsWith("ElecbyteSnd"))
        return {-1, -1, -1, le32(0x10)};
    // Version 1 counts its images at 0x14; version 2 its sprites at 0x28 and palettes at 0x30.
    if (bytes.startsWith("ElecbyteSpr"))
        return {-1, le32(bytes.at(15) == 1 ? 0x14 : 0x28), bytes.at(15) == 1 ? -1 : le32(0x30), -1};
    int actions = 0;
    for (QByteArray const &line : bytes.toLower().split('\n'))
        actions += line.trimmed().startsWith("[begin action") ? 1 : 0;
    return {actions, -1, -1, -1};
}

QList<int> totals(QJsonValue const &report)
{
    return {at(report, "totals/actions").toInt(), at(report, "totals/sprites").toInt(),
            at(report, "totals/palettes").toInt(), at(report, "totals/sounds").toInt()};
}

// The line (from 1) of the first line of \a path that holds \a text; 0 for none.
int lineWith(QString const &path, QByteArray const &text)
{
    QList<QByteArray> const lines = KenroTest::readFile(path).split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines.at(i).contains(text))
            return int(i + 1);
    }
    return 0;
}

QString plural(int count, char const *word)
{
    return u"%1 %2%3"_s.arg(count).arg(QLatin1String(word), count == 1 ? QString() : u"s"_s);
}

QString tally(QJsonValue const &report)
{
    int const notes = at(report, "notes").toInt();
    return plural(at(report, "errors").toInt(), "error") + u", "_s +
        plural(at(report, "warnings").toInt(), "warning") +
        (notes ? u", "_s + plural(notes, "note") : QString());
}

// The line that `info` shows for \a project, its path relative to \a base.
QString projectLine(QJsonValue const &project, QString const &base)
{
    QList<int> const sums = totals(project);
    return u"  %1: %2 \"%3\" by %4, %5, %6, %7, %8, %9; "_s.arg(
               at(project, "path").toString().mid(base.size() + 1), at(project, "type").toString(),
               at(project, "name").toString(), at(project, "author").toString(),
               plural(int(at(project, "files").toArray().size()), "file"),
               plural(sums.at(0), "action"), plural(sums.at(1), "sprite"),
               plural(sums.at(2), "palette"), plural(sums.at(3), "sound")) +
        tally(project) + u'\n';
}

} // namespace

class KenroProjectsTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QTemporaryDir m_config;
    QString m_game; // the real game folder
    QJsonObject m_report; // what `info --json` says of it

    Result run(QStringList const &arguments, QString const &folder = QString()) const
    {
        return KenroTest::kenro(arguments, m_config.path(), folder);
    }

    // The counts of every file of \a report against the file's own header,
    // and the totals of each project and of the whole against their sums.
    void checkCounts(QJsonObject const &report)
    {
        QList<int> all{0, 0, 0, 0};
        for (QJsonValue const &project : at(report, "projects").toArray()) {
            bool const paletteFiles = at(project, "fileTypes/Palettes").isDouble();
            QList<int> sums{0, 0, 0, 0};
            for (QJsonValue const &file : at(project, "files").toArray()) {
                QString const path = at(file, "path").toString();
                QString const type = at(file, "type").toString();
                QVERIFY2(QFile::exists(path), qPrintable(path));
                if (type != "Sprites"_L1 && type != "Sounds"_L1 && type != "Animations"_L1)
                    continue;
                QList<int> const expected = header(path);
                QList<int> const counts = totals(QJsonObject{{u"totals"_s, at(file, "counts")}});
                for (int i = 0; i < 4; ++i) {
                    // Palette files (.act) that a character names join its archive's.
                    if (i == 2 && paletteFiles)
                        QVERIFY(counts.at(i) >= expected.at(i));
                    else if (expected.at(i) >= 0)
                        QCOMPARE(counts.at(i), expected.at(i));
                    sums[i] += counts.at(i);
                }
            }
            QCOMPARE(totals(project), sums);
            for (int i = 0; i < 4; ++i)
                all[i] += sums.at(i);
        }
        QCOMPARE(totals(report), all);
    }

    // `check` of \a path, run as \a check, prints each diagnostic of \a report
    // as file:line:column, ends with its tally, and says the same in JSON.
    void checkAgrees(QString const &path, Result const &check, QJsonObject const &report,
                     QString const &folder = QString())
    {
        QCOMPARE(check.code, at(report, "errors").toInt() ? 1 : 0);
        QCOMPARE(check.err, QString());
        static QRegularExpression const pattern(
            u"^(.+):(\\d+):(\\d+): (error|warning|note): .+$"_s);
        QStringList lines = check.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.takeLast(), u"%1: %2"_s.arg(path, tally(report)));
        int errors = 0;
        for (QString const &line : std::as_const(lines)) {
            QRegularExpressionMatch const match = pattern.match(line);
            QVERIFY2(match.hasMatch() &&
                         QFileInfo::exists(QDir(folder).filePath(match.captured(1))),
                     qPrintable(line));
            QVERIFY(match.captured(2).toInt() > 0 && match.captured(3).toInt() > 0);
            errors += match.captured(4) == "error"_L1;
        }
        QCOMPARE(errors, at(report, "errors").toInt());
        QCOMPARE(lines.size(),
                 errors + at(report, "warnings").toInt() + at(report, "notes").toInt());
        Result const json = run({u"check"_s, u"--json"_s, path}, folder);
        QCOMPARE(json.code, check.code);
        QCOMPARE(at(json.json(), "diagnostics").toArray().size(), lines.size());
        QCOMPARE(at(json.json(), "errors").toInt(), errors);
    }

    // A copy of the sample character in a folder of its own.
    QString sampleCopy(QString const &name) const
    {
        QString const folder = m_dir.filePath(name);
        return KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), folder) ? folder : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(QFile::exists(QStringLiteral(KENRO_EXECUTABLE)));
        QString const data = KenroTest::testDataPath();
        if (data.isEmpty())
            return;
        m_game = data + u"/game"_s;
        Result const info = run({u"info"_s, u"--json"_s, m_game});
        QCOMPARE(info.code, 0);
        QCOMPARE(info.err, QString());
        m_report = info.json();
    }

    void gameFolder()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const game = m_game + u'/';
        QCOMPARE(at(m_report, "kind").toString(), u"game"_s);
        QCOMPARE(at(m_report, "engine").toString(), u"IKEMEN GO"_s);
        QJsonArray const projects = at(m_report, "projects").toArray();
        // Each project with its files, those of the game's data folder shared.
        QStringList paths;
        QSet<QString> inProjects;
        for (QJsonValue const &project : projects) {
            paths += at(project, "type").toString() + u' ' + at(project, "path").toString();
            for (QJsonValue const &file : at(project, "files").toArray()) {
                inProjects.insert(at(file, "path").toString());
                if (at(file, "shared").toBool())
                    paths += u"  shared "_s + at(file, "path").toString();
            }
        }
        QCOMPARE(paths,
                 (QStringList{u"character "_s + game + u"chars/kfm/kfm.def"_s,
                              u"  shared "_s + game + u"data/common1.cns"_s,
                              u"character "_s + game + u"chars/training/Training.def"_s,
                              u"  shared "_s + game + u"data/common1.cns"_s,
                              u"stage "_s + game + u"stages/kfm.def"_s,
                              u"stage "_s + game + u"stages/stage0.def"_s}));
        checkCounts(m_report);

        // Each file of the folder is in a project, or read on its own, or counted as no content.
        QSet<QString> others;
        for (QJsonValue const &file : at(m_report, "files").toArray())
            others.insert(at(file, "path").toString());
        QVERIFY(others.contains(game + u"data/fight.sff"_s) && !inProjects.intersects(others));
        int all = 0;
        for (QDirIterator walk(m_game, QDir::Files, QDirIterator::Subdirectories); walk.hasNext();
             walk.next())
            ++all;
        QCOMPARE(int(inProjects.size() + others.size() + at(m_report, "skipped").toArray().size()) +
                     at(m_report, "otherFiles").toInt(),
                 all);

        // Text: a line per project with the same numbers, and the files only with --all.
        Result const text = run({u"info"_s, m_game});
        QVERIFY2(text.out.startsWith(m_game + u": IKEMEN GO game, 2 characters, 2 stages\n"_s),
                 qPrintable(text.out));
        for (QJsonValue const &project : projects)
            QVERIFY2(text.out.contains(projectLine(project, m_game)),
                     qPrintable(projectLine(project, m_game) + text.out));
        QVERIFY(text.out.count(u'\n') < 16 && !text.out.contains(u"chars/kfm/kfm.sff:"_s));
        Result const detail = run({u"info"_s, u"--all"_s, m_game});
        for (QString const &path : inProjects + others)
            QVERIFY2(detail.out.contains(u"  "_s + path.mid(game.size()) + u':'), qPrintable(path));
        checkAgrees(m_game, run({u"check"_s, m_game}), m_report);
    }

    // A project alone is what it is in its game: the same files, counts and diagnostics.
    void projectsAlone_data()
    {
        QTest::addColumn<QString>("path"); // below the game
        QTest::addColumn<int>("index"); // of the project in the game's report
        QTest::addColumn<int>("otherFiles"); // beside it, of no content kind
        QTest::addColumn<bool>("relative"); // given from within the game
        QTest::newRow("kfm folder") << u"chars/kfm"_s << 0 << 1 << false;
        QTest::newRow("kfm.def") << u"chars/kfm/kfm.def"_s << 0 << 0 << false;
        QTest::newRow("training folder") << u"chars/training"_s << 1 << 0 << false;
        QTest::newRow("stage kfm.def") << u"stages/kfm.def"_s << 2 << 0 << false;
        QTest::newRow("stage0.def") << u"stages/stage0.def"_s << 3 << 0 << false;
        QTest::newRow("relative folder") << u"chars/kfm"_s << 0 << 1 << true;
        QTest::newRow("relative definition") << u"stages/kfm.def"_s << 2 << 0 << true;
    }

    void projectsAlone()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, path);
        QFETCH(int, index);
        QFETCH(int, otherFiles);
        QFETCH(bool, relative);
        QJsonObject expected = at(m_report, "projects").toArray().at(index).toObject();
        QString const target = relative ? path : m_game + u'/' + path;
        QString const folder = relative ? m_game : QString();
        if (relative) {
            // Files are shown as given, relative to the folder the tool runs in.
            QByteArray text = QJsonDocument(expected).toJson();
            expected = QJsonDocument::fromJson(text.replace(m_game.toUtf8() + '/', "")).object();
        }
        Result const info = run({u"info"_s, u"--json"_s, target}, folder);
        QCOMPARE(info.code, 0);
        QJsonObject const report = info.json();
        QCOMPARE(at(report, "kind").toString(), u"projects"_s);
        QCOMPARE(at(report, "projects").toArray(), QJsonArray{expected});
        QCOMPARE(at(report, "otherFiles").toInt(), otherFiles);
        QCOMPARE(at(report, "files").toArray().size(), 0);
        if (!relative)
            checkCounts(report);

        // The text lists every file.
        Result const text = run({u"info"_s, target}, folder);
        QCOMPARE(text.code, 0);
        QString const base = path.endsWith(".def"_L1) ? QFileInfo(target).path() : target;
        QVERIFY2(text.out.contains(projectLine(expected, base)), qPrintable(text.out));
        for (QJsonValue const &file : at(expected, "files").toArray()) {
            QString const name = at(file, "path").toString();
            QString const shown = name.startsWith(base + u'/') ? name.mid(base.size() + 1) : name;
            QVERIFY2(text.out.contains(u"    "_s + shown + u':'), qPrintable(shown + text.out));
        }
        checkAgrees(target, run({u"check"_s, target}, folder), report, folder);
    }

    // The sample character, whole or with one fault, given as its folder and
    // as its definition: the fault where it stands, and the common states,
    // which are the game's while no game is around it, as a note.
    void sampleCharacter_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("file"); // where the diagnostic stands
        QTest::addColumn<QByteArray>("marker"); // what its line holds
        QTest::addColumn<QString>("text"); // with the column
        QTest::addColumn<int>("errors"); // of the folder; its definition alone has one at most
        QTest::addColumn<int>("files");
        QTest::newRow("whole") << u"whole"_s << u"sample.def"_s << QByteArray("stcommon")
                               << u"1: note: The file 'common1.cns' named by 'stcommon' is looked "
                                  "for in the game's data folder; no game folder lies around "
                                  "this character"_s
                               << 0 << 7;
        QTest::newRow("broken script line")
            << u"script"_s << u"sample.cns"_s << QByteArray("run.fwd = \"")
            << u"11: error: The string is not closed"_s << 1 << 7;
        QTest::newRow("missing sound bank")
            << u"missing"_s << u"sample.def"_s << QByteArray("sound = sample.snd")
            << u"1: error: The file 'sample.snd' named by 'sound' does not exist"_s << 1 << 6;
        // The definition says that the archive does not read, the archive says why.
        QTest::newRow("damaged sprite archive")
            << u"damaged"_s << u"sample.def"_s << QByteArray("sprite = sample.sff")
            << u"1: error: The file 'sample.sff' named by 'sprite' could not be read"_s << 2 << 6;
    }

    void sampleCharacter()
    {
        QFETCH(QString, fault);
        QFETCH(QString, file);
        QFETCH(QByteArray, marker);
        QFETCH(QString, text);
        QFETCH(int, errors);
        QFETCH(int, files);
        QString const folder = sampleCopy(fault);
        QVERIFY(!folder.isEmpty());
        QString const cns = folder + u"/sample.cns"_s;
        QString const sff = folder + u"/sample.sff"_s;
        if (fault == "script"_L1) {
            QByteArray bytes = KenroTest::readFile(cns);
            QVERIFY(bytes.contains("run.fwd = 4.6, 0"));
            QVERIFY(KenroTest::writeFile(cns, bytes.replace("run.fwd = ", "run.fwd = \"")));
        } else if (fault == "missing"_L1) {
            QVERIFY(QFile::remove(folder + u"/sample.snd"_s));
        } else if (fault == "damaged"_L1) {
            QVERIFY(KenroTest::writeFile(sff, KenroTest::readFile(sff).left(100)));
        }
        QString const where = folder + u'/' + file;
        int const line = lineWith(where, marker);
        QVERIFY(line > 0);
        QString const expected = u"%1:%2:%3"_s.arg(where).arg(line).arg(text);

        for (QString const &path : {folder, folder + u"/sample.def"_s}) {
            Result const check = run({u"check"_s, path});
            QVERIFY2(check.out.split(u'\n').contains(expected), qPrintable(expected + check.out));
            // A damaged archive beside the project is read on its own too, and says why;
            // a definition given alone is examined without its folder.
            int const found = path == folder ? errors : qMin(errors, 1);
            QCOMPARE(check.out.count(": error: "_L1), found);
            if (fault == "damaged"_L1 && path == folder)
                QVERIFY2(check.out.contains(sff + u":1:1: error: not a valid SFF sprite archive"_s),
                         qPrintable(check.out));
            QVERIFY(check.out.endsWith(
                u"%1: %2, 0 warnings, 1 note\n"_s.arg(path, plural(found, "error"))));
            QJsonObject const report = run({u"info"_s, u"--json"_s, path}).json();
            QCOMPARE(at(report, "errors").toInt(), found);
            QCOMPARE(at(report, "projects/0/name").toString(), u"Kenro Sample"_s);
            QCOMPARE(at(report, "projects/0/files").toArray().size(), files);
            checkCounts(report);
            checkAgrees(path, check, report);
        }
    }

    void gameWithSharedStates()
    {
        // Two characters of one game share its common states, which have a fault.
        QString const game = m_dir.filePath(u"game"_s);
        QVERIFY(KenroTest::writeFile(game + u"/data/system.def"_s, "[Files]\n"));
        QVERIFY(
            KenroTest::writeFile(game + u"/data/common1.cns"_s, "[Statedef 5150]\ntype = \"L\n"));
        QVERIFY(KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), game + u"/chars/one"_s));
        QVERIFY(KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), game + u"/chars/two"_s));
        QVERIFY(KenroTest::writeFile(game + u"/chars/empty/readme.txt"_s, "none"));

        Result const check = run({u"check"_s, game});
        QCOMPARE(check.out.count(u"/data/common1.cns:2:8: error: "_s), 1);
        // Inside a game the common states are found: no note on them.
        QVERIFY2(!check.out.contains(u": note: "_s), qPrintable(check.out));
        QVERIFY2(check.out.contains(game +
                                    u"/chars/empty:1:1: warning: no definition of a "
                                    "project here"_s),
                 qPrintable(check.out));
        QVERIFY(check.out.endsWith(u"%1: 1 error, 1 warning\n"_s.arg(game)));

        QJsonObject const report = run({u"info"_s, u"--json"_s, game}).json();
        QCOMPARE(at(report, "kind").toString(), u"game"_s);
        QCOMPARE(at(report, "projects").toArray().size(), 2);
        // Each character counts the fault of the file it holds; the game counts it once.
        for (QJsonValue const &project : at(report, "projects").toArray()) {
            QCOMPARE(at(project, "errors").toInt(), 1);
            QCOMPARE(at(project, "files").toArray().size(), 8);
        }
        QCOMPARE(at(report, "errors").toInt(), 1);
        checkCounts(report);
        checkAgrees(game, check, report);
    }
};

QTEST_GUILESS_MAIN(KenroProjectsTest)
#include "tst_kenroprojects.moc"
