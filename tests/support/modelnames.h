#pragma once

#include <kenro/project/messages.h>

#include <QAbstractItemModel>

namespace Kenro {
class Project;
} // namespace Kenro

namespace KenroTest {

/// The file list of \a project as "type:name", names without the leading "/".
QStringList listedFiles(Kenro::Project const &project);

/// A message of a project's list and its file (null: the project's own).
struct ListedMessage
{
    Kenro::ProjectFile const *file;
    Kenro::Message message;
};
/// Every message of \a project and of its files, in the list's order.
QList<ListedMessage> listedMessages(Kenro::Project const &project);

/// The texts of the rows below \a parent; the first row below it that shows \a name; the
/// row reached through the names of \a path ("chars/kfm"); the names below it, joined.
QStringList childNames(QAbstractItemModel const &model, QModelIndex const &parent);
QModelIndex childIndex(QAbstractItemModel const &model, QModelIndex const &parent,
                       QString const &name);
QModelIndex indexAt(QAbstractItemModel const &model, QString const &path);
inline QString rowNames(QAbstractItemModel const &model, QString const &path)
{
    return childNames(model, indexAt(model, path)).join(u' ');
}

} // namespace KenroTest
