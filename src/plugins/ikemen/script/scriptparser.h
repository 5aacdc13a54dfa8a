#pragma once

#include "scriptgroup.h"

#include <kenro/code/codeparser.h>

namespace Kenro::Ikemen {

/**
 * The parser of the section-and-value scripts: definitions (DEF), states
 * (CNS, ST) and commands (CMD). A "[name]" heading becomes a ScriptGroup,
 * a "name = value" line a typed ScriptValue, a bare line of a list section
 * an entry; ";" starts a comment outside of strings.
 *
 * Lines of "[Begin Action n]" sections are animation lines. They go to the
 * action parser where one is set, each with the node the line had, which
 * may be one of this parser's; the action parser's heading node (of type
 * Animation) then marks the lines below it as its own. Without one the
 * heading becomes a group
 * of kind Action and its frame, Clsn and Loopstart lines are checked and
 * highlighted but make no node.
 *
 * A line keeps its node while its kind and name stay, so an edit of a value
 * costs one conversion.
 */
class ScriptParser : public CodeParser
{
public:
    /// Entries of the format table that the parser uses.
    enum Token : int {
        Plain = 0,
        Comment = 1,
        Invalid = 2,
        Number = 3,
        Key = 4,
        Section = 5,
        Controller = 6,
        Trigger = 7,
        String = 8,
        Symbol = 9
    };

    CodeNode *parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                    CodeNode *context, RootCode *root, CodeParserSyntax *syntax) override;

    /// Hands the lines of animation sections, headings included, to \a parser (null: none).
    void setActionParser(CodeParser *parser);
    CodeParser *actionParser() const;

    /**
     * The kind of a section named \a name (the text between the brackets,
     * trimmed). A malformed numbered form puts a message into \a problem.
     */
    static ScriptGroup::Kind sectionKind(QStringView name, QString *problem = nullptr);

    /**
     * \a line tidied: without leading blanks; unless \a indentOnly, also a
     * heading as "[name]" and, when \a assignment, "name = value", with a
     * comment behind one blank.
     */
    static QString formatLine(QString const &line, bool indentOnly, bool assignment);

    /// The code behind the first "=" of \a line, trimmed and without its comment.
    static QString valuePart(QString const &line);

    /**
     * Replaces the line of \a node with \a code through its document's text
     * change path, keeping the comment of the old line behind one blank.
     * Nothing happens without a document.
     */
    static void rewriteLine(CodeNode *node, QString const &code);

protected:
    /**
     * A line of an animation section; \a heading for its "[Begin Action n]"
     * line. Goes to the action parser if there is one; otherwise checks the
     * line, and makes a group for the heading only.
     */
    virtual CodeNode *parseActionLine(QString const &text, QTextBlock const &block,
                                      CodeNode *oldNode, CodeNode *context, RootCode *root,
                                      CodeParserSyntax *syntax, bool heading);

private:
    CodeParser *m_actionParser = nullptr;
};

} // namespace Kenro::Ikemen
