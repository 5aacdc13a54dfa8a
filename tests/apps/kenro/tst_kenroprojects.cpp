#include "testdata.h"
#include "toolrun.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::Literals::StringLiterals;
using KenroTest::addRow;
using KenroTest::at;
using KenroTest::fields;
using KenroTest::readFile;
using KenroTest::Result;

namespace {

// Actions, sprites, palettes and sounds as the header of file \a path counts them.
QList<int> header(QString const &path)
{
    QByteArray const bytes = readFile(path);
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

QStringList const counted{u"action"_s, u"sprite"_s, u"palette"_s, u"sound"_s};

QList<int> totals(QJsonValue const &counts)
{
    QList<int> out;
    for (QString const &count : counted)
        out += at(counts, count + u's').toInt();
    return out;
}

QString plural(qsizetype count, QString const &word)
{
    return u"%1 %2%3"_s.arg(count).arg(word, count == 1 ? QString() : u"s"_s);
}

QString tally(QJsonValue const &report)
{
    int const notes = at(report, "notes").toInt();
    return plural(at(report, "errors").toInt(), u"error"_s) + u", "_s +
        plural(at(report, "warnings").toInt(), u"warning"_s) +
        (notes ? u", "_s + plural(notes, u"note"_s) : QString());
}

QString projectLine(QJsonValue const &project, QString const &base)
{
    QStringList parts{plural(at(project, "files").toArray().size(), u"file"_s)};
    QList<int> const sums = totals(at(project, "totals"));
    for (int i = 0; i < 4; ++i)
        parts += plural(sums.at(i), counted.at(i));
    return u"  %1: %2 \"%3\" by %4, %5; %6\n"_s.arg(
        at(project, "path").toString().mid(base.size() + 1), at(project, "type").toString(),
        at(project, "name").toString(), at(project, "author").toString(), parts.join(u", "_s),
        tally(project));
}

} // namespace

class KenroProjectsTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QTemporaryDir m_config;
    QString m_game; // the real game folder
    QJsonObject m_report; // what `info --json` says of it

    Result run(QStringList const &arguments, QString const &folder = QString()) const
    {
        return KenroTest::kenro(arguments, m_config.path(), folder);
    }

    // Each file's counts against its header, and each total against its sum.
    void checkCounts(QJsonObject const &report)
    {
        QList<int> all{0, 0, 0, 0};
        for (QJsonValue const &project : at(report, "projects").toArray()) {
            QList<int> sums{0, 0, 0, 0};
            for (QJsonValue const &file : at(project, "files").toArray()) {
                QString const path = at(file, "path").toString();
                QVERIFY2(QFile::exists(path), qPrintable(path));
                if (!u"Sprites Sounds Animations"_s.split(u' ').contains(fields(file, "type")))
                    continue;
                QList<int> const expected = header(path), counts = totals(at(file, "counts"));
                for (int i = 0; i < 4; ++i) {
                    // Palette files (.act) that a character names join its archive's.
                    bool const joined = i == 2 && at(project, "fileTypes/Palettes").isDouble();
                    QVERIFY2(expected.at(i) < 0 || counts.at(i) == expected.at(i) ||
                                 (joined && counts.at(i) > expected.at(i)),
                             qPrintable(path));
                    sums[i] += counts.at(i);
                    all[i] += counts.at(i);
                }
            }
            QCOMPARE(totals(at(project, "totals")), sums);
        }
        QCOMPARE(totals(at(report, "totals")), all);
    }

