#pragma once

#include <QtEndian>
#include <QtGlobal>

#include <cstring>

#if defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2)
#include <emmintrin.h>
#define KENRO_BYTECHUNKS_SSE2 1
#endif

namespace Kenro {

/**
 * Sixteen bytes moved as one unit, in a vector register where the processor
 * has one. The decoders write runs and copies in whole chunks into buffers
 * with room behind their end, and later packets overwrite what a chunk wrote
 * past its packet.
 */
struct Chunk16
{
#ifdef KENRO_BYTECHUNKS_SSE2
    __m128i bytes;

    static Chunk16 load(uchar const *from)
    {
        return {_mm_loadu_si128(reinterpret_cast<__m128i const *>(from))};
    }
    static Chunk16 filled(uchar value)
    {
        // One multiplication spreads the byte over a word, one shuffle the word.
        return {_mm_shuffle_epi32(_mm_cvtsi32_si128(int(value * 0x01010101u)), 0)};
    }
    void store(uchar *to) const
    {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to), bytes);
    }
#else
    uchar bytes[16];

    static Chunk16 load(uchar const *from)
    {
        Chunk16 chunk;
        std::memcpy(chunk.bytes, from, 16);
        return chunk;
    }
    static Chunk16 filled(uchar value)
    {
        Chunk16 chunk;
        std::memset(chunk.bytes, value, 16);
        return chunk;
    }
    void store(uchar *to) const
    {
        std::memcpy(to, bytes, 16);
    }
#endif
};

/// Writes \a length bytes of \a value at \a target, and up to 15 more behind them.
inline void fillChunks(uchar *target, uchar value, qint64 length)
{
    Chunk16 const chunk = Chunk16::filled(value);
    chunk.store(target);
    for (qint64 i = 16; i < length; i += 16)
        chunk.store(target + i);
}

/**
 * Copies \a length bytes from \a source to \a target, and up to 15 more
 * behind them. The ranges may overlap when the source is at least 16 bytes
 * before the target: each chunk then reads bytes written before it.
 */
inline void copyChunks(uchar *target, uchar const *source, qint64 length)
{
    Chunk16::load(source).store(target);
    for (qint64 i = 16; i < length; i += 16)
        Chunk16::load(source + i).store(target + i);
}

/**
 * The bytes from 0x40 to 0x7F among the 64 at \a bytes, one bit each, byte i
 * at bit i: in RLE8 the bytes that start a run when they start a packet.
 * This one works on any processor, eight bytes at a time.
 */
inline quint64 runTagsPortable(uchar const *bytes)
{
    quint64 tags = 0;
    for (int i = 0; i < 8; ++i) {
        quint64 const word = qFromLittleEndian<quint64>(bytes + 8 * i);
        // Bit 6 of each byte set and bit 7 clear, moved to bit 0 ...
        quint64 const flags = ((word & ~(word >> 1)) >> 6) & 0x0101010101010101ULL;
        // ... and the eight bits gathered into the top byte of the product.
        tags |= ((flags * 0x0102040810204080ULL) >> 56) << (8 * i);
    }
    return tags;
}

/// As runTagsPortable(), in vector registers where the processor has them.
inline quint64 runTags(uchar const *bytes)
{
#ifdef KENRO_BYTECHUNKS_SSE2
    __m128i const top = _mm_set1_epi8(char(0xC0));
    __m128i const tag = _mm_set1_epi8(0x40);
    quint64 tags = 0;
    for (int i = 0; i < 4; ++i) {
        __m128i const chunk = _mm_loadu_si128(reinterpret_cast<__m128i const *>(bytes + 16 * i));
        uint const bits = uint(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(chunk, top), tag)));
        tags |= quint64(bits) << (16 * i);
    }
    return tags;
#else
    return runTagsPortable(bytes);
#endif
}

} // namespace Kenro
