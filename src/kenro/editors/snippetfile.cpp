#include <kenro/editors/snippetfile.h>

#include <kenro/editors/interface/interface.h>
#include <kenro/editors/snipfield.h>

#include <QFile>
#include <QMessageBox>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace Kenro {

namespace {

QStringList splitLines(QString const &text)
{
    static QRegularExpression const lineBreak(QStringLiteral("\r\n|\r|\n"));
    return text.split(lineBreak);
}

bool isBlank(QString const &line)
{
    return line.trimmed().isEmpty();
}

} // namespace

bool SnippetFile::read(QString const &xml)
{
    m_fields.clear();
    m_code.clear();
    m_hasCode = false;
    QXmlStreamReader reader(xml);
    if (reader.readNextStartElement()) {
        if (reader.name() != QLatin1String("snippet"))
            reader.raiseError(QStringLiteral("The file is no snippet: its root is '%1'")
                                  .arg(reader.name().toString()));
        while (!reader.hasError() && reader.readNextStartElement()) {
            if (reader.name() == QLatin1String("field")) {
                // An empty name would stand for every "@" of the code.
                if (reader.attributes().value(QLatin1String("name")).isEmpty()) {
                    reader.raiseError(QStringLiteral("A field has no name"));
                    break;
                }
                m_fields.append(reader.attributes());
                reader.skipCurrentElement();
            } else if (reader.name() == QLatin1String("code")) {
                m_code = reader.readElementText();
                m_hasCode = !reader.hasError();
            } else {
                reader.skipCurrentElement();
            }
        }
    }
    while (!reader.hasError() && !reader.atEnd())
        reader.readNext();
    if (!reader.hasError() && !m_hasCode)
        reader.raiseError(QStringLiteral("The snippet has no 'code' element"));
    m_error = reader.hasError() ? reader.errorString() : QString();
    m_line = reader.lineNumber();
    m_column = reader.columnNumber();
    return m_error.isEmpty();
}

bool SnippetFile::load(QString const &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *this = SnippetFile();
        return false;
    }
    return read(QString::fromUtf8(file.readAll()));
}

QStringList SnippetFile::codeLines() const
{
    QStringList lines = splitLines(m_code);
    if (!lines.isEmpty() && isBlank(lines.first()))
        lines.removeFirst();
    if (!lines.isEmpty() && isBlank(lines.last()))
        lines.removeLast();
    return lines;
}

void SnippetFile::showError(QWidget *parent) const
{
    Interface *host = Interface::instance();
    QString const title = host ? host->messageText(0) : QStringLiteral("XML error");
    QString const text = host ? host->messageText(1) : QStringLiteral("%1 (line %2, column %3)");
    QMessageBox::critical(parent, title,
                          text.arg(m_error, QString::number(m_line), QString::number(m_column)));
}

QString SnippetFile::write(QList<SnipField *> const &fields, QString const &code)
{
    QString out = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<snippet>\r\n\r\n");
    for (SnipField const *field : fields)
        out += QLatin1String("\t<field name=\"") + field->name() + QLatin1String("\" title=\"") +
            field->title() + QLatin1String("\" type=\"") + field->type() + QLatin1String("\" ") +
            field->attributes() + QLatin1String("/>\r\n");
    out += QLatin1String("\r\n\t<code>\r\n");
    for (QString const &line : splitLines(code)) {
        if (!line.isEmpty())
            out += line + QLatin1String("\r\n");
    }
    return out + QLatin1String("\t</code>\r\n\r\n</snippet>");
}

QString SnippetFile::translationSource(QString const &name) const
{
    QString out = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n"
                                 "<TS version=\"2.0\">\n<context>\n"
                                 "\t<name>Kenro::SnippetManager</name>");
    auto message = [&](QString const &text) {
        out += QLatin1String("\t<message>\n\t\t<source>") + text +
            QLatin1String("</source>\n\t\t<comment>") + name +
            QLatin1String("</comment>\n\t\t<translation type=\"unfinished\"></translation>\n"
                          "\t</message>\n");
    };
    message(name);
    for (QXmlStreamAttributes const &field : m_fields) {
        if (field.value(QLatin1String("type")) == QLatin1String("items")) {
            QString const titles = field.value(QLatin1String("value_title")).toString();
            for (QString const &title : titles.split(QLatin1Char(',')))
                message(title);
        }
        message(field.value(QLatin1String("title")).toString());
    }
    return out + QLatin1String("</context>\n</TS>");
}

} // namespace Kenro
