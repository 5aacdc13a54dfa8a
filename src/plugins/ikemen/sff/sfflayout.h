#pragma once

#include <QByteArray>

namespace Kenro::Ikemen::SffLayout {

// Sizes of the fixed parts of a sprite archive.
constexpr int HeaderSize = 512;
constexpr int Version1SubheaderSize = 32;
constexpr int SpriteNodeSize = 28;
constexpr int PaletteNodeSize = 16;

// Places in a version 2 header.
constexpr int SpriteListOffset = 36;
constexpr int SpriteCount = 40;
constexpr int PaletteListOffset = 44;
constexpr int PaletteCount = 48;
constexpr int LiteralOffset = 52;
constexpr int LiteralLength = 56;
constexpr int TranslateOffset = 60;
constexpr int TranslateLength = 64;

// Little-endian fields at fixed places; callers check the bounds first.
inline quint16 get16(QByteArray const &data, qint64 at)
{
    auto const *p = reinterpret_cast<uchar const *>(data.constData() + at);
    return quint16(p[0] | (p[1] << 8));
}

inline quint32 get32(QByteArray const &data, qint64 at)
{
    return quint32(get16(data, at)) | (quint32(get16(data, at + 2)) << 16);
}

inline void put16(QByteArray &data, qint64 at, quint16 value)
{
    data[at] = char(value & 0xFF);
    data[at + 1] = char(value >> 8);
}

inline void put32(QByteArray &data, qint64 at, quint32 value)
{
    put16(data, at, quint16(value & 0xFFFF));
    put16(data, at + 2, quint16(value >> 16));
}

} // namespace Kenro::Ikemen::SffLayout
