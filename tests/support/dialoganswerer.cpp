#include "dialoganswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QPushButton>

namespace KenroTest {

DialogAnswerer::DialogAnswerer(QMessageBox::StandardButton answer, QObject *parent)
    : QObject(parent), answer(answer)
{
    m_timer.setInterval(10);
    connect(&m_timer, &QTimer::timeout, this, &DialogAnswerer::poll);
    m_timer.start();
}

QStringList DialogAnswerer::titles() const
{
    QStringList result;
    for (Seen const &box : seen)
        result.append(box.title);
    return result;
}

void DialogAnswerer::poll()
{
    QWidget *modal = QApplication::activeModalWidget();
    if (!modal) {
        // Offscreen windows are not always activated: look for any visible dialog.
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && qobject_cast<QDialog *>(widget)) {
                modal = widget;
                break;
            }
        }
    }
    if (!modal)
        return;
    if (auto *box = qobject_cast<QMessageBox *>(modal)) {
        seen.append({box->windowTitle(), box->text(), box->standardButtons()});
        QAbstractButton *button = nullptr;
        if (answer != QMessageBox::NoButton)
            button = box->button(answer);
        if (!button)
            button = box->escapeButton();
        if (!button)
            button = box->defaultButton();
        if (!button && !box->buttons().isEmpty())
            button = box->buttons().first();
        if (button) {
            button->click();
            return;
        }
    }
    if (auto *dialog = qobject_cast<QDialog *>(modal)) {
        seen.append({dialog->windowTitle(), QString(), {}});
        dialog->reject();
    }
}

} // namespace KenroTest
