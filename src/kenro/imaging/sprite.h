#pragma once

#include <kenro/code/propertyitem.h>
#include <kenro/imaging/imageinfo.h>
#include <kenro/imaging/sharemode.h>

#include <QImage>
#include <QPoint>

namespace Kenro {

class Palette;
class Sprites;

/**
 * One image of a sprite collection, with its palette. The engine's
 * extension keeps the bytes and gives each sprite an identifier (the
 * property "Identifier") that only it understands.
 */
class KENRO_EXPORT Sprite : public PropertyItem
{
public:
    /// What becomes of the palette when a new image replaces the sprite's.
    enum PaletteMode {
        /// The image's indices stay, and so does the sprite's palette.
        Ignore = 0,
        /// The sprite gets a palette of its own, made from the image's colours.
        OwnPalette = 1,
        /// The image is remapped to the sprite's palette.
        AdaptImage = 2,
        /// The sprite's palette takes the image's colours.
        SwapPalette = 3
    };

    Sprite(Sprite const &) = default;
    Sprite &operator=(Sprite const &) = default;

    /// "Identifier"; an extension may add more.
    QStringList propertyNames() const override;

    /// The position of the sprite in its collection.
    virtual unsigned int index() const = 0;
    /// The collection.
    virtual Sprites *parent() const = 0;
    /// Adds a copy to the collection, under an identifier of its own; null on failure.
    virtual Sprite *duplicate() = 0;
    /// Cuts off transparent borders, keeping the sprite's axis where it is.
    virtual void crop() = 0;
    /// Adds a sprite for each of the red, green and blue channels.
    virtual void splitRGB() = 0;
    /// True when the sprite holds no image.
    virtual bool isEmpty() const = 0;
    /// The decoded image; null when there is none.
    virtual QImage image() const = 0;
    /// Format and size, without decoding.
    virtual ImageInfo imageProperties() const = 0;
    /// True when more than one sprite uses this image.
    virtual bool imageIsShared() const = 0;
    /// Replaces the image: setImage(image, true).
    virtual void setImage(QImage const &image);
    /**
     * Replaces the image, dealing with the palette by \a mode (\a palette is
     * the one to use, where the mode takes one) and storing by \a share;
     * with \a notify the change is announced.
     */
    virtual void setImage(QImage const &image, bool notify, PaletteMode mode, Palette *palette,
                          ShareMode share) = 0;
    /// Replaces the image, announcing the change with \a notify.
    virtual void setImage(QImage const &image, bool notify) = 0;
    /// The palette, or null.
    virtual Palette *palette() const = 0;
    virtual void setPalette(Palette *palette) = 0;

    /**
     * The image on a canvas of \a newAxis plus \a extent, its axis moved from
     * \a oldAxis to \a newAxis and the rest zero, so that several sprites
     * stack with their axes on one point. Callers size the canvas from all
     * sprites involved; what would fall outside it is left out. A null image
     * for an empty sprite or an empty canvas.
     */
    QImage aligned(QPoint oldAxis, QPoint newAxis, QPoint extent) const;

protected:
    Sprite() = default;
    ~Sprite() override;
};

} // namespace Kenro
