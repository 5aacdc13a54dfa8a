#pragma once

#include <kenro/code/itemmodel.h>
#include <kenro/project/projectfile.h>

#include <QIcon>
#include <QList>
#include <QString>
#include <QStringList>

class QFileSystemWatcher;
class QProcess;

namespace Kenro {

class Archive;
class Engine;
class JobStats;
class ParentProjectPrivate;
class ProgressProvider;
class Project;

/**
 * What the user opens: a root directory or archive holding many projects,
 * a whole game or a lone object. It is a tree of paths that mirrors the part
 * of the disk that matters, for the host's project panel, and it owns the
 * operations on all projects at once: save, save as, backup and restore.
 *
 * An engine derives its own: it adds the directories whose subdirectories or
 * files are projects with addPath(), and makes the projects on demand. The
 * root ends itself through dispose() when its last open project is released.
 */
class KENRO_EXPORT ParentProject : public TreeModel
{
    Q_OBJECT

public:
    /// Flags of a directory added with addPath().
    enum PathType : int {
        /// Each subdirectory is a project.
        ProjectDirectories = 1,
        /// Each file that passes the name filters is a project.
        ProjectFiles = 2,
    };

    /// What the tree is synchronised from: two records match when kind and name do.
    struct PathInfo
    {
        enum Kind : int { Directory = 0, Dummy = 1, File = 2 };
        int kind = Directory;
        QString name;
        int fileType = -1;
        int flags = 0;
        QStringList filters;
        QList<PathInfo> children;
    };

    /// A node of the tree.
    class KENRO_EXPORT Path
    {
    public:
        virtual ~Path();
        /// The parent's full path, the name, and "/" for a directory; the root gives its name.
        virtual QString fullPath() const = 0;
        virtual QString name() const = 0;
        virtual bool isDirectory() const = 0;
        /// True when the node stands for one project.
        virtual bool isProject() const = 0;
        virtual bool isFile() const = 0;
        /// -1 for what is no project, 0 for what is one; a file gives its own type.
        virtual int fileType() const = 0;
        /// The archive of the tree, which the root holds.
        virtual Archive *archive() const = 0;
        /// Makes the children of this node match \a children.
        virtual void syncChildren(QList<PathInfo> const &children) = 0;
        /// The watcher of the tree, which the root holds.
        virtual QFileSystemWatcher *watcher() const = 0;
    };

    /// What the nodes share: their children, parent and name.
    class KENRO_EXPORT BasePath : public Path
    {
    public:
        BasePath(BasePath *parent, QString const &name);
        ~BasePath() override;

        QString fullPath() const override;
        QString name() const override;
        Archive *archive() const override;
        void syncChildren(QList<PathInfo> const &children) override;
        QFileSystemWatcher *watcher() const override;

        /// fullPath() without the root's name.
        QString relativePath() const;
        BasePath *parent() const;
        QList<BasePath *> const &children() const;
        /// The row of this node under its parent; -1 for the root.
        int row() const;

    protected:
        friend class ParentProject;
        friend class ParentProjectPrivate;
        QList<BasePath *> m_children; // owned
        BasePath *m_parent;
        QString m_name;
    };

    /// A directory; with flags it is watched and scanned for projects.
    class KENRO_EXPORT DirectoryPath : public BasePath
    {
    public:
        DirectoryPath(BasePath *parent, QString const &name, int flags, QStringList const &filters);
        /// Takes the directory back from the watcher.
        ~DirectoryPath() override;

        bool isDirectory() const override;
        bool isProject() const override;
        bool isFile() const override;
        int fileType() const override;

        int flags() const;
        QStringList const &filters() const;
        /// Watches the directory when it has flags and lies on the file system,
        /// then lists its projects.
        void startWatch();
        /// Lists the projects in the directory again.
        void scan();

    private:
        int m_flags;
        QStringList m_filters;
        QString m_watched; // the path given to the watcher
    };

    /// A file of a project.
    class KENRO_EXPORT FilePath : public BasePath
    {
    public:
        FilePath(BasePath *parent, QString const &name, int fileType);
        bool isDirectory() const override;
        bool isProject() const override;
        bool isFile() const override;
        int fileType() const override;

    private:
        int m_fileType;
    };

