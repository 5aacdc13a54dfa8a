#include "projectreport.h"

#include <QSet>

#include <algorithm>

namespace Kenro::Cli {

namespace {

int countOf(QList<Diagnostic> const &diagnostics, Message::Type type)
{
    return int(std::count_if(diagnostics.cbegin(), diagnostics.cend(),
                             [type](Diagnostic const &d) { return d.type == type; }));
}

} // namespace

ContentTotals &ContentTotals::operator+=(ContentTotals const &other)
{
    actions += other.actions;
    sprites += other.sprites;
    palettes += other.palettes;
    sounds += other.sounds;
    return *this;
}

int ProjectFileReport::count(Message::Type type) const
{
    return countOf(diagnostics, type);
}

QMap<QString, int> ProjectReport::fileTypes() const
{
    QMap<QString, int> types;
    for (ProjectFileReport const &file : files)
        ++types[file.type];
    return types;
}

ContentTotals ProjectReport::totals() const
{
    ContentTotals sum;
    for (ProjectFileReport const &file : files)
        sum += file.totals;
    return sum;
}

int ProjectReport::count(Message::Type type) const
{
    int total = countOf(diagnostics, type);
    for (ProjectFileReport const &file : files)
        total += file.count(type);
    return total;
}

ContentTotals ProjectsReport::totals() const
{
    ContentTotals sum;
    for (ProjectReport const &project : projects)
        sum += project.totals();
    return sum;
}

QList<Diagnostic> ProjectsReport::diagnostics() const
{
    QList<Diagnostic> all;
    QSet<QString> seen;
    for (ProjectReport const &project : projects) {
        all += project.diagnostics;
        for (ProjectFileReport const &file : project.files) {
            if (seen.contains(file.path))
                continue;
            seen.insert(file.path);
            all += file.diagnostics;
        }
    }
    for (FileReport const &file : others.files)
        all += file.diagnostics;
    return all;
}

int ProjectsReport::count(Message::Type type) const
{
    return countOf(diagnostics(), type);
}

} // namespace Kenro::Cli
