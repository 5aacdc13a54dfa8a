// The stage's contact boxes, its hit test, and the mouse and keys.
#include <kenro/render/graphicsrenderer.h>

#include <kenro/imaging/sprite.h>

#include "graphicsrenderer_p.h"

#include <QWidget>

#include <algorithm>
#include <cmath>

namespace Kenro {

namespace {

// The edges that a handle moves: left, top, right, bottom, for hits 8 to 15.
struct Edges
{
    bool left, top, right, bottom;
};
Edges const handleEdges[8] = {{true, true, false, false},  {false, true, false, false},
                              {true, false, false, false}, {false, true, true, false},
                              {true, false, false, true},  {false, false, false, true},
                              {false, false, true, true},  {false, false, true, false}};

int const crossCatch = 5; // half the side of the square that catches a cross

} // namespace

void GraphicsRendererPrivate::readBoxes(int type, bool keepSelection)
{
    QList<Box> const old = boxes[type];
    boxes[type].clear();
    if (ContactBoxesCode *list = boxLists[type]) {
        for (unsigned int i = 0; i < list->count(); ++i) {
            Box box;
            box.code = list->at(i);
            if (box.code) {
                QRect const r = box.code->rect();
                box.rect = {r.x(), r.y(), r.width(), r.height()};
            }
            box.selected = keepSelection && i < unsigned(old.size()) && old[i].selected;
            boxes[type].append(box);
        }
    }
    if (selectedType == type && selectedItem >= boxes[type].size())
        selectedItem = -1;
    updateSelectionRect();
}

void GraphicsRendererPrivate::resetSelectionRect()
{
    selection = {4444, 4444, -4445, -4445};
}

bool GraphicsRendererPrivate::anySelected() const
{
    for (auto const &list : boxes) {
        for (Box const &box : list) {
            if (box.selected)
                return true;
        }
    }
    return false;
}

void GraphicsRendererPrivate::updateSelectionRect()
{
    QRect united;
    for (auto const &list : boxes) {
        for (Box const &box : list) {
            if (box.selected)
                united |= box.rect.normalized();
        }
    }
    if (!anySelected())
        resetSelectionRect();
    else
        selection = {united.x(), united.y(), united.width(), united.height()};
}

QList<QPoint> GraphicsRendererPrivate::handles() const
{
    QRect const r = boxScreen(selection);
    int const left = r.x(), top = r.y(), right = r.x() + r.width(), bottom = r.y() + r.height();
    int const cx = (left + right) / 2, cy = (top + bottom) / 2;
    return {QPoint(left, top),    QPoint(cx, top),    QPoint(left, cy),      QPoint(right, top),
            QPoint(left, bottom), QPoint(cx, bottom), QPoint(right, bottom), QPoint(right, cy)};
}

int GraphicsRendererPrivate::hitTest(QPoint pos, int *type, int *index)
{
    GraphicsRendererStatics const &s = graphicsStatics();
    *type = 0;
    *index = -1;
    if (rulersVisible && (pos.x() < 30 || pos.y() < 30))
        return Pan;
    int const t = thickness();
    if (guidesVisible && !s.spriteOverGuides) {
        QPoint const at =
            QPointF(s.origin.x() + guideLines.x() * scaleX, s.origin.y() + guideLines.y() * scaleY)
                .toPoint();
        if (pos.x() >= at.x() - 2 && pos.x() <= at.x() + t + 1)
            return VerticalGuide;
        if (pos.y() >= at.y() - 2 && pos.y() <= at.y() + t + 1)
            return HorizontalGuide;
    }
    auto hitBoxes = [&]() -> int {
        if (anySelected()) {
            QList<QPoint> const points = handles();
            for (int i = 0; i < 8; ++i) {
                if (std::abs(pos.x() - points[i].x()) <= 4 &&
                    std::abs(pos.y() - points[i].y()) <= 4)
                    return TopLeft + i;
            }
        }
        for (int ty = 1; ty >= 0; --ty) {
            for (qsizetype i = boxes[ty].size() - 1; boxesVisible[ty] && i >= 0; --i) {
                if (boxScreen(boxes[ty][i].rect).contains(pos)) {
                    *type = ty;
                    *index = int(i);
                    return BoxInside;
                }
            }
        }
        return Nothing;
    };
    if (clickMode == GraphicsRenderer::Positioning) {
        int found = s.contactOverCross ? hitBoxes() : Nothing;
        if (found != Nothing)
            return found;
        for (int i = 2; i >= 0; --i) {
            Cross const &cross = crosses[i];
            QPoint const at = crossScreen(i).toPoint();
            if (cross.visible &&
                (cross.mode & (GraphicsRenderer::MovableX | GraphicsRenderer::MovableY)) &&
                std::abs(pos.x() - at.x()) <= crossCatch &&
                std::abs(pos.y() - at.y()) <= crossCatch)
                return CrossHit + i;
        }
        found = s.contactOverCross ? Nothing : hitBoxes();
        if (found != Nothing)
            return found;
    }
    if (clickMode != GraphicsRenderer::DrawingContactBox && q->updateSprites()) {
        for (unsigned int i = sprites->count(); i-- > 0;) {
            SpriteProvider::Info const *info = sprites->info(i);
            if (info && info->sprite &&
                (info->positionMode & (GraphicsRenderer::MovableX | GraphicsRenderer::MovableY)) &&
                info->screenRect.contains(pos)) {
                *index = int(i);
                return SpriteHit;
            }
        }
    }
    return Pan;
}

void GraphicsRendererPrivate::setCursorFor(int hitCode)
{
    QWidget *widget = q->widget();
    if (!widget)
        return;
    switch (hitCode) {
    case SpriteHit:
        widget->setCursor(Qt::CrossCursor);
        break;
    case HorizontalGuide:
    case TopMiddle:
    case BottomMiddle:
        widget->setCursor(Qt::SizeVerCursor);
        break;
    case VerticalGuide:
    case LeftMiddle:
    case RightMiddle:
        widget->setCursor(Qt::SizeHorCursor);
        break;
    case TopLeft:
    case BottomRight:
        widget->setCursor(Qt::SizeFDiagCursor);
        break;
    case TopRight:
    case BottomLeft:
        widget->setCursor(Qt::SizeBDiagCursor);
        break;
    default:
        widget->unsetCursor();
        break;
    }
}

void GraphicsRendererPrivate::resizeSelection(QPoint delta)
{
    // The selection's edges follow the mouse, and every selected box keeps its
    // place and size in proportion to the selection.
    Edges const edges = handleEdges[hit - TopLeft];
    bool const moveX = boxMode & GraphicsRenderer::MovableX;
    bool const moveY = boxMode & GraphicsRenderer::MovableY;
    StageBox const from = pressSelection;
    int left = from.x, top = from.y, right = from.x + from.w, bottom = from.y + from.h;
    if (edges.left && moveX)
        left += delta.x();
    if (edges.right && moveX)
        right += delta.x();
    if (edges.top && moveY)
        top += delta.y();
    if (edges.bottom && moveY)
        bottom += delta.y();
    int const limit = GraphicsRenderer::worldLimit;
    left = std::clamp(left, -limit, limit);
    right = std::clamp(right, -limit, limit);
    top = std::clamp(top, -limit, limit);
    bottom = std::clamp(bottom, -limit, limit);
    selection = {left, top, right - left, bottom - top};
    auto map = [](int value, int size, int fromStart, int fromSize, int toStart, int toSize,
                  int *outSize) {
        if (fromSize == 0) {
            *outSize = size + toSize;
            return value + (toStart - fromStart);
        }
        double const f = double(toSize) / fromSize;
        int const start = int(std::lround(toStart + (value - fromStart) * f));
        *outSize = int(std::lround(toStart + (value + size - fromStart) * f)) - start;
        return start;
    };
    for (int type = 0; type < 2; ++type) {
        for (qsizetype i = 0; i < boxes[type].size() && i < pressBoxes[type].size(); ++i) {
            StageBox const b = pressBoxes[type][i].rect;
            if (!boxes[type][i].selected)
                continue;
            StageBox &r = boxes[type][i].rect;
            r.x = map(b.x, b.w, from.x, from.w, left, right - left, &r.w);
            r.y = map(b.y, b.h, from.y, from.h, top, bottom - top, &r.h);
        }
    }
}

void GraphicsRendererPrivate::dragTo(QPoint pos)
{
    GraphicsRendererStatics &s = graphicsStatics();
    if (hit == Pan) {
        s.origin = pressOrigin + (pos - pressPosition);
        clampOrigin();
        GraphicsRenderer::setOrigin(s.origin);
        return;
    }
    QPoint const delta = worldAt(pos, s.origin) - worldAt(pressPosition, s.origin);
    auto moveBy = [&](unsigned char mode) {
        return QPointF(mode & GraphicsRenderer::MovableX ? delta.x() : 0,
                       mode & GraphicsRenderer::MovableY ? delta.y() : 0);
    };
    if (hit >= CrossHit && hit <= CrossHit + 2) {
        Cross &cross = crosses[hit - CrossHit];
        cross.position = clampWorld(pressItem + moveBy(cross.mode));
        Q_EMIT q->itemMoved(GraphicsRenderer::ItemType(hit - CrossHit), hit - CrossHit,
                            cross.position.toPoint());
    } else if (hit == SpriteHit) {
        SpriteProvider::Info *info =
            sprites && hitIndex >= 0 && unsigned(hitIndex) < sprites->count()
            ? sprites->info(unsigned(hitIndex))
            : nullptr;
        if (!info)
            return;
        QPointF const step = moveBy(info->positionMode);
        bool const world = info->positionMode & GraphicsRenderer::WorldUnits;
        info->position = world ? QPointF(clampWorld(pressItem + step))
                               : pressItem + QPointF(step.x() * scaleX, step.y() * scaleY);
        Q_EMIT q->itemMoved(GraphicsRenderer::SpriteItem, hitIndex, info->position.toPoint());
    } else if (hit == HorizontalGuide) {
        guideLines.setY(clampWorld(QPointF(0, pressGuides.y() + delta.y())).y());
    } else if (hit == VerticalGuide) {
        guideLines.setX(clampWorld(QPointF(pressGuides.x() + delta.x(), 0)).x());
    } else if (hit == BoxInside) {
        QPointF const step = moveBy(boxMode);
        for (int type = 0; type < 2; ++type) {
            for (qsizetype i = 0; i < boxes[type].size() && i < pressBoxes[type].size(); ++i) {
                if (!boxes[type][i].selected)
                    continue;
                StageBox const b = pressBoxes[type][i].rect;
                QPoint const p = clampWorld(QPointF(b.x, b.y) + step);
                boxes[type][i].rect.x = p.x();
                boxes[type][i].rect.y = p.y();
            }
        }
        updateSelectionRect();
        Q_EMIT q->itemMoved(GraphicsRenderer::Boxes, selectedItem, step.toPoint());
    } else if (hit >= TopLeft) {
        resizeSelection(delta);
        Q_EMIT q->itemMoved(GraphicsRenderer::Boxes, selectedItem, delta);
    }
}

void GraphicsRendererPrivate::finishDrawing()
{
    // The drawn box leaves the list while the editor is asked, which may read
    // the boxes anew; a box it accepts is kept as it was drawn.
    int const type = drawingType;
    if (drawingIndex >= boxes[type].size() || !boxes[type][drawingIndex].pending)
        return;
    Box box = boxes[type].takeAt(drawingIndex);
    QRect const rect = box.rect.normalized();
    if (rect.width() == 0 || rect.height() == 0)
        return;
    ContactBoxCode *code = Q_EMIT q->appendContactBox(ContactBoxCode::BoxType(type + 1), rect);
    if (!code)
        return;
    int const at = q->indexOfItem(GraphicsRenderer::Boxes, code);
    if (at >= 0 && at < boxes[type].size() && boxes[type][at].code == code) {
        boxes[type][at].rect = {rect.x(), rect.y(), rect.width(), rect.height()};
        drawingIndex = at;
        return;
    }
    box.code = code;
    box.pending = false;
    box.rect = {rect.x(), rect.y(), rect.width(), rect.height()};
    drawingIndex = int(boxes[type].size());
    boxes[type].append(box);
}

void GraphicsRendererPrivate::dropPending()
{
    for (auto &list : boxes)
        list.removeIf([](Box const &box) { return box.pending; });
}

void GraphicsRenderer::deselectContactBoxes()
{
    for (auto &list : d->boxes) {
        for (GraphicsRendererPrivate::Box &box : list)
            box.selected = false;
    }
    d->selectedItem = -1;
    d->resetSelectionRect();
}

void GraphicsRenderer::setContactBoxes(ContactBoxCode::BoxType type, ContactBoxesCode *boxes)
{
    int const t = type == ContactBoxCode::Collision ? 1 : 0;
    d->boxLists[t] = boxes;
    d->readBoxes(t, false);
    update();
}

void GraphicsRenderer::moveSelectedContactBoxes(QPoint offset)
{
    for (auto &list : d->boxes) {
        for (GraphicsRendererPrivate::Box &box : list) {
            if (!box.selected)
                continue;
            QPoint const p = d->clampWorld(QPointF(box.rect.x, box.rect.y) + offset);
            box.rect.x = p.x();
            box.rect.y = p.y();
        }
    }
    d->updateSelectionRect();
    update();
}

void GraphicsRenderer::removeSelectedContactBoxes()
{
    for (int type = 0; type < 2; ++type) {
        QList<GraphicsRendererPrivate::Box> &list = d->boxes[type];
        for (qsizetype i = list.size() - 1; i >= 0; --i) {
            if (!list[i].selected)
                continue;
            if (d->boxLists[type] && list[i].code)
                d->boxLists[type]->remove(unsigned(i));
            list.removeAt(i);
        }
        if (d->boxLists[type])
            d->readBoxes(type, false);
    }
    deselectContactBoxes();
    update();
}

void GraphicsRenderer::updateSelectedBoxes()
{
    for (int type = 0; type < 2; ++type) {
        if (d->boxLists[type])
            d->readBoxes(type, true);
    }
    update();
}

QList<ContactBoxCode *> GraphicsRenderer::selectedContactBoxes() const
{
    QList<ContactBoxCode *> selected;
    for (auto const &list : d->boxes) {
        for (GraphicsRendererPrivate::Box const &box : list) {
            if (box.selected && box.code)
                selected.append(box.code);
        }
    }
    return selected;
}

QList<QRect> GraphicsRenderer::contactBoxRects(ContactBoxCode::BoxType type) const
{
    QList<QRect> rects;
    for (GraphicsRendererPrivate::Box const &box : d->boxes[type == ContactBoxCode::Collision])
        rects.append(box.rect.normalized());
    return rects;
}

void GraphicsRenderer::mousePressed(QPoint pos, Qt::MouseButton button,
                                    Qt::KeyboardModifiers modifiers)
{
    int type = 0, index = -1;
    if (button != Qt::LeftButton) {
        if (!d->mouseDown)
            d->hit = d->hitTest(pos, &type, &index);
        return;
    }
    GraphicsRendererBase::mousePressed(pos, button, modifiers);
    d->mouseDown = true;
    d->moved = false;
    d->pressPosition = pos;
    d->pressOrigin = origin();
    d->pressGuides = d->guideLines;
    if (d->clickMode == DrawingContactBox) {
        // A new box grows from its lower right corner, from the grid point under the mouse.
        int const t = d->drawingType;
        QPoint const at = d->clampWorld(d->worldAt(pos, d->boxReference()));
        d->dropPending();
        d->drawingIndex = int(d->boxes[t].size());
        GraphicsRendererPrivate::Box box;
        box.rect = {at.x(), at.y(), 0, 0};
        box.pending = true;
        d->boxes[t].append(box);
        d->hit = GraphicsRendererPrivate::BottomRight;
        d->selection = box.rect;
        d->boxes[t].last().selected = true;
        d->pressBoxes[0] = d->boxes[0];
        d->pressBoxes[1] = d->boxes[1];
        d->pressSelection = d->selection;
        return;
    }
    d->hit = modifiers & Qt::ControlModifier ? int(GraphicsRendererPrivate::Pan)
                                             : d->hitTest(pos, &type, &index);
    d->hitType = type;
    d->hitIndex = index;
    bool const shift = modifiers & Qt::ShiftModifier;
    if (d->hit < GraphicsRendererPrivate::TopLeft && !shift)
        deselectContactBoxes();
    if (d->hit == GraphicsRendererPrivate::BoxInside) {
        GraphicsRendererPrivate::Box &box = d->boxes[type][index];
        box.selected = shift ? !box.selected : true;
        d->selectedType = type;
        d->selectedItem = index;
        d->updateSelectionRect();
    } else if (d->hit >= GraphicsRendererPrivate::CrossHit &&
               d->hit <= GraphicsRendererPrivate::CrossHit + 2) {
        d->pressItem = d->crosses[d->hit - GraphicsRendererPrivate::CrossHit].position;
    } else if (d->hit == GraphicsRendererPrivate::SpriteHit) {
        SpriteProvider::Info const *info = d->sprites->info(unsigned(index));
        d->pressItem = info->position;
        if (d->clickMode == CapturingColor) {
            // The index under the point, in the image's own pixels.
            QImage const image = info->sprite->image();
            QRect const r = info->screenRect;
            int x = int((pos.x() - r.x()) * image.width() / std::max(1, r.width()));
            int y = int((pos.y() - r.y()) * image.height() / std::max(1, r.height()));
            if (info->flip & 1)
                x = image.width() - 1 - x;
            if (info->flip & 2)
                y = image.height() - 1 - y;
            if (image.format() == QImage::Format_Indexed8 && image.valid(x, y))
                Q_EMIT colorCaptured(uchar(image.pixelIndex(x, y)));
            d->hit = GraphicsRendererPrivate::Nothing;
        }
    }
    d->pressBoxes[0] = d->boxes[0];
    d->pressBoxes[1] = d->boxes[1];
    d->pressSelection = d->selection;
    update();
}

void GraphicsRenderer::mouseMoved(QPoint pos, Qt::KeyboardModifiers modifiers)
{
    QPoint const o = origin();
    if (!d->mouseDown) {
        int type = 0, index = -1;
        d->setCursorFor(d->hitTest(pos, &type, &index));
    } else if (d->hit != GraphicsRendererPrivate::Nothing) {
        d->moved = true;
        d->dragTo(pos);
        update();
    }
    Q_EMIT cursorChanged(
        QPoint(int((pos.x() - o.x()) / d->scaleX), int((pos.y() - o.y()) / d->scaleY)));
}

void GraphicsRenderer::mouseReleased(QPoint pos, Qt::MouseButton button,
                                     Qt::KeyboardModifiers modifiers)
{
    bool const wasDown = d->mouseDown;
    d->mouseDown = false;
    if (button != Qt::LeftButton)
        d->dropPending();
    if (d->hit == GraphicsRendererPrivate::Pan)
        d->setCursorFor(GraphicsRendererPrivate::Pan);
    if (button == Qt::RightButton && d->clickMode == DrawingContactBox) {
        setPositioningMode();
        Q_EMIT contactDrawingExit();
        return;
    }
    if (button != Qt::LeftButton || !wasDown)
        return;
    int const hit = d->hit;
    if (hit >= GraphicsRendererPrivate::BoxInside && d->clickMode == DrawingContactBox) {
        d->finishDrawing();
        d->updateSelectionRect();
    } else if (d->moved && hit == GraphicsRendererPrivate::SpriteHit && d->sprites &&
               unsigned(d->hitIndex) < d->sprites->count()) {
        SpriteProvider::Info const *info = d->sprites->info(unsigned(d->hitIndex));
        if (info && (info->positionMode & (MovableX | MovableY)))
            Q_EMIT itemReleased(SpriteItem, d->hitIndex,
                                info->positionMode & NotReleased ? QPoint()
                                                                 : info->position.toPoint());
    } else if (d->moved && hit >= GraphicsRendererPrivate::CrossHit &&
               hit <= GraphicsRendererPrivate::CrossHit + 2) {
        GraphicsRendererPrivate::Cross const &cross = d->crosses[hit - 2];
        Q_EMIT itemReleased(ItemType(hit - 2), hit - 2,
                            cross.mode & NotReleased ? QPoint() : cross.position.toPoint());
    } else if (d->moved && hit >= GraphicsRendererPrivate::BoxInside) {
        for (auto &list : d->boxes) {
            for (GraphicsRendererPrivate::Box &box : list) {
                QRect const r = box.rect.normalized();
                box.rect = {r.x(), r.y(), r.width(), r.height()};
            }
        }
        d->updateSelectionRect();
        if (d->boxMode & (MovableX | MovableY))
            Q_EMIT itemReleased(Boxes, d->selectedItem, QPoint());
    }
    update();
}

void GraphicsRenderer::mouseWheel(int delta)
{
    // The wheel keeps to the first ten levels.
    setZoomLevel(static_cast<unsigned char>(std::clamp(d->zoomLevel + delta / 120, 0, 9)));
}

void GraphicsRenderer::keyPressed(int key, Qt::KeyboardModifiers modifiers)
{
    if (key == Qt::Key_Control) {
        if (QWidget *w = widget())
            w->setCursor(Qt::OpenHandCursor);
        return;
    }
    // Escape leaves the drawing of boxes as a right click does.
    if (key == Qt::Key_Escape && d->clickMode == DrawingContactBox && !d->mouseDown) {
        setPositioningMode();
        Q_EMIT contactDrawingExit();
        return;
    }
    if (modifiers != Qt::NoModifier || !d->anySelected())
        return;
    QPoint step;
    switch (key) {
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        removeSelectedContactBoxes();
        break;
    case Qt::Key_Left:
        step = QPoint(-1, 0);
        break;
    case Qt::Key_Right:
        step = QPoint(1, 0);
        break;
    case Qt::Key_Up:
        step = QPoint(0, -1);
        break;
    case Qt::Key_Down:
        step = QPoint(0, 1);
        break;
    default:
        return;
    }
    if (!step.isNull()) {
        moveSelectedContactBoxes(step);
        Q_EMIT itemMoved(Boxes, -1, QPoint());
    }
    update();
}

void GraphicsRenderer::keyReleased(int key, Qt::KeyboardModifiers modifiers)
{
    if (key != Qt::Key_Control)
        return;
    QWidget *w = widget();
    if (!w)
        return;
    int type = 0, index = -1;
    d->setCursorFor(d->hitTest(w->mapFromGlobal(QCursor::pos()), &type, &index));
}

} // namespace Kenro
