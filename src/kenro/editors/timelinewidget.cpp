#include <kenro/editors/timelinewidget.h>

#include "timeline_p.h"

#include <QKeyEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Kenro {

TimeLine::~TimeLine() = default;

TimeLinePrivate::TimeLinePrivate(TimeLineWidget *owner) : QObject(owner), widget(owner)
{
    timer.setObjectName(QStringLiteral("clock"));
    timer.setInterval(16);
    moveTimer.setObjectName(QStringLiteral("pager"));
    moveTimer.setInterval(250);
    connect(&moveTimer, &QTimer::timeout, this, &TimeLinePrivate::pageStep);
}

int TimeLinePrivate::cursorX() const
{
    return nameWidth + int(currentTick - firstTick) * tickWidth + tickWidth / 2;
}

unsigned int TimeLinePrivate::tickAt(int x) const
{
    if (visibleTicks == 0)
        return firstTick;
    int const column = std::clamp((x - nameWidth) / tickWidth, 0, int(visibleTicks) - 1);
    return firstTick + unsigned(column);
}

int TimeLinePrivate::hitTest(QPoint pos)
{
    bool const cursorShown = currentTick >= firstTick && currentTick < firstTick + visibleTicks;
    if (cursorShown && pos.x() > nameWidth && std::abs(pos.x() - cursorX()) <= tickWidth / 2)
        return Cursor;
    if (pos.x() <= nameWidth)
        return Names;
    pressedRow = (pos.y() - rulerHeight) / rowHeight;
    return Rows;
}

void TimeLinePrivate::updateHeight()
{
    int const height = rulerHeight + int(timeLines.size()) * rowHeight;
    widget->setMinimumHeight(height);
    widget->setMaximumHeight(height);
}

void TimeLinePrivate::timeStep()
{
    // The timer counts whole milliseconds: the drift keeps what each interval
    // loses, so that intervals of 16 and 17 ms average 16.67.
    widget->setCurrentTick(currentTick + 1, false);
    float const ideal = drift + interval;
    qint64 const real = clock ? clock() : elapsed.restart();
    drift = ideal - float(real);
    timer.setInterval(std::max(0, int(std::trunc(drift + interval + 0.5f))));
    elapsedSum += real;
    frameCount += 1;
    if (elapsedSum >= 1000) {
        fps = float(double(frameCount) * 1000.0 / double(elapsedSum));
        elapsedSum = 0;
        frameCount = 0;
    }
    timer.stop();
    timer.start();
}

void TimeLinePrivate::pageStep()
{
    if (pageDirection > 0)
        firstTick += visibleTicks;
    else
        firstTick = firstTick > visibleTicks ? firstTick - visibleTicks : 0;
    unsigned int const last = firstTick + std::max(1u, visibleTicks) - 1;
    widget->setCurrentTick(pageDirection > 0 ? last : firstTick, false);
    widget->update();
}

TimeLineWidget::TimeLineWidget(QWidget *parent) : QWidget(parent), d(new TimeLinePrivate(this))
{
    setAutoFillBackground(false);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    d->updateHeight();
}

TimeLineWidget::~TimeLineWidget() = default;

unsigned int TimeLineWidget::ticksPerSecond() const
{
    return d->ticksPerSecond;
}

void TimeLineWidget::setTicksPerSecond(unsigned int ticks)
{
    d->ticksPerSecond = ticks;
    setCurrentTick(d->currentTick, true);
}

void TimeLineWidget::addTimeLine(TimeLine *timeLine)
{
    d->timeLines.append(timeLine);
    d->updateHeight();
    update();
}

void TimeLineWidget::clearTimeLines()
{
    d->timeLines.clear();
    d->updateHeight();
    update();
}

unsigned int TimeLineWidget::currentTick() const
{
    return d->currentTick;
}

void TimeLineWidget::setCurrentTick(unsigned int tick, bool force)
{
    if (tick == d->currentTick && !force) {
        update();
        return;
    }
    d->currentTick = tick;
    if (tick < d->firstTick || tick >= d->firstTick + d->visibleTicks) {
        unsigned int const page = d->visibleTicks ? tick / d->visibleTicks * d->visibleTicks : tick;
        d->firstTick = page - page % 10;
        // Rounding to tens may leave a tick near the end of a page outside it.
        if (tick >= d->firstTick + d->visibleTicks)
            d->firstTick = tick - tick % 10;
    }
    Q_EMIT tickChanged(tick);
    update();
}

float TimeLineWidget::currentFPS() const
{
    return d->fps;
}

QSize TimeLineWidget::sizeHint() const
{
    return QSize(d->nameWidth + 100 * d->tickWidth,
                 d->rulerHeight + int(d->timeLines.size()) * d->rowHeight);
}

bool TimeLineWidget::isPlaying() const
{
    return d->timer.isActive();
}

void TimeLineWidget::setClock(std::function<qint64()> restart)
{
    d->clock = std::move(restart);
}

