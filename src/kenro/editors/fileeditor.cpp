#include <kenro/editors/fileeditor.h>

#include <kenro/editors/filedialogs.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/engine/engine.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/jobstats.h>
#include <kenro/project/project.h>
#include <kenro/project/projectfile.h>

#include <QAction>
#include <QFileInfo>
#include <QMessageBox>
#include <QRegularExpression>

namespace Kenro {

namespace {

QString const externalFileTitle = QStringLiteral("External file!");
QString const externalFileText = QStringLiteral(
    "This file isn't a child of the project directory, so will be ignored on 'Run in engine', "
    "'Backup' and 'Save as' functions. Do you want to %1 it as copy?\nNote: As copy, %2");

QString actionText(FileEditor *editor)
{
    QAction *action = editor->action();
    return action ? action->text() : QString();
}

// The key under which the last directory of the editor's dialogs is kept.
QString pathKey(FileEditor const *editor)
{
    return QString::fromLatin1(editor->name()) + QStringLiteral("_path");
}

// The directory where the editor's dialogs start: the last one used, else the
// project's folder.
QString startDirectory(Project *project, Interface *host, QString const &key)
{
    auto lookUp = [&](QString const &name) {
        if (project)
            return project->option(name).toString();
        return host->option(name, QVariant()).toString();
    };
    QString directory = lookUp(key);
    if (directory.isEmpty())
        directory = lookUp(QStringLiteral("project_path"));
    return directory;
}

QString fileFilter(Interface *host, int fileType)
{
    Engine *engine = host->engine();
    return engine ? engine->fileFilters().value(fileType) : QString();
}

// Completes \a path with the first suffix of \a filter when it ends in none of
// them. Only filters made of "*.suffix" patterns alone count; a filter with
// blanks or other wildcards leaves the path as it is.
QString withSuffix(QString const &path, QString const &filter)
{
    static QRegularExpression const whole(QStringLiteral("^(?:\\*(\\.[a-zA-Z]+))*$"));
    static QRegularExpression const one(QStringLiteral("\\*(\\.[a-zA-Z]+)"));
    if (!whole.match(filter).hasMatch())
        return path;
    QStringList suffixes;
    for (QRegularExpressionMatchIterator it = one.globalMatch(filter); it.hasNext();)
        suffixes.append(it.next().captured(1));
    if (suffixes.isEmpty())
        return path;
    for (QString const &suffix : std::as_const(suffixes)) {
        if (path.endsWith(suffix))
            return path;
    }
    return path + suffixes.first();
}

// Asks whether a file outside the project's directory is taken as a copy.
bool askForCopy(Interface *host, QString const &verb, QString const &note)
{
    return QMessageBox::warning(
               host->mainWindow(), externalFileTitle, externalFileText.arg(verb, note),
               QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
}

// The engine and the project that new files go to; false when either is missing.
bool hostContext(Interface *host, Engine *&engine, Project *&project)
{
    if (!host)
        return false;
    engine = host->engine();
    project = host->currentProject();
    return engine && project;
}

// A new file of \a type from \a engine, added to \a project; null when the
// engine makes none or the project refuses it.
ProjectFile *addNewFile(Engine *engine, Project *project, int type)
{
    ProjectFile *file = engine->createFile(type, project);
    if (file && !project->addFile(file, type)) {
        file->release();
        return nullptr;
    }
    return file;
}

} // namespace

FileEditor::FileEditor(QObject *parent) : Editor(parent) {}

FileEditor::~FileEditor() = default;

bool FileEditor::isModified() const
{
    return m_currentFile && m_currentFile->isModified();
}

bool FileEditor::canDiscard(ProjectFile const *file) const
{
    if (!file || (file->capabilities() & ProjectFile::HasChildren) || !file->isModified())
        return true;
    QWidget *parent = m_interface ? m_interface->mainWindow() : nullptr;
    return QMessageBox::question(parent, QStringLiteral("Discard changes?"),
                                 QStringLiteral("Do you want to discard the changes made in %1?")
                                     .arg(QString::fromLatin1(name())),
                                 QMessageBox::Yes | QMessageBox::No,
                                 QMessageBox::No) == QMessageBox::Yes;
}

bool FileEditor::canDiscard(Project *project) const
{
    if (!project && m_interface)
        project = m_interface->currentProject();
    if (!project)
        return true;
    bool result = true;
    // Every file is asked, so that the user sees each one that has changes.
    QList<ProjectFile *> const files = project->filesByType(fileType());
    for (ProjectFile *file : files)
        result = canDiscard(static_cast<ProjectFile const *>(file)) && result;
    return result;
}

bool FileEditor::canClose(ProjectFile const *) const
{
    return true;
}

void FileEditor::navigateTo(unsigned int, unsigned int) {}

void FileEditor::setCurrentFile(ProjectFile *file)
{
    m_currentFile = file;
}

ProjectFile *FileEditor::currentFile() const
{
    return m_currentFile;
}

void FileEditor::create()
{
    Engine *engine = nullptr;
    Project *project = nullptr;
    if (!hostContext(m_interface, engine, project))
        return;
    if (!addNewFile(engine, project, fileType()))
        return;
    switchToThis();
    contentsChanged();
}

void FileEditor::open()
{
    Engine *engine = nullptr;
    Project *project = nullptr;
    if (!hostContext(m_interface, engine, project))
        return;
    int const type = fileType();
    QString const filter = engine->fileFilters().value(type);
    if (filter.isEmpty())
        return; // a type without a filter has nothing to open
    QString const dialogFilter = QStringLiteral("%1 (%2)").arg(actionText(this), filter);
    QString const key = pathKey(this);
    QString const path = getOpenFileName(
        m_interface->mainWindow(), QStringLiteral("Open %1...").arg(QString::fromLatin1(name())),
        startDirectory(project, m_interface, key), dialogFilter);
    if (path.isEmpty())
        return;
    bool const inside = path.startsWith(project->absolutePath());

    ProjectFile *file = addNewFile(engine, project, type);
    if (!file)
        return;
    unsigned int flags = 0;
    if (!inside &&
        askForCopy(m_interface, QStringLiteral("load"),
                   QStringLiteral("if you save it the previous file will be overwritten!")))
        flags = ProjectFile::Copy;
    if (!file->fromFile(FileSystemArchive::instance(), path, flags, nullptr)) {
        // The file's own messages tell why.
        project->removeFile(file);
        return;
    }
    project->setOption(key, QFileInfo(path).absolutePath(), true);
    switchToThis();
    contentsChanged();
}

void FileEditor::save()
{
    switchToThis();
    ProjectFile *file = m_currentFile;
    if (!file || !file->isModified() || !file->canSave())
        return;
    ProgressProvider *provider = m_interface ? m_interface->progressProvider() : nullptr;
    ProgressJob *job = provider
        ? provider->newJob(QStringLiteral("Saving") + QLatin1Char(' ') + file->displayName(), 0)
        : nullptr;
    bool const background = file->capabilities() & ProjectFile::AsyncSave;
    // A background save owns its job from here on.
    if (job)
        job->setDetached(background ? 1 : 0);
    unsigned int const flags = background ? ProjectFile::Background : 0;
    if (file->toFile(file->archive(), file->fileName(), flags, job))
        contentsChanged();
    else
        saveAs();
}

void FileEditor::saveAs()
{
    switchToThis();
    if (m_currentFile)
        saveFileAs(m_currentFile, this, m_interface);
}

bool FileEditor::saveFileAs(ProjectFile *file, FileEditor *editor, Interface *interface)
{
    if (!file || !editor || !interface)
        return false;
    QString const filter = fileFilter(interface, editor->fileType());
    if (filter.isEmpty() || !file->canSave())
        return false;
    QString const dialogFilter = QStringLiteral("%1 (%2);;%3 (*.*)")
                                     .arg(actionText(editor), filter, QStringLiteral("All files"));
    Project *project = file->project();
    QString const key = pathKey(editor);
    QString path =
        getSaveFileName(interface->mainWindow(),
                        QStringLiteral("Save %1 as...").arg(QString::fromLatin1(editor->name())),
                        startDirectory(project, interface, key), dialogFilter);
    if (path.isEmpty())
        return false;
    path = withSuffix(path, filter);

    unsigned int flags = 0;
    if (project && !path.startsWith(project->absolutePath()) &&
        askForCopy(interface, QStringLiteral("save"),
                   QStringLiteral("we keep the reference to the previous file!")))
        flags = ProjectFile::Copy;
    bool const written = file->toFile(FileSystemArchive::instance(), path, flags, nullptr);
    if (!written)
        QMessageBox::critical(
            interface->mainWindow(), QStringLiteral("Save file error!"),
            QStringLiteral("An error has occurred while trying to save the file!"),
            QMessageBox::Ok);

    QString const directory = QFileInfo(path).absolutePath();
    interface->setOption(key, directory);
    if (project)
        project->setOption(key, directory, false);
    Q_EMIT editor->modified();
    return written;
}

void FileEditor::undo()
{
    if (m_currentFile)
        m_currentFile->undo();
}

void FileEditor::redo()
{
    if (m_currentFile)
        m_currentFile->redo();
}

void FileEditor::contentsChanged()
{
    Q_EMIT modified();
}

} // namespace Kenro
