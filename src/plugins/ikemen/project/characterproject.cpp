#include "characterproject.h"

#include <kenro/project/parentproject.h>

namespace Kenro::Ikemen {

CharacterProject *CharacterProject::open(ParentProject *parent, QString const &definition,
                                         QString const &gameDirectory)
{
    return openAs<CharacterProject>(parent, definition, gameDirectory);
}

CharacterProject::CharacterProject(ParentProject *parent, ProjectFile *mainFile,
                                   QString const &gameDirectory)
    : DefinitionProject(parent, Character, mainFile, gameDirectory)
{}

} // namespace Kenro::Ikemen
