#include <kenro/imaging/paletteobject.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Kenro {

namespace {

// Brackets one change: changing() now, changed() when it goes out of scope.
class ChangeBracket
{
public:
    explicit ChangeBracket(PaletteObject *object) : m_object(object)
    {
        Q_EMIT m_object->changing();
    }
    ~ChangeBracket() { Q_EMIT m_object->changed(); }
    ChangeBracket(ChangeBracket const &) = delete;
    ChangeBracket &operator=(ChangeBracket const &) = delete;

private:
    PaletteObject *m_object;
};

bool selected(bool const *mask, int i)
{
    return !mask || mask[i];
}

uchar clampByte(int value)
{
    return uchar(std::clamp(value, 0, 255));
}

int squaredDistance(RGBA const &x, RGBA const &y)
{
    int const dr = int(x.r) - int(y.r);
    int const dg = int(x.g) - int(y.g);
    int const db = int(x.b) - int(y.b);
    return dr * dr + dg * dg + db * db;
}

// One channel of step i of a gradient over n steps; the low byte is kept.
uchar gradientChannel(uchar first, uchar last, int i, int n)
{
    return uchar(int(first) + (i * (int(last) - int(first))) / n);
}

RGBA gradientColor(RGBA const &first, RGBA const &last, int i, int n)
{
    return RGBA{gradientChannel(first.r, last.r, i, n), gradientChannel(first.g, last.g, i, n),
                gradientChannel(first.b, last.b, i, n), gradientChannel(first.a, last.a, i, n)};
}

void applyEffectTo(RGBA &c, RGBPaletteEffect effect)
{
    int const m = (int(c.r) + int(c.g) + int(c.b)) / 3;
    auto shift = [&c](int amount) {
        c.r = clampByte(c.r + amount);
        c.g = clampByte(c.g + amount);
        c.b = clampByte(c.b + amount);
    };
    switch (effect) {
    case RedBlueSwap:
    case BlueRedSwap:
        std::swap(c.r, c.b);
        break;
    case GreenBlueSwap:
    case BlueGreenSwap:
        std::swap(c.g, c.b);
        break;
    case RedGreenSwap:
    case GreenRedSwap:
        std::swap(c.r, c.g);
        break;
    case Lighten:
        shift(32);
        break;
    case Darken:
        shift(-32);
        break;
    case Grey:
        c.r = c.g = c.b = uchar(m);
        break;
    case WarmTint:
        c.r = uchar(std::min(m + 100, 255));
        c.g = uchar(m >> 1);
        c.b = 0;
        break;
    case VioletTint:
        c.r = uchar((m >> 2) + 60);
        c.g = 0;
        c.b = uchar((m >> 1) + 60);
        break;
    case ContrastFlatten:
        c.r = c.g = c.b = uchar(m < 128 ? m + 50 : m - 50);
        break;
    case StrongLighten:
        shift(128);
        break;
    case StrongDarken:
        shift(-128);
        break;
    default:
        break;
    }
}

} // namespace

PaletteObject::PaletteObject(RGBA (*palette)[256]) : m_palette(palette) {}

PaletteObject &PaletteObject::operator=(RGBA (*palette)[256])
{
    m_palette = palette;
    return *this;
}

QColor PaletteObject::colorAt(uchar i) const
{
    RGBA const &c = (*m_palette)[i];
    return QColor(c.r, c.g, c.b, c.a);
}

void PaletteObject::toPalette(RGBA (&out)[256]) const
{
    std::memcpy(out, *m_palette, sizeof(out));
}

uchar PaletteObject::index(RGBA color) const
{
    int best = 0x7FFFFFFF;
    int bestIndex = 0;
    // The alpha difference of the best entry is kept as a byte, so a negative
    // difference counts as a large one when the next tie is weighed.
    uchar bestAlpha = 255;
    for (int i = 0; i < 256; ++i) {
        RGBA const &entry = (*m_palette)[i];
        int const d = squaredDistance(entry, color);
        int const da = int(entry.a) - int(color.a);
        if (d < best || (d == best && da < int(bestAlpha))) {
            best = d;
            bestIndex = i;
            bestAlpha = uchar(da);
        }
    }
    return uchar(bestIndex);
}

void PaletteObject::fromPalette(RGBA const *source)
{
    if (!source)
        return;
    ChangeBracket bracket(this);
    std::memmove(*m_palette, source, sizeof(*m_palette));
}

void PaletteObject::setColor(uchar i, RGBA color)
{
    ChangeBracket bracket(this);
    (*m_palette)[i] = color;
}

void PaletteObject::setColor(bool const *mask, RGBA color)
{
    ChangeBracket bracket(this);
    for (int i = 0; i < 256; ++i) {
        if (selected(mask, i))
            (*m_palette)[i] = color;
    }
}

