#pragma once

#include <kenro/editors/codefileeditor.h>

#include <QAction>
#include <QMenu>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QTextCursor>

#include <functional>

namespace Kenro {

class CodeDocument;
class CodeNode;

class CodeFileEditorPrivate : public QObject
{
    Q_OBJECT

public:
    CodeFileEditorPrivate(CodeFileEditor *editor, CodeWorkspace *workspace, char const *name);
    ~CodeFileEditorPrivate() override;

    CodeFileEditor *q;
    CodeWorkspace *workspace;
    char const *name;
    QPointer<QTreeView> tree;
    QPointer<CodeDocument> document;
    QAction action;
    QMenu menu;
    QAction *removeAction;
    QAction *copyAction;
    QAction *pasteBeforeAction;
    QAction *pasteAfterAction;
    QPersistentModelIndex menuIndex; // the node under the menu

    void onCustomContextMenu(QPoint const &position);
    void deleteNode();
    void copyNode();
    /// Pastes the clipboard's lines before or \a after the node under the menu.
    void paste(bool after);
    void cursorChanged(QPoint position);
    void currLineChanged(int line);
    void selectedItem(QModelIndex const &index);

    // The lines of a node as an author sees them: the comment lines just
    // above it come along, and those just above what follows stay with that.
    std::pair<int, int> linesOf(CodeNode const *node) const;
    // The lines of the selected nodes but those inside another one, in text order.
    QList<std::pair<int, int>> selectedLines() const;
    // Lines \a lines with their line break, or the one before them at the end.
    QTextCursor selectLines(std::pair<int, int> const &lines) const;
    // The clipboard's text as lines to paste, without a last line break.
    static QString clipboardLines();
    // Runs \a change on the document as one undo step, the tree keeping its scroll position.
    void change(std::function<void()> const &change);
};

} // namespace Kenro
