#include <kenro/engine/extension.h>
#include <kenro/engine/ktranslator.h>
#include <kenro/project/filesystemarchive.h>

#include "dialoganswerer.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"

#include <QBuffer>
#include <QColor>
#include <QImage>
#include <QTemporaryDir>

#include <dlfcn.h>

#include <memory>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::DialogAnswerer;
using KenroTest::TestEngine;
using KenroTest::TestInterface;

namespace {

bool isLoaded(QString const &path)
{
    void *handle = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle); // gives back the reference RTLD_NOLOAD took
    return handle;
}

int listed()
{
    int count = 0;
    for (int type = 0; type < Extension::TypeCount; ++type)
        count += ExtensionManager::list(Extension::Type(type)).size();
    return count;
}

// The instances of \a engine: their names, or with \a fields all that they hold.
QString instances(TestEngine const &engine, bool fields = false)
{
    QStringList all;
    for (unsigned int i = 0; i < engine.count(); ++i) {
        EngineInstances::Info const it = engine.at(i);
        all << (fields ? QStringList{it.name, it.exe, it.params, it.icon}.join(u',') : it.name);
    }
    return all.join(u' ');
}

} // namespace

class TestEngines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void configurationRoundTrip()
    {
        auto host = std::make_unique<TestInterface>();
        DialogAnswerer answerer;
        QString const config = host->settingsDirectory() + u"/alpha_config.xml"_s;
        QVariantMap const options{{u"colour"_s, QColor(10, 20, 30, 128)},
                                  {u"area"_s, QRect(QPoint(10, 20), QPoint(39, 59))},
                                  {u"looksLikeColour"_s, u"1,2,3"_s},
                                  {u"plain"_s, u"some & <text>"_s},
                                  {u"negative"_s, u"-1,2,3"_s}};
        {
            TestEngine engine(u"alpha"_s);
            QCOMPARE(engine.configFile(), config);
            engine.add(u"Release"_s, u"/opt/run"_s, u"-windowed"_s, QString());
            engine.add(u"Debug"_s, QString(), QString(), u"/icons/debug.png"_s);
            for (auto it = options.cbegin(); it != options.cend(); ++it)
                engine.setOption(it.key(), it.value());
        }
        // The written file: instances first, fields in their order, then options.
        QString const text = QString::fromUtf8(KenroTest::readFile(config));
        int at = 0;
        for (char const *part :
             {"<engine name=\"Release\">", "name=\"exe\" value=\"/opt/run\"", "name=\"icon\"",
              "name=\"params\" value=\"-windowed\"", "<engine name=\"Debug\">", "</engine>",
              "<config name=\"area\" value=\"10,20,30,40\"/>"}) {
            QVERIFY2(text.indexOf(QLatin1String(part), at) > at, part);
            at = text.indexOf(QLatin1String(part), at);
        }
        // A restart reads it all back; colours lose their alpha, and text that
        // looks like a colour is one.
        TestEngine engine(u"alpha"_s);
        QCOMPARE(instances(engine, true),
                 "Release,/opt/run,-windowed, Debug,,,/icons/debug.png"_L1);
        QVariantMap read, expected = options;
        for (QString const &key : options.keys())
            read.insert(key, engine.option(key));
        expected[u"colour"_s] = QColor(10, 20, 30);
        expected[u"looksLikeColour"_s] = QColor(1, 2, 3);
        QCOMPARE(read, expected);
        QVERIFY(answerer.seen.isEmpty());
        // An option the engine lacks is the host's; a null value is the engine's own answer.
        host->options.insert(u"hostOnly"_s, 7);
        QVERIFY(engine.option(u"hostOnly"_s, 1) == 7 && engine.option(u"nowhere"_s, 1) == 1);
        engine.setOption(u"hostOnly"_s, QVariant());
        QVERIFY(engine.option(u"hostOnly"_s, 1).isNull());
        QCOMPARE(engine.path(), host->applicationDirectory() + u"/engines/alpha"_s);
        host->dpiFactor = 2; // left, top, width and height scale apart
        QCOMPARE(host->scaleToDPI(QRect(1, 2, 10, 20)), QRect(2, 4, 20, 40));
        host.reset();
        // Without a host nothing is read or written.
        TestEngine lone(u"gamma"_s);
        QVERIFY(lone.configFile().isEmpty() && lone.load() && lone.save());
        QCOMPARE(lone.path(), QDir::currentPath() + u"/engines/gamma"_s);
    }

    void badConfigurations()
    {
        TestInterface host;
        DialogAnswerer answerer;
        // Broken halfway: what came before is kept, and the host's text tells where.
        QVERIFY(KenroTest::writeFile(
            host.settingsDirectory() + u"/theta_config.xml"_s,
            "<?xml version=\"1.0\"?>\n<configuration>\n <engine name=\"first\">\n"
            "  <param name=\"exe\" value=\"/bin/first\"/>\n  <param "
            "name=\"other\" value=\"ignored\"/>\n </engine>\n <config "
            "name=\"early\" value=\"1,2,3,4\"/>\n <engine name=\"second\">\n"
            "  <param name=\"exe\" value=\"/bin/second\"\n"));
        {
            TestEngine engine(u"theta"_s);
            QCOMPARE(answerer.titles(), QStringList{u"XML error"_s});
            QVERIFY(answerer.seen[0].text.endsWith(u" at line 10, column 0"_s));
            QCOMPARE(instances(engine, true), "first,/bin/first,, second,,,"_L1);
            QCOMPARE(engine.option(u"early"_s), QVariant(QRect(1, 2, 3, 4)));
            QVERIFY(!engine.load());
        }
        QCOMPARE(TestEngine(u"theta"_s).at(0).name, u"first"_s); // ending it wrote a sound file
        QCOMPARE(answerer.seen.size(), 2);
        // A folder where the file should be can be neither read nor written.
        answerer.seen.clear();
        QString const folder = host.settingsDirectory() + u"/iota_config.xml"_s;
        QVERIFY(QDir().mkpath(folder));
        TestEngine(u"iota"_s).add(QString(), QString(), QString(), QString());
        QCOMPARE(answerer.titles(), QStringList(2, u"Configuration error!"_s));
        QCOMPARE(answerer.seen[0].text + u'|' + answerer.seen[1].text,
                 u"Can't open engine configuration from '%1'!|"
                 u"Can't save engine configuration to '%1'!"_s.arg(folder));
        TestEngine(u"deeper/kappa"_s).add(QString(), QString(), QString(), QString());
        QVERIFY(QFile::exists(host.settingsDirectory() + u"/deeper/kappa_config.xml"_s));
    }

    void extensionsLoadDispatchAndShutDownInOrder()
    {
        // Libraries load in name order and receive the directory.
        DialogAnswerer answerer;
        QTemporaryDir plugins, scratch;
        QString const log = scratch.filePath(u"events.log"_s);
        qputenv("KENRO_PLUGIN_LOG", QFile::encodeName(log));
        QStringList loaded;
        for (auto [name, from] : {std::pair{"libbeta.so", KENRO_TEST_PLUGIN_BETA},
                                  {"libalpha.so", KENRO_TEST_PLUGIN_ALPHA},
                                  {"libnoentry.so", KENRO_TEST_PLUGIN_NOENTRY}}) {
            loaded << plugins.filePath(QLatin1String(name));
            QVERIFY(QFile::copy(QString::fromUtf8(from), loaded.last()));
        }
        QVERIFY(KenroTest::writeFile(plugins.filePath(u"garbage.so"_s), "not a shared library\n"));
        QVERIFY(KenroTest::writeFile(plugins.filePath(u"notes.txt"_s), ""));
        auto manager = std::make_unique<ExtensionManager>(plugins.path());
        QVERIFY(isLoaded(loaded[0]) && isLoaded(loaded[1]) && !isLoaded(loaded[2]));
        QImage image;
        QBuffer device;
        for (Extension *reader : ExtensionManager::byFormat(Extension::ImageReader, "TST")) {
            if (static_cast<ImageReaderExtension *>(reader)->read(&device, image))
                break;
        }
        QCOMPARE(image.size(), QSize(2, 3));
        // Filters of engine-bound formats follow the current engine.
        TestEngine engine;
        QString filters = ExtensionManager::filters(Extension::AnimationReader, &engine);
        engine.identifier = u"other-engine"_s;
        filters += u'|' + ExtensionManager::filters(Extension::AnimationReader, &engine) + u'|' +
            ExtensionManager::filters(Extension::ImageReader, nullptr);
        QCOMPARE(filters,
                 "Test animations (*.air);;Any (*.xan)|Any (*.xan)|"
                 "Test images (*.tst);;Test images (*.tst)"_L1);
        // Archives by the suffix of a name, any case; the file system otherwise.
        QCOMPARE(ExtensionManager::archiveFor(u"/x/data.Pak"_s, 1), nullptr);
        QCOMPARE(ExtensionManager::archiveFor(u"/x/data.zip"_s, 0),
                 static_cast<Archive *>(&FileSystemArchive::instance()));
        // Lists in type order, each from its back; then the libraries, the last loaded first.
        manager.reset();
        QCOMPARE(QString::fromUtf8(KenroTest::readFile(log)).split(u'\n', Qt::SkipEmptyParts),
                 QStringList({u"register alpha "_s + plugins.path(),
                              u"register beta "_s + plugins.path(), u"alpha read"_s, u"beta read"_s,
                              u"alpha create /x/data.Pak 1"_s, u"release beta PAK"_s,
                              u"release alpha PAK"_s, u"release beta TST"_s, u"release alpha TST"_s,
                              u"release beta XAN"_s, u"release alpha AIR"_s, u"unload beta"_s,
                              u"unload alpha"_s}));
        QVERIFY(!isLoaded(loaded[0]) && !isLoaded(loaded[1]));
        QVERIFY(listed() == 0 && answerer.seen.isEmpty());
        qunsetenv("KENRO_PLUGIN_LOG");
    }

    void actionTexts()
    {
        QStringList texts;
        for (int id : {0, 4, 115, 171, 173, 217, 218, -1})
            texts << u"%1 %2|%3"_s.arg(id).arg(KTranslator::instance()->text(id),
                                               KTranslator::instance()->toolTip(id));
        QCOMPARE(texts,
                 QStringList({u"0 System|"_s,
                              u"4 Code toolbar|Show/Hide the code toolbar in all code editors"_s,
                              u"115 |Add one or more sprites"_s, u"171 |"_s,
                              u"173 |Import one or more sounds from another opened project..."_s,
                              u"217 Emulator|"_s, u"218 |"_s, u"-1 |"_s}));
    }
};

QTEST_MAIN(TestEngines)
#include "tst_engine.moc"
