#pragma once

#include <kenro/project/object.h>
#include <kenro/project/projectfile.h>

#include <QList>
#include <QObject>

class QAction;

namespace Kenro {

class Interface;
class Project;
class RegExp;

/**
 * The base of everything that can be current in the host's central area.
 * An editor takes the global Interface when it is made and keeps an active
 * flag, which the host sets through activate() and clears through
 * deactivate() as it switches editors.
 */
class KENRO_EXPORT Editor : public QObject, public Object
{
    Q_OBJECT

public:
    /// An editor of the host behind the global Interface; inactive at first.
    explicit Editor(QObject *parent = nullptr);
    ~Editor() override;

    /// The action whose text labels the editor's file type.
    virtual QAction *action() = 0;
    /// The editor's key, such as "sprites" or "animations".
    virtual char const *name() const = 0;
    /// Which areas of the host's window the editor uses.
    virtual unsigned int areas() const = 0;

public Q_SLOTS:
    /// Called by the host when the editor becomes current.
    virtual void activate();
    /// Called by the host when another editor becomes current.
    virtual void deactivate();
    /// The host's settings changed; nothing by default.
    virtual void reconfig();
    /// The host's language changed.
    virtual void retranslate() = 0;
    /// The current engine changed. Nothing by default.
    virtual void engineSwitched(bool changed);
    /// The current project changed to \a project, which may be null. Nothing by default.
    virtual void projectSwitched(Kenro::Project *project);

public:
    /// Searches what the editor shows for \a regExp with the search \a flags.
    virtual QList<ProjectFile::SearchResult> find(RegExp const &regExp, unsigned int flags) = 0;
    /// Replaces the matches in \a results with \a replacement.
    virtual void replace(QList<ProjectFile::SearchResult> const &results,
                         QString const &replacement) = 0;

    bool isActive() const;
    /// Asks the host to make this editor current, unless it already is active.
    void switchToThis();
    /// Tells the host whether the editor's area is shown.
    void setVisible(bool visible);
    /// Tells the host whether the editor's content may be changed.
    void setWritable(bool writable);

Q_SIGNALS:
    void visible(bool visible);
    void writable(bool writable);

protected:
    /// The host, taken from the global pointer at construction; may be null.
    Interface *m_interface;

private:
    bool m_active = false;
};

} // namespace Kenro
