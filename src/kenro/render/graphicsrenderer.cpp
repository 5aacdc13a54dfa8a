#include <kenro/render/graphicsrenderer.h>

#include <kenro/imaging/imageinfo.h>
#include <kenro/imaging/sprite.h>

#include "graphicsrenderer_p.h"

#include <QTransform>

#include <algorithm>
#include <cmath>

namespace Kenro {

namespace {

// Two tables of 16 levels. A level of 16 reads the entry behind its row: in
// table 0 the first of table 1, and for table 1 the last entry, 14.
float const zoomTables[33] = {0.25f, 0.5f,  0.75f, 1.0f,  1.5f,  2.0f, 2.25f, 2.5f,  2.75f,
                              3.0f,  3.5f,  4.0f,  4.5f,  5.0f,  5.5f, 6.0f,  0.25f, 0.5f,
                              1.0f,  2.0f,  3.0f,  4.0f,  5.0f,  6.0f, 7.0f,  8.0f,  9.0f,
                              10.0f, 11.0f, 12.0f, 13.0f, 14.0f, 14.0f};

QString icon(QString const &name)
{
    return QStringLiteral(":/kenro_icons/icons/") + name;
}

void loadCrosses(GraphicsRendererStatics &s, QString const (&files)[3])
{
    static char const *const defaults[3] = {"sff.png", "air.png", "extra.png"};
    for (int i = 0; i < 3; ++i) {
        s.crosses[i] = files[i].isEmpty() ? QImage() : QImage(files[i]);
        if (s.crosses[i].isNull())
            s.crosses[i] = QImage(icon(QLatin1String(defaults[i])));
    }
    s.crossesSet = true;
}

} // namespace

GraphicsRendererStatics &graphicsStatics()
{
    static GraphicsRendererStatics statics;
    return statics;
}

void GraphicsRendererStatics::updateStages() const
{
    for (GraphicsRenderer *stage : stages)
        stage->update();
}

GraphicsRendererPrivate::GraphicsRendererPrivate(GraphicsRenderer *renderer) : q(renderer) {}

int GraphicsRendererPrivate::thickness() const
{
    return int(std::lround(std::max(1.0f, zoomFactor)));
}

QPointF GraphicsRendererPrivate::reference(unsigned char mode, unsigned int parent, int depth) const
{
    QPointF const origin = graphicsStatics().origin;
    switch (mode & GraphicsRenderer::ReferenceMask) {
    case GraphicsRenderer::ScreenReference:
        return QPointF();
    case GraphicsRenderer::CrossReference:
        return parent < 3 && depth < 4 ? crossScreen(int(parent), depth + 1) : origin;
    case GraphicsRenderer::SpriteReference: {
        SpriteProvider::Info *info =
            sprites && depth < 4 && parent < sprites->count() ? sprites->info(parent) : nullptr;
        return info ? spriteScreen(*info, depth + 1) : origin;
    }
    default:
        return origin;
    }
}

QPointF GraphicsRendererPrivate::crossScreen(int index, int depth) const
{
    Cross const &cross = crosses[index];
    // Crosses always stand in world units.
    return reference(cross.mode, cross.parent, depth) +
        QPointF(cross.position.x() * scaleX, cross.position.y() * scaleY);
}

QPointF GraphicsRendererPrivate::spriteScreen(SpriteProvider::Info const &info, int depth) const
{
    QPointF position = info.position;
    if (info.positionMode & GraphicsRenderer::WorldUnits)
        position = QPointF(position.x() * scaleX, position.y() * scaleY);
    return reference(info.positionMode, info.parent, depth) + position;
}

QPointF GraphicsRendererPrivate::boxReference() const
{
    return reference(boxMode, boxParent);
}

QRect GraphicsRendererPrivate::boxScreen(StageBox const &box) const
{
    QRect const r = box.normalized();
    QPointF const at = boxReference();
    int const left = int(std::lround(at.x() + r.x() * scaleX));
    int const top = int(std::lround(at.y() + r.y() * scaleY));
    int const right = int(std::lround(at.x() + (r.x() + r.width()) * scaleX));
    int const bottom = int(std::lround(at.y() + (r.y() + r.height()) * scaleY));
    return QRect(left, top, right - left, bottom - top);
}

QPoint GraphicsRendererPrivate::worldAt(QPoint pos, QPointF reference) const
{
    return QPoint(int(std::floor((pos.x() - reference.x()) / scaleX)),
                  int(std::floor((pos.y() - reference.y()) / scaleY)));
}

QPoint GraphicsRendererPrivate::clampWorld(QPointF point) const
{
    int const limit = GraphicsRenderer::worldLimit;
    return QPoint(std::clamp(int(std::lround(point.x())), -limit, limit),
                  std::clamp(int(std::lround(point.y())), -limit, limit));
}

void GraphicsRendererPrivate::clampOrigin()
{
    // The world's limits stay at or beyond the edges of the view.
    QPoint &origin = graphicsStatics().origin;
    double const limit = GraphicsRenderer::worldLimit;
    origin.setX(int(std::clamp(double(origin.x()), viewSize.width() - limit * scaleX,
                               std::max(viewSize.width() - limit * scaleX, limit * scaleX))));
    origin.setY(int(std::clamp(double(origin.y()), viewSize.height() - limit * scaleY,
                               std::max(viewSize.height() - limit * scaleY, limit * scaleY))));
}

void GraphicsRendererPrivate::rescale(QPointF oldScale)
{
    GraphicsRendererStatics &s = graphicsStatics();
    QPointF const c =
        s.zoomMode == GraphicsRenderer::ZoomAroundCenter ? QPointF(viewCenter) : QPointF(s.origin);
    auto around = [&](double p, double center, double from, double to) {
        return center + std::trunc(std::trunc((p - center) / from) * to);
    };
    s.origin = QPoint(int(around(s.origin.x(), c.x(), oldScale.x(), scaleX)),
                      int(around(s.origin.y(), c.y(), oldScale.y(), scaleY)));
    // Items placed on the screen keep their place around the same point.
    auto screenItem = [&](QPointF p) {
        return c +
            QPointF((p.x() - c.x()) / oldScale.x() * scaleX,
                    (p.y() - c.y()) / oldScale.y() * scaleY);
    };
    for (Cross &cross : crosses) {
        if ((cross.mode & GraphicsRenderer::ReferenceMask) != GraphicsRenderer::ScreenReference)
            continue;
        QPointF const p = screenItem(
            QPointF(cross.position.x() * oldScale.x(), cross.position.y() * oldScale.y()));
        cross.position = QPointF(p.x() / scaleX, p.y() / scaleY);
    }
    for (unsigned int i = 0; sprites && i < sprites->count(); ++i) {
        SpriteProvider::Info *info = sprites->info(i);
        if (!info || (info->positionMode & GraphicsRenderer::ReferenceMask) ||
            (info->positionMode & GraphicsRenderer::WorldUnits))
            continue;
        info->position = screenItem(info->position);
    }
    clampOrigin();
}

GraphicsRenderer::GraphicsRenderer(QObject *parent)
    : QObject(parent), d(new GraphicsRendererPrivate(this))
{
    if (!graphicsStatics().crossesSet)
        setCrossHair(DefaultCrossHairs, QString(), QString(), QString());
    d->resetSelectionRect();
    graphicsStatics().stages.append(this);
}

GraphicsRenderer::~GraphicsRenderer()
{
    graphicsStatics().stages.removeOne(this);
    delete d;
}

void GraphicsRenderer::setPriority(bool spriteOverGuides, bool contactOverCross)
{
    graphicsStatics().spriteOverGuides = spriteOverGuides;
    graphicsStatics().contactOverCross = contactOverCross;
    graphicsStatics().updateStages();
}

void GraphicsRenderer::setVisibility(bool mainCross, bool secondaryCross, bool extraCross,
                                     bool collisionBoxes, bool attackBoxes, bool rulers,
                                     bool guides)
{
    d->crosses[MainCross].visible = mainCross;
    d->crosses[SecondaryCross].visible = secondaryCross;
    d->crosses[ExtraCross].visible = extraCross;
    d->boxesVisible[ContactBoxCode::Attack - 1] = attackBoxes;
    d->boxesVisible[ContactBoxCode::Collision - 1] = collisionBoxes;
    d->rulersVisible = rulers;
    d->guidesVisible = guides;
    update();
}

QList<bool> GraphicsRenderer::visibility() const
{
    return {d->crosses[MainCross].visible,
            d->crosses[SecondaryCross].visible,
            d->crosses[ExtraCross].visible,
            d->boxesVisible[ContactBoxCode::Collision - 1],
            d->boxesVisible[ContactBoxCode::Attack - 1],
            d->rulersVisible,
            d->guidesVisible};
}

void GraphicsRenderer::setBackground(QColor const &first, QColor const &second, BackgroundType type,
                                     QPoint position, QString const &file, QSize resolution)
{
    GraphicsRendererStatics &s = graphicsStatics();
    s.backgroundFirst = first;
    s.backgroundSecond = second;
    s.backgroundType = type;
    s.backgroundPosition = position;
    if (type == ResolutionTemplate) {
        // The picture of the screen, placed so that the ground line stands on the origin.
        int const width = resolution.width();
        char const *name = width >= 1920 ? "1080p.png"
            : width >= 1280              ? "720p.png"
            : width < 640                ? "240p.png"
                                         : "480p.png";
        s.backgroundPosition = width >= 1920 ? QPoint(-958, -936)
            : width >= 1280                  ? QPoint(-638, -623)
            : width < 640                    ? QPoint(-212, -207)
                                             : QPoint(-424, -415);
        s.background = QImage(icon(QLatin1String(name)));
    } else if (type == ImageFile) {
        s.background = QImage(file);
    } else {
        s.background = QImage();
    }
    s.updateStages();
}

void GraphicsRenderer::setCrossHair(CrossHairType type, QString const &main,
                                    QString const &secondary, QString const &extra)
{
    if (type == FileCrossHairs) {
        QString const files[3] = {main, secondary, extra};
        loadCrosses(graphicsStatics(), files);
    } else if (type == SecondCrossHairs) {
        QString const files[3] = {icon(QStringLiteral("cruz.png")),
                                  icon(QStringLiteral("cruz2.png")),
                                  icon(QStringLiteral("cruz3.png"))};
        loadCrosses(graphicsStatics(), files);
    } else {
        QString const none[3];
        loadCrosses(graphicsStatics(), none);
    }
    graphicsStatics().updateStages();
}

void GraphicsRenderer::setupContactBoxes(QColor const &attack, QColor const &collision,
                                         float opacity)
{
    GraphicsRendererStatics &s = graphicsStatics();
    s.boxColors[ContactBoxCode::Attack - 1] = attack;
    s.boxColors[ContactBoxCode::Collision - 1] = collision;
    s.boxOpacity = opacity;
    s.updateStages();
}

QPoint GraphicsRenderer::origin()
{
    return graphicsStatics().origin;
}

void GraphicsRenderer::setOrigin(QPoint origin)
{
    graphicsStatics().origin = origin;
    graphicsStatics().updateStages();
}

void GraphicsRenderer::centralize()
{
    setOrigin(QPoint(d->viewSize.width() / 2, (d->viewSize.height() + 1) / 2));
    update();
}

QPoint GraphicsRenderer::guideLines() const
{
    return d->guideLines;
}

void GraphicsRenderer::setGuideLines(QPoint guides)
{
    d->guideLines = d->clampWorld(guides);
    update();
}

GraphicsRenderer::ClickMode GraphicsRenderer::clickMode() const
{
    return ClickMode(d->clickMode);
}

void GraphicsRenderer::setPositioningMode()
{
    d->dropPending();
    int const type = d->drawingType;
    if (d->clickMode != DrawingContactBox || d->drawingIndex >= d->boxes[type].size()) {
        d->clickMode = Positioning;
        update();
        return;
    }
    deselectContactBoxes();
    d->boxes[type][d->drawingIndex].selected = true;
    d->selectedType = type;
    d->selectedItem = d->drawingIndex;
    d->updateSelectionRect();
    d->clickMode = Positioning;
    update();
}

void GraphicsRenderer::setDrawContactBoxMode(ContactBoxCode::BoxType type)
{
    d->dropPending();
    d->clickMode = DrawingContactBox;
    d->drawingType = type == ContactBoxCode::Collision ? 1 : 0;
    d->drawingIndex = int(d->boxes[d->drawingType].size());
    deselectContactBoxes();
}

void GraphicsRenderer::setCaptureMode()
{
    if (d->clickMode == DrawingContactBox)
        setPositioningMode();
    d->clickMode = CapturingColor;
}

void GraphicsRenderer::setZoomMode(int mode)
{
    graphicsStatics().zoomMode = std::clamp(mode, 0, 1);
}

void GraphicsRenderer::setZoomTable(int table)
{
    graphicsStatics().zoomTable = table ? 1 : 0;
}

void GraphicsRenderer::setZoomLevel(unsigned char level)
{
    if (level == 255)
        level = 0;
    else if (level > 16)
        level = 16;
    d->zoomLevel = level;
    d->zoomFactor = zoomTables[graphicsStatics().zoomTable * 16 + level];
    QPointF const old(d->scaleX, d->scaleY);
    d->previousScaleX = d->scaleX;
    d->previousScaleY = d->scaleY;
    d->scaleX = d->zoomFactor * d->zoomScaleX;
    d->scaleY = d->zoomFactor * d->zoomScaleY;
    if (std::abs(d->scaleX - old.x()) > 1e-12 || std::abs(d->scaleY - old.y()) > 1e-12) {
        d->rescale(old);
        update();
    }
}

void GraphicsRenderer::setZoomScale(QPointF scale)
{
    if (scale.x() <= 0.0 || scale.y() <= 0.0)
        return;
    d->zoomScaleX = scale.x();
    d->zoomScaleY = scale.y();
    setZoomLevel(d->zoomLevel);
}

void GraphicsRenderer::addZoom()
{
    setZoomLevel(static_cast<unsigned char>(d->zoomLevel + 1));
}

void GraphicsRenderer::subZoom()
{
    setZoomLevel(static_cast<unsigned char>(d->zoomLevel - 1));
}

void GraphicsRenderer::zoomActual()
{
    setZoomLevel(graphicsStatics().zoomTable ? 2 : 3);
}

float GraphicsRenderer::zoomFactor() const
{
    return d->zoomFactor;
}

unsigned char GraphicsRenderer::zoomLevel() const
{
    return d->zoomLevel;
}

QPointF GraphicsRenderer::scale() const
{
    return QPointF(d->scaleX, d->scaleY);
}

void GraphicsRenderer::zoomFit()
{
    // Everything shown, in world units around the origin.
    QPointF const origin = graphicsStatics().origin;
    QRectF world;
    auto add = [&](QRect screen) {
        if (!screen.isEmpty())
            world |=
                QRectF((screen.x() - origin.x()) / d->scaleX, (screen.y() - origin.y()) / d->scaleY,
                       screen.width() / d->scaleX, screen.height() / d->scaleY);
    };
    if (updateSprites()) {
        for (unsigned int i = 0; i < d->sprites->count(); ++i) {
            if (SpriteProvider::Info *info = d->sprites->info(i))
                add(info->screenRect);
        }
    }
    if (d->onionOn && d->onionSprite) {
        QRect const b = spriteBounds(d->onionSprite).translated(d->onionOffset);
        add(QRect(int(origin.x() + b.x() * d->scaleX), int(origin.y() + b.y() * d->scaleY),
                  int(b.width() * d->scaleX), int(b.height() * d->scaleY)));
    }
    for (int type = 0; type < 2; ++type) {
        for (GraphicsRendererPrivate::Box const &box : d->boxes[type]) {
            if (d->boxesVisible[type])
                add(d->boxScreen(box.rect));
        }
    }
    if (world.isEmpty()) {
        centralize();
        return;
    }
    int const rulers = d->rulersVisible ? 30 : 0;
    double const room[2] = {double(d->viewSize.width() - rulers),
                            double(d->viewSize.height() - rulers)};
    int const table = graphicsStatics().zoomTable * 16;
    int level = 0;
    for (int l = 0; l < 16; ++l) {
        float const f = zoomTables[table + l];
        if (world.width() * f * d->zoomScaleX <= room[0] &&
            world.height() * f * d->zoomScaleY <= room[1] && f >= zoomTables[table + level])
            level = l;
    }
    setZoomLevel(static_cast<unsigned char>(level));
    QPointF const middle = world.center();
    setOrigin(QPoint(int(std::lround(rulers + room[0] / 2 - middle.x() * d->scaleX)),
                     int(std::lround(rulers + room[1] / 2 - middle.y() * d->scaleY))));
    d->clampOrigin();
    update();
}

int GraphicsRenderer::indexOfItem(ItemType type, void const *item) const
{
    if (type == SpriteItem) {
        for (unsigned int i = 0; d->sprites && i < d->sprites->count(); ++i) {
            if (d->sprites->info(i) == item)
                return int(i);
        }
    } else if (type == Boxes) {
        for (auto const &list : d->boxes) {
            for (qsizetype i = 0; i < list.size(); ++i) {
                if (list[i].code == item)
                    return int(i);
            }
        }
    }
    return -1;
}

QPointF GraphicsRenderer::itemPosition(ItemType type, unsigned int index) const
{
    if (type <= ExtraCross)
        return d->crosses[type].position;
    if (type == SpriteItem) {
        SpriteProvider::Info *info =
            d->sprites && index < d->sprites->count() ? d->sprites->info(index) : nullptr;
        return info ? info->position : QPointF();
    }
    for (auto const &list : d->boxes) {
        if (index < unsigned(list.size()))
            return QPointF(list[index].rect.x, list[index].rect.y);
        index -= unsigned(list.size());
    }
    return QPointF();
}

void GraphicsRenderer::setItemPosition(ItemType type, QPointF position, unsigned int index,
                                       bool update)
{
    if (type <= ExtraCross) {
        d->crosses[type].position = d->clampWorld(position);
    } else if (type == SpriteItem) {
        if (SpriteProvider::Info *info =
                d->sprites && index < d->sprites->count() ? d->sprites->info(index) : nullptr)
            info->position = position;
    } else {
        for (auto &list : d->boxes) {
            if (index < unsigned(list.size())) {
                QPoint const p = d->clampWorld(position);
                list[index].rect.x = p.x();
                list[index].rect.y = p.y();
                break;
            }
            index -= unsigned(list.size());
        }
        d->updateSelectionRect();
    }
    if (update)
        Renderer::update();
}

void GraphicsRenderer::setItemPositionMode(ItemType type, unsigned char mode, unsigned int parent,
                                           unsigned int index)
{
    if (type <= ExtraCross) {
        d->crosses[type].mode = mode;
        d->crosses[type].parent = parent;
    } else if (type == SpriteItem) {
        if (SpriteProvider::Info *info =
                d->sprites && index < d->sprites->count() ? d->sprites->info(index) : nullptr) {
            info->positionMode = mode;
            info->parent = parent;
        }
    } else {
        d->boxMode = mode;
        d->boxParent = parent;
    }
}

void GraphicsRenderer::setSprites(SpriteProvider *sprites)
{
    d->sprites = sprites;
    d->hitIndex = -1;
    update();
}

SpriteProvider *GraphicsRenderer::sprites() const
{
    return d->sprites;
}

void GraphicsRenderer::setOnionSkin(bool on, OnionEffect effect, float strength)
{
    d->onionOn = on;
    d->onionEffect = effect;
    d->onionStrength = strength;
    update();
}

void GraphicsRenderer::setOnionSkinSprite(Sprite const *sprite, QPoint offset)
{
    d->onionSprite = sprite;
    d->onionOffset = offset;
    update();
}

QRect GraphicsRenderer::spriteBounds(Sprite const *sprite) const
{
    ImageInfo const info = sprite->imageProperties();
    return QRect(0, 0, info.width, info.height);
}

QSize GraphicsRenderer::viewSize() const
{
    return d->viewSize;
}

bool GraphicsRenderer::updateSprites()
{
    if (!d->sprites || d->sprites->count() == 0)
        return false;
    QPointF const origin = graphicsStatics().origin;
    for (unsigned int i = 0; i < d->sprites->count(); ++i) {
        SpriteProvider::Info *info = d->sprites->info(i);
        if (!info)
            continue;
        QPointF const at = d->spriteScreen(*info);
        info->screenPosition = at.toPoint();
        info->screenScale = QPointF(info->scale.x() * info->spriteScale.x() * d->scaleX,
                                    info->scale.y() * info->spriteScale.y() * d->scaleY);
        QRect b = info->sprite ? spriteBounds(info->sprite) : QRect();
        if (info->flip & 1)
            b.moveLeft(-(b.left() + b.width()));
        if (info->flip & 2)
            b.moveTop(-(b.top() + b.height()));
        double const sx = std::abs(info->screenScale.x()), sy = std::abs(info->screenScale.y());
        int const left = int(std::lround(info->screenPosition.x() + b.x() * sx));
        int const top = int(std::lround(info->screenPosition.y() + b.y() * sy));
        info->screenRect = QRect(
            left, top, int(std::lround(info->screenPosition.x() + b.right() * sx + sx)) - left,
            int(std::lround(info->screenPosition.y() + b.bottom() * sy + sy)) - top);
        if (info->angle != 0.0) {
            QTransform turn;
            turn.translate(info->screenPosition.x(), info->screenPosition.y());
            turn.rotate(-info->angle);
            turn.translate(-info->screenPosition.x(), -info->screenPosition.y());
            info->screenRect = turn.mapRect(info->screenRect);
        }
        info->worldRect =
            QRectF((info->screenRect.x() - origin.x()) / d->scaleX,
                   (info->screenRect.y() - origin.y()) / d->scaleY,
                   info->screenRect.width() / d->scaleX, info->screenRect.height() / d->scaleY);
    }
    return true;
}

void GraphicsRenderer::sizeChanged(int width, int height)
{
    d->viewSize = QSize(width, height);
    d->viewCenter = QPoint(width / 2, height / 2);
}

} // namespace Kenro
