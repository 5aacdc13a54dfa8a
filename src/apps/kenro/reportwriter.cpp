#include "reportwriter.h"

#include <QJsonArray>

namespace Kenro::Cli::ReportWriter {

namespace {

constexpr int shownParts = 12;

QString factText(QVariant const &value)
{
    if (value.typeId() == QMetaType::QStringList)
        return value.toStringList().join(QStringLiteral(", "));
    if (value.typeId() == QMetaType::Double)
        return QString::number(value.toDouble(), 'f', 3);
    return value.toString();
}

} // namespace

QString plural(int count, QString const &word)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(word,
                                                    count == 1 ? QString() : QStringLiteral("s"));
}

QJsonArray toJson(QList<Diagnostic> const &diagnostics)
{
    QJsonArray array;
    for (Diagnostic const &diagnostic : diagnostics)
        array.append(toJson(diagnostic));
    return array;
}

QString factsText(FileReport const &report)
{
    QStringList facts;
    for (auto const &fact : report.facts) {
        if (fact.second.typeId() != QMetaType::QStringList)
            facts.append(QStringLiteral("%1 %2").arg(fact.first, factText(fact.second)));
    }
    return facts.join(QStringLiteral(", "));
}

QString severity(Message::Type type)
{
    switch (type) {
    case Message::Warning:
        return QStringLiteral("warning");
    case Message::Information:
        return QStringLiteral("note");
    default:
        return QStringLiteral("error");
    }
}

QString diagnosticLine(Diagnostic const &diagnostic)
{
    return QStringLiteral("%1:%2:%3: %4: %5")
        .arg(diagnostic.file)
        .arg(diagnostic.line)
        .arg(diagnostic.column)
        .arg(severity(diagnostic.type), diagnostic.text);
}

QString tally(int errors, int warnings, int notes)
{
    QString text = plural(errors, QStringLiteral("error")) + QStringLiteral(", ") +
        plural(warnings, QStringLiteral("warning"));
    if (notes > 0)
        text += QStringLiteral(", ") + plural(notes, QStringLiteral("note"));
    return text;
}

QString fileText(FileReport const &report, bool allParts)
{
    QString text = QStringLiteral("%1: %2\n").arg(report.path, report.kind);
    for (auto const &fact : report.facts)
        text += QStringLiteral("  %1: %2\n").arg(fact.first, factText(fact.second));
    if (!report.parts.isEmpty()) {
        text += QStringLiteral("  parts:\n");
        qsizetype const shown =
            allParts ? report.parts.size() : qMin<qsizetype>(shownParts, report.parts.size());
        for (qsizetype i = 0; i < shown; ++i) {
            Part const &part = report.parts.at(i);
            QString const where =
                part.line ? QStringLiteral(" line %1,").arg(part.line) : QString();
            text += QStringLiteral("    [%1]%2 %3\n")
                        .arg(part.name, where, plural(part.entries, part.unit));
        }
        if (shown < report.parts.size())
            text += QStringLiteral("    ... and %1 more (--all shows them)\n")
                        .arg(report.parts.size() - shown);
    }
    text += QStringLiteral("  diagnostics: %1\n")
                .arg(tally(report.count(Message::Error), report.count(Message::Warning)));
    return text;
}

QString folderText(FolderReport const &report)
{
    QString text = QStringLiteral("%1: folder, %2 examined\n")
                       .arg(report.path, plural(int(report.files.size()), QStringLiteral("file")));
    for (FileReport const &file : report.files) {
        QString const facts = factsText(file);
        text += QStringLiteral("  %1: %2%3; %4\n")
                    .arg(file.path, file.kind,
                         facts.isEmpty() ? QString() : QStringLiteral(", ") + facts,
                         tally(file.count(Message::Error), file.count(Message::Warning)));
    }
    for (SkippedFile const &skipped : report.skipped)
        text += QStringLiteral("  %1: %2\n").arg(skipped.path, skipped.reason);
    if (report.otherFiles)
        text += QStringLiteral("  %1 of no content kind\n")
                    .arg(plural(report.otherFiles, QStringLiteral("other file")));
    text += QStringLiteral("  diagnostics: %1\n")
                .arg(tally(report.count(Message::Error), report.count(Message::Warning)));
    return text;
}

QJsonObject toJson(Diagnostic const &diagnostic)
{
    return {{QStringLiteral("file"), diagnostic.file},
            {QStringLiteral("line"), int(diagnostic.line)},
            {QStringLiteral("column"), int(diagnostic.column)},
            {QStringLiteral("severity"), severity(diagnostic.type)},
            {QStringLiteral("message"), diagnostic.text}};
}

QJsonObject toJson(FileReport const &report)
{
    QJsonObject facts;
    for (auto const &fact : report.facts)
        facts.insert(fact.first, QJsonValue::fromVariant(fact.second));
    QJsonArray parts;
    for (Part const &part : report.parts) {
        QJsonObject object{{QStringLiteral("name"), part.name},
                           {part.unit + QLatin1Char('s'), part.entries}};
        if (part.line)
            object.insert(QStringLiteral("line"), int(part.line));
        parts.append(object);
    }
    return {{QStringLiteral("path"), report.path},
            {QStringLiteral("kind"), report.kind},
            {QStringLiteral("facts"), facts},
            {QStringLiteral("parts"), parts},
            {QStringLiteral("errors"), report.count(Message::Error)},
            {QStringLiteral("warnings"), report.count(Message::Warning)},
            {QStringLiteral("diagnostics"), toJson(report.diagnostics)}};
}

QJsonObject toJson(FolderReport const &report)
{
    QJsonArray files;
    for (FileReport const &file : report.files)
        files.append(toJson(file));
    QJsonArray skipped;
    for (SkippedFile const &file : report.skipped)
        skipped.append(QJsonObject{{QStringLiteral("path"), file.path},
                                   {QStringLiteral("reason"), file.reason}});
    return {{QStringLiteral("path"), report.path},
            {QStringLiteral("kind"), QStringLiteral("folder")},
            {QStringLiteral("files"), files},
            {QStringLiteral("skipped"), skipped},
            {QStringLiteral("otherFiles"), report.otherFiles},
            {QStringLiteral("errors"), report.count(Message::Error)},
            {QStringLiteral("warnings"), report.count(Message::Warning)}};
}

} // namespace Kenro::Cli::ReportWriter
