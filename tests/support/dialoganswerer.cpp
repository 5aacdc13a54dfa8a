#include "dialoganswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>

namespace KenroTest {

DialogAnswerer::DialogAnswerer(QMessageBox::StandardButton answer, QObject *parent)
    : QObject(parent), answer(answer)
{
    connect(&m_timer, &QTimer::timeout, this, &DialogAnswerer::poll);
    m_timer.start(10);
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
    // Offscreen windows are not always activated: look for any visible dialog.
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (!modal && widget->isVisible() && qobject_cast<QDialog *>(widget))
            modal = widget;
    }
    if (auto *box = qobject_cast<QMessageBox *>(modal)) {
        seen.append({box->windowTitle(), box->text(), box->standardButtons()});
        QAbstractButton *button = answer != QMessageBox::NoButton ? box->button(answer) : nullptr;
        button = button ? button : box->escapeButton();
        button = button ? button : box->defaultButton();
        if (!button && !box->buttons().isEmpty())
            button = box->buttons().first();
        if (button)
            return button->click();
    }
    if (auto *fileDialog = qobject_cast<QFileDialog *>(modal))
        return answerFileDialog(fileDialog);
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
    if (chosen.isEmpty() || !nameEdit)
        return dialog->reject();
    // Absolute paths, as a user may type them; several are quoted one by one.
    QStringList quoted;
    for (QString const &path : chosen)
        quoted.append(QLatin1Char('"') + path + QLatin1Char('"'));
    nameEdit->setText(chosen.size() == 1 ? chosen.first() : quoted.join(QLatin1Char(' ')));
    // QFileDialog's own accept() checks the answer; it is public only through QDialog.
    static_cast<QDialog *>(dialog)->accept();
    // A dialog that refused the answer (a missing file, say) must not stay open.
    if (dialog->isVisible() && dialog->result() != QDialog::Accepted)
        dialog->reject();
}

} // namespace KenroTest
