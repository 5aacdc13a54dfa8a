#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/imageinfo.h>

#include "bytechunks_p.h"
#include "devicereader_p.h"
#include "pixelbytes_p.h"
#include "rle8paths_p.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>

#if (defined(__GNUC__) || defined(__clang__)) && defined(__x86_64__)
#include <immintrin.h>
#define KENRO_RLE8_X86 1
#define KENRO_TARGET_AVX512 __attribute__((target("avx512f,avx512bw,avx512vbmi2,bmi2,popcnt")))
#define KENRO_TARGET_AVX2 __attribute__((target("avx2,bmi")))
#endif

namespace Kenro {

namespace {

// RLE8 packets of 0x40 to 0x7F are runs of up to 63; every other byte is a pixel.
constexpr int MaximumRun = 63;

/**
 * Where the bytes of an RLE stream go in an image: lines of lineBytes bytes
 * that start lineBytes + padding bytes apart, until the image's size in
 * bytes; the line that reaches that size is the last, cut there. A line of
 * no bytes never ends: the bytes then go on without padding. The decoders
 * write the stream's bytes one after the other into a buffer with room
 * behind its end, and copy them into the lines at the end, so that what a
 * short stream does not reach stays as it was.
 */
class LineLayout
{
public:
    LineLayout(QImage const &image, qint64 lineBytes, qint64 padding)
        : m_lineBytes(lineBytes),
          m_size(image.isNull() ? 0 : qint64(image.height()) * image.bytesPerLine()),
          m_step(lineBytes + padding)
    {
        if (lineBytes <= 0 || padding == 0 || m_step <= 0) {
            m_lineBytes = m_step = m_count = m_size;
            return;
        }
        // Whole lines, then what is left of the last one.
        qint64 const whole = m_size >= lineBytes ? (m_size - lineBytes) / m_step + 1 : 0;
        m_count = whole * lineBytes + std::clamp<qint64>(m_size - whole * m_step, 0, lineBytes);
    }

    /// How many bytes of the stream the image holds.
    qint64 count() const { return m_count; }

