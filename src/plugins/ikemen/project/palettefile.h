#pragma once

#include "binaryfile.h"

#include <kenro/imaging/rgb.h>
#include <kenro/project/messages.h>

#include <QList>
#include <QPointer>

namespace Kenro::Ikemen {

class SffPalette;
class SffSprites;

/**
 * A character's palette file (.act), held as its bytes. Shown in the
 * character's sprite archive, it gives the palette of one or more slots;
 * when such a palette is edited, saving writes its colours back to the
 * file. A file too short for a palette keeps its bytes and says so in a
 * warning.
 */
class PaletteFile : public BinaryFile
{
public:
    PaletteFile();

    /// True when the bytes hold a palette: 768 bytes or more.
    bool isPalette() const;
    /// The colours of the file, colour 0 transparent; false when it holds no palette.
    bool colors(RGBA (&colors)[256]) const;
    /**
     * Shows the file in \a sprites as the palette of the character's slot
     * \a slot, group 1 and number \a slot, in place of a palette that has
     * that identifier. Null when the file holds no palette.
     */
    SffPalette *showIn(SffSprites &sprites, int slot);
    /// The palettes that show this file, in the sprites it was last shown in.
    QList<SffPalette *> palettes() const;

    /// True when the bytes changed or a palette that shows the file has other colours.
    bool isModified() const override;
    void reset() override;
    /**
     * Writes the bytes, the first 768 of them the colours of an edited
     * palette that shows the file; bytes past them stay as read. Saved
     * under its own name, the file's palettes all take the colours written
     * and the new name. False when the file cannot be written.
     */
    bool toFile(Archive &archive, QString const &name, unsigned int flags,
                JobStats *stats) override;
    /**
     * Reads the bytes, with a warning when they hold no palette; the
     * palettes that show the file take its new colours. False when the
     * file cannot be opened.
     */
    bool fromFile(Archive &archive, QString const &name, unsigned int flags,
                  JobStats *stats) override;

protected:
    Messages *fileMessages() const override;

private:
    // The bytes that toFile() writes.
    QByteArray bytesToWrite() const;
    // The palettes of the sprites whose file is \a name.
    QList<SffPalette *> palettesOf(QString const &name) const;
    // Each palette of the file takes its colours, and the file's name.
    void showColors(QList<SffPalette *> const &palettes);

    QPointer<SffSprites> m_sprites;
    SimpleMessages m_problems;
};

} // namespace Kenro::Ikemen
