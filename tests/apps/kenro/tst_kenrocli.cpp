#include "testdata.h"
#include "toolrun.h"

#include <kenro/sound/soundcodecs.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

#include <unistd.h>

using namespace Kenro;
using KenroTest::isOneLineFailure;
using KenroTest::kenro;
using KenroTest::Result;

namespace {

// A second of a 440 Hz tone, 16-bit, \a channels channels at \a frequency.
SoundSample tone(quint16 channels, quint32 frequency)
{
    SoundSample sample;
    sample.channels = channels;
    sample.bits = 16;
    sample.frequency = frequency;
    sample.frames = frequency;
    sample.data.resize(qsizetype(sample.frames) * channels * 2);
    auto *out = reinterpret_cast<qint16 *>(sample.data.data());
    for (quint32 i = 0; i < sample.frames; ++i) {
        for (quint16 c = 0; c < channels; ++c)
            *out++ = qint16(12000 * std::sin(2 * M_PI * 440 * i / frequency + c));
    }
    return sample;
}

bool writeSound(QString const &path, char const *format, SoundSample const &sample)
{
    QFile file(path);
    return saveSound(&file, format, sample);
}

SoundSample readSound(QString const &path)
{
    QFile file(path);
    SoundSample sample;
    QByteArray const suffix = path.section(QLatin1Char('.'), -1).toUpper().toLatin1();
    loadSound(&file, suffix == "OGG" ? "OGG" : suffix.constData(), sample);
    return sample;
}

// 8- and 16-bit samples as the 24-bit values that hold them exactly.
QByteArray widenedTo24(SoundSample const &sample)
{
    if (sample.bits == 24)
        return sample.data;
    QByteArray wide;
    int const width = sample.bits / 8;
    for (qsizetype i = 0; i + width <= sample.data.size(); i += width) {
        auto const *in = reinterpret_cast<unsigned char const *>(sample.data.constData() + i);
        qint32 const value = width == 1 ? (qint32(in[0]) - 128) * 65536
                                        : qint32(qint16(quint16(in[0] | in[1] << 8))) * 256;
        wide.append(char(value & 0xff))
            .append(char((value >> 8) & 0xff))
            .append(char((value >> 16) & 0xff));
    }
    return wide;
}

QStringList entries(QString const &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
}

QJsonObject readJson(QString const &path)
{
    return QJsonDocument::fromJson(KenroTest::readFile(path)).object();
}

// A sprite manifest with what a change of version may change taken out:
// the version, and when version 1.01 is on either side the palettes, which
// it keeps per sprite, and the links, which it keeps only on one palette.
QJsonObject comparable(QJsonObject manifest, bool throughVersion1)
{
    manifest.remove(QStringLiteral("version"));
    manifest.remove(QStringLiteral("sharedPalette"));
    if (!throughVersion1)
        return manifest;
    manifest.remove(QStringLiteral("palettes"));
    QJsonArray sprites;
    for (QJsonValue const &value : manifest.value(QStringLiteral("sprites")).toArray()) {
        QJsonObject sprite = value.toObject();
        sprite.remove(QStringLiteral("palette"));
        sprite.remove(QStringLiteral("link"));
        sprites.append(sprite);
    }
    manifest.insert(QStringLiteral("sprites"), sprites);
    return manifest;
}

// The names of the files that differ between two folders, or that only one has.
QStringList differences(QString const &a, QString const &b)
{
    QStringList names = entries(a);
    for (QString const &name : entries(b)) {
        if (!names.contains(name))
            names.append(name);
    }
    QStringList different;
    for (QString const &name : std::as_const(names)) {
        if (name == QLatin1String("sprites.json"))
            continue;
        QString const first = a + QLatin1Char('/') + name;
        QString const second = b + QLatin1Char('/') + name;
        if (!QFile::exists(first) || !QFile::exists(second) ||
            KenroTest::readFile(first) != KenroTest::readFile(second))
            different.append(name);
    }
    return different;
}

// A folder of sprites as export writes it: a 4 x 3 sprite of three colours,
// a sprite linked to it, and a true-colour one.
bool writeSpriteFolder(QString const &folder)
{
    QImage indexed(4, 3, QImage::Format_Indexed8);
    indexed.setColorTable({qRgba(0, 0, 0, 0), qRgb(255, 0, 0), qRgb(0, 0, 255)});
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 4; ++x)
            indexed.setPixel(x, y, uint((x + y) % 3));
    }
    QImage color(2, 2, QImage::Format_ARGB32);
    color.fill(qRgba(10, 200, 30, 128));
    QDir().mkpath(folder);
    return indexed.save(folder + QStringLiteral("/0-0.png")) &&
        indexed.save(folder + QStringLiteral("/0-1.png")) &&
        color.save(folder + QStringLiteral("/5-0.png")) &&
        KenroTest::writeFile(folder + QStringLiteral("/sprites.json"), R"({
    "version": "2.01",
    "palettes": [{"group": 1, "number": 1, "colors": "000000ff00000000ff"}],
    "sprites": [
        {"group": 0, "number": 0, "x": 1, "y": -2, "palette": 0, "file": "0-0.png"},
        {"group": 0, "number": 1, "x": 0, "y": 0, "palette": 0, "file": "0-1.png", "link": 0},
        {"group": 5, "number": 0, "x": 3, "y": 4, "file": "5-0.png"}
    ]
})");
}

} // namespace

class KenroCliTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QTemporaryDir m_config;

    QString path(QString const &name) const { return m_dir.filePath(name); }
    Result run(QStringList const &arguments) const { return kenro(arguments, m_config.path()); }

    // Runs the tool and expects exit \a code with the one line "kenro: <what>: ...<why>...",
    // and the test folder as it was.
    void failsCleanly(QStringList const &arguments, int code, QString const &what,
                      QString const &why) const
    {
        QStringList const before = entries(m_dir.path());
        Result const result = run(arguments);
        QCOMPARE(result.code, code);
        QByteArray reason;
        QVERIFY2(isOneLineFailure(result, &reason), reason.constData());
        QVERIFY2(result.err.startsWith(QStringLiteral("kenro: %1: ").arg(what)),
                 qPrintable(result.err));
        QVERIFY2(result.err.contains(why), qPrintable(result.err));
        QCOMPARE(entries(m_dir.path()), before);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QVERIFY(QFile::exists(QStringLiteral(KENRO_EXECUTABLE)));
        QVERIFY(writeSound(path(QStringLiteral("tone.wav")), "WAV", tone(2, 22050)));
        QByteArray garbage;
        for (int i = 0; i < 4096; ++i)
            garbage.append(char((i * 7919 + 13) % 251));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("garbage.wav")), garbage));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("binary.def")), garbage));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("junk.ogg")), "OggS" + garbage));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("empty.flac")), QByteArray()));
        QByteArray const wav = KenroTest::readFile(path(QStringLiteral("tone.wav")));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("cut.wav")), wav.left(30)));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("sprites.sff")), "ElecbyteSpr"));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("notes.xyz")), "text"));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("bad/bad.cns")),
                                     "[Info\r\nname = \"open\r\nstray\r\n"));
        // A screen's definition names files but defines no character: "bad"
        // stays a plain folder, read file by file.
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("bad/good.def")),
                                     "[Info]\r\nname = \"Sample\"\r\n[Files]\r\nspr = s.sff\r\n"));
        // The smallest character: a definition and its states.
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("hero/hero.def")),
                                     "[Info]\nname = Hero\n[Files]\nst = hero.cns\n"));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("hero/hero.cns")),
                                     "[Statedef 0]\ntype = S\n"));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("bad/s.sff")), "ElecbyteSpr"));
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("folder")));
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("wavs")));
        QVERIFY(writeSound(path(QStringLiteral("wavs/1_0.wav")), "WAV", tone(2, 22050)));
        QVERIFY(writeSound(path(QStringLiteral("wavs/0_5.wav")), "WAV", tone(1, 11025)));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("wavs/readme.txt")), "not a sound"));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("manifests/broken/sounds.json")),
                                     "{\"sounds\": ["));
        QVERIFY(
            KenroTest::writeFile(path(QStringLiteral("manifests/missing/sounds.json")),
                                 R"({"sounds": [{"group": 0, "number": 0, "file": "0_0.wav"}]})"));
        QVERIFY(KenroTest::writeFile(
            path(QStringLiteral("manifests/outside/sounds.json")),
            R"({"sounds": [{"group": 0, "number": 0, "file": "../tone.wav"}]})"));
        initSprites();
    }

    // A small archive of each kind of sprite and damaged copies of it, from
    // a folder of sprites, and damaged folders beside it.
    void initSprites()
    {
        QString const folder = path(QStringLiteral("spritefolder"));
        QVERIFY(writeSpriteFolder(folder));
        Result const build = run({QStringLiteral("sprites"), QStringLiteral("build"), folder,
                                  path(QStringLiteral("tiny.sff"))});
        QVERIFY2(build.code == 0, qPrintable(build.err));
        QByteArray const archive = KenroTest::readFile(path(QStringLiteral("tiny.sff")));
        QVERIFY(archive.size() > 100);
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("cut.sff")),
                                     archive.left(archive.size() / 2)));
        QByteArray wrongCount = archive;
        wrongCount[36] = char(0x7F); // a sprite count far past the list
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("count.sff")), wrongCount));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("short.act")), QByteArray(700, 'x')));
        QByteArray act;
        for (int i = 0; i < 768; ++i)
            act.append(char(i / 3));
        QVERIFY(KenroTest::writeFile(path(QStringLiteral("grey.act")), act));
        QString const manifests = path(QStringLiteral("spritemanifests/"));
        auto manifest = [&manifests](char const *name, QByteArray const &text) {
            return KenroTest::writeFile(
                manifests + QLatin1String(name) + QStringLiteral("/sprites.json"), text);
        };
        QVERIFY(manifest("broken", "{\"sprites\": ["));
        QVERIFY(manifest("noversion", R"({"palettes": [], "sprites": []})"));
        QVERIFY(manifest("outside", R"({"version": "2.01", "palettes": [], "sprites": [
            {"group": 0, "number": 0, "x": 0, "y": 0, "file": "../tone.wav"}]})"));
        QVERIFY(manifest("palette", R"({"version": "2.01", "palettes": [], "sprites": [
            {"group": 0, "number": 0, "x": 0, "y": 0, "palette": 0}]})"));
        QVERIFY(manifest("colors", R"({"version": "2.01", "sprites": [], "palettes": [
            {"group": 0, "number": 0, "colors": "12345"}]})"));
        QVERIFY(manifest("axis", R"({"version": "2.01", "palettes": [], "sprites": [
            {"group": 0, "number": 0, "x": 40000, "y": 0}]})"));
        QVERIFY(manifest("link", R"({"version": "2.01", "palettes": [], "sprites": [
            {"group": 0, "number": 0, "x": 0, "y": 0, "link": 0}]})"));
        QVERIFY(manifest("missing", R"({"version": "2.01", "palettes": [], "sprites": [
            {"group": 0, "number": 0, "x": 0, "y": 0, "file": "0-0.png"}]})"));
        QVERIFY(manifest("garbage", R"({"version": "2.01", "palettes": [], "sprites": [
            {"group": 0, "number": 0, "x": 0, "y": 0, "file": "0-0.png"}]})"));
        QVERIFY(KenroTest::writeFile(manifests + QStringLiteral("garbage/0-0.png"),
                                     "\x89PNG\r\n\x1a\n garbage"));
        // A folder where a sprite's file should go.
        QVERIFY(QDir().mkpath(path(QStringLiteral("blocked/0-0.png"))));
    }

    void help_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("expected");
        QTest::newRow("tool") << QStringList{QStringLiteral("--help")}
                              << QStringLiteral("Exit codes: 0 done, 1 check found errors");
        QTest::newRow("version") << QStringList{QStringLiteral("--version")}
                                 << QStringLiteral("kenro 0.");
        for (char const *command : {"info", "check", "convert", "sounds export", "sounds build",
                                    "sprites export", "sprites build"}) {
            QString const name = QLatin1String(command);
            QStringList const words = name.split(QLatin1Char(' '));
            QString const usage = QStringLiteral("Usage: kenro %1 [options]").arg(name);
            QTest::newRow(command) << (words + QStringList{QStringLiteral("--help")}) << usage;
            QTest::newRow(qPrintable(QStringLiteral("help ") + name))
                << (QStringList{QStringLiteral("help")} + words) << usage;
        }
    }

    void help()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, expected);
        Result const result = run(arguments);
        QCOMPARE(result.code, 0);
        QVERIFY2(result.out.contains(expected), qPrintable(result.out));
        QCOMPARE(result.err, QString());
        if (arguments.constFirst() == QLatin1String("--help")) {
            for (char const *command : {"info", "check", "convert", "sounds export", "sounds build",
                                        "sprites export", "sprites build"})
                QVERIFY(result.out.contains(QStringLiteral("  %1 ").arg(QLatin1String(command))));
        }
    }

    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("expected");
        QString const wav = path(QStringLiteral("tone.wav"));
        QString const out = path(QStringLiteral("usage-out.wav"));
        QTest::newRow("no command") << QStringList() << QStringLiteral("Usage: kenro");
        QTest::newRow("unknown command") << QStringList{QStringLiteral("paint")}
                                         << QStringLiteral("kenro: paint: unknown command");
        QTest::newRow("group without subcommand")
            << QStringList{QStringLiteral("sounds")}
            << QStringLiteral("kenro: sounds: needs a subcommand: export, build");
        QTest::newRow("group with unknown subcommand")
            << QStringList{QStringLiteral("sounds"), QStringLiteral("play")}
            << QStringLiteral("kenro: sounds: needs a subcommand: export, build");
        QTest::newRow("unknown tool option") << QStringList{QStringLiteral("--colour")}
                                             << QStringLiteral("kenro: --colour: unknown option");
        QTest::newRow("settings without file")
            << QStringList{QStringLiteral("--settings")} << QStringLiteral("missing FILE");
        QTest::newRow("unknown option")
            << QStringList{QStringLiteral("info"), QStringLiteral("--fast"), wav}
            << QStringLiteral("kenro: info: unknown option 'fast'");
        QTest::newRow("missing argument")
            << QStringList{QStringLiteral("check")} << QStringLiteral("kenro: check: missing PATH");
        QTest::newRow("extra argument") << QStringList{QStringLiteral("convert"), wav, out, wav}
                                        << QStringLiteral("unexpected argument");
        QTest::newRow("rate not a number")
            << QStringList{QStringLiteral("convert"), wav, out, QStringLiteral("--rate"),
                           QStringLiteral("fast")}
            << QStringLiteral("kenro: --rate: expects a number");
        QTest::newRow("rate zero")
            << QStringList{QStringLiteral("convert"), wav, out, QStringLiteral("--rate=0")}
            << QStringLiteral("kenro: --rate: expects a number");
        QTest::newRow("three channels")
            << QStringList{QStringLiteral("convert"), wav, out, QStringLiteral("--channels=3")}
            << QStringLiteral("kenro: --channels: expects 1 or 2");
        QTest::newRow("MP3 output")
            << QStringList{QStringLiteral("convert"), wav, path(QStringLiteral("o.mp3"))}
            << QStringLiteral("MP3 can be read but not written");
        QTest::newRow("unknown output suffix")
            << QStringList{QStringLiteral("convert"), wav, path(QStringLiteral("o.aiff"))}
            << QStringLiteral("cannot tell the format from the suffix");
        QTest::newRow("unknown format")
            << QStringList{QStringLiteral("convert"), wav, out, QStringLiteral("--format=aiff")}
            << QStringLiteral("unknown format 'aiff'");
        QStringList const build{QStringLiteral("sprites"), QStringLiteral("build"),
                                path(QStringLiteral("spritefolder")),
                                path(QStringLiteral("usage-out.sff"))};
        QTest::newRow("unknown compression")
            << (build + QStringList{QStringLiteral("--compress=zip")})
            << QStringLiteral("kenro: --compress: 'zip' is none of rle8, lz5, png");
        QTest::newRow("unknown archive version")
            << (build + QStringList{QStringLiteral("--version=3")})
            << QStringLiteral("kenro: --version: '3' is none of");
        QTest::newRow("PNG in version 2.00")
            << (build +
                QStringList{QStringLiteral("--version=2.00"), QStringLiteral("--compress=png")})
            << QStringLiteral("kenro: --compress: png needs version 2.01");
        QTest::newRow("compression in version 1.01")
            << (build +
                QStringList{QStringLiteral("--version=1"), QStringLiteral("--compress=lz5")})
            << QStringLiteral("kenro: --compress: version 1.01 stores every sprite as PCX");
    }

    void usageErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, expected);
        Result const result = run(arguments);
        QCOMPARE(result.code, 2);
        QVERIFY2(result.err.contains(expected), qPrintable(result.err));
        if (!arguments.isEmpty()) {
            QByteArray why;
            QVERIFY2(isOneLineFailure(result, &why), why.constData());
        }
        QVERIFY(!QFile::exists(path(QStringLiteral("usage-out.wav"))));
        QVERIFY(!QFile::exists(path(QStringLiteral("usage-out.sff"))));
    }

    void inputErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("why");
        QString const missing = path(QStringLiteral("missing.wav"));
        QString const out = path(QStringLiteral("input-out.wav"));
        auto add = [&](char const *name, QStringList const &arguments, QString const &what,
                       char const *why) {
            QTest::newRow(name) << arguments << what << QString::fromLatin1(why);
        };
        for (char const *command : {"info", "check"}) {
            QString const c = QLatin1String(command);
            add(qPrintable(c + QStringLiteral(" missing")), {c, missing}, missing, "no such file");
            add(qPrintable(c + QStringLiteral(" binary script")),
                {c, path(QStringLiteral("binary.def"))}, path(QStringLiteral("binary.def")),
                "not a text file");
            add(qPrintable(c + QStringLiteral(" garbage sound")),
                {c, path(QStringLiteral("garbage.wav"))}, path(QStringLiteral("garbage.wav")),
                "not a valid");
            add(qPrintable(c + QStringLiteral(" damaged archive")),
                {c, path(QStringLiteral("sprites.sff"))}, path(QStringLiteral("sprites.sff")),
                "not a valid SFF sprite archive");
            add(qPrintable(c + QStringLiteral(" cut archive")),
                {c, path(QStringLiteral("cut.sff"))}, path(QStringLiteral("cut.sff")),
                "not a valid SFF sprite archive");
            add(qPrintable(c + QStringLiteral(" archive of wrong count")),
                {c, path(QStringLiteral("count.sff"))}, path(QStringLiteral("count.sff")),
                "not a valid SFF sprite archive");
            add(qPrintable(c + QStringLiteral(" short palette")),
                {c, path(QStringLiteral("short.act"))}, path(QStringLiteral("short.act")),
                "not a palette file: 700 bytes");
            add(qPrintable(c + QStringLiteral(" unknown kind")),
                {c, path(QStringLiteral("notes.xyz"))}, path(QStringLiteral("notes.xyz")),
                "unknown file kind '.xyz'");
        }
        QString const c = QStringLiteral("convert");
        add("convert missing", {c, missing, out}, missing, "no such file");
        add("convert directory", {c, path(QStringLiteral("folder")), out},
            path(QStringLiteral("folder")), "is a directory");
        for (char const *name : {"garbage.wav", "cut.wav", "junk.ogg", "empty.flac"})
            add(qPrintable(c + QLatin1Char(' ') + QLatin1String(name)),
                {c, path(QLatin1String(name)), out}, path(QLatin1String(name)), "not a valid");
        add("convert unknown kind", {c, path(QStringLiteral("notes.xyz")), out},
            path(QStringLiteral("notes.xyz")), "not a sound file of a known kind");
        add("missing settings",
            {QStringLiteral("--settings"), missing, QStringLiteral("info"), out}, missing,
            "no such settings file");
    }

    void inputErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, what);
        QFETCH(QString, why);
        QStringList const before = entries(m_dir.path());
        Result const result = run(arguments);
        QCOMPARE(result.code, 3);
        QByteArray reason;
        QVERIFY2(isOneLineFailure(result, &reason), reason.constData());
        QVERIFY2(result.err.startsWith(QStringLiteral("kenro: %1: ").arg(what)),
                 qPrintable(result.err));
        QVERIFY2(result.err.contains(why), qPrintable(result.err));
        QCOMPARE(entries(m_dir.path()), before);
    }

    void outputErrors_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("why");
        QTest::newRow("under a file")
            << QStringLiteral("tone.wav/out.flac") << QStringLiteral("no such directory");
        QTest::newRow("missing folder")
            << QStringLiteral("none/out.flac") << QStringLiteral("no such directory");
        QTest::newRow("a folder") << QStringLiteral("folder") << QStringLiteral("is a directory");
        // Root writes into read-only folders, so this row exists only for other users.
        if (::geteuid() != 0)
            QTest::newRow("read-only folder")
                << QStringLiteral("locked/out.flac") << QStringLiteral("permission denied");
    }

    void outputErrors()
    {
        QFETCH(QString, target);
        QFETCH(QString, why);
        QString const folder = path(target.section(QLatin1Char('/'), 0, -2));
        if (target.startsWith(QLatin1String("locked/"))) {
            QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("locked")));
            QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        }
        QStringList const before = entries(m_dir.path());
        QStringList const inside = QFileInfo(folder).isDir() ? entries(folder) : QStringList();
        Result const result =
            run({QStringLiteral("convert"), path(QStringLiteral("tone.wav")), path(target)});
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(result.code, 4);
        QByteArray reason;
        QVERIFY2(isOneLineFailure(result, &reason), reason.constData());
        QVERIFY2(result.err.startsWith(QStringLiteral("kenro: %1: ").arg(path(target))),
                 qPrintable(result.err));
        QVERIFY2(result.err.contains(why), qPrintable(result.err));
        QCOMPARE(entries(m_dir.path()), before);
        if (QFileInfo(folder).isDir())
            QCOMPARE(entries(folder), inside);
    }

    void failedConvertKeepsTarget()
    {
        QString const target = path(QStringLiteral("kept.wav"));
        QVERIFY(KenroTest::writeFile(target, "the old content"));
        QStringList const before = entries(m_dir.path());
        Result const result =
            run({QStringLiteral("convert"), path(QStringLiteral("cut.wav")), target});
        QCOMPARE(result.code, 3);
        QCOMPARE(KenroTest::readFile(target), QByteArray("the old content"));
        QCOMPARE(entries(m_dir.path()), before);
    }

    void convertTone_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("frequency");
        QTest::newRow("WAV copy") << QStringLiteral("copy.wav") << QStringList() << 2 << 22050;
        QTest::newRow("FLAC") << QStringLiteral("tone.flac") << QStringList() << 2 << 22050;
        QTest::newRow("Ogg") << QStringLiteral("tone.ogg") << QStringList() << 2 << 22050;
        QTest::newRow("format option")
            << QStringLiteral("tone.bin")
            << QStringList{QStringLiteral("--format"), QStringLiteral("flac")} << 2 << 22050;
        QTest::newRow("rate and mono")
            << QStringLiteral("mono.wav")
            << QStringList{QStringLiteral("--rate"), QStringLiteral("11025"),
                           QStringLiteral("--channels=1")}
            << 1 << 11025;
    }

    void convertTone()
    {
        QFETCH(QString, target);
        QFETCH(QStringList, options);
        QFETCH(int, channels);
        QFETCH(int, frequency);
        QString const source = path(QStringLiteral("tone.wav"));
        Result const result =
            run(QStringList{QStringLiteral("convert"), source, path(target)} + options);
        QCOMPARE(result.code, 0);
        QCOMPARE(result.err, QString());
        QVERIFY2(result.out.contains(QStringLiteral("-> %1").arg(target)), qPrintable(result.out));

        SoundSample const original = readSound(source);
        QFile file(path(target));
        SoundSample converted;
        QByteArray const format = target.endsWith(QLatin1String(".bin")) ? "FLAC"
            : target.endsWith(QLatin1String(".ogg"))                     ? "OGG"
            : target.endsWith(QLatin1String(".flac"))                    ? "FLAC"
                                                                         : "WAV";
        QVERIFY(loadSound(&file, format.constData(), converted));
        QCOMPARE(int(converted.channels), channels);
        QCOMPARE(int(converted.frequency), frequency);
        qint64 const expectedFrames = qint64(original.frames) * frequency / original.frequency;
        if (format == "FLAC") {
            // Lossless: the same values, widened to 24 bits.
            QCOMPARE(converted.bits, quint16(24));
            QCOMPARE(converted.data, widenedTo24(original));
        } else if (format == "WAV" && options.isEmpty()) {
            QCOMPARE(converted.data, original.data);
        } else {
            // Lossy or resampled: the whole length, give or take a block.
            QVERIFY2(std::abs(qint64(converted.frames) - expectedFrames) <= 2048,
                     qPrintable(QStringLiteral("%1 frames, %2 expected")
                                    .arg(converted.frames)
                                    .arg(expectedFrames)));
        }
    }

    void convertRealSounds_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("suffix");
        // Every source to WAV, and each writer from sources of each depth and layout.
        QList<QPair<char const *, char const *>> const rows{
            {"voice_44k_stereo16.wav", "wav"},  {"voice_44k_stereo16.flac", "wav"},
            {"voice_44k_stereo16.ogg", "wav"},  {"voice_44k_stereo16.mp3", "wav"},
            {"voice_22k_mono8.wav", "wav"},     {"voice_48k_mono24.flac", "wav"},
            {"voice_44k_stereo16.wav", "flac"}, {"voice_22k_mono8.wav", "flac"},
            {"voice_48k_mono24.flac", "ogg"},   {"voice_44k_stereo16.mp3", "ogg"}};
        for (auto const &row : rows)
            QTest::newRow(qPrintable(QStringLiteral("%1 to %2")
                                         .arg(QLatin1String(row.first), QLatin1String(row.second))))
                << QString::fromLatin1(row.first) << QString::fromLatin1(row.second);
    }

    void convertRealSounds()
    {
        QFETCH(QString, source);
        QFETCH(QString, suffix);
        KENRO_REQUIRE_TESTDATA(data);
        QString const input = data + QStringLiteral("/sounds/coded/") + source;
        QString const output = path(QStringLiteral("real.") + suffix);
        Result const result = run({QStringLiteral("convert"), input, output});
        QCOMPARE(result.code, 0);
        QCOMPARE(result.err, QString());

        SoundSample const original = readSound(input);
        SoundSample const converted = readSound(output);
        QVERIFY(!original.data.isEmpty());
        QCOMPARE(converted.channels, original.channels);
        QCOMPARE(converted.frequency, original.frequency);
        if (suffix == QLatin1String("wav")) {
            QCOMPARE(converted.frames, original.frames);
            QCOMPARE(converted.data, original.data);
        } else if (suffix == QLatin1String("flac")) {
            QCOMPARE(converted.frames, original.frames);
            QCOMPARE(converted.data, widenedTo24(original));
        } else {
            QVERIFY2(
                std::abs(qint64(converted.frames) - qint64(original.frames)) <= 2048,
                qPrintable(
                    QStringLiteral("%1 frames of %2").arg(converted.frames).arg(original.frames)));
        }
        QFile::remove(output);
    }

    void realScripts_data()
    {
        QTest::addColumn<QString>("file");
        for (char const *file :
             {"game/chars/kfm/intro.def", "game/chars/kfm/kfm.cns", "game/chars/kfm/kfm.cmd",
              "game/data/fight.def", "game/data/system.def", "text/latin1_info.def",
              "text/utf16le_bom_info.def", "text/sjis_constants.cns"})
            QTest::newRow(file) << QString::fromLatin1(file);
    }

    void realScripts()
    {
        QFETCH(QString, file);
        KENRO_REQUIRE_TESTDATA(data);
        QString const script = data + QLatin1Char('/') + file;

        Result const check = run({QStringLiteral("check"), script});
        QCOMPARE(check.code, 0);
        QCOMPARE(check.out, QStringLiteral("%1: 0 errors, 0 warnings\n").arg(script));
        QCOMPARE(check.err, QString());

        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), script});
        QCOMPARE(info.code, 0);
        QJsonParseError error;
        QJsonObject const report = QJsonDocument::fromJson(info.out.toUtf8(), &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(report.value(QStringLiteral("path")).toString(), script);
        QCOMPARE(report.value(QStringLiteral("kind")).toString(),
                 script.section(QLatin1Char('.'), -1).toUpper() + QStringLiteral(" script"));
        QJsonArray const parts = report.value(QStringLiteral("parts")).toArray();
        QJsonObject const facts = report.value(QStringLiteral("facts")).toObject();
        QVERIFY(!parts.isEmpty());
        QCOMPARE(facts.value(QStringLiteral("sections")).toInt(), parts.size());
        int values = 0;
        int previousLine = 0;
        for (QJsonValue const &part : parts) {
            values += part.toObject().value(QStringLiteral("values")).toInt();
            int const line = part.toObject().value(QStringLiteral("line")).toInt();
            QVERIFY(line > previousLine);
            previousLine = line;
        }
        QCOMPARE(facts.value(QStringLiteral("values")).toInt(), values);
        QCOMPARE(report.value(QStringLiteral("errors")).toInt(), 0);

        // The headings are where the report says, on the lines of the file.
        if (!file.startsWith(QLatin1String("text/utf16"))) {
            QList<QByteArray> const lines = KenroTest::readFile(script).split('\n');
            for (QJsonValue const &part : parts) {
                int const line = part.toObject().value(QStringLiteral("line")).toInt();
                QVERIFY2(lines.value(line - 1).trimmed().startsWith('['),
                         lines.value(line - 1).constData());
            }
        }
    }

    void realAnimations_data()
    {
        QTest::addColumn<QString>("file");
        for (char const *file : {"game/chars/kfm/kfm.air", "game/chars/training/Training.air",
                                 "game/data/fightfx.air"})
            QTest::newRow(file) << QString::fromLatin1(file);
    }

    void realAnimations()
    {
        QFETCH(QString, file);
        KENRO_REQUIRE_TESTDATA(data);
        QString const air = data + QLatin1Char('/') + file;
        Result const check = run({QStringLiteral("check"), air});
        QCOMPARE(check.code, 0);
        QStringList const lines = check.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        qsizetype const warnings = lines.size() - 1;
        for (qsizetype i = 0; i < warnings; ++i)
            QVERIFY2(lines.at(i).startsWith(air + QLatin1Char(':')) &&
                         lines.at(i).contains(QLatin1String(": warning: ")),
                     qPrintable(lines.at(i)));
        QCOMPARE(lines.last(),
                 QStringLiteral("%1: 0 errors, %2 warning%3")
                     .arg(air)
                     .arg(warnings)
                     .arg(warnings == 1 ? QString() : QStringLiteral("s")));

        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), air});
        QCOMPARE(info.code, 0);
        QJsonObject const report = QJsonDocument::fromJson(info.out.toUtf8()).object();
        QCOMPARE(report.value(QStringLiteral("kind")).toString(), QStringLiteral("AIR animations"));
        QJsonObject const facts = report.value(QStringLiteral("facts")).toObject();
        QJsonArray const parts = report.value(QStringLiteral("parts")).toArray();
        // Every action heading of the file, where the report says it is.
        QList<QByteArray> const text = KenroTest::readFile(air).split('\n');
        int headings = 0;
        for (QByteArray const &line : text)
            headings += line.trimmed().toLower().startsWith("[begin action") ? 1 : 0;
        QCOMPARE(facts.value(QStringLiteral("actions")).toInt(), headings);
        QCOMPARE(parts.size(), headings);
        int frames = 0;
        for (QJsonValue const &part : parts) {
            QJsonObject const action = part.toObject();
            frames += action.value(QStringLiteral("frames")).toInt();
            QByteArray const heading =
                text.value(action.value(QStringLiteral("line")).toInt() - 1).trimmed().toLower();
            QVERIFY2(heading.startsWith("[begin action"), heading.constData());
            QVERIFY2(heading.contains(action.value(QStringLiteral("name"))
                                          .toString()
                                          .section(QLatin1Char(' '), -1)
                                          .toLatin1()),
                     heading.constData());
        }
        QVERIFY(frames > 0);
        QCOMPARE(facts.value(QStringLiteral("frames")).toInt(), frames);
        QVERIFY(facts.value(QStringLiteral("frames with collision boxes")).toInt() <= frames);
    }

    void animationErrors()
    {
        QString const bad = path(QStringLiteral("bad.air"));
        QVERIFY(KenroTest::writeFile(bad, "[Begin Action 0]\r\n0,0, 0,0, 5\r\nfoo\r\n"));
        Result const result = run({QStringLiteral("check"), bad});
        QCOMPARE(result.code, 1);
        QVERIFY2(result.out.startsWith(bad + QStringLiteral(":3:1: error: ")),
                 qPrintable(result.out));
        QVERIFY(result.out.endsWith(QStringLiteral("%1: 1 error, 0 warnings\n").arg(bad)));
        QFile::remove(bad);
    }

    void realFolder()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const folder = data + QStringLiteral("/game/chars");
        Result const check = run({QStringLiteral("check"), folder});
        QCOMPARE(check.code, 0);
        // kfm.air has boxes under a header of the other type: warnings, which fail no check.
        QVERIFY2(check.out.endsWith(QStringLiteral("%1: 0 errors, 5 warnings\n").arg(folder)),
                 qPrintable(check.out));
        // Every content file is read now: none is named as not supported.
        QCOMPARE(check.err, QString());

        Result const info = run({QStringLiteral("info"), folder});
        QCOMPARE(info.code, 0);
        QCOMPARE(info.err, QString());
        QVERIFY(info.out.startsWith(QStringLiteral("%1: folder, 17 files examined\n").arg(folder)));
        QVERIFY(info.out.contains(folder +
                                  QStringLiteral("/kfm/kfm.sff: SFF sprite archive, "
                                                 "version 2.01, sprites 281")));
        QVERIFY(info.out.contains(folder + QStringLiteral("/training/01.act: ACT palette")));
        QVERIFY(info.out.contains(
            folder + QStringLiteral("/kfm/kfm.def: DEF script, sections 4, values 23")));
    }

    void diagnostics_data()
    {
        QTest::addColumn<bool>("json");
        QTest::newRow("text") << false;
        QTest::newRow("json") << true;
    }

    void diagnostics()
    {
        QFETCH(bool, json);
        QString const bad = path(QStringLiteral("bad/bad.cns"));
        QStringList arguments{QStringLiteral("check"), bad};
        if (json)
            arguments.append(QStringLiteral("--json"));
        Result const result = run(arguments);
        QCOMPARE(result.code, 1);
        QCOMPARE(result.err, QString());
        QList<QPair<int, int>> positions;
        if (json) {
            QJsonObject const report = QJsonDocument::fromJson(result.out.toUtf8()).object();
            QCOMPARE(report.value(QStringLiteral("errors")).toInt(), 3);
            for (QJsonValue const &value : report.value(QStringLiteral("diagnostics")).toArray()) {
                QJsonObject const diagnostic = value.toObject();
                QCOMPARE(diagnostic.value(QStringLiteral("file")).toString(), bad);
                QCOMPARE(diagnostic.value(QStringLiteral("severity")).toString(),
                         QStringLiteral("error"));
                QVERIFY(!diagnostic.value(QStringLiteral("message")).toString().isEmpty());
                positions.append({diagnostic.value(QStringLiteral("line")).toInt(),
                                  diagnostic.value(QStringLiteral("column")).toInt()});
            }
        } else {
            QStringList const lines = result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            QCOMPARE(lines.size(), 4);
            QRegularExpression const pattern(QStringLiteral("^(.+):(\\d+):(\\d+): error: .+$"));
            for (qsizetype i = 0; i < 3; ++i) {
                QRegularExpressionMatch const match = pattern.match(lines.at(i));
                QVERIFY2(match.hasMatch(), qPrintable(lines.at(i)));
                QCOMPARE(match.captured(1), bad);
                positions.append({match.captured(2).toInt(), match.captured(3).toInt()});
            }
            QCOMPARE(lines.last(), QStringLiteral("%1: 3 errors, 0 warnings").arg(bad));
        }
        // The heading without "]", the string opened at column 8, the stray word.
        QCOMPARE(positions, (QList<QPair<int, int>>{{1, 1}, {2, 8}, {3, 1}}));
    }

    void folderWithErrors()
    {
        QString const folder = path(QStringLiteral("bad"));
        Result const check = run({QStringLiteral("check"), folder});
        QCOMPARE(check.code, 1);
        // The damaged archive is an error of the folder, beside the script's three.
        QCOMPARE(check.out.count(QStringLiteral(": error: ")), 4);
        QVERIFY2(
            check.out.contains(
                QStringLiteral("%1/s.sff:1:1: error: not a valid SFF sprite archive").arg(folder)),
            qPrintable(check.out));
        QCOMPARE(check.err, QString());

        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), folder});
        QCOMPARE(info.code, 0);
        QJsonObject const report = QJsonDocument::fromJson(info.out.toUtf8()).object();
        QCOMPARE(report.value(QStringLiteral("kind")).toString(), QStringLiteral("folder"));
        QCOMPARE(report.value(QStringLiteral("files")).toArray().size(), 3);
        QCOMPARE(report.value(QStringLiteral("skipped")).toArray().size(), 0);
        QCOMPARE(report.value(QStringLiteral("errors")).toInt(), 4);
        QJsonObject const good = report.value(QStringLiteral("files")).toArray().at(1).toObject();
        QCOMPARE(
            good.value(QStringLiteral("facts")).toObject().value(QStringLiteral("files")).toArray(),
            QJsonArray{QStringLiteral("spr = s.sff")});
    }

    void progressOnTerminal_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QString>("target"); // in the test folder; "game" for the real game
        QTest::addColumn<QString>("result"); // what the result begins with
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("drawn");
        QByteArray const off("[General]\nprogress=false\n");
        QString const files = QStringLiteral(": folder, 3 files examined");
        QTest::newRow("folder") << QByteArray() << QStringLiteral("bad") << files
                                << QStringLiteral("Examining") << true;
        QTest::newRow("folder, switched off")
            << off << QStringLiteral("bad") << files << QStringLiteral("Examining") << false;
        QTest::newRow("character")
            << QByteArray() << QStringLiteral("hero") << QStringLiteral(": 1 character")
            << QStringLiteral("Opening") << true;
        QTest::newRow("game") << QByteArray() << QStringLiteral("game")
                              << QStringLiteral(": IKEMEN GO game, 2 characters, 2 stages")
                              << QStringLiteral("Opening the game") << true;
        QTest::newRow("game, switched off")
            << off << QStringLiteral("game")
            << QStringLiteral(": IKEMEN GO game, 2 characters, 2 stages")
            << QStringLiteral("Opening the game") << false;
    }

    void progressOnTerminal()
    {
        QFETCH(QByteArray, settings);
        QFETCH(QString, target);
        QFETCH(QString, result);
        QFETCH(QString, title);
        QFETCH(bool, drawn);
        QString folder = path(target);
        if (target == QLatin1String("game")) {
            KENRO_REQUIRE_TESTDATA(data);
            folder = data + QStringLiteral("/game");
        }
        // script(1) runs the tool on a terminal of its own and copies what it shows.
        QString const script = QStringLiteral("/usr/bin/script");
        QVERIFY2(QFile::exists(script), "script(1) of util-linux runs the tool on a terminal");
        QString command = QStringLiteral(KENRO_EXECUTABLE);
        if (!settings.isEmpty()) {
            QString const file = path(QStringLiteral("progress.ini"));
            QVERIFY(KenroTest::writeFile(file, settings));
            command += QStringLiteral(" --settings ") + file;
        }
        command += QStringLiteral(" info ") + folder;
        QProcess process;
        process.start(script, {QStringLiteral("-qefc"), command, QStringLiteral("/dev/null")});
        QVERIFY(process.waitForFinished(60000));
        QString const shown = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY2(shown.contains(folder + result), qPrintable(shown));
        QCOMPARE(shown.contains(QStringLiteral("\r%1 [").arg(title)), drawn);
        // The bar's line is cleared before the result.
        QCOMPARE(shown.contains(QStringLiteral("100%\r\033[2K") + folder + result), drawn);
    }

    void soundBankByNames()
    {
        QString const bank = path(QStringLiteral("named.snd"));
        Result const build = run({QStringLiteral("sounds"), QStringLiteral("build"),
                                  path(QStringLiteral("wavs")), bank});
        QCOMPARE(build.code, 0);
        QCOMPARE(build.err, QString());
        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), bank});
        QCOMPARE(info.code, 0);
        QJsonObject const report = QJsonDocument::fromJson(info.out.toUtf8()).object();
        QCOMPARE(report.value(QStringLiteral("kind")).toString(), QStringLiteral("SND sound bank"));
        QJsonObject const facts = report.value(QStringLiteral("facts")).toObject();
        QCOMPARE(facts.value(QStringLiteral("sounds")).toInt(), 2);
        QCOMPARE(facts.value(QStringLiteral("groups")).toInt(), 2);
        QCOMPARE(facts.value(QStringLiteral("seconds")).toDouble(), 2.0);
        // Group and number order, whatever the folder's order; the text file is left out.
        QJsonArray const parts = report.value(QStringLiteral("parts")).toArray();
        QCOMPARE(parts.size(), 2);
        QCOMPARE(parts.at(0).toObject().value(QStringLiteral("name")).toString(),
                 QStringLiteral("0,5"));
        QCOMPARE(parts.at(1).toObject().value(QStringLiteral("name")).toString(),
                 QStringLiteral("1,0"));
        QCOMPARE(parts.at(1).toObject().value(QStringLiteral("bytes")).toInt(),
                 int(QFileInfo(path(QStringLiteral("wavs/1_0.wav"))).size()));

        QString const out = path(QStringLiteral("named-export"));
        QCOMPARE(run({QStringLiteral("sounds"), QStringLiteral("export"), bank, out}).code, 0);
        for (char const *name : {"0_5.wav", "1_0.wav"})
            QCOMPARE(KenroTest::readFile(out + QLatin1Char('/') + QLatin1String(name)),
                     KenroTest::readFile(path(QStringLiteral("wavs/")) + QLatin1String(name)));
    }

    void soundBankRoundTrip_data()
    {
        QTest::addColumn<QString>("bank");
        QTest::newRow("kfm") << QStringLiteral("game/chars/kfm/kfm.snd");
        QTest::newRow("training") << QStringLiteral("game/chars/training/Training.snd");
    }

    void soundBankRoundTrip()
    {
        QFETCH(QString, bank);
        KENRO_REQUIRE_TESTDATA(data);
        QString const original = data + QLatin1Char('/') + bank;
        QTemporaryDir work;
        QString const first = work.filePath(QStringLiteral("first"));
        QString const rebuilt = work.filePath(QStringLiteral("rebuilt.snd"));
        QString const second = work.filePath(QStringLiteral("second"));
        for (QStringList const &arguments :
             {QStringList{QStringLiteral("sounds"), QStringLiteral("export"), original, first},
              QStringList{QStringLiteral("sounds"), QStringLiteral("build"), first, rebuilt},
              QStringList{QStringLiteral("sounds"), QStringLiteral("export"), rebuilt, second}}) {
            Result const result = run(arguments);
            QVERIFY2(result.code == 0 && result.err.isEmpty(), qPrintable(result.err));
        }
        QStringList const files = entries(first);
        QVERIFY(files.contains(QStringLiteral("sounds.json")));
        QCOMPARE(entries(second), files);
        for (QString const &name : files)
            QVERIFY2(KenroTest::readFile(first + QLatin1Char('/') + name) ==
                         KenroTest::readFile(second + QLatin1Char('/') + name),
                     qPrintable(name));
        // The bank made again is the very file it came from.
        QVERIFY(KenroTest::readFile(rebuilt) == KenroTest::readFile(original));
        // One WAV file per sound, each readable as one.
        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), original});
        int const sounds = QJsonDocument::fromJson(info.out.toUtf8())
                               .object()
                               .value(QStringLiteral("facts"))
                               .toObject()
                               .value(QStringLiteral("sounds"))
                               .toInt();
        QCOMPARE(files.size(), sounds + 1);
        SoundSample const sample = readSound(first + QLatin1Char('/') + files.constFirst());
        QVERIFY(sample.frequency > 0);
    }

    void soundBankErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("why");
        QString const e = QStringLiteral("export");
        QString const b = QStringLiteral("build");
        QString const out = path(QStringLiteral("bank-out"));
        QString const bank = path(QStringLiteral("named.snd"));
        auto add = [](char const *name, QStringList const &arguments, int code, QString const &what,
                      char const *why) {
            QTest::newRow(name) << (QStringList{QStringLiteral("sounds")} + arguments) << code
                                << what << QString::fromLatin1(why);
        };
        add("export garbage", {e, path(QStringLiteral("garbage.wav")), out}, 3,
            path(QStringLiteral("garbage.wav")), "not a valid SND sound bank");
        add("export missing", {e, path(QStringLiteral("none.snd")), out}, 3,
            path(QStringLiteral("none.snd")), "no such file");
        add("export folder", {e, path(QStringLiteral("folder")), out}, 3,
            path(QStringLiteral("folder")), "is a directory");
        add("export into a file", {e, bank, path(QStringLiteral("tone.wav"))}, 4,
            path(QStringLiteral("tone.wav")), "is a file, a folder was expected");
        add("build missing", {b, path(QStringLiteral("none")), out}, 3,
            path(QStringLiteral("none")), "no such folder");
        add("build from a file", {b, path(QStringLiteral("tone.wav")), out}, 3,
            path(QStringLiteral("tone.wav")), "is a file, a folder was expected");
        add("build empty folder", {b, path(QStringLiteral("folder")), out}, 3,
            path(QStringLiteral("folder")), "no sounds");
        QString const manifests = path(QStringLiteral("manifests/"));
        add("broken manifest", {b, manifests + QStringLiteral("broken"), out}, 3,
            manifests + QStringLiteral("broken/sounds.json"), "not valid JSON");
        add("manifest names a missing file", {b, manifests + QStringLiteral("missing"), out}, 3,
            manifests + QStringLiteral("missing/0_0.wav"), "no such file");
        add("manifest reaches outside", {b, manifests + QStringLiteral("outside"), out}, 3,
            manifests + QStringLiteral("outside/sounds.json"), "a plain \"file\" name");
        add("build into a folder",
            {b, path(QStringLiteral("wavs")), path(QStringLiteral("folder"))}, 4,
            path(QStringLiteral("folder")), "is a directory");
        add("build under a file",
            {b, path(QStringLiteral("wavs")), path(QStringLiteral("tone.wav/x.snd"))}, 4,
            path(QStringLiteral("tone.wav/x.snd")), "no such directory");
    }

    void soundBankErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, code);
        QFETCH(QString, what);
        QFETCH(QString, why);
        QVERIFY(QFile::exists(path(QStringLiteral("named.snd"))));
        failsCleanly(arguments, code, what, why);
    }

    void spriteErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("why");
        QString const e = QStringLiteral("export");
        QString const b = QStringLiteral("build");
        QString const out = path(QStringLiteral("sprite-out"));
        QString const sff = path(QStringLiteral("sprite-out.sff"));
        QString const tiny = path(QStringLiteral("tiny.sff"));
        QString const folder = path(QStringLiteral("spritefolder"));
        auto add = [](char const *name, QStringList const &arguments, int code, QString const &what,
                      char const *why) {
            QTest::newRow(name) << (QStringList{QStringLiteral("sprites")} + arguments) << code
                                << what << QString::fromLatin1(why);
        };
        for (char const *name : {"sprites.sff", "cut.sff", "count.sff", "garbage.wav"})
            add(qPrintable(QStringLiteral("export ") + QLatin1String(name)),
                {e, path(QLatin1String(name)), out}, 3, path(QLatin1String(name)),
                "not a valid SFF sprite archive");
        add("export missing", {e, path(QStringLiteral("none.sff")), out}, 3,
            path(QStringLiteral("none.sff")), "no such file");
        add("export folder", {e, path(QStringLiteral("folder")), out}, 3,
            path(QStringLiteral("folder")), "is a directory");
        add("export into a file", {e, tiny, path(QStringLiteral("tone.wav"))}, 4,
            path(QStringLiteral("tone.wav")), "is a file, a folder was expected");
        add("export onto a folder", {e, tiny, path(QStringLiteral("blocked"))}, 4,
            path(QStringLiteral("blocked/0-0.png")), "is a directory");
        add("build missing", {b, path(QStringLiteral("none")), sff}, 3,
            path(QStringLiteral("none")), "no such folder");
        add("build from a file", {b, tiny, sff}, 3, tiny, "is a file, a folder was expected");
        add("build without manifest", {b, path(QStringLiteral("folder")), sff}, 3,
            path(QStringLiteral("folder/sprites.json")), "no such file");
        QString const manifests = path(QStringLiteral("spritemanifests/"));
        auto manifest = [&](char const *name, char const *file, char const *why) {
            add(qPrintable(QStringLiteral("manifest ") + QLatin1String(name)),
                {b, manifests + QLatin1String(name), sff}, 3,
                manifests + QLatin1String(name) + QLatin1Char('/') + QLatin1String(file), why);
        };
        manifest("broken", "sprites.json", "not valid JSON");
        manifest("noversion", "sprites.json", "no \"version\"");
        manifest("outside", "sprites.json", "a plain \"file\" name");
        manifest("palette", "sprites.json", "a listed \"palette\"");
        manifest("colors", "sprites.json", "up to 256 colours as rrggbb");
        manifest("axis", "sprites.json", "\"x\" and \"y\" in range");
        manifest("link", "sprites.json", "an earlier \"link\"");
        manifest("missing", "0-0.png", "no such file");
        manifest("garbage", "0-0.png", "not a PNG image");
        add("version 1.01 of true colour", {b, folder, sff, QStringLiteral("--version=1")}, 3, sff,
            "version 1.01 cannot hold it: sprite (group 5, number 0) is a true-colour image");
        add("version 2.00 of true colour", {b, folder, sff, QStringLiteral("--version=2.00")}, 3,
            sff, "version 2.00 cannot hold it");
        add("build into a folder", {b, folder, path(QStringLiteral("folder"))}, 4,
            path(QStringLiteral("folder")), "is a directory");
        add("build under a file", {b, folder, path(QStringLiteral("tone.wav/x.sff"))}, 4,
            path(QStringLiteral("tone.wav/x.sff")), "no such directory");
    }

    void spriteErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, code);
        QFETCH(QString, what);
        QFETCH(QString, why);
        QStringList const blocked = entries(path(QStringLiteral("blocked")));
        failsCleanly(arguments, code, what, why);
        // Nothing written, not even a manifest or the first sprites before the failure.
        QCOMPARE(entries(path(QStringLiteral("blocked"))), blocked);
    }

    void spriteFolderRoundTrip()
    {
        QTemporaryDir work;
        QString const first = work.filePath(QStringLiteral("first"));
        QString const rebuilt = work.filePath(QStringLiteral("rebuilt.sff"));
        QString const second = work.filePath(QStringLiteral("second"));
        for (QStringList const &arguments :
             {QStringList{QStringLiteral("sprites"), QStringLiteral("export"),
                          path(QStringLiteral("tiny.sff")), first},
              QStringList{QStringLiteral("sprites"), QStringLiteral("build"), first, rebuilt},
              QStringList{QStringLiteral("sprites"), QStringLiteral("export"), rebuilt, second}}) {
            Result const result = run(arguments);
            QVERIFY2(result.code == 0 && result.err.isEmpty(), qPrintable(result.err));
        }
        QCOMPARE(entries(first),
                 (QStringList{QStringLiteral("0-0.png"), QStringLiteral("0-1.png"),
                              QStringLiteral("5-0.png"), QStringLiteral("sprites.json")}));
        QCOMPARE(differences(first, second), QStringList());
        QJsonObject const manifest = readJson(first + QStringLiteral("/sprites.json"));
        QCOMPARE(readJson(second + QStringLiteral("/sprites.json")), manifest);
        QCOMPARE(manifest.value(QStringLiteral("version")).toString(), QStringLiteral("2.01"));
        QJsonArray const sprites = manifest.value(QStringLiteral("sprites")).toArray();
        QCOMPARE(sprites.size(), 3);
        QJsonObject const linked = sprites.at(1).toObject();
        QCOMPARE(linked.value(QStringLiteral("link")).toInt(-1), 0);
        QCOMPARE(sprites.at(0).toObject().value(QStringLiteral("y")).toInt(), -2);
        QCOMPARE(manifest.value(QStringLiteral("palettes"))
                     .toArray()
                     .at(0)
                     .toObject()
                     .value(QStringLiteral("colors")),
                 QJsonValue(QStringLiteral("000000ff00000000ff")));

        // Indexed sprites carry their palette, colour 0 transparent; true colour keeps alpha.
        QImage const indexed(first + QStringLiteral("/0-0.png"));
        QCOMPARE(indexed.format(), QImage::Format_Indexed8);
        QCOMPARE(indexed.colorCount(), 256);
        QCOMPARE(indexed.color(0), qRgba(0, 0, 0, 0));
        QCOMPARE(indexed.color(1), qRgb(255, 0, 0));
        QCOMPARE(indexed.pixelIndex(1, 0), 1);
        QCOMPARE(indexed.pixelIndex(2, 2), 1);
        QImage const color(first + QStringLiteral("/5-0.png"));
        QVERIFY(color.hasAlphaChannel());
        QCOMPARE(qAlpha(color.pixel(1, 1)), 128);

        // A linked sprite whose picture changed gets an image of its own.
        QImage changed = indexed;
        changed.setPixel(0, 0, 2);
        QVERIFY(changed.save(first + QStringLiteral("/0-1.png")));
        Result const build =
            run({QStringLiteral("sprites"), QStringLiteral("build"), first, rebuilt});
        QCOMPARE(build.code, 0);
        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), rebuilt});
        QJsonObject const facts = QJsonDocument::fromJson(info.out.toUtf8())
                                      .object()
                                      .value(QStringLiteral("facts"))
                                      .toObject();
        QCOMPARE(facts.value(QStringLiteral("linked sprites")).toInt(-1), 0);
        QCOMPARE(facts.value(QStringLiteral("formats")).toString(),
                 QStringLiteral("PNG32 1, RLE8 2"));
    }

    void spriteArchiveInfo()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QString const kfm = data + QStringLiteral("/game/chars/kfm/kfm.sff");
        Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), kfm});
        QCOMPARE(info.code, 0);
        QJsonObject const report = QJsonDocument::fromJson(info.out.toUtf8()).object();
        QCOMPARE(report.value(QStringLiteral("kind")).toString(),
                 QStringLiteral("SFF sprite archive"));
        QJsonObject const facts = report.value(QStringLiteral("facts")).toObject();
        QCOMPARE(facts.value(QStringLiteral("version")).toString(), QStringLiteral("2.01"));
        QCOMPARE(facts.value(QStringLiteral("sprites")).toInt(), 281);
        QCOMPARE(facts.value(QStringLiteral("palettes")).toInt(), 7);
        QCOMPARE(facts.value(QStringLiteral("groups")).toInt(), 60);
        QCOMPARE(facts.value(QStringLiteral("linked sprites")).toInt(), 41);
        QCOMPARE(facts.value(QStringLiteral("formats")).toString(),
                 QStringLiteral("LZ5 239, RLE8 1"));
        Result const check = run({QStringLiteral("check"), kfm});
        QCOMPARE(check.code, 0);
        QCOMPARE(check.out, QStringLiteral("%1: 0 errors, 0 warnings\n").arg(kfm));

        QString const act = data + QStringLiteral("/game/chars/training/01.act");
        Result const palette = run({QStringLiteral("info"), QStringLiteral("--json"), act});
        QCOMPARE(palette.code, 0);
        QJsonObject const paletteFacts = QJsonDocument::fromJson(palette.out.toUtf8())
                                             .object()
                                             .value(QStringLiteral("facts"))
                                             .toObject();
        QCOMPARE(paletteFacts.value(QStringLiteral("colours")).toInt(), 256);
        QVERIFY(paletteFacts.value(QStringLiteral("distinct colours")).toInt() > 1);
        Result const grey = run(
            {QStringLiteral("info"), QStringLiteral("--json"), path(QStringLiteral("grey.act"))});
        QCOMPARE(QJsonDocument::fromJson(grey.out.toUtf8())
                     .object()
                     .value(QStringLiteral("facts"))
                     .toObject()
                     .value(QStringLiteral("distinct colours"))
                     .toInt(),
                 256);
    }

    // Every archive of the sample game, exported, built in both versions and
    // exported again, gives the same pictures; one function, so that the
    // processes run one after another without a row apiece.
    void spriteArchiveRoundTrips()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QTemporaryDir work;
        int archivesWithTrueColor = 0;
        for (char const *name : {"chars/kfm/kfm.sff", "chars/kfm/intro.sff", "chars/kfm/ending.sff",
                                 "chars/training/Training.sff", "stages/kfm.sff",
                                 "stages/stage0.sff", "data/fight.sff", "screenpack/num72.sff"}) {
            QString const original = data + QStringLiteral("/game/") + QLatin1String(name);
            QString const stem = work.filePath(
                QString::fromLatin1(name).replace(QLatin1Char('/'), QLatin1Char('_')));
            QString const first = stem + QStringLiteral(".first");
            Result const exported =
                run({QStringLiteral("sprites"), QStringLiteral("export"), original, first});
            QVERIFY2(exported.code == 0 && exported.err.isEmpty(), qPrintable(exported.err));
            QJsonObject const manifest = readJson(first + QStringLiteral("/sprites.json"));
            QJsonArray const sprites = manifest.value(QStringLiteral("sprites")).toArray();
            QVERIFY2(!sprites.isEmpty(), name);
            QCOMPARE(entries(first).size(), sprites.size() + 1);
            bool const fromVersion1 =
                manifest.value(QStringLiteral("version")).toString() == QLatin1String("1.01");
            bool trueColor = false;
            for (QJsonValue const &sprite : sprites) {
                QImage const image(first + QLatin1Char('/') +
                                   sprite.toObject().value(QStringLiteral("file")).toString());
                QVERIFY2(!image.isNull(), name);
                trueColor = trueColor || image.format() != QImage::Format_Indexed8;
            }
            archivesWithTrueColor += trueColor ? 1 : 0;

            for (char const *version : {"1", "2"}) {
                QString const rebuilt =
                    stem + QLatin1Char('.') + QLatin1String(version) + QStringLiteral(".sff");
                QString const second = stem + QLatin1Char('.') + QLatin1String(version);
                Result const build =
                    run({QStringLiteral("sprites"), QStringLiteral("build"), first, rebuilt,
                         QStringLiteral("--version"), QLatin1String(version)});
                if (trueColor && version[0] == '1') {
                    // Version 1.01 holds no true colour: refused, and no file left.
                    QCOMPARE(build.code, 3);
                    QByteArray reason;
                    QVERIFY2(isOneLineFailure(build, &reason), reason.constData());
                    QVERIFY2(build.err.contains(QLatin1String("is a true-colour image")),
                             qPrintable(build.err));
                    QVERIFY(!QFile::exists(rebuilt));
                    continue;
                }
                QVERIFY2(build.code == 0, qPrintable(build.err));
                Result const again =
                    run({QStringLiteral("sprites"), QStringLiteral("export"), rebuilt, second});
                QVERIFY2(again.code == 0 && again.err.isEmpty(), qPrintable(again.err));
                QVERIFY2(differences(first, second).isEmpty(),
                         qPrintable(QLatin1String(name) + QStringLiteral(" in ") +
                                    QLatin1String(version) + QStringLiteral(": ") +
                                    differences(first, second).join(QLatin1Char(' '))));
                QJsonObject const rebuiltManifest =
                    readJson(second + QStringLiteral("/sprites.json"));
                bool const throughVersion1 = fromVersion1 || version[0] == '1';
                QVERIFY2(comparable(rebuiltManifest, throughVersion1) ==
                             comparable(manifest, throughVersion1),
                         qPrintable(QLatin1String(name) + QStringLiteral(" in ") +
                                    QLatin1String(version)));
                // In its own version the archive comes back whole, palettes and links as well.
                if (rebuiltManifest.value(QStringLiteral("version")) ==
                    manifest.value(QStringLiteral("version")))
                    QCOMPARE(rebuiltManifest, manifest);
            }
        }
        QCOMPARE(archivesWithTrueColor, 1);
    }

    void spriteCompression()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QTemporaryDir work;
        QString const first = work.filePath(QStringLiteral("first"));
        Result const exported = run({QStringLiteral("sprites"), QStringLiteral("export"),
                                     data + QStringLiteral("/game/chars/kfm/kfm.sff"), first});
        QCOMPARE(exported.code, 0);
        // LZ5 holds only the first 32 colours in its runs: the portrait of more stays RLE8.
        for (auto const &[compress, formats] :
             {std::pair{"lz5", "LZ5 239, RLE8 1"}, std::pair{"png", "PNG8 240"}}) {
            QString const rebuilt = work.filePath(QLatin1String(compress) + QStringLiteral(".sff"));
            QString const second = work.filePath(QLatin1String(compress));
            Result const build =
                run({QStringLiteral("sprites"), QStringLiteral("build"), first, rebuilt,
                     QStringLiteral("--compress"), QLatin1String(compress)});
            QVERIFY2(build.code == 0, qPrintable(build.err));
            Result const info = run({QStringLiteral("info"), QStringLiteral("--json"), rebuilt});
            QCOMPARE(QJsonDocument::fromJson(info.out.toUtf8())
                         .object()
                         .value(QStringLiteral("facts"))
                         .toObject()
                         .value(QStringLiteral("formats"))
                         .toString(),
                     QLatin1String(formats));
            Result const again =
                run({QStringLiteral("sprites"), QStringLiteral("export"), rebuilt, second});
            QCOMPARE(again.code, 0);
            QCOMPARE(differences(first, second), QStringList());
        }
    }

    void soundInfo()
    {
        Result const result = run(
            {QStringLiteral("info"), QStringLiteral("--json"), path(QStringLiteral("tone.wav"))});
        QCOMPARE(result.code, 0);
        QJsonObject const report = QJsonDocument::fromJson(result.out.toUtf8()).object();
        QCOMPARE(report.value(QStringLiteral("kind")).toString(), QStringLiteral("WAV sound"));
        QJsonObject const facts = report.value(QStringLiteral("facts")).toObject();
        QCOMPARE(facts.value(QStringLiteral("channels")).toInt(), 2);
        QCOMPARE(facts.value(QStringLiteral("bits")).toInt(), 16);
        QCOMPARE(facts.value(QStringLiteral("rate")).toInt(), 22050);
        QCOMPARE(facts.value(QStringLiteral("frames")).toInt(), 22050);
        QCOMPARE(facts.value(QStringLiteral("seconds")).toDouble(), 1.0);
    }
};

QTEST_GUILESS_MAIN(KenroCliTest)
#include "tst_kenrocli.moc"
