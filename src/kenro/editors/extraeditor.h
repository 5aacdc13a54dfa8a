#pragma once

#include <kenro/project/object.h>

#include <QObject>

class QWidget;

namespace Kenro {

class Interface;
class Project;

/**
 * The base of side panels that the host shows beside the current editor
 * through Interface::setExtraEditor(). Like an Editor it takes the global
 * Interface when it is made and keeps an active flag.
 */
class KENRO_EXPORT ExtraEditor : public QObject, public Object
{
    Q_OBJECT

public:
    /// A panel of the host behind the global Interface; inactive at first.
    explicit ExtraEditor(QObject *parent = nullptr);
    ~ExtraEditor() override;

    /// The widget that the host places in its panel.
    virtual QWidget *widget() = 0;
    /// The panel's key.
    virtual char const *name() const = 0;
    /// The panel's title as the user sees it.
    virtual QString title() const = 0;

    bool isActive() const;

public Q_SLOTS:
    /// The current engine changed. Nothing by default.
    virtual void engineSwitched(bool changed);
    /// The current project changed to \a project, which may be null. Nothing by default.
    virtual void projectSwitched(Kenro::Project *project);
    /// Called by the host when the panel is shown.
    virtual void activate();
    /// Called by the host when the panel is hidden.
    virtual void deactivate();
    /// The host's settings changed; nothing by default.
    virtual void reconfig();
    /// The host's language changed.
    virtual void retranslate() = 0;
    /// Sends modified().
    virtual void contentsChanged();

Q_SIGNALS:
    void modified();

protected:
    /// The host, taken from the global pointer at construction; may be null.
    Interface *m_interface;

private:
    bool m_active = false;
};

} // namespace Kenro
