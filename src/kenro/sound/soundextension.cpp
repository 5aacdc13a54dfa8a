#include <kenro/sound/soundextension.h>

namespace Kenro {

Extension::Type SoundReaderExtension::type() const
{
    return SoundReader;
}

Extension::Type SoundWriterExtension::type() const
{
    return SoundWriter;
}

} // namespace Kenro
