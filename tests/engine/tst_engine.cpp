#include <kenro/engine/extension.h>
#include <kenro/engine/ktranslator.h>
#include <kenro/project/filesystemarchive.h>

#include "dialoganswerer.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"

#include <QAbstractItemModelTester>
#include <QBuffer>
#include <QColor>
#include <QImage>
#include <QRect>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

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

// An in-process extension for the rules of add().
class Plain : public Extension
{
public:
    Plain(Type type, char const *format, char const *description, int *released)
        : m_type(type), m_format(format), m_description(description), m_released(released)
    {}
    void release() override
    {
        ++*m_released;
        delete this;
    }
    Type type() const override { return m_type; }
    char const *format() const override { return m_format; }
    char const *description() const override { return m_description; }

private:
    Type m_type;
    char const *m_format, *m_description;
    int *m_released;
};

int listed()
{
    int count = 0;
    for (int type = 0; type < Extension::TypeCount; ++type)
        count += ExtensionManager::list(Extension::Type(type)).size();
    return count;
}

QString names(TestEngine const &engine)
{
    QString all;
    for (unsigned int i = 0; i < engine.count(); ++i)
        all += engine.at(i).name;
    return all;
}

} // namespace

class TestEngines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void configurationRoundTrip()
    {
        TestInterface host;
        DialogAnswerer answerer;
        QString const config = host.settingsDirectory() + u"/alpha_config.xml"_s;
        {
            TestEngine engine(u"alpha"_s);
            QCOMPARE(engine.configFile(), config);
            engine.add(u"Release"_s, u"/opt/run"_s, u"-windowed"_s, QString());
            engine.add(u"Debug"_s, QString(), QString(), u"/icons/debug.png"_s);
            engine.setOption(u"colour"_s, QColor(10, 20, 30, 128));
            engine.setOption(u"area"_s, QRect(QPoint(10, 20), QPoint(39, 59)));
            engine.setOption(u"looksLikeColour"_s, u"1,2,3"_s);
            engine.setOption(u"plain"_s, u"some & <text>"_s);
            engine.setOption(u"negative"_s, u"-1,2,3"_s);
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
        // A restart reads it all back: colours without alpha, rectangles, text.
        TestEngine engine(u"alpha"_s);
        QCOMPARE(names(engine), u"ReleaseDebug"_s);
        QCOMPARE(engine.at(0).exe + engine.at(0).params, u"/opt/run-windowed"_s);
        QCOMPARE(engine.at(1).icon, u"/icons/debug.png"_s);
        QCOMPARE(engine.option(u"colour"_s), QVariant(QColor(10, 20, 30)));
        QCOMPARE(engine.option(u"area"_s), QVariant(QRect(10, 20, 30, 40)));
        QCOMPARE(engine.option(u"looksLikeColour"_s), QVariant(QColor(1, 2, 3)));
        QCOMPARE(engine.option(u"plain"_s), QVariant(u"some & <text>"_s));
        QCOMPARE(engine.option(u"negative"_s), QVariant(u"-1,2,3"_s));
        QVERIFY(answerer.seen.isEmpty());
    }

    void optionsAndPaths()
    {
        auto host = std::make_unique<TestInterface>();
        host->options.insert(u"hostOnly"_s, 7);
        TestEngine engine(u"beta"_s);
        QCOMPARE(engine.option(u"hostOnly"_s, 1), QVariant(7));
        QCOMPARE(engine.option(u"nowhere"_s, 1), QVariant(1));
        // A null value is the engine's own answer, not a reason to ask further.
        engine.setOption(u"hostOnly"_s, QVariant());
        QVERIFY(engine.option(u"hostOnly"_s, 1).isNull());
        QCOMPARE(engine.path(), host->applicationDirectory() + u"/engines/beta"_s);
        host.reset();
        // Without a host nothing is read or written.
        TestEngine lone(u"gamma"_s);
        QVERIFY(lone.configFile().isEmpty() && lone.load() && lone.save());
        QCOMPARE(lone.path(), QDir::currentPath() + u"/engines/gamma"_s);
    }

    void instancesAsAModel()
    {
        TestInterface host;
        TestEngine engine(u"epsilon"_s);
        QAbstractItemModelTester tester(&engine,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy removed(&engine, &QAbstractItemModel::rowsRemoved);
        QSignalSpy changed(&engine, &QAbstractItemModel::dataChanged);
        engine.clear(); // nothing to clear, nothing said
        for (QString const &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
            engine.add(name, QString(), QString(), QString());
        engine.move(0, 2);
        engine.move(3, 0);
        QCOMPARE(names(engine), u"dbca"_s);
        engine.edit(1, u"B"_s, u"/bin/B"_s, u"-x"_s, QString());
        QCOMPARE(changed.count(), 1);
        QCOMPARE(engine.index(1).data(), QVariant(u"B"_s));
        engine.remove(17); // out of range
        engine.remove(1);
        QCOMPARE(names(engine), u"dca"_s);
        engine.clear();
        QCOMPARE(removed.count(), 2);
        QCOMPARE(removed.last().at(2).toInt(), 2);
    }

    void badConfigurations()
    {
        TestInterface host;
        DialogAnswerer answerer;
        // Broken halfway: what came before is kept, and the host's text tells where.
        QString const config = host.settingsDirectory() + u"/theta_config.xml"_s;
        QVERIFY(KenroTest::writeFile(config,
                                     "<?xml version=\"1.0\"?>\n<configuration>\n"
                                     " <engine name=\"first\">\n"
                                     "  <param name=\"exe\" value=\"/bin/first\"/>\n"
                                     "  <param name=\"other\" value=\"ignored\"/>\n"
                                     " </engine>\n"
                                     " <config name=\"early\" value=\"1,2,3,4\"/>\n"
                                     " <engine name=\"second\">\n"
                                     "  <param name=\"exe\" value=\"/bin/second\"\n"));
        {
            TestEngine engine(u"theta"_s);
            QCOMPARE(answerer.titles(), QStringList{u"XML error"_s});
            QVERIFY(answerer.seen[0].text.endsWith(u" at line 10, column 0"_s));
            QCOMPARE(engine.at(0).exe, u"/bin/first"_s);
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
        QCOMPARE(answerer.seen[0].text,
                 u"Can't open engine configuration from '%1'!"_s.arg(folder));
        QCOMPARE(answerer.seen[1].text, u"Can't save engine configuration to '%1'!"_s.arg(folder));
        // A missing folder on the way is made.
        TestEngine(u"deeper/kappa"_s).add(QString(), QString(), QString(), QString());
        QVERIFY(QFile::exists(host.settingsDirectory() + u"/deeper/kappa_config.xml"_s));
    }

    void addComparesIdentityByPointer()
    {
        int released = 0;
        char const shared[] = "ONE", sameText[] = "ONE";
        auto *first = new Plain(Extension::ImageReader, shared, "first", &released);
        auto *twin = new Plain(Extension::ImageReader, shared, "twin", &released);
        auto *lookalike = new Plain(Extension::ImageReader, sameText, "lookalike", &released);
        // Type 16 is told apart by its description, whatever its format.
        auto *kind = new Plain(Extension::Described, "X", shared, &released);
        auto *kindTwin = new Plain(Extension::Described, "Y", shared, &released);
        for (Extension *extension :
             std::initializer_list<Extension *>{first, twin, lookalike, kind, kindTwin})
            ExtensionManager::add(extension);
        QCOMPARE(ExtensionManager::list(Extension::ImageReader),
                 (QList<Extension *>{first, lookalike}));
        QCOMPARE(ExtensionManager::list(Extension::Described), QList<Extension *>{kind});
        QCOMPARE(ExtensionManager::byFormat(Extension::ImageReader, "ONE").size(), 2);
        QCOMPARE(ExtensionManager::byFormat(Extension::ImageReader, "one").size(), 0);
        delete twin; // rejected extensions stay their creator's
        delete kindTwin;
        QTemporaryDir empty;
        ExtensionManager{empty.path()}; // a manager that loads nothing still ends the lists
        QCOMPARE(released, 3);
        QCOMPARE(listed(), 0);
        QCOMPARE(ExtensionManager::archiveFor(u"b.zip"_s, 0),
                 static_cast<Archive *>(&FileSystemArchive::instance()));
    }

    void pluginsLoadDispatchAndShutDownInOrder()
    {
        DialogAnswerer answerer;
        QTemporaryDir plugins, scratch;
        QString const log = scratch.filePath(u"events.log"_s);
        qputenv("KENRO_PLUGIN_LOG", QFile::encodeName(log));
        QString const alpha = plugins.filePath(u"libalpha.so"_s),
                      beta = plugins.filePath(u"libbeta.so"_s);
        QString const noEntry = plugins.filePath(u"libnoentry.so"_s);
        QVERIFY(QFile::copy(QStringLiteral(KENRO_TEST_PLUGIN_BETA), beta));
        QVERIFY(QFile::copy(QStringLiteral(KENRO_TEST_PLUGIN_ALPHA), alpha));
        QVERIFY(QFile::copy(QStringLiteral(KENRO_TEST_PLUGIN_NOENTRY), noEntry));
        QVERIFY(KenroTest::writeFile(plugins.filePath(u"garbage.so"_s), "not a shared library\n"));
        QVERIFY(KenroTest::writeFile(plugins.filePath(u"notes.txt"_s), ""));
        auto manager = std::make_unique<ExtensionManager>(plugins.path());
        // Libraries load in name order and receive the directory.
        QVERIFY(isLoaded(alpha) && isLoaded(beta) && !isLoaded(noEntry));
        // Dispatch by format walks the list in order up to the first success.
        QImage image;
        QBuffer device;
        for (Extension *reader : ExtensionManager::byFormat(Extension::ImageReader, "TST")) {
            if (static_cast<ImageReaderExtension *>(reader)->read(&device, image))
                break;
        }
        QCOMPARE(image.size(), QSize(2, 3));
        // Filters of engine-bound formats follow the current engine.
        TestEngine engine;
        QCOMPARE(ExtensionManager::filters(Extension::AnimationReader, &engine),
                 u"Test animations (*.air);;Any (*.xan)"_s);
        engine.identifier = u"other-engine"_s;
        QCOMPARE(ExtensionManager::filters(Extension::AnimationReader, &engine), u"Any (*.xan)"_s);
        QCOMPARE(ExtensionManager::filters(Extension::ImageReader, nullptr),
                 u"Test images (*.tst);;Test images (*.tst)"_s);
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
        QVERIFY(!isLoaded(alpha) && !isLoaded(beta));
        QCOMPARE(listed(), 0);
        QVERIFY(answerer.seen.isEmpty());
        qunsetenv("KENRO_PLUGIN_LOG");
    }

    void scaleToDpi()
    {
        TestInterface host;
        host.dpiFactor = 2;
        Interface &interface = host;
        QCOMPARE(interface.scaleToDPI(QPoint(3, -4)), QPoint(6, -8));
        // Left, top, width and height scale apart; right and bottom follow.
        QCOMPARE(interface.scaleToDPI(QRect(1, 2, 10, 20)), QRect(2, 4, 20, 40));
    }

    void actionTexts_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("toolTip");
        KenroTest::addRow("first", 0, "System", "");
        KenroTest::addRow("first tool tip", 4, "Code toolbar",
                          "Show/Hide the code toolbar in all code editors");
        KenroTest::addRow("tool tip alone", 115, "", "Add one or more sprites");
        KenroTest::addRow("gap", 171, "", "");
        KenroTest::addRow("last tool tip", 173, "",
                          "Import one or more sounds from another opened project...");
        KenroTest::addRow("last text", 217, "Emulator", "");
        KenroTest::addRow("past the end", 218, "", "");
        KenroTest::addRow("negative", -1, "", "");
    }

    void actionTexts()
    {
        QFETCH(int, id);
        QFETCH(QString, text);
        QFETCH(QString, toolTip);
        QCOMPARE(KTranslator::instance()->text(id), text);
        QCOMPARE(KTranslator::instance()->toolTip(id), toolTip);
    }
};

QTEST_MAIN(TestEngines)
#include "tst_engine.moc"
