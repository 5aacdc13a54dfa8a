#pragma once

#include <kenro/kenro_export.h>

#include <QString>

namespace Kenro {

/// A pair of numbers written as "first, second".
struct KENRO_EXPORT SubItem
{
    int first = 0;
    int second = 0;

    /**
     * Parses "a, b" into \a out. Returns false unless there are exactly two
     * comma-separated decimal numbers; \a out may then hold the first one.
     */
    static bool parse(QString const &text, SubItem &out);
};

} // namespace Kenro
