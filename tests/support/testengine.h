#pragma once

#include <kenro/engine/engine.h>

#include <functional>

namespace KenroTest {

/**
 * An engine with nothing of its own: its identifier, its game marker file
 * and its project type names are what the test sets.
 */
class TestEngine : public Kenro::Engine
{
    Q_OBJECT

public:
    explicit TestEngine(QString const &name = QStringLiteral("testengine")) : Kenro::Engine(name) {}

    QString identifier = QStringLiteral("kenro-test");
    QString gameMarker = QStringLiteral("data/system.def");
    QStringList projectTypes{QStringLiteral("Character"), QStringLiteral("Stage")};
    /// What fileFilters() answers.
    QMap<int, QString> filters{{3, QStringLiteral("*.air")}, {4, QStringLiteral("*.cns")}};
    /// What createFile() answers; null files without one.
    std::function<Kenro::ProjectFile *(int type, Kenro::Project *project)> fileFactory;
    /// The arguments of each run(), as "index:arguments".
    QStringList runs;

    bool run(unsigned int index, Kenro::Project *, QString const &arguments) override
    {
        if (index >= count())
            return false;
        runs.append(QStringLiteral("%1:%2").arg(index).arg(arguments));
        return true;
    }
    QString displayName() const override { return QStringLiteral("Test engine"); }
    Kenro::ParentProject *openRoot(QString const &, Kenro::Archive &) override { return nullptr; }
    Kenro::Project *openProject(Kenro::ParentProject *, QString const &) override
    {
        return nullptr;
    }
    Kenro::Project *newProject(Kenro::ParentProject *, int, QString const &) override
    {
        return nullptr;
    }
    unsigned int projectTypeCount() const override { return unsigned(projectTypes.size()); }
    QString projectFilter() const override { return QStringLiteral("Definitions (*.def)"); }
    QStringList singleFileFilters() const override { return {QStringLiteral("Scripts (*.cns)")}; }
    int fileTypeOf(QString const &path) const override
    {
        return path.endsWith(QLatin1String(".cns"), Qt::CaseInsensitive) ? 4 : -1;
    }
    QString fileTypeName(int type) const override
    {
        return type == 4 ? QStringLiteral("Script") : QString();
    }
    Kenro::ProjectFile *openFile(QString const &, int) override { return nullptr; }
    QIcon icon() const override { return QIcon(); }
    QString queryString(StringType type, unsigned int index) const override
    {
        switch (type) {
        case CommentString:
            return QStringLiteral(";");
        case EngineIdentifier:
            return identifier;
        case GameMarkerFile:
            return gameMarker;
        case ProjectTypeName:
            return projectTypes.value(int(index));
        }
        return QString();
    }
    QMap<int, QString> fileFilters() const override { return filters; }
    Kenro::ProjectFile *createFile(int type, Kenro::Project *project) override
    {
        return fileFactory ? fileFactory(type, project) : nullptr;
    }

    // The configuration's members, for checks.
    using Kenro::EnginePrivate::options;
};

} // namespace KenroTest
