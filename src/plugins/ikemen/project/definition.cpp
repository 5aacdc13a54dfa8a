#include "definition.h"

namespace Kenro::Ikemen {

namespace {

// \a line without its comment: the first ';' that stands outside quotes.
QString withoutComment(QString const &line)
{
    bool quoted = false;
    for (int i = 0; i < line.size(); ++i) {
        QChar const c = line.at(i);
        if (c == QLatin1Char('"'))
            quoted = !quoted;
        else if (c == QLatin1Char(';') && !quoted)
            return line.left(i);
    }
    return line;
}

QString unquoted(QString value)
{
    value = value.trimmed();
    if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) && value.endsWith(QLatin1Char('"')))
        value = value.mid(1, value.size() - 2).trimmed();
    return value;
}

} // namespace

Definition::Definition(QString const &text)
{
    int number = 0;
    for (QStringView const raw : QStringView(text).split(QLatin1Char('\n'))) {
        int const line = number++;
        QString const content = withoutComment(raw.toString()).trimmed();
        if (content.isEmpty())
            continue;
        if (content.startsWith(QLatin1Char('['))) {
            int const close = content.indexOf(QLatin1Char(']'));
            Section section;
            section.name = content.mid(1, close < 0 ? -1 : close - 1).trimmed();
            section.line = line;
            m_sections.append(section);
            continue;
        }
        int const equals = content.indexOf(QLatin1Char('='));
        if (equals <= 0 || m_sections.isEmpty())
            continue; // lines before the first section mean nothing
        Entry entry;
        entry.key = content.left(equals).trimmed();
        entry.value = unquoted(content.mid(equals + 1));
        entry.line = line;
        m_sections.last().entries.append(entry);
    }
}

QList<Definition::Section> const &Definition::sections() const
{
    return m_sections;
}

QList<Definition::Entry> Definition::entries(QString const &section) const
{
    QList<Entry> found;
    for (Section const &each : m_sections) {
        if (each.name.compare(section, Qt::CaseInsensitive) == 0)
            found += each.entries;
    }
    return found;
}

Definition::Entry const *Definition::entry(QString const &section, QString const &key) const
{
    for (Section const &each : m_sections) {
        if (each.name.compare(section, Qt::CaseInsensitive) != 0)
            continue;
        for (Entry const &entry : each.entries) {
            if (entry.key.compare(key, Qt::CaseInsensitive) == 0)
                return &entry;
        }
    }
    return nullptr;
}

QString Definition::value(QString const &section, QString const &key) const
{
    Entry const *found = entry(section, key);
    return found ? found->value : QString();
}

} // namespace Kenro::Ikemen
