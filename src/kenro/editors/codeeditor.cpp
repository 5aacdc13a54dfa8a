#include <kenro/editors/codeeditor.h>

#include "codeeditor_p.h"

#include <kenro/code/codeblockdata.h>
#include <kenro/code/codedocument.h>

#include <QAbstractItemView>
#include <QCompleter>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QToolTip>

namespace Kenro {

CodeEditor::SyntaxFormatting::SyntaxFormatting()
{
    parenMatch.setBackground(QColor(180, 238, 180));
    parenMatch.setForeground(Qt::red);
    parenRangeFormat.setBackground(QColor(224, 240, 255));
    parenMismatch.setBackground(Qt::magenta);
    parenMismatch.setForeground(Qt::white);
    link.setFontUnderline(true);
    link.setForeground(Qt::blue);
}

CodeEditor::CodeEditor(QWidget *parent) : QPlainTextEdit(parent), d(new CodeEditorPrivate(this))
{
    setLineWrapMode(NoWrap);
    viewport()->setMouseTracking(true);
    connect(this, &QPlainTextEdit::cursorPositionChanged, d, &CodeEditorPrivate::onCursorMoved);
    connect(this, &QPlainTextEdit::selectionChanged, d, [this] {
        d->clearLink();
        d->extraArea->update();
        d->updateRow(textCursor().blockNumber());
    });
    connect(this, &QPlainTextEdit::blockCountChanged, d, &CodeEditorPrivate::updateBandWidth);
    connect(this, &QPlainTextEdit::updateRequest, d, &CodeEditorPrivate::updateBand);
    d->updateBandWidth();
    d->updateSelections();
}

CodeEditor::~CodeEditor()
{
    // Closing the popup gives the focus back, which repaints: nothing may
    // reach the private part while it goes.
    disconnect(this, nullptr, d, nullptr);
    d->cacheLines(QTextBlock());
    delete d->extraArea;
    delete d;
}

void CodeEditor::setDocument(CodeDocument *document)
{
    if (d->document)
        disconnect(d->document, nullptr, d, nullptr);
    d->clearLink();
    d->cacheLines(QTextBlock());
    d->markCursor = QTextCursor();
    d->markedLine = -1;
    d->highlightedBlock = d->pendingBlock = -1;
    d->parenSelections.clear();
    d->foundSelections.clear();
    d->blockStarts.clear();
    d->blockEnds.clear();
    d->blockIndents.clear();
    if (d->document)
        disconnect(d->document->documentLayout(), nullptr, d, nullptr);
    d->document = document;
    QPlainTextEdit::setDocument(document);
    d->takeLayoutUpdates();
    if (document) {
        // The text shows in the document's own font until the host sets one.
        setFont(document->defaultFont());
        connect(document, &QTextDocument::contentsChange, d, &CodeEditorPrivate::onContentsChange);
        // A save changes no text, but the change bars of its lines.
        connect(document, &QTextDocument::modificationChanged, d->extraArea,
                qOverload<>(&QWidget::update));
        connect(document, &QObject::destroyed, d, [this] {
            d->document = nullptr;
            for (QTextCursor &line : d->cachedLines)
                line = QTextCursor();
            QPlainTextEdit::setDocument(nullptr);
        });
    }
    d->lastLine = -1;
    d->updateBandWidth();
    d->onCursorMoved();
}

void CodeEditor::setFoundSelections(QList<QTextEdit::ExtraSelection> const &selections)
{
    d->foundSelections = selections;
    d->updateSelections();
}

CodeDocument *CodeEditor::codeDocument() const
{
    return d->document;
}

CodeEditor::SyntaxFormatting const &CodeEditor::syntaxFormatting() const
{
    return d->formatting;
}

void CodeEditor::setSyntaxFormatting(SyntaxFormatting const &formatting)
{
    d->formatting = formatting;
    if (!formatting.highlightLine) {
        d->blockStarts.clear();
        d->blockEnds.clear();
        d->blockIndents.clear();
    } else {
        d->computeBlockHighlight();
    }
    d->updateBandWidth();
    d->matchParentheses();
    update();
    viewport()->update();
    d->extraArea->update();
}

void CodeEditor::setFont(QFont const &font)
{
    QFont fixed(font);
    fixed.setFixedPitch(true);
    fixed.setStyleHint(QFont::TypeWriter, QFont::PreferDefault);
    if (fixed != QWidget::font())
        QWidget::setFont(fixed);
    qreal const dpi = window()->logicalDpiX();
    qreal const spaceWidth = QFontMetricsF(fixed).horizontalAdvance(QLatin1Char(' '));
    setTabStopDistance(static_cast<int>(dpi / 96.0 * spaceWidth * 4));
}

CodeEditor::LinePos CodeEditor::currentLine() const
{
    QTextCursor const cursor = textCursor();
    return {cursor.blockNumber(), cursor.positionInBlock(), verticalScrollBar()->value()};
}

void CodeEditor::setCurrentLine(LinePos const &pos)
{
    QTextBlock const block = document()->findBlockByNumber(pos.line);
    if (block.isValid()) {
        QTextCursor cursor(block);
        cursor.setPosition(block.position() + qBound(0, pos.column, block.length() - 1));
        setTextCursor(cursor);
    }
    verticalScrollBar()->setValue(pos.scrollValue);
    d->parenTimer.start(50);
    QTextCursor const cursor = textCursor();
    Q_EMIT cursorChanged(QPoint(cursor.blockNumber(), cursor.positionInBlock()));
}

void CodeEditor::setCurrentLine(unsigned int line, LineType type)
{
    int const target = static_cast<int>(qMin<unsigned int>(line, INT_MAX));
    auto moveTo = [this](int number) {
        QTextBlock const block = document()->findBlockByNumber(number);
        if (block.isValid())
            setTextCursor(QTextCursor(block));
    };
    int const shown = displayedLineCount();
    if (target < shown) {
        moveTo(target);
        return;
    }
    int offset = type == Bottom ? shown : type == Centre ? shown / 2 : 0;
    int const lines = document()->blockCount();
    if (target + offset >= lines)
        offset = qMax(lines - target - 1, 0);
    // The view scrolls to the line past the target first, so that coming
    // back leaves the target where the type says.
    moveTo(target + offset);
    moveTo(target);
}

void CodeEditor::markCurrentLine(bool mark)
{
    d->markCursor = mark ? QTextCursor(textCursor().block()) : QTextCursor();
    d->markedLine = mark ? textCursor().blockNumber() : -1;
    d->extraArea->update();
}

int CodeEditor::markedLine() const
{
    return d->markedLine;
}

void CodeEditor::setLineMarkIcon(QIcon const &icon)
{
    CodeEditorPrivate::lineMarkIcon() = icon;
}

int CodeEditor::displayedLineCount() const
{
    int const height = fontMetrics().height();
    return height > 0 ? viewport()->height() / height : 0;
}

void CodeEditor::updateBlockHighlight()
{
    d->blockTimer.start();
}

bool CodeEditor::event(QEvent *event)
{
    // Fonts and styles change the band's width.
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        bool const result = QPlainTextEdit::event(event);
        d->updateBandWidth();
        return result;
    }
    return QPlainTextEdit::event(event);
}

