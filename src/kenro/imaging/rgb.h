#pragma once

#include <QRgb>
#include <QtGlobal>

namespace Kenro {

/// A colour of three bytes, red first, as palette files and PCX store it.
struct RGB
{
    uchar r;
    uchar g;
    uchar b;

    bool operator==(RGB const &other) const { return r == other.r && g == other.g && b == other.b; }
    bool operator!=(RGB const &other) const { return !(*this == other); }
};

/**
 * A colour with alpha: four bytes, red first, so one 32-bit word with red in
 * the lowest byte. A palette is always RGBA[256]; an alpha of 0 is transparent.
 * A Qt QRgb (0xAARRGGBB) has red and blue the other way round, hence the two
 * converters for every crossing into and out of a QImage colour table.
 */
struct RGBA
{
    uchar r;
    uchar g;
    uchar b;
    uchar a;

    /// The same colour as a Qt 0xAARRGGBB value.
    QRgb toQRgb() const { return qRgba(r, g, b, a); }
    /// \a rgb, a Qt 0xAARRGGBB value, as red, green, blue and alpha bytes.
    static RGBA fromQRgb(QRgb rgb)
    {
        return RGBA{uchar(qRed(rgb)), uchar(qGreen(rgb)), uchar(qBlue(rgb)), uchar(qAlpha(rgb))};
    }

    bool operator==(RGBA const &other) const
    {
        return r == other.r && g == other.g && b == other.b && a == other.a;
    }
    bool operator!=(RGBA const &other) const { return !(*this == other); }
};

static_assert(sizeof(RGB) == 3, "RGB is three packed bytes");
static_assert(sizeof(RGBA) == 4, "RGBA is one 32-bit word");

} // namespace Kenro
