#include <kenro/sound/soundcodecs.h>

#include <kenro/sound/soundextension.h>

#include "soundcodecs_p.h"

#include <cstring>

namespace Kenro {

namespace {

bool is(char const *format, char const *name)
{
    return std::strcmp(format, name) == 0;
}

} // namespace

bool loadSound(QIODevice *device, char const *format, SoundSample &sample)
{
    if (!device || !format)
        return false;
    if (!device->isOpen())
        device->open(QIODevice::ReadOnly);
    if (!device->isReadable())
        return false;
    if (is(format, "WAV")) {
        sample = soundFromWAV(device);
    } else if (is(format, "OGG")) {
        sample = soundFromOGG(device);
    } else if (is(format, "FLAC")) {
        sample = soundFromFLAC(device);
    } else if (is(format, "MP3")) {
        sample = soundFromMP3(device);
    } else {
        // A copy: an extension may register others while it reads.
        QList<Extension *> const readers =
            ExtensionManager::byFormat(Extension::SoundReader, format);
        for (Extension *extension : readers) {
            if (static_cast<SoundReaderExtension *>(extension)->read(device, sample))
                break;
        }
    }
    return !sample.data.isEmpty();
}

bool saveSound(QIODevice *device, char const *format, SoundSample const &sample)
{
    if (!device || !format)
        return false;
    if (!device->isOpen())
        device->open(QIODevice::WriteOnly);
    if (!device->isWritable())
        return false;
    if (is(format, "WAV"))
        return soundToWAV(sample, device);
    if (is(format, "OGG"))
        return soundToOGG(sample, device);
    if (is(format, "FLAC"))
        return soundToFLAC(sample, device);
    QList<Extension *> const writers = ExtensionManager::byFormat(Extension::SoundWriter, format);
    for (Extension *extension : writers) {
        if (static_cast<SoundWriterExtension *>(extension)->write(sample, device))
            return true;
    }
    return false;
}

} // namespace Kenro
