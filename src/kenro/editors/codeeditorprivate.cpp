#include "codeeditor_p.h"

#include <kenro/code/codeblockdata.h>
#include <kenro/code/codedocument.h>
#include <kenro/code/codeparser.h>

#include <QAbstractItemView>
#include <QAbstractTextDocumentLayout>
#include <QCompleter>
#include <QFile>
#include <QIcon>
#include <QPainter>
#include <QPlainTextDocumentLayout>
#include <QScrollBar>
#include <QStringListModel>
#include <QTextLayout>
#include <QXmlStreamReader>
#include <QtMath>

namespace Kenro {

namespace {

// Characters that end a word: typing one closes the completion popup.
QString const endOfWord = QStringLiteral("~!@#$%^&*)_+{}|:\"<>?,./;'[]\\-=");

bool isWordCharacter(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

} // namespace

CodeEditorPrivate::CodeEditorPrivate(CodeEditor *editor)
    : QObject(editor),
      q(editor),
      completer(new QCompleter(this)),
      extraArea(new CodeEditorExtraArea(editor, this))
{
    blockTimer.setObjectName(QStringLiteral("blockTimer"));
    blockTimer.setParent(this);
    blockTimer.setSingleShot(true);
    blockTimer.setInterval(100);
    connect(&blockTimer, &QTimer::timeout, this, &CodeEditorPrivate::computeBlockHighlight);
    parenTimer.setObjectName(QStringLiteral("parenTimer"));
    parenTimer.setParent(this);
    parenTimer.setSingleShot(true);
    connect(&parenTimer, &QTimer::timeout, this, &CodeEditorPrivate::matchParentheses);

    completer->setModelSorting(QCompleter::CaseInsensitivelySortedModel);
    completer->setCaseSensitivity(Qt::CaseInsensitive);
    completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    completer->setWrapAround(false);
    completer->setWidget(editor);
    connect(completer, qOverload<QString const &>(&QCompleter::activated), this,
            &CodeEditorPrivate::insertCompletion);
}

CodeEditorPrivate::~CodeEditorPrivate()
{
    delete completer;
    qDeleteAll(completers);
}

QIcon &CodeEditorPrivate::lineMarkIcon()
{
    static QIcon icon;
    return icon;
}

int CodeEditorPrivate::foldingIndent(QTextBlock const &block)
{
    CodeBlockData const *data = CodeBlockData::testBlockData(block);
    return data ? data->foldingIndent() : 0;
}

bool CodeEditorPrivate::canFold(QTextBlock const &block)
{
    QTextBlock const next = block.next();
    return CodeBlockData::testBlockData(block) && next.isValid() &&
        foldingIndent(next) > foldingIndent(block);
}

QTextBlock CodeEditorPrivate::foldEnd(QTextBlock const &block)
{
    int const indent = foldingIndent(block);
    QTextBlock end = block;
    for (QTextBlock next = block.next(); next.isValid() && foldingIndent(next) > indent;
         next = next.next())
        end = next;
    return end;
}

void CodeEditor::toggleBlockVisible(QTextBlock const &block)
{
    if (!block.isValid() || block.document() != document() || !CodeEditorPrivate::canFold(block))
        return;
    CodeBlockData *data = CodeBlockData::testBlockData(block);
    int const indent = data->foldingIndent();
    bool const unfolding = !block.next().isVisible();
    QTextBlock const last = document()->lastBlock();
    QTextBlock end = block;
    QTextBlock next = block.next();
    while (next.isValid() && CodeEditorPrivate::foldingIndent(next) > indent) {
        bool const visible = unfolding || next == last;
        next.setVisible(visible);
        next.setLineCount(visible ? qMax(1, next.layout()->lineCount()) : 0);
        end = next;
        QTextBlock const nested = next;
        next = next.next();
        // A nested fold that is closed stays closed.
        if (unfolding && CodeEditorPrivate::canFold(nested) &&
            CodeBlockData::testBlockData(nested)->isFolded()) {
            int const depth = CodeEditorPrivate::foldingIndent(nested);
            while (next.isValid() && CodeEditorPrivate::foldingIndent(next) > depth) {
                end = next;
                next = next.next();
            }
        }
    }
    data->setFolded(!unfolding);
    auto *layout = qobject_cast<QPlainTextDocumentLayout *>(document()->documentLayout());
    if (layout) {
        d->toggling = true;
        layout->requestUpdate();
        d->toggling = false;
        Q_EMIT layout->documentSizeChanged(layout->documentSize());
    }
    // A cursor left in a hidden line comes up to the heading.
    if (!textCursor().block().isVisible())
        setTextCursor(QTextCursor(block));
    viewport()->update();
    d->extraArea->update();
    d->blockTimer.start();
}

void CodeEditorPrivate::cacheLines(QTextBlock const &block)
{
    // The line being typed in keeps its shaped text from the layout of a
    // keystroke to the cursor's placing and the paint, and the lines above
    // and below it, which each keystroke repaints a pixel of, keep theirs;
    // without the cache each of them is shaped again every time. Each line
    // is held by a cursor that follows it through edits.
    QTextBlock const lines[] = {block.previous(), block, block.next()};
    bool same = true;
    for (int i = 0; i < 3; ++i)
        same = same &&
            (cachedLines[i].isNull() ? !lines[i].isValid() : cachedLines[i].block() == lines[i]);
    if (same)
        return;
    for (QTextCursor &line : cachedLines) {
        if (!line.isNull())
            line.block().layout()->setCacheEnabled(false);
        line = QTextCursor();
    }
    for (int i = 0; i < 3; ++i) {
        if (lines[i].isValid()) {
            lines[i].layout()->setCacheEnabled(true);
            cachedLines[i] = QTextCursor(lines[i]);
        }
    }
}

void CodeEditorPrivate::onCursorMoved()
{
    QTextCursor const cursor = q->textCursor();
    cacheLines(document ? cursor.block() : QTextBlock());
    parenTimer.start(50);
    if (formatting.highlightBlocks)
        blockTimer.start();
    // The line numbers of the selection are bold, and the current line is
    // painted: without a selection, only the rows of the line left and the
    // line reached change.
    if (cursor.hasSelection()) {
        extraArea->update();
    } else if (cursor.blockNumber() != lastLine) {
        updateRow(lastLine);
        updateRow(cursor.blockNumber());
    }
    Q_EMIT q->cursorChanged(QPoint(cursor.blockNumber(), cursor.positionInBlock()));
    if (cursor.blockNumber() != lastLine) {
        lastLine = cursor.blockNumber();
        Q_EMIT q->currentLineChanged(lastLine);
    }
}

void CodeEditorPrivate::onContentsChange(int, int, int)
{
    editRevision = document->revision();
    clearLink();
    if (!markCursor.isNull())
        markedLine = markCursor.blockNumber();
}

void CodeEditorPrivate::takeLayoutUpdates()
{
    if (!control) {
        for (QObject *child : q->children()) {
            if (child->inherits("QWidgetTextControl"))
                control = child;
        }
    }
    QAbstractTextDocumentLayout *layout = q->document()->documentLayout();
    if (!control || !document)
        return;
    editBlocks = document->blockCount();
    disconnect(layout, &QAbstractTextDocumentLayout::update, control, nullptr);
    connect(layout, &QAbstractTextDocumentLayout::update, this, &CodeEditorPrivate::onLayoutUpdate);
}

void CodeEditorPrivate::onLayoutUpdate(QRectF const &rect)
{
    // The formats that a pass puts on a line reach the layout as a change
    // that runs past the line, which it answers by repainting everything.
    // After a text edit that kept the number of lines, only the lines whose
    // layout went need painting: the others neither moved nor changed.
    bool const edit = document && editRevision == document->revision() &&
        editBlocks == document->blockCount() && !toggling;
    editRevision = -1;
    editBlocks = document ? document->blockCount() : 0;
    if (!edit) {
        QMetaObject::invokeMethod(control, "updateRequest", Qt::DirectConnection,
                                  Q_ARG(QRectF, rect));
        return;
    }
    QRect changed;
    for (BlocksInView view(q); view.next();) {
        if (!view.wasLaidOut)
            changed |= view.rect.toAlignedRect();
    }
    if (changed.isEmpty())
        return;
    q->viewport()->update(changed);
    // With a pixel around the lines, as the base class asks for them.
    Q_EMIT q->updateRequest(changed.adjusted(0, -1, 0, 1).intersected(q->viewport()->rect()), 0);
}

void CodeEditorPrivate::updateSelections()
{
    QList<QTextEdit::ExtraSelection> selections = foundSelections + parenSelections;
    if (link)
        selections << linkSelection;
    q->setExtraSelections(selections);
}

void CodeEditorPrivate::matchParentheses()
{
    parenSelections.clear();
    if (!formatting.parenMatching || q->isReadOnly() || !document) {
        updateSelections();
        return;
    }
    QTextCursor const cursor = q->textCursor();
    QTextBlock const block = cursor.block();
    int const column = cursor.positionInBlock();
    auto select = [this](int position, int end, QTextCharFormat const &format) {
        QTextEdit::ExtraSelection selection;
        selection.cursor = QTextCursor(document);
        selection.cursor.setPosition(position);
        selection.cursor.setPosition(end, QTextCursor::KeepAnchor);
        selection.format = format;
        parenSelections << selection;
    };
    // Walks from the parenthesis at \a index of \a from's list, forward or
    // back, over the parentheses of the following lines that have any.
    auto walk = [&](QTextBlock from, int index, bool forward) {
        CodeBlockData::Parenthesis const start =
            CodeBlockData::testBlockData(from)->parenthesis().at(index);
        int const startPos = from.position() + static_cast<int>(start.position);
        int depth = 0;
        for (QTextBlock b = from; b.isValid(); b = forward ? b.next() : b.previous()) {
            CodeBlockData const *data = CodeBlockData::testBlockData(b);
            if (!data || data->parenthesis().isEmpty())
                continue;
            QVector<CodeBlockData::Parenthesis> const &list = data->parenthesis();
            int i = b == from ? index + (forward ? 1 : -1)
                : forward     ? 0
                              : static_cast<int>(list.size()) - 1;
            for (; i >= 0 && i < list.size(); i += forward ? 1 : -1) {
                bool const same = list[i].type == start.type;
                if (same) {
                    ++depth;
                } else if (depth > 0) {
                    --depth;
                } else {
                    int const partner = b.position() + static_cast<int>(list[i].position);
                    QChar const open(forward ? start.character : list[i].character);
                    QChar const close(forward ? list[i].character : start.character);
                    bool const pair = (open == QLatin1Char('(') && close == QLatin1Char(')')) ||
                        (open == QLatin1Char('[') && close == QLatin1Char(']')) ||
                        (open == QLatin1Char('{') && close == QLatin1Char('}')) ||
                        (open == QLatin1Char('<') && close == QLatin1Char('>'));
                    if (!pair) {
                        select(startPos, startPos + 1, formatting.parenMismatch);
                        select(partner, partner + 1, formatting.parenMismatch);
                        return;
                    }
                    int const first = qMin(startPos, partner), second = qMax(startPos, partner);
                    if (formatting.parenRange && second > first + 1)
                        select(first + 1, second, formatting.parenRangeFormat);
                    select(first, first + 1, formatting.parenMatch);
                    select(second, second + 1, formatting.parenMatch);
                    return;
                }
            }
        }
        select(startPos, startPos + 1, formatting.parenMismatch);
    };
    if (CodeBlockData const *data = CodeBlockData::testBlockData(block)) {
        QVector<CodeBlockData::Parenthesis> const &list = data->parenthesis();
        for (int i = 0; i < list.size(); ++i) {
            if (list[i].type == 0 && static_cast<int>(list[i].position) == column)
                walk(block, i, true);
        }
        for (int i = 0; i < list.size(); ++i) {
            if (list[i].type == 1 && static_cast<int>(list[i].position) == column - 1)
                walk(block, i, false);
        }
    }
    updateSelections();
}

void CodeEditorPrivate::computeBlockHighlight()
{
    blockStarts.clear();
    blockEnds.clear();
    blockIndents.clear();
    if (formatting.highlightBlocks && formatting.highlightLine && document) {
        QTextBlock const current = q->textCursor().block();
        int below = INT_MAX;
        for (QTextBlock b = current; b.isValid() && below > 0; b = b.previous()) {
            int const indent = foldingIndent(b);
            if (canFold(b) && (b == current || indent < below)) {
                blockStarts.prepend(b.blockNumber());
                blockEnds.prepend(foldEnd(b).blockNumber());
                blockIndents.prepend(indent);
            }
            below = qMin(below, indent);
        }
    }
    q->viewport()->update();
}

void CodeEditorPrivate::paintCurrentLine(QPainter &painter)
{
    QTextCursor const cursor = q->textCursor();
    if (!formatting.highlightLine || cursor.hasSelection() || !cursor.block().isVisible())
        return;
    QRectF const line = q->blockBoundingGeometry(cursor.block()).translated(q->contentOffset());
    painter.fillRect(QRectF(0, line.top(), q->viewport()->width(), line.height()),
                     formatting.lineColor);
}

void CodeEditorPrivate::paintBlockRanges(QPainter &painter, QRect const &rect)
{
    QColor const base = formatting.blockRangeColor.isValid()
        ? formatting.blockRangeColor
        : q->palette().color(QPalette::Base).darker(108);
    QPointF const offset = q->contentOffset();
    for (int i = 0; i < blockStarts.size(); ++i) {
        QTextBlock const first = document->findBlockByNumber(blockStarts[i]);
        QTextBlock const last = document->findBlockByNumber(blockEnds[i]);
        if (!first.isValid() || !last.isValid())
            continue;
        qreal const top = q->blockBoundingGeometry(first).translated(offset).top();
        qreal const bottom = q->blockBoundingGeometry(last).translated(offset).bottom();
        // Each nested block a little darker than the one around it.
        QRectF const area(rect.left(), top, rect.width(), bottom - top);
        painter.fillRect(area.intersected(rect), base.darker(100 + 6 * i));
    }
}

bool CodeEditor::completerFromFile(QString const &fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QXmlStreamReader xml(&file);
    QString prefix;
    QStringList words;
    bool inModel = false;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == QLatin1String("model")) {
            inModel = true;
            prefix = xml.attributes().value(QLatin1String("prefix")).toString();
            words.clear();
        } else if (xml.isStartElement() && inModel && xml.name() == QLatin1String("word")) {
            words << xml.attributes().value(QLatin1String("value")).toString();
        } else if (xml.isEndElement() && xml.name() == QLatin1String("model")) {
            inModel = false;
            // The completer searches the words by halves, ignoring case.
            words.sort(Qt::CaseInsensitive);
            if (QStringListModel *old = d->completers.take(prefix)) {
                if (d->completer->model() == old)
                    d->completer->setModel(nullptr);
                delete old;
            }
            d->completers.insert(prefix, new QStringListModel(words, d));
        }
    }
    return !xml.hasError();
}

