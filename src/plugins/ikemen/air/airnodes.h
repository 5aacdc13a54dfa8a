#pragma once

#include <kenro/code/animationcode.h>
#include <kenro/code/contactboxcode.h>
#include <kenro/code/framecode.h>
#include <kenro/code/valuecode.h>

namespace Kenro {
class CodeDocument;
}

namespace Kenro::Ikemen {

class AirFrame;

/// "[Begin Action n]": an action of an AIR file, named by its number.
class AirAnimation final : public Kenro::AnimationCode
{
public:
    AirAnimation(int number, QTextBlock const &block, Kenro::CodeNode *after);

    int number() const;
    /// Stores what the parser read; the text stays as it is.
    void setNumber(int number);

    /// The number, as text.
    QString name() const override;
    /// "Action n", with the title comment above the heading where there is one.
    QString displayName() const override;
    /// Rewrites the heading with the number \a name; anything but a number changes nothing.
    void setName(QString const &name) override;
    QVariant property(QString const &name) const override;
    void setProperty(QString const &name, QVariant const &value) override;

    int loopStart() const override;
    Kenro::FrameCode *insertFrame(unsigned int index, int copyOf) override;
    Kenro::FrameCode *addFrame(int copyOf) override;
    /// The heading, with the comment lines right above it: they title the action.
    int firstLine() const override;

private:
    int m_number;
};

/// A modifier line: "Clsn2Default: n" and the like, "Loopstart", "Interpolate ...".
class AirValue final : public Kenro::ValueCode
{
public:
    enum Kind { BoxHeader, LoopStart, Interpolate };

    /// A box header of \a boxType, for one frame or (\a isDefault) for all that follow.
    static AirValue *header(Kenro::ContactBoxCode::BoxType boxType, bool isDefault, int count,
                            QTextBlock const &block, Kenro::CodeNode *after);
    /// "Loopstart", or "Interpolate <what>".
    AirValue(Kind kind, QString const &what, QTextBlock const &block, Kenro::CodeNode *after);

    Kind kind() const;
    Kenro::ContactBoxCode::BoxType boxType() const;
    bool isDefault() const;
    /// The box count of a header.
    int count() const;
    /// Stores what the parser read; true when the line is of the same kind.
    bool update(Kind kind, Kenro::ContactBoxCode::BoxType boxType, bool isDefault,
                QVariant const &value, QString const &what);
    /// Rewrites the box count of a header.
    void writeCount(int count);

    QString name() const override;
    void setName(QString const &name) override;
    QString valueText() const override;
    QString keyword(unsigned int index) const override;

private:
    AirValue(Kind kind, Type type, QVariant const &value, QTextBlock const &block,
             Kenro::CodeNode *after);

    Kind m_kind;
    Kenro::ContactBoxCode::BoxType m_boxType = Kenro::ContactBoxCode::Collision;
    bool m_default = false;
    QString m_what;
};

/// "Clsn2[i] = x1, y1, x2, y2": one box, two corners in any order.
class AirBox final : public Kenro::ContactBoxCode
{
public:
    AirBox(BoxType type, int index, QRect const &corners, QTextBlock const &block,
           Kenro::CodeNode *after);

    /// The index written in brackets.
    int boxIndex() const;
    /// The corners as written: left, top, right and bottom may be swapped.
    QRect corners() const;
    /// Stores what the parser read.
    void update(BoxType type, int index, QRect const &corners);
    /// Rewrites the index in brackets.
    void writeIndex(int index);

    /// Keeps the order of the corners as they were written.
    void setRect(QRect const &rect) override;

    /// The rectangle of two corners.
    static QRect fromCorners(QRect const &corners);

private:
    int m_index;
    QRect m_corners;
};

/// The boxes of one type that apply to one frame: its own block, or the default above.
class AirBoxes final : public Kenro::ContactBoxesCode
{
public:
    explicit AirBoxes(Kenro::ContactBoxCode::BoxType type);

    /// Where the boxes come from.
    struct Source
    {
        AirValue *own = nullptr; // a header for this frame alone
        AirValue *fallback = nullptr; // the default header that applies here
        AirValue *header() const { return own ? own : fallback; }
    };

    void setFrame(AirFrame *frame);
    Source source() const;
    /// The boxes that follow \a header.
    static QList<AirBox *> boxesOf(AirValue const *header);

    Kenro::FrameCode *parent() const override;
    unsigned int count() const override;
    Kenro::ContactBoxCode *at(unsigned int index) const override;
    Kenro::ContactBoxCode *add(QRect const &rect) override;
    void remove(unsigned int index) override;
    void clear() override;

private:
    AirFrame *m_frame = nullptr;
};

/// "group, image, x, y, time[, flip[, blend[, xscale, yscale[, angle]]]]".
class AirFrame final : public Kenro::FrameCode
{
public:
    /// What a frame line says.
    struct Fields
    {
        int group = 0;
        int image = 0;
        int x = 0;
        int y = 0;
        int delay = 0;
        unsigned char flip = 0;
        Blend blend;
        double scaleX = 1.0;
        double scaleY = 1.0;
        double angle = 0.0;
    };

    AirFrame(Fields const &fields, QTextBlock const &block, Kenro::CodeNode *after);

    Fields const &fields() const;
    /// Stores what the parser read; the text stays as it is.
    void update(Fields const &fields);

    /// Blend as written in a frame line; empty for none, null for one AIR cannot write.
    static QString blendText(Blend const &blend);
    static QString flipText(unsigned int flags);

    Kenro::Sprite *sprite() const override;
    void setSprite(QVariant const &identifier) override;
    int offsetX() const override;
    void setOffsetX(int x) override;
    int offsetY() const override;
    void setOffsetY(int y) override;
    void setOffset(QPoint const &offset) override;
    bool isLoopPoint() const override;
    void setLoopPoint(bool loopPoint) override;
    int delay() const override;
    void setDelay(int delay) override;
    double scaleX() const override;
    void setScaleX(double x) override;
    double scaleY() const override;
    void setScaleY(double y) override;
    QPointF scale() const override;
    void setScale(QPointF const &scale) override;
    double angle() const override;
    void setAngle(double angle) override;
    bool isTransformed() const override;
    unsigned char flipFlags() const override;
    void setFlipFlags(unsigned int flags) override;
    Blend::Mode blendMode() const override;
    void setBlendMode(Blend::Mode mode) override;
    double blendSource() const override;
    void setBlendSource(double source) override;
    double blendDestination() const override;
    void setBlendDestination(double destination) override;
    Blend blend() const override;
    void setBlend(Blend const &blend) override;
    void setContactBoxes(Kenro::ContactBoxCode::BoxType type, QList<QRect> const &rects) override;
    bool sharesContactBoxes(Kenro::ContactBoxCode::BoxType type) const override;
    Kenro::FrameCode *duplicate() override;
    /// With \a all, the frame's line and its own boxes; lines that serve
    /// the frames below (defaults, the loop start, comments) stay.
    void remove(bool all) override;

    /// "group,image" for "Identifier", then the properties of every frame.
    QVariant property(QString const &name) const override;
    void setProperty(QString const &name, QVariant const &value) override;

private:
    // Rewrites the fields of the line given by \a changes.
    void write(QMap<int, QString> const &changes);
    void writeScaleAndAngle(double x, double y, double angle);

    Fields m_fields;
};

/// The code document of a node, or null.
Kenro::CodeDocument *codeDocumentOf(Kenro::CodeNode const *node);

} // namespace Kenro::Ikemen
