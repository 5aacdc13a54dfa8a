#pragma once

#include <kenro/imaging/rgb.h>
#include <kenro/kenro_export.h>
#include <kenro/render/renderer.h>
#include <kenro/render/texture.h>

#include <QColor>
#include <QImage>
#include <QSizeF>

namespace Kenro {

/**
 * Draws render packets into an image without OpenGL, the way the shader
 * programs and the GL's blending draw them: the same triangles, pixel
 * centres and nearest texels, the palette lookup with index 0 transparent,
 * the mask, the three effects, the opacity and the blend equations and
 * factors. Surfaces without OpenGL use it so that both kinds show the same
 * pixels; it needs no GL context and may run in any thread.
 */
class KENRO_EXPORT PacketPainter
{
public:
    /// The blending of later draws; off at start.
    struct Blend
    {
        bool enabled = false;
        Renderer::BlendEquation equation = Renderer::Add;
        Renderer::BlendFactor source = Renderer::SourceAlpha;
        Renderer::BlendFactor destination = Renderer::OneMinusSourceAlpha;
        /// The colour of the constant factors.
        QColor constant = QColor(0, 0, 0, 0);
    };

    /// Draws into \a target, which must be QImage::Format_ARGB32_Premultiplied and outlive this.
    explicit PacketPainter(QImage *target);

    void setBlend(Blend const &blend) { m_blend = blend; }
    Blend const &blend() const { return m_blend; }

    /**
     * Draws \a packet, whose texture holds \a data (as Texture::dataFromImage()
     * prepares it): indexed images through \a palette (256 colours; null
     * draws nothing), other images as their premultiplied colours. The
     * packet's texture and palette pointers are not read.
     */
    void draw(Renderer::RenderPacket const &packet, Texture::ImageData const &data,
              RGBA const *palette);
    /// As above, preparing \a image first.
    void draw(Renderer::RenderPacket const &packet, QImage const &image, RGBA const *palette);

private:
    QImage *m_target;
    Blend m_blend;
};

} // namespace Kenro
