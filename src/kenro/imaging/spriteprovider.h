#pragma once

#include <kenro/kenro_export.h>

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>

namespace Kenro {

class PropertyItem;
class Sprite;

/**
 * What a stage asks for the sprites to draw: a count and one record per
 * item. The provider keeps the records; the stage completes their screen
 * fields on every frame, and moves their positions when the user drags.
 */
class KENRO_EXPORT SpriteProvider
{
public:
    /// One item of the stage.
    struct Info
    {
        // Kept by the provider.
        /// The sprite shown, or null for nothing.
        Sprite const *sprite = nullptr;
        /**
         * The position mode: bits 0-1 the reference (0 screen, 1 origin, 2 a
         * cross, 3 another item, named by `parent`), bit 2 movable in x, bit 3
         * movable in y, bit 4 the position is in world units, bit 5 the
         * position does not count when released.
         */
        unsigned char positionMode = 0x1D;
        unsigned int parent = 0;
        /// Where the sprite's axis stands, relative to its reference.
        QPointF position;
        /// The two factors of the item's scale: the frame's and the sprite's own.
        QPointF scale = QPointF(1.0, 1.0);
        QPointF spriteScale = QPointF(1.0, 1.0);
        /// Mirroring: bit 0 across, bit 1 down.
        unsigned char flip = 0;
        /// Degrees the sprite is turned around its axis, counter-clockwise.
        double angle = 0.0;
        /// How the sprite mixes with what is behind it: a mode of FrameCode::Blend and its factors.
        int blendMode = 0;
        double blendSource = 1.0;
        double blendDestination = 1.0;

        // Completed by the stage on every frame.
        /// The screen point of the sprite's axis.
        QPoint screenPosition;
        /// The screen rectangle of the image, flips applied, or the box around it when turned.
        QRect screenRect;
        /// Both factors times the stage's scale.
        QPointF screenScale = QPointF(1.0, 1.0);
        /// The image's rectangle in world units, from the origin.
        QRectF worldRect;
    };

    virtual ~SpriteProvider();
    /// The number of items.
    virtual unsigned int count() const = 0;
    /// What item \a index shows (a frame, a sprite), for the host and scripts; null for nothing.
    virtual PropertyItem *item(unsigned int index) const = 0;
    /// The record of item \a index, or null out of range.
    virtual Info *info(unsigned int index) = 0;
};

} // namespace Kenro
