#pragma once

#include <QString>
#include <QStringList>

class QCommandLineParser;

namespace Kenro::Cli {

class CliInterface;

/**
 * One subcommand of the tool. The command line makes a parser for it with
 * its options and a --help of its own, checks the count of its arguments,
 * and then runs it; run() returns an ExitCode and reports failures itself,
 * one line each, through Console::fail().
 */
class Command
{
public:
    virtual ~Command();

    /// How it is called: "info", or two words for a group: "sprites export".
    virtual QString name() const = 0;
    /// One line for the list of `kenro --help`.
    virtual QString summary() const = 0;
    /// A paragraph for its own --help; the summary by default.
    virtual QString description() const;
    /// The names of its arguments, all required, such as "IN" and "OUT".
    virtual QStringList arguments() const = 0;
    /// What each argument is, in the order of arguments().
    virtual QStringList argumentHelp() const = 0;
    /// Adds its options to \a parser; none by default.
    virtual void addOptions(QCommandLineParser &parser) const;
    /// Does the job with the arguments and options of \a parser.
    virtual int run(QCommandLineParser const &parser, CliInterface &host) const = 0;
};

} // namespace Kenro::Cli
