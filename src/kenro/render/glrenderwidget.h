#pragma once

#include <kenro/kenro_export.h>
#include <kenro/render/renderer.h>

#include <QOpenGLWidget>

namespace Kenro {

class GLRenderWidgetPrivate;

/**
 * An on-screen surface that draws by OpenGL. Its context shares with the
 * hidden one of the textures. A context below OpenGL 2, or one that cannot
 * share, leaves the widget inert: it draws nothing.
 */
class KENRO_EXPORT GLRenderWidget : public QOpenGLWidget, public RenderWidgetBase
{
    Q_OBJECT

public:
    explicit GLRenderWidget(QWidget *parent = nullptr);
    ~GLRenderWidget() override;

    Renderer *renderer() override;
    void setRenderer(Renderer *renderer) override;
    void setFocus() override;
    void update() override;

    /**
     * Puts \a indexedSource and \a imageSource in place of the fragment
     * sources of the programs for indexed and for other images (null keeps
     * the default) and links them again.
     */
    void setCustomPixelShader(char const *indexedSource, char const *imageSource);
    /// Sets the viewport to the centred square of side min(\a width, \a height).
    void setupViewport(int width, int height);
    /// Whether the widget draws: it has a context of OpenGL 2 or above that shares textures.
    bool isUsable() const;

    /// For the renderer: the GL state of the widget, null while it is not usable.
    GLRenderWidgetPrivate *glPrivate() const;
    void emitCustomShaderUniformValues(QOGLShaderProgram *program);

Q_SIGNALS:
    /// The context and the default programs are made.
    void initialize();
    /// Right before a packet is drawn with \a program: the owner of a custom shader sets its values.
    void setCustomShaderUniformValues(Kenro::QOGLShaderProgram *program);

protected:
    void initializeGL() override;
    void resizeGL(int width, int height) override;
    void paintGL() override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void attachRenderer();

    GLRenderWidgetPrivate *d;
    bool m_usable = false;
};

} // namespace Kenro
