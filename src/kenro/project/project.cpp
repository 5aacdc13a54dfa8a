#include <kenro/project/project.h>

#include "projectfile_p.h"

#include <kenro/editors/interface/interface.h>
#include <kenro/project/archive.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/projectfile.h>

namespace Kenro {

namespace {

// Options that a main file hands over to its project when the project is made.
QString const parseCode = QStringLiteral("parseCode");
QString const highlightCode = QStringLiteral("highlightCode");
QString const modelCode = QStringLiteral("modelCode");

} // namespace

Project::Project(ParentProject *parent, int type, ProjectFile *mainFile, bool addMainFile)
    : m_type(type),
      m_parent(parent),
      m_archive(parent ? &parent->archive() : &FileSystemArchive::instance()),
      m_mainFile(mainFile)
{
    m_archive->addRef();
    if (mainFile) {
        for (QString const &key : {parseCode, highlightCode, modelCode})
            setOption(key, mainFile->option(key), true);
        for (QString const &key : {highlightCode, parseCode, modelCode})
            mainFile->setOption(key, QVariant(), false, false);
        if (addMainFile)
            addFile(mainFile, Main);
    }
}

Project::~Project()
{
    if (m_archive)
        m_archive->release();
}

void Project::release()
{
    if (m_archive) {
        if (m_archive != &FileSystemArchive::instance())
            m_archive->flush();
        m_archive->release();
        m_archive = nullptr;
    }
    QList<ProjectFile *> const files = m_filesWithIDs.keys();
    m_filesWithIDs.clear();
    m_filesByType.clear();
    m_selected.clear();
    for (ProjectFile *file : files)
        file->release();
}

QVariant Project::option(QString const &key, QVariant defaultValue) const
{
    QVariant const value = option(key);
    return value.isValid() ? value : defaultValue;
}

ParentProject *Project::parent() const
{
    return m_parent;
}

Archive &Project::archive() const
{
    return m_archive ? *m_archive : FileSystemArchive::instance();
}

int Project::type() const
{
    return m_type;
}

ProjectFile *Project::mainFile() const
{
    return m_mainFile;
}

QVariant Project::option(QString const &key) const
{
    QVariant const value = m_options.value(key);
    if (value.isValid())
        return value;
    if (Interface *host = Interface::instance())
        return host->option(key, QVariant());
    return QVariant();
}

void Project::setOption(QString const &key, QVariant const &value, bool global)
{
    if (global) {
        if (Interface *host = Interface::instance())
            host->setOption(key, value);
    }
    if (value.isNull())
        m_options.remove(key);
    else
        m_options.insert(key, value);
}

bool Project::addFile(ProjectFile *file, int type)
{
    FileTypes const bit = FileTypes(1) << type;
    auto found = m_filesWithIDs.find(file);
    if (found == m_filesWithIDs.end()) {
        m_filesWithIDs.insert(file, bit);
    } else {
        if (found.value() & bit)
            return false;
        found.value() |= bit;
    }
    file->d->project = this;
    QList<ProjectFile *> &list = m_filesByType[type];
    m_selected[type] = static_cast<unsigned int>(list.size());
    list.append(file);
    Q_EMIT fileAdded(file, type);
    if (m_parent)
        Q_EMIT m_parent->fileAdded(file);
    return true;
}

ProjectFile *Project::file(int type) const
{
    auto const list = m_filesByType.constFind(type);
    if (list == m_filesByType.constEnd() || list->isEmpty())
        return nullptr;
    unsigned int const index = m_selected.value(type, 0);
    return index < static_cast<unsigned int>(list->size()) ? list->at(index) : list->first();
}

QList<ProjectFile *> Project::filesByType(int type) const
{
    return m_filesByType.value(type);
}

} // namespace Kenro
