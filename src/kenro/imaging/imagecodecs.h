#pragma once

#include <kenro/kenro_export.h>

#include <QImage>

class QIODevice;

namespace Kenro {

// Pixel streams on a device, into a QImage and back. Each load opens a device
// that is not readable yet for reading, and each save one that is not writable
// yet for writing; a device that cannot be opened gives false and leaves the
// image untouched. No function closes the device. Decoders leave whatever
// follows their stream unread.
//
// LZ5, RLE5 and RLE8 streams have no header: the caller hands in an image that
// already has its size and format, and the decoder fills it. A stream that
// ends early leaves the rest of an RLE image as it was and the rest of an LZ5
// image zero; it gives true unless a packet was cut short.

/// Reads a PNG image into \a image. True once the device is open, even if the data is bad.
KENRO_EXPORT bool loadPNG(QImage &image, QIODevice *device);
/**
 * Writes \a image as PNG. The device is opened for writing only when it is
 * not readable, so a device open for reading only is not reopened and fails.
 */
KENRO_EXPORT bool savePNG(QImage const &image, QIODevice *device);

/**
 * Reads a PCX file of 5, 8, 24 or 32 bits into \a image, which is replaced
 * when its size or format differs. An 8-bit file gets its 256-colour palette,
 * or the 16 header colours and black when it has none; \a hasPalette, if
 * given, tells which. False for a bad header (image untouched) and for pixel
 * data that ends early (image null).
 */
KENRO_EXPORT bool loadPCX(QImage &image, QIODevice *device, bool *hasPalette);
/**
 * Writes \a image as PCX: indexed images as one plane with a 256-colour
 * palette, RGB32 as three planes and ARGB32 as four. Other formats get a
 * header only.
 */
KENRO_EXPORT bool savePCX(QImage const &image, QIODevice *device);

/// Decodes an LZ5 stream of palette indices into the sized \a image.
KENRO_EXPORT bool loadLZ5(QImage &image, QIODevice *device);
/**
 * Encodes the bytes of \a image as LZ5: runs only, or runs and references
 * back to earlier pixels with \a useBackReferences.
 */
KENRO_EXPORT bool saveLZ5(QImage const &image, QIODevice *device, bool useBackReferences);

/// Decodes an RLE5 stream of palette indices into the sized \a image.
KENRO_EXPORT bool loadRLE5(QImage &image, QIODevice *device);
/// There is no RLE5 encoder: always false, and nothing is written.
KENRO_EXPORT bool saveRLE5(QImage const &image, QIODevice *device);

/// Decodes an RLE8 stream of the bytes of each line into the sized \a image.
KENRO_EXPORT bool loadRLE8(QImage &image, QIODevice *device);
/// Encodes the bytes of \a image as RLE8, runs crossing line ends.
KENRO_EXPORT bool saveRLE8(QImage const &image, QIODevice *device);

} // namespace Kenro
