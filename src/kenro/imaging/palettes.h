#pragma once

#include <kenro/imaging/organizableobject.h>
#include <kenro/imaging/rgb.h>
#include <kenro/imaging/sharemode.h>

#include <QVariant>

namespace Kenro {

class Palette;
class Sprites;

/// The palettes of a sprite file, in the user's order, as a list model.
class KENRO_EXPORT Palettes : public OrganizableObject
{
    Q_OBJECT

public:
    explicit Palettes(QObject *parent = nullptr);

    /// The sprites that these palettes go with.
    virtual Sprites *sprites() const = 0;
    virtual unsigned int count() const = 0;
    /// The palette at \a index, or null.
    virtual Palette *at(unsigned int index) const = 0;
    /**
     * Adds the 256 \a colors as a palette of \a identifier at the end, reusing
     * an equal palette as \a share says. Null on failure.
     */
    virtual Palette *add(RGBA const *colors, QVariant const &identifier, ShareMode share) = 0;
    /// As add(), at \a index.
    virtual Palette *insert(unsigned int index, RGBA const *colors, QVariant const &identifier,
                            ShareMode share) = 0;
    /// Removes every palette that repeats an earlier one; their users take the earlier.
    virtual void removeDuplicates() = 0;
    /// The index of the first palette of \a identifier from \a from on; -1 when there is none.
    virtual int find(unsigned int from, unsigned int identifier) const = 0;
    /// Removes every palette.
    virtual void clear() = 0;
    /// Removes every palette that no sprite uses.
    virtual void clearUnused() = 0;
};

} // namespace Kenro
