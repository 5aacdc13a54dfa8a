#include "figure.h"

#include <algorithm>
#include <cmath>

using Kenro::Ikemen::SffImage;
using Kenro::Ikemen::SffPaletteData;
using Kenro::Ikemen::SffSpriteData;

namespace KenroSample {

namespace {

// Where the feet stand: the axis of every figure sprite.
QPoint const groundAxis(32, 92);

void plot(QImage &image, int x, int y, uchar colour)
{
    if (x >= 0 && y >= 0 && x < image.width() && y < image.height())
        image.scanLine(y)[x] = colour;
}

void disc(QImage &image, QPoint centre, int radius, uchar colour)
{
    // r * r + r rounds the rim better than r * r on small discs.
    int const limit = radius * radius + radius;
    for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
            if (dx * dx + dy * dy <= limit)
                plot(image, centre.x() + dx, centre.y() + dy, colour);
        }
    }
}

// A stroke from a to b whose ends are round; width counts pixels across.
void stroke(QImage &image, QPoint a, QPoint b, int width, uchar colour)
{
    // Squared distances in quarter pixels keep the test in integers.
    int const reach = width * width;
    int const dx = b.x() - a.x();
    int const dy = b.y() - a.y();
    long const length = long(dx) * dx + long(dy) * dy;
    int const pad = width / 2 + 1;
    for (int y = std::min(a.y(), b.y()) - pad; y <= std::max(a.y(), b.y()) + pad; ++y) {
        for (int x = std::min(a.x(), b.x()) - pad; x <= std::max(a.x(), b.x()) + pad; ++x) {
            long const px = x - a.x();
            long const py = y - a.y();
            long distance; // four times the squared distance to the segment
            if (length == 0) {
                distance = 4 * (px * px + py * py);
            } else {
                long const along = std::clamp(px * dx + py * dy, 0L, length);
                // The nearest point is a + (b - a) * along / length; work in units of length.
                long const ex = px * length - along * dx;
                long const ey = py * length - along * dy;
                double const exact = double(ex) * ex + double(ey) * ey;
                distance = long(std::lround(4 * exact / (double(length) * length)));
            }
            if (distance <= reach)
                plot(image, x, y, colour);
        }
    }
}

// A limb through three joints, with its outline.
void limb(QImage &image, QPoint from, QPoint joint, QPoint to, int width, uchar colour)
{
    stroke(image, from, joint, width + 2, Outline);
    stroke(image, joint, to, width + 2, Outline);
    stroke(image, from, joint, width, colour);
    stroke(image, joint, to, width, colour);
}

void spark(QImage &image, QPoint centre)
{
    QPoint const rays[] = {{7, 0}, {-5, 0}, {4, -6}, {4, 6}, {-3, -5}, {-3, 5}};
    for (QPoint const &ray : rays)
        stroke(image, centre, centre + ray, 2, Spark);
    disc(image, centre, 2, SparkCore);
}

QImage blank(QSize size)
{
    QImage image(size, QImage::Format_Indexed8);
    QList<QRgb> table;
    SffPaletteData const palette = figurePalette();
    for (int i = 0; i < 256; ++i) {
        auto const &colour = palette.colors[i];
        table.append(qRgba(colour.r, colour.g, colour.b, colour.a));
    }
    image.setColorTable(table);
    image.fill(Clear);
    return image;
}

SffSpriteData sprite(quint16 group, quint16 number, QPoint axis, QImage const &image)
{
    SffSpriteData data;
    data.group = group;
    data.number = number;
    data.axisX = qint16(axis.x());
    data.axisY = qint16(axis.y());
    data.image = std::make_shared<SffImage>();
    data.image->image = image;
    data.palette = 0;
    return data;
}

// The face of the select screen: the head, large, with its headband.
QImage portrait()
{
    QImage image = blank(QSize(25, 25));
    disc(image, QPoint(12, 13), 11, Outline);
    disc(image, QPoint(12, 13), 10, Skin);
    stroke(image, QPoint(3, 8), QPoint(21, 8), 3, Belt);
    stroke(image, QPoint(21, 8), QPoint(24, 12), 2, Belt);
    plot(image, 15, 13, Outline);
    plot(image, 19, 13, Outline);
    stroke(image, QPoint(15, 19), QPoint(19, 19), 1, Outline);
    return image;
}

} // namespace

SffPaletteData figurePalette()
{
    SffPaletteData palette;
    palette.group = 1;
    palette.number = 1;
    palette.colorCount = 256;
    for (auto &colour : palette.colors)
        colour = {0, 0, 0, 255};
    auto set = [&](Colour index, quint8 r, quint8 g, quint8 b) {
        palette.colors[index] = {r, g, b, 255};
    };
    set(Outline, 24, 24, 32);
    set(Skin, 232, 184, 136);
    set(Gi, 240, 240, 232);
    set(GiShade, 176, 176, 188);
    set(Belt, 200, 40, 40);
    set(Spark, 255, 200, 40);
    set(SparkCore, 255, 255, 208);
    Kenro::Ikemen::setSffAlpha(palette.colors);
    return palette;
}

