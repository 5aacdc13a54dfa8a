#include "scriptdocument.h"

#include "scriptvalue.h"

namespace Kenro::Ikemen {

ScriptDocument::ScriptDocument(short fileType) : CodeDocument(fileType)
{
    setParser(&m_parser);
}

ScriptParser *ScriptDocument::scriptParser()
{
    return &m_parser;
}

void ScriptDocument::formatLines(int first, int last, bool indentOnly)
{
    beginChange();
    for (QTextBlock block = findBlockByNumber(qMax(first, 0));
         block.isValid() && block.blockNumber() <= last; block = block.next()) {
        auto const *value = dynamic_cast<ScriptValue const *>(nodeInBlock(block));
        bool const assignment = value && value->form() == ScriptValue::Assignment;
        QString const text = block.text();
        QString const formatted = ScriptParser::formatLine(text, indentOnly, assignment);
        if (formatted == text)
            continue;
        QTextCursor line(block);
        line.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        insertOnCursor(formatted, line);
    }
    endChange();
}

void ScriptDocument::free()
{
    delete this;
}

} // namespace Kenro::Ikemen