    /// Copies the first \a written bytes of the stream from \a from into \a image.
    void copyInto(QImage &image, uchar const *from, qint64 written) const
    {
        if (written > 0)
            copyLines(image.bits(), m_step, from, m_lineBytes, written);
    }

private:
    qint64 m_lineBytes;
    qint64 m_size;
    qint64 m_step;
    qint64 m_count = 0;
};

/// A buffer for \a count bytes and \a slack behind them; null when there is no memory.
std::unique_ptr<uchar[]> streamBuffer(qint64 count, qint64 slack)
{
    return std::unique_ptr<uchar[]>(new (std::nothrow) uchar[size_t(count + slack)]);
}

// The most pixels an RLE5 packet gives: a first run of 256 and 31 runs of 8.
constexpr qint64 Rle5PacketPixels = 256 + 31 * 8;
// The most bytes an RLE5 packet takes.
constexpr qint64 Rle5PacketBytes = 3 + 31;

// Room behind an RLE8 buffer for the chunks that a packet ending at its end writes.
constexpr qint64 Rle8Slack = 64;
// A block of 64 stream bytes, and what the chunks of its last pixels read past it.
constexpr qint64 Rle8BlockReach = 80;

// The most pixels one block gives: a single pixel and 32 runs of 63, when
// the last run starts at the block's last byte.
constexpr qint64 Rle8BlockPixels = 1 + 32 * 63;

/**
 * The run packets among 64 stream bytes whose first byte starts a packet,
 * from their \a tags (the bytes of 0x40 to 0x7F): of a row of tagged bytes,
 * the first starts a run and the second is its value, and so on alternately.
 */
inline quint64 runHeads(quint64 tags)
{
    constexpr quint64 even = 0x5555555555555555ULL;
    quint64 const starts = tags & ~(tags << 1);
    // Adding the starts at even places clears those rows: left are the rows
    // that start at odd places.
    quint64 const oddRows = (tags + (starts & even)) & tags;
    return ((tags & ~oddRows) & even) | (oddRows & ~even);
}

/**
 * Decodes the packets of one RLE8 block of 64 stream bytes at \a next, which
 * starts at a packet: the bytes of 0x40 to 0x7F in it are found at once; of
 * a row of them that follows another byte, the first starts a run and the
 * second is its value, and so on alternately. So the run packets are known
 * before any is read, and the bytes between them are single pixels, copied
 * in chunks. Returns the stream bytes taken: 64, or 65 when the last byte
 * starts a run. When \a Bounded, stops before a packet that would write past
 * \a last or come when the image is full; otherwise the block must fit.
 */
template<bool Bounded>
qint64 decodeRle8Block(uchar const *next, uchar *&out, uchar *last)
{
    quint64 heads = runHeads(runTags(next));
    qint64 taken = 0;
    uchar *to = out;
    while (heads != 0) {
        qint64 const at = qCountTrailingZeroBits(heads);
        heads &= heads - 1;
        qint64 const pixels = at - taken;
        uint const run = next[at] & 0x3F;
        // Bounded, the image must not fill up before the run either: a full
        // image takes no more packets, not even an empty run.
        if (Bounded && Q_UNLIKELY(to + pixels + std::max(run, 1u) > last)) {
            out = to;
            return taken;
        }
        // One chunk covers most rows of single pixels between runs, and two
        // chunks nearly every run; the rare longer ones take a branch. (More
        // chunks for all would spare the branch, but cost more in stores.)
        Chunk16::load(next + taken).store(to);
        if (Q_UNLIKELY(pixels > 16))
            copyChunks(to + 16, next + taken + 16, pixels - 16);
        to += pixels;
        Chunk16 const fill = Chunk16::filled(next[at + 1]);
        fill.store(to);
        fill.store(to + 16);
        if (Q_UNLIKELY(run > 32)) {
            fill.store(to + 32);
            fill.store(to + 48);
        }
        to += run;
        taken = at + 2;
    }
    if (taken < 64) {
        qint64 pixels = 64 - taken;
        if (Bounded && Q_UNLIKELY(to + pixels > last))
            pixels = last - to;
        copyChunks(to, next + taken, pixels);
        to += pixels;
        taken += pixels;
    }
    out = to;
    return taken;
}

/**
 * Decodes RLE8 blocks while the chunk from \a next to \a end holds a whole
 * block, a run's value behind it and what a chunk copy reads past that.
 * Stops before a packet that would write past \a last or come when the
 * image is full.
 */
void decodeRle8Blocks(uchar const *&next, uchar const *end, uchar *&out, uchar *last)
{
    while (out < last && end - next >= Rle8BlockReach) {
        // Far from the end of the image, a block needs no test for each packet:
        // the image cannot fill up within it.
        if (last - out > Rle8BlockPixels) {
            next += decodeRle8Block<false>(next, out, last);
            continue;
        }
        qint64 const taken = decodeRle8Block<true>(next, out, last);
        next += taken;
        if (taken < 64)
            return;
    }
}

#ifdef KENRO_RLE8_X86

// A block of 64 stream bytes, and what the copy of it reads past it.
constexpr qint64 Rle8Avx2BlockReach = 128;

/// The top bits of the bytes of \a low and then \a high.
KENRO_TARGET_AVX2 inline quint64 byteBits(__m256i low, __m256i high)
{
    return quint64(uint(_mm256_movemask_epi8(low))) |
        quint64(uint(_mm256_movemask_epi8(high))) << 32;
}

KENRO_TARGET_AVX2 inline __m256i load32(uchar const *from)
{
    return _mm256_loadu_si256(reinterpret_cast<__m256i const *>(from));
}

KENRO_TARGET_AVX2 inline void store32(uchar *to, __m256i bytes)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), bytes);
}

/// Bytes of 0xFF where \a bits has a bit set, of 0 elsewhere.
KENRO_TARGET_AVX2 inline __m256i bitBytes(uint bits)
{
    // Each byte takes the byte of bits that holds its bit, then keeps that bit.
    __m256i const spread = _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2,
                                            2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3);
    __m256i const bit = _mm256_set1_epi64x(qint64(0x8040201008040201ULL));
    __m256i const byte = _mm256_shuffle_epi8(_mm256_set1_epi32(int(bits)), spread);
    return _mm256_cmpeq_epi8(_mm256_and_si256(byte, bit), bit);
}

