#include <actpalette.h>
#include <ikemen/air/airdocument.h>
#include <ikemen/project/definition.h>
#include <ikemen/project/definitionproject.h>
#include <ikemen/project/palettefile.h>
#include <ikemen/script/scriptdocument.h>
#include <ikemen/snd/sndreader.h>
#include <ikemen/snd/sndsounds.h>
#include <sffpalette.h>
#include <sffreader.h>
#include <sffsprites.h>

#include <kenro/code/codenode.h>
#include <kenro/code/rootcode.h>
#include <kenro/engine/engine.h>
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messagelist.h>
#include <kenro/project/parentproject.h>

#include "modelnames.h"
#include "testdata.h"
#include "testinterface.h"

#include <QDir>
#include <QLibrary>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace Qt::Literals::StringLiterals;

namespace {

// Every message of \a project and of its files, as "file:line type: text"
// with the file relative to \a game and the line counted from 1.
QStringList messageLines(Project const &project, QString const &game)
{
    QStringList out;
    for (KenroTest::ListedMessage const &listed : KenroTest::listedMessages(project)) {
        QString const file = listed.file ? listed.file->fileName().remove(game) : QString();
        out += u"%1:%2 %3: %4"_s.arg(file)
                   .arg(listed.message.line + 1)
                   .arg(QStringList{u"error"_s, u"warning"_s, u"information"_s}.value(
                       listed.message.type, u"?"_s))
                   .arg(listed.message.text);
    }
    out.removeDuplicates();
    out.sort();
    return out;
}

// The "[Begin Action n]" headings of a text, any case.
int actionHeadings(QByteArray const &text)
{
    int count = 0;
    for (QByteArray const &line : text.toLower().split('\n'))
        count += line.trimmed().startsWith("[begin action") ? 1 : 0;
    return count;
}

void release(ProjectFile *file)
{
    if (file)
        file->release();
}

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

    bool operator==(Content const &other) const
    {
        return files == other.files && sprites == other.sprites && sounds == other.sounds &&
            actions == other.actions && palettes == other.palettes && images == other.images &&
            wavs == other.wavs;
    }
};

} // namespace

