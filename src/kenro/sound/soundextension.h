#pragma once

#include <kenro/engine/extension.h>
#include <kenro/kenro_export.h>

namespace Kenro {

struct SoundSample;

/// Type 5: reads a sound of the format; loadSound() asks it for formats it does not know.
class KENRO_EXPORT SoundReaderExtension : public Extension
{
public:
    Type type() const override;
    /// Reads \a device into \a sample; false when the content is not of the format.
    virtual bool read(QIODevice *device, SoundSample &sample) = 0;
};

/// Type 6: writes a sound in the format; saveSound() asks it for formats it does not know.
class KENRO_EXPORT SoundWriterExtension : public Extension
{
public:
    Type type() const override;
    virtual bool write(SoundSample const &sample, QIODevice *device) = 0;
};

} // namespace Kenro