bool CodeEditor::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        auto *help = static_cast<QHelpEvent *>(event);
        if (QGuiApplication::keyboardModifiers() & Qt::ControlModifier)
            return true;
        QTextCursor const cursor = cursorForPosition(help->pos());
        QString text;
        if (CodeBlockData *data = CodeBlockData::testBlockData(cursor.block())) {
            int const column = cursor.positionInBlock();
            for (CodeBlockData::SyntaxMessage const &message : data->syntaxMessages()) {
                if (message.start <= column && column <= message.end) {
                    text = message.text;
                    break;
                }
            }
        }
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), text, viewport());
        return true;
    }
    if (event->type() == QEvent::Leave)
        d->clearLink();
    return QPlainTextEdit::viewportEvent(event);
}

void CodeEditor::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Insert && event->modifiers() == Qt::NoModifier) {
        setOverwriteMode(!overwriteMode());
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    d->hideMouse();
    d->clearFoldHighlight();
    if (d->completer->popup()->isVisible()) {
        switch (event->key()) {
        case Qt::Key_Escape:
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            event->ignore();
            return;
        default:
            break;
        }
    }
    QPlainTextEdit::keyPressEvent(event);
    d->complete(event);
}

void CodeEditor::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Control)
        d->clearLink();
    QPlainTextEdit::keyReleaseEvent(event);
}

void CodeEditor::mousePressEvent(QMouseEvent *event)
{
    d->showMouse();
    Qt::KeyboardModifiers const modifiers = event->modifiers();
    if (event->button() == Qt::LeftButton && (modifiers & Qt::ControlModifier) &&
        !(modifiers & Qt::ShiftModifier)) {
        QTextBlock block;
        if (CodeLink *link = d->linkAt(event->position().toPoint(), &block)) {
            d->showLink(link, block);
            d->linkPressed = true;
            event->accept();
            return;
        }
    }
    if (event->button() == Qt::RightButton && !textCursor().hasSelection())
        setTextCursor(cursorForPosition(event->position().toPoint()));
    QPlainTextEdit::mousePressEvent(event);
}

void CodeEditor::mouseMoveEvent(QMouseEvent *event)
{
    d->showMouse();
    Qt::KeyboardModifiers const modifiers = event->modifiers();
    if (event->buttons() == Qt::NoButton && (modifiers & Qt::ControlModifier) &&
        !(modifiers & Qt::ShiftModifier) && d->formatting.showLinks) {
        QTextBlock block;
        CodeLink *link = d->linkAt(event->position().toPoint(), &block);
        if (link)
            d->showLink(link, block);
        else
            d->clearLink();
    } else if (!d->linkPressed) {
        d->clearLink();
    }
    QPlainTextEdit::mouseMoveEvent(event);
}

void CodeEditor::mouseReleaseEvent(QMouseEvent *event)
{
    if (d->linkPressed && event->button() == Qt::LeftButton) {
        d->linkPressed = false;
        QTextBlock block;
        CodeLink *link = d->linkAt(event->position().toPoint(), &block);
        if (link && link == d->link && link->follow()) {
            d->clearLink();
            event->accept();
            return;
        }
    }
    QPlainTextEdit::mouseReleaseEvent(event);
}

void CodeEditor::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(viewport());
        if (d->formatting.highlightBlocks && !d->blockStarts.isEmpty())
            d->paintBlockRanges(painter, event->rect());
        d->paintCurrentLine(painter);
    }
    QPlainTextEdit::paintEvent(event);
}

void CodeEditor::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    QRect const area = contentsRect();
    d->extraArea->setGeometry(area.left(), area.top(), d->bandWidth(), area.height());
}

void CodeEditor::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::ReadOnlyChange)
        d->matchParentheses();
}

} // namespace Kenro
