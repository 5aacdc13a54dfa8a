#pragma once

#include <kenro/project/object.h>
#include <kenro/project/projectfile.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QSize>
#include <QSizeF>
#include <QStringList>
#include <QVariant>

namespace Kenro {

class Archive;
class MessageList;
class ParentProject;
class ProjectPrivate;

/**
 * One unit of content inside a ParentProject: one game object defined by a
 * main file that names its other files. Keeps the open files by file type,
 * remembers the selected file of each type, holds options between the
 * files' own and the host's, and merges the diagnostics of its files.
 * Engines derive the concrete projects.
 */
class KENRO_EXPORT Project : public QObject, public Object
{
    Q_OBJECT

public:
    /// File types; engines may use values above Scripts for their own.
    enum FileType { Main = 0, Sprites = 1, Sounds = 2, Animations = 3, Scripts = 4 };
    /// Bit 1 << type for each type in which a file takes part.
    typedef quint32 FileTypes;
    /// A file of the project as (file type, name relative to the project's directory).
    typedef QPair<int, QString> FileEntry;

    /**
     * A project of \a type around \a mainFile in the archive of \a parent.
     * The main file's "parseCode", "highlightCode" and "modelCode" move into
     * the project's options and on to the host; with \a addMainFile the main
     * file is added under Main, and the project holds its reference.
     */
    Project(ParentProject *parent, int type, ProjectFile *mainFile, bool addMainFile);
    ~Project() override;

    /**
     * Flushes and gives back the archive, leaves the parent, and releases
     * every file. The engine's subclass deletes the object.
     */
    void release() override;

    /// option(key), or \a defaultValue where that is invalid.
    virtual QVariant option(QString const &key, QVariant defaultValue) const;
    /// True when every file is empty, and for a project without files.
    virtual bool isEmpty() const;
    /// True when any file is modified.
    virtual bool isModified() const;
    /// The name of the object, as scripts see it.
    virtual QString name() const = 0;
    /// The version of the object, as scripts see it.
    virtual QString version() const = 0;
    /// Who made the object.
    virtual QString author() const = 0;
    /// A free description of the object.
    virtual QString comment() const = 0;
    /**
     * Appends the project's files to \a list as (file type, name relative to
     * the project's directory, with a leading '/').
     */
    virtual void fileList(QList<FileEntry> &list) const = 0;
    /**
     * Saves every file into \a directory of \a target, each at its place
     * relative to the parent; files that are not open, or unmodified in a
     * copy, are copied byte for byte. Without \a copy the files and the
     * project move to \a target; the main file is left to the caller. The
     * names written are appended to \a files. Returns false only for a
     * read-only target.
     */
    virtual bool saveAll(Archive &target, QString const &directory, bool copy, QStringList *files);
    /**
     * The screen that the content is made for, in the content's own units:
     * 320 x 240 unless the engine reads another from the project.
     */
    virtual QSize size() const;
    /// How much the content is scaled on that screen per axis; 1 x 1 unless the engine says.
    virtual QSizeF scale() const;

    ParentProject *parent() const;
    /// The archive of the project, taken from the parent.
    Archive &archive() const;
    int type() const;
    /// The engine's name of the project's type; empty without an engine.
    QString typeName() const;
    ProjectFile *mainFile() const;
    /// The merged diagnostics of the files.
    MessageList *messages() const;
    /// The main file's name.
    QString fileName() const;
    /// The directory of the main file.
    QString absolutePath() const;
    /// The directory relative to the parent's base path.
    QString basePath() const;

    /// The project's own value of \a key, else the host's, else invalid.
    QVariant option(QString const &key) const;
    /**
     * Stores \a value in the project's map (a null value removes the key)
     * and, with \a global, passes it to the host as well.
     */
    void setOption(QString const &key, QVariant const &value, bool global);

    /// The index of the selected file of \a type.
    unsigned int selectedFile(int type) const;
    void setSelectedFile(int type, unsigned int index);
    /// Every file with the mask of the types it serves under.
    QMap<ProjectFile *, FileTypes> const &filesWithIDs() const;
    /// The files of \a type, in order; the list is made when missing.
    QList<ProjectFile *> const &filesByType(int type);
    /// Every file once.
    QList<ProjectFile *> files() const;
    /**
     * The selected file of \a type: null when the type has none, the first
     * when the selection is out of range.
     */
    ProjectFile *file(int type) const;
    unsigned int fileCount() const;
    /// The mask of types of \a file; 0 for a file that is not here.
    FileTypes fileID(ProjectFile *file) const;

    /**
     * Adds \a file under \a type, taking over the caller's reference; it
     * becomes the selected file of that type. Returns false when the file
     * already serves under that type.
     */
    bool addFile(ProjectFile *file, int type);
    /// Takes \a file out of every type and releases it.
    void removeFile(ProjectFile *file);
    /**
     * Takes the \a index-th file out of \a type. A file that serves under
     * other types too stays; otherwise it is released.
     */
    void removeFile(int type, unsigned int index);
    /// Moves a file inside the list of \a type.
    void moveFile(int type, unsigned int from, unsigned int to);

Q_SIGNALS:
    void fileAdded(Kenro::ProjectFile const *file, int type);
    /// Also sent once with type -1 when a file is taken out of all types.
    void fileRemoved(Kenro::ProjectFile const *file, int type);

protected:
    /// Reads every file that still exists from its archive again.
    virtual void reload();
    /// Places the project in its parent.
    void addToParent();
    /// Tells the parent that the file list changed, so that its tree follows.
    void fileHierarchyChanged();
    /**
     * Takes \a file out of every type without releasing it, and sends
     * fileRemoved for each of its types and then with -1.
     */
    ProjectFile *takeFile(ProjectFile *file);

private:
    friend class ParentProject;
    int m_type;
    ProjectPrivate *d;
    Archive *m_archive;
};

} // namespace Kenro
