#include "commandline.h"

#include "cliinterface.h"
#include "command.h"
#include "console.h"
#include "convertcommand.h"
#include "dialogguard.h"
#include "examinecommands.h"
#include "pluginengines.h"
#include "soundcommands.h"
#include "spritecommands.h"

#include <kenro/engine/extension.h>
#include <kenro/version.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include <memory>

namespace Kenro::Cli {

namespace {

QString const helpHint = QStringLiteral("see 'kenro --help'");

QCommandLineOption helpOption()
{
    return QCommandLineOption({QStringLiteral("h"), QStringLiteral("help")},
                              QStringLiteral("Shows this help."));
}

QString commandHelp(Command const &command, QCommandLineParser const &parser)
{
    // QCommandLineParser's own usage line names the executable's full path
    // and not the command: it is replaced.
    QString text = parser.helpText();
    qsizetype const firstBreak = text.indexOf(QLatin1Char('\n'));
    QString const usage = QStringLiteral("Usage: kenro %1 [options] %2")
                              .arg(command.name(), command.arguments().join(QLatin1Char(' ')));
    return usage + (firstBreak < 0 ? QString() : text.mid(firstBreak));
}

QString withoutFullStop(QString text)
{
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    if (!text.isEmpty())
        text[0] = text.at(0).toLower();
    return text;
}

// The extensions are loaded once a command is known to run, and unloaded
// after it, before the host goes.
std::unique_ptr<ExtensionManager> loadExtensions(QString const &directory)
{
    if (directory.isEmpty() || !QFileInfo(directory).isDir())
        return nullptr;
    return std::make_unique<ExtensionManager>(directory);
}

} // namespace

CommandLine::CommandLine()
{
    m_commands.push_back(std::make_unique<InfoCommand>());
    m_commands.push_back(std::make_unique<CheckCommand>());
    m_commands.push_back(std::make_unique<ConvertCommand>());
    m_commands.push_back(std::make_unique<SoundsExportCommand>());
    m_commands.push_back(std::make_unique<SoundsBuildCommand>());
    m_commands.push_back(std::make_unique<SpritesExportCommand>());
    m_commands.push_back(std::make_unique<SpritesBuildCommand>());
}

CommandLine::~CommandLine() = default;

Command const *CommandLine::command(QString const &name) const
{
    for (auto const &command : m_commands) {
        if (command->name() == name)
            return command.get();
    }
    return nullptr;
}

std::vector<std::unique_ptr<Command>> const &CommandLine::commands() const
{
    return m_commands;
}

QString CommandLine::helpText() const
{
    QString text = QStringLiteral(
        "Usage: kenro [--settings FILE] COMMAND [options] ARGUMENTS\n"
        "Examines, checks and converts the content of 2D fighting games.\n\n"
        "Options:\n"
        "  --settings FILE  Reads options from FILE (INI) instead of KENRO_SETTINGS\n"
        "                   or ~/.config/kenro/kenro.ini.\n"
        "  -h, --help       Shows this help; 'kenro COMMAND --help' shows a command's.\n"
        "  -v, --version    Shows the version.\n\n"
        "Commands:\n");
    int width = 0;
    for (auto const &command : m_commands)
        width = qMax(width, int(command->name().size()));
    for (auto const &command : m_commands)
        text += QStringLiteral("  %1  %2\n").arg(command->name(), -width).arg(command->summary());
    text += QStringLiteral("\nExit codes: 0 done, 1 check found errors, 2 usage error, "
                           "3 input error, 4 output error.\n");
    return text;
}

int CommandLine::run(QStringList const &arguments, QString const &pluginDirectory) const
{
    QString settings;
    qsizetype index = 0;
    for (; index < arguments.size(); ++index) {
        QString const &argument = arguments.at(index);
        if (!argument.startsWith(QLatin1Char('-')) || argument == QLatin1String("-"))
            break;
        if (argument == QLatin1String("-h") || argument == QLatin1String("--help")) {
            Console::out(helpText());
            return Success;
        }
        if (argument == QLatin1String("-v") || argument == QLatin1String("--version")) {
            Console::out(QStringLiteral("kenro %1\n").arg(QLatin1String(KENRO_VERSION_STRING)));
            return Success;
        }
        if (argument.startsWith(QLatin1String("--settings="))) {
            settings = argument.mid(11);
        } else if (argument == QLatin1String("--settings")) {
            if (++index == arguments.size())
                return Console::fail(UsageError, QStringLiteral("--settings"),
                                     QStringLiteral("missing FILE (%1)").arg(helpHint));
            settings = arguments.at(index);
        } else {
            return Console::fail(UsageError, argument,
                                 QStringLiteral("unknown option (%1)").arg(helpHint));
        }
    }
    if (index == arguments.size()) {
        Console::err(helpText());
        return UsageError;
    }

    QString name = arguments.at(index++);
    // "kenro help info" is "kenro info --help".
    bool askedForHelp = false;
    if (name == QLatin1String("help")) {
        if (index == arguments.size()) {
            Console::out(helpText());
            return Success;
        }
        name = arguments.at(index++);
        askedForHelp = true;
    }
    // A group's command takes two words, such as "sprites export".
    if (!command(name) && index < arguments.size() &&
        command(name + QLatin1Char(' ') + arguments.at(index)))
        name += QLatin1Char(' ') + arguments.at(index++);
    Command const *found = command(name);
    if (!found) {
        QStringList group;
        for (auto const &command : m_commands) {
            if (command->name().startsWith(name + QLatin1Char(' ')))
                group.append(command->name().section(QLatin1Char(' '), 1));
        }
        if (!group.isEmpty())
            return Console::fail(UsageError, name,
                                 QStringLiteral("needs a subcommand: %1 (%2)")
                                     .arg(group.join(QStringLiteral(", ")), helpHint));
        return Console::fail(UsageError, name,
                             QStringLiteral("unknown command (%1)").arg(helpHint));
    }

    QStringList rest = arguments.mid(index);
    if (askedForHelp)
        rest = {QStringLiteral("--help")};
    return runCommand(*found, rest, settings, pluginDirectory);
}

int CommandLine::runCommand(Command const &command, QStringList const &arguments,
                            QString const &settingsFile, QString const &pluginDirectory) const
{
    QCommandLineParser parser;
    parser.setApplicationDescription(command.description());
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    QCommandLineOption const help = helpOption();
    parser.addOption(help);
    command.addOptions(parser);
    QStringList const names = command.arguments();
    QStringList const helps = command.argumentHelp();
    for (qsizetype i = 0; i < names.size(); ++i)
        parser.addPositionalArgument(names.at(i), helps.value(i));

    QString const hint = QStringLiteral("see 'kenro %1 --help'").arg(command.name());
    // QCommandLineParser skips its first entry, the program name.
    if (!parser.parse(QStringList{QStringLiteral("kenro")} + arguments))
        return Console::fail(
            UsageError, command.name(),
            QStringLiteral("%1 (%2)").arg(withoutFullStop(parser.errorText()), hint));
    if (parser.isSet(help)) {
        Console::out(commandHelp(command, parser));
        return Success;
    }
    QStringList const given = parser.positionalArguments();
    if (given.size() < names.size())
        return Console::fail(UsageError, command.name(),
                             QStringLiteral("missing %1 (%2)").arg(names.at(given.size()), hint));
    if (given.size() > names.size())
        return Console::fail(
            UsageError, command.name(),
            QStringLiteral("unexpected argument '%1' (%2)").arg(given.at(names.size()), hint));

    QString const settingsPath = CliInterface::settingsFile(settingsFile);
    // A file named on purpose must be there; the default one may be missing.
    if (!settingsFile.isEmpty() && !QFileInfo(settingsPath).isFile())
        return Console::fail(InputError, settingsPath, QStringLiteral("no such settings file"));
    CliInterface host(settingsPath);
    std::unique_ptr<ExtensionManager> const extensions = loadExtensions(pluginDirectory);
    // The engines go before the libraries that hold their code.
    PluginEngines const engines(extensions ? pluginDirectory : QString());
    host.setEngines(engines.engines());
    int const code = command.run(parser, host);
    host.setEngines({});
    return code;
}

namespace {

// The plug-in folder of this executable: lib/kenro/plugins of the install
// prefix, or "plugins" beside "bin" in a build folder.
QString pluginDirectory()
{
    QDir const bin(QCoreApplication::applicationDirPath());
    for (char const *relative : {KENRO_INSTALLED_PLUGINS, "../plugins"}) {
        QString const candidate = QDir::cleanPath(bin.absoluteFilePath(QLatin1String(relative)));
        if (QFileInfo(candidate).isDir())
            return candidate;
    }
    return QString();
}

} // namespace

// Qt's and the library's trace output would break the one-line messages:
// it shows only when KENRO_DEBUG is set.
void quietMessages(QtMsgType type, QMessageLogContext const &, QString const &message)
{
    if (type == QtFatalMsg || type == QtCriticalMsg || qEnvironmentVariableIsSet("KENRO_DEBUG"))
        Console::err(message + QLatin1Char('\n'));
}

int runTool(int argc, char **argv)
{
    qInstallMessageHandler(quietMessages);
    // Never a window, whatever display there is: the library's few boxes
    // are answered by the guard.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("kenro"));
    QApplication::setApplicationVersion(QLatin1String(KENRO_VERSION_STRING));
    DialogGuard guard;
    application.installEventFilter(&guard);

    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
    return CommandLine().run(arguments, pluginDirectory());
}

} // namespace Kenro::Cli
