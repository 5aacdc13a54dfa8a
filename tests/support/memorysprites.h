#pragma once

#include <kenro/imaging/sprite.h>
#include <kenro/imaging/sprites.h>

namespace KenroTest {

class MemorySprites;

/// A sprite of an identifier ("group, number") and an image; no palette, no editing.
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
        return isEmpty() ? Kenro::ImageInfo()
                         : Kenro::ImageInfo{quint16(picture.width()), quint16(picture.height()),
                                            picture.format()};
    }
    bool imageIsShared() const override { return false; }
    using Kenro::Sprite::setImage;
    void setImage(QImage const &image, bool notify, PaletteMode, Kenro::Palette *,
                  Kenro::ShareMode) override
    {
        setImage(image, notify);
    }
    void setImage(QImage const &image, bool notify) override;
    Kenro::Palette *palette() const override { return nullptr; }
    void setPalette(Kenro::Palette *) override {}
};

/// A sprite file held in memory, for code that looks sprites up by their unique identifiers.
class MemorySprites : public Kenro::Sprites
{
    Q_OBJECT

public:
    QList<MemorySprite *> items;
    bool dirty = false;
    int rowCount(QModelIndex const &parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(items.size());
    }
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;
    void move(unsigned int from, unsigned int to) override;
    /// By group, then number.
    int compare(unsigned int a, unsigned int b) const override;
    void beginChange() override {}
    void endChange() override {}
    void remove(unsigned int index) override;
    Kenro::Palettes *palettes() const override { return nullptr; }
    unsigned int count() const override { return static_cast<unsigned int>(items.size()); }
    Kenro::Sprite *at(unsigned int index) const override { return items.value(int(index)); }
    Kenro::Sprite *insert(unsigned int index, QVariant const &identifier, QImage const &image,
                          Kenro::ShareMode) override;
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

private:
    ~MemorySprites() override { qDeleteAll(items); }
    void free() override { delete this; }
};

} // namespace KenroTest
