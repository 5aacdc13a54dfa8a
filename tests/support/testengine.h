#pragma once

#include <kenro/engine/engine.h>

#include <functional>

namespace KenroTest {

/// An engine with nothing of its own: what it answers is set by the test.
class TestEngine : public Kenro::Engine
{
    Q_OBJECT

public:
    explicit TestEngine(QString const &name = QStringLiteral("testengine")) : Kenro::Engine(name) {}

    QString identifier = QStringLiteral("kenro-test");
    QMap<int, QString> filters{{3, QStringLiteral("*.air")}, {4, QStringLiteral("*.cns")}};
    std::function<Kenro::ProjectFile *(int type, Kenro::Project *project)> fileFactory;

    bool run(unsigned int index, Kenro::Project *, QString const &) override
    {
        return index < count();
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
    unsigned int projectTypeCount() const override { return 2; }
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
            return QStringLiteral("data/system.def");
        case ProjectTypeName:
            return QStringList{QStringLiteral("Character"), QStringLiteral("Stage")}.value(index);
        }
        return QString();
    }
    QMap<int, QString> fileFilters() const override { return filters; }
    Kenro::ProjectFile *createFile(int type, Kenro::Project *project) override
    {
        return fileFactory ? fileFactory(type, project) : nullptr;
    }
};

} // namespace KenroTest
