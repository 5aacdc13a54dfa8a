#pragma once

#include <kenro/code/codeparser.h>
#include <kenro/code/rootcode.h>
#include <kenro/project/filewatchobject.h>
#include <kenro/project/projectfile.h>

#include <QTextCursor>
#include <QTextDocument>

namespace Kenro {

class CodeDocument;
class CodeDocumentPrivate;
class CodeMark;
class CodeNodeFile;

/**
 * The root of a code document's tree. Its model can be switched off as a
 * whole, so that bulk loads and re-parses reach views as one removal and one
 * insertion.
 */
class KENRO_EXPORT CodeDocumentRoot : public RootCode
{
    Q_OBJECT

public:
    CodeDocumentRoot(CodeDocument *document, short fileType);

    CodeDocument *codeDocument() const;

    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;
    void childChanged(CodeNode *child) override;
    void beginInsert(ParentCode const *parent, int row) override;
    void endInsert() override;
    void beginRemove(ParentCode const *parent, int row) override;
    void endRemove() override;
    void changed(ParentCode const *parent, int row, int column) override;

    QModelIndex index(int row, int column,
                      QModelIndex const &parent = QModelIndex()) const override;
    QModelIndex parent(QModelIndex const &index) const override;
    using RootCode::parent;
    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    int columnCount(QModelIndex const &parent = QModelIndex()) const override;
    bool hasChildren(QModelIndex const &parent = QModelIndex()) const override;
    Qt::ItemFlags flags(QModelIndex const &index) const override;
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

private:
    friend class CodeDocumentPrivate;
    bool isOpen() const;

    CodeDocument *m_document;
};

/**
 * A script file of a project: the text that editors show, a project file
 * that loads and saves itself (always with CRLF line ends, in the background
 * when asked), a watched file, and the root of the code model that a parser
 * keeps in step with the text line by line.
 */
class KENRO_EXPORT CodeDocument : public QTextDocument, public ProjectFile, public FileWatchObject
{
    Q_OBJECT

public:
    explicit CodeDocument(short fileType = -1);
    ~CodeDocument() override;

    /// Sets the version of the tree; always signals.
    virtual void setVersion(unsigned short version);
    /// Replaces the whole text with \a text, as a new unnamed file.
    virtual void fromString(QString const &text);
    /// Formats lines \a first to \a last; only re-indents with \a indentOnly.
    virtual void formatLines(int first, int last, bool indentOnly) = 0;
    /// The icon of \a node in the tree: by value type, from the host.
    virtual QIcon nodeIcon(CodeNode const *node) const;

    QString toString() const;
    QString title() const;
    void setTitle(QString const &title);
    short fileType() const;
    void setFileType(short type, bool signal);
    unsigned short version() const;
    CodeDocumentRoot *root();

    /// The index of the document's codec in TextCodecs.
    int codecId() const;
    void setCodecId(int codec);
    QString codecName() const;
    void setCodec(char const *name);
    /// True when the file had a byte-order mark, which a save writes again.
    bool hasByteOrderMark() const;
    /**
     * The revision of the text at the last load or save. A line whose
     * revision differs has changed since: negative when it changed before
     * that save, positive when it changed after it.
     */
    int savedRevision() const;

    bool hasSyntaxHighlight() const;
    void setSyntaxHighlight(bool highlight);
    CodeParser *parser() const;
    void setParser(CodeParser *parser);
    static void setSyntaxFormat(CodeParserSyntax::TokenType type, QTextCharFormat const &format);

    /// The node of \a block, or null.
    CodeNode *nodeInBlock(QTextBlock const &block) const;
    static CodeNode *nodeFromIndex(QModelIndex const &index);
    /// The line of the node behind \a index; 0 for an invalid index.
    int lineNo(QModelIndex const &index) const;
    /// The deepest node of \a line, as an index of the tree model.
    QModelIndex indexInLine(int line) const;

    QTextCursor cursor() const;
    void setCursor(QTextCursor const &cursor);
    /// Appends \a text at the end through the text change path.
    void insert(QString const &text);
    /// Replaces the selection of \a cursor with \a text through the text change path.
    void insertOnCursor(QString const &text, QTextCursor cursor);
    /// Inserts \a text as lines after \a node (its own line or its section).
    void insertAfter(CodeNode const *node, QString const &text, bool ownLine);
    /// Inserts \a text as lines before \a node (its own line or its section).
    void insertBefore(CodeNode const *node, QString const &text, bool ownLine);
    bool isCodeBeingChanged() const;

    /// Puts \a mark on \a line, counted from 1; false for no such line.
    bool addMark(CodeMark *mark, int line);
    QList<CodeMark *> marksAt(int line) const;
    bool hasMark(CodeMark *mark) const;
    void removeMark(CodeMark *mark);
    void updateMark(CodeMark *mark);

    /**
     * Shows the top-level nodes of \a type (of \a subType for a Group) to
     * \a file, first those already there, then each change. The document
     * takes over one reference on \a file and the file holds one on the
     * document. A file registered before under the same key is let go.
     * A null \a file, or one made for another document, is ignored.
     */
    void registerNodeFile(CodeNodeFile *file, CodeNode::Type type, unsigned int subType = 0);
    /// The file registered for \a type and \a subType, or null.
    CodeNodeFile *nodeFile(CodeNode::Type type, unsigned int subType = 0) const;

    /**
     * Gives up one reference. When the last one that is not a node file's
     * goes, the document lets go of its node files, so that the circle of
     * the two ends as soon as no one else holds either side.
     */
    void release() override;

    // ProjectFile
    QAbstractItemModel *model() override;
    Capabilities capabilities() const override;
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    bool toFile(Archive &archive, QString const &path, unsigned int flags,
                JobStats *stats) override;
    bool fromFile(Archive &archive, QString const &path, unsigned int flags,
                  JobStats *stats) override;
    QString fileName() const override;
    void beginChange() override;
    void endChange() override;
    void undo() override;
    void redo() override;
    QList<SearchResult> search(RegExp const &regExp, unsigned int flags) const override;
    void replace(QList<SearchResult> const &results, QString const &text) override;

    // FileWatchObject
    void reload() override;

    /// Waits for a background save to end.
    void waitForSave() const;

public Q_SLOTS:
    /// Runs the pass over the whole text again, keeping the nodes.
    void rehighlight();

protected:
    /// Drops every node and parses the whole text again.
    void reparse();
    void setFileName(QString const &path);
    /// Called at the end of each pass.
    virtual void codeUpdated();
    /**
     * A top-level node came in at \a index of the root; the node file of its
     * kind hears of it with its index among the nodes of that kind.
     */
    virtual void insertChild(CodeNode *child, unsigned int index);
    /// A top-level node goes; the node file of its kind hears of it.
    virtual void removeChild(CodeNode *child);
    /// A top-level node changed; the node file of its kind hears of it.
    virtual void childChanged(CodeNode *child);
    Messages *fileMessages() const override;

private:
    friend class CodeDocumentPrivate;
    friend class CodeDocumentRoot;
    friend class CodeNodeFile;
    // Takes every entry of \a file out and gives back its references.
    void unregisterNodeFile(CodeNodeFile *file);
    // Reads the file with \a codec, detected when below 0.
    bool readFile(Archive &archive, QString const &path, int codec, unsigned int flags,
                  JobStats *stats);
    void saveFinished(Archive *archive, QIODevice *device, QString const &path, unsigned int flags,
                      JobStats *stats);

    CodeDocumentRoot m_root;
    CodeDocumentPrivate *d;
};

} // namespace Kenro
