#pragma once

#include <ikemen/snd/sndbank.h>

namespace KenroSample {

/// Sample rate of the synthesised sounds: 16-bit mono at this rate.
constexpr quint32 soundRate = 22050;

/**
 * The sounds of the sample as a bank: 0,0 the swing of a punch (a rising and
 * falling rush of noise), 1,0 the blow landing (a falling tone over a
 * noise burst). A fixed random sequence makes the same bytes every run.
 */
Kenro::Ikemen::SndBank sampleSounds();

} // namespace KenroSample
