#pragma once

#include <kenro/kenro_export.h>

#include <QObject>

class QWidget;

namespace Kenro {

class Interface;

/**
 * The view that an active editor hands to the host through
 * Interface::setWorkspace(): the stage, the code pane or the sound view.
 * Several editors share one workspace and put their own content in it; the
 * workspace keeps the tool bars and settings of the view itself.
 */
class KENRO_EXPORT Workspace : public QObject
{
    Q_OBJECT

public:
    /// A workspace of the host behind \a interface.
    explicit Workspace(Interface &interface, QObject *parent = nullptr);
    ~Workspace() override;

    Interface &interface() const { return m_interface; }

    /// The workspace's key.
    virtual char const *name() const = 0;
    /// The widget that the host shows in its central area.
    virtual QWidget *widget() = 0;

public Q_SLOTS:
    /// An editor using the workspace became current: restore its view state.
    virtual void activate() = 0;
    /// That editor stopped being current: keep the view state.
    virtual void deactivate() = 0;
    /// The host's settings changed.
    virtual void reconfig() = 0;
    /// The host's language changed.
    virtual void retranslate() = 0;
    /// The user clicked the workspace's field of the status bar. Nothing by default.
    virtual void statusClicked();
    /// The view's zoom commands; nothing by default.
    virtual void zoomActual();
    virtual void zoomFit();
    virtual void zoomIn();
    virtual void zoomOut();

private:
    Interface &m_interface;
};

} // namespace Kenro
