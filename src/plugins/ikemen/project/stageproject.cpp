#include "stageproject.h"

#include <kenro/project/parentproject.h>

namespace Kenro::Ikemen {

StageProject *StageProject::open(ParentProject *parent, QString const &definition,
                                 QString const &gameDirectory)
{
    ProjectFile *main = readDefinition(parent, definition);
    if (!main)
        return nullptr;
    auto *project = new StageProject(parent, main, gameDirectory);
    project->load();
    return project;
}

StageProject::StageProject(ParentProject *parent, ProjectFile *mainFile,
                           QString const &gameDirectory)
    : DefinitionProject(parent, Stage, mainFile, gameDirectory)
{}

} // namespace Kenro::Ikemen
