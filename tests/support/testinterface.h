#pragma once

#include <kenro/editors/interface/interface.h>

#include <QMap>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

namespace KenroTest {

/**
 * The host that every suite uses: options in memory, a temporary settings
 * directory, named icons drawn on the fly, and no windows at all.
 * Constructing one makes it the global interface; destroying it clears that.
 */
class TestInterface : public Kenro::Interface
{
public:
    TestInterface();
    ~TestInterface() override;

    QMap<QString, QVariant> options;
    /// Every icon name asked for, in order.
    QStringList iconRequests;
    /// Every key given to registerAction(), in order.
    QStringList registeredActions;
    QList<Kenro::ActionInfo> registeredInfos;
    /// The factor of scaleToDPI(int).
    int dpiFactor = 1;

    QString text(int id) override;
    QString toolTip(int id) override;
    QString messageText(int id) override;
    QWidget *mainWindow() override;
    QString applicationDirectory() override;
    QString resourceDirectory() override;
    QString settingsDirectory() override;
    Kenro::ProgressProvider *progressProvider() override;
    Kenro::Engine *engine() override;
    Kenro::Editor *currentEditor() override;
    Kenro::FileEditor *editorForFile(Kenro::ProjectFile *file, int fileType) override;
    Kenro::Editor *editor(char const *name) override;
    bool openProject(QString const &path) override;
    void closeProject(Kenro::Project *project) override;
    bool saveProject(Kenro::Project *project) override;
    int projectCount() override;
    Kenro::Project *project(int index) override;
    Kenro::Project *currentProject() override;
    void setCurrentProject(Kenro::Project *project) override;
    bool openFile(QString const &path) override;
    using Kenro::Interface::scaleToDPI;
    int scaleToDPI(int value) override;
    QIcon icon(QString const &name) override;
    QWidget *createDockPanel(QString const &key, QWidget *content) override;
    void removeDockPanel(QString const &key) override;
    QVariant option(QString const &key, QVariant defaultValue) override;
    void setOption(QString const &key, QVariant const &value) override;
    void setStatusText(int field, QString const &text) override;
    QWidget *registerAction(QString const &key, Kenro::ActionInfo const &info) override;
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
    void switchToEditor(Kenro::Editor *editor) override;
    void setExtraEditor(Kenro::ExtraEditor *editor) override;
    void setWorkspace(QWidget *workspace) override;

    QList<Kenro::Project *> projects;
    Kenro::Project *current = nullptr;
    /// The editor that switchToEditor() made current: the previous one is
    /// deactivated and this one activated, as a host does.
    Kenro::Editor *currentEditorValue = nullptr;
    /// Every editor passed to switchToEditor(), in order.
    QList<Kenro::Editor *> switches;
    /// What editorForFile() answers, and the types it was asked for.
    Kenro::FileEditor *fileEditor = nullptr;
    QList<int> editorRequests;
    int refreshes = 0;
    /// What progressProvider() answers.
    Kenro::ProgressProvider *provider = nullptr;
    QMap<int, QString> statusTexts;
    /// What engine() answers.
    Kenro::Engine *currentEngine = nullptr;

private:
    QTemporaryDir m_settings;
};

} // namespace KenroTest
