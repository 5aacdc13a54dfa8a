#pragma once

#include <kenro/code/codeblockdata.h>
#include <kenro/code/codeparser.h>
#include <kenro/project/messages.h>

#include <QTextBlock>
#include <QTextCharFormat>
#include <QVector>

class QTextDocument;

namespace Kenro {

class CodeNode;
class ProjectFile;
class RootCode;

class CodeBlockDataPrivate
{
public:
    CodeBlockData *nextMessageBlock = nullptr;
    CodeDocumentPrivate *owner = nullptr;
    CodeNode *node = nullptr;
    bool folded = false;
    bool parsed = false;
    int foldingIndent = 0;
    QTextBlock block;
    QList<CodeMark *> marks;
    QList<CodeLink *> links; // owned
    QVector<CodeBlockData::SyntaxMessage> syntaxMessages;
    QVector<CodeBlockData::Parenthesis> parenthesis;
};

/**
 * The pass that highlighting and parsing share, for one document: each line
 * goes to the parser with its old node and the node it is to follow, and
 * what the parser reports lands in the line's block data. The syntax
 * messages of all lines are a Messages model, kept as a chain through the
 * block data in line order. It is to end before the root of its nodes, and
 * releases the lines' nodes when it ends.
 */
class KENRO_EXPORT CodeDocumentPrivate : public Messages, public CodeParserSyntax
{
    Q_OBJECT

public:
    CodeDocumentPrivate(QTextDocument *document, RootCode *root);
    ~CodeDocumentPrivate() override;

    QTextDocument *document() const;
    RootCode *root() const;
    CodeParser *parser() const;
    void setParser(CodeParser *parser);
    /// The project file that the messages are about.
    void setFile(ProjectFile *file);

    /**
     * Parses \a block: finds its context, calls the parser with its old node,
     * keeps what it reports (formats only when \a highlight), and sets the
     * line's state and folding.
     */
    void parseBlock(QTextBlock const &block, bool highlight);
    /// The formats of the characters of the block last parsed.
    QVector<QTextCharFormat> const &formatChanges() const;
    /// The node that a new node of \a block follows.
    CodeNode *contextOf(QTextBlock const &block) const;
    /**
     * Puts \a mark on \a line, counted from 1, and tells it its line.
     * Returns false for a line that does not exist.
     */
    bool addMark(CodeMark *mark, int line);

    /// Set while the document is being destroyed: marks are not told.
    bool clearing = false;

    // Messages
    ProjectFile *file() const override;
    unsigned int count(Message::Type category) const override;
    Message at(unsigned int index, Message::Type category) const override;

    // CodeParserSyntax
    void setFormat(TokenType type, int start, int end) override;
    void addError(TokenType type, QString const &text, int start, int end) override;
    void addDeprecation(TokenType type, QString const &text, int start, int end) override;
    void addWarning(TokenType type, QString const &text, int start, int end) override;
    void addParenthesis(bool opening, QChar character, unsigned int position) override;
    void addLink(CodeLink *link) override;

private:
    friend class CodeBlockData;

    // Takes the messages of \a data out of the list; returns the number of
    // messages in the lines before it.
    int removeMessages(CodeBlockData *data);
    void addMessage(int type, TokenType token, QString const &text, int start, int end,
                    QColor const &underline);
    void updateFoldingIndent(CodeBlockData *data, CodeNode *context);
    static int stateOf(CodeNode *node);

    QTextDocument *m_document;
    RootCode *m_root;
    ProjectFile *m_file = nullptr;
    CodeParser *m_parser = nullptr;
    CodeBlockData *m_currentData = nullptr;
    QTextBlock m_currentBlock;
    unsigned int m_counters[3] = {0, 0, 0};
    QVector<CodeBlockData::SyntaxMessage> m_pendingMessages;
    CodeBlockData *m_firstMessageBlock = nullptr;
    QVector<QTextCharFormat> m_formatChanges;
};

} // namespace Kenro
