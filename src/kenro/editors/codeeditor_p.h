#pragma once

#include <kenro/editors/codeeditor.h>

#include <QBasicTimer>
#include <QHash>
#include <QMap>
#include <QPixmap>
#include <QPointer>
#include <QStaticText>
#include <QTextBlock>
#include <QTextCursor>
#include <QTimer>
#include <QWidget>

class QCompleter;
class QStringListModel;
class QStyle;

namespace Kenro {

class CodeBlockData;
class CodeLink;

/// The band beside the text; all it does is the editor's.
class CodeEditorExtraArea : public QWidget
{
public:
    CodeEditorExtraArea(CodeEditor *editor, CodeEditorPrivate *d);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    CodeEditorPrivate *d;
};

class CodeEditorPrivate : public QObject
{
    Q_OBJECT

public:
    explicit CodeEditorPrivate(CodeEditor *editor);
    ~CodeEditorPrivate() override;

    CodeEditor *q;
    QCompleter *completer;
    QMap<QString, QStringListModel *> completers; // by prefix, owned
    CodeEditor::SyntaxFormatting formatting;
    QTimer blockTimer;
    // The blocks around the cursor, outermost first.
    QList<int> blockStarts, blockEnds, blockIndents;
    QTimer parenTimer;
    int highlightedBlock = -1;
    int pendingBlock = -1;
    QBasicTimer hoverTimer;
    bool mouseInFoldArea = false;
    CodeLink *link = nullptr;
    bool linkPressed = false;
    int markedLine = -1;
    QBasicTimer scrollTimer;
    CodeEditorExtraArea *extraArea;

    QPointer<CodeDocument> document;
    QTextCursor markCursor; // keeps the marked line through edits
    // On the lines whose layouts keep their shaped text: the cursor's line
    // and the two around it.
    QTextCursor cachedLines[3];
    void cacheLines(QTextBlock const &block);
    QList<QTextEdit::ExtraSelection> parenSelections;
    QList<QTextEdit::ExtraSelection> foundSelections;
    QTextEdit::ExtraSelection linkSelection;
    int linkLine = -1;
    bool mouseHidden = false;
    int lastLine = -1;
    int dragAnchor = -1; // the line where a drag over the line numbers began
    int scrollDirection = 0;
    QObject *control = nullptr; // the text control inside the base class
    int editRevision = -1; // the revision of the text edit whose pass runs
    int editBlocks = 0; // the number of lines at the last repaint the layout asked for
    bool toggling = false;
    static QIcon &lineMarkIcon();

    // The visible blocks in view from the top, each with its place in the
    // viewport. Only the first place is looked up; the others follow from
    // the heights, since a place costs a walk from the top.
    class BlocksInView
    {
    public:
        explicit BlocksInView(CodeEditor *editor);
        /// Moves to the next visible block; false past the bottom of the view.
        bool next();
        QTextBlock block;
        QRectF rect;
        bool wasLaidOut = true; ///< whether the block had a layout before the view looked

    private:
        CodeEditor *q;
        QTextBlock m_next;
        qreal m_top = 0;
        bool m_firstLaidOut = true;
    };

    static bool canFold(QTextBlock const &block);
    static int foldingIndent(QTextBlock const &block);
    // The last block of the fold that \a block heads.
    static QTextBlock foldEnd(QTextBlock const &block);

    // Extra selections: the parentheses and the link.
    void updateSelections();
    void matchParentheses();
    void computeBlockHighlight();
    void paintCurrentLine(QPainter &painter);
    void paintBlockRanges(QPainter &painter, QRect const &rect);

    // Completion.
    void complete(QKeyEvent *event);
    void insertCompletion(QString const &word);
    // The run of word characters around the cursor, as [start, end) in its block.
    QPair<int, int> wordAroundCursor() const;

    // Links.
    CodeLink *linkAt(QPoint const &pos, QTextBlock *block) const;
    void showLink(CodeLink *link, QTextBlock const &block);
    void clearLink();

    void hideMouse();
    void showMouse();
    void clearFoldHighlight();
    void onCursorMoved();
    void onContentsChange(int position, int removed, int added);
    // The repaints that the document's layout asks for pass through here.
    void takeLayoutUpdates();
    void onLayoutUpdate(QRectF const &rect);

    // The band.
    // The line numbers drawn so far, plain and bold, each laid out once in numberFont.
    QHash<int, QStaticText> numberTexts[2];
    QFont numberFont;
    QStaticText const &numberText(int number, bool bold, QFont const &font);
    // The fold boxes, open and closed, as the style drew them for foldBoxKey.
    struct FoldBoxKey
    {
        QStyle const *style = nullptr;
        qint64 palette = 0;
        QSize size;
        qreal ratio = 0;
        bool operator==(FoldBoxKey const &other) const
        {
            return style == other.style && palette == other.palette && size == other.size &&
                ratio == other.ratio;
        }
    };
    QPixmap foldBoxes[2];
    FoldBoxKey foldBoxKey;

    int foldBoxWidth() const;
    int bandWidth() const;
    void updateBandWidth();
    void updateBand(QRect const &rect, int dy);
    // Repaints the row of \a line, in the text and in the band.
    void updateRow(int line);
    void paintBand(QPaintEvent *event);
    void paintFoldBox(QPainter &painter, QRect const &box, bool folded);
    void drawFoldBox(QPainter &painter, QRect const &box, bool folded);
    QTextBlock blockAtY(int y) const;
    bool inFoldArea(int x) const;
    void bandPress(QMouseEvent *event);
    void bandMove(QMouseEvent *event);
    void bandRelease(QMouseEvent *event);
    void bandLeave();
    void selectLines(int from, int to);

protected:
    void timerEvent(QTimerEvent *event) override;
};

} // namespace Kenro
