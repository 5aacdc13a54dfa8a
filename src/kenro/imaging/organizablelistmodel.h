#pragma once

#include <kenro/kenro_export.h>

#include <QAbstractListModel>

namespace Kenro {

/**
 * A list model whose order belongs to the user: rows are dragged to a new
 * place, moved by commands or sorted, and each of those acts goes through
 * move(). Subclasses hold the items and tell views of each change.
 */
class KENRO_EXPORT OrganizableListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit OrganizableListModel(QObject *parent = nullptr);

    /// True only while a drop is being carried out, through move().
    bool isMoveFromDrag() const;

    /// Rows only move.
    Qt::DropActions supportedDropActions() const override;
    /**
     * A row of this model can be selected and dragged; anything else, the
     * invalid index included, takes drops, so that a drop lands between rows.
     */
    Qt::ItemFlags flags(QModelIndex const &index) const override;
    /**
     * Moves the rows that \a data names (as mimeData() encodes them) so that
     * they stand, in their old order, before \a row (the top for a negative
     * \a row). Only Qt::MoveAction is taken. Always false, so that the view
     * removes nothing by itself.
     */
    bool dropMimeData(QMimeData const *data, Qt::DropAction action, int row, int column,
                      QModelIndex const &parent) override;

    /// Moves the item at \a from so that it stands at \a to afterwards.
    virtual void move(unsigned int from, unsigned int to) = 0;
    /// Below 0 when item \a a belongs before item \a b, above 0 when after, else 0.
    virtual int compare(unsigned int a, unsigned int b) const = 0;
    /// Opens one step of changes that can be undone together.
    virtual void beginChange() = 0;
    /// Closes the step opened by beginChange().
    virtual void endChange() = 0;
    /// Makes the item at \a index the current one.
    virtual void setSelected(unsigned int index) = 0;

private:
    bool m_moveFromDrag = false;
};

} // namespace Kenro
