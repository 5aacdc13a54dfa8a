#pragma once

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
        return {_mm_set1_epi8(char(value))};
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

} // namespace Kenro
