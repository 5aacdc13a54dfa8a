#include "airline.h"

#include <cmath>

namespace Kenro::Ikemen {
namespace AirLine {

bool isSpace(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QChar(0xFEFF) ||
        c == QLatin1Char('\r') || c == QChar(0xA0);
}

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

int commentStart(QStringView text)
{
    int const index = static_cast<int>(text.indexOf(QLatin1Char(';')));
    return index < 0 ? static_cast<int>(text.size()) : index;
}

int skipSpaces(QStringView text, int from, int to)
{
    while (from < to && isSpace(text[from]))
        ++from;
    return from;
}

Span trimmed(QStringView text, Span span)
{
    int start = skipSpaces(text, span.start, span.end);
    int end = span.end;
    while (end > start && isSpace(text[end - 1]))
        --end;
    return {start, end};
}

QList<Span> fields(QStringView text, int from, int to)
{
    QList<Span> result;
    int start = from;
    for (int i = from; i < to; ++i) {
        if (text[i] == QLatin1Char(',')) {
            result.append(trimmed(text, {start, i}));
            start = i + 1;
        }
    }
    result.append(trimmed(text, {start, to}));
    return result;
}

bool readInt(QStringView text, Span span, int *value)
{
    int i = span.start;
    bool negative = false;
    if (i < span.end && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+'))) {
        negative = text[i] == QLatin1Char('-');
        ++i;
    }
    if (i >= span.end)
        return false;
    qint64 result = 0;
    for (; i < span.end; ++i) {
        if (!isDigit(text[i]))
            return false;
        result = result * 10 + (text[i].unicode() - '0');
        if (result > 0x7fffffff)
            return false;
    }
    *value = static_cast<int>(negative ? -result : result);
    return true;
}

bool readReal(QStringView text, Span span, double *value)
{
    int i = span.start;
    double sign = 1.0;
    if (i < span.end && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+'))) {
        sign = text[i] == QLatin1Char('-') ? -1.0 : 1.0;
        ++i;
    }
    double result = 0.0;
    int digits = 0;
    for (; i < span.end && isDigit(text[i]); ++i, ++digits)
        result = result * 10.0 + (text[i].unicode() - '0');
    if (i < span.end && text[i] == QLatin1Char('.')) {
        double scale = 0.1;
        for (++i; i < span.end && isDigit(text[i]); ++i, ++digits, scale /= 10.0)
            result += (text[i].unicode() - '0') * scale;
    }
    if (digits == 0 || i != span.end || !std::isfinite(result))
        return false;
    *value = sign * result;
    return true;
}

QString realText(double value)
{
    // Six decimals are more than any frame needs; zeros behind them go.
    QString text = QString::number(value, 'f', 6);
    while (text.endsWith(QLatin1Char('0')))
        text.chop(1);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    if (text == QLatin1String("-0"))
        text = QStringLiteral("0");
    return text;
}

QString replaced(QString const &line, Span span, QString const &text)
{
    QString result = line;
    result.replace(span.start, span.size(), text);
    return result;
}

QString rewriteFields(QString const &line, int from, QMap<int, QString> const &changes, int keep)
{
    int const codeEnd = commentStart(line);
    // The list runs to the comment; the blanks in front of the comment stay
    // behind the last field, wherever that ends up.
    int listEnd = codeEnd;
    while (listEnd > from && isSpace(line[listEnd - 1]))
        --listEnd;
    QStringView const view(line);
    QList<Span> const spans = fields(view, from, listEnd);
    // Each field as its raw text between commas, blanks included.
    QStringList raw;
    QList<Span> inner; // the trimmed content, relative to the raw text
    int start = from;
    for (Span const &span : spans) {
        int end = static_cast<int>(view.indexOf(QLatin1Char(','), span.end));
        if (end < 0 || end > listEnd)
            end = listEnd;
        raw.append(line.mid(start, end - start));
        inner.append({span.start - start, span.end - start});
        start = end + 1;
    }
    int const wanted = changes.isEmpty() ? 0 : changes.lastKey() + 1;
    while (raw.size() < wanted) {
        raw.append(QStringLiteral(" "));
        inner.append({1, 1});
    }
    for (auto it = changes.cbegin(); it != changes.cend(); ++it) {
        if (it.key() < 0)
            continue;
        QString &field = raw[it.key()];
        Span const span = inner.at(it.key());
        field.replace(span.start, span.size(), it.value());
    }
    while (raw.size() > keep && raw.last().trimmed().isEmpty())
        raw.removeLast();
    return line.left(from) + raw.join(QLatin1Char(',')) + line.mid(listEnd);
}

} // namespace AirLine
} // namespace Kenro::Ikemen
