#pragma once

#include "scriptparser.h"

#include <kenro/code/codedocument.h>

namespace Kenro::Ikemen {

/// A script file of the content, parsed by a ScriptParser of its own.
class ScriptDocument : public CodeDocument
{
    Q_OBJECT

public:
    explicit ScriptDocument(short fileType = -1);

    /// The parser of the document, for setting an action parser.
    ScriptParser *scriptParser();
    /**
     * Lines \a first to \a last without leading blanks; unless \a indentOnly
     * also with tidy headings and "name = value" spacing.
     */
    void formatLines(int first, int last, bool indentOnly) override;

private:
    void free() override;

    ScriptParser m_parser;
};

} // namespace Kenro::Ikemen
