#pragma once

#include <kenro/code/codeblockdata.h>
#include <kenro/code/codeparser.h>
#include <kenro/project/messages.h>

#include <QFutureWatcher>
#include <QMap>
#include <QTextBlock>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QVector>

class QTextDocument;

namespace Kenro {

class Archive;
class CodeDocument;
class CodeNode;
class CodeNodeFile;
class JobStats;
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
    /// The private part of \a document, running its pass on every change.
    explicit CodeDocumentPrivate(CodeDocument *document);
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
    QVector<QTextCharFormat> formatChanges() const;
    /// The node that a new node of \a block follows.
    CodeNode *contextOf(QTextBlock const &block) const;
    /**
     * Puts \a mark on \a line, counted from 1, and tells it its line.
     * Returns false for a line that does not exist.
     */
    bool addMark(CodeMark *mark, int line);

    /// Set while the document is being destroyed: marks are not told.
    bool clearing = false;

    // The code document's side.
    CodeDocument *q = nullptr;
    QTextCursor cursor;
    short changeDepth = 0;
    short messageLock = 0;
    bool inReformat = false;
    bool inPass = false;
    bool reparsePending = false;
    bool rehighlightPending = false;
    bool modelEnabled = true;
    int modelLock = 0;
    int modelRowCount = 0;
    int revision = 0;
    int codec = 0;
    bool byteOrderMark = false;

    // A registered node file. While `held`, the document owns the reference
    // that it was given with the file.
    struct NodeFileEntry
    {
        CodeNodeFile *file = nullptr;
        bool held = false;
    };
    // By subType << 12 | type.
    QMap<unsigned int, NodeFileEntry> nodeFiles;
    // Set while the document lets go of its node files.
    bool releasingNodeFiles = false;

    struct PendingSave
    {
        Archive *archive = nullptr;
        QIODevice *device = nullptr;
        QString path;
        unsigned int flags = 0;
        JobStats *stats = nullptr;
        int codec = 0; // may change on the pool when the text needs another
    };
    QFutureWatcher<void> saveWatcher;
    PendingSave pendingSave;
    bool saving = false;

    // The pass over the lines that an edit touched, and on as long as the
    // line states keep changing; false when it ended in a whole pass.
    bool reformatBlocks(int position, int charsRemoved, int charsAdded);
    // The characters of the lines whose formats or fold markers the last
    // pass changed; -1 for none.
    int changedFrom = -1;
    int changedTo = -1;
    void markChanged(QTextBlock const &block);
    void reformatBlock(QTextBlock const &block, bool highlight);
    void wholeDocumentPass();
    /// The one way in which code changes text.
    void changeText(QTextCursor &cursor, QString const &text);
    void lockModel();
    void unlockModel();
    void markAllSaved();
    /// Ends a finished background save on this thread.
    void completeSave();
    void releaseAllNodes();

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
    void setFoldingIndent(CodeBlockData *data, int indent);
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
    // The formats of the current line, one per character, as indexes into
    // m_formats (0 is the default format): lines are compared and
    // compressed without copying formats.
    QVector<short> m_formatChanges;
    QVector<QTextCharFormat> m_formats{QTextCharFormat()};
    QVector<int> m_formatKeys{-1};
    short formatId(TokenType type, int underline);
    void fillFormat(short id, int start, int end);
};

} // namespace Kenro
