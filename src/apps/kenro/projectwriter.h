#pragma once

#include "projectreport.h"

#include <QJsonObject>
#include <QString>

namespace Kenro::Cli {

/// How reports of projects are shown: as text for people and as JSON for programs.
namespace ProjectWriter {

/**
 * The summary of projects. A game gives a line per project with its totals
 * and sums up the files outside them, unless \a all asks for every file;
 * the projects of a folder or definition always list their files.
 */
QString text(ProjectsReport const &report, bool all);
QJsonObject toJson(ProjectsReport const &report);

} // namespace ProjectWriter

} // namespace Kenro::Cli
