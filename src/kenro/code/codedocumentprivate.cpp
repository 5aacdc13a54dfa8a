#include "codedocument_p.h"

#include <kenro/code/codenode.h>
#include <kenro/code/groupcode.h>
#include <kenro/code/rootcode.h>

#include <QTextDocument>

namespace Kenro {

namespace {

// Message types 0 error, 1 deprecation, 2 warning, 3 other fall into the
// categories of the Messages model: 0 errors, 1 warnings, 2 information.
int categoryOf(int type)
{
    static int const categories[] = {0, 1, 1, 2};
    return type >= 0 && type < 4 ? categories[type] : 0;
}

bool inCategory(int type, Message::Type category)
{
    return category == Message::All || categoryOf(type) == category;
}

int const animationState = 0x40000000;

} // namespace

CodeDocumentPrivate::CodeDocumentPrivate(QTextDocument *document, RootCode *root)
    : m_document(document), m_root(root)
{}

CodeDocumentPrivate::~CodeDocumentPrivate()
{
    // The lines' nodes go with the pass that made them, before the root
    // releases what is left of the chain; block data outliving this object
    // must not call back.
    for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next()) {
        if (CodeBlockData *data = CodeBlockData::testBlockData(block)) {
            data->d->owner = nullptr;
            data->d->nextMessageBlock = nullptr;
            data->d->syntaxMessages.clear();
            if (CodeNode *node = data->d->node) {
                data->d->node = nullptr;
                node->release();
            }
        }
    }
    m_firstMessageBlock = nullptr;
}

QTextDocument *CodeDocumentPrivate::document() const
{
    return m_document;
}

RootCode *CodeDocumentPrivate::root() const
{
    return m_root;
}

CodeParser *CodeDocumentPrivate::parser() const
{
    return m_parser;
}

void CodeDocumentPrivate::setParser(CodeParser *parser)
{
    m_parser = parser;
}

void CodeDocumentPrivate::setFile(ProjectFile *file)
{
    m_file = file;
}

QVector<QTextCharFormat> CodeDocumentPrivate::formatChanges() const
{
    QVector<QTextCharFormat> formats;
    formats.reserve(m_formatChanges.size());
    for (short id : m_formatChanges)
        formats.append(m_formats.at(id));
    return formats;
}

short CodeDocumentPrivate::formatId(TokenType type, int underline)
{
    // The table may change between passes: the cache holds what it said.
    QTextCharFormat format = syntaxFormat(type);
    static QColor const underlines[] = {QColor(), Qt::red, QColor(255, 127, 0, 255),
                                        QColor(255, 255, 0, 255)};
    if (underline > 0) {
        format.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
        format.setUnderlineColor(underlines[underline]);
    }
    int const key = static_cast<int>(type) * 4 + underline;
    for (int i = 1; i < m_formatKeys.size(); ++i) {
        if (m_formatKeys.at(i) == key) {
            if (m_formats.at(i) != format)
                m_formats[i] = format;
            return static_cast<short>(i);
        }
    }
    m_formatKeys.append(key);
    m_formats.append(format);
    return static_cast<short>(m_formats.size() - 1);
}

void CodeDocumentPrivate::fillFormat(short id, int start, int end)
{
    int const length = m_formatChanges.size();
    if (start < 0 || start >= length)
        return;
    end = qMin(end, length);
    for (int i = start; i < end; ++i)
        m_formatChanges[i] = id;
}

ProjectFile *CodeDocumentPrivate::file() const
{
    return m_file;
}

unsigned int CodeDocumentPrivate::count(Message::Type category) const
{
    if (category == Message::All)
        return m_counters[0] + m_counters[1] + m_counters[2];
    return category >= 0 && category < Message::All ? m_counters[category] : 0;
}

Message CodeDocumentPrivate::at(unsigned int index, Message::Type category) const
{
    for (CodeBlockData *data = m_firstMessageBlock; data; data = data->d->nextMessageBlock) {
        for (CodeBlockData::SyntaxMessage const &message : std::as_const(data->d->syntaxMessages)) {
            if (!inCategory(message.type, category))
                continue;
            if (index-- == 0) {
                Message result;
                result.type = static_cast<Message::Type>(categoryOf(message.type));
                result.line = static_cast<unsigned int>(qMax(data->d->block.blockNumber(), 0));
                result.column = static_cast<unsigned int>(qMax(message.start, 0));
                result.text = message.text;
                return result;
            }
        }
    }
    return Message();
}

