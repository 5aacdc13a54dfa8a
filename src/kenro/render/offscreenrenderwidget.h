#pragma once

#include <kenro/kenro_export.h>
#include <kenro/render/renderer.h>

#include <QImage>
#include <QSize>

namespace Kenro {

class GLRenderWidgetPrivate;
class OffScreenRenderWidgetPrivate;

/**
 * A surface that draws into an image, by OpenGL in a framebuffer of the
 * hidden shared context, or by QPainter alone. Asked for OpenGL where there
 * is none, it draws with QPainter.
 */
class KENRO_EXPORT OffScreenRenderWidget : public RenderWidgetBase
{
public:
    OffScreenRenderWidget(bool openGL, QSize size);
    ~OffScreenRenderWidget() override;
    OffScreenRenderWidget(OffScreenRenderWidget const &) = delete;
    OffScreenRenderWidget &operator=(OffScreenRenderWidget const &) = delete;

    Renderer *renderer() override;
    void setRenderer(Renderer *renderer) override;
    /// Does nothing: an image takes no focus.
    void setFocus() override {}
    /// Draws the renderer's frame.
    void update() override;
    /// The last frame drawn, in QImage::Format_ARGB32_Premultiplied.
    QImage output();
    QSize size() const;
    /// Whether it draws by OpenGL.
    bool isOpenGL() const;

    /// For the renderer: the GL state, null when drawing with QPainter.
    GLRenderWidgetPrivate *glPrivate() const;

private:
    OffScreenRenderWidgetPrivate *d;
};

} // namespace Kenro