/**
 * As decodeRle8Block(), in 32-byte registers, with the runs of 2 made into
 * their value twice in a copy of the block first: real sprites are full of
 * them, and as single pixels they cost no turn of the loop. Not the one whose
 * value is the next block's first byte, nor when \a Bounded, where the image
 * may fill up between the two pixels.
 */
template<bool Bounded>
KENRO_TARGET_AVX2 inline qint64 decodeRle8BlockAvx2(uchar const *next, uchar *&out, uchar *last)
{
    __m256i const top = _mm256_set1_epi8(char(0xC0));
    __m256i const run0 = _mm256_set1_epi8(0x40);
    __m256i const run2 = _mm256_set1_epi8(0x42);
    __m256i const low = load32(next);
    __m256i const high = load32(next + 32);
    quint64 const heads = runHeads(byteBits(_mm256_cmpeq_epi8(_mm256_and_si256(low, top), run0),
                                            _mm256_cmpeq_epi8(_mm256_and_si256(high, top), run0)));
    quint64 const twos = Bounded
        ? 0
        : heads & byteBits(_mm256_cmpeq_epi8(low, run2), _mm256_cmpeq_epi8(high, run2)) &
            ~(quint64(1) << 63);
    alignas(32) uchar pixels[128];
    store32(pixels, _mm256_blendv_epi8(low, load32(next + 1), bitBytes(uint(twos))));
    store32(pixels + 32, _mm256_blendv_epi8(high, load32(next + 33), bitBytes(uint(twos >> 32))));
    // Read by the copies of the last pixels, never kept.
    store32(pixels + 64, load32(next + 64));
    store32(pixels + 96, load32(next + 96));
    quint64 runs = heads & ~twos;
    qint64 taken = 0;
    uchar *to = out;
    while (runs != 0) {
        qint64 const at = qint64(_tzcnt_u64(runs));
        runs = _blsr_u64(runs);
        qint64 const single = at - taken;
        uint const run = next[at] & 0x3F;
        if (Bounded && Q_UNLIKELY(to + single + std::max(run, 1u) > last)) {
            out = to;
            return taken;
        }
        store32(to, load32(pixels + taken));
        if (Q_UNLIKELY(single > 32))
            store32(to + 32, load32(pixels + taken + 32));
        to += single;
        __m256i const fill = _mm256_set1_epi8(char(next[at + 1]));
        store32(to, fill);
        store32(to + (run & 32), fill);
        to += run;
        taken = at + 2;
    }
    // The pixels after the last run, none when it took the next block's first byte.
    qint64 const rest = std::min<qint64>(taken, 64);
    qint64 single = 64 - rest;
    if (Bounded && Q_UNLIKELY(to + single > last))
        single = last - to;
    store32(to, load32(pixels + rest));
    store32(to + 32, load32(pixels + rest + 32));
    out = to + single;
    return taken + single;
}

/// As decodeRle8Blocks(), with decodeRle8BlockAvx2().
KENRO_TARGET_AVX2 void decodeRle8BlocksAvx2(uchar const *&next, uchar const *end, uchar *&out,
                                            uchar *last)
{
    while (out < last && end - next >= Rle8Avx2BlockReach) {
        if (last - out > Rle8BlockPixels) {
            next += decodeRle8BlockAvx2<false>(next, out, last);
            continue;
        }
        qint64 const taken = decodeRle8BlockAvx2<true>(next, out, last);
        next += taken;
        if (taken < 64)
            return;
    }
}

// The most blocks of 64 stream bytes in a segment, whose packets are sorted
// out before any is decoded.
constexpr qint64 Rle8SegmentBlocks = 16;
// What a segment reads past its last block: the byte after each block, and
// a run's value.
constexpr qint64 Rle8SegmentReach = 64;
// The room a segment leaves before the end of the image; every store lies
// below it, and the packets near the end are left to the exact paths.
constexpr qint64 Rle8SegmentRoom = 256;

