#pragma once

#include <kenro/imaging/organizableobject.h>
#include <kenro/imaging/sharemode.h>
#include <kenro/project/projectfile.h>

#include <QImage>
#include <QVariant>

namespace Kenro {

class Palettes;
class Sprite;

/**
 * A sprite file of a project: the sprites in the user's order, as a list
 * model, with the palettes that go with them. Engine extensions supply the
 * storage; editors rely on the operations below.
 */
class KENRO_EXPORT Sprites : public OrganizableObject, public ProjectFile
{
    Q_OBJECT

public:
    explicit Sprites(QObject *parent = nullptr);

    /// The palettes that go with these sprites.
    virtual Palettes *palettes() const = 0;
    virtual unsigned int count() const = 0;
    /// The sprite at \a index, or null.
    virtual Sprite *at(unsigned int index) const = 0;
    /**
     * Adds a sprite of \a identifier and \a image at \a index, reusing an
     * equal image as \a share says. Null on failure.
     */
    virtual Sprite *insert(unsigned int index, QVariant const &identifier, QImage const &image,
                           ShareMode share) = 0;
    /// As insert(), at the end.
    virtual Sprite *add(QVariant const &identifier, QImage const &image, ShareMode share) = 0;
    /// The index of the first sprite of \a identifier from \a from on; -1 when there is none.
    virtual int find(unsigned int from, QVariant const &identifier) const = 0;
    /// Removes every sprite.
    virtual void clear() = 0;

    // One change step for both the file and the list.
    void beginChange() override;
    void endChange() override;
};

} // namespace Kenro
