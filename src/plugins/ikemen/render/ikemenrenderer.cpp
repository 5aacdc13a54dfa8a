#include "ikemenrenderer.h"

#include <ikemen/sff/sffpalette.h>
#include <ikemen/sff/sffsprite.h>

#include <kenro/imaging/palettes.h>
#include <kenro/imaging/sprites.h>

#include <kenro/code/framecode.h>
#include <kenro/render/texture.h>

#include <QPaintEngine>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Kenro::Ikemen {

namespace {

using Blend = FrameCode::Blend;

QRgb withEffect(QRgb color, int effect)
{
    int r = qRed(color), g = qGreen(color), b = qBlue(color);
    switch (effect) {
    case GraphicsRenderer::Grayscale:
        g = b = r;
        break;
    case GraphicsRenderer::Lighter:
        r = std::min(255, r + 128), g = std::min(255, g + 128), b = std::min(255, b + 128);
        break;
    case GraphicsRenderer::Darker:
        r = std::max(0, r - 128), g = std::max(0, g - 128), b = std::max(0, b - 128);
        break;
    default:
        break;
    }
    return qRgba(r, g, b, qAlpha(color));
}

// \a image (indices through \a colors, or colours) as premultiplied colours with \a effect.
QImage colored(QImage image, QList<QRgb> colors, int effect)
{
    if (image.format() == QImage::Format_Indexed8) {
        if (colors.isEmpty())
            colors = image.colorTable();
        for (QRgb &c : colors)
            c = withEffect(c, effect);
        image.setColorTable(colors);
    } else if (effect != GraphicsRenderer::NoEffect) {
        image = image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            QRgb *line = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < image.width(); ++x)
                line[x] = withEffect(line[x], effect);
        }
    }
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// Where the axis lies in the image as it is drawn: flipped with it.
QPointF drawnAxis(QPoint axis, QSize size, unsigned char flip)
{
    return QPointF(flip & 1 ? size.width() - axis.x() : axis.x(),
                   flip & 2 ? size.height() - axis.y() : axis.y());
}

QPoint axisOf(Sprite const *sprite)
{
    auto const *sff = dynamic_cast<SffSprite const *>(sprite);
    return sff ? sff->axis() : QPoint();
}

// The sprite's palette; one without takes the first of its archive, as the
// runtime shows a sprite of a shared palette.
SffPalette const *paletteOf(SffSprite const *sprite)
{
    Palette const *palette = sprite->palette();
    Palettes const *all = sprite->parent() ? sprite->parent()->palettes() : nullptr;
    if (!palette && all && all->count() > 0)
        palette = all->at(0);
    return static_cast<SffPalette const *>(palette);
}

} // namespace

IkemenRenderer::IkemenRenderer(QObject *parent) : GraphicsRenderer(parent) {}

IkemenRenderer::~IkemenRenderer() = default;

void IkemenRenderer::clearCache()
{
    m_painted.clear();
    m_textures.clear();
    m_palettes.clear();
    m_foreign.clear();
}

QRect IkemenRenderer::spriteBounds(Sprite const *sprite) const
{
    QRect const bounds = GraphicsRenderer::spriteBounds(sprite);
    return bounds.translated(-axisOf(sprite));
}

QImage IkemenRenderer::paintedImage(Sprite const *sprite, int effect)
{
    auto const *sff = dynamic_cast<SffSprite const *>(sprite);
    if (!sff)
        return colored(sprite->image(), {}, effect);
    std::shared_ptr<SffImage> const &data = sff->imageData();
    if (!data || data->image.isNull())
        return QImage();
    bool const indexed = data->image.format() == QImage::Format_Indexed8;
    SffPalette const *palette = indexed ? paletteOf(sff) : nullptr;
    if (indexed && !palette)
        return QImage();
    QList<QRgb> const colors = palette ? palette->qtColorTable() : QList<QRgb>();
    if (!m_painted.contains(data.get()) && m_painted.size() > 1024)
        m_painted.removeIf([](auto const &entry) { return entry.value().source.expired(); });
    Painted &painted = m_painted[data.get()];
    if (painted.source.lock() != data || painted.colors != colors || painted.effect != effect ||
        painted.image.isNull()) {
        painted.source = data;
        painted.colors = colors;
        painted.effect = effect;
        painted.image = colored(data->image, colors, effect);
    }
    return painted.image;
}

