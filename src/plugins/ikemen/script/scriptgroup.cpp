#include "scriptgroup.h"

#include "scriptparser.h"
#include "scriptvalue.h"

#include <kenro/code/codedocument.h>

namespace Kenro::Ikemen {

ScriptGroup::ScriptGroup(QString const &name, Kind kind, QTextBlock const &block, CodeNode *after)
    : GroupCode(block, after, kind), m_name(name)
{
    insertRootChild(this);
}

QString ScriptGroup::name() const
{
    return m_name;
}

void ScriptGroup::setName(QString const &name)
{
    if (name == m_name)
        return;
    if (!document()) {
        m_name = name;
        return;
    }
    ScriptParser::rewriteLine(this, QLatin1Char('[') + name + QLatin1Char(']'));
}

ValueCode *ScriptGroup::insertValue(unsigned int index, QString const &name, QString const &value)
{
    unsigned int const row = qMin(index, valueCount());
    CodeNode *anchor = row == 0 ? static_cast<CodeNode *>(this) : valueAt(row - 1);
    auto *codeDocument = qobject_cast<CodeDocument *>(document());
    if (!codeDocument) {
        // A tree without text: the node is made directly.
        if (kind() == List)
            return new ScriptValue(QString(), ValueCode::String, QTextBlock(), anchor, value,
                                   ScriptValue::Entry);
        return new ScriptValue(name, ValueCode::String, QTextBlock(), anchor, value);
    }
    QString const line = kind() == List ? value : name + QLatin1String(" = ") + value;
    // Inside a change bracket the new line is parsed at once and can be read back.
    codeDocument->beginChange();
    codeDocument->insertAfter(anchor, line, true);
    CodeNode *node = codeDocument->nodeInBlock(anchor->block().next());
    codeDocument->endChange();
    return dynamic_cast<ValueCode *>(node);
}

ValueCode *ScriptGroup::addValue(QString const &name, QString const &value)
{
    return insertValue(valueCount(), name, value);
}

ScriptGroup::Kind ScriptGroup::kind() const
{
    return static_cast<Kind>(subType());
}

} // namespace Kenro::Ikemen
