#include "codedocumentlayout_p.h"

#include <QTextDocument>

namespace Kenro {

CodeDocumentLayout::CodeDocumentLayout(QTextDocument *document) : QPlainTextDocumentLayout(document)
{}

void CodeDocumentLayout::setChange(int revision, int first, int last)
{
    m_revision = revision;
    m_first = first;
    m_last = last;
}

void CodeDocumentLayout::documentChanged(int from, int charsRemoved, int charsAdded)
{
    // The base class lays out again from the line of `from` to the line of
    // the last character that the removed and added counts reach together.
    if (m_revision >= 0 && m_revision == document()->revision() && m_last >= m_first) {
        from = m_first;
        charsRemoved = 0;
        charsAdded = m_last - m_first + 1;
    }
    m_revision = -1;
    QPlainTextDocumentLayout::documentChanged(from, charsRemoved, charsAdded);
}

} // namespace Kenro
