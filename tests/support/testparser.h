#pragma once

#include <kenro/code/codedocument.h>
#include <kenro/code/codeparser.h>
#include <kenro/project/messages.h>

#include <functional>

class QRandomGenerator;

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

/// The \a messages of \a type (all by default) as "type line:column text".
QStringList messageLines(Kenro::Messages *messages,
                         Kenro::Message::Type type = Kenro::Message::All);

/// A random edit with pieces of \a snippets: whole lines, or anywhere unless \a wholeLines.
void randomEdit(QTextDocument &document, QRandomGenerator &random, QStringList const &snippets,
                bool wholeLines = false);

/**
 * \a steps random edits from \a seed; after each, \a edited must equal \a fresh of the text
 * (a new document of it described), or the calling test fails on the first line that differs.
 */
void checkRandomEdits(QTextDocument &document, QStringList const &snippets, quint32 seed, int steps,
                      std::function<QString()> const &edited,
                      std::function<QString(QString const &)> const &fresh,
                      bool wholeLines = false);

} // namespace KenroTest
