#pragma once

#include "sffitemlist.h"
#include "sffpalette.h"

#include <kenro/imaging/palettes.h>

namespace Kenro {}

namespace Kenro::Ikemen {

class SffSprites;
struct SffPaletteData;

/**
 * The palettes of a sprite archive, in the archive's order, followed by any
 * palettes loaded from a character's palette files. Identifiers are numbers,
 * group * 65536 + number.
 */
class SffPalettes : public SffItemList<Palettes, SffPalette>
{
    Q_OBJECT

public:
    explicit SffPalettes(SffSprites *sprites);
    ~SffPalettes() override;

    /// The palette at \a index as its own class, or null.
    SffPalette *palette(unsigned int index) const;
    /// An identifier in \a group that no palette has.
    unsigned int freeIdentifier(quint16 group) const;
    /// Appends a palette as read from an archive or a palette file, telling views.
    SffPalette *append(SffPaletteData const &data, QString const &file = QString());
    /**
     * Shows \a colors of the palette file \a file as the palette of
     * \a identifier: a palette that has it takes the colours and the file in
     * place, so that its sprites keep it; otherwise a new palette is appended.
     * The archive does not count as modified.
     */
    SffPalette *showFile(RGBA const (&colors)[256], QString const &file, unsigned int identifier);
    /// True when a sprite shows \a palette.
    bool isUsed(SffPalette const *palette) const;
    /// Drops every palette without telling anyone; for a new read.
    void reset();
    /**
     * Tells views that the palette at \a row changed, and marks the file
     * modified unless the palette is one of a palette file that no sprite
     * shows: such a palette is not written to the archive.
     */
    void rowChanged(int row);

    /// By group, then number.
    int compare(unsigned int a, unsigned int b) const override;
    void beginChange() override;
    void endChange() override;
    /// Removes a palette; the sprites that used it are left without one.
    void remove(unsigned int index) override;

    Sprites *sprites() const override;
    unsigned int count() const override;
    Palette *at(unsigned int index) const override;
    /// \a identifier is a number or "group, number" text.
    Palette *add(RGBA const *colors, QVariant const &identifier, ShareMode share) override;
    Palette *insert(unsigned int index, RGBA const *colors, QVariant const &identifier,
                    ShareMode share) override;
    void removeDuplicates() override;
    int find(unsigned int from, unsigned int identifier) const override;
    void clear() override;
    /// Removes every palette of the archive that no sprite uses; palette files stay.
    void clearUnused() override;

protected:
    void touched() override;

private:
    SffPalette *findEqual(RGBA const *colors) const;
    bool mayShare(ShareMode share) const;

    SffSprites *m_sprites;
};

} // namespace Kenro::Ikemen
