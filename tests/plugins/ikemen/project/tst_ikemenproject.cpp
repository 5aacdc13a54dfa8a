#include <ikemen/project/binaryfile.h>
#include <ikemen/project/characterproject.h>
#include <ikemen/project/definition.h>
#include <ikemen/project/definitionproject.h>
#include <ikemen/project/gameproject.h>
#include <ikemen/project/newdefinition.h>
#include <ikemen/project/palettefile.h>
#include <ikemen/project/scriptfile.h>
#include <ikemen/project/stageproject.h>
#include <ikemen/sff/actpalette.h>
#include <ikemen/sff/sffpalette.h>
#include <ikemen/sff/sffpalettes.h>
#include <ikemen/sff/sffsprites.h>
#include <ikemen/snd/sndsounds.h>

#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messagelist.h>

#include "memoryarchive.h"
#include "modelnames.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"

#include <QAbstractItemModelTester>
#include <QDirIterator>
#include <QPointer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

using namespace Kenro;
using KenroTest::childIndex;
using KenroTest::childNames;
using KenroTest::copyTree;
using namespace Kenro::Ikemen;

namespace {

// The names of the open files of \a type, relative to \a base when inside it.
QStringList openNames(Project &project, int type, QString const &base)
{
    QStringList out;
    for (ProjectFile *file : project.filesByType(type))
        out.append(file->fileName().startsWith(base) ? file->fileName().mid(base.size())
                                                     : file->fileName());
    return out;
}

QStringList problemTexts(DefinitionProject const &project)
{
    QStringList out;
    Messages *list = project.problems();
    for (unsigned int i = 0; i < list->count(Message::All); ++i) {
        Message const message = list->at(i, Message::All);
        out.append(
            QStringLiteral("%1@%2 %3").arg(message.type).arg(message.line).arg(message.text));
    }
    return out;
}

// A sprite file class as a reader plugged in through the factory would be.
class PluggedSprites : public BinaryFile
{
public:
    static inline int made = 0;
    PluggedSprites() { ++made; }
};

// A file that never reads, as a reader meets a broken file.
class UnreadableFile : public BinaryFile
{
public:
    bool fromFile(Archive &, QString const &, unsigned int, JobStats *) override { return false; }
};

// The colours of each palette that a palette file gives, by identifier.
QMap<unsigned int, QByteArray> filePalettes(SffSprites *sprites)
{
    QMap<unsigned int, QByteArray> out;
    auto *palettes = static_cast<SffPalettes *>(sprites->palettes());
    for (unsigned int i = 0; i < palettes->count(); ++i) {
        SffPalette const *palette = palettes->palette(i);
        RGBA colors[256];
        if (!palette->file().isEmpty() && palette->colorTable(colors))
            out.insert(palette->identifier(), writeAct(colors));
    }
    return out;
}

// The palette of character slot \a slot, or null.
SffPalette *slotPalette(SffSprites *sprites, int slot)
{
    auto *palettes = static_cast<SffPalettes *>(sprites->palettes());
    int const row = palettes->find(0, 1u << 16 | unsigned(slot));
    return row < 0 ? nullptr : palettes->palette(unsigned(row));
}

// The open file of \a project read from \a path, or null.
ProjectFile *openFile(Project const &project, QString const &path)
{
    for (ProjectFile *file : project.files()) {
        if (file->fileName() == path)
            return file;
    }
    return nullptr;
}

// Palette file bytes whose colours depend on \a seed, none equal to another seed's.
QByteArray madeAct(int seed)
{
    QByteArray bytes(768, '\0');
    for (int i = 0; i < 768; ++i)
        bytes[i] = char((i * (seed + 3) + seed * 41) & 0xFF);
    return bytes;
}

// Every message of the project, its files' as well: "file:type text".
QStringList allMessages(Project const &project)
{
    QStringList out;
    for (KenroTest::ListedMessage const &listed : KenroTest::listedMessages(project)) {
        QString const file = listed.file ? listed.file->displayName() : QString();
        out.append(
            QStringLiteral("%1:%2 %3").arg(file).arg(listed.message.type).arg(listed.message.text));
    }
    return out;
}

int const MainType = Project::Main;
int const SpriteType = Project::Sprites;
int const SoundType = Project::Sounds;
int const AnimationType = Project::Animations;
int const ScriptType = Project::Scripts;
int const PaletteType = DefinitionProject::Palettes;
int const StoryboardType = DefinitionProject::Storyboards;
int const OtherType = DefinitionProject::Other;

} // namespace

class TestIkemenProject : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_copy;
    QString m_source; // the real game folder
    QString m_game; // its writable copy

    // Skips without test data; otherwise makes the copy once.
    bool haveGame()
    {
        m_source = KenroTest::testDataPath();
        if (m_source.isEmpty())
            return false;
        m_source += QStringLiteral("/game/");
        if (m_game.isEmpty()) {
            m_game = m_copy.path() + QStringLiteral("/game/");
            if (!copyTree(m_source, m_game))
                m_game.clear();
        }
        return !m_game.isEmpty();
    }

