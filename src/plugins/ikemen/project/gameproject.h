#pragma once

#include <kenro/project/parentproject.h>

namespace Kenro::Ikemen {

class DefinitionProject;

/**
 * The root of the content: a game folder, whose "chars/" holds a character
 * in each folder and whose "stages/" holds a stage in each definition, or
 * the folder of a character or stage opened alone. Shared files are looked
 * for in the folder of the whole game, found above a lone object.
 *
 * A game root belongs to whoever made it. A lone root, made by
 * openDefinition(), ends itself when its project is released.
 */
class GameProject : public ParentProject
{
    Q_OBJECT

public:
    /// A root over the folder \a basePath of \a archive for \a engine.
    GameProject(QString const &basePath, Archive &archive, Engine *engine);
    ~GameProject() override;

    /**
     * Opens the character or stage \a definition alone, in a root at its
     * folder. Null when the definition cannot be read.
     */
    static DefinitionProject *openDefinition(QString const &definition, Archive &archive,
                                             Engine *engine);

    /**
     * What an engine opens for \a path: a game root for a folder, and for a
     * definition file the lone root of its opened project. Null when the
     * path is neither, or the definition cannot be read.
     */
    static ParentProject *openRoot(QString const &path, Archive &archive, Engine *engine);

    Engine *engine() const override;
    /// Opens the character folder or stage definition at \a path; null for any other node.
    Project *openProject(Path const *path) override;
    /**
     * Opens \a definition, an absolute name, as a stage when it has a
     * [BGdef] section and as a character otherwise; an open project of the
     * same definition is given again. Null when it cannot be read.
     */
    DefinitionProject *open(QString const &definition);
    /**
     * Makes a new character or stage, \a type a DefinitionProject::ProjectType,
     * and opens it. \a path, absolute or relative to the root, is its
     * definition when it ends in ".def", and otherwise its folder, in which
     * the definition takes the folder's name. The definition is written anew
     * with the sections that the runtime reads and no files yet. Null for
     * another type, a path outside the root, a definition that exists
     * already (it is never overwritten), or one that cannot be written.
     */
    DefinitionProject *create(int type, QString const &path);
    /// The folder of the whole game with a trailing "/", or empty when there is none.
    QString gameDirectory() const;
    /**
     * The definition of the character in \a folder: the one named like the
     * folder, else the first that has a [Files] section; empty for none.
     */
    QString characterDefinition(QString const &folder) const;

protected:
    void projectFiles(QString const &relativePath, QStringList &files) override;
    /// A lone root ends itself; a game root stays with whoever made it.
    void dispose() override;

private:
    GameProject(QString const &basePath, Archive &archive, Engine *engine, bool lone);
    // The real spelling of the folder \a name in \a parent, or empty.
    QString subfolder(QString const &parent, QString const &name) const;
    // Projects of \a definition: Character or Stage, by its sections.
    int projectTypeOf(QString const &definition) const;

    Engine *m_engine;
    QString m_gameDirectory;
    bool m_lone = false;
};

} // namespace Kenro::Ikemen
