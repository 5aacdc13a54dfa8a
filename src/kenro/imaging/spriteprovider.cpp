#include <kenro/imaging/spriteprovider.h>

namespace Kenro {

SpriteProvider::~SpriteProvider() = default;

} // namespace Kenro
