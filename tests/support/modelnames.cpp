#include "modelnames.h"

namespace KenroTest {

QStringList childNames(QAbstractItemModel const &model, QModelIndex const &parent)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row)
        names.append(model.index(row, 0, parent).data().toString());
    return names;
}

QModelIndex childIndex(QAbstractItemModel const &model, QModelIndex const &parent,
                       QString const &name)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        QModelIndex const index = model.index(row, 0, parent);
        if (index.data().toString() == name)
            return index;
    }
    return QModelIndex();
}

} // namespace KenroTest
