#pragma once

#include <kenro/editors/interface/translator.h>

#include <QPoint>
#include <QRect>
#include <QVariant>

class QAbstractItemModel;
class QAction;
class QIcon;
class QMenu;
class QObject;
class QToolButton;
class QWidget;

namespace Kenro {

class Editor;
class Engine;
class ExtraEditor;
class FileEditor;
class ItemsDialog;
class Project;
class ProjectFile;
class ProgressProvider;

/**
 * What registerAction() records of an action: its kind (12 for a plain
 * action, 28 where a slot follows), the object or action, the slot, two
 * further words and a flag.
 */
struct KENRO_EXPORT ActionInfo
{
    enum Kind { PlainAction = 12, ActionWithSlot = 28 };

    int kind = PlainAction;
    QObject *object = nullptr;
    char const *slot = nullptr;
    int first = 0;
    int second = 0;
    bool flag = false;
};

/**
 * The host boundary. The host application implements this class and hands it
 * to the library with setGlobalInterface(); library classes reach it through
 * instance(), which may be null in a host without a user interface.
 */
class KENRO_EXPORT Interface : public Translator
{
public:
    /// The interface stored by setGlobalInterface(), or null.
    static Interface *instance();

    ~Interface() override;

    /// Message text \a id. Text 0 is the title and text 1 the body (%1 error,
    /// %2 line, %3 column) of an XML parse failure.
    virtual QString messageText(int id) = 0;
    /// Shows message \a id to the user; the default only looks the text up and returns 0.
    virtual int showMessage(int id, QWidget *parent);
    /// The application's name as the user sees it; empty by default.
    virtual QString applicationName();
    /// The parent of all dialogs and boxes.
    virtual QWidget *mainWindow() = 0;
    /// The base of Engine::path().
    virtual QString applicationDirectory() = 0;
    /// Where the engines' icons, completers and snippets lie.
    virtual QString resourceDirectory() = 0;
    /// Where engine configuration files lie.
    virtual QString settingsDirectory() = 0;
    virtual ProgressProvider *progressProvider() = 0;
    /// The current engine.
    virtual Engine *engine() = 0;
    virtual Editor *currentEditor() = 0;
    /// The editor that shows \a file as \a fileType, or null.
    virtual FileEditor *editorForFile(ProjectFile *file, int fileType) = 0;
    /// The editor named \a name ("sprites", "animations", "palettes", "sounds", "thumbnails").
    virtual Editor *editor(char const *name) = 0;

    // The host's own operations; the library never calls them.
    virtual bool openProject(QString const &path) = 0;
    virtual void closeProject(Project *project) = 0;
    virtual bool saveProject(Project *project) = 0;

    /// The number of open projects.
    virtual int projectCount() = 0;
    /// The open project at \a index of projectCount().
    virtual Project *project(int index) = 0;
    virtual Project *currentProject() = 0;

    // The host's own operations; the library never calls them.
    virtual void setCurrentProject(Project *project) = 0;
    virtual bool openFile(QString const &path) = 0;

    /// Scales \a value to the screen's DPI.
    virtual int scaleToDPI(int value) = 0;
    /// A named icon of the host's theme, such as "icon_folder" or "code_goto".
    virtual QIcon icon(QString const &name) = 0;

    // The host's own operations; the library never calls them.
    virtual QWidget *createDockPanel(QString const &key, QWidget *content) = 0;
    virtual void removeDockPanel(QString const &key) = 0;

    /// The global settings store.
    virtual QVariant option(QString const &key, QVariant defaultValue) = 0;
    virtual void setOption(QString const &key, QVariant const &value) = 0;
    /// Sets a field of the status bar; 2 is the coordinate field.
    virtual void setStatusText(int field, QString const &text) = 0;
    /// Records an action under \a key; returns the control that shows it, if any.
    virtual QWidget *registerAction(QString const &key, ActionInfo const &info) = 0;

    // The host's own operation; the library never calls it.
    virtual void unregisterAction(QString const &key) = 0;

    /// The tool button registered under \a key, or null.
    virtual QToolButton *toolButton(QString const &key) = 0;

    // The host's own operation; the library never calls it.
    virtual QMenu *menu(QString const &key) = 0;

    /// Adds \a action to \a menu and registers it under \a key as a plain action.
    virtual QWidget *actionControl(QString const &key, QAction *action, QMenu *menu);
    /// The menu action of editor \a editorName labelled by text \a id.
    virtual QAction *menuAction(char const *editorName, int id) = 0;

    // The host's own operation; the library never calls it.
    virtual QAction *addMenuAction(char const *editorName, int id, QAction *action) = 0;

    /// The action registered under \a key, such as "org_palette".
    virtual QAction *action(char const *key) = 0;

    // The host's own operations; the library never calls them.
    virtual void showStatusMessage(QString const &text, int timeout) = 0;
    virtual void clearStatusMessage() = 0;

    /// The time slider; the library always passes 0. Its setPos(int) slot follows the editors.
    virtual QObject *timeSlider(int index) = 0;
    /// Refreshes every view after a backup was restored.
    virtual void refreshAll() = 0;
    /// Makes \a editor the current one.
    virtual void switchToEditor(Editor *editor) = 0;
    /// Shows \a editor in the extra panel; null hides the panel.
    virtual void setExtraEditor(ExtraEditor *editor) = 0;
    /// Takes the workspace of an editor on activation.
    virtual void setWorkspace(QWidget *workspace) = 0;

    /// \a point scaled to the DPI, x and y apart.
    QPoint scaleToDPI(QPoint const &point);
    /// \a rect scaled to the DPI: left, top, width and height apart.
    QRect scaleToDPI(QRect const &rect);
    /**
     * A new dialog, titled \a title with the icon \a iconName, that lists the
     * rows of \a model with \a currentRow selected (none when negative).
     * The caller executes it and ends it with release().
     */
    ItemsDialog *itemsDialog(QWidget *parent, char const *iconName, QString const &title,
                             QAbstractItemModel *model, int currentRow) const;
};

} // namespace Kenro

/// Stores the host's interface for the whole library; null clears it.
extern "C" KENRO_EXPORT void setGlobalInterface(Kenro::Interface *interface);
