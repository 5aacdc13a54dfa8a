#pragma once

#include <kenro/code/valuecode.h>

namespace Kenro::Ikemen {

/**
 * One line of a section: an assignment "name = value", or in the list
 * sections (the characters and stages of a selection file) a bare entry,
 * which has no name and keeps the whole line as its value.
 */
class ScriptValue : public ValueCode
{
public:
    /// How the line is written.
    enum Form {
        Assignment, ///< "name = value"
        Entry ///< the value alone
    };

    /**
     * A value named \a name of \a type, made from \a block behind \a after.
     * \a quoted values are written between double quotes.
     */
    ScriptValue(QString const &name, Type type, QTextBlock const &block, CodeNode *after,
                QVariant const &value, Form form = Assignment, bool quoted = false);

    QString name() const override;
    /// An entry shows its text, an assignment its name.
    QString displayName() const override;
    /**
     * Rewrites the line with the new name and the value as it is written;
     * an entry has no name and stays.
     */
    void setName(QString const &name) override;
    /// The value as it is written behind the "=": quoted strings with their quotes.
    QString valueText() const override;
    /// The state controller type of \a index.
    QString keyword(unsigned int index) const override;

    Form form() const;
    bool isQuoted() const;
    /// The whole line as the value would write it, without a comment.
    QString lineText() const;
    /// Rewrites the value part of the line with \a text, keeping the name and the comment.
    void setValueText(QString const &text);
    /**
     * Takes \a value and \a quoted from a new parse of the line; a real
     * change is told to the parent and the views.
     */
    void update(QVariant const &value, bool quoted);

private:
    QString m_name;
    Form m_form;
    bool m_quoted;
};

} // namespace Kenro::Ikemen
