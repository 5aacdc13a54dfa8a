#include "gameproject.h"

#include "characterproject.h"
#include "definition.h"
#include "definitionproject.h"
#include "newdefinition.h"
#include "stageproject.h"

#include <kenro/engine/engine.h>
#include <kenro/project/archive.h>

#include <QDir>
#include <QFileInfo>

namespace Kenro::Ikemen {

namespace {

QString withSlash(QString path)
{
    if (!path.isEmpty() && !path.endsWith(QLatin1Char('/')))
        path += QLatin1Char('/');
    return path;
}

QString folderOf(QString const &path)
{
    return path.left(path.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace

GameProject::GameProject(QString const &basePath, Archive &archive, Engine *engine)
    : GameProject(basePath, archive, engine, false)
{}

GameProject::GameProject(QString const &basePath, Archive &archive, Engine *engine, bool lone)
    : ParentProject(withSlash(basePath), archive), m_engine(engine), m_lone(lone)
{
    QString const base = this->basePath();
    QString const characters = lone ? QString() : subfolder(base, QStringLiteral("chars"));
    QString const stages = lone ? QString() : subfolder(base, QStringLiteral("stages"));
    if (!characters.isEmpty())
        addPath(characters, ProjectDirectories);
    if (!stages.isEmpty())
        addPath(stages, ProjectFiles, {QStringLiteral("*.def")});
    if (!characters.isEmpty() || !stages.isEmpty() || isGame()) {
        m_gameDirectory = base;
        return;
    }

    // A lone object lies a folder or two below its game: the first folder
    // above with the engine's marker file, or with "data/" beside "chars/" or
    // "stages/".
    QString const marker = engine ? engine->queryString(Engine::GameMarkerFile, 0) : QString();
    QString folder = base;
    for (int up = 0; up < 3 && folder.count(QLatin1Char('/')) > 1; ++up) {
        folder = folderOf(folder.chopped(1));
        bool const marked = !marker.isEmpty() && archive.fileExists(folder + marker);
        bool const laidOut = !subfolder(folder, QStringLiteral("data")).isEmpty() &&
            (!subfolder(folder, QStringLiteral("chars")).isEmpty() ||
             !subfolder(folder, QStringLiteral("stages")).isEmpty());
        if (marked || laidOut) {
            m_gameDirectory = folder;
            return;
        }
    }
}

GameProject::~GameProject() = default;

DefinitionProject *GameProject::openDefinition(QString const &definition, Archive &archive,
                                               Engine *engine)
{
    QString const name = archive.absoluteFileName(definition);
    auto *root = new GameProject(archive.absoluteFilePath(definition), archive, engine, true);
    DefinitionProject *project = root->open(name);
    if (!project)
        delete root;
    return project;
}

ParentProject *GameProject::openRoot(QString const &path, Archive &archive, Engine *engine)
{
    if (archive.directoryExists(path))
        return new GameProject(path, archive, engine);
    if (!archive.fileExists(path))
        return nullptr;
    DefinitionProject *project = openDefinition(path, archive, engine);
    return project ? project->parent() : nullptr;
}

Engine *GameProject::engine() const
{
    return m_engine;
}

Project *GameProject::openProject(Path const *path)
{
    if (!path || !path->isProject())
        return nullptr;
    QString const definition =
        path->isDirectory() ? characterDefinition(path->fullPath()) : path->fullPath();
    return definition.isEmpty() ? nullptr : open(definition);
}

DefinitionProject *GameProject::open(QString const &definition)
{
    for (Project *project : openedProjects()) {
        if (project->fileName() == definition)
            return static_cast<DefinitionProject *>(project);
    }
    if (projectTypeOf(definition) == DefinitionProject::Stage)
        return StageProject::open(this, definition, m_gameDirectory);
    return CharacterProject::open(this, definition, m_gameDirectory);
}

DefinitionProject *GameProject::create(int type, QString const &path)
{
    if (type != DefinitionProject::Character && type != DefinitionProject::Stage)
        return nullptr;
    QString const base = basePath();
    QString place = QDir::cleanPath(QDir::isAbsolutePath(path) ? path : base + path);
    if (!place.startsWith(base) || place.size() <= base.size())
        return nullptr;
    QString definition = place;
    if (!place.endsWith(QLatin1String(".def"), Qt::CaseInsensitive))
        definition =
            place + QLatin1Char('/') + QFileInfo(place).fileName() + QStringLiteral(".def");
    Archive &store = archive();
    if (store.fileExists(definition) || store.directoryExists(definition))
        return nullptr;

    QByteArray const text = newDefinition(type, QFileInfo(definition).completeBaseName());
    // NewOnly: a file made meanwhile by someone else stays theirs.
    QIODevice *device = store.openFile(definition, QIODevice::WriteOnly | QIODevice::NewOnly);
    if (!device)
        return nullptr;
    if (device->write(text) != text.size()) {
        store.discardFile(device);
        return nullptr;
    }
    store.closeFile(device);
    if (!store.fileExists(definition))
        return nullptr;
    return open(definition);
}

QString GameProject::gameDirectory() const
{
    return m_gameDirectory;
}

QString GameProject::characterDefinition(QString const &folder) const
{
    QString const place = withSlash(folder);
    QString const folderName = QFileInfo(place.chopped(1)).fileName();
    QStringList const names = archive().entries(place, {QStringLiteral("*.def")},
                                                QDir::Files | QDir::Readable, QDir::Name);
    for (QString const &name : names) {
        if (QFileInfo(name).completeBaseName().compare(folderName, Qt::CaseInsensitive) == 0)
            return place + name;
    }
    for (QString const &name : names) {
        Definition const text(DefinitionProject::readText(archive(), place + name));
        if (!text.entries(QStringLiteral("Files")).isEmpty())
            return place + name;
    }
    return QString();
}

void GameProject::projectFiles(QString const &relativePath, QStringList &files)
{
    QString const base = basePath();
    QString const definition = relativePath.endsWith(QLatin1Char('/'))
        ? characterDefinition(base + relativePath)
        : base + relativePath;
    if (definition.isEmpty())
        return;
    QString const folder = folderOf(definition);
    QStringList found{definition.mid(base.size())};
    QList<DefinitionProject::Reference> const references = DefinitionProject::findReferences(
        archive(), definition, m_gameDirectory, projectTypeOf(definition), nullptr);
    for (DefinitionProject::Reference const &reference : references) {
        QString const name = reference.path.mid(base.size());
        if (reference.exists && reference.path.startsWith(folder) && !found.contains(name))
            found.append(name);
    }
    files += found;
}

void GameProject::dispose()
{
    if (m_lone)
        delete this;
}

QString GameProject::subfolder(QString const &parent, QString const &name) const
{
    QStringList const names =
        archive().entries(parent, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Readable, QDir::Name);
    for (QString const &each : names) {
        if (each.compare(name, Qt::CaseInsensitive) == 0)
            return each;
    }
    return QString();
}

int GameProject::projectTypeOf(QString const &definition) const
{
    Definition const text(DefinitionProject::readText(archive(), definition));
    for (Definition::Section const &section : text.sections()) {
        if (section.name.compare(QLatin1String("BGdef"), Qt::CaseInsensitive) == 0)
            return DefinitionProject::Stage;
    }
    return DefinitionProject::Character;
}

} // namespace Kenro::Ikemen
