#pragma once

#include <QLatin1String>
#include <QStringView>

namespace Kenro::Ikemen {

/**
 * The names that the scripts know: state controller types, trigger
 * functions and the redirections that may stand before a trigger. All
 * lookups ignore case, as the runtime does.
 */
class ScriptKeywords
{
public:
    /// The index of controller type \a name, or -1 for a name not known here.
    static int controllerIndex(QStringView name);
    /// The spelling of controller \a index; empty out of range.
    static QLatin1String controllerName(unsigned int index);
    /// The number of known controller types.
    static int controllerCount();
    /// True for a trigger function or a redirection keyword.
    static bool isTrigger(QStringView name);
};

} // namespace Kenro::Ikemen
