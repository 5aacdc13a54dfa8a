#pragma once

#include <kenro/kenro_export.h>

#include <QColor>
#include <QPlainTextEdit>
#include <QTextCharFormat>

class QIcon;

namespace Kenro {

class CodeDocument;
class CodeEditorPrivate;

/**
 * The text widget of a code document. Beside the text stands a band with
 * line numbers, marks, change bars and fold markers. Folding follows the
 * folding indent of the code model, parenthesis matching the parentheses
 * that the parser reported, links are followed with Ctrl and a click, and
 * words complete from prefix word lists. Everything the widget knows of the
 * text comes from the document's block data: it never parses on its own.
 */
class KENRO_EXPORT CodeEditor : public QPlainTextEdit
{
    Q_OBJECT

public:
    /// What the editor shows, and how.
    struct SyntaxFormatting
    {
        bool showRevisions = true; ///< a change bar beside edited lines
        bool lineNumbers = true; ///< "code_line_numbers"
        bool showMarks = true; ///< the icon column of marks
        bool showLinks = true; ///< links underlined under the mouse with Ctrl
        bool foldingMarkers = true; ///< "code_folding_markers"
        bool highlightLine = true; ///< "code_highlight_line"
        bool highlightBlocks = false; ///< "code_highlight_blocks"
        bool parenRange = true; ///< the text between matching parentheses marked too
        bool parenMatching = true; ///< "code_paren_matching"
        QColor lineColor = QColor(Qt::yellow).lighter(160); ///< the current line
        QColor blockRangeColor; ///< the blocks around the cursor; invalid: from the palette
        QTextCharFormat parenMatch;
        QTextCharFormat parenRangeFormat;
        QTextCharFormat parenMismatch;
        QTextCharFormat link;

        SyntaxFormatting();
    };

    /// A place in the text and the scroll bar's value there.
    struct LinePos
    {
        int line = 0;
        int column = 0;
        int scrollValue = 0;
    };

    /// Where setCurrentLine() puts the line in the view.
    enum LineType : int { Top = 0, Bottom = 1, Centre = 2 };

    explicit CodeEditor(QWidget *parent = nullptr);
    ~CodeEditor() override;

    /// Shows \a document (null for none); the editor does not own it.
    void setDocument(CodeDocument *document);
    /// The document shown, or null.
    CodeDocument *codeDocument() const;

    SyntaxFormatting const &syntaxFormatting() const;
    /// Takes \a formatting and repaints.
    void setSyntaxFormatting(SyntaxFormatting const &formatting);
    /**
     * Sets \a font as a fixed-pitch type-writer font, and tab stops of four
     * blanks scaled by the window's DPI.
     */
    void setFont(QFont const &font);

    /**
     * Reads the word lists of completion from the XML file \a fileName:
     * "model" elements with a "prefix", each holding "word" elements with a
     * "value". A list replaces the one of the same prefix. False when the
     * file cannot be read or is no such XML.
     */
    bool completerFromFile(QString const &fileName);

    /// The line and column of the cursor, and the scroll bar's value.
    LinePos currentLine() const;
    /// Puts the cursor at \a pos and the scroll bar at its value.
    void setCurrentLine(LinePos const &pos);
    /// Puts the cursor on \a line, scrolled so that the line stands where \a type says.
    void setCurrentLine(unsigned int line, LineType type);
    /// Marks the line of the cursor with the line mark icon, or takes the mark away.
    void markCurrentLine(bool mark);
    /// The marked line, following its text through edits; -1 for none.
    int markedLine() const;
    /// The icon of the marked line, for all editors.
    static void setLineMarkIcon(QIcon const &icon);
    /// The number of lines that the view shows at once.
    int displayedLineCount() const;
    /// Marks \a selections, such as search hits, under the editor's own; empty clears them.
    void setFoundSelections(QList<QTextEdit::ExtraSelection> const &selections);
    /// Works out the highlight of the blocks around the cursor again.
    void updateBlockHighlight();
    /**
     * Folds the lines below \a block that are deeper than it, or unfolds
     * them; a nested block that is folded stays closed. Nothing happens for a
     * block that has nothing below it to fold.
     */
    void toggleBlockVisible(QTextBlock const &block);

Q_SIGNALS:
    /// The cursor moved: x is its line, y its column, both from 0.
    void cursorChanged(QPoint position);
    /// The cursor went to another line.
    void currentLineChanged(int line);

protected:
    bool event(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    friend class CodeEditorPrivate;
    CodeEditorPrivate *d;
};

} // namespace Kenro
