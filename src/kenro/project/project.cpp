#include <kenro/project/project.h>

#include <kenro/engine/engine.h>

#include "project_p.h"
#include "projectfile_p.h"

#include <kenro/editors/interface/interface.h>
#include <kenro/project/archive.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/pathhelpers.h>

namespace Kenro {

namespace {

// Options that a main file hands over to its project when the project is made.
QString const parseCode = QStringLiteral("parseCode");
QString const highlightCode = QStringLiteral("highlightCode");
QString const modelCode = QStringLiteral("modelCode");

// Makes \a archive the current one of \a current, moving one reference.
void moveReference(Archive *&current, Archive &archive)
{
    if (current == &archive)
        return;
    if (current)
        current->release();
    current = &archive;
    archive.addRef();
}

} // namespace

Project::Project(ParentProject *parent, int type, ProjectFile *mainFile, bool addMainFile)
    : m_type(type),
      d(new ProjectPrivate(this)),
      m_archive(parent ? &parent->archive() : &FileSystemArchive::instance())
{
    d->parent = parent;
    m_archive->addRef();
    if (!mainFile)
        return;
    d->mainFile = mainFile;
    mainFile->addRef();
    for (QString const &key : {parseCode, highlightCode, modelCode})
        setOption(key, mainFile->option(key), true);
    for (QString const &key : {highlightCode, parseCode, modelCode})
        mainFile->setOption(key, QVariant(), false, false);
    if (addMainFile)
        addFile(mainFile, Main);
}

Project::~Project()
{
    if (m_archive)
        m_archive->release();
    delete d;
}

void Project::release()
{
    if (m_archive) {
        if (m_archive != &FileSystemArchive::instance())
            m_archive->flush();
        m_archive->release();
        m_archive = nullptr;
    }
    if (d->parent)
        d->parent->forgetProject(this);

    QList<ProjectFile *> const files = d->filesWithIDs.keys();
    for (ProjectFile *file : files) {
        if (Messages *messages = file->messages())
            d->unregisterMessages(messages);
    }
    d->filesWithIDs.clear();
    d->filesByType.clear();
    d->selected.clear();
    for (ProjectFile *file : files)
        file->release();
    if (ProjectFile *main = d->mainFile) {
        d->mainFile = nullptr;
        main->release();
    }
}

QVariant Project::option(QString const &key, QVariant defaultValue) const
{
    QVariant const value = option(key);
    return value.isValid() ? value : defaultValue;
}

bool Project::isEmpty() const
{
    for (auto it = d->filesWithIDs.constBegin(); it != d->filesWithIDs.constEnd(); ++it) {
        if (!it.key()->isEmpty())
            return false;
    }
    return true;
}

bool Project::isModified() const
{
    for (auto it = d->filesWithIDs.constBegin(); it != d->filesWithIDs.constEnd(); ++it) {
        if (it.key()->isModified())
            return true;
    }
    return false;
}

QSize Project::size() const
{
    return QSize(320, 240);
}

QSizeF Project::scale() const
{
    return QSizeF(1.0, 1.0);
}

bool Project::saveAll(Archive &target, QString const &directory, bool copy, QStringList *files)
{
    if (&target != &FileSystemArchive::instance() && target.isReadOnly())
        return false;

    QList<FileEntry> pending;
    fileList(pending);
    QString base = directory;
    if (!base.endsWith(QLatin1Char('/')))
        base += QLatin1Char('/');
    QString const rootPath = absolutePath();
    int const rootLength = rootPath.length();
    QString const relativeBase = basePath();
    if (copy)
        pending.prepend(FileEntry(Main, fileName().mid(rootLength)));
    if (files) {
        for (FileEntry const &entry : std::as_const(pending))
            files->append(entry.second);
    }

    for (auto it = d->filesWithIDs.constBegin(); it != d->filesWithIDs.constEnd(); ++it) {
        ProjectFile *file = it.key();
        // Only files kept in the project's own store are written from memory.
        bool const inProjectArchive = &file->archive() == &archive();
        if (!copy) {
            moveReference(file->d->archive, target);
            if (it.value() & (FileTypes(1) << Main))
                continue; // the caller saves the main file
        } else if (!file->isModified() && file->fileExists()) {
            continue; // copied byte for byte below
        }
        QString const name = file->fileName();
        if (!inProjectArchive || !name.startsWith(rootPath))
            continue;

        int match = -1;
        for (int i = 0; i < pending.size(); ++i) {
            if (name.endsWith(pending.at(i).second)) {
                match = i;
                break;
            }
        }
        QString relative = name.mid(rootLength);
        if (relative.isEmpty()) {
            if (match < 0)
                continue;
            relative = pending.at(match).second;
        }
        if (file->canSave())
            file->toFile(target, base + relativeBase + relative, copy ? ProjectFile::Copy : 0,
                         nullptr);
        if (match >= 0)
            pending.removeAt(match);
    }

    Archive &source = archive();
    for (FileEntry const &entry : std::as_const(pending)) {
        QString const from = source.absoluteFileName(rootPath + QLatin1Char('/') + entry.second);
        if (!from.startsWith(rootPath))
            continue;
        QString const to = target.absoluteFileName(base + relativeBase + entry.second);
        if (&source == &target && from == to)
            continue;
        copyFile(source, from, target, to);
    }

    if (!copy && &target != m_archive)
        moveReference(m_archive, target);
    return true;
}

void Project::reload()
{
    for (auto it = d->filesWithIDs.constBegin(); it != d->filesWithIDs.constEnd(); ++it) {
        ProjectFile *file = it.key();
        Archive &archive = file->archive();
        if (archive.fileExists(file->fileName()))
            file->fromFile(archive, file->fileName(), 0, nullptr);
    }
}

ParentProject *Project::parent() const
{
    return d->parent;
}

Archive &Project::archive() const
{
    return m_archive ? *m_archive : FileSystemArchive::instance();
}

int Project::type() const
{
    return m_type;
}

QString Project::typeName() const
{
    Engine *engine = parent() ? parent()->engine() : nullptr;
    if (!engine)
        return QString();
    return engine->queryString(Engine::ProjectTypeName, static_cast<unsigned int>(m_type));
}

ProjectFile *Project::mainFile() const
{
    return d->mainFile;
}

MessageList *Project::messages() const
{
    return d;
}

QString Project::fileName() const
{
    return d->mainFile ? d->mainFile->fileName() : QString();
}

QString Project::absolutePath() const
{
    return archive().absoluteFilePath(fileName());
}

QString Project::basePath() const
{
    QString const path = absolutePath();
    return d->parent ? path.mid(d->parent->basePath().length()) : path;
}

QVariant Project::option(QString const &key) const
{
    QVariant const value = d->options.value(key);
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
        d->options.remove(key);
    else
        d->options.insert(key, value);
}

unsigned int Project::selectedFile(int type) const
{
    return d->selected.value(type, 0);
}

void Project::setSelectedFile(int type, unsigned int index)
{
    d->selected.insert(type, index);
}

QMap<ProjectFile *, Project::FileTypes> const &Project::filesWithIDs() const
{
    return d->filesWithIDs;
}

QList<ProjectFile *> const &Project::filesByType(int type)
{
    return d->filesByType[type];
}

QList<ProjectFile *> Project::files() const
{
    return d->filesWithIDs.keys();
}

ProjectFile *Project::file(int type) const
{
    auto const list = d->filesByType.constFind(type);
    if (list == d->filesByType.constEnd() || list->isEmpty())
        return nullptr;
    unsigned int const index = d->selected.value(type, 0);
    return index < static_cast<unsigned int>(list->size()) ? list->at(index) : list->first();
}

unsigned int Project::fileCount() const
{
    return static_cast<unsigned int>(d->filesWithIDs.size());
}

Project::FileTypes Project::fileID(ProjectFile *file) const
{
    return d->filesWithIDs.value(file, 0);
}

bool Project::addFile(ProjectFile *file, int type)
{
    if (!file || type < 0 || type > 31)
        return false;
    FileTypes const bit = FileTypes(1) << type;
    auto found = d->filesWithIDs.find(file);
    if (found == d->filesWithIDs.end()) {
        d->filesWithIDs.insert(file, bit);
    } else {
        if (found.value() & bit)
            return false;
        found.value() |= bit;
    }
    if (Messages *messages = file->messages())
        d->registerMessages(messages);
    file->d->project = this;
    QList<ProjectFile *> &list = d->filesByType[type];
    d->selected[type] = static_cast<unsigned int>(list.size());
    list.append(file);
    Q_EMIT fileAdded(file, type);
    if (d->parent)
        Q_EMIT d->parent->fileAdded(file);
    return true;
}

void Project::removeFile(ProjectFile *file)
{
    if (!d->filesWithIDs.contains(file))
        return; // not ours to release
    if (d->parent)
        Q_EMIT d->parent->fileClosed(file);
    takeFile(file);
    file->release();
}

void Project::removeFile(int type, unsigned int index)
{
    auto list = d->filesByType.find(type);
    if (list == d->filesByType.end() || index >= static_cast<unsigned int>(list->size()))
        return;
    ProjectFile *file = list->takeAt(index);
    FileTypes const bit = FileTypes(1) << type;
    auto found = d->filesWithIDs.find(file);
    if (found == d->filesWithIDs.end())
        return;
    if (found.value() == bit) {
        d->filesWithIDs.erase(found);
        if (Messages *messages = file->messages())
            d->unregisterMessages(messages);
        Q_EMIT fileRemoved(file, type);
        if (d->parent)
            Q_EMIT d->parent->fileClosed(file);
        file->release();
    } else {
        found.value() &= ~bit;
        Q_EMIT fileRemoved(file, type);
    }
}

void Project::moveFile(int type, unsigned int from, unsigned int to)
{
    auto list = d->filesByType.find(type);
    if (list == d->filesByType.end())
        return;
    unsigned int const size = static_cast<unsigned int>(list->size());
    if (from < size && to < size)
        list->move(from, to);
}

void Project::addToParent()
{
    if (d->parent)
        d->parent->addRef(this);
}

void Project::fileHierarchyChanged()
{
    if (d->parent)
        d->parent->rebuildProject(this);
}

ProjectFile *Project::takeFile(ProjectFile *file)
{
    FileTypes const mask = d->filesWithIDs.take(file);
    for (auto list = d->filesByType.begin(); list != d->filesByType.end(); ++list)
        list->removeAll(file);
    if (Messages *messages = file ? file->messages() : nullptr)
        d->unregisterMessages(messages);
    for (int type = 0; type < 32; ++type) {
        if (mask & (FileTypes(1) << type))
            Q_EMIT fileRemoved(file, type);
    }
    Q_EMIT fileRemoved(file, -1);
    return file;
}

} // namespace Kenro
