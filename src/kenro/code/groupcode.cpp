#include <kenro/code/groupcode.h>
#include <kenro/code/valuecode.h>

#include <QTextDocument>

namespace Kenro {

GroupCode::GroupCode(QTextBlock const &block, CodeNode *after, unsigned int subType)
    : ParentCode(Group, block, after), m_subType(subType)
{
    for (CodeNode *node = next(); node; node = node->next()) {
        if (node->type() & SectionMask)
            break;
        if (node->type() == CodeNode::Value)
            insertChild(node, childCount());
        else if (node->type() == Frame && node->parent())
            node->parent()->removeChild(node);
    }
}

GroupCode::~GroupCode()
{
    // Leaves its parent while it is still a heading, so that whoever hears
    // of the removal can still read its kind.
    detach(this);
    // The frames that the heading kept from the animation above go back to
    // it, as a fresh reading of the text would place them.
    if (auto *animation = static_cast<ParentCode *>(previous(Animation, Group))) {
        for (CodeNode *node = next(); node && !(node->type() & SectionMask); node = node->next()) {
            if (node->type() == Frame && !node->parent())
                animation->insertChild(node, animation->childCount());
        }
    }
    if (m_values.isEmpty())
        return;
    auto *above = static_cast<GroupCode *>(previous(Group, Animation | Frame));
    if (above) {
        while (!m_values.isEmpty())
            above->insertChild(m_values.first(), above->childCount());
    } else {
        while (!m_values.isEmpty())
            removeChild(m_values.last());
    }
}

unsigned int GroupCode::subType() const
{
    return m_subType;
}

QList<ValueCode *> const &GroupCode::values() const
{
    return m_values;
}

unsigned int GroupCode::valueCount() const
{
    return static_cast<unsigned int>(m_values.size());
}

ValueCode *GroupCode::valueAt(unsigned int index) const
{
    return index < valueCount() ? m_values.at(index) : nullptr;
}

void GroupCode::removeValue(unsigned int index)
{
    if (ValueCode *value = valueAt(index))
        value->remove(true);
}

ValueCode *GroupCode::valueByName(QString const &name) const
{
    for (ValueCode *value : m_values) {
        if (value->name() == name)
            return value;
    }
    return nullptr;
}

QVariant GroupCode::value(QString const &name) const
{
    ValueCode const *found = valueByName(name);
    return found ? found->value() : QVariant();
}

int GroupCode::lastLine() const
{
    QTextDocument const *doc = document();
    if (!doc)
        return -1;
    bool const nested = parent() && parent()->type() == Group;
    for (CodeNode const *node = next(); node; node = node->next()) {
        if (node->type() == Animation)
            return node->firstLine() - 1;
        if (node->type() == Group) {
            bool const otherNested = node->parent() && node->parent()->type() == Group;
            if (nested || !otherNested)
                return node->firstLine() - 1;
        }
    }
    return doc->blockCount();
}

unsigned int GroupCode::childCount() const
{
    return valueCount();
}

int GroupCode::childIndex(CodeNode *child) const
{
    return rowIn(m_values, child);
}

CodeNode *GroupCode::childAt(unsigned int index) const
{
    return valueAt(index);
}

void GroupCode::insertChild(CodeNode *child, unsigned int index)
{
    if (child && child->type() == CodeNode::Value)
        insertInto(m_values, child, index);
}

void GroupCode::removeChild(CodeNode *child)
{
    removeFrom(m_values, child);
}

} // namespace Kenro
