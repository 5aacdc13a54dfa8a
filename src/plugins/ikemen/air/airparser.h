#pragma once

#include <kenro/code/codeparser.h>

namespace Kenro::Ikemen {

/**
 * The parser of AIR, the animation format of the IKEMEN GO runtime: one
 * line at a time, it makes the action, frame, box and modifier nodes,
 * colours the line and reports what is wrong with it and where.
 */
class AirParser final : public Kenro::CodeParser
{
public:
    /// The token types that the parser colours with.
    enum Token : int {
        Plain = 0,
        Comment = 1,
        Error = 2,
        Number = 3,
        Keyword = 4,
        Heading = 5,
        Flag = 7,
    };

    Kenro::CodeNode *parse(QString const &text, QTextBlock const &block, Kenro::CodeNode *oldNode,
                           Kenro::CodeNode *context, Kenro::RootCode *root,
                           Kenro::CodeParserSyntax *syntax) override;
};

} // namespace Kenro::Ikemen
