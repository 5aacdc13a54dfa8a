#include <kenro/project/searchableprojectfile.h>

#include <kenro/code/propertyitem.h>

#include <QRegularExpression>

namespace Kenro {

namespace {

QString const identifier = QStringLiteral("Identifier");
QRegularExpression const placeholder(QStringLiteral("%\\d"));

// Runs the expression once over item \a index and appends its match.
bool matchItem(SearchableProjectFile const &file, RegExp const &regExp, int index,
               QList<ProjectFile::SearchResult> &results)
{
    PropertyItem *item = file.item(index);
    if (!item)
        return false;
    QString const text = item->property(identifier).toString();
    RegExp::Match match;
    if (!regExp.match(text, 0, match))
        return false;
    ProjectFile::SearchResult result;
    result.item = index;
    result.position = match.position;
    result.length = match.length;
    result.text = text;
    result.captures = match.captures.mid(1);
    results.append(result);
    return true;
}

} // namespace

QList<ProjectFile::SearchResult> SearchableProjectFile::search(RegExp const &regExp,
                                                               unsigned int flags) const
{
    QList<SearchResult> results;
    int const count = static_cast<int>(itemCount());
    if (count == 0)
        return results;

    bool const fromEnd = flags & SearchFromEnd;
    bool const wrap = (flags & SearchWrap) && !fromEnd;

    if (flags & SearchAll) {
        for (int i = 0; i < count; ++i)
            matchItem(*this, regExp, i, results);
        return results;
    }

    if (flags & SearchBackward) {
        int const start = fromEnd ? count : currentItem();
        for (int i = start - 1; i >= 0; --i) {
            if (matchItem(*this, regExp, i, results))
                return results;
        }
        if (wrap) {
            for (int i = count - 1; i >= start && i >= 0; --i) {
                if (matchItem(*this, regExp, i, results))
                    return results;
            }
        }
        return results;
    }

    int const start = fromEnd ? 0 : currentItem() + 1;
    for (int i = qMax(start, 0); i < count; ++i) {
        if (matchItem(*this, regExp, i, results))
            return results;
    }
    if (wrap) {
        // The current item itself is the last one to be tried.
        for (int i = 0; i <= start && i < count; ++i) {
            if (matchItem(*this, regExp, i, results))
                return results;
        }
    }
    return results;
}

void SearchableProjectFile::replace(QList<SearchResult> const &results, QString const &replacement)
{
    bool const grouped = results.size() >= 2;
    if (grouped)
        beginChange();
    for (SearchResult const &result : results) {
        if (result.item < 0 || static_cast<unsigned int>(result.item) >= itemCount())
            continue;
        PropertyItem *target = item(result.item);
        if (!target)
            continue;
        QString text = replacement;
        for (QString const &capture : result.captures) {
            if (!placeholder.match(text).hasMatch())
                break; // surplus captures stay unused
            text = text.arg(capture);
        }
        target->setProperty(identifier, text);
    }
    if (grouped)
        endChange();
}

} // namespace Kenro
