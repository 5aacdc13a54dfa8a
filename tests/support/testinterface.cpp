#include "testinterface.h"

#include <kenro/editors/editor.h>
#include <kenro/engine/ktranslator.h>

#include <QCoreApplication>
#include <QIcon>
#include <QPainter>
#include <QPixmap>

namespace KenroTest {

TestInterface::TestInterface()
{
    setGlobalInterface(this);
}

TestInterface::~TestInterface()
{
    if (Kenro::Interface::instance() == this)
        setGlobalInterface(nullptr);
}

QString TestInterface::text(int id)
{
    return Kenro::KTranslator::instance()->text(id);
}

QString TestInterface::toolTip(int id)
{
    return Kenro::KTranslator::instance()->toolTip(id);
}

QString TestInterface::messageText(int id)
{
    switch (id) {
    case 0:
        return QStringLiteral("XML error");
    case 1:
        return QStringLiteral("%1 at line %2, column %3");
    default:
        return QString();
    }
}

QWidget *TestInterface::mainWindow()
{
    return nullptr;
}

QString TestInterface::applicationDirectory()
{
    return QCoreApplication::applicationDirPath();
}

QString TestInterface::resourceDirectory()
{
    return m_settings.path() + QStringLiteral("/resources");
}

QString TestInterface::settingsDirectory()
{
    return m_settings.path();
}

Kenro::ProgressProvider *TestInterface::progressProvider()
{
    return provider;
}

Kenro::Engine *TestInterface::engine()
{
    return currentEngine;
}

Kenro::Editor *TestInterface::currentEditor()
{
    return currentEditorValue;
}

Kenro::FileEditor *TestInterface::editorForFile(Kenro::ProjectFile *, int fileType)
{
    editorRequests.append(fileType);
    return fileEditor;
}

Kenro::Editor *TestInterface::editor(char const *)
{
    return nullptr;
}

bool TestInterface::openProject(QString const &)
{
    return false;
}

void TestInterface::closeProject(Kenro::Project *project)
{
    projects.removeAll(project);
}

bool TestInterface::saveProject(Kenro::Project *)
{
    return false;
}

int TestInterface::projectCount()
{
    return projects.size();
}

Kenro::Project *TestInterface::project(int index)
{
    return projects.value(index);
}

Kenro::Project *TestInterface::currentProject()
{
    return current;
}

void TestInterface::setCurrentProject(Kenro::Project *project)
{
    current = project;
}

bool TestInterface::openFile(QString const &)
{
    return false;
}

int TestInterface::scaleToDPI(int value)
{
    return value * dpiFactor;
}

QIcon TestInterface::icon(QString const &name)
{
    iconRequests.append(name);
    // A small square whose colour follows the name, so that icons differ.
    QPixmap pixmap(16, 16);
    pixmap.fill(QColor::fromRgb(qHash(name) & 0xffffff));
    return QIcon(pixmap);
}

QWidget *TestInterface::createDockPanel(QString const &, QWidget *)
{
    return nullptr;
}

void TestInterface::removeDockPanel(QString const &) {}

QVariant TestInterface::option(QString const &key, QVariant defaultValue)
{
    return options.value(key, defaultValue);
}

void TestInterface::setOption(QString const &key, QVariant const &value)
{
    options.insert(key, value);
}

void TestInterface::setStatusText(int field, QString const &text)
{
    statusTexts.insert(field, text);
}

QWidget *TestInterface::registerAction(QString const &key, Kenro::ActionInfo const &info)
{
    registeredActions.append(key);
    registeredInfos.append(info);
    return nullptr;
}

void TestInterface::unregisterAction(QString const &key)
{
    registeredActions.removeAll(key);
}

QToolButton *TestInterface::toolButton(QString const &)
{
    return nullptr;
}

QMenu *TestInterface::menu(QString const &)
{
    return nullptr;
}

QAction *TestInterface::menuAction(char const *, int)
{
    return nullptr;
}

QAction *TestInterface::addMenuAction(char const *, int, QAction *action)
{
    return action;
}

QAction *TestInterface::action(char const *)
{
    return nullptr;
}

void TestInterface::showStatusMessage(QString const &text, int)
{
    statusTexts.insert(-1, text);
}

void TestInterface::clearStatusMessage()
{
    statusTexts.remove(-1);
}

QObject *TestInterface::timeSlider(int)
{
    return nullptr;
}

void TestInterface::refreshAll()
{
    ++refreshes;
}

void TestInterface::switchToEditor(Kenro::Editor *editor)
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

void TestInterface::setExtraEditor(Kenro::ExtraEditor *) {}

void TestInterface::setWorkspace(QWidget *) {}

} // namespace KenroTest
