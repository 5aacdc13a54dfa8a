#include "codeeditor_p.h"

#include <kenro/code/codeblockdata.h>
#include <kenro/code/codedocument.h>
#include <kenro/code/codeparser.h>

#include <QCoreApplication>
#include <QIcon>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOption>

namespace Kenro {

CodeEditorExtraArea::CodeEditorExtraArea(CodeEditor *editor, CodeEditorPrivate *d)
    : QWidget(editor), d(d)
{
    setObjectName(QStringLiteral("extraArea"));
    setMouseTracking(true);
    // The band fills all it repaints: the frame below it stays as it is.
    setAttribute(Qt::WA_OpaquePaintEvent);
}

QSize CodeEditorExtraArea::sizeHint() const
{
    return QSize(d->bandWidth(), 0);
}

void CodeEditorExtraArea::paintEvent(QPaintEvent *event)
{
    d->paintBand(event);
}

void CodeEditorExtraArea::mousePressEvent(QMouseEvent *event)
{
    d->bandPress(event);
}

void CodeEditorExtraArea::mouseMoveEvent(QMouseEvent *event)
{
    d->bandMove(event);
}

void CodeEditorExtraArea::mouseReleaseEvent(QMouseEvent *event)
{
    d->bandRelease(event);
}

void CodeEditorExtraArea::leaveEvent(QEvent *)
{
    d->bandLeave();
}

void CodeEditorExtraArea::wheelEvent(QWheelEvent *event)
{
    QCoreApplication::sendEvent(d->q->viewport(), event);
}

int CodeEditorPrivate::foldBoxWidth() const
{
    int const spacing = q->fontMetrics().lineSpacing();
    return spacing + 1 + spacing % 2;
}

// From the left: marks, line numbers, the change bar, the fold boxes.
int CodeEditorPrivate::bandWidth() const
{
    int width = 0;
    if (formatting.showMarks)
        width += q->fontMetrics().lineSpacing();
    if (formatting.lineNumbers) {
        int digits = 1;
        for (int count = qMax(1, q->blockCount()); count >= 10; count /= 10)
            ++digits;
        width += 4 + q->fontMetrics().horizontalAdvance(QLatin1Char('9')) * qMax(digits, 2);
    }
    if (formatting.showRevisions)
        width += 4;
    if (formatting.foldingMarkers)
        width += foldBoxWidth();
    return width;
}

void CodeEditorPrivate::updateBandWidth()
{
    int const width = bandWidth();
    q->setViewportMargins(width, 0, 0, 0);
    QRect const area = q->contentsRect();
    extraArea->setGeometry(area.left(), area.top(), width, area.height());
    extraArea->update();
}

void CodeEditorPrivate::updateBand(QRect const &rect, int dy)
{
    if (dy) {
        extraArea->scroll(0, dy);
        return;
    }
    // Requests narrower than the text are the cursor's, which leave the band
    // as it is. The text asks for its lines and a pixel around them, inside
    // the view: the band repaints the lines alone.
    QRect const view = q->viewport()->rect();
    if (rect.width() < view.width())
        return;
    int const top = rect.top() > view.top() ? rect.top() + 1 : rect.top();
    int const bottom = rect.bottom() < view.bottom() ? rect.bottom() - 1 : rect.bottom();
    if (bottom >= top)
        extraArea->update(0, top, extraArea->width(), bottom - top + 1);
}

void CodeEditorPrivate::updateRow(int line)
{
    QTextBlock const block = document ? document->findBlockByNumber(line) : QTextBlock();
    if (!block.isValid() || !block.isVisible())
        return;
    QRect const row =
        q->blockBoundingGeometry(block).translated(q->contentOffset()).toAlignedRect();
    extraArea->update(0, row.top(), extraArea->width(), row.height());
    q->viewport()->update(0, row.top(), q->viewport()->width(), row.height());
}

bool CodeEditorPrivate::inFoldArea(int x) const
{
    return formatting.foldingMarkers && x >= extraArea->width() - foldBoxWidth();
}

CodeEditorPrivate::BlocksInView::BlocksInView(CodeEditor *editor)
    : q(editor), m_next(editor->firstVisibleBlock())
{
    if (m_next.isValid()) {
        m_firstLaidOut = m_next.layout()->lineCount() > 0;
        m_top = q->blockBoundingGeometry(m_next).translated(q->contentOffset()).top();
    }
}

bool CodeEditorPrivate::BlocksInView::next()
{
    while (m_next.isValid() && !m_next.isVisible())
        m_next = m_next.next();
    if (!m_next.isValid() || m_top > q->viewport()->height())
        return false;
    wasLaidOut = block.isValid() ? m_next.layout()->lineCount() > 0 : m_firstLaidOut;
    block = m_next;
    rect = QRectF(0, m_top, q->viewport()->width(), q->blockBoundingRect(block).height());
    m_top = rect.bottom();
    m_next = m_next.next();
    return true;
}

QTextBlock CodeEditorPrivate::blockAtY(int y) const
{
    for (BlocksInView view(q); view.next();) {
        if (y < view.rect.top())
            return QTextBlock();
        if (y < view.rect.bottom())
            return view.block;
    }
    return QTextBlock();
}

void CodeEditorPrivate::paintFoldBox(QPainter &painter, QRect const &box, bool folded)
{
    // The style draws each kind of box once; the band copies it.
    qreal const ratio = extraArea->devicePixelRatioF();
    FoldBoxKey const key{q->style(), extraArea->palette().cacheKey(), box.size(), ratio};
    if (!(key == foldBoxKey)) {
        foldBoxKey = key;
        for (bool const closed : {false, true}) {
            QPixmap &pixmap = foldBoxes[closed];
            pixmap = QPixmap((QSizeF(box.size()) * ratio).toSize());
            pixmap.setDevicePixelRatio(ratio);
            pixmap.fill(Qt::transparent);
            QPainter boxPainter(&pixmap);
            drawFoldBox(boxPainter, QRect(QPoint(), box.size()), closed);
        }
    }
    painter.drawPixmap(box.topLeft(), foldBoxes[folded]);
}

void CodeEditorPrivate::drawFoldBox(QPainter &painter, QRect const &box, bool folded)
{
    QByteArray const style = q->style()->metaObject()->className();
    if (style == "QGtkStyle" || style == "QMacStyle") {
        QIcon const icon(folded ? QStringLiteral(":/kenro_icons/icons/expand.png")
                                : QStringLiteral(":/kenro_icons/icons/contract.png"));
        icon.paint(&painter, box);
        return;
    }
    QStyleOption option;
    option.initFrom(extraArea);
    option.rect = box;
    option.state = QStyle::State_Item | QStyle::State_Children | QStyle::State_Enabled;
    if (!folded)
        option.state |= QStyle::State_Open;
    q->style()->drawPrimitive(QStyle::PE_IndicatorBranch, &option, &painter, extraArea);
}

void CodeEditorPrivate::paintBand(QPaintEvent *event)
{
    QPainter painter(extraArea);
    QRect const rect = event->rect();
    QPalette const palette = q->palette();
    painter.fillRect(rect, palette.color(QPalette::Window));
    int const spacing = q->fontMetrics().lineSpacing();
    int const width = extraArea->width();
    int const foldWidth = formatting.foldingMarkers ? foldBoxWidth() : 0;
    int const foldLeft = width - foldWidth;
    int const barLeft = foldLeft - (formatting.showRevisions ? 4 : 0);
    int const marksWidth = formatting.showMarks ? spacing : 0;
    if (foldWidth)
        painter.fillRect(QRect(foldLeft, rect.top(), foldWidth, rect.height()),
                         palette.color(QPalette::Base).darker(115));
    if (!document)
        return;

    QTextCursor const cursor = q->textCursor();
    int const selectionFirst = document->findBlock(cursor.selectionStart()).blockNumber();
    int const selectionLast = document->findBlock(cursor.selectionEnd()).blockNumber();
    int const saved = document->savedRevision();
    QTextBlock const highlighted =
        highlightedBlock >= 0 ? document->findBlockByNumber(highlightedBlock) : QTextBlock();
    int const highlightEnd = highlighted.isValid() ? foldEnd(highlighted).blockNumber() : -1;
    QIcon const &markIcon = lineMarkIcon();
    QFont const plain = q->font();
    QFont bold = plain;
    bold.setBold(true);
    // The height of the text as QPainter::drawText centres it.
    qreal const numberHeights[] = {QFontMetricsF(plain).height(), QFontMetricsF(bold).height()};
    if (plain != numberFont) {
        numberFont = plain;
        numberTexts[0].clear();
        numberTexts[1].clear();
    }

    for (BlocksInView view(q); view.next();) {
        QTextBlock const &block = view.block;
        int const top = qRound(view.rect.top());
        int const height = qRound(view.rect.height());
        if (top > rect.bottom())
            break;
        if (top + height <= rect.top())
            continue;
        int const number = block.blockNumber();
        CodeBlockData const *data = CodeBlockData::testBlockData(block);

        if (formatting.showMarks && data) {
            QRect icon(0, top, spacing, qMin(height, spacing));
            for (CodeMark const *mark : data->marks()) {
                mark->drawIcon(&painter, icon);
                icon.translate(2, 0);
            }
        }
        if (number == markedLine) {
            QRect const icon(0, top, spacing, qMin(height, spacing));
            if (markIcon.isNull())
                painter.fillRect(icon.adjusted(2, 2, -2, -2), palette.color(QPalette::Highlight));
            else
                markIcon.paint(&painter, icon);
        }
        if (foldWidth && canFold(block))
            paintFoldBox(painter, QRect(foldLeft, top, foldWidth, qMin(height, foldWidth)),
                         data->isFolded());
        if (foldWidth && number >= highlightedBlock && number <= highlightEnd) {
            // A bracket along the lines of the fold under the mouse.
            int const x = foldLeft + foldWidth / 2;
            painter.setPen(Qt::gray);
            painter.drawLine(x, top + (number == highlightedBlock ? foldWidth : 0), x,
                             top + height - 1);
            if (number == highlightEnd)
                painter.drawLine(x, top + height - 1, width - 1, top + height - 1);
        }
        if (formatting.showRevisions && block.revision() != saved)
            painter.fillRect(QRect(barLeft, top, 3, height),
                             block.revision() < 0 ? Qt::darkGreen : Qt::red);
        if (formatting.lineNumbers) {
            // Right-aligned and centred in the row.
            bool const selected = number >= selectionFirst && number <= selectionLast;
            QFont const &font = selected ? bold : plain;
            QStaticText const &text = numberText(number + 1, selected, font);
            painter.setFont(font);
            painter.setPen(palette.color(QPalette::WindowText));
            painter.drawStaticText(QPointF(barLeft - 2 - text.size().width(),
                                           top + (height - numberHeights[selected]) / 2),
                                   text);
        }
    }
}

QStaticText const &CodeEditorPrivate::numberText(int number, bool bold, QFont const &font)
{
    QHash<int, QStaticText> &texts = numberTexts[bold];
    auto found = texts.find(number);
    if (found == texts.end()) {
        // Scrolling far draws many numbers once each.
        if (texts.size() > 4096)
            texts.clear();
        QStaticText text(QString::number(number));
        text.setTextFormat(Qt::PlainText);
        text.prepare(QTransform(), font);
        found = texts.insert(number, text);
    }
    return *found;
}

void CodeEditorPrivate::selectLines(int from, int to)
{
    QTextBlock const first = document->findBlockByNumber(qMin(from, to));
    QTextBlock const last = document->findBlockByNumber(qMax(from, to));
    if (!first.isValid() || !last.isValid())
        return;
    QTextCursor cursor(document);
    // Dragging upwards leaves the cursor at the top, as in the text.
    if (to < from) {
        cursor.setPosition(last.next().isValid() ? last.next().position()
                                                 : last.position() + last.length() - 1);
        cursor.setPosition(first.position(), QTextCursor::KeepAnchor);
    } else {
        cursor.setPosition(first.position());
        cursor.setPosition(last.next().isValid() ? last.next().position()
                                                 : last.position() + last.length() - 1,
                           QTextCursor::KeepAnchor);
    }
    q->setTextCursor(cursor);
}

void CodeEditorPrivate::bandPress(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !document)
        return;
    QPoint const pos = event->position().toPoint();
    QTextBlock const block = blockAtY(pos.y());
    if (!block.isValid())
        return;
    if (inFoldArea(pos.x())) {
        if (canFold(block))
            q->toggleBlockVisible(block);
        return;
    }
    dragAnchor = block.blockNumber();
    selectLines(dragAnchor, dragAnchor);
}

