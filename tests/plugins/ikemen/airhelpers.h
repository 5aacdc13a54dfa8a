#pragma once

#include <QList>
#include <QRect>
#include <QString>

namespace Kenro {
class CodeDocument;
class FrameCode;
} // namespace Kenro

namespace KenroTest {

/// One frame as a plain reading of the text gives it.
struct ReferenceFrame
{
    QString sprite;
    int x = 0;
    int y = 0;
    int delay = 0;
    int flip = 0;
    int blendMode = 0;
    double blendSource = 1.0;
    double blendDestination = 1.0;
    QList<QRect> attack;
    QList<QRect> collision;
};

/// One action as a plain reading of the text gives it.
struct ReferenceAction
{
    QString identifier;
    int loopStart = 0;
    QList<ReferenceFrame> frames;
};

/**
 * Reads AIR text with regular expressions, line by line, the way the format
 * is documented: the reference that the parser's model is checked against.
 */
QList<ReferenceAction> readReference(QString const &text);

/**
 * A small AIR text with what the format offers: titles, default and own
 * boxes with comments, a loop start, flips and blends, a frame held for ever.
 */
QString airSample();

/// The model of \a document written out: actions, frames with all fields, boxes, loose frames.
QString describe(Kenro::CodeDocument *document);
/// One frame written out.
QString describeFrame(Kenro::FrameCode const *frame);
/// The messages of \a document, one a line: "line:column text".
QString messagesOf(Kenro::CodeDocument *document);

} // namespace KenroTest
