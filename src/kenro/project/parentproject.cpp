#include <kenro/project/parentproject.h>

#include "parentproject_p.h"

#include <kenro/editors/fileeditor.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/engine/engine.h>
#include <kenro/engine/extension.h>
#include <kenro/project/archive.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/filewatchobject.h>
#include <kenro/project/jobstats.h>
#include <kenro/project/pathhelpers.h>
#include <kenro/project/project.h>

#include <QDateTime>
#include <QFileInfo>
#include <QProcess>

#include <cstring>
#include <functional>

namespace Kenro {

namespace {

// Path components without the empty ones that leading, trailing and doubled
// separators give.
QStringList components(QString const &path)
{
    return path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
}

int kindOf(ParentProject::Path const *node)
{
    if (node->isDirectory())
        return ParentProject::PathInfo::Directory;
    if (node->isFile())
        return ParentProject::PathInfo::File;
    return ParentProject::PathInfo::Dummy;
}

bool matches(ParentProject::Path const *node, ParentProject::PathInfo const &record)
{
    return kindOf(node) == record.kind && node->name() == record.name;
}

ParentProject::BasePath *childNamed(ParentProject::BasePath const *node, QString const &name)
{
    for (ParentProject::BasePath *child : node->children()) {
        if (child->name() == name)
            return child;
    }
    return nullptr;
}

ParentProjectPrivate *rootOf(ParentProject::BasePath const *node)
{
    while (node && node->parent())
        node = node->parent();
    return dynamic_cast<ParentProjectPrivate *>(const_cast<ParentProject::BasePath *>(node));
}

void acquire(Archive &archive)
{
    if (&archive != &FileSystemArchive::instance())
        archive.addRef();
}

} // namespace

// --- Path and its kinds ----------------------------------------------------

ParentProject::Path::~Path() = default;

ParentProject::BasePath::BasePath(BasePath *parent, QString const &name)
    : m_parent(parent), m_name(name)
{}

ParentProject::BasePath::~BasePath()
{
    qDeleteAll(m_children);
}

QString ParentProject::BasePath::fullPath() const
{
    if (!m_parent)
        return m_name;
    return m_parent->fullPath() + m_name + (isDirectory() ? QStringLiteral("/") : QString());
}

QString ParentProject::BasePath::name() const
{
    return m_name;
}

Archive *ParentProject::BasePath::archive() const
{
    return m_parent ? m_parent->archive() : nullptr;
}

void ParentProject::BasePath::syncChildren(QList<PathInfo> const &children)
{
    if (ParentProjectPrivate *root = rootOf(this))
        root->sync(this, children);
}

QFileSystemWatcher *ParentProject::BasePath::watcher() const
{
    return m_parent ? m_parent->watcher() : nullptr;
}

QString ParentProject::BasePath::relativePath() const
{
    BasePath const *root = this;
    while (root->m_parent)
        root = root->m_parent;
    return fullPath().mid(root->m_name.length());
}

ParentProject::BasePath *ParentProject::BasePath::parent() const
{
    return m_parent;
}

QList<ParentProject::BasePath *> const &ParentProject::BasePath::children() const
{
    return m_children;
}

int ParentProject::BasePath::row() const
{
    return m_parent ? static_cast<int>(m_parent->m_children.indexOf(const_cast<BasePath *>(this)))
                    : -1;
}

ParentProject::DirectoryPath::DirectoryPath(BasePath *parent, QString const &name, int flags,
                                            QStringList const &filters)
    : BasePath(parent, name), m_flags(flags), m_filters(filters)
{}

ParentProject::DirectoryPath::~DirectoryPath()
{
    if (!m_watched.isEmpty()) {
        if (QFileSystemWatcher *paths = watcher())
            paths->removePath(m_watched);
    }
}

bool ParentProject::DirectoryPath::isDirectory() const
{
    return true;
}

bool ParentProject::DirectoryPath::isProject() const
{
    auto const *directory = dynamic_cast<DirectoryPath const *>(m_parent);
    return directory && (directory->m_flags & ProjectDirectories);
}

bool ParentProject::DirectoryPath::isFile() const
{
    return false;
}

int ParentProject::DirectoryPath::fileType() const
{
    return isProject() ? 0 : -1;
}

int ParentProject::DirectoryPath::flags() const
{
    return m_flags;
}

QStringList const &ParentProject::DirectoryPath::filters() const
{
    return m_filters;
}

void ParentProject::DirectoryPath::startWatch()
{
    if (!m_flags)
        return;
    if (archive() == &FileSystemArchive::instance() && m_watched.isEmpty()) {
        QFileSystemWatcher *paths = watcher();
        QString const path = fullPath();
        if (paths && paths->addPath(path))
            m_watched = path;
    }
    scan();
}

void ParentProject::DirectoryPath::scan()
{
    Archive *store = archive();
    if (!m_flags || !store)
        return;
    QList<PathInfo> found;
    QString const path = fullPath();
    if (m_flags & ProjectDirectories) {
        QStringList const names = store->entries(
            path, QDir::Dirs | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot,
            QDir::Name);
        for (QString const &name : names) {
            PathInfo info;
            info.kind = PathInfo::Directory;
            info.name = name;
            found.append(info);
        }
    }
    if (m_flags & ProjectFiles) {
        QStringList const names = store->entries(
            path, m_filters, QDir::Files | QDir::NoSymLinks | QDir::Readable, QDir::Name);
        for (QString const &name : names) {
            PathInfo info;
            info.kind = PathInfo::Dummy;
            info.name = name;
            found.append(info);
        }
    }
    if (ParentProjectPrivate *root = rootOf(this))
        root->owner->mergeOpenProjects(this, found);
    syncChildren(found);
}

ParentProject::FilePath::FilePath(BasePath *parent, QString const &name, int fileType)
    : BasePath(parent, name), m_fileType(fileType)
{}

bool ParentProject::FilePath::isDirectory() const
{
    return false;
}

bool ParentProject::FilePath::isProject() const
{
    return m_fileType == 0;
}

bool ParentProject::FilePath::isFile() const
{
    return true;
}

int ParentProject::FilePath::fileType() const
{
    return m_fileType;
}

QString ParentProject::DummyPath::fullPath() const
{
    return m_parent ? m_parent->fullPath() + m_name : m_name;
}

bool ParentProject::DummyPath::isDirectory() const
{
    return false;
}

bool ParentProject::DummyPath::isProject() const
{
    auto const *directory = dynamic_cast<DirectoryPath const *>(m_parent);
    return directory && (directory->flags() & ProjectFiles);
}

bool ParentProject::DummyPath::isFile() const
{
    return false;
}

int ParentProject::DummyPath::fileType() const
{
    return isProject() ? 0 : -1;
}

// --- The root ----------------------------------------------------------------

ParentProjectPrivate::ParentProjectPrivate(ParentProject *owner, QString const &basePath,
                                           Archive &archive)
    : DirectoryPath(nullptr, basePath, 0, QStringList()), m_archive(&archive), owner(owner)
{
    acquire(archive);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this,
            &ParentProjectPrivate::directoryChanged);
}

