#pragma once

#include <kenro/kenro_export.h>

#include <QChar>
#include <QString>
#include <QTextCharFormat>

class QPainter;
class QRect;
class QTextBlock;

namespace Kenro {

class CodeLink;
class CodeNode;
class RootCode;

/**
 * What a parser reports about the line it parses: colours, syntax messages,
 * parentheses and links. The library implements it for each document.
 */
class KENRO_EXPORT CodeParserSyntax
{
public:
    /**
     * An index into the process-wide table of ten formats. Parsers use the
     * numbers; 1 is the type of comments, and a line holding only comments
     * does not count as parsed.
     */
    enum TokenType : int { Comment = 1 };
    /// The number of entries of the format table.
    static constexpr int TokenTypeCount = 10;

    virtual ~CodeParserSyntax();

    /// Characters [start, end) of the line take the format of \a type.
    virtual void setFormat(TokenType type, int start, int end) = 0;
    /// An error over [start, end): the format of \a type, underlined in red.
    virtual void addError(TokenType type, QString const &text, int start, int end) = 0;
    /// A deprecation over [start, end), underlined in orange.
    virtual void addDeprecation(TokenType type, QString const &text, int start, int end) = 0;
    /// A warning over [start, end), underlined in yellow.
    virtual void addWarning(TokenType type, QString const &text, int start, int end) = 0;
    /// A parenthesis of the line, for the editor's matching.
    virtual void addParenthesis(bool opening, QChar character, unsigned int position) = 0;
    /// A link of the line; the line owns it from now on.
    virtual void addLink(CodeLink *link) = 0;

    /// The format of \a type, shared by all documents; a default format out of range.
    static QTextCharFormat syntaxFormat(TokenType type);
    /// Replaces the format of \a type for every document's next pass.
    static void setSyntaxFormat(TokenType type, QTextCharFormat const &format);
};

/**
 * The parser that an extension supplies. The library calls parse() once for
 * each line that changed, with the node that the line had.
 */
class KENRO_EXPORT CodeParser
{
public:
    virtual ~CodeParser();

    /**
     * Parses \a text, the line \a block without its line break. \a oldNode is
     * the line's node (unlinked from the chain for the call), or null: return
     * it to keep it, or return a new node or null to replace it; never
     * release it. New nodes are linked behind \a context, which is never
     * null. \a syntax is null when nothing is to be reported. Several nodes
     * may be made; the first is returned.
     */
    virtual CodeNode *parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                            CodeNode *context, RootCode *root, CodeParserSyntax *syntax) = 0;
};

/**
 * A link in a line of code over the columns [start, end), which the editor
 * underlines and follows on a click; the line owns it.
 */
class KENRO_EXPORT CodeLink
{
public:
    explicit CodeLink(int start = 0, int end = 0);
    virtual ~CodeLink();

    int start() const;
    int end() const;
    /// True when \a column lies in [start, end).
    bool contains(int column) const;
    /// Goes where the link leads; true when it got there. Nothing by default.
    virtual bool follow();

private:
    int m_start;
    int m_end;
};

class CodeDocument;

/// A mark on a line, told when its line moves or goes, drawn beside it by editors.
class KENRO_EXPORT CodeMark
{
public:
    virtual ~CodeMark();
    /// The mark stands on \a line.
    virtual void setLine(int line) = 0;
    /// The mark belongs to \a document.
    virtual void setDocument(CodeDocument *document) = 0;
    /// The mark's line was removed.
    virtual void removed() = 0;
    /// Draws the mark's icon into \a rect; nothing by default.
    virtual void drawIcon(QPainter *painter, QRect const &rect) const;
};

} // namespace Kenro
