#include <kenro/imaging/palettes.h>

namespace Kenro {

Palettes::Palettes(QObject *parent) : OrganizableObject(parent) {}

} // namespace Kenro
