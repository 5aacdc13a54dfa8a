#pragma once

#include <kenro/kenro_export.h>

#include <QColor>
#include <QString>

namespace Kenro {

/// What stands at one tick of a row: a colour and how many ticks it lasts.
struct TickItem
{
    QColor color;
    unsigned int length = 1;
};

/// One named row of a TimeLineWidget; the owner says what is at each tick.
class KENRO_EXPORT TimeLine
{
public:
    virtual ~TimeLine();
    /// The row's title.
    virtual QString name() const = 0;
    /// True when something starts at \a tick, described in \a item.
    virtual bool tickState(unsigned int tick, TickItem &item) = 0;
};

} // namespace Kenro
