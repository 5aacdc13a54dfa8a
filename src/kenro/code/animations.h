#pragma once

#include <kenro/code/codenodefile.h>
#include <kenro/imaging/organizableobject.h>

#include <QList>

namespace Kenro {

class AnimationCode;

/**
 * The animations of a code document as a user-ordered list: the editor adds,
 * moves, sorts, duplicates and deletes animations here, each act being a
 * text edit that the parser then mirrors into nodes. The extension gives the
 * text of a new animation.
 */
class KENRO_EXPORT Animations : public OrganizableObject, public CodeNodeFile
{
    Q_OBJECT

public:
    /// A list over the animations of \a document; register it there to fill it.
    explicit Animations(CodeDocument *document);

    /// The text of a new animation, with "%1" for its identifier.
    virtual QString animationTemplate() const = 0;

    unsigned int count() const;
    /// The animation at \a index, or null.
    AnimationCode *at(unsigned int index) const;
    /// The row of \a animation, or -1.
    int indexOf(AnimationCode const *animation) const;
    QList<AnimationCode *> const &animations() const;

    /**
     * The first animation from \a start on whose "Identifier" reads as
     * \a id; -1 when there is none.
     */
    int find(unsigned int start, QVariant const &id) const;
    /// Writes a new animation \a id at the end of the text; the last animation, or null.
    AnimationCode *add(QString const &id);
    /// Writes a new animation \a id before the one at \a index; past the end it is add().
    AnimationCode *insert(unsigned int index, QString const &id);
    /**
     * Writes a copy of the animation at \a index behind it, with its
     * heading's identifier replaced by \a newId where that is not empty.
     * The copy, or null.
     */
    AnimationCode *duplicate(unsigned int index, QString const &newId);

    // OrganizableObject
    /// Removes the animation at \a index with its text; out of range does nothing.
    void remove(unsigned int index) override;
    /// Moves the text of the animation at \a from so that it stands at row \a to.
    void move(unsigned int from, unsigned int to) override;
    /**
     * Orders by identifier: numbers by value, words without regard to case,
     * and a number after a word. Never 0: ties give 1 both ways.
     */
    int compare(unsigned int a, unsigned int b) const override;
    void beginChange() override;
    void endChange() override;
    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    /// The display name of an animation; nothing while the text is being changed.
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

    // CodeNodeFile
    void insertChild(CodeNode *child, unsigned int index) override;
    void removeChild(CodeNode *child) override;
    /// Tells views that the animation's row shows something new.
    void childChanged(CodeNode *child) override;

private:
    QList<AnimationCode *> m_animations;
    bool m_moving = false;
};

} // namespace Kenro
