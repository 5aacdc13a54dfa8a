#include <kenro/code/codedocument.h>

#include "codedocument_p.h"
#include "codedocumentlayout_p.h"

#include <kenro/code/codeblockdata.h>
#include <kenro/code/codenodefile.h>
#include <kenro/code/groupcode.h>
#include <kenro/code/valuecode.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/project/archive.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/jobstats.h>
#include <kenro/project/textcodecs.h>

#include <QAbstractTextDocumentLayout>
#include <QFileInfo>
#include <QIcon>
#include <QPlainTextDocumentLayout>
#include <QTextCodec>
#include <QTextLayout>
#include <QtConcurrent>

namespace Kenro {

namespace {

QString tabsToSpaces(QString const &text)
{
    QString result;
    result.reserve(text.size());
    int column = 0;
    for (QChar const c : text) {
        if (c == QLatin1Char('\t')) {
            int const blanks = 4 - column % 4;
            result.append(QString(blanks, QLatin1Char(' ')));
            column += blanks;
        } else {
            result.append(c);
            column = (c == QLatin1Char('\n') || c == QLatin1Char('\r')) ? 0 : column + 1;
        }
    }
    return result;
}

QString spacesToTabs(QString const &text)
{
    QString result;
    result.reserve(text.size());
    int column = 0;
    int const size = text.size();
    for (int i = 0; i < size; ++i) {
        QChar const c = text.at(i);
        if (c == QLatin1Char(' ')) {
            int const distance = 4 - column % 4;
            bool covered = distance > 1;
            for (int k = 1; covered && k < distance; ++k)
                covered = i + k < size && text.at(i + k) == QLatin1Char(' ');
            if (covered) {
                result.append(QLatin1Char('\t'));
                i += distance - 1;
                column += distance;
                continue;
            }
            result.append(c);
            ++column;
        } else if (c == QLatin1Char('\t')) {
            result.append(c);
            column += 4 - column % 4;
        } else {
            result.append(c);
            column = (c == QLatin1Char('\n') || c == QLatin1Char('\r')) ? 0 : column + 1;
        }
    }
    return result;
}

constexpr unsigned int spaceToTabFlag = 0x8000;

void requestLayoutUpdate(QTextDocument *document)
{
    if (auto *layout = qobject_cast<QPlainTextDocumentLayout *>(document->documentLayout()))
        layout->requestUpdate();
}

QTextCodec *codecOf(int index)
{
    QTextCodec *codec =
        index > 0 ? QTextCodec::codecForName(TextCodecs::name(index).toLatin1()) : nullptr;
    return codec ? codec : QTextCodec::codecForLocale();
}

// A text that the file's codec cannot hold is written as UTF-8 instead, so
// that no character typed since loading is lost; \a codec tells which.
// The document's raw text as plain text, the way QTextDocument::toPlainText
// makes it; done apart so that a background save copies the text on the
// GUI thread and converts it on the pool.
void rawToPlain(QString &text)
{
    for (QChar &c : text) {
        switch (c.unicode()) {
        case 0xfdd0: // beginning of a frame
        case 0xfdd1: // end of a frame
        case QChar::ParagraphSeparator:
        case QChar::LineSeparator:
            c = QLatin1Char('\n');
            break;
        case QChar::Nbsp:
            c = QLatin1Char(' ');
            break;
        default:
            break;
        }
    }
}

// The bytes of the document's raw text for saving.
QByteArray encode(QString text, unsigned int flags, int &codec, bool byteOrderMark)
{
    rawToPlain(text);
    text.replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    if (flags & spaceToTabFlag)
        text = spacesToTabs(text);
    if (!codecOf(codec)->canEncode(text))
        codec = TextCodecs::index("UTF-8");
    return TextCodecs::stringToData(text, codec, byteOrderMark);
}

// Decodes \a bytes with \a codec, or detects one when it is below 0 so
// that writing the text back gives the same bytes: a detected codec that
// cannot do that gives way to one that can, and Latin-1, which maps every
// byte, is the last resort.
QString decode(QByteArray const &bytes, int &codec, bool &byteOrderMark)
{
    bool const detect = codec < 0;
    QString text = TextCodecs::stringFromData(bytes, &codec, &byteOrderMark);
    if (!detect || TextCodecs::stringToData(text, codec, byteOrderMark) == bytes)
        return text;
    for (char const *name :
         {"UTF-8", "Shift_JIS", "EUC-JP", "GB18030", "Big5", "windows-1252", "ISO-8859-1"}) {
        int candidate = TextCodecs::index(name);
        if (candidate <= 0)
            continue;
        bool mark = false;
        QString attempt = TextCodecs::stringFromData(bytes, &candidate, &mark);
        if (TextCodecs::stringToData(attempt, candidate, mark) == bytes) {
            codec = candidate;
            byteOrderMark = mark;
            return attempt;
        }
    }
    return text;
}

bool optionOn(ProjectFile const *file, char const *key, bool fallback)
{
    return file->option(QString::fromLatin1(key), fallback).toBool();
}

} // namespace

// ---------------------------------------------------------------- the private part

CodeDocumentPrivate::CodeDocumentPrivate(CodeDocument *document)
    : CodeDocumentPrivate(document, &document->m_root)
{
    q = document;
    m_file = document;
    cursor = QTextCursor(document);
    codec = TextCodecs::index("UTF-8");
    connect(document, &QTextDocument::contentsChange, this,
            [this](int position, int removed, int added) {
                if (inReformat)
                    return;
                int const revision = m_document->revision();
                if (!reformatBlocks(position, removed, added) || revision != m_document->revision())
                    return;
                // The layout hears of the edit and of the lines whose formats or
                // fold markers the pass changed.
                int first = position;
                int last = qMax(position + removed + added - 1, 0);
                if (changedFrom >= 0) {
                    first = qMin(first, changedFrom);
                    last = qMax(last, changedTo);
                }
                if (auto *layout = qobject_cast<CodeDocumentLayout *>(m_document->documentLayout()))
                    layout->setChange(revision, first, last);
            });
    connect(&saveWatcher, &QFutureWatcher<void>::finished, this, [this] { completeSave(); });
    connect(&document->m_root, &RootCode::versionChanged, document, &CodeDocument::rehighlight);
    connect(&document->m_root, &RootCode::typeChanged, document, &CodeDocument::rehighlight);
}

bool CodeDocumentPrivate::reformatBlocks(int position, int charsRemoved, int charsAdded)
{
    changedFrom = changedTo = -1;
    QTextBlock const first = m_document->findBlock(position);
    if (!first.isValid())
        return false;
    ++messageLock;
    bool const wasInPass = inPass;
    inPass = true;
    bool const highlight = q ? q->hasSyntaxHighlight() : true;
    QTextBlock last = m_document->findBlock(position + charsAdded + (charsRemoved > 0 ? 1 : 0));
    if (!last.isValid())
        last = m_document->lastBlock();
    // The pass ends after the last changed line unless the line states keep
    // changing; the text does not move while it runs, so lines are compared
    // instead of positions.
    bool forceNext = false;
    bool pastLast = false;
    for (QTextBlock block = first; block.isValid(); block = block.next()) {
        if (pastLast && !forceNext)
            break;
        pastLast = pastLast || block == last;
        int const oldState = block.userState();
        reformatBlock(block, highlight);
        if (reparsePending || rehighlightPending)
            break;
        forceNext = block.userState() != oldState;
    }
    m_formatChanges.clear();
    inPass = wasInPass;

    bool const local = !reparsePending && !rehighlightPending;
    if (reparsePending) {
        reparsePending = false;
        q->reparse();
    } else if (rehighlightPending) {
        rehighlightPending = false;
        q->rehighlight();
    } else if (q) {
        q->codeUpdated();
    }
    if (--messageLock == 0)
        notifyUpdate();
    return local;
}

void CodeDocumentPrivate::reformatBlock(QTextBlock const &block, bool highlight)
{
    m_currentBlock = block;
    m_formatChanges.fill(0, qMax(block.length() - 1, 0));
    parseBlock(block, highlight);
    if (!block.isValid() || !block.layout())
        return;

    // Put the formats into the layout as a syntax highlighter does, keeping
    // an input method's preedit area.
    QTextLayout *layout = block.layout();
    QList<QTextLayout::FormatRange> const previous = layout->formats();
    QList<QTextLayout::FormatRange> ranges = previous;
    int const preeditPosition = layout->preeditAreaPosition();
    int const preeditLength = layout->preeditAreaText().length();
    if (preeditLength > 0) {
        ranges.erase(std::remove_if(ranges.begin(), ranges.end(),
                                    [preeditPosition](QTextLayout::FormatRange const &range) {
                                        return range.start >= preeditPosition;
                                    }),
                     ranges.end());
    } else {
        ranges.clear();
    }
    int const count = m_formatChanges.size();
    int i = 0;
    while (i < count) {
        short const id = m_formatChanges.at(i);
        int start = i;
        while (i < count && m_formatChanges.at(i) == id)
            ++i;
        if (id == 0)
            continue;
        QTextLayout::FormatRange range;
        range.start = start;
        range.length = i - start;
        range.format = m_formats.at(id);
        if (preeditLength > 0) {
            if (range.start >= preeditPosition)
                range.start += preeditLength;
            else if (range.start + range.length >= preeditPosition)
                range.length += preeditLength;
        }
        ranges.append(range);
    }
    if (ranges != previous) {
        markChanged(block);
        layout->setFormats(ranges);
        bool const wasInReformat = inReformat;
        inReformat = true;
        m_document->markContentsDirty(block.position(), block.length());
        inReformat = wasInReformat;
    }
}

void CodeDocumentPrivate::wholeDocumentPass()
{
    bool const wasInReformat = inReformat;
    inReformat = true;
    QTextCursor pass(m_document);
    pass.beginEditBlock();
    int const start = pass.position();
    pass.movePosition(QTextCursor::End);
    reformatBlocks(start, 0, pass.position() - start);
    pass.endEditBlock();
    inReformat = wasInReformat;
}

void CodeDocumentPrivate::changeText(QTextCursor &target, QString const &text)
{
    int const start = target.selectionStart();
    QTextBlock const stop = m_document->findBlock(target.selectionEnd()).next();
    target.insertText(text);
    if (changeDepth > 0 && m_parser && q && optionOn(q, "parseCode", true)) {
        for (QTextBlock block = m_document->findBlock(start); block.isValid() && block != stop;
             block = block.next())
            parseBlock(block, false);
    }
}

void CodeDocumentPrivate::lockModel()
{
    if (modelLock++ == 0 && modelEnabled && modelRowCount != 0) {
        auto *root = static_cast<CodeDocumentRoot *>(m_root);
        root->beginRemoveRows(QModelIndex(), 0, modelRowCount - 1);
        ++modelLock; // keeps the rows answered from the count closed
        modelRowCount = 0;
        --modelLock;
        root->endRemoveRows();
    }
}

void CodeDocumentPrivate::unlockModel()
{
    if (modelLock == 1 && modelEnabled && m_root->childCount() > 0) {
        auto *root = static_cast<CodeDocumentRoot *>(m_root);
        int const rows = static_cast<int>(m_root->childCount());
        root->beginInsertRows(QModelIndex(), 0, rows - 1);
        modelRowCount = rows;
        modelLock = 0;
        root->endInsertRows();
        return;
    }
    if (modelLock > 0)
        --modelLock;
}

void CodeDocumentPrivate::markAllSaved()
{
    revision = m_document->revision();
    for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next())
        block.setRevision(revision);
}

