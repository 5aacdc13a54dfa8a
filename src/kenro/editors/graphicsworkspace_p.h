#pragma once

#include <kenro/editors/graphicsworkspace.h>

#include <QPointer>

class QAction;

namespace Kenro {

class ExAxisDlg;
class RenderWidgetBase;

class GraphicsWorkspacePrivate : public QObject
{
    Q_OBJECT

public:
    /// The actions of the tool bar, in its order.
    enum Action {
        CenterOrigin,
        MainCrossAction,
        SecondaryCrossAction,
        ExtraCrossAction,
        Rulers,
        GuideLines,
        AttackBox,
        CollisionBox,
        ActionCount
    };

    GraphicsWorkspacePrivate(GraphicsWorkspace *workspace, Interface &interface);

    /// The host's setting \a key, or \a defaultValue.
    QVariant option(char const *key, QVariant const &defaultValue) const;
    /// Whether the surface should draw with QPainter alone.
    bool wantsNativeSurface() const;
    /// Gives the renderer to the surface, once the surface can show it.
    void attachRenderer();
    /// Shows on the renderer what the actions say.
    void applyVisibility();
    void labelActions();

public Q_SLOTS:
    /// Builds the surface that "native_painting" asks for, if it is not that kind yet.
    void setupRenderer();
    void extraCrossToggled(bool on);
    void extraAxisEdited(QPoint point);

public:
    GraphicsWorkspace *q;
    Interface &interface;
    RenderWidgetBase *surface = nullptr;
    GraphicsRendererBase *renderer = nullptr;
    QPointer<QWidget> container;
    QToolBar *toolBar = nullptr;
    TimeLineWidget *timeLine = nullptr;
    QAction *actions[ActionCount] = {};
    QPointer<ExAxisDlg> extraAxisDialog;
    /// True while the dialog shows a point that does not come from the user.
    bool extraAxisGuard = false;
};

} // namespace Kenro
