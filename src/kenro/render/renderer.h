#pragma once

#include <kenro/kenro_export.h>
#include <kenro/render/qoglfunctions.h>

#include <QColor>
#include <QCoreApplication>
#include <QList>
#include <QMatrix4x4>
#include <QPoint>
#include <QRectF>
#include <QSizeF>
#include <QVector2D>
#include <QVector4D>

class QPainter;
class QWidget;

namespace Kenro {

class GLRenderWidgetPrivate;
class RenderWidgetBase;
class Texture;

/**
 * The drawing logic of one view, apart from the surface it draws on (an
 * OpenGL widget, a plain QPainter widget or an off-screen image). isOpenGL()
 * tells which kind it has; the gl... helpers do nothing without OpenGL. In
 * OpenGL every image is drawn as a packet: a textured quad or strip with a
 * matrix, through one of eight small shader programs that look indexed
 * images up in their palette, so a palette change costs one 256 x 1 upload.
 */
class KENRO_EXPORT Renderer : public QOGLFunctions
{
    Q_DECLARE_TR_FUNCTIONS(Kenro::Renderer)

public:
    enum ProjectionMode { Orthographic = 0, Perspective = 1 };
    /// ReverseSubtract takes the source from the destination; any other value adds.
    enum BlendEquation { Add = 0, ReverseSubtract = 1 };
    enum BlendFactor {
        Zero = 0,
        One = 1,
        SourceColor = 2,
        DestinationColor = 3,
        SourceAlpha = 4,
        OneMinusSourceAlpha = 5,
        ConstantColor = 6,
        ConstantAlpha = 7
    };
    /// The colour effects of a packet.
    enum Effect { NoEffect = 0, Grayscale = 1, Lighter = 2, Darker = 3 };
    enum Primitive { Triangles = 0, TriangleStrip = 1, TriangleFan = 2 };

    /// One draw.
    struct RenderPacket
    {
        Texture const *texture = nullptr;
        /// Null for images that are not indexed.
        Texture const *palette = nullptr;
        QList<QVector2D> vertices;
        /// s, t, 0, 1 for each vertex.
        QList<QVector4D> texCoords;
        /// View-projection times model.
        QMatrix4x4 matrix;
        float opacity = 1.0f;
        /// True: the texel's alpha counts. False: alpha is forced to 1.
        bool mask = true;
        uchar effect = NoEffect;
        uchar primitive = TriangleStrip;
    };

    Renderer();
    virtual ~Renderer();

    /// The label of a drawing setting: translated for the native painter, "OpenGL" as it is.
    static QString name(bool native);

