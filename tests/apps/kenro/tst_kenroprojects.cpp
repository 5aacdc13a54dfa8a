#include "testdata.h"
#include "toolrun.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using KenroTest::Result;

namespace {

quint32 le32(QByteArray const &bytes, int at)
{
    if (bytes.size() < at + 4)
        return 0;
    auto const *b = reinterpret_cast<unsigned char const *>(bytes.constData() + at);
    return quint32(b[0]) | quint32(b[1]) << 8 | quint32(b[2]) << 16 | quint32(b[3]) << 24;
}

// What the header of an SFF archive announces; -1 where its version says nothing.
struct SffHeader
{
    int sprites = -1;
    int palettes = -1;
};

SffHeader sffHeader(QString const &path)
{
    QByteArray const bytes = KenroTest::readFile(path);
    if (!bytes.startsWith("ElecbyteSpr") || bytes.size() < 0x34)
        return {};
    // Version 1 counts its images at 0x14; version 2 its sprites at 0x28 and palettes at 0x30.
    if (bytes.at(15) == 1)
        return {int(le32(bytes, 0x14)), -1};
    return {int(le32(bytes, 0x28)), int(le32(bytes, 0x30))};
}

// The sound count of an SND bank's header.
int sndSounds(QString const &path)
{
    QByteArray const bytes = KenroTest::readFile(path);
    return bytes.startsWith("ElecbyteSnd") ? int(le32(bytes, 0x10)) : -1;
}

// The "[Begin Action" headings of a text.
int actionHeadings(QString const &path)
{
    int count = 0;
    for (QByteArray const &line : KenroTest::readFile(path).split('\n'))
        count += line.trimmed().toLower().startsWith("[begin action") ? 1 : 0;
    return count;
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

QJsonObject parsed(Result const &result)
{
    QJsonParseError error;
    QJsonObject const object = QJsonDocument::fromJson(result.out.toUtf8(), &error).object();
    return error.error == QJsonParseError::NoError ? object : QJsonObject();
}

QString plural(int count, char const *word)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(QLatin1String(word),
                                                    count == 1 ? QString() : QStringLiteral("s"));
}

// The line that `info` shows for \a project, its path relative to \a base.
QString projectLine(QJsonObject const &project, QString const &base)
{
    QJsonObject const totals = project.value(QStringLiteral("totals")).toObject();
    QString const tally = plural(project.value(QStringLiteral("errors")).toInt(), "error") +
        QStringLiteral(", ") + plural(project.value(QStringLiteral("warnings")).toInt(), "warning");
    int const notes = project.value(QStringLiteral("notes")).toInt();
    return QStringLiteral("  %1: %2 \"%3\" by %4, %5, %6, %7, %8, %9; %10%11\n")
        .arg(project.value(QStringLiteral("path")).toString().mid(base.size() + 1),
             project.value(QStringLiteral("type")).toString(),
             project.value(QStringLiteral("name")).toString(),
             project.value(QStringLiteral("author")).toString(),
             plural(int(project.value(QStringLiteral("files")).toArray().size()), "file"),
             plural(totals.value(QStringLiteral("actions")).toInt(), "action"),
             plural(totals.value(QStringLiteral("sprites")).toInt(), "sprite"),
             plural(totals.value(QStringLiteral("palettes")).toInt(), "palette"),
             plural(totals.value(QStringLiteral("sounds")).toInt(), "sound"))
        .arg(tally, notes ? QStringLiteral(", ") + plural(notes, "note") : QString());
}

QStringList diagnosticLines(QString const &out)
{
    QStringList lines = out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (!lines.isEmpty())
        lines.removeLast(); // the tally
    return lines;
}

} // namespace

class KenroProjectsTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QTemporaryDir m_config;

    Result run(QStringList const &arguments) const
    {
        return KenroTest::kenro(arguments, m_config.path());
    }

    // A copy of the sample character in a folder of its own.
    QString sampleCopy(QString const &name) const
    {
        QString const folder = m_dir.filePath(name);
        return KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), folder) ? folder : QString();
    }

    // The counts of every file and project of \a report against the files' own headers.
    void checkCounts(QJsonObject const &report)
    {
        QJsonObject sum;
        int actions = 0, sprites = 0, palettes = 0, sounds = 0;
        for (QJsonValue const &value : report.value(QStringLiteral("projects")).toArray()) {
            QJsonObject const project = value.toObject();
            int projectActions = 0, projectSprites = 0, projectPalettes = 0, projectSounds = 0;
            for (QJsonValue const &fileValue : project.value(QStringLiteral("files")).toArray()) {
                QJsonObject const file = fileValue.toObject();
                QString const path = file.value(QStringLiteral("path")).toString();
                QString const type = file.value(QStringLiteral("type")).toString();
                QJsonObject const counts = file.value(QStringLiteral("counts")).toObject();
                QVERIFY2(QFile::exists(path), qPrintable(path));
                if (type == QLatin1String("Sprites")) {
                    SffHeader const header = sffHeader(path);
                    QCOMPARE(counts.value(QStringLiteral("sprites")).toInt(), header.sprites);
                    // Palette files (.act) that a character names may join its archive's.
                    int const shown = counts.value(QStringLiteral("palettes")).toInt();
                    bool const withPaletteFiles = project.value(QStringLiteral("fileTypes"))
                                                      .toObject()
                                                      .contains(QStringLiteral("Palettes"));
                    if (header.palettes >= 0 && !withPaletteFiles)
                        QCOMPARE(shown, header.palettes);
                    else if (header.palettes >= 0)
                        QVERIFY(shown >= header.palettes);
                    projectSprites += header.sprites;
                    projectPalettes += counts.value(QStringLiteral("palettes")).toInt();
                } else if (type == QLatin1String("Sounds")) {
                    QCOMPARE(counts.value(QStringLiteral("sounds")).toInt(), sndSounds(path));
                    projectSounds += sndSounds(path);
                } else if (type == QLatin1String("Animations")) {
                    QCOMPARE(counts.value(QStringLiteral("actions")).toInt(), actionHeadings(path));
                    projectActions += actionHeadings(path);
                }
            }
            QJsonObject const totals = project.value(QStringLiteral("totals")).toObject();
            QCOMPARE(totals.value(QStringLiteral("actions")).toInt(), projectActions);
            QCOMPARE(totals.value(QStringLiteral("sprites")).toInt(), projectSprites);
            QCOMPARE(totals.value(QStringLiteral("palettes")).toInt(), projectPalettes);
            QCOMPARE(totals.value(QStringLiteral("sounds")).toInt(), projectSounds);
            actions += projectActions;
            sprites += projectSprites;
            palettes += projectPalettes;
            sounds += projectSounds;
        }
        QJsonObject const totals = report.value(QStringLiteral("totals")).toObject();
        QCOMPARE(totals.value(QStringLiteral("actions")).toInt(), actions);
        QCOMPARE(totals.value(QStringLiteral("sprites")).toInt(), sprites);
        QCOMPARE(totals.value(QStringLiteral("palettes")).toInt(), palettes);
        QCOMPARE(totals.value(QStringLiteral("sounds")).toInt(), sounds);
    }

    // `check` prints each diagnostic as file:line:column and ends with the tally of \a report.
    void checkAgrees(QString const &path, QJsonObject const &report, int code)
    {
        Result const check = run({QStringLiteral("check"), path});
        QCOMPARE(check.code, code);
        QCOMPARE(check.err, QString());
        static QRegularExpression const pattern(
            QStringLiteral("^(.+):(\\d+):(\\d+): (error|warning|note): .+$"));
        QStringList const lines = diagnosticLines(check.out);
        int errors = 0;
        for (QString const &line : lines) {
            QRegularExpressionMatch const match = pattern.match(line);
            QVERIFY2(match.hasMatch(), qPrintable(line));
            QVERIFY2(QFile::exists(match.captured(1)), qPrintable(line));
            QVERIFY(match.captured(2).toInt() > 0 && match.captured(3).toInt() > 0);
            errors += match.captured(4) == QLatin1String("error");
        }
        QCOMPARE(errors, report.value(QStringLiteral("errors")).toInt());
        int const warnings = report.value(QStringLiteral("warnings")).toInt();
        int const notes = report.value(QStringLiteral("notes")).toInt();
        QCOMPARE(lines.size(), errors + warnings + notes);
        QVERIFY2(check.out.endsWith(
                     QStringLiteral("%1: %2, %3%4\n")
                         .arg(path, plural(errors, "error"), plural(warnings, "warning"),
                              notes ? QStringLiteral(", ") + plural(notes, "note") : QString())),
                 qPrintable(check.out));

        Result const json = run({QStringLiteral("check"), QStringLiteral("--json"), path});
        QCOMPARE(json.code, code);
        QJsonObject const checked = parsed(json);
        QCOMPARE(checked.value(QStringLiteral("diagnostics")).toArray().size(), lines.size());
        QCOMPARE(checked.value(QStringLiteral("errors")).toInt(), errors);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(QFile::exists(QStringLiteral(KENRO_EXECUTABLE)));
    }

    void gameFolder()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const game = data + QStringLiteral("/game");
        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), game});
        QCOMPARE(info.code, 0);
        QCOMPARE(info.err, QString());
        QJsonObject const report = parsed(info);
        QCOMPARE(report.value(QStringLiteral("kind")).toString(), QStringLiteral("game"));
        QCOMPARE(report.value(QStringLiteral("engine")).toString(), QStringLiteral("IKEMEN GO"));
        QJsonArray const projects = report.value(QStringLiteral("projects")).toArray();
        QStringList paths, types;
        for (QJsonValue const &project : projects) {
            paths.append(project.toObject().value(QStringLiteral("path")).toString());
            types.append(project.toObject().value(QStringLiteral("type")).toString());
        }
        QCOMPARE(paths,
                 (QStringList{game + QStringLiteral("/chars/kfm/kfm.def"),
                              game + QStringLiteral("/chars/training/Training.def"),
                              game + QStringLiteral("/stages/kfm.def"),
                              game + QStringLiteral("/stages/stage0.def")}));
        QCOMPARE(types,
                 (QStringList{QStringLiteral("character"), QStringLiteral("character"),
                              QStringLiteral("stage"), QStringLiteral("stage")}));
        checkCounts(report);
        if (QTest::currentTestFailed())
            return;

        // Kung Fu Man: what his definition and storyboards name, the common states from data/.
        QJsonObject const kfm = projects.at(0).toObject();
        QString const chars = game + QStringLiteral("/chars/kfm/");
        QJsonObject const totals = kfm.value(QStringLiteral("totals")).toObject();
        QCOMPARE(totals.value(QStringLiteral("actions")).toInt(),
                 actionHeadings(chars + QStringLiteral("kfm.air")));
        QCOMPARE(totals.value(QStringLiteral("sprites")).toInt(),
                 sffHeader(chars + QStringLiteral("kfm.sff")).sprites +
                     sffHeader(chars + QStringLiteral("intro.sff")).sprites +
                     sffHeader(chars + QStringLiteral("ending.sff")).sprites);
        QCOMPARE(sffHeader(chars + QStringLiteral("kfm.sff")).sprites, 281);
        QCOMPARE(totals.value(QStringLiteral("sounds")).toInt(),
                 sndSounds(chars + QStringLiteral("kfm.snd")));
        QStringList files, shared;
        for (QJsonValue const &value : kfm.value(QStringLiteral("files")).toArray()) {
            QString const path = value.toObject().value(QStringLiteral("path")).toString();
            files.append(QFileInfo(path).fileName());
            if (value.toObject().value(QStringLiteral("shared")).toBool())
                shared.append(path);
        }
        files.sort();
        QCOMPARE(files,
                 (QStringList{QStringLiteral("common1.cns"), QStringLiteral("ending.def"),
                              QStringLiteral("ending.sff"), QStringLiteral("intro.def"),
                              QStringLiteral("intro.sff"), QStringLiteral("kfm.ai"),
                              QStringLiteral("kfm.air"), QStringLiteral("kfm.cmd"),
                              QStringLiteral("kfm.cns"), QStringLiteral("kfm.def"),
                              QStringLiteral("kfm.sff"), QStringLiteral("kfm.snd")}));
        QCOMPARE(shared, QStringList{game + QStringLiteral("/data/common1.cns")});

        // The training character names a file that is not there: an error on its line.
        QJsonArray const own =
            projects.at(1).toObject().value(QStringLiteral("diagnostics")).toArray();
        QCOMPARE(own.size(), 1);
        QString const training = game + QStringLiteral("/chars/training/Training.def");
        QCOMPARE(own.at(0).toObject().value(QStringLiteral("file")).toString(), training);
        QCOMPARE(own.at(0).toObject().value(QStringLiteral("line")).toInt(),
                 lineWith(training, "config.txt"));
        QCOMPARE(own.at(0).toObject().value(QStringLiteral("severity")).toString(),
                 QStringLiteral("error"));

        // Each file of the folder is in a project, or read on its own, or counted as no content.
        QSet<QString> inProjects;
        for (QJsonValue const &project : projects) {
            for (QJsonValue const &file :
                 project.toObject().value(QStringLiteral("files")).toArray())
                inProjects.insert(file.toObject().value(QStringLiteral("path")).toString());
        }
        QSet<QString> others;
        for (QJsonValue const &file : report.value(QStringLiteral("files")).toArray())
            others.insert(file.toObject().value(QStringLiteral("path")).toString());
        QVERIFY(others.contains(game + QStringLiteral("/data/fight.sff")));
        QVERIFY(!inProjects.intersects(others));
        int all = 0;
        for (QDirIterator walk(game, QDir::Files, QDirIterator::Subdirectories); walk.hasNext();
             walk.next())
            ++all;
        QCOMPARE(int(inProjects.size() + others.size()) +
                     report.value(QStringLiteral("otherFiles")).toInt() +
                     int(report.value(QStringLiteral("skipped")).toArray().size()),
                 all);

        // Text: a line per project with the same numbers, and the files only with --all.
        Result const text = run({QStringLiteral("info"), game});
        QCOMPARE(text.code, 0);
        QVERIFY2(text.out.startsWith(game +
                                     QStringLiteral(": IKEMEN GO game, 2 characters, "
                                                    "2 stages\n")),
                 qPrintable(text.out));
        for (QJsonValue const &project : projects)
            QVERIFY2(text.out.contains(projectLine(project.toObject(), game)),
                     qPrintable(projectLine(project.toObject(), game) + text.out));
        QVERIFY(!text.out.contains(QStringLiteral("chars/kfm/kfm.sff:")));
        QVERIFY(text.out.split(QLatin1Char('\n')).size() < 16);
        Result const detail = run({QStringLiteral("info"), QStringLiteral("--all"), game});
        QCOMPARE(detail.code, 0);
        for (QString const &path : std::as_const(inProjects) + std::as_const(others))
            QVERIFY2(detail.out.contains(QStringLiteral("  ") + path.mid(game.size() + 1) +
                                         QLatin1Char(':')),
                     qPrintable(path));

        checkAgrees(game, report, 1);
    }

    void projectsAlone_data()
    {
        QTest::addColumn<QString>("path"); // below the game
        QTest::addColumn<int>("index"); // of the project in the game's report
        QTest::addColumn<int>("otherFiles"); // beside it, of no content kind
        QTest::newRow("kfm folder") << QStringLiteral("chars/kfm") << 0 << 1;
        QTest::newRow("kfm.def") << QStringLiteral("chars/kfm/kfm.def") << 0 << 0;
        QTest::newRow("training folder") << QStringLiteral("chars/training") << 1 << 0;
        QTest::newRow("stage kfm.def") << QStringLiteral("stages/kfm.def") << 2 << 0;
        QTest::newRow("stage0.def") << QStringLiteral("stages/stage0.def") << 3 << 0;
    }

    void projectsAlone()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, path);
        QFETCH(int, index);
        QFETCH(int, otherFiles);
        QString const game = data + QStringLiteral("/game");
        QJsonObject const whole =
            parsed(run({QStringLiteral("info"), QStringLiteral("--json"), game}));
        QJsonObject const expected =
            whole.value(QStringLiteral("projects")).toArray().at(index).toObject();
        QVERIFY(!expected.isEmpty());

        // Alone, it is what it is in its game: the same files, counts and diagnostics.
        QString const target = game + QLatin1Char('/') + path;
        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), target});
        QCOMPARE(info.code, 0);
        QJsonObject const report = parsed(info);
        QCOMPARE(report.value(QStringLiteral("kind")).toString(), QStringLiteral("projects"));
        QJsonArray const projects = report.value(QStringLiteral("projects")).toArray();
        QCOMPARE(projects.size(), 1);
        QCOMPARE(projects.at(0).toObject(), expected);
        QCOMPARE(report.value(QStringLiteral("otherFiles")).toInt(), otherFiles);
        QCOMPARE(report.value(QStringLiteral("files")).toArray().size(), 0);
        checkCounts(report);

        // The text lists every file.
        Result const text = run({QStringLiteral("info"), target});
        QCOMPARE(text.code, 0);
        QString const base = QFileInfo(target).isDir() ? target : QFileInfo(target).path();
        QVERIFY2(text.out.contains(projectLine(expected, base)), qPrintable(text.out));
        for (QJsonValue const &file : expected.value(QStringLiteral("files")).toArray()) {
            QString const name = file.toObject().value(QStringLiteral("path")).toString();
            QString const shown =
                name.startsWith(base + QLatin1Char('/')) ? name.mid(base.size() + 1) : name;
            QVERIFY2(text.out.contains(QStringLiteral("    ") + shown + QLatin1Char(':')),
                     qPrintable(shown + QLatin1Char('\n') + text.out));
        }
        checkAgrees(target, report, expected.value(QStringLiteral("errors")).toInt() ? 1 : 0);
    }

    void sampleIsClean_data()
    {
        QTest::addColumn<QString>("path");
        QString const sample = QStringLiteral(KENRO_SAMPLE_DIR);
        QTest::newRow("folder") << sample;
        QTest::newRow("definition") << sample + QStringLiteral("/sample.def");
    }

    void sampleIsClean()
    {
        QFETCH(QString, path);
        QString const sample = QStringLiteral(KENRO_SAMPLE_DIR);
        QString const definition = sample + QStringLiteral("/sample.def");
        // Its common states are the game's, and no game is around it: a note, no fault.
        Result const check = run({QStringLiteral("check"), path});
        QCOMPARE(check.code, 0);
        QCOMPARE(check.out,
                 QStringLiteral("%1:%2:1: note: The file 'common1.cns' named by 'stcommon' is "
                                "looked for in the game's data folder; no game folder lies "
                                "around this character\n%3: 0 errors, 0 warnings, 1 note\n")
                     .arg(definition)
                     .arg(lineWith(definition, "stcommon"))
                     .arg(path));

        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), path});
        QCOMPARE(info.code, 0);
        QJsonObject const report = parsed(info);
        QCOMPARE(report.value(QStringLiteral("notes")).toInt(), 1);
        QJsonObject const project =
            report.value(QStringLiteral("projects")).toArray().at(0).toObject();
        QCOMPARE(project.value(QStringLiteral("name")).toString(), QStringLiteral("Kenro Sample"));
        QCOMPARE(project.value(QStringLiteral("files")).toArray().size(), 7);
        QJsonObject const totals = project.value(QStringLiteral("totals")).toObject();
        QCOMPARE(totals.value(QStringLiteral("sprites")).toInt(),
                 sffHeader(sample + QStringLiteral("/sample.sff")).sprites);
        QCOMPARE(totals.value(QStringLiteral("sounds")).toInt(),
                 sndSounds(sample + QStringLiteral("/sample.snd")));
        QCOMPARE(totals.value(QStringLiteral("actions")).toInt(),
                 actionHeadings(sample + QStringLiteral("/sample.air")));
        checkCounts(report);
    }

    void faultsOfACharacter_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("file"); // where the diagnostic stands
        QTest::addColumn<QByteArray>("marker"); // what its line holds
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("errors");
        QTest::newRow("broken script line")
            << QStringLiteral("script") << QStringLiteral("sample.cns")
            << QByteArray("run.fwd = \"") << 11 << QStringLiteral("The string is not closed") << 1;
        QTest::newRow("missing sound bank")
            << QStringLiteral("missing") << QStringLiteral("sample.def")
            << QByteArray("sound = sample.snd") << 1
            << QStringLiteral("The file 'sample.snd' named by 'sound' does not exist") << 1;
        // The definition says that the archive does not read, the archive says why.
        QTest::newRow("damaged sprite archive")
            << QStringLiteral("damaged") << QStringLiteral("sample.def")
            << QByteArray("sprite = sample.sff") << 1
            << QStringLiteral("The file 'sample.sff' named by 'sprite' could not be read") << 2;
    }

    void faultsOfACharacter()
    {
        QFETCH(QString, fault);
        QFETCH(QString, file);
        QFETCH(QByteArray, marker);
        QFETCH(int, column);
        QFETCH(QString, text);
        QFETCH(int, errors);
        QString const folder = sampleCopy(fault);
        QVERIFY(!folder.isEmpty());
        if (fault == QLatin1String("script")) {
            QString const cns = folder + QStringLiteral("/sample.cns");
            QByteArray bytes = KenroTest::readFile(cns);
            QVERIFY(bytes.contains("run.fwd = 4.6, 0"));
            bytes.replace("run.fwd = 4.6, 0", "run.fwd = \"4.6, 0");
            QVERIFY(KenroTest::writeFile(cns, bytes));
        } else if (fault == QLatin1String("missing")) {
            QVERIFY(QFile::remove(folder + QStringLiteral("/sample.snd")));
        } else {
            QString const sff = folder + QStringLiteral("/sample.sff");
            QVERIFY(KenroTest::writeFile(sff, KenroTest::readFile(sff).left(100)));
        }
        QString const where = folder + QLatin1Char('/') + file;
        int const line = lineWith(where, marker);
        QVERIFY(line > 0);
        QString const expected =
            QStringLiteral("%1:%2:%3: error: %4").arg(where).arg(line).arg(column).arg(text);

        for (QString const &path : {folder, folder + QStringLiteral("/sample.def")}) {
            Result const check = run({QStringLiteral("check"), path});
            QCOMPARE(check.code, 1);
            QStringList const lines = diagnosticLines(check.out);
            QVERIFY2(lines.contains(expected),
                     qPrintable(expected + QLatin1Char('\n') + check.out));
            // A damaged archive beside the project is read on its own too, and says why;
            // a definition given alone is examined without its folder.
            int const found = int(check.out.count(QStringLiteral(": error: ")));
            QCOMPARE(found, path == folder ? errors : 1);
            if (fault == QLatin1String("damaged") && path == folder)
                QVERIFY2(check.out.contains(folder +
                                            QStringLiteral("/sample.sff:1:1: error: not "
                                                           "a valid SFF sprite archive")),
                         qPrintable(check.out));
            QVERIFY(check.out.endsWith(
                QStringLiteral("%1: %2, 0 warnings, 1 note\n").arg(path, plural(found, "error"))));
            QJsonObject const report =
                parsed(run({QStringLiteral("info"), QStringLiteral("--json"), path}));
            QCOMPARE(report.value(QStringLiteral("errors")).toInt(), found);
            checkAgrees(path, report, 1);
        }
    }

    void gameWithSharedStates()
    {
        // Two characters of one game share its common states, which have a fault.
        QString const game = m_dir.filePath(QStringLiteral("game"));
        QVERIFY(KenroTest::writeFile(game + QStringLiteral("/data/system.def"), "[Files]\n"));
        QVERIFY(KenroTest::writeFile(game + QStringLiteral("/data/common1.cns"),
                                     "[Statedef 5150]\ntype = \"L\n"));
        QVERIFY(KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR),
                                    game + QStringLiteral("/chars/one")));
        QVERIFY(KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR),
                                    game + QStringLiteral("/chars/two")));
        QVERIFY(KenroTest::writeFile(game + QStringLiteral("/chars/empty/readme.txt"), "none"));

        Result const check = run({QStringLiteral("check"), game});
        QCOMPARE(check.code, 1);
        QCOMPARE(check.out.count(QStringLiteral("/data/common1.cns:2:8: error: ")), 1);
        // Inside a game the common states are found: no note on them.
        QVERIFY2(!check.out.contains(QStringLiteral(": note: ")), qPrintable(check.out));
        QVERIFY2(check.out.contains(game +
                                    QStringLiteral("/chars/empty:1:1: warning: no "
                                                   "definition of a project here")),
                 qPrintable(check.out));
        QVERIFY(check.out.endsWith(QStringLiteral("%1: 1 error, 1 warning\n").arg(game)));

        QJsonObject const report =
            parsed(run({QStringLiteral("info"), QStringLiteral("--json"), game}));
        QCOMPARE(report.value(QStringLiteral("kind")).toString(), QStringLiteral("game"));
        QJsonArray const projects = report.value(QStringLiteral("projects")).toArray();
        QCOMPARE(projects.size(), 2);
        for (QJsonValue const &project : projects) {
            // Each character counts the fault of the file it holds; the game counts it once.
            QCOMPARE(project.toObject().value(QStringLiteral("errors")).toInt(), 1);
            QCOMPARE(project.toObject().value(QStringLiteral("files")).toArray().size(), 8);
        }
        QCOMPARE(report.value(QStringLiteral("errors")).toInt(), 1);
        checkCounts(report);
        checkAgrees(game, report, 1);
    }
};

QTEST_GUILESS_MAIN(KenroProjectsTest)
#include "tst_kenroprojects.moc"
