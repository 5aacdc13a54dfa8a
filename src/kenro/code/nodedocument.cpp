#include "nodedocument_p.h"

#include <kenro/code/codedocument.h>

#include <QTextCursor>
#include <QTextDocument>

namespace Kenro {
namespace NodeDocument {

namespace {

CodeDocument *codeDocument(QTextDocument const *document)
{
    return qobject_cast<CodeDocument *>(const_cast<QTextDocument *>(document));
}

} // namespace

void replaceText(QTextCursor &cursor, QString const &text)
{
    if (CodeDocument *document = codeDocument(cursor.document()))
        document->insertOnCursor(text, cursor);
    else
        cursor.insertText(text);
}

bool preservesFormatting(QTextDocument const *document)
{
    CodeDocument const *code = codeDocument(document);
    return code && code->option(QStringLiteral("preserve_code_formatting")).toBool();
}

QString lineCommentMarker(QTextDocument const *)
{
    // The engine's language description tells the marker; until engines
    // exist, no language has one.
    return QString();
}

QIcon nodeIcon(QTextDocument const *document, CodeNode const *node)
{
    CodeDocument const *code = codeDocument(document);
    return code ? code->nodeIcon(node) : QIcon();
}

bool parsesCode(QTextDocument const *document)
{
    CodeDocument const *code = codeDocument(document);
    return !code || code->option(QStringLiteral("parseCode"), true).toBool();
}

} // namespace NodeDocument
} // namespace Kenro
