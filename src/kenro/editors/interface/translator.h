#pragma once

#include <kenro/kenro_export.h>

#include <QString>

namespace Kenro {

/// Texts and tool tips of the shared actions, looked up by numeric id.
class KENRO_EXPORT Translator
{
public:
    virtual ~Translator();
    /// The label of action \a id, or an empty string where there is none.
    virtual QString text(int id) = 0;
    /// The tool tip of action \a id, or an empty string where there is none.
    virtual QString toolTip(int id) = 0;
};

} // namespace Kenro
