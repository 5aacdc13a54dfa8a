#include "scriptvalue.h"

#include "scriptkeywords.h"
#include "scriptparser.h"

namespace Kenro::Ikemen {

ScriptValue::ScriptValue(QString const &name, Type type, QTextBlock const &block, CodeNode *after,
                         QVariant const &value, Form form, bool quoted)
    : ValueCode(type, block, after, value), m_name(name), m_form(form), m_quoted(quoted)
{}

QString ScriptValue::name() const
{
    return m_name;
}

QString ScriptValue::displayName() const
{
    return m_form == Entry ? valueText() : m_name;
}

void ScriptValue::setName(QString const &name)
{
    if (m_form == Entry || name == m_name)
        return;
    if (!document()) {
        m_name = name;
        return;
    }
    // The value keeps the spelling it has in the text; the parser names the
    // node from the new line.
    ScriptParser::rewriteLine(
        this, name + QLatin1String(" = ") + ScriptParser::valuePart(block().text()));
}

QString ScriptValue::valueText() const
{
    QString const text = asString(valueType(), rawValue(), QLatin1Char(','));
    return m_quoted ? QLatin1Char('"') + text + QLatin1Char('"') : text;
}

QString ScriptValue::keyword(unsigned int index) const
{
    return ScriptKeywords::controllerName(index);
}

ScriptValue::Form ScriptValue::form() const
{
    return m_form;
}

bool ScriptValue::isQuoted() const
{
    return m_quoted;
}

QString ScriptValue::lineText() const
{
    return m_form == Entry ? valueText() : m_name + QLatin1String(" = ") + valueText();
}

void ScriptValue::setValueText(QString const &text)
{
    if (!document()) {
        setValue(text);
        return;
    }
    ScriptParser::rewriteLine(this, m_form == Entry ? text : m_name + QLatin1String(" = ") + text);
}

void ScriptValue::update(QVariant const &value, bool quoted)
{
    // Passes that only colour the text again change nothing and tell nobody.
    if (quoted == m_quoted && convertFrom(valueType(), value) == rawValue())
        return;
    m_quoted = quoted;
    valueChanged(value);
}

} // namespace Kenro::Ikemen
