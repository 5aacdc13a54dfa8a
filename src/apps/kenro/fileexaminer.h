#pragma once

#include "filereport.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Kenro {
class JobStats;
}

namespace Kenro::Cli {

/**
 * What `kenro info` and `kenro check` know of one kind of file. Each kind
 * is one small class; a new kind is added by adding its examiner to the
 * table of Examiners (and taking it off the list of kinds still to come).
 */
class FileExaminer
{
public:
    virtual ~FileExaminer();
    /// True for the upper-case file suffixes (such as "CNS") that this kind reads.
    virtual bool handles(QByteArray const &suffix) const = 0;
    /**
     * Fills \a report from file \a path, which exists and is readable.
     * Returns false, with the reason in \a why, when the file cannot be read
     * as this kind at all (a damaged archive, binary garbage).
     */
    virtual bool examine(QString const &path, FileReport &report, QString &why) const = 0;

protected:
    /// Appends the diagnostics of \a messages, as those of \a report's file, to \a report.
    static void addMessages(Messages const *messages, FileReport &report);
};

/// The table of examiners, and the walk over a folder.
class Examiners
{
public:
    Examiners();
    ~Examiners();

    /// The examiner for the suffix of \a path, or null.
    FileExaminer const *examinerFor(QString const &path) const;
    /**
     * Why no examiner takes \a path: "not supported yet" for the content
     * kinds still to come, an unknown kind otherwise; empty for a file of
     * no content kind (read-me files, say), which a folder walk passes over.
     */
    static QString unsupportedReason(QString const &path, bool quietForOthers);

    /**
     * Examines \a path, a file, into \a report. Returns an ExitCode: Success
     * or InputError, with the reason in \a why.
     */
    int examineFile(QString const &path, FileReport &report, QString &why) const;
    /**
     * Examines every file below folder \a path, in path order, showing
     * progress when \a progress. A file of a known kind that cannot be read
     * is reported with one error; returns false only when the folder cannot be read.
     */
    bool examineFolder(QString const &path, FolderReport &report, bool progress) const;
    /// Every file below folder \a path, in path order; empty when it cannot be read.
    static QStringList folderFiles(QString const &path);
    /**
     * Examines each of \a names into \a report as examineFolder() does,
     * moving \a progress on by one for each.
     */
    void examineFiles(QStringList const &names, FolderReport &report, JobStats &progress) const;

private:
    std::vector<std::unique_ptr<FileExaminer>> m_examiners;
};

} // namespace Kenro::Cli
