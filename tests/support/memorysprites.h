#pragma once

#include <kenro/imaging/sprite.h>
#include <kenro/imaging/sprites.h>

namespace KenroTest {

class MemorySprites;

/// The order of "group, number" identifiers: by group, then number.
int compareSubItems(QVariant const &a, QVariant const &b);

/**
 * The rows of a collection held in memory: items with an `identifier`, which
 * is what the list shows.
 */
template<typename Base, typename Item>
class MemoryList : public Base
{
public:
    QList<Item *> items;

    int rowCount(QModelIndex const &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(items.size());
    }
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override
    {
        using Check = QAbstractItemModel::CheckIndexOption;
        if (!this->checkIndex(index, Check::IndexIsValid | Check::ParentIsInvalid) ||
            role != Qt::DisplayRole)
            return QVariant();
        return items.at(index.row())->identifier.toString();
    }
    void move(unsigned int from, unsigned int to) override
    {
        int const f = static_cast<int>(from);
        int const t = static_cast<int>(to);
        if (f == t || f >= items.size() || t >= items.size())
            return;
        this->beginMoveRows(QModelIndex(), f, f, QModelIndex(), t > f ? t + 1 : t);
        items.move(f, t);
        this->endMoveRows();
        touched();
    }

protected:
    /// Puts \a item in at \a row, or at the end past it, telling views.
    void insertRow(unsigned int row, Item *item)
    {
        int const at = static_cast<int>(qMin(row, static_cast<unsigned int>(items.size())));
        this->beginInsertRows(QModelIndex(), at, at);
        items.insert(at, item);
        this->endInsertRows();
        touched();
    }
    /// Takes the item at \a row out, telling views; null when there is none.
    Item *takeRow(unsigned int row)
    {
        int const at = static_cast<int>(row);
        if (row >= static_cast<unsigned int>(items.size()))
            return nullptr;
        this->beginRemoveRows(QModelIndex(), at, at);
        Item *const item = items.takeAt(at);
        this->endRemoveRows();
        touched();
        return item;
    }
    /// The content changed.
    virtual void touched() = 0;
};

/**
 * A sprite held in memory: an identifier ("group, number" text) and an
 * image, nothing else. It has no palette, and the editing operations that
 * an engine's extension implements (duplicate, crop, split) do nothing.
 */
class MemorySprite : public Kenro::Sprite
{
public:
    MemorySprite(MemorySprites *owner, QVariant const &identifier, QImage const &picture)
        : owner(owner), identifier(identifier), picture(picture)
    {}

    MemorySprites *owner;
    QVariant identifier;
    QImage picture;

    QVariant property(QString const &name) const override
    {
        return name == QLatin1String("Identifier") ? identifier : QVariant();
    }
    void setProperty(QString const &, QVariant const &) override {}
    unsigned int index() const override;
    Kenro::Sprites *parent() const override;
    Kenro::Sprite *duplicate() override { return nullptr; }
    void crop() override {}
    void splitRGB() override {}
    bool isEmpty() const override { return picture.isNull(); }
    QImage image() const override { return picture; }
    Kenro::ImageInfo imageProperties() const override
    {
        Kenro::ImageInfo const info{quint16(picture.width()), quint16(picture.height()),
                                    picture.format()};
        return isEmpty() ? Kenro::ImageInfo() : info;
    }
    bool imageIsShared() const override { return false; }
    using Kenro::Sprite::setImage;
    void setImage(QImage const &image, bool notify, PaletteMode, Kenro::Palette *,
                  Kenro::ShareMode) override
    {
        setImage(image, notify);
    }
    /// Tells views when \a notify.
    void setImage(QImage const &image, bool notify) override;
    Kenro::Palette *palette() const override { return nullptr; }
    void setPalette(Kenro::Palette *) override {}
};

/**
 * A sprite file held in memory, for code that looks sprites up by their
 * identifier: identifiers are unique; there are no palettes.
 */
class MemorySprites : public MemoryList<Kenro::Sprites, MemorySprite>
{
    Q_OBJECT

public:
    bool dirty = false;

    /// By group, then number.
    int compare(unsigned int a, unsigned int b) const override
    {
        return compareSubItems(items.at(int(a))->identifier, items.at(int(b))->identifier);
    }
    void beginChange() override {}
    void endChange() override {}
    void remove(unsigned int index) override { delete takeRow(index); }

    Kenro::Palettes *palettes() const override { return nullptr; }
    unsigned int count() const override { return static_cast<unsigned int>(items.size()); }
    Kenro::Sprite *at(unsigned int index) const override
    {
        return index < count() ? items.at(int(index)) : nullptr;
    }
    Kenro::Sprite *insert(unsigned int index, QVariant const &identifier, QImage const &image,
                          Kenro::ShareMode) override
    {
        if (!identifier.isValid() || find(0, identifier) >= 0)
            return nullptr;
        insertRow(index, new MemorySprite(this, identifier, image));
        return at(qMin(index, count() - 1));
    }
    Kenro::Sprite *add(QVariant const &identifier, QImage const &image,
                       Kenro::ShareMode share) override
    {
        return insert(count(), identifier, image, share);
    }
    int find(unsigned int from, QVariant const &identifier) const override;
    void clear() override;

    bool isModified() const override { return dirty; }
    bool isEmpty() const override { return items.isEmpty(); }
    QList<SearchResult> search(Kenro::RegExp const &, unsigned int) const override { return {}; }
    void replace(QList<SearchResult> const &, QString const &) override {}

protected:
    Kenro::Messages *fileMessages() const override { return nullptr; }
    void touched() override { dirty = true; }

private:
    ~MemorySprites() override { qDeleteAll(items); }
    void free() override { delete this; }
};

} // namespace KenroTest
