#pragma once

#include "airparser.h"

#include <kenro/code/codedocument.h>

namespace KenroIkemen {

/**
 * An AIR file: the text with its parser. Actions, frames and boxes are the
 * nodes of its tree.
 */
class AirDocument final : public Kenro::CodeDocument
{
    Q_OBJECT

public:
    AirDocument();
    ~AirDocument() override;

    /**
     * Indents lines \a first to \a last: box lines by one blank, all others
     * not at all. Without \a indentOnly blanks at the ends of lines go too.
     */
    void formatLines(int first, int last, bool indentOnly) override;

protected:
    void free() override;

private:
    AirParser m_parser;
};

} // namespace KenroIkemen