void CodeDocumentPrivate::completeSave()
{
    if (!pendingSave.device && !pendingSave.archive)
        return;
    PendingSave const done = pendingSave;
    pendingSave = PendingSave();
    codec = done.codec;
    q->saveFinished(done.archive, done.device, done.path, done.flags, done.stats);
}

void CodeDocumentPrivate::releaseAllNodes()
{
    for (QTextBlock block = m_document->begin(); block.isValid(); block = block.next()) {
        if (CodeBlockData *data = CodeBlockData::testBlockData(block)) {
            if (CodeNode *node = data->d->node) {
                data->d->node = nullptr;
                node->release();
            }
        }
    }
}

// ---------------------------------------------------------------- the root

CodeDocumentRoot::CodeDocumentRoot(CodeDocument *document, short fileType)
    : RootCode(fileType), m_document(document)
{}

CodeDocument *CodeDocumentRoot::codeDocument() const
{
    return m_document;
}

bool CodeDocumentRoot::isOpen() const
{
    CodeDocumentPrivate const *d = m_document ? m_document->d : nullptr;
    return d && d->modelEnabled && d->modelLock == 0;
}

void CodeDocumentRoot::insertChild(CodeNode *child, unsigned int index)
{
    RootCode::insertChild(child, index);
    if (m_document && m_document->d)
        m_document->insertChild(child, index);
}

