#pragma once

#include <kenro/imaging/rgb.h>
#include <kenro/kenro_export.h>

#include <QColor>
#include <QObject>

namespace Kenro {

/// The colour effects of PaletteObject::applyEffect. Other values change nothing.
enum RGBPaletteEffect {
    NoEffect = 0,
    RedBlueSwap = 1,
    GreenBlueSwap = 2,
    RedGreenSwap = 3,
    BlueGreenSwap = 4, // same result as GreenBlueSwap, kept as a value of its own
    GreenRedSwap = 5, // same result as RedGreenSwap
    BlueRedSwap = 6, // same result as RedBlueSwap
    Lighten = 7,
    Darken = 8,
    Grey = 9,
    WarmTint = 10,
    VioletTint = 11,
    ContrastFlatten = 12,
    StrongLighten = 13,
    StrongDarken = 14
};

/**
 * A view with operations and change signals over a palette of 256 RGBA that
 * somebody else owns. The owner must outlive the view or re-point it. Each
 * operation that changes colours emits changing() before and changed() after
 * its work, once each, except empty(). A \a mask argument points to 256 bools
 * telling which entries take part; a null mask means all of them.
 */
class KENRO_EXPORT PaletteObject : public QObject
{
    Q_OBJECT

public:
    /// A view over \a palette, which is not owned.
    explicit PaletteObject(RGBA (*palette)[256]);
    /// Points the view at \a palette, without any signal.
    PaletteObject &operator=(RGBA (*palette)[256]);

    /// The array worked on.
    RGBA (&palette() const)[256] { return *m_palette; }
    /// Entry \a i.
    RGBA at(uchar i) const { return (*m_palette)[i]; }
    RGBA operator[](uchar i) const { return (*m_palette)[i]; }
    /// Entry \a i as a QColor with its alpha.
    QColor colorAt(uchar i) const;
    /// Copies the 256 entries to \a out.
    void toPalette(RGBA (&out)[256]) const;
    /**
     * The entry nearest to \a color by the squared distance of red, green and
     * blue; among entries at the same distance the first one, unless a later
     * one has a smaller alpha difference.
     */
    uchar index(RGBA color) const;

    /// Copies 256 entries from \a source; a null source changes nothing.
    void fromPalette(RGBA const *source);
    /// Sets entry \a i to \a color.
    void setColor(uchar i, RGBA color);
    /// Sets every entry of \a mask to \a color.
    void setColor(bool const *mask, RGBA color);
    /**
     * A gradient of to - from steps from \a first to \a last, written at
     * entries 0 to to - from - 1: counted from the start of the array, not
     * from \a from. Changes nothing when \a from is not below \a to.
     */
    void gradient(uchar from, RGBA first, uchar to, RGBA const &last);
    /// A gradient from \a first to \a last over the entries of \a mask, in ascending order.
    void gradient(bool const *mask, RGBA first, RGBA last);
    /**
     * For each entry from 2 up that repeats an earlier entry (from 1 up, all four
     * bytes), the nearest earlier copy becomes \a replacement, opaque. Entry 0
     * is never looked at.
     */
    void clearDuplicated(RGB replacement);
    /**
     * Adds each of the 256 colours of \a source that the palette lacks, writing
     * from entry 255 downwards over what was there.
     */
    void addColors(RGBA const *source);
    /// Applies \a effect to the colour bytes of the entries of \a mask; alpha stays.
    void applyEffect(RGBPaletteEffect effect, bool const *mask);
    /**
     * Reverses the order of the entries of \a mask. With \a keepAlphaEnds the
     * alpha bytes of entries 0 and 255 are exchanged afterwards, so that a
     * transparent entry 0 stays transparent after a full reversal.
     */
    void switchColors(bool const *mask, bool keepAlphaEnds);
    /// Orders entries 1 to 255 as a chain, each the nearest in colour to the one before.
    void sortByTones();
    /**
     * Shifts the HSL hue and saturation of the entries of \a mask, clamped to
     * 0-359 and 0-255; the entries become opaque.
     */
    void addHueSaturation(bool const *mask, short hue, short saturation);
    /// Adds \a r, \a g and \a b to the entries of \a mask, clamped to 0-255; alpha stays.
    void addRGB(bool const *mask, short r, short g, short b);
    /// Zeroes all entries. Emits nothing: the caller refreshes its views.
    void empty();

Q_SIGNALS:
    /// The palette is about to change.
    void changing();
    /// The palette has changed.
    void changed();

private:
    RGBA (*m_palette)[256];
};

} // namespace Kenro
