#pragma once

#include <kenro/render/graphicsrenderer.h>

#include <QHash>
#include <QImage>
#include <QList>

#include <memory>

namespace Kenro {
class Texture;
}

namespace Kenro::Ikemen {

struct SffImage;
class SffPalette;

/**
 * The stage for the runtime's content: draws the sprites of its archives
 * with their axis on the item's position, flipped, scaled and blended as
 * the frame says; indexed sprites through their palette (colour 0 clear),
 * true-colour ones as they are. Other sprites are drawn from their image
 * with the axis at the top left corner. The images made for drawing are
 * kept until the sprite's image or palette changes.
 */
class IkemenRenderer : public Kenro::GraphicsRenderer
{
    Q_OBJECT

public:
    explicit IkemenRenderer(QObject *parent = nullptr);
    ~IkemenRenderer() override;

    /// Forgets every image and texture made for drawing.
    void clearCache();

protected:
    void drawSprite(QPainter &painter, Kenro::SpriteProvider::Info const &info) override;
    void drawOnionSkin(QPainter &painter, Kenro::SpriteProvider::Info const &onion,
                       OnionEffect effect, float strength) override;
    void glDrawSprite(Kenro::SpriteProvider::Info const &info) override;
    void glDrawOnionSkin(Kenro::SpriteProvider::Info const &onion, OnionEffect effect,
                         float strength) override;
    /// The image around the archive sprite's axis.
    QRect spriteBounds(Kenro::Sprite const *sprite) const override;

private:
    struct Painted
    {
        std::weak_ptr<SffImage> source;
        QList<QRgb> colors;
        int effect = 0;
        QImage image;
    };
    struct Uploaded
    {
        std::weak_ptr<SffImage> source;
        std::shared_ptr<Kenro::Texture> texture;
    };
    struct Foreign
    {
        qint64 key = 0;
        std::shared_ptr<Kenro::Texture> texture;
    };
    struct PaletteTexture
    {
        QList<QRgb> colors;
        std::shared_ptr<Kenro::Texture> texture;
    };

    // The sprite's image in premultiplied colours with \a effect, for QPainter.
    QImage paintedImage(Kenro::Sprite const *sprite, int effect);
    void paint(QPainter &painter, Kenro::SpriteProvider::Info const &info, int effect,
               float opacity);
    void glPaint(Kenro::SpriteProvider::Info const &info, int effect, float opacity);

    QHash<SffImage const *, Painted> m_painted;
    QHash<SffImage const *, Uploaded> m_textures;
    QHash<SffPalette const *, PaletteTexture> m_palettes;
    QHash<Kenro::Sprite const *, Foreign> m_foreign;
};

} // namespace Kenro::Ikemen
