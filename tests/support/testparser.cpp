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
        return new TestGroup(name, block, context, 1);
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
        if (oldNode && oldNode->type() == CodeNode::Value) {
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
        return new TestFrame(QString(), block, context);
    }

    if (syntax)
        syntax->addError(token(Invalid), QStringLiteral("Syntax error"), text.indexOf(trimmed),
                         text.size());
    return nullptr;
}

} // namespace KenroTest
