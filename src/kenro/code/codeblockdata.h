#pragma once

#include <kenro/kenro_export.h>

#include <QList>
#include <QString>
#include <QTextBlock>
#include <QTextBlockUserData>
#include <QVector>

#include <cstddef>

namespace Kenro {

class CodeDocumentPrivate;
class CodeLink;
class CodeMark;
class CodeNode;
class CodeBlockDataPrivate;

/**
 * What a line of a code document yields: its node, its syntax messages,
 * parentheses and links, its marks and its folding. The document owns it
 * through the line and deletes it when the line goes; the line's node is
 * released with it.
 */
class KENRO_EXPORT CodeBlockData : public QTextBlockUserData
{
public:
    /// A syntax message of the line.
    struct SyntaxMessage
    {
        int type = 0; ///< 0 error, 1 deprecation, 2 warning, 3 other
        int start = 0;
        int end = 0;
        QString text;
    };

    /// A parenthesis of the line.
    struct Parenthesis
    {
        int type = 0; ///< 0 opening, 1 closing
        ushort character = 0;
        unsigned int position = 0;
    };

    ~CodeBlockData() override;

    /// The data of \a block, made when it has none and \a owner is given.
    static CodeBlockData *blockData(QTextBlock const &block, CodeDocumentPrivate *owner);
    /// The data of \a block, or null; never makes one.
    static CodeBlockData *testBlockData(QTextBlock const &block);

    /// The node of the line, or null.
    CodeNode *codeNode() const;
    bool isFolded() const;
    void setFolded(bool folded);
    /// True when the parser reported anything but comments for the line.
    bool isParsed() const;
    /// The nesting depth of the line for fold markers.
    int foldingIndent() const;
    QList<CodeMark *> const &marks() const;
    QList<CodeLink *> const &links() const;
    QVector<SyntaxMessage> const &syntaxMessages() const;
    QVector<Parenthesis> const &parenthesis() const;

private:
    friend class CodeDocumentPrivate;
    friend class CodeDocument;
    CodeBlockData(QTextBlock const &block, CodeDocumentPrivate *owner);
    // The data and its private part are one allocation: a document makes
    // one per line.
    static void *operator new(std::size_t size);
    static void operator delete(void *pointer);

    CodeBlockDataPrivate *d;
};

} // namespace Kenro
