#pragma once

#include <kenro/kenro_export.h>
#include <kenro/sound/soundsample.h>

class QIODevice;

namespace Kenro {

/**
 * Reads \a sample from \a device in \a format: "WAV", "OGG", "FLAC" or "MP3",
 * compared case-sensitively, or else the first sound reader extension of
 * that format that succeeds. Opens the device read-only when it is closed.
 * Returns whether sound data was read.
 */
KENRO_EXPORT bool loadSound(QIODevice *device, char const *format, SoundSample &sample);

/**
 * Writes \a sample to \a device in \a format: "WAV", "OGG" or "FLAC", or else
 * through the first sound writer extension of that format that succeeds.
 * Opens the device write-only when it is closed. Returns false when nothing
 * took the job or writing failed.
 */
KENRO_EXPORT bool saveSound(QIODevice *device, char const *format, SoundSample const &sample);

/**
 * Reads a PCM WAV file. The "fmt " chunk must come first; the samples are
 * those behind the first "data" found, and a file cut short loads with a
 * silent tail. Returns an empty sample on failure.
 */
KENRO_EXPORT SoundSample soundFromWAV(QIODevice *device);
/// The header of a WAV file without its samples; 0, 1, 0, 0 when the device cannot be opened.
KENRO_EXPORT SampleInfo soundInfoFromWAV(QIODevice *device);
/// Writes \a sample as a canonical 44-byte-header PCM WAV file; false on a write failure.
KENRO_EXPORT bool soundToWAV(SoundSample const &sample, QIODevice *device);

/// Decodes a FLAC stream (8, 16, 24 or 32 bits); an empty sample on failure.
KENRO_EXPORT SoundSample soundFromFLAC(QIODevice *device);
/**
 * Encodes \a sample as FLAC at compression level 8. 16-bit samples reach the
 * encoder through their low byte only and 8-bit ones uncentred, as files of
 * this kind have always been written; 24 and 32 bits are lossless. Returns
 * false when the device fails or the encoder refuses the samples, as libFLAC
 * 1.4 does with 8-bit bytes above 127.
 */
KENRO_EXPORT bool soundToFLAC(SoundSample const &sample, QIODevice *device);

/// Decodes an Ogg Vorbis stream to 16 bits; an empty sample on failure.
KENRO_EXPORT SoundSample soundFromOGG(QIODevice *device);
/**
 * Encodes \a sample as Ogg Vorbis at VBR quality 0.4. The count of frames
 * written is frames / channels, so that stereo sound keeps its first half,
 * and a stream whose length is no multiple of 65536 frames is not closed
 * with an end-of-stream packet. Returns false when the encoder cannot start.
 */
KENRO_EXPORT bool soundToOGG(SoundSample const &sample, QIODevice *device);

/// Decodes an MP3 stream to 16 bits; an empty sample on failure.
KENRO_EXPORT SoundSample soundFromMP3(QIODevice *device);

} // namespace Kenro
