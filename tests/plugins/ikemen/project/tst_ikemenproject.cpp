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
using KenroTest::addRow;
using KenroTest::noise;
using KenroTest::readFile;
using KenroTest::writeFile;

namespace {

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

SffPalette *slotPalette(SffSprites *sprites, int slot)
{
    auto *palettes = static_cast<SffPalettes *>(sprites->palettes());
    int const row = palettes->find(0, 1u << 16 | unsigned(slot));
    return row < 0 ? nullptr : palettes->palette(unsigned(row));
}

QMap<int, QByteArray> filePalettes(SffSprites *sprites)
{
    QMap<int, QByteArray> out;
    RGBA colors[256];
    for (int slot = 1; slot <= 16; ++slot) {
        SffPalette const *palette = slotPalette(sprites, slot);
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

} // namespace

class TestIkemenProject : public QObject
{
    Q_OBJECT

    QTemporaryDir m_copy;
    QString m_source; // the real game folder
    QString m_game; // its writable copy
    KenroTest::TestInterface m_host;
    KenroTest::TestEngine m_engine;

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
    static SffSprites *sprites(Project *project)
    {
        return project ? dynamic_cast<SffSprites *>(project->file(Project::Sprites)) : nullptr;
    }
    static void readPalettes()
    {
        DefinitionProject::setFileFactory(Project::Sprites, [] { return new SffSprites; });
        DefinitionProject::setFileFactory(DefinitionProject::Palettes,
                                          [] { return new PaletteFile; });
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
        QCOMPARE(sections.join(u' '), u"Info@1:2 Files@6:2 unclosed@9:1 files@11:2"_s);
        QCOMPARE(
            QStringList({text.value(u"INFO"_s, u"name"_s), text.value(u"info"_s, u"Author"_s),
                         text.value(u"files"_s, u"sprite"_s), text.value(u"Files"_s, u"quote"_s)})
                .join(u'|'),
            u"Kung ; Fu|Elecbyte|KFM.SFF|\"unclosed ; still value"_s);
        QVERIFY(text.entry(u"Files"_s, u"sprite"_s)->line == 7 &&
                text.entries(u"Files"_s).size() == 4);
        QVERIFY(!text.entry(u"Nothing"_s, u"k"_s) && Definition(QString()).sections().isEmpty());
        KenroTest::MemoryArchive archive;
        QVERIFY(!open(u"/lone/none.def"_s, archive));
        for (quint32 round = 0; round < 50; ++round) {
            QByteArray bytes = noise(QRandomGenerator(round).bounded(4096), round);
            if (round % 2)
                bytes = "[Files]\nsprite = " + bytes.left(200) +
                    "\n[BGdef]\nspr =" + bytes.replace('\0', "[=;\"\n");
            Definition const garbage(QString::fromLatin1(bytes));
            for (Definition::Section const &section : garbage.sections())
                QVERIFY(section.line <= bytes.count('\n'));
            archive.files.insert(u"/lone/garbage.def"_s, bytes);
            DefinitionProject *project = open(u"/lone/garbage.def"_s, archive);
            QVERIFY(project);
            for (DefinitionProject::Reference const &reference : project->references())
                QVERIFY(!reference.exists);
            project->release();
        }
    }

    // Alone, a character cannot look for the game's common states: a note, not an error.
    void definitions_data()
    {
        QTest::addColumn<QString>("files"); // "path|content" separated by "#"; the first opens
        QTest::addColumn<QString>("opened"); // name|game|listed|scripts|messages|errors|size scale
        QString const hero = u"%1hero.def|[Files]\nst = hero.cns\nstcommon = common1.cns\n"
                             "st1 = gone.cns\n#%1hero.cns|[Statedef 0]\n"_s;
        QString const game = u"#/game/data/system.def|[Files]\n"_s;
        QString const gone = u"0@3 The file 'gone.cns' named by 'st1' does not exist|"_s;
        addRow("files",
               u"/lone/hero.def|[Info]\nname = Hero\nversiondate = 1.0\nauthor = Me\n"
               "localcoord = 640\n[Files]\nsprite = hero.sff\nsound = gone.snd\nanim = hero.air\n"
               "[Arcade]\nintro.storyboard = intro.def\n#/lone/hero.sff|xxxx#"
               "/lone/hero.air|[Begin Action 0]\n0,0, 0,0, 5\n"_s,
               u"Hero 1.0 Me||3:hero.air||0@6 The file 'hero.sff' named by 'sprite' could not be "
               "read; 0@7 The file 'gone.snd' named by 'sound' does not exist; 0@10 The file "
               "'intro.def' named by 'intro.storyboard' does not exist|3|640x480 1"_s);
        addRow("states alone", hero.arg(u"/lone/"_s),
               u"||4:hero.cns|/lone/hero.cns|2@2 The file 'common1.cns' named by 'stcommon' is "
               "looked for in the game's data folder; no game folder lies around this "
               "character; "_s +
                   gone + u"1|320x240 1"_s);
        addRow("states missing", hero.arg(u"/game/chars/hero/"_s) + game,
               u"|/game/|4:hero.cns|/game/chars/hero/hero.cns|0@2 The file 'common1.cns' named "
               "by 'stcommon' does not exist; "_s +
                   gone + u"2|320x240 1"_s);
        addRow("states found",
               hero.arg(u"/game/chars/hero/"_s) + game +
                   u"#/game/data/common1.cns|[Statedef 5]\n"_s,
               u"|/game/|4:hero.cns|/game/chars/hero/hero.cns /game/data/common1.cns|"_s + gone +
                   u"1|320x240 1"_s);
        addRow("stage", u"/lone/st.def|[StageInfo]\nlocalcoord = 1280,720\nxscale = 2\n[BGdef]"_s,
               u"|||||0|1280x720 2"_s);
    }

    void definitions()
    {
        QFETCH(QString, files);
        QFETCH(QString, opened);
        readPalettes();
        KenroTest::MemoryArchive archive;
        for (QString const &file : files.split(u'#'))
            archive.files.insert(file.section(u'|', 0, 0), file.section(u'|', 1).toUtf8());
        DefinitionProject *project = open(files.section(u'|', 0, 0), archive);
        QVERIFY(project);
        QStringList scripts;
        for (ProjectFile *file : project->filesByType(Project::Scripts))
            scripts += file->fileName();
        QString const name = QStringList({project->name(), project->version(), project->author()})
                                 .join(u' ')
                                 .trimmed();
        QCOMPARE(u"%1|%2|%3|%4|%5|%6|%7"_s
                     .arg(name, static_cast<GameProject *>(project->parent())->gameDirectory(),
                          KenroTest::listedFiles(*project).join(u' '), scripts.join(u' '),
                          problems(*project).join(u"; "_s))
                     .arg(project->messages()->errorCount())
                     .arg(QString::asprintf("%dx%d %g", project->size().width(),
                                            project->size().height(), project->scale().width())),
                 opened);
        project->release();
    }

    void newDefinitions()
    {
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
        QString const definition = m_game + u"chars/kfm/Upper.def"_s;
        QVERIFY(writeFile(definition,
                          "[Info]\nname = \"Upper\"\n[Files]\nsprite = KFM.SFF\n"
                          "anim = .\\Kfm.Air\nsound = ..\\kfm\\KFM.snd\n"
                          "cmd = ../../chars/kfm/kfm.CMD ; found through the game\n"
                          "st = chars\\kfm\\KFM.CNS\npal1 = nothing.act\n"));
        DefinitionProject *project = open(definition);
        QVERIFY(project);
        QCOMPARE(KenroTest::listedFiles(*project).join(u' '),
                 u"1:kfm.sff 3:kfm.air 2:kfm.snd 4:kfm.cmd 4:kfm.cns"_s);
        QList<DefinitionProject::Reference> const references = project->references();
        QVERIFY(references.size() == 6 && !references.at(5).exists);
        QCOMPARE(references.at(4).path + u' ' + references.at(5).path,
                 m_game + u"chars/kfm/kfm.cns "_s + m_game + u"chars/kfm/nothing.act"_s);
        QCOMPARE(problems(*project),
                 QStringList{u"0@8 The file 'nothing.act' named by 'pal1' does not exist"_s});
        project->release();
        QVERIFY(QFile::remove(definition));
    }

    // Some tools append four bytes to a palette file, as the second one here.
    void characterPalettes()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        readPalettes();
        QByteArray const trailer("\x01\x00\xff\xff", 4);
        QTemporaryDir place;
        QString const folder = place.filePath(u"game/chars/kfm/"_s);
        QVERIFY(KenroTest::copyTree(testdata + u"/game/"_s, place.filePath(u"game/"_s)));
        for (int slot = 1; slot <= 6; ++slot)
            QVERIFY(writeFile(folder + u"kfm%1.act"_s.arg(slot),
                              noise(768, slot) + (slot == 2 ? trailer : QByteArray())));
        QVERIFY(writeFile(folder + u"short.act"_s, QByteArray(100, 'x')));
        QByteArray definition = readFile(folder + u"kfm.def"_s);
        definition.insert(
            definition.indexOf('\n', definition.indexOf("[Files]")) + 1,
            "pal1 = kfm1.act\r\npal2 = kfm2.act\r\npal3 = kfm3.act\r\npal4 = kfm4.act\r\n"
            "pal5 = kfm5.act\r\npal6 = KFM6.ACT\r\npal7 = gone.act\r\n"
            "pal8 = short.act\r\npal13 = kfm1.act\r\n");
        QVERIFY(writeFile(folder + u"kfm.def"_s, definition));
        DefinitionProject *project = open(folder + u"kfm.def"_s);
        SffSprites *archive = sprites(project);
        QVERIFY(archive);
        // Slot 13, missing and short files show nothing.
        QMap<int, QByteArray> const shown = filePalettes(archive);
        QCOMPARE(shown.keys(), (QList<int>{1, 2, 3, 4, 5, 6}));
        for (int slot = 1; slot <= 6; ++slot) {
            QString const path = folder + u"kfm%1.act"_s.arg(slot);
            auto *file = dynamic_cast<PaletteFile *>(openFile(*project, path));
            QVERIFY2(shown.value(slot) == noise(768, slot) &&
                         slotPalette(archive, slot)->file() == path && file && file->isPalette() &&
                         file->palettes() == QList<SffPalette *>{slotPalette(archive, slot)},
                     qPrintable(path));
        }
        bool shownBySprites = false;
        for (unsigned int i = 0; i < archive->count(); ++i)
            shownBySprites = shownBySprites || archive->at(i)->palette() == slotPalette(archive, 1);
        QStringList messages;
        for (KenroTest::ListedMessage const &listed : KenroTest::listedMessages(*project))
            messages += listed.message.text;
        QVERIFY2(
            shownBySprites && !project->isModified() &&
                messages.contains(u"The file 'gone.act' named by 'pal7' does not exist"_s) &&
                messages.contains(u"short.act holds no palette: it has 100 bytes, a palette 768"_s),
            qPrintable(messages.join(u'\n')));
        QByteArray const bytes = readFile(folder + u"kfm.sff"_s);
        SffPalette *second = slotPalette(archive, 2);
        RGBA edited[256];
        QVERIFY(!static_cast<SffPalettes *>(archive->palettes())->isUsed(second) &&
                second->colorTable(edited));
        edited[17] = RGBA{9, 8, 7, 255};
        second->setColorTable(edited, NoShare);
        ProjectFile const *secondFile = openFile(*project, folder + u"kfm2.act"_s);
        QVERIFY(secondFile && secondFile->isModified() && !archive->isModified() &&
                project->isModified());
        project->parent()->save(nullptr);
        QCOMPARE(readFile(folder + u"kfm2.act"_s), writeAct(edited) + trailer);
        QVERIFY(readFile(folder + u"kfm1.act"_s) == noise(768, 1) &&
                readFile(folder + u"kfm.sff"_s) == bytes && !project->isModified());
        QMap<int, QByteArray> const before = filePalettes(archive);
        QString const moved = place.filePath(u"moved/"_s);
        QVERIFY(QDir().mkpath(moved));
        project->parent()->saveAs(moved + u"kfm.def"_s, nullptr);
        QCOMPARE(QDir::cleanPath(second->file()), moved + u"kfm2.act"_s);
        project->release();
        QVERIFY(readFile(moved + u"kfm2.act"_s) == writeAct(edited) + trailer &&
                readFile(moved + u"short.act"_s) == QByteArray(100, 'x'));
        project = open(moved + u"kfm.def"_s);
        QVERIFY(sprites(project));
        QCOMPARE(filePalettes(sprites(project)), before);
        project->release();
    }

    void sharedPaletteFile()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        readPalettes();
        GameProject game(m_game, FileSystemArchive::instance(), &m_engine);
        Project *project = game.openProject(game.filePath(m_game + u"chars/training/"_s));
        QString const path = m_game + u"chars/training/01.act"_s;
        QByteArray const original = readFile(path);
        auto *file = project ? dynamic_cast<PaletteFile *>(openFile(*project, path)) : nullptr;
        SffSprites *archive = sprites(project);
        QVERIFY(file && archive);
        QCOMPARE(file->palettes().size(), CharacterProject::PaletteSlots);
        QCOMPARE(filePalettes(archive).values(), QList<QByteArray>(12, original));
        // A copy, as a backup makes, leaves the file to be saved.
        RGBA edited[256];
        QVERIFY(slotPalette(archive, 3)->colorTable(edited));
        edited[200] = RGBA{1, 2, 3, 255};
        slotPalette(archive, 3)->setColorTable(edited, NoShare);
        QVERIFY(file->isModified());
        QTemporaryDir target;
        QString const copy = target.filePath(u"copy.act"_s), saved = target.filePath(u"01.act"_s);
        QVERIFY(file->toFile(FileSystemArchive::instance(), copy, ProjectFile::Copy, nullptr));
        QVERIFY(readFile(copy) == writeAct(edited) && file->isModified() &&
                file->data() == original);
        QCOMPARE(file->fileName(), path);
        QVERIFY(file->toFile(FileSystemArchive::instance(), saved, 0, nullptr));
        QVERIFY(!file->isModified() && !archive->isModified() &&
                readFile(saved) == writeAct(edited));
        QCOMPARE(file->fileName() + u' ' + slotPalette(archive, 12)->file(), saved + u' ' + saved);
        QCOMPARE(filePalettes(archive).values(), QList<QByteArray>(12, writeAct(edited)));
        // Cut short, the file keeps its bytes and the slots keep theirs.
        QVERIFY(writeFile(saved, noise(768, 9)));
        QVERIFY(file->fromFile(FileSystemArchive::instance(), saved, 0, nullptr));
        QCOMPARE(filePalettes(archive).value(12), noise(768, 9));
        QVERIFY(writeFile(saved, noise(700, 9)));
        QVERIFY(file->fromFile(FileSystemArchive::instance(), saved, 0, nullptr));
        QVERIFY(!file->isPalette() && !file->isModified() &&
                file->messages()->count(Message::Warning) == 1);
        QCOMPARE(filePalettes(archive).value(12), noise(768, 9));
        project->release();
    }

