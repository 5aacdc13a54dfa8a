#pragma once

#include <kenro/kenro_export.h>

#include <QImage>
#include <QSize>

namespace Kenro {

/// Width, height and pixel format of an image, as far as a header tells.
struct KENRO_EXPORT ImageInfo
{
    quint16 width = 0;
    quint16 height = 0;
    QImage::Format format = QImage::Format_Indexed8;

    QSize size() const { return QSize(width, height); }
};

/**
 * The pixel format of \a bits per pixel, as PCX, BMP and GIF headers give it:
 * 5 and 8 are indexed, 24 is RGB32, 32 is ARGB32; anything else is invalid.
 */
KENRO_EXPORT QImage::Format imageFormatOfDepth(int bits);

/**
 * The bits per pixel that the stream formats store for \a format: 8 for
 * indexed, 24 for RGB32, 32 for both ARGB32 formats, 0 for any other.
 */
KENRO_EXPORT int imageDepthOfFormat(QImage::Format format);

} // namespace Kenro
