#include <kenro/editors/graphicsworkspace.h>

#include <kenro/editors/interface/interface.h>
#include <kenro/editors/timelinewidget.h>
#include <kenro/project/project.h>
#include <kenro/render/glrenderwidget.h>
#include <kenro/render/graphicsrenderer.h>
#include <kenro/render/renderwidget.h>
#include <kenro/render/texture.h>

#include "exaxisdlg.h"
#include "graphicsworkspace_p.h"

#include <QAction>
#include <QColor>
#include <QIcon>
#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>

namespace Kenro {

namespace {

// The "view" tool bar: the host's key, the text id of its label and tip, and
// whether it shows something on and off. In GraphicsWorkspacePrivate::Action order.
struct ActionEntry
{
    char const *key;
    int textId;
    bool checkable;
};

ActionEntry const actionTable[GraphicsWorkspacePrivate::ActionCount] = {
    {"view_center_origin", 5, false},  {"view_main_cross", 6, true},
    {"view_secondary_cross", 7, true}, {"view_extra_cross", 8, true},
    {"view_rulers", 9, true},          {"view_guide_lines", 10, true},
    {"view_attack_box", 11, true},     {"view_collision_box", 12, true}};

// What activate() restores and deactivate() keeps, and the state of a first start.
struct ShownSetting
{
    GraphicsWorkspacePrivate::Action action;
    char const *key;
    bool byDefault;
};

ShownSetting const shownSettings[] = {
    {GraphicsWorkspacePrivate::MainCrossAction, "show_cross1", true},
    {GraphicsWorkspacePrivate::SecondaryCrossAction, "show_cross2", true},
    {GraphicsWorkspacePrivate::GuideLines, "show_guides", false},
    {GraphicsWorkspacePrivate::Rulers, "show_rulers", true},
    {GraphicsWorkspacePrivate::AttackBox, "show_attack_box", true},
    {GraphicsWorkspacePrivate::CollisionBox, "show_collision_box", true}};

// A colour setting: a QColor, or any text that QColor reads ("#rrggbb", names).
QColor colorValue(QVariant const &value, QColor const &fallback)
{
    QColor const color = value.typeId() == QMetaType::QColor ? value.value<QColor>()
                                                             : QColor::fromString(value.toString());
    return color.isValid() ? color : fallback;
}

// One of the values 0 to \a last; anything else is 0, the plain choice.
int choice(QVariant const &value, int last)
{
    int const n = value.toInt();
    return n >= 0 && n <= last ? n : 0;
}

} // namespace

GraphicsWorkspacePrivate::GraphicsWorkspacePrivate(GraphicsWorkspace *workspace, Interface &host)
    : q(workspace), interface(host)
{}

QVariant GraphicsWorkspacePrivate::option(char const *key, QVariant const &defaultValue) const
{
    QVariant const value = interface.option(QLatin1String(key), defaultValue);
    return value.isValid() ? value : defaultValue;
}

bool GraphicsWorkspacePrivate::wantsNativeSurface() const
{
    // An OpenGL surface without a usable OpenGL 2 would stay blank: the
    // QPainter surface stands in for it whatever the setting says.
    return option("native_painting", false).toBool() || !Texture::isOpenGLEnabled() ||
        !Texture::globalGLContext();
}

void GraphicsWorkspacePrivate::setupRenderer()
{
    bool const native = wantsNativeSurface();
    if (surface && !dynamic_cast<GLRenderWidget *>(surface) == native) {
        attachRenderer();
        return;
    }
    if (surface) {
        surface->setRenderer(nullptr);
        delete dynamic_cast<QWidget *>(surface);
    }
    delete container->layout();
    QWidget *widget = nullptr;
    if (native) {
        widget = new RenderWidget;
    } else {
        // The context is made when the widget is first shown; the renderer waits for it.
        auto *gl = new GLRenderWidget;
        connect(gl, &GLRenderWidget::initialize, this, [this] { attachRenderer(); });
        widget = gl;
    }
    surface = dynamic_cast<RenderWidgetBase *>(widget);
    auto *layout = new QVBoxLayout(container);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(toolBar);
    layout->addWidget(widget, 1);
    layout->addWidget(timeLine);
    if (container->isVisible())
        widget->show();
    attachRenderer();
}

void GraphicsWorkspacePrivate::attachRenderer()
{
    auto *gl = dynamic_cast<GLRenderWidget *>(surface);
    if (!surface || (gl && !gl->isUsable()) || surface->renderer() == renderer)
        return;
    surface->setRenderer(renderer);
}

void GraphicsWorkspacePrivate::applyVisibility()
{
    if (!renderer)
        return;
    auto on = [this](Action action) { return actions[action]->isChecked(); };
    renderer->setVisibility(on(MainCrossAction), on(SecondaryCrossAction), on(ExtraCrossAction),
                            on(CollisionBox), on(AttackBox), on(Rulers), on(GuideLines));
}

void GraphicsWorkspacePrivate::labelActions()
{
    for (int i = 0; i < ActionCount; ++i) {
        actions[i]->setText(interface.text(actionTable[i].textId));
        actions[i]->setToolTip(interface.toolTip(actionTable[i].textId));
    }
}

void GraphicsWorkspacePrivate::extraCrossToggled(bool on)
{
    if (on) {
        extraAxisDialog->show();
        extraAxisDialog->raise();
    } else {
        extraAxisDialog->hide();
    }
    applyVisibility();
}

void GraphicsWorkspacePrivate::extraAxisEdited(QPoint point)
{
    if (extraAxisGuard)
        return;
    if (auto *stage = dynamic_cast<GraphicsRenderer *>(renderer))
        stage->setItemPosition(GraphicsRenderer::ExtraCross, point, 0, true);
    Q_EMIT q->extraAxisChanged(point);
}

GraphicsWorkspace::GraphicsWorkspace(Interface &interface, QObject *parent)
    : Workspace(interface, parent), d(new GraphicsWorkspacePrivate(this, interface))
{
    d->container = new QWidget;
    d->toolBar = new QToolBar(d->container);
    d->toolBar->setObjectName(QStringLiteral("view"));
    d->timeLine = new TimeLineWidget(d->container);
    for (int i = 0; i < GraphicsWorkspacePrivate::ActionCount; ++i) {
        QString const key = QLatin1String(actionTable[i].key);
        auto *action = new QAction(interface.icon(key), QString(), d);
        action->setObjectName(key);
        action->setCheckable(actionTable[i].checkable);
        d->toolBar->addAction(action);
        ActionInfo info;
        info.object = action;
        interface.registerAction(key, info);
        d->actions[i] = action;
    }
    for (ShownSetting const &setting : shownSettings)
        d->actions[setting.action]->setChecked(setting.byDefault);
    connect(d->actions[GraphicsWorkspacePrivate::CenterOrigin], &QAction::triggered, this,
            &GraphicsWorkspace::centerOrigin);
    for (QAction *action : d->actions) {
        if (action->isCheckable() &&
            action != d->actions[GraphicsWorkspacePrivate::ExtraCrossAction])
            connect(action, &QAction::toggled, d, [this] { d->applyVisibility(); });
    }
    QAction *extra = d->actions[GraphicsWorkspacePrivate::ExtraCrossAction];
    connect(extra, &QAction::toggled, d, &GraphicsWorkspacePrivate::extraCrossToggled);
    d->extraAxisDialog = new ExAxisDlg(interface.mainWindow());
    connect(d->extraAxisDialog, &ExAxisDlg::extraAxisChanged, d,
            &GraphicsWorkspacePrivate::extraAxisEdited);
    connect(d->extraAxisDialog, &ExAxisDlg::extraAxisClosed, extra,
            [extra] { extra->setChecked(false); });
    retranslate();
    reconfig();
}

GraphicsWorkspace::~GraphicsWorkspace()
{
    if (d->surface)
        d->surface->setRenderer(nullptr);
    delete d->extraAxisDialog;
    delete d->container;
    delete d;
}

char const *GraphicsWorkspace::name() const
{
    return "graphics";
}

QWidget *GraphicsWorkspace::widget()
{
    return d->container;
}

QToolBar *GraphicsWorkspace::toolBar() const
{
    return d->toolBar;
}

TimeLineWidget *GraphicsWorkspace::timeLine() const
{
    return d->timeLine;
}

RenderWidgetBase *GraphicsWorkspace::surface() const
{
    return d->surface;
}

GraphicsRendererBase *GraphicsWorkspace::renderer() const
{
    return d->renderer;
}

void GraphicsWorkspace::setRenderer(GraphicsRendererBase *renderer)
{
    d->renderer = renderer;
    d->attachRenderer();
    d->applyVisibility();
}

void GraphicsWorkspace::update()
{
    if (d->renderer)
        d->renderer->update();
}

void GraphicsWorkspace::enableCross(Cross cross, bool enabled)
{
    if (cross >= MainCross && cross <= ExtraCross)
        d->actions[GraphicsWorkspacePrivate::MainCrossAction + cross]->setEnabled(enabled);
}

void GraphicsWorkspace::setExtraAxis(QPoint point)
{
    QScopedValueRollback<bool> guard(d->extraAxisGuard, true);
    d->extraAxisDialog->setAxis(point);
}

void GraphicsWorkspace::activate()
{
    QVariant const x = d->option("origin_x", QVariant());
    QVariant const y = d->option("origin_y", QVariant());
    if (x.isValid() && y.isValid())
        GraphicsRenderer::setOrigin(QPoint(x.toInt(), y.toInt()));
    else if (d->renderer)
        d->renderer->centralize();
    for (ShownSetting const &setting : shownSettings) {
        QSignalBlocker blocker(d->actions[setting.action]);
        d->actions[setting.action]->setChecked(d->option(setting.key, setting.byDefault).toBool());
    }
    d->applyVisibility();
    d->toolBar->show();
    d->timeLine->show();
    update();
}

void GraphicsWorkspace::deactivate()
{
    QPoint const origin = GraphicsRenderer::origin();
    interface().setOption(QStringLiteral("origin_x"), origin.x());
    interface().setOption(QStringLiteral("origin_y"), origin.y());
    for (ShownSetting const &setting : shownSettings)
        interface().setOption(QLatin1String(setting.key), d->actions[setting.action]->isChecked());
    d->toolBar->hide();
    d->timeLine->hide();
}

void GraphicsWorkspace::reconfig()
{
    d->setupRenderer();
    QSize resolution(320, 240);
    if (Project *project = interface().currentProject()) {
        QSize const size = project->size();
        QSizeF const scale = project->scale();
        resolution = QSize(qRound(size.width() / (scale.width() > 0 ? scale.width() : 1.0)),
                           qRound(size.height() / (scale.height() > 0 ? scale.height() : 1.0)));
    }
    GraphicsRenderer::setBackground(
        colorValue(d->option("back_start", QVariant()), QColor(40, 44, 52)),
        colorValue(d->option("back_end", QVariant()), QColor(110, 120, 140)),
        GraphicsRenderer::BackgroundType(choice(d->option("background_type", 1), 2)),
        QPoint(d->option("background_x", 0).toInt(), d->option("background_y", 0).toInt()),
        d->option("background_file", QString()).toString(), resolution);
    GraphicsRenderer::setupContactBoxes(
        colorValue(d->option("attackbox", QVariant()), QColor(255, 0, 0)),
        colorValue(d->option("collisionbox", QVariant()), QColor(0, 0, 255)),
        std::clamp(d->option("box_opacity", 0.5).toFloat(), 0.0f, 1.0f));
    GraphicsRenderer::setCrossHair(
        GraphicsRenderer::CrossHairType(choice(d->option("crosshair_type", 0), 2)),
        d->option("crosshair_main", QString()).toString(),
        d->option("crosshair_secondary", QString()).toString(),
        d->option("crosshair_extra", QString()).toString());
    GraphicsRenderer::setPriority(d->option("sprite_over_guides", true).toBool(),
                                  d->option("contact_over_cross", false).toBool());
    int const table = std::min(d->option("zoom_mode", 0).toInt(), 1);
    GraphicsRenderer::setZoomTable(table);
    GraphicsRenderer::setZoomMode(std::clamp(d->option("zoom_center", 0).toInt(), 0, 1));
    if (auto *stage = dynamic_cast<GraphicsRenderer *>(d->renderer)) {
        // By default the level of factor 1 of the table.
        int const level = d->option("zoom_level", table ? 2 : 3).toInt();
        stage->setZoomLevel(static_cast<unsigned char>(std::clamp(level, 0, 255)));
    }
    update();
}

void GraphicsWorkspace::retranslate()
{
    d->labelActions();
    d->toolBar->setWindowTitle(tr("View"));
    d->extraAxisDialog->retranslate();
}

void GraphicsWorkspace::statusClicked()
{
    Q_EMIT statusBarClicked();
}

void GraphicsWorkspace::zoomActual()
{
    if (d->renderer)
        d->renderer->zoomActual();
}

void GraphicsWorkspace::zoomFit()
{
    if (d->renderer)
        d->renderer->zoomFit();
}

void GraphicsWorkspace::zoomIn()
{
    if (d->renderer)
        d->renderer->addZoom();
}

void GraphicsWorkspace::zoomOut()
{
    if (d->renderer)
        d->renderer->subZoom();
}

void GraphicsWorkspace::centerOrigin()
{
    if (!d->renderer)
        return;
    d->renderer->centralize();
    update();
}

} // namespace Kenro
