#include <kenro/project/archive.h>
#include <kenro/project/filesystemarchive.h>

namespace Kenro {

Archive::Archive() = default;

// Copies take the interface only; the count of the new object starts afresh.
Archive::Archive(Archive const &) : Object() {}

Archive &Archive::operator=(Archive const &)
{
    return *this;
}

Archive::~Archive() = default;

void Archive::release()
{
    if (m_refCount > 0)
        --m_refCount;
    if (m_refCount == 0 && this != &FileSystemArchive::instance())
        free();
}

void Archive::addRef()
{
    ++m_refCount;
}

unsigned int Archive::refCount() const
{
    return m_refCount;
}

QStringList Archive::entries(QString const &path, QFlags<QDir::Filter> filter,
                             QFlags<QDir::SortFlag> sort)
{
    return entries(path, QStringList(), filter, sort);
}

} // namespace Kenro
