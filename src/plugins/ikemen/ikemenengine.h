#pragma once

#include <kenro/engine/engine.h>

namespace Kenro::Ikemen {

/**
 * The IKEMEN GO runtime: the open-source engine of 2D fighting games in the
 * MUGEN tradition. Its roots are game folders and lone characters or
 * stages; its projects are characters and stages read from their
 * definitions, each file made by the class of its format.
 */
class IkemenEngine final : public Kenro::Engine
{
    Q_OBJECT

public:
    /// Plugs the format classes into the projects' file factories.
    IkemenEngine();

    /// "ikemen": what engine-bound extensions name.
    static char const *identifier();

    bool run(unsigned int index, Kenro::Project *project, QString const &arguments) override;
    QString displayName() const override;
    /// A game root for a folder; for a definition, the lone root of its project.
    Kenro::ParentProject *openRoot(QString const &path, Kenro::Archive &archive) override;
    /// The character or stage of the definition \a path, an absolute name, in \a parent.
    Kenro::Project *openProject(Kenro::ParentProject *parent, QString const &path) override;
    /**
     * A new character or stage, by \a type, at \a path of \a parent: its
     * definition, or the folder that gets one named after it. Null when
     * \a parent is no root of this engine, the definition exists already or
     * it cannot be written.
     */
    Kenro::Project *newProject(Kenro::ParentProject *parent, int type,
                               QString const &path) override;
    /// Two: characters and stages.
    unsigned int projectTypeCount() const override;
    QString projectFilter() const override;
    QStringList singleFileFilters() const override;
    /// The type of a file of the content by its suffix, any case; -1 for other files.
    int fileTypeOf(QString const &path) const override;
    QString fileTypeName(int type) const override;
    /// Reads \a path from the file system as a file of \a type; null when it cannot be read.
    Kenro::ProjectFile *openFile(QString const &path, int type) override;
    QIcon icon() const override;
    /**
     * ";" for comments, "ikemen", "data/system.def" for a whole game and
     * "Character" and "Stage" for the project types.
     */
    QString queryString(StringType type, unsigned int index) const override;
    QMap<int, QString> fileFilters() const override;
    /// A new empty file of \a type, added to \a project where one is given.
    Kenro::ProjectFile *createFile(int type, Kenro::Project *project) override;
};

} // namespace Kenro::Ikemen
