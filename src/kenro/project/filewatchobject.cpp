#include <kenro/project/filewatchobject.h>

#include <kenro/editors/interface/interface.h>
#include <kenro/project/filesystemarchive.h>

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QFileSystemWatcher>
#include <QMap>
#include <QMessageBox>

namespace Kenro {

namespace {

// The one watcher of the process, made with the first watched object and
// deleted with the last.
class FileWatcherManager : public QObject
{
public:
    struct Entry
    {
        QList<FileWatchObject *> objects;
        bool busy = false;
    };

    FileWatcherManager()
    {
        connect(&watcher, &QFileSystemWatcher::fileChanged, this, &FileWatcherManager::fileChanged);
    }

    void remove(FileWatchObject *object, QString const &name)
    {
        auto entry = entries.find(name);
        if (entry == entries.end() || !entry->objects.removeOne(object))
            return;
        if (entry->objects.isEmpty()) {
            entries.erase(entry);
            watcher.removePath(name);
        }
    }

    void add(FileWatchObject *object, QString const &name)
    {
        Entry &entry = entries[name];
        if (entry.objects.isEmpty() || !watcher.files().contains(name)) {
            if (QFile::exists(name))
                watcher.addPath(name);
        }
        if (!entry.objects.contains(object))
            entry.objects.append(object);
    }

    void removeEverywhere(FileWatchObject *object)
    {
        for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
            if (entry->objects.removeOne(object)) {
                if (entry->objects.isEmpty()) {
                    watcher.removePath(entry.key());
                    entries.erase(entry);
                }
                return;
            }
        }
    }

    void fileChanged(QString const &path)
    {
        qDebug() << "File modified:" << path;
        auto entry = entries.find(path);
        if (entry == entries.end())
            return;
        // Some editors replace a file instead of writing it: watch the new one.
        if (QFile::exists(path) && !watcher.files().contains(path))
            watcher.addPath(path);
        Interface *host = Interface::instance();
        bool const enabled =
            !host || host->option(QStringLiteral("enable_file_watcher"), true).toBool();
        if (!QFile::exists(path) || !enabled || entry->busy)
            return;
        QList<FileWatchObject *> collected;
        for (FileWatchObject *object : std::as_const(entry->objects)) {
            if (object->isWatchPaused())
                object->pauseWatch(false); // the notice of its own save
            else
                collected.append(object);
        }
        if (collected.isEmpty())
            return;
        entry->busy = true;
        QMessageBox::StandardButton const answer = QMessageBox::question(
            host ? host->mainWindow() : nullptr,
            QCoreApplication::translate("FileWatchObject", "File modified"),
            QCoreApplication::translate("FileWatchObject",
                                        "The file '%1' has been modified. Do you want to reload "
                                        "all other instances of this file now?")
                .arg(path),
            QMessageBox::Yes | QMessageBox::No);
        // Objects may have gone while the box was open.
        entry = entries.find(path);
        if (answer == QMessageBox::Yes && entry != entries.end()) {
            for (FileWatchObject *object : std::as_const(collected)) {
                if (entry->objects.contains(object))
                    object->reload();
            }
        }
        entry = entries.find(path);
        if (entry != entries.end())
            entry->busy = false;
    }

    QFileSystemWatcher watcher;
    QMap<QString, Entry> entries;
};

FileWatcherManager *manager = nullptr;
int instances = 0;

} // namespace

FileWatchObject::FileWatchObject()
{
    if (instances++ == 0)
        manager = new FileWatcherManager;
}

FileWatchObject::~FileWatchObject()
{
    manager->removeEverywhere(this);
    if (--instances == 0) {
        delete manager;
        manager = nullptr;
    }
}

void FileWatchObject::pauseWatch(bool pause)
{
    m_paused = pause;
}

bool FileWatchObject::isWatchPaused() const
{
    return m_paused;
}

void FileWatchObject::watch(Archive &archive, QString const &name, bool copy)
{
    if (copy || &archive != &FileSystemArchive::instance())
        return;
    QString const old = fileName();
    if (name == old && manager->watcher.files().contains(name))
        return;
    manager->remove(this, old);
    if (!name.isEmpty())
        manager->add(this, name);
}

void FileWatchObject::fileLoaded(Archive &archive, QString const &name, bool copy)
{
    watch(archive, name, copy);
}

void FileWatchObject::fileSaved(Archive &archive, QString const &name, bool copy)
{
    watch(archive, name, copy);
    if (!copy && &archive == &FileSystemArchive::instance() && !name.isEmpty())
        m_paused = true;
}

QStringList FileWatchObject::watchedFiles()
{
    return manager ? manager->watcher.files() : QStringList();
}

} // namespace Kenro