    void gameFolder()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QVERIFY(haveGame());
        GameProject game(m_game, FileSystemArchive::instance(), &m_engine);
        QAbstractItemModelTester tester(&game,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto const rows = [&game](QString const &path) { return KenroTest::rowNames(game, path); };
        QVERIFY(game.isGame() && game.gameDirectory() == m_game);
        QCOMPARE(rows(u"chars"_s) + u'|' + rows(u"stages"_s), u"kfm training|kfm.def stage0.def"_s);
        QCOMPARE(game.characterDefinition(m_game + u"chars/training"_s),
                 m_game + u"chars/training/Training.def"_s);
        QList<Project *> projects;
        for (QString const path :
             {"chars/kfm/", "chars/training/", "stages/kfm.def", "stages/stage0.def"}) {
            projects += game.openProject(game.filePath(m_game + path));
            QVERIFY2(projects.last(), qPrintable(path));
            QStringList listed{QFileInfo(projects.last()->fileName()).fileName()};
            for (QString const &entry : KenroTest::listedFiles(*projects.last()))
                listed += entry.section(u':', 1);
            QVERIFY(path.endsWith(".def"_L1) || rows(path) == listed.join(u' '));
        }
        QModelIndex const chars = KenroTest::indexAt(game, u"chars"_s);
        QCOMPARE(game.openProject(game.itemPath(game.index(0, 0, chars))), projects.first());
        QVERIFY(!game.openProject(game.itemPath(chars)) && game.openedProjects().size() == 4);
        QVERIFY(projects.at(2)->type() == DefinitionProject::Stage &&
                projects.at(1)->basePath() == u"chars/training"_s);
        QCOMPARE(rows(u"stages"_s), u"kfm.def stage0.def kfm.sff stage0.sff"_s);
        QCOMPARE(game.filePath(m_game + u"stages/kfm.sff"_s)->fileType(), int(Project::Sprites));
        // The stages share their folder: closing one leaves the other's files.
        projects.at(2)->release();
        QCOMPARE(rows(u"stages"_s), u"kfm.def stage0.def stage0.sff"_s);
        projects.at(3)->release();
        projects.at(0)->release();
        QCOMPARE(rows(u"stages"_s) + u'|' + rows(u"chars"_s) + u'|' + rows(u"chars/kfm"_s),
                 u"kfm.def stage0.def|kfm training|"_s);
        auto *commands = dynamic_cast<ScriptFile *>(projects.at(1)->file(Project::Scripts));
        QVERIFY(commands && commands->fileName().endsWith("Training.cmd"_L1));
        commands->insert(u"\n; edited\n"_s);
        QTemporaryDir target;
        QString const place = target.filePath(u"saved/"_s);
        game.saveAs(place, nullptr);
        QVERIFY(game.basePath() == place && !commands->isModified() &&
                readFile(place + u"chars/training/Training.cmd"_s).contains("; edited"));
        for (QString const name :
             {"chars/kfm/kfm.def", "chars/kfm/intro.sff", "chars/kfm/kfm.air", "chars/kfm/kfm.cmd",
              "chars/training/Training.def", "chars/training/01.act", "chars/training/Training.cns",
              "stages/kfm.def", "stages/kfm.sff", "stages/stage0.sff"})
            QVERIFY2(readFile(place + name) == readFile(m_source + name), qPrintable(name));
        QVERIFY(!QFile::exists(place + u"chars/kfm/readme.txt"_s)); // named by nothing
        projects.at(1)->release();
        QCOMPARE(game.refCount(), 0u);
    }
};

QTEST_MAIN(TestIkemenProject)
#include "tst_ikemenproject.moc"
