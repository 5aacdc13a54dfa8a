#pragma once

#include <QFileDialog>
#include <QMessageBox>
#include <QObject>
#include <QStringList>
#include <QTimer>

namespace KenroTest {

/**
 * Answers every modal dialog that appears while it lives, so that no test can
 * block on one. Message boxes are answered with `answer` when they offer it,
 * else with their escape or default button. File dialogs (Qt's own, as on the
 * offscreen platform) take the next entry of `files`, the absolute paths
 * chosen, and are rejected when it is empty or none is left; any other dialog
 * is rejected. What was shown is recorded in `seen`.
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
        /// Of a file dialog: where it started, its filters and its options.
        bool fileDialog = false;
        QString directory;
        QStringList nameFilters;
        QFileDialog::Options options;
        QFileDialog::AcceptMode acceptMode = QFileDialog::AcceptOpen;
    };

    QMessageBox::StandardButton answer;
    QList<QStringList> files;
    QList<Seen> seen;

    QStringList titles() const;

private:
    void poll();
    void answerFileDialog(QFileDialog *dialog);

    QTimer m_timer;
};

} // namespace KenroTest
