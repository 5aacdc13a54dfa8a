#pragma once

#include <kenro/engine/engine.h>

namespace Kenro::Ikemen {

/**
 * The IKEMEN GO runtime: the open-source engine of 2D fighting games in the
 * MUGEN tradition. For now it knows one file type: animations in AIR.
 */
class IkemenEngine final : public Kenro::Engine
{
    Q_OBJECT

public:
    IkemenEngine();

    /// "ikemen": what engine-bound extensions name.
    static char const *identifier();

    bool run(unsigned int index, Kenro::Project *project, QString const &arguments) override;
    QString displayName() const override;
    Kenro::ParentProject *openRoot(QString const &path, Kenro::Archive &archive) override;
    Kenro::Project *openProject(Kenro::ParentProject *parent, QString const &path) override;
    Kenro::Project *newProject(Kenro::ParentProject *parent, int type,
                               QString const &path) override;
    unsigned int projectTypeCount() const override;
    QString projectFilter() const override;
    QStringList singleFileFilters() const override;
    /// Animations for ".air", any case; -1 for everything else.
    int fileTypeOf(QString const &path) const override;
    QString fileTypeName(int type) const override;
    /// Reads \a path from the file system as a file of \a type; null when it cannot be read.
    Kenro::ProjectFile *openFile(QString const &path, int type) override;
    QIcon icon() const override;
    /// ";" for comments, "ikemen", "data/system.def" for a whole game.
    QString queryString(StringType type, unsigned int index) const override;
    QMap<int, QString> fileFilters() const override;
    /// A new empty AIR file, added to \a project where one is given.
    Kenro::ProjectFile *createFile(int type, Kenro::Project *project) override;
};

} // namespace Kenro::Ikemen
