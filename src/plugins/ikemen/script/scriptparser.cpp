#include "scriptparser.h"

#include "scriptkeywords.h"
#include "scriptlinks.h"
#include "scriptvalue.h"

#include <kenro/code/codedocument.h>
#include <kenro/code/rootcode.h>

#include <QPoint>
#include <QPointF>

#include <array>

namespace Kenro::Ikemen {

namespace {

// The lines are read by hand: the parser runs for every line of a loaded
// script, and a state file has tens of thousands of them.

bool isSpace(QChar c)
{
    return c == QLatin1Char(' ') || (c >= QLatin1Char('\t') && c <= QLatin1Char('\r')) ||
        c.isSpace();
}
bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}
bool isLetter(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
        (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) || c == QLatin1Char('_');
}

qsizetype skipSpaces(QStringView text, qsizetype i, qsizetype end)
{
    while (i < end && isSpace(text[i]))
        ++i;
    return i;
}
qsizetype trimEnd(QStringView text, qsizetype begin, qsizetype end)
{
    while (end > begin && isSpace(text[end - 1]))
        --end;
    return end;
}

// Reports to the syntax of the line, if there is one to report to.
class Report
{
public:
    explicit Report(CodeParserSyntax *syntax) : m_syntax(syntax) {}

    void format(ScriptParser::Token token, qsizetype start, qsizetype end) const
    {
        if (m_syntax && end > start)
            m_syntax->setFormat(type(token), static_cast<int>(start), static_cast<int>(end));
    }
    void error(QString const &text, qsizetype start, qsizetype end) const
    {
        if (m_syntax)
            m_syntax->addError(type(ScriptParser::Invalid), text, static_cast<int>(start),
                               static_cast<int>(qMax(end, start + 1)));
    }
    void parenthesis(bool opening, QChar character, qsizetype position) const
    {
        if (m_syntax)
            m_syntax->addParenthesis(opening, character, static_cast<unsigned int>(position));
    }
    bool reporting() const { return m_syntax; }
    void link(CodeLink *link) const { m_syntax->addLink(link); }

private:
    static CodeParserSyntax::TokenType type(ScriptParser::Token token)
    {
        return static_cast<CodeParserSyntax::TokenType>(token);
    }
    CodeParserSyntax *m_syntax;
};

// One line, split into its code and its comment.
struct Line
{
    QStringView text;
    qsizetype begin = 0; // first non-blank character of the code
    qsizetype end = 0; // behind the last non-blank character of the code
    qsizetype comment = 0; // the ";" of the comment, or the length of the line
    qsizetype openQuote = -1; // a double quote that is never closed, or -1

    explicit Line(QStringView line) : text(line)
    {
        qsizetype start = 0;
        // A byte-order mark kept in the text counts as blank.
        if (!line.isEmpty() && line.front() == QChar(0xFEFF))
            start = 1;
        comment = line.size();
        bool quoted = false;
        qsizetype quote = -1;
        for (qsizetype i = start; i < line.size(); ++i) {
            QChar const c = line[i];
            if (c == QLatin1Char('"')) {
                quoted = !quoted;
                quote = i;
            } else if (c == QLatin1Char(';') && !quoted) {
                comment = i;
                break;
            }
        }
        if (quoted)
            openQuote = quote;
        begin = skipSpaces(line, start, comment);
        end = trimEnd(line, begin, comment);
    }

