#pragma once

#include <QIcon>
#include <QString>

class QTextCursor;
class QTextDocument;

namespace Kenro {

class CodeNode;

// What the code nodes ask of the document that holds them. A plain
// QTextDocument keeps no options, belongs to no engine and draws no icons;
// the code document answers for itself.
namespace NodeDocument {

/// Replaces the selection of \a cursor with \a text through the document's text change path.
void replaceText(QTextCursor &cursor, QString const &text);
/// The document's option "preserve_code_formatting".
bool preservesFormatting(QTextDocument const *document);
/// The line comment marker of the document's language; empty for none.
QString lineCommentMarker(QTextDocument const *document);
/// The icon that the tree shows for \a node.
QIcon nodeIcon(QTextDocument const *document, CodeNode const *node);
/// The document's option "parseCode".
bool parsesCode(QTextDocument const *document);

} // namespace NodeDocument
} // namespace Kenro