/// The first 32 bytes of \a bytes. (GCC 12 warns of _mm512_castsi512_si256().)
KENRO_TARGET_AVX512 inline __m256i lowHalf(__m512i bytes)
{
    __m256i low;
    std::memcpy(&low, &bytes, sizeof low);
    return low;
}

/**
 * Decodes RLE8 packets from \a next, which starts at a packet, a segment of
 * up to 16 blocks of 64 stream bytes at a time, in two passes.
 *
 * The first pass sorts out a block's packets at once (one compare gives its
 * tagged bytes, runHeads() the runs among them) and writes the block into a
 * copy of the segment as single pixels wherever it can: a run of 2 becomes
 * its value twice, a run of 1 its value alone, and a run of 0 nothing. Left
 * as runs are those of 3 and more, a good deal fewer on real sprites, whose
 * places in the copy are listed. The second pass takes the listed runs in
 * one loop, each with the single pixels before it: one 32-byte store for up
 * to 32 single pixels and two for the run, so that no packet takes a branch
 * of its own and no loop ends at each block. Later stores overwrite what one
 * wrote past its packet.
 *
 * A segment ends at a packet: when its last byte starts a run, the run's
 * value belongs to it. It is only decoded when all it can give fits in the
 * image up to \a last with room to spare, so every store lies 128 bytes or
 * more before \a last. Stops, at a packet, where fewer than a block and what
 * it reads past its end are left in the chunk up to \a end, or where the next
 * block might not fit.
 */
KENRO_TARGET_AVX512 void decodeRle8BlocksAvx512(uchar const *&next, uchar const *end, uchar *&out,
                                                uchar *last)
{
    // The segment as single pixels and runs; what pass two reads past the end is never kept.
    alignas(64) uchar kept[Rle8SegmentBlocks * 64 + 128];
    // Where each run of 3 or more starts in kept.
    alignas(64) quint16 runs[Rle8SegmentBlocks * 32 + 32];
    __m512i const places = _mm512_set_epi8(
        63, 62, 61, 60, 59, 58, 57, 56, 55, 54, 53, 52, 51, 50, 49, 48, 47, 46, 45, 44, 43, 42, 41,
        40, 39, 38, 37, 36, 35, 34, 33, 32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18,
        17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    __m512i const top = _mm512_set1_epi8(char(0xC0));
    __m512i const run0 = _mm512_set1_epi8(0x40);
    __m512i const run2 = _mm512_set1_epi8(0x42);
    uchar *to = out;
    for (;;) {
        qint64 const most =
            std::min<qint64>(Rle8SegmentBlocks, (end - next - Rle8SegmentReach) / 64);
        qint64 const room = last - to - Rle8SegmentRoom;
        qint64 blocks = 0;
        qint64 size = 0; // bytes in kept
        qint64 count = 0; // runs listed
        qint64 reach = 0; // the most pixels the blocks so far give
        quint64 value = 0; // 1 when the last block's last byte starts a run
        quint64 none = 0; // 1 when that run is of 0
        for (; blocks < most; ++blocks) {
            uchar const *const from = next + 64 * blocks;
            __m512i const block = _mm512_loadu_si512(from);
            quint64 tags = _mm512_cmpeq_epi8_mask(_mm512_and_si512(block, top), run0);
            // The run's value is no tag. (Rare enough for a branch, which
            // keeps the blocks apart.)
            if (value)
                tags &= ~quint64(1);
            quint64 const heads = runHeads(tags);
            quint64 const heads0 = heads & _mm512_cmpeq_epi8_mask(block, run0);
            quint64 const heads2 = heads & _mm512_cmpeq_epi8_mask(block, run2);
            quint64 const shorter = heads & _mm512_cmple_epu8_mask(block, run2);
            quint64 const longer = heads ^ shorter;
            // A run of 0 drops its value, runs of 0 and 1 their head.
            quint64 const keep = ~((shorter & ~heads2) | (heads0 << 1) | none);
            qint64 const kept1 = qint64(_mm_popcnt_u64(keep));
            qint64 const longer1 = qint64(_mm_popcnt_u64(longer));
            // Each kept byte is a pixel, but a longer run's head and value are up to 63.
            reach += kept1 + 61 * longer1;
            if (Q_UNLIKELY(reach > room))
                break;
            __m512i const pixels =
                _mm512_mask_blend_epi8(heads2, block, _mm512_loadu_si512(from + 1));
            _mm512_storeu_si512(kept + size, _mm512_maskz_compress_epi8(keep, pixels));
            __m512i const at = _mm512_maskz_compress_epi8(_pext_u64(longer, keep), places);
            _mm512_storeu_si512(runs + count,
                                _mm512_add_epi16(_mm512_cvtepu8_epi16(lowHalf(at)),
                                                 _mm512_set1_epi16(short(size))));
            size += kept1;
            count += longer1;
            value = heads >> 63;
            none = heads0 >> 63;
        }
        if (blocks == 0)
            break;
        qint64 segment = 64 * blocks;
        if (value) {
            // The value of a run that starts at the last byte.
            kept[size] = next[segment];
            size += qint64(1 - none);
            ++segment;
        }

        qint64 taken = 0;
        for (qint64 i = 0; i < count; ++i) {
            qint64 const at = runs[i];
            qint64 const single = at - taken;
            uint const run = kept[at] & 0x3F;
            if (Q_UNLIKELY(single > 32)) {
                for (qint64 j = 0; j < single; j += 64)
                    _mm512_storeu_si512(to + j, _mm512_loadu_si512(kept + taken + j));
            } else {
                _mm256_storeu_si256(
                    reinterpret_cast<__m256i *>(to),
                    _mm256_loadu_si256(reinterpret_cast<__m256i const *>(kept + taken)));
            }
            to += single;
            __m256i const fill = _mm256_set1_epi8(char(kept[at + 1]));
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), fill);
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(to + (run & 32)), fill);
            to += run;
            taken = at + 2;
        }
        for (qint64 j = 0; j < size - taken; j += 64)
            _mm512_storeu_si512(to + j, _mm512_loadu_si512(kept + taken + j));
        to += size - taken;
        next += segment;
    }
    out = to;
}

