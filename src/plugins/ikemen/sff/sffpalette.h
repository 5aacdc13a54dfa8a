#pragma once

#include "sffcontent.h"

#include <kenro/imaging/palette.h>

#include <QList>
#include <QRgb>

namespace Kenro::Ikemen {

class SffPalettes;

/**
 * A palette of a sprite archive, or of a character's palette file (.act)
 * when file() is set. Its identifier is the number group * 65536 + number.
 */
class SffPalette : public Palette
{
public:
    SffPalette(SffPalettes *owner, SffPaletteData const &data, QString const &file = QString());

    /// The colours and where they stand in the archive.
    SffPaletteData const &data() const;
    /// The colours as a Qt colour table; built once for every image that shows them.
    QList<QRgb> const &qtColorTable() const;
    /// The palette file that the colours came from, or empty for a palette of the archive.
    QString file() const;
    /**
     * Takes the colours of \a data and the palette file \a file, keeping
     * the identifier; tells no one.
     */
    void show(SffPaletteData const &data, QString const &file);
    /// "group, number".
    QString label() const;
    /// group * 65536 + number.
    unsigned int identifier() const;
    /// Changes the group and number to those of \a identifier; false when another palette has them.
    bool setIdentifier(unsigned int identifier);

    /// "Identifier", "Group", "Number", "Colours" and "File".
    QStringList propertyNames() const override;
    QVariant property(QString const &name) const override;
    /// "Identifier" takes a number that no other palette has.
    void setProperty(QString const &name, QVariant const &value) override;
    Palettes *parent() const override;
    unsigned int index() const override;
    bool colorTable(RGBA (&colors)[256]) const override;
    /// Stores the colours, colour 0 staying the transparent one.
    void setColorTable(RGBA const *colors, ShareMode share) override;
    Palette *duplicate() override;

private:
    SffPalettes *m_owner;
    SffPaletteData m_data;
    QString m_file;
    mutable QList<QRgb> m_table;
};

} // namespace Kenro::Ikemen
