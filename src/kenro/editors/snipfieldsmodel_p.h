#pragma once

#include <QAbstractListModel>

namespace Kenro {

class SnipField;

/// The fields of a snippet being edited, owned, each shown as its title and name.
class SnipFieldsModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit SnipFieldsModel(QObject *parent = nullptr);
    ~SnipFieldsModel() override;

    QList<SnipField *> const &fields() const { return m_fields; }
    /// Takes \a field over, at the end.
    void append(SnipField *field);
    /// Puts \a field, taken over, in place of the field of \a row.
    void replace(int row, SnipField *field);
    void remove(int row);

    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

private:
    QList<SnipField *> m_fields;
};

} // namespace Kenro
