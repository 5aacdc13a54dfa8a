#include "characterproject.h"

#include <kenro/project/parentproject.h>

namespace Kenro::Ikemen {

CharacterProject *CharacterProject::open(ParentProject *parent, QString const &definition,
                                         QString const &gameDirectory)
{
    ProjectFile *main = readDefinition(parent, definition);
    if (!main)
        return nullptr;
    auto *project = new CharacterProject(parent, main, gameDirectory);
    project->load();
    return project;
}

CharacterProject::CharacterProject(ParentProject *parent, ProjectFile *mainFile,
                                   QString const &gameDirectory)
    : DefinitionProject(parent, Character, mainFile, gameDirectory)
{}

} // namespace Kenro::Ikemen
