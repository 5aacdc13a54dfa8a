#pragma once

#include "definitionproject.h"

namespace Kenro::Ikemen {

/**
 * A stage: its definition with the sprites of [BGdef] "spr" and the music of
 * [Music] "bgmusic".
 */
class StageProject : public DefinitionProject
{
    Q_OBJECT

public:
    /**
     * Opens the stage defined by \a definition in \a parent, looking for
     * shared files in \a gameDirectory too. Null when the definition cannot
     * be read; missing files named by it are messages of the project.
     */
    static StageProject *open(ParentProject *parent, QString const &definition,
                              QString const &gameDirectory);

private:
    friend class DefinitionProject;
    StageProject(ParentProject *parent, ProjectFile *mainFile, QString const &gameDirectory);
};

} // namespace Kenro::Ikemen