ParentProjectPrivate::~ParentProjectPrivate()
{
    // The children go while the watcher they leave is still there.
    qDeleteAll(m_children);
    m_children.clear();
    m_archive->release();
}

Archive *ParentProjectPrivate::archive() const
{
    return m_archive;
}

QFileSystemWatcher *ParentProjectPrivate::watcher() const
{
    return &m_watcher;
}

QModelIndex ParentProjectPrivate::indexOf(ParentProject::BasePath const *node) const
{
    if (!node || !node->parent())
        return QModelIndex();
    return owner->createIndex(node->row(), 0, const_cast<ParentProject::BasePath *>(node));
}

void ParentProjectPrivate::setName(QString const &name)
{
    m_name = name;
}

void ParentProjectPrivate::forgetNodes(ParentProject::BasePath const *node)
{
    for (auto it = projects.begin(); it != projects.end(); ++it) {
        for (auto const *up = static_cast<ParentProject::BasePath const *>(it.value()); up;
             up = up->parent()) {
            if (up == node) {
                it.value() = nullptr;
                break;
            }
        }
    }
}

void ParentProjectPrivate::removeNode(ParentProject::BasePath *node)
{
    ParentProject::BasePath *parent = node ? node->parent() : nullptr;
    if (!parent)
        return;
    int const row = node->row();
    forgetNodes(node);
    owner->beginRemoveRows(indexOf(parent), row, row);
    parent->m_children.removeAt(row);
    owner->endRemoveRows();
    delete node;
}

