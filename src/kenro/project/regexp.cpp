#include <kenro/project/regexp.h>

namespace Kenro {

RegExp::RegExp(QRegExp const &other) : QRegExp(other) {}

bool RegExp::match(QString const &text, int offset, Match &out) const
{
    int const position = indexIn(text, offset);
    if (position < 0) {
        out = Match();
        return false;
    }
    out.position = position;
    out.length = matchedLength();
    out.captures = capturedTexts();
    return true;
}

bool RegExp::first(QString const &text, Match &out) const
{
    return match(text, 0, out);
}

bool RegExp::next(QString const &text, Match &out) const
{
    if (out.position < 0)
        return false;
    int const offset = out.position + qMax(out.length, 1);
    if (offset > text.size()) {
        out = Match();
        return false;
    }
    return match(text, offset, out);
}

} // namespace Kenro
