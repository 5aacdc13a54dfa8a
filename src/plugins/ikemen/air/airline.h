#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringView>

namespace Kenro::Ikemen {

/// A part of a line: characters [start, end).
struct Span
{
    int start = 0;
    int end = 0;
    int size() const { return end - start; }
};

/**
 * The pieces of one line of an AIR file, as the parser and the rewriting
 * of lines see them: where the comment starts, and the comma-separated
 * fields of a list with their blanks trimmed.
 */
namespace AirLine {

/// Blanks, tabs and the byte-order mark.
bool isSpace(QChar c);
bool isDigit(QChar c);
/// The index of the comment marker ';', or the length of \a text.
int commentStart(QStringView text);
/// The first character at or after \a from that is no blank, at most \a to.
int skipSpaces(QStringView text, int from, int to);
/// \a span trimmed of blanks at both ends; an empty field keeps its place after the blanks.
Span trimmed(QStringView text, Span span);
/// The fields of the comma-separated list in [from, to), each trimmed.
QList<Span> fields(QStringView text, int from, int to);
/// Reads a decimal integer with an optional sign filling \a span; false if it is none.
bool readInt(QStringView text, Span span, int *value);
/// Reads a decimal number with an optional sign and fraction filling \a span.
bool readReal(QStringView text, Span span, double *value);
/// \a value as written in AIR text: no exponent, no trailing zeros.
QString realText(double value);

/**
 * \a line with the fields of its list that starts at \a from changed as
 * \a changes says (field index to new text). Fields past the end are
 * appended after ", "; trailing empty fields past \a keep fields go. Blanks
 * and the comment of the line stay where they were.
 */
QString rewriteFields(QString const &line, int from, QMap<int, QString> const &changes, int keep);

/// \a line with \a span replaced by \a text.
QString replaced(QString const &line, Span span, QString const &text);

} // namespace AirLine
} // namespace Kenro::Ikemen
