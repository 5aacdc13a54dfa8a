#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

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

    void toolFindsNoFault()
    {
        // Every file of the folder reads without an error or a warning, and
        // every file that the definition names is there.
        Run const check = run(KENRO_EXECUTABLE, {u"check"_s, sample});
        QVERIFY2(check.code == 0, (check.out + check.err).constData());
        QVERIFY(!check.out.contains(": error:") && !check.out.contains(": warning:"));
    }

    void framesShowSpritesOfTheArchive()
    {
        QTemporaryDir out;
        Run const exported = run(
            KENRO_EXECUTABLE, {u"sprites"_s, u"export"_s, sample + u"/sample.sff"_s, out.path()});
        QVERIFY2(exported.code == 0, exported.err.constData());
        QFile manifest(out.filePath(u"sprites.json"_s)), air(sample + u"/sample.air"_s);
        QVERIFY(manifest.open(QIODevice::ReadOnly) && air.open(QIODevice::ReadOnly));
        QSet<QString> sprites;
        for (QJsonValue const sprite :
             QJsonDocument::fromJson(manifest.readAll())[u"sprites"_s].toArray())
            sprites << u"%1,%2"_s.arg(sprite[u"group"_s].toInt()).arg(sprite[u"number"_s].toInt());
        QRegularExpression const frame(u"^\\s*(\\d+)\\s*,\\s*(\\d+)\\s*,"_s,
                                       QRegularExpression::MultilineOption);
        int frames = 0;
        for (QRegularExpressionMatch const &m :
             frame.globalMatch(QString::fromUtf8(air.readAll()))) {
            QString const id = m.captured(1) + u',' + m.captured(2);
            QVERIFY2(
                sprites.contains(id),
                qPrintable(u"sample.air shows sprite "_s + id + u", which sample.sff lacks"_s));
            ++frames;
        }
        QVERIFY(frames >= 8);
    }

private:
    QTemporaryDir m_generated;
    Run m_generation;
};

QTEST_GUILESS_MAIN(TestSample)
#include "tst_sample.moc"