void ParentProjectPrivate::appendNode(ParentProject::BasePath *node, ParentProject::BasePath *child)
{
    int const row = static_cast<int>(node->m_children.size());
    owner->beginInsertRows(indexOf(node), row, row);
    node->m_children.append(child);
    owner->endInsertRows();
}

void ParentProjectPrivate::sync(ParentProject::BasePath *node,
                                QList<ParentProject::PathInfo> const &records)
{
    // Nodes that no record names go first, from the back.
    for (int i = static_cast<int>(node->m_children.size()) - 1; i >= 0; --i) {
        ParentProject::BasePath *child = node->m_children.at(i);
        bool wanted = false;
        for (ParentProject::PathInfo const &record : records) {
            if (matches(child, record)) {
                wanted = true;
                break;
            }
        }
        if (!wanted)
            removeNode(child);
    }

    // Then the records in their order: kept nodes move into place, new ones
    // are made. A record with children (a project's file tree) is followed
    // down; a scanned one leaves what lies below a kept node alone.
    QModelIndex const parentIndex = indexOf(node);
    for (int i = 0; i < records.size(); ++i) {
        ParentProject::PathInfo const &record = records.at(i);
        ParentProject::BasePath *child = nullptr;
        for (int j = i; j < node->m_children.size(); ++j) {
            if (matches(node->m_children.at(j), record)) {
                child = node->m_children.at(j);
                if (j != i) {
                    owner->beginMoveRows(parentIndex, j, j, parentIndex, i);
                    node->m_children.move(j, i);
                    owner->endMoveRows();
                }
                break;
            }
        }
        if (!child) {
            ParentProject::DirectoryPath *directory = nullptr;
            if (record.kind == ParentProject::PathInfo::Directory)
                child = directory = new ParentProject::DirectoryPath(node, record.name,
                                                                     record.flags, record.filters);
            else if (record.kind == ParentProject::PathInfo::File)
                child = new ParentProject::FilePath(node, record.name, record.fileType);
            else
                child = new ParentProject::DummyPath(node, record.name);
            int const row = qMin(i, static_cast<int>(node->m_children.size()));
            owner->beginInsertRows(parentIndex, row, row);
            node->m_children.insert(row, child);
            owner->endInsertRows();
            if (directory)
                directory->startWatch();
        }
        if (!record.children.isEmpty())
            sync(child, record.children);
    }
}

void ParentProjectPrivate::directoryChanged(QString const &path)
{
    QString key = path;
    if (!key.endsWith(QLatin1Char('/')))
        key += QLatin1Char('/');
    ParentProject::Path *node = owner->filePath(key);
    if (!node && QFileInfo(path).absoluteFilePath() + QLatin1Char('/') != key)
        node = owner->filePath(QFileInfo(path).absoluteFilePath() + QLatin1Char('/'));
    if (auto *directory = dynamic_cast<ParentProject::DirectoryPath *>(node))
        directory->scan();
}

// --- ParentProject -----------------------------------------------------------

ParentProject::ParentProject(QString const &basePath, Archive &archive)
    : d(new ParentProjectPrivate(this, basePath, archive))
{}

ParentProject::~ParentProject()
{
    if (!d->m_children.isEmpty()) {
        beginRemoveRows(QModelIndex(), 0, static_cast<int>(d->m_children.size()) - 1);
        QList<BasePath *> const children = d->m_children;
        d->m_children.clear();
        endRemoveRows();
        qDeleteAll(children);
    }
    delete d;
}

QString ParentProject::outputString(QProcess *process)
{
    return process ? QString::fromLocal8Bit(process->readAllStandardOutput()) : QString();
}

QIcon ParentProject::fileIcon(int) const
{
    return QIcon();
}

unsigned int ParentProject::refCount() const
{
    return d->refCount;
}

ParentProject::Path *ParentProject::itemPath(QModelIndex const &index) const
{
    if (!index.isValid())
        return d;
    return static_cast<BasePath *>(index.internalPointer());
}

QString ParentProject::basePath() const
{
    return d->fullPath();
}

