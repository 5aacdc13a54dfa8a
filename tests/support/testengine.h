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
    explicit TestEngine(QString const &name = QStringLiteral("testengine"));

    QString identifier = QStringLiteral("kenro-test");
    QString gameMarker = QStringLiteral("data/system.def");
    QStringList projectTypes{QStringLiteral("Character"), QStringLiteral("Stage")};
    /// What fileFilters() answers.
    QMap<int, QString> filters{{3, QStringLiteral("*.air")}, {4, QStringLiteral("*.cns")}};
    /// What createFile() answers; null files without one.
    std::function<Kenro::ProjectFile *(int type, Kenro::Project *project)> fileFactory;
    /// The arguments of each run(), as "index:arguments".
    QStringList runs;

    bool run(unsigned int index, Kenro::Project *project, QString const &arguments) override;
    QString displayName() const override;
    Kenro::ParentProject *openRoot(QString const &path, Kenro::Archive &archive) override;
    Kenro::Project *openProject(Kenro::ParentProject *parent, QString const &path) override;
    Kenro::Project *newProject(Kenro::ParentProject *parent, int type,
                               QString const &path) override;
    unsigned int projectTypeCount() const override;
    QString projectFilter() const override;
    QStringList singleFileFilters() const override;
    int fileTypeOf(QString const &path) const override;
    QString fileTypeName(int type) const override;
    Kenro::ProjectFile *openFile(QString const &path, int type) override;
    QIcon icon() const override;
    QString queryString(StringType type, unsigned int index) const override;
    QMap<int, QString> fileFilters() const override;
    Kenro::ProjectFile *createFile(int type, Kenro::Project *project) override;

    // The configuration's members, for checks.
    using Kenro::EnginePrivate::options;
};

} // namespace KenroTest
