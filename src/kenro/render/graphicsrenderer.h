#pragma once

#include <kenro/code/contactboxcode.h>
#include <kenro/imaging/spriteprovider.h>
#include <kenro/render/graphicsrendererbase.h>

#include <QColor>
#include <QObject>
#include <QPointF>
#include <QRect>
#include <QSize>

namespace Kenro {

class GraphicsRendererPrivate;
class Sprite;

/**
 * The stage on which sprites and animations are shown and edited: a
 * zoomable, pannable view with an origin, three crosses, two guide lines,
 * rulers, a background, an onion-skin sprite, the sprites of a
 * SpriteProvider and the two sets of contact boxes. It handles the mouse
 * for dragging all of these and for drawing and resizing boxes, and reports
 * every change by signals. It draws no sprite itself: an engine's subclass
 * fills in the four drawing operations, for QPainter and for OpenGL.
 *
 * World units are the game's pixels, counted from the origin; screen
 * positions are those units times the scale of the current zoom level.
 * The origin, the drawing order, the zoom table and mode, the background,
 * the cross images and the box colours are shared by all stages.
 */
class KENRO_EXPORT GraphicsRenderer : public QObject, public GraphicsRendererBase
{
    Q_OBJECT

public:
    enum ItemType { MainCross = 0, SecondaryCross = 1, ExtraCross = 2, SpriteItem = 3, Boxes = 4 };
    Q_ENUM(ItemType)
    enum ClickMode { Positioning = 0, DrawingContactBox = 1, CapturingColor = 2 };
    /// Around which point a zoom scales the view.
    enum ZoomMode { ZoomAroundOrigin = 0, ZoomAroundCenter = 1 };
    enum BackgroundType { GradientOnly = 0, ResolutionTemplate = 1, ImageFile = 2 };
    /// The built-in cross images, the second built-in set, or three files.
    enum CrossHairType { DefaultCrossHairs = 0, SecondCrossHairs = 1, FileCrossHairs = 2 };
    /// How the onion sprite is drawn: as the effects of a render packet.
    enum OnionEffect { NoEffect = 0, Grayscale = 1, Lighter = 2, Darker = 3 };
    /// The bits of a position mode.
    enum PositionMode : unsigned char {
        ReferenceMask = 0x03,
        ScreenReference = 0,
        OriginReference = 1,
        CrossReference = 2,
        SpriteReference = 3,
        MovableX = 0x04,
        MovableY = 0x08,
        WorldUnits = 0x10,
        NotReleased = 0x20
    };
    /// World coordinates stay within this distance of the origin.
    static constexpr int worldLimit = 32767;

    explicit GraphicsRenderer(QObject *parent = nullptr);
    ~GraphicsRenderer() override;

    /**
     * Whether sprites are drawn over the guides (else the guides are on top
     * and catch the mouse first), and whether the contact boxes are drawn
     * under the crosses (and catch the mouse before them).
     */
    static void setPriority(bool spriteOverGuides, bool contactOverCross);
    void setVisibility(bool mainCross, bool secondaryCross, bool extraCross, bool collisionBoxes,
                       bool attackBoxes, bool rulers, bool guides) override;
    /**
     * What is shown, a flag for each part in the order of setVisibility(): the three crosses,
     * the collision and attack boxes, the rulers and the guides.
     */
    QList<bool> visibility() const;
    /**
     * A gradient from \a first at the top to \a second at the bottom, with
     * the picture of \a type: the template of the screen \a resolution, the
     * image \a file placed at \a position in world units, or none.
     */
    static void setBackground(QColor const &first, QColor const &second, BackgroundType type,
                              QPoint position, QString const &file, QSize resolution);
    /// The images of the three crosses; with FileCrossHairs a missing file gives the default image.
    static void setCrossHair(CrossHairType type, QString const &main, QString const &secondary,
                             QString const &extra);
    /// The screen position of the world's origin, shared by all stages.
    static QPoint origin();
    static void setOrigin(QPoint origin);
    void centralize() override;
    /// The guides in world units: the vertical one at x, the horizontal one at y.
    QPoint guideLines() const;
    void setGuideLines(QPoint guides);

    ClickMode clickMode() const;
    /// Back to dragging; a box just drawn becomes the selection.
    void setPositioningMode();
    /// Clicks draw new boxes of \a type.
    void setDrawContactBoxMode(ContactBoxCode::BoxType type);
    /// Clicks on a sprite report its colour index by colorCaptured().
    void setCaptureMode();

    static void setZoomMode(int mode);
    /// Table 0 or, for any other value, table 1.
    static void setZoomTable(int table);
    /// Level \a level of the table; 255 gives 0 and anything above 16 gives 16.
    void setZoomLevel(unsigned char level);
    /// A factor per axis on top of the zoom, such as the project's scale.
    void setZoomScale(QPointF scale);
    void addZoom() override;
    void subZoom() override;
    void zoomFit() override;
    void zoomActual() override;
    float zoomFactor() const override;
    unsigned char zoomLevel() const;
    /// The zoom factor times the zoom scale, per axis: screen pixels a world unit.
    QPointF scale() const;

