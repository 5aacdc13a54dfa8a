#include <kenro/code/groupcode.h>
#include <kenro/code/valuecode.h>

#include <QDate>

namespace Kenro {

ValueCode::ValueCode(Type type, QTextBlock const &block, CodeNode *after, QVariant const &value)
    : CodeNode(CodeNode::Value, block, after), m_valueType(type)
{
    m_rawValue = convertFrom(type, value);

    // Join the section that the chain puts this value in.
    for (CodeNode *node = previous(); node; node = node->previous()) {
        switch (node->type()) {
        case CodeNode::Value:
            if (ParentCode *group = node->parent())
                group->insertChild(this, static_cast<unsigned int>(group->childIndex(node) + 1));
            return;
        case CodeNode::Group:
            static_cast<GroupCode *>(node)->insertChild(this, 0);
            return;
        case CodeNode::Animation:
            return;
        default:
            break;
        }
    }
}

QVariant ValueCode::value() const
{
    if (m_valueType == Keyword)
        return keyword(m_rawValue.toUInt());
    return m_rawValue;
}

void ValueCode::setValue(QVariant const &value)
{
    m_rawValue = convertFrom(m_valueType, value);
}

void ValueCode::valueChanged(QVariant const &value)
{
    m_rawValue = convertFrom(m_valueType, value);
    if (ParentCode *group = parent()) {
        group->childChanged(this);
        group->changed(group, group->childIndex(this), 0);
    }
}

ValueCode::Type ValueCode::valueType() const
{
    return m_valueType;
}

QVariant const &ValueCode::rawValue() const
{
    return m_rawValue;
}

bool ValueCode::isScalar() const
{
    switch (m_valueType) {
    case String:
    case File:
    case Date:
    case Keyword:
    case KeywordVector:
    case Float:
    case Int:
        return true;
    default:
        return false;
    }
}

bool ValueCode::asBool() const
{
    return m_rawValue.toBool();
}

int ValueCode::asInt() const
{
    return m_rawValue.toInt();
}

unsigned int ValueCode::asUInt() const
{
    return m_rawValue.toUInt();
}

double ValueCode::asReal() const
{
    return m_rawValue.toDouble();
}

QList<int> ValueCode::asIntVector() const
{
    QList<int> result;
    if (isScalar())
        result.append(asInt());
    if (result.isEmpty()) {
        QVariantList const list = m_rawValue.toList();
        for (QVariant const &element : list)
            result.append(element.toInt());
    }
    return result;
}

QList<double> ValueCode::asRealVector() const
{
    QList<double> result;
    if (isScalar())
        result.append(asReal());
    QVariantList const list = m_rawValue.toList();
    for (QVariant const &element : list)
        result.append(element.toDouble());
    return result;
}

QVariantList ValueCode::asVector() const
{
    QVariantList result = m_rawValue.toList();
    if (isScalar())
        result.prepend(m_rawValue);
    return result;
}

QPoint ValueCode::asPoint() const
{
    if (m_rawValue.typeId() == QMetaType::QPoint)
        return m_rawValue.toPoint();
    if (isScalar())
        return QPoint(asInt(), 0);
    if (m_valueType == IntVec2)
        return m_rawValue.toPoint();
    QPoint point(0, 0);
    QVariantList const list = m_rawValue.toList();
    if (list.size() > 0)
        point.setX(list.at(0).toInt());
    if (list.size() > 1)
        point.setY(list.at(1).toInt());
    return point;
}

QPointF ValueCode::asPointF() const
{
    if (m_rawValue.typeId() == QMetaType::QPointF)
        return m_rawValue.toPointF();
    if (isScalar())
        return QPointF(asReal(), 0);
    if (m_valueType == FloatVec2)
        return m_rawValue.toPointF();
    QPointF point(0, 0);
    QVariantList const list = m_rawValue.toList();
    if (list.size() > 0)
        point.setX(list.at(0).toDouble());
    if (list.size() > 1)
        point.setY(list.at(1).toDouble());
    return point;
}

QSize ValueCode::asSize() const
{
    QPoint const point = asPoint();
    return QSize(point.x(), point.y());
}

QRect ValueCode::asRect() const
{
    QRect rect;
    if (m_rawValue.typeId() == QMetaType::QRect)
        return m_rawValue.toRect();
    if (isScalar()) {
        rect.setLeft(asInt());
        return rect;
    }
    QVariantList const list = m_rawValue.toList();
    if (list.size() > 0)
        rect.setLeft(list.at(0).toInt());
    if (list.size() > 1)
        rect.setTop(list.at(1).toInt());
    if (list.size() > 2)
        rect.setRight(list.at(2).toInt());
    if (list.size() > 3)
        rect.setBottom(list.at(3).toInt());
    return rect;
}

namespace {

bool isList(QVariant const &value)
{
    return value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
}

} // namespace

QVariant ValueCode::convertFrom(Type type, QVariant const &value) const
{
    switch (type) {
    case String:
    case File:
        return value.toString();
    case Keyword:
        return value.toUInt();
    case KeywordVector:
        return isList(value) ? value : QVariantList{value.toUInt()};
    case FloatVec2: {
        if (value.typeId() == QMetaType::QPointF)
            return value;
        if (!isList(value))
            return value.toPointF();
        QVariantList const list = value.toList();
        return QPointF(list.value(0).toDouble(), list.value(1).toDouble());
    }
    case FloatVec3:
    case FloatVec4:
    case FloatVector:
        return isList(value) ? value : QVariantList{value.toDouble()};
    case Int:
        return value.toInt();
    case IntVec2: {
        if (value.typeId() == QMetaType::QPoint)
            return value;
        if (!isList(value))
            return value.toPoint();
        QVariantList const list = value.toList();
        return QPoint(list.value(0).toInt(), list.value(1).toInt());
    }
    case IntVec3:
    case IntVec4:
    case IntVector:
        return isList(value) ? value : QVariantList{value.toInt()};
    default:
        return value;
    }
}

QString ValueCode::asString(Type type, QVariant const &value, QChar const &separator) const
{
    if (m_rawValue.typeId() == QMetaType::QString)
        return value.toString();
    QString const joiner =
        separator.isNull() ? QStringLiteral(" ") : QString(separator) + QLatin1Char(' ');
    switch (type) {
    case Boolean:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case Date:
        return value.toDate().toString(Qt::TextDate);
    case Keyword:
        return keyword(value.toUInt());
    case FloatVec2: {
        QPointF const point = value.toPointF();
        return QString::number(point.x(), 'g', 6) + joiner + QString::number(point.y(), 'g', 6);
    }
    case IntVec2: {
        QPoint const point = value.toPoint();
        return QString::number(point.x()) + joiner + QString::number(point.y());
    }
    case FloatVec3:
    case FloatVec4:
    case FloatVector:
    case IntVec3:
    case IntVec4:
    case IntVector: {
        QStringList parts;
        QVariantList const list = value.toList();
        for (QVariant const &element : list)
            parts.append(element.toString());
        return parts.join(joiner);
    }
    default:
        return value.toString();
    }
}

} // namespace Kenro
