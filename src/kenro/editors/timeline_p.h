#pragma once

#include <kenro/editors/timelinewidget.h>

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

namespace Kenro {

class TimeLinePrivate : public QObject
{
    Q_OBJECT

public:
    enum Hit { Names = 0, Rows = 1, Cursor = 2 };

    explicit TimeLinePrivate(TimeLineWidget *owner);

    int hitTest(QPoint pos);
    /// The tick under x, or the first or last visible one beyond the edges.
    unsigned int tickAt(int x) const;
    int cursorX() const;
    void updateHeight();

public Q_SLOTS:
    void timeStep();
    void pageStep();

public:
    TimeLineWidget *widget;
    QList<TimeLine *> timeLines;
    unsigned int ticksPerSecond = 60;
    unsigned int currentTick = 0;
    qint64 frameCount = 0;
    QElapsedTimer elapsed;
    QTimer timer{this};
    float interval = 16.666666f;
    float drift = 0.0f;
    float fps = 60.0f;
    qint64 elapsedSum = 0;
    int pressedRow = 0;
    unsigned int visibleTicks = 0;
    unsigned int firstTick = 0;
    int rulerHeight = 20;
    int nameWidth = 125;
    int tickWidth = 6;
    int rowHeight = 30;
    int dragging = 0;
    QTimer moveTimer{this};
    /// The direction that moveTimer pages in: -1 left, 1 right.
    int pageDirection = 0;
    std::function<qint64()> clock;
};

} // namespace Kenro
