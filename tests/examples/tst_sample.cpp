#include <actpalette.h>
#include <sffpalette.h>
#include <sffsprite.h>
#include <sffsprites.h>

#include <ikemen/air/airdocument.h>
#include <ikemen/air/airnodes.h>
#include <ikemen/script/scriptdocument.h>
#include <ikemen/script/scriptgroup.h>
#include <ikemen/snd/sndsounds.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/contactboxcode.h>
#include <kenro/code/valuecode.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>
#include <kenro/sound/soundcodecs.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

using namespace Kenro;
using namespace Kenro::Ikemen;

namespace {

QString const sampleDir = QStringLiteral(KENRO_SAMPLE_DIR);

QString samplePath(QString const &name)
{
    return sampleDir + QLatin1Char('/') + name;
}

struct Run
{
    int code = -1;
    QByteArray out;
    QByteArray err;
};

// Runs \a program to its end, with stdout and stderr apart; code -1 when it crashed or hung.
Run run(QString const &program, QStringList const &arguments, QString const &configHome = {})
{
    QProcess process;
    if (!configHome.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("KENRO_SETTINGS"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), configHome);
        process.setProcessEnvironment(environment);
    }
    process.start(program, arguments);
    Run result;
    if (!process.waitForFinished(120000)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

QByteArray contentOf(QString const &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// Model objects end through release(); these hold them for a test's scope.
struct Releaser
{
    template<class T>
    void operator()(T *object) const
    {
        object->release();
    }
};

std::unique_ptr<SffSprites, Releaser> openSprites(QString const &path)
{
    auto *sprites = new SffSprites;
    if (!sprites->fromFile(FileSystemArchive::instance(), path, 0, nullptr)) {
        sprites->release();
        return nullptr;
    }
    return std::unique_ptr<SffSprites, Releaser>(sprites);
}

// Every message of \a messages, one line each, for a failure text.
QByteArray describe(Messages const *messages)
{
    QByteArray text;
    for (unsigned int i = 0; i < messages->count(Message::All); ++i) {
        Message const message = messages->at(i, Message::All);
        text += QByteArray::number(message.line + 1) + ": " + message.text.toUtf8() + '\n';
    }
    return text;
}

int groupsOfKind(ScriptDocument &document, ScriptGroup::Kind kind)
{
    int count = 0;
    for (CodeNode *node : document.root()->childs()) {
        auto const *group = dynamic_cast<ScriptGroup *>(node);
        count += group && group->kind() == kind ? 1 : 0;
    }
    return count;
}

} // namespace

class TestSample : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void generatorReproducesCommittedFiles_data();
    void generatorReproducesCommittedFiles();
    void generatorRefusesBadArguments();
    void sprites();
    void paletteFileMatchesArchive();
    void sounds();
    void animationsShowExistingSpritesWithBoxes();
    void scriptsParseCleanly_data();
    void scriptsParseCleanly();
    void definitionNamesFilesOfTheFolder();
    void toolFindsNoFault();

private:
    QTemporaryDir m_generated;
    Run m_generation;
};

void TestSample::initTestCase()
{
    QVERIFY(m_generated.isValid());
    m_generation = run(QStringLiteral(KENRO_SAMPLE_GENERATOR), {m_generated.path()});
    QVERIFY2(m_generation.code == 0, m_generation.err.constData());
}

void TestSample::generatorReproducesCommittedFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("sprites") << QStringLiteral("sample.sff");
    QTest::newRow("palette") << QStringLiteral("sample.act");
    QTest::newRow("sounds") << QStringLiteral("sample.snd");
}

void TestSample::generatorReproducesCommittedFiles()
{
    QFETCH(QString, name);
    QByteArray const made = contentOf(m_generated.filePath(name));
    QByteArray const committed = contentOf(samplePath(name));
    QVERIFY2(made != "<missing>", qPrintable(name));
    // The generator is the source: a difference means the committed file is stale.
    QVERIFY2(made == committed,
             qPrintable(QStringLiteral("%1 differs from the generator's output (%2 and %3 bytes); "
                                       "run kenro_sample_generator examples/sample/chars/sample")
                            .arg(name)
                            .arg(committed.size())
                            .arg(made.size())));
    QVERIFY(m_generation.out.contains(name.toUtf8()));
}

