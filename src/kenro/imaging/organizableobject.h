#pragma once

#include <kenro/imaging/organizablelistmodel.h>

namespace Kenro {

/**
 * A user-ordered collection that the organizer panel can work on: besides
 * moving and sorting, items can be removed, and one of them is the current.
 */
class KENRO_EXPORT OrganizableObject : public OrganizableListModel
{
    Q_OBJECT

public:
    explicit OrganizableObject(QObject *parent = nullptr);

    /// Removes the item at \a index.
    virtual void remove(unsigned int index) = 0;

    /// The current item.
    unsigned int selected() const;
    /// Makes the item at \a index the current one.
    void setSelected(unsigned int index) override;

    /**
     * Sorts the items by compare() through move(), in one change step; equal
     * items keep their order.
     */
    void autoOrganize();

Q_SIGNALS:
    /// The content changed.
    void modified();
    /// The modified state of the collection became \a modified.
    void changed(bool modified);

private:
    unsigned int m_selected = 0;
};

} // namespace Kenro
