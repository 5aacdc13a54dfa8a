#pragma once

#include "definition.h"

#include <kenro/project/messages.h>
#include <kenro/project/project.h>

#include <QList>
#include <QMap>
#include <QString>

#include <functional>

namespace Kenro {
class Archive;
}

namespace Kenro::Ikemen {

/**
 * A character or a stage: a project around one definition file that names
 * the other files. The names are found case-blind, first beside the
 * definition and then where the runtime also looks: the game folder and
 * its "data/" folder. Each file is made by the factory of its type and read;
 * one that does not exist or cannot be read leaves a message on the line
 * that names it, and the project opens without it: an error, but a warning
 * for music and a note for the common states of a character that no game
 * folder lies around. The messages of every open file are the project's,
 * also those that a view of a document's nodes leaves with the document.
 */
class DefinitionProject : public Project
{
    Q_OBJECT

public:
    /// File types of the content beyond the library's own.
    enum ContentFileType {
        Palettes = 5, ///< "pal1" to "pal12" of a character
        Storyboards = 6, ///< the intro and ending of a character
        Music = 7, ///< a stage's or a storyboard's music
        Other = 8 ///< any other file of a character's [Files]
    };
    /// Project types, as the engine names them.
    enum ProjectType { Character = 0, Stage = 1 };

    /// A file that a definition names.
    struct Reference
    {
        int fileType = Other;
        QString key; ///< the key as written
        QString written; ///< the value as written
        QString path; ///< the absolute name as found, or beside the definition
        QString source; ///< the definition that names it
        int line = 0; ///< of the naming line in \a source, zero-based
        bool exists = false;
    };

    /// Makes a new, empty file of one type; the project reads it.
    using FileFactory = std::function<ProjectFile *()>;

    /**
     * Makes the files of \a fileType with \a factory from now on; a null
     * factory brings back the built-in one. One call per type plugs in the
     * class that reads the type.
     */
    static void setFileFactory(int fileType, FileFactory factory);
    /**
     * A new empty file of \a fileType: the registered factory's, else a
     * script document for the text types (Main, Scripts, Animations,
     * Storyboards) and a file of plain bytes for the others.
     */
    static ProjectFile *newFile(int fileType);

    /**
     * The files that \a definition names, with the folder of the whole game
     * in \a gameDirectory (empty for none). \a text gives the text of a
     * definition; null reads it from \a archive. Music and the files of the
     * storyboards are followed for characters.
     */
    static QList<Reference> findReferences(Archive &archive, QString const &definition,
                                           QString const &gameDirectory, int projectType,
                                           std::function<QString(QString const &)> const &text);

    /// The text of \a path in \a archive, its encoding detected; empty when it cannot be read.
    static QString readText(Archive &archive, QString const &path);

    /// Ends the project; the object deletes itself.
    void release() override;

    /// [Info] "name".
    QString name() const override;
    /// [Info] "versiondate".
    QString version() const override;
    /// [Info] "author".
    QString author() const override;
    /// [Info] "displayname".
    QString comment() const override;
    /// [Info] "localcoord" of a character, [StageInfo] "localcoord" of a stage.
    QSize size() const override;
    /// [StageInfo] "xscale" and "yscale" of a stage; 1 x 1 for a character.
    QSizeF scale() const override;
    /**
     * The files found inside the project's folder, each once, as (type,
     * "/" + name relative to the folder). Files found elsewhere, such as
     * the shared common states, are open but not listed: they are not the
     * project's to save.
     */
    void fileList(QList<FileEntry> &list) const override;

    /// Every file that the definitions name, found or not.
    QList<Reference> const &references() const;
    /// The messages about named files that are missing or unreadable.
    Messages *problems() const;

protected:
    /**
     * A project of \a type around the read \a mainFile in \a parent; the game
     * folder where the runtime looks for shared files is \a gameDirectory.
     * load() then opens the files.
     */
    DefinitionProject(ParentProject *parent, int type, ProjectFile *mainFile,
                      QString const &gameDirectory);
    ~DefinitionProject() override;

    /**
     * A new empty file of \a fileType for \a path; newFile() unless a
     * subclass chooses by the name.
     */
    virtual ProjectFile *createFile(int fileType, QString const &path);
    /**
     * A project of class \a T around \a definition in \a parent, with its
     * files open; null when the definition cannot be read.
     */
    template<class T>
    static T *openAs(ParentProject *parent, QString const &definition, QString const &gameDirectory)
    {
        ProjectFile *main = readDefinition(parent, definition);
        if (!main)
            return nullptr;
        auto *project = new T(parent, main, gameDirectory);
        project->load();
        return project;
    }
    /// Finds the named files, opens those that exist and joins the parent.
    void load();
    /// The open file read from \a path, or null.
    ProjectFile *openedFile(QString const &path) const;

private:
    // The main file \a definition read from the archive of \a parent, or null.
    static ProjectFile *readDefinition(ParentProject *parent, QString const &definition);
    // The text of an open definition, or of the file on disk.
    QString definitionText(QString const &path) const;
    void report(Reference const &reference, Message::Type type, QString const &text);

    QString m_gameDirectory;
    Definition m_definition;
    QList<Reference> m_references;
    QList<FileEntry> m_entries;
    SimpleMessages m_problems;
};

} // namespace Kenro::Ikemen
