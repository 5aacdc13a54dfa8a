#include <actpalette.h>
#include <ikemen/air/airdocument.h>
#include <ikemen/project/definition.h>
#include <ikemen/project/definitionproject.h>
#include <ikemen/project/gameproject.h>
#include <ikemen/project/palettefile.h>
#include <ikemen/script/scriptdocument.h>
#include <ikemen/snd/sndreader.h>
#include <ikemen/snd/sndsounds.h>
#include <sffpalette.h>
#include <sffreader.h>
#include <sffsprites.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/codedocument.h>
#include <kenro/code/codenode.h>
#include <kenro/code/rootcode.h>
#include <kenro/engine/engine.h>
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messagelist.h>

#include "modelnames.h"
#include "testdata.h"
#include "testinterface.h"

#include <QDir>
#include <QLibrary>
#include <QPointer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace Kenro;
using namespace Kenro::Ikemen;

namespace {

// Every message of \a project and of its files, as "file:line type: text"
// with the file relative to \a game and the line counted from 1.
QStringList messageLines(Project const &project, QString const &game)
{
    static char const *const types[] = {"error", "warning", "information"};
    QStringList out;
    for (KenroTest::ListedMessage const &listed : KenroTest::listedMessages(project)) {
        Message const &message = listed.message;
        QString file = listed.file ? listed.file->fileName() : QString();
        if (file.startsWith(game))
            file = file.mid(game.size());
        out.append(QStringLiteral("%1:%2 %3: %4")
                       .arg(file)
                       .arg(message.line + 1)
                       .arg(QLatin1String(message.type < Message::All ? types[message.type] : "?"))
                       .arg(message.text));
    }
    return out;
}

// The "[Begin Action n]" headings of a text, any case.
int actionHeadings(QByteArray const &text)
{
    static QRegularExpression const heading(QStringLiteral("^\\s*\\[\\s*begin\\s+action\\b"),
                                            QRegularExpression::CaseInsensitiveOption |
                                                QRegularExpression::MultilineOption);
    int count = 0;
    for (auto match = heading.globalMatch(QString::fromLatin1(text)); match.hasNext(); match.next())
        ++count;
    return count;
}

// The animation nodes anywhere below \a node.
int animationNodes(CodeNode *node)
{
    int count = node->type() == CodeNode::Animation ? 1 : 0;
    if (auto *parent = dynamic_cast<ParentCode *>(node)) {
        for (unsigned int i = 0; i < parent->childCount(); ++i)
            count += animationNodes(parent->childAt(i));
    }
    return count;
}

// What a project holds, to compare a saved copy with its original.
struct Content
{
    QStringList files;
    unsigned int sprites = 0;
    unsigned int sounds = 0;
    unsigned int actions = 0;
    unsigned int palettes = 0; // shown from palette files
    QList<QImage> images;
    QList<QByteArray> wavs;
};

} // namespace