void CodeEditorPrivate::complete(QKeyEvent *event)
{
    Qt::KeyboardModifiers const modifiers = event->modifiers();
    bool const ctrlOrShift = modifiers & (Qt::ControlModifier | Qt::ShiftModifier);
    QString const text = event->text();
    if (ctrlOrShift && text.isEmpty())
        return;
    QTextCursor const cursor = q->textCursor();
    QString line = cursor.block().text().left(cursor.positionInBlock());
    line.removeIf([](QChar c) { return c.isSpace(); });
    QStringListModel *model = nullptr;
    for (auto it = completers.cbegin(); it != completers.cend() && !model; ++it) {
        QString const &prefix = it.key();
        qsizetype const before = line.size() - prefix.size() - 1;
        if (line.endsWith(prefix, Qt::CaseInsensitive) &&
            (before < 0 || !line.at(before).isLetterOrNumber()))
            model = it.value();
    }
    QAbstractItemView *popup = completer->popup();
    bool const otherModifier = modifiers != Qt::NoModifier && modifiers != Qt::ControlModifier &&
        modifiers != Qt::ShiftModifier && modifiers != Qt::KeypadModifier;
    if ((!model && !popup->isVisible()) || otherModifier || text.isEmpty() ||
        endOfWord.contains(text.right(1))) {
        popup->hide();
        return;
    }
    bool const newModel = model && completer->model() != model;
    if (newModel)
        completer->setModel(model);
    QPair<int, int> const word = wordAroundCursor();
    QString const wordText = cursor.block().text().mid(word.first, word.second - word.first);
    if (newModel || wordText != completer->completionPrefix()) {
        completer->setCompletionPrefix(wordText);
        popup->setCurrentIndex(completer->completionModel()->index(0, 0));
    }
    QRect rect = q->cursorRect();
    rect.setWidth(popup->sizeHintForColumn(0) + popup->verticalScrollBar()->sizeHint().width());
    completer->complete(rect);
}

