#include <kenro/code/propertyitem.h>

namespace Kenro {

PropertyItem::~PropertyItem() = default;

} // namespace Kenro