private Q_SLOTS:
    void cleanup()
    {
        for (int type = 0; type < 10; ++type)
            DefinitionProject::setFileFactory(type, nullptr);
    }

    void definitionReader()
    {
        Definition const text(QStringLiteral("ignored = before any section\r\n"
                                             "[Info]\r\n"
                                             " Name = \"Kung ; Fu\"   ; a comment\r\n"
                                             "author=Elecbyte\n"
                                             "no equals sign here\n"
                                             "= no key\n"
                                             "  [ Files ]  ; heading with blanks\n"
                                             "SPRITE = KFM.SFF\n"
                                             "empty =\n"
                                             "[unclosed\n"
                                             "k = v\n"
                                             "[files]\n"
                                             "sprite = second.sff\n"
                                             "quote = \"unclosed ; still value\n"));
        QCOMPARE(text.sections().size(), 4);
        QCOMPARE(text.sections().at(1).name, QStringLiteral("Files"));
        QCOMPARE(text.sections().at(2).name, QStringLiteral("unclosed"));
        QCOMPARE(text.value(QStringLiteral("INFO"), QStringLiteral("name")),
                 QStringLiteral("Kung ; Fu"));
        QCOMPARE(text.value(QStringLiteral("info"), QStringLiteral("Author")),
                 QStringLiteral("Elecbyte"));
        QCOMPARE(text.entries(QStringLiteral("Info")).size(), 2);
        QCOMPARE(text.value(QStringLiteral("files"), QStringLiteral("sprite")),
                 QStringLiteral("KFM.SFF")); // the first of two sections of one name
        QCOMPARE(text.entry(QStringLiteral("Files"), QStringLiteral("sprite"))->line, 7);
        QCOMPARE(text.entries(QStringLiteral("Files")).size(), 4);
        QCOMPARE(text.value(QStringLiteral("Files"), QStringLiteral("empty")), QString());
        QCOMPARE(text.value(QStringLiteral("Files"), QStringLiteral("quote")),
                 QStringLiteral("\"unclosed ; still value"));
        QVERIFY(!text.entry(QStringLiteral("Nothing"), QStringLiteral("k")));
        QVERIFY(Definition(QString()).sections().isEmpty());

        // Garbage reads as whatever lines it happens to have, never more.
        QRandomGenerator random(13);
        for (int round = 0; round < 50; ++round) {
            QByteArray bytes(int(random.bounded(4096)), '\0');
            for (char &c : bytes)
                c = char(random.bounded(256));
            if (round % 2)
                bytes.replace('\0', "[=;\"\n");
            Definition const garbage(QString::fromLatin1(bytes));
            for (Definition::Section const &section : garbage.sections())
                QVERIFY(section.line <= bytes.count('\n'));
        }
    }

    void fileFactories()
    {
        struct Case
        {
            int type;
            bool script;
        };
        for (Case const &each :
             {Case{MainType, true}, Case{ScriptType, true}, Case{AnimationType, true},
              Case{StoryboardType, true}, Case{SpriteType, false}, Case{SoundType, false},
              Case{PaletteType, false}, Case{DefinitionProject::Music, false},
              Case{OtherType, false}}) {
            ProjectFile *file = DefinitionProject::newFile(each.type);
            QCOMPARE(dynamic_cast<ScriptFile *>(file) != nullptr, each.script);
            QCOMPARE(dynamic_cast<BinaryFile *>(file) != nullptr, !each.script);
            file->release();
        }
        DefinitionProject::setFileFactory(SpriteType, [] { return new PluggedSprites; });
        ProjectFile *plugged = DefinitionProject::newFile(SpriteType);
        QVERIFY(dynamic_cast<PluggedSprites *>(plugged));
        plugged->release();
        // A factory that makes nothing leaves the built-in class in charge.
        DefinitionProject::setFileFactory(SoundType,
                                          [] { return static_cast<ProjectFile *>(nullptr); });
        ProjectFile *fallback = DefinitionProject::newFile(SoundType);
        QVERIFY(dynamic_cast<BinaryFile *>(fallback));
        fallback->release();
        DefinitionProject::setFileFactory(SpriteType, nullptr);
        ProjectFile *builtIn = DefinitionProject::newFile(SpriteType);
        QVERIFY(!dynamic_cast<PluggedSprites *>(builtIn));
        builtIn->release();
    }

    void opensAlone_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::addColumn<int>("projectType");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("problems");
        QTest::newRow("kfm")
            << QStringLiteral("chars/kfm/kfm.def") << int(DefinitionProject::Character)
            << QStringList{QStringLiteral("4:kfm.cmd"),   QStringLiteral("4:kfm.cns"),
                           QStringLiteral("1:kfm.sff"),   QStringLiteral("3:kfm.air"),
                           QStringLiteral("2:kfm.snd"),   QStringLiteral("8:kfm.ai"),
                           QStringLiteral("6:intro.def"), QStringLiteral("6:ending.def"),
                           QStringLiteral("1:intro.sff"), QStringLiteral("1:ending.sff")}
            << QStringList{QStringLiteral("1@42 The file 'intro.mp3' named by 'bgm' does "
                                          "not exist (in intro.def)"),
                           QStringLiteral("1@43 The file 'ending.mp3' named by 'bgm' does "
                                          "not exist (in ending.def)")};
        QTest::newRow("training")
            << QStringLiteral("chars/training/Training.def") << int(DefinitionProject::Character)
            << QStringList{QStringLiteral("4:Training.cmd"), QStringLiteral("4:Training.cns"),
                           QStringLiteral("1:Training.sff"), QStringLiteral("3:Training.air"),
                           QStringLiteral("2:Training.snd"), QStringLiteral("5:01.act")}
            << QStringList{
                   QStringLiteral("0@12 The file 'config.txt' named by 'St0' does not exist")};
        QTest::newRow("stage kfm")
            << QStringLiteral("stages/kfm.def") << int(DefinitionProject::Stage)
            << QStringList{QStringLiteral("1:kfm.sff")}
            << QStringList{QStringLiteral("1@170 The file 'sound/kfm.mid' named "
                                          "by 'bgmusic' does not exist")};
        QTest::newRow("stage0") << QStringLiteral("stages/stage0.def")
                                << int(DefinitionProject::Stage)
                                << QStringList{QStringLiteral("1:stage0.sff")} << QStringList();
    }

    void opensAlone()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        QFETCH(QString, definition);
        QFETCH(int, projectType);
        QFETCH(QStringList, files);
        QFETCH(QStringList, problems);
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;

        DefinitionProject *project = GameProject::openDefinition(
            m_game + definition, FileSystemArchive::instance(), &engine);
        QVERIFY(project);
        QPointer<ParentProject> root = project->parent();
        QVERIFY(root && !root->isGame());
        QCOMPARE(project->type(), projectType);
        QCOMPARE(project->fileName(), m_game + definition);
        QCOMPARE(static_cast<GameProject *>(root.data())->gameDirectory(), m_game);
        QCOMPARE(KenroTest::listedFiles(*project), files);
        QCOMPARE(problemTexts(*project), problems);
        QCOMPARE(project->messages()->sources().count(project->problems()), 1);

        // Every listed file is named by the definitions (case aside), open
        // under its type, and holds what is on disk.
        QString const folder = QFileInfo(m_game + definition).path() + QLatin1Char('/');
        QString named = QString::fromLatin1(KenroTest::readFile(m_game + definition));
        for (QString const &storyboard :
             {QStringLiteral("intro.def"), QStringLiteral("ending.def")}) {
            if (files.contains(QStringLiteral("6:") + storyboard))
                named += QString::fromLatin1(KenroTest::readFile(folder + storyboard));
        }
        for (QString const &entry : std::as_const(files)) {
            int const type = entry.section(QLatin1Char(':'), 0, 0).toInt();
            QString const name = entry.section(QLatin1Char(':'), 1);
            QVERIFY2(named.contains(name, Qt::CaseInsensitive), qPrintable(name));
            QVERIFY2(openNames(*project, type, folder).contains(name), qPrintable(entry));
        }
        for (ProjectFile *file : project->files()) {
            QVERIFY(file->fileExists());
            if (auto *bytes = dynamic_cast<BinaryFile *>(file))
                QCOMPARE(bytes->data(), KenroTest::readFile(file->fileName()));
            QVERIFY(!file->isModified());
        }
        if (projectType == DefinitionProject::Character) {
            // The common states come from the game's data folder, open but not listed.
            QVERIFY(openNames(*project, ScriptType, m_game)
                        .contains(QStringLiteral("data/common1.cns")));
            QCOMPARE(project->file(SpriteType)->displayName().toLower(),
                     QFileInfo(definition).completeBaseName().toLower() + QStringLiteral(".sff"));
        }

        // An engine opening the same definition gets such a root too.
        ParentProject *other =
            GameProject::openRoot(m_game + definition, FileSystemArchive::instance(), &engine);
        QVERIFY(other && other != root && other->refCount() == 1);
        QCOMPARE(other->openedProjects().first()->fileName(), project->fileName());
        other->openedProjects().first()->release();

        // The lone root shows the project's files and ends with it.
        QAbstractItemModelTester tester(root,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QStringList const shown = childNames(*root, QModelIndex());
        QCOMPARE(shown.first(), QFileInfo(definition).fileName());
        QCOMPARE(shown.size(), files.size() + 1);
        project->release();
        QVERIFY(root.isNull());
    }

    void namesWrittenElsewhere()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        KenroTest::TestEngine engine;
        // Names as written on case-blind systems, with their separators.
        QString const definition = m_game + QStringLiteral("chars/kfm/Upper.def");
        QVERIFY(KenroTest::writeFile(definition,
                                     "[Info]\nname = \"Upper\"\n[Files]\n"
                                     "sprite = KFM.SFF\n"
                                     "anim = .\\Kfm.Air\n"
                                     "sound = ..\\kfm\\KFM.snd\n"
                                     "cmd = ../../chars/kfm/kfm.CMD ; found through the game\n"
                                     "st = chars\\kfm\\KFM.CNS\n"
                                     "pal1 = nothing.act\n"));
        DefinitionProject *project =
            GameProject::openDefinition(definition, FileSystemArchive::instance(), &engine);
        QVERIFY(project);
        QCOMPARE(project->name(), QStringLiteral("Upper"));
        QCOMPARE(KenroTest::listedFiles(*project),
                 (QStringList{QStringLiteral("1:kfm.sff"), QStringLiteral("3:kfm.air"),
                              QStringLiteral("2:kfm.snd"), QStringLiteral("4:kfm.cmd"),
                              QStringLiteral("4:kfm.cns")}));
        QList<DefinitionProject::Reference> const references = project->references();
        QCOMPARE(references.size(), 6);
        QCOMPARE(references.at(4).path, m_game + QStringLiteral("chars/kfm/kfm.cns"));
        QVERIFY(!references.at(5).exists);
        QCOMPARE(references.at(5).path, m_game + QStringLiteral("chars/kfm/nothing.act"));
        QCOMPARE(problemTexts(*project),
                 QStringList{
                     QStringLiteral("0@8 The file 'nothing.act' named by 'pal1' does not exist")});
        QCOMPARE(project->messages()->errorCount(), 1u);
        project->release();
        QVERIFY(QFile::remove(definition));
    }

    void brokenDefinitions()
    {
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        KenroTest::MemoryArchive archive;
        // A definition that cannot be read opens nothing and leaves nothing.
        QVERIFY(!GameProject::openDefinition(QStringLiteral("/lone/none.def"), archive, &engine));

        // Files that are missing or that their reader refuses leave messages,
        // and the project opens with the rest.
        archive.files.insert(QStringLiteral("/lone/hero.def"),
                             "[Info]\nname = Hero\nversiondate = 1.0\nauthor = Me\n"
                             "[Files]\nsprite = hero.sff\nsound = gone.snd\nanim = hero.air\n"
                             "[Arcade]\nintro.storyboard = intro.def\n");
        archive.files.insert(QStringLiteral("/lone/hero.sff"), QByteArray(100, 'x'));
        archive.files.insert(QStringLiteral("/lone/hero.air"), "[Begin Action 0]\n0,0, 0,0, 5\n");
        DefinitionProject::setFileFactory(SpriteType, [] { return new UnreadableFile; });
        DefinitionProject *project =
            GameProject::openDefinition(QStringLiteral("/lone/hero.def"), archive, &engine);
        QVERIFY(project);
        QCOMPARE(project->name(), QStringLiteral("Hero"));
        QCOMPARE(project->version(), QStringLiteral("1.0"));
        QCOMPARE(project->author(), QStringLiteral("Me"));
        QCOMPARE(KenroTest::listedFiles(*project), QStringList{QStringLiteral("3:hero.air")});
        QCOMPARE(problemTexts(*project),
                 (QStringList{
                     QStringLiteral("0@5 The file 'hero.sff' named by 'sprite' could not be read"),
                     QStringLiteral("0@6 The file 'gone.snd' named by 'sound' does not exist"),
                     QStringLiteral("0@9 The file 'intro.def' named by "
                                    "'intro.storyboard' does not exist")}));
        QCOMPARE(project->messages()->errorCount(), 3u);
        QVERIFY(!project->file(SpriteType));
        QCOMPARE(project->fileCount(), 2u);
        project->release();

        // Garbage where a definition should be is a character with nothing in it.
        QRandomGenerator random(7);
        for (int round = 0; round < 20; ++round) {
            QByteArray bytes(int(random.bounded(2048)), '\0');
            for (char &c : bytes)
                c = char(random.bounded(256));
            if (round % 2)
                bytes = "[Files]\nsprite = " + bytes.left(200) + "\n[BGdef]\nspr =" + bytes;
            archive.files.insert(QStringLiteral("/lone/garbage.def"), bytes);
            DefinitionProject *garbage =
                GameProject::openDefinition(QStringLiteral("/lone/garbage.def"), archive, &engine);
            QVERIFY(garbage);
            for (DefinitionProject::Reference const &reference : garbage->references())
                QVERIFY(!reference.exists);
            garbage->release();
        }
    }

    void commonStatesOutsideAGame()
    {
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        engine.gameMarker = QStringLiteral("data/system.def");
        KenroTest::MemoryArchive archive;
        QByteArray const definition = "[Files]\nst = hero.cns\nstcommon = common1.cns\n"
                                      "st1 = gone.cns\n";
        // Alone, the common states cannot be looked for: a note. Any other
        // missing file is an error all the same.
        archive.files.insert(QStringLiteral("/lone/hero/hero.def"), definition);
        archive.files.insert(QStringLiteral("/lone/hero/hero.cns"), "[Statedef 0]\n");
        DefinitionProject *lone =
            GameProject::openDefinition(QStringLiteral("/lone/hero/hero.def"), archive, &engine);
        QVERIFY(lone);
        QCOMPARE(static_cast<GameProject *>(lone->parent())->gameDirectory(), QString());
        QStringList const problems = problemTexts(*lone);
        QCOMPARE(problems.size(), 2);
        QVERIFY2(problems.at(0).startsWith(QStringLiteral("2@2 The file 'common1.cns' named by "
                                                          "'stcommon' is looked for in the "
                                                          "game's data folder")),
                 qPrintable(problems.at(0)));
        QCOMPARE(problems.at(1),
                 QStringLiteral("0@3 The file 'gone.cns' named by 'st1' does not exist"));
        QCOMPARE(lone->messages()->errorCount(), 1u);
        QCOMPARE(lone->messages()->informationCount(), 1u);
        lone->release();

        // Inside a game that lacks them, they are missing as any other file.
        archive.files.insert(QStringLiteral("/game/data/system.def"), "[Files]\n");
        archive.files.insert(QStringLiteral("/game/chars/hero/hero.def"), definition);
        archive.files.insert(QStringLiteral("/game/chars/hero/hero.cns"), "[Statedef 0]\n");
        DefinitionProject *inGame = GameProject::openDefinition(
            QStringLiteral("/game/chars/hero/hero.def"), archive, &engine);
        QVERIFY(inGame);
        QCOMPARE(static_cast<GameProject *>(inGame->parent())->gameDirectory(),
                 QStringLiteral("/game/"));
        QCOMPARE(
            problemTexts(*inGame),
            (QStringList{
                QStringLiteral("0@2 The file 'common1.cns' named by 'stcommon' does not exist"),
                QStringLiteral("0@3 The file 'gone.cns' named by 'st1' does not exist")}));
        inGame->release();

        // And found there, they are open with the character.
        archive.files.insert(QStringLiteral("/game/data/common1.cns"), "[Statedef 5]\n");
        inGame = GameProject::openDefinition(QStringLiteral("/game/chars/hero/hero.def"), archive,
                                             &engine);
        QVERIFY(inGame);
        QCOMPARE(openNames(*inGame, ScriptType, QStringLiteral("/game/")),
                 (QStringList{QStringLiteral("chars/hero/hero.cns"),
                              QStringLiteral("data/common1.cns")}));
        QCOMPARE(inGame->messages()->errorCount(), 1u);
        inGame->release();
    }

    void characterPalettes()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        DefinitionProject::setFileFactory(SpriteType, [] { return new SffSprites; });
        DefinitionProject::setFileFactory(PaletteType, [] { return new PaletteFile; });
        // Kung Fu Man with palette files of his own: six made ones, named in
        // any case, one missing, one too short, and one past the twelve slots.
        // The second has the four bytes that some tools append.
        QByteArray const trailer("\x01\x00\xff\xff", 4);
        QTemporaryDir place;
        QString const game = place.path() + QStringLiteral("/game/");
        QVERIFY(copyTree(m_source, game));
        QString const folder = game + QStringLiteral("chars/kfm/");
        QString files;
        for (int slot = 1; slot <= 6; ++slot) {
            QVERIFY(KenroTest::writeFile(folder + QStringLiteral("kfm%1.act").arg(slot),
                                         madeAct(slot) + (slot == 2 ? trailer : QByteArray())));
            files += QStringLiteral("pal%1 = %2\r\n")
                         .arg(slot)
                         .arg(slot == 6 ? QStringLiteral("KFM6.ACT")
                                        : QStringLiteral("kfm%1.act").arg(slot));
        }
        files += QStringLiteral("pal7 = gone.act\r\npal8 = short.act\r\npal13 = kfm1.act\r\n");
        QVERIFY(KenroTest::writeFile(folder + QStringLiteral("short.act"), QByteArray(100, 'x')));
        QByteArray definition = KenroTest::readFile(folder + QStringLiteral("kfm.def"));
        int const at = int(definition.indexOf("[Files]")) + 7;
        QVERIFY(at > 7);
        definition.insert(definition.indexOf('\n', at) + 1, files.toLatin1());
        QVERIFY(KenroTest::writeFile(folder + QStringLiteral("kfm.def"), definition));

        DefinitionProject *project = GameProject::openDefinition(
            folder + QStringLiteral("kfm.def"), FileSystemArchive::instance(), &engine);
        QVERIFY(project);
        auto *sprites = dynamic_cast<SffSprites *>(project->file(SpriteType));
        QVERIFY(sprites);
        // Each slot shows its file's colours, in place of the archive's
        // palette of that slot: the sprites that used it show them too.
        for (int slot = 1; slot <= 6; ++slot) {
            QString const path = folder + QStringLiteral("kfm%1.act").arg(slot);
            SffPalette *palette = slotPalette(sprites, slot);
            QVERIFY2(palette, qPrintable(path));
            QCOMPARE(palette->file(), path);
            RGBA expected[256];
            RGBA shown[256];
            QVERIFY(readAct(KenroTest::readFile(path), expected));
            QVERIFY(palette->colorTable(shown));
            QVERIFY2(std::memcmp(expected, shown, sizeof shown) == 0, qPrintable(path));
            auto *file = dynamic_cast<PaletteFile *>(openFile(*project, path));
            QVERIFY(file && file->isPalette());
            QCOMPARE(file->palettes(), QList<SffPalette *>{palette});
        }
        SffPalette *first = slotPalette(sprites, 1);
        bool shownBySprites = false;
        for (unsigned int i = 0; i < sprites->count(); ++i)
            shownBySprites = shownBySprites || sprites->at(i)->palette() == first;
        QVERIFY(shownBySprites);
        // No palette comes from the missing file, the short one or slot 13.
        QCOMPARE(filePalettes(sprites).size(), 6);
        QVERIFY(!slotPalette(sprites, 8) || slotPalette(sprites, 8)->file().isEmpty());
        QStringList const messages = allMessages(*project);
        QVERIFY2(messages.contains(QStringLiteral(
                     "kfm.def:0 The file 'gone.act' named by 'pal7' does not exist")),
                 qPrintable(messages.join(QLatin1Char('\n'))));
        QVERIFY2(messages.contains(QStringLiteral(
                     "short.act:1 short.act holds no palette: it has 100 bytes, a palette 768")),
                 qPrintable(messages.join(QLatin1Char('\n'))));
        for (ProjectFile *file : project->files())
            QVERIFY2(!file->isModified(), qPrintable(file->fileName()));

        // An edited palette is written back to its file by a save, before
        // the bytes past the colours; the others and the archive, unused by
        // the edit, stay as they are.
        QByteArray const archiveBytes = KenroTest::readFile(folder + QStringLiteral("kfm.sff"));
        SffPalette *second = slotPalette(sprites, 2);
        QVERIFY(!static_cast<SffPalettes *>(sprites->palettes())->isUsed(second));
        RGBA edited[256];
        QVERIFY(second->colorTable(edited));
        edited[17] = RGBA{9, 8, 7, 255};
        second->setColorTable(edited, NoShare);
        auto *secondFile =
            dynamic_cast<PaletteFile *>(openFile(*project, folder + QStringLiteral("kfm2.act")));
        QVERIFY(secondFile && secondFile->isModified());
        QVERIFY(!sprites->isModified());
        QVERIFY(project->isModified());
        project->parent()->save(nullptr);
        QCOMPARE(KenroTest::readFile(folder + QStringLiteral("kfm2.act")),
                 writeAct(edited) + trailer);
        QCOMPARE(KenroTest::readFile(folder + QStringLiteral("kfm1.act")), madeAct(1));
        QCOMPARE(KenroTest::readFile(folder + QStringLiteral("kfm.sff")), archiveBytes);
        QVERIFY(!project->isModified());

        // Saved elsewhere, the character opens with the same palettes.
        QMap<unsigned int, QByteArray> const before = filePalettes(sprites);
        QTemporaryDir target;
        QString const moved = target.path() + QStringLiteral("/moved/");
        QVERIFY(QDir().mkpath(moved));
        project->parent()->saveAs(moved + QStringLiteral("kfm.def"), nullptr);
        QCOMPARE(QDir::cleanPath(second->file()), moved + QStringLiteral("kfm2.act"));
        project->release();
        QCOMPARE(KenroTest::readFile(moved + QStringLiteral("kfm2.act")),
                 writeAct(edited) + trailer);
        QCOMPARE(KenroTest::readFile(moved + QStringLiteral("short.act")), QByteArray(100, 'x'));
        DefinitionProject *again = GameProject::openDefinition(
            moved + QStringLiteral("kfm.def"), FileSystemArchive::instance(), &engine);
        QVERIFY(again);
        auto *reopened = dynamic_cast<SffSprites *>(again->file(SpriteType));
        QVERIFY(reopened);
        QCOMPARE(filePalettes(reopened), before);
        again->release();
    }

    void sharedPaletteFile()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        DefinitionProject::setFileFactory(SpriteType, [] { return new SffSprites; });
        DefinitionProject::setFileFactory(PaletteType, [] { return new PaletteFile; });
        // The training character names one file for all twelve slots; opened
        // as part of the game folder, it shows it twelve times.
        GameProject game(m_game, FileSystemArchive::instance(), &engine);
        QString const path = m_game + QStringLiteral("chars/training/01.act");
        Project *project =
            game.openProject(game.filePath(m_game + QStringLiteral("chars/training/")));
        QVERIFY(project);
        auto *sprites = dynamic_cast<SffSprites *>(project->file(SpriteType));
        QVERIFY(sprites);
        QByteArray const original = KenroTest::readFile(path);
        QMap<unsigned int, QByteArray> const shown = filePalettes(sprites);
        QCOMPARE(shown.size(), CharacterProject::PaletteSlots);
        for (int slot = 1; slot <= CharacterProject::PaletteSlots; ++slot) {
            QCOMPARE(shown.value(1u << 16 | unsigned(slot)), original);
            QCOMPARE(slotPalette(sprites, slot)->file(), path);
        }
        auto *file = dynamic_cast<PaletteFile *>(openFile(*project, path));
        QVERIFY(file);
        QCOMPARE(file->palettes().size(), CharacterProject::PaletteSlots);

        // One slot edited: the file takes its colours, and every slot that
        // shows the file shows them once it is saved.
        RGBA edited[256];
        QVERIFY(slotPalette(sprites, 3)->colorTable(edited));
        edited[200] = RGBA{1, 2, 3, 255};
        slotPalette(sprites, 3)->setColorTable(edited, NoShare);
        QVERIFY(file->isModified());
        QTemporaryDir target;
        // A copy, as a backup makes, leaves the file to be saved.
        QVERIFY(file->toFile(FileSystemArchive::instance(),
                             target.filePath(QStringLiteral("copy.act")), ProjectFile::Copy,
                             nullptr));
        QCOMPARE(KenroTest::readFile(target.filePath(QStringLiteral("copy.act"))),
                 writeAct(edited));
        QVERIFY(file->isModified());
        QCOMPARE(file->data(), original);
        QVERIFY(file->toFile(FileSystemArchive::instance(),
                             target.filePath(QStringLiteral("01.act")), 0, nullptr));
        QVERIFY(!file->isModified());
        QCOMPARE(file->fileName(), target.filePath(QStringLiteral("01.act")));
        QCOMPARE(KenroTest::readFile(file->fileName()), writeAct(edited));
        for (int slot = 1; slot <= CharacterProject::PaletteSlots; ++slot) {
            QCOMPARE(filePalettes(sprites).value(1u << 16 | unsigned(slot)), writeAct(edited));
            QCOMPARE(slotPalette(sprites, slot)->file(), file->fileName());
        }
        QVERIFY(!sprites->isModified()); // no sprite shows these palettes
        // Read again from a file with other colours, the slots show them.
        QVERIFY(KenroTest::writeFile(target.filePath(QStringLiteral("01.act")), madeAct(9)));
        QVERIFY(file->fromFile(FileSystemArchive::instance(), file->fileName(), 0, nullptr));
        QCOMPARE(filePalettes(sprites).value(1u << 16 | 12u), madeAct(9));
        QVERIFY(!file->isModified());
        // Cut short, the file keeps its bytes, says why, and the slots keep theirs.
        QVERIFY(
            KenroTest::writeFile(target.filePath(QStringLiteral("01.act")), madeAct(9).left(700)));
        QVERIFY(file->fromFile(FileSystemArchive::instance(), file->fileName(), 0, nullptr));
        QVERIFY(!file->isPalette());
        QCOMPARE(file->messages()->count(Message::Warning), 1u);
        QCOMPARE(filePalettes(sprites).value(1u << 16 | 12u), madeAct(9));
        QVERIFY(!file->isModified());
        project->release();
    }

    void newDefinitions()
    {
        // What a new character or stage starts with: every section the
        // runtime reads, and no file named.
        Definition const character(QString::fromUtf8(
            newDefinition(DefinitionProject::Character, QStringLiteral("Ké \"Q\""))));
        QCOMPARE(character.value(QStringLiteral("Info"), QStringLiteral("name")),
                 QStringLiteral("Ké Q"));
        QVERIFY(character.entry(QStringLiteral("Files"), QStringLiteral("sprite")));
        for (Definition::Entry const &entry : character.entries(QStringLiteral("Files")))
            QVERIFY2(entry.value.isEmpty(), qPrintable(entry.key));
        QVERIFY(character.entries(QStringLiteral("BGdef")).isEmpty());
        Definition const stage(
            QString::fromUtf8(newDefinition(DefinitionProject::Stage, QStringLiteral("Arena"))));
        for (char const *section :
             {"Info", "Camera", "PlayerInfo", "Bound", "StageInfo", "Music", "BGdef"})
            QVERIFY2(!stage.entries(QLatin1String(section)).isEmpty(), section);
        QCOMPARE(stage.value(QStringLiteral("BGdef"), QStringLiteral("spr")), QString());
        QCOMPARE(stage.value(QStringLiteral("StageInfo"), QStringLiteral("zoffset")),
                 QStringLiteral("190"));
        QVERIFY(newDefinition(7, QStringLiteral("x")).isEmpty());
        QVERIFY(newDefinition(DefinitionProject::Stage, QString()).endsWith("\r\n"));
    }

    void gameFolder()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        GameProject game(m_game, FileSystemArchive::instance(), &engine);
        QAbstractItemModelTester tester(&game,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(game.isGame());
        QCOMPARE(game.gameDirectory(), m_game);
        QModelIndex const chars = childIndex(game, QModelIndex(), QStringLiteral("chars"));
        QModelIndex const stages = childIndex(game, QModelIndex(), QStringLiteral("stages"));
        QStringList const scanned{QStringLiteral("kfm.def"), QStringLiteral("stage0.def")};
        QCOMPARE(childNames(game, chars),
                 (QStringList{QStringLiteral("kfm"), QStringLiteral("training")}));
        QCOMPARE(childNames(game, stages), scanned);
        QCOMPARE(game.characterDefinition(m_game + QStringLiteral("chars/training")),
                 m_game + QStringLiteral("chars/training/Training.def"));

        // Every character and stage opens from its node, once.
        QList<Project *> projects;
        for (QString const &path :
             {QStringLiteral("chars/kfm/"), QStringLiteral("chars/training/"),
              QStringLiteral("stages/kfm.def"), QStringLiteral("stages/stage0.def")}) {
            Project *project = game.openProject(game.filePath(m_game + path));
            QVERIFY2(project, qPrintable(path));
            projects.append(project);
        }
        QCOMPARE(projects.size(), 4);
        QCOMPARE(game.openProject(game.itemPath(game.index(0, 0, chars))), projects.first());
        QVERIFY(!game.openProject(game.itemPath(chars)));
        QCOMPARE(game.openedProjects().size(), 4);
        QCOMPARE(projects.at(2)->type(), int(DefinitionProject::Stage));
        QCOMPARE(projects.at(1)->basePath(), QStringLiteral("chars/training"));

        // Each shows its files in the tree; the stages share their folder.
        QModelIndex const kfm = childIndex(game, chars, QStringLiteral("kfm"));
        QCOMPARE(childNames(game, kfm),
                 (QStringList{QStringLiteral("kfm.def"), QStringLiteral("kfm.cmd"),
                              QStringLiteral("kfm.cns"), QStringLiteral("kfm.sff"),
                              QStringLiteral("kfm.air"), QStringLiteral("kfm.snd"),
                              QStringLiteral("kfm.ai"), QStringLiteral("intro.def"),
                              QStringLiteral("ending.def"), QStringLiteral("intro.sff"),
                              QStringLiteral("ending.sff")}));
        QCOMPARE(childNames(game, childIndex(game, chars, QStringLiteral("training"))).size(), 7);
        QCOMPARE(childNames(game, stages),
                 (QStringList{QStringLiteral("kfm.def"), QStringLiteral("stage0.def"),
                              QStringLiteral("kfm.sff"), QStringLiteral("stage0.sff")}));
        QVERIFY(game.itemPath(game.index(0, 0, stages))->isProject());
        QCOMPARE(game.filePath(m_game + QStringLiteral("stages/kfm.sff"))->fileType(), SpriteType);
        QCOMPARE(game.filePath(m_game + QStringLiteral("chars/kfm/kfm.air"))->fileType(),
                 AnimationType);

        // Closing one stage leaves the other's files and every stage's entry.
        projects.at(2)->release();
        QCOMPARE(childNames(game, stages),
                 (QStringList{QStringLiteral("kfm.def"), QStringLiteral("stage0.def"),
                              QStringLiteral("stage0.sff")}));
        projects.at(3)->release();
        QCOMPARE(childNames(game, stages), scanned);
        // A closed character keeps its folder, without its files.
        projects.at(0)->release();
        QCOMPARE(childNames(game, chars),
                 (QStringList{QStringLiteral("kfm"), QStringLiteral("training")}));
        QVERIFY(childNames(game, childIndex(game, chars, QStringLiteral("kfm"))).isEmpty());
        projects.at(1)->release();
        QCOMPARE(game.refCount(), 0u);
        QVERIFY(game.openProject(game.itemPath(childIndex(game, chars, QStringLiteral("kfm")))));
        game.openedProjects().first()->release();
    }

    void savedAsAWhole_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::newRow("kfm") << QStringLiteral("chars/kfm/kfm.def");
        QTest::newRow("training") << QStringLiteral("chars/training/Training.def");
        QTest::newRow("stage kfm") << QStringLiteral("stages/kfm.def");
        QTest::newRow("stage0") << QStringLiteral("stages/stage0.def");
    }

    void savedAsAWhole()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        QFETCH(QString, definition);
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        QTemporaryDir target;
        QString const place = target.path() + QStringLiteral("/moved/");
        QVERIFY(QDir().mkpath(place));
        QString const name = QFileInfo(definition).fileName();
        QString const folder = m_source + QFileInfo(definition).path() + QLatin1Char('/');

        DefinitionProject *project = GameProject::openDefinition(
            m_game + definition, FileSystemArchive::instance(), &engine);
        QVERIFY(project);
        QStringList const files = KenroTest::listedFiles(*project);
        project->parent()->saveAs(place + name, nullptr);
        QCOMPARE(project->fileName(), place + name);
        QCOMPARE(project->parent()->basePath(), place);
        for (ProjectFile *file : project->files()) {
            if (file->fileName().contains(QLatin1String("/data/")))
                continue; // shared files stay where they are
            QVERIFY2(file->fileName().startsWith(place), qPrintable(file->fileName()));
            QVERIFY(!file->isModified());
        }
        project->release();

        QStringList names{name};
        for (QString const &entry : files)
            names.append(entry.section(QLatin1Char(':'), 1));
        for (QString const &each : std::as_const(names))
            QVERIFY2(KenroTest::readFile(place + each) == KenroTest::readFile(folder + each),
                     qPrintable(each));
        QCOMPARE(QDir(place).entryList(QDir::Files).size(), names.size());

        // It opens again from there with the same files.
        DefinitionProject *again =
            GameProject::openDefinition(place + name, FileSystemArchive::instance(), &engine);
        QVERIFY(again);
        QCOMPARE(KenroTest::listedFiles(*again), files);
        again->release();
    }

    void savedEditsAreWritten()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        QTemporaryDir target;
        DefinitionProject *project = GameProject::openDefinition(
            m_game + QStringLiteral("chars/kfm/kfm.def"), FileSystemArchive::instance(), &engine);
        QVERIFY(project);
        auto *commands = dynamic_cast<ScriptFile *>(project->file(ScriptType));
        QVERIFY(commands && commands->fileName().endsWith(QLatin1String("kfm.cmd")));
        commands->insert(QStringLiteral("\n; edited\n"));
        QVERIFY(commands->isModified());
        project->parent()->saveAs(target.path() + QStringLiteral("/kfm.def"), nullptr);
        QByteArray const written = KenroTest::readFile(target.path() + QStringLiteral("/kfm.cmd"));
        QVERIFY(written.contains("; edited"));
        QVERIFY(!commands->isModified());
        QCOMPARE(KenroTest::readFile(target.path() + QStringLiteral("/kfm.air")),
                 KenroTest::readFile(m_source + QStringLiteral("chars/kfm/kfm.air")));
        project->release();
    }

    void pluggedReader()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        QTemporaryDir target;
        // The sound banks' own class, plugged in with one line.
        DefinitionProject::setFileFactory(SoundType, [] { return new SndSounds; });
        for (QString const &definition :
             {QStringLiteral("chars/kfm/kfm.def"), QStringLiteral("chars/training/Training.def")}) {
            DefinitionProject *project = GameProject::openDefinition(
                m_game + definition, FileSystemArchive::instance(), &engine);
            QVERIFY(project);
            auto *sounds = dynamic_cast<SndSounds *>(project->file(SoundType));
            QVERIFY(sounds);
            QVERIFY(sounds->count() > 0);
            QCOMPARE(sounds->project(), static_cast<Project *>(project));
            QString const place = target.path() + QLatin1Char('/') + project->name();
            QVERIFY(QDir().mkpath(place));
            project->parent()->saveAs(place + QLatin1Char('/') + QFileInfo(definition).fileName(),
                                      nullptr);
            QString const bank = QFileInfo(sounds->fileName()).fileName();
            QCOMPARE(QDir::cleanPath(sounds->fileName()), place + QLatin1Char('/') + bank);
            QVERIFY(KenroTest::readFile(place + QLatin1Char('/') + bank) ==
                    KenroTest::readFile(m_source + QFileInfo(definition).path() + QLatin1Char('/') +
                                        bank));
            project->release();
        }
    }

    void gameSavedAs()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        KenroTest::TestInterface host;
        KenroTest::TestEngine engine;
        QTemporaryDir target;
        QString const place = target.path() + QStringLiteral("/saved/");
        GameProject game(m_game, FileSystemArchive::instance(), &engine);
        Project *kfm = game.open(m_game + QStringLiteral("chars/kfm/kfm.def"));
        QVERIFY(kfm);
        game.saveAs(place, nullptr);
        QCOMPARE(game.basePath(), place);
        // Open and closed projects alike, each with every file it names.
        for (QString const &name :
             {QStringLiteral("chars/kfm/kfm.def"), QStringLiteral("chars/kfm/intro.sff"),
              QStringLiteral("chars/training/Training.def"),
              QStringLiteral("chars/training/01.act"),
              QStringLiteral("chars/training/Training.cns"), QStringLiteral("stages/kfm.def"),
              QStringLiteral("stages/kfm.sff"), QStringLiteral("stages/stage0.sff")})
            QVERIFY2(KenroTest::readFile(place + name) == KenroTest::readFile(m_source + name),
                     qPrintable(name));
        QVERIFY(!QFile::exists(place + QStringLiteral("chars/kfm/readme.txt"))); // named by nothing
        kfm->release();
    }
};

QTEST_MAIN(TestIkemenProject)
#include "tst_ikemenproject.moc"
