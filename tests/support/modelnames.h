#pragma once

#include <kenro/project/messages.h>

#include <QAbstractItemModel>

namespace Kenro {
class Project;
} // namespace Kenro

namespace KenroTest {

/// The file list of \a project as "type:name", names without the leading "/".
QStringList listedFiles(Kenro::Project const &project);

/// A message of a project's list and the file it is about (null: the project).
struct ListedMessage
{
    Kenro::ProjectFile const *file;
    Kenro::Message message;
};
/// Every message of \a project and of its files, in the list's order.
QList<ListedMessage> listedMessages(Kenro::Project const &project);

/// The display texts of the rows below \a parent, in order.
QStringList childNames(QAbstractItemModel const &model, QModelIndex const &parent);
/// The first row below \a parent that shows \a name; invalid for none.
QModelIndex childIndex(QAbstractItemModel const &model, QModelIndex const &parent,
                       QString const &name);
/// The row reached from the top through the names of \a path, such as "chars/kfm".
QModelIndex indexAt(QAbstractItemModel const &model, QString const &path);
/// The names of the rows below the row at \a path, separated by spaces.
inline QString rowNames(QAbstractItemModel const &model, QString const &path)
{
    return childNames(model, indexAt(model, path)).join(u' ');
}

} // namespace KenroTest
