#include "projectexaminer.h"

#include "fileexaminer.h"

#include <kenro/code/animationcode.h>
#include <kenro/code/animations.h>
#include <kenro/code/codedocument.h>
#include <kenro/code/codenodefile.h>
#include <kenro/engine/engine.h>
#include <kenro/imaging/palettes.h>
#include <kenro/imaging/sprites.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/jobstats.h>
#include <kenro/project/messagelist.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/pathhelpers.h>
#include <kenro/project/project.h>
#include <kenro/project/projectfile.h>
#include <kenro/project/textcodecs.h>
#include <kenro/sound/sounds.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <memory>

namespace Kenro::Cli {

namespace {

// Definitions are a few kilobytes; anything far bigger is no definition.
constexpr qint64 largestDefinition = 1 << 20;

QString absoluteName(QString const &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

// The nodes of a root's tree that stand for projects, as full paths.
void collectProjects(ParentProject &root, QModelIndex const &parent, QStringList &nodes)
{
    for (int row = 0; row < root.rowCount(parent); ++row) {
        QModelIndex const index = root.index(row, 0, parent);
        ParentProject::Path const *node = root.itemPath(index);
        if (!node)
            continue;
        if (node->isProject())
            nodes.append(node->fullPath());
        else if (node->isDirectory())
            collectProjects(root, index, nodes);
    }
}

// The messages of a file; an animation list shows those of its document.
Messages *messagesOf(ProjectFile *file)
{
    if (Messages *messages = file->messages())
        return messages;
    auto *part = dynamic_cast<CodeNodeFile *>(file);
    return part && part->document() ? part->document()->messages() : nullptr;
}

void addDiagnostics(Messages const *messages, QString const &path, QList<Diagnostic> &list)
{
    for (unsigned int i = 0; i < messages->count(Message::All); ++i) {
        Message const message = messages->at(i, Message::All);
        list.append({message.type, path, message.line + 1, message.column + 1, message.text});
    }
}

// What the class of a file knows of its content.
void countContent(ProjectFile *file, ProjectFileReport &report)
{
    ContentTotals &totals = report.totals;
    if (auto *sprites = dynamic_cast<Sprites *>(file)) {
        totals.sprites = int(sprites->count());
        totals.palettes = sprites->palettes() ? int(sprites->palettes()->count()) : 0;
        report.counts = {{QStringLiteral("sprites"), totals.sprites},
                         {QStringLiteral("palettes"), totals.palettes}};
    } else if (auto *animations = dynamic_cast<Animations *>(file)) {
        totals.actions = int(animations->count());
        int frames = 0;
        for (AnimationCode const *action : animations->animations())
            frames += int(action->frameCount());
        report.counts = {{QStringLiteral("actions"), totals.actions},
                         {QStringLiteral("frames"), frames}};
    } else if (auto *sounds = dynamic_cast<Sounds *>(file)) {
        totals.sounds = int(sounds->count());
        report.counts = {{QStringLiteral("sounds"), totals.sounds}};
    } else if (auto *document = dynamic_cast<CodeDocument *>(file)) {
        // An action of a storyboard is a section of its own, as the runtime reads it.
        int sections = 0;
        for (CodeNode const *node : document->root()->childs())
            sections += node->type() == CodeNode::Group || node->type() == CodeNode::Animation;
        report.counts = {{QStringLiteral("sections"), sections}};
    }
}

// The lowest file type that \a file serves under in \a project; -1 for none.
int fileTypeOf(Project &project, ProjectFile *file)
{
    Project::FileTypes const types = project.fileID(file);
    for (int type = 0; type < 32; ++type) {
        if (types & (Project::FileTypes(1) << type))
            return type;
    }
    return -1;
}

} // namespace

QString ProjectExaminer::Names::shown(QString const &absolutePath) const
{
    if (absolutePath.startsWith(absolute + QLatin1Char('/'))) {
        QString const rest = absolutePath.mid(absolute.size() + 1);
        return given == QLatin1String(".") ? rest : given + QLatin1Char('/') + rest;
    }
    return QDir::isRelativePath(given) ? QDir::current().relativeFilePath(absolutePath)
                                       : absolutePath;
}

ProjectExaminer::ProjectExaminer(QList<Engine *> const &engines, Examiners const &examiners)
    : m_engines(engines), m_examiners(examiners)
{}

Engine *ProjectExaminer::gameEngine(QString const &folder) const
{
    for (Engine *engine : m_engines) {
        QString const marker = engine->queryString(Engine::GameMarkerFile, 0);
        if (marker.isEmpty())
            continue;
        // Names are matched case-blind, as the runtimes on other systems do.
        QString const found =
            fixFileCase(absoluteName(folder), FileSystemArchive::instance(), marker);
        if (QFileInfo(found).isFile())
            return engine;
    }
    return nullptr;
}

Engine *ProjectExaminer::definitionEngine(QString const &definition) const
{
    for (Engine *engine : m_engines) {
        if (engine->fileTypeOf(definition) == Project::Main)
            return engine;
    }
    return nullptr;
}

ProjectExaminer::DefinitionKind ProjectExaminer::definitionKind(QString const &path)
{
    QFile file(path);
    if (file.size() > largestDefinition || !file.open(QIODevice::ReadOnly))
        return NoProject;
    int codec = -1;
    QString const text = TextCodecs::stringFromData(file.readAll(), &codec);
    static QStringList const characterKeys{QStringLiteral("sprite"), QStringLiteral("anim"),
                                           QStringLiteral("sound"),  QStringLiteral("cmd"),
                                           QStringLiteral("cns"),    QStringLiteral("st")};
    QString section;
    bool character = false;
    for (QStringView line : QStringView(text).split(QLatin1Char('\n'))) {
        qsizetype const comment = line.indexOf(QLatin1Char(';'));
        line = (comment < 0 ? line : line.left(comment)).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            qsizetype const close = line.indexOf(QLatin1Char(']'));
            section = line.mid(1, close < 0 ? -1 : close - 1).trimmed().toString().toLower();
            if (section == QLatin1String("bgdef"))
                return Stage;
            continue;
        }
        qsizetype const equals = line.indexOf(QLatin1Char('='));
        if (section == QLatin1String("files") && equals > 0 &&
            !line.mid(equals + 1).trimmed().isEmpty() &&
            characterKeys.contains(line.left(equals).trimmed().toString().toLower()))
            character = true;
    }
    return character ? Character : NoProject;
}

QStringList ProjectExaminer::projectDefinitions(QString const &folder) const
{
    QDir const dir(folder);
    QString const folderName = QFileInfo(absoluteName(folder)).fileName();
    QStringList definitions;
    for (QString const &name : dir.entryList(QDir::Files | QDir::Readable, QDir::Name)) {
        QString const path = dir.filePath(name);
        if (!definitionEngine(path) || definitionKind(path) == NoProject)
            continue;
        if (QFileInfo(name).completeBaseName().compare(folderName, Qt::CaseInsensitive) == 0)
            return {path};
        definitions.append(path);
    }
    return definitions;
}

bool ProjectExaminer::examineGame(QString const &folder, Engine &engine, ProjectsReport &report,
                                  JobStats &progress) const
{
    Names const names{QDir::cleanPath(folder), absoluteName(folder)};
    std::unique_ptr<ParentProject> const root(
        engine.openRoot(names.absolute, FileSystemArchive::instance()));
    if (!root)
        return false;
    report.path = names.given;
    report.base = names.given;
    report.game = true;
    report.engine = engine.displayName();
    QStringList nodes;
    collectProjects(*root, QModelIndex(), nodes);
    QStringList const files = Examiners::folderFiles(names.given);
    progress.setMaximum(unsigned(nodes.size() + files.size()));

    QSet<QString> held;
    for (QString const &node : std::as_const(nodes)) {
        progress.incrementValue();
        ParentProject::Path *path = root->filePath(node);
        Project *project = path ? root->openProject(path) : nullptr;
        if (!project) {
            // A folder under "chars" without a character, a stage that does not open.
            FileReport lost;
            lost.path = names.shown(QDir::cleanPath(node));
            lost.kind = QStringLiteral("no project");
            lost.diagnostics.append({Message::Warning, lost.path, 1, 1,
                                     path && path->isDirectory()
                                         ? QStringLiteral("no definition of a project here")
                                         : QStringLiteral("the definition does not open")});
            report.others.files.append(lost);
            continue;
        }
        report.projects.append(read(*project, engine, names));
        for (ProjectFile *file : project->files())
            held.insert(file->fileName());
        project->release();
    }
    examineOthers(files, held, report, progress);
    return true;
}

bool ProjectExaminer::examineProjects(QString const &path, QStringList const &definitions,
                                      ProjectsReport &report, JobStats &progress) const
{
    bool const folder = QFileInfo(path).isDir();
    QString const given = QDir::cleanPath(path);
    Names const names{folder ? given : QFileInfo(given).path(),
                      folder ? absoluteName(given) : QFileInfo(absoluteName(given)).path()};
    report.path = given;
    report.base = names.given;
    QStringList const files = folder ? Examiners::folderFiles(given) : QStringList();
    progress.setMaximum(unsigned(definitions.size() + files.size()));

    QSet<QString> held;
    for (QString const &definition : definitions) {
        progress.incrementValue();
        Engine *engine = definitionEngine(definition);
        // A lone root ends itself with its project.
        ParentProject *root = engine
            ? engine->openRoot(absoluteName(definition), FileSystemArchive::instance())
            : nullptr;
        Project *project = root ? root->openedProjects().value(0) : nullptr;
        if (!project)
            continue;
        report.engine = engine->displayName();
        report.projects.append(read(*project, *engine, names));
        for (ProjectFile *file : project->files())
            held.insert(file->fileName());
        project->release();
    }
    if (report.projects.isEmpty())
        return false;
    report.others.path = given;
    examineOthers(files, held, report, progress);
    return true;
}

ProjectReport ProjectExaminer::read(Project &project, Engine &engine, Names const &names) const
{
    ProjectReport report;
    report.path = names.shown(project.fileName());
    report.type = project.typeName().toLower();
    report.name = project.name();
    report.author = project.author();
    report.version = project.version();

    // Files in the order of their types, each once.
    QList<int> types = engine.fileFilters().keys();
    std::sort(types.begin(), types.end());
    QList<ProjectFile *> files;
    for (int const type : std::as_const(types)) {
        for (ProjectFile *file : project.filesByType(type)) {
            if (!files.contains(file))
                files.append(file);
        }
    }
    QString const inside = project.absolutePath() + QLatin1Char('/');
    QSet<Messages const *> ofFiles;
    for (ProjectFile *file : std::as_const(files)) {
        ProjectFileReport entry;
        entry.path = names.shown(file->fileName());
        entry.type = engine.fileTypeName(fileTypeOf(project, file));
        entry.shared = !file->fileName().startsWith(inside);
        countContent(file, entry);
        if (Messages const *messages = messagesOf(file)) {
            ofFiles.insert(messages);
            addDiagnostics(messages, entry.path, entry.diagnostics);
        }
        report.files.append(entry);
    }
    // What is left is the project's own: files that its definition names in vain.
    for (Messages const *source : project.messages()->sources()) {
        if (ofFiles.contains(source))
            continue;
        ProjectFile const *file = source->file();
        addDiagnostics(source, file ? names.shown(file->fileName()) : report.path,
                       report.diagnostics);
    }
    return report;
}

void ProjectExaminer::examineOthers(QStringList const &files, QSet<QString> const &held,
                                    ProjectsReport &report, JobStats &progress) const
{
    report.others.path = report.path;
    QStringList rest;
    for (QString const &file : files) {
        if (held.contains(absoluteName(file)))
            progress.incrementValue();
        else
            rest.append(file);
    }
    m_examiners.examineFiles(rest, report.others, progress);
}

} // namespace Kenro::Cli
