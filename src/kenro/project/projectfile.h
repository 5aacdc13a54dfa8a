#pragma once

#include <kenro/project/object.h>
#include <kenro/project/regexp.h>

#include <QFlags>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

class QAbstractItemModel;

namespace Kenro {

class Archive;
class JobStats;
class Messages;
class Project;
class ProjectFilePrivate;

/**
 * The abstract unit of editable content: a document that an editor can
 * open, kept in an Archive, owned by a Project, with options that fall back
 * to the project and then to the host. Starts with a count of 1 and ends
 * through release().
 */
class KENRO_EXPORT ProjectFile : public Object
{
public:
    enum Capability {
        /// More than one child is worth showing (a shared document).
        HasChildren = 1,
        /// Saving may finish in the background.
        AsyncSave = 4,
        /// Text with an undo history of its own.
        TextUndo = 8
    };
    Q_DECLARE_FLAGS(Capabilities, Capability)

    /// Bits of the flags of toFile() and fromFile().
    enum FileFlag {
        /// A copy: the file keeps its present archive and name.
        Copy = 1,
        /// The write may finish on a worker thread, which then owns the job.
        Background = 2
    };

    /// Bits of the flags of search().
    enum SearchFlag { SearchBackward = 1, SearchWrap = 2, SearchFromEnd = 4, SearchAll = 8 };

    /// One match of a search.
    struct SearchResult
    {
        int line = 0; ///< left at 0 by files made of items
        int item = 0;
        int position = 0;
        int length = 0;
        QString text; ///< the searched text
        QStringList captures; ///< without the whole match
    };

    ProjectFile();
    ProjectFile(ProjectFile const &) = delete;
    ProjectFile &operator=(ProjectFile const &) = delete;

    /// Gives up one reference; at zero the concrete class disposes of the file.
    void release() override;

    /// The current archive, or the file system when there is none.
    virtual Archive &archive() const;
    /// The owning project, or null.
    virtual Project *project() const;
    /// The item model that a list view shows, or null.
    virtual QAbstractItemModel *model();
    virtual Capabilities capabilities() const;
    virtual bool canSave() const;
    virtual bool isModified() const;
    virtual bool isEmpty() const = 0;
    /// Clears the content.
    virtual void reset();
    /**
     * Writes the file. Concrete classes write the content and then call this
     * base form, which takes over \a archive unless \a flags holds Copy and
     * tells the parent project. The base form returns false.
     */
    virtual bool toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats);
    /// Reads the file; the same contract as toFile().
    virtual bool fromFile(Archive &archive, QString const &name, unsigned int flags,
                          JobStats *stats);
    virtual QString fileName() const;
    /// The last '/'-separated component of fileName().
    virtual QString displayName() const;
    /// Opens one undo step.
    virtual void beginChange();
    /// Closes the undo step opened by beginChange().
    virtual void endChange();
    virtual void undo();
    virtual void redo();
    virtual QList<SearchResult> search(RegExp const &regExp, unsigned int flags) const = 0;
    virtual void replace(QList<SearchResult> const &results, QString const &replacement) = 0;
    /// option(key), or \a defaultValue where that is invalid.
    virtual QVariant option(QString const &key, QVariant defaultValue) const;
    /// The own value of \a key, else the project's, else the host's, else invalid.
    virtual QVariant option(QString const &key) const;
    /**
     * Stores an option. With \a inProject and a project it goes to the
     * project (and to the host with \a global); otherwise into the file's own
     * map, where a null \a value removes the key.
     */
    virtual void setOption(QString const &key, QVariant const &value, bool inProject, bool global);

    void addRef();
    unsigned int refCount() const;
    /// True when the archive holds fileName().
    bool fileExists() const;
    /// True when the file has a name that its archive would not let be written.
    bool isReadOnly() const;
    /// The diagnostics of this file, or null.
    Messages *messages() const;

protected:
    ~ProjectFile() override;

    /// An upper-case format hint for the file, or null.
    virtual char const *fileExtension() const;
    virtual Messages *fileMessages() const = 0;

private:
    /// Disposes of the object, in the module that made it.
    virtual void free() = 0;

    friend class Project;
    ProjectFilePrivate *d;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ProjectFile::Capabilities)

} // namespace Kenro
