#include "testengine.h"

namespace KenroTest {

TestEngine::TestEngine(QString const &name) : Kenro::Engine(name) {}

bool TestEngine::run(unsigned int index, Kenro::Project *, QString const &arguments)
{
    if (index >= count())
        return false;
    runs.append(QStringLiteral("%1:%2").arg(index).arg(arguments));
    return true;
}

QString TestEngine::displayName() const
{
    return QStringLiteral("Test engine");
}

Kenro::ParentProject *TestEngine::openRoot(QString const &, Kenro::Archive &)
{
    return nullptr;
}

Kenro::Project *TestEngine::openProject(Kenro::ParentProject *, QString const &)
{
    return nullptr;
}

Kenro::Project *TestEngine::newProject(Kenro::ParentProject *, int, QString const &)
{
    return nullptr;
}

unsigned int TestEngine::projectTypeCount() const
{
    return static_cast<unsigned int>(projectTypes.size());
}

QString TestEngine::projectFilter() const
{
    return QStringLiteral("Definitions (*.def)");
}

QStringList TestEngine::singleFileFilters() const
{
    return {QStringLiteral("Scripts (*.cns)")};
}

int TestEngine::fileTypeOf(QString const &path) const
{
    return path.endsWith(QLatin1String(".cns"), Qt::CaseInsensitive) ? 4 : -1;
}

QString TestEngine::fileTypeName(int type) const
{
    return type == 4 ? QStringLiteral("Script") : QString();
}

Kenro::ProjectFile *TestEngine::openFile(QString const &, int)
{
    return nullptr;
}

QIcon TestEngine::icon() const
{
    return QIcon();
}

QString TestEngine::queryString(StringType type, unsigned int index) const
{
    switch (type) {
    case CommentString:
        return QStringLiteral(";");
    case EngineIdentifier:
        return identifier;
    case GameMarkerFile:
        return gameMarker;
    case ProjectTypeName:
        return projectTypes.value(static_cast<int>(index));
    }
    return QString();
}

QMap<int, QString> TestEngine::fileFilters() const
{
    return filters;
}

Kenro::ProjectFile *TestEngine::createFile(int type, Kenro::Project *project)
{
    return fileFactory ? fileFactory(type, project) : nullptr;
}

} // namespace KenroTest
