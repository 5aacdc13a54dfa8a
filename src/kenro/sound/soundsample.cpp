#include <kenro/sound/soundsample.h>

#include <cmath>
#include <cstring>

namespace Kenro {

namespace {

// The 3 bytes of a 20- or 24-bit sample, low byte first, in the top of a
// signed 32-bit value.
qint32 read24Shifted(unsigned char const *bytes)
{
    return qint32(quint32(bytes[0]) << 8 | quint32(bytes[1]) << 16 | quint32(bytes[2]) << 24);
}

qint16 read16(unsigned char const *bytes)
{
    return qint16(quint16(bytes[0] | bytes[1] << 8));
}

qint32 read32(unsigned char const *bytes)
{
    return qint32(quint32(bytes[0]) | quint32(bytes[1]) << 8 | quint32(bytes[2]) << 16 |
                  quint32(bytes[3]) << 24);
}

void write16(unsigned char *bytes, quint32 value)
{
    bytes[0] = value & 0xFF;
    bytes[1] = (value >> 8) & 0xFF;
}

// Truncates toward zero and saturates into lo..hi. Clamping first gives the
// same result as truncating first, and keeps the conversion defined.
qint64 truncClamped(double value, qint64 lo, qint64 hi)
{
    if (!(value > double(lo)))
        return lo;
    if (value > double(hi))
        return hi;
    return qint64(value);
}

// Truncation toward zero whose result wraps like the integer it lands in;
// values far out of range (callers' fault) still convert without undefined
// behaviour.
qint64 truncWrapping(double value)
{
    if (!(std::fabs(value) < 9.2e18))
        return 0;
    return qint64(value);
}

} // namespace

float decodeSample(void const *sample, unsigned short bits)
{
    auto const *bytes = static_cast<unsigned char const *>(sample);
    switch (bits) {
    case 8:
        return float(int(bytes[0]) - 128) * 0.0078125f;
    case 16:
        return float(read16(bytes)) * 3.0517578e-5f;
    case 20:
    case 24:
        return float(read24Shifted(bytes)) * 4.656613e-10f;
    case 32:
        return float(double(read32(bytes)) * 4.656612873077393e-10);
    default:
        return 0.0f;
    }
}

void encodeSample(float value, void *sample, unsigned short bits)
{
    auto *bytes = static_cast<unsigned char *>(sample);
    switch (bits) {
    case 8:
        bytes[0] = quint8(truncWrapping(value * 128.0f + 128.0f));
        break;
    case 16:
        write16(bytes, quint32(truncWrapping(value * 32768.0f)));
        break;
    case 20:
    case 24: {
        // Scaled to 32 bits; the low byte is dropped.
        auto const scaled = quint32(truncWrapping(value * 2147483648.0f));
        bytes[0] = (scaled >> 8) & 0xFF;
        bytes[1] = (scaled >> 16) & 0xFF;
        bytes[2] = (scaled >> 24) & 0xFF;
        break;
    }
    case 32: {
        auto const scaled = quint32(truncWrapping(double(value) * 2147483648.0));
        write16(bytes, scaled);
        write16(bytes + 2, scaled >> 16);
        break;
    }
    default:
        break;
    }
}

void scaleSample(void *destination, void const *source, float factor, unsigned short bits)
{
    auto const *in = static_cast<unsigned char const *>(source);
    auto *out = static_cast<unsigned char *>(destination);
    switch (bits) {
    case 8: {
        float const product = float(int(in[0]) - 128) * factor;
        out[0] = quint8(truncClamped(product, -128, 127) + 128);
        break;
    }
    case 16: {
        float const product = float(read16(in)) * factor;
        write16(out, quint32(truncClamped(product, -32768, 32767)));
        break;
    }
    case 20:
    case 24: {
        // The clamp works on the value still shifted left by 8, so results
        // stay within 1/256 of full scale.
        float const product = float(read24Shifted(in)) * factor;
        auto const r = quint64(truncClamped(product, -0x800000, 0x7FFFFF));
        out[0] = (r >> 8) & 0xFF;
        out[1] = (r >> 16) & 0xFF;
        out[2] = (r >> 24) & 0xFF;
        break;
    }
    case 32: {
        // Only the low half is stored; the upper two bytes keep their value.
        float const product = float(read32(in)) * factor;
        write16(out, quint32(truncClamped(product, -2147483648LL, 2147483647LL)));
        break;
    }
    default:
        break;
    }
}

char const *soundFileExtension(SoundExtensionType type)
{
    switch (type) {
    case SoundExtensionAll:
        return " (*.wav *.ogg *.flac *.mp3);;";
    case SoundExtensionRead:
        return "WAVEform audio format (*.wav);;Ogg Vorbis (*.ogg);;Free Lossless Audio Codec "
               "(*.flac);;MPEG-1/2 Audio Layer 3 (*.mp3)";
    case SoundExtensionWrite:
        return "WAVEform audio format (*.wav);;Ogg Vorbis (*.ogg);;Free Lossless Audio Codec "
               "(*.flac)";
    }
    return nullptr;
}

} // namespace Kenro
