#include <kenro/project/parentproject.h>

#include <kenro/project/archive.h>
#include <kenro/project/project.h>

namespace Kenro {

ParentProject::ParentProject(QString const &basePath, Archive &archive)
    : m_basePath(basePath), m_archive(&archive)
{
    archive.addRef();
}

ParentProject::~ParentProject()
{
    m_archive->release();
}

QString ParentProject::basePath() const
{
    return m_basePath;
}

Archive &ParentProject::archive() const
{
    return *m_archive;
}

unsigned int ParentProject::refCount() const
{
    return static_cast<unsigned int>(m_projects.size());
}

QList<Project *> ParentProject::openedProjects() const
{
    return m_projects;
}

void ParentProject::addRef(Project *project)
{
    if (project && !m_projects.contains(project))
        m_projects.append(project);
}

void ParentProject::forgetProject(Project *project)
{
    if (!m_projects.removeOne(project))
        return;
    for (ProjectFile *file : project->files())
        Q_EMIT fileClosed(file);
}

} // namespace Kenro
