#pragma once

#include <kenro/render/renderer.h>

namespace Kenro {

/**
 * What a workspace needs of any stage: zooming, the origin in the middle,
 * and what is shown. A left click gives the surface the keyboard focus.
 */
class KENRO_EXPORT GraphicsRendererBase : public Renderer
{
public:
    ~GraphicsRendererBase() override;

    /// Takes the keyboard focus on a left click.
    void mousePressed(QPoint pos, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) override;

    /// The factor of the current zoom level.
    virtual float zoomFactor() const = 0;
    /// One zoom level up.
    virtual void addZoom() = 0;
    /// One zoom level down.
    virtual void subZoom() = 0;
    /// The highest zoom at which everything shown fits the view, centred.
    virtual void zoomFit() = 0;
    /// The zoom level of factor 1.
    virtual void zoomActual() = 0;
    /// Puts the origin in the middle of the view.
    virtual void centralize() = 0;
    /// Shows or hides the three crosses, the two sets of contact boxes, the rulers and the guides.
    virtual void setVisibility(bool mainCross, bool secondaryCross, bool extraCross,
                               bool collisionBoxes, bool attackBoxes, bool rulers, bool guides) = 0;
};

} // namespace Kenro
