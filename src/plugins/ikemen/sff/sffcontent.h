#pragma once

#include <kenro/imaging/rgb.h>

#include <QByteArray>
#include <QImage>
#include <QList>

#include <memory>

namespace Kenro::Ikemen {

/// The versions of sprite archive that are read and written.
enum class SffVersion {
    V101, ///< PCX sprites with shared or own palettes
    V200, ///< 5- and 8-bit compressed sprites and a palette list
    V201 ///< as 2.00, with PNG sprites of 8, 24 and 32 bits
};

/// Codes of the pixel formats of version 2 sprite nodes.
enum SffFormat : quint8 {
    FormatRaw = 0,
    FormatRLE8 = 2,
    FormatRLE5 = 3,
    FormatLZ5 = 4,
    FormatPNG8 = 10,
    FormatPNG24 = 11,
    FormatPNG32 = 12,
    /// Nothing stored yet: the writer picks a format.
    FormatNone = 0xFF
};

/**
 * One decoded image. Indexed images hold palette indices (their colour table
 * is not the sprite's palette); others are RGB32 or ARGB32. The bytes as read
 * from a version 2 archive stay beside it, so that an untouched image is
 * written back as it came.
 */
struct SffImage
{
    QImage image;
    QByteArray stored; ///< the node's data, length prefix included
    quint8 storedFormat = FormatNone;
    quint8 storedDepth = 0;
    bool storedInTranslateBlock = false;
};

/// One palette: up to 256 colours, of which the archive holds `colorCount`.
struct SffPaletteData
{
    quint16 group = 0;
    quint16 number = 0;
    quint16 colorCount = 256;
    RGBA colors[256];
    /// The colours as a version 2 archive stored them, with their fourth bytes.
    QByteArray stored;
};

/// One sprite: where it stands, its image (shared by linked sprites) and its palette.
struct SffSpriteData
{
    quint16 group = 0;
    quint16 number = 0;
    qint16 axisX = 0;
    qint16 axisY = 0;
    std::shared_ptr<SffImage> image;
    int palette = -1; ///< index in SffContent::palettes, or -1
};

/// The whole content of a sprite archive, apart from any model.
struct SffContent
{
    SffVersion version = SffVersion::V201;
    /// Version 1.01 only: the sprites take the character's palette.
    bool sharedPalette = false;
    QList<SffPaletteData> palettes;
    QList<SffSpriteData> sprites;
};

/**
 * Sets the alpha of \a colors as sprite archives mean it: colour 0 is the
 * transparent one, every other colour is opaque. No version stores alpha.
 */
inline void setSffAlpha(RGBA (&colors)[256])
{
    for (int i = 0; i < 256; ++i)
        colors[i].a = i == 0 ? 0 : 255;
}

} // namespace Kenro::Ikemen
