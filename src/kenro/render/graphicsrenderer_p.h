#pragma once

#include <kenro/render/graphicsrenderer.h>

#include <QImage>
#include <QList>
#include <QObject>

class QPainter;

namespace Kenro {

/// What all stages share.
struct GraphicsRendererStatics
{
    QPoint origin;
    bool spriteOverGuides = true;
    bool contactOverCross = false;
    int zoomTable = 0;
    int zoomMode = GraphicsRenderer::ZoomAroundOrigin;
    QColor backgroundFirst = QColor(40, 44, 52);
    QColor backgroundSecond = QColor(110, 120, 140);
    int backgroundType = GraphicsRenderer::GradientOnly;
    QPoint backgroundPosition;
    QImage background;
    QImage crosses[3];
    bool crossesSet = false;
    /// Attack, then collision.
    QColor boxColors[2] = {QColor(255, 0, 0), QColor(0, 0, 255)};
    float boxOpacity = 0.5f;
    /// Every stage, repainted when what they share changes.
    QList<GraphicsRenderer *> stages;
    void updateStages() const;
};

/// Exported for the suites, which read what the settings made of it.
KENRO_EXPORT GraphicsRendererStatics &graphicsStatics();

/// A rectangle in world units whose width and height may be negative while it is drawn.
struct StageBox
{
    int x = 0, y = 0, w = 0, h = 0;
    QRect normalized() const { return QRect(x, y, w, h).normalized(); }
};

class GraphicsRendererPrivate : public QObject
{
    Q_OBJECT

public:
    /// What a point of the view meets.
    enum Hit {
        Nothing = -1,
        Pan = 0,
        SpriteHit = 1,
        CrossHit = 2, // to 4: main, secondary, extra
        HorizontalGuide = 5,
        VerticalGuide = 6,
        BoxInside = 7,
        TopLeft = 8,
        TopMiddle = 9,
        LeftMiddle = 10,
        TopRight = 11,
        BottomLeft = 12,
        BottomMiddle = 13,
        BottomRight = 14,
        RightMiddle = 15
    };

    struct Cross
    {
        bool visible = true;
        unsigned char mode = 0x0D;
        unsigned int parent = 0;
        QPointF position;
    };

    struct Box
    {
        ContactBoxCode *code = nullptr;
        StageBox rect;
        bool selected = false;
        /// Being drawn: not in the lists of boxes yet.
        bool pending = false;
    };

    explicit GraphicsRendererPrivate(GraphicsRenderer *renderer);

    // Screen mapping.
    int thickness() const;
    QPointF reference(unsigned char mode, unsigned int parent, int depth = 0) const;
    QPointF crossScreen(int index, int depth = 0) const;
    QPointF spriteScreen(SpriteProvider::Info const &info, int depth = 0) const;
    QPointF boxReference() const;
    QRect boxScreen(StageBox const &box) const;
    /// The world point under screen point \a pos from \a reference, floored to the grid.
    QPoint worldAt(QPoint pos, QPointF reference) const;
    QPoint clampWorld(QPointF point) const;
    void clampOrigin();
    void rescale(QPointF oldScale);

    // Boxes.
    void readBoxes(int type, bool keepSelection);
    void updateSelectionRect();
    void resetSelectionRect();
    bool anySelected() const;
    QList<QPoint> handles() const;

    // Mouse.
    int hitTest(QPoint pos, int *type, int *index);
    void setCursorFor(int hit);
    void dragTo(QPoint pos);
    void resizeSelection(QPoint delta);
    void finishDrawing();
    /// Forgets a box whose drawing ended without the left button's release.
    void dropPending();

    // Painting.
    void renderBackground(QPainter &painter, bool withImage);
    void renderRulers(QPainter &painter);
    void renderGuides(QPainter &painter);
    void renderCross(QPainter &painter);
    void renderOnionSkin(QPainter &painter);
    void renderSprites(QPainter &painter);
    void renderContactBoxes(QPainter &painter, int type, QColor color, QColor secondColor);
    void renderContactBoxSizers(QPainter &painter);

    GraphicsRenderer *q;
    QSize viewSize;
    QPoint viewCenter;
    unsigned char zoomLevel = 3;
    float zoomFactor = 1.0f;
    double scaleX = 1.0, scaleY = 1.0;
    double previousScaleX = 1.0, previousScaleY = 1.0;
    double zoomScaleX = 1.0, zoomScaleY = 1.0;
    bool guidesVisible = false;
    QPoint guideLines;
    bool onionOn = false;
    int onionEffect = GraphicsRenderer::NoEffect;
    float onionStrength = 0.5f;
    Sprite const *onionSprite = nullptr;
    QPoint onionOffset;
    bool rulersVisible = false;
    Cross crosses[3];
    /// Attack boxes, then collision boxes.
    QList<Box> boxes[2];
    StageBox selection;
    ContactBoxesCode *boxLists[2] = {nullptr, nullptr};
    bool boxesVisible[2] = {true, true};
    unsigned char boxMode = 0x0D;
    unsigned int boxParent = 0;
    int selectedType = 0;
    int selectedItem = -1;
    int clickMode = GraphicsRenderer::Positioning;
    int drawingType = 0;
    int drawingIndex = 0;
    bool mouseDown = false;
    bool moved = false;
    QPoint pressPosition;
    int hit = Pan;
    SpriteProvider *sprites = nullptr;

    // The state at the press, that a drag changes from.
    int hitType = 0;
    int hitIndex = -1;
    QPoint pressOrigin;
    QPointF pressItem;
    QPoint pressGuides;
    QList<Box> pressBoxes[2];
    StageBox pressSelection;
};

} // namespace Kenro
