#include <kenro/code/animationcode.h>
#include <kenro/code/framecode.h>

namespace Kenro {

FrameCode::FrameCode(QTextBlock const &block, CodeNode *after, ContactBoxesCode *attackBoxes,
                     ContactBoxesCode *collisionBoxes)
    : ParentCode(Frame, block, after), m_attackBoxes(attackBoxes), m_collisionBoxes(collisionBoxes)
{
    for (CodeNode *node = after; node; node = node->previous()) {
        if (node->type() == Group)
            break;
        if (node->type() == Frame) {
            if (ParentCode *animation = node->parent())
                animation->insertChild(this,
                                       static_cast<unsigned int>(animation->childIndex(node) + 1));
            break;
        }
        if (node->type() == Animation) {
            static_cast<ParentCode *>(node)->insertChild(this, 0);
            break;
        }
    }
}

FrameCode::~FrameCode()
{
    delete m_attackBoxes;
    delete m_collisionBoxes;
}

ContactBoxesCode *FrameCode::contactBoxes(ContactBoxCode::BoxType type) const
{
    return (type & ContactBoxCode::Attack) ? m_attackBoxes : m_collisionBoxes;
}

QPoint FrameCode::offset() const
{
    return QPoint(offsetX(), offsetY());
}

int FrameCode::index() const
{
    ParentCode const *owner = parent();
    return owner ? owner->childIndex(const_cast<FrameCode *>(this)) : -1;
}

AnimationCode *FrameCode::animation() const
{
    ParentCode *owner = parent();
    return owner && owner->type() == Animation ? static_cast<AnimationCode *>(owner) : nullptr;
}

ContactBoxesCode *FrameCode::attackBoxes() const
{
    return m_attackBoxes;
}

ContactBoxesCode *FrameCode::collisionBoxes() const
{
    return m_collisionBoxes;
}

int FrameCode::firstLine() const
{
    ParentCode const *owner = parent();
    if (!owner)
        return lineNo();
    int const row = owner->childIndex(const_cast<FrameCode *>(this));
    CodeNode const *before = row > 0 ? owner->childAt(static_cast<unsigned int>(row - 1)) : owner;
    return before ? before->lineNo() + 1 : lineNo();
}

QStringList FrameCode::propertyNames() const
{
    return {QStringLiteral("Identifier"), QStringLiteral("Offset"), QStringLiteral("Delay"),
            QStringLiteral("Scale"),      QStringLiteral("Angle"),  QStringLiteral("Flip"),
            QStringLiteral("LoopPoint")};
}

QVariant FrameCode::property(QString const &name) const
{
    switch (propertyNames().indexOf(name)) {
    case 1:
        return offset();
    case 2:
        return delay();
    case 3:
        return scale();
    case 4:
        return angle();
    case 5:
        return static_cast<int>(flipFlags());
    case 6:
        return isLoopPoint();
    default:
        return QVariant();
    }
}

void FrameCode::setProperty(QString const &name, QVariant const &value)
{
    switch (propertyNames().indexOf(name)) {
    case 1:
        setOffset(value.toPoint());
        break;
    case 2:
        setDelay(value.toInt());
        break;
    case 3:
        setScale(value.toPointF());
        break;
    case 4:
        setAngle(value.toDouble());
        break;
    case 5:
        setFlipFlags(value.toUInt());
        break;
    case 6:
        setLoopPoint(value.toBool());
        break;
    default:
        break;
    }
}

} // namespace Kenro
