#include <kenro/project/projectfile.h>

#include "projectfile_p.h"

#include <kenro/editors/interface/interface.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/project.h>

namespace Kenro {

ProjectFile::ProjectFile() : d(new ProjectFilePrivate) {}

ProjectFile::~ProjectFile()
{
    if (d->archive)
        d->archive->release();
    delete d;
}

void ProjectFile::release()
{
    if (d->refCount > 0)
        --d->refCount;
    if (d->refCount == 0)
        free();
}

void ProjectFile::addRef()
{
    ++d->refCount;
}

unsigned int ProjectFile::refCount() const
{
    return d->refCount;
}

Archive &ProjectFile::archive() const
{
    return d->archive ? *d->archive : FileSystemArchive::instance();
}

Project *ProjectFile::project() const
{
    return d->project;
}

QAbstractItemModel *ProjectFile::model()
{
    return nullptr;
}

ProjectFile::Capabilities ProjectFile::capabilities() const
{
    return {};
}

bool ProjectFile::canSave() const
{
    return false;
}

bool ProjectFile::isModified() const
{
    return false;
}

void ProjectFile::reset() {}

namespace {

// Makes \a archive the current one of a file, holding one reference on it.
void takeArchive(Archive *&current, Archive &archive)
{
    Archive *const present = current ? current : &FileSystemArchive::instance();
    if (present == &archive)
        return;
    if (current)
        current->release();
    current = &archive;
    archive.addRef();
}

ParentProject *parentOf(Project *project)
{
    return project ? project->parent() : nullptr;
}

} // namespace

bool ProjectFile::toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats)
{
    if (flags & Copy)
        return false;
    takeArchive(d->archive, archive);
    if (ParentProject *parent = parentOf(project()))
        Q_EMIT parent->fileSaved(this);
    return false;
}

bool ProjectFile::fromFile(Archive &archive, QString const &name, unsigned int flags,
                           JobStats *stats)
{
    if (!(flags & Copy))
        takeArchive(d->archive, archive);
    if (ParentProject *parent = parentOf(project()))
        Q_EMIT parent->fileOpened(this);
    return false;
}

QString ProjectFile::fileName() const
{
    return QString();
}

QString ProjectFile::displayName() const
{
    QString const name = fileName();
    return name.mid(name.lastIndexOf(QLatin1Char('/')) + 1);
}

void ProjectFile::beginChange() {}
void ProjectFile::endChange() {}
void ProjectFile::undo() {}
void ProjectFile::redo() {}

QVariant ProjectFile::option(QString const &key, QVariant defaultValue) const
{
    QVariant const value = option(key);
    return value.isValid() ? value : defaultValue;
}

QVariant ProjectFile::option(QString const &key) const
{
    QVariant const value = d->options.value(key);
    if (value.isValid())
        return value;
    if (Project *owner = project())
        return owner->option(key);
    if (Interface *host = Interface::instance())
        return host->option(key, QVariant());
    return QVariant();
}

void ProjectFile::setOption(QString const &key, QVariant const &value, bool inProject, bool global)
{
    if (inProject) {
        if (Project *owner = project()) {
            owner->setOption(key, value, global);
            return;
        }
    }
    if (value.isNull())
        d->options.remove(key);
    else
        d->options.insert(key, value);
}

bool ProjectFile::fileExists() const
{
    return archive().fileExists(fileName());
}

bool ProjectFile::isReadOnly() const
{
    QString const name = fileName();
    return !name.isEmpty() && !archive().isWritable(name);
}

Messages *ProjectFile::messages() const
{
    return fileMessages();
}

char const *ProjectFile::fileExtension() const
{
    return nullptr;
}

} // namespace Kenro