Archive &ParentProject::archive() const
{
    return *d->m_archive;
}

QList<Project *> ParentProject::openedProjects() const
{
    return d->projectOrder;
}

// Model

QModelIndex ParentProject::index(int row, int column, QModelIndex const &parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    auto const *node = static_cast<BasePath const *>(itemPath(parent));
    return createIndex(row, column, node->children().at(row));
}

QModelIndex ParentProject::parent(QModelIndex const &child) const
{
    if (!child.isValid())
        return QModelIndex();
    BasePath const *up = static_cast<BasePath *>(child.internalPointer())->parent();
    return d->indexOf(up);
}

int ParentProject::rowCount(QModelIndex const &parent) const
{
    if (parent.column() > 0)
        return 0;
    return static_cast<int>(static_cast<BasePath const *>(itemPath(parent))->children().size());
}

int ParentProject::columnCount(QModelIndex const &) const
{
    return 1;
}

bool ParentProject::hasChildren(QModelIndex const &parent) const
{
    return rowCount(parent) > 0;
}

QVariant ParentProject::data(QModelIndex const &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    Path const *node = itemPath(index);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return node->name();
    case Qt::DecorationRole: {
        Interface *host = Interface::instance();
        if (!host)
            return QIcon();
        if (!node->isFile())
            return host->icon(QStringLiteral("icon_folder"));
        QIcon const own = fileIcon(node->fileType());
        if (!own.isNull())
            return own;
        switch (node->fileType()) {
        case Project::Main:
        case Project::Scripts:
            return host->icon(QStringLiteral("icon_code"));
        case Project::Sprites:
            return host->icon(QStringLiteral("icon_sprite"));
        case Project::Sounds:
            return host->icon(QStringLiteral("icon_sound"));
        case Project::Animations:
            return host->icon(QStringLiteral("icon_animation"));
        default:
            return host->icon(QStringLiteral("icon_file"));
        }
    }
    default:
        return QVariant();
    }
}

// Tree

ParentProject::Path *ParentProject::addPath(QString const &path, int flags,
                                            QStringList const &filters)
{
    QStringList const names = components(path);
    if (names.isEmpty())
        return nullptr;
    BasePath *node = d;
    for (QString const &name : names) {
        BasePath *child = childNamed(node, name);
        if (!child) {
            auto *directory = new DirectoryPath(node, name, flags, filters);
            d->appendNode(node, directory);
            directory->startWatch();
            child = directory;
        }
        node = child;
    }
    return node;
}

void ParentProject::removePath(QString const &path)
{
    QString rest = path;
    QString const root = d->name();
    if (!root.isEmpty() && rest.startsWith(root) &&
        (root.endsWith(QLatin1Char('/')) || rest.mid(root.length(), 1) == QLatin1String("/")))
        rest = rest.mid(root.length());
    QStringList const names = components(rest);
    if (names.isEmpty())
        return;
    BasePath *node = d;
    for (QString const &name : names) {
        node = childNamed(node, name);
        if (!node)
            return;
    }
    d->removeNode(node);
}

ParentProject::Path *ParentProject::filePath(QString const &path) const
{
    QString const base = basePath();
    if (!path.startsWith(base))
        return nullptr;
    BasePath *node = d;
    for (QString const &name : components(path.mid(base.length()))) {
        node = childNamed(node, name);
        if (!node)
            return nullptr;
    }
    return node;
}

ParentProject::Path *ParentProject::projectForFile(Path const *path) const
{
    auto const *node = static_cast<BasePath const *>(path);
    while (node && !node->isProject())
        node = node->parent();
    if (!node) {
        for (Project *project : std::as_const(d->projectOrder)) {
            node = static_cast<BasePath const *>(d->projects.value(project));
            break;
        }
    }
    if (!node)
        return nullptr;
    for (BasePath *child : node->children()) {
        if (child->isProject())
            return child;
    }
    return const_cast<BasePath *>(node);
}

bool ParentProject::isGame() const
{
    Engine *game = engine();
    return game &&
        d->m_archive->fileExists(basePath() + game->queryString(Engine::GameMarkerFile, 0));
}

// Projects

