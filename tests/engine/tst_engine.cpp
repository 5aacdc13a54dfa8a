#include <kenro/engine/engine.h>
#include <kenro/project/parentproject.h>

#include "dialoganswerer.h"
#include "memoryarchive.h"
#include "testengine.h"
#include "testinterface.h"
#include "testproject.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QDir>
#include <QImage>
#include <QRect>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Kenro;
using KenroTest::DialogAnswerer;
using KenroTest::TestEngine;
using KenroTest::TestInterface;

namespace {

QByteArray readAll(QString const &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeAll(QString const &path, QByteArray const &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

class TestEngineSuite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void configurationRoundTrip()
    {
        TestInterface host;
        DialogAnswerer answerer;
        QString const config = host.settingsDirectory() + QStringLiteral("/alpha_config.xml");
        {
            TestEngine engine(QStringLiteral("alpha"));
            QCOMPARE(engine.configFile(), config);
            QCOMPARE(engine.directory(), QStringLiteral("/engines/alpha"));
            QCOMPARE(engine.count(), 0u);
            engine.add(QStringLiteral("Release"), QStringLiteral("/opt/game/run"),
                       QStringLiteral("-windowed"), QString());
            engine.add(QStringLiteral("Debug"), QStringLiteral("/opt/game/run-debug"), QString(),
                       QStringLiteral("/icons/debug.png"));
            engine.setOption(QStringLiteral("colour"), QColor(10, 20, 30, 128));
            engine.setOption(QStringLiteral("area"), QRect(QPoint(10, 20), QPoint(39, 59)));
            engine.setOption(QStringLiteral("looksLikeColour"), QStringLiteral("1,2,3"));
            engine.setOption(QStringLiteral("looksLikeRect"), QStringLiteral("10,20,30,40"));
            engine.setOption(QStringLiteral("plain"), QStringLiteral("some & <text>"));
            engine.setOption(QStringLiteral("negative"), QStringLiteral("-1,2,3"));
        }
        QVERIFY(answerer.seen.isEmpty());

        // The written file: instances first, fields in their order, then options.
        QString const text = QString::fromUtf8(readAll(config));
        QVERIFY(text.startsWith(QStringLiteral("<?xml")));
        int const release = text.indexOf(QStringLiteral("<engine name=\"Release\">"));
        int const exe = text.indexOf(QStringLiteral("name=\"exe\" value=\"/opt/game/run\""));
        int const icon = text.indexOf(QStringLiteral("name=\"icon\""));
        int const params = text.indexOf(QStringLiteral("name=\"params\" value=\"-windowed\""));
        int const firstConfig = text.indexOf(QStringLiteral("<config "));
        QVERIFY(release >= 0 && release < exe && exe < icon && icon < params);
        QVERIFY(params < text.indexOf(QStringLiteral("<engine name=\"Debug\">")));
        QVERIFY(firstConfig > text.lastIndexOf(QStringLiteral("</engine>")));
        QVERIFY(text.contains(QStringLiteral("<config name=\"colour\" value=\"10,20,30\"/>")));
        QVERIFY(text.contains(QStringLiteral("<config name=\"area\" value=\"10,20,30,40\"/>")));

        // A restart reads it all back, with the documented conversions.
        TestEngine engine(QStringLiteral("alpha"));
        QCOMPARE(engine.count(), 2u);
        QCOMPARE(engine.at(0).name, QStringLiteral("Release"));
        QCOMPARE(engine.at(0).exe, QStringLiteral("/opt/game/run"));
        QCOMPARE(engine.at(0).params, QStringLiteral("-windowed"));
        QCOMPARE(engine.at(1).icon, QStringLiteral("/icons/debug.png"));
        QVariant const colour = engine.option(QStringLiteral("colour"));
        QCOMPARE(colour.typeId(), int(QMetaType::QColor));
        QCOMPARE(colour.value<QColor>(), QColor(10, 20, 30)); // alpha is not kept
        QVariant const area = engine.option(QStringLiteral("area"));
        QCOMPARE(area.typeId(), int(QMetaType::QRect));
        QCOMPARE(area.toRect(), QRect(10, 20, 30, 40));
        QCOMPARE(engine.option(QStringLiteral("looksLikeColour")).value<QColor>(), QColor(1, 2, 3));
        QRect const rect = engine.option(QStringLiteral("looksLikeRect")).toRect();
        QCOMPARE(rect.right(), 39);
        QCOMPARE(rect.bottom(), 59);
        QCOMPARE(engine.option(QStringLiteral("plain")), QVariant(QStringLiteral("some & <text>")));
        QCOMPARE(engine.option(QStringLiteral("negative")), QVariant(QStringLiteral("-1,2,3")));
    }

    void optionsFallBackToTheHost()
    {
        TestInterface host;
        host.options.insert(QStringLiteral("hostOnly"), 7);
        TestEngine engine(QStringLiteral("beta"));
        QCOMPARE(engine.option(QStringLiteral("hostOnly"), 1), QVariant(7));
        QCOMPARE(engine.option(QStringLiteral("nowhere"), 1), QVariant(1));
        engine.setOption(QStringLiteral("hostOnly"), 8);
        QCOMPARE(engine.option(QStringLiteral("hostOnly"), 1), QVariant(8));
        // A null value is the engine's own answer, not a reason to ask further.
        engine.setOption(QStringLiteral("hostOnly"), QVariant());
        QVERIFY(engine.option(QStringLiteral("hostOnly"), 1).isNull());
        QVERIFY(engine.options.contains(QStringLiteral("hostOnly")));
    }

    void withoutHostNothingIsReadOrWritten()
    {
        QString const before = QDir::currentPath();
        TestEngine engine(QStringLiteral("gamma"));
        QVERIFY(engine.configFile().isEmpty());
        QVERIFY(engine.load());
        QVERIFY(engine.save());
        QCOMPARE(engine.path(), before + QStringLiteral("/engines/gamma"));
        engine.setOption(QStringLiteral("x"), 1);
        QCOMPARE(engine.option(QStringLiteral("x"), 2), QVariant(1));
        QCOMPARE(engine.option(QStringLiteral("y"), 2), QVariant(2));
    }

    void pathAndTypeNames()
    {
        TestInterface host;
        TestEngine engine(QStringLiteral("delta"));
        QCOMPARE(engine.path(), host.applicationDirectory() + QStringLiteral("/engines/delta"));
        QCOMPARE(engine.publicEngine(), &engine);

        KenroTest::MemoryArchive archive;
        KenroTest::TestParentProject parent(QStringLiteral("/game/"), archive);
        KenroTest::TestProject project(&parent, 1, nullptr, false);
        QCOMPARE(project.typeName(), QString()); // no engine yet
        parent.testEngine = &engine;
        QCOMPARE(project.typeName(), QStringLiteral("Stage"));
    }

    void instancesAsAModel()
    {
        TestInterface host;
        TestEngine engine(QStringLiteral("epsilon"));
        QAbstractItemModelTester tester(&engine,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy removed(&engine, &QAbstractItemModel::rowsRemoved);
        QSignalSpy inserted(&engine, &QAbstractItemModel::rowsInserted);
        QSignalSpy changed(&engine, &QAbstractItemModel::dataChanged);

        engine.clear();
        QCOMPARE(removed.count(), 0); // nothing to clear, nothing said

        for (QString const &name :
             {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d")})
            engine.add(name, QStringLiteral("/bin/") + name, QString(), QString());
        QCOMPARE(inserted.count(), 4);
        QCOMPARE(inserted.last().at(1).toInt(), 3);

        engine.move(0, 2);
        QCOMPARE(engine.at(2).name, QStringLiteral("a"));
        QCOMPARE(engine.at(0).name, QStringLiteral("b"));
        engine.move(3, 0);
        QCOMPARE(engine.at(0).name, QStringLiteral("d"));

        engine.edit(1, QStringLiteral("B"), QStringLiteral("/bin/B"), QStringLiteral("-x"),
                    QString());
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.last().at(0).toModelIndex().row(), 1);
        QCOMPARE(engine.data(engine.index(1), Qt::DisplayRole), QVariant(QStringLiteral("B")));
        QVERIFY(!engine.data(engine.index(1), Qt::ToolTipRole).isValid());
        QVERIFY(!engine.data(engine.index(9), Qt::DisplayRole).isValid());

        engine.remove(17); // out of range
        QCOMPARE(engine.count(), 4u);
        engine.remove(1);
        QCOMPARE(engine.count(), 3u);
        QCOMPARE(removed.count(), 1);

        QVERIFY(engine.run(0, nullptr, QStringLiteral("-p")));
        QCOMPARE(engine.runs, QStringList{QStringLiteral("0:-p")});

        engine.clear();
        QCOMPARE(engine.count(), 0u);
        QCOMPARE(removed.count(), 2);
        QCOMPARE(removed.last().at(2).toInt(), 2);
    }

    void iconsFallBackToTheEngineDirectory()
    {
        TestInterface host;
        QString const engineDirectory = host.resourceDirectory() + QStringLiteral("/engines/zeta");
        QVERIFY(QDir().mkpath(engineDirectory));
        QImage red(4, 4, QImage::Format_ARGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(engineDirectory + QStringLiteral("/icon.png")));
        QImage blue(4, 4, QImage::Format_ARGB32);
        blue.fill(Qt::blue);
        QString const own = host.settingsDirectory() + QStringLiteral("/own.png");
        QVERIFY(blue.save(own));

        TestEngine engine(QStringLiteral("zeta"));
        engine.add(QStringLiteral("plain"), QString(), QString(), QString());
        engine.add(QStringLiteral("own"), QString(), QString(), own);
        auto const colourOf = [&engine](int row) {
            QIcon const icon = engine.data(engine.index(row), Qt::DecorationRole).value<QIcon>();
            return icon.pixmap(4, 4).toImage().pixelColor(1, 1);
        };
        QCOMPARE(colourOf(0), QColor(Qt::red));
        QCOMPARE(colourOf(1), QColor(Qt::blue));
    }

    void configurationWithoutInstancesAnnouncesNothing()
    {
        TestInterface host;
        QString const config = host.settingsDirectory() + QStringLiteral("/eta_config.xml");
        QVERIFY(writeAll(config,
                         "<?xml version=\"1.0\"?>\n<configuration>\n"
                         "<config name=\"k\" value=\"v\"/>\n</configuration>\n"));
        TestEngine engine(QStringLiteral("eta"));
        QSignalSpy inserted(&engine, &QAbstractItemModel::rowsInserted);
        QVERIFY(engine.load());
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(engine.count(), 0u);
        QCOMPARE(engine.option(QStringLiteral("k")), QVariant(QStringLiteral("v")));
    }

    void malformedConfigurationKeepsWhatCameBefore()
    {
        TestInterface host;
        DialogAnswerer answerer;
        QString const config = host.settingsDirectory() + QStringLiteral("/theta_config.xml");
        QVERIFY(writeAll(config,
                         "<?xml version=\"1.0\"?>\n<configuration>\n"
                         " <engine name=\"first\">\n"
                         "  <param name=\"exe\" value=\"/bin/first\"/>\n"
                         "  <param name=\"other\" value=\"ignored\"/>\n"
                         " </engine>\n"
                         " <config name=\"early\" value=\"1,2,3,4\"/>\n"
                         " <engine name=\"second\">\n"
                         "  <param name=\"exe\" value=\"/bin/second\"\n"));
        std::unique_ptr<TestEngine> engine(new TestEngine(QStringLiteral("theta")));
        QCOMPARE(answerer.seen.size(), 1);
        QCOMPARE(answerer.seen.first().title, QStringLiteral("XML error"));
        // The host's text, filled with the reader's error and where it stopped.
        QVERIFY(answerer.seen.first().text.endsWith(QStringLiteral(" at line 10, column 0")));
        QVERIFY(engine->count() >= 1);
        QCOMPARE(engine->at(0).name, QStringLiteral("first"));
        QCOMPARE(engine->at(0).exe, QStringLiteral("/bin/first"));
        QCOMPARE(engine->option(QStringLiteral("early")).toRect(), QRect(1, 2, 3, 4));
        QVERIFY(!engine->load());
        QCOMPARE(answerer.seen.size(), 2);

        // The engine stays usable, and ending it writes a sound file.
        engine.reset();
        TestEngine again(QStringLiteral("theta"));
        QCOMPARE(answerer.seen.size(), 2);
        QCOMPARE(again.at(0).name, QStringLiteral("first"));
    }

    void unreadableAndUnwritableConfigurations()
    {
        TestInterface host;
        DialogAnswerer answerer;
        // A directory where the file should be can be neither opened nor written.
        QString const config = host.settingsDirectory() + QStringLiteral("/iota_config.xml");
        QVERIFY(QDir().mkpath(config));
        {
            TestEngine engine(QStringLiteral("iota"));
            QCOMPARE(answerer.seen.size(), 1);
            QCOMPARE(answerer.seen.at(0).title, QStringLiteral("Configuration error!"));
            QCOMPARE(answerer.seen.at(0).text,
                     QStringLiteral("Can't open engine configuration from '%1'!").arg(config));
            QVERIFY(!engine.save());
            QCOMPARE(answerer.seen.at(1).text,
                     QStringLiteral("Can't save engine configuration to '%1'!").arg(config));
        }
        QCOMPARE(answerer.seen.size(), 3); // the save on destruction fails as well

        // A missing folder on the way to the file is made on save.
        QString const nested =
            host.settingsDirectory() + QStringLiteral("/deeper/kappa_config.xml");
        {
            TestEngine engine(QStringLiteral("deeper/kappa"));
            engine.add(QStringLiteral("k"), QString(), QString(), QString());
        }
        QVERIFY(QFile::exists(nested));
        QCOMPARE(answerer.seen.size(), 3);
    }
};

QTEST_MAIN(TestEngineSuite)
#include "tst_engine.moc"
