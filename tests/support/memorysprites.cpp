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

MemorySprite::MemorySprite(MemorySprites *owner, QVariant const &identifier, QImage const &picture)
    : owner(owner), identifier(identifier), picture(picture)
{}

QVariant MemorySprite::property(QString const &name) const
{
    return name == QLatin1String("Identifier") ? identifier : QVariant();
}

unsigned int MemorySprite::index() const
{
    return static_cast<unsigned int>(owner->items.indexOf(const_cast<MemorySprite *>(this)));
}

Sprites *MemorySprite::parent() const
{
    return owner;
}

ImageInfo MemorySprite::imageProperties() const
{
    ImageInfo info;
    info.width = quint16(picture.width());
    info.height = quint16(picture.height());
    info.format = isEmpty() ? QImage::Format_Indexed8 : picture.format();
    return info;
}

void MemorySprite::setImage(QImage const &image, bool notify, PaletteMode, Palette *, ShareMode)
{
    setImage(image, notify);
}

void MemorySprite::setImage(QImage const &image, bool notify)
{
    picture = image;
    if (notify)
        Q_EMIT owner->dataChanged(owner->index(int(index())), owner->index(int(index())));
    owner->dirty = true;
}

MemorySprites::~MemorySprites()
{
    qDeleteAll(items);
}

int MemorySprites::compare(unsigned int a, unsigned int b) const
{
    return compareSubItems(items.at(int(a))->identifier, items.at(int(b))->identifier);
}

void MemorySprites::remove(unsigned int index)
{
    delete takeRow(index);
}

void MemorySprites::touched()
{
    dirty = true;
}

unsigned int MemorySprites::count() const
{
    return static_cast<unsigned int>(items.size());
}

Sprite *MemorySprites::at(unsigned int index) const
{
    return index < count() ? items.at(int(index)) : nullptr;
}

Sprite *MemorySprites::insert(unsigned int index, QVariant const &identifier, QImage const &image,
                              ShareMode)
{
    if (!identifier.isValid() || find(0, identifier) >= 0)
        return nullptr;
    auto *sprite = new MemorySprite(this, identifier, image);
    insertRow(index, sprite);
    return sprite;
}

Sprite *MemorySprites::add(QVariant const &identifier, QImage const &image, ShareMode share)
{
    return insert(count(), identifier, image, share);
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
