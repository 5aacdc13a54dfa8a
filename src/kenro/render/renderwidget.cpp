#include <kenro/render/renderwidget.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace Kenro {

RenderWidget::RenderWidget(QWidget *parent) : QWidget(parent)
{
    setAutoFillBackground(false);
    setMouseTracking(true);
}

RenderWidget::~RenderWidget()
{
    if (m_renderer)
        m_renderer->attach(nullptr, false);
}

void RenderWidget::setRenderer(Renderer *renderer)
{
    if (m_renderer && m_renderer != renderer)
        m_renderer->attach(nullptr, false);
    m_renderer = renderer;
    if (renderer) {
        renderer->attach(this, false);
        renderer->sizeChanged(width(), height());
    }
}

void RenderWidget::setFocus()
{
    QWidget::setFocus();
}

void RenderWidget::update()
{
    QWidget::update();
}

void RenderWidget::paintEvent(QPaintEvent *)
{
    if (!m_renderer)
        return;
    QPainter painter(this);
    m_renderer->render(painter);
}

void RenderWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (m_renderer)
        m_renderer->sizeChanged(width(), height());
}

void RenderWidget::keyPressEvent(QKeyEvent *event)
{
    QWidget::keyPressEvent(event);
    if (m_renderer)
        m_renderer->keyPressed(event->key(), event->modifiers());
}

void RenderWidget::keyReleaseEvent(QKeyEvent *event)
{
    QWidget::keyReleaseEvent(event);
    if (!m_renderer)
        return;
    m_renderer->keyReleased(event->key(), event->modifiers());
    if (!event->text().isEmpty())
        m_renderer->keyString(event->text(), event->key());
}

void RenderWidget::mousePressEvent(QMouseEvent *event)
{
    QWidget::mousePressEvent(event);
    QWidget::setFocus();
    if (m_renderer)
        m_renderer->mousePressed(event->position().toPoint(), event->button(), event->modifiers());
}

void RenderWidget::mouseReleaseEvent(QMouseEvent *event)
{
    QWidget::mouseReleaseEvent(event);
    if (m_renderer)
        m_renderer->mouseReleased(event->position().toPoint(), event->button(), event->modifiers());
}

void RenderWidget::mouseMoveEvent(QMouseEvent *event)
{
    QWidget::mouseMoveEvent(event);
    if (m_renderer)
        m_renderer->mouseMoved(event->position().toPoint(), event->modifiers());
}

void RenderWidget::wheelEvent(QWheelEvent *event)
{
    QWidget::wheelEvent(event);
    if (m_renderer)
        m_renderer->mouseWheel(event->angleDelta().y());
}

} // namespace Kenro
