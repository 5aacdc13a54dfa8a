#include "scriptlinks.h"

#include "scriptgroup.h"

#include <kenro/code/codedocument.h>
#include <kenro/editors/fileeditor.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/project/project.h>

#include <QDir>
#include <QFileInfo>

namespace Kenro::Ikemen {

namespace {

CodeDocument *documentOf(QTextBlock const &block)
{
    // A link may open its own document, which the line only reads.
    return block.isValid()
        ? qobject_cast<CodeDocument *>(const_cast<QTextDocument *>(block.document()))
        : nullptr;
}

} // namespace

bool openInHost(Project *project, ProjectFile *file, int line)
{
    Interface *host = Interface::instance();
    Project::FileTypes const types = project && file ? project->fileID(file) : 0;
    if (!host || !types)
        return false;
    int type = 0;
    while (!(types & (1u << type)))
        ++type;
    FileEditor *editor = host->editorForFile(file, type);
    if (!editor)
        return false;
    editor->setCurrentFile(file);
    host->switchToEditor(editor);
    editor->navigateTo(static_cast<unsigned int>(qMax(line, 0)), 0);
    return true;
}

ScriptFileLink::ScriptFileLink(int start, int end, QString const &path, QTextBlock const &block)
    : CodeLink(start, end), m_path(path), m_block(block)
{}

QString ScriptFileLink::path() const
{
    return m_path;
}

ProjectFile *ScriptFileLink::findFile(CodeDocument *document, QString const &path)
{
    Project *project = document ? document->project() : nullptr;
    if (!project || path.isEmpty())
        return nullptr;
    // The content is written on systems that ignore case and use backslashes.
    QString const written =
        QDir::fromNativeSeparators(QString(path).replace(QLatin1Char('\\'), QLatin1Char('/')));
    QString const beside = QDir::cleanPath(QFileInfo(document->fileName()).absolutePath() +
                                           QLatin1Char('/') + written);
    ProjectFile *endingIn = nullptr;
    for (ProjectFile *file : project->files()) {
        QString const name = QDir::cleanPath(file->fileName());
        if (name.compare(beside, Qt::CaseInsensitive) == 0)
            return file;
        if (!endingIn &&
            name.endsWith(QLatin1Char('/') + QDir::cleanPath(written), Qt::CaseInsensitive))
            endingIn = file;
    }
    return endingIn;
}

bool ScriptFileLink::follow()
{
    CodeDocument *document = documentOf(m_block);
    ProjectFile *file = findFile(document, m_path);
    return file && openInHost(document->project(), file, 0);
}

ScriptStateLink::ScriptStateLink(int start, int end, int state, QTextBlock const &block)
    : CodeLink(start, end), m_state(state), m_block(block)
{}

int ScriptStateLink::state() const
{
    return m_state;
}

CodeNode *ScriptStateLink::findStatedef(CodeDocument *document, int state)
{
    if (!document)
        return nullptr;
    for (CodeNode *node : document->root()->childs()) {
        auto *group = dynamic_cast<ScriptGroup *>(node);
        if (!group || group->kind() != ScriptGroup::StateDef)
            continue;
        // "Statedef 200" or "Statedef 200, a label".
        QString const name = group->name();
        qsizetype const number = name.indexOf(QLatin1Char(' '));
        bool ok = false;
        int const value = number < 0
            ? 0
            : QStringView(name).mid(number).split(QLatin1Char(',')).front().trimmed().toInt(&ok);
        if (ok && value == state)
            return group;
    }
    return nullptr;
}

bool ScriptStateLink::follow()
{
    CodeDocument *document = documentOf(m_block);
    Project *project = document ? document->project() : nullptr;
    if (!project)
        return false;
    if (CodeNode *heading = findStatedef(document, m_state))
        return openInHost(project, document, heading->lineNo());
    // The character's scripts in the order its definition names them.
    for (ProjectFile *file : project->filesByType(Project::Scripts)) {
        auto *other = dynamic_cast<CodeDocument *>(file);
        if (other == document)
            continue;
        if (CodeNode *heading = findStatedef(other, m_state))
            return openInHost(project, other, heading->lineNo());
    }
    return false;
}

} // namespace Kenro::Ikemen
