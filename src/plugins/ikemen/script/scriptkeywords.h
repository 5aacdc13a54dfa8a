#pragma once

#include <QByteArray>
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
    /// The spelling of trigger \a index; empty out of range.
    static QLatin1String triggerName(unsigned int index);
    /// The number of known triggers and redirections.
    static int triggerCount();

    /**
     * The word lists of completion, as the "completer.xml" of the engine's
     * folder holds them: section names behind "[", controller types behind
     * "type =", triggers behind "triggerall =" and "trigger1 =" to
     * "trigger9 =", the parameter names of the constants behind "const(" and
     * of the get-hit variables behind "gethitvar(", and the letters of the
     * state types, move types and physics behind their names.
     */
    static QByteArray completerXml();
};

} // namespace Kenro::Ikemen
