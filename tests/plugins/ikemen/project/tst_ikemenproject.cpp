#include <ikemen/project/binaryfile.h>
#include <ikemen/project/characterproject.h>
#include <ikemen/project/definition.h>
#include <ikemen/project/definitionproject.h>
#include <ikemen/project/gameproject.h>
#include <ikemen/project/newdefinition.h>
#include <ikemen/project/palettefile.h>
#include <ikemen/project/scriptfile.h>
#include <ikemen/sff/actpalette.h>
#include <ikemen/sff/sffpalette.h>
#include <ikemen/sff/sffpalettes.h>
#include <ikemen/sff/sffsprites.h>

#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messagelist.h>

#include "memoryarchive.h"
#include "modelnames.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace Qt::Literals::StringLiterals;
using KenroTest::childIndex;
using KenroTest::childNames;

namespace {

// The project's own messages: "type@line text".
QStringList problems(DefinitionProject const &project)
{
    QStringList out;
    Messages *list = project.problems();
    for (unsigned int i = 0; i < list->count(Message::All); ++i) {
        Message const message = list->at(i, Message::All);
        out += u"%1@%2 %3"_s.arg(message.type).arg(message.line).arg(message.text);
    }
    return out;
}

// A file that never reads, as a reader meets a broken file.
class UnreadableFile : public BinaryFile
{
public:
    bool fromFile(Archive &, QString const &, unsigned int, JobStats *) override { return false; }
};

// The palette of character slot \a slot, or null.
SffPalette *slotPalette(SffSprites *sprites, int slot)
{
    auto *palettes = static_cast<SffPalettes *>(sprites->palettes());
    int const row = palettes->find(0, 1u << 16 | unsigned(slot));
    return row < 0 ? nullptr : palettes->palette(unsigned(row));
}

// The colours of each slot that a palette file gives, by slot.
QMap<int, QByteArray> filePalettes(SffSprites *sprites)
{
    QMap<int, QByteArray> out;
    for (int slot = 1; slot <= 16; ++slot) {
        SffPalette const *palette = slotPalette(sprites, slot);
        RGBA colors[256];
        if (palette && !palette->file().isEmpty() && palette->colorTable(colors))
            out.insert(slot, writeAct(colors));
    }
    return out;
}

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

QByteArray randomBytes(QRandomGenerator &random, int most)
{
    QByteArray bytes(int(random.bounded(most)), '\0');
    for (char &c : bytes)
        c = char(random.bounded(256));
    return bytes;
}

} // namespace

class TestIkemenProject : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_copy;
    QString m_source; // the real game folder
    QString m_game; // its writable copy
    KenroTest::TestInterface m_host;
    KenroTest::TestEngine m_engine;

    // Skips without test data; otherwise makes the copy once.
    bool haveGame()
    {
        m_source = KenroTest::testDataPath() + u"/game/"_s;
        if (m_game.isEmpty() && KenroTest::copyTree(m_source, m_copy.filePath(u"game/"_s)))
            m_game = m_copy.filePath(u"game/"_s);
        return !m_game.isEmpty();
    }

    DefinitionProject *open(QString const &path, Archive &archive = FileSystemArchive::instance())
    {
        return GameProject::openDefinition(path, archive, &m_engine);
    }

