#include <kenro/render/glrenderwidget.h>

#include <kenro/render/texture.h>

#include "glrenderwidget_p.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>

namespace Kenro {

GLRenderWidget::GLRenderWidget(QWidget *parent)
    : QOpenGLWidget(parent), d(new GLRenderWidgetPrivate)
{
    d->widget = this;
    setAutoFillBackground(false);
    setMouseTracking(true);
    // The hidden context comes first, so that the textures have a home.
    Texture::globalGLContext();
}

GLRenderWidget::~GLRenderWidget()
{
    if (d->renderer)
        d->renderer->attach(nullptr, false);
    if (context()) {
        makeCurrent();
        d->deletePrograms();
        delete d->functions;
        d->functions = nullptr;
        doneCurrent();
    }
    delete d;
}

Renderer *GLRenderWidget::renderer()
{
    return d->renderer;
}

bool GLRenderWidget::isUsable() const
{
    return m_usable;
}

GLRenderWidgetPrivate *GLRenderWidget::glPrivate() const
{
    return m_usable ? d : nullptr;
}

void GLRenderWidget::setRenderer(Renderer *renderer)
{
    if (d->renderer && d->renderer != renderer)
        d->renderer->attach(nullptr, false);
    d->renderer = renderer;
    // The context is made when the widget is first shown: a renderer set
    // before waits for it.
    if (renderer && context() && context()->isValid())
        attachRenderer();
}

void GLRenderWidget::attachRenderer()
{
    Renderer *const renderer = d->renderer;
    if (!renderer)
        return;
    makeCurrent();
    renderer->attach(this, m_usable);
    renderer->sizeChanged(width(), height());
}

void GLRenderWidget::setFocus()
{
    QWidget::setFocus();
}

void GLRenderWidget::update()
{
    QOpenGLWidget::update();
}

void GLRenderWidget::setCustomPixelShader(char const *indexedSource, char const *imageSource)
{
    if (!m_usable)
        return;
    if (QOpenGLContext::currentContext() != context())
        makeCurrent();
    d->setPixelShaders(indexedSource, imageSource);
}

void GLRenderWidget::setupViewport(int width, int height)
{
    if (!d->functions)
        return;
    int const side = std::min(width, height);
    d->functions->glViewport((width - side) / 2, (height - side) / 2, side, side);
}

void GLRenderWidget::emitCustomShaderUniformValues(QOGLShaderProgram *program)
{
    Q_EMIT setCustomShaderUniformValues(program);
}

void GLRenderWidget::initializeGL()
{
    QOpenGLContext *const current = QOpenGLContext::currentContext();
    QOpenGLContext *const shared = Texture::globalGLContext();
    // Textures live in the hidden context: a context that does not share
    // with it could not show them.
    m_usable = current && current->format().majorVersion() >= 2 && shared &&
        QOpenGLContext::areSharing(current, shared);
    if (!m_usable)
        return;
    if (!d->functions)
        d->functions = new QOGLFunctions;
    d->functions->initializeOpenGLFunctions();
    d->functions->glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
    d->functions->glDisable(GL_DEPTH_TEST);
    d->functions->glDisable(GL_STENCIL_TEST);
    d->functions->glHint(0x0C50 /* GL_PERSPECTIVE_CORRECTION_HINT */, GL_NICEST);
    d->functions->glGetError(); // the hint is gone from core profiles
    d->createPrograms();
    d->setSize(width(), height());
    Q_EMIT initialize();
    if (d->renderer)
        attachRenderer();
}

void GLRenderWidget::resizeGL(int width, int height)
{
    if (d->renderer)
        d->renderer->sizeChanged(width, height);
    d->setSize(width, height);
    if (m_usable)
        setupViewport(width, height);
}

void GLRenderWidget::paintGL()
{
    if (!m_usable)
        return;
    setupViewport(width(), height());
    if (!d->renderer)
        return;
    QColor const clear = d->renderer->clearColor();
    d->functions->glClearColor(clear.redF(), clear.greenF(), clear.blueF(), 1.0f);
    d->functions->glClear(GL_COLOR_BUFFER_BIT);
    QPainter painter(this);
    d->renderer->render(painter);
    painter.end();
}

void GLRenderWidget::keyPressEvent(QKeyEvent *event)
{
    QOpenGLWidget::keyPressEvent(event);
    if (d->renderer)
        d->renderer->keyPressed(event->key(), event->modifiers());
}

void GLRenderWidget::keyReleaseEvent(QKeyEvent *event)
{
    QOpenGLWidget::keyReleaseEvent(event);
    if (!d->renderer || event->isAutoRepeat())
        return;
    d->renderer->keyReleased(event->key(), event->modifiers());
    if (!event->text().isEmpty())
        d->renderer->keyString(event->text(), event->key());
}

void GLRenderWidget::mousePressEvent(QMouseEvent *event)
{
    QOpenGLWidget::mousePressEvent(event);
    QWidget::setFocus();
    if (d->renderer)
        d->renderer->mousePressed(event->position().toPoint(), event->button(), event->modifiers());
}

void GLRenderWidget::mouseReleaseEvent(QMouseEvent *event)
{
    QOpenGLWidget::mouseReleaseEvent(event);
    if (d->renderer)
        d->renderer->mouseReleased(event->position().toPoint(), event->button(),
                                   event->modifiers());
}

void GLRenderWidget::mouseMoveEvent(QMouseEvent *event)
{
    QOpenGLWidget::mouseMoveEvent(event);
    if (d->renderer)
        d->renderer->mouseMoved(event->position().toPoint(), event->modifiers());
}

void GLRenderWidget::wheelEvent(QWheelEvent *event)
{
    QOpenGLWidget::wheelEvent(event);
    if (d->renderer)
        d->renderer->mouseWheel(event->angleDelta().y());
}

} // namespace Kenro
