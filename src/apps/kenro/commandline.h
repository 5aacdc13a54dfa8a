#pragma once

#include <QStringList>

#include <memory>
#include <vector>

namespace Kenro::Cli {

class Command;

/**
 * The table of subcommands and the parsing of a whole command line:
 * `kenro [--settings FILE] COMMAND [options] ARGUMENTS`, with --help and
 * --version for the tool and --help for each command.
 */
class CommandLine
{
public:
    /// A table of every command that the tool has.
    CommandLine();
    ~CommandLine();

    /// The command named \a name, or null.
    Command const *command(QString const &name) const;
    /// The commands in the order of `kenro --help`.
    std::vector<std::unique_ptr<Command>> const &commands() const;

    /**
     * Runs \a arguments (without the program name) and returns the exit
     * code. Extensions are loaded from \a pluginDirectory when it is not
     * empty, once the command is known.
     */
    int run(QStringList const &arguments, QString const &pluginDirectory) const;

    /// The text of `kenro --help`.
    QString helpText() const;

private:
    int runCommand(Command const &command, QStringList const &arguments,
                   QString const &settingsFile, QString const &pluginDirectory) const;

    std::vector<std::unique_ptr<Command>> m_commands;
};

/**
 * The whole tool: an application without windows, the dialog guard, and
 * the command line over the process arguments. main() only calls this.
 */
int runTool(int argc, char **argv);

} // namespace Kenro::Cli
