#pragma once

#include <kenro/code/codenode.h>
#include <kenro/code/contactboxcode.h>

#include <QPoint>
#include <QPointF>

namespace Kenro {

class AnimationCode;
class Sprite;

/**
 * One frame of an animation: a sprite shown at an offset for a number of
 * ticks, flipped, scaled, turned and blended, with its contact boxes. The
 * extension's class reads the frame from its line and writes every change
 * back into the text; the parser then updates the frame.
 */
class KENRO_EXPORT FrameCode : public ParentCode, public PropertyItem
{
public:
    /// Mirroring of the sprite; a bit mask.
    enum Flip { None = 0, Horizontal = 1, Vertical = 2, Both = 3 };

    /// How the sprite mixes with what is behind it.
    struct Blend
    {
        enum Mode {
            None = 0,
            Addition = 1,
            Subtraction = 2,
            Overlay = 3,
            HardLight = 4,
            Dodge = 5,
            Opacity = 6
        };

        Blend() = default;
        Blend(Mode m, double s, double d) : mode(m), source(s), destination(d) {}
        bool operator==(Blend const &other) const
        {
            return mode == other.mode && source == other.source && destination == other.destination;
        }
        bool operator!=(Blend const &other) const { return !(*this == other); }

        Mode mode = None;
        /// Factor of the sprite's colour, 1 for all of it.
        double source = 1.0;
        /// Factor of the colour behind, 1 for all of it.
        double destination = 1.0;
    };

    /// The frame's sprite in the project's sprites, or null where it is not found.
    virtual Sprite *sprite() const = 0;
    /// Shows the sprite named by \a identifier, in the form property "Identifier" gives.
    virtual void setSprite(QVariant const &identifier) = 0;
    virtual int offsetX() const = 0;
    virtual void setOffsetX(int x) = 0;
    virtual int offsetY() const = 0;
    virtual void setOffsetY(int y) = 0;
    /// Writes both offsets in one change of the line.
    virtual void setOffset(QPoint const &offset) = 0;
    /// True when the player returns to this frame at the end of the animation.
    virtual bool isLoopPoint() const = 0;
    /// Makes this frame the animation's loop point, or the animation loop from its start.
    virtual void setLoopPoint(bool loopPoint) = 0;
    /// Ticks the frame is shown; a negative delay means for ever.
    virtual int delay() const = 0;
    virtual void setDelay(int delay) = 0;
    virtual double scaleX() const = 0;
    virtual void setScaleX(double x) = 0;
    virtual double scaleY() const = 0;
    virtual void setScaleY(double y) = 0;
    virtual QPointF scale() const = 0;
    /// Writes both scales in one change of the line.
    virtual void setScale(QPointF const &scale) = 0;
    /// The angle of rotation in degrees, counter-clockwise.
    virtual double angle() const = 0;
    virtual void setAngle(double angle) = 0;
    /// True when the frame is scaled or turned.
    virtual bool isTransformed() const = 0;
    /// The Flip bits.
    virtual unsigned char flipFlags() const = 0;
    virtual void setFlipFlags(unsigned int flags) = 0;
    virtual Blend::Mode blendMode() const = 0;
    virtual void setBlendMode(Blend::Mode mode) = 0;
    virtual double blendSource() const = 0;
    virtual void setBlendSource(double source) = 0;
    virtual double blendDestination() const = 0;
    virtual void setBlendDestination(double destination) = 0;
    virtual Blend blend() const = 0;
    /// Writes mode and factors in one change; a blend the format cannot write changes nothing.
    virtual void setBlend(Blend const &blend) = 0;
    /// Replaces the boxes of \a type of this frame alone by \a rects.
    virtual void setContactBoxes(ContactBoxCode::BoxType type, QList<QRect> const &rects) = 0;
    /// True when the boxes of \a type are written once for several frames.
    virtual bool sharesContactBoxes(ContactBoxCode::BoxType type) const = 0;
    /// Inserts a copy of the frame behind it; the copy, or null.
    virtual FrameCode *duplicate() = 0;
    /// The attack boxes for a \a type with bit 1 set, else the collision boxes.
    virtual ContactBoxesCode *contactBoxes(ContactBoxCode::BoxType type) const;

    /// Both offsets.
    QPoint offset() const;
    /// The row of the frame in its animation; -1 without one.
    int index() const;
    /// The animation of the frame, or null.
    AnimationCode *animation() const;
    ContactBoxesCode *attackBoxes() const;
    ContactBoxesCode *collisionBoxes() const;

    /// The line after the frame before it, or after the heading: lines above belong to the frame.
    int firstLine() const override;

    /// "Identifier", "Offset", "Delay", "Scale", "Angle", "Flip", "LoopPoint".
    QStringList propertyNames() const override;
    /// Every property but "Identifier", which the extension's class knows.
    QVariant property(QString const &name) const override;
    /// Every property but "Identifier", through the setters.
    void setProperty(QString const &name, QVariant const &value) override;

protected:
    /**
     * A frame made from \a block behind \a after; it joins the animation that
     * the chain puts it in. It owns \a attackBoxes and \a collisionBoxes.
     */
    FrameCode(QTextBlock const &block, CodeNode *after, ContactBoxesCode *attackBoxes,
              ContactBoxesCode *collisionBoxes);
    ~FrameCode() override;

private:
    ContactBoxesCode *m_attackBoxes;
    ContactBoxesCode *m_collisionBoxes;
};

} // namespace Kenro
