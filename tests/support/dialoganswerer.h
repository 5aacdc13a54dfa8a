#pragma once

#include <QMessageBox>
#include <QObject>
#include <QStringList>
#include <QTimer>

namespace KenroTest {

/**
 * Answers every modal dialog that appears while it lives, so that no test can
 * block on one. Message boxes are answered with `answer` when they offer it,
 * else with their escape or default button; any other dialog is rejected.
 * What was shown is recorded.
 */
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    explicit DialogAnswerer(QMessageBox::StandardButton answer = QMessageBox::NoButton,
                            QObject *parent = nullptr);

    struct Seen
    {
        QString title;
        QString text;
        QMessageBox::StandardButtons buttons;
    };

    QMessageBox::StandardButton answer;
    QList<Seen> seen;

    QStringList titles() const;

private:
    void poll();

    QTimer m_timer;
};

} // namespace KenroTest