void TestSample::generatorRefusesBadArguments()
{
    QString const generator = QStringLiteral(KENRO_SAMPLE_GENERATOR);
    Run const bare = run(generator, {});
    QCOMPARE(bare.code, 2);
    QVERIFY(bare.err.startsWith("usage:"));

    // A file where the folder should be: nothing can be written below it.
    QTemporaryDir dir;
    QString const blocker = dir.filePath(QStringLiteral("file"));
    QFile file(blocker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    Run const blocked = run(generator, {blocker + QStringLiteral("/out")});
    QCOMPARE(blocked.code, 4);
    QVERIFY(!blocked.err.isEmpty());
    QVERIFY(!QFile::exists(blocker + QStringLiteral("/out/sample.sff")));
}

void TestSample::sprites()
{
    auto const sprites = openSprites(samplePath(QStringLiteral("sample.sff")));
    QVERIFY(sprites);
    QCOMPARE(sprites->version(), SffVersion::V201);
    QCOMPARE(sprites->messages()->count(Message::All), 0u);

    struct Expected
    {
        quint16 group;
        quint16 number;
        QSize size;
        QPoint axis;
    };
    Expected const expected[] = {
        {0, 0, {64, 96}, {32, 92}},   {0, 1, {64, 96}, {32, 92}},   {10, 0, {64, 96}, {32, 92}},
        {200, 0, {88, 96}, {32, 92}}, {200, 1, {88, 96}, {32, 92}}, {5000, 0, {64, 96}, {32, 92}},
        {9000, 0, {25, 25}, {0, 0}},
    };
    QCOMPARE(sprites->count(), unsigned(std::size(expected)));
    QSet<QByteArray> images;
    for (unsigned int i = 0; i < sprites->count(); ++i) {
        SffSprite const *sprite = sprites->sprite(i);
        QVERIFY(sprite);
        QCOMPARE(sprite->group(), expected[i].group);
        QCOMPARE(sprite->number(), expected[i].number);
        QCOMPARE(sprite->axis(), expected[i].axis);
        QImage const pixels = sprite->pixels();
        QCOMPARE(pixels.size(), expected[i].size);
        QCOMPARE(pixels.format(), QImage::Format_Indexed8);
        QVERIFY(sprite->palette());
        // Indexed sprites are stored run-length encoded, as the runtime's own tools store them.
        QVERIFY(sprite->imageData());
        QCOMPARE(sprite->imageData()->storedFormat, quint8(FormatRLE8));

        // Drawn, with the transparent colour around it and only the figure's colours.
        int drawn = 0;
        uchar highest = 0;
        for (int y = 0; y < pixels.height(); ++y) {
            for (int x = 0; x < pixels.width(); ++x) {
                uchar const index = pixels.constScanLine(y)[x];
                drawn += index ? 1 : 0;
                highest = std::max(highest, index);
            }
        }
        QVERIFY2(drawn > pixels.width() * pixels.height() / 20, qPrintable(sprite->label()));
        QVERIFY(drawn < pixels.width() * pixels.height());
        QVERIFY(highest <= 7);
        QCOMPARE(pixels.constScanLine(0)[0], uchar(0));
        images.insert(
            QByteArray(reinterpret_cast<char const *>(pixels.constBits()), pixels.sizeInBytes()));
    }
    // Every pose is a picture of its own.
    QCOMPARE(images.size(), int(std::size(expected)));

    // The punch that lands shows its spark: a colour no other pose has.
    QImage const punch = sprites->sprite(4)->pixels();
    bool spark = false;
    for (int y = 0; y < punch.height() && !spark; ++y)
        spark = std::memchr(punch.constScanLine(y), 6, punch.width()) != nullptr;
    QVERIFY(spark);
}

void TestSample::paletteFileMatchesArchive()
{
    auto const sprites = openSprites(samplePath(QStringLiteral("sample.sff")));
    QVERIFY(sprites);
    RGBA fromFile[256];
    QByteArray const act = contentOf(samplePath(QStringLiteral("sample.act")));
    QCOMPARE(act.size(), 768);
    QVERIFY(readAct(act, fromFile));
    RGBA inArchive[256];
    QVERIFY(sprites->sprite(0)->palette()->colorTable(inArchive));
    for (int i = 1; i < 256; ++i) {
        QCOMPARE(fromFile[i].r, inArchive[i].r);
        QCOMPARE(fromFile[i].g, inArchive[i].g);
        QCOMPARE(fromFile[i].b, inArchive[i].b);
    }
    // The skin colour stands where the sprites expect it.
    QCOMPARE(int(inArchive[2].r), 232);
}

void TestSample::sounds()
{
    std::unique_ptr<SndSounds, Releaser> sounds(new SndSounds);
    QVERIFY(sounds->fromFile(FileSystemArchive::instance(),
                             samplePath(QStringLiteral("sample.snd")), 0, nullptr));
    QCOMPARE(sounds->messages()->count(Message::All), 0u);
    SndBank const bank = sounds->bank();
    QCOMPARE(bank.members.size(), 2);
    QCOMPARE(sounds->find(0, 0), 0);
    QCOMPARE(sounds->find(1, 0), 1);

    quint32 const frames[] = {3307, 4410};
    for (int i = 0; i < 2; ++i) {
        QByteArray wav = bank.members.at(i).wavCopy();
        QBuffer buffer(&wav);
        SoundSample const sample = soundFromWAV(&buffer);
        QCOMPARE(sample.channels, quint16(1));
        QCOMPARE(sample.bits, quint16(16));
        QCOMPARE(sample.frequency, 22050u);
        QCOMPARE(sample.frames, frames[i]);
        // Audible, and never at the limits: no clipped synthesis.
        auto const *values = reinterpret_cast<qint16 const *>(sample.data.constData());
        int peak = 0;
        for (quint32 f = 0; f < sample.frames; ++f)
            peak = std::max(peak, std::abs(int(values[f])));
        QVERIFY2(peak > 8000 && peak < 32767, qPrintable(QString::number(peak)));
    }
}

void TestSample::animationsShowExistingSpritesWithBoxes()
{
    auto const sprites = openSprites(samplePath(QStringLiteral("sample.sff")));
    QVERIFY(sprites);
    QSet<QPair<int, int>> present;
    for (unsigned int i = 0; i < sprites->count(); ++i)
        present.insert({sprites->sprite(i)->group(), sprites->sprite(i)->number()});

    AirDocument document;
    QVERIFY(document.fromFile(FileSystemArchive::instance(),
                              samplePath(QStringLiteral("sample.air")), 0, nullptr));
    QVERIFY2(document.messages()->count(Message::All) == 0,
             describe(document.messages()).constData());

    QMap<int, int> framesByAction;
    int attacking = 0;
    for (CodeNode *node : document.root()->childs()) {
        auto const *action = dynamic_cast<AirAnimation *>(node);
        if (!action)
            continue;
        framesByAction.insert(action->number(), int(action->frameCount()));
        for (FrameCode const *frame : action->frames()) {
            auto const *airFrame = dynamic_cast<AirFrame const *>(frame);
            QVERIFY(airFrame);
            QPair<int, int> const sprite(airFrame->fields().group, airFrame->fields().image);
            QVERIFY2(present.contains(sprite),
                     qPrintable(QStringLiteral("action %1 shows sprite %2,%3, which is missing")
                                    .arg(action->number())
                                    .arg(sprite.first)
                                    .arg(sprite.second)));
            // Every frame can be hit.
            QVERIFY(frame->collisionBoxes());
            QVERIFY(frame->collisionBoxes()->count() >= 1);
            if (frame->attackBoxes() && frame->attackBoxes()->count()) {
                ++attacking;
                QCOMPARE(action->number(), 200);
                QCOMPARE(frame->index(), 1);
                // The blow reaches in front of the figure.
                QVERIFY(frame->attackBoxes()->rects().at(0).left() > 0);
            }
        }
    }
    QMap<int, int> const expected{{0, 2}, {11, 1}, {200, 3}, {5000, 2}};
    QCOMPARE(framesByAction, expected);
    QCOMPARE(attacking, 1);
}

void TestSample::scriptsParseCleanly_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("stateDefinitions");
    QTest::addColumn<int>("commands");
    QTest::newRow("definition") << QStringLiteral("sample.def") << 0 << 0;
    QTest::newRow("states") << QStringLiteral("sample.cns") << 3 << 0;
    QTest::newRow("commands") << QStringLiteral("sample.cmd") << 1 << 2;
}