    /**
     * The index of \a item among its kind: a SpriteProvider::Info among the
     * provider's items, a ContactBoxCode in its list of boxes (as the signals
     * count boxes); -1 when it is not there.
     */
    int indexOfItem(ItemType type, void const *item) const;
    /**
     * The position of a cross or a sprite, or the top left of a box, the
     * boxes counted attack boxes first; (0, 0) out of range.
     */
    QPointF itemPosition(ItemType type, unsigned int index) const;
    void setItemPosition(ItemType type, QPointF position, unsigned int index, bool update);
    /// The position mode and reference of a cross, a sprite, or all boxes.
    void setItemPositionMode(ItemType type, unsigned char mode, unsigned int parent,
                             unsigned int index);

    void deselectContactBoxes();
    /// The colours of both kinds of box, and the opacity of their fill.
    static void setupContactBoxes(QColor const &attack, QColor const &collision, float opacity);
    /// Shows the boxes of \a boxes (not owned; null for none) as the boxes of \a type.
    void setContactBoxes(ContactBoxCode::BoxType type, ContactBoxesCode *boxes);
    /// Moves the selected boxes by \a offset world units.
    void moveSelectedContactBoxes(QPoint offset);
    /// Removes the selected boxes, from their lists of boxes as well.
    void removeSelectedContactBoxes();
    /// Reads all boxes again from their lists, keeping the selection.
    void updateSelectedBoxes();
    QList<ContactBoxCode *> selectedContactBoxes() const;
    /// The boxes of \a type as the stage holds them, moved and resized, in world units.
    QList<QRect> contactBoxRects(ContactBoxCode::BoxType type) const;

    /// The sprites to draw (not owned; null for none).
    void setSprites(SpriteProvider *sprites);
    SpriteProvider *sprites() const;
    /// Shows the onion sprite with \a effect at \a strength (an opacity).
    void setOnionSkin(bool on, OnionEffect effect, float strength);
    /// The onion sprite, its axis \a offset world units from the origin.
    void setOnionSkinSprite(Sprite const *sprite, QPoint offset);

    void keyPressed(int key, Qt::KeyboardModifiers modifiers) override;
    void keyReleased(int key, Qt::KeyboardModifiers modifiers) override;
    void mousePressed(QPoint pos, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) override;
    void mouseReleased(QPoint pos, Qt::MouseButton button,
                       Qt::KeyboardModifiers modifiers) override;
    void mouseMoved(QPoint pos, Qt::KeyboardModifiers modifiers) override;
    void mouseWheel(int delta) override;
    void sizeChanged(int width, int height) override;
    void render(QPainter &painter) override;

Q_SIGNALS:
    /// A box was drawn; the handler adds it and returns it, or null to refuse it.
    Kenro::ContactBoxCode *appendContactBox(Kenro::ContactBoxCode::BoxType type, QRect rect);
    /// A right click or Escape ended the drawing of boxes.
    void contactDrawingExit();
    /// The mouse is over \a position, in world units.
    void cursorChanged(QPoint position);
    /// The colour index under a click in capture mode.
    void colorCaptured(uchar index);
    /// A drag moved an item: a cross or a sprite to \a position, or boxes (\a index -1 by keys).
    void itemMoved(Kenro::GraphicsRenderer::ItemType type, int index, QPoint position);
    /// A drag ended; \a position is (0, 0) for boxes and for items whose mode says so.
    void itemReleased(Kenro::GraphicsRenderer::ItemType type, int index, QPoint position);

protected:
    /// Draws item \a info of the provider with \a painter.
    virtual void drawSprite(QPainter &painter, SpriteProvider::Info const &info) = 0;
    /// Draws the onion sprite \a onion with \a painter, with \a effect at \a strength.
    virtual void drawOnionSkin(QPainter &painter, SpriteProvider::Info const &onion,
                               OnionEffect effect, float strength) = 0;
    /// Draws item \a info by OpenGL, between glBeginDrawImage() and glEndDrawImage().
    virtual void glDrawSprite(SpriteProvider::Info const &info) = 0;
    /// Draws the onion sprite by OpenGL.
    virtual void glDrawOnionSkin(SpriteProvider::Info const &onion, OnionEffect effect,
                                 float strength) = 0;
    /**
     * The image of \a sprite around its axis in world units, unflipped: by
     * default (0, 0) and the image's size, for sprites whose axis is their
     * top left corner.
     */
    virtual QRect spriteBounds(Sprite const *sprite) const;
    /// Completes the screen fields of every item of the provider; false without items.
    bool updateSprites();
    /// The view's size.
    QSize viewSize() const;

private:
    friend class GraphicsRendererPrivate;
    GraphicsRendererPrivate *d;
};

} // namespace Kenro
