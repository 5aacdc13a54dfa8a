#pragma once

#include "sffcontent.h"

#include <kenro/imaging/sprite.h>

namespace Kenro::Ikemen {

class SffPalette;
class SffSprites;

/**
 * A sprite of an archive: group and number (the identifier, "group, number"),
 * an axis, an image that linked sprites share, and a palette for indexed
 * images.
 */
class SffSprite : public Sprite
{
public:
    SffSprite(SffSprites *owner, quint16 group, quint16 number, std::shared_ptr<SffImage> image,
              SffPalette *palette);

    /// "group, number", the identifier as text.
    QString label() const;
    quint16 group() const;
    quint16 number() const;
    /// The point of the image that stands on the sprite's position.
    QPoint axis() const;
    void setAxis(QPoint axis);
    /// The shared image record, or null.
    std::shared_ptr<SffImage> const &imageData() const;
    /// The palette indices of an indexed image, without the palette applied.
    QImage pixels() const;
    /// Sets the palette without telling anyone, for the collections' own bookkeeping.
    void usePalette(SffPalette *palette);

    /// "Identifier", "Group", "Number" and "Axis".
    QStringList propertyNames() const override;
    QVariant property(QString const &name) const override;
    /// "Identifier" takes "group, number" text that no other sprite has; "Axis" a point.
    void setProperty(QString const &name, QVariant const &value) override;
    unsigned int index() const override;
    Sprites *parent() const override;
    /// A copy in the same group under the next free number, sharing the image.
    Sprite *duplicate() override;
    void crop() override;
    /// Adds three indexed sprites, the red, green and blue of the image on a grey palette.
    void splitRGB() override;
    bool isEmpty() const override;
    /// The image; an indexed one carries the sprite's palette as its colour table.
    QImage image() const override;
    ImageInfo imageProperties() const override;
    bool imageIsShared() const override;
    using Sprite::setImage;
    void setImage(QImage const &image, bool notify, PaletteMode mode, Palette *palette,
                  ShareMode share) override;
    void setImage(QImage const &image, bool notify) override;
    Palette *palette() const override;
    /// Takes a palette of the sprite's own archive, or null.
    void setPalette(Palette *palette) override;

private:
    friend class SffSprites;

    SffSprites *m_owner;
    quint16 m_group;
    quint16 m_number;
    QPoint m_axis;
    std::shared_ptr<SffImage> m_image;
    SffPalette *m_palette;
};

} // namespace Kenro::Ikemen
