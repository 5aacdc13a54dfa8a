#pragma once

#include <QAbstractItemModel>
#include <QList>

namespace Kenro::Ikemen {

/**
 * The rows of an archive's sprites or palettes: items in the user's order,
 * each shown by its "group, number" label, moved by the organizer.
 */
template<typename Base, typename Item>
class SffItemList : public Base
{
public:
    explicit SffItemList(QObject *parent = nullptr) : Base(parent) {}

    /// The index of \a item, or -1.
    template<typename Other>
    int indexOf(Other const *item) const
    {
        for (int i = 0; i < m_items.size(); ++i) {
            if (static_cast<Other const *>(m_items.at(i)) == item)
                return i;
        }
        return -1;
    }

    int rowCount(QModelIndex const &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : int(m_items.size());
    }

    /// "group, number" of each item.
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override
    {
        using Check = QAbstractItemModel::CheckIndexOption;
        if (!this->checkIndex(index, Check::IndexIsValid | Check::ParentIsInvalid) ||
            role != Qt::DisplayRole)
            return QVariant();
        return m_items.at(index.row())->label();
    }

    void move(unsigned int from, unsigned int to) override
    {
        int const f = int(from);
        int const t = int(to);
        if (f == t || f >= m_items.size() || t >= m_items.size())
            return;
        this->beginMoveRows(QModelIndex(), f, f, QModelIndex(), t > f ? t + 1 : t);
        m_items.move(f, t);
        this->endMoveRows();
        touched();
    }

protected:
    /// The content changed.
    virtual void touched() = 0;

    QList<Item *> m_items;
};

} // namespace Kenro::Ikemen
