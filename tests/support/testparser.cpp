#include "testparser.h"

#include "testnodes.h"

#include <kenro/code/rootcode.h>

#include <QRandomGenerator>
#include <QTest>

using namespace Kenro;

namespace KenroTest {

namespace {

using Token = CodeParserSyntax::TokenType;
Token const plain = Token(0), comment = CodeParserSyntax::Comment, invalid = Token(2),
            number = Token(3), section = Token(5);

// The line forms are read by hand: a parser runs for every line of a loaded
// script, and the benchmarks measure the document around it.

bool isLetter(QChar c)
{
    return (c.unicode() < 128 && c.isLetter()) || c == QLatin1Char('_');
}
qsizetype skipSpaces(QStringView text, qsizetype i)
{
    while (i < text.size() && text[i].isSpace())
        ++i;
    return i;
}
// The end of an optionally signed number at \a i, or -1.
qsizetype skipNumber(QStringView text, qsizetype i)
{
    if (i < text.size() && text[i] == QLatin1Char('-'))
        ++i;
    qsizetype const digits = i;
    while (i < text.size() && text[i].isDigit())
        ++i;
    return i == digits ? -1 : i;
}
// "[ name ]" with no "]" inside: the name without its spaces.
bool readSection(QStringView text, QStringView *name)
{
    if (text.size() < 2 || text.front() != QLatin1Char('[') || text.back() != QLatin1Char(']') ||
        text.mid(1, text.size() - 2).contains(QLatin1Char(']')))
        return false;
    *name = text.mid(1, text.size() - 2).trimmed();
    return true;
}
// "Begin Action <digits>", any case, with at least one space before the number.
bool isAction(QStringView name)
{
    QLatin1String const head("Begin Action");
    if (!name.startsWith(head, Qt::CaseInsensitive))
        return false;
    qsizetype const digits = skipSpaces(name, head.size());
    return digits > head.size() && skipNumber(name, digits) == name.size() &&
        name[digits] != QLatin1Char('-');
}
// "key = content" where the key is a letter or "_" followed by word characters and dots.
bool readValue(QStringView text, QStringView *key, QStringView *content)
{
    if (text.isEmpty() || !isLetter(text.front()))
        return false;
    qsizetype i = 1;
    while (i < text.size() &&
           (isLetter(text[i]) || text[i].isDigit() || text[i] == QLatin1Char('.')))
        ++i;
    qsizetype const equals = skipSpaces(text, i);
    if (equals == text.size() || text[equals] != QLatin1Char('='))
        return false;
    *key = text.left(i);
    *content = text.mid(equals + 1).trimmed();
    return true;
}
// "x, y" with optional signs.
bool isFrame(QStringView text)
{
    qsizetype i = skipNumber(text, 0);
    if (i < 0 || (i = skipSpaces(text, i)) == text.size() || text[i] != QLatin1Char(','))
        return false;
    return skipNumber(text, skipSpaces(text, i + 1)) == text.size();
}
// The section a new value would join, as its constructor finds it.
ParentCode *sectionOf(CodeNode *context)
{
    for (CodeNode *node = context; node; node = node->previous()) {
        if (node->type() == CodeNode::Value)
            return node->parent();
        if (node->type() == CodeNode::Group)
            return static_cast<ParentCode *>(node);
        if (node->type() == CodeNode::Animation)
            break;
    }
    return nullptr;
}

} // namespace

CodeNode *TestParser::parse(QString const &line, QTextBlock const &block, CodeNode *oldNode,
                            CodeNode *context, RootCode *, CodeParserSyntax *syntax)
{
    QStringView text = line;
    int const commentAt = static_cast<int>(text.indexOf(QLatin1Char(';')));
    if (commentAt >= 0) {
        if (syntax)
            syntax->setFormat(comment, commentAt, static_cast<int>(text.size()));
        text = text.left(commentAt);
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
            syntax->setFormat(section, open, close + 1);
            syntax->addParenthesis(true, QLatin1Char('['), static_cast<unsigned int>(open));
            syntax->addParenthesis(false, QLatin1Char(']'), static_cast<unsigned int>(close));
        }
        auto const *named = dynamic_cast<NamedCode const *>(oldNode);
        bool const action = isAction(name);
        if (oldNode && oldNode->type() == (action ? CodeNode::Animation : CodeNode::Group) &&
            named->name() == name)
            return oldNode;
        if (action)
            return new TestAnimation(name, block, context);
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
        int const value = content.toInt(&isNumber);
        if (syntax) {
            int const start = static_cast<int>(text.indexOf(name));
            int const end = start + static_cast<int>(name.size());
            if (name.startsWith(QLatin1String("old_")))
                syntax->addDeprecation(plain, QStringLiteral("'%1' is deprecated").arg(name), start,
                                       end);
            else
                syntax->setFormat(plain, start, end);
            if (content.isEmpty())
                syntax->addWarning(plain, QStringLiteral("'%1' has no value").arg(name), start,
                                   end);
            else if (isNumber)
                syntax->setFormat(number, static_cast<int>(text.indexOf(content)),
                                  static_cast<int>(text.size()));
        }
        ValueCode::Type const type = isNumber ? ValueCode::Int : ValueCode::String;
        QVariant const stored = isNumber ? QVariant(value) : QVariant(content);
        auto *old = dynamic_cast<TestValue *>(oldNode);
        if (old && old->parent() == sectionOf(context) && old->name() == name &&
            old->valueType() == type) {
            old->setValue(stored);
            return old;
        }
        return new TestValue(name, type, block, context, stored);
    }
    if (isFrame(trimmed)) {
        if (syntax)
            syntax->setFormat(number, 0, static_cast<int>(text.size()));
        return new TestFrame(trimmed.toString(), block, context);
    }
    if (syntax)
        syntax->addError(invalid, QStringLiteral("Syntax error"),
                         static_cast<int>(trimmed.data() - text.data()),
                         static_cast<int>(text.size()));
    return nullptr;
}
QString TestDocument::describe()
{
    QStringList out;
    for (CodeNode const *node = root()->next(); node; node = node->next()) {
        QString name;
        if (auto const *named = dynamic_cast<NamedCode const *>(node))
            name = named->name();
        else if (auto const *item = dynamic_cast<PropertyItem const *>(node))
            name = item->property(QStringLiteral("Identifier")).toString();
        ParentCode *parent = node->parent();
        out << QStringLiteral("%1:%2:%3 in %4 row %5")
                   .arg(node->type())
                   .arg(node->lineNo())
                   .arg(name)
                   .arg(parent ? parent->lineNo() : -2)
                   .arg(parent ? parent->childIndex(const_cast<CodeNode *>(node)) : -1);
    }
    return (out + messageLines(messages())).join(QLatin1Char('\n'));
}
QStringList messageLines(Messages *messages, Message::Type type)
{
    QStringList out;
    for (unsigned int i = 0; i < messages->count(type); ++i) {
        Message const m = messages->at(i, type);
        out << QStringLiteral("%1 %2:%3 %4").arg(m.type).arg(m.line).arg(m.column).arg(m.text);
    }
    return out;
}
void randomEdit(QTextDocument &document, QRandomGenerator &random, QStringList const &snippets,
                bool wholeLines)
{
    auto snippet = [&] { return snippets.at(random.bounded(snippets.size())); };
    QTextBlock const block = document.findBlockByNumber(random.bounded(document.blockCount()));
    QTextCursor cursor(block);
    int const size = document.characterCount() - 1;
    int const end = qMin(block.blockNumber() + 1 + random.bounded(3), document.blockCount() - 1);
    int const kind = random.bounded(wholeLines ? 5 : 7);
    switch (kind) {
    case 0: {
        QStringList lines{snippet()};
        for (int i = random.bounded(4); i > 0; --i)
            lines << snippet();
        cursor.insertText(lines.join(QLatin1Char('\n')) + QLatin1Char('\n'));
        break;
    }
    case 1:
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(snippet());
        break;
    case 2:
    case 3: { // lines deleted, or moved elsewhere
        cursor.setPosition(end > block.blockNumber() ? document.findBlockByNumber(end).position()
                                                     : size,
                           QTextCursor::KeepAnchor);
        QString const text = cursor.selectedText().replace(QChar::ParagraphSeparator, '\n');
        cursor.removeSelectedText();
        if (kind == 3) {
            cursor.setPosition(
                document.findBlockByNumber(random.bounded(document.blockCount())).position());
            cursor.insertText(text);
        }
        break;
    }
    case 4:
        random.bounded(2) ? document.undo() : document.redo();
        break;
    case 5: {
        QString const typed = snippet();
        int const how = random.bounded(3);
        cursor.setPosition(block.position() + random.bounded(block.length()));
        cursor.insertText(how == 0 ? QLatin1Char('\n') + typed : how == 1 ? typed : typed.left(1));
        break;
    }
    default:
        cursor.setPosition(random.bounded(size + 1));
        cursor.setPosition(qMin(size, cursor.position() + random.bounded(1, 30)),
                           QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
    }
}

void checkRandomEdits(QTextDocument &document, QStringList const &snippets, quint32 seed, int steps,
                      std::function<QString()> const &edited,
                      std::function<QString(QString const &)> const &fresh, bool wholeLines)
{
    QRandomGenerator random(seed);
    for (int step = 0; step < steps; ++step) {
        QString const before = document.toPlainText();
        randomEdit(document, random, snippets, wholeLines);
        QStringList const got = edited().split(QLatin1Char('\n'));
        QStringList const expected = fresh(document.toPlainText()).split(QLatin1Char('\n'));
        for (int i = 0; i < qMax(got.size(), expected.size()); ++i) {
            if (got.value(i) != expected.value(i)) {
                qWarning().noquote() << "before:\n"
                                     << before << "\nafter:\n"
                                     << document.toPlainText();
                QFAIL(qPrintable(QStringLiteral("step %1: edited '%2', fresh '%3'")
                                     .arg(step)
                                     .arg(got.value(i), expected.value(i))));
            }
        }
    }
}

} // namespace KenroTest