void ParentProject::addRef(Project *project)
{
    if (!project)
        return;
    if (!d->projects.contains(project)) {
        ++d->refCount;
        d->projectOrder.append(project);
        QString const fileName = project->fileName();
        Archive &store = project->mainFile() ? project->mainFile()->archive() : project->archive();
        QString const directory = store.absoluteFilePath(fileName);
        QString const root = d->name();
        QString const trimmedRoot = root.endsWith(QLatin1Char('/')) ? root.chopped(1) : root;
        Path *node = d;
        if (!fileName.isEmpty() && directory != root && directory != trimmedRoot) {
            QString const inside =
                directory.startsWith(root) ? directory.mid(root.length()) : directory;
            // A folder that the tree already had, such as a scanned folder of
            // projects, is not the project's own and outlives it.
            BasePath const *existing = d;
            for (QString const &name : components(inside)) {
                existing = childNamed(existing, name);
                if (!existing)
                    break;
            }
            if (Path *made = addPath(inside, 0)) {
                node = made;
                if (!existing)
                    d->ownNodes.insert(project);
            }
        }
        d->projects.insert(project, node);
    }
    rebuildProject(project);
}

void ParentProject::mergeProject(Project *project, QList<PathInfo> &tree) const
{
    QList<Project::FileEntry> list;
    project->fileList(list);
    QString const fileName = project->fileName();
    if (!fileName.isEmpty())
        list.prepend(Project::FileEntry(Project::Main, QFileInfo(fileName).fileName()));

    // Entries are paths relative to the project; several merge into one tree.
    // At the top a name that is there already, of whatever kind, stays as it
    // is: a scanned project file keeps its place beside the files it names.
    for (Project::FileEntry const &entry : std::as_const(list)) {
        QStringList const names = components(entry.second);
        QList<PathInfo> *level = &tree;
        for (int i = 0; i < names.size(); ++i) {
            bool const last = i == names.size() - 1;
            int const kind = last ? PathInfo::File : PathInfo::Directory;
            PathInfo *found = nullptr;
            bool taken = false;
            for (PathInfo &record : *level) {
                if (record.name != names.at(i))
                    continue;
                if (record.kind == kind) {
                    found = &record;
                    break;
                }
                taken = level == &tree;
            }
            if (!found && taken)
                break;
            if (!found) {
                PathInfo record;
                record.kind = kind;
                record.name = names.at(i);
                record.fileType = last ? entry.first : -1;
                level->append(record);
                found = &level->last();
            }
            level = &found->children;
        }
    }
}

void ParentProject::mergeOpenProjects(Path const *node, QList<PathInfo> &tree) const
{
    for (Project *project : std::as_const(d->projectOrder)) {
        if (d->projects.value(project) == node)
            mergeProject(project, tree);
    }
}

void ParentProject::resyncNode(Path *node)
{
    // A scanned folder lists its projects again, with the open ones' files;
    // any other shows what the projects still open on it hold.
    auto *directory = dynamic_cast<DirectoryPath *>(node);
    if (directory && directory->flags()) {
        directory->scan();
        return;
    }
    QList<PathInfo> tree;
    mergeOpenProjects(node, tree);
    node->syncChildren(tree);
}

void ParentProject::rebuildProject(Project *project)
{
    Path *node = d->projects.value(project);
    if (!node)
        return;
    bool shared = false;
    for (auto it = d->projects.constBegin(); it != d->projects.constEnd(); ++it)
        shared = shared || (it.key() != project && it.value() == node);
    auto *directory = dynamic_cast<DirectoryPath *>(node);
    if (shared || (directory && directory->flags())) {
        resyncNode(node);
        return;
    }
    QList<PathInfo> tree;
    mergeProject(project, tree);
    node->syncChildren(tree);
}

void ParentProject::forgetProject(Project *project)
{
    if (!d->projects.contains(project))
        return;
    for (ProjectFile *file : project->files())
        Q_EMIT fileClosed(file);
    auto *node = static_cast<BasePath *>(d->projects.value(project));
    bool const own = d->ownNodes.contains(project);
    d->projects.remove(project);
    d->projectOrder.removeOne(project);
    d->ownNodes.remove(project);
    bool shared = false;
    for (Path *other : std::as_const(d->projects))
        shared = shared || other == node;
    // The folders made for the project go with it; a folder that was there
    // before, or that another open project stands on, stays without its files.
    if (node && node != d) {
        if (own && !shared)
            d->removeNode(node);
        else
            resyncNode(node);
    }
    if (--d->refCount == 0)
        dispose(); // may end this object
}

