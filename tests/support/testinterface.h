#pragma once

#include <kenro/editors/editor.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/engine/ktranslator.h>

#include <QAction>
#include <QCoreApplication>
#include <QIcon>
#include <QPixmap>
#include <QTemporaryDir>

namespace KenroTest {

// The host of the suites while it lives: options in memory, a temporary settings
// folder, icons drawn on the fly, no windows; it records what it was told.
class TestInterface : public Kenro::Interface
{
public:
    TestInterface() { setGlobalInterface(this); }
    ~TestInterface() override
    {
        if (Kenro::Interface::instance() == this)
            setGlobalInterface(nullptr);
    }

    QMap<QString, QVariant> options;
    QStringList iconRequests;
    Kenro::Project *current = nullptr;
    Kenro::Editor *currentEditorValue = nullptr;
    QList<Kenro::Editor *> switches;
    Kenro::FileEditor *fileEditor = nullptr; ///< what editorForFile() answers
    QList<int> editorRequests; ///< the file types editorForFile() was asked for
    int refreshes = 0, dpiFactor = 1;
    Kenro::ProgressProvider *provider = nullptr;
    Kenro::Engine *currentEngine = nullptr;
    QMap<int, QString> status; ///< the status bar's fields
    QStringList registered; ///< "key=label" of each action registered
    QWidget *workspace = nullptr;

    QString text(int id) override { return Kenro::KTranslator::instance()->text(id); }
    QString toolTip(int id) override { return Kenro::KTranslator::instance()->toolTip(id); }
    QString messageText(int id) override
    {
        return QStringList{QStringLiteral("XML error"), QStringLiteral("%1 at line %2, column %3")}
            .value(id);
    }
    QWidget *mainWindow() override { return nullptr; }
    QString applicationDirectory() override { return QCoreApplication::applicationDirPath(); }
    QString resourceDirectory() override
    {
        return m_settings.filePath(QStringLiteral("resources"));
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
    void closeProject(Kenro::Project *) override {}
    bool saveProject(Kenro::Project *) override { return false; }
    int projectCount() override { return current ? 1 : 0; }
    Kenro::Project *project(int index) override { return index == 0 ? current : nullptr; }
    Kenro::Project *currentProject() override { return current; }
    void setCurrentProject(Kenro::Project *project) override { current = project; }
    bool openFile(QString const &) override { return false; }
    using Kenro::Interface::scaleToDPI;
    int scaleToDPI(int value) override { return value * dpiFactor; }
    // A small square whose colour follows the name, so that icons differ.
    QIcon icon(QString const &name) override
    {
        iconRequests.append(name);
        QPixmap pixmap(16, 16);
        pixmap.fill(QColor::fromRgb(qHash(name) & 0xffffff));
        return QIcon(pixmap);
    }
    QWidget *createDockPanel(QString const &, QWidget *) override { return nullptr; }
    void removeDockPanel(QString const &) override {}
    QVariant option(QString const &key, QVariant value) override
    {
        return options.value(key, value);
    }
    void setOption(QString const &key, QVariant const &value) override { options[key] = value; }
    void setStatusText(int field, QString const &text) override { status[field] = text; }
    QMap<QString, QAction *> actions; ///< registered, by key
    QWidget *registerAction(QString const &key, Kenro::ActionInfo const &info) override
    {
        auto *action = qobject_cast<QAction *>(info.object);
        registered.append(key + u'=' + (action ? action->text() : QString()));
        actions[key] = action;
        return nullptr;
    }
    void unregisterAction(QString const &) override {}
    QToolButton *toolButton(QString const &) override { return nullptr; }
    QMenu *menu(QString const &) override { return nullptr; }
    QAction *menuAction(char const *, int) override { return nullptr; }
    QAction *addMenuAction(char const *, int, QAction *action) override { return action; }
    QAction *action(char const *key) override { return actions.value(QLatin1String(key)); }
    void showStatusMessage(QString const &, int) override {}
    void clearStatusMessage() override {}
    QObject *timeSlider(int) override { return nullptr; }
    void refreshAll() override { ++refreshes; }
    // As a host does: the previous editor is deactivated, the new one activated.
    void switchToEditor(Kenro::Editor *editor) override
    {
        switches.append(editor);
        if (editor == currentEditorValue)
            return;
        if (currentEditorValue)
            currentEditorValue->deactivate();
        currentEditorValue = editor;
        if (editor)
            editor->activate();
    }
    void setExtraEditor(Kenro::ExtraEditor *) override {}
    void setWorkspace(QWidget *widget) override { workspace = widget; }

private:
    QTemporaryDir m_settings;
};

} // namespace KenroTest
