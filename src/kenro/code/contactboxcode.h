#pragma once

#include <kenro/code/codenode.h>

#include <QList>
#include <QRect>

namespace Kenro {

class FrameCode;

/**
 * One contact box of a frame: a rectangle that hits (attack) or can be hit
 * (collision). The extension's class writes the rectangle back as text; the
 * parser keeps the fields in step with the line.
 */
class KENRO_EXPORT ContactBoxCode : public CodeNode, public PropertyItem
{
public:
    /// What the box does; a bit mask, so that both kinds test at once.
    enum BoxType { Attack = 1, Collision = 2 };

    BoxType boxType() const;
    /// The rectangle, normalised: width and height are never negative.
    QRect rect() const;
    /// Rewrites the box's line for \a rect; the parser then updates the box.
    virtual void setRect(QRect const &rect) = 0;

    /// "Type", then "Rect".
    QStringList propertyNames() const override;
    QVariant property(QString const &name) const override;
    /// Only "Rect" can be written.
    void setProperty(QString const &name, QVariant const &value) override;

protected:
    /// A box of \a type holding \a rect, made from \a block behind \a after.
    ContactBoxCode(BoxType type, QRect const &rect, QTextBlock const &block, CodeNode *after);

    /// Stores what the parser read from the line; the text stays as it is.
    void setFields(BoxType type, QRect const &rect);

private:
    BoxType m_boxType;
    QRect m_rect;
};

/**
 * The boxes of one type of one frame. Boxes may be written apart from the
 * frame's line, and one list of boxes may serve several frames: the
 * extension's class knows where they stand in the text, and every change
 * goes through it.
 */
class KENRO_EXPORT ContactBoxesCode
{
public:
    virtual ~ContactBoxesCode();

    /// The frame whose boxes these are.
    virtual FrameCode *parent() const = 0;
    virtual unsigned int count() const = 0;
    /// The box at \a index, or null.
    virtual ContactBoxCode *at(unsigned int index) const = 0;
    /// Adds a box of \a rect for the frame; the new box, or null where none could be written.
    virtual ContactBoxCode *add(QRect const &rect) = 0;
    /// Removes the box at \a index; out of range does nothing.
    virtual void remove(unsigned int index) = 0;
    /// Removes all boxes of the frame.
    virtual void clear() = 0;

    ContactBoxCode::BoxType boxType() const;
    /// The rectangles of all boxes, in order.
    QList<QRect> rects() const;

protected:
    explicit ContactBoxesCode(ContactBoxCode::BoxType type);

private:
    ContactBoxCode::BoxType m_boxType;
};

} // namespace Kenro