void CodeDocumentRoot::removeChild(CodeNode *child)
{
    RootCode::removeChild(child);
    if (m_document && m_document->d)
        m_document->removeChild(child);
}

void CodeDocumentRoot::childChanged(CodeNode *child)
{
    if (m_document && m_document->d)
        m_document->childChanged(child);
}

void CodeDocumentRoot::beginInsert(ParentCode const *parent, int row)
{
    if (isOpen())
        RootCode::beginInsert(parent, row);
}

void CodeDocumentRoot::endInsert()
{
    if (!isOpen())
        return;
    m_document->d->modelRowCount = static_cast<int>(childCount());
    RootCode::endInsert();
}

void CodeDocumentRoot::beginRemove(ParentCode const *parent, int row)
{
    if (isOpen())
        RootCode::beginRemove(parent, row);
}

void CodeDocumentRoot::endRemove()
{
    if (!isOpen())
        return;
    m_document->d->modelRowCount = static_cast<int>(childCount());
    RootCode::endRemove();
}

void CodeDocumentRoot::changed(ParentCode const *parent, int row, int column)
{
    if (isOpen())
        RootCode::changed(parent, row, column);
}

QModelIndex CodeDocumentRoot::index(int row, int column, QModelIndex const &parent) const
{
    if (!isOpen())
        return QModelIndex();
    if (!parent.isValid() && (row < 0 || row >= m_document->d->modelRowCount))
        return QModelIndex();
    return RootCode::index(row, column, parent);
}

