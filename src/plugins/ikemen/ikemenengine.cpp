#include "ikemenengine.h"

#include <ikemen/air/airdocument.h>
#include <ikemen/air/airparser.h>
#include <ikemen/project/definitionproject.h>
#include <ikemen/project/gameproject.h>
#include <ikemen/project/palettefile.h>
#include <ikemen/project/scriptfile.h>
#include <ikemen/snd/sndsounds.h>
#include <sffsprites.h>

#include <kenro/project/filesystemarchive.h>
#include <kenro/project/project.h>

#include <QFileInfo>

using namespace Kenro;

namespace Kenro::Ikemen {

namespace {

char const engineIdentifier[] = "ikemen";

// The file types of the content, their names and file-dialog patterns.
struct FileTypeInfo
{
    int type;
    char const *name;
    char const *patterns;
};

FileTypeInfo const fileTypes[] = {
    {Project::Main, "Definitions", "*.def"},
    {Project::Sprites, "Sprites", "*.sff"},
    {Project::Sounds, "Sounds", "*.snd"},
    {Project::Animations, "Animations", "*.air"},
    {Project::Scripts, "Scripts", "*.cns *.cmd *.st *.zss"},
    {DefinitionProject::Palettes, "Palettes", "*.act"},
    {DefinitionProject::Storyboards, "Storyboards", "*.def"},
    {DefinitionProject::Music, "Music", "*.mp3 *.ogg *.wav *.mid *.flac"},
    {DefinitionProject::Other, "Other files", "*"},
};

// The types that a file opens alone as, chosen by its suffix.
FileTypeInfo const *singleFileTypes[] = {&fileTypes[0], &fileTypes[1], &fileTypes[2],
                                         &fileTypes[3], &fileTypes[4], &fileTypes[5]};

FileTypeInfo const *typeInfo(int type)
{
    for (FileTypeInfo const &info : fileTypes) {
        if (info.type == type)
            return &info;
    }
    return nullptr;
}

// The lines of "[Begin Action n]" sections of every script go to one AIR
// parser: it keeps nothing between lines, so all documents can share it.
AirParser &actionParser()
{
    static AirParser parser;
    return parser;
}

ProjectFile *newScript(int type)
{
    auto *file = new ScriptFile(static_cast<short>(type));
    file->scriptParser()->setActionParser(&actionParser());
    return file;
}

int const scriptTypes[] = {Project::Main, Project::Scripts, DefinitionProject::Storyboards};

} // namespace

IkemenEngine::IkemenEngine() : Engine(QString::fromLatin1(engineIdentifier))
{
    for (int const type : scriptTypes)
        DefinitionProject::setFileFactory(type, [type] { return newScript(type); });
    DefinitionProject::setFileFactory(Project::Sprites, [] { return new SffSprites; });
    DefinitionProject::setFileFactory(Project::Sounds, [] { return new SndSounds; });
    DefinitionProject::setFileFactory(Project::Animations,
                                      [] { return AirDocument::createAnimations(); });
    // A character shows its palette files in its sprite archive.
    DefinitionProject::setFileFactory(DefinitionProject::Palettes, [] { return new PaletteFile; });
    // The factories stay when the engine ends: they live in this library,
    // as do the classes they make, and a second engine sets the same ones.
}

char const *IkemenEngine::identifier()
{
    return engineIdentifier;
}

bool IkemenEngine::run(unsigned int, Project *, QString const &)
{
    // Starting the runtime belongs to the host's run menu, which comes later.
    return false;
}

QString IkemenEngine::displayName() const
{
    return QStringLiteral("IKEMEN GO");
}

ParentProject *IkemenEngine::openRoot(QString const &path, Archive &archive)
{
    return GameProject::openRoot(path, archive, this);
}

Project *IkemenEngine::openProject(ParentProject *parent, QString const &path)
{
    // Only a root of this engine knows characters and stages.
    auto *game = qobject_cast<GameProject *>(parent);
    return game ? game->open(path) : nullptr;
}

Project *IkemenEngine::newProject(ParentProject *parent, int type, QString const &path)
{
    auto *game = qobject_cast<GameProject *>(parent);
    return game ? game->create(type, path) : nullptr;
}

unsigned int IkemenEngine::projectTypeCount() const
{
    return 2;
}

QString IkemenEngine::projectFilter() const
{
    return QStringLiteral("Definitions (*.def)");
}

QStringList IkemenEngine::singleFileFilters() const
{
    QStringList filters;
    for (FileTypeInfo const *info : singleFileTypes)
        filters.append(QStringLiteral("%1 (%2)").arg(QLatin1String(info->name),
                                                     QLatin1String(info->patterns)));
    return filters;
}

int IkemenEngine::fileTypeOf(QString const &path) const
{
    QString const suffix = QStringLiteral("*.") + QFileInfo(path).suffix().toLower();
    if (suffix.size() <= 2)
        return -1;
    for (FileTypeInfo const *info : singleFileTypes) {
        if (QString::fromLatin1(info->patterns).split(QLatin1Char(' ')).contains(suffix))
            return info->type;
    }
    return -1;
}

QString IkemenEngine::fileTypeName(int type) const
{
    FileTypeInfo const *info = typeInfo(type);
    return info ? QLatin1String(info->name) : QString();
}

ProjectFile *IkemenEngine::openFile(QString const &path, int type)
{
    if (!typeInfo(type))
        return nullptr;
    ProjectFile *file = DefinitionProject::newFile(type);
    if (!file->fromFile(FileSystemArchive::instance(), path, 0, nullptr)) {
        file->release();
        return nullptr;
    }
    return file;
}

QIcon IkemenEngine::icon() const
{
    return QIcon(path() + QStringLiteral("/icon.png"));
}

QString IkemenEngine::queryString(StringType type, unsigned int index) const
{
    switch (type) {
    case CommentString:
        return QStringLiteral(";");
    case EngineIdentifier:
        return QString::fromLatin1(engineIdentifier);
    case GameMarkerFile:
        return QStringLiteral("data/system.def");
    case ProjectTypeName:
        if (index == DefinitionProject::Character)
            return QStringLiteral("Character");
        if (index == DefinitionProject::Stage)
            return QStringLiteral("Stage");
        return QString();
    default:
        return QString();
    }
}

QMap<int, QString> IkemenEngine::fileFilters() const
{
    QMap<int, QString> filters;
    for (FileTypeInfo const &info : fileTypes)
        filters.insert(info.type, QLatin1String(info.patterns));
    return filters;
}

ProjectFile *IkemenEngine::createFile(int type, Project *project)
{
    if (!typeInfo(type))
        return nullptr;
    ProjectFile *file = DefinitionProject::newFile(type);
    if (project)
        project->addFile(file, type);
    return file;
}

} // namespace Kenro::Ikemen
