#pragma once

#include <kenro/editors/editor.h>

namespace Kenro {

class Project;
class ProjectFile;

/**
 * An editor of documents of one file type: it shows one file of the current
 * project at a time and carries the operations that all document editors
 * share, create, open, save and save as, with their questions and messages.
 * The editor never owns the file that it shows.
 */
class KENRO_EXPORT FileEditor : public Editor
{
    Q_OBJECT

public:
    explicit FileEditor(QObject *parent = nullptr);
    ~FileEditor() override;

    /// The file type that this editor edits (see Project::FileType).
    virtual int fileType() const = 0;
    /// Whether the current file is modified; false without one.
    virtual bool isModified() const;
    /**
     * True when the changes to \a file may be thrown away: for a null file,
     * a file with children, an unmodified file, or when the user agrees.
     */
    virtual bool canDiscard(ProjectFile const *file) const;
    /// True when \a file may be closed; always by default.
    virtual bool canClose(ProjectFile const *file) const;
    /// Shows line \a line, column \a column of the current file; nothing by default.
    virtual void navigateTo(unsigned int line, unsigned int column);
    /// Shows \a file, which may be null; the editor does not take a reference.
    virtual void setCurrentFile(ProjectFile *file);

    /**
     * Asks canDiscard() for every file of this editor's type in \a project
     * (null for the host's current project); every file is asked, even after
     * a no. True when all agree, and when there is no project. A subclass
     * that overrides the other form brings this one back with `using`.
     */
    bool canDiscard(Project *project) const;
    /// The file shown, or null.
    ProjectFile *currentFile() const;

    /**
     * Asks for a new name for \a file with the filter of \a editor's file
     * type and writes the file there. A path outside the project's directory
     * is written as a copy when the user agrees. The directory chosen is
     * remembered either way and \a editor sends modified(). True when the file
     * was written; a failed write is reported to the user and leaves the file
     * as it was.
     */
    static bool saveFileAs(ProjectFile *file, FileEditor *editor, Interface *interface);

public Q_SLOTS:
    /// Makes a new file of this editor's type in the current project and shows the editor.
    virtual void create();
    /// Asks for a file of this editor's type and opens it in the current project.
    virtual void open();
    /// Writes the current file where it lies; asks for another place when that fails.
    virtual void save();
    /// Writes the current file under a name that the user chooses.
    virtual void saveAs();
    virtual void cut() = 0;
    virtual void copy() = 0;
    virtual void paste() = 0;
    /// Undoes the last change of the current file.
    virtual void undo();
    /// Redoes the change that undo() took back.
    virtual void redo();
    /// Sends modified().
    virtual void contentsChanged();

Q_SIGNALS:
    void modified();

private:
    ProjectFile *m_currentFile = nullptr;
};

} // namespace Kenro
