// How the stage paints itself, layer by layer.
#include <kenro/render/graphicsrenderer.h>

#include "graphicsrenderer_p.h"

#include <QLinearGradient>
#include <QPainter>

#include <cmath>

namespace Kenro {

namespace {

int positiveModulo(int value, int divisor)
{
    int const m = value % divisor;
    return m < 0 ? m + divisor : m;
}

} // namespace

void GraphicsRendererPrivate::renderBackground(QPainter &painter, bool withImage)
{
    GraphicsRendererStatics const &s = graphicsStatics();
    QLinearGradient gradient(0.0, 0.0, 0.0, std::max(1, viewSize.height()));
    gradient.setColorAt(0.0, s.backgroundFirst);
    gradient.setColorAt(1.0, s.backgroundSecond);
    painter.fillRect(QRect(QPoint(0, 0), viewSize), gradient);
    if (!withImage || s.background.isNull())
        return;
    QPointF const at(s.origin.x() + s.backgroundPosition.x() * scaleX,
                     s.origin.y() + s.backgroundPosition.y() * scaleY);
    painter.drawImage(
        QRectF(at, QSizeF(s.background.width() * scaleX, s.background.height() * scaleY)),
        s.background);
}

void GraphicsRendererPrivate::renderRulers(QPainter &painter)
{
    if (!rulersVisible)
        return;
    GraphicsRendererStatics const &s = graphicsStatics();
    int const w = viewSize.width(), h = viewSize.height();
    painter.fillRect(QRect(0, 0, 30, h), s.backgroundFirst);
    painter.fillRect(QRect(30, 0, w - 30, 30), s.backgroundFirst);
    painter.fillRect(QRect(10, 30, 10, h - 30), s.backgroundSecond);
    painter.fillRect(QRect(30, 10, w - 30, 10), s.backgroundSecond);
    QColor const first = s.backgroundFirst;
    QColor const ink(255 - first.red(), 255 - first.green(), 255 - first.blue());
    painter.setPen(ink);
    QFont font = painter.font();
    font.setPixelSize(9);
    painter.setFont(font);
    // One axis at a time: along x on the top bar, along y on the left one.
    for (int axis = 0; axis < 2; ++axis) {
        double const scale = axis ? scaleY : scaleX;
        int const origin = axis ? s.origin.y() : s.origin.x();
        int const length = axis ? h : w;
        int const worldStep = std::max(1, int(10.0 / scale));
        int const pixelStep = std::max(1, int(worldStep * scale));
        bool labelled = false;
        for (int at = positiveModulo(origin - 30, pixelStep) + 30; at < length; at += pixelStep) {
            int const n = (at - origin) / pixelStep;
            bool const major = n % 5 == 0;
            int const from = major ? 20 : 24;
            // Ticks are filled, not stroked: every paint engine puts a filled
            // pixel on the same place.
            painter.fillRect(axis ? QRect(from, at, 30 - from, 1) : QRect(at, from, 1, 30 - from),
                             ink);
            if (!major)
                continue;
            if (labelled) {
                // The left bar's numbers read upwards, so that long ones fit.
                painter.save();
                painter.translate(axis ? QPoint(0, at) : QPoint(at, 0));
                if (axis)
                    painter.rotate(-90.0);
                painter.drawText(QRect(-5 * pixelStep, 0, 10 * pixelStep, 30), Qt::AlignCenter,
                                 QString::number(n * worldStep));
                painter.restore();
            }
            labelled = true;
        }
    }
}

void GraphicsRendererPrivate::renderGuides(QPainter &painter)
{
    if (!guidesVisible)
        return;
    GraphicsRendererStatics const &s = graphicsStatics();
    int const t = thickness();
    QPoint const at =
        QPointF(s.origin.x() + guideLines.x() * scaleX, s.origin.y() + guideLines.y() * scaleY)
            .toPoint();
    QColor const cyan(0, 255, 255, 255);
    painter.fillRect(QRect(0, at.y(), viewSize.width(), t), cyan);
    painter.fillRect(QRect(at.x(), 0, t, viewSize.height()), cyan);
}

void GraphicsRendererPrivate::renderCross(QPainter &painter)
{
    GraphicsRendererStatics const &s = graphicsStatics();
    bool const smooth = painter.testRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
    int const t = thickness();
    for (int i = 0; i < 3; ++i) {
        QImage const &image = s.crosses[i];
        if (!crosses[i].visible || image.isNull())
            continue;
        QPoint const at = crossScreen(i).toPoint();
        painter.drawImage(QRect(at.x() - image.width() / 2 * t, at.y() - image.height() / 2 * t,
                                image.width() * t, image.height() * t),
                          image);
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
}

void GraphicsRendererPrivate::renderOnionSkin(QPainter &painter)
{
    if (!onionOn || !onionSprite)
        return;
    SpriteProvider::Info onion;
    onion.sprite = onionSprite;
    onion.position = onionOffset;
    onion.screenPosition = spriteScreen(onion).toPoint();
    onion.screenScale = QPointF(scaleX, scaleY);
    auto const effect = GraphicsRenderer::OnionEffect(onionEffect);
    if (q->isOpenGL())
        q->glDrawOnionSkin(onion, effect, onionStrength);
    else
        q->drawOnionSkin(painter, onion, effect, onionStrength);
}

void GraphicsRendererPrivate::renderSprites(QPainter &painter)
{
    if (!q->updateSprites())
        return;
    for (unsigned int i = 0; i < sprites->count(); ++i) {
        SpriteProvider::Info const *info = sprites->info(i);
        if (!info || !info->sprite)
            continue;
        if (q->isOpenGL())
            q->glDrawSprite(*info);
        else
            q->drawSprite(painter, *info);
    }
}

void GraphicsRendererPrivate::renderContactBoxes(QPainter &painter, int type, QColor color,
                                                 QColor secondColor)
{
    if (!boxesVisible[type])
        return;
    GraphicsRendererStatics const &s = graphicsStatics();
    if (!color.isValid())
        color = s.boxColors[type];
    if (!secondColor.isValid())
        secondColor = color;
    int const t = thickness();
    for (Box const &box : boxes[type]) {
        QRect const r = boxScreen(box.rect);
        if (box.selected)
            painter.fillRect(r, QBrush(color, type == 0 ? Qt::FDiagPattern : Qt::BDiagPattern));
        painter.setOpacity(s.boxOpacity * 0.5);
        painter.fillRect(r, color);
        painter.setOpacity(1.0);
        painter.fillRect(QRect(r.x(), r.y(), r.width(), t), secondColor);
        painter.fillRect(QRect(r.x(), r.y() + r.height() - t, r.width(), t), secondColor);
        painter.fillRect(QRect(r.x(), r.y(), t, r.height()), secondColor);
        painter.fillRect(QRect(r.x() + r.width() - t, r.y(), t, r.height()), secondColor);
    }
}

void GraphicsRendererPrivate::renderContactBoxSizers(QPainter &painter)
{
    if (clickMode == GraphicsRenderer::DrawingContactBox || !anySelected())
        return;
    painter.setPen(Qt::gray);
    painter.setBrush(Qt::white);
    for (QPoint const &at : handles())
        painter.drawRect(QRect(at.x() - 4, at.y() - 4, 7, 7));
    painter.setBrush(Qt::NoBrush);
}

void GraphicsRenderer::render(QPainter &painter)
{
    GraphicsRendererStatics const &s = graphicsStatics();
    d->renderBackground(painter, true);
    if (s.spriteOverGuides)
        d->renderGuides(painter);
    if (isOpenGL()) {
        glBeginDrawImage(painter);
        d->renderOnionSkin(painter);
        d->renderSprites(painter);
        glEndDrawImage(painter);
    } else {
        d->renderOnionSkin(painter);
        d->renderSprites(painter);
    }
    if (s.contactOverCross)
        d->renderCross(painter);
    d->renderContactBoxes(painter, ContactBoxCode::Attack - 1, QColor(), QColor());
    d->renderContactBoxes(painter, ContactBoxCode::Collision - 1, QColor(), QColor());
    d->renderContactBoxSizers(painter);
    if (!s.contactOverCross)
        d->renderCross(painter);
    if (!s.spriteOverGuides)
        d->renderGuides(painter);
    d->renderRulers(painter);
}

} // namespace Kenro
