#pragma once

#include <kenro/imaging/palette.h>
#include <kenro/imaging/palettes.h>
#include <kenro/imaging/sprite.h>
#include <kenro/imaging/sprites.h>

#include <functional>
#include <memory>

namespace KenroTest {

class MemoryPalettes;
class MemorySprites;

/// A palette held in memory; its identifier is a number.
class MemoryPalette : public Kenro::Palette
{
public:
    MemoryPalette(MemoryPalettes *owner, QVariant const &identifier, Kenro::RGBA const *colors);

    MemoryPalettes *owner;
    QVariant identifier;
    Kenro::RGBA colors[256];

    QStringList propertyNames() const override;
    QVariant property(QString const &name) const override;
    void setProperty(QString const &name, QVariant const &value) override;
    Kenro::Palettes *parent() const override;
    unsigned int index() const override;
    bool colorTable(Kenro::RGBA (&out)[256]) const override;
    /// Stores the colours; this store has nothing to share them with.
    void setColorTable(Kenro::RGBA const *table, Kenro::ShareMode share) override;
    Kenro::Palette *duplicate() override;
};

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

/// The palettes of a MemorySprites, in memory.
class MemoryPalettes : public MemoryList<Kenro::Palettes, MemoryPalette>
{
    Q_OBJECT

public:
    explicit MemoryPalettes(MemorySprites *sprites);
    ~MemoryPalettes() override;

    MemorySprites *owner;
    int changeDepth = 0;

    /// The index of \a palette, or -1.
    int indexOf(Kenro::Palette const *palette) const;
    /// The first palette with \a colors, or null.
    MemoryPalette *findEqual(Kenro::RGBA const *colors) const;
    /// A number that no palette has yet.
    unsigned int freeIdentifier() const;

    int compare(unsigned int a, unsigned int b) const override;
    void beginChange() override;
    void endChange() override;
    void remove(unsigned int index) override;

    Kenro::Sprites *sprites() const override;
    unsigned int count() const override;
    Kenro::Palette *at(unsigned int index) const override;
    Kenro::Palette *add(Kenro::RGBA const *colors, QVariant const &identifier,
                        Kenro::ShareMode share) override;
    Kenro::Palette *insert(unsigned int index, Kenro::RGBA const *colors,
                           QVariant const &identifier, Kenro::ShareMode share) override;
    void removeDuplicates() override;
    int find(unsigned int from, unsigned int identifier) const override;
    void clear() override;
    void clearUnused() override;

    /// Tells views that the palette at \a row changed.
    void rowChanged(int row);

protected:
    void touched() override;
};

/**
 * A sprite held in memory. Its identifier is "group, image" text; sprites
 * with equal images share one, and each has an axis that crop() keeps.
 */
class MemorySprite : public Kenro::Sprite
{
public:
    MemorySprite(MemorySprites *owner, QVariant const &identifier, std::shared_ptr<QImage> picture);

    MemorySprites *owner;
    QVariant identifier;
    std::shared_ptr<QImage> picture;
    MemoryPalette *currentPalette = nullptr;
    QPoint axis;

    QStringList propertyNames() const override;
    QVariant property(QString const &name) const override;
    /// "Identifier" takes any identifier that no other sprite has.
    void setProperty(QString const &name, QVariant const &value) override;
    unsigned int index() const override;
    Kenro::Sprites *parent() const override;
    Kenro::Sprite *duplicate() override;
    void crop() override;
    void splitRGB() override;
    bool isEmpty() const override;
    QImage image() const override;
    Kenro::ImageInfo imageProperties() const override;
    bool imageIsShared() const override;
    using Kenro::Sprite::setImage;
    void setImage(QImage const &image, bool notify, PaletteMode mode, Kenro::Palette *palette,
                  Kenro::ShareMode share) override;
    void setImage(QImage const &image, bool notify) override;
    Kenro::Palette *palette() const override;
    /// Takes palettes of its own collection only.
    void setPalette(Kenro::Palette *palette) override;
};

/**
 * A sprite file held in memory, as an engine's extension would make one:
 * identifiers are unique, equal images and palettes are shared as the share
 * mode says, and `askToShare` answers the question of AskToShare.
 */
class MemorySprites : public MemoryList<Kenro::Sprites, MemorySprite>
{
    Q_OBJECT

public:
    MemorySprites();

    MemoryPalettes paletteList;
    bool dirty = false;
    int changeDepth = 0;
    int changeSteps = 0;
    std::function<bool()> askToShare;

    /// True when an equal image or palette may be reused under \a share.
    bool mayShare(Kenro::ShareMode share) const;
    /// "group, image" text that no sprite has, in \a group.
    QString freeIdentifier(int group) const;
    /// The picture of an equal image to reuse under \a share, else a new one.
    std::shared_ptr<QImage> pictureFor(QImage const &image, Kenro::ShareMode share) const;
    /// Tells views that the sprite at \a row changed, and marks the file modified.
    void rowChanged(int row);
    void markModified();

    /// By group, then image number.
    int compare(unsigned int a, unsigned int b) const override;
    void beginChange() override;
    void endChange() override;
    void remove(unsigned int index) override;

    Kenro::Palettes *palettes() const override;
    unsigned int count() const override;
    Kenro::Sprite *at(unsigned int index) const override;
    Kenro::Sprite *insert(unsigned int index, QVariant const &identifier, QImage const &image,
                          Kenro::ShareMode share) override;
    Kenro::Sprite *add(QVariant const &identifier, QImage const &image,
                       Kenro::ShareMode share) override;
    int find(unsigned int from, QVariant const &identifier) const override;
    void clear() override;

    bool isModified() const override;
    bool isEmpty() const override;
    QList<SearchResult> search(Kenro::RegExp const &regExp, unsigned int flags) const override;
    void replace(QList<SearchResult> const &results, QString const &text) override;

protected:
    Kenro::Messages *fileMessages() const override;
    void touched() override;

private:
    ~MemorySprites() override;
    void free() override;
};

} // namespace KenroTest
