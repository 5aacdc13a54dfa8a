#pragma once

#include "command.h"
#include "filereport.h"
#include "projectreport.h"

namespace Kenro::Cli {

/// What `info` and `check` share: a file or a whole folder read into a report.
class ExamineCommand : public Command
{
public:
    QStringList arguments() const override;
    QStringList argumentHelp() const override;
    void addOptions(QCommandLineParser &parser) const override;

protected:
    /// A report of a file, a folder, or of projects, as PATH is.
    struct Examination
    {
        enum Shape { File, Folder, Projects };
        Shape shape = File;
        FileReport file;
        FolderReport tree;
        ProjectsReport projects;

        QList<Diagnostic> diagnostics() const;
        int count(Message::Type type) const;
        /// The content files of kinds not read yet.
        QList<SkippedFile> skipped() const;
    };

    /// Reads PATH into \a examination; returns an ExitCode, with the failure already printed.
    int examine(QString const &path, CliInterface &host, Examination &examination) const;
};

/// `kenro info PATH`: what a game, project, file or folder holds.
class InfoCommand : public ExamineCommand
{
public:
    QString name() const override;
    QString summary() const override;
    QString description() const override;
    void addOptions(QCommandLineParser &parser) const override;
    int run(QCommandLineParser const &parser, CliInterface &host) const override;
};

/// `kenro check PATH`: every diagnostic, and exit code 1 when there are errors.
class CheckCommand : public ExamineCommand
{
public:
    QString name() const override;
    QString summary() const override;
    QString description() const override;
    int run(QCommandLineParser const &parser, CliInterface &host) const override;
};

} // namespace Kenro::Cli
