#include "memorysprites.h"

#include <kenro/project/subitem.h>

using namespace Kenro;

namespace KenroTest {

int compareSubItems(QVariant const &a, QVariant const &b)
{
    SubItem first;
    SubItem second;
    SubItem::parse(a.toString(), first);
    SubItem::parse(b.toString(), second);
    if (first.first != second.first)
        return first.first < second.first ? -1 : 1;
    return first.second < second.second ? -1 : (first.second > second.second ? 1 : 0);
}

unsigned int MemorySprite::index() const
{
    return static_cast<unsigned int>(owner->items.indexOf(const_cast<MemorySprite *>(this)));
}

Sprites *MemorySprite::parent() const
{
    return owner;
}

void MemorySprite::setImage(QImage const &image, bool notify)
{
    picture = image;
    owner->dirty = true;
    if (notify)
        Q_EMIT owner->dataChanged(owner->index(int(index())), owner->index(int(index())));
}

int MemorySprites::find(unsigned int from, QVariant const &identifier) const
{
    for (int i = static_cast<int>(from); i < items.size(); ++i) {
        if (items.at(i)->identifier == identifier)
            return i;
    }
    return -1;
}

void MemorySprites::clear()
{
    beginResetModel();
    qDeleteAll(items);
    items.clear();
    endResetModel();
    dirty = true;
}

} // namespace KenroTest
