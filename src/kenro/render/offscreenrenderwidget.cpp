#include <kenro/render/offscreenrenderwidget.h>

#include <kenro/render/texture.h>

#include "glrenderwidget_p.h"

#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QOpenGLPaintDevice>
#include <QPainter>

#include <memory>

namespace Kenro {

class OffScreenRenderWidgetPrivate
{
public:
    // Makes the hidden context current; false without it. The context that
    // was current goes back in restoreContext().
    bool makeCurrent()
    {
        QOpenGLContext *const shared = Texture::globalGLContext();
        previous = QOpenGLContext::currentContext();
        previousSurface = previous ? previous->surface() : nullptr;
        if (!shared)
            return false;
        return previous == shared || shared->makeCurrent(Texture::globalGLSurface());
    }
    void restoreContext()
    {
        QOpenGLContext *const shared = Texture::globalGLContext();
        if (previous && previous != shared && previousSurface)
            previous->makeCurrent(previousSurface);
    }

    Renderer *renderer = nullptr;
    QSize size;
    QImage image;
    std::unique_ptr<QOpenGLFramebufferObject> framebuffer;
    // Set in OpenGL mode only.
    std::unique_ptr<GLRenderWidgetPrivate> gl;
    QOpenGLContext *previous = nullptr;
    QSurface *previousSurface = nullptr;
};

OffScreenRenderWidget::OffScreenRenderWidget(bool openGL, QSize size)
    : d(new OffScreenRenderWidgetPrivate)
{
    d->size = size;
    d->image = QImage(size, QImage::Format_ARGB32_Premultiplied);
    d->image.fill(Qt::transparent);
    if (!openGL || !Texture::isOpenGLEnabled() || !d->makeCurrent())
        return;
    auto gl = std::make_unique<GLRenderWidgetPrivate>();
    gl->functions = new QOGLFunctions;
    gl->functions->initializeOpenGLFunctions();
    gl->functions->glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
    gl->functions->glDisable(GL_DEPTH_TEST);
    gl->functions->glDisable(GL_STENCIL_TEST);
    gl->functions->glViewport(0, 0, size.width(), size.height());
    gl->setSize(size.width(), size.height());
    gl->createPrograms();
    d->framebuffer = std::make_unique<QOpenGLFramebufferObject>(
        size, QOpenGLFramebufferObject::CombinedDepthStencil, GL_TEXTURE_2D, GL_RGBA);
    if (d->framebuffer->isValid())
        d->gl = std::move(gl);
    else
        d->framebuffer.reset();
    if (!d->gl) {
        delete gl->functions;
        gl->deletePrograms();
    }
    d->restoreContext();
}

OffScreenRenderWidget::~OffScreenRenderWidget()
{
    if (d->renderer)
        d->renderer->attach(nullptr, false);
    if (d->gl && d->makeCurrent()) {
        d->framebuffer.reset();
        d->gl->deletePrograms();
        delete d->gl->functions;
        d->restoreContext();
    }
    delete d;
}

Renderer *OffScreenRenderWidget::renderer()
{
    return d->renderer;
}

GLRenderWidgetPrivate *OffScreenRenderWidget::glPrivate() const
{
    return d->gl.get();
}

bool OffScreenRenderWidget::isOpenGL() const
{
    return d->gl != nullptr;
}

QSize OffScreenRenderWidget::size() const
{
    return d->size;
}

void OffScreenRenderWidget::setRenderer(Renderer *renderer)
{
    if (d->renderer && d->renderer != renderer)
        d->renderer->attach(nullptr, false);
    d->renderer = renderer;
    if (d->gl)
        d->gl->renderer = renderer;
    if (!renderer)
        return;
    bool const gl = d->gl && d->makeCurrent();
    renderer->attach(this, gl);
    renderer->sizeChanged(d->size.width(), d->size.height());
    if (gl)
        d->restoreContext();
}

void OffScreenRenderWidget::update()
{
    if (!d->renderer)
        return;
    if (!d->gl) {
        QPainter painter(&d->image);
        painter.fillRect(QRect(QPoint(0, 0), QPoint(d->size.width() - 1, d->size.height() - 1)),
                         d->renderer->clearColor());
        d->renderer->render(painter);
        return;
    }
    if (!d->makeCurrent())
        return;
    if (d->framebuffer->bind()) {
        QColor const clear = d->renderer->clearColor();
        d->gl->functions->glViewport(0, 0, d->size.width(), d->size.height());
        d->gl->functions->glClearColor(clear.redF(), clear.greenF(), clear.blueF(), 1.0f);
        d->gl->functions->glClear(GL_COLOR_BUFFER_BIT);
        QOpenGLPaintDevice device(d->size);
        QPainter painter(&device);
        d->renderer->render(painter);
        painter.end();
        d->framebuffer->release();
    }
    d->restoreContext();
}

QImage OffScreenRenderWidget::output()
{
    if (d->gl && d->makeCurrent()) {
        d->image =
            d->framebuffer->toImage(true).convertToFormat(QImage::Format_ARGB32_Premultiplied);
        d->restoreContext();
    }
    return d->image;
}

} // namespace Kenro
