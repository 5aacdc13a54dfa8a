#pragma once

#include <kenro/kenro_export.h>

#include <QList>
#include <QStringList>
#include <QXmlStreamAttributes>

class QWidget;

namespace Kenro {

class SnipField;

/**
 * The XML file of a code snippet, UTF-8: a root "snippet", "field" elements
 * with the attributes of each field, and one "code" element. Reading goes as
 * far as the file is well formed; what came before a fault is kept.
 */
class KENRO_EXPORT SnippetFile
{
public:
    /**
     * Reads \a xml. False when it is no whole snippet (bad XML, another root,
     * a field without a name, no code): errorString(), line() and column()
     * say what and where.
     */
    bool read(QString const &xml);
    /// Reads the file \a path; false, with no error text, when it cannot be opened.
    bool load(QString const &path);

    /// The attributes of each field, in order.
    QList<QXmlStreamAttributes> const &fields() const { return m_fields; }
    bool hasCode() const { return m_hasCode; }
    /// The lines of the code, without a blank first or last line.
    QStringList codeLines() const;

    QString errorString() const { return m_error; }
    qint64 line() const { return m_line; }
    qint64 column() const { return m_column; }
    /// Tells the user of the read error, with its line and column, in a box over \a parent.
    void showError(QWidget *parent) const;

    /**
     * The file of \a fields and \a code, as snippets are written: CR LF line
     * ends inside, empty code lines dropped, the code as it stands.
     */
    static QString write(QList<SnipField *> const &fields, QString const &code);
    /// A Qt translation source of the snippet \a name's title and field labels.
    QString translationSource(QString const &name) const;

private:
    QList<QXmlStreamAttributes> m_fields;
    QString m_code;
    bool m_hasCode = false;
    QString m_error;
    qint64 m_line = 0;
    qint64 m_column = 0;
};

} // namespace Kenro
