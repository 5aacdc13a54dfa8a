#pragma once

#include <kenro/kenro_export.h>

#include <QByteArray>

namespace Kenro {

/// The header of a piece of sound: how its interleaved PCM is laid out.
struct KENRO_EXPORT SampleInfo
{
    /// Number of interleaved channels.
    quint16 channels = 0;
    /// Bits per sample: 8, 16, 24 or 32 (20 is stored in 3 bytes like 24).
    quint16 bits = 1;
    /// Samples per second and channel.
    quint32 frequency = 0;
    /// Number of sample frames; a frame holds one sample of every channel.
    quint32 frames = 0;
};

/**
 * A piece of sound: interleaved little-endian PCM with its header. 8-bit
 * samples are unsigned around 128, all wider ones signed; 20 and 24 bits take
 * 3 bytes, low byte first. A sample counts as loaded when data is not empty.
 */
struct KENRO_EXPORT SoundSample : SampleInfo
{
    /// The state that a sample has in a player.
    enum State : int {
        /// Playing once.
        Playing = 0,
        /// Playing with the loop flag set.
        Looping = 1,
        Paused = 2,
        Stopped = 3,
    };

    SoundSample() { bits = 0; }

    /// frames * channels * bits / 8 bytes of interleaved samples.
    QByteArray data;
};

/// Selects a filter text of soundFileExtension().
enum SoundExtensionType : int {
    /// The tail of a combined entry with every format, to put a label in front of.
    SoundExtensionAll = 0,
    /// One entry per readable format.
    SoundExtensionRead = 1,
    /// One entry per writable format (MP3 is read only).
    SoundExtensionWrite = 2,
};

/// One sample of \a bits depth at \a sample as a float, about -1 to 1.
KENRO_EXPORT float decodeSample(void const *sample, unsigned short bits);

/**
 * Stores \a value as one sample of \a bits depth at \a sample. Nothing is
 * clamped: a value of 1.0 wraps, so callers keep values below full scale.
 * An unknown depth stores nothing.
 */
KENRO_EXPORT void encodeSample(float value, void *sample, unsigned short bits);

/**
 * Multiplies the sample at \a source by \a factor, saturating, into
 * \a destination, which may be the same address. At 20 and 24 bits the
 * result is limited to 1/256 of full scale, and at 32 bits only the low two
 * bytes of the destination are written; both are long-standing behaviour
 * that stored sounds rely on.
 */
KENRO_EXPORT void scaleSample(void *destination, void const *source, float factor,
                              unsigned short bits);

/**
 * Converts \a sample in place to the channels, bits and frequency of \a info
 * (its frames are ignored) with the best sinc converter of libsamplerate.
 * A channel change is stereo to mono or mono to stereo. Returns false, with
 * \a sample untouched, when the converter refuses the job, as it does for a
 * frequency ratio outside 1/256 to 256.
 */
KENRO_EXPORT bool resampleSound(SoundSample &sample, SampleInfo info);

/// The file-dialog filter text of \a type; null for an unknown type.
KENRO_EXPORT char const *soundFileExtension(SoundExtensionType type);

} // namespace Kenro
