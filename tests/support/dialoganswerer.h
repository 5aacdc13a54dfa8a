#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include <functional>

namespace KenroTest {

// Answers every modal dialog shown while it lives, so that no test blocks: a
// message box with `answer` if offered (else its escape or default button), a
// file dialog with the next paths of `files`; the rest are rejected. All that
// was shown is in `seen`. A dialog for which `handle` returns true is left to it,
// and not handed to it again.
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    explicit DialogAnswerer(QMessageBox::StandardButton answer = QMessageBox::NoButton)
        : answer(answer)
    {
        connect(&m_timer, &QTimer::timeout, this, &DialogAnswerer::poll);
        m_timer.start(10);
    }

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
    std::function<bool(QDialog *)> handle;

    QStringList titles() const
    {
        QStringList result;
        for (Seen const &box : seen)
            result.append(box.title);
        return result;
    }

private:
    void poll()
    {
        QWidget *modal = QApplication::activeModalWidget();
        if (m_handled.contains(modal))
            modal = nullptr;
        // Offscreen windows are not always activated: look for any visible dialog.
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (!modal && widget->isVisible() && qobject_cast<QDialog *>(widget) &&
                !m_handled.contains(widget))
                modal = widget;
        }
        auto *dialog = qobject_cast<QDialog *>(modal);
        if (!dialog)
            return;
        seen.append({dialog->windowTitle(), QString(), {}, QString(), {}, {}});
        if (handle && handle(dialog))
            return m_handled.append(dialog);
        if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
            seen.last().text = box->text();
            seen.last().buttons = box->standardButtons();
            QAbstractButton *button =
                answer != QMessageBox::NoButton ? box->button(answer) : nullptr;
            for (QAbstractButton *next : std::initializer_list<QAbstractButton *>{
                     box->escapeButton(), box->defaultButton(), box->buttons().value(0)})
                button = button ? button : next;
            if (button)
                return button->click();
        }
        auto *fileDialog = qobject_cast<QFileDialog *>(dialog);
        QStringList const chosen =
            fileDialog && !files.isEmpty() ? files.takeFirst() : QStringList();
        // The name field is filled directly: selectFile() leaves it alone while it has the focus.
        auto *nameEdit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        if (fileDialog) {
            seen.last().directory = fileDialog->directory().absolutePath();
            seen.last().nameFilters = fileDialog->nameFilters();
            seen.last().options = fileDialog->options();
        }
        if (chosen.isEmpty() || !nameEdit)
            return dialog->reject();
        // Several paths are quoted one by one, as a user would type them.
        nameEdit->setText(chosen.size() == 1 ? chosen.first()
                                             : u'"' + chosen.join(QStringLiteral("\" \"")) + u'"');
        dialog->accept(); // QFileDialog's own accept() checks the answer
        // A dialog that refused the answer (a missing file, say) must not stay open.
        if (dialog->isVisible() && dialog->result() != QDialog::Accepted)
            dialog->reject();
    }

    QTimer m_timer;
    QList<QPointer<QWidget>> m_handled;
};

} // namespace KenroTest
