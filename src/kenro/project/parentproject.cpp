#include <kenro/project/parentproject.h>

#include <kenro/project/archive.h>

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

} // namespace Kenro
