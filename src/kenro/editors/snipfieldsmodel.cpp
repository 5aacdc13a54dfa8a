#include "snipfieldsmodel_p.h"

#include <kenro/editors/snipfield.h>

namespace Kenro {

SnipFieldsModel::SnipFieldsModel(QObject *parent) : QAbstractListModel(parent) {}

SnipFieldsModel::~SnipFieldsModel()
{
    qDeleteAll(m_fields);
}

void SnipFieldsModel::append(SnipField *field)
{
    int const row = static_cast<int>(m_fields.size());
    beginInsertRows(QModelIndex(), row, row);
    m_fields.append(field);
    endInsertRows();
}

void SnipFieldsModel::replace(int row, SnipField *field)
{
    if (row < 0 || row >= m_fields.size()) {
        delete field;
        return;
    }
    delete m_fields.at(row);
    m_fields[row] = field;
    Q_EMIT dataChanged(index(row), index(row));
}

void SnipFieldsModel::remove(int row)
{
    if (row < 0 || row >= m_fields.size())
        return;
    beginRemoveRows(QModelIndex(), row, row);
    delete m_fields.takeAt(row);
    endRemoveRows();
}

int SnipFieldsModel::rowCount(QModelIndex const &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_fields.size());
}

QVariant SnipFieldsModel::data(QModelIndex const &index, int role) const
{
    if (!index.isValid() || index.row() >= m_fields.size() || role != Qt::DisplayRole)
        return QVariant();
    SnipField const *field = m_fields.at(index.row());
    return QStringLiteral("%1 (@%2)").arg(field->title(), field->name());
}

} // namespace Kenro
