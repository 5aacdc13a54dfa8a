#pragma once

#include <kenro/editors/fileeditor.h>

class QAbstractItemModel;
class QTreeView;

namespace Kenro {

class CodeFileEditorPrivate;
class CodeWorkspace;

/**
 * The editor of script files: the current file in the code workspace, and
 * beside it the tree of its nodes. The tree's menu removes, copies and
 * pastes whole nodes; every such change goes through the text as one step
 * of the file's undo.
 */
class KENRO_EXPORT CodeFileEditor : public FileEditor
{
    Q_OBJECT

public:
    /// An editor named \a name that shows its files in \a workspace.
    CodeFileEditor(CodeWorkspace *workspace, char const *name, QObject *parent = nullptr);
    ~CodeFileEditor() override;

    /// Deletes the editor.
    void release() override;
    /// The entry labelled with the engine's name of script files.
    QAction *action() override;
    char const *name() const override;
    unsigned int areas() const override;
    /// Scripts.
    int fileType() const override;
    CodeWorkspace *workspace() const;
    /// The tree of the current file's nodes.
    QTreeView *tree() const;
    /// Shows \a model, a code document's tree, in the tree.
    void setCodeModel(QAbstractItemModel *model);

    /// Takes \a file, a code document, and shows it when the editor is active.
    void setCurrentFile(ProjectFile *file) override;
    /// Puts the cursor at \a column of \a line, both from 0, and gives the editor the focus.
    void navigateTo(unsigned int line, unsigned int column) override;
    /**
     * Searches the current file from the cursor: selects the first match,
     * with the view scrolled so that it stands near the middle, and marks
     * the others. An empty pattern finds nothing.
     */
    QList<ProjectFile::SearchResult> find(RegExp const &regExp, unsigned int flags) override;
    void replace(QList<ProjectFile::SearchResult> const &results,
                 QString const &replacement) override;

public Q_SLOTS:
    /// Shows the workspace with the current file and the tree, and follows the cursor.
    void activate() override;
    void deactivate() override;
    void retranslate() override;
    void cut() override;
    void copy() override;
    void paste() override;
    /// Writes the current file in UTF-8.
    void saveAsUTF8();

private:
    friend class CodeFileEditorPrivate;
    CodeFileEditorPrivate *d;
};

} // namespace Kenro
