#pragma once

#include <kenro/project/object.h>
#include <kenro/project/projectfile.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QVariant>

namespace Kenro {

class Archive;
class ParentProject;
class ProjectFile;

/**
 * One unit of content inside a ParentProject: one game object defined by a
 * main file. Keeps its files by file type and holds options between the
 * files' own and the host's.
 */
class KENRO_EXPORT Project : public QObject, public Object
{
    Q_OBJECT

public:
    /// File types; engines may use values above Scripts for their own.
    enum FileType { Main = 0, Sprites = 1, Sounds = 2, Animations = 3, Scripts = 4 };
    /// Bit 1 << type for each type in which a file takes part.
    typedef quint32 FileTypes;

    /**
     * A project of \a type around \a mainFile. The main file's "parseCode",
     * "highlightCode" and "modelCode" move into the project's options; with
     * \a addMainFile the main file is added under type Main.
     */
    Project(ParentProject *parent, int type, ProjectFile *mainFile, bool addMainFile);
    ~Project() override;

    void release() override;

    /// option(key), or \a defaultValue where that is invalid.
    virtual QVariant option(QString const &key, QVariant defaultValue) const;

    ParentProject *parent() const;
    /// The archive of the project, taken from the parent.
    Archive &archive() const;
    int type() const;
    ProjectFile *mainFile() const;

    /// The project's own value of \a key, else the host's, else invalid.
    QVariant option(QString const &key) const;
    /**
     * Stores \a value in the project's map (a null value removes the key)
     * and, with \a global, passes it to the host as well.
     */
    void setOption(QString const &key, QVariant const &value, bool global);

    /**
     * Adds \a file under \a type; it becomes the selected file of that type.
     * Returns false when the file already serves under that type.
     */
    bool addFile(ProjectFile *file, int type);
    /// The selected file of \a type, or null when the type has none.
    ProjectFile *file(int type) const;
    QList<ProjectFile *> filesByType(int type) const;

Q_SIGNALS:
    void fileAdded(Kenro::ProjectFile const *file, int type);
    void fileRemoved(Kenro::ProjectFile const *file, int type);

private:
    int m_type;
    ParentProject *m_parent;
    Archive *m_archive;
    ProjectFile *m_mainFile;
    QMap<QString, QVariant> m_options;
    QMap<ProjectFile *, FileTypes> m_filesWithIDs;
    QMap<int, unsigned int> m_selected;
    QMap<int, QList<ProjectFile *>> m_filesByType;
};

} // namespace Kenro
