#pragma once

#include <kenro/editors/codeworkspace.h>
#include <kenro/editors/snippetmanager.h>

#include <QDialog>
#include <QPointer>
#include <QStandardItemModel>

class QActionGroup;
class QComboBox;
class QLabel;
class QSpinBox;
class QSplitter;
class QStackedWidget;

namespace Kenro {

/// Asks for one of the text codecs.
class EncDlg : public QDialog
{
    Q_OBJECT

public:
    /// A dialog over \a parent with the codec \a codec chosen.
    EncDlg(QWidget *parent, int codec);
    /// The index of the codec chosen.
    int codec() const;

private:
    QComboBox *m_codecs;
};

/// Asks for a line number, from 1.
class GoToDlg : public QDialog
{
    Q_OBJECT

public:
    GoToDlg(QWidget *parent, int line);
    int line() const;

private:
    QSpinBox *m_line;
};

class CodeWorkspacePrivate : public QObject
{
    Q_OBJECT

public:
    explicit CodeWorkspacePrivate(CodeWorkspace *workspace);
    ~CodeWorkspacePrivate() override;

    CodeWorkspace *q;
    Interface &interface;
    QPointer<QWidget> widget;
    QSplitter *splitter;
    QStackedWidget *stack;
    QLabel *placeholder;
    CodeEditor *editor;
    QToolBar *toolBar;
    QComboBox *snippetCombo;
    SnippetManager snippets;
    QComboBox *errorCombo;
    QMenu *menu;
    QMenu *snippetMenu;
    QMenu *encodingMenu;
    QActionGroup *encodings;
    QList<QAction *> actions; // in the order of their keys
    QPointer<CodeDocument> document;
    QStandardItemModel noMessages;

    QAction *action(char const *key) const;
    void makeActions();
    void encTriggered(QAction *action);
    void snipActivated(int index);
    void errorActivated(int row);
    void showContextMenu(QPoint const &position);
    // Gives the document codec \a codec, reloading it when the user wants.
    void setCodec(int codec);
    void checkCodec();
    // Moves the cursor to the next or previous syntax message of \a type.
    void jumpToMessage(int type, bool forward);
    // The line comment marker of \a document's engine, else the host's; empty for none.
    static QString commentMarker(Interface *host, CodeDocument const *document);
    // The document when it may be changed from here, else null.
    CodeDocument *writableDocument() const;
    // Re-lists the snippets and chooses the one named \a name.
    void relistSnippets(QString const &name);
};

} // namespace Kenro
