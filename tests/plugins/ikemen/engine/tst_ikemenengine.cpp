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
#include <kenro/engine/engine.h>
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/parentproject.h>

#include "modelnames.h"
#include "testdata.h"
#include "testinterface.h"

#include <QCryptographicHash>
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
using KenroTest::addRow;
using KenroTest::readFile;

namespace {

// "file:line type: text" for every message, lines counted from 1.
QString messageLines(Project const &project, QString const &game)
{
    QStringList out;
    for (KenroTest::ListedMessage const &listed : KenroTest::listedMessages(project))
        out +=
            u"%1:%2 %3: %4\n"_s.arg(listed.file ? listed.file->fileName().remove(game) : QString())
                .arg(listed.message.line + 1)
                .arg(u"error warning information"_s.split(u' ').value(listed.message.type))
                .arg(listed.message.text);
    out.removeDuplicates();
    out.sort();
    return out.join(QString());
}

int actionHeadings(QByteArray const &text)
{
    int count = 0;
    for (QByteArray const &line : text.toLower().split('\n'))
        count += line.trimmed().startsWith("[begin action") ? 1 : 0;
    return count;
}

int animationNodes(CodeNode *node)
{
    auto *parent = dynamic_cast<ParentCode *>(node);
    int count = node->type() == CodeNode::Animation ? 1 : 0;
    for (unsigned int i = 0; parent && i < parent->childCount(); ++i)
        count += animationNodes(parent->childAt(i));
    return count;
}

} // namespace

class TestIkemenEngine : public QObject
{
    Q_OBJECT

    QTemporaryDir m_copy;
    QString m_game; // a writable copy of the game, with a trailing "/"
    std::unique_ptr<ExtensionManager> m_manager;
    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<KenroTest::TestInterface> m_host;

    // Each file checked against its class and its format's reader; \a summary tells what they hold.
    void checkFiles(Project &project, QString &summary)
    {
        QStringList const listed = KenroTest::listedFiles(project);
        for (QString const &entry : listed) {
            QStringList names;
            for (ProjectFile *file : project.filesByType(entry.section(u':', 0, 0).toInt()))
                names += QFileInfo(file->fileName()).fileName();
            QVERIFY2(names.contains(entry.section(u':', 1)), qPrintable(entry));
        }
        QCryptographicHash digest(QCryptographicHash::Sha1);
        int sprites = 0, sounds = 0, actions = 0, palettes = 0;
        for (ProjectFile *file : project.files()) {
            QByteArray const bytes = readFile(file->fileName());
            QVERIFY2(!bytes.isEmpty() && !file->isEmpty() && !file->isModified(),
                     qPrintable(file->fileName()));
            int type = 0;
            while (type <= DefinitionProject::Other && !project.filesByType(type).contains(file))
                ++type;
            SffContent sff;
            SndReader snd;
            RGBA expected[256], colors[256];
            if (auto *archive = dynamic_cast<SffSprites *>(file)) {
                QVERIFY(type == Project::Sprites && SffReader().read(bytes, sff));
                QCOMPARE(int(archive->count()), int(sff.sprites.size()));
                for (unsigned int i = 0; i < archive->count(); ++i, ++sprites) {
                    QImage const image =
                        archive->at(i)->image().convertToFormat(QImage::Format_ARGB32);
                    digest.addData(QByteArrayView(image.constBits(), image.sizeInBytes()));
                }
            } else if (auto *bank = dynamic_cast<SndSounds *>(file)) {
                QVERIFY(type == Project::Sounds && snd.read(bytes));
                QCOMPARE(int(bank->count()), int(snd.bank().members.size()));
                for (unsigned int i = 0; i < bank->count(); ++i, ++sounds)
                    digest.addData(bank->sound(i)->wav());
            } else if (auto *air = dynamic_cast<AirAnimations *>(file)) {
                QVERIFY(type == Project::Animations &&
                        dynamic_cast<AirDocument *>(air->document()));
                QCOMPARE(int(air->count()), actionHeadings(bytes));
                actions += air->count();
            } else if (auto *palette = dynamic_cast<PaletteFile *>(file)) {
                QVERIFY(type == DefinitionProject::Palettes && readAct(bytes, expected) &&
                        palette->data() == bytes && !palette->palettes().isEmpty());
                for (SffPalette const *shown : palette->palettes())
                    QVERIFY(shown->colorTable(colors) &&
                            !std::memcmp(colors, expected, sizeof colors));
                palettes += palette->palettes().size();
            } else {
                QVERIFY2(type == DefinitionProject::Music || type == DefinitionProject::Other ||
                             dynamic_cast<ScriptDocument *>(file),
                         qPrintable(file->fileName()));
            }
        }
        QVERIFY(sprites > 0);
        summary = u"%1; %2 sprites, %3 sounds, %4 actions, %5 palettes; "_s.arg(listed.join(u' '))
                      .arg(sprites)
                      .arg(sounds)
                      .arg(actions)
                      .arg(palettes) +
            QString::fromLatin1(digest.result().toHex());
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
        QString const data = KenroTest::testDataPath();
        m_game = m_copy.path() + u"/game/"_s;
        QVERIFY(m_engine && (data.isEmpty() || KenroTest::copyTree(data + u"/game/"_s, m_game)));
    }

