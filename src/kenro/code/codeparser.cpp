#include <kenro/code/codeparser.h>

#include <QFont>
#include <QVector>

namespace Kenro {

namespace {

QTextCharFormat makeFormat(QColor const &color, bool bold, bool italic)
{
    QTextCharFormat format;
    format.setFontFamilies({QStringLiteral("Courier")});
    format.setFontPointSize(10);
    format.setFontFixedPitch(true);
    format.setFontWeight(bold ? QFont::Bold : QFont::Normal);
    format.setFontItalic(italic);
    format.setForeground(color);
    return format;
}

QVector<QTextCharFormat> &formatTable()
{
    static QVector<QTextCharFormat> table = {
        makeFormat(Qt::black, false, true),
        makeFormat(Qt::gray, false, true),
        makeFormat(Qt::red, false, false),
        makeFormat(Qt::blue, false, false),
        makeFormat(Qt::black, true, false),
        makeFormat(QColor(0, 128, 0), true, false),
        makeFormat(QColor(255, 128, 0), true, false),
        makeFormat(QColor(0, 128, 128), true, false),
        makeFormat(QColor(128, 0, 255), false, false),
        makeFormat(QColor(255, 0, 255), false, false),
    };
    return table;
}

} // namespace

CodeParserSyntax::~CodeParserSyntax() = default;

QTextCharFormat CodeParserSyntax::syntaxFormat(TokenType type)
{
    int const index = static_cast<int>(type);
    return index >= 0 && index < TokenTypeCount ? formatTable().at(index) : QTextCharFormat();
}

void CodeParserSyntax::setSyntaxFormat(TokenType type, QTextCharFormat const &format)
{
    int const index = static_cast<int>(type);
    if (index >= 0 && index < TokenTypeCount)
        formatTable()[index] = format;
}

CodeParser::~CodeParser() = default;
CodeLink::CodeLink(int start, int end) : m_start(start), m_end(end) {}
CodeLink::~CodeLink() = default;

int CodeLink::start() const
{
    return m_start;
}

int CodeLink::end() const
{
    return m_end;
}

bool CodeLink::contains(int column) const
{
    return column >= m_start && column < m_end;
}

bool CodeLink::follow()
{
    return false;
}

CodeMark::~CodeMark() = default;

void CodeMark::drawIcon(QPainter *, QRect const &) const {}

} // namespace Kenro