/// Whether the processor can take \a path.
bool canTake(Rle8Path path)
{
    __builtin_cpu_init();
    switch (path) {
    case Rle8Path::Portable:
        return true;
    case Rle8Path::Avx2:
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi");
    case Rle8Path::Avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
            __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("bmi2") &&
            __builtin_cpu_supports("popcnt");
    }
    return false;
}

#else

bool canTake(Rle8Path path)
{
    return path == Rle8Path::Portable;
}

#endif

std::atomic<Rle8Path> &chosenRle8Path()
{
    static std::atomic<Rle8Path> path(canTake(Rle8Path::Avx512)     ? Rle8Path::Avx512
                                          : canTake(Rle8Path::Avx2) ? Rle8Path::Avx2
                                                                    : Rle8Path::Portable);
    return path;
}

/// Decodes RLE8 blocks on the path chosen, as decodeRle8Blocks().
void decodeRle8Blocks(Rle8Path path, uchar const *&next, uchar const *end, uchar *&out, uchar *last)
{
#ifdef KENRO_RLE8_X86
    // What the segments and blocks leave near the end of the chunk or of the
    // image takes the portable path, which reads less far and stops exactly.
    if (path == Rle8Path::Avx512)
        decodeRle8BlocksAvx512(next, end, out, last);
    else if (path == Rle8Path::Avx2)
        decodeRle8BlocksAvx2(next, end, out, last);
#endif
    decodeRle8Blocks(next, end, out, last);
}

} // namespace

Rle8Path rle8Path()
{
    return chosenRle8Path().load(std::memory_order_relaxed);
}

bool setRle8Path(Rle8Path path)
{
    if (!canTake(path))
        return false;
    chosenRle8Path().store(path, std::memory_order_relaxed);
    return true;
}