    /// A file that is a project of its own, under a directory with ProjectFiles.
    class KENRO_EXPORT DummyPath : public BasePath
    {
    public:
        using BasePath::BasePath;
        QString fullPath() const override;
        bool isDirectory() const override;
        bool isProject() const override;
        bool isFile() const override;
        int fileType() const override;
    };

    /// A root at \a basePath in \a archive, holding one reference on it.
    ParentProject(QString const &basePath, Archive &archive);
    /// Drops every row at once, releases the archive and stops watching.
    ~ParentProject() override;

    /// The engine whose projects these are.
    virtual Engine *engine() const = 0;
    /// Opens the project that \a path stands for. Only hosts call it.
    virtual Project *openProject(Path const *path) = 0;
    /// The whole standard output of \a process.
    virtual QString outputString(QProcess *process);

    /// The number of open projects.
    unsigned int refCount() const;
    /// The node of \a index; the root for an invalid index.
    Path *itemPath(QModelIndex const &index) const;
    /// The root directory of all projects: the root's full path.
    QString basePath() const;
    Archive &archive() const;
    /// The node at \a path, which starts with basePath(); null when there is none.
    Path *filePath(QString const &path) const;
    /// The project node that holds \a path, or the first open project's.
    Path *projectForFile(Path const *path) const;
    /// True when the root is a whole game rather than a lone object.
    bool isGame() const;
    QList<Project *> openedProjects() const;

    /// Saves every modified file of every open project.
    void save(ProgressProvider *provider);
    /// Writes a complete copy to \a path on disk: a file path for a lone
    /// project, a directory for a game. The root then lies there.
    void saveAs(QString const &path, JobStats *job);
    /// Copies every open project under the backup folder, into a ZIP when an
    /// extension offers the format. Always true.
    bool backup(QString const &name, JobStats *job);
    /// Copies a backup made by backup() back over the projects and reloads
    /// them; \a name starts with "/". False when the archive is read-only.
    bool restoreBackup(QString const &name, JobStats *job);
    /// Where a backup named \a name goes: "backup/" and the date under the
    /// archive's path or the root.
    QString backupPath(QString const &name) const;

    QModelIndex index(int row, int column,
                      QModelIndex const &parent = QModelIndex()) const override;
    QModelIndex parent(QModelIndex const &child) const override;
    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    int columnCount(QModelIndex const &parent = QModelIndex()) const override;
    bool hasChildren(QModelIndex const &parent = QModelIndex()) const override;
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void fileAdded(Kenro::ProjectFile *file);
    void fileClosed(Kenro::ProjectFile *file);
    void fileOpened(Kenro::ProjectFile *file);
    void fileSaved(Kenro::ProjectFile *file);

protected:
    /// The icon of files of \a fileType; null for the library's own.
    virtual QIcon fileIcon(int fileType) const;
    /// Appends the files of the project at \a relativePath, which is not
    /// open, as paths relative to the root.
    virtual void projectFiles(QString const &relativePath, QStringList &files) = 0;
    /// Called when the last open project has left: the root ends itself.
    virtual void dispose() = 0;

    /// Walks or makes the directories of \a path below the root; new ones get
    /// \a flags and \a filters. The last node, or null for an empty path.
    Path *addPath(QString const &path, int flags, QStringList const &filters = QStringList());
    /// Removes the node at \a path and all below it.
    void removePath(QString const &path);
    /// Counts \a project among the open ones and places it in the tree.
    void addRef(Project *project);

private:
    friend class Project;
    friend class ParentProjectPrivate;
    // Called when a project is released: its files are closed, its node
    // leaves the tree and it leaves the count.
    void forgetProject(Project *project);
    // Rebuilds the files below the node of \a project from its file list.
    void rebuildProject(Project *project);
    // Adds the files of \a project to \a tree, below its node.
    void mergeProject(Project *project, QList<PathInfo> &tree) const;
    // Adds the files of every open project whose node is \a node to \a tree.
    void mergeOpenProjects(Path const *node, QList<PathInfo> &tree) const;
    // Shows on \a node what its scan and the open projects on it give.
    void resyncNode(Path *node);

    ParentProjectPrivate *d;
};

} // namespace Kenro
