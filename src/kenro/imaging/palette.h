#pragma once

#include <kenro/code/propertyitem.h>
#include <kenro/imaging/rgb.h>
#include <kenro/imaging/sharemode.h>

namespace Kenro {

class Palettes;

/// One palette of 256 colours in a palette collection; the extension keeps the bytes.
class KENRO_EXPORT Palette : public PropertyItem
{
public:
    Palette(Palette const &) = default;
    Palette &operator=(Palette const &) = default;

    /// The collection.
    virtual Palettes *parent() const = 0;
    /// The position of the palette in its collection.
    virtual unsigned int index() const = 0;
    /// Copies the 256 colours to \a colors; false when there are none to give.
    virtual bool colorTable(RGBA (&colors)[256]) const = 0;
    /// Stores the 256 \a colors, reusing an equal palette as \a share says.
    virtual void setColorTable(RGBA const *colors, ShareMode share) = 0;
    /// Adds a copy to the collection; null on failure.
    virtual Palette *duplicate() = 0;

protected:
    Palette() = default;
    ~Palette() override;
};

} // namespace Kenro
