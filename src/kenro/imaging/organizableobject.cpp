#include <kenro/imaging/organizableobject.h>

namespace Kenro {

OrganizableObject::OrganizableObject(QObject *parent) : OrganizableListModel(parent) {}

unsigned int OrganizableObject::selected() const
{
    return m_selected;
}

void OrganizableObject::setSelected(unsigned int index)
{
    m_selected = index;
}

void OrganizableObject::autoOrganize()
{
    int const count = rowCount();
    if (count < 2)
        return;
    beginChange();
    // An insertion sort: rows above `i` are in order; row `i` goes in behind
    // the last row that it does not come before, found by halving. That
    // keeps equal rows in their order, with few moves and compares.
    for (int i = 1; i < count; ++i) {
        int low = 0;
        int high = i;
        while (low < high) {
            int const middle = (low + high) / 2;
            if (compare(static_cast<unsigned int>(i), static_cast<unsigned int>(middle)) < 0)
                high = middle;
            else
                low = middle + 1;
        }
        if (low != i)
            move(static_cast<unsigned int>(i), static_cast<unsigned int>(low));
    }
    endChange();
}

} // namespace Kenro
