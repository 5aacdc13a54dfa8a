#include <kenro/editors/snippetmanager.h>

#include <kenro/editors/snippetfile.h>

#include <QComboBox>
#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

namespace Kenro {

namespace {

QString translated(QString const &text)
{
    return QCoreApplication::translate("Kenro::SnippetManager", text.toUtf8().constData());
}

// The control of a field, named after it; null for a choice whose values and
// titles do not pair up.
QWidget *fieldControl(QXmlStreamAttributes const &field, QWidget *parent)
{
    QString const type = field.value(QLatin1String("type")).toString();
    QWidget *control = nullptr;
    if (type == QLatin1String("int")) {
        auto *spin = new QSpinBox(parent);
        spin->setRange(-99999999, 99999999);
        control = spin;
    } else if (type == QLatin1String("float")) {
        auto *spin = new QDoubleSpinBox(parent);
        spin->setRange(-99999999, 99999999);
        control = spin;
    } else if (type == QLatin1String("items")) {
        QStringList const values = field.value(QLatin1String("value")).toString().split(u',');
        QStringList const titles = field.value(QLatin1String("value_title")).toString().split(u',');
        if (values.size() != titles.size())
            return nullptr;
        auto *combo = new QComboBox(parent);
        for (qsizetype i = 0; i < values.size(); ++i)
            combo->addItem(translated(titles.at(i)), values.at(i));
        control = combo;
    } else {
        control = new QLineEdit(parent); // "string", and any type unknown here
    }
    control->setObjectName(field.value(QLatin1String("name")).toString());
    return control;
}

QString fieldValue(QWidget const *control)
{
    if (auto const *edit = qobject_cast<QLineEdit const *>(control))
        return edit->text();
    if (auto const *spin = qobject_cast<QSpinBox const *>(control))
        return QString::number(spin->value());
    // Kept from the first versions, whose snippets rely on it: a float field
    // gives the one character whose code is the value's whole part.
    if (auto const *spin = qobject_cast<QDoubleSpinBox const *>(control))
        return QString(QChar(static_cast<int>(spin->value())));
    if (auto const *combo = qobject_cast<QComboBox const *>(control))
        return combo->currentData().toString();
    return QString();
}

} // namespace

SnippetManager::SnippetManager(QObject *parent) : QAbstractListModel(parent) {}

SnippetManager::~SnippetManager() = default;

QString SnippetManager::path() const
{
    return m_path;
}

void SnippetManager::setPath(QString const &path)
{
    m_path = path;
    if (!m_names.isEmpty()) {
        beginRemoveRows(QModelIndex(), 0, static_cast<int>(m_names.size()) - 1);
        m_names.clear();
        endRemoveRows();
    }
    QStringList names;
    QDir const folder(path);
    if (!path.isEmpty()) {
        QStringList const files = folder.entryList({QStringLiteral("*.xml")},
                                                   QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
        for (QString const &file : files)
            names.append(QFileInfo(file).completeBaseName());
    }
    if (!names.isEmpty()) {
        beginInsertRows(QModelIndex(), 0, static_cast<int>(names.size()) - 1);
        m_names = names;
        endInsertRows();
    }
}

QString SnippetManager::name(int index) const
{
    return m_names.value(index);
}

QString SnippetManager::fileName(int index) const
{
    return m_path + QLatin1Char('/') + name(index) + QLatin1String(".xml");
}

int SnippetManager::indexOf(QString const &name) const
{
    return static_cast<int>(m_names.indexOf(name));
}

int SnippetManager::rowCount(QModelIndex const &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_names.size());
}

QVariant SnippetManager::data(QModelIndex const &index, int role) const
{
    if (!index.isValid() || index.row() >= m_names.size() ||
        (role != Qt::DisplayRole && role != Qt::ToolTipRole))
        return QVariant();
    return m_names.at(index.row());
}

QString SnippetManager::snippet(QWidget *parent, int index) const
{
    if (index < 0 || index >= m_names.size())
        return QString();
    SnippetFile file;
    QString const path = fileName(index);
    if (!file.load(path)) {
        if (!file.errorString().isEmpty())
            file.showError(parent);
        if (!file.hasCode())
            return QString();
    }

    QDialog form(parent);
    form.setWindowTitle(m_names.at(index));
    auto *layout = new QVBoxLayout(&form);
    auto *grid = new QGridLayout;
    layout->addLayout(grid);
    int rows[11] = {};
    QList<QWidget *> controls;
    for (QXmlStreamAttributes const &field : file.fields()) {
        QWidget *control = fieldControl(field, &form);
        if (!control)
            continue;
        int const column = qBound(0, field.value(QLatin1String("column")).toInt(), 10);
        grid->addWidget(new QLabel(translated(field.value(QLatin1String("title")).toString())),
                        rows[column], column);
        grid->addWidget(control, rows[column] + 1, column);
        rows[column] += 2;
        controls.append(control);
    }
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &form);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &form, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &form, &QDialog::reject);
    layout->addWidget(buttons);
    if (form.exec() != QDialog::Accepted)
        return QString();

    QString code;
    for (QString const &line : file.codeLines())
        code += line.trimmed() + QLatin1Char('\n');
    for (QWidget const *control : std::as_const(controls))
        code.replace(QLatin1Char('@') + control->objectName(), fieldValue(control));
    return code;
}

} // namespace Kenro
