#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>

#include "dialoganswerer.h"
#include "testengine.h"
#include "testinterface.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <dlfcn.h>

using namespace Kenro;

namespace {

bool isLoaded(QString const &path)
{
    void *handle = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_NOLOAD);
    if (!handle)
        return false;
    dlclose(handle); // gives back the reference RTLD_NOLOAD took
    return true;
}

QStringList logLines(QString const &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
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
    char const *m_format;
    char const *m_description;
    int *m_released;
};

void expectAllListsEmpty()
{
    for (int type = 0; type < Extension::TypeCount; ++type)
        QVERIFY2(ExtensionManager::list(static_cast<Extension::Type>(type)).isEmpty(),
                 qPrintable(QString::number(type)));
}

} // namespace

class TestExtensions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyAndMissingDirectories()
    {
        KenroTest::DialogAnswerer answerer;
        QTemporaryDir empty;
        {
            ExtensionManager manager(empty.path());
            expectAllListsEmpty();
        }
        {
            ExtensionManager manager(empty.filePath(QStringLiteral("missing")));
            expectAllListsEmpty();
        }
        QVERIFY(answerer.seen.isEmpty());
        QCOMPARE(ExtensionManager::archiveFor(QStringLiteral("backup.zip"), 0),
                 static_cast<Archive *>(&FileSystemArchive::instance()));
    }

    void addComparesIdentityByPointer()
    {
        int released = 0;
        char const shared[] = "ONE";
        char const sameText[] = "ONE";
        char const described[] = "A kind";
        char const describedAgain[] = "A kind";
        auto *first = new Plain(Extension::ImageReader, shared, "first", &released);
        auto *twin = new Plain(Extension::ImageReader, shared, "twin", &released);
        auto *lookalike = new Plain(Extension::ImageReader, sameText, "lookalike", &released);
        auto *kind = new Plain(Extension::Described, "X", described, &released);
        auto *kindTwin = new Plain(Extension::Described, "Y", described, &released);
        auto *kindLookalike = new Plain(Extension::Described, "X", describedAgain, &released);
        for (Extension *extension :
             {static_cast<Extension *>(first), static_cast<Extension *>(twin),
              static_cast<Extension *>(lookalike), static_cast<Extension *>(kind),
              static_cast<Extension *>(kindTwin), static_cast<Extension *>(kindLookalike)})
            ExtensionManager::add(extension);

        QCOMPARE(ExtensionManager::list(Extension::ImageReader),
                 (QList<Extension *>{first, lookalike}));
        // A type-16 extension is told apart by its description, whatever its format.
        QCOMPARE(ExtensionManager::list(Extension::Described),
                 (QList<Extension *>{kind, kindLookalike}));
        QCOMPARE(ExtensionManager::byFormat(Extension::ImageReader, "ONE").size(), 2);
        QCOMPARE(ExtensionManager::byFormat(Extension::ImageReader, "one").size(), 0);

        // Rejected extensions stay their creator's.
        delete twin;
        delete kindTwin;
        {
            // A manager over nothing still ends what is in the lists.
            QTemporaryDir empty;
            ExtensionManager manager(empty.path());
        }
        QCOMPARE(released, 4);
        expectAllListsEmpty();
    }

    void pluginsLoadDispatchAndShutDownInOrder()
    {
        KenroTest::TestInterface host;
        KenroTest::DialogAnswerer answerer;
        QTemporaryDir plugins;
        QTemporaryDir scratch;
        QString const log = scratch.filePath(QStringLiteral("events.log"));
        qputenv("KENRO_PLUGIN_LOG", QFile::encodeName(log));

        QString const alpha = plugins.filePath(QStringLiteral("libalpha.so"));
        QString const beta = plugins.filePath(QStringLiteral("libbeta.so"));
        QString const noEntry = plugins.filePath(QStringLiteral("libnoentry.so"));
        QVERIFY(QFile::copy(QStringLiteral(KENRO_TEST_PLUGIN_BETA), beta));
        QVERIFY(QFile::copy(QStringLiteral(KENRO_TEST_PLUGIN_ALPHA), alpha));
        QVERIFY(QFile::copy(QStringLiteral(KENRO_TEST_PLUGIN_NOENTRY), noEntry));
        {
            QFile garbage(plugins.filePath(QStringLiteral("garbage.so")));
            QVERIFY(garbage.open(QIODevice::WriteOnly));
            garbage.write("this is not a shared library\n");
            QFile notes(plugins.filePath(QStringLiteral("notes.txt")));
            QVERIFY(notes.open(QIODevice::WriteOnly));
        }

        auto manager = std::make_unique<ExtensionManager>(plugins.path());
        QVERIFY(answerer.seen.isEmpty());
        // Libraries load in name order and receive the directory.
        QCOMPARE(logLines(log),
                 (QStringList{QStringLiteral("register alpha ") + plugins.path(),
                              QStringLiteral("register beta")}));
        QVERIFY(isLoaded(alpha));
        QVERIFY(isLoaded(beta));
        QVERIFY(!isLoaded(noEntry));

        // Dispatch by format walks the list in order up to the first success.
        QList<Extension *> const readers =
            ExtensionManager::byFormat(Extension::ImageReader, "TST");
        QCOMPARE(readers.size(), 2); // beta's twin shares its format string
        QImage image;
        QBuffer device;
        for (Extension *reader : readers) {
            if (static_cast<ImageReaderExtension *>(reader)->read(&device, image))
                break;
        }
        QCOMPARE(image.size(), QSize(2, 3));

        // Filters of engine-bound formats follow the current engine.
        KenroTest::TestEngine engine;
        QCOMPARE(ExtensionManager::filters(Extension::AnimationReader, &engine),
                 QStringLiteral("Test animations (*.air);;Any-engine animations (*.xan)"));
        engine.identifier = QStringLiteral("other-engine");
        QCOMPARE(ExtensionManager::filters(Extension::AnimationReader, &engine),
                 QStringLiteral("Any-engine animations (*.xan);;Other animations (*.oan)"));
        QCOMPARE(ExtensionManager::filters(Extension::SoundBank, &engine), QString());
        QCOMPARE(ExtensionManager::filters(Extension::AnimationReader, nullptr),
                 QStringLiteral("Any-engine animations (*.xan)"));
        QCOMPARE(ExtensionManager::filters(Extension::ImageReader, nullptr),
                 QStringLiteral("Test images (*.tst);;Test images (*.tst)"));

        // Archives by the suffix of a name, any case; the file system otherwise.
        QCOMPARE(ExtensionManager::archiveFor(QStringLiteral("/x/data.Pak"), 1), nullptr);
        QCOMPARE(ExtensionManager::archiveFor(QStringLiteral("/x/data.zip"), 0),
                 static_cast<Archive *>(&FileSystemArchive::instance()));
        QCOMPARE(ExtensionManager::list(Extension::Described).size(), 1);

        manager.reset();
        QStringList const events = logLines(log).mid(2);
        QCOMPARE(events,
                 (QStringList{
                     QStringLiteral("alpha read"),
                     QStringLiteral("beta read"),
                     QStringLiteral("alpha create /x/data.Pak 1"),
                     // Lists in type order, each from its back...
                     QStringLiteral("release alpha PAK"),
                     QStringLiteral("release beta TST"),
                     QStringLiteral("release alpha TST"),
                     QStringLiteral("release beta OAN"),
                     QStringLiteral("release beta XAN"),
                     QStringLiteral("release alpha AIR"),
                     QStringLiteral("release beta BNK"),
                     QStringLiteral("release alpha DSC"),
                     // ...then the libraries, the last loaded first.
                     QStringLiteral("unload beta"),
                     QStringLiteral("unload alpha"),
                 }));
        QVERIFY(!isLoaded(alpha));
        QVERIFY(!isLoaded(beta));
        expectAllListsEmpty();
        QVERIFY(answerer.seen.isEmpty());
        qunsetenv("KENRO_PLUGIN_LOG");
    }
};

QTEST_MAIN(TestExtensions)
#include "tst_extensions.moc"