class TestIkemenEngine : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_copy;
    QString m_game; // a writable copy of the game, with a trailing "/"
    QTemporaryDir m_spareCopy;
    QString m_spare; // another, where new projects are made
    std::unique_ptr<ExtensionManager> m_manager;
    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<KenroTest::TestInterface> m_host;

    // The files of \a project checked against their classes and the bytes on disk.
    void checkFiles(Project &project, Content &content)
    {
        content.files = KenroTest::listedFiles(project);
        for (ProjectFile *file : project.files()) {
            QByteArray const bytes = KenroTest::readFile(file->fileName());
            QVERIFY2(!bytes.isEmpty(), qPrintable(file->fileName()));
            int type = -1;
            for (int candidate = 0; candidate <= DefinitionProject::Other && type < 0;
                 ++candidate) {
                if (project.filesByType(candidate).contains(file))
                    type = candidate;
            }
            QVERIFY2(type >= 0, qPrintable(file->fileName()));
            if (type == Project::Sprites) {
                auto *sprites = dynamic_cast<SffSprites *>(file);
                QVERIFY2(sprites, qPrintable(file->fileName()));
                SffReader reader;
                SffContent read;
                QVERIFY(reader.read(bytes, read));
                QCOMPARE(int(sprites->count()), int(read.sprites.size()));
                QVERIFY(sprites->count() > 0);
                content.sprites += sprites->count();
                for (unsigned int i = 0; i < sprites->count(); ++i)
                    content.images.append(sprites->at(i)->image());
            } else if (type == Project::Sounds) {
                auto *sounds = dynamic_cast<SndSounds *>(file);
                QVERIFY2(sounds, qPrintable(file->fileName()));
                SndReader reader;
                QVERIFY(reader.read(bytes));
                QCOMPARE(int(sounds->count()), int(reader.bank().members.size()));
                QVERIFY(sounds->count() > 0);
                content.sounds += sounds->count();
                for (unsigned int i = 0; i < sounds->count(); ++i)
                    content.wavs.append(sounds->sound(i)->wav().toByteArray());
            } else if (type == Project::Animations) {
                auto *animations = dynamic_cast<AirAnimations *>(file);
                QVERIFY2(animations, qPrintable(file->fileName()));
                QVERIFY(dynamic_cast<AirDocument *>(animations->document()));
                QCOMPARE(int(animations->count()), actionHeadings(bytes));
                QVERIFY(animations->count() > 0);
                content.actions += animations->count();
            } else if (type == DefinitionProject::Palettes) {
                // Shown in the character's sprite archive with the file's colours.
                auto *palette = dynamic_cast<PaletteFile *>(file);
                QVERIFY2(palette && palette->isPalette(), qPrintable(file->fileName()));
                QCOMPARE(palette->data(), bytes);
                RGBA expected[256];
                QVERIFY(readAct(bytes, expected));
                QVERIFY(!palette->palettes().isEmpty());
                for (SffPalette const *shown : palette->palettes()) {
                    RGBA colors[256];
                    QVERIFY(shown->colorTable(colors));
                    QVERIFY2(std::memcmp(colors, expected, sizeof colors) == 0,
                             qPrintable(shown->label()));
                }
                content.palettes += palette->palettes().size();
            } else if (type == DefinitionProject::Music || type == DefinitionProject::Other) {
                QVERIFY(file->isEmpty() == bytes.isEmpty()); // kept as its bytes
            } else {
                QVERIFY2(dynamic_cast<ScriptDocument *>(file), qPrintable(file->fileName()));
            }
            QVERIFY2(!file->isModified(), qPrintable(file->fileName()));
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_host = std::make_unique<KenroTest::TestInterface>();
        m_manager = std::make_unique<ExtensionManager>(QStringLiteral(KENRO_PLUGIN_DIR));
        QLibrary library(QStringLiteral(KENRO_IKEMEN_PLUGIN));
        auto const take = reinterpret_cast<Engine *(*)()>(library.resolve("kenroEngine"));
        QVERIFY(take);
        m_engine.reset(take());
        QVERIFY(m_engine);
        QString const data = KenroTest::testDataPath();
        if (!data.isEmpty()) {
            m_game = m_copy.path() + QStringLiteral("/game/");
            QVERIFY(KenroTest::copyTree(data + QStringLiteral("/game/"), m_game));
        }
    }

    void cleanupTestCase()
    {
        m_engine.reset();
        m_manager.reset();
    }

    void answers()
    {
        Engine &engine = *m_engine;
        QCOMPARE(engine.queryString(Engine::CommentString, 0), QStringLiteral(";"));
        QCOMPARE(engine.queryString(Engine::EngineIdentifier, 0), QStringLiteral("ikemen"));
        QCOMPARE(engine.queryString(Engine::GameMarkerFile, 0), QStringLiteral("data/system.def"));
        QCOMPARE(engine.projectTypeCount(), 2u);
        QCOMPARE(engine.queryString(Engine::ProjectTypeName, 0), QStringLiteral("Character"));
        QCOMPARE(engine.queryString(Engine::ProjectTypeName, 1), QStringLiteral("Stage"));
        QCOMPARE(engine.queryString(Engine::ProjectTypeName, 2), QString());

        // Every type that opens alone has a name, a pattern and a class.
        QMap<int, QString> const patterns = engine.fileFilters();
        QCOMPARE(engine.fileTypeOf(QStringLiteral("a/KFM.AIR")), int(Project::Animations));
        QCOMPARE(engine.fileTypeOf(QStringLiteral("kfm.Sff")), int(Project::Sprites));
        QCOMPARE(engine.fileTypeOf(QStringLiteral("kfm.snd")), int(Project::Sounds));
        QCOMPARE(engine.fileTypeOf(QStringLiteral("kfm.cns")), int(Project::Scripts));
        QCOMPARE(engine.fileTypeOf(QStringLiteral("kfm.def")), int(Project::Main));
        QCOMPARE(engine.fileTypeOf(QStringLiteral("01.act")), int(DefinitionProject::Palettes));
        QCOMPARE(engine.fileTypeOf(QStringLiteral("readme.txt")), -1);
        QCOMPARE(engine.fileTypeOf(QStringLiteral("noSuffix")), -1);
        QCOMPARE(engine.singleFileFilters().size(), 6);
        for (int type = 0; type <= DefinitionProject::Other; ++type) {
            QVERIFY(!engine.fileTypeName(type).isEmpty());
            QVERIFY(!patterns.value(type).isEmpty());
            ProjectFile *file = engine.createFile(type, nullptr);
            QVERIFY(file);
            QVERIFY(file->isEmpty());
            bool const right = type == Project::Sprites
                ? dynamic_cast<SffSprites *>(file) != nullptr
                : type == Project::Sounds     ? dynamic_cast<SndSounds *>(file) != nullptr
                : type == Project::Animations ? dynamic_cast<AirAnimations *>(file) != nullptr
                : type == Project::Main || type == Project::Scripts ||
                    type == DefinitionProject::Storyboards
                ? dynamic_cast<ScriptDocument *>(file) != nullptr
                : true;
            QVERIFY2(right, qPrintable(engine.fileTypeName(type)));
            file->release();
        }
        QCOMPARE(engine.createFile(42, nullptr), nullptr);
        QCOMPARE(engine.openFile(QStringLiteral("/none/missing.sff"), Project::Sprites), nullptr);
        QCOMPARE(engine.openProject(nullptr, QStringLiteral("/none/kfm.def")), nullptr);

        // The formats that the editors offer for this engine.
        QCOMPARE(ExtensionManager::filters(Extension::AnimationReader, &engine),
                 QStringLiteral("IKEMEN GO animations (*.air)"));
        QCOMPARE(ExtensionManager::filters(Extension::AnimationWriter, &engine),
                 QStringLiteral("IKEMEN GO animations (*.air)"));
        QCOMPARE(ExtensionManager::filters(Extension::SoundBank, &engine),
                 QStringLiteral("IKEMEN GO sound banks (*.snd)"));
        QCOMPARE(ExtensionManager::byFormat(Extension::SoundBank, "SND").size(), 1);
    }

    void refusesDamagedFiles_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("keep"); // bytes kept from the start; -1 for garbage
        QTest::newRow("sprites cut")
            << QStringLiteral("chars/kfm/kfm.sff") << int(Project::Sprites) << 700;
        QTest::newRow("sprites garbage")
            << QStringLiteral("chars/kfm/kfm.sff") << int(Project::Sprites) << -1;
        QTest::newRow("sounds cut")
            << QStringLiteral("chars/kfm/kfm.snd") << int(Project::Sounds) << 600;
        QTest::newRow("sounds garbage")
            << QStringLiteral("chars/kfm/kfm.snd") << int(Project::Sounds) << -1;
    }

    void refusesDamagedFiles()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(QString, source);
        QFETCH(int, type);
        QFETCH(int, keep);
        QByteArray bytes = KenroTest::readFile(m_game + source);
        QVERIFY(bytes.size() > keep);
        if (keep >= 0) {
            bytes.truncate(keep);
        } else {
            for (qsizetype i = 0; i < bytes.size(); ++i)
                bytes[i] = static_cast<char>((i * 131 + 7) & 0xff);
        }
        QTemporaryDir dir;
        QString const path = dir.filePath(QFileInfo(source).fileName());
        QVERIFY(KenroTest::writeFile(path, bytes));
        QCOMPARE(m_engine->fileTypeOf(path), type);
        QCOMPARE(m_engine->openFile(path, type), nullptr);
    }

    void opensEveryProject()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        ParentProject *root = m_engine->openRoot(m_game, FileSystemArchive::instance());
        QVERIFY(root);
        QVERIFY(root->isGame());
        // Every character folder and stage definition that the game root
        // shows, gathered before any opens: an open project adds its files.
        QStringList places;
        for (QString const &folder : {QStringLiteral("chars"), QStringLiteral("stages")}) {
            QModelIndex const parent = KenroTest::childIndex(*root, QModelIndex(), folder);
            QVERIFY(parent.isValid());
            for (int row = 0; row < root->rowCount(parent); ++row) {
                ParentProject::Path const *path = root->itemPath(root->index(row, 0, parent));
                if (path->isProject())
                    places.append(path->fullPath());
            }
        }
        QCOMPARE(places.size(), 4);

        QStringList messages;
        for (QString const &place : std::as_const(places)) {
            Project *project = root->openProject(root->filePath(place));
            QVERIFY2(project, qPrintable(place));
            QCOMPARE(m_engine->openProject(root, project->fileName()), project);
            QCOMPARE(project->typeName(),
                     m_engine->queryString(Engine::ProjectTypeName,
                                           static_cast<unsigned int>(project->type())));
            Content content;
            checkFiles(*project, content);
            if (QTest::currentTestFailed()) {
                project->release();
                delete root;
                return;
            }
            QVERIFY(content.sprites > 0);
            qInfo("%s: %d files, %u sprites, %u sounds, %u actions, %u palettes from files",
                  qPrintable(place), int(content.files.size()), content.sprites, content.sounds,
                  content.actions, content.palettes);
            // The training character names one palette file for all twelve slots.
            if (place.endsWith(QLatin1String("/training/")))
                QCOMPARE(content.palettes, 12u);
            messages += messageLines(*project, m_game);
            project->release();
        }
        delete root;
        messages.removeDuplicates();
        messages.sort();

        // The messages of every file of every project: each is a fault of the
        // content itself, none a misreading of a file.
        QStringList expected{
            // Kung Fu Man's animations contradict themselves: boxes written
            // as Clsn2 under a Clsn1 header, which the runtime reads as
            // attack boxes. In action 1020 (the fast palm) that is what was
            // meant; in action 1300 (blocking) the frames attack with copies
            // of their Clsn2 boxes.
            QStringLiteral("chars/kfm/kfm.air:963 warning: A Clsn2 box under a Clsn1 header is "
                           "a Clsn1 box"),
            QStringLiteral("chars/kfm/kfm.air:1567 warning: A Clsn2 box under a Clsn1 header is "
                           "a Clsn1 box"),
            QStringLiteral("chars/kfm/kfm.air:1568 warning: A Clsn2 box under a Clsn1 header is "
                           "a Clsn1 box"),
            QStringLiteral("chars/kfm/kfm.air:1574 warning: A Clsn2 box under a Clsn1 header is "
                           "a Clsn1 box"),
            QStringLiteral("chars/kfm/kfm.air:1575 warning: A Clsn2 box under a Clsn1 header is "
                           "a Clsn1 box"),
            // The storyboards of Kung Fu Man name scene music that the game
            // does not hold: the runtime plays none, hence a warning.
            QStringLiteral("chars/kfm/kfm.def:43 warning: The file 'intro.mp3' named by 'bgm' "
                           "does not exist (in intro.def)"),
            QStringLiteral("chars/kfm/kfm.def:44 warning: The file 'ending.mp3' named by 'bgm' "
                           "does not exist (in ending.def)"),
            // "St0 = config.txt": no such file beside the definition, in the
            // game or in its data folder, and the runtime needs its states.
            QStringLiteral("chars/training/Training.def:13 error: The file 'config.txt' named by "
                           "'St0' does not exist"),
            // "bgmusic = sound/kfm.mid": the game has no sound folder.
            QStringLiteral("stages/kfm.def:171 warning: The file 'sound/kfm.mid' named by "
                           "'bgmusic' does not exist"),
        };
        expected.sort();
        if (messages != expected) {
            QStringList unexpected = messages;
            QStringList absent = expected;
            for (QString const &line : messages)
                absent.removeAll(line);
            for (QString const &line : expected)
                unexpected.removeAll(line);
            QFAIL(qPrintable(
                QStringLiteral("unexpected:\n%1\nabsent:\n%2")
                    .arg(unexpected.join(QLatin1Char('\n')), absent.join(QLatin1Char('\n')))));
        }
    }

    void definitionsHoldRealAnimations_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("fight") << QStringLiteral("data/fight.def");
        QTest::newRow("system") << QStringLiteral("data/system.def");
        QTest::newRow("kfm intro") << QStringLiteral("chars/kfm/intro.def");
    }

    void definitionsHoldRealAnimations()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(QString, file);
        QString const path = m_game + file;
        QCOMPARE(m_engine->fileTypeOf(path), int(Project::Main));
        ProjectFile *opened = m_engine->openFile(path, Project::Main);
        QVERIFY(opened);
        auto *document = dynamic_cast<ScriptDocument *>(opened);
        QVERIFY(document);
        int const headings = actionHeadings(KenroTest::readFile(path));
        QVERIFY(headings > 0);
        QCOMPARE(animationNodes(document->root()), headings);
        QStringList errors;
        Messages *messages = document->messages();
        for (unsigned int i = 0; messages && i < messages->count(Message::Error); ++i)
            errors.append(messages->at(i, Message::Error).text);
        QVERIFY2(errors.isEmpty(), qPrintable(errors.join(QLatin1Char('\n'))));
        opened->release();
    }

    void newProject_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("path"); // as given, relative to the game unless absolute
        QTest::addColumn<bool>("absolute");
        QTest::addColumn<QString>("made"); // the new definition; empty when refused
        int const character = DefinitionProject::Character;
        int const stage = DefinitionProject::Stage;
        QTest::newRow("character folder") << character << QStringLiteral("chars/hero") << true
                                          << QStringLiteral("chars/hero/hero.def");
        QTest::newRow("character definition")
            << character << QStringLiteral("chars/rival/Rival.def") << true
            << QStringLiteral("chars/rival/Rival.def");
        QTest::newRow("relative path") << character << QStringLiteral("chars/third/") << false
                                       << QStringLiteral("chars/third/third.def");
        QTest::newRow("stage definition") << stage << QStringLiteral("stages/arena.def") << true
                                          << QStringLiteral("stages/arena.def");
        QTest::newRow("existing definition")
            << character << QStringLiteral("chars/kfm/kfm.def") << true << QString();
        QTest::newRow("outside the game")
            << character << QStringLiteral("../elsewhere/x.def") << true << QString();
        QTest::newRow("the game itself") << stage << QString() << true << QString();
        QTest::newRow("no such type") << 5 << QStringLiteral("chars/odd") << true << QString();
        // The superuser writes anywhere: the row means something to others only.
        if (geteuid() != 0)
            QTest::newRow("unwritable folder")
                << character << QStringLiteral("chars/locked/locked.def") << true << QString();
    }

    void newProject()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(int, type);
        QFETCH(QString, path);
        QFETCH(bool, absolute);
        QFETCH(QString, made);
        // A game of its own, as new projects would show up in the others' walks.
        if (m_spare.isEmpty()) {
            m_spare = m_spareCopy.path() + QStringLiteral("/game/");
            QVERIFY(KenroTest::copyTree(testdata + QStringLiteral("/game/"), m_spare));
        }
        QString const locked = m_spare + QStringLiteral("chars/locked");
        if (path.startsWith(QLatin1String("chars/locked"))) {
            QVERIFY(QDir().mkpath(locked));
            QVERIFY(::chmod(QFile::encodeName(locked).constData(), 0555) == 0);
        }
        QString const given = absolute ? m_spare + path : path;
        QString const target = m_spare + (made.isEmpty() ? path : made);
        QByteArray const before = KenroTest::readFile(target);

        QCOMPARE(m_engine->newProject(nullptr, type, given), nullptr);
        ParentProject *root = m_engine->openRoot(m_spare, FileSystemArchive::instance());
        QVERIFY(root);
        Project *project = m_engine->newProject(root, type, given);
        ::chmod(QFile::encodeName(locked).constData(), 0755);
        if (made.isEmpty()) {
            QCOMPARE(project, nullptr);
            // Never written over, never left behind.
            QCOMPARE(KenroTest::readFile(target), before);
            QVERIFY(!QFile::exists(locked + QStringLiteral("/locked.def")));
            delete root;
            return;
        }
        QVERIFY(project);
        QCOMPARE(project->type(), type);
        QCOMPARE(project->fileName(), target);
        QCOMPARE(project->parent(), root);
        QCOMPARE(project->name(), QFileInfo(target).completeBaseName());
        QVERIFY(root->openedProjects().contains(project));
        // A definition of what the runtime reads, naming nothing yet: the
        // project holds its main file alone, without a message.
        QCOMPARE(project->fileCount(), 1u);
        QCOMPARE(messageLines(*project, m_spare), QStringList());
        QVERIFY(!project->isModified());
        Definition const written(QString::fromUtf8(KenroTest::readFile(target)));
        QCOMPARE(written.value(QStringLiteral("Info"), QStringLiteral("name")), project->name());
        QCOMPARE(!written.entries(QStringLiteral("BGdef")).isEmpty(),
                 type == DefinitionProject::Stage);
        // A folder made for the project holds its definition alone.
        QString const folder = QFileInfo(target).path();
        if (folder != m_spare + QStringLiteral("stages"))
            QCOMPARE(QDir(folder).entryList(QDir::Files),
                     QStringList{QFileInfo(target).fileName()});
        // Made again, it is refused, and the first stays as it was.
        QByteArray const first = KenroTest::readFile(target);
        QCOMPARE(m_engine->newProject(root, type, given), nullptr);
        QCOMPARE(KenroTest::readFile(target), first);
        project->release();
        delete root;

        // It opens again as what it was made.
        ParentProject *again = m_engine->openRoot(target, FileSystemArchive::instance());
        QVERIFY(again);
        Project *reopened = again->openedProjects().first();
        QCOMPARE(reopened->type(), type);
        QCOMPARE(reopened->name(), QFileInfo(target).completeBaseName());
        reopened->release();
    }

    void savesKfmElsewhere()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QTemporaryDir target;
        QString const place = target.path() + QStringLiteral("/moved/");
        QVERIFY(QDir().mkpath(place));
        QString const source = testdata + QStringLiteral("/game/chars/kfm/");

        ParentProject *root = m_engine->openRoot(m_game + QStringLiteral("chars/kfm/kfm.def"),
                                                 FileSystemArchive::instance());
        QVERIFY(root);
        QPointer<ParentProject> lone = root;
        Project *project = root->openedProjects().first();
        Content before;
        checkFiles(*project, before);
        root->saveAs(place + QStringLiteral("kfm.def"), nullptr);
        QCOMPARE(project->fileName(), place + QStringLiteral("kfm.def"));
        project->release();
        QVERIFY(lone.isNull());

        // Unchanged files arrive as the bytes they were read from.
        QStringList names{QStringLiteral("kfm.def")};
        for (QString const &entry : std::as_const(before.files))
            names.append(entry.section(QLatin1Char(':'), 1));
        for (QString const &name : std::as_const(names))
            QVERIFY2(KenroTest::readFile(place + name) == KenroTest::readFile(source + name),
                     qPrintable(name));

        ParentProject *again =
            m_engine->openRoot(place + QStringLiteral("kfm.def"), FileSystemArchive::instance());
        QVERIFY(again);
        Project *reopened = again->openedProjects().first();
        Content after;
        checkFiles(*reopened, after);
        QCOMPARE(after.files, before.files);
        QCOMPARE(after.sprites, before.sprites);
        QCOMPARE(after.sounds, before.sounds);
        QCOMPARE(after.actions, before.actions);
        QCOMPARE(after.wavs, before.wavs);
        QCOMPARE(after.images.size(), before.images.size());
        for (int i = 0; i < after.images.size(); ++i)
            QVERIFY2(after.images.at(i) == before.images.at(i), qPrintable(QString::number(i)));
        reopened->release();
    }
};

QTEST_MAIN(TestIkemenEngine)
#include "tst_ikemenengine.moc"
