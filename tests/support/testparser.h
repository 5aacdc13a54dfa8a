#pragma once

#include <kenro/code/codedocument.h>
#include <kenro/code/codeparser.h>

namespace KenroTest {

/**
 * A small parser for tests: "[Name]" sections (a subType for each name), "[Begin Action n]"
 * animations with "x, y" frame lines, "key = value" values, ";" comments.
 * "old_" keys are deprecated, empty values warn, anything else is an error.
 * A line keeps its node when kind and name stay the same.
 */
class TestParser : public Kenro::CodeParser
{
public:
    Kenro::CodeNode *parse(QString const &text, QTextBlock const &block, Kenro::CodeNode *oldNode,
                           Kenro::CodeNode *context, Kenro::RootCode *root,
                           Kenro::CodeParserSyntax *syntax) override;
};

/// A code document driven by a TestParser of its own.
class TestDocument : public Kenro::CodeDocument
{
    Q_OBJECT

public:
    TestDocument() { setParser(&testParser); }
    TestParser testParser;
    void formatLines(int, int, bool) override {}
    using Kenro::CodeDocument::reparse;

    /// The chain, the tree and the messages, written out for comparison.
    QString describe();

private:
    void free() override { delete this; }
};

} // namespace KenroTest
