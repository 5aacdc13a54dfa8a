#pragma once

#include <kenro/kenro_export.h>

#include <QAbstractItemModel>

namespace Kenro {

/// The base of the library's item models.
class KENRO_EXPORT ItemModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    using QAbstractItemModel::QAbstractItemModel;
};

/// The base of the library's tree models.
class KENRO_EXPORT TreeModel : public ItemModel
{
    Q_OBJECT

public:
    using ItemModel::ItemModel;
};

} // namespace Kenro
