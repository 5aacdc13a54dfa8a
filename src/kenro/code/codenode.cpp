#include <kenro/code/codenode.h>

#include "nodedocument_p.h"

#include <kenro/code/codedocument.h>

#include <QTextDocument>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

namespace Kenro {

namespace {

// Node memory is never given back while the process runs: a stale pointer
// in a QModelIndex must stay readable, and the pool tells whether the node
// behind it is still alive. Each block has a header in front of the object
// that holds its total size; the header keeps the object's alignment.
constexpr std::size_t headerSize = alignof(std::max_align_t);

struct FreeList
{
    unsigned int size;
    std::vector<void *> blocks;
};

class Pool
{
public:
    ~Pool()
    {
        for (void *slab : slabs)
            std::free(slab);
    }

    // New blocks are cut from slabs: a loaded script makes a node per line,
    // and one allocation per node would be most of the cost of making it.
    void *carve(unsigned int size)
    {
        constexpr std::size_t slabSize = 64 * 1024;
        if (size > slabLeft) {
            std::size_t const bytes = std::max<std::size_t>(slabSize, size);
            void *slab = std::malloc(bytes);
            if (!slab)
                throw std::bad_alloc();
            slabs.push_back(slab);
            slabNext = static_cast<char *>(slab);
            slabLeft = bytes;
        }
        void *block = slabNext;
        slabNext += size;
        slabLeft -= size;
        return block;
    }

    FreeList *find(unsigned int size)
    {
        for (FreeList &list : lists) {
            if (list.size == size)
                return &list;
        }
        return nullptr;
    }

    FreeList &get(unsigned int size)
    {
        if (FreeList *list = find(size))
            return *list;
        lists.push_back({size, {}});
        return lists.back();
    }

