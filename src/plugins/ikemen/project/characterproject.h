#pragma once

#include "definitionproject.h"

namespace Kenro::Ikemen {

/**
 * A character: its definition's [Files] (sprites, animations, sounds,
 * commands, constants, states, palettes and any other named file) and the
 * storyboards of [Arcade] with the sprites, sounds and music they name.
 */
class CharacterProject : public DefinitionProject
{
    Q_OBJECT

public:
    /**
     * Opens the character defined by \a definition in \a parent, looking for
     * shared files in \a gameDirectory too. Null when the definition cannot
     * be read; missing files named by it are messages of the project.
     */
    static CharacterProject *open(ParentProject *parent, QString const &definition,
                                  QString const &gameDirectory);

private:
    friend class DefinitionProject;
    CharacterProject(ParentProject *parent, ProjectFile *mainFile, QString const &gameDirectory);
};

} // namespace Kenro::Ikemen
