#pragma once

#include "definitionproject.h"

namespace Kenro::Ikemen {

/**
 * A character: its definition's [Files] (sprites, animations, sounds,
 * commands, constants, states, palettes and any other named file) and the
 * storyboards of [Arcade] with the sprites, sounds and music they name.
 * The palette files of "pal1" to "pal12" are shown in the character's
 * sprite archive as the palettes of group 1, numbered by slot.
 */
class CharacterProject : public DefinitionProject
{
    Q_OBJECT

public:
    /// The palette slots of a character: "pal1" to "pal12".
    static constexpr int PaletteSlots = 12;

    /**
     * Opens the character defined by \a definition in \a parent, looking for
     * shared files in \a gameDirectory too. Null when the definition cannot
     * be read; missing files named by it are messages of the project.
     */
    static CharacterProject *open(ParentProject *parent, QString const &definition,
                                  QString const &gameDirectory);

    /// The slot that the [Files] key \a key names, 1 to PaletteSlots; 0 for other keys.
    static int paletteSlot(QString const &key);

private:
    friend class DefinitionProject;
    CharacterProject(ParentProject *parent, ProjectFile *mainFile, QString const &gameDirectory);
    // Shows the open palette files in the character's own sprite archive.
    void showPalettes();
};

} // namespace Kenro::Ikemen
