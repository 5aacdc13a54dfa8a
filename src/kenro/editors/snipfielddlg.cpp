#include "snipfielddlg_p.h"

#include <kenro/editors/snipfield.h>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>

namespace Kenro {

SnipFieldDlg::SnipFieldDlg(QWidget *parent, SnipField const *field)
    : QDialog(parent),
      m_name(new QLineEdit(this)),
      m_title(new QLineEdit(this)),
      m_type(new QComboBox(this)),
      m_values(new QPlainTextEdit(this)),
      m_valueTitles(new QPlainTextEdit(this)),
      m_buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
{
    setWindowTitle(tr("Snippet field"));
    // The name follows an "@" in the code: a word, and never empty.
    m_name->setValidator(new QRegularExpressionValidator(
        QRegularExpression(QStringLiteral("[A-Za-z_][A-Za-z0-9_]*")), m_name));
    m_type->addItems({QStringLiteral("string"), QStringLiteral("int"), QStringLiteral("float"),
                      QStringLiteral("items")});
    auto *layout = new QFormLayout(this);
    layout->addRow(tr("Name"), m_name);
    layout->addRow(tr("Title"), m_title);
    layout->addRow(tr("Type"), m_type);
    layout->addRow(tr("Values"), m_values);
    layout->addRow(tr("Value titles"), m_valueTitles);
    layout->addRow(m_buttons);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    if (field) {
        m_name->setText(field->name());
        m_title->setText(field->title());
        m_type->setCurrentText(field->type());
        if (auto const *combo = dynamic_cast<ComboSnipField const *>(field)) {
            m_values->setPlainText(combo->values().replace(u',', u'\n'));
            m_valueTitles->setPlainText(combo->valueTitles().replace(u',', u'\n'));
        }
    }
    connect(m_name, &QLineEdit::textChanged, this, &SnipFieldDlg::updateState);
    connect(m_type, &QComboBox::currentIndexChanged, this, &SnipFieldDlg::updateState);
    connect(m_values, &QPlainTextEdit::textChanged, this, &SnipFieldDlg::updateState);
    connect(m_valueTitles, &QPlainTextEdit::textChanged, this, &SnipFieldDlg::updateState);
    updateState();
}

SnipField *SnipFieldDlg::field() const
{
    if (m_type->currentIndex() == 3)
        return new ComboSnipField(m_name->text(), m_title->text(),
                                  lines(m_values).join(QLatin1Char(',')),
                                  lines(m_valueTitles).join(QLatin1Char(',')));
    return new RegularSnipField(m_name->text(), m_title->text(), m_type->currentText());
}

void SnipFieldDlg::updateState()
{
    bool const items = m_type->currentIndex() == 3;
    m_values->setEnabled(items);
    m_valueTitles->setEnabled(items);
    bool const itemsPair =
        !lines(m_values).isEmpty() && lines(m_values).size() == lines(m_valueTitles).size();
    m_buttons->button(QDialogButtonBox::Ok)
        ->setEnabled(m_name->hasAcceptableInput() && (!items || itemsPair));
}

QStringList SnipFieldDlg::lines(QPlainTextEdit const *edit) const
{
    QStringList result;
    for (QString const &line : edit->toPlainText().split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty())
            result.append(line.trimmed());
    }
    return result;
}

} // namespace Kenro
