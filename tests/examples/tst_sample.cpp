#include <sffsprite.h>
#include <sffsprites.h>

#include <ikemen/air/airdocument.h>
#include <ikemen/air/airnodes.h>
#include <ikemen/snd/sndsounds.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/contactboxcode.h>
#include <kenro/project/filesystemarchive.h>

#include <QFile>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace Qt::StringLiterals;

namespace {

QString const sample = QStringLiteral(KENRO_SAMPLE_DIR);

struct Run
{
    int code = -1;
    QByteArray out;
    QByteArray err;
};

// Runs \a program to its end with settings of its own; code -1 when it crashed or hung.
Run run(char const *program, QStringList const &arguments)
{
    QTemporaryDir config;
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"KENRO_SETTINGS"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, config.path());
    process.setProcessEnvironment(environment);
    process.start(QString::fromLocal8Bit(program), arguments);
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

template<class File>
std::unique_ptr<File, void (*)(File *)> open(QString const &name)
{
    std::unique_ptr<File, void (*)(File *)> file(new File, [](File *f) { f->release(); });
    if (!file->fromFile(FileSystemArchive::instance(), sample + u'/' + name, 0, nullptr))
        file.reset();
    return file;
}

} // namespace

class TestSample : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_generated.isValid());
        m_generation = run(KENRO_SAMPLE_GENERATOR, {m_generated.path()});
        QVERIFY2(m_generation.code == 0, m_generation.err.constData());
    }

    void generatorReproducesCommittedFiles_data()
    {
        QTest::addColumn<QString>("name");
        for (char const *name : {"sample.sff", "sample.act", "sample.snd"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void generatorReproducesCommittedFiles()
    {
        // The generator is the source: a difference means the committed file is stale.
        QFETCH(QString, name);
        QFile made(m_generated.filePath(name));
        QFile committed(sample + u'/' + name);
        QVERIFY(made.open(QIODevice::ReadOnly) && committed.open(QIODevice::ReadOnly));
        QVERIFY2(made.readAll() == committed.readAll(),
                 qPrintable(name + u" is stale: run kenro_sample_generator on its folder"_s));
        QVERIFY(m_generation.out.contains(name.toUtf8()));
    }

    void generatorRefusesBadArguments()
    {
        Run const bare = run(KENRO_SAMPLE_GENERATOR, {});
        QCOMPARE(bare.code, 2);
        QVERIFY(bare.err.startsWith("usage:"));
        // A file where the folder should be: nothing can be written below it.
        QTemporaryDir dir;
        QFile file(dir.filePath(u"file"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        Run const blocked = run(KENRO_SAMPLE_GENERATOR, {file.fileName() + u"/out"_s});
        QCOMPARE(blocked.code, 4);
        QVERIFY(!blocked.err.isEmpty());
    }

    void sprites()
    {
        // Every pose is drawn, as an RLE8 sprite of its own in the figure's
        // few colours on the transparent one; only the landing punch shows
        // the spark's colour.
        auto const sprites = open<SffSprites>(u"sample.sff"_s);
        QVERIFY(sprites);
        QSet<QByteArray> images;
        QList<int> sparks;
        for (unsigned int i = 0; i < sprites->count(); ++i) {
            QImage const pixels = sprites->sprite(i)->pixels();
            QCOMPARE(sprites->sprite(i)->imageData()->storedFormat, quint8(FormatRLE8));
            QByteArray bytes;
            for (int y = 0; y < pixels.height(); ++y)
                bytes.append(reinterpret_cast<char const *>(pixels.constScanLine(y)),
                             pixels.width());
            qsizetype const drawn = bytes.size() - bytes.count('\0');
            QVERIFY(drawn > bytes.size() / 20 && drawn < bytes.size() && bytes.at(0) == 0);
            QVERIFY(*std::max_element(bytes.cbegin(), bytes.cend()) <= 7);
            if (bytes.contains('\6'))
                sparks << int(i);
            images.insert(bytes);
        }
        QCOMPARE(images.size(), int(sprites->count()));
        QCOMPARE(sparks, QList<int>{4});
    }

    void sounds()
    {
        // 16-bit mono at 22,050 Hz under 0,0 and 1,0: audible, and never at
        // the limits, so no clipped synthesis.
        auto const sounds = open<SndSounds>(u"sample.snd"_s);
        QVERIFY(sounds);
        QCOMPARE(sounds->count(), 2u);
        for (qint32 group : {0, 1}) {
            QCOMPARE(sounds->find(group, 0), group);
            SoundSample sample;
            sounds->sound(unsigned(group))->sample(sample);
            QCOMPARE(QList<quint32>({sample.channels, sample.bits, sample.frequency}),
                     QList<quint32>({1, 16, 22050}));
            auto const *values = reinterpret_cast<qint16 const *>(sample.data.constData());
            int peak = 0;
            for (quint32 f = 0; f < sample.frames; ++f)
                peak = std::max(peak, std::abs(int(values[f])));
            QVERIFY2(peak > 8000 && peak < 32767, qPrintable(QString::number(peak)));
        }
    }

    void animationsShowExistingSpritesWithBoxes()
    {
        // Every frame shows a sprite of the archive and can be hit; the one
        // blow reaches in front of the figure.
        auto const sprites = open<SffSprites>(u"sample.sff"_s);
        QVERIFY(sprites);
        QSet<QPair<int, int>> present;
        for (unsigned int i = 0; i < sprites->count(); ++i)
            present.insert({sprites->sprite(i)->group(), sprites->sprite(i)->number()});
        AirDocument document;
        QVERIFY(document.fromFile(FileSystemArchive::instance(), sample + u"/sample.air"_s, 0,
                                  nullptr));
        QMap<int, int> frames;
        QStringList attacks;
        for (CodeNode *node : document.root()->childs()) {
            auto const *action = dynamic_cast<AirAnimation *>(node);
            for (FrameCode const *frame : action ? action->frames() : QList<FrameCode *>()) {
                ++frames[action->number()];
                auto const &fields = dynamic_cast<AirFrame const &>(*frame).fields();
                QVERIFY2(present.contains({fields.group, fields.image}),
                         qPrintable(u"action %1 shows a missing sprite"_s.arg(action->number())));
                QVERIFY(frame->collisionBoxes() && frame->collisionBoxes()->count() >= 1);
                if (frame->attackBoxes() && frame->attackBoxes()->count()) {
                    attacks << u"%1/%2"_s.arg(action->number()).arg(frame->index());
                    QVERIFY(frame->attackBoxes()->rects().at(0).left() > 0);
                }
            }
        }
        QCOMPARE(frames, (QMap<int, int>{{0, 2}, {11, 1}, {200, 3}, {5000, 2}}));
        QCOMPARE(attacks, QStringList{u"200/1"_s});
    }

    void toolFindsNoFault()
    {
        // Every file of the folder reads without an error or a warning, and
        // every file that the definition names is there.
        Run const check = run(KENRO_EXECUTABLE, {u"check"_s, sample});
        QVERIFY2(check.code == 0, (check.out + check.err).constData());
        QVERIFY(!check.out.contains(": error:") && !check.out.contains(": warning:"));
        Run const info = run(KENRO_EXECUTABLE, {u"info"_s, sample});
        QCOMPARE(info.code, 0);
        for (char const *file :
             {"sample.def", "sample.cns", "sample.cmd", "sample.air", "sample.snd"})
            QVERIFY2(info.out.contains(file), info.out.constData());
    }

private:
    QTemporaryDir m_generated;
    Run m_generation;
};

QTEST_MAIN(TestSample)
#include "tst_sample.moc"
