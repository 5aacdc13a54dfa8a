#include <kenro/imaging/sprites.h>

namespace Kenro {

Sprites::Sprites(QObject *parent) : OrganizableObject(parent) {}

void Sprites::beginChange()
{
    ProjectFile::beginChange();
}

void Sprites::endChange()
{
    ProjectFile::endChange();
}

} // namespace Kenro
