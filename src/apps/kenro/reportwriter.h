#pragma once

#include "filereport.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

namespace Kenro::Cli {

/// How reports are shown: as text for people and as JSON for programs.
namespace ReportWriter {

/// "error", "warning" or "note".
QString severity(Message::Type type);
/// "path:line:column: severity: text", as compilers print it.
QString diagnosticLine(Diagnostic const &diagnostic);
/// "2 errors, 1 warning", and ", 1 note" when there are notes.
QString tally(int errors, int warnings, int notes = 0);
/// "1 sprite", "2 sprites".
QString plural(int count, QString const &word);
/// The facts of a file, without the lists, joined by ", ".
QString factsText(FileReport const &report);

/// The summary of one file; at most a dozen parts unless \a allParts.
QString fileText(FileReport const &report, bool allParts);
/// The summary of a folder: a line per file and the files not examined.
QString folderText(FolderReport const &report);

QJsonObject toJson(Diagnostic const &diagnostic);
QJsonObject toJson(FileReport const &report);
QJsonObject toJson(FolderReport const &report);
/// The diagnostics of \a diagnostics, each an object.
QJsonArray toJson(QList<Diagnostic> const &diagnostics);

} // namespace ReportWriter

} // namespace Kenro::Cli
