#pragma once

#include <QFileDialog>
#include <QMessageBox>
#include <QTimer>

namespace KenroTest {

// Answers every modal dialog shown while it lives, so that no test blocks: a
// message box with `answer` if offered (else its escape or default button), a
// file dialog with the next paths of `files`; the rest are rejected. All that
// was shown is in `seen`.
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    explicit DialogAnswerer(QMessageBox::StandardButton answer = QMessageBox::NoButton);

    struct Seen
    {
        QString title, text;
        QMessageBox::StandardButtons buttons;
        QString directory; // of a file dialog
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