QModelIndex CodeDocumentRoot::parent(QModelIndex const &index) const
{
    return isOpen() ? RootCode::parent(index) : QModelIndex();
}

int CodeDocumentRoot::rowCount(QModelIndex const &parent) const
{
    if (isOpen())
        return parent.isValid() ? RootCode::rowCount(parent) : m_document->d->modelRowCount;
    return parent.isValid() || !m_document || !m_document->d ? 0 : m_document->d->modelRowCount;
}

int CodeDocumentRoot::columnCount(QModelIndex const &parent) const
{
    return isOpen() ? RootCode::columnCount(parent) : 0;
}

bool CodeDocumentRoot::hasChildren(QModelIndex const &parent) const
{
    return rowCount(parent) > 0;
}

Qt::ItemFlags CodeDocumentRoot::flags(QModelIndex const &index) const
{
    return isOpen() ? RootCode::flags(index) : Qt::NoItemFlags;
}

QVariant CodeDocumentRoot::data(QModelIndex const &index, int role) const
{
    return isOpen() ? RootCode::data(index, role) : QVariant();
}

// ---------------------------------------------------------------- the document

CodeDocument::CodeDocument(short fileType) : m_root(this, fileType), d(nullptr)
{
    setDocumentLayout(new CodeDocumentLayout(this));
    QFont font(QStringLiteral("Courier"), 10);
    font.setFixedPitch(true);
    font.setStyleHint(QFont::TypeWriter, QFont::PreferDefault);
    setDefaultFont(font);
    d = new CodeDocumentPrivate(this);
}

CodeDocument::~CodeDocument()
{
    waitForSave();
    // Normally no node file is left here; one that is held goes with the
    // document, one that is not learns of the end through its guarded pointer.
    QList<CodeNodeFile *> heldFiles;
    for (CodeDocumentPrivate::NodeFileEntry const &entry : std::as_const(d->nodeFiles)) {
        if (entry.held)
            heldFiles.append(entry.file);
    }
    d->nodeFiles.clear();
    d->setParser(nullptr);
    d->lockModel();
    d->clearing = true;
    QTextDocument::clear();
    d->releaseAllNodes();
    d->clearing = false;
    d->unlockModel();
    for (CodeNodeFile *file : std::as_const(heldFiles))
        file->release();
    CodeDocumentPrivate *gone = d;
    d = nullptr;
    delete gone;
}

void CodeDocument::waitForSave() const
{
    if (!d)
        return;
    d->saveWatcher.waitForFinished();
    d->completeSave();
}

void CodeDocument::setVersion(unsigned short version)
{
    m_root.setVersion(version, true);
}

void CodeDocument::fromString(QString const &text)
{
    waitForSave();
    fileLoaded(FileSystemArchive::instance(), QString(), false);
    QString content = text;
    if (optionOn(this, "open_tabToSpace", false))
        content = tabsToSpaces(content);
    d->lockModel();
    setPlainText(content);
    setFileName(QString());
    d->markAllSaved();
    setModified(false);
    d->codec = TextCodecs::index("UTF-8");
    d->byteOrderMark = false;
    d->modelEnabled = optionOn(this, "modelCode", true);
    d->unlockModel();
}

QIcon CodeDocument::nodeIcon(CodeNode const *node) const
{
    Interface *host = Interface::instance();
    if (!host || !node || node->type() != CodeNode::Value)
        return QIcon();
    char const *name = nullptr;
    switch (static_cast<ValueCode const *>(node)->valueType()) {
    case ValueCode::String:
        name = "code_string";
        break;
    case ValueCode::Boolean:
        name = "code_bool";
        break;
    case ValueCode::File:
        name = "code_file";
        break;
    case ValueCode::Date:
        name = "code_date";
        break;
    case ValueCode::Keyword:
    case ValueCode::KeywordVector:
        name = "code_keyword";
        break;
    case ValueCode::Float:
    case ValueCode::FloatVec2:
    case ValueCode::FloatVec3:
    case ValueCode::FloatVec4:
    case ValueCode::FloatVector:
        name = "code_float";
        break;
    case ValueCode::Int:
    case ValueCode::IntVec2:
    case ValueCode::IntVec3:
    case ValueCode::IntVec4:
    case ValueCode::IntVector:
        name = "code_int";
        break;
    default:
        return QIcon();
    }
    return host->icon(QString::fromLatin1(name));
}

