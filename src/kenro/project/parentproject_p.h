#pragma once

#include <kenro/project/parentproject.h>

#include <QFileSystemWatcher>
#include <QMap>
#include <QObject>
#include <QSet>

namespace Kenro {

/**
 * The root node of a parent project's tree, and what the parent keeps: the
 * count of open projects, the archive, the nodes of the open projects and
 * the watcher of the scanned directories.
 */
class ParentProjectPrivate : public QObject, public ParentProject::DirectoryPath
{
    Q_OBJECT

public:
    ParentProjectPrivate(ParentProject *owner, QString const &basePath, Archive &archive);
    ~ParentProjectPrivate() override;

    Archive *archive() const override;
    QFileSystemWatcher *watcher() const override;

    /// Makes the children of \a node match \a records, telling the views.
    void sync(ParentProject::BasePath *node, QList<ParentProject::PathInfo> const &records);
    /// Takes \a node out of the tree, telling the views, and deletes it.
    void removeNode(ParentProject::BasePath *node);
    /// Inserts \a child as the last child of \a node, telling the views.
    void appendNode(ParentProject::BasePath *node, ParentProject::BasePath *child);
    QModelIndex indexOf(ParentProject::BasePath const *node) const;
    void setName(QString const &name);

    unsigned int refCount = 0;
    Archive *m_archive;
    ParentProject *owner;
    // In the order they were opened.
    QList<Project *> projectOrder;
    QMap<Project *, ParentProject::Path *> projects;
    // Projects whose node was made for them, which leaves with them.
    QSet<Project *> ownNodes;
    mutable QFileSystemWatcher m_watcher;

public Q_SLOTS:
    void directoryChanged(QString const &path);

private:
    // Open projects whose nodes lie in the subtree of \a node lose them.
    void forgetNodes(ParentProject::BasePath const *node);
};

} // namespace Kenro
