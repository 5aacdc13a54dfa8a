#pragma once

#include <kenro/kenro_export.h>

#include <QStringList>
#include <QVariant>

namespace Kenro {

/// Named properties of an item, as search, replace and scripts see them.
class KENRO_EXPORT PropertyItem
{
public:
    virtual ~PropertyItem();
    /// The names of the properties, in display order.
    virtual QStringList propertyNames() const = 0;
    /// The value of \a name, or an invalid variant where there is none.
    virtual QVariant property(QString const &name) const = 0;
    virtual void setProperty(QString const &name, QVariant const &value) = 0;
};

} // namespace Kenro
