#pragma once

#include <kenro/code/codeparser.h>

#include <QString>
#include <QTextBlock>

namespace Kenro {
class CodeDocument;
class CodeNode;
class Project;
class ProjectFile;
} // namespace Kenro

namespace Kenro::Ikemen {

/**
 * Shows line \a line of \a file, a file of \a project, in the editor that the
 * host gives for it. False without a host, or when the host has no editor
 * for the file.
 */
bool openInHost(Project *project, ProjectFile *file, int line);

/// A file named in a script, such as "cns = kfm.cns" of a definition.
class ScriptFileLink : public CodeLink
{
public:
    ScriptFileLink(int start, int end, QString const &path, QTextBlock const &block);

    QString path() const;
    /**
     * The file of \a document's project that \a path names: beside the
     * document, or else the one whose name ends in it (the common states of
     * a game's data folder). Null without a project or such a file.
     */
    static ProjectFile *findFile(CodeDocument *document, QString const &path);
    /// Opens the file at its first line.
    bool follow() override;

private:
    QString m_path;
    QTextBlock m_block;
};

/// The number of the state that a ChangeState, SelfState or TargetState goes to.
class ScriptStateLink : public CodeLink
{
public:
    ScriptStateLink(int start, int end, int state, QTextBlock const &block);

    int state() const;
    /// The heading "[Statedef state]" of \a document, or null.
    static CodeNode *findStatedef(CodeDocument *document, int state);
    /**
     * Opens the heading of the state: in the link's own document, or else in
     * the first script of its project that has one.
     */
    bool follow() override;

private:
    int m_state;
    QTextBlock m_block;
};

} // namespace Kenro::Ikemen
