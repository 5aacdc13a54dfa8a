#pragma once

#include <QAbstractItemModel>
#include <QStringList>

namespace Kenro {
class Project;
}

namespace KenroTest {

/// The file list of \a project as "type:name", names without the leading "/".
QStringList listedFiles(Kenro::Project const &project);

/// The display texts of the rows below \a parent, in order.
QStringList childNames(QAbstractItemModel const &model, QModelIndex const &parent);
/// The first row below \a parent that shows \a name; invalid for none.
QModelIndex childIndex(QAbstractItemModel const &model, QModelIndex const &parent,
                       QString const &name);

} // namespace KenroTest
