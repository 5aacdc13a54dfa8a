#pragma once

#include <kenro/editors/workspace.h>

#include <QPoint>

class QToolBar;

namespace Kenro {

class GraphicsRendererBase;
class GraphicsWorkspacePrivate;
class RenderWidgetBase;
class TimeLineWidget;

/**
 * The stage view that the sprite, animation and emulator editors share: the
 * "view" tool bar, a render surface and a time line under it. The surface
 * draws by OpenGL, or with QPainter alone when the setting
 * "native_painting" is on; reconfig() builds it again when that changes,
 * and the renderer moves to the new surface. Each editor puts its own
 * renderer in while it is active. The tool bar's actions show and hide the
 * crosses, rulers, guides and contact boxes; their states are kept in the
 * host's settings between activations.
 */
class KENRO_EXPORT GraphicsWorkspace : public Workspace
{
    Q_OBJECT

public:
    /// The crosses of the stage.
    enum Cross { MainCross = 0, SecondaryCross = 1, ExtraCross = 2 };

    /// The workspace of the host behind \a interface, with its settings applied.
    explicit GraphicsWorkspace(Interface &interface, QObject *parent = nullptr);
    ~GraphicsWorkspace() override;

    /// "graphics".
    char const *name() const override;
    /// The tool bar, the surface and the time line, one under the other.
    QWidget *widget() override;
    QToolBar *toolBar() const;
    TimeLineWidget *timeLine() const;
    /// The surface shown now: a GLRenderWidget or a RenderWidget.
    RenderWidgetBase *surface() const;
    /// The renderer shown, or null.
    GraphicsRendererBase *renderer() const;
    /**
     * Shows \a renderer (not owned; null for none), with the crosses, boxes,
     * rulers and guides that the actions say. An OpenGL surface takes it
     * once its context is made.
     */
    void setRenderer(GraphicsRendererBase *renderer);
    /// Repaints the stage.
    void update();
    /// Enables or disables the action that shows \a cross.
    void enableCross(Cross cross, bool enabled);
    /// Shows \a point in the extra cross dialog without sending extraAxisChanged().
    void setExtraAxis(QPoint point);

public Q_SLOTS:
    /// Restores the origin and what is shown from the settings; shows the tool bar and time line.
    void activate() override;
    /// Writes the origin and what is shown to the settings; hides the tool bar and time line.
    void deactivate() override;
    /// Applies the settings: surface, background, boxes, crosses, priority and zoom.
    void reconfig() override;
    void retranslate() override;
    /// Sends statusBarClicked().
    void statusClicked() override;
    void zoomActual() override;
    void zoomFit() override;
    void zoomIn() override;
    void zoomOut() override;
    /// Puts the origin in the middle of the stage.
    void centerOrigin();

Q_SIGNALS:
    void statusBarClicked();
    /// The user set the extra cross to \a point, in world units, in its dialog.
    void extraAxisChanged(QPoint point);

private:
    friend class GraphicsWorkspacePrivate;
    GraphicsWorkspacePrivate *d;
};

} // namespace Kenro