void TimeLineWidget::play()
{
    disconnect(&d->timer, &QTimer::timeout, d, &TimeLinePrivate::timeStep);
    connect(&d->timer, &QTimer::timeout, d, &TimeLinePrivate::timeStep);
    d->drift = 0.0f;
    d->fps = 60.0f;
    d->elapsedSum = 0;
    d->frameCount = 0;
    if (d->clock)
        d->clock();
    d->elapsed.restart();
    d->timer.start();
}

void TimeLineWidget::stop()
{
    d->timer.stop();
    disconnect(&d->timer, &QTimer::timeout, d, &TimeLinePrivate::timeStep);
}

void TimeLineWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    int const rulerHeight = d->rulerHeight;
    for (unsigned int k = 0; k < d->visibleTicks; ++k) {
        unsigned int const tick = d->firstTick + k;
        int const x = d->nameWidth + d->tickWidth / 2 + int(k) * d->tickWidth;
        if (tick % 5 == 0) {
            painter.drawLine(x, rulerHeight - 10, x, rulerHeight - 1);
            painter.drawText(QRect(QPoint(x - 20, 0), QPoint(x + 19, rulerHeight - 11)),
                             Qt::AlignCenter, QString::number(tick));
        } else {
            painter.drawLine(x, rulerHeight - 6, x, rulerHeight - 1);
        }
    }
    QColor const button = palette().color(QPalette::Button);
    QPen const cellPen(button.darker(300));
    for (qsizetype row = 0; row < d->timeLines.size(); ++row) {
        int const top = rulerHeight + int(row) * d->rowHeight;
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(
            QRect(QPoint(8, top + 2), QPoint(d->nameWidth - 9, top + d->rowHeight - 4)),
            Qt::AlignCenter, d->timeLines[row]->name());
        for (unsigned int k = 0; k < d->visibleTicks; ++k) {
            QRect const cell(d->nameWidth + int(k) * d->tickWidth, top, d->tickWidth, d->rowHeight);
            TickItem item;
            bool const filled = d->timeLines[row]->tickState(d->firstTick + k, item);
            if (filled && item.length > 1) {
                QRect const span(cell.x(), cell.y(), int(item.length) * d->tickWidth, d->rowHeight);
                QLinearGradient gradient(span.left(), 0, span.right(), 0);
                gradient.setColorAt(0.0, button);
                gradient.setColorAt(1.0, item.color);
                painter.setPen(Qt::NoPen);
                painter.setOpacity(0.33);
                painter.fillRect(span, gradient);
                painter.setOpacity(1.0);
            }
            painter.setPen(cellPen);
            painter.setBrush(filled ? QBrush(item.color) : QBrush(Qt::NoBrush));
            painter.drawRect(cell.adjusted(0, 0, -1, -1));
        }
    }
    if (d->currentTick >= d->firstTick && d->currentTick < d->firstTick + d->visibleTicks) {
        painter.setPen(QColor(255, 0, 0));
        painter.drawLine(d->cursorX(), 0, d->cursorX(), height() - 1);
    }
}

void TimeLineWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    d->visibleTicks = unsigned(std::max(0, width() - d->nameWidth) / d->tickWidth);
}

void TimeLineWidget::mousePressEvent(QMouseEvent *event)
{
    QWidget::mousePressEvent(event);
    if (event->button() != Qt::LeftButton)
        return;
    QPoint const pos = event->position().toPoint();
    d->dragging = d->hitTest(pos);
    if (d->dragging != TimeLinePrivate::Names)
        setCurrentTick(d->tickAt(pos.x()), false);
}

void TimeLineWidget::mouseMoveEvent(QMouseEvent *event)
{
    QWidget::mouseMoveEvent(event);
    if (d->dragging == TimeLinePrivate::Names)
        return;
    int const x = int(event->position().x());
    // Held beyond an edge, the view pages on while the timer runs.
    d->pageDirection = x >= width() ? 1 : x <= d->nameWidth ? -1 : 0;
    if (d->pageDirection == 0) {
        d->moveTimer.stop();
        setCurrentTick(d->tickAt(x), false);
    } else if (!d->moveTimer.isActive()) {
        d->moveTimer.start();
    }
}

void TimeLineWidget::mouseReleaseEvent(QMouseEvent *event)
{
    QWidget::mouseReleaseEvent(event);
    d->dragging = TimeLinePrivate::Names;
    d->moveTimer.stop();
}

void TimeLineWidget::wheelEvent(QWheelEvent *event)
{
    // The wheel scrolls the ticks shown by ten a notch; the cursor stays on its tick.
    int const notches = event->angleDelta().y() / 120;
    if (notches == 0) {
        QWidget::wheelEvent(event);
        return;
    }
    d->firstTick = unsigned(std::max(0, int(d->firstTick) - notches * 10));
    update();
}

void TimeLineWidget::keyPressEvent(QKeyEvent *event)
{
    if (isPlaying()) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (event->key() == Qt::Key_Left && d->currentTick > 0)
        setCurrentTick(d->currentTick - 1, false);
    else if (event->key() == Qt::Key_Right)
        setCurrentTick(d->currentTick + 1, false);
    else
        QWidget::keyPressEvent(event);
}

} // namespace Kenro
