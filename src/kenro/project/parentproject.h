#pragma once

#include <kenro/project/projectfile.h>

#include <QList>
#include <QObject>
#include <QString>

namespace Kenro {

class Archive;
class Engine;
class Project;

/**
 * What the user opens: a root directory or archive holding many projects.
 * It counts its open projects and tells its listeners when files of its
 * projects are added, closed, opened and saved.
 */
class KENRO_EXPORT ParentProject : public QObject
{
    Q_OBJECT

public:
    /// A root at \a basePath in \a archive, holding one reference on it.
    ParentProject(QString const &basePath, Archive &archive);
    ~ParentProject() override;

    /// The root directory of all projects.
    QString basePath() const;
    Archive &archive() const;
    /// The number of open projects.
    unsigned int refCount() const;
    QList<Project *> openedProjects() const;

    /// The engine whose projects these are.
    virtual Engine *engine() const = 0;

Q_SIGNALS:
    void fileAdded(Kenro::ProjectFile *file);
    void fileClosed(Kenro::ProjectFile *file);
    void fileOpened(Kenro::ProjectFile *file);
    void fileSaved(Kenro::ProjectFile *file);

protected:
    /// Counts \a project among the open ones.
    void addRef(Project *project);

private:
    friend class Project;
    // Called when a project is released: its files are closed and it leaves the count.
    void forgetProject(Project *project);

    QString m_basePath;
    Archive *m_archive;
    QList<Project *> m_projects;
};

} // namespace Kenro