bool loadRLE5(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    LineLayout const layout(image, image.width(), image.bytesPerLine() - image.width());
    std::unique_ptr<uchar[]> const buffer = streamBuffer(layout.count(), 16);
    if (!buffer)
        return false;
    uchar *const first = buffer.get();
    uchar *const last = first + layout.count();
    uchar *out = first;

    DeviceReader in(device, layout.count() + 16);
    uchar const *next = in.next();
    uchar const *end = in.end();
    auto byte = [&in, &next, &end]() -> uint { return in.byte(next, end); };
    while (out < last && (next != end || in.advance(next, end))) {
        if (end - next >= Rle5PacketBytes && last - out >= Rle5PacketPixels) {
            // The whole packet is in the chunk and fits: no tests, and runs
            // of up to 8 as one chunk each.
            qint64 const run = next[0] + 1;
            uint const b = next[1];
            // Without a colour byte the first run is of colour 0.
            uint const color = b & 0x80 ? next[2] & 0x1F : 0;
            next += 2 + (b >> 7);
            fillChunks(out, uchar(color), run);
            out += run;
            for (uint i = b & 0x1F; i > 0; --i) {
                uint const packet = *next++;
                Chunk16::filled(uchar(packet & 0x1F)).store(out);
                out += (packet >> 5) + 1;
            }
            continue;
        }
        // Near the end of the chunk or of the image: byte by byte, runs cut
        // at the end of the image.
        qint64 const run = std::min<qint64>(byte() + 1, last - out);
        uint const b = byte();
        uint const color = b & 0x80 ? byte() & 0x1F : 0;
        std::memset(out, int(color), size_t(run));
        out += run;
        for (uint i = b & 0x1F; i > 0 && out < last; --i) {
            uint const packet = byte();
            qint64 const length = std::min<qint64>((packet >> 5) + 1, last - out);
            std::memset(out, int(packet & 0x1F), size_t(length));
            out += length;
        }
    }
    in.take(next);
    bool const ok = in.ok();
    in.finish();
    layout.copyInto(image, first, out - first);
    return ok;
}

bool saveRLE5(QImage const &, QIODevice *)
{
    return false;
}

bool loadRLE8(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    qint64 const lineBytes = (qint64(image.width()) * imageDepthOfFormat(image.format()) + 7) / 8;
    // Only the low byte of the padding is taken, as the format always had it.
    qint64 const padding = uchar(image.bytesPerLine() - lineBytes);
    LineLayout const layout(image, lineBytes, padding);
    std::unique_ptr<uchar[]> const buffer = streamBuffer(layout.count(), Rle8Slack);
    if (!buffer)
        return false;
    uchar *const first = buffer.get();
    uchar *const last = first + layout.count();
    uchar *out = first;

    DeviceReader in(device, layout.count() + 16);
    uchar const *next = in.next();
    uchar const *end = in.end();
    Rle8Path const path = rle8Path();
    while (out < last) {
        decodeRle8Blocks(path, next, end, out, last);
        if (out == last || (next == end && !in.advance(next, end)))
            break;
        // Near the end of the chunk or of the image: one packet, byte by byte.
        uint const p = *next++;
        if ((p & 0xC0) == 0x40) {
            uint value = 0;
            if (next != end || in.advance(next, end))
                value = *next++;
            else
                in.setPastEnd();
            qint64 const run = std::min<qint64>(p & 0x3F, last - out);
            std::memset(out, int(value), size_t(run));
            out += run;
        } else {
            *out++ = uchar(p);
        }
    }
    in.take(next);
    bool const ok = in.ok();
    in.finish();

    layout.copyInto(image, first, out - first);
    return ok;
}

bool saveRLE8(QImage const &image, QIODevice *device)
{
    if (!openForWriting(device))
        return false;
    PixelBytes const pixels(image, qint64(image.width()) * (image.depth() / 8));
    uchar const *const data = pixels.data();
    qint64 const n = pixels.size();
    QByteArray out;
    out.reserve(qsizetype(n / 2 + 16));
    for (qint64 i = 0; i < n;) {
        uchar const value = data[i];
        int run = 1;
        while (run < MaximumRun && i + run < n && data[i + run] == value)
            ++run;
        // A lone byte stands for itself unless it looks like a run.
        if (run == 1 && (value < 0x40 || value > 0x7F)) {
            out.append(char(value));
        } else {
            out.append(char(run | 0x40));
            out.append(char(value));
        }
        i += run;
    }
    return writeAll(device, out);
}

} // namespace Kenro