QImage drawFigure(QSize size, Pose const &pose)
{
    QImage image = blank(size);
    // Far limbs first, so that the body and the near ones cover them.
    limb(image, pose.neck, pose.elbow[1], pose.hand[1], 4, GiShade);
    limb(image, pose.hip, pose.knee[1], pose.foot[1], 5, GiShade);
    stroke(image, pose.neck, pose.hip, 9, Outline);
    stroke(image, pose.neck, pose.hip, 7, Gi);
    QPoint const belt = pose.hip + (pose.neck - pose.hip) / 6;
    stroke(image, belt - QPoint(3, 0), belt + QPoint(3, 0), 2, Belt);
    limb(image, pose.hip, pose.knee[0], pose.foot[0], 5, Gi);
    limb(image, pose.neck, pose.elbow[0], pose.hand[0], 4, Gi);
    for (QPoint const &hand : pose.hand)
        disc(image, hand, 2, Skin);
    disc(image, pose.head, 8, Outline);
    disc(image, pose.head, 7, Skin);
    stroke(image, pose.head + QPoint(-6, -3), pose.head + QPoint(6, -3), 2, Belt);
    plot(image, pose.head.x() + 4, pose.head.y(), Outline);
    if (pose.spark)
        spark(image, pose.hand[0] + QPoint(6, 0));
    return image;
}

QList<SffSpriteData> figureSprites()
{
    QSize const body(64, 96);
    QSize const reaching(88, 96);

    Pose stand;
    stand.head = {34, 13};
    stand.neck = {33, 24};
    stand.hip = {31, 56};
    stand.elbow[0] = {41, 37};
    stand.hand[0] = {47, 29};
    stand.elbow[1] = {25, 38};
    stand.hand[1] = {37, 32};
    stand.knee[0] = {38, 73};
    stand.foot[0] = {43, 91};
    stand.knee[1] = {25, 73};
    stand.foot[1] = {21, 91};

    // Breathing out: the upper body a pixel lower.
    Pose breathe = stand;
    for (QPoint *point : {&breathe.head, &breathe.neck, &breathe.elbow[0], &breathe.elbow[1],
                          &breathe.hand[0], &breathe.hand[1]})
        *point += QPoint(0, 1);

    Pose crouch = stand;
    crouch.head = {35, 45};
    crouch.neck = {33, 56};
    crouch.hip = {29, 78};
    crouch.elbow[0] = {41, 67};
    crouch.hand[0] = {47, 59};
    crouch.elbow[1] = {26, 69};
    crouch.hand[1] = {38, 62};
    crouch.knee[0] = {44, 76};
    crouch.foot[0] = {41, 91};
    crouch.knee[1] = {18, 80};
    crouch.foot[1] = {22, 91};

    Pose windUp = stand;
    windUp.head = {33, 14};
    windUp.neck = {32, 25};
    windUp.elbow[0] = {23, 40};
    windUp.hand[0] = {30, 33};
    windUp.elbow[1] = {42, 36};
    windUp.hand[1] = {48, 29};
    windUp.knee[0] = {42, 73};
    windUp.foot[0] = {47, 91};

    Pose punch = windUp;
    punch.head = {37, 14};
    punch.neck = {36, 25};
    punch.elbow[0] = {52, 27};
    punch.hand[0] = {68, 27};
    punch.elbow[1] = {27, 38};
    punch.hand[1] = {35, 33};
    punch.spark = true;

    Pose hit = stand;
    hit.head = {24, 17};
    hit.neck = {26, 28};
    hit.hip = {32, 58};
    hit.elbow[0] = {19, 37};
    hit.hand[0] = {11, 31};
    hit.elbow[1] = {36, 40};
    hit.hand[1] = {43, 45};
    hit.knee[0] = {40, 75};
    hit.foot[0] = {45, 91};
    hit.knee[1] = {26, 75};
    hit.foot[1] = {20, 91};

    return {
        sprite(0, 0, groundAxis, drawFigure(body, stand)),
        sprite(0, 1, groundAxis, drawFigure(body, breathe)),
        sprite(10, 0, groundAxis, drawFigure(body, crouch)),
        sprite(200, 0, groundAxis, drawFigure(reaching, windUp)),
        sprite(200, 1, groundAxis, drawFigure(reaching, punch)),
        sprite(5000, 0, groundAxis, drawFigure(body, hit)),
        sprite(9000, 0, QPoint(0, 0), portrait()),
    };
}

} // namespace KenroSample
