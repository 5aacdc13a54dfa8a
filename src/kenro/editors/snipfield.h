#pragma once

#include <kenro/kenro_export.h>

#include <QString>

class QXmlStreamAttributes;

namespace Kenro {

/**
 * A named field of a code snippet: the place "@name" in its code that the
 * insertion form fills in, and the label "title" of the form's control.
 */
class KENRO_EXPORT SnipField
{
public:
    SnipField(QString const &name, QString const &title);
    virtual ~SnipField();

    /// The field's type: "string", "int", "float" or "items".
    virtual QString type() const = 0;
    /// The XML attributes behind the type that the field needs, or nothing.
    virtual QString attributes() const = 0;

    QString name() const { return m_name; }
    QString title() const { return m_title; }

    /// A field of the "field" element's \a attributes; a missing type is "string".
    static SnipField *fromAttributes(QXmlStreamAttributes const &attributes);

private:
    QString m_name;
    QString m_title;
};

/// A field whose type alone says how it is filled: a text or a number.
class KENRO_EXPORT RegularSnipField : public SnipField
{
public:
    /// A field of \a type; an empty type is "string".
    RegularSnipField(QString const &name, QString const &title, QString const &type);

    QString type() const override;
    QString attributes() const override;

private:
    QString m_type;
};

/// A field filled by a choice among values, each shown under its title.
class KENRO_EXPORT ComboSnipField : public SnipField
{
public:
    /// \a values and \a valueTitles are comma-separated lists.
    ComboSnipField(QString const &name, QString const &title, QString const &values,
                   QString const &valueTitles);

    /// "items".
    QString type() const override;
    /// The values and their titles as the attributes "value" and "value_title".
    QString attributes() const override;

    QString values() const { return m_values; }
    QString valueTitles() const { return m_valueTitles; }

private:
    QString m_values;
    QString m_valueTitles;
};

} // namespace Kenro
