#include "dialogguard.h"

#include "console.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

namespace Kenro::Cli {

DialogGuard::DialogGuard(QObject *parent) : QObject(parent) {}

int DialogGuard::answered() const
{
    return m_answered;
}

bool DialogGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Show)
        return false;
    auto *dialog = qobject_cast<QDialog *>(watched);
    if (!dialog)
        return false;
    ++m_answered;
    auto *box = qobject_cast<QMessageBox *>(dialog);
    if (box)
        Console::warn(box->windowTitle().isEmpty() ? QStringLiteral("library") : box->windowTitle(),
                      box->text());
    // The answer is queued: exec() only starts the loop that it ends after showing.
    QPointer<QDialog> guarded(dialog);
    QMetaObject::invokeMethod(
        this,
        [guarded] {
            if (!guarded)
                return;
            if (auto *box = qobject_cast<QMessageBox *>(guarded.data())) {
                // Escape presses the button that the box itself takes for "no"
                // or "cancel"; escapeButton() names only one set by hand.
                QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
                QCoreApplication::sendEvent(box, &escape);
                if (!guarded || !box->isVisible())
                    return;
                QAbstractButton *button = box->defaultButton();
                if (!button && !box->buttons().isEmpty())
                    button = box->buttons().constFirst();
                if (button) {
                    button->click();
                    return;
                }
            }
            guarded->reject();
        },
        Qt::QueuedConnection);
    return false;
}

} // namespace Kenro::Cli
