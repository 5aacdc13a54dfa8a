#include "ikemenengine.h"

#include <ikemen/air/airdocument.h>

#include <kenro/project/filesystemarchive.h>
#include <kenro/project/project.h>

#include <QFileInfo>

using namespace Kenro;

namespace Kenro::Ikemen {

namespace {

char const engineIdentifier[] = "ikemen";

} // namespace

IkemenEngine::IkemenEngine() : Engine(QString::fromLatin1(engineIdentifier)) {}

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

ParentProject *IkemenEngine::openRoot(QString const &, Archive &)
{
    return nullptr;
}

Project *IkemenEngine::openProject(ParentProject *, QString const &)
{
    return nullptr;
}

Project *IkemenEngine::newProject(ParentProject *, int, QString const &)
{
    return nullptr;
}

unsigned int IkemenEngine::projectTypeCount() const
{
    return 0;
}

QString IkemenEngine::projectFilter() const
{
    return QString();
}

QStringList IkemenEngine::singleFileFilters() const
{
    return {QStringLiteral("Animations (*.air)")};
}

int IkemenEngine::fileTypeOf(QString const &path) const
{
    return QFileInfo(path).suffix().compare(QLatin1String("air"), Qt::CaseInsensitive) == 0
        ? Project::Animations
        : -1;
}

QString IkemenEngine::fileTypeName(int type) const
{
    return type == Project::Animations ? QStringLiteral("Animations") : QString();
}

ProjectFile *IkemenEngine::openFile(QString const &path, int type)
{
    if (type != Project::Animations)
        return nullptr;
    AirAnimations *file = AirDocument::createAnimations();
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

QString IkemenEngine::queryString(StringType type, unsigned int) const
{
    switch (type) {
    case CommentString:
        return QStringLiteral(";");
    case EngineIdentifier:
        return QString::fromLatin1(engineIdentifier);
    case GameMarkerFile:
        return QStringLiteral("data/system.def");
    default:
        return QString();
    }
}

QMap<int, QString> IkemenEngine::fileFilters() const
{
    return {{Project::Animations, QStringLiteral("*.air")}};
}

ProjectFile *IkemenEngine::createFile(int type, Project *project)
{
    if (type != Project::Animations)
        return nullptr;
    AirAnimations *file = AirDocument::createAnimations();
    if (project)
        project->addFile(file, type);
    return file;
}

} // namespace Kenro::Ikemen
