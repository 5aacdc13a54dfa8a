#pragma once

#include <kenro/sound/soundsample.h>

class QIODevice;

namespace Kenro::Cli {

/**
 * Encodes \a sample as Ogg Vorbis (VBR quality 0.4) to \a device, which is
 * open for writing: every frame of every channel, and a closed stream.
 * The library's own encoder keeps the shape that stored game files have,
 * which drops the tail of a sound; a converted file must keep all of it.
 * Returns false when the encoder refuses the layout or the device fails.
 */
bool writeVorbis(SoundSample const &sample, QIODevice *device);

} // namespace Kenro::Cli
