// The time line: its clock stepped by the test with a clock of the test,
// paging to the current tick, mouse and keys, and what it draws.
#include <kenro/editors/timelinewidget.h>

#include <randominput.h>
#include <testdata.h>

#include <QMap>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Kenro;
using namespace KenroTest;

namespace {

struct Row : TimeLine
{
    QMap<unsigned int, TickItem> items;
    QString name() const override { return QStringLiteral("Action 0"); }
    bool tickState(unsigned int tick, TickItem &item) override
    {
        item = items.value(tick);
        return items.contains(tick);
    }
};

// Fires \a timer now, if it runs.
void fire(QTimer *timer)
{
    if (QTimerEvent event(timer->timerId()); timer->isActive())
        QCoreApplication::sendEvent(timer, &event);
}

// The first tick shown: found from where the cursor is drawn.
int firstShown(TimeLineWidget &w)
{
    QImage const image = w.grab().toImage();
    for (int x = 125; x < image.width(); ++x) {
        if (image.pixelColor(x, 2) == QColor(255, 0, 0))
            return int(w.currentTick()) - (x - 128) / 6;
    }
    return -1;
}

} // namespace

class TestTimeLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clock_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expected");
        // Play (p), stop (x), wait the timer's interval (i) or t ms (t) and fire it, ticks a
        // second (s), keys (R, L), width (W), a tick (=); "*n" repeats.
        addRow("whole milliseconds average 16.67", "p i*6",
               "tick 6 sent 6 on fps 60 first 0 | 17 17 17 16 17 17");
        addRow("late step caught up", "p t50 i i", "tick 3 sent 3 on fps 60 first 0 | 0 0 17");
        addRow("a second gives the rate", "p t20*50",
               "tick 50 sent 50 on fps 50 first 50 | 13 10 7 3 0 0 0 0");
        addRow("played twice, one step a time", "p p i", "tick 1 sent 1 on fps 60 first 0 | 17");
        addRow("stopped", "p i x i", "tick 1 sent 1 off fps 60 first 0 | 17");
        addRow("30 ticks a second resends", "s30 p i", "tick 1 sent 2 on fps 60 first 0 | 17");
        addRow("keys", "R R L", "tick 1 sent 3 off fps 60 first 0 |");
        addRow("no tick below 0", "L", "tick 0 sent 0 off fps 60 first 0 |");
        addRow("no keys while playing", "p R", "tick 0 sent 0 on fps 60 first 0 |");
        addRow("next page", "=75", "tick 75 sent 1 off fps 60 first 50 |");
        addRow("inside the page, no scroll", "=75 =60", "tick 60 sent 2 off fps 60 first 50 |");
        addRow("page rounded to tens", "W395 =50", "tick 50 sent 1 off fps 60 first 40 |");
        addRow("page end beyond the rounding", "W395 =89", "tick 89 sent 1 off fps 60 first 80 |");
        addRow("back", "=75 =3", "tick 3 sent 2 off fps 60 first 0 |");
    }
    void clock()
    {
        QFETCH(QString, script);
        QFETCH(QString, expected);
        TimeLineWidget w;
        w.resize(425, 20);
        w.show();
        qint64 now = 0, last = 0;
        w.setClock([&] { return now - std::exchange(last, now); });
        QSignalSpy sent(&w, &TimeLineWidget::tickChanged);
        auto *timer = w.findChild<QTimer *>(QStringLiteral("clock"));
        QStringList intervals;
        for (QString const &word : script.split(u' ')) {
            QStringList const step = word.split(u'*');
            char const op = step[0][0].toLatin1();
            int const arg = step[0].mid(1).toInt();
            for (int n = 0; n < step.value(1, QStringLiteral("1")).toInt(); ++n) {
                if (op == 'p' || op == 'x')
                    op == 'p' ? w.play() : w.stop();
                else if (op == 's' || op == '=')
                    op == 's' ? w.setTicksPerSecond(unsigned(arg))
                              : w.setCurrentTick(unsigned(arg));
                else if (op == 'R' || op == 'L')
                    QTest::keyClick(&w, op == 'R' ? Qt::Key_Right : Qt::Key_Left);
                else if (op == 'W')
                    w.resize(arg, 20);
                else if (timer->isActive()) {
                    now += op == 'i' ? timer->interval() : arg;
                    fire(timer);
                    intervals << QString::number(timer->interval());
                }
            }
        }
        QString const out = QString::asprintf(
            "tick %u sent %d %s fps %g first %d |", w.currentTick(), int(sent.size()),
            w.isPlaying() ? "on" : "off", w.currentFPS(), firstShown(w));
        QCOMPARE((out + u' ' + intervals.mid(0, 8).join(u' ')).trimmed(), expected);
    }

    void mouseDrawingAndRandomInput()
    {
        TimeLineWidget w;
        Row row;
        row.items[2] = TickItem{QColor(200, 0, 0), 3};
        row.items[10] = TickItem{QColor(0, 0, 200), 1};
        w.addTimeLine(&row);
        w.resize(425, 100);
        QCOMPARE(w.height(), 50);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        QSignalSpy sent(&w, &TimeLineWidget::tickChanged);
        QTest::mousePress(&w, Qt::LeftButton, {}, QPoint(125 + 7 * 6 + 2, 30));
        QTest::mouseMove(&w, QPoint(w.width() + 10, 30));
        auto *pager = w.findChild<QTimer *>(QStringLiteral("pager"));
        fire(pager);
        fire(pager);
        QTest::mouseRelease(&w, Qt::LeftButton, {}, QPoint(w.width() + 10, 30));
        fire(pager);
        QCOMPARE(QString::asprintf("%d %u", int(sent.size()), w.currentTick()), "3 149");
        w.setCurrentTick(4);
        QImage const image = w.grab().toImage();
        QColor const ink = w.palette().color(QPalette::WindowText);
        QColor const border = w.palette().color(QPalette::Button).darker(300);
        // Long and short ruler ticks, two cells, an outline, the cursor.
        int const at[] = {128, 11, 128, 19, 134, 17, 134, 13, 139, 35, 187, 35, 155, 20, 152, 45};
        QColor const colors[] = {ink,
                                 ink,
                                 ink,
                                 w.palette().color(QPalette::Window),
                                 QColor(200, 0, 0),
                                 QColor(0, 0, 200),
                                 border,
                                 Qt::red};
        for (int i = 0; i < 8; ++i)
            QCOMPARE(image.pixelColor(at[2 * i], at[2 * i + 1]).name() + QString::number(i),
                     colors[i].name() + QString::number(i));
        // Random input, playing and timer steps: every tick sent is the current one.
        int wrong = 0;
        connect(&w, &TimeLineWidget::tickChanged, this,
                [&](uint tick) { wrong += tick != w.currentTick(); });
        QList<QTimer *> const timers = w.findChildren<QTimer *>();
        sendRandomInput(&w, 5000, 6, {Qt::Key_Left, Qt::Key_Right}, [&](QRandomGenerator &random) {
            int const what = random.bounded(4);
            if (what < 2)
                fire(timers[what]);
            else
                what == 2 ? (random.bounded(2) ? w.play() : w.stop()) : void(w.grab());
        });
        QCOMPARE(wrong, 0);
        w.clearTimeLines();
        QCOMPARE(w.height(), 20);
        QCOMPARE(w.grab().toImage().pixelColor(128, 15), ink);
    }
};

QTEST_MAIN(TestTimeLine)
#include "tst_timeline.moc"