    virtual void keyPressed(int key, Qt::KeyboardModifiers modifiers) {}
    virtual void keyReleased(int key, Qt::KeyboardModifiers modifiers) {}
    /// Behind a key release whose event has text.
    virtual void keyString(QString text, int key) {}
    virtual void mousePressed(QPoint pos, Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
    {}
    virtual void mouseReleased(QPoint pos, Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
    {}
    /// Also with no button down: mouse tracking is on.
    virtual void mouseMoved(QPoint pos, Qt::KeyboardModifiers modifiers) {}
    virtual void mouseWheel(int delta) {}
    /// The surface was resized; also once when the renderer is attached, before any render().
    virtual void sizeChanged(int width, int height) {}
    /// Paints the view.
    virtual void render(QPainter &painter) = 0;
    /// The colour a GL surface is cleared with before each paint.
    virtual QColor clearColor() { return QColor(Qt::magenta); }

    void setFocus();
    void update();
    /// The surface as a widget; null for an off-screen surface or none.
    QWidget *widget() const;
    /// The surface, or null.
    RenderWidgetBase *renderWidget() const { return m_widget; }
    bool isOpenGL() const { return m_openGL; }
    void setProjectionMode(ProjectionMode mode);
    /// The selected projection of the surface, or the identity without OpenGL.
    QMatrix4x4 viewProjectionMatrix() const;

    /**
     * Fills the geometry of \a packet for an image of \a size whose texture
     * reaches \a maximumUV, drawn through \a matrix: a strip of four corners,
     * flipped by bit 0 (across) and bit 1 (down) of \a flip. A \a topScale
     * other than 1 widens or narrows the top edge around \a topAnchor (0 is
     * the left, 1 the right end) into a trapezoid. Needs no GL: a surface
     * without it builds the same packets.
     */
    static void setPacketGeometry(RenderPacket &packet, QSize size, QSizeF maximumUV,
                                  QMatrix4x4 const &matrix, uchar flip, float topScale,
                                  float topAnchor);
    /**
     * Fills the geometry of \a packet for \a tiles repeats beyond the first
     * in x and y, \a step apart: one quad repeated by the texture when
     * \a hardwareRepeat, else a triangle list of two triangles a tile.
     */
    static void setTiledPacketGeometry(RenderPacket &packet, QSize size, QSizeF maximumUV,
                                       QPoint tiles, QSizeF step, QMatrix4x4 const &matrix,
                                       uchar flip, bool hardwareRepeat);
    /// Whether an image of \a size reaching \a maximumUV can be tiled \a step apart by the texture.
    static bool canRepeatByTexture(QSize size, QSizeF maximumUV, QSizeF step, bool nonPowerOfTwo);
    /**
     * The orthographic projection of a surface of \a width x \a height pixels
     * with y downward, which puts z = 0 on the pixel grid; with
     * \a perspective the frustum that lands z = 0 on the same pixels.
     */
    static QMatrix4x4 projection(int width, int height, bool perspective);

protected:
    /// Starts drawing packets inside a painter's frame.
    void glBeginDrawImage(QPainter &painter);
    /// Ends it: units, blending and program back to their defaults.
    void glEndDrawImage(QPainter &painter);
    /**
     * Makes \a packet draw \a image (with \a palette when indexed) through
     * \a model. False when there is no GL, no image, no GL name, or the image
     * is no picture (a palette): the caller skips the packet.
     */
    bool glRenderPacket(RenderPacket &packet, QMatrix4x4 const &model, Texture const *image,
                        Texture const *palette, uchar flip, float topScale, float topAnchor);
    /// As glRenderPacket(), repeated \a tiles times beyond the first, \a step apart.
    bool glRenderPacketTiled(RenderPacket &packet, QPoint tiles, QSizeF step,
                             QMatrix4x4 const &model, Texture const *image, Texture const *palette,
                             uchar flip);
    /**
     * True when \a packet falls wholly outside \a area, so it need not be
     * drawn. The area is in the view's normalised coordinates with y down:
     * QRectF(-1, -1, 2, 2) is the whole view.
     */
    bool glCullRenderPacket(RenderPacket const &packet, QRectF area);
    void glDrawImage(RenderPacket const &packet);
    /// Blending on or off; returns the state, false without GL.
    bool glSetBlend(bool on);
    void glSetBlendEquation(BlendEquation equation);
    void glSetBlendFunction(BlendFactor source, BlendFactor destination);
    /// The colour of the constant blend factors.
    void glSetBlendColor(QColor const &color);

private:
    friend class GLRenderWidget;
    friend class RenderWidget;
    friend class OffScreenRenderWidget;

    GLRenderWidgetPrivate *glPrivate() const;
    void attach(RenderWidgetBase *widget, bool openGL);

    RenderWidgetBase *m_widget = nullptr;
    bool m_openGL = false;
};

/// A surface that shows one renderer at a time.
class KENRO_EXPORT RenderWidgetBase
{
public:
    virtual ~RenderWidgetBase();
    virtual Renderer *renderer() = 0;
    /// Shows \a renderer (not owned); the previous one leaves.
    virtual void setRenderer(Renderer *renderer) = 0;
    virtual void setFocus() = 0;
    virtual void update() = 0;
};

} // namespace Kenro
