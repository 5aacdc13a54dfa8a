#include <kenro/code/contactboxcode.h>

namespace Kenro {

ContactBoxCode::ContactBoxCode(BoxType type, QRect const &rect, QTextBlock const &block,
                               CodeNode *after)
    : CodeNode(HitBox, block, after), m_boxType(type), m_rect(rect.normalized())
{}

ContactBoxCode::BoxType ContactBoxCode::boxType() const
{
    return m_boxType;
}

QRect ContactBoxCode::rect() const
{
    return m_rect;
}

void ContactBoxCode::setFields(BoxType type, QRect const &rect)
{
    m_boxType = type;
    m_rect = rect.normalized();
}

QStringList ContactBoxCode::propertyNames() const
{
    return {QStringLiteral("Type"), QStringLiteral("Rect")};
}

QVariant ContactBoxCode::property(QString const &name) const
{
    switch (propertyNames().indexOf(name)) {
    case 0:
        return static_cast<int>(m_boxType);
    case 1:
        return m_rect;
    default:
        return QVariant();
    }
}

void ContactBoxCode::setProperty(QString const &name, QVariant const &value)
{
    if (propertyNames().indexOf(name) == 1 && value.canConvert<QRect>())
        setRect(value.toRect());
}

ContactBoxesCode::ContactBoxesCode(ContactBoxCode::BoxType type) : m_boxType(type) {}

ContactBoxesCode::~ContactBoxesCode() = default;

ContactBoxCode::BoxType ContactBoxesCode::boxType() const
{
    return m_boxType;
}

QList<QRect> ContactBoxesCode::rects() const
{
    QList<QRect> result;
    unsigned int const total = count();
    result.reserve(static_cast<qsizetype>(total));
    for (unsigned int i = 0; i < total; ++i) {
        if (ContactBoxCode const *box = at(i))
            result.append(box->rect());
    }
    return result;
}

} // namespace Kenro
