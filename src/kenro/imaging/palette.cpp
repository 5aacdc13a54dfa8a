#include <kenro/imaging/palette.h>

namespace Kenro {

Palette::~Palette() = default;

} // namespace Kenro
