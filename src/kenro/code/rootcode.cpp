#include <kenro/code/rootcode.h>

#include "nodedocument_p.h"

#include <QIcon>

namespace Kenro {

QModelIndex RootCode::s_lastParent;

RootCode::RootCode(short fileType) : ParentCode(Root, QTextBlock(), nullptr), m_fileType(fileType)
{}

RootCode::~RootCode()
{
    destroy();
}

void RootCode::release() {}

short RootCode::fileType() const
{
    return m_fileType;
}

void RootCode::setFileType(short type, bool signal)
{
    if (type == m_fileType)
        return;
    m_fileType = type;
    if (signal)
        Q_EMIT typeChanged();
}

unsigned short RootCode::version() const
{
    return m_version;
}

void RootCode::setVersion(unsigned short version, bool signal)
{
    if (version == m_version)
        return;
    m_version = version;
    if (signal)
        Q_EMIT versionChanged();
}

QList<CodeNode *> const &RootCode::childs() const
{
    return m_childs;
}

bool RootCode::canParseCode() const
{
    QTextDocument const *doc = document();
    return !doc || NodeDocument::parsesCode(doc);
}

void RootCode::destroy()
{
    CodeNode *last = this;
    while (last->next())
        last = last->next();
    while (last && last != this) {
        CodeNode *previous = last->previous();
        last->release();
        last = previous;
    }
}

unsigned int RootCode::childCount() const
{
    return static_cast<unsigned int>(m_childs.size());
}

int RootCode::childIndex(CodeNode *child) const
{
    // A file may hold thousands of sections, and lookups come in runs on the
    // same part of it: the search starts where the last one ended and
    // widens from there.
    qsizetype const size = m_childs.size();
    qsizetype const hint = qBound<qsizetype>(0, m_hint, size - 1);
    for (qsizetype distance = 0; distance <= hint || hint + distance < size; ++distance) {
        if (hint + distance < size && m_childs.at(hint + distance) == child)
            return static_cast<int>(m_hint = hint + distance);
        if (distance > 0 && distance <= hint && m_childs.at(hint - distance) == child)
            return static_cast<int>(m_hint = hint - distance);
    }
    return -1;
}

CodeNode *RootCode::childAt(unsigned int index) const
{
    return index < static_cast<unsigned int>(m_childs.size()) ? m_childs.at(index) : nullptr;
}

void RootCode::insertChild(CodeNode *child, unsigned int index)
{
    detach(child);
    setParentOf(child, this);
    int const row = qMin(static_cast<int>(index), m_childs.size());
    beginInsert(this, row);
    m_childs.insert(row, child);
    endInsert();
}

void RootCode::removeChild(CodeNode *child)
{
    int const row = childIndex(child);
    if (row < 0) {
        setParentOf(child, nullptr);
        return;
    }
    beginRemove(this, row);
    m_childs.removeAt(row);
    setParentOf(child, nullptr);
    endRemove();
}

void RootCode::beginInsert(ParentCode const *parent, int row)
{
    beginInsertRows(parentIndex(parent), row, row);
}

void RootCode::endInsert()
{
    endInsertRows();
}

void RootCode::beginRemove(ParentCode const *parent, int row)
{
    s_lastParent = parentIndex(parent);
    beginRemoveRows(s_lastParent, row, row);
}

void RootCode::endRemove()
{
    endRemoveRows();
}

void RootCode::changed(ParentCode const *parent, int row, int)
{
    QModelIndex const changedIndex = index(row, 0, parentIndex(parent));
    if (changedIndex.isValid())
        Q_EMIT dataChanged(changedIndex, changedIndex);
}

CodeNode *RootCode::node(QModelIndex const &index)
{
    return static_cast<CodeNode *>(index.internalPointer());
}

QModelIndex RootCode::parentIndex(ParentCode const *node) const
{
    if (!node || node == this || !node->parent())
        return QModelIndex();
    int const row = node->parent()->childIndex(const_cast<ParentCode *>(node));
    return index(row, 0, parentIndex(node->parent()));
}

QModelIndex RootCode::index(int row, int column, QModelIndex const &parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    CodeNode const *owner = parent.isValid() ? node(parent) : this;
    if (!CodeNode::isValid(owner))
        return QModelIndex();
    auto const *parentCode = dynamic_cast<ParentCode const *>(owner);
    CodeNode *child = parentCode ? parentCode->childAt(static_cast<unsigned int>(row)) : nullptr;
    return child ? createIndex(row, column, child) : QModelIndex();
}

QModelIndex RootCode::parent(QModelIndex const &index) const
{
    if (!index.isValid())
        return QModelIndex();
    CodeNode const *child = node(index);
    if (!CodeNode::isValid(child))
        return s_lastParent.isValid() && s_lastParent.model() == this ? s_lastParent
                                                                      : QModelIndex();
    ParentCode *parentNode = child->parent();
    if (!parentNode || parentNode == this)
        return QModelIndex();
    int row = parentNode->parent() ? parentNode->parent()->childIndex(parentNode) : 0;
    return createIndex(qMax(row, 0), 0, static_cast<CodeNode *>(parentNode));
}

int RootCode::rowCount(QModelIndex const &parent) const
{
    if (parent.column() > 0)
        return 0;
    CodeNode const *owner = parent.isValid() ? node(parent) : this;
    if (parent.isValid() && !CodeNode::isValid(owner))
        return 0;
    auto const *parentCode = dynamic_cast<ParentCode const *>(owner);
    return parentCode ? static_cast<int>(parentCode->childCount()) : 0;
}

int RootCode::columnCount(QModelIndex const &) const
{
    return 1;
}

bool RootCode::hasChildren(QModelIndex const &parent) const
{
    return rowCount(parent) > 0;
}

Qt::ItemFlags RootCode::flags(QModelIndex const &index) const
{
    return index.isValid() ? Qt::ItemIsSelectable | Qt::ItemIsEnabled : Qt::NoItemFlags;
}

QVariant RootCode::data(QModelIndex const &index, int role) const
{
    if (!index.isValid())
        return QVariant();
    CodeNode const *item = node(index);
    if (!CodeNode::isValid(item) || !item->parent())
        return QVariant();
    if (role == Qt::DecorationRole)
        return NodeDocument::nodeIcon(item->document(), item);
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return QVariant();
    switch (item->type()) {
    case Group:
    case Value:
    case Animation:
        if (auto const *named = dynamic_cast<NamedCode const *>(item))
            return named->displayName();
        return QVariant();
    case Frame: {
        auto const *properties = dynamic_cast<PropertyItem const *>(item);
        QString const identifier =
            properties ? properties->property(QStringLiteral("Identifier")).toString() : QString();
        if (!identifier.isEmpty())
            return QStringLiteral("Frame - %1").arg(identifier);
        int const row = item->parent()->childIndex(const_cast<CodeNode *>(item));
        return QStringLiteral("Frame %1").arg(row + 1);
    }
    default:
        return QVariant();
    }
}

} // namespace Kenro
