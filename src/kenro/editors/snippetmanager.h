#pragma once

#include <kenro/kenro_export.h>

#include <QAbstractListModel>
#include <QStringList>

class QWidget;

namespace Kenro {

/**
 * The code snippets of a folder, one XML file each, listed by the file's base
 * name for the snippet combo of the code tool bar. A snippet is filled in a
 * form built from its fields and comes back as the text to insert.
 */
class KENRO_EXPORT SnippetManager : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit SnippetManager(QObject *parent = nullptr);
    ~SnippetManager() override;

    QString path() const;
    /// Lists the snippet files of the folder \a path again; a missing folder lists none.
    void setPath(QString const &path);
    /// The name of snippet \a index, empty out of range.
    QString name(int index) const;
    /// The file of snippet \a index.
    QString fileName(int index) const;
    /// The row of the snippet named \a name, or -1.
    int indexOf(QString const &name) const;

    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    /// The name, as text and as tool tip.
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

    /**
     * Asks for the fields of snippet \a index in a form over \a parent and
     * gives its code with each "@name" replaced by the field's value. Empty
     * when the file cannot be read, has no code, or the form is cancelled. A
     * file that is no well-formed snippet is reported to the user, and the
     * form shows the fields read before the fault.
     */
    QString snippet(QWidget *parent, int index) const;

private:
    QString m_path;
    QStringList m_names;
};

} // namespace Kenro
