#pragma once

#include <kenro/editors/timeline.h>

#include <QWidget>

#include <functional>

namespace Kenro {

class TimeLinePrivate;

/**
 * The strip below the stage: a ruler of ticks, a named row for each
 * TimeLine, a cursor on the current tick, and the clock that plays, 60
 * ticks a second on a timer of whole milliseconds. The owner follows
 * tickChanged().
 */
class KENRO_EXPORT TimeLineWidget : public QWidget
{
    Q_OBJECT

public:
    explicit TimeLineWidget(QWidget *parent = nullptr);
    ~TimeLineWidget() override;

    unsigned int ticksPerSecond() const;
    /// Sets the ticks a second and sends the current tick again; the clock keeps its pace.
    void setTicksPerSecond(unsigned int ticks);
    /// Adds a row (not owned); the widget's height becomes the ruler and all rows.
    void addTimeLine(TimeLine *timeLine);
    void clearTimeLines();
    unsigned int currentTick() const;
    /// Moves the cursor to \a tick, paging the view to it; unchanged and not \a force only repaints.
    void setCurrentTick(unsigned int tick, bool force = false);
    /// Ticks a second over the last second of playing.
    float currentFPS() const;
    bool isPlaying() const;
    /// Room for the names and a hundred ticks, and the ruler and every row.
    QSize sizeHint() const override;
    /**
     * Replaces the clock that measures the time between steps: \a restart
     * gives the milliseconds since its last call. Null puts the system's
     * clock back.
     */
    void setClock(std::function<qint64()> restart);

public Q_SLOTS:
    void play();
    void stop();

Q_SIGNALS:
    void tickChanged(uint tickIndex);

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    friend class TimeLinePrivate;
    TimeLinePrivate *d;
};

} // namespace Kenro