QPair<int, int> CodeEditorPrivate::wordAroundCursor() const
{
    QTextCursor const cursor = q->textCursor();
    QString const text = cursor.block().text();
    int start = cursor.positionInBlock();
    int end = start;
    while (start > 0 && isWordCharacter(text.at(start - 1)))
        --start;
    while (end < text.size() && isWordCharacter(text.at(end)))
        ++end;
    return {start, end};
}

void CodeEditorPrivate::insertCompletion(QString const &word)
{
    if (completer->widget() != q)
        return;
    QPair<int, int> const range = wordAroundCursor();
    QTextCursor cursor = q->textCursor();
    int const base = cursor.block().position();
    cursor.setPosition(base + range.first);
    cursor.setPosition(base + range.second, QTextCursor::KeepAnchor);
    cursor.insertText(word);
    q->setTextCursor(cursor);
}

CodeLink *CodeEditorPrivate::linkAt(QPoint const &pos, QTextBlock *block) const
{
    QTextBlock const found = q->cursorForPosition(pos).block();
    CodeBlockData const *data = CodeBlockData::testBlockData(found);
    if (!data || data->links().isEmpty())
        return nullptr;
    // The character under the point, not the nearest place between two.
    QRectF const geometry = q->blockBoundingGeometry(found).translated(q->contentOffset());
    QTextLayout const *layout = found.layout();
    QPointF const inBlock = QPointF(pos) - geometry.topLeft();
    for (int i = 0; i < layout->lineCount(); ++i) {
        QTextLine const line = layout->lineAt(i);
        if (inBlock.y() < line.y() || inBlock.y() >= line.y() + line.height())
            continue;
        if (inBlock.x() >= line.x() + line.naturalTextWidth())
            return nullptr;
        int const column = line.xToCursor(inBlock.x(), QTextLine::CursorOnCharacter);
        for (CodeLink *link : data->links()) {
            if (link->contains(column)) {
                *block = found;
                return link;
            }
        }
    }
    return nullptr;
}