void PaletteObject::gradient(uchar from, RGBA first, uchar to, RGBA const &last)
{
    ChangeBracket bracket(this);
    if (from >= to)
        return;
    int const steps = to - from;
    // The first step divides by the step count, the others by one less, so
    // that the last step lands on last. Entries count from 0, not from "from".
    for (int i = 0; i < steps; ++i)
        (*m_palette)[i] = gradientColor(first, last, i, i == 0 ? steps : steps - 1);
}

void PaletteObject::gradient(bool const *mask, RGBA first, RGBA last)
{
    ChangeBracket bracket(this);
    int n = 0;
    for (int i = 0; i < 256; ++i) {
        if (selected(mask, i))
            ++n;
    }
    int step = 0;
    for (int i = 0; i < 256; ++i) {
        if (!selected(mask, i))
            continue;
        (*m_palette)[i] = gradientColor(first, last, step, n);
        // One less after the first entry, so that the last one lands on last.
        if (step == 0)
            --n;
        ++step;
    }
}

void PaletteObject::clearDuplicated(RGB replacement)
{
    ChangeBracket bracket(this);
    RGBA const opaque{replacement.r, replacement.g, replacement.b, 255};
    for (int i = 2; i < 256; ++i) {
        for (int j = i - 1; j >= 1; --j) {
            if ((*m_palette)[j] == (*m_palette)[i]) {
                (*m_palette)[j] = opaque;
                break;
            }
        }
    }
}

void PaletteObject::addColors(RGBA const *source)
{
    if (!source)
        return;
    ChangeBracket bracket(this);
    int next = 255;
    for (int k = 0; k < 256 && next >= 0; ++k) {
        RGBA const color = source[k];
        RGBA const *begin = *m_palette;
        RGBA const *end = begin + 256;
        if (std::find(begin, end, color) == end)
            (*m_palette)[next--] = color;
    }
}

void PaletteObject::applyEffect(RGBPaletteEffect effect, bool const *mask)
{
    ChangeBracket bracket(this);
    for (int i = 0; i < 256; ++i) {
        if (selected(mask, i))
            applyEffectTo((*m_palette)[i], effect);
    }
}

void PaletteObject::switchColors(bool const *mask, bool keepAlphaEnds)
{
    ChangeBracket bracket(this);
    RGBA(&p)[256] = *m_palette;
    int lo = 0;
    int hi = 255;
    for (;;) {
        if (mask) {
            while (lo < 255 && !mask[lo])
                ++lo;
        }
        if (lo == 255)
            break;
        if (mask) {
            while (hi > 0 && !mask[hi])
                --hi;
        }
        // Entry 0 may only be the lower end of an exchange.
        if (hi == 0 || lo >= hi)
            break;
        std::swap(p[lo], p[hi]);
        ++lo;
        --hi;
    }
    if (keepAlphaEnds)
        std::swap(p[0].a, p[255].a);
}

void PaletteObject::sortByTones()
{
    ChangeBracket bracket(this);
    RGBA(&p)[256] = *m_palette;
    for (int i = 1; i < 255; ++i) {
        int nearest = i;
        int best = squaredDistance(p[i], p[i - 1]);
        for (int j = i + 1; j < 256; ++j) {
            int const d = squaredDistance(p[j], p[i - 1]);
            if (d < best) {
                best = d;
                nearest = j;
            }
        }
        std::swap(p[i], p[nearest]);
    }
}

void PaletteObject::addHueSaturation(bool const *mask, short hue, short saturation)
{
    ChangeBracket bracket(this);
    for (int i = 0; i < 256; ++i) {
        if (!selected(mask, i))
            continue;
        RGBA &entry = (*m_palette)[i];
        QColor const hsl = QColor(entry.r, entry.g, entry.b, entry.a).toHsl();
        // An achromatic colour has hue -1 and is shifted like any other.
        int const h = std::clamp(hsl.hslHue() + hue, 0, 359);
        int const s = std::clamp(hsl.hslSaturation() + saturation, 0, 255);
        QColor const rgb = QColor::fromHsl(h, s, hsl.lightness(), 255).toRgb();
        entry = RGBA{uchar(rgb.red()), uchar(rgb.green()), uchar(rgb.blue()), uchar(rgb.alpha())};
    }
}

void PaletteObject::addRGB(bool const *mask, short r, short g, short b)
{
    ChangeBracket bracket(this);
    for (int i = 0; i < 256; ++i) {
        if (!selected(mask, i))
            continue;
        RGBA &entry = (*m_palette)[i];
        entry.r = clampByte(entry.r + r);
        entry.g = clampByte(entry.g + g);
        entry.b = clampByte(entry.b + b);
    }
}

void PaletteObject::empty()
{
    std::memset(*m_palette, 0, sizeof(*m_palette));
}

} // namespace Kenro
