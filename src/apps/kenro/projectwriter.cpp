#include "projectwriter.h"

#include "reportwriter.h"

#include <QJsonArray>

namespace Kenro::Cli::ProjectWriter {

namespace {

using ReportWriter::plural;

template<class Report>
QString tallyOf(Report const &report)
{
    return ReportWriter::tally(report.count(Message::Error), report.count(Message::Warning),
                               report.count(Message::Information));
}

template<class Report>
bool hasDiagnostics(Report const &report)
{
    return report.count(Message::Error) + report.count(Message::Warning) +
        report.count(Message::Information) >
        0;
}

// \a path relative to the folder \a base when it lies inside.
QString below(QString const &path, QString const &base)
{
    if (base.isEmpty() || base == QLatin1String("."))
        return path;
    return path.startsWith(base + QLatin1Char('/')) ? path.mid(base.size() + 1) : path;
}

QString totalsText(ContentTotals const &totals)
{
    return QStringList{plural(totals.actions, QStringLiteral("action")),
                       plural(totals.sprites, QStringLiteral("sprite")),
                       plural(totals.palettes, QStringLiteral("palette")),
                       plural(totals.sounds, QStringLiteral("sound"))}
        .join(QStringLiteral(", "));
}

QJsonObject totalsJson(ContentTotals const &totals)
{
    return {{QStringLiteral("actions"), totals.actions},
            {QStringLiteral("sprites"), totals.sprites},
            {QStringLiteral("palettes"), totals.palettes},
            {QStringLiteral("sounds"), totals.sounds}};
}

// "2 characters, 1 stage", in the order in which the types come first.
QString projectCounts(QList<ProjectReport> const &projects)
{
    QStringList types;
    QMap<QString, int> counts;
    for (ProjectReport const &project : projects) {
        if (!counts.contains(project.type))
            types.append(project.type);
        ++counts[project.type];
    }
    QStringList parts;
    for (QString const &type : std::as_const(types))
        parts.append(plural(counts.value(type), type));
    return parts.join(QStringLiteral(", "));
}

// The project on one line: what it is, its files, its totals, its diagnostics.
QString projectLine(ProjectReport const &project, QString const &base)
{
    QString what = project.type;
    if (!project.name.isEmpty())
        what += QStringLiteral(" \"%1\"").arg(project.name);
    if (!project.author.isEmpty())
        what += QStringLiteral(" by ") + project.author;
    return QStringLiteral("  %1: %2, %3, %4; %5\n")
        .arg(below(project.path, base), what,
             plural(int(project.files.size()), QStringLiteral("file")),
             totalsText(project.totals()), tallyOf(project));
}

// Below the project's line: its files by type, one line per file, and its own diagnostics.
QString projectFiles(ProjectReport const &project, QString const &base)
{
    QStringList types;
    for (ProjectFileReport const &file : project.files) {
        if (!types.contains(file.type))
            types.append(file.type);
    }
    QMap<QString, int> const counts = project.fileTypes();
    QStringList byType;
    for (QString const &type : std::as_const(types))
        byType.append(QStringLiteral("%1 %2").arg(type).arg(counts.value(type)));
    QString text = QStringLiteral("    files: %1\n").arg(byType.join(QStringLiteral(", ")));
    for (ProjectFileReport const &file : project.files) {
        QStringList facts{file.type};
        for (auto const &count : file.counts)
            facts.append(QStringLiteral("%1 %2").arg(count.first).arg(count.second));
        text +=
            QStringLiteral("    %1: %2%3%4\n")
                .arg(below(file.path, base), facts.join(QStringLiteral(", ")),
                     file.shared ? QStringLiteral(" (outside the project's folder)") : QString(),
                     hasDiagnostics(file) ? QStringLiteral("; ") + tallyOf(file) : QString());
    }
    for (Diagnostic const &diagnostic : project.diagnostics)
        text +=
            QStringLiteral("    ") + ReportWriter::diagnosticLine(diagnostic) + QLatin1Char('\n');
    return text;
}

QString fileLine(FileReport const &file, QString const &base)
{
    QString const facts = ReportWriter::factsText(file);
    return QStringLiteral("  %1: %2%3; %4\n")
        .arg(below(file.path, base), file.kind,
             facts.isEmpty() ? QString() : QStringLiteral(", ") + facts, tallyOf(file));
}

// The files outside the projects: each on a line, or when \a each is false
// a count by kind and only those with diagnostics.
QString otherFiles(FolderReport const &others, QString const &base, bool each)
{
    QString text;
    if (!each && !others.files.isEmpty()) {
        QStringList kinds;
        QMap<QString, int> counts;
        for (FileReport const &file : others.files) {
            if (!counts.contains(file.kind))
                kinds.append(file.kind);
            ++counts[file.kind];
        }
        QStringList parts;
        for (QString const &kind : std::as_const(kinds))
            parts.append(QStringLiteral("%1 %2").arg(kind).arg(counts.value(kind)));
        text += QStringLiteral("  %1 outside the projects: %2 (--all lists them)\n")
                    .arg(plural(int(others.files.size()), QStringLiteral("other file")),
                         parts.join(QStringLiteral(", ")));
    }
    for (FileReport const &file : others.files) {
        if (each || hasDiagnostics(file))
            text += fileLine(file, base);
    }
    for (SkippedFile const &skipped : others.skipped)
        text += QStringLiteral("  %1: %2\n").arg(below(skipped.path, base), skipped.reason);
    if (others.otherFiles)
        text += QStringLiteral("  %1 of no content kind\n")
                    .arg(plural(others.otherFiles, QStringLiteral("other file")));
    return text;
}

QJsonObject fileJson(ProjectFileReport const &file)
{
    QJsonObject counts;
    for (auto const &count : file.counts)
        counts.insert(count.first, count.second);
    return {{QStringLiteral("path"), file.path},
            {QStringLiteral("type"), file.type},
            {QStringLiteral("shared"), file.shared},
            {QStringLiteral("counts"), counts},
            {QStringLiteral("errors"), file.count(Message::Error)},
            {QStringLiteral("warnings"), file.count(Message::Warning)},
            {QStringLiteral("notes"), file.count(Message::Information)},
            {QStringLiteral("diagnostics"), ReportWriter::toJson(file.diagnostics)}};
}

QJsonObject projectJson(ProjectReport const &project)
{
    QJsonArray files;
    for (ProjectFileReport const &file : project.files)
        files.append(fileJson(file));
    QJsonObject types;
    QMap<QString, int> const counts = project.fileTypes();
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        types.insert(it.key(), it.value());
    return {{QStringLiteral("path"), project.path},
            {QStringLiteral("type"), project.type},
            {QStringLiteral("name"), project.name},
            {QStringLiteral("author"), project.author},
            {QStringLiteral("version"), project.version},
            {QStringLiteral("fileTypes"), types},
            {QStringLiteral("totals"), totalsJson(project.totals())},
            {QStringLiteral("files"), files},
            {QStringLiteral("errors"), project.count(Message::Error)},
            {QStringLiteral("warnings"), project.count(Message::Warning)},
            {QStringLiteral("notes"), project.count(Message::Information)},
            {QStringLiteral("diagnostics"), ReportWriter::toJson(project.diagnostics)}};
}

} // namespace

QString text(ProjectsReport const &report, bool all)
{
    QString const base = report.base;
    QString const what = report.game ? QStringLiteral("%1 game, ").arg(report.engine) : QString();
    QString text =
        QStringLiteral("%1: %2%3\n").arg(report.path, what, projectCounts(report.projects));
    bool const detail = all || !report.game;
    for (ProjectReport const &project : report.projects) {
        text += projectLine(project, base);
        if (detail)
            text += projectFiles(project, base);
    }
    text += otherFiles(report.others, base, detail);
    if (report.projects.size() > 1)
        text += QStringLiteral("  totals: %1\n").arg(totalsText(report.totals()));
    text += QStringLiteral("  diagnostics: %1\n").arg(tallyOf(report));
    return text;
}

QJsonObject toJson(ProjectsReport const &report)
{
    QJsonArray projects;
    for (ProjectReport const &project : report.projects)
        projects.append(projectJson(project));
    QJsonObject others = ReportWriter::toJson(report.others);
    return {
        {QStringLiteral("path"), report.path},
        {QStringLiteral("kind"), report.game ? QStringLiteral("game") : QStringLiteral("projects")},
        {QStringLiteral("engine"), report.engine},
        {QStringLiteral("projects"), projects},
        {QStringLiteral("totals"), totalsJson(report.totals())},
        {QStringLiteral("files"), others.value(QStringLiteral("files"))},
        {QStringLiteral("skipped"), others.value(QStringLiteral("skipped"))},
        {QStringLiteral("otherFiles"), report.others.otherFiles},
        {QStringLiteral("errors"), report.count(Message::Error)},
        {QStringLiteral("warnings"), report.count(Message::Warning)},
        {QStringLiteral("notes"), report.count(Message::Information)}};
}

} // namespace Kenro::Cli::ProjectWriter
