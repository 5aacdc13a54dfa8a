#pragma once

#include "filereport.h"

#include <QJsonObject>
#include <QString>

namespace Kenro::Cli {

/// How reports are shown: as text for people and as JSON for programs.
namespace ReportWriter {

/// "error", "warning" or "information".
QString severity(Message::Type type);
/// "path:line:column: severity: text", as compilers print it.
QString diagnosticLine(Diagnostic const &diagnostic);
/// "2 errors, 1 warning".
QString tally(int errors, int warnings);

/// The summary of one file; at most a dozen parts unless \a allParts.
QString fileText(FileReport const &report, bool allParts);
/// The summary of a folder: a line per file and the files not examineed.
QString folderText(FolderReport const &report);

QJsonObject toJson(Diagnostic const &diagnostic);
QJsonObject toJson(FileReport const &report);
QJsonObject toJson(FolderReport const &report);

} // namespace ReportWriter

} // namespace Kenro::Cli