int CodeDocumentPrivate::removeMessages(CodeBlockData *data)
{
    // Rows are counted along the chain of lines with messages; a line that
    // has none is placed by its number.
    int row = 0;
    CodeBlockData *previous = nullptr;
    bool const listed = !data->d->syntaxMessages.isEmpty();
    if (!listed && !m_firstMessageBlock)
        return 0;
    int const number = listed ? -1 : data->d->block.blockNumber();
    for (CodeBlockData *item = m_firstMessageBlock; item && item != data;
         item = item->d->nextMessageBlock) {
        if (!listed && item->d->block.blockNumber() > number)
            break;
        row += item->d->syntaxMessages.size();
        previous = item;
    }
    if (!listed)
        return row;

    int const count = data->d->syntaxMessages.size();
    beginRemoveRows(QModelIndex(), row, row + count - 1);
    for (CodeBlockData::SyntaxMessage const &message : std::as_const(data->d->syntaxMessages))
        --m_counters[categoryOf(message.type)];
    if (previous)
        previous->d->nextMessageBlock = data->d->nextMessageBlock;
    else if (m_firstMessageBlock == data)
        m_firstMessageBlock = data->d->nextMessageBlock;
    data->d->nextMessageBlock = nullptr;
    data->d->syntaxMessages.clear();
    endRemoveRows();
    return row;
}

CodeNode *CodeDocumentPrivate::contextOf(QTextBlock const &block) const
{
    CodeNode *context = m_root;
    for (QTextBlock before = block.previous(); before.isValid(); before = before.previous()) {
        CodeBlockData const *data = CodeBlockData::testBlockData(before);
        if (data && data->d->node) {
            context = data->d->node;
            break;
        }
    }
    // Extra nodes of that line follow it without a block of their own.
    while (context->next() && !context->next()->block().isValid())
        context = context->next();
    return context;
}

bool CodeDocumentPrivate::addMark(CodeMark *mark, int line)
{
    if (!mark || line <= 0)
        return false;
    QTextBlock const block = m_document->findBlockByNumber(line - 1);
    CodeBlockData *data = CodeBlockData::blockData(block, this);
    if (!data)
        return false;
    data->d->marks.append(mark);
    mark->setLine(line);
    return true;
}

int CodeDocumentPrivate::stateOf(CodeNode *node)
{
    if (!node)
        return 0;
    if (node->type() == CodeNode::Group)
        return static_cast<int>(static_cast<GroupCode *>(node)->subType());
    if (node->type() == CodeNode::Animation)
        return animationState;
    if (CodeNode *group = node->previous(CodeNode::Group, ~CodeNode::SectionMask))
        return static_cast<int>(static_cast<GroupCode *>(group)->subType());
    if (node->previous(CodeNode::Animation, ~CodeNode::SectionMask))
        return animationState;
    return 0;
}

void CodeDocumentPrivate::parseBlock(QTextBlock const &block, bool highlight)
{
    if (!m_parser || !block.isValid())
        return;
    m_currentBlock = block;
    CodeBlockData *data = CodeBlockData::blockData(block, this);
    m_currentData = data;
    int const row = removeMessages(data);
    data->d->parenthesis.clear();
    qDeleteAll(data->d->links);
    data->d->links.clear();
    data->d->parsed = false;
    m_pendingMessages.clear();
    m_formatChanges.fill(0, qMax(block.length() - 1, 0));
    QTextBlock(block).setUserState(0);

    CodeNode *context = contextOf(block);
    CodeNode *const oldNode = data->d->node;
    if (oldNode) {
        if (oldNode->m_previous)
            oldNode->m_previous->m_next = oldNode->m_next;
        if (oldNode->m_next)
            oldNode->m_next->m_previous = oldNode->m_previous;
    }
    if (!context || context == oldNode)
        context = m_root;
    CodeNode *node = m_parser->parse(block.text(), block, oldNode, context, m_root,
                                     highlight ? static_cast<CodeParserSyntax *>(this) : nullptr);
    if (m_currentData != data)
        return; // the parser's own edits took the line away
    data->d->node = node;
    if (oldNode) {
        if (node != oldNode) {
            // Put the old node back behind its predecessor before it goes,
            // so that its death sees the chain as it is: a heading hands its
            // values to the section above, and the unlinking patches the
            // right neighbours.
            CodeNode *previous = oldNode->m_previous ? oldNode->m_previous : m_root;
            oldNode->m_previous = previous;
            oldNode->m_next = previous->m_next;
            if (previous->m_next)
                previous->m_next->m_previous = oldNode;
            previous->m_next = oldNode;
            oldNode->release();
        } else {
            if (oldNode->m_previous)
                oldNode->m_previous->m_next = oldNode;
            if (oldNode->m_next)
                oldNode->m_next->m_previous = oldNode;
        }
    }

    int state = stateOf(node);
    if (state == 0)
        state = block.previous().isValid() ? block.previous().userState() : -1;
    QTextBlock(block).setUserState(state);

    if (!m_pendingMessages.isEmpty()) {
        CodeBlockData *before = nullptr;
        int const number = block.blockNumber();
        for (CodeBlockData *item = m_firstMessageBlock;
             item && item->d->block.blockNumber() < number; item = item->d->nextMessageBlock)
            before = item;
        beginInsertRows(QModelIndex(), row, row + m_pendingMessages.size() - 1);
        for (CodeBlockData::SyntaxMessage const &message : std::as_const(m_pendingMessages))
            ++m_counters[categoryOf(message.type)];
        data->d->syntaxMessages.swap(m_pendingMessages);
        if (before) {
            data->d->nextMessageBlock = before->d->nextMessageBlock;
            before->d->nextMessageBlock = data;
        } else {
            data->d->nextMessageBlock = m_firstMessageBlock;
            m_firstMessageBlock = data;
        }
        endInsertRows();
        m_pendingMessages.clear();
    }

    updateFoldingIndent(data, context);
}

