#include "stageproject.h"

#include <kenro/project/parentproject.h>

namespace Kenro::Ikemen {

StageProject *StageProject::open(ParentProject *parent, QString const &definition,
                                 QString const &gameDirectory)
{
    return openAs<StageProject>(parent, definition, gameDirectory);
}

StageProject::StageProject(ParentProject *parent, ProjectFile *mainFile,
                           QString const &gameDirectory)
    : DefinitionProject(parent, Stage, mainFile, gameDirectory)
{}

} // namespace Kenro::Ikemen
