#pragma once

#include <kenro/editors/interface/interface.h>

#include <QList>
#include <QMap>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

namespace KenroTest {

/**
 * The host that every suite uses: options in memory, a temporary settings
 * directory, named icons drawn on the fly, and no windows at all.
 * Constructing one makes it the global interface; destroying it clears that.
 * The public members are what the host answers and what it was told.
 */
class TestInterface : public Kenro::Interface
{
public:
    TestInterface() { setGlobalInterface(this); }
    ~TestInterface() override;

    QMap<QString, QVariant> options;
    QStringList iconRequests; ///< every icon name asked for, in order
    QStringList registeredActions; ///< every key given to registerAction(), in order
    QList<Kenro::ActionInfo> registeredInfos;
    int dpiFactor = 1; ///< the factor of scaleToDPI(int)
    QList<Kenro::Project *> projects;
    Kenro::Project *current = nullptr;
    /// The editor that switchToEditor() made current: the previous one is
    /// deactivated and this one activated, as a host does.
    Kenro::Editor *currentEditorValue = nullptr;
    QList<Kenro::Editor *> switches; ///< every editor passed to switchToEditor()
    /// What editorForFile() answers, and the types it was asked for.
    Kenro::FileEditor *fileEditor = nullptr;
    QList<int> editorRequests;
    int refreshes = 0;
    Kenro::ProgressProvider *provider = nullptr;
    QMap<int, QString> statusTexts; ///< -1 holds the status message
    Kenro::Engine *currentEngine = nullptr;

    QString text(int id) override;
    QString toolTip(int id) override;
    QString messageText(int id) override;
    QWidget *mainWindow() override { return nullptr; }
    QString applicationDirectory() override;
    QString resourceDirectory() override
    {
        return m_settings.path() + QStringLiteral("/resources");
    }
    QString settingsDirectory() override { return m_settings.path(); }
    Kenro::ProgressProvider *progressProvider() override { return provider; }
    Kenro::Engine *engine() override { return currentEngine; }
    Kenro::Editor *currentEditor() override { return currentEditorValue; }
    Kenro::FileEditor *editorForFile(Kenro::ProjectFile *, int fileType) override
    {
        editorRequests.append(fileType);
        return fileEditor;
    }
    Kenro::Editor *editor(char const *) override { return nullptr; }
    bool openProject(QString const &) override { return false; }
    void closeProject(Kenro::Project *project) override { projects.removeAll(project); }
    bool saveProject(Kenro::Project *) override { return false; }
    int projectCount() override { return projects.size(); }
    Kenro::Project *project(int index) override { return projects.value(index); }
    Kenro::Project *currentProject() override { return current; }
    void setCurrentProject(Kenro::Project *project) override { current = project; }
    bool openFile(QString const &) override { return false; }
    using Kenro::Interface::scaleToDPI;
    int scaleToDPI(int value) override { return value * dpiFactor; }
    QIcon icon(QString const &name) override;
    QWidget *createDockPanel(QString const &, QWidget *) override { return nullptr; }
    void removeDockPanel(QString const &) override {}
    QVariant option(QString const &key, QVariant value) override
    {
        return options.value(key, value);
    }
    void setOption(QString const &key, QVariant const &value) override
    {
        options.insert(key, value);
    }
    void setStatusText(int field, QString const &text) override { statusTexts.insert(field, text); }
    QWidget *registerAction(QString const &key, Kenro::ActionInfo const &info) override
    {
        registeredActions.append(key);
        registeredInfos.append(info);
        return nullptr;
    }
    void unregisterAction(QString const &key) override { registeredActions.removeAll(key); }
    QToolButton *toolButton(QString const &) override { return nullptr; }
    QMenu *menu(QString const &) override { return nullptr; }
    QAction *menuAction(char const *, int) override { return nullptr; }
    QAction *addMenuAction(char const *, int, QAction *action) override { return action; }
    QAction *action(char const *) override { return nullptr; }
    void showStatusMessage(QString const &text, int) override { statusTexts.insert(-1, text); }
    void clearStatusMessage() override { statusTexts.remove(-1); }
    QObject *timeSlider(int) override { return nullptr; }
    void refreshAll() override { ++refreshes; }
    void switchToEditor(Kenro::Editor *editor) override;
    void setExtraEditor(Kenro::ExtraEditor *) override {}
    void setWorkspace(QWidget *) override {}

private:
    QTemporaryDir m_settings;
};

} // namespace KenroTest