void IkemenRenderer::paint(QPainter &painter, SpriteProvider::Info const &info, int effect,
                           float opacity)
{
    QImage const image = paintedImage(info.sprite, effect);
    if (image.isNull())
        return;
    QPainter::CompositionMode mode = QPainter::CompositionMode_SourceOver;
    bool subtract = false;
    switch (info.blendMode) {
    case Blend::Addition:
        mode = QPainter::CompositionMode_Plus;
        opacity *= float(info.blendSource);
        break;
    case Blend::Subtraction:
        // Raster surfaces subtract as the inverse of adding to the inverse; others have no
        // subtraction, and the difference comes closest.
        subtract = painter.paintEngine()->hasFeature(QPaintEngine::RasterOpModes);
        mode = subtract ? QPainter::CompositionMode_Plus : QPainter::CompositionMode_Difference;
        opacity *= float(info.blendSource);
        break;
    case Blend::Overlay:
        mode = QPainter::CompositionMode_Overlay;
        break;
    case Blend::HardLight:
        mode = QPainter::CompositionMode_HardLight;
        break;
    case Blend::Dodge:
        mode = QPainter::CompositionMode_ColorDodge;
        break;
    case Blend::Opacity:
        opacity *= float(info.blendSource);
        break;
    default:
        break;
    }
    QPoint const axis = axisOf(info.sprite);
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter.setCompositionMode(mode);
    painter.setOpacity(std::clamp(opacity, 0.0f, 1.0f));
    painter.translate(info.screenPosition);
    painter.rotate(-info.angle);
    painter.scale(info.flip & 1 ? -std::abs(info.screenScale.x()) : std::abs(info.screenScale.x()),
                  info.flip & 2 ? -std::abs(info.screenScale.y()) : std::abs(info.screenScale.y()));
    QRect const area(-axis, image.size());
    auto invert = [&] {
        painter.save();
        painter.setOpacity(1.0);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setCompositionMode(QPainter::RasterOp_NotDestination);
        painter.fillRect(area, Qt::white);
        painter.restore();
    };
    if (subtract)
        invert();
    painter.drawImage(area.topLeft(), image);
    if (subtract)
        invert();
    painter.restore();
}

void IkemenRenderer::drawSprite(QPainter &painter, SpriteProvider::Info const &info)
{
    paint(painter, info, NoEffect, 1.0f);
}

void IkemenRenderer::drawOnionSkin(QPainter &painter, SpriteProvider::Info const &onion,
                                   OnionEffect effect, float strength)
{
    paint(painter, onion, effect, strength);
}

void IkemenRenderer::glPaint(SpriteProvider::Info const &info, int effect, float opacity)
{
    auto const *sff = dynamic_cast<SffSprite const *>(info.sprite);
    Texture const *image = nullptr;
    Texture const *palette = nullptr;
    if (sff) {
        std::shared_ptr<SffImage> const &data = sff->imageData();
        if (!data || data->image.isNull())
            return;
        if (!m_textures.contains(data.get()) && m_textures.size() > 1024)
            m_textures.removeIf([](auto const &entry) { return entry.value().source.expired(); });
        Uploaded &uploaded = m_textures[data.get()];
        if (uploaded.source.lock() != data || !uploaded.texture) {
            uploaded.source = data;
            uploaded.texture = std::make_shared<Texture>(data->image);
        }
        image = uploaded.texture.get();
        if (image->type() == Texture::Indexed) {
            SffPalette const *colors = paletteOf(sff);
            if (!colors)
                return;
            PaletteTexture &entry = m_palettes[colors];
            if (!entry.texture || entry.colors != colors->qtColorTable()) {
                entry.colors = colors->qtColorTable();
                entry.texture = std::make_shared<Texture>(colors->data().colors);
            }
            palette = entry.texture.get();
        }
    } else {
        // Sprites of other kinds are uploaded again when their image changes.
        QImage const picture = info.sprite->image();
        Foreign &entry = m_foreign[info.sprite];
        if (!entry.texture || entry.key != picture.cacheKey()) {
            entry.key = picture.cacheKey();
            entry.texture =
                std::make_shared<Texture>(picture.convertToFormat(QImage::Format_ARGB32));
        }
        image = entry.texture.get();
    }
    QPointF const axis = drawnAxis(axisOf(info.sprite), image->size(), info.flip);
    QMatrix4x4 model;
    model.translate(float(info.screenPosition.x()), float(info.screenPosition.y()));
    model.rotate(float(-info.angle), 0.0f, 0.0f, 1.0f);
    model.scale(float(std::abs(info.screenScale.x())), float(std::abs(info.screenScale.y())));
    model.translate(float(-axis.x()), float(-axis.y()));
    RenderPacket packet;
    if (!glRenderPacket(packet, model, image, palette, info.flip & 3, 1.0f, 0.5f))
        return;
    // Indexed images leave the shader with plain colours, others premultiplied.
    BlendFactor const source = palette ? SourceAlpha : One;
    BlendFactor destination = OneMinusSourceAlpha;
    BlendEquation equation = Add;
    double const d = std::clamp(info.blendDestination, 0.0, 1.0);
    switch (info.blendMode) {
    case Blend::Subtraction:
        equation = ReverseSubtract;
        [[fallthrough]];
    case Blend::Addition:
        opacity *= float(info.blendSource);
        destination = d >= 1.0 ? One : ConstantAlpha;
        glSetBlendColor(QColor::fromRgbF(0.0f, 0.0f, 0.0f, float(d)));
        break;
    case Blend::Dodge:
        destination = One;
        break;
    case Blend::Opacity:
        opacity *= float(info.blendSource);
        break;
    default:
        break;
    }
    packet.effect = uchar(effect & 3);
    packet.opacity = std::clamp(opacity, 0.0f, 1.0f);
    glSetBlend(true);
    glSetBlendEquation(equation);
    glSetBlendFunction(source, destination);
    // A subtraction takes the colours from the surface, not its coverage.
    bool const keepAlpha = equation == ReverseSubtract;
    if (keepAlpha)
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);
    glDrawImage(packet);
    if (keepAlpha)
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

void IkemenRenderer::glDrawSprite(SpriteProvider::Info const &info)
{
    glPaint(info, NoEffect, 1.0f);
}

void IkemenRenderer::glDrawOnionSkin(SpriteProvider::Info const &onion, OnionEffect effect,
                                     float strength)
{
    glPaint(onion, effect, strength);
}

} // namespace Kenro::Ikemen