// Whole-project operations

void ParentProject::save(ProgressProvider *provider)
{
    ProgressJob *outer = provider ? provider->newJob(QStringLiteral("Saving..."), 0) : nullptr;
    QList<Project *> const projects = d->projectOrder;
    if (outer)
        outer->setMaximum(static_cast<unsigned int>(projects.size()));
    Interface *host = Interface::instance();
    for (Project *project : projects) {
        QMap<ProjectFile *, Project::FileTypes> const files = project->filesWithIDs();
        for (auto it = files.constBegin(); it != files.constEnd(); ++it) {
            ProjectFile *file = it.key();
            if (!file->isModified() || !file->canSave())
                continue;
            Archive &store = file->archive();
            QString const name = file->fileName();
            bool const writable = store.fileExists(name) && store.isWritable(name);
            if (!writable && host) {
                int type = -1;
                for (int bit = 0; bit < 32; ++bit) {
                    if (it.value() & (Project::FileTypes(1) << bit)) {
                        type = bit;
                        break;
                    }
                }
                // A file that cannot be written in place goes where the user says.
                if (FileEditor *editor = host->editorForFile(file, type))
                    FileEditor::saveFileAs(file, editor, host);
            }
            if (writable) {
                unsigned int flags = 0;
                ProgressJob *job = nullptr;
                if (file->capabilities() & ProjectFile::AsyncSave) {
                    flags = ProjectFile::Background;
                    if (provider) {
                        job = provider->newJob(
                            QStringLiteral("Saving") + QLatin1Char(' ') + file->displayName(), 0);
                        if (job)
                            job->setDetached(1);
                    }
                }
                file->toFile(store, name, flags, job);
            }
        }
        if (outer)
            outer->incrementValue();
    }
}

void ParentProject::saveAs(QString const &path, JobStats *job)
{
    FileSystemArchive &fileSystem = FileSystemArchive::instance();
    QList<Project *> const projects = d->projectOrder;
    bool const keepSlash = d->name().endsWith(QLatin1Char('/'));

    if (projects.size() == 1 && !isGame()) {
        Project *project = projects.first();
        QString const directory = fileSystem.absoluteFilePath(path);
        project->saveAll(fileSystem, directory + QLatin1Char('/'), false, nullptr);
        if (ProjectFile *main = project->mainFile())
            main->toFile(fileSystem, path, 0, nullptr);
        d->setName(keepSlash ? directory + QLatin1Char('/') : directory);
        rebuildProject(project);
        return;
    }

    QString target = path;
    if (!target.endsWith(QLatin1Char('/')))
        target += QLatin1Char('/');

    // The files of projects that are not open are copied as they are.
    QList<Path *> openNodes;
    for (Project *project : projects)
        openNodes.append(d->projects.value(project));
    QStringList pending;
    std::function<void(BasePath *)> walk = [&](BasePath *node) {
        for (BasePath *child : node->children()) {
            if (!child->isProject())
                walk(child);
            else if (!openNodes.contains(child))
                projectFiles(child->relativePath(), pending);
        }
    };
    walk(d);

    if (job)
        job->setMaximum(static_cast<unsigned int>(pending.size() + projects.size()));
    QString const base = basePath();
    for (QString const &entry : std::as_const(pending)) {
        copyFile(*d->m_archive, base + entry, fileSystem, target + entry);
        if (job)
            job->incrementValue();
    }
    for (Project *project : projects) {
        project->saveAll(fileSystem, target, false, nullptr);
        ProjectFile *main = project->mainFile();
        if (main && main->canSave()) {
            QString const projectBase = project->basePath();
            QString const mainPath = target + projectBase +
                (projectBase.isEmpty() ? QString() : QStringLiteral("/")) +
                QFileInfo(main->fileName()).fileName();
            main->toFile(fileSystem, mainPath, 0, nullptr);
        }
        if (job)
            job->incrementValue();
    }
    d->setName(target);
    for (Project *project : projects)
        rebuildProject(project);
}

