#pragma once

#include <QFileDialog>
#include <QMessageBox>
#include <QTimer>

namespace KenroTest {

/**
 * Answers every modal dialog shown while it lives, so that no test blocks on
 * one. A message box gets `answer` when it offers it, else its escape or
 * default button. A file dialog takes the next entry of `files` (absolute
 * paths) and is rejected when none is left; other dialogs are rejected.
 * Everything shown is recorded in `seen`.
 */
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    explicit DialogAnswerer(QMessageBox::StandardButton answer = QMessageBox::NoButton);

    struct Seen
    {
        QString title, text;
        QMessageBox::StandardButtons buttons;
        QString directory; ///< a file dialog's start, filters and options
        QStringList nameFilters;
        QFileDialog::Options options;
    };

    QMessageBox::StandardButton answer;
    QList<QStringList> files;
    QList<Seen> seen;

    QStringList titles() const;

private:
    void poll();

    QTimer m_timer;
};

} // namespace KenroTest
