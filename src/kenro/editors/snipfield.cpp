#include <kenro/editors/snipfield.h>

#include <QXmlStreamAttributes>

namespace Kenro {

SnipField::SnipField(QString const &name, QString const &title) : m_name(name), m_title(title) {}

SnipField::~SnipField() = default;

SnipField *SnipField::fromAttributes(QXmlStreamAttributes const &attributes)
{
    QString const name = attributes.value(QLatin1String("name")).toString();
    QString const title = attributes.value(QLatin1String("title")).toString();
    QString const type = attributes.value(QLatin1String("type")).toString();
    if (type == QLatin1String("items"))
        return new ComboSnipField(name, title, attributes.value(QLatin1String("value")).toString(),
                                  attributes.value(QLatin1String("value_title")).toString());
    return new RegularSnipField(name, title, type);
}

RegularSnipField::RegularSnipField(QString const &name, QString const &title, QString const &type)
    : SnipField(name, title), m_type(type.isEmpty() ? QStringLiteral("string") : type)
{}

QString RegularSnipField::type() const
{
    return m_type;
}

QString RegularSnipField::attributes() const
{
    return QString();
}

ComboSnipField::ComboSnipField(QString const &name, QString const &title, QString const &values,
                               QString const &valueTitles)
    : SnipField(name, title), m_values(values), m_valueTitles(valueTitles)
{}

QString ComboSnipField::type() const
{
    return QStringLiteral("items");
}

QString ComboSnipField::attributes() const
{
    return QLatin1String("value=\"") + m_values + QLatin1String("\" value_title=\"") +
        m_valueTitles + QLatin1Char('"');
}

} // namespace Kenro
