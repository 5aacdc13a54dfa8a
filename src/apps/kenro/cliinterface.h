#pragma once

#include <kenro/editors/interface/interface.h>
#include <kenro/project/jobstats.h>

#include <QList>
#include <QMap>
#include <QSettings>
#include <QString>
#include <QVariant>

#include <memory>

namespace Kenro::Cli {

/**
 * The tool as the library's host: no windows, no editors, no open projects.
 * Options come from an INI settings file that the tool only reads; what the
 * library sets during a run stays in memory. Progress jobs are bars on
 * stderr. A few options are fixed whatever the file says, since a one-shot
 * run has no use for them: "enable_file_watcher" is false.
 */
class CliInterface : public Interface, public ProgressProvider
{
public:
    /**
     * A host with the options of \a settingsFile; an empty name means no
     * file, and a file that does not exist gives the defaults.
     */
    explicit CliInterface(QString const &settingsFile);
    ~CliInterface() override;

    /**
     * The settings file to use: \a given when not empty, else the one named
     * by KENRO_SETTINGS, else "kenro/kenro.ini" in the user's configuration
     * folder ($XDG_CONFIG_HOME, by default ~/.config).
     */
    static QString settingsFile(QString const &given);

    /// The file the options come from; empty for none.
    QString settingsPath() const;

    /// The engines of the loaded plug-ins, which open projects; the first is engine().
    QList<Engine *> engines() const;
    /// Sets the engines; the host does not own them.
    void setEngines(QList<Engine *> const &engines);

    QString text(int id) override;
    QString toolTip(int id) override;
    QString messageText(int id) override;
    QString applicationName() override;
    QWidget *mainWindow() override;
    QString applicationDirectory() override;
    QString resourceDirectory() override;
    QString settingsDirectory() override;
    ProgressProvider *progressProvider() override;
    Engine *engine() override;
    Editor *currentEditor() override;
    FileEditor *editorForFile(ProjectFile *file, int fileType) override;
    Editor *editor(char const *name) override;
    bool openProject(QString const &path) override;
    void closeProject(Project *project) override;
    bool saveProject(Project *project) override;
    int projectCount() override;
    Project *project(int index) override;
    Project *currentProject() override;
    void setCurrentProject(Project *project) override;
    bool openFile(QString const &path) override;
    using Interface::scaleToDPI;
    int scaleToDPI(int value) override;
    QIcon icon(QString const &name) override;
    QWidget *createDockPanel(QString const &key, QWidget *content) override;
    void removeDockPanel(QString const &key) override;
    QVariant option(QString const &key, QVariant defaultValue) override;
    void setOption(QString const &key, QVariant const &value) override;
    void setStatusText(int field, QString const &text) override;
    QWidget *registerAction(QString const &key, ActionInfo const &info) override;
    void unregisterAction(QString const &key) override;
    QToolButton *toolButton(QString const &key) override;
    QMenu *menu(QString const &key) override;
    QAction *menuAction(char const *editorName, int id) override;
    QAction *addMenuAction(char const *editorName, int id, QAction *action) override;
    QAction *action(char const *key) override;
    void showStatusMessage(QString const &text, int timeout) override;
    void clearStatusMessage() override;
    QObject *timeSlider(int index) override;
    void refreshAll() override;
    void switchToEditor(Editor *editor) override;
    void setExtraEditor(ExtraEditor *editor) override;
    void setWorkspace(QWidget *workspace) override;

    /// A bar on stderr, silent unless stderr is a terminal and "progress" is not false.
    ProgressJob *newJob(QString const &title, int options) override;
    /// True when long jobs may draw a bar: the "progress" option, true by default.
    bool progressEnabled();

private:
    QString m_settingsPath;
    QList<Engine *> m_engines;
    std::unique_ptr<QSettings> m_settings;
    QMap<QString, QVariant> m_session;
};

} // namespace Kenro::Cli
