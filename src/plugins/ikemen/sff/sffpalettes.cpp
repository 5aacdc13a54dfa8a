#include "sffpalettes.h"

#include "sffpalette.h"
#include "sffsprite.h"
#include "sffsprites.h"

#include <kenro/project/archive.h>
#include <kenro/project/subitem.h>

#include <cstring>

namespace Kenro::Ikemen {

namespace {

// A number, or "group, number" text, as group * 65536 + number.
bool identifierOf(QVariant const &value, unsigned int &identifier)
{
    SubItem item;
    if (SubItem::parse(value.toString(), item)) {
        if (item.first < 0 || item.first > 0xFFFF || item.second < 0 || item.second > 0xFFFF)
            return false;
        identifier = (unsigned int)(item.first) << 16 | (unsigned int)(item.second);
        return true;
    }
    bool ok = false;
    identifier = value.toUInt(&ok);
    return ok;
}

} // namespace

SffPalettes::SffPalettes(SffSprites *sprites) : m_sprites(sprites) {}

SffPalettes::~SffPalettes()
{
    qDeleteAll(m_items);
}

SffPalette *SffPalettes::palette(unsigned int index) const
{
    return index < count() ? m_items.at(int(index)) : nullptr;
}

unsigned int SffPalettes::freeIdentifier(quint16 group) const
{
    unsigned int number = 0;
    for (SffPalette const *palette : m_items) {
        if (palette->data().group == group)
            number = qMax(number, palette->data().number + 1u);
    }
    return (unsigned int)(group) << 16 | qMin(number, 0xFFFFu);
}

SffPalette *SffPalettes::append(SffPaletteData const &data, QString const &file)
{
    int const row = int(m_items.size());
    beginInsertRows(QModelIndex(), row, row);
    auto *palette = new SffPalette(this, data, file);
    m_items.append(palette);
    endInsertRows();
    return palette;
}

SffPalette *SffPalettes::showFile(RGBA const (&colors)[256], QString const &file,
                                  unsigned int identifier)
{
    SffPaletteData data;
    std::memcpy(data.colors, colors, sizeof data.colors);
    setSffAlpha(data.colors);
    data.group = quint16(identifier >> 16);
    data.number = quint16(identifier & 0xFFFF);
    int const existing = find(0, identifier);
    if (existing < 0)
        return append(data, file);
    SffPalette *palette = m_items.at(existing);
    palette->show(data, file);
    Q_EMIT dataChanged(index(existing), index(existing));
    return palette;
}

bool SffPalettes::isUsed(SffPalette const *palette) const
{
    for (unsigned int i = 0; i < m_sprites->count(); ++i) {
        if (m_sprites->at(i)->palette() == palette)
            return true;
    }
    return false;
}

void SffPalettes::reset()
{
    beginResetModel();
    qDeleteAll(m_items);
    m_items.clear();
    endResetModel();
}

void SffPalettes::rowChanged(int row)
{
    if (row < 0)
        return;
    Q_EMIT dataChanged(index(row), index(row));
    SffPalette const *palette = m_items.at(row);
    if (palette->file().isEmpty() || isUsed(palette))
        m_sprites->markModified();
}

int SffPalettes::compare(unsigned int a, unsigned int b) const
{
    unsigned int const first = m_items.at(int(a))->identifier();
    unsigned int const second = m_items.at(int(b))->identifier();
    return first < second ? -1 : (first > second ? 1 : 0);
}

void SffPalettes::touched()
{
    m_sprites->markModified();
}

void SffPalettes::beginChange()
{
    m_sprites->beginChange();
}

void SffPalettes::endChange()
{
    m_sprites->endChange();
}

void SffPalettes::remove(unsigned int index)
{
    if (index >= count())
        return;
    SffPalette *const gone = m_items.at(int(index));
    for (unsigned int i = 0; i < m_sprites->count(); ++i) {
        auto *sprite = static_cast<SffSprite *>(m_sprites->at(i));
        if (sprite->palette() == gone)
            sprite->usePalette(nullptr);
    }
    beginRemoveRows(QModelIndex(), int(index), int(index));
    m_items.removeAt(int(index));
    endRemoveRows();
    delete gone;
    m_sprites->markModified();
}

Sprites *SffPalettes::sprites() const
{
    return m_sprites;
}

unsigned int SffPalettes::count() const
{
    return (unsigned int)(m_items.size());
}

Palette *SffPalettes::at(unsigned int index) const
{
    return palette(index);
}

Palette *SffPalettes::add(RGBA const *colors, QVariant const &identifier, ShareMode share)
{
    return insert(count(), colors, identifier, share);
}

Palette *SffPalettes::insert(unsigned int index, RGBA const *colors, QVariant const &identifier,
                             ShareMode share)
{
    if (!colors)
        return nullptr;
    if (SffPalette *equal = findEqual(colors); equal && mayShare(share))
        return equal;
    unsigned int number = 0;
    if (!identifierOf(identifier, number) || find(0, number) >= 0)
        return nullptr;
    SffPaletteData data;
    data.group = quint16(number >> 16);
    data.number = quint16(number & 0xFFFF);
    std::memcpy(data.colors, colors, sizeof data.colors);
    setSffAlpha(data.colors);
    int const row = int(qMin(index, count()));
    beginInsertRows(QModelIndex(), row, row);
    auto *palette = new SffPalette(this, data);
    m_items.insert(row, palette);
    endInsertRows();
    m_sprites->markModified();
    return palette;
}

void SffPalettes::removeDuplicates()
{
    beginChange();
    for (int i = int(m_items.size()) - 1; i > 0; --i) {
        SffPalette *const first = findEqual(m_items.at(i)->data().colors);
        if (first == m_items.at(i))
            continue;
        for (unsigned int s = 0; s < m_sprites->count(); ++s) {
            auto *sprite = static_cast<SffSprite *>(m_sprites->at(s));
            if (sprite->palette() == m_items.at(i))
                sprite->usePalette(first);
        }
        remove((unsigned int)(i));
    }
    endChange();
}

int SffPalettes::find(unsigned int from, unsigned int identifier) const
{
    for (int i = int(from); i < m_items.size(); ++i) {
        if (m_items.at(i)->identifier() == identifier)
            return i;
    }
    return -1;
}

void SffPalettes::clear()
{
    for (unsigned int i = 0; i < m_sprites->count(); ++i)
        static_cast<SffSprite *>(m_sprites->at(i))->usePalette(nullptr);
    reset();
    m_sprites->markModified();
}

void SffPalettes::clearUnused()
{
    beginChange();
    for (int i = int(m_items.size()) - 1; i >= 0; --i) {
        if (!m_items.at(i)->file().isEmpty())
            continue;
        bool used = false;
        for (unsigned int s = 0; s < m_sprites->count() && !used; ++s)
            used = m_sprites->at(s)->palette() == m_items.at(i);
        if (!used)
            remove((unsigned int)(i));
    }
    endChange();
}

SffPalette *SffPalettes::findEqual(RGBA const *colors) const
{
    RGBA normal[256];
    std::memcpy(normal, colors, sizeof normal);
    setSffAlpha(normal);
    for (SffPalette *palette : m_items) {
        if (std::memcmp(palette->data().colors, normal, sizeof normal) == 0)
            return palette;
    }
    return nullptr;
}

bool SffPalettes::mayShare(ShareMode share) const
{
    return m_sprites->mayShare(share);
}

} // namespace Kenro::Ikemen
