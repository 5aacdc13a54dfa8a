#pragma once

#include <QRandomGenerator>
#include <QWidget>

#include <functional>

namespace KenroTest {

/// Sends \a count random presses, releases, moves, wheels and clicks of \a keys in and around
/// \a widget, with any modifiers; \a other changes something before one in eight. Gives the
/// presses and the wheels sent.
/// Sends \a widget a turn of the wheel by \a delta at \a at.
void sendWheel(QWidget *widget, QPoint at, int delta, Qt::KeyboardModifiers modifiers = {});

std::pair<int, int> sendRandomInput(QWidget *widget, int count, quint32 seed,
                                    QList<Qt::Key> const &keys,
                                    std::function<void(QRandomGenerator &)> const &other = {});

} // namespace KenroTest
