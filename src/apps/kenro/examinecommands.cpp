#include "examinecommands.h"

#include "cliinterface.h"
#include "console.h"
#include "fileexaminer.h"
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
    if (!folder)
        return file.diagnostics;
    QList<Diagnostic> all;
    for (FileReport const &report : tree.files)
        all += report.diagnostics;
    return all;
}

int ExamineCommand::Examination::count(Message::Type type) const
{
    return folder ? tree.count(type) : file.count(type);
}

QStringList ExamineCommand::arguments() const
{
    return {QStringLiteral("PATH")};
}

QStringList ExamineCommand::argumentHelp() const
{
    return {QStringLiteral(
        "A content file (.def, .cns, .cmd, .st, .air, .snd, a sound file) or a folder.")};
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
    Examiners const examiners;
    if (info.isDir()) {
        examination.folder = true;
        if (!examiners.examineFolder(path, examination.tree, host.progressEnabled()))
            return Console::fail(InputError, path, QStringLiteral("the folder cannot be read"));
        return Success;
    }
    QString why;
    int const code = examiners.examineFile(path, examination.file, why);
    return code == Success ? Success : Console::fail(ExitCode(code), path, why);
}

QString InfoCommand::name() const
{
    return QStringLiteral("info");
}

QString InfoCommand::summary() const
{
    return QStringLiteral(
        "Shows what a file or folder holds: kinds, counts, sections, diagnostics.");
}

QString InfoCommand::description() const
{
    return summary() +
        QStringLiteral(
               "\nScripts (.def, .cns, .cmd, .st), AIR animations, SND sound banks and sound\n"
               "files (WAV, FLAC, Ogg Vorbis, MP3) are read; a folder is walked and each\n"
               "file it holds is summed up.");
}

void InfoCommand::addOptions(QCommandLineParser &parser) const
{
    ExamineCommand::addOptions(parser);
    parser.addOption({allOption, QStringLiteral("Lists every section, not only the first ones.")});
}

int InfoCommand::run(QCommandLineParser const &parser, CliInterface &host) const
{
    Examination examination;
    int const code = examine(parser.positionalArguments().constFirst(), host, examination);
    if (code != Success)
        return code;
    if (parser.isSet(jsonOption))
        Console::out(json(examination.folder ? ReportWriter::toJson(examination.tree)
                                             : ReportWriter::toJson(examination.file)));
    else
        Console::out(examination.folder
                         ? ReportWriter::folderText(examination.tree)
                         : ReportWriter::fileText(examination.file, parser.isSet(allOption)));
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
        QStringLiteral("\nEach diagnostic is a line \"file:line:column: severity: text\", then a\n"
                       "count. A folder is checked file by file; files of kinds not supported yet\n"
                       "are named on stderr.");
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
    if (parser.isSet(jsonOption)) {
        QJsonArray list;
        for (Diagnostic const &diagnostic : diagnostics)
            list.append(ReportWriter::toJson(diagnostic));
        QJsonArray skipped;
        for (SkippedFile const &file : examination.tree.skipped)
            skipped.append(QJsonObject{{QStringLiteral("path"), file.path},
                                       {QStringLiteral("reason"), file.reason}});
        Console::out(json({{QStringLiteral("path"), path},
                           {QStringLiteral("errors"), errors},
                           {QStringLiteral("warnings"), warnings},
                           {QStringLiteral("diagnostics"), list},
                           {QStringLiteral("skipped"), skipped}}));
    } else {
        QString text;
        for (Diagnostic const &diagnostic : diagnostics)
            text += ReportWriter::diagnosticLine(diagnostic) + QLatin1Char('\n');
        text += QStringLiteral("%1: %2\n").arg(path, ReportWriter::tally(errors, warnings));
        Console::out(text);
        for (SkippedFile const &file : examination.tree.skipped)
            Console::warn(file.path, file.reason);
    }
    return errors > 0 ? ContentErrors : Success;
}

} // namespace Kenro::Cli
