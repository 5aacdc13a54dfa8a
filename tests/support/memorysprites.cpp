#include "memorysprites.h"

#include <kenro/project/subitem.h>

#include <algorithm>

using namespace Kenro;

namespace KenroTest {

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
QVariant MemorySprites::data(QModelIndex const &index, int role) const
{
    bool const valid =
        checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid);
    return valid && role == Qt::DisplayRole ? items.at(index.row())->identifier.toString()
                                            : QVariant();
}
void MemorySprites::move(unsigned int from, unsigned int to)
{
    int const f = static_cast<int>(from);
    int const t = static_cast<int>(to);
    if (f == t || f >= items.size() || t >= items.size())
        return;
    beginMoveRows(QModelIndex(), f, f, QModelIndex(), t > f ? t + 1 : t);
    items.move(f, t);
    endMoveRows();
    dirty = true;
}
int MemorySprites::compare(unsigned int a, unsigned int b) const
{
    auto key = [this](unsigned int i) {
        SubItem item;
        SubItem::parse(items.at(int(i))->identifier.toString(), item);
        return std::pair(item.first, item.second);
    };
    return key(a) < key(b) ? -1 : (key(b) < key(a) ? 1 : 0);
}
void MemorySprites::remove(unsigned int index)
{
    if (index >= count())
        return;
    beginRemoveRows(QModelIndex(), int(index), int(index));
    delete items.takeAt(int(index));
    endRemoveRows();
    dirty = true;
}
Sprite *MemorySprites::insert(unsigned int index, QVariant const &identifier, QImage const &image,
                              ShareMode)
{
    if (!identifier.isValid() || find(0, identifier) >= 0)
        return nullptr;
    int const at = int(qMin(index, count()));
    beginInsertRows(QModelIndex(), at, at);
    items.insert(at, new MemorySprite(this, identifier, image));
    endInsertRows();
    dirty = true;
    return items.at(at);
}
int MemorySprites::find(unsigned int from, QVariant const &identifier) const
{
    auto const found = std::find_if(items.begin() + qMin(from, count()), items.end(),
                                    [&](MemorySprite *s) { return s->identifier == identifier; });
    return found == items.end() ? -1 : int(found - items.begin());
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
