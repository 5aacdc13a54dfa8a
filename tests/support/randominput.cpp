#include "randominput.h"

#include <QTest>
#include <QWheelEvent>

namespace KenroTest {

void sendWheel(QWidget *widget, QPoint at, int delta, Qt::KeyboardModifiers modifiers)
{
    QWheelEvent wheel(at, widget->mapToGlobal(at), QPoint(), QPoint(0, delta), Qt::NoButton,
                      modifiers, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(widget, &wheel);
}

std::pair<int, int> sendRandomInput(QWidget *widget, int count, quint32 seed,
                                    QList<Qt::Key> const &keys,
                                    std::function<void(QRandomGenerator &)> const &other)
{
    std::pair<int, int> sent;
    QRandomGenerator random(seed);
    for (int i = 0; i < count; ++i) {
        if (other && random.bounded(8) == 0)
            other(random);
        QPoint const at(random.bounded(-20, widget->width() + 20),
                        random.bounded(-20, widget->height() + 20));
        auto const modifiers = Qt::KeyboardModifiers(random.bounded(4) << 25);
        auto const button = Qt::MouseButton(1 << random.bounded(3));
        int const what = random.bounded(16);
        if (what < 3)
            sent.first += (QTest::mousePress(widget, button, modifiers, at), 1);
        else if (what < 5)
            QTest::mouseRelease(widget, button, modifiers, at);
        else if (what < 6)
            sent.second += (sendWheel(widget, at, random.bounded(-480, 480), modifiers), 1);
        else if (what < 7 && !keys.isEmpty())
            QTest::keyClick(widget, keys[random.bounded(int(keys.size()))], modifiers);
        else
            QTest::mouseMove(widget, at);
    }
    return sent;
}

} // namespace KenroTest
