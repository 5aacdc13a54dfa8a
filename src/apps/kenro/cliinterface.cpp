#include "cliinterface.h"

#include "progressbar.h"

#include <kenro/engine/ktranslator.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QStandardPaths>

namespace Kenro::Cli {

namespace {

// Options whose value a run without a user interface must not take from a file.
QVariant fixedOption(QString const &key)
{
    if (key == QLatin1String("enable_file_watcher"))
        return false;
    return QVariant();
}

} // namespace

CliInterface::CliInterface(QString const &settingsFile) : m_settingsPath(settingsFile)
{
    if (!m_settingsPath.isEmpty())
        m_settings = std::make_unique<QSettings>(m_settingsPath, QSettings::IniFormat);
    setGlobalInterface(this);
}

CliInterface::~CliInterface()
{
    if (Interface::instance() == this)
        setGlobalInterface(nullptr);
}

QString CliInterface::settingsFile(QString const &given)
{
    if (!given.isEmpty())
        return given;
    QString const fromEnvironment = qEnvironmentVariable("KENRO_SETTINGS");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
        QStringLiteral("/kenro/kenro.ini");
}

QString CliInterface::settingsPath() const
{
    return m_settingsPath;
}

QString CliInterface::text(int id)
{
    return KTranslator::instance()->text(id);
}

QString CliInterface::toolTip(int id)
{
    return KTranslator::instance()->toolTip(id);
}

QString CliInterface::messageText(int id)
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

QString CliInterface::applicationName()
{
    return QStringLiteral("kenro");
}

QWidget *CliInterface::mainWindow()
{
    return nullptr;
}

QString CliInterface::applicationDirectory()
{
    return QCoreApplication::applicationDirPath();
}

QString CliInterface::resourceDirectory()
{
    // Beside the executable in a build folder, under share/kenro when installed.
    QDir const bin(QCoreApplication::applicationDirPath());
    QString const installed = bin.absoluteFilePath(QStringLiteral("../share/kenro"));
    return QFileInfo::exists(installed) ? QDir::cleanPath(installed) : bin.absolutePath();
}

QString CliInterface::settingsDirectory()
{
    if (m_settingsPath.isEmpty())
        return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QStringLiteral("/kenro");
    return QFileInfo(m_settingsPath).absolutePath();
}

ProgressProvider *CliInterface::progressProvider()
{
    return this;
}

Engine *CliInterface::engine()
{
    return m_engines.value(0);
}

QList<Engine *> CliInterface::engines() const
{
    return m_engines;
}

void CliInterface::setEngines(QList<Engine *> const &engines)
{
    m_engines = engines;
}

Editor *CliInterface::currentEditor()
{
    return nullptr;
}

FileEditor *CliInterface::editorForFile(ProjectFile *, int)
{
    return nullptr;
}

Editor *CliInterface::editor(char const *)
{
    return nullptr;
}

bool CliInterface::openProject(QString const &)
{
    return false;
}

void CliInterface::closeProject(Project *) {}

bool CliInterface::saveProject(Project *)
{
    return false;
}

int CliInterface::projectCount()
{
    return 0;
}

Project *CliInterface::project(int)
{
    return nullptr;
}

Project *CliInterface::currentProject()
{
    return nullptr;
}

void CliInterface::setCurrentProject(Project *) {}

bool CliInterface::openFile(QString const &)
{
    return false;
}

int CliInterface::scaleToDPI(int value)
{
    return value;
}

QIcon CliInterface::icon(QString const &)
{
    return QIcon();
}

QWidget *CliInterface::createDockPanel(QString const &, QWidget *)
{
    return nullptr;
}

void CliInterface::removeDockPanel(QString const &) {}

QVariant CliInterface::option(QString const &key, QVariant defaultValue)
{
    QVariant const fixed = fixedOption(key);
    if (fixed.isValid())
        return fixed;
    auto const set = m_session.constFind(key);
    if (set != m_session.constEnd())
        return set.value();
    if (m_settings)
        return m_settings->value(key, defaultValue);
    return defaultValue;
}

void CliInterface::setOption(QString const &key, QVariant const &value)
{
    // Never written back: a command-line run leaves the user's settings alone.
    m_session.insert(key, value);
}

void CliInterface::setStatusText(int, QString const &) {}

QWidget *CliInterface::registerAction(QString const &, ActionInfo const &)
{
    return nullptr;
}

void CliInterface::unregisterAction(QString const &) {}

QToolButton *CliInterface::toolButton(QString const &)
{
    return nullptr;
}

QMenu *CliInterface::menu(QString const &)
{
    return nullptr;
}

QAction *CliInterface::menuAction(char const *, int)
{
    return nullptr;
}

QAction *CliInterface::addMenuAction(char const *, int, QAction *action)
{
    return action;
}

QAction *CliInterface::action(char const *)
{
    return nullptr;
}

void CliInterface::showStatusMessage(QString const &, int) {}

void CliInterface::clearStatusMessage() {}

QObject *CliInterface::timeSlider(int)
{
    return nullptr;
}

void CliInterface::refreshAll() {}

void CliInterface::switchToEditor(Editor *) {}

void CliInterface::setExtraEditor(ExtraEditor *) {}

void CliInterface::setWorkspace(QWidget *) {}

ProgressJob *CliInterface::newJob(QString const &title, int)
{
    return new ProgressBar(title, progressEnabled());
}

bool CliInterface::progressEnabled()
{
    return option(QStringLiteral("progress"), true).toBool();
}

} // namespace Kenro::Cli
