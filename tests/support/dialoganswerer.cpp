#include "dialoganswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
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
    if (auto *fileDialog = qobject_cast<QFileDialog *>(modal)) {
        answerFileDialog(fileDialog);
        return;
    }
    if (auto *dialog = qobject_cast<QDialog *>(modal)) {
        seen.append({dialog->windowTitle(), QString(), {}});
        dialog->reject();
    }
}

void DialogAnswerer::answerFileDialog(QFileDialog *dialog)
{
    Seen shown{dialog->windowTitle(), QString(), {}};
    shown.fileDialog = true;
    shown.directory = dialog->directory().absolutePath();
    shown.nameFilters = dialog->nameFilters();
    shown.options = dialog->options();
    shown.acceptMode = dialog->acceptMode();
    seen.append(shown);
    QStringList const chosen = files.isEmpty() ? QStringList() : files.takeFirst();
    // The name field is filled directly: selectFile() leaves it alone while it has the focus.
    auto *nameEdit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    if (chosen.isEmpty() || !nameEdit) {
        dialog->reject();
        return;
    }
    // Absolute paths, as a user may type them; several are quoted one by one.
    if (chosen.size() == 1) {
        nameEdit->setText(chosen.first());
    } else {
        QStringList quoted;
        for (QString const &path : chosen)
            quoted.append(QLatin1Char('"') + path + QLatin1Char('"'));
        nameEdit->setText(quoted.join(QLatin1Char(' ')));
    }
    // QFileDialog's own accept() checks the answer; it is public only through QDialog.
    static_cast<QDialog *>(dialog)->accept();
    // A dialog that refused the answer (a missing file, say) must not stay open.
    if (dialog->isVisible() && dialog->result() != QDialog::Accepted)
        dialog->reject();
}

} // namespace KenroTest
