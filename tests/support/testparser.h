#pragma once

#include <kenro/code/codeparser.h>

namespace KenroTest {

/**
 * A small parser for tests: "[Name]" sections (subType 1), "[Begin Action n]"
 * animations with "x, y" frame lines, "key = value" values, ";" comments.
 * "old_" keys are deprecated, empty values warn, anything else is an error.
 * A line keeps its node when kind and name stay the same.
 */
class TestParser : public Kenro::CodeParser
{
public:
    int calls = 0;

    Kenro::CodeNode *parse(QString const &text, QTextBlock const &block, Kenro::CodeNode *oldNode,
                           Kenro::CodeNode *context, Kenro::RootCode *root,
                           Kenro::CodeParserSyntax *syntax) override;
};

} // namespace KenroTest
