#include "examinecommands.h"

#include "cliinterface.h"
#include "console.h"
#include "fileexaminer.h"
#include "inputfile.h"
#include "progressbar.h"
#include "projectexaminer.h"
#include "projectwriter.h"
#include "reportwriter.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace Kenro::Cli {

namespace {

QString const jsonOption = QStringLiteral("json");
QString const allOption = QStringLiteral("all");

QString json(QJsonObject const &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

} // namespace

QList<Diagnostic> ExamineCommand::Examination::diagnostics() const
{
    switch (shape) {
    case File:
        return file.diagnostics;
    case Folder: {
        QList<Diagnostic> all;
        for (FileReport const &report : tree.files)
            all += report.diagnostics;
        return all;
    }
    case Projects:
        break;
    }
    return projects.diagnostics();
}

int ExamineCommand::Examination::count(Message::Type type) const
{
    switch (shape) {
    case File:
        return file.count(type);
    case Folder:
        return tree.count(type);
    case Projects:
        break;
    }
    return projects.count(type);
}

QList<SkippedFile> ExamineCommand::Examination::skipped() const
{
    return shape == Projects ? projects.others.skipped : tree.skipped;
}

QStringList ExamineCommand::arguments() const
{
    return {QStringLiteral("PATH")};
}

QStringList ExamineCommand::argumentHelp() const
{
    return {QStringLiteral("A game folder, a character or stage (its folder or its .def), a "
                           "content file (.def, .cns, .cmd, .st, .air, .sff, .snd, .act, a "
                           "sound file) or any folder.")};
}

void ExamineCommand::addOptions(QCommandLineParser &parser) const
{
    parser.addOption({jsonOption, QStringLiteral("Writes the result as JSON, for programs.")});
}

int ExamineCommand::examine(QString const &path, CliInterface &host, Examination &examination) const
{
    QFileInfo const info(path);
    if (!info.exists())
        return Console::fail(InputError, path, QStringLiteral("no such file or directory"));
    QString const why = unreadableFileReason(path);
    if (info.isFile() && !why.isEmpty())
        return Console::fail(InputError, path, why);
    if (info.isDir() && !info.isReadable())
        return Console::fail(InputError, path, QStringLiteral("the folder cannot be read"));

    Examiners const examiners;
    bool const progress = host.progressEnabled();
    // Games, characters and stages are opened as the engine opens them.
    ProjectExaminer const projects(host.engines(), examiners);
    if (info.isDir()) {
        if (Engine *engine = projects.gameEngine(path)) {
            ProgressBar bar(QStringLiteral("Opening the game"), progress);
            if (projects.examineGame(path, *engine, examination.projects, bar)) {
                examination.shape = Examination::Projects;
                return Success;
            }
        }
        QStringList const definitions = projects.projectDefinitions(path);
        if (!definitions.isEmpty()) {
            ProgressBar bar(QStringLiteral("Opening"), progress);
            if (projects.examineProjects(path, definitions, examination.projects, bar)) {
                examination.shape = Examination::Projects;
                return Success;
            }
        }
        examination.shape = Examination::Folder;
        if (!examiners.examineFolder(path, examination.tree, progress))
            return Console::fail(InputError, path, QStringLiteral("the folder cannot be read"));
        return Success;
    }
    if (projects.definitionEngine(path) &&
        ProjectExaminer::definitionKind(path) != ProjectExaminer::NoProject) {
        ProgressBar bar(QStringLiteral("Opening"), progress);
        if (projects.examineProjects(path, {path}, examination.projects, bar)) {
            examination.shape = Examination::Projects;
            return Success;
        }
    }
    QString reason;
    int const code = examiners.examineFile(path, examination.file, reason);
    return code == Success ? Success : Console::fail(ExitCode(code), path, reason);
}

QString InfoCommand::name() const
{
    return QStringLiteral("info");
}

QString InfoCommand::summary() const
{
    return QStringLiteral("Shows what a game, character, stage, file or folder holds.");
}

QString InfoCommand::description() const
{
    return summary() +
        QStringLiteral(
               "\nA game folder (one with the engine's marker file, such as data/system.def)\n"
               "gives a line per character and stage with its files and its counts of\n"
               "actions, sprites, palettes and sounds; --all lists every file. A character\n"
               "or stage, given as its folder or its .def, lists every file that the .def\n"
               "names and the files named in vain. A lone file gives its kind, counts and\n"
               "sections; any other folder is walked and each file summed up.");
}

void InfoCommand::addOptions(QCommandLineParser &parser) const
{
    ExamineCommand::addOptions(parser);
    parser.addOption({allOption,
                      QStringLiteral("Lists every section of a file, and every file of "
                                     "a game.")});
}

int InfoCommand::run(QCommandLineParser const &parser, CliInterface &host) const
{
    Examination examination;
    int const code = examine(parser.positionalArguments().constFirst(), host, examination);
    if (code != Success)
        return code;
    bool const all = parser.isSet(allOption);
    if (parser.isSet(jsonOption)) {
        switch (examination.shape) {
        case Examination::File:
            Console::out(json(ReportWriter::toJson(examination.file)));
            break;
        case Examination::Folder:
            Console::out(json(ReportWriter::toJson(examination.tree)));
            break;
        case Examination::Projects:
            Console::out(json(ProjectWriter::toJson(examination.projects)));
            break;
        }
        return Success;
    }
    switch (examination.shape) {
    case Examination::File:
        Console::out(ReportWriter::fileText(examination.file, all));
        break;
    case Examination::Folder:
        Console::out(ReportWriter::folderText(examination.tree));
        break;
    case Examination::Projects:
        Console::out(ProjectWriter::text(examination.projects, all));
        break;
    }
    return Success;
}

QString CheckCommand::name() const
{
    return QStringLiteral("check");
}

QString CheckCommand::summary() const
{
    return QStringLiteral(
        "Lists every diagnostic with file, line and column; exit code 1 on errors.");
}

QString CheckCommand::description() const
{
    return summary() +
        QStringLiteral(
               "\nEach diagnostic is a line \"file:line:column: severity: text\" (severity\n"
               "error, warning or note), then a count. A game, character or stage is\n"
               "checked as the engine opens it: every file it names, the names that lead\n"
               "nowhere, and the other content files of its folder. Any other folder is\n"
               "checked file by file; files of kinds not supported yet are named on stderr.");
}

int CheckCommand::run(QCommandLineParser const &parser, CliInterface &host) const
{
    QString const path = parser.positionalArguments().constFirst();
    Examination examination;
    int const code = examine(path, host, examination);
    if (code != Success)
        return code;
    QList<Diagnostic> const diagnostics = examination.diagnostics();
    int const errors = examination.count(Message::Error);
    int const warnings = examination.count(Message::Warning);
    int const notes = examination.count(Message::Information);
    QList<SkippedFile> const skippedFiles = examination.skipped();
    if (parser.isSet(jsonOption)) {
        QJsonArray skipped;
        for (SkippedFile const &file : skippedFiles)
            skipped.append(QJsonObject{{QStringLiteral("path"), file.path},
                                       {QStringLiteral("reason"), file.reason}});
        Console::out(json({{QStringLiteral("path"), path},
                           {QStringLiteral("errors"), errors},
                           {QStringLiteral("warnings"), warnings},
                           {QStringLiteral("notes"), notes},
                           {QStringLiteral("diagnostics"), ReportWriter::toJson(diagnostics)},
                           {QStringLiteral("skipped"), skipped}}));
    } else {
        QString text;
        for (Diagnostic const &diagnostic : diagnostics)
            text += ReportWriter::diagnosticLine(diagnostic) + QLatin1Char('\n');
        text += QStringLiteral("%1: %2\n").arg(path, ReportWriter::tally(errors, warnings, notes));
        Console::out(text);
        for (SkippedFile const &file : skippedFiles)
            Console::warn(file.path, file.reason);
    }
    return errors > 0 ? ContentErrors : Success;
}

} // namespace Kenro::Cli