namespace {

CodeNode *ancestorWithBlock(CodeNode *node, CodeNode *root)
{
    for (CodeNode *parent = node->parent(); parent; parent = parent->parent()) {
        if (parent->block().isValid())
            return parent;
    }
    return root;
}

} // namespace

void CodeDocumentPrivate::updateFoldingIndent(CodeBlockData *data, CodeNode *context)
{
    QTextBlock const block = data->d->block;
    CodeNode *head = data->d->node ? data->d->node : (context ? context->next() : nullptr);
    bool const seen = context && context != m_root && context->block().isValid();
    QTextBlock const previous = seen ? context->block() : block.previous();
    CodeBlockData const *previousData = CodeBlockData::testBlockData(previous);

    int indent = seen && previousData ? previousData->d->foldingIndent : 0;
    if (previousData && previousData->d->node &&
        (previousData->d->node->type() & CodeNode::SectionMask))
        ++indent;
    if (head && (head->type() & CodeNode::SectionMask)) {
        CodeNode *before = nullptr;
        for (CodeNode *node = head->previous(); node; node = node->previous()) {
            if ((node->type() & CodeNode::SectionMask) && node->block().isValid()) {
                before = node;
                break;
            }
        }
        CodeNode *parent = ancestorWithBlock(head, m_root);
        if (before && before != parent) {
            --indent;
            for (CodeNode *step = ancestorWithBlock(before, m_root);
                 step && step != parent && step != m_root; step = ancestorWithBlock(step, m_root))
                --indent;
        }
    }
    setFoldingIndent(data, qMax(indent, 0));

    // Blank lines and comments stay with what follows them.
    for (QTextBlock line = block.previous(); line.isValid(); line = line.previous()) {
        CodeBlockData *lineData = CodeBlockData::blockData(line, this);
        if (!lineData || lineData->d->node)
            break;
        setFoldingIndent(lineData, data->d->foldingIndent);
    }
}

void CodeDocumentPrivate::setFoldingIndent(CodeBlockData *data, int indent)
{
    if (data->d->foldingIndent == indent)
        return;
    data->d->foldingIndent = indent;
    // The fold marker of the line before depends on this line's indent too.
    QTextBlock const block = data->d->block;
    markChanged(block.previous().isValid() ? block.previous() : block);
    markChanged(block);
}

void CodeDocumentPrivate::markChanged(QTextBlock const &block)
{
    int const end = block.position() + block.length() - 1;
    changedFrom = changedFrom < 0 ? block.position() : qMin(changedFrom, block.position());
    changedTo = qMax(changedTo, end);
}

void CodeDocumentPrivate::setFormat(TokenType type, int start, int end)
{
    if (start < 0 || start >= m_formatChanges.size())
        return;
    fillFormat(formatId(type, 0), start, end);
    if (type != Comment && m_currentData)
        m_currentData->d->parsed = true;
}

void CodeDocumentPrivate::addMessage(int type, TokenType token, QString const &text, int start,
                                     int end, QColor const &)
{
    if (start >= 0 && start < m_formatChanges.size())
        fillFormat(formatId(token, type + 1), start, end);
    if (m_currentData)
        m_currentData->d->parsed = true;
    // Counted when the line's messages join the model, so that the rows
    // and the counts change together.
    m_pendingMessages.append({type, start, end, text});
}

void CodeDocumentPrivate::addError(TokenType type, QString const &text, int start, int end)
{
    addMessage(0, type, text, start, end, Qt::red);
}

void CodeDocumentPrivate::addDeprecation(TokenType type, QString const &text, int start, int end)
{
    addMessage(1, type, text, start, end, QColor(255, 127, 0, 255));
}

void CodeDocumentPrivate::addWarning(TokenType type, QString const &text, int start, int end)
{
    addMessage(2, type, text, start, end, QColor(255, 255, 0, 255));
}

void CodeDocumentPrivate::addParenthesis(bool opening, QChar character, unsigned int position)
{
    if (m_currentData)
        m_currentData->d->parenthesis.append({opening ? 0 : 1, character.unicode(), position});
}

void CodeDocumentPrivate::addLink(CodeLink *link)
{
    if (m_currentData)
        m_currentData->d->links.append(link);
    else
        delete link;
}

} // namespace Kenro