void TestSample::scriptsParseCleanly()
{
    QFETCH(QString, name);
    QFETCH(int, stateDefinitions);
    QFETCH(int, commands);
    ScriptDocument document;
    QVERIFY(document.fromFile(FileSystemArchive::instance(), samplePath(name), 0, nullptr));
    QVERIFY2(document.messages()->count(Message::All) == 0,
             describe(document.messages()).constData());
    QCOMPARE(groupsOfKind(document, ScriptGroup::StateDef), stateDefinitions);
    QCOMPARE(groupsOfKind(document, ScriptGroup::Command), commands);
}

void TestSample::definitionNamesFilesOfTheFolder()
{
    ScriptDocument document;
    QVERIFY(document.fromFile(FileSystemArchive::instance(),
                              samplePath(QStringLiteral("sample.def")), 0, nullptr));
    QStringList named;
    for (CodeNode *node : document.root()->childs()) {
        auto const *group = dynamic_cast<ScriptGroup *>(node);
        if (!group || group->kind() != ScriptGroup::Files)
            continue;
        for (ValueCode const *value : group->values()) {
            QString const file = value->valueText().trimmed();
            named.append(file);
            // The common states come with the engine; everything else lives here.
            if (value->name().compare(QLatin1String("stcommon"), Qt::CaseInsensitive) != 0)
                QVERIFY2(QFile::exists(samplePath(file)), qPrintable(file));
        }
    }
    for (char const *file :
         {"sample.cmd", "sample.cns", "sample.sff", "sample.air", "sample.snd", "sample.act"})
        QVERIFY2(named.contains(QLatin1String(file)), file);
}

void TestSample::toolFindsNoFault()
{
    QTemporaryDir config;
    Run const check =
        run(QStringLiteral(KENRO_EXECUTABLE), {QStringLiteral("check"), sampleDir}, config.path());
    QVERIFY2(check.code == 0, (check.out + check.err).constData());
    QVERIFY(!check.out.contains(": error:"));
    QVERIFY(!check.out.contains(": warning:"));

    Run const info =
        run(QStringLiteral(KENRO_EXECUTABLE), {QStringLiteral("info"), sampleDir}, config.path());
    QCOMPARE(info.code, 0);
    for (char const *file : {"sample.def", "sample.cns", "sample.cmd", "sample.air", "sample.snd"})
        QVERIFY2(info.out.contains(file), info.out.constData());
}

QTEST_MAIN(TestSample)
#include "tst_sample.moc"
