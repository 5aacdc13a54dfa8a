#include "ziptree.h"

#include <QFileInfo>
#include <QList>
#include <QRegularExpression>

#include <algorithm>

namespace KenroZip {

namespace {

// A child of the listed directory, with the keys QDir sorts by.
struct Entry
{
    QString name;
    bool directory = false;
    quint64 size = 0;
    qint64 modified = 0;
    QString nameKey;
    QString suffixKey;
};

bool passes(Entry const &entry, QList<QRegularExpression> const &patterns, QDir::Filters filter,
            bool writable)
{
    // As in QDir, AllDirs lists directories whatever the name filters say.
    if (!patterns.isEmpty() && !(entry.directory && (filter & QDir::AllDirs))) {
        bool const matched = std::any_of(patterns.cbegin(), patterns.cend(),
                                         [&entry](QRegularExpression const &pattern) {
                                             return pattern.match(entry.name).hasMatch();
                                         });
        if (!matched)
            return false;
    }
    if (!(filter & QDir::Hidden) && entry.name.startsWith(QLatin1Char('.')))
        return false;
    if (entry.directory ? !(filter & (QDir::Dirs | QDir::AllDirs)) : !(filter & QDir::Files))
        return false;
    // Permissions filter only when some but not all of them are asked for.
    int const permissions = int(filter & QDir::PermissionMask);
    if (permissions != 0 && permissions != QDir::PermissionMask) {
        if ((permissions & QDir::Writable) && !writable)
            return false;
        if ((permissions & QDir::Executable) && !entry.directory)
            return false;
    }
    return true;
}

int compareText(QString const &a, QString const &b, bool localeAware)
{
    return localeAware ? QString::localeAwareCompare(a, b) : a.compare(b);
}

// QDir's order: directories first or last, then by time, size or suffix,
// ties and Name by the (maybe lower-cased) name; Reversed turns only the
// last two round.
class EntryOrder
{
public:
    explicit EntryOrder(QDir::SortFlags sort) : m_sort(sort) {}

    bool operator()(Entry const &a, Entry const &b) const
    {
        if ((m_sort & (QDir::DirsFirst | QDir::DirsLast)) && a.directory != b.directory)
            return (m_sort & QDir::DirsFirst) ? a.directory : b.directory;

        bool const localeAware = m_sort & QDir::LocaleAware;
        int const sortBy = int(m_sort & QDir::SortByMask) | int(m_sort & QDir::Type);
        qint64 order = 0;
        switch (sortBy) {
        case QDir::Time:
            order = b.modified - a.modified; // newest first
            break;
        case QDir::Size:
            order = b.size > a.size ? 1 : (b.size < a.size ? -1 : 0); // largest first
            break;
        case QDir::Type:
            order = compareText(a.suffixKey, b.suffixKey, localeAware);
            break;
        default:
            break;
        }
        if (order == 0)
            order = compareText(a.nameKey, b.nameKey, localeAware);
        return (m_sort & QDir::Reversed) ? order > 0 : order < 0;
    }

private:
    QDir::SortFlags m_sort;
};

} // namespace

bool normaliseName(QString const &name, QString &result)
{
    result.clear();
    QStringList parts;
    for (QStringView const part : QStringView(name).split(u'/')) {
        if (part.isEmpty() || part == u".")
            continue;
        if (part == u"..") {
            if (parts.isEmpty())
                return false;
            parts.removeLast();
            continue;
        }
        parts.append(part.toString());
    }
    result = parts.join(QLatin1Char('/'));
    return true;
}

bool isDirectory(Members const &members, QString const &name)
{
    if (name.isEmpty())
        return true;
    auto const found = members.constFind(name);
    if (found != members.cend() && found->directory)
        return true;
    QString const prefix = name + QLatin1Char('/');
    auto const below = members.lowerBound(prefix);
    return below != members.cend() && below.key().startsWith(prefix);
}

bool isFile(Members const &members, QString const &name)
{
    auto const found = members.constFind(name);
    return found != members.cend() && !found->directory;
}

bool canHoldFile(Members const &members, QString const &name)
{
    if (name.isEmpty() || isDirectory(members, name))
        return false;
    for (qsizetype slash = name.indexOf(QLatin1Char('/')); slash >= 0;
         slash = name.indexOf(QLatin1Char('/'), slash + 1)) {
        if (isFile(members, name.left(slash)))
            return false;
    }
    return true;
}

QStringList listEntries(Members const &members, QString const &directory,
                        QStringList const &nameFilters, QDir::Filters filter, QDir::SortFlags sort,
                        bool writable)
{
    if (!isDirectory(members, directory))
        return {};
    if (int(filter) == QDir::NoFilter)
        filter = QDir::AllEntries;
    if (int(sort) == QDir::NoSort)
        sort = QDir::SortFlags(QDir::Name | QDir::IgnoreCase);

    // The descendants of the directory are one run of keys; each gives the
    // child it lies in.
    QString const prefix = directory.isEmpty() ? QString() : directory + QLatin1Char('/');
    QMap<QString, Entry> children;
    for (auto it = members.lowerBound(prefix); it != members.cend() && it.key().startsWith(prefix);
         ++it) {
        QStringView const rest = QStringView(it.key()).mid(prefix.size());
        qsizetype const slash = rest.indexOf(u'/');
        QString const name = (slash < 0 ? rest : rest.left(slash)).toString();
        Entry &entry = children[name];
        entry.name = name;
        if (slash >= 0 || it->directory) {
            entry.directory = true;
            entry.size = 0;
            entry.modified = std::max(entry.modified, it->modified);
        } else if (!entry.directory) {
            entry.size = it->size;
            entry.modified = it->modified;
        }
    }

    auto const caseOption = (filter & QDir::CaseSensitive)
        ? QRegularExpression::NoPatternOption
        : QRegularExpression::CaseInsensitiveOption;
    QList<QRegularExpression> patterns;
    for (QString const &pattern : nameFilters)
        patterns.append(QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern),
                                           caseOption));

    bool const ignoreCase = sort & QDir::IgnoreCase;
    QList<Entry> listed;
    for (Entry &entry : children) {
        if (!passes(entry, patterns, filter, writable))
            continue;
        entry.nameKey = ignoreCase ? entry.name.toLower() : entry.name;
        if (sort & QDir::Type) {
            QString const suffix = QFileInfo(entry.name).suffix();
            entry.suffixKey = ignoreCase ? suffix.toLower() : suffix;
        }
        listed.append(entry);
    }
    if (int(sort & QDir::SortByMask) != QDir::Unsorted)
        std::stable_sort(listed.begin(), listed.end(), EntryOrder(sort));

    QStringList result;
    result.reserve(listed.size());
    for (Entry const &entry : std::as_const(listed))
        result.append(entry.name);
    return result;
}

} // namespace KenroZip
