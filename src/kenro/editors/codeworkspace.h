#pragma once

#include <kenro/editors/workspace.h>

class QAction;
class QMenu;
class QToolBar;

namespace Kenro {

class CodeDocument;
class CodeEditor;
class CodeWorkspacePrivate;
class SnippetManager;

/**
 * The workspace of all code-like editors: the one CodeEditor, the code tool
 * bar with its snippet and message combos, and the "code" menu with the
 * encodings. Each document shown keeps its place: switching back to it
 * puts the cursor and the scroll bar where they were.
 */
class KENRO_EXPORT CodeWorkspace : public Workspace
{
    Q_OBJECT

public:
    explicit CodeWorkspace(Interface &interface, QObject *parent = nullptr);
    ~CodeWorkspace() override;

    /// "code".
    char const *name() const override;
    QWidget *widget() override;
    CodeEditor *editor() const;
    QToolBar *toolBar() const;
    /// The "code" menu, which the editor's context menu shows too.
    QMenu *menu() const;
    /// The action registered under \a key, such as "code_goto"; null for none.
    QAction *action(QString const &key) const;
    /// The snippets of the current engine, listed in the tool bar.
    SnippetManager *snippets() const;

    /// The document shown, or null.
    CodeDocument *document() const;
    /**
     * Shows \a document (null for none), keeping the cursor and scroll
     * position of the document shown before in its objectName and putting
     * back those kept in the new one.
     */
    void setDocument(CodeDocument *document);
    /// Puts \a widget, hidden, beside the text; file editors show their trees there.
    void addPanel(QWidget *widget);

public Q_SLOTS:
    void activate() override;
    void deactivate() override;
    /// Reads the code settings: what the editor shows, its colours and font, the tool bar.
    void reconfig() override;
    void retranslate() override;
    /// Asks for the document's encoding in a dialog.
    void statusClicked() override;
    /// With \a changed, takes the word lists and snippets of the current engine.
    void engineSwitched(bool changed);

    /// Shows or hides the code tool bar, and keeps the choice in "show_code_bar".
    void showTextBar(bool show);
    /// Fills in the snippet chosen in the tool bar and inserts it at the cursor.
    void snipInsert();
    void snipNew();
    void snipEdit();
    /// Asks for a line and goes there.
    void goToLine();
    void prevError();
    void nextError();
    void prevDepr();
    void nextDepr();
    /// Comments the selected lines out, or back in when the first one is commented.
    void comment();
    void foldAll();
    void unfoldAll();
    /// Re-indents the selected lines through the document's formatter.
    void autoIndent();
    /// Formats the selected lines through the document's formatter.
    void autoFormat();

private:
    friend class CodeWorkspacePrivate;
    CodeWorkspacePrivate *d;
};

} // namespace Kenro