QString CodeDocument::toString() const
{
    return toPlainText();
}

QString CodeDocument::title() const
{
    return metaInformation(DocumentTitle);
}

void CodeDocument::setTitle(QString const &title)
{
    setMetaInformation(DocumentTitle, title);
}

void CodeDocument::setFileName(QString const &path)
{
    if (path.isEmpty()) {
        setMetaInformation(DocumentTitle, QString());
        setMetaInformation(DocumentUrl, QString());
        return;
    }
    QFileInfo const info(path);
    setMetaInformation(DocumentTitle, info.fileName());
    setMetaInformation(DocumentUrl, info.filePath());
}

QString CodeDocument::fileName() const
{
    return metaInformation(DocumentUrl);
}

short CodeDocument::fileType() const
{
    return m_root.fileType();
}

void CodeDocument::setFileType(short type, bool signal)
{
    m_root.setFileType(type, signal);
}

unsigned short CodeDocument::version() const
{
    return m_root.version();
}

CodeDocumentRoot *CodeDocument::root()
{
    return &m_root;
}

int CodeDocument::codecId() const
{
    return d->codec;
}

void CodeDocument::setCodecId(int codec)
{
    d->codec = codec;
}

QString CodeDocument::codecName() const
{
    return TextCodecs::name(d->codec);
}

void CodeDocument::setCodec(char const *name)
{
    d->codec = TextCodecs::index(name);
}

bool CodeDocument::hasByteOrderMark() const
{
    return d->byteOrderMark;
}

int CodeDocument::savedRevision() const
{
    return d->revision;
}

bool CodeDocument::hasSyntaxHighlight() const
{
    return optionOn(this, "highlightCode", true);
}

void CodeDocument::setSyntaxHighlight(bool highlight)
{
    if (highlight == hasSyntaxHighlight())
        return;
    setOption(QStringLiteral("highlightCode"), highlight, false, false);
    reparse();
}

CodeParser *CodeDocument::parser() const
{
    return d->parser();
}

void CodeDocument::setParser(CodeParser *parser)
{
    if (parser == d->parser())
        return;
    d->setParser(parser);
    reparse();
}

void CodeDocument::setSyntaxFormat(CodeParserSyntax::TokenType type, QTextCharFormat const &format)
{
    CodeParserSyntax::setSyntaxFormat(type, format);
}

CodeNode *CodeDocument::nodeInBlock(QTextBlock const &block) const
{
    CodeBlockData const *data = CodeBlockData::testBlockData(block);
    return data ? data->codeNode() : nullptr;
}

CodeNode *CodeDocument::nodeFromIndex(QModelIndex const &index)
{
    return RootCode::node(index);
}

int CodeDocument::lineNo(QModelIndex const &index) const
{
    CodeNode const *node = nodeFromIndex(index);
    if (!index.isValid() || !CodeNode::isValid(node))
        return 0;
    if (node->block().isValid())
        return node->block().blockNumber();
    return node->next() ? node->firstLine() : 0;
}

QModelIndex CodeDocument::indexInLine(int line) const
{
    auto lineOf = [](CodeNode const *node) {
        return node->block().isValid() ? node->block().blockNumber() : node->firstLine();
    };
    ParentCode const *current = &m_root;
    QModelIndex currentIndex;
    bool descended = true;
    while (descended) {
        descended = false;
        for (int row = static_cast<int>(current->childCount()) - 1; row >= 0; --row) {
            CodeNode *child = current->childAt(static_cast<unsigned int>(row));
            int const childLine = lineOf(child);
            if (childLine == line)
                return m_root.index(row, 0, currentIndex);
            if (childLine < line && (child->type() & CodeNode::SectionMask)) {
                currentIndex = m_root.index(row, 0, currentIndex);
                current = static_cast<ParentCode const *>(child);
                descended = true;
                break;
            }
        }
    }
    return currentIndex;
}

QTextCursor CodeDocument::cursor() const
{
    return d->cursor;
}

void CodeDocument::setCursor(QTextCursor const &cursor)
{
    d->cursor = cursor;
}

void CodeDocument::insert(QString const &text)
{
    d->cursor.movePosition(QTextCursor::End);
    d->changeText(d->cursor, text);
}

void CodeDocument::insertOnCursor(QString const &text, QTextCursor cursor)
{
    d->changeText(cursor, text);
}

void CodeDocument::insertAfter(CodeNode const *node, QString const &text, bool ownLine)
{
    QTextCursor &target = d->cursor;
    if (!node) {
        target.movePosition(QTextCursor::End);
        d->changeText(target, text + QLatin1Char('\n'));
        return;
    }
    QTextBlock const anchor = ownLine ? node->block() : findBlockByNumber(node->lastLine());
    if (!anchor.isValid()) {
        target.movePosition(QTextCursor::End);
    } else {
        target.setPosition(anchor.position() + anchor.length() - 1);
    }
    d->changeText(target, QLatin1Char('\n') + text);
}