    void answers()
    {
        Engine &engine = *m_engine;
        QCOMPARE(QList<int>({engine.fileTypeOf(u"a/KFM.AIR"_s), engine.fileTypeOf(u"01.act"_s),
                             engine.fileTypeOf(u"readme.txt"_s), engine.fileTypeOf(u"noSuffix"_s)}),
                 QList<int>({Project::Animations, DefinitionProject::Palettes, -1, -1}));
        for (int type = 0; type <= DefinitionProject::Other; ++type) {
            ProjectFile *file = engine.createFile(type, nullptr);
            QVERIFY(!engine.fileTypeName(type).isEmpty() &&
                    !engine.fileFilters().value(type).isEmpty() && file && file->isEmpty());
            file->release();
        }
        QVERIFY(!engine.createFile(42, nullptr) && !engine.openProject(nullptr, u"/none/a.def"_s));
        QCOMPARE(ExtensionManager::filters(Extension::SoundBank, &engine),
                 u"IKEMEN GO sound banks (*.snd)"_s);
    }

    void refusesDamagedFiles()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QTemporaryDir dir;
        for (QString const source : {"kfm.sff", "kfm.snd"}) {
            QByteArray const bytes = readFile(m_game + u"chars/kfm/"_s + source);
            QString const path = dir.filePath(source);
            int const type = source.endsWith(".sff"_L1) ? Project::Sprites : Project::Sounds;
            QVERIFY(bytes.size() > 700 && m_engine->fileTypeOf(path) == type);
            for (QByteArray const &damaged : {bytes.left(700), KenroTest::noise(bytes.size(), 3)})
                QVERIFY(KenroTest::writeFile(path, damaged) && !m_engine->openFile(path, type));
        }
    }

    void projects_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::addColumn<QString>("files");
        QTest::addColumn<QString>("messages");
        // Kung Fu Man's Clsn2 boxes under Clsn1 headers are attack boxes to the runtime; his
        // storyboards name music that the game lacks, which the runtime skips.
        QString kfm;
        for (int line : {1567, 1568, 1574, 1575, 963})
            kfm += u"chars/kfm/kfm.air:%1 warning: A Clsn2 box under a Clsn1 header is a Clsn1 "
                   "box\n"_s.arg(line);
        for (QString const scene : {"43 intro", "44 ending"})
            kfm += u"chars/kfm/kfm.def:%1 warning: The file '%2.mp3' named by 'bgm' does not exist "
                   "(in %2.def)\n"_s.arg(scene.section(u' ', 0, 0), scene.section(u' ', 1));
        addRow("kfm", "chars/kfm/kfm.def",
               "4:kfm.cmd 4:kfm.cns 1:kfm.sff 3:kfm.air 2:kfm.snd 8:kfm.ai 6:intro.def "
               "6:ending.def 1:intro.sff 1:ending.sff",
               kfm);
        // The runtime needs the states of "St0 = config.txt", found nowhere.
        addRow(
            "training", "chars/training/Training.def",
            "4:Training.cmd 4:Training.cns 1:Training.sff 3:Training.air 2:Training.snd 5:01.act",
            "chars/training/Training.def:13 error: The file 'config.txt' named by 'St0' does "
            "not exist\n");
        addRow("stage kfm", "stages/kfm.def", "1:kfm.sff",
               "stages/kfm.def:171 warning: The file 'sound/kfm.mid' named by 'bgmusic' does not "
               "exist\n");
        addRow("stage0", "stages/stage0.def", "1:stage0.sff", "");
    }

    void projects()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(QString, definition);
        QFETCH(QString, files);
        QFETCH(QString, messages);
        bool const character = definition.startsWith("chars/"_L1);
        QString const folder = QFileInfo(definition).path() + u'/';
        std::unique_ptr<ParentProject> game(
            m_engine->openRoot(m_game, FileSystemArchive::instance()));
        QVERIFY(game && game->isGame());
        Project *project =
            game->openProject(game->filePath(m_game + (character ? folder : definition)));
        QVERIFY(project && project->fileName() == m_game + definition);
        QCOMPARE(m_engine->openProject(game.get(), project->fileName()), project);
        QCOMPARE(project->typeName(),
                 m_engine->queryString(Engine::ProjectTypeName, unsigned(project->type())));
        // Common states come from the game's data folder, open but not listed.
        QString content;
        checkFiles(*project, content);
        bool common = false;
        for (ProjectFile *file : project->filesByType(Project::Scripts))
            common = common || file->fileName() == m_game + u"data/common1.cns"_s;
        QCOMPARE(u"%1 %2 %3"_s.arg(content.section(u"; "_s, 0, 0))
                     .arg(common)
                     .arg(content.count(u" 12 palettes"_s)),
                 u"%1 %2 %3"_s.arg(files).arg(character).arg(definition.contains("Training"_L1)));
        QCOMPARE(messageLines(*project, m_game), messages);
        project->release();
        game.reset();
        QPointer<ParentProject> lone =
            m_engine->openRoot(m_game + definition, FileSystemArchive::instance());
        QVERIFY(lone && !lone->isGame() && lone->openedProjects().size() == 1);
        project = lone->openedProjects().first();
        QCOMPARE(KenroTest::listedFiles(*project).join(u' '), files);
        QCOMPARE(messageLines(*project, m_game), messages);
        QCOMPARE(lone->rowCount(QModelIndex()), int(files.count(u' ')) + 2);
        QTemporaryDir target;
        QString const place = target.path() + u"/moved/"_s, name = QFileInfo(definition).fileName();
        QVERIFY(QDir().mkpath(place));
        lone->saveAs(place + name, nullptr);
        QCOMPARE(project->fileName() + u' ' + lone->basePath(), place + name + u' ' + place);
        for (ProjectFile *file : project->files()) // shared files stay where they are
            QVERIFY2(
                !file->isModified() &&
                    (file->fileName().startsWith(place) || file->fileName().contains("/data/"_L1)),
                qPrintable(file->fileName()));
        project->release();
        QVERIFY(lone.isNull());
        QStringList names{name};
        for (QString const &entry : files.split(u' '))
            names += entry.section(u':', 1);
        for (QString const &each : std::as_const(names))
            QVERIFY2(readFile(place + each) == readFile(testdata + u"/game/"_s + folder + each),
                     qPrintable(each));
        QCOMPARE(QDir(place).entryList(QDir::Files).size(), names.size());
        ParentProject *root = m_engine->openRoot(place + name, FileSystemArchive::instance());
        QVERIFY(root && root->openedProjects().size() == 1);
        project = root->openedProjects().first();
        QString moved;
        checkFiles(*project, moved);
        QCOMPARE(moved, content);
        project->release();
    }

    void definitionsHoldRealAnimations()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        for (QString const file : {"data/fight.def", "data/system.def", "chars/kfm/intro.def"}) {
            QCOMPARE(m_engine->fileTypeOf(m_game + file), int(Project::Main));
            ProjectFile *opened = m_engine->openFile(m_game + file, Project::Main);
            auto *document = dynamic_cast<ScriptDocument *>(opened);
            int const headings = actionHeadings(readFile(m_game + file));
            QVERIFY2(document && headings > 0 && animationNodes(document->root()) == headings &&
                         document->messages() && !document->messages()->count(Message::Error),
                     qPrintable(file));
            opened->release();
        }
    }

    void newProject_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("path"); // relative to the game; given so when it ends in "/"
        QTest::addColumn<QString>("made"); // the new definition; empty when refused
        int const character = DefinitionProject::Character, stage = DefinitionProject::Stage;
        addRow("character folder", character, "chars/hero", "chars/hero/hero.def");
        addRow("character definition", character, "chars/rival/Rival.def", "chars/rival/Rival.def");
        addRow("relative path", character, "chars/third/", "chars/third/third.def");
        addRow("stage definition", stage, "stages/arena.def", "stages/arena.def");
        addRow("existing definition", character, "chars/kfm/kfm.def", "");
        addRow("outside the game", character, "../elsewhere/x.def", "");
        addRow("the game itself", stage, "", "");
        addRow("no such type", 5, "chars/odd", "");
        // The superuser writes anywhere: the row means something to others only.
        if (geteuid() != 0)
            addRow("unwritable folder", character, "chars/locked/locked.def", "");
    }

    void newProject()
    {
        KENRO_REQUIRE_TESTDATA(testdata);
        QFETCH(int, type);
        QFETCH(QString, path);
        QFETCH(QString, made);
        QString const locked = m_game + u"chars/locked"_s;
        QByteArray const lockedName = QFile::encodeName(locked);
        if (path.startsWith("chars/locked"_L1))
            QVERIFY(QDir().mkpath(locked) && ::chmod(lockedName.constData(), 0555) == 0);
        QString const given = path.endsWith(u'/') ? path : m_game + path;
        QString const target = m_game + (made.isEmpty() ? path : made);
        QByteArray const before = readFile(target);
        QCOMPARE(m_engine->newProject(nullptr, type, given), nullptr);
        std::unique_ptr<ParentProject> root(
            m_engine->openRoot(m_game, FileSystemArchive::instance()));
        QVERIFY(root);
        Project *project = m_engine->newProject(root.get(), type, given);
        ::chmod(lockedName.constData(), 0755);
        if (made.isEmpty()) { // never written over, never left behind
            QVERIFY(!project && readFile(target) == before &&
                    !QFile::exists(locked + u"/locked.def"_s));
            return;
        }
        QVERIFY(project && root->openedProjects().contains(project));
        QCOMPARE(project->fileName(), target);
        QByteArray const bytes = readFile(target);
        Definition const written(QString::fromUtf8(bytes));
        QVERIFY(project->fileCount() == 1 && !project->isModified() &&
                messageLines(*project, m_game).isEmpty());
        QCOMPARE(written.value(u"Info"_s, u"name"_s), project->name());
        QCOMPARE(!written.entries(u"BGdef"_s).isEmpty(), type == DefinitionProject::Stage);
        QVERIFY(type == DefinitionProject::Stage ||
                QFileInfo(target).dir().entryList(QDir::Files) ==
                    QStringList{QFileInfo(target).fileName()});
        QVERIFY(!m_engine->newProject(root.get(), type, given) && readFile(target) == bytes);
        project->release();
        root.reset();
        ParentProject *again = m_engine->openRoot(target, FileSystemArchive::instance());
        QVERIFY(again && again->openedProjects().size() == 1);
        project = again->openedProjects().first();
        QCOMPARE(u"%1 %2"_s.arg(project->type()).arg(project->name()),
                 u"%1 %2"_s.arg(type).arg(QFileInfo(target).completeBaseName()));
        project->release();
    }
};

QTEST_MAIN(TestIkemenEngine)
#include "tst_ikemenengine.moc"