    bool isEmpty() const { return begin == end; }
    QStringView code() const { return text.mid(begin, end - begin); }
};

// "-12", "+3", ".5", "1.", "2.25": a number, and whether it has a fraction.
bool readNumber(QStringView text, double *value, bool *isReal)
{
    qsizetype i = 0;
    if (i < text.size() && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+')))
        ++i;
    qsizetype digits = 0;
    bool dot = false;
    for (; i < text.size(); ++i) {
        if (isDigit(text[i]))
            ++digits;
        else if (text[i] == QLatin1Char('.') && !dot)
            dot = true;
        else
            return false;
    }
    if (digits == 0)
        return false;
    bool ok = false;
    *value = text.toDouble(&ok);
    if (!ok) {
        // "1." and ".5" are numbers to the runtime, whatever the locale of
        // QString says.
        QString fixed = text.toString();
        if (fixed.endsWith(QLatin1Char('.')))
            fixed += QLatin1Char('0');
        *value = fixed.toDouble(&ok);
    }
    // Integers past the range of int are kept as reals.
    *isReal = dot || *value > 2147483647.0 || *value < -2147483648.0;
    return ok;
}

// A value of comma-separated numbers: Int, Float, or a vector of them.
bool readNumbers(QStringView text, ValueCode::Type *type, QVariant *value)
{
    if (text.isEmpty())
        return false;
    QList<double> numbers;
    bool real = false;
    qsizetype start = 0;
    while (true) {
        qsizetype comma = text.indexOf(QLatin1Char(','), start);
        qsizetype const stop = comma < 0 ? text.size() : comma;
        double number = 0;
        bool isReal = false;
        if (!readNumber(text.mid(start, stop - start).trimmed(), &number, &isReal))
            return false;
        real = real || isReal;
        numbers.append(number);
        if (comma < 0)
            break;
        start = comma + 1;
    }
    qsizetype const count = numbers.size();
    if (count == 1) {
        *type = real ? ValueCode::Float : ValueCode::Int;
        *value = real ? QVariant(numbers[0]) : QVariant(static_cast<int>(numbers[0]));
    } else if (count == 2) {
        *type = real ? ValueCode::FloatVec2 : ValueCode::IntVec2;
        *value = real
            ? QVariant(QPointF(numbers[0], numbers[1]))
            : QVariant(QPoint(static_cast<int>(numbers[0]), static_cast<int>(numbers[1])));
    } else {
        static constexpr std::array realTypes = {ValueCode::FloatVec3, ValueCode::FloatVec4,
                                                 ValueCode::FloatVector};
        static constexpr std::array intTypes = {ValueCode::IntVec3, ValueCode::IntVec4,
                                                ValueCode::IntVector};
        qsizetype const index = qMin<qsizetype>(count - 3, 2);
        *type = real ? realTypes[index] : intTypes[index];
        QVariantList list;
        list.reserve(count);
        for (double number : numbers)
            list.append(real ? QVariant(number) : QVariant(static_cast<int>(number)));
        *value = list;
    }
    return true;
}

// A value naming a file: one word ending in an extension of the content.
bool isFileName(QStringView text)
{
    static constexpr std::array extensions = {
        QLatin1String("act"), QLatin1String("ai"),  QLatin1String("air"),  QLatin1String("cmd"),
        QLatin1String("cns"), QLatin1String("def"), QLatin1String("flac"), QLatin1String("fnt"),
        QLatin1String("lua"), QLatin1String("mid"), QLatin1String("mp3"),  QLatin1String("ogg"),
        QLatin1String("pcx"), QLatin1String("png"), QLatin1String("sff"),  QLatin1String("snd"),
        QLatin1String("st"),  QLatin1String("txt"), QLatin1String("wav"),  QLatin1String("zss")};
    qsizetype const dot = text.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0)
        return false;
    for (QChar c : text) {
        if (isSpace(c) || c == QLatin1Char(',') || c == QLatin1Char('(') || c == QLatin1Char('"'))
            return false;
    }
    QStringView const extension = text.mid(dot + 1);
    for (QLatin1String known : extensions) {
        if (extension.compare(known, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// "a.b", "trigger1", "var(3)", "Clsn2[0]", "1": no blanks, quotes or commas.
bool isValidKey(QStringView key)
{
    for (QChar c : key) {
        if (isSpace(c) || c == QLatin1Char('"') || c == QLatin1Char(',') || c == QLatin1Char('='))
            return false;
    }
    return true;
}

// The heading of the section that \a node stands in: the node itself, the
// parent of a value or frame, or the nearest heading before it; null before
// the first heading.
CodeNode *sectionOf(CodeNode *node)
{
    for (; node && node->type() != CodeNode::Root; node = node->previous()) {
        if (node->type() & CodeNode::SectionMask)
            return node;
        ParentCode *parent = node->parent();
        if (parent && (parent->type() & CodeNode::SectionMask))
            return parent;
        // A value without a group has no heading before it, as its
        // constructor found; walking on would cost the whole file per line.
        if (node->type() == CodeNode::Value)
            return nullptr;
    }
    return nullptr;
}

// The group that a value made behind \a context joins, as its constructor
// finds it.
ParentCode *joiningGroup(CodeNode *context)
{
    for (CodeNode *node = context; node; node = node->previous()) {
        if (node->type() == CodeNode::Value)
            return node->parent();
        if (node->type() == CodeNode::Group)
            return static_cast<ParentCode *>(node);
        if (node->type() == CodeNode::Animation)
            return nullptr;
    }
    return nullptr;
}

// True when the controller of \a group goes to a state of the player's own
// by its "value": ChangeState, SelfState and TargetState.
bool changesState(ParentCode *group)
{
    auto *section = dynamic_cast<GroupCode *>(group);
    ValueCode *type = nullptr;
    for (unsigned int i = 0; section && !type && i < section->valueCount(); ++i) {
        ValueCode *value = section->valueAt(i);
        if (value->name().compare(QLatin1String("type"), Qt::CaseInsensitive) == 0)
            type = value;
    }
    if (!type || type->valueType() != ValueCode::Keyword)
        return false;
    QLatin1String const name =
        ScriptKeywords::controllerName(static_cast<unsigned int>(type->rawValue().toInt()));
    return name == QLatin1String("ChangeState") || name == QLatin1String("SelfState") ||
        name == QLatin1String("TargetState");
}

// Numbers, strings, trigger names and brackets of an expression in
// [from, to). With \a check, brackets must pair up: "(" and "[" open, ")"
// and "]" close either, since ranges such as "[3050,3100)" mix them.
void scanExpression(QStringView text, qsizetype from, qsizetype to, bool triggers, bool check,
                    Report const &report)
{
    QList<qsizetype> open;
    qsizetype i = from;
    while (i < to) {
        QChar const c = text[i];
        if (c == QLatin1Char('"')) {
            qsizetype close = text.indexOf(QLatin1Char('"'), i + 1);
            if (close < 0 || close >= to)
                close = to - 1;
            report.format(ScriptParser::String, i, close + 1);
            i = close + 1;
        } else if (isDigit(c) || (c == QLatin1Char('.') && i + 1 < to && isDigit(text[i + 1]))) {
            qsizetype j = i + 1;
            while (j < to && (isDigit(text[j]) || text[j] == QLatin1Char('.')))
                ++j;
            report.format(ScriptParser::Number, i, j);
            i = j;
        } else if (isLetter(c)) {
            qsizetype j = i + 1;
            while (j < to && (isLetter(text[j]) || isDigit(text[j])))
                ++j;
            if (triggers && ScriptKeywords::isTrigger(text.mid(i, j - i)))
                report.format(ScriptParser::Trigger, i, j);
            i = j;
        } else {
            if (c == QLatin1Char('(') || c == QLatin1Char('[')) {
                report.parenthesis(true, c, i);
                open.append(i);
            } else if (c == QLatin1Char(')') || c == QLatin1Char(']')) {
                report.parenthesis(false, c, i);
                if (!open.isEmpty())
                    open.removeLast();
                else if (check)
                    report.error(QStringLiteral("'%1' closes nothing").arg(c), i, i + 1);
            }
            ++i;
        }
    }
    if (check && !open.isEmpty()) {
        qsizetype const first = open.first();
        report.error(QStringLiteral("'%1' is not closed").arg(text[first]), first, first + 1);
    }
}

// The number at the start of \a text after blanks: its end, or -1.
qsizetype skipInteger(QStringView text, qsizetype i)
{
    i = skipSpaces(text, i, text.size());
    if (i < text.size() && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+')))
        ++i;
    qsizetype const digits = i;
    while (i < text.size() && isDigit(text[i]))
        ++i;
    return i == digits ? -1 : i;
}

// The first word of a heading, up to a blank or a comma.
QStringView firstWord(QStringView name)
{
    qsizetype i = 0;
    while (i < name.size() && !isSpace(name[i]) && name[i] != QLatin1Char(','))
        ++i;
    return name.left(i);
}

ScriptGroup::Kind kindOf(CodeNode *section)
{
    if (!section)
        return ScriptGroup::Kind(0);
    if (section->type() == CodeNode::Animation)
        return ScriptGroup::Action;
    if (auto *group = dynamic_cast<ScriptGroup *>(section))
        return group->kind();
    return ScriptGroup::Plain;
}

// The animation lines that a section of a definition may hold: frames
// "group, image, x, y, time[, flip[, blend]]", Clsn boxes and counts,
// "Loopstart" and the "Interpolate" lines.
void checkAnimationLine(Line const &line, Report const &report)
{
    QStringView const code = line.code();
    QChar const first = code.front();
    if (isDigit(first) || first == QLatin1Char('-') || first == QLatin1Char('+')) {
        qsizetype const number = skipInteger(code, 0);
        if (number < 0 || !code.mid(number).trimmed().startsWith(QLatin1Char(','))) {
            report.error(QStringLiteral("A frame starts with a sprite group and image number"),
                         line.begin, line.end);
            return;
        }
        scanExpression(line.text, line.begin, line.end, false, false, report);
        return;
    }
    if (code.startsWith(QLatin1String("clsn"), Qt::CaseInsensitive)) {
        qsizetype key = 4;
        while (key < code.size() && (isLetter(code[key]) || isDigit(code[key])))
            ++key;
        report.format(ScriptParser::Key, line.begin, line.begin + key);
        scanExpression(line.text, line.begin + key, line.end, false, false, report);
        return;
    }
    if (code.compare(QLatin1String("loopstart"), Qt::CaseInsensitive) == 0 ||
        firstWord(code).compare(QLatin1String("interpolate"), Qt::CaseInsensitive) == 0) {
        report.format(ScriptParser::Key, line.begin, line.end);
        return;
    }
    report.error(QStringLiteral("Not an animation line: a frame, a Clsn box or Loopstart"),
                 line.begin, line.end);
}

} // namespace

void ScriptParser::setActionParser(CodeParser *parser)
{
    m_actionParser = parser;
}

CodeParser *ScriptParser::actionParser() const
{
    return m_actionParser;
}

ScriptGroup::Kind ScriptParser::sectionKind(QStringView name, QString *problem)
{
    QStringView const word = firstWord(name);
    QStringView const rest = name.mid(word.size());
    auto complain = [problem](QString const &text) {
        if (problem)
            *problem = text;
    };
    if (word.compare(QLatin1String("statedef"), Qt::CaseInsensitive) == 0) {
        qsizetype const number = skipInteger(rest, 0);
        if (number < 0)
            complain(QStringLiteral("A state number must follow 'Statedef'"));
        else if (QStringView const tail = rest.mid(number).trimmed();
                 !tail.isEmpty() && tail.front() != QLatin1Char(','))
            complain(QStringLiteral("Unexpected text after the state number"));
        return ScriptGroup::StateDef;
    }
    if (word.compare(QLatin1String("state"), Qt::CaseInsensitive) == 0)
        return ScriptGroup::State;
    if (word.compare(QLatin1String("begin"), Qt::CaseInsensitive) == 0) {
        QStringView const action = rest.trimmed();
        QStringView const second = firstWord(action);
        if (second.compare(QLatin1String("action"), Qt::CaseInsensitive) != 0) {
            complain(QStringLiteral("Unknown section: only 'Begin Action <number>' begins a "
                                    "section"));
            return ScriptGroup::Plain;
        }
        qsizetype const number = skipInteger(action, second.size());
        if (number < 0 || !action.mid(number).trimmed().isEmpty())
            complain(QStringLiteral("An action number must follow 'Begin Action'"));
        return ScriptGroup::Action;
    }
    if (name.compare(QLatin1String("command"), Qt::CaseInsensitive) == 0)
        return ScriptGroup::Command;
    if (name.compare(QLatin1String("files"), Qt::CaseInsensitive) == 0)
        return ScriptGroup::Files;
    if (name.compare(QLatin1String("characters"), Qt::CaseInsensitive) == 0 ||
        name.compare(QLatin1String("extrastages"), Qt::CaseInsensitive) == 0)
        return ScriptGroup::List;
    return ScriptGroup::Plain;
}

CodeNode *ScriptParser::parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                              CodeNode *context, RootCode *root, CodeParserSyntax *syntax)
{
    Line const line(text);
    QStringView const code = line.code();
    bool const heading = !line.isEmpty() && code.front() == QLatin1Char('[');
    qsizetype const close = heading ? code.indexOf(QLatin1Char(']')) : -1;
    QStringView const name =
        heading ? code.mid(1, (close < 0 ? code.size() : close) - 1).trimmed() : QStringView();
    QString problem;
    ScriptGroup::Kind const headingKind =
        heading ? sectionKind(name, &problem) : ScriptGroup::Kind(0);
    // Every line of an animation section, blank or not, is the action
    // parser's: it colours its own comments.
    CodeNode *section = heading ? nullptr : sectionOf(context);
    ScriptGroup::Kind const kind = kindOf(section);
    if (kind == ScriptGroup::Action || (headingKind == ScriptGroup::Action && m_actionParser))
        return parseActionLine(text, block, oldNode, context, root, syntax, heading);

    Report const report(syntax);
    report.format(Comment, line.comment, text.size());
    if (line.isEmpty())
        return nullptr;
    if (line.openQuote >= 0)
        report.error(QStringLiteral("The string is not closed"), line.openQuote, line.comment);

    if (heading) {
        qsizetype const headingEnd = close < 0 ? line.end : line.begin + close + 1;
        report.format(Section, line.begin, headingEnd);
        report.parenthesis(true, QLatin1Char('['), line.begin);
        if (close < 0)
            report.error(QStringLiteral("The section heading lacks its ']'"), line.begin, line.end);
        else
            report.parenthesis(false, QLatin1Char(']'), headingEnd - 1);
        if (headingEnd < line.end)
            report.error(QStringLiteral("Unexpected text after the section heading"),
                         skipSpaces(text, headingEnd, line.end), line.end);
        if (name.isEmpty())
            report.error(QStringLiteral("The section has no name"), line.begin, headingEnd);
        else if (!problem.isEmpty())
            report.error(problem, line.begin, headingEnd);
        if (headingKind == ScriptGroup::Action)
            return parseActionLine(text, block, oldNode, context, root, syntax, true);
        auto *old = dynamic_cast<ScriptGroup *>(oldNode);
        if (old && old->kind() == headingKind && old->name() == name)
            return old;
        return new ScriptGroup(name.toString(), headingKind, block, context);
    }

    if (kind == ScriptGroup::List) {
        // "kfm, stages/kfm.def, order=3": names first, then parameters.
        scanExpression(text, line.begin, line.end, false, false, report);
        QString const entry = code.toString();
        auto *old = dynamic_cast<ScriptValue *>(oldNode);
        if (old && old->form() == ScriptValue::Entry && old->parent() == section) {
            old->update(entry, false);
            return old;
        }
        return new ScriptValue(QString(), ValueCode::String, block, context, entry,
                               ScriptValue::Entry);
    }

    qsizetype const equals = code.indexOf(QLatin1Char('='));
    if (equals < 0) {
        report.error(QStringLiteral("A line of this section reads 'name = value'"), line.begin,
                     line.end);
        return nullptr;
    }
    qsizetype const keyEnd = trimEnd(text, line.begin, line.begin + equals);
    QStringView const key = QStringView(text).mid(line.begin, keyEnd - line.begin);
    if (key.isEmpty()) {
        report.error(QStringLiteral("A name must stand before '='"), line.begin, line.begin + 1);
        return nullptr;
    }
    if (!isValidKey(key)) {
        report.error(QStringLiteral("'%1' is not a name").arg(key), line.begin, keyEnd);
        return nullptr;
    }
    report.format(Key, line.begin, keyEnd);
    if (!section)
        report.error(QStringLiteral("A value outside of any section"), line.begin, keyEnd);

    qsizetype const valueBegin = skipSpaces(text, line.begin + equals + 1, line.end);
    QStringView const content = QStringView(text).mid(valueBegin, line.end - valueBegin);
    bool const states = kind == ScriptGroup::State || kind == ScriptGroup::StateDef;
    if (states && content.isEmpty() &&
        key.startsWith(QLatin1String("trigger"), Qt::CaseInsensitive))
        report.error(QStringLiteral("The trigger has no condition"), line.begin, keyEnd);

    ValueCode::Type type = ValueCode::String;
    QVariant value;
    bool quoted = false;
    int controller = -1;
    if (kind == ScriptGroup::State && key.compare(QLatin1String("type"), Qt::CaseInsensitive) == 0)
        controller = ScriptKeywords::controllerIndex(content);
    if (controller >= 0) {
        type = ValueCode::Keyword;
        value = controller;
        report.format(Controller, valueBegin, line.end);
    } else if (content.size() >= 2 && content.front() == QLatin1Char('"') &&
               content.back() == QLatin1Char('"') &&
               content.indexOf(QLatin1Char('"'), 1) == content.size() - 1) {
        quoted = true;
        value = content.mid(1, content.size() - 2).toString();
        report.format(String, valueBegin, line.end);
    } else if (readNumbers(content, &type, &value)) {
        report.format(Number, valueBegin, line.end);
    } else {
        type = !content.isEmpty() && (kind == ScriptGroup::Files || isFileName(content))
            ? ValueCode::File
            : ValueCode::String;
        value = content.toString();
        if (type == ValueCode::String)
            scanExpression(text, valueBegin, line.end, states, states, report);
        else
            report.format(String, valueBegin, line.end);
    }

    if (report.reporting()) {
        int const start = static_cast<int>(valueBegin), end = static_cast<int>(line.end);
        if (type == ValueCode::File)
            report.link(new ScriptFileLink(start, end, value.toString(), block));
        else if (type == ValueCode::Int && kind == ScriptGroup::State &&
                 key.compare(QLatin1String("value"), Qt::CaseInsensitive) == 0 &&
                 changesState(joiningGroup(context)))
            report.link(new ScriptStateLink(start, end, value.toInt(), block));
    }

    QString const keyName = key.toString();
    auto *old = dynamic_cast<ScriptValue *>(oldNode);
    if (old && old->form() == ScriptValue::Assignment && old->valueType() == type &&
        old->name() == keyName && old->parent() == joiningGroup(context)) {
        old->update(value, quoted);
        return old;
    }
    return new ScriptValue(keyName, type, block, context, value, ScriptValue::Assignment, quoted);
}

CodeNode *ScriptParser::parseActionLine(QString const &text, QTextBlock const &block,
                                        CodeNode *oldNode, CodeNode *context, RootCode *root,
                                        CodeParserSyntax *syntax, bool heading)
{
    if (m_actionParser)
        return m_actionParser->parse(text, block, oldNode, context, root, syntax);
    Line const line(text);
    if (heading) {
        QStringView const code = line.code();
        qsizetype const close = code.indexOf(QLatin1Char(']'));
        QStringView const name = code.mid(1, (close < 0 ? code.size() : close) - 1).trimmed();
        auto *old = dynamic_cast<ScriptGroup *>(oldNode);
        if (old && old->kind() == ScriptGroup::Action && old->name() == name)
            return old;
        return new ScriptGroup(name.toString(), ScriptGroup::Action, block, context);
    }
    Report const report(syntax);
    report.format(Comment, line.comment, text.size());
    if (!line.isEmpty())
        checkAnimationLine(line, report);
    return nullptr;
}

QString ScriptParser::valuePart(QString const &text)
{
    QStringView const code = Line(text).code();
    qsizetype const equals = code.indexOf(QLatin1Char('='));
    return equals < 0 ? QString() : code.mid(equals + 1).trimmed().toString();
}

void ScriptParser::rewriteLine(CodeNode *node, QString const &code)
{
    auto *document = qobject_cast<CodeDocument *>(node->document());
    if (!document)
        return;
    // The comment is found as the parser finds it, outside of strings.
    QString const old = node->block().text();
    Line const line(old);
    QString text = code;
    if (line.comment < old.size())
        text += QLatin1Char(' ') + QStringView(old).mid(line.comment);
    QTextCursor cursor(node->block());
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    document->insertOnCursor(text, cursor);
}

QString ScriptParser::formatLine(QString const &text, bool indentOnly, bool assignment)
{
    Line const line(text);
    if (line.isEmpty())
        return text;
    if (indentOnly)
        return text.mid(line.begin);
    QStringView const code = line.code();
    QString result;
    qsizetype const equals = code.indexOf(QLatin1Char('='));
    if (code.front() == QLatin1Char('[') && code.back() == QLatin1Char(']')) {
        result = QLatin1Char('[') + code.mid(1, code.size() - 2).trimmed() + QLatin1Char(']');
    } else if (assignment && equals > 0) {
        QStringView const value = code.mid(equals + 1).trimmed();
        result = code.left(equals).trimmed() + QLatin1String(" =");
        if (!value.isEmpty())
            result += QLatin1Char(' ') + value;
    } else {
        result = code.toString();
    }
    if (line.comment < text.size())
        result += QLatin1Char(' ') + QStringView(text).mid(line.comment);
    return result;
}

} // namespace Kenro::Ikemen