class TestIkemenEngine : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_copy;
    QString m_game; // a writable copy of the game, with a trailing "/"
    std::unique_ptr<ExtensionManager> m_manager;
    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<KenroTest::TestInterface> m_host;

    // The files of \a project checked against their classes, what the readers
    // of their formats say of the bytes on disk, and their listing.
    void checkFiles(Project &project, Content &content)
    {
        content.files = KenroTest::listedFiles(project);
        for (QString const &entry : std::as_const(content.files)) {
            QString const name = entry.section(u':', 1);
            bool found = false;
            for (ProjectFile *file : project.filesByType(entry.section(u':', 0, 0).toInt()))
                found = found || file->fileName().endsWith(u'/' + name);
            QVERIFY2(found, qPrintable(entry));
        }
        for (ProjectFile *file : project.files()) {
            QByteArray const bytes = KenroTest::readFile(file->fileName());
            QVERIFY2(!bytes.isEmpty() && !file->isEmpty() && !file->isModified(),
                     qPrintable(file->fileName()));
            int type = 0;
            while (type <= DefinitionProject::Other && !project.filesByType(type).contains(file))
                ++type;
            if (auto *sprites = dynamic_cast<SffSprites *>(file)) {
                SffContent read;
                QVERIFY(type == Project::Sprites && SffReader().read(bytes, read));
                QCOMPARE(int(sprites->count()), int(read.sprites.size()));
                content.sprites += sprites->count();
                for (unsigned int i = 0; i < sprites->count(); ++i)
                    content.images.append(sprites->at(i)->image());
            } else if (auto *sounds = dynamic_cast<SndSounds *>(file)) {
                SndReader reader;
                QVERIFY(type == Project::Sounds && reader.read(bytes));
                QCOMPARE(int(sounds->count()), int(reader.bank().members.size()));
                content.sounds += sounds->count();
                for (unsigned int i = 0; i < sounds->count(); ++i)
                    content.wavs.append(sounds->sound(i)->wav().toByteArray());
            } else if (auto *animations = dynamic_cast<AirAnimations *>(file)) {
                QVERIFY(type == Project::Animations);
                QVERIFY(dynamic_cast<AirDocument *>(animations->document()));
                QCOMPARE(int(animations->count()), actionHeadings(bytes));
                content.actions += animations->count();
            } else if (auto *palette = dynamic_cast<PaletteFile *>(file)) {
                // Shown in the character's sprite archive with the file's colours.
                RGBA expected[256];
                QVERIFY(type == DefinitionProject::Palettes && readAct(bytes, expected));
                QCOMPARE(palette->data(), bytes);
                QVERIFY(!palette->palettes().isEmpty());
                for (SffPalette const *shown : palette->palettes()) {
                    RGBA colors[256];
                    QVERIFY(shown->colorTable(colors));
                    QVERIFY(std::memcmp(colors, expected, sizeof colors) == 0);
                }
                content.palettes += palette->palettes().size();
            } else {
                QVERIFY2(type == DefinitionProject::Music || type == DefinitionProject::Other ||
                             dynamic_cast<ScriptDocument *>(file),
                         qPrintable(file->fileName()));
            }
        }
        QVERIFY(content.sprites > 0);
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
        m_game = m_copy.path() + u"/game/"_s;
        QVERIFY(data.isEmpty() || KenroTest::copyTree(data + u"/game/"_s, m_game));
    }

    void cleanupTestCase()
    {
        m_engine.reset();
        m_manager.reset();
    }

    void answers()
    {
        Engine &engine = *m_engine;
        QCOMPARE(engine.fileTypeOf(u"a/KFM.AIR"_s), int(Project::Animations));
        QCOMPARE(engine.fileTypeOf(u"01.act"_s), int(DefinitionProject::Palettes));
        QCOMPARE(engine.fileTypeOf(u"readme.txt"_s) + engine.fileTypeOf(u"noSuffix"_s), -2);
        // Every type has a name, a pattern and a class that starts empty.
        for (int type = 0; type <= DefinitionProject::Other; ++type) {
            QVERIFY(!engine.fileTypeName(type).isEmpty() &&
                    !engine.fileFilters().value(type).isEmpty());
            std::unique_ptr<ProjectFile, void (*)(ProjectFile *)> file(
                engine.createFile(type, nullptr), release);
            QVERIFY(file && file->isEmpty());
        }
        QVERIFY(!engine.createFile(42, nullptr) && !engine.openProject(nullptr, u"/none/a.def"_s));
        QCOMPARE(ExtensionManager::filters(Extension::SoundBank, &engine),
                 u"IKEMEN GO sound banks (*.snd)"_s);
    }

    void refusesDamagedFiles_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("keep"); // bytes kept from the start; -1 for garbage
        QTest::newRow("sprites cut") << u"chars/kfm/kfm.sff"_s << 700;
        QTest::newRow("sprites garbage") << u"chars/kfm/kfm.sff"_s << -1;
        QTest::newRow("sounds cut") << u"chars/kfm/kfm.snd"_s << 600;
        QTest::newRow("sounds garbage") << u"chars/kfm/kfm.snd"_s << -1;
    }

    void refusesDamagedFiles()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(QString, source);
        QFETCH(int, keep);
        QByteArray bytes = KenroTest::readFile(m_game + source);
        QVERIFY(bytes.size() > keep);
        for (qsizetype i = 0; keep < 0 && i < bytes.size(); ++i)
            bytes[i] = char((i * 131 + 7) & 0xff);
        QTemporaryDir dir;
        QString const path = dir.filePath(QFileInfo(source).fileName());
        QVERIFY(KenroTest::writeFile(path, keep < 0 ? bytes : bytes.left(keep)));
        int const type = m_engine->fileTypeOf(path);
        QVERIFY(type == Project::Sprites || type == Project::Sounds);
        QCOMPARE(m_engine->openFile(path, type), nullptr);
    }

    // Each character and stage of the game, opened from the game's tree and
    // alone: the same files, each read by its class, and the same messages,
    // each a fault of the content itself, none a misreading of a file.
    void projects_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::addColumn<QString>("node"); // in the game's tree
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("messages");
        QString const clsn = u"chars/kfm/kfm.air:%1 warning: A Clsn2 box under a Clsn1 header is "
                             "a Clsn1 box"_s;
        // Kung Fu Man's animations contradict themselves: boxes written as
        // Clsn2 under a Clsn1 header, which the runtime reads as attack boxes.
        // In action 1020 (the fast palm) that is what was meant; in action
        // 1300 (blocking) the frames attack with copies of their Clsn2 boxes.
        // His storyboards name scene music that the game does not hold: the
        // runtime plays none, hence a warning.
        QTest::newRow("kfm") << u"chars/kfm/kfm.def"_s << u"chars/kfm/"_s
                             << u"4:kfm.cmd 4:kfm.cns 1:kfm.sff 3:kfm.air 2:kfm.snd 8:kfm.ai "
                                "6:intro.def 6:ending.def 1:intro.sff 1:ending.sff"_s.split(u' ')
                             << QStringList{clsn.arg(1567),
                                            clsn.arg(1568),
                                            clsn.arg(1574),
                                            clsn.arg(1575),
                                            clsn.arg(963),
                                            u"chars/kfm/kfm.def:43 warning: The file 'intro.mp3' "
                                            "named by 'bgm' does not exist (in intro.def)"_s,
                                            u"chars/kfm/kfm.def:44 warning: The file "
                                            "'ending.mp3' named by 'bgm' does not exist (in "
                                            "ending.def)"_s};
        // "St0 = config.txt": no such file beside the definition, in the game
        // or in its data folder, and the runtime needs its states.
        QTest::newRow("training")
            << u"chars/training/Training.def"_s << u"chars/training/"_s
            << u"4:Training.cmd 4:Training.cns 1:Training.sff 3:Training.air 2:Training.snd "
               "5:01.act"_s.split(u' ')
            << QStringList{u"chars/training/Training.def:13 error: The file 'config.txt' named "
                           "by 'St0' does not exist"_s};
        // "bgmusic = sound/kfm.mid": the game has no sound folder.
        QTest::newRow("stage kfm")
            << u"stages/kfm.def"_s << u"stages/kfm.def"_s << QStringList{u"1:kfm.sff"_s}
            << QStringList{u"stages/kfm.def:171 warning: The file "
                           "'sound/kfm.mid' named by 'bgmusic' does not "
                           "exist"_s};
        QTest::newRow("stage0") << u"stages/stage0.def"_s << u"stages/stage0.def"_s
                                << QStringList{u"1:stage0.sff"_s} << QStringList();
    }

    void projects()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(QString, definition);
        QFETCH(QString, node);
        QFETCH(QStringList, files);
        QFETCH(QStringList, messages);
        std::unique_ptr<ParentProject> game(
            m_engine->openRoot(m_game, FileSystemArchive::instance()));
        QVERIFY(game && game->isGame());
        Project *project = game->openProject(game->filePath(m_game + node));
        QVERIFY(project);
        QCOMPARE(project->fileName(), m_game + definition);
        QCOMPARE(m_engine->openProject(game.get(), project->fileName()), project);
        QCOMPARE(project->typeName(),
                 m_engine->queryString(Engine::ProjectTypeName, unsigned(project->type())));
        Content content;
        checkFiles(*project, content);
        QCOMPARE(content.files, files);
        QCOMPARE(messageLines(*project, m_game), messages);
        // A character's common states come from the game's data folder, open but not listed.
        QStringList scripts;
        for (ProjectFile *file : project->filesByType(Project::Scripts))
            scripts += file->fileName().remove(m_game);
        QCOMPARE(scripts.contains(u"data/common1.cns"_s),
                 project->type() == DefinitionProject::Character);
        // The training character names one palette file for all twelve slots.
        QCOMPARE(content.palettes, definition.contains("training"_L1) ? 12u : 0u);
        project->release();
        game.reset();

        // Alone, it finds its game all the same, in a root of its own that
        // shows its files and ends with it.
        QPointer<ParentProject> lone =
            m_engine->openRoot(m_game + definition, FileSystemArchive::instance());
        QVERIFY(lone && !lone->isGame());
        project = lone->openedProjects().value(0);
        QVERIFY(project);
        QCOMPARE(KenroTest::listedFiles(*project), files);
        QCOMPARE(messageLines(*project, m_game), messages);
        QCOMPARE(lone->rowCount(QModelIndex()), int(files.size()) + 1);
        project->release();
        QVERIFY(lone.isNull());
    }

    void definitionsHoldRealAnimations_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("fight") << u"data/fight.def"_s;
        QTest::newRow("system") << u"data/system.def"_s;
        QTest::newRow("kfm intro") << u"chars/kfm/intro.def"_s;
    }

    void definitionsHoldRealAnimations()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(QString, file);
        QCOMPARE(m_engine->fileTypeOf(m_game + file), int(Project::Main));
        std::unique_ptr<ProjectFile, void (*)(ProjectFile *)> opened(
            m_engine->openFile(m_game + file, Project::Main), release);
        auto *document = dynamic_cast<ScriptDocument *>(opened.get());
        QVERIFY(document);
        int const headings = actionHeadings(KenroTest::readFile(m_game + file));
        QVERIFY(headings > 0);
        QCOMPARE(animationNodes(document->root()), headings);
        QVERIFY(document->messages());
        QCOMPARE(document->messages()->count(Message::Error), 0u);
    }

    void newProject_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("path"); // as given, relative to the game unless absolute
        QTest::addColumn<bool>("absolute");
        QTest::addColumn<QString>("made"); // the new definition; empty when refused
        int const character = DefinitionProject::Character;
        int const stage = DefinitionProject::Stage;
        QTest::newRow("character folder")
            << character << u"chars/hero"_s << true << u"chars/hero/hero.def"_s;
        QTest::newRow("character definition")
            << character << u"chars/rival/Rival.def"_s << true << u"chars/rival/Rival.def"_s;
        QTest::newRow("relative path")
            << character << u"chars/third/"_s << false << u"chars/third/third.def"_s;
        QTest::newRow("stage definition")
            << stage << u"stages/arena.def"_s << true << u"stages/arena.def"_s;
        QTest::newRow("existing definition")
            << character << u"chars/kfm/kfm.def"_s << true << QString();
        QTest::newRow("outside the game")
            << character << u"../elsewhere/x.def"_s << true << QString();
        QTest::newRow("the game itself") << stage << QString() << true << QString();
        QTest::newRow("no such type") << 5 << u"chars/odd"_s << true << QString();
        // The superuser writes anywhere: the row means something to others only.
        if (geteuid() != 0)
            QTest::newRow("unwritable folder")
                << character << u"chars/locked/locked.def"_s << true << QString();
    }

    void newProject()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(int, type);
        QFETCH(QString, path);
        QFETCH(bool, absolute);
        QFETCH(QString, made);
        QString const &game = m_game;
        QString const locked = game + u"chars/locked"_s;
        if (path.startsWith("chars/locked"_L1)) {
            QVERIFY(QDir().mkpath(locked));
            QVERIFY(::chmod(QFile::encodeName(locked).constData(), 0555) == 0);
        }
        QString const given = absolute ? game + path : path;
        QString const target = game + (made.isEmpty() ? path : made);
        QByteArray const before = KenroTest::readFile(target);

        QCOMPARE(m_engine->newProject(nullptr, type, given), nullptr);
        std::unique_ptr<ParentProject> root(
            m_engine->openRoot(game, FileSystemArchive::instance()));
        QVERIFY(root);
        Project *project = m_engine->newProject(root.get(), type, given);
        ::chmod(QFile::encodeName(locked).constData(), 0755);
        if (made.isEmpty()) {
            // Never written over, never left behind.
            QCOMPARE(project, nullptr);
            QCOMPARE(KenroTest::readFile(target), before);
            QVERIFY(!QFile::exists(locked + u"/locked.def"_s));
            return;
        }
        QVERIFY(project && root->openedProjects().contains(project));
        QCOMPARE(project->fileName(), target);
        // A definition of what the runtime reads, naming nothing yet: the
        // project holds its main file alone, without a message.
        QVERIFY(project->fileCount() == 1 && !project->isModified());
        QCOMPARE(messageLines(*project, game), QStringList());
        Definition const written(QString::fromUtf8(KenroTest::readFile(target)));
        QCOMPARE(written.value(u"Info"_s, u"name"_s), project->name());
        QCOMPARE(!written.entries(u"BGdef"_s).isEmpty(), type == DefinitionProject::Stage);
        // A folder made for the project holds its definition alone.
        if (QFileInfo(target).path() != game + u"stages"_s)
            QCOMPARE(QDir(QFileInfo(target).path()).entryList(QDir::Files),
                     QStringList{QFileInfo(target).fileName()});
        // Made again, it is refused, and the first stays as it was.
        QByteArray const first = KenroTest::readFile(target);
        QCOMPARE(m_engine->newProject(root.get(), type, given), nullptr);
        QCOMPARE(KenroTest::readFile(target), first);
        project->release();
        root.reset();

        // It opens again as what it was made.
        ParentProject *again = m_engine->openRoot(target, FileSystemArchive::instance());
        QVERIFY(again);
        project = again->openedProjects().first();
        QCOMPARE(project->type(), type);
        QCOMPARE(project->name(), QFileInfo(target).completeBaseName());
        project->release();
    }

    // Saved elsewhere as a whole, a project takes its files along: unchanged
    // ones arrive as the bytes they were read from, and it opens from there
    // with the same content.
    void savedElsewhere_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::newRow("kfm") << u"chars/kfm/kfm.def"_s;
        QTest::newRow("training") << u"chars/training/Training.def"_s;
        QTest::newRow("stage kfm") << u"stages/kfm.def"_s;
        QTest::newRow("stage0") << u"stages/stage0.def"_s;
    }

    void savedElsewhere()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(QString, definition);
        QTemporaryDir target;
        QString const place = target.path() + u"/moved/"_s;
        QString const name = QFileInfo(definition).fileName();
        QString const source = testdata + u"/game/"_s + QFileInfo(definition).path() + u'/';
        QVERIFY(QDir().mkpath(place));
        ParentProject *root =
            m_engine->openRoot(m_game + definition, FileSystemArchive::instance());
        QVERIFY(root);
        Project *project = root->openedProjects().first();
        Content before;
        checkFiles(*project, before);
        root->saveAs(place + name, nullptr);
        QCOMPARE(project->fileName(), place + name);
        QCOMPARE(root->basePath(), place);
        for (ProjectFile *file : project->files()) {
            // Shared files stay where they are.
            QVERIFY2(file->fileName().startsWith(place) || file->fileName().contains("/data/"_L1),
                     qPrintable(file->fileName()));
            QVERIFY(!file->isModified());
        }
        project->release();

        QStringList names{name};
        for (QString const &entry : std::as_const(before.files))
            names.append(entry.section(u':', 1));
        for (QString const &each : std::as_const(names))
            QVERIFY2(KenroTest::readFile(place + each) == KenroTest::readFile(source + each),
                     qPrintable(each));
        QCOMPARE(QDir(place).entryList(QDir::Files).size(), names.size());

        root = m_engine->openRoot(place + name, FileSystemArchive::instance());
        QVERIFY(root);
        project = root->openedProjects().first();
        Content after;
        checkFiles(*project, after);
        QVERIFY(after == before);
        project->release();
    }
};

QTEST_MAIN(TestIkemenEngine)
#include "tst_ikemenengine.moc"
