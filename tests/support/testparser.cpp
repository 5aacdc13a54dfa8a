#include "testparser.h"

#include "testnodes.h"

using namespace Kenro;

namespace KenroTest {

namespace {

enum Token : int {
    Plain = 0,
    Comment = CodeParserSyntax::Comment,
    Invalid = 2,
    Number = 3,
    Section = 5,
};

CodeParserSyntax::TokenType token(Token value)
{
    return static_cast<CodeParserSyntax::TokenType>(value);
}

// The line forms are read by hand: a parser runs for every line of a loaded
// script, and the benchmarks measure the document around it.

bool isSpace(QChar c)
{
    return c == QLatin1Char(' ') || (c >= QLatin1Char('\t') && c <= QLatin1Char('\r'));
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
bool isWordChar(QChar c)
{
    return isLetter(c) || isDigit(c) || c == QLatin1Char('.');
}

qsizetype skipSpaces(QStringView text, qsizetype i)
{
    while (i < text.size() && isSpace(text[i]))
        ++i;
    return i;
}

// "[ name ]" with no "]" inside: the name without its spaces.
bool readSection(QStringView text, QStringView *name)
{
    if (text.size() < 2 || text.front() != QLatin1Char('[') || text.back() != QLatin1Char(']'))
        return false;
    QStringView const inner = text.mid(1, text.size() - 2);
    if (inner.contains(QLatin1Char(']')))
        return false;
    *name = inner.trimmed();
    return true;
}

// "Begin Action <digits>", any case, with at least one space before the number.
bool isAction(QStringView name)
{
    QLatin1String const head("Begin Action");
    if (!name.startsWith(head, Qt::CaseInsensitive))
        return false;
    qsizetype const digits = skipSpaces(name, head.size());
    if (digits == head.size() || digits == name.size())
        return false;
    for (qsizetype i = digits; i < name.size(); ++i) {
        if (!isDigit(name[i]))
            return false;
    }
    return true;
}

// "key = content" where the key is a letter or "_" followed by word characters and dots.
bool readValue(QStringView text, QStringView *key, QStringView *content)
{
    if (text.isEmpty() || !isLetter(text.front()))
        return false;
    qsizetype i = 1;
    while (i < text.size() && isWordChar(text[i]))
        ++i;
    qsizetype const equals = skipSpaces(text, i);
    if (equals == text.size() || text[equals] != QLatin1Char('='))
        return false;
    *key = text.left(i);
    *content = text.mid(equals + 1).trimmed();
    return true;
}

qsizetype skipNumber(QStringView text, qsizetype i)
{
    if (i < text.size() && text[i] == QLatin1Char('-'))
        ++i;
    qsizetype const digits = i;
    while (i < text.size() && isDigit(text[i]))
        ++i;
    return i == digits ? -1 : i;
}

// "x, y" with optional signs.
bool isFrame(QStringView text)
{
    qsizetype i = skipNumber(text, 0);
    if (i < 0)
        return false;
    i = skipSpaces(text, i);
    if (i == text.size() || text[i] != QLatin1Char(','))
        return false;
    i = skipNumber(text, skipSpaces(text, i + 1));
    return i == text.size();
}

} // namespace

CodeNode *TestParser::parse(QString const &line, QTextBlock const &block, CodeNode *oldNode,
                            CodeNode *context, RootCode *, CodeParserSyntax *syntax)
{
    ++calls;
    QStringView text = line;
    int const comment = static_cast<int>(text.indexOf(QLatin1Char(';')));
    if (comment >= 0) {
        if (syntax)
            syntax->setFormat(token(Comment), comment, static_cast<int>(text.size()));
        text = text.left(comment);
    }
    QStringView const trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return nullptr;

    QStringView sectionName;
    if (readSection(trimmed, &sectionName)) {
        QString const name = sectionName.toString();
        if (syntax) {
            int const open = static_cast<int>(text.indexOf(QLatin1Char('[')));
            int const close = static_cast<int>(text.lastIndexOf(QLatin1Char(']')));
            syntax->setFormat(token(Section), open, close + 1);
            syntax->addParenthesis(true, QLatin1Char('['), static_cast<unsigned int>(open));
            syntax->addParenthesis(false, QLatin1Char(']'), static_cast<unsigned int>(close));
        }
        if (isAction(name)) {
            if (oldNode && oldNode->type() == CodeNode::Animation &&
                static_cast<TestAnimation *>(oldNode)->name() == name)
                return oldNode;
            return new TestAnimation(name, block, context);
        }
        if (oldNode && oldNode->type() == CodeNode::Group &&
            static_cast<TestGroup *>(oldNode)->name() == name)
            return oldNode;
        // Each section name is a kind of its own, so that line states tell
        // sections apart.
        return new TestGroup(name, block, context, 1 + qHash(name) % 1000);
    }

    QStringView key;
    QStringView contentView;
    if (readValue(trimmed, &key, &contentView)) {
        QString const name = key.toString();
        QString const content = contentView.toString();
        bool isNumber = false;
        int const number = content.toInt(&isNumber);
        if (syntax) {
            int const start = static_cast<int>(text.indexOf(name));
            if (name.startsWith(QLatin1String("old_")))
                syntax->addDeprecation(token(Plain), QStringLiteral("'%1' is deprecated").arg(name),
                                       start, start + name.size());
            else
                syntax->setFormat(token(Plain), start, start + name.size());
            if (content.isEmpty())
                syntax->addWarning(token(Plain), QStringLiteral("'%1' has no value").arg(name),
                                   start, start + name.size());
            else if (isNumber)
                syntax->setFormat(token(Number), static_cast<int>(text.indexOf(content)),
                                  static_cast<int>(text.size()));
        }
        ValueCode::Type const type = isNumber ? ValueCode::Int : ValueCode::String;
        QVariant const stored = isNumber ? QVariant(number) : QVariant(content);
        // The section a new value would join, as its constructor finds it.
        ParentCode *section = nullptr;
        for (CodeNode *node = context; node; node = node->previous()) {
            if (node->type() == CodeNode::Value) {
                section = node->parent();
                break;
            }
            if (node->type() == CodeNode::Group) {
                section = static_cast<ParentCode *>(node);
                break;
            }
            if (node->type() == CodeNode::Animation)
                break;
        }
        if (oldNode && oldNode->type() == CodeNode::Value && oldNode->parent() == section) {
            auto *old = static_cast<TestValue *>(oldNode);
            if (old->name() == name && old->valueType() == type) {
                old->setValue(stored);
                return old;
            }
        }
        return new TestValue(name, type, block, context, stored);
    }

    if (isFrame(trimmed)) {
        if (syntax)
            syntax->setFormat(token(Number), 0, static_cast<int>(text.size()));
        return new TestFrame(trimmed.toString(), block, context);
    }

    if (syntax)
        syntax->addError(token(Invalid), QStringLiteral("Syntax error"),
                         static_cast<int>(trimmed.data() - text.data()),
                         static_cast<int>(text.size()));
    return nullptr;
}

} // namespace KenroTest

#include <kenro/code/rootcode.h>
#include <kenro/project/messages.h>

namespace KenroTest {

TestDocument::TestDocument()
{
    setParser(&testParser);
}

namespace {

QString describeNode(CodeNode const *node)
{
    QString name;
    if (auto const *named = dynamic_cast<NamedCode const *>(node))
        name = named->name();
    else if (auto const *item = dynamic_cast<PropertyItem const *>(node))
        name = item->property(QStringLiteral("Identifier")).toString();
    return QStringLiteral("%1:%2:%3").arg(node->type()).arg(node->lineNo()).arg(name);
}

void describeTree(ParentCode const *parent, int depth, QString &out)
{
    for (unsigned int i = 0; i < parent->childCount(); ++i) {
        CodeNode const *child = parent->childAt(i);
        out += QString(depth * 2, QLatin1Char(' ')) + describeNode(child) + QLatin1Char('\n');
        if (auto const *inner = dynamic_cast<ParentCode const *>(child))
            describeTree(inner, depth + 1, out);
    }
}

} // namespace

QString TestDocument::describe()
{
    QString out = QStringLiteral("chain\n");
    for (CodeNode const *node = root()->next(); node; node = node->next())
        out += describeNode(node) + QLatin1Char('\n');
    out += QStringLiteral("tree\n");
    describeTree(root(), 0, out);
    out += QStringLiteral("messages\n");
    Messages *list = messages();
    for (unsigned int i = 0; i < list->count(Message::All); ++i) {
        Message const message = list->at(i, Message::All);
        out += QStringLiteral("%1 %2:%3 %4\n")
                   .arg(message.type)
                   .arg(message.line)
                   .arg(message.column)
                   .arg(message.text);
    }
    return out;
}

} // namespace KenroTest
