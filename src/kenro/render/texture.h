#pragma once

#include <kenro/imaging/rgb.h>
#include <kenro/kenro_export.h>

#include <QByteArray>
#include <QImage>
#include <QMetaType>
#include <QSize>
#include <QSizeF>

class QOpenGLContext;
class QOffscreenSurface;

namespace Kenro {

class QOGLFunctions;

/**
 * A handle on one OpenGL texture that any thread may create, fill and free.
 * The GL work itself runs in the main thread, in one hidden context that every
 * render surface shares, so a texture shows in every view; a call from another
 * thread waits for the main thread to do it. With OpenGL switched off a
 * texture keeps its size and type but holds no GL name.
 */
class KENRO_EXPORT Texture
{
public:
    enum Type {
        Invalid = 0, ///< no image yet
        Palette = 1, ///< 256 x 1 RGBA
        Indexed = 2, ///< 8 bits a pixel, each a palette index
        RGB = 3, ///< more than 8 and up to 24 bits a pixel
        RGBA = 4 ///< more than 24 bits a pixel, premultiplied
    };

    /// Pixels prepared for upload, with no GL involved: any thread may make them.
    struct ImageData
    {
        int imageWidth = -1;
        int imageHeight = -1;
        /// The size of the pixel block: the image size, or the next powers of two.
        int textureWidth = -1;
        int textureHeight = -1;
        /// Bits a pixel of the source image.
        int depth = 0;
        /// Tightly packed rows of textureWidth pixels each.
        QByteArray data;
    };

    Texture();
    explicit Texture(QImage const &image);
    explicit Texture(Kenro::RGBA const palette[]);
    explicit Texture(ImageData const &data);
    ~Texture();
    Texture(Texture const &) = delete;
    Texture &operator=(Texture const &) = delete;

    /// Uploads \a image (see dataFromImage()).
    void fromImage(QImage const &image);
    /// Uploads the 256 colours of \a palette as a 256 x 1 RGBA texture.
    void fromPalette(Kenro::RGBA const palette[]);
    /// Uploads \a data; empty data leaves the texture without a GL name.
    void fromData(ImageData const &data);
    /// Gives the GL name back; type and sizes stay.
    void reset();
    /// Exchanges the GL names of this texture and \a other, and nothing else.
    void swap(Texture &other);

    /**
     * Prepares \a image for upload into \a data: 8-bit images as their
     * indices, deeper ones as packed RGB, or premultiplied RGBA above 24 bits.
     * Where the GL cannot take sizes other than powers of two, the block is
     * padded to the next ones. Touches no GL: safe from any thread.
     */
    static void dataFromImage(QImage const &image, ImageData &data);

    bool isValid() const { return m_type != Invalid; }
    unsigned glId() const { return m_glId; }
    Type type() const { return m_type; }
    QSize size() const { return QSize(m_width, m_height); }
    int width() const { return m_width; }
    int height() const { return m_height; }
    /// Image size over texture size: the texture coordinates of the image's far corner.
    QSizeF maximumUV() const { return QSizeF(m_maximumU, m_maximumV); }

    /// Whether textures are made and drawn by OpenGL; true at start.
    static bool isOpenGLEnabled();
    /**
     * Switches OpenGL on or off. Switching it off gives back the GL name of
     * every texture (sizes and types stay); switching it on sets up the hidden
     * context if it is not there yet.
     */
    static void setOpenGLEnabled(bool enabled);
    /// The hidden context that every render surface shares, or null without a usable OpenGL 2.
    static QOpenGLContext *globalGLContext();
    /// The surface that the hidden context is made current on, or null.
    static QOffscreenSurface *globalGLSurface();
    /// The functions of the hidden context, or null without one.
    static QOGLFunctions *globalGLFunctions();
    /// Whether the GL takes texture sizes other than powers of two.
    static bool hasNonPowerOfTwo();

private:
    friend class QLocalGL;

    Type m_type = Invalid;
    unsigned m_glId = 0;
    double m_maximumU = -1.0;
    double m_maximumV = -1.0;
    int m_width = -1;
    int m_height = -1;
};

} // namespace Kenro

Q_DECLARE_METATYPE(Kenro::Texture::ImageData const *)
