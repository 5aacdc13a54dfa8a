#pragma once

#include "projectreport.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Kenro {
class Engine;
class JobStats;
class Project;
} // namespace Kenro

namespace Kenro::Cli {

class Examiners;

/**
 * Characters and stages as the engine plug-ins open them: a game folder
 * with all its projects, or the projects of a folder or of a definition.
 * Each project is opened, read into its report and let go before the next,
 * so that a big game needs the memory of one character at a time. The
 * content files that no project names are read on their own by the
 * examiners.
 */
class ProjectExaminer
{
public:
    /// The kinds of definition files.
    enum DefinitionKind { NoProject, Character, Stage };

    /// Opens projects with one of \a engines; \a examiners read the other files.
    ProjectExaminer(QList<Engine *> const &engines, Examiners const &examiners);

    /// The engine of the game in \a folder, which holds its marker file; null for none.
    Engine *gameEngine(QString const &folder) const;
    /// The engine that reads \a definition as a project's main file; null for none.
    Engine *definitionEngine(QString const &definition) const;
    /**
     * What \a path defines: a character when its [Files] name a character's
     * files, a stage when it has a [BGdef]; NoProject for other definitions
     * (storyboards, screens) and for files that cannot be read.
     */
    static DefinitionKind definitionKind(QString const &path);
    /**
     * The definitions of the projects in \a folder, not below it: the one
     * named like the folder, else every one; empty when it holds none.
     */
    QStringList projectDefinitions(QString const &folder) const;

    /**
     * Reads the game in \a folder with \a engine: each of its characters
     * and stages, then every other file of the folder. Returns false when
     * the engine cannot open it. Shows progress in \a progress.
     */
    bool examineGame(QString const &folder, Engine &engine, ProjectsReport &report,
                     JobStats &progress) const;
    /**
     * Reads the projects of \a definitions, which lie in or are \a path;
     * for a folder its other files are read too. Returns false when no
     * definition opens.
     */
    bool examineProjects(QString const &path, QStringList const &definitions,
                         ProjectsReport &report, JobStats &progress) const;

private:
    // Names of files as the user wrote the path: a file below the path
    // given as "game" is "game/chars/...", whatever the engine made absolute.
    struct Names
    {
        QString given;
        QString absolute;
        QString shown(QString const &absolutePath) const;
    };

    ProjectReport read(Project &project, Engine &engine, Names const &names) const;
    // Those of \a files that no project holds (by absolute name), read on their own.
    void examineOthers(QStringList const &files, QSet<QString> const &held, ProjectsReport &report,
                       JobStats &progress) const;

    QList<Engine *> m_engines;
    Examiners const &m_examiners;
};

} // namespace Kenro::Cli
