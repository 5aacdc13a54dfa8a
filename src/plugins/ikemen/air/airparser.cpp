#include "airparser.h"

#include "airline.h"
#include "airnodes.h"

#include <algorithm>
#include <iterator>

using namespace Kenro;

namespace Kenro::Ikemen {

namespace {

using AirLine::isDigit;
using AirLine::isSpace;
using AirLine::skipSpaces;

bool isLetter(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
        (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
}

// One line, read with what it reports.
class LineReader
{
public:
    LineReader(QString const &text, CodeParserSyntax *syntax)
        : text(text), syntax(syntax), size(static_cast<int>(text.size()))
    {
        codeEnd = AirLine::commentStart(text);
        int end = codeEnd;
        while (end > 0 && isSpace(text[end - 1]))
            --end;
        trimmedEnd = end;
    }

    void format(AirParser::Token token, int start, int end)
    {
        if (syntax && end > start)
            syntax->setFormat(static_cast<CodeParserSyntax::TokenType>(token), start, end);
    }

    // An error over [start, end); an empty span marks the character before it.
    void error(QString const &message, int start, int end)
    {
        if (!syntax)
            return;
        if (end <= start) {
            start = qMax(0, qMin(start, trimmedEnd) - 1);
            end = start + 1;
        }
        syntax->addError(static_cast<CodeParserSyntax::TokenType>(AirParser::Error), message, start,
                         end);
    }

    void warning(QString const &message, int start, int end)
    {
        if (syntax)
            syntax->addWarning(static_cast<CodeParserSyntax::TokenType>(AirParser::Error), message,
                               start, end);
    }

    // True when [from, trimmedEnd) holds nothing; reports what is there otherwise.
    bool expectEnd(int from)
    {
        from = skipSpaces(text, from, trimmedEnd);
        if (from >= trimmedEnd)
            return true;
        error(QStringLiteral("Unexpected text at the end of the line"), from, trimmedEnd);
        return false;
    }

    // A case-insensitive word at \a at; the index behind it, or -1.
    int word(int at, QLatin1String expected) const
    {
        int const end = at + static_cast<int>(expected.size());
        if (end > codeEnd ||
            QStringView(text).mid(at, expected.size()).compare(expected, Qt::CaseInsensitive) != 0)
            return -1;
        return end;
    }

    // An integer at \a at (after blanks): its span, or an empty span at the fault.
    Span integer(int at, int *value)
    {
        int const start = skipSpaces(text, at, codeEnd);
        int end = start;
        if (end < codeEnd && (text[end] == QLatin1Char('-') || text[end] == QLatin1Char('+')))
            ++end;
        while (end < codeEnd && isDigit(text[end]))
            ++end;
        if (!AirLine::readInt(text, {start, end}, value))
            return {start, start};
        format(AirParser::Number, start, end);
        return {start, end};
    }

    QString const &text;
    CodeParserSyntax *syntax;
    int size;
    int codeEnd;
    int trimmedEnd;
};

template<typename Node>
Node *reuse(CodeNode *oldNode, CodeNode::Type type)
{
    return oldNode && oldNode->type() == type ? dynamic_cast<Node *>(oldNode) : nullptr;
}

// "[Begin Action n]".
CodeNode *parseHeading(LineReader &line, int start, QTextBlock const &block, CodeNode *oldNode,
                       CodeNode *context)
{
    QString const &text = line.text;
    int const close =
        static_cast<int>(QStringView(text).left(line.codeEnd).indexOf(QLatin1Char(']'), start));
    if (line.syntax)
        line.syntax->addParenthesis(true, QLatin1Char('['), static_cast<unsigned int>(start));
    if (close < 0) {
        line.error(QStringLiteral("Missing ']' at the end of the heading"), start, line.trimmedEnd);
        return nullptr;
    }
    if (line.syntax)
        line.syntax->addParenthesis(false, QLatin1Char(']'), static_cast<unsigned int>(close));
    line.format(AirParser::Heading, start, close + 1);
    int at = skipSpaces(text, start + 1, close);
    int next = line.word(at, QLatin1String("begin"));
    if (next > 0)
        next = line.word(skipSpaces(text, next, close), QLatin1String("action"));
    if (next < 0 || (next < close && !isSpace(text[next]))) {
        line.error(QStringLiteral("Unknown section: only [Begin Action n] is known"), start,
                   close + 1);
        return nullptr;
    }
    int number = 0;
    Span const span = line.integer(next, &number);
    if (span.size() == 0) {
        line.error(QStringLiteral("The action number is missing"), span.start, span.start + 1);
        return nullptr;
    }
    if (skipSpaces(text, span.end, close) != close) {
        line.error(QStringLiteral("Unexpected text after the action number"), span.end, close);
        return nullptr;
    }
    line.expectEnd(close + 1);
    if (auto *animation = reuse<AirAnimation>(oldNode, CodeNode::Animation)) {
        animation->setNumber(number);
        return animation;
    }
    return new AirAnimation(number, block, context);
}

// "Clsn1: n", "Clsn2Default: n", "Clsn1[i] = x1, y1, x2, y2".
CodeNode *parseClsn(LineReader &line, int start, QTextBlock const &block, CodeNode *oldNode,
                    CodeNode *context)
{
    QString const &text = line.text;
    int at = start + 4;
    if (at >= line.codeEnd || (text[at] != QLatin1Char('1') && text[at] != QLatin1Char('2'))) {
        line.error(QStringLiteral("Clsn1 or Clsn2 expected"), start, at + 1);
        return nullptr;
    }
    ContactBoxCode::BoxType const type =
        text[at] == QLatin1Char('1') ? ContactBoxCode::Attack : ContactBoxCode::Collision;
    ++at;
    int const afterDefault = line.word(at, QLatin1String("default"));
    bool const isDefault = afterDefault > 0;
    if (isDefault)
        at = afterDefault;
    line.format(AirParser::Keyword, start, at);
    at = skipSpaces(text, at, line.codeEnd);
    if (at < line.codeEnd && text[at] == QLatin1Char(':')) {
        int count = 0;
        Span const span = line.integer(at + 1, &count);
        if (span.size() == 0 || count < 0) {
            line.error(QStringLiteral("The number of boxes is missing"), span.start,
                       qMax(span.end, span.start + 1));
            return nullptr;
        }
        line.expectEnd(span.end);
        if (auto *value = reuse<AirValue>(oldNode, CodeNode::Value)) {
            if (value->update(AirValue::BoxHeader, type, isDefault, count, QString()))
                return value;
        }
        return AirValue::header(type, isDefault, count, block, context);
    }
    if (isDefault || at >= line.codeEnd || text[at] != QLatin1Char('[')) {
        line.error(QStringLiteral("':' and the number of boxes expected"), at,
                   qMax(at + 1, line.trimmedEnd));
        return nullptr;
    }
    if (line.syntax)
        line.syntax->addParenthesis(true, QLatin1Char('['), static_cast<unsigned int>(at));
    int index = 0;
    Span const indexSpan = line.integer(at + 1, &index);
    if (indexSpan.size() == 0 || index < 0) {
        line.error(QStringLiteral("The box index is missing"), indexSpan.start,
                   indexSpan.start + 1);
        return nullptr;
    }
    at = skipSpaces(text, indexSpan.end, line.codeEnd);
    if (at >= line.codeEnd || text[at] != QLatin1Char(']')) {
        line.error(QStringLiteral("Missing ']' after the box index"), at, at + 1);
        return nullptr;
    }
    if (line.syntax)
        line.syntax->addParenthesis(false, QLatin1Char(']'), static_cast<unsigned int>(at));
    at = skipSpaces(text, at + 1, line.codeEnd);
    if (at >= line.codeEnd || text[at] != QLatin1Char('=')) {
        line.error(QStringLiteral("'=' expected"), at, at + 1);
        return nullptr;
    }
    QList<Span> const fields = AirLine::fields(text, at + 1, line.trimmedEnd);
    int values[4] = {0, 0, 0, 0};
    for (int i = 0; i < 4; ++i) {
        Span const span = i < fields.size() ? fields.at(i) : Span{line.trimmedEnd, line.trimmedEnd};
        if (!AirLine::readInt(text, span, &values[i])) {
            line.error(span.size() == 0 ? QStringLiteral("A box needs four coordinates")
                                        : QStringLiteral("A whole number expected"),
                       span.start, span.end);
            return nullptr;
        }
        line.format(AirParser::Number, span.start, span.end);
    }
    if (fields.size() > 4) {
        line.error(QStringLiteral("A box has four coordinates"), fields.at(4).start,
                   line.trimmedEnd);
        return nullptr;
    }
    // A box belongs to the header above it, whatever its own name says.
    ContactBoxCode::BoxType boxType = type;
    CodeNode *above = context;
    while (above && above->type() == CodeNode::HitBox)
        above = above->previous();
    if (auto *header =
            above && above->type() == CodeNode::Value ? dynamic_cast<AirValue *>(above) : nullptr) {
        if (header->kind() == AirValue::BoxHeader && header->boxType() != type) {
            boxType = header->boxType();
            line.warning(QStringLiteral("A Clsn%1 box under a Clsn%2 header is a Clsn%2 box")
                             .arg(type == ContactBoxCode::Attack ? 1 : 2)
                             .arg(boxType == ContactBoxCode::Attack ? 1 : 2),
                         start, start + 5);
        }
    }
    QRect const corners(QPoint(values[0], values[1]), QPoint(values[2], values[3]));
    if (auto *box = reuse<AirBox>(oldNode, CodeNode::HitBox)) {
        box->update(boxType, index, corners);
        return box;
    }
    return new AirBox(boxType, index, corners, block, context);
}

CodeNode *parseKeyword(LineReader &line, int start, QTextBlock const &block, CodeNode *oldNode,
                       CodeNode *context)
{
    if (line.word(start, QLatin1String("clsn")) > 0)
        return parseClsn(line, start, block, oldNode, context);
    QString const &text = line.text;
    int end = start;
    while (end < line.codeEnd && isLetter(text[end]))
        ++end;
    AirValue::Kind kind;
    QString what;
    if (line.word(start, QLatin1String("loopstart")) == end) {
        kind = AirValue::LoopStart;
        line.format(AirParser::Keyword, start, end);
        line.expectEnd(end);
    } else if (line.word(start, QLatin1String("interpolate")) == end) {
        kind = AirValue::Interpolate;
        int const from = skipSpaces(text, end, line.codeEnd);
        int to = from;
        while (to < line.codeEnd && isLetter(text[to]))
            ++to;
        what = text.mid(from, to - from);
        static char const *const known[] = {"offset", "blend", "scale", "angle"};
        bool const valid = std::any_of(std::begin(known), std::end(known), [&](char const *name) {
            return what.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
        });
        if (!valid) {
            line.error(QStringLiteral("Offset, Blend, Scale or Angle expected"), from,
                       qMax(to, from + 1));
            return nullptr;
        }
        line.format(AirParser::Keyword, start, to);
        line.expectEnd(to);
    } else {
        line.error(QStringLiteral("Unknown keyword"), start, qMax(end, start + 1));
        return nullptr;
    }
    if (auto *value = reuse<AirValue>(oldNode, CodeNode::Value)) {
        if (value->update(kind, ContactBoxCode::Collision, false, true, what))
            return value;
    }
    return new AirValue(kind, what, block, context);
}

bool readFlip(QStringView text, unsigned char *flip)
{
    QString const upper = text.toString().toUpper();
    if (upper.isEmpty())
        *flip = FrameCode::None;
    else if (upper == QLatin1String("H"))
        *flip = FrameCode::Horizontal;
    else if (upper == QLatin1String("V"))
        *flip = FrameCode::Vertical;
    else if (upper == QLatin1String("HV") || upper == QLatin1String("VH"))
        *flip = FrameCode::Both;
    else
        return false;
    return true;
}

bool readBlend(QStringView text, FrameCode::Blend *blend)
{
    using Blend = FrameCode::Blend;
    QString const upper = text.toString().toUpper();
    if (upper.isEmpty()) {
        *blend = Blend();
    } else if (upper == QLatin1String("A")) {
        *blend = Blend(Blend::Addition, 1.0, 1.0);
    } else if (upper == QLatin1String("A1")) {
        *blend = Blend(Blend::Addition, 1.0, 0.5);
    } else if (upper == QLatin1String("S")) {
        *blend = Blend(Blend::Subtraction, 1.0, 1.0);
    } else if (upper.startsWith(QLatin1String("AS"))) {
        // "AS<source>D<destination>", each from 0 to 256.
        int const d = static_cast<int>(upper.indexOf(QLatin1Char('D')));
        int source = 0;
        int destination = 0;
        if (d < 0 || !AirLine::readInt(upper, {2, d}, &source) ||
            !AirLine::readInt(upper, {d + 1, static_cast<int>(upper.size())}, &destination) ||
            source < 0 || source > 256 || destination < 0 || destination > 256)
            return false;
        *blend = Blend(Blend::Addition, source / 256.0, destination / 256.0);
    } else {
        return false;
    }
    return true;
}

// "group, image, x, y, time[, flip[, blend[, xscale, yscale[, angle]]]]".
CodeNode *parseFrame(LineReader &line, int start, QTextBlock const &block, CodeNode *oldNode,
                     CodeNode *context)
{
    QString const &text = line.text;
    QList<Span> const fields = AirLine::fields(text, start, line.trimmedEnd);
    static char const *const names[] = {"sprite group", "sprite number", "x offset", "y offset",
                                        "time"};
    AirFrame::Fields values;
    int *const integers[] = {&values.group, &values.image, &values.x, &values.y, &values.delay};
    for (int i = 0; i < 5; ++i) {
        if (i >= fields.size()) {
            line.error(QStringLiteral("The %1 is missing").arg(QLatin1String(names[i])),
                       line.trimmedEnd, line.trimmedEnd);
            return nullptr;
        }
        Span const span = fields.at(i);
        if (!AirLine::readInt(text, span, integers[i])) {
            line.error(
                span.size() == 0
                    ? QStringLiteral("The %1 is missing").arg(QLatin1String(names[i]))
                    : QStringLiteral("The %1 must be a whole number").arg(QLatin1String(names[i])),
                span.start, span.end);
            return nullptr;
        }
        line.format(AirParser::Number, span.start, span.end);
    }
    // Optional fields that are wrong are reported, and take their defaults.
    if (fields.size() > 5) {
        Span const span = fields.at(5);
        if (readFlip(QStringView(text).mid(span.start, span.size()), &values.flip))
            line.format(AirParser::Flag, span.start, span.end);
        else
            line.error(QStringLiteral("Flip is H, V or HV"), span.start, span.end);
    }
    if (fields.size() > 6) {
        Span const span = fields.at(6);
        if (readBlend(QStringView(text).mid(span.start, span.size()), &values.blend))
            line.format(AirParser::Flag, span.start, span.end);
        else
            line.error(QStringLiteral("Blend is A, A1, S or AS<n>D<m>"), span.start, span.end);
    }
    double *const reals[] = {&values.scaleX, &values.scaleY, &values.angle};
    for (int i = 7; i < qMin(10, static_cast<int>(fields.size())); ++i) {
        Span const span = fields.at(i);
        if (span.size() == 0)
            continue;
        if (AirLine::readReal(text, span, reals[i - 7]))
            line.format(AirParser::Number, span.start, span.end);
        else
            line.error(QStringLiteral("A number expected"), span.start, span.end);
    }
    if (fields.size() > 10)
        line.warning(QStringLiteral("Fields past the angle are ignored"), fields.at(10).start,
                     line.trimmedEnd);
    if (auto *frame = reuse<AirFrame>(oldNode, CodeNode::Frame)) {
        frame->update(values);
        return frame;
    }
    return new AirFrame(values, block, context);
}

} // namespace

CodeNode *AirParser::parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                           CodeNode *context, RootCode *, CodeParserSyntax *syntax)
{
    LineReader line(text, syntax);
    line.format(Comment, line.codeEnd, line.size);
    int const start = skipSpaces(text, 0, line.codeEnd);
    if (start >= line.trimmedEnd)
        return nullptr;
    QChar const first = text[start];
    if (first == QLatin1Char('['))
        return parseHeading(line, start, block, oldNode, context);
    if (isLetter(first))
        return parseKeyword(line, start, block, oldNode, context);
    if (isDigit(first) || first == QLatin1Char('-') || first == QLatin1Char('+'))
        return parseFrame(line, start, block, oldNode, context);
    line.error(QStringLiteral("A frame, a box or a heading expected"), start, line.trimmedEnd);
    return nullptr;
}

} // namespace Kenro::Ikemen
