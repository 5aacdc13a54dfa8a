#pragma once

#include "filereport.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

namespace Kenro::Cli {

/**
 * What `kenro info` and `kenro check` know of one kind of file. Each kind
 * is one small class; a new kind is added by adding its inspector to the
 * table of Inspectors (and taking it off the list of kinds still to come).
 */
class FileInspector
{
public:
    virtual ~FileInspector();
    /// True for the upper-case file suffixes (such as "CNS") that this kind reads.
    virtual bool handles(QByteArray const &suffix) const = 0;
    /**
     * Fills \a report from file \a path, which exists and is readable.
     * Returns false, with the reason in \a why, when the file cannot be read
     * as this kind at all (a damaged archive, binary garbage).
     */
    virtual bool inspect(QString const &path, FileReport &report, QString &why) const = 0;

protected:
    /// Appends the diagnostics of \a messages, as those of \a report's file, to \a report.
    static void addMessages(Messages const *messages, FileReport &report);
};

/// The table of inspectors, and the walk over a folder.
class Inspectors
{
public:
    Inspectors();
    ~Inspectors();

    /// The inspector for the suffix of \a path, or null.
    FileInspector const *inspectorFor(QString const &path) const;
    /**
     * Why no inspector takes \a path: "not supported yet" for the content
     * kinds still to come, an unknown kind otherwise; empty for a file of
     * no content kind (read-me files, say), which a folder walk passes over.
     */
    static QString unsupportedReason(QString const &path, bool quietForOthers);

    /**
     * Inspects \a path, a file, into \a report. Returns an ExitCode: Success
     * or InputError, with the reason in \a why.
     */
    int inspectFile(QString const &path, FileReport &report, QString &why) const;
    /**
     * Inspects every file below folder \a path, in path order, showing
     * progress when \a progress. A file of a known kind that cannot be read
     * is reported with one error; returns false only when the folder cannot be read.
     */
    bool inspectFolder(QString const &path, FolderReport &report, bool progress) const;

private:
    std::vector<std::unique_ptr<FileInspector>> m_inspectors;
};

} // namespace Kenro::Cli
