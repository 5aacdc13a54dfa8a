#pragma once

#include <kenro/kenro_export.h>

#include <QAbstractListModel>
#include <QIcon>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

class QXmlStreamReader;
class QXmlStreamWriter;
class QWidget;

namespace sol {
class state;
}

namespace Kenro {

class Archive;
class Debugger;
class Emulator;
class Engine;
class ParentProject;
class Project;
class ProjectFile;

/**
 * The installed copies of an engine's game runtime, one record per
 * executable: the list the host shows in its settings and its run menu.
 */
class KENRO_EXPORT EngineInstances : public QAbstractListModel
{
    Q_OBJECT

public:
    /// One installed runtime.
    struct Info
    {
        QString name;
        QString exe;
        QString params;
        QString icon;
    };

    /// Records of the engine \a name, kept in "<settings>/<name>_config.xml".
    explicit EngineInstances(QString const &name);
    ~EngineInstances() override;

    /// Starts the runtime of record \a index on \a project (null for the
    /// game alone) with extra command-line \a arguments. Only hosts call it.
    virtual bool run(unsigned int index, Project *project, QString const &arguments) = 0;

    void add(QString const &name, QString const &exe, QString const &params, QString const &icon);
    void edit(unsigned int index, QString const &name, QString const &exe, QString const &params,
              QString const &icon);
    /// Removes record \a index; an index out of range changes nothing.
    void remove(unsigned int index);
    void move(unsigned int from, unsigned int to);
    void clear();
    /// A copy of record \a index; empty strings out of range.
    Info at(unsigned int index) const;
    unsigned int count() const;

    /// "/engines/" and the engine's name.
    QString directory() const;
    /// The configuration file, or empty without a host interface.
    QString configFile() const;

    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    /// Role 0 is the name, role 1 the icon: the record's own, or the engine's.
    QVariant data(QModelIndex const &index, int role) const override;

protected:
    QString m_directory;
    QString m_configFile;
    QList<Info *> m_instances;
};

/**
 * The part of an engine that the library keeps: its options and its
 * runtime records, read from the configuration file when it is made and
 * written back when it ends.
 */
class KENRO_EXPORT EnginePrivate : public EngineInstances
{
    Q_OBJECT

public:
    explicit EnginePrivate(QString const &name);
    /// Writes the configuration back.
    ~EnginePrivate() override;

    /// The same object as the public engine.
    Engine *publicEngine();

    /// The engine's own value of \a key, else the host's, else \a defaultValue.
    QVariant option(QString const &key, QVariant const &defaultValue = QVariant()) const;
    /// Sets the engine's own value of \a key; null values are kept as they are.
    void setOption(QString const &key, QVariant const &value);

    /// Reads the configuration file; a missing file is no failure.
    bool load();
    /// Writes the configuration file.
    bool save();
    bool load(QXmlStreamReader *reader);
    bool save(QXmlStreamWriter *writer);

protected:
    QMap<QString, QVariant> options;
};

/**
 * A game runtime's definition, made by an extension library: its file
 * types, projects, parsers and ways to run a game.
 */
class KENRO_EXPORT Engine : public EnginePrivate
{
    Q_OBJECT

public:
    /// What queryString() answers.
    enum StringType : int {
        /// The script language's line comment marker.
        CommentString = 0,
        /// The engine's identifier, which engine-bound extensions name.
        EngineIdentifier = 1,
        /// A file, relative to a root, whose presence marks a whole game.
        GameMarkerFile = 2,
        /// The display name of project type `index`.
        ProjectTypeName = 4,
    };

    explicit Engine(QString const &name);
    ~Engine() override;

    /// The name the user sees. Only hosts call it.
    virtual QString displayName() const = 0;
    /// Lets the engine add pages of its own to the host's settings window.
    virtual void registerCustomOptions(QWidget *settingsWindow);

    // What the host calls to open and make projects.

    /// Opens the folder or archive at \a path as a root of projects.
    virtual ParentProject *openRoot(QString const &path, Archive &archive) = 0;
    /// Opens the project at \a path of \a parent.
    virtual Project *openProject(ParentProject *parent, QString const &path) = 0;
    /// Makes a new project of \a type at \a path of \a parent.
    virtual Project *newProject(ParentProject *parent, int type, QString const &path) = 0;
    /// The number of project types; queryString(ProjectTypeName, n) names each.
    virtual unsigned int projectTypeCount() const = 0;
    /// The file-dialog filter for opening roots and projects.
    virtual QString projectFilter() const = 0;

    /// Adds the engine's own script classes to \a state.
    virtual void registerScriptClasses(sol::state &state);

    // What the host calls about single files.

    /// File-dialog filters for the files that open alone, one per type.
    virtual QStringList singleFileFilters() const = 0;
    /// The file type of \a path, or -1 when the engine has none for it.
    virtual int fileTypeOf(QString const &path) const = 0;
    /// The name of file type \a type.
    virtual QString fileTypeName(int type) const = 0;
    /// Opens \a path alone as a file of \a type.
    virtual ProjectFile *openFile(QString const &path, int type) = 0;
    /// The engine's icon.
    virtual QIcon icon() const = 0;

    /// The engine's game stepper, or null.
    virtual Debugger *debugger() const;
    /// The engine's built-in emulation, or null.
    virtual Emulator *emulator() const;
    /// A string of the engine's, see StringType.
    virtual QString queryString(StringType type, unsigned int index) const = 0;
    /// The file-dialog pattern of each file type, such as "*.air" for
    /// animations; file editors open and save with it.
    virtual QMap<int, QString> fileFilters() const = 0;
    /// A new empty file of \a type for \a project.
    virtual ProjectFile *createFile(int type, Project *project) = 0;

    /// The host's application directory followed by directory().
    QString path() const;
};

} // namespace Kenro
