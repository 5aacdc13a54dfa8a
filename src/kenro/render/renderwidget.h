#pragma once

#include <kenro/kenro_export.h>
#include <kenro/render/renderer.h>

#include <QWidget>

namespace Kenro {

/// An on-screen surface that draws with QPainter alone. It does not clear: the renderer paints every pixel.
class KENRO_EXPORT RenderWidget : public QWidget, public RenderWidgetBase
{
    Q_OBJECT

public:
    explicit RenderWidget(QWidget *parent = nullptr);
    ~RenderWidget() override;

    Renderer *renderer() override { return m_renderer; }
    void setRenderer(Renderer *renderer) override;
    void setFocus() override;
    void update() override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    Renderer *m_renderer = nullptr;
};

} // namespace Kenro
