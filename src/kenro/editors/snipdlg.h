#pragma once

#include <kenro/kenro_export.h>

#include <QDialog>

class QAbstractItemModel;
class QListView;

namespace Kenro {

class CodeEditor;
class Interface;

/**
 * Makes or edits a code snippet: its fields, and its code in a code pane
 * of the current engine's script type. Saves the snippet file, and a Qt
 * translation source of its labels for translators.
 */
class KENRO_EXPORT SnipDlg : public QDialog
{
    Q_OBJECT

public:
    /**
     * Edits the snippet file \a source when it names one; otherwise makes a
     * new snippet whose code is \a source.
     */
    SnipDlg(Interface &interface, QString const &source, QWidget *parent = nullptr);
    ~SnipDlg() override;

    /// The snippets folder of the current engine, or empty without one.
    static QString snippetsDirectory(Interface &interface);

    /// The snippet's file; empty until a new snippet is saved.
    QString fileName() const;
    /// Where a new snippet is saved; the engine's snippets folder at first.
    QString directory() const;
    void setDirectory(QString const &directory);
    CodeEditor *codeEditor() const;
    QListView *fieldsView() const;

public Q_SLOTS:
    /// Writes the snippet, asking for a name for a new one; true when it was written.
    bool save();
    /// Writes the translation source under a name asked for; true when it was written.
    bool saveForTranslation();
    /// Ask for a field with the field dialog.
    void addField();
    void editField();
    void removeField();

private:
    struct Private;
    Private *d;
};

} // namespace Kenro