void CodeDocument::insertBefore(CodeNode const *node, QString const &text, bool ownLine)
{
    QTextCursor &target = d->cursor;
    if (!node) {
        target.movePosition(QTextCursor::Start);
        d->changeText(target, text + QLatin1Char('\n'));
        return;
    }
    QTextBlock const anchor = ownLine ? node->block() : findBlockByNumber(node->firstLine());
    QTextBlock const before = anchor.isValid() ? anchor.previous() : QTextBlock();
    if (before.isValid()) {
        target.setPosition(before.position() + before.length() - 1);
        d->changeText(target, QLatin1Char('\n') + text);
    } else {
        target.setPosition(anchor.isValid() ? anchor.position() : 0);
        d->changeText(target, text + QLatin1Char('\n'));
    }
}

void CodeDocument::beginChange()
{
    d->cursor.beginEditBlock();
    ++d->changeDepth;
}

void CodeDocument::endChange()
{
    d->cursor.endEditBlock();
    --d->changeDepth;
}

bool CodeDocument::isCodeBeingChanged() const
{
    return d->changeDepth != 0;
}

bool CodeDocument::addMark(CodeMark *mark, int line)
{
    if (!d->addMark(mark, line))
        return false;
    mark->setDocument(this);
    requestLayoutUpdate(this);
    return true;
}

QList<CodeMark *> CodeDocument::marksAt(int line) const
{
    CodeBlockData const *data = CodeBlockData::testBlockData(findBlockByNumber(line - 1));
    return data ? data->marks() : QList<CodeMark *>();
}

bool CodeDocument::hasMark(CodeMark *mark) const
{
    for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
        CodeBlockData const *data = CodeBlockData::testBlockData(block);
        if (data && data->marks().contains(mark))
            return true;
    }
    return false;
}

void CodeDocument::removeMark(CodeMark *mark)
{
    bool removed = false;
    for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
        if (CodeBlockData *data = CodeBlockData::testBlockData(block))
            removed = data->d->marks.removeAll(mark) > 0 || removed;
    }
    if (removed)
        requestLayoutUpdate(this);
}

void CodeDocument::updateMark(CodeMark *)
{
    requestLayoutUpdate(this);
}

QAbstractItemModel *CodeDocument::model()
{
    return &m_root;
}

ProjectFile::Capabilities CodeDocument::capabilities() const
{
    return Capabilities(AsyncSave | TextUndo);
}

bool CodeDocument::canSave() const
{
    return true;
}

bool CodeDocument::isModified() const
{
    return QTextDocument::isModified();
}

bool CodeDocument::isEmpty() const
{
    return QTextDocument::isEmpty();
}

void CodeDocument::undo()
{
    QTextDocument::undo();
}

void CodeDocument::redo()
{
    QTextDocument::redo();
}

void CodeDocument::reset()
{
    waitForSave();
    fileLoaded(FileSystemArchive::instance(), QString(), false);
    d->lockModel();
    setFileName(QString());
    QTextDocument::clear();
    d->markAllSaved();
    setModified(false);
    Q_EMIT modificationChanged(false);
    d->codec = TextCodecs::index("UTF-8");
    d->byteOrderMark = false;
    d->modelEnabled = optionOn(this, "modelCode", true);
    d->unlockModel();
}

void CodeDocument::reload()
{
    readFile(archive(), fileName(), d->codec, 0, nullptr);
}

bool CodeDocument::fromFile(Archive &archive, QString const &path, unsigned int flags,
                            JobStats *stats)
{
    fileLoaded(archive, path, flags & Copy);
    return readFile(archive, path, -1, flags, stats);
}

bool CodeDocument::readFile(Archive &archive, QString const &path, int codec, unsigned int flags,
                            JobStats *stats)
{
    QIODevice *device = archive.openFile(path, QIODevice::ReadOnly);
    if (!device)
        return false;
    waitForSave();
    bool mark = false;
    QString text = decode(device->readAll(), codec, mark);
    // Line ends are the document's business: CRLF on disk, LF in the text.
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    d->codec = codec;
    d->byteOrderMark = mark;
    if (optionOn(this, "open_tabToSpace", false))
        text = tabsToSpaces(text);

    d->lockModel();
    ++d->messageLock;
    setPlainText(text);
    if (--d->messageLock == 0)
        d->notifyUpdate();
    d->modelEnabled = optionOn(this, "modelCode", true);
    d->unlockModel();

    if (!(flags & Copy)) {
        setFileName(path);
        d->markAllSaved();
    }
    setModified(flags & Copy);
    archive.closeFile(device);
    ProjectFile::fromFile(archive, path, flags, stats);
    return true;
}

