#include <kenro/imaging/organizablelistmodel.h>

#include <QDataStream>
#include <QMimeData>

#include <algorithm>

namespace Kenro {

namespace {

// The rows named by \a encoded, as QAbstractItemModel::mimeData() writes
// them: row, column and the item's data, until the end. Reading stops at
// the first record that does not read whole.
QList<int> encodedRows(QByteArray const &encoded)
{
    QList<int> rows;
    QDataStream stream(encoded);
    while (!stream.atEnd()) {
        int row = 0;
        int column = 0;
        QMap<int, QVariant> item;
        stream >> row >> column >> item;
        if (stream.status() != QDataStream::Ok)
            break;
        rows.append(row);
    }
    return rows;
}

} // namespace

OrganizableListModel::OrganizableListModel(QObject *parent) : QAbstractListModel(parent) {}

bool OrganizableListModel::isMoveFromDrag() const
{
    return m_moveFromDrag;
}

Qt::DropActions OrganizableListModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

Qt::ItemFlags OrganizableListModel::flags(QModelIndex const &index) const
{
    if (index.isValid() && index.model() == this && index.row() < rowCount())
        return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled;
    return Qt::ItemIsDropEnabled;
}

bool OrganizableListModel::dropMimeData(QMimeData const *data, Qt::DropAction action, int row, int,
                                        QModelIndex const &)
{
    if (!data || action != Qt::MoveAction)
        return false;
    QStringList const types = mimeTypes();
    if (types.isEmpty() || !data->hasFormat(types.first()))
        return false;
    int const count = rowCount();
    QList<int> rows = encodedRows(data->data(types.first()));
    // Rows that are not ours, and the same row named again for another
    // column, are left out.
    rows.erase(
        std::remove_if(rows.begin(), rows.end(), [count](int r) { return r < 0 || r >= count; }),
        rows.end());
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows.isEmpty())
        return false;

    int target = row < 0 ? 0 : (row > count ? count - 1 : row);
    m_moveFromDrag = true;
    beginChange();
    // The lowest row goes last, and each goes in just above the one moved
    // before it, so that the rows keep their order. `waiting` follows the
    // places of the rows not moved yet.
    QList<int> waiting = rows;
    while (!waiting.isEmpty()) {
        int const from = waiting.takeLast();
        if (from < target) {
            int const to = target - 1;
            if (from != to)
                move(static_cast<unsigned int>(from), static_cast<unsigned int>(to));
            for (int &other : waiting) {
                if (other > from && other <= to)
                    --other;
            }
            target = to;
        } else {
            if (from != target)
                move(static_cast<unsigned int>(from), static_cast<unsigned int>(target));
            for (int &other : waiting) {
                if (other >= target && other < from)
                    ++other;
            }
        }
    }
    endChange();
    m_moveFromDrag = false;
    return false;
}

} // namespace Kenro
