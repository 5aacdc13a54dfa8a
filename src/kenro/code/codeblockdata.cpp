#include <kenro/code/codeblockdata.h>

#include "codedocument_p.h"

#include <kenro/code/codenode.h>
#include <kenro/code/codeparser.h>

#include <new>

namespace Kenro {

namespace {

constexpr std::size_t privateOffset(std::size_t size)
{
    return (size + alignof(CodeBlockDataPrivate) - 1) / alignof(CodeBlockDataPrivate) *
        alignof(CodeBlockDataPrivate);
}

} // namespace

void *CodeBlockData::operator new(std::size_t size)
{
    Q_ASSERT(size == sizeof(CodeBlockData));
    return ::operator new(privateOffset(size) + sizeof(CodeBlockDataPrivate));
}

void CodeBlockData::operator delete(void *pointer)
{
    ::operator delete(pointer);
}

CodeBlockData::CodeBlockData(QTextBlock const &block, CodeDocumentPrivate *owner)
    : d(new (reinterpret_cast<char *>(this) + privateOffset(sizeof(CodeBlockData)))
            CodeBlockDataPrivate)
{
    d->block = block;
    d->owner = owner;
}

CodeBlockData::~CodeBlockData()
{
    if (!d->owner || !d->owner->clearing) {
        for (CodeMark *mark : std::as_const(d->marks))
            mark->removed();
    }
    d->marks.clear();
    qDeleteAll(d->links);
    d->links.clear();
    if (d->owner)
        d->owner->removeMessages(this);
    if (d->owner && d->owner->m_currentData == this)
        d->owner->m_currentData = nullptr;
    if (CodeNode *node = d->node) {
        d->node = nullptr;
        node->release();
    }
    d->~CodeBlockDataPrivate();
}

CodeBlockData *CodeBlockData::blockData(QTextBlock const &block, CodeDocumentPrivate *owner)
{
    if (!block.isValid())
        return nullptr;
    if (auto *data = static_cast<CodeBlockData *>(block.userData()))
        return data;
    if (!owner)
        return nullptr;
    auto *data = new CodeBlockData(block, owner);
    QTextBlock(block).setUserData(data);
    return data;
}

CodeBlockData *CodeBlockData::testBlockData(QTextBlock const &block)
{
    return block.isValid() ? static_cast<CodeBlockData *>(block.userData()) : nullptr;
}

CodeNode *CodeBlockData::codeNode() const
{
    return d->node;
}

bool CodeBlockData::isFolded() const
{
    return d->folded;
}

void CodeBlockData::setFolded(bool folded)
{
    d->folded = folded;
}

bool CodeBlockData::isParsed() const
{
    return d->parsed;
}

int CodeBlockData::foldingIndent() const
{
    return d->foldingIndent;
}

QList<CodeMark *> const &CodeBlockData::marks() const
{
    return d->marks;
}

QList<CodeLink *> const &CodeBlockData::links() const
{
    return d->links;
}

QVector<CodeBlockData::SyntaxMessage> const &CodeBlockData::syntaxMessages() const
{
    return d->syntaxMessages;
}

QVector<CodeBlockData::Parenthesis> const &CodeBlockData::parenthesis() const
{
    return d->parenthesis;
}

} // namespace Kenro
