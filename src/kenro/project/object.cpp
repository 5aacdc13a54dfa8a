#include <kenro/project/object.h>

namespace Kenro {

Object::~Object() = default;

} // namespace Kenro
