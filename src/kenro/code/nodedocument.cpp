#include "nodedocument_p.h"

#include <QTextCursor>
#include <QTextDocument>

namespace Kenro {
namespace NodeDocument {

void replaceText(QTextCursor &cursor, QString const &text)
{
    cursor.insertText(text);
}

bool preservesFormatting(QTextDocument const *)
{
    return false;
}

QString lineCommentMarker(QTextDocument const *)
{
    return QString();
}

QIcon nodeIcon(QTextDocument const *, CodeNode const *)
{
    return QIcon();
}

bool parsesCode(QTextDocument const *)
{
    return true;
}

} // namespace NodeDocument
} // namespace Kenro
