#pragma once

#include <QPlainTextDocumentLayout>

namespace Kenro {

/**
 * The layout of a code document. A pass puts formats on whole lines, which
 * the plain-text layout reads as a change of twice their length: it drops
 * the layouts of the lines below as well and repaints the whole view. The
 * pass that follows a text edit tells the layout which characters really
 * changed, so that a keystroke lays out and repaints its own line.
 */
class CodeDocumentLayout : public QPlainTextDocumentLayout
{
    Q_OBJECT

public:
    explicit CodeDocumentLayout(QTextDocument *document);

    /**
     * The change that the layout hears of next, at the text's \a revision,
     * is the characters [\a first, \a last]. Any other change, or a text at
     * another revision, goes through as it comes.
     */
    void setChange(int revision, int first, int last);

protected:
    void documentChanged(int from, int charsRemoved, int charsAdded) override;

private:
    int m_revision = -1;
    int m_first = 0;
    int m_last = 0;
};

} // namespace Kenro
