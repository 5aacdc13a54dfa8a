#include "cliinterface.h"
#include "dialogguard.h"
#include "progressbar.h"
#include "testdata.h"

#include <kenro/sound/soundcodecs.h>

#include <QApplication>
#include <QBuffer>
#include <QDirIterator>
#include <QFileDialog>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QtEndian>

#include <cmath>

#include <unistd.h>

using namespace Kenro;
using namespace Kenro::Cli;
using namespace Qt::Literals::StringLiterals;
using KenroTest::addRow;
using KenroTest::readFile;
using KenroTest::writeFile;

namespace {

// How a run of the tool ended: its exit code (-1 when it crashed or hung) and its streams.
struct Result
{
    int code = -1;
    QString out;
    QString err;
    QJsonObject json() const { return QJsonDocument::fromJson(out.toUtf8()).object(); }
};

// The value at \a path below \a value: keys and indexes joined by '/'.
QJsonValue at(QJsonValue value, QString const &path)
{
    for (QString const &step : path.split(u'/')) {
        bool index = false;
        int const i = step.toInt(&index);
        value = index ? value.toArray().at(i) : value.toObject().value(step);
    }
    return value;
}

// The values at \a paths (split at commas) below \a value, joined by '|';
// arrays and objects as compact JSON.
QString fields(QJsonValue const &value, QString const &paths)
{
    QStringList values;
    for (QString const &path : paths.split(u',')) {
        QJsonValue const field = at(value, path);
        QByteArray const json = QJsonDocument(QJsonArray{field}).toJson(QJsonDocument::Compact);
        values += field.isArray() || field.isObject() ? QString::fromUtf8(json.mid(1).chopped(1))
                                                      : field.toVariant().toString();
    }
    return values.join(u'|');
}

QByteArray tone(quint16 channels, quint32 frequency)
{
    SoundSample sample;
    sample.channels = channels;
    sample.bits = 16;
    sample.frequency = sample.frames = frequency;
    for (quint32 i = 0; i < frequency * channels; ++i) {
        auto const value = qint16(12000 * std::sin(2 * M_PI * 440 * (i / channels) / frequency));
        sample.data.append(char(value & 0xff)).append(char(value >> 8));
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    return saveSound(&buffer, "WAV", sample) ? bytes : QByteArray();
}

SoundSample readSound(QString const &path)
{
    QFile file(path);
    SoundSample sample;
    QByteArray const head = file.open(QIODevice::ReadOnly) ? file.peek(4) : QByteArray();
    QMap<QByteArray, char const *> const formats{
        {"RIFF", "WAV"}, {"fLaC", "FLAC"}, {"OggS", "OGG"}};
    loadSound(&file, formats.value(head, "MP3"), sample);
    return sample;
}

// 8- and 16-bit samples as the 24-bit values that hold them exactly.
QByteArray widenedTo24(SoundSample const &sample)
{
    if (sample.bits == 24)
        return sample.data;
    QByteArray wide;
    int const width = sample.bits / 8;
    auto const *in = reinterpret_cast<uchar const *>(sample.data.constData());
    for (qsizetype i = 0; i + width <= sample.data.size(); i += width) {
        qint32 const value =
            width == 1 ? (in[i] - 128) * 65536 : qint16(quint16(in[i] | in[i + 1] << 8)) * 256;
        wide.append(char(value)).append(char(value >> 8)).append(char(value >> 16));
    }
    return wide;
}

QStringList entries(QString const &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
}

QMap<QString, QByteArray> snapshot(QString const &folder)
{
    QMap<QString, QByteArray> files;
    for (QDirIterator walk(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                           QDirIterator::Subdirectories);
         walk.hasNext();) {
        QString const path = walk.next();
        files.insert(path, walk.fileInfo().isDir() ? "<folder>" : readFile(path));
    }
    return files;
}

// Files that differ between two folders or that only one has, the manifests aside.
QStringList differences(QString const &a, QString const &b)
{
    QStringList different;
    for (QString const &name : entries(a) + entries(b)) {
        if (name != "sprites.json"_L1 && !different.contains(name) &&
            readFile(a + u'/' + name) != readFile(b + u'/' + name))
            different.append(name);
    }
    return different;
}

// Sprites of a version 2 archive whose 8-bit data lacks its pixel count up front.
int wrongLengths(QString const &path)
{
    QByteArray const b = readFile(path);
    auto le = [&b](qint64 at, int size) {
        qint64 value = 0;
        for (int i = size - 1; at >= 0 && at + size <= b.size() && i >= 0; --i)
            value = value << 8 | uchar(b.at(at + i));
        return at >= 0 && at + size <= b.size() ? value : -1;
    };
    if (!b.startsWith("ElecbyteSpr") || b.size() < 64 || b.at(15) != 2)
        return -1;
    int wrong = 0;
    for (qint64 i = 0, node = le(36, 4); i < le(40, 4); ++i, node += 28) {
        qint64 const data = le(le(node + 26, 2) & 1 ? 60 : 52, 4) + le(node + 16, 4);
        bool const eightBit = QList<qint64>{2, 4, 10}.contains(le(node + 14, 1));
        wrong +=
            eightBit && le(node + 20, 4) > 0 && le(data, 4) != le(node + 4, 2) * le(node + 6, 2);
    }
    return wrong;
}

// Version 1.01 keeps palettes per sprite and links only on one palette.
QJsonArray comparable(QJsonObject const &manifest, bool throughVersion1)
{
    QJsonArray sprites{throughVersion1 ? QJsonValue() : manifest.value(u"palettes"_s)};
    for (QJsonValue const &sprite : manifest.value(u"sprites"_s).toArray()) {
        QJsonObject kept = sprite.toObject();
        for (QString const &key : {u"palette"_s, u"link"_s})
            kept.remove(throughVersion1 ? key : QString());
        sprites.append(kept);
    }
    return sprites;
}

// One line "kenro: <what>: <why>" on stderr and nothing on stdout.
bool failed(Result const &result, QString const &what, QString const &why)
{
    return result.out.isEmpty() && result.err.startsWith(u"kenro: %1: "_s.arg(what)) &&
        result.err.indexOf(u'\n') == result.err.size() - 1 && result.err.contains(why);
}

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

class KenroCliTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir; // inputs, which no failure may change
    QTemporaryDir m_work; // outputs
    QTemporaryDir m_config;
    QString m_game; // the real game folder
    QJsonObject m_report; // what `info --json` says of it

    QString path(QString const &name) const { return m_dir.filePath(name); }
    // Words starting "@" are inputs, "%" outputs, "$" test data.
    QStringList words(QString const &text) const
    {
        QStringList split = text.split(u' ', Qt::SkipEmptyParts);
        QMap<QChar, QString> const folders{
            {u'@', m_dir.path()}, {u'%', m_work.path()}, {u'$', KenroTest::testDataPath()}};
        for (QString &word : split) {
            if (folders.contains(word.at(0)))
                word = folders.value(word.at(0)) + u'/' + word.mid(1);
        }
        return split;
    }
    QString where(QString const &word) const { return words(word).value(0); }
    // The tool in \a folder, with an empty configuration of its own.
    Result run(QStringList const &arguments, QString const &folder = QString()) const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"KENRO_SETTINGS"_s);
        environment.insert(u"XDG_CONFIG_HOME"_s, m_config.path());
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folder);
        process.start(QStringLiteral(KENRO_EXECUTABLE), arguments);
        bool const finished = process.waitForFinished(120000);
        if (!finished) {
            process.kill();
            process.waitForFinished();
        }
        return {finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    Result run(QString const &arguments) const { return run(words(arguments)); }
    QString problem(QString const &arguments) const
    {
        Result const result = run(arguments);
        return result.code == 0 && result.err.isEmpty()
            ? QString()
            : u"kenro %1: exit %2, %3"_s.arg(arguments).arg(result.code).arg(result.err);
    }
    QJsonObject info(QString const &file) const { return run(u"info --json "_s + file).json(); }

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
        QVERIFY(m_dir.isValid() && m_work.isValid());
        QVERIFY(QFile::exists(QStringLiteral(KENRO_EXECUTABLE)));
        QByteArray const wav = tone(2, 22050), garbage = KenroTest::noise(4096, 11);
        QByteArrayList const made{wav,
                                  garbage,
                                  garbage,
                                  wav.left(30),
                                  "OggS" + garbage,
                                  wav,
                                  tone(1, 11025),
                                  QByteArray(700, 'x')};
        QStringList const names = u"tone.wav garbage.wav binary.def cut.wav junk.ogg wavs/1_0.wav "
                                  "wavs/0_5.wav short.act"_s.split(u' ');
        for (int i = 0; i < made.size(); ++i)
            QVERIFY(writeFile(path(names.at(i)), made.at(i)));
        // "bad" names files but defines no character, so it stays a plain folder.
        for (QString const &file :
             {u"kept.wav|the old content"_s, u"kept.flac|the old content"_s, u"empty.flac|"_s,
              u"sprites.sff|ElecbyteSpr"_s, u"notes.xyz|text"_s, u"wavs/readme.txt|not a sound"_s,
              u"bad/bad.cns|[Info\r\nname = \"open\r\nstray\r\n"_s, u"bad/s.sff|ElecbyteSpr"_s,
              u"bad/good.def|[Info]\r\nname = \"Sample\"\r\n[Files]\r\nspr = s.sff\r\n"_s,
              u"hero/hero.def|[Info]\nname = Hero\n[Files]\nst = hero.cns\n"_s,
              u"hero/hero.cns|[Statedef 0]\ntype = S\n"_s,
              uR"(sm/broken/sounds.json|{"sounds": [)"_s,
              uR"(sm/missing/sounds.json|{"sounds":[{"group":0,"number":0,"file":"0.wav"}]})"_s,
              uR"(sm/outside/sounds.json|{"sounds":[{"group":0,"number":0,"file":"../a"}]})"_s,
              uR"(pm/broken/sprites.json|{"sprites": [)"_s,
              uR"(pm/noversion/sprites.json|{"palettes": [], "sprites": []})"_s,
              u"pm/garbage/0-0.png|"_s + QString::fromLatin1("\x89PNG\r\n\x1a\n garbage"),
              uR"(sf/sprites.json|{"version": "2.01",
    "palettes": [{"group": 1, "number": 1, "colors": "000000ff00000000ff"}], "sprites": [
        {"group": 0, "number": 0, "x": 1, "y": -2, "palette": 0, "file": "0-0.png"},
        {"group": 0, "number": 1, "x": 0, "y": 0, "palette": 0, "file": "0-1.png", "link": 0},
        {"group": 5, "number": 0, "x": 3, "y": 4, "file": "5-0.png"}]})"_s})
            QVERIFY(writeFile(path(file.section(u'|', 0, 0)), file.section(u'|', 1).toLatin1()));
        for (QString const &row : // "folder|palettes|sprites" of a version 2.01 manifest
             {uR"(outside||{"group":0,"number":0,"x":0,"y":0,"file":"../x.png"})"_s,
              uR"(palette||{"group":0,"number":0,"x":0,"y":0,"palette":0})"_s,
              uR"(colors|{"group":0,"number":0,"colors":"1"}|)"_s,
              uR"(axis||{"group":0,"number":0,"x":40000,"y":0})"_s,
              uR"(link||{"group":0,"number":0,"x":0,"y":0,"link":0})"_s,
              uR"(missing||{"group":0,"number":0,"x":0,"y":0,"file":"0-0.png"})"_s,
              uR"(garbage||{"group":0,"number":0,"x":0,"y":0,"file":"0-0.png"})"_s})
            QVERIFY(writeFile(path(u"pm/%1/sprites.json"_s.arg(row.section(u'|', 0, 0))),
                              uR"({"version":"2.01","palettes":[%1],"sprites":[%2]})"_s
                                  .arg(row.section(u'|', 1, 1), row.section(u'|', 2))
                                  .toLatin1()));
        QImage indexed(4, 3, QImage::Format_Indexed8);
        indexed.setColorTable({qRgba(0, 0, 0, 0), qRgb(255, 0, 0), qRgb(0, 0, 255)});
        for (int i = 0; i < 12; ++i)
            indexed.setPixel(i % 4, i / 4, uint((i % 4 + i / 4) % 3));
        QImage color(2, 2, QImage::Format_ARGB32);
        color.fill(qRgba(10, 200, 30, 128));
        QVERIFY(indexed.save(path(u"sf/0-0.png"_s)) && indexed.save(path(u"sf/0-1.png"_s)) &&
                color.save(path(u"sf/5-0.png"_s)));
        QVERIFY(QDir().mkpath(path(u"folder"_s)) && QDir().mkpath(path(u"blocked/0-0.png"_s)));
        QCOMPARE(problem(u"sprites build @sf @tiny.sff"_s), QString());
        QCOMPARE(problem(u"sounds build @wavs @bank.snd"_s), QString());
        QByteArray archive = readFile(path(u"tiny.sff"_s));
        QVERIFY(writeFile(path(u"cut.sff"_s), archive.left(archive.size() / 2)));
        archive[36] = char(0x7F); // a sprite count far past the list
        QVERIFY(writeFile(path(u"count.sff"_s), archive));
        if (KenroTest::testDataPath().isEmpty())
            return;
        m_game = KenroTest::testDataPath() + u"/game"_s;
        Result const game = run({u"info"_s, u"--json"_s, m_game});
        QVERIFY2(game.code == 0 && game.err.isEmpty(), qPrintable(game.err));
        m_report = game.json();
    }

    void help()
    {
        Result const tool = run(u"--help"_s);
        QVERIFY(tool.code == 0 && tool.out.contains(u"Exit codes: 0 done, 1 check found errors"_s));
        QVERIFY(run(u"--version"_s).out.startsWith(u"kenro 0."_s));
        for (QString const command : {"info", "check", "convert", "sounds export", "sounds build",
                                      "sprites export", "sprites build"}) {
            Result const asked = run(command + u" --help"_s);
            QVERIFY2(tool.out.contains(u"\n  %1 "_s.arg(command)) && !asked.code &&
                         asked.err.isEmpty() && run(u"help "_s + command).out == asked.out &&
                         asked.out.startsWith(u"Usage: kenro %1 [options]"_s.arg(command)),
                     qPrintable(command));
        }
    }

    // A failure changes nothing: no output, not even half of one, and no target is replaced.
    void failures_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("what"); // empty where the failure is not one line
        QTest::addColumn<QString>("why");
        // "exit code, arguments | what | why"
        QStringList rows{
            u"2 |  | Usage: kenro"_s,
            u"2 paint | paint | unknown command"_s,
            u"2 sounds | sounds | needs a subcommand: export, build"_s,
            u"2 sounds play | sounds | needs a subcommand"_s,
            u"2 --colour | --colour | unknown option"_s,
            u"2 --settings | --settings | missing FILE"_s,
            u"3 --settings @none.ini info @tone.wav | @none.ini | no such settings file"_s,
            u"2 info --fast @tone.wav | info | unknown option 'fast'"_s,
            u"2 check | check | missing PATH"_s,
            u"2 convert @tone.wav @o.wav @tone.wav | convert | unexpected argument"_s,
            u"2 convert @tone.wav @o.wav --rate fast | --rate | expects a number"_s,
            u"2 convert @tone.wav @o.wav --rate=0 | --rate | expects a number"_s,
            u"2 convert @tone.wav @o.wav --channels=3 | --channels | expects 1 or 2"_s,
            u"2 convert @tone.wav @o.mp3 | @o.mp3 | MP3 can be read but not written"_s,
            u"2 convert @tone.wav @o.aiff | @o.aiff | cannot tell the format from the"_s,
            u"2 convert @tone.wav @o.wav --format=aiff | @o.wav | unknown format 'aiff'"_s,
            u"2 sprites build @sf @o.sff --compress=zip | --compress | 'zip' is none of rle8"_s,
            u"2 sprites build @sf @o.sff --version=3 | --version | '3' is none of"_s,
            u"2 sprites build @sf @o.sff --version=2.00 --compress=png | --compress | png needs"_s,
            u"2 sprites build @sf @o.sff --version=1 --compress=lz5 | --compress | every sprite"_s,
            u"3 convert @none.wav @kept.wav | @none.wav | no such file"_s,
            u"3 convert @folder @kept.wav | @folder | is a directory"_s,
            u"3 convert @notes.xyz @kept.wav | @notes.xyz | not a sound file of a known kind"_s,
            u"4 convert @tone.wav @tone.wav/o.flac | @tone.wav/o.flac | no such directory"_s,
            u"4 convert @tone.wav @none/o.flac | @none/o.flac | no such directory"_s,
            u"4 convert @tone.wav @folder | @folder | is a directory"_s,
            u"4 convert @tone.wav @kept.flac --rate 700000 | @kept.flac | the FLAC encoder"_s,
            u"3 sounds export @garbage.wav @o | @garbage.wav | not a valid SND sound bank"_s,
            u"3 sounds export @none.snd @o | @none.snd | no such file"_s,
            u"3 sounds export @folder @o | @folder | is a directory"_s,
            u"4 sounds export @bank.snd @tone.wav | @tone.wav | is a file, a folder was"_s,
            u"3 sounds build @none @o.snd | @none | no such folder"_s,
            u"3 sounds build @tone.wav @o.snd | @tone.wav | is a file, a folder was expected"_s,
            u"3 sounds build @folder @o.snd | @folder | no sounds"_s,
            u"3 sounds build @sm/broken @o.snd | @sm/broken/sounds.json | not valid JSON"_s,
            u"3 sounds build @sm/missing @o.snd | @sm/missing/0.wav | no such file"_s,
            u"3 sounds build @sm/outside @o.snd | @sm/outside/sounds.json | a plain \"file\""_s,
            u"4 sounds build @wavs @folder | @folder | is a directory"_s,
            u"4 sounds build @wavs @tone.wav/x.snd | @tone.wav/x.snd | no such directory"_s,
            u"3 sprites export @none.sff @o | @none.sff | no such file"_s,
            u"3 sprites export @folder @o | @folder | is a directory"_s,
            u"4 sprites export @tiny.sff @tone.wav | @tone.wav | is a file, a folder was"_s,
            u"4 sprites export @tiny.sff @blocked | @blocked/0-0.png | is a directory"_s,
            u"3 sprites build @none @o.sff | @none | no such folder"_s,
            u"3 sprites build @tiny.sff @o.sff | @tiny.sff | is a file, a folder was expected"_s,
            u"3 sprites build @folder @o.sff | @folder/sprites.json | no such file"_s,
            u"3 sprites build @pm/missing @o.sff | @pm/missing/0-0.png | no such file"_s,
            u"3 sprites build @pm/garbage @o.sff | @pm/garbage/0-0.png | not a PNG image"_s,
            u"3 sprites build @sf @o.sff --version=1 | @o.sff | sprite (group 5, number 0) is"_s,
            u"3 sprites build @sf @o.sff --version=2.00 | @o.sff | version 2.00 cannot hold"_s,
            u"4 sprites build @sf @folder | @folder | is a directory"_s,
            u"4 sprites build @sf @tone.wav/x.sff | @tone.wav/x.sff | no such directory"_s};
        // Root writes into read-only folders: the row means something to others only.
        if (::geteuid() != 0)
            rows += u"4 convert @tone.wav @locked/o.flac | @locked/o.flac | permission denied"_s;
        for (QString const &row :
             {u"broken | not valid JSON"_s, u"noversion | no \"version\""_s,
              u"outside | a plain \"file\" name"_s, u"palette | a listed \"palette\""_s,
              u"colors | up to 256 colours as rrggbb"_s, u"axis | \"x\" and \"y\" in range"_s,
              u"link | an earlier \"link\""_s})
            rows += u"3 sprites build @pm/%1 @o.sff | @pm/%1/sprites.json | %2"_s.arg(
                row.section(u" | "_s, 0, 0), row.section(u" | "_s, 1));
        for (QString const &file : {u"garbage.wav"_s, u"cut.wav"_s, u"junk.ogg"_s, u"empty.flac"_s})
            rows += u"3 convert @%1 @kept.wav | @%1 | not a valid"_s.arg(file);
        for (QString const &file : {u"sprites.sff"_s, u"cut.sff"_s, u"count.sff"_s})
            rows += u"3 sprites export @%1 @o | @%1 | not a valid SFF sprite archive"_s.arg(file);
        for (QString const &row :
             {u"none.wav | no such file"_s, u"binary.def | not a text file"_s,
              u"garbage.wav | not a valid"_s, u"sprites.sff | not a valid SFF sprite archive"_s,
              u"cut.sff | not a valid SFF sprite archive"_s,
              u"count.sff | not a valid SFF sprite archive"_s,
              u"short.act | not a palette file: 700 bytes"_s,
              u"notes.xyz | unknown file kind '.xyz'"_s}) {
            for (QString const &command : {u"info"_s, u"check"_s})
                rows += u"3 %1 @%2 | @%2 | %3"_s.arg(command, row.section(u" | "_s, 0, 0),
                                                     row.section(u" | "_s, 1));
        }
        for (QString const &row : std::as_const(rows)) {
            QStringList const parts = row.split(u" | "_s);
            QTest::newRow(qPrintable(parts.at(0)))
                << words(parts.at(0).mid(2)) << parts.at(0).left(1).toInt()
                << words(parts.at(1)).join(u' ') << parts.at(2);
        }
    }

    void failures()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, code);
        QFETCH(QString, what);
        QFETCH(QString, why);
        QString const locked = path(u"locked"_s);
        if (what.startsWith(locked))
            QVERIFY(QDir().mkpath(locked) &&
                    QFile::setPermissions(locked, QFile::ReadOwner | QFile::ExeOwner));
        QMap<QString, QByteArray> const before = snapshot(m_dir.path());
        Result const result = run(arguments);
        QFile::setPermissions(locked, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY2(result.code == code &&
                     (what.isEmpty() ? result.err.contains(why) : failed(result, what, why)),
                 qPrintable(u"exit %1: %2%3"_s.arg(result.code).arg(result.out, result.err)));
        QVERIFY(snapshot(m_dir.path()) == before);
    }

    void convert_data()
    {
        QTest::addColumn<QString>("arguments"); // the source and the options after the target
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("channels"); // 0 for the source's
        QTest::addColumn<int>("frequency");
        addRow("WAV copy", "@tone.wav", "copy.wav", 0, 0);
        addRow("FLAC", "@tone.wav", "tone.flac", 0, 0);
        addRow("Ogg", "@tone.wav", "tone.ogg", 0, 0);
        addRow("format option", "@tone.wav --format flac", "tone.bin", 0, 0);
        addRow("rate and mono", "@tone.wav --rate 11025 --channels=1", "mono.wav", 1, 11025);
        for (QString const &row :
             u"44k_stereo16.wav:wav 44k_stereo16.flac:wav 44k_stereo16.ogg:wav "
             "44k_stereo16.mp3:wav 22k_mono8.wav:wav 48k_mono24.flac:wav "
             "44k_stereo16.wav:flac 22k_mono8.wav:flac 48k_mono24.flac:ogg "
             "44k_stereo16.mp3:ogg"_s.split(u' '))
            QTest::newRow(qPrintable(row)) << u"$sounds/coded/voice_"_s + row.section(u':', 0, 0)
                                           << u"real."_s + row.section(u':', 1) << 0 << 0;
    }

    void convert()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, target);
        QFETCH(int, channels);
        QFETCH(int, frequency);
        if (arguments.startsWith(u'$')) {
            KENRO_REQUIRE_TESTDATA(data);
        }
        QStringList options = words(arguments);
        QString const source = options.takeFirst(), output = m_work.filePath(target);
        Result const result = run(QStringList{u"convert"_s, source, output} + options);
        QVERIFY2(result.code == 0 && result.err.isEmpty() && result.out.contains(u"-> "_s + target),
                 qPrintable(result.out + result.err));
        SoundSample const original = readSound(source), converted = readSound(output);
        QVERIFY(!original.data.isEmpty());
        QCOMPARE(int(converted.channels), channels ? channels : int(original.channels));
        QCOMPARE(int(converted.frequency), frequency ? frequency : int(original.frequency));
        QByteArray const head = readFile(output).left(4);
        qint64 const frames = qint64(original.frames) * converted.frequency / original.frequency;
        if (head == "fLaC") // lossless: the same values, widened to 24 bits
            QCOMPARE(converted.data, widenedTo24(original));
        else if (head == "RIFF" && options.isEmpty())
            QCOMPARE(converted.data, original.data);
        else // lossy or resampled: the whole length, give or take a block
            QVERIFY2(std::abs(qint64(converted.frames) - frames) <= 2048,
                     qPrintable(u"%1 frames, %2 expected"_s.arg(converted.frames).arg(frames)));
    }

    void realText_data()
    {
        QTest::addColumn<QString>("file");
        for (char const *file :
             {"game/chars/kfm/intro.def", "game/chars/kfm/kfm.cns", "game/chars/kfm/kfm.cmd",
              "game/data/fight.def", "game/data/system.def", "text/latin1_info.def",
              "text/utf16le_bom_info.def", "text/sjis_constants.cns", "game/chars/kfm/kfm.air",
              "game/chars/training/Training.air", "game/data/fightfx.air"})
            addRow(file, file);
    }

    void realText()
    {
        QFETCH(QString, file);
        KENRO_REQUIRE_TESTDATA(data);
        QString const path = data + u'/' + file;
        bool const air = file.endsWith(".air"_L1);
        QJsonObject const report = info(path);
        QCOMPARE(fields(report, u"path,errors,kind"_s),
                 u"%1|0|%2"_s.arg(path,
                                  air ? u"AIR animations"_s
                                      : QFileInfo(file).suffix().toUpper() + u" script"_s));
        QList<QByteArray> const text = readFile(path).toLower().split('\n');
        QJsonArray const parts = at(report, u"parts"_s).toArray();
        int entries = 0, previous = 0;
        QVERIFY(!parts.isEmpty() && (!air || parts.size() == header(path).at(0)));
        QCOMPARE(at(report, air ? u"facts/actions"_s : u"facts/sections"_s).toInt(), parts.size());
        for (QJsonValue const &part : parts) {
            entries += at(part, air ? u"frames"_s : u"values"_s).toInt();
            int const line = at(part, u"line"_s).toInt();
            QVERIFY(line > std::exchange(previous, line));
            // Where the report says, the file has the heading: UTF-16 aside.
            QByteArray const heading = text.value(line - 1).trimmed();
            QByteArray const number = at(part, u"name"_s).toString().section(u' ', -1).toLatin1();
            QVERIFY2(air ? heading.startsWith("[begin action") && heading.contains(number)
                         : heading.startsWith('[') || file.startsWith("text/utf16"_L1),
                     heading.data());
        }
        QCOMPARE(at(report, air ? u"facts/frames"_s : u"facts/values"_s).toInt(), entries);
        QVERIFY(!air || at(report, u"facts/frames with collision boxes"_s).toInt() <= entries);
    }

    void realFolder()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const folder = data + u"/game/chars"_s;
        // kfm.air has boxes under a header of the other type: warnings, which fail no check.
        Result const check = run({u"check"_s, folder});
        QVERIFY2(check.code == 0 && check.err.isEmpty() &&
                     check.out.endsWith(u"%1: 0 errors, 5 warnings\n"_s.arg(folder)),
                 qPrintable(check.out + check.err));
        Result const info = run({u"info"_s, folder});
        QVERIFY2(info.code == 0 && info.err.isEmpty() &&
                     info.out.startsWith(u"%1: folder, 17 files examined\n"_s.arg(folder)),
                 qPrintable(info.out + info.err));
        for (QString const &line :
             {u"kfm/kfm.def: DEF script, sections 4, values 23, file sections 1; 0 errors"_s,
              u"kfm/kfm.sff: SFF sprite archive, version 2.01, sprites 281, palettes 7, groups 60, "
              "linked sprites 41, true-colour sprites 0, formats LZ5 239, RLE8 1; 0 errors"_s,
              u"training/01.act: ACT palette, colours 256, distinct colours 208; 0 errors"_s})
            QVERIFY2(info.out.contains(u"\n  %1/"_s.arg(folder) + line), qPrintable(line));
    }

    void diagnostics()
    {
        QString const bad = path(u"bad/bad.cns"_s);
        Result const text = run({u"check"_s, bad}), json = run({u"check"_s, bad, u"--json"_s});
        QVERIFY(text.code == 1 && json.code == 1 && text.err.isEmpty());
        static QRegularExpression const message(u"(: error: )[^\\n]+"_s);
        QString shown = QString(text.out).replace(message, u"\\1"_s);
        for (QJsonValue const &each : at(json.json(), u"diagnostics"_s).toArray())
            shown += fields(each, u"file,line,column,severity,message"_s)
                         .replace(u'|', u':')
                         .replace(u":error:"_s, u": error: "_s) +
                u'\n';
        // The heading without "]", the string opened at column 8, the stray word.
        QString const expected = u"%1:1:1: error: \n%1:2:8: error: \n%1:3:1: error: \n"_s.arg(bad);
        QCOMPARE(QString(shown).replace(message, u"\\1"_s),
                 expected + u"%1: 3 errors, 0 warnings\n"_s.arg(bad) + expected);
        QCOMPARE(shown.count(u"error: \n"_s), 3); // each with a message in JSON
        QCOMPARE(at(json.json(), u"errors"_s).toInt(), 3);
    }

    void progressOnTerminal_data()
    {
        QTest::addColumn<bool>("drawn"); // or switched off in the settings
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("result"); // what the result begins with
        QTest::addColumn<QString>("title");
        char const *files = ": folder, 3 files examined";
        char const *game = ": IKEMEN GO game, 2 characters, 2 stages";
        addRow("folder", true, "@bad", files, "Examining");
        addRow("folder, switched off", false, "@bad", files, "Examining");
        addRow("character", true, "@hero", ": 1 character", "Opening");
        addRow("game", true, "$game", game, "Opening the game");
        addRow("game, switched off", false, "$game", game, "Opening the game");
    }

    void progressOnTerminal()
    {
        QFETCH(bool, drawn);
        QFETCH(QString, target);
        QFETCH(QString, result);
        QFETCH(QString, title);
        if (target.startsWith(u'$')) {
            KENRO_REQUIRE_TESTDATA(data);
        }
        QString const folder = where(target), settings = m_work.filePath(u"progress.ini"_s);
        QVERIFY(writeFile(settings, drawn ? "" : "[General]\nprogress=false\n"));
        // script(1) gives the tool a terminal of its own.
        QString const command = QStringLiteral(KENRO_EXECUTABLE " --settings %1 info %2");
        QProcess process;
        process.start(u"/usr/bin/script"_s,
                      {u"-qefc"_s, command.arg(settings, folder), u"/dev/null"_s});
        QVERIFY(process.waitForFinished(60000));
        QString const shown = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY2(shown.contains(folder + result), qPrintable(shown));
        QCOMPARE(shown.contains(u"\r%1 ["_s.arg(title)), drawn);
        QCOMPARE(shown.contains(u"100%\r\033[2K"_s + folder + result), drawn);
    }

    void fileFacts()
    {
        QCOMPARE(
            fields(info(u"@tone.wav"_s), u"kind,facts"_s),
            uR"(WAV sound|{"bits":16,"channels":2,"frames":22050,"rate":22050,"seconds":1})"_s);
        QCOMPARE(
            fields(info(u"@bank.snd"_s),
                   u"kind,facts/sounds,facts/groups,facts/seconds,parts/0/name,parts/1/name,"
                   "parts/1/bytes,parts/2"_s),
            u"SND sound bank|2|2|2|0,5|1,0|%1|"_s.arg(QFileInfo(path(u"wavs/1_0.wav"_s)).size()));
        QCOMPARE(problem(u"sounds export @bank.snd %named"_s), QString());
        QCOMPARE(differences(m_work.filePath(u"named"_s), path(u"wavs"_s)),
                 (QStringList{u"sounds.json"_s, u"readme.txt"_s}));
    }

    void roundTrips_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QStringList>("builds"); // options, " => " and the formats they make
        QStringList const versions{u"--version 1"_s, u"--version 2"_s};
        addRow("made", "@tiny.sff", QStringList{u" => PNG32 1, RLE8 1"_s});
        // LZ5 holds only the first 32 colours in its runs: the portrait of more stays RLE8.
        addRow("kfm", "$game/chars/kfm/kfm.sff",
               versions +
                   QStringList{u"--compress lz5 => LZ5 239, RLE8 1"_s,
                               u"--compress png => PNG8 240"_s});
        addRow("true-colour", "$game/screenpack/num72.sff",
               QStringList{u"--version 1 => refused"_s, u"--version 2"_s});
        for (QString const name :
             {"chars/kfm/intro.sff", "chars/kfm/ending.sff", "chars/training/Training.sff",
              "stages/kfm.sff", "stages/stage0.sff", "data/fight.sff", "chars/kfm/kfm.snd",
              "chars/training/Training.snd"})
            QTest::newRow(qPrintable(name)) << u"$game/"_s +
                    name << (name.endsWith(".snd"_L1) ? QStringList{QString()} : versions);
    }

    void roundTrips()
    {
        QFETCH(QString, source);
        QFETCH(QStringList, builds);
        if (source.startsWith(u'$')) {
            KENRO_REQUIRE_TESTDATA(data);
        }
        bool const sounds = source.endsWith(".snd"_L1);
        QString const kind = sounds ? u"sounds"_s : u"sprites"_s;
        QString const first =
            m_work.filePath(QString::fromLatin1(QTest::currentDataTag()).replace(u'/', u'_'));
        QCOMPARE(problem(u"%1 export %2 %3"_s.arg(kind, source, first)), QString());
        QJsonObject const manifest =
            QJsonDocument::fromJson(readFile(first + u"/sprites.json"_s)).object();
        for (QJsonValue const &sprite : manifest.value(u"sprites"_s).toArray())
            QVERIFY(!QImage(first + u'/' + at(sprite, u"file"_s).toString()).isNull());
        QVERIFY(wrongLengths(where(source)) <= 0);
        QCOMPARE(entries(first).size(),
                 1 + at(info(source), sounds ? u"facts/sounds"_s : u"facts/sprites"_s).toInt());
        for (int i = 0; i < builds.size(); ++i) {
            QString const options = builds.at(i).section(u" => "_s, 0, 0);
            QString const formats = builds.at(i).section(u" => "_s, 1);
            QString const again = u"%1.%2"_s.arg(first).arg(i), archive = again + source.right(4);
            Result const build = run(u"%1 build %2 %3 %4"_s.arg(kind, first, archive, options));
            if (formats == "refused"_L1) { // version 1.01 holds no true colour
                QVERIFY2(build.code == 3 && failed(build, archive, u"is a true-colour image"_s) &&
                             !QFile::exists(archive),
                         qPrintable(build.err));
                continue;
            }
            // Version 1.01 keeps no palette that no sprite uses, and says so.
            QVERIFY2(build.code == 0, qPrintable(build.err));
            if (!formats.isEmpty())
                QCOMPARE(at(info(archive), u"facts/formats"_s).toString(), formats);
            QVERIFY(sounds || wrongLengths(archive) <= 0);
            QCOMPARE(run({kind, u"export"_s, archive, again}).code, 0);
            QCOMPARE(differences(first, again), QStringList());
            QVERIFY(!sounds || readFile(archive) == readFile(where(source)));
            if (sounds)
                continue;
            QJsonObject const made =
                QJsonDocument::fromJson(readFile(again + u"/sprites.json"_s)).object();
            bool const throughVersion1 =
                options == "--version 1"_L1 || manifest.value(u"version"_s) == u"1.01"_s;
            if (made.value(u"version"_s) == manifest.value(u"version"_s))
                QCOMPARE(made, manifest);
            QCOMPARE(comparable(made, throughVersion1), comparable(manifest, throughVersion1));
        }
    }

    void spriteFolder()
    {
        QCOMPARE(problem(u"sprites export @tiny.sff %tiny"_s), QString());
        QString const folder = m_work.filePath(u"tiny"_s);
        QCOMPARE(entries(folder).join(u' '), u"0-0.png 0-1.png 5-0.png sprites.json"_s);
        QImage indexed(folder + u"/0-0.png"_s);
        QCOMPARE(indexed.format(), QImage::Format_Indexed8);
        QCOMPARE(indexed.colorTable().mid(0, 4),
                 (QList<QRgb>{qRgba(0, 0, 0, 0), qRgb(255, 0, 0), qRgb(0, 0, 255), qRgb(0, 0, 0)}));
        QVERIFY(indexed.pixelIndex(1, 0) == 1 && indexed.pixelIndex(2, 2) == 1);
        QCOMPARE(QImage(folder + u"/5-0.png"_s).pixel(1, 1), qRgba(10, 200, 30, 128));
        indexed.setPixel(0, 0, 2);
        QVERIFY(indexed.save(folder + u"/0-1.png"_s));
        QCOMPARE(problem(u"sprites build %tiny %changed.sff"_s), QString());
        QCOMPARE(fields(info(u"%changed.sff"_s), u"facts/linked sprites,facts/formats"_s),
                 u"0|PNG32 1, RLE8 2"_s);
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
        addRow("whole", "sample.def", "stcommon", "1: note: The file 'common1.cns' named", 0, 7);
        addRow("script", "sample.cns", "run.fwd = \"", "11: error: The string is not closed", 1, 7);
        addRow("missing", "sample.def", "sound =", "1: error: The file 'sample.snd' named", 1, 6);
        addRow("damaged", "sample.def", "sprite =", "1: error: The file 'sample.sff' named", 2, 6);
    }

    void sampleCharacter()
    {
        QFETCH(QString, file);
        QFETCH(QString, marker);
        QFETCH(QString, text);
        QFETCH(int, errors);
        QFETCH(int, files);
        QString const fault = QString::fromLatin1(QTest::currentDataTag());
        QString const folder = m_work.filePath(fault), sff = folder + u"/sample.sff"_s;
        QString const cns = folder + u"/sample.cns"_s;
        QVERIFY(KenroTest::copyTree(QStringLiteral(KENRO_SAMPLE_DIR), folder));
        if (fault == "script"_L1)
            QVERIFY(KenroTest::writeFile(cns, readFile(cns).replace("run.fwd = ", "run.fwd = \"")));
        if (fault == "missing"_L1)
            QVERIFY(QFile::remove(folder + u"/sample.snd"_s));
        if (fault == "damaged"_L1)
            QVERIFY(KenroTest::writeFile(sff, readFile(sff).left(100)));
        QByteArray const bytes = readFile(folder + u'/' + file);
        qsizetype const marked = bytes.indexOf(marker.toUtf8());
        QString const line =
            u"\n%1/%2:%3:%4"_s.arg(folder, file).arg(bytes.left(marked).count('\n') + 1).arg(text);
        for (QString const &path : {folder, folder + u"/sample.def"_s}) {
            // A definition given alone is examined without the damaged archive beside it.
            int const found = path == folder ? errors : qMin(errors, 1);
            Result const check = run({u"check"_s, path});
            QVERIFY2(marked >= 0 && (u'\n' + check.out).contains(line) &&
                         check.out.count(": error: "_L1) == found &&
                         check.out.endsWith(u"%1: %2, 0 warnings, 1 note\n"_s.arg(
                             path, plural(found, u"error"_s))),
                     qPrintable(line + check.out));
            QVERIFY(fault != "damaged"_L1 || path != folder ||
                    check.out.contains(sff + u":1:1: error: not a valid SFF sprite archive"_s));
            QJsonObject const report = run({u"info"_s, u"--json"_s, path}).json();
            QCOMPARE(fields(report, "errors,projects/0/name"), u"%1|Kenro Sample"_s.arg(found));
            QCOMPARE(at(report, "projects/0/files").toArray().size(), files);
            checkCounts(report);
            checkAgrees(path, check, report);
        }
    }

    void gameWithSharedStates()
    {
        QString const game = m_work.filePath(u"game"_s);
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
        QVERIFY(at(report, "projects/0/files").toArray().size() == 8 &&
                at(report, "projects/1/files").toArray().size() == 8);
        checkCounts(report);
        checkAgrees(game, check, report);
    }

    // A box is answered "no" or its only button, a file dialog cancelled.
    void boxesAreAnsweredSafely()
    {
        DialogGuard guard;
        qApp->installEventFilter(&guard);
        auto const no = QMessageBox::question(nullptr, u"Reload?"_s, u"The file changed."_s,
                                              QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        auto const ok = QMessageBox::critical(nullptr, u"Error!"_s, u"Broken."_s, QMessageBox::Ok);
        QString const file = QFileDialog::getOpenFileName(
            nullptr, u"Open"_s, QString(), QString(), nullptr, QFileDialog::DontUseNativeDialog);
        qApp->removeEventFilter(&guard);
        QVERIFY(no == QMessageBox::No && ok == QMessageBox::Ok && file.isEmpty());
        QCOMPARE(guard.answered(), 3);
    }

    // What the library sets stays in the run: the user's file is untouched.
    // A run never watches files, whatever the file says, and its jobs are
    // silent where stderr is no terminal, as under the test runner.
    void optionsFromSettingsFile()
    {
        QTemporaryDir dir;
        QString const file = dir.filePath(u"kenro.ini"_s);
        QByteArray const content =
            "[General]\nprogress=false\nenable_file_watcher=true\ncache_type=2\n";
        QVERIFY(KenroTest::writeFile(file, content));
        {
            CliInterface host(file);
            QVERIFY(Interface::instance() == &host && host.settingsDirectory() == dir.path());
            QVERIFY(!host.progressEnabled() &&
                    !host.option(u"enable_file_watcher"_s, true).toBool());
            int const cache = host.option(u"cache_type"_s, 0).toInt();
            host.setOption(u"cache_type"_s, 3);
            QCOMPARE(QList<int>({cache, host.option(u"missing"_s, 7).toInt(),
                                 host.option(u"cache_type"_s, 0).toInt()}),
                     QList<int>({2, 7, 3}));
            std::unique_ptr<ProgressJob> job(host.progressProvider()->newJob(u"Saving"_s, 0));
            QVERIFY(!static_cast<ProgressBar *>(job.get())->isVisible());
        }
        QVERIFY(Interface::instance() == nullptr && KenroTest::readFile(file) == content);
    }

    // The file named on the command line, else the environment's, else the user's.
    void settingsFileChoice()
    {
        QByteArray const saved = qgetenv("KENRO_SETTINGS");
        qputenv("KENRO_SETTINGS", "/from/environment.ini");
        QString const chosen = CliInterface::settingsFile(u"given.ini"_s) + u' ' +
            CliInterface::settingsFile(QString());
        qunsetenv("KENRO_SETTINGS");
        QCOMPARE(chosen, u"given.ini /from/environment.ini"_s);
        QVERIFY(CliInterface::settingsFile(QString()).endsWith("/kenro/kenro.ini"_L1));
        if (!saved.isNull())
            qputenv("KENRO_SETTINGS", saved);
    }
};

QTEST_MAIN(KenroCliTest)
#include "tst_kenrocli.moc"
