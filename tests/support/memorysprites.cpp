#include "memorysprites.h"

#include <kenro/project/subitem.h>

#include <cstring>

using namespace Kenro;

namespace KenroTest {

namespace {

QString const identifierName = QStringLiteral("Identifier");

// The colours of an indexed image as a palette; false for other formats.
bool paletteOf(QImage const &image, RGBA (&colors)[256])
{
    if (image.format() != QImage::Format_Indexed8)
        return false;
    std::memset(colors, 0, sizeof colors);
    QList<QRgb> const table = image.colorTable();
    for (int i = 0; i < table.size() && i < 256; ++i)
        colors[i] = RGBA::fromQRgb(table.at(i));
    return true;
}

QList<QRgb> tableOf(RGBA const *colors)
{
    QList<QRgb> table;
    table.reserve(256);
    for (int i = 0; i < 256; ++i)
        table.append(colors[i].toQRgb());
    return table;
}

// Pixels that count as drawn: index 0 of an indexed image is transparent,
// as is alpha 0 of any other.
bool isDrawn(QImage const &image, int x, int y)
{
    if (image.format() == QImage::Format_Indexed8)
        return image.constScanLine(y)[x] != 0;
    return qAlpha(image.pixel(x, y)) != 0;
}

} // namespace

// ---------------------------------------------------------------- palettes

MemoryPalette::MemoryPalette(MemoryPalettes *owner, QVariant const &identifier, RGBA const *table)
    : owner(owner), identifier(identifier)
{
    std::memcpy(colors, table, sizeof colors);
}

QStringList MemoryPalette::propertyNames() const
{
    return {identifierName};
}

QVariant MemoryPalette::property(QString const &name) const
{
    return name == identifierName ? identifier : QVariant();
}

void MemoryPalette::setProperty(QString const &name, QVariant const &value)
{
    if (name == identifierName && owner->find(0, value.toUInt()) < 0) {
        identifier = value.toUInt();
        owner->rowChanged(owner->indexOf(this));
    }
}

Palettes *MemoryPalette::parent() const
{
    return owner;
}

unsigned int MemoryPalette::index() const
{
    return static_cast<unsigned int>(owner->indexOf(this));
}

bool MemoryPalette::colorTable(RGBA (&out)[256]) const
{
    std::memcpy(out, colors, sizeof colors);
    return true;
}

void MemoryPalette::setColorTable(RGBA const *table, ShareMode)
{
    if (!table)
        return;
    std::memcpy(colors, table, sizeof colors);
    owner->rowChanged(owner->indexOf(this));
}

Palette *MemoryPalette::duplicate()
{
    return owner->add(colors, owner->freeIdentifier(), NoShare);
}

MemoryPalettes::MemoryPalettes(MemorySprites *sprites) : owner(sprites) {}

MemoryPalettes::~MemoryPalettes()
{
    qDeleteAll(items);
}

int MemoryPalettes::indexOf(Palette const *palette) const
{
    for (int i = 0; i < items.size(); ++i) {
        if (items.at(i) == palette)
            return i;
    }
    return -1;
}

MemoryPalette *MemoryPalettes::findEqual(RGBA const *colors) const
{
    for (MemoryPalette *palette : items) {
        if (std::memcmp(palette->colors, colors, sizeof palette->colors) == 0)
            return palette;
    }
    return nullptr;
}

unsigned int MemoryPalettes::freeIdentifier() const
{
    unsigned int identifier = 0;
    for (MemoryPalette const *palette : items)
        identifier = qMax(identifier, palette->identifier.toUInt() + 1);
    return identifier;
}

int MemoryPalettes::compare(unsigned int a, unsigned int b) const
{
    unsigned int const first = items.at(int(a))->identifier.toUInt();
    unsigned int const second = items.at(int(b))->identifier.toUInt();
    return first < second ? -1 : (first > second ? 1 : 0);
}

void MemoryPalettes::beginChange()
{
    ++changeDepth;
}

void MemoryPalettes::endChange()
{
    --changeDepth;
}

void MemoryPalettes::remove(unsigned int index)
{
    MemoryPalette *const gone = takeRow(index);
    for (MemorySprite *sprite : std::as_const(owner->items)) {
        if (gone && sprite->currentPalette == gone)
            sprite->currentPalette = nullptr;
    }
    delete gone;
}

void MemoryPalettes::touched()
{
    owner->markModified();
}

Sprites *MemoryPalettes::sprites() const
{
    return owner;
}

unsigned int MemoryPalettes::count() const
{
    return static_cast<unsigned int>(items.size());
}

Palette *MemoryPalettes::at(unsigned int index) const
{
    return index < count() ? items.at(int(index)) : nullptr;
}

Palette *MemoryPalettes::add(RGBA const *colors, QVariant const &identifier, ShareMode share)
{
    return insert(count(), colors, identifier, share);
}

Palette *MemoryPalettes::insert(unsigned int index, RGBA const *colors, QVariant const &identifier,
                                ShareMode share)
{
    if (!colors)
        return nullptr;
    if (MemoryPalette *equal = findEqual(colors); equal && owner->mayShare(share))
        return equal;
    bool numeric = false;
    unsigned int const number = identifier.toUInt(&numeric);
    if (!numeric || find(0, number) >= 0)
        return nullptr;
    auto *palette = new MemoryPalette(this, number, colors);
    insertRow(index, palette);
    return palette;
}

void MemoryPalettes::removeDuplicates()
{
    for (int i = static_cast<int>(items.size()) - 1; i > 0; --i) {
        MemoryPalette *const first = findEqual(items.at(i)->colors);
        if (first == items.at(i))
            continue;
        for (MemorySprite *sprite : std::as_const(owner->items)) {
            if (sprite->currentPalette == items.at(i))
                sprite->currentPalette = first;
        }
        remove(static_cast<unsigned int>(i));
    }
}

int MemoryPalettes::find(unsigned int from, unsigned int identifier) const
{
    for (int i = static_cast<int>(from); i < items.size(); ++i) {
        if (items.at(i)->identifier.toUInt() == identifier)
            return i;
    }
    return -1;
}

void MemoryPalettes::clear()
{
    beginResetModel();
    for (MemorySprite *sprite : std::as_const(owner->items))
        sprite->currentPalette = nullptr;
    qDeleteAll(items);
    items.clear();
    endResetModel();
    owner->markModified();
}

void MemoryPalettes::clearUnused()
{
    for (int i = static_cast<int>(items.size()) - 1; i >= 0; --i) {
        bool used = false;
        for (MemorySprite const *sprite : std::as_const(owner->items))
            used = used || sprite->currentPalette == items.at(i);
        if (!used)
            remove(static_cast<unsigned int>(i));
    }
}

void MemoryPalettes::rowChanged(int row)
{
    if (row < 0)
        return;
    Q_EMIT dataChanged(index(row), index(row));
    owner->markModified();
}

// ---------------------------------------------------------------- sprites

MemorySprite::MemorySprite(MemorySprites *owner, QVariant const &identifier,
                           std::shared_ptr<QImage> picture)
    : owner(owner), identifier(identifier), picture(std::move(picture))
{}

QStringList MemorySprite::propertyNames() const
{
    return Sprite::propertyNames();
}

QVariant MemorySprite::property(QString const &name) const
{
    return name == identifierName ? identifier : QVariant();
}

void MemorySprite::setProperty(QString const &name, QVariant const &value)
{
    if (name != identifierName || owner->find(0, value) >= 0)
        return;
    identifier = value;
    owner->rowChanged(static_cast<int>(index()));
}

unsigned int MemorySprite::index() const
{
    return static_cast<unsigned int>(owner->items.indexOf(const_cast<MemorySprite *>(this)));
}

Sprites *MemorySprite::parent() const
{
    return owner;
}

Sprite *MemorySprite::duplicate()
{
    SubItem item;
    SubItem::parse(identifier.toString(), item);
    auto *copy =
        static_cast<MemorySprite *>(owner->add(owner->freeIdentifier(item.first), image(), Share));
    if (copy) {
        copy->picture = picture; // even an empty one
        copy->currentPalette = currentPalette;
        copy->axis = axis;
    }
    return copy;
}

void MemorySprite::crop()
{
    if (isEmpty())
        return;
    QImage const &source = *picture;
    QRect drawn;
    for (int y = 0; y < source.height(); ++y) {
        for (int x = 0; x < source.width(); ++x) {
            if (isDrawn(source, x, y))
                drawn |= QRect(x, y, 1, 1);
        }
    }
    if (drawn == source.rect())
        return;
    picture = std::make_shared<QImage>(drawn.isEmpty() ? QImage() : source.copy(drawn));
    axis -= drawn.isEmpty() ? QPoint() : drawn.topLeft();
    owner->rowChanged(static_cast<int>(index()));
}

void MemorySprite::splitRGB()
{
    if (isEmpty())
        return;
    QImage const colour = picture->convertToFormat(QImage::Format_RGB32);
    SubItem item;
    SubItem::parse(identifier.toString(), item);
    owner->beginChange();
    for (int channel = 0; channel < 3; ++channel) {
        QImage plane(colour.size(), QImage::Format_Grayscale8);
        for (int y = 0; y < colour.height(); ++y) {
            auto const *in = reinterpret_cast<QRgb const *>(colour.constScanLine(y));
            uchar *out = plane.scanLine(y);
            for (int x = 0; x < colour.width(); ++x)
                out[x] = uchar(channel == 0       ? qRed(in[x])
                                   : channel == 1 ? qGreen(in[x])
                                                  : qBlue(in[x]));
        }
        owner->add(owner->freeIdentifier(item.first), plane, NoShare);
    }
    owner->endChange();
}

bool MemorySprite::isEmpty() const
{
    return !picture || picture->isNull();
}

QImage MemorySprite::image() const
{
    return picture ? *picture : QImage();
}

ImageInfo MemorySprite::imageProperties() const
{
    ImageInfo info;
    if (!isEmpty()) {
        info.width = quint16(picture->width());
        info.height = quint16(picture->height());
        info.format = picture->format();
    }
    return info;
}

bool MemorySprite::imageIsShared() const
{
    return picture && picture.use_count() > 1;
}

void MemorySprite::setImage(QImage const &image, bool notify, PaletteMode mode, Palette *palette,
                            ShareMode share)
{
    auto *target = palette ? static_cast<MemoryPalette *>(palette) : currentPalette;
    RGBA colors[256];
    bool const indexed = paletteOf(image, colors);
    QImage stored = image;
    switch (mode) {
    case Ignore:
        break;
    case OwnPalette:
        if (indexed)
            currentPalette = static_cast<MemoryPalette *>(
                owner->paletteList.add(colors, owner->paletteList.freeIdentifier(), NoShare));
        break;
    case AdaptImage:
        if (target)
            // Through true colour, since Qt keeps an indexed image's own table.
            stored = image.convertToFormat(QImage::Format_ARGB32)
                         .convertToFormat(QImage::Format_Indexed8, tableOf(target->colors),
                                          Qt::ThresholdDither);
        break;
    case SwapPalette:
        if (indexed && target)
            target->setColorTable(colors, share);
        break;
    }
    picture = owner->pictureFor(stored, share);
    if (notify)
        owner->rowChanged(static_cast<int>(index()));
}

void MemorySprite::setImage(QImage const &image, bool notify)
{
    setImage(image, notify, Ignore, nullptr, NoShare);
}

Palette *MemorySprite::palette() const
{
    return currentPalette;
}

void MemorySprite::setPalette(Palette *palette)
{
    if (!palette || owner->paletteList.indexOf(palette) >= 0)
        currentPalette = static_cast<MemoryPalette *>(palette);
}

// ---------------------------------------------------------------- the file

MemorySprites::MemorySprites() : paletteList(this) {}

MemorySprites::~MemorySprites()
{
    qDeleteAll(items);
}

void MemorySprites::free()
{
    delete this;
}

bool MemorySprites::mayShare(ShareMode share) const
{
    return share == Share || (share == AskToShare && askToShare && askToShare());
}

QString MemorySprites::freeIdentifier(int group) const
{
    int image = 0;
    for (MemorySprite const *sprite : items) {
        SubItem item;
        if (SubItem::parse(sprite->identifier.toString(), item) && item.first == group)
            image = qMax(image, item.second + 1);
    }
    return QStringLiteral("%1, %2").arg(group).arg(image);
}

std::shared_ptr<QImage> MemorySprites::pictureFor(QImage const &image, ShareMode share) const
{
    if (image.isNull())
        return nullptr;
    // Only the question of a real candidate is asked.
    for (MemorySprite const *sprite : items) {
        if (sprite->picture && *sprite->picture == image)
            return mayShare(share) ? sprite->picture : std::make_shared<QImage>(image);
    }
    return std::make_shared<QImage>(image);
}

void MemorySprites::rowChanged(int row)
{
    if (row < 0)
        return;
    Q_EMIT dataChanged(index(row), index(row));
    markModified();
}

void MemorySprites::markModified()
{
    Q_EMIT modified();
    if (!dirty) {
        dirty = true;
        Q_EMIT changed(true);
    }
}

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

int MemorySprites::compare(unsigned int a, unsigned int b) const
{
    return compareSubItems(items.at(int(a))->identifier, items.at(int(b))->identifier);
}

void MemorySprites::beginChange()
{
    ++changeDepth;
}

void MemorySprites::endChange()
{
    if (--changeDepth == 0)
        ++changeSteps;
}

void MemorySprites::remove(unsigned int index)
{
    delete takeRow(index);
}

void MemorySprites::touched()
{
    markModified();
}

Palettes *MemorySprites::palettes() const
{
    return const_cast<MemoryPalettes *>(&paletteList);
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
                              ShareMode share)
{
    if (!identifier.isValid() || find(0, identifier) >= 0)
        return nullptr;
    auto *sprite = new MemorySprite(this, identifier, pictureFor(image, share));
    RGBA colors[256];
    if (paletteOf(image, colors)) {
        sprite->currentPalette = static_cast<MemoryPalette *>(
            paletteList.add(colors, paletteList.freeIdentifier(), share));
    }
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
    markModified();
}

bool MemorySprites::isModified() const
{
    return dirty;
}

bool MemorySprites::isEmpty() const
{
    return items.isEmpty();
}

QList<ProjectFile::SearchResult> MemorySprites::search(RegExp const &, unsigned int) const
{
    return {};
}

void MemorySprites::replace(QList<SearchResult> const &, QString const &) {}

Messages *MemorySprites::fileMessages() const
{
    return nullptr;
}

} // namespace KenroTest