private Q_SLOTS:
    void cleanup()
    {
        for (int type = 0; type < 10; ++type)
            DefinitionProject::setFileFactory(type, nullptr);
    }

    void definitionReader()
    {
        Definition const text(u"ignored = before any section\r\n[Info]\r\n"
                              " Name = \"Kung ; Fu\"   ; a comment\r\nauthor=Elecbyte\n"
                              "no equals sign here\n= no key\n  [ Files ]  ; heading with blanks\n"
                              "SPRITE = KFM.SFF\nempty =\n[unclosed\nk = v\n[files]\n"
                              "sprite = second.sff\nquote = \"unclosed ; still value\n"_s);
        QStringList sections;
        for (Definition::Section const &section : text.sections())
            sections +=
                u"%1@%2:%3"_s.arg(section.name).arg(section.line).arg(section.entries.size());
        QCOMPARE(sections,
                 (QStringList{u"Info@1:2"_s, u"Files@6:2"_s, u"unclosed@9:1"_s, u"files@11:2"_s}));
        QCOMPARE(text.value(u"INFO"_s, u"name"_s), u"Kung ; Fu"_s);
        QCOMPARE(text.value(u"info"_s, u"Author"_s), u"Elecbyte"_s);
        // Of two sections of one name, the first.
        QCOMPARE(text.value(u"files"_s, u"sprite"_s), u"KFM.SFF"_s);
        QCOMPARE(text.entry(u"Files"_s, u"sprite"_s)->line, 7);
        QCOMPARE(text.entries(u"Files"_s).size(), 4);
        QCOMPARE(text.value(u"Files"_s, u"quote"_s), u"\"unclosed ; still value"_s);
        QVERIFY(!text.entry(u"Nothing"_s, u"k"_s) && Definition(QString()).sections().isEmpty());

        // Garbage reads as whatever lines it happens to have, never more.
        QRandomGenerator random(13);
        for (int round = 0; round < 50; ++round) {
            QByteArray bytes = randomBytes(random, 4096);
            if (round % 2)
                bytes.replace('\0', "[=;\"\n");
            Definition const garbage(QString::fromLatin1(bytes));
            for (Definition::Section const &section : garbage.sections())
                QVERIFY(section.line <= bytes.count('\n'));
        }
    }

    void brokenDefinitions()
    {
        KenroTest::MemoryArchive archive;
        // A definition that cannot be read opens nothing and leaves nothing.
        QVERIFY(!open(u"/lone/none.def"_s, archive));

        // Files that are missing or that their reader refuses leave messages,
        // and the project opens with the rest.
        archive.files.insert(u"/lone/hero.def"_s,
                             "[Info]\nname = Hero\nversiondate = 1.0\nauthor = Me\n"
                             "[Files]\nsprite = hero.sff\nsound = gone.snd\nanim = hero.air\n"
                             "[Arcade]\nintro.storyboard = intro.def\n");
        archive.files.insert(u"/lone/hero.sff"_s, QByteArray(100, 'x'));
        archive.files.insert(u"/lone/hero.air"_s, "[Begin Action 0]\n0,0, 0,0, 5\n");
        DefinitionProject::setFileFactory(Project::Sprites, [] { return new UnreadableFile; });
        // A factory that makes nothing leaves the built-in class in charge.
        DefinitionProject::setFileFactory(Project::Sounds,
                                          [] { return static_cast<ProjectFile *>(nullptr); });
        ProjectFile *sounds = DefinitionProject::newFile(Project::Sounds);
        QVERIFY(dynamic_cast<BinaryFile *>(sounds));
        sounds->release();
        DefinitionProject *project = open(u"/lone/hero.def"_s, archive);
        QVERIFY(project);
        QCOMPARE(QStringList({project->name(), project->version(), project->author()}),
                 QStringList({u"Hero"_s, u"1.0"_s, u"Me"_s}));
        QCOMPARE(KenroTest::listedFiles(*project), QStringList{u"3:hero.air"_s});
        QCOMPARE(problems(*project),
                 (QStringList{u"0@5 The file 'hero.sff' named by 'sprite' could not be read"_s,
                              u"0@6 The file 'gone.snd' named by 'sound' does not exist"_s,
                              u"0@9 The file 'intro.def' named by 'intro.storyboard' does not "
                              "exist"_s}));
        QCOMPARE(project->messages()->errorCount(), 3u);
        QCOMPARE(project->fileCount(), 2u);
        project->release();

        // Garbage where a definition should be is a character with nothing in it.
        QRandomGenerator random(7);
        for (int round = 0; round < 20; ++round) {
            QByteArray bytes = randomBytes(random, 2048);
            if (round % 2)
                bytes = "[Files]\nsprite = " + bytes.left(200) + "\n[BGdef]\nspr =" + bytes;
            archive.files.insert(u"/lone/garbage.def"_s, bytes);
            DefinitionProject *garbage = open(u"/lone/garbage.def"_s, archive);
            QVERIFY(garbage);
            for (DefinitionProject::Reference const &reference : garbage->references())
                QVERIFY(!reference.exists);
            garbage->release();
        }
    }

    void commonStatesOutsideAGame()
    {
        KenroTest::MemoryArchive archive;
        QByteArray const definition = "[Files]\nst = hero.cns\nstcommon = common1.cns\n"
                                      "st1 = gone.cns\n";
        // Alone, the common states cannot be looked for: a note. Any other
        // missing file is an error all the same.
        archive.files.insert(u"/lone/hero/hero.def"_s, definition);
        archive.files.insert(u"/lone/hero/hero.cns"_s, "[Statedef 0]\n");
        DefinitionProject *lone = open(u"/lone/hero/hero.def"_s, archive);
        QVERIFY(lone);
        QCOMPARE(static_cast<GameProject *>(lone->parent())->gameDirectory(), QString());
        QString const gone = u"0@3 The file 'gone.cns' named by 'st1' does not exist"_s;
        QCOMPARE(problems(*lone),
                 (QStringList{u"2@2 The file 'common1.cns' named by 'stcommon' is looked for in "
                              "the game's data folder; no game folder lies around this "
                              "character"_s,
                              gone}));
        QCOMPARE(lone->messages()->errorCount(), 1u);
        lone->release();

        // Inside a game that lacks them, they are missing as any other file;
        // found there, they are open with the character.
        archive.files.insert(u"/game/data/system.def"_s, "[Files]\n");
        archive.files.insert(u"/game/chars/hero/hero.def"_s, definition);
        archive.files.insert(u"/game/chars/hero/hero.cns"_s, "[Statedef 0]\n");
        DefinitionProject *inGame = open(u"/game/chars/hero/hero.def"_s, archive);
        QVERIFY(inGame);
        QCOMPARE(static_cast<GameProject *>(inGame->parent())->gameDirectory(), u"/game/"_s);
        QCOMPARE(problems(*inGame),
                 (QStringList{u"0@2 The file 'common1.cns' named by 'stcommon' does not exist"_s,
                              gone}));
        inGame->release();
        archive.files.insert(u"/game/data/common1.cns"_s, "[Statedef 5]\n");
        inGame = open(u"/game/chars/hero/hero.def"_s, archive);
        QVERIFY(inGame);
        QStringList scripts;
        for (ProjectFile *file : inGame->filesByType(Project::Scripts))
            scripts += file->fileName();
        QCOMPARE(scripts,
                 (QStringList{u"/game/chars/hero/hero.cns"_s, u"/game/data/common1.cns"_s}));
        QCOMPARE(problems(*inGame), QStringList{gone});
        inGame->release();
    }

    void newDefinitions()
    {
        // A new character or stage names no file yet; its name is one line between quotes.
        Definition const character(
            QString::fromUtf8(newDefinition(DefinitionProject::Character, u"Ké \"Q\"\n"_s)));
        QCOMPARE(character.value(u"Info"_s, u"name"_s), u"Ké Q"_s);
        QVERIFY(character.entry(u"Files"_s, u"sprite"_s) &&
                character.entries(u"BGdef"_s).isEmpty());
        for (Definition::Entry const &entry : character.entries(u"Files"_s))
            QVERIFY2(entry.value.isEmpty(), qPrintable(entry.key));
        Definition const stage(QString::fromUtf8(newDefinition(DefinitionProject::Stage, u"A"_s)));
        QVERIFY(stage.entry(u"BGdef"_s, u"spr"_s) && stage.value(u"BGdef"_s, u"spr"_s).isEmpty());
        QVERIFY(newDefinition(7, u"x"_s).isEmpty());
    }

    void namesWrittenElsewhere()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        // Names as written on case-blind systems, with their separators.
        QString const definition = m_game + u"chars/kfm/Upper.def"_s;
        QVERIFY(KenroTest::writeFile(definition,
                                     "[Info]\nname = \"Upper\"\n[Files]\nsprite = KFM.SFF\n"
                                     "anim = .\\Kfm.Air\nsound = ..\\kfm\\KFM.snd\n"
                                     "cmd = ../../chars/kfm/kfm.CMD ; found through the game\n"
                                     "st = chars\\kfm\\KFM.CNS\npal1 = nothing.act\n"));
        DefinitionProject *project = open(definition);
        QVERIFY(project);
        QCOMPARE(KenroTest::listedFiles(*project),
                 (QStringList{u"1:kfm.sff"_s, u"3:kfm.air"_s, u"2:kfm.snd"_s, u"4:kfm.cmd"_s,
                              u"4:kfm.cns"_s}));
        QList<DefinitionProject::Reference> const references = project->references();
        QCOMPARE(references.size(), 6);
        QCOMPARE(references.at(4).path, m_game + u"chars/kfm/kfm.cns"_s);
        QVERIFY(!references.at(5).exists);
        QCOMPARE(references.at(5).path, m_game + u"chars/kfm/nothing.act"_s);
        QCOMPARE(problems(*project),
                 QStringList{u"0@8 The file 'nothing.act' named by 'pal1' does not exist"_s});
        project->release();
        QVERIFY(QFile::remove(definition));
    }

    void characterPalettes()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        DefinitionProject::setFileFactory(Project::Sprites, [] { return new SffSprites; });
        DefinitionProject::setFileFactory(DefinitionProject::Palettes,
                                          [] { return new PaletteFile; });
        // Kung Fu Man with palette files of his own: six made ones, named in
        // any case, one missing, one too short, and one past the twelve slots.
        // The second has the four bytes that some tools append.
        QByteArray const trailer("\x01\x00\xff\xff", 4);
        QTemporaryDir place;
        QString const folder = place.filePath(u"game/chars/kfm/"_s);
        QVERIFY(KenroTest::copyTree(m_source, place.filePath(u"game/"_s)));
        QString files =
            u"pal6 = KFM6.ACT\r\npal7 = gone.act\r\npal8 = short.act\r\npal13 = kfm1.act\r\n"_s;
        for (int slot = 1; slot <= 6; ++slot) {
            QVERIFY(KenroTest::writeFile(folder + u"kfm%1.act"_s.arg(slot),
                                         madeAct(slot) + (slot == 2 ? trailer : QByteArray())));
            files += slot < 6 ? u"pal%1 = kfm%1.act\r\n"_s.arg(slot) : QString();
        }
        QVERIFY(KenroTest::writeFile(folder + u"short.act"_s, QByteArray(100, 'x')));
        QByteArray definition = KenroTest::readFile(folder + u"kfm.def"_s);
        definition.insert(definition.indexOf('\n', definition.indexOf("[Files]")) + 1,
                          files.toLatin1());
        QVERIFY(KenroTest::writeFile(folder + u"kfm.def"_s, definition));

        DefinitionProject *project = open(folder + u"kfm.def"_s);
        QVERIFY(project);
        auto *sprites = dynamic_cast<SffSprites *>(project->file(Project::Sprites));
        QVERIFY(sprites);
        // Each slot shows its file's colours, in place of the archive's
        // palette of that slot, and only those: not the missing file, the
        // short one or slot 13. The sprites that used it show them too.
        QMap<int, QByteArray> const shown = filePalettes(sprites);
        QCOMPARE(shown.keys(), (QList<int>{1, 2, 3, 4, 5, 6}));
        for (int slot = 1; slot <= 6; ++slot) {
            QString const path = folder + u"kfm%1.act"_s.arg(slot);
            QCOMPARE(shown.value(slot), madeAct(slot));
            QCOMPARE(slotPalette(sprites, slot)->file(), path);
            auto *file = dynamic_cast<PaletteFile *>(openFile(*project, path));
            QVERIFY(file && file->isPalette());
            QCOMPARE(file->palettes(), QList<SffPalette *>{slotPalette(sprites, slot)});
        }
        bool shownBySprites = false;
        for (unsigned int i = 0; i < sprites->count(); ++i)
            shownBySprites = shownBySprites || sprites->at(i)->palette() == slotPalette(sprites, 1);
        QVERIFY(shownBySprites);
        QStringList messages;
        for (KenroTest::ListedMessage const &listed : KenroTest::listedMessages(*project))
            messages += listed.message.text;
        QVERIFY2(
            messages.contains(u"The file 'gone.act' named by 'pal7' does not exist"_s) &&
                messages.contains(u"short.act holds no palette: it has 100 bytes, a palette 768"_s),
            qPrintable(messages.join(u'\n')));
        QVERIFY(!project->isModified());

        // An edited palette is written back to its file by a save, before
        // the bytes past the colours; the others and the archive, unused by
        // the edit, stay as they are.
        QByteArray const archive = KenroTest::readFile(folder + u"kfm.sff"_s);
        SffPalette *second = slotPalette(sprites, 2);
        QVERIFY(!static_cast<SffPalettes *>(sprites->palettes())->isUsed(second));
        RGBA edited[256];
        QVERIFY(second->colorTable(edited));
        edited[17] = RGBA{9, 8, 7, 255};
        second->setColorTable(edited, NoShare);
        ProjectFile const *secondFile = openFile(*project, folder + u"kfm2.act"_s);
        QVERIFY(secondFile && secondFile->isModified());
        QVERIFY(!sprites->isModified() && project->isModified());
        project->parent()->save(nullptr);
        QCOMPARE(KenroTest::readFile(folder + u"kfm2.act"_s), writeAct(edited) + trailer);
        QCOMPARE(KenroTest::readFile(folder + u"kfm1.act"_s), madeAct(1));
        QCOMPARE(KenroTest::readFile(folder + u"kfm.sff"_s), archive);
        QVERIFY(!project->isModified());

        // Saved elsewhere, the character opens with the same palettes.
        QMap<int, QByteArray> const before = filePalettes(sprites);
        QString const moved = place.filePath(u"moved/"_s);
        QVERIFY(QDir().mkpath(moved));
        project->parent()->saveAs(moved + u"kfm.def"_s, nullptr);
        QCOMPARE(QDir::cleanPath(second->file()), moved + u"kfm2.act"_s);
        project->release();
        QCOMPARE(KenroTest::readFile(moved + u"kfm2.act"_s), writeAct(edited) + trailer);
        QCOMPARE(KenroTest::readFile(moved + u"short.act"_s), QByteArray(100, 'x'));
        project = open(moved + u"kfm.def"_s);
        QVERIFY(project && dynamic_cast<SffSprites *>(project->file(Project::Sprites)));
        QCOMPARE(filePalettes(static_cast<SffSprites *>(project->file(Project::Sprites))), before);
        project->release();
    }

    void sharedPaletteFile()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        DefinitionProject::setFileFactory(Project::Sprites, [] { return new SffSprites; });
        DefinitionProject::setFileFactory(DefinitionProject::Palettes,
                                          [] { return new PaletteFile; });
        // The training character names one file for all twelve slots; opened
        // as part of the game folder, it shows it twelve times.
        GameProject game(m_game, FileSystemArchive::instance(), &m_engine);
        Project *project = game.openProject(game.filePath(m_game + u"chars/training/"_s));
        QVERIFY(project);
        auto *sprites = dynamic_cast<SffSprites *>(project->file(Project::Sprites));
        QVERIFY(sprites);
        QString const path = m_game + u"chars/training/01.act"_s;
        QByteArray const original = KenroTest::readFile(path);
        auto *file = dynamic_cast<PaletteFile *>(openFile(*project, path));
        QVERIFY(file);
        QCOMPARE(file->palettes().size(), CharacterProject::PaletteSlots);
        QCOMPARE(filePalettes(sprites).values(), QList<QByteArray>(12, original));

        // One slot edited: the file takes its colours, and every slot that
        // shows the file shows them once it is saved. A copy, as a backup
        // makes, leaves the file to be saved.
        RGBA edited[256];
        QVERIFY(slotPalette(sprites, 3)->colorTable(edited));
        edited[200] = RGBA{1, 2, 3, 255};
        slotPalette(sprites, 3)->setColorTable(edited, NoShare);
        QVERIFY(file->isModified());
        QTemporaryDir target;
        QVERIFY(file->toFile(FileSystemArchive::instance(), target.filePath(u"copy.act"_s),
                             ProjectFile::Copy, nullptr));
        QCOMPARE(KenroTest::readFile(target.filePath(u"copy.act"_s)), writeAct(edited));
        QVERIFY(file->isModified());
        QCOMPARE(file->data(), original);
        QCOMPARE(file->fileName(), path);
        QVERIFY(
            file->toFile(FileSystemArchive::instance(), target.filePath(u"01.act"_s), 0, nullptr));
        QVERIFY(!file->isModified() && !sprites->isModified());
        QCOMPARE(file->fileName(), target.filePath(u"01.act"_s));
        QCOMPARE(KenroTest::readFile(file->fileName()), writeAct(edited));
        QCOMPARE(filePalettes(sprites).values(), QList<QByteArray>(12, writeAct(edited)));
        QCOMPARE(slotPalette(sprites, 12)->file(), file->fileName());
        // Read again from a file with other colours, the slots show them;
        // cut short, the file keeps its bytes, says why, and the slots keep theirs.
        QVERIFY(KenroTest::writeFile(file->fileName(), madeAct(9)));
        QVERIFY(file->fromFile(FileSystemArchive::instance(), file->fileName(), 0, nullptr));
        QCOMPARE(filePalettes(sprites).value(12), madeAct(9));
        QVERIFY(KenroTest::writeFile(file->fileName(), madeAct(9).left(700)));
        QVERIFY(file->fromFile(FileSystemArchive::instance(), file->fileName(), 0, nullptr));
        QVERIFY(!file->isPalette() && !file->isModified());
        QCOMPARE(file->messages()->count(Message::Warning), 1u);
        QCOMPARE(filePalettes(sprites).value(12), madeAct(9));
        project->release();
    }

    void gameFolder()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        GameProject game(m_game, FileSystemArchive::instance(), &m_engine);
        QAbstractItemModelTester tester(&game,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(game.isGame());
        QCOMPARE(game.gameDirectory(), m_game);
        QModelIndex const chars = childIndex(game, QModelIndex(), u"chars"_s);
        QModelIndex const stages = childIndex(game, QModelIndex(), u"stages"_s);
        QStringList const definitions{u"kfm.def"_s, u"stage0.def"_s};
        QCOMPARE(childNames(game, chars), (QStringList{u"kfm"_s, u"training"_s}));
        QCOMPARE(childNames(game, stages), definitions);
        QCOMPARE(game.characterDefinition(m_game + u"chars/training"_s),
                 m_game + u"chars/training/Training.def"_s);

        // Every character and stage opens from its node, once, and shows its
        // files in the tree; the stages share their folder.
        QList<Project *> projects;
        for (QString const &path :
             {u"chars/kfm/"_s, u"chars/training/"_s, u"stages/kfm.def"_s, u"stages/stage0.def"_s}) {
            projects += game.openProject(game.filePath(m_game + path));
            QVERIFY2(projects.last(), qPrintable(path));
            if (path.endsWith(u'/')) {
                QStringList listed{QFileInfo(projects.last()->fileName()).fileName()};
                for (QString const &entry : KenroTest::listedFiles(*projects.last()))
                    listed += entry.section(u':', 1);
                QCOMPARE(childNames(game, childIndex(game, chars, path.section(u'/', 1, 1))),
                         listed);
            }
        }
        QCOMPARE(game.openProject(game.itemPath(game.index(0, 0, chars))), projects.first());
        QVERIFY(!game.openProject(game.itemPath(chars)));
        QCOMPARE(game.openedProjects().size(), 4);
        QCOMPARE(projects.at(2)->type(), int(DefinitionProject::Stage));
        QCOMPARE(projects.at(1)->basePath(), u"chars/training"_s);
        QCOMPARE(childNames(game, stages),
                 definitions + QStringList({u"kfm.sff"_s, u"stage0.sff"_s}));
        QCOMPARE(game.filePath(m_game + u"stages/kfm.sff"_s)->fileType(), int(Project::Sprites));

        // Closing one stage leaves the other's files and every stage's entry;
        // a closed character keeps its folder, without its files.
        projects.at(2)->release();
        QCOMPARE(childNames(game, stages), definitions + QStringList{u"stage0.sff"_s});
        projects.at(3)->release();
        projects.at(0)->release();
        QCOMPARE(childNames(game, stages), definitions);
        QCOMPARE(childNames(game, chars), (QStringList{u"kfm"_s, u"training"_s}));
        QVERIFY(childNames(game, childIndex(game, chars, u"kfm"_s)).isEmpty());
        projects.at(1)->release();
        QCOMPARE(game.refCount(), 0u);
    }

    // A game saved elsewhere takes its open and closed projects along, each
    // with every file it names, an edit of an open one as well.
    void gameSavedAs()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        QTemporaryDir target;
        QString const place = target.filePath(u"saved/"_s);
        GameProject game(m_game, FileSystemArchive::instance(), &m_engine);
        Project *kfm = game.open(m_game + u"chars/kfm/kfm.def"_s);
        QVERIFY(kfm);
        auto *commands = dynamic_cast<ScriptFile *>(kfm->file(Project::Scripts));
        QVERIFY(commands && commands->fileName().endsWith("kfm.cmd"_L1));
        commands->insert(u"\n; edited\n"_s);
        QVERIFY(commands->isModified());
        game.saveAs(place, nullptr);
        QCOMPARE(game.basePath(), place);
        QVERIFY(!commands->isModified());
        QVERIFY(KenroTest::readFile(place + u"chars/kfm/kfm.cmd"_s).contains("; edited"));
        for (QString const &name :
             {u"chars/kfm/kfm.def"_s, u"chars/kfm/intro.sff"_s, u"chars/kfm/kfm.air"_s,
              u"chars/training/Training.def"_s, u"chars/training/01.act"_s,
              u"chars/training/Training.cns"_s, u"stages/kfm.def"_s, u"stages/kfm.sff"_s,
              u"stages/stage0.sff"_s})
            QVERIFY2(KenroTest::readFile(place + name) == KenroTest::readFile(m_source + name),
                     qPrintable(name));
        QVERIFY(!QFile::exists(place + u"chars/kfm/readme.txt"_s)); // named by nothing
        kfm->release();
    }
};

QTEST_MAIN(TestIkemenProject)
#include "tst_ikemenproject.moc"
