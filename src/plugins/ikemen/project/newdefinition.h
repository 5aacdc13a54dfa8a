#pragma once

#include <QByteArray>
#include <QString>

namespace Kenro::Ikemen {

/**
 * The text of a new definition of a character or a stage called \a name,
 * with \a projectType a DefinitionProject::ProjectType: the sections that the
 * runtime reads, each key at its usual value, and no file named yet. UTF-8,
 * with CRLF line ends as the content's own files have them; empty for
 * another type.
 */
QByteArray newDefinition(int projectType, QString const &name);

} // namespace Kenro::Ikemen
