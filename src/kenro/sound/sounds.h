#pragma once

#include <kenro/imaging/organizableobject.h>
#include <kenro/project/projectfile.h>
#include <kenro/sound/sound.h>

#include <QSet>
#include <QVariant>

namespace Kenro {

/**
 * A sound file of a project: the sounds in the user's order, as a list model
 * that shows their identifiers. Engine extensions supply the storage and the
 * items; editors work through the operations below alone.
 *
 * Subclasses tell views of each change through the model's signals, as any
 * list model does (a new sample of a sound by dataChanged() of its row).
 * Sounds hears the same signals: inside a change bracket it gathers what
 * changed and, when the last bracket closes, marks the file modified and
 * tells its listeners; an edit outside any bracket counts as a bracket of
 * its own. Removing a sound is remove(), inherited from OrganizableObject.
 */
class KENRO_EXPORT Sounds : public OrganizableObject, public ProjectFile
{
    Q_OBJECT

public:
    explicit Sounds(QObject *parent = nullptr);

    /// Opens a change bracket; brackets nest. Subclasses that override call this.
    void beginChange() override;
    /**
     * Closes a bracket. At the last one the file is marked modified and the
     * listeners are told: soundCountChanged() when sounds came or went, then
     * soundChanged() for each remaining sound whose row changed, in row order. A close
     * without an open bracket does nothing. Subclasses that override call this.
     */
    void endChange() override;
    /// The number of open brackets.
    int changeDepth() const;

    /**
     * Appends a new sound without sample under \a identifier, or under one of
     * the collection's choosing when \a identifier is invalid, and gives it.
     * Null when the identifier is taken or the collection can take no more.
     */
    virtual Sound *add(QVariant const &identifier) = 0;
    /// The sound at \a index, or null.
    virtual Sound *soundAt(unsigned int index) const = 0;
    virtual unsigned int count() const = 0;
    /// The selected sound's index; -1 when none is selected or the selection is past the end.
    virtual int currentIndex() const;
    /**
     * The index of the first sound whose "Identifier" equals \a identifier,
     * from \a from on; -1 when there is none.
     */
    virtual int find(unsigned int from, QVariant const &identifier) const;

    /// count(), as a row count of the top level.
    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    /// The sound's name() under Qt::DisplayRole and Qt::EditRole.
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

    /// This list.
    QAbstractItemModel *model() override;
    /// True when there are no sounds.
    bool isEmpty() const override;
    bool isModified() const override;

Q_SIGNALS:
    /// The sample or the properties of \a sound changed.
    void soundChanged(Kenro::Sound *sound);
    /// Sounds were added or removed; listeners read the list anew.
    void soundCountChanged();

protected:
    ~Sounds() override;

    /**
     * Sets the modified state, telling changed() when it flips; subclasses
     * clear it after reading or writing the file.
     */
    void setModified(bool modified);

private:
    // What happened since the last close, taken from the model's signals.
    void noteSoundsChanged(int first, int last);
    void noteSoundsLeaving(int first, int last);
    void noteListChanged();
    void noteEdit();
    // Marks the file modified and tells the listeners what was gathered.
    void settle();

    int m_depth = 0;
    bool m_modified = false;
    bool m_listChanged = false;
    QSet<Sound *> m_changedSounds;
    // Counts removals and resets, so that a report sees when sounds went.
    quint64 m_removals = 0;
};

} // namespace Kenro
