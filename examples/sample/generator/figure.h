#pragma once

#include <sffcontent.h>

#include <QImage>
#include <QPoint>

namespace KenroSample {

/// Colour indices of the figure's palette; 0 is the transparent colour.
enum Colour : uchar {
    Clear = 0,
    Outline = 1,
    Skin = 2,
    Gi = 3,
    GiShade = 4,
    Belt = 5,
    Spark = 6,
    SparkCore = 7,
};

/// Where the joints of the figure stand in one pose, in image pixels.
struct Pose
{
    QPoint head;
    QPoint neck;
    QPoint hip;
    QPoint elbow[2];
    QPoint hand[2];
    QPoint knee[2];
    QPoint foot[2];
    /// A spark at the front hand, for the frame that lands a blow.
    bool spark = false;
};

/// The figure's palette: the few colours above, black after them.
Kenro::Ikemen::SffPaletteData figurePalette();

/**
 * An indexed image of \a size with \a pose drawn on it: a stick figure in a
 * white fighting suit, limbs as thick strokes, the far limbs in shade.
 * Drawing works on palette indices directly, so that the pixels are the same
 * on every machine.
 */
QImage drawFigure(QSize size, Pose const &pose);

/// The sprites of the sample: group, number, axis and image.
QList<Kenro::Ikemen::SffSpriteData> figureSprites();

} // namespace KenroSample