    std::vector<FreeList> lists;
    std::vector<void *> slabs;
    char *slabNext = nullptr;
    std::size_t slabLeft = 0;
    std::size_t bytes = 0;
};

Pool &pool()
{
    static Pool instance;
    return instance;
}

unsigned int &sizeOf(void *block)
{
    return *static_cast<unsigned int *>(block);
}

void *blockOf(void const *object)
{
    return const_cast<char *>(static_cast<char const *>(object)) - headerSize;
}

std::vector<CodeNode const *> &liveRoots()
{
    static std::vector<CodeNode const *> roots;
    return roots;
}

void giveBack(void *object)
{
    void *block = blockOf(object);
    pool().get(sizeOf(block)).blocks.push_back(block);
}

} // namespace

void CodeNode::registerRoot(CodeNode const *root, bool live)
{
    std::vector<CodeNode const *> &roots = liveRoots();
    if (live) {
        roots.push_back(root);
        return;
    }
    for (auto it = roots.begin(); it != roots.end(); ++it) {
        if (*it == root) {
            roots.erase(it);
            return;
        }
    }
}

void *CodeNode::allocate(unsigned int size)
{
    // Sizes are rounded to the header's alignment so that carved blocks stay aligned.
    unsigned int const total =
        static_cast<unsigned int>((size + headerSize + headerSize - 1) / headerSize * headerSize);
    FreeList &list = pool().get(total);
    if (!list.blocks.empty()) {
        void *block = list.blocks.back();
        list.blocks.pop_back();
        return static_cast<char *>(block) + headerSize;
    }
    void *block = pool().carve(total);
    sizeOf(block) = total;
    pool().bytes += total;
    return static_cast<char *>(block) + headerSize;
}

void *CodeNode::operator new(std::size_t size)
{
    return allocate(static_cast<unsigned int>(size));
}

void CodeNode::operator delete(void *pointer)
{
    if (pointer)
        giveBack(pointer);
}

std::size_t CodeNode::poolBytes()
{
    return pool().bytes;
}

void CodeNode::release()
{
    this->~CodeNode();
    giveBack(this);
}

bool CodeNode::isValid() const
{
    return isValid(this);
}

bool CodeNode::isValid(CodeNode const *node)
{
    // Nothing of the node itself is read: it may be a destroyed object.
    if (!node)
        return false;
    for (CodeNode const *root : liveRoots()) {
        if (root == node)
            return true; // the root never comes from the pool
    }
    void *block = blockOf(node);
    FreeList const *list = pool().find(sizeOf(block));
    if (!list)
        return true;
    for (void const *free : list->blocks) {
        if (free == block)
            return false;
    }
    return true;
}

CodeNode::CodeNode(Type type, QTextBlock const &block, CodeNode *after)
    : m_block(block), m_previous(after), m_type(type)
{
    if (after) {
        m_next = after->m_next;
        after->m_next = this;
        if (m_next)
            m_next->m_previous = this;
    }
}

CodeNode::~CodeNode()
{
    if (m_parent)
        m_parent->removeChild(this);
    if (m_previous)
        m_previous->m_next = m_next;
    if (m_next)
        m_next->m_previous = m_previous;
    m_parent = nullptr;
    m_previous = nullptr;
    m_next = nullptr;
}

int CodeNode::firstLine() const
{
    return lineNo();
}

int CodeNode::lastLine() const
{
    return lineNo();
}

QTextDocument *CodeNode::document() const
{
    return m_block.isValid() ? const_cast<QTextDocument *>(m_block.document()) : nullptr;
}

void CodeNode::remove(bool all)
{
    QTextCursor cursor = all ? selectAll() : select();
    if (!cursor.isNull()) {
        NodeDocument::replaceText(cursor, QString());
        return;
    }
    if (all) {
        if (auto *parentCode = dynamic_cast<ParentCode *>(this)) {
            while (parentCode->childCount() > 0)
                parentCode->childAt(0)->remove(true);
        }
    }
    release();
}

void CodeNode::valueChanged(QVariant const &) {}

void CodeNode::changed(ParentCode const *, int, int) {}

CodeNode::Type CodeNode::type() const
{
    return m_type;
}

QTextBlock const &CodeNode::block() const
{
    return m_block;
}

int CodeNode::lineNo() const
{
    for (CodeNode const *node = this; node; node = node->m_next) {
        if (node->m_block.isValid())
            return node->m_block.blockNumber();
    }
    return -1;
}

ParentCode *CodeNode::parent() const
{
    return m_parent;
}

CodeNode *CodeNode::previous() const
{
    return m_previous;
}

CodeNode *CodeNode::next() const
{
    return m_next;
}

// The first node of \a type from \a node on along \a link, or null at the
// end or at a node whose type shares a bit with \a stopMask.
template<typename Node, typename Link>
Node *CodeNode::search(Node *node, Link link, Type type, int stopMask)
{
    for (; node; node = node->*link) {
        if (node->m_type == type)
            return node;
        if (node->m_type & stopMask)
            return nullptr;
    }
    return nullptr;
}

ParentCode *CodeNode::parent(Type type, int stopMask) const
{
    return search(m_parent, &CodeNode::m_parent, type, stopMask);
}

CodeNode *CodeNode::previous(Type type, int stopMask) const
{
    return search(m_previous, &CodeNode::m_previous, type, stopMask);
}

CodeNode *CodeNode::next(Type type, int stopMask) const
{
    return search(m_next, &CodeNode::m_next, type, stopMask);
}

namespace {

// The end of a block, line break included where there is one.
int endOf(QTextBlock const &block)
{
    return qMin(block.position() + block.length(), block.document()->characterCount() - 1);
}

} // namespace

QTextCursor CodeNode::select() const
{
    QTextDocument *doc = document();
    if (!doc)
        return QTextCursor();
    QTextCursor cursor(doc);
    cursor.setPosition(m_block.position());
    cursor.setPosition(endOf(m_block), QTextCursor::KeepAnchor);
    return cursor;
}

QTextCursor CodeNode::selectAll() const
{
    QTextDocument *doc = document();
    if (!doc)
        return QTextCursor();
    QTextCursor cursor(doc);
    QTextBlock const first = doc->findBlockByNumber(firstLine());
    cursor.setPosition(first.isValid() ? first.position() : m_block.position());
    QTextBlock const last = doc->findBlockByNumber(lastLine());
    cursor.setPosition(last.isValid() ? endOf(last) : doc->characterCount() - 1,
                       QTextCursor::KeepAnchor);
    return cursor;
}

QString CodeNode::code() const
{
    return selectAll().selectedText();
}

QString CodeNode::mergeFormatting(QString const &oldText, QString const &text,
                                  QString const &commentMarker)
{
    // Walks the old line word by word: its white space stays, each of its
    // words gives way to the next word of the new text, and at the start of
    // a comment the rest of the new text goes in front of the comment.
    QString result;
    int o = 0;
    int n = 0;
    int const oldSize = oldText.size();
    int const newSize = text.size();
    QChar const commentStart = commentMarker.isEmpty() ? QChar() : commentMarker.at(0);
    while (o < oldSize) {
        if (oldText.at(o).isSpace()) {
            while (o < oldSize && oldText.at(o).isSpace())
                result += oldText.at(o++);
            while (n < newSize && text.at(n).isSpace())
                ++n;
        } else if (commentStart.isNull() || oldText.at(o) != commentStart) {
            while (o < oldSize && !oldText.at(o).isSpace())
                ++o;
            while (n < newSize && text.at(n).isSpace())
                ++n;
            while (n < newSize && !text.at(n).isSpace())
                result += text.at(n++);
        } else {
            result.reserve(result.size() + (newSize - n) + (oldSize - o));
            result += QStringView(text).mid(n);
            result += QStringView(oldText).mid(o);
            return result;
        }
    }
    // Words of the new text beyond those of the old line are kept too.
    if (!result.isEmpty())
        result += QStringView(text).mid(n);
    return result;
}

QString CodeNode::rewrittenLine(QString const &oldText, QString const &text, bool preserve,
                                QString const &commentMarker)
{
    QString result;
    if (preserve)
        result = mergeFormatting(oldText, text, commentMarker);
    if (result.isEmpty()) {
        result = text;
        // A trailing comment always survives a rewrite.
        int const comment = commentMarker.isEmpty() ? -1 : oldText.indexOf(commentMarker);
        if (comment >= 0)
            result += QLatin1Char(' ') + oldText.mid(comment);
    }
    return result;
}

void CodeNode::change(QString const &text)
{
    QTextDocument *doc = document();
    if (!doc)
        return;
    QString const result =
        rewrittenLine(m_block.text(), text, NodeDocument::preservesFormatting(doc),
                      NodeDocument::lineCommentMarker(doc));
    // The line's own text, without its line break.
    QTextCursor cursor(doc);
    cursor.setPosition(m_block.position());
    cursor.setPosition(m_block.position() + m_block.length() - 1, QTextCursor::KeepAnchor);
    NodeDocument::replaceText(cursor, result);
}

unsigned int ParentCode::childCount() const
{
    return 0;
}

int ParentCode::childIndex(CodeNode *) const
{
    return -1;
}

CodeNode *ParentCode::childAt(unsigned int) const
{
    return nullptr;
}

void ParentCode::insertChild(CodeNode *child, unsigned int)
{
    detach(child);
    child->m_parent = this;
}

void ParentCode::detach(CodeNode *child)
{
    if (child->m_parent)
        child->m_parent->removeChild(child);
}

void ParentCode::removeChild(CodeNode *child)
{
    child->m_parent = nullptr;
}

void ParentCode::childChanged(CodeNode *) {}

void ParentCode::beginInsert(ParentCode const *parent, int row)
{
    if (ParentCode *up = this->parent())
        up->beginInsert(parent, row);
}

void ParentCode::endInsert()
{
    if (ParentCode *up = parent())
        up->endInsert();
}

void ParentCode::beginRemove(ParentCode const *parent, int row)
{
    if (ParentCode *up = this->parent())
        up->beginRemove(parent, row);
}

void ParentCode::endRemove()
{
    if (ParentCode *up = parent())
        up->endRemove();
}

void ParentCode::changed(ParentCode const *parent, int row, int column)
{
    if (ParentCode *up = this->parent())
        up->changed(parent, row, column);
}

void ParentCode::appendValue(QString const &text)
{
    auto *code = qobject_cast<CodeDocument *>(document());
    if (!code)
        return;
    unsigned int const count = childCount();
    CodeNode const *anchor = count > 0 ? childAt(count - 1) : this;
    code->insertAfter(anchor, text, true);
}

void ParentCode::insertRootChild(CodeNode *child)
{
    // The nearest top-level node before the child has the root as its
    // parent; without one the walk ends at the root itself.
    for (CodeNode *node = child->previous(); node; node = node->previous()) {
        if (node->type() == Root) {
            static_cast<ParentCode *>(node)->insertChild(child, 0);
            return;
        }
        ParentCode *parent = node->parent();
        if (parent && parent->type() == Root) {
            int const index = parent->childIndex(node) + 1;
            parent->insertChild(child, static_cast<unsigned int>(qMax(index, 0)));
            return;
        }
    }
}

void ParentCode::setParentOf(CodeNode *child, ParentCode *parent)
{
    child->m_parent = parent;
}

QString NamedCode::name() const
{
    return QString();
}

QString NamedCode::displayName() const
{
    return name();
}

QStringList NamedCode::propertyNames() const
{
    return {QStringLiteral("DisplayName"), QStringLiteral("Name")};
}

QVariant NamedCode::property(QString const &key) const
{
    switch (propertyNames().indexOf(key)) {
    case 0:
        return displayName();
    case 1:
        return name();
    default:
        return QVariant();
    }
}

void NamedCode::setProperty(QString const &key, QVariant const &value)
{
    if (propertyNames().indexOf(key) == 1)
        setName(value.toString());
}

} // namespace Kenro
