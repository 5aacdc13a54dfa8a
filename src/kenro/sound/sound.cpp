#include <kenro/sound/sound.h>

namespace Kenro {

Sound::~Sound() = default;

QStringList Sound::propertyNames() const
{
    return {QStringLiteral("Identifier")};
}

QString Sound::name() const
{
    return property(QStringLiteral("Identifier")).toString();
}

} // namespace Kenro
