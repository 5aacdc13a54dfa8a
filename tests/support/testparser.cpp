#include "testparser.h"

#include "testnodes.h"

#include <QRegularExpression>

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

} // namespace

CodeNode *TestParser::parse(QString const &line, QTextBlock const &block, CodeNode *oldNode,
                            CodeNode *context, RootCode *, CodeParserSyntax *syntax)
{
    ++calls;
    QString text = line;
    int const comment = text.indexOf(QLatin1Char(';'));
    if (comment >= 0) {
        if (syntax)
            syntax->setFormat(token(Comment), comment, text.size());
        text = text.left(comment);
    }
    QString const trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return nullptr;

    static QRegularExpression const section(QStringLiteral("^\\[\\s*([^\\]]*?)\\s*\\]$"));
    static QRegularExpression const action(QStringLiteral("^Begin Action\\s+(\\d+)$"),
                                           QRegularExpression::CaseInsensitiveOption);
    static QRegularExpression const value(QStringLiteral("^([A-Za-z_][\\w.]*)\\s*=\\s*(.*)$"));
    static QRegularExpression const frame(QStringLiteral("^-?\\d+\\s*,\\s*-?\\d+$"));

    QRegularExpressionMatch match = section.match(trimmed);
    if (match.hasMatch()) {
        QString const name = match.captured(1);
        if (syntax) {
            int const open = text.indexOf(QLatin1Char('['));
            int const close = text.lastIndexOf(QLatin1Char(']'));
            syntax->setFormat(token(Section), open, close + 1);
            syntax->addParenthesis(true, QLatin1Char('['), static_cast<unsigned int>(open));
            syntax->addParenthesis(false, QLatin1Char(']'), static_cast<unsigned int>(close));
        }
        QRegularExpressionMatch const animation = action.match(name);
        if (animation.hasMatch()) {
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

    match = value.match(trimmed);
    if (match.hasMatch()) {
        QString const name = match.captured(1);
        QString const content = match.captured(2).trimmed();
        bool isNumber = false;
        int const number = content.toInt(&isNumber);
        if (syntax) {
            int const start = text.indexOf(name);
            if (name.startsWith(QLatin1String("old_")))
                syntax->addDeprecation(token(Plain), QStringLiteral("'%1' is deprecated").arg(name),
                                       start, start + name.size());
            else
                syntax->setFormat(token(Plain), start, start + name.size());
            if (content.isEmpty())
                syntax->addWarning(token(Plain), QStringLiteral("'%1' has no value").arg(name),
                                   start, start + name.size());
            else if (isNumber)
                syntax->setFormat(token(Number), text.indexOf(content), text.size());
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

    if (frame.match(trimmed).hasMatch()) {
        if (syntax)
            syntax->setFormat(token(Number), 0, text.size());
        return new TestFrame(trimmed, block, context);
    }

    if (syntax)
        syntax->addError(token(Invalid), QStringLiteral("Syntax error"), text.indexOf(trimmed),
                         text.size());
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