void CodeEditorPrivate::showLink(CodeLink *shown, QTextBlock const &block)
{
    if (shown == link)
        return;
    link = shown;
    linkLine = block.blockNumber();
    linkSelection.cursor = QTextCursor(block);
    linkSelection.cursor.setPosition(block.position() + qMax(shown->start(), 0));
    linkSelection.cursor.setPosition(block.position() + qMin(shown->end(), block.length() - 1),
                                     QTextCursor::KeepAnchor);
    linkSelection.format = formatting.link;
    q->viewport()->setCursor(Qt::PointingHandCursor);
    updateSelections();
}

void CodeEditorPrivate::clearLink()
{
    if (!link)
        return;
    link = nullptr;
    linkLine = -1;
    linkPressed = false;
    linkSelection = QTextEdit::ExtraSelection();
    q->viewport()->setCursor(Qt::IBeamCursor);
    updateSelections();
}

void CodeEditorPrivate::hideMouse()
{
    if (mouseHidden)
        return;
    mouseHidden = true;
    q->viewport()->setCursor(Qt::BlankCursor);
}

void CodeEditorPrivate::showMouse()
{
    if (!mouseHidden)
        return;
    mouseHidden = false;
    q->viewport()->setCursor(link ? Qt::PointingHandCursor : Qt::IBeamCursor);
}

void CodeEditorPrivate::clearFoldHighlight()
{
    hoverTimer.stop();
    pendingBlock = -1;
    if (highlightedBlock >= 0) {
        highlightedBlock = -1;
        extraArea->update();
        q->viewport()->update();
    }
}

void CodeEditorPrivate::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == hoverTimer.timerId()) {
        hoverTimer.stop();
        highlightedBlock = pendingBlock;
        extraArea->update();
        q->viewport()->update();
    } else if (event->timerId() == scrollTimer.timerId()) {
        QScrollBar *bar = q->verticalScrollBar();
        bar->triggerAction(scrollDirection < 0 ? QAbstractSlider::SliderSingleStepSub
                                               : QAbstractSlider::SliderSingleStepAdd);
        QPoint const pos = extraArea->mapFromGlobal(QCursor::pos());
        QTextBlock const block = blockAtY(qBound(0, pos.y(), extraArea->height() - 1));
        if (dragAnchor >= 0 && block.isValid())
            selectLines(dragAnchor, block.blockNumber());
    }
}

} // namespace Kenro