    // `check` says in text and in JSON what \a report says.
    void checkAgrees(QString const &path, Result const &check, QJsonObject const &report,
                     QString const &folder = QString())
    {
        static QRegularExpression const pattern(
            u"^(.+):[1-9]\\d*:[1-9]\\d*: (error|warning|note): .+$"_s);
        QStringList lines = check.out.split(u'\n', Qt::SkipEmptyParts);
        QVERIFY(check.code == (at(report, "errors").toInt() ? 1 : 0) && check.err.isEmpty());
        QCOMPARE(lines.takeLast(), u"%1: %2"_s.arg(path, tally(report)));
        int errors = 0;
        for (QString const &line : std::as_const(lines)) {
            QRegularExpressionMatch const match = pattern.match(line);
            QVERIFY2(match.hasMatch() &&
                         QFileInfo::exists(QDir(folder).filePath(match.captured(1))),
                     qPrintable(line));
            errors += match.captured(2) == "error"_L1;
        }
        QCOMPARE(u"%1 errors, %2 lines"_s.arg(errors).arg(lines.size()),
                 u"%1 errors, %2 lines"_s.arg(at(report, "errors").toInt())
                     .arg(errors + at(report, "warnings").toInt() + at(report, "notes").toInt()));
        Result const json = run({u"check"_s, u"--json"_s, path}, folder);
        QVERIFY(json.code == check.code && at(json.json(), "errors").toInt() == errors &&
                at(json.json(), "diagnostics").toArray().size() == lines.size());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid() && QFile::exists(QStringLiteral(KENRO_EXECUTABLE)));
        if (KenroTest::testDataPath().isEmpty())
            return;
        m_game = KenroTest::testDataPath() + u"/game"_s;
        Result const info = run({u"info"_s, u"--json"_s, m_game});
        QVERIFY2(info.code == 0 && info.err.isEmpty(), qPrintable(info.err));
        m_report = info.json();
    }

    void gameFolder()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const game = m_game + u'/';
        QCOMPARE(fields(m_report, "kind,engine"), u"game|IKEMEN GO"_s);
        QStringList paths;
        QSet<QString> inProjects, others;
        for (QJsonValue const &project : at(m_report, "projects").toArray()) {
            paths += fields(project, "type,path").remove(game);
            for (QJsonValue const &file : at(project, "files").toArray()) {
                inProjects.insert(at(file, "path").toString());
                if (at(file, "shared").toBool())
                    paths += u"shared "_s + at(file, "path").toString().remove(game);
            }
        }
        QCOMPARE(paths.join(u"; "_s),
                 u"character|chars/kfm/kfm.def; shared data/common1.cns; "
                 "character|chars/training/Training.def; shared data/common1.cns; "
                 "stage|stages/kfm.def; stage|stages/stage0.def"_s);
        checkCounts(m_report);
        for (QJsonValue const &file : at(m_report, "files").toArray())
            others.insert(at(file, "path").toString());
        QVERIFY(others.contains(game + u"data/fight.sff"_s) && !inProjects.intersects(others));
        qsizetype all = at(m_report, "skipped").toArray().size() +
            at(m_report, "otherFiles").toInt() + inProjects.size() + others.size();
        for (QDirIterator walk(m_game, QDir::Files, QDirIterator::Subdirectories); walk.hasNext();
             walk.next())
            --all;
        QCOMPARE(all, 0);
        // The files are listed only with --all.
        Result const text = run({u"info"_s, m_game});
        QVERIFY2(text.out.startsWith(m_game + u": IKEMEN GO game, 2 characters, 2 stages\n"_s) &&
                     text.out.count(u'\n') < 16 && !text.out.contains(u"chars/kfm/kfm.sff:"_s),
                 qPrintable(text.out));
        for (QJsonValue const &project : at(m_report, "projects").toArray())
            QVERIFY2(text.out.contains(projectLine(project, m_game)),
                     qPrintable(projectLine(project, m_game) + text.out));
        Result const detail = run({u"info"_s, u"--all"_s, m_game});
        for (QString const &path : inProjects + others)
            QVERIFY2(detail.out.contains(u"  "_s + path.mid(game.size()) + u':'), qPrintable(path));
        checkAgrees(m_game, run({u"check"_s, m_game}), m_report);
    }

    void projectsAlone_data()
    {
        QTest::addColumn<QString>("path"); // below the game
        QTest::addColumn<int>("index"); // of the project in the game's report
        QTest::addColumn<int>("otherFiles"); // beside it, of no content kind
        QTest::addColumn<bool>("relative"); // given from within the game
        addRow("kfm folder", "chars/kfm", 0, 1, false);
        addRow("kfm.def", "chars/kfm/kfm.def", 0, 0, false);
        addRow("training folder", "chars/training", 1, 0, false);
        addRow("stage kfm.def", "stages/kfm.def", 2, 0, false);
        addRow("stage0.def", "stages/stage0.def", 3, 0, false);
        addRow("relative folder", "chars/kfm", 0, 1, true);
        addRow("relative definition", "stages/kfm.def", 2, 0, true);
    }

    void projectsAlone()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, path);
        QFETCH(int, index);
        QFETCH(int, otherFiles);
        QFETCH(bool, relative);
        QString const target = relative ? path : m_game + u'/' + path;
        QString const folder = relative ? m_game : QString();
        // Files are shown relative to the folder the tool runs in.
        QByteArray text = QJsonDocument(at(m_report, "projects")[index].toObject()).toJson();
        if (relative)
            text.replace(m_game.toUtf8() + '/', "");
        QJsonObject const expected = QJsonDocument::fromJson(text).object();
        Result const info = run({u"info"_s, u"--json"_s, target}, folder);
        QCOMPARE(fields(info.json(), "kind,otherFiles,files"), u"projects|%1|[]"_s.arg(otherFiles));
        QCOMPARE(at(info.json(), "projects").toArray(), QJsonArray{expected});
        if (!relative)
            checkCounts(info.json());
        Result const shown = run({u"info"_s, target}, folder);
        QString const base = path.endsWith(".def"_L1) ? QFileInfo(target).path() : target;
        QVERIFY2(info.code == 0 && shown.code == 0 &&
                     shown.out.contains(projectLine(expected, base)),
                 qPrintable(shown.out));
        for (QJsonValue const &file : at(expected, "files").toArray()) {
            QString const name = at(file, "path").toString();
            QString const line = name.startsWith(base + u'/') ? name.mid(base.size() + 1) : name;
            QVERIFY2(shown.out.contains(u"    "_s + line + u':'), qPrintable(line + shown.out));
        }
        checkAgrees(target, run({u"check"_s, target}, folder), info.json(), folder);
    }

    // The common states are the game's, so no game around the sample character is a note.
    void sampleCharacter_data()
    {
        QTest::addColumn<QString>("file"); // where the diagnostic stands
        QTest::addColumn<QString>("marker"); // what its line holds
        QTest::addColumn<QString>("text"); // how the line goes on after the line number
        QTest::addColumn<int>("errors"); // of the folder; its definition alone has one at most
        QTest::addColumn<int>("files");
        addRow("whole", "sample.def", "stcommon", "1: note: The file 'common1.cns' named by", 0, 7);
        addRow("script", "sample.cns", "run.fwd = \"", "11: error: The string is not closed", 1, 7);
        addRow("missing", "sample.def", "sound =", "1: error: The file 'sample.snd' named by", 1,
               6);
        addRow("damaged", "sample.def", "sprite =", "1: error: The file 'sample.sff' named by", 2,
               6);
    }

    void sampleCharacter()
    {
        QFETCH(QString, file);
        QFETCH(QString, marker);
        QFETCH(QString, text);
        QFETCH(int, errors);
        QFETCH(int, files);
        QString const fault = QString::fromLatin1(QTest::currentDataTag());
        QString const folder = m_dir.filePath(fault), sff = folder + u"/sample.sff"_s;
        QString const cns = folder + u"/sample.cns"_s;
        QVERIFY(KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), folder));
        if (fault == "script"_L1)
            QVERIFY(KenroTest::writeFile(cns, readFile(cns).replace("run.fwd = ", "run.fwd = \"")));
        if (fault == "missing"_L1)
            QVERIFY(QFile::remove(folder + u"/sample.snd"_s));
        if (fault == "damaged"_L1)
            QVERIFY(KenroTest::writeFile(sff, readFile(sff).left(100)));
        QByteArray const bytes = readFile(folder + u'/' + file);
        qsizetype const at = bytes.indexOf(marker.toUtf8());
        QString const line =
            u"\n%1/%2:%3:%4"_s.arg(folder, file).arg(bytes.left(at).count('\n') + 1).arg(text);
        for (QString const &path : {folder, folder + u"/sample.def"_s}) {
            // A definition given alone is examined without the damaged archive beside it.
            int const found = path == folder ? errors : qMin(errors, 1);
            Result const check = run({u"check"_s, path});
            QVERIFY2(at >= 0 && (u'\n' + check.out).contains(line) &&
                         check.out.count(": error: "_L1) == found &&
                         check.out.endsWith(u"%1: %2, 0 warnings, 1 note\n"_s.arg(
                             path, plural(found, u"error"_s))),
                     qPrintable(line + check.out));
            QVERIFY(fault != "damaged"_L1 || path != folder ||
                    check.out.contains(sff + u":1:1: error: not a valid SFF sprite archive"_s));
            QJsonObject const report = run({u"info"_s, u"--json"_s, path}).json();
            QCOMPARE(fields(report, "errors,projects/0/name"), u"%1|Kenro Sample"_s.arg(found));
            QCOMPARE(KenroTest::at(report, "projects/0/files").toArray().size(), files);
            checkCounts(report);
            checkAgrees(path, check, report);
        }
    }

    void gameWithSharedStates()
    {
        QString const game = m_dir.filePath(u"game"_s);
        QVERIFY(
            KenroTest::writeFile(game + u"/data/system.def"_s, "[Files]\n") &&
            KenroTest::writeFile(game + u"/data/common1.cns"_s, "[Statedef 5150]\ntype = \"L\n") &&
            KenroTest::writeFile(game + u"/chars/empty/readme.txt"_s, "none"));
        QVERIFY(KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), game + u"/chars/one"_s) &&
                KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), game + u"/chars/two"_s));
        Result const check = run({u"check"_s, game});
        QVERIFY2(check.out.count(u"/data/common1.cns:2:8: error: "_s) == 1 &&
                     !check.out.contains(u": note: "_s) &&
                     check.out.contains(
                         game + u"/chars/empty:1:1: warning: no definition of a project here"_s) &&
                     check.out.endsWith(u"%1: 1 error, 1 warning\n"_s.arg(game)),
                 qPrintable(check.out));
        // Each character counts the fault of the states it holds; the game counts it once.
        QJsonObject const report = run({u"info"_s, u"--json"_s, game}).json();
        QCOMPARE(fields(report, "kind,errors,projects/0/errors,projects/1/errors,projects/2"),
                 u"game|1|1|1|"_s);
        QCOMPARE(at(report, "projects/0/files").toArray().size() +
                     at(report, "projects/1/files").toArray().size(),
                 16);
        checkCounts(report);
        checkAgrees(game, check, report);
    }
};

QTEST_GUILESS_MAIN(KenroProjectsTest)
#include "tst_kenroprojects.moc"