QString ParentProject::backupPath(QString const &name) const
{
    QString base =
        d->m_archive != &FileSystemArchive::instance() ? d->m_archive->path() : d->fullPath();
    if (!base.isEmpty() && !base.endsWith(QLatin1Char('/')))
        base += QLatin1Char('/');
    return base + QStringLiteral("backup/") +
        QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy_h.m.s_ap_")) + name;
}

bool ParentProject::backup(QString const &name, JobStats *job)
{
    QString path = backupPath(name);
    QString const treePath = path;
    Archive *target = nullptr;
    QList<Extension *> const formats = ExtensionManager::list(Extension::ArchiveFormat);
    for (Extension *extension : formats) {
        if (std::strcmp(extension->format(), "ZIP") != 0)
            continue;
        Archive *made =
            static_cast<ArchiveExtension *>(extension)->create(path + QStringLiteral(".zip"), 0);
        path.clear(); // names inside an archive are relative
        if (made) {
            if (target)
                target->release();
            target = made;
        }
    }
    if (!target) {
        // Without a ZIP format the backup is a plain tree on disk.
        target = &FileSystemArchive::instance();
        path = treePath;
    }

    QList<Project *> const projects = d->projectOrder;
    if (job)
        job->setMaximum(static_cast<unsigned int>(projects.size()));
    for (Project *project : projects) {
        project->saveAll(*target, path, true, nullptr);
        if (job)
            job->incrementValue();
    }
    target->release();
    return true;
}

bool ParentProject::restoreBackup(QString const &name, JobStats *job)
{
    Archive &projectArchive = *d->m_archive;
    if (&projectArchive != &FileSystemArchive::instance() && projectArchive.isReadOnly())
        return false;

    QString source = QFileInfo(backupPath(QString())).path() + name;
    Archive *backupArchive = nullptr;
    if (FileSystemArchive::instance().fileExists(source + QStringLiteral(".zip"))) {
        QString const zip = source + QStringLiteral(".zip");
        QList<Extension *> const formats = ExtensionManager::list(Extension::ArchiveFormat);
        for (Extension *extension : formats) {
            if (std::strcmp(extension->format(), "ZIP") != 0)
                continue;
            if (Archive *made = static_cast<ArchiveExtension *>(extension)->create(zip, 1)) {
                if (backupArchive)
                    backupArchive->release();
                backupArchive = made;
            }
        }
        if (backupArchive)
            source.clear();
    }
    if (!backupArchive)
        backupArchive = &FileSystemArchive::instance();

    QList<Project *> const projects = d->projectOrder;
    QList<FileWatchObject *> paused;
    for (Project *project : projects) {
        for (ProjectFile *file : project->files()) {
            if (auto *watched = dynamic_cast<FileWatchObject *>(file)) {
                watched->pauseWatch(true);
                paused.append(watched);
            }
        }
    }

    QStringList listing;
    std::function<void(QString const &)> walk = [&](QString const &directory) {
        QStringList const names = backupArchive->entries(
            directory,
            QDir::Dirs | QDir::Files | QDir::NoSymLinks | QDir::Readable | QDir::NoDotAndDotDot,
            QDir::Name);
        for (QString const &entry : names) {
            QString full = directory;
            if (!full.isEmpty() && !full.endsWith(QLatin1Char('/')))
                full += QLatin1Char('/');
            full += entry;
            // On disk a folder "exists" as a file too, so folders are told
            // apart first; inside an archive only files do.
            if (backupArchive->directoryExists(full))
                walk(full + QLatin1Char('/'));
            else if (backupArchive->fileExists(full))
                listing.append(full);
        }
    };
    walk(source);

    if (job)
        job->setMaximum(static_cast<unsigned int>(listing.size() + projects.size()));
    QString const base = basePath();
    for (QString const &entry : std::as_const(listing)) {
        copyFile(*backupArchive, entry, projectArchive, base + entry.mid(source.length()));
        if (job)
            job->incrementValue();
    }
    for (Project *project : projects) {
        project->reload();
        if (job)
            job->incrementValue();
    }
    for (FileWatchObject *watched : std::as_const(paused))
        watched->pauseWatch(false);
    backupArchive->release();

    if (Interface *host = Interface::instance())
        host->refreshAll();
    return true;
}

} // namespace Kenro