bool CodeDocument::toFile(Archive &archive, QString const &path, unsigned int flags,
                          JobStats *stats)
{
    if (!archive.isWritable(path))
        return false;
    waitForSave();
    QIODevice *device = archive.openFile(path, QIODevice::WriteOnly);
    if (!device)
        return false;
    d->saving = true;
    fileSaved(archive, path, flags & Copy);
    if (!(flags & Copy))
        setFileName(path);
    if (optionOn(this, "save_spaceToTab", false))
        flags |= spaceToTabFlag;

    if (!(flags & Background)) {
        int codec = d->codec;
        device->write(encode(toRawText(), flags, codec, d->byteOrderMark));
        d->codec = codec;
        saveFinished(&archive, device, path, flags, stats);
        return true;
    }

    // The bytes are made and written on the pool from a copy of the text;
    // the device is closed back on this thread.
    d->pendingSave = {&archive, device, path, flags, stats};
    d->pendingSave.codec = d->codec;
    QString const text = toRawText();
    bool const mark = d->byteOrderMark;
    int *codec = &d->pendingSave.codec;
    d->saveWatcher.setFuture(QtConcurrent::run(
        [device, text, flags, codec, mark] { device->write(encode(text, flags, *codec, mark)); }));
    return true;
}

void CodeDocument::saveFinished(Archive *archive, QIODevice *device, QString const &path,
                                unsigned int flags, JobStats *stats)
{
    if (!(flags & Copy)) {
        setFileName(path);
        int const old = d->revision;
        d->revision = revision();
        if (d->revision != old) {
            for (QTextBlock block = begin(); block.isValid(); block = block.next()) {
                bool const changed = block.revision() < 0 || block.revision() != old;
                block.setRevision(changed ? ~d->revision : d->revision);
            }
        }
        setModified(false);
    }
    if (device && archive)
        archive->closeFile(device);
    if (archive)
        ProjectFile::toFile(*archive, path, flags & (Copy | Background), stats);
    if (stats && (flags & Background)) {
        stats->setValue(1);
        delete stats; // a background save owns its job
    }
    d->saving = false;
}

QList<ProjectFile::SearchResult> CodeDocument::search(RegExp const &regExp,
                                                      unsigned int flags) const
{
    QList<SearchResult> results;
    QString const text = toPlainText();
    auto resultAt = [this, &text](RegExp::Match const &match) {
        SearchResult result;
        QTextBlock block = findBlock(match.position);
        result.line = block.blockNumber();
        result.item = 0;
        result.position = match.position - block.position();
        result.length = match.length;
        result.captures = match.captures.mid(1);
        result.text = block.text();
        int const end = match.position + match.length;
        for (block = block.next(); block.isValid() && block.position() < end; block = block.next())
            result.text += QLatin1Char('\n') + block.text();
        return result;
    };
    RegExp::Match match;
    if (flags & SearchAll) {
        for (bool found = regExp.first(text, match); found; found = regExp.next(text, match))
            results.append(resultAt(match));
        return results;
    }
    if (!(flags & SearchBackward)) {
        int const from = (flags & SearchFromEnd) ? 0 : d->cursor.position();
        bool found = regExp.match(text, from, match);
        if (!found && !(flags & SearchFromEnd) && (flags & SearchWrap))
            found = regExp.match(text, 0, match);
        if (found)
            results.append(resultAt(match));
        return results;
    }
    auto matchBackward = [&regExp, &text, &match](int offset) {
        int const position = regExp.lastIndexIn(text, offset);
        if (position < 0)
            return false;
        match.position = position;
        match.length = regExp.matchedLength();
        match.captures = regExp.capturedTexts();
        return true;
    };
    int const offset = (flags & SearchFromEnd) ? -1 : d->cursor.selectionStart() - text.size() - 1;
    bool found = matchBackward(offset);
    if (!found && (flags & SearchWrap))
        found = matchBackward(-1);
    if (found)
        results.append(resultAt(match));
    return results;
}

void CodeDocument::replace(QList<SearchResult> const &results, QString const &text)
{
    bool const grouped = results.size() > 1;
    if (grouped)
        beginChange();
    for (int i = results.size() - 1; i >= 0; --i) {
        SearchResult const &result = results.at(i);
        QTextBlock const block = findBlockByNumber(result.line);
        if (!block.isValid())
            continue;
        QString replacement = text;
        for (QString const &capture : result.captures)
            replacement = replacement.arg(capture);
        QTextCursor target(this);
        target.setPosition(block.position() + result.position);
        target.setPosition(block.position() + result.position + result.length,
                           QTextCursor::KeepAnchor);
        target.insertText(replacement);
    }
    if (grouped)
        endChange();
}

