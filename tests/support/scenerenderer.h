#pragma once

#include <kenro/render/packetpainter.h>
#include <kenro/render/renderer.h>
#include <kenro/render/texture.h>

#include <QImage>
#include <QList>
#include <QPointF>

#include <memory>
#include <vector>

namespace KenroTest {

/// One image of a scene and how it is drawn.
struct SceneItem
{
    QImage image; ///< Format_Indexed8 (indices into a palette of the scene) or a colour image
    int palette = -1; ///< for indexed images: the index of its palette in the scene
    QPointF position;
    uchar flip = 0;
    float topScale = 1.0f;
    float topAnchor = 0.5f;
    QPoint tiles; ///< repeats beyond the first in x and y
    QSizeF step; ///< the distance of the repeats
    bool mask = true;
    uchar effect = 0;
    float opacity = 1.0f;
    Kenro::PacketPainter::Blend blend;
};

/**
 * Draws a scene of items as packets on any surface: by OpenGL where the
 * surface has it, else with PacketPainter into the painter's image. It
 * records the events that reach it.
 */
class SceneRenderer : public Kenro::Renderer
{
public:
    QList<SceneItem> items;
    QList<QList<Kenro::RGBA>> palettes; ///< 256 colours each
    QColor background = QColor(20, 40, 60);
    /// Packets wholly outside the view are skipped.
    bool cull = false;
    /// Of the last frame.
    int drawn = 0;
    int culled = 0;
    QStringList events;
    int frames = 0;

    /// Gives palette \a index new colours; only its texture is uploaded again.
    void setPalette(int index, QList<Kenro::RGBA> const &colors);
    /// Forgets the textures, so that the next frame makes them again.
    void clearTextures();

    void render(QPainter &painter) override;
    QColor clearColor() override { return background; }
    void keyPressed(int key, Qt::KeyboardModifiers modifiers) override;
    void keyReleased(int key, Qt::KeyboardModifiers modifiers) override;
    void keyString(QString text, int key) override;
    void mousePressed(QPoint pos, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) override;
    void mouseReleased(QPoint pos, Qt::MouseButton button,
                       Qt::KeyboardModifiers modifiers) override;
    void mouseMoved(QPoint pos, Qt::KeyboardModifiers modifiers) override;
    void mouseWheel(int delta) override;
    void sizeChanged(int width, int height) override;

private:
    void renderGL(QPainter &painter);
    void renderSoftware(QPainter &painter);
    QMatrix4x4 model(SceneItem const &item) const;

    QSize m_size;
    std::vector<std::unique_ptr<Kenro::Texture>> m_images;
    std::vector<std::unique_ptr<Kenro::Texture>> m_paletteTextures;
    std::vector<Kenro::Texture::ImageData> m_data;
};

/**
 * The largest difference of one channel between two images of one size, or
 * 256 when the sizes differ; the count of differing pixels goes to \a pixels,
 * and a map of them (yellow by one level, red by more) to \a map.
 */
int largestDifference(QImage const &a, QImage const &b, int *pixels = nullptr,
                      QImage *map = nullptr);

/**
 * Keeps the GL driver of the process loaded until the end, so that what it
 * never frees is reported under its name, which the leak checker's
 * suppressions know, rather than as an unknown module.
 */
void keepGLDriverLoaded();

/// Whether textures and surfaces draw by OpenGL in this run.
bool glAvailable();
/// OpenGL off where KENRO_OPENGL is 0, the GL driver kept; false when OpenGL is wanted and missing.
bool setUpOpenGL();

/// Where test pictures go: a folder under the build folder, made on first use.
QString picturePath(QString const &name);

} // namespace KenroTest
