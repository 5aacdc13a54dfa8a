#pragma once

#include <kenro/kenro_export.h>

#include <QRegExp>
#include <QStringList>

namespace Kenro {

/**
 * The regular expression of all search and replace, with small helpers that
 * collect a match into a record and walk over all matches of a text.
 */
class KENRO_EXPORT RegExp : public QRegExp
{
public:
    /// One match: all captures (the whole match first), where and how long.
    struct Match
    {
        QStringList captures;
        int position = -1;
        int length = 0;
    };

    using QRegExp::QRegExp;
    RegExp() = default;
    RegExp(QRegExp const &other);

    /// Matches \a text from \a offset; fills \a out and returns true on a match.
    bool match(QString const &text, int offset, Match &out) const;
    /// Starts a walk over all matches of \a text with its first match.
    bool first(QString const &text, Match &out) const;
    /// Steps the walk to the match after \a out; an empty match steps one character.
    bool next(QString const &text, Match &out) const;
};

} // namespace Kenro