void CodeDocument::rehighlight()
{
    if (d->inPass) {
        d->rehighlightPending = true;
        return;
    }
    d->lockModel();
    d->wholeDocumentPass();
    d->unlockModel();
}

void CodeDocument::reparse()
{
    if (d->inPass) {
        d->reparsePending = true;
        return;
    }
    d->lockModel();
    d->releaseAllNodes();
    ++d->messageLock;
    d->wholeDocumentPass();
    if (--d->messageLock == 0)
        d->notifyUpdate();
    d->modelEnabled = optionOn(this, "modelCode", true);
    d->unlockModel();
}

void CodeDocument::codeUpdated() {}

// ---------------------------------------------------------------- node files

namespace {

unsigned int nodeFileKey(CodeNode::Type type, unsigned int subType)
{
    // Only sections come in kinds.
    return (type == CodeNode::Group ? subType : 0u) << 12 | static_cast<unsigned int>(type);
}

unsigned int nodeFileKey(CodeNode const *node)
{
    unsigned int const subType =
        node->type() == CodeNode::Group ? static_cast<GroupCode const *>(node)->subType() : 0;
    return nodeFileKey(node->type(), subType);
}

} // namespace

void CodeDocument::registerNodeFile(CodeNodeFile *file, CodeNode::Type type, unsigned int subType)
{
    if (!file || file->document() != this)
        return;
    unsigned int const key = nodeFileKey(type, subType);
    ProjectFile::addRef(); // the file's hold on the document
    CodeDocumentPrivate::NodeFileEntry const earlier = d->nodeFiles.value(key);
    d->nodeFiles.insert(key, {file, true});
    if (earlier.file) {
        // The earlier file gets no further calls; its hold on the document
        // goes with its entry, and so does the document's hold on it.
        ProjectFile::release();
        if (earlier.held)
            earlier.file->release();
    }
    file->populateChilds(type, subType);
}

CodeNodeFile *CodeDocument::nodeFile(CodeNode::Type type, unsigned int subType) const
{
    return d->nodeFiles.value(nodeFileKey(type, subType)).file;
}

void CodeDocument::unregisterNodeFile(CodeNodeFile *file)
{
    int entries = 0;
    for (auto it = d->nodeFiles.begin(); it != d->nodeFiles.end();) {
        if (it->file == file) {
            it = d->nodeFiles.erase(it);
            ++entries;
        } else {
            ++it;
        }
    }
    // The last of these releases may end the document.
    while (entries-- > 0)
        release();
}

void CodeDocument::release()
{
    // Every registered file holds one reference, so this is the last other
    // one when the count exceeds the number of entries by one. Without it no
    // one can reach a file that only the document holds any more: the
    // document lets go of them all, keeping itself alive while they go.
    bool const lastOther = d && !d->releasingNodeFiles && !d->nodeFiles.isEmpty() &&
        refCount() == static_cast<unsigned int>(d->nodeFiles.size()) + 1;
    if (lastOther) {
        d->releasingNodeFiles = true;
        ProjectFile::addRef();
        QList<unsigned int> const keys = d->nodeFiles.keys();
        for (unsigned int const key : keys) {
            auto it = d->nodeFiles.find(key);
            if (it == d->nodeFiles.end() || !it->held)
                continue;
            it->held = false;
            // May end the file, which then takes its entries out.
            it->file->release();
        }
        d->releasingNodeFiles = false;
        ProjectFile::release();
    }
    ProjectFile::release();
}

void CodeDocument::insertChild(CodeNode *child, unsigned int)
{
    if (d->nodeFiles.isEmpty())
        return;
    unsigned int const key = nodeFileKey(child);
    auto const found = d->nodeFiles.constFind(key);
    if (found == d->nodeFiles.constEnd())
        return;
    // The index among the nodes of the file's kind.
    unsigned int index = 0;
    for (CodeNode *node : m_root.childs()) {
        if (node == child)
            break;
        if (node->type() == child->type() && nodeFileKey(node) == key)
            ++index;
    }
    found->file->insertChild(child, index);
}

void CodeDocument::removeChild(CodeNode *child)
{
    if (d->nodeFiles.isEmpty())
        return;
    if (CodeNodeFile *file = d->nodeFiles.value(nodeFileKey(child)).file)
        file->removeChild(child);
}

void CodeDocument::childChanged(CodeNode *child)
{
    if (d->nodeFiles.isEmpty())
        return;
    if (CodeNodeFile *file = d->nodeFiles.value(nodeFileKey(child)).file)
        file->childChanged(child);
}

Messages *CodeDocument::fileMessages() const
{
    return d;
}

} // namespace Kenro