void CodeEditorPrivate::bandMove(QMouseEvent *event)
{
    QPoint const pos = event->position().toPoint();
    if (dragAnchor >= 0 && (event->buttons() & Qt::LeftButton)) {
        int const height = extraArea->height();
        if (pos.y() < 0 || pos.y() >= height) {
            int const distance = qMax(7, pos.y() < 0 ? -pos.y() : pos.y() - height + 1);
            scrollDirection = pos.y() < height / 2 ? -1 : 1;
            scrollTimer.start(4900 / (distance * distance), this);
        } else {
            scrollTimer.stop();
            QTextBlock const block = blockAtY(pos.y());
            if (block.isValid())
                selectLines(dragAnchor, block.blockNumber());
        }
        return;
    }
    bool const overFold = inFoldArea(pos.x());
    mouseInFoldArea = overFold;
    QTextBlock const block = overFold ? blockAtY(pos.y()) : QTextBlock();
    bool const onBox = block.isValid() && canFold(block);
    extraArea->setCursor(onBox ? Qt::PointingHandCursor : Qt::IBeamCursor);
    int const pending = onBox ? block.blockNumber() : -1;
    if (pending != pendingBlock) {
        pendingBlock = pending;
        hoverTimer.start(40, this);
    }
}

void CodeEditorPrivate::bandRelease(QMouseEvent *)
{
    dragAnchor = -1;
    scrollTimer.stop();
}

void CodeEditorPrivate::bandLeave()
{
    mouseInFoldArea = false;
    clearFoldHighlight();
}

} // namespace Kenro
