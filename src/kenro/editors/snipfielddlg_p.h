#pragma once

#include <QDialog>

class QComboBox;
class QDialogButtonBox;
class QLineEdit;
class QPlainTextEdit;

namespace Kenro {

class SnipField;

/**
 * Asks for a snippet field: its name, its title and its type, and for a
 * choice the values and their titles, one a line. OK stays off until the
 * name is given and every value has a title.
 */
class SnipFieldDlg : public QDialog
{
    Q_OBJECT

public:
    /// A dialog over \a parent, filled with \a field when one is given.
    explicit SnipFieldDlg(QWidget *parent, SnipField const *field = nullptr);

    /// A new field of what the dialog holds; the caller owns it.
    SnipField *field() const;

private:
    void updateState();
    QStringList lines(QPlainTextEdit const *edit) const;

    QLineEdit *m_name;
    QLineEdit *m_title;
    QComboBox *m_type;
    QPlainTextEdit *m_values;
    QPlainTextEdit *m_valueTitles;
    QDialogButtonBox *m_buttons;
};

} // namespace Kenro
