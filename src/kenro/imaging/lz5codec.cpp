#include <kenro/imaging/imagecodecs.h>

#include "bytechunks_p.h"
#include "devicereader_p.h"
#include "pixelbytes_p.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

namespace Kenro {

namespace {

// Longest run and back-reference, and the farthest a back-reference reaches.
constexpr int MaximumRun = 263;
constexpr int MaximumMatch = 258;
constexpr int MaximumDistance = 1024;
// Short back-references: at most 64 long and 256 back.
constexpr int MaximumShortMatch = 64;
constexpr int MaximumShortDistance = 256;
// Runs of up to 7 fit in the first byte of a packet.
constexpr int MaximumShortRun = 7;
// Room behind the decoded pixels for the longest packet that starts on the
// last pixel, written in chunks of 16.
constexpr qint64 Slack = MaximumRun + 16;
// The most bytes one packet takes: a control byte and a long back-reference.
constexpr int LongestPacket = 4;

struct Token
{
    bool backReference;
    bool isShort;
    quint16 value; // the pixel of a run, the distance of a back-reference
    quint16 length;
};

struct Match
{
    int distance = 0;
    int length = 0;
    bool isShort = false;
};

// The best back-reference for the bytes at p, if one is worth it. Longer
// matches win; among equal lengths the nearest.
Match findMatch(uchar const *data, qint64 n, qint64 p)
{
    Match best;
    int bestLength = 1;
    int const maximumLength = int(std::min<qint64>(MaximumMatch, n - p));
    int const maximumDistance = int(std::min<qint64>(MaximumDistance, p));
    uchar const *const here = data + p;
    // Distance 1 is never tried: runs cover it.
    for (int d = 2; d <= maximumDistance && bestLength < maximumLength; ++d) {
        uchar const *const there = here - d;
        // Only a longer match counts, and it must reach past the best length.
        if (there[bestLength] != here[bestLength])
            continue;
        int length = 0;
        int changes = 0; // places where a byte differs from the one before
        int same = 0; // bytes equal to the one before, counting the first
        bool run8 = false;
        while (length < maximumLength && there[length] == here[length]) {
            if (length > 0 && here[length] != here[length - 1]) {
                ++changes;
                same = 0;
            }
            if (++same >= 8)
                run8 = true;
            ++length;
        }
        if (changes == 0 || length <= bestLength)
            continue;
        bool isShort = false;
        if (length <= MaximumShortMatch && d <= MaximumShortDistance) {
            // The byte after the last match of the image counts as different.
            bool const endsHere = p + length >= n || here[length] != here[length - 1];
            if (changes < 2 && !endsHere)
                continue;
            isShort = true;
        } else if (!((changes == 2 && run8) || (length >= 4 && changes >= 3))) {
            continue;
        }
        best = Match{d, length, isShort};
        bestLength = length;
    }
    return best;
}

std::vector<Token> tokenize(uchar const *data, qint64 n, bool useBackReferences)
{
    std::vector<Token> tokens;
    tokens.reserve(size_t(n / 8 + 1));
    auto backReference = [&tokens](Match const &m) {
        tokens.push_back(Token{true, m.isShort, quint16(m.distance), quint16(m.length)});
    };
    qint64 p = 0;
    while (p < n) {
        if (useBackReferences && p > 0) {
            Match const m = findMatch(data, n, p);
            if (m.length > 0) {
                backReference(m);
                p += m.length;
                continue;
            }
        }
        uchar const value = data[p];
        int length = 1;
        ++p;
        while (length < MaximumShortRun && p < n && data[p] == value) {
            ++length;
            ++p;
        }
        // A match right behind a run of 7 may pack better than a longer run.
        if (useBackReferences && length == MaximumShortRun && p < n) {
            Match const m = findMatch(data, n, p);
            if (m.length > 0) {
                tokens.push_back(Token{false, true, value, quint16(length)});
                backReference(m);
                p += m.length;
                continue;
            }
        }
        while (length < MaximumRun && p < n && data[p] == value) {
            ++length;
            ++p;
        }
        tokens.push_back(Token{false, length <= MaximumShortRun, value, quint16(length)});
    }
    return tokens;
}

QByteArray pack(std::vector<Token> const &tokens)
{
    // Short back-references go in groups of four; the fourth has no offset
    // byte of its own but spreads it over the top bits of the four length
    // bytes. A last group of fewer than four carries all its offset bytes.
    std::vector<size_t> shorts;
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i].backReference && tokens[i].isShort)
            shorts.push_back(i);
    }
    size_t const grouped = shorts.size() / 4 * 4;

    QByteArray out;
    out.reserve(qsizetype(tokens.size() * 2 + tokens.size() / 8 + 1));
    size_t shortCount = 0;
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (i % 8 == 0) {
            uchar control = 0;
            for (size_t k = 0; k < 8 && i + k < tokens.size(); ++k) {
                if (tokens[i + k].backReference)
                    control |= uchar(1 << k);
            }
            out.append(char(control));
        }
        Token const &t = tokens[i];
        if (!t.backReference) {
            if (t.isShort) {
                out.append(char((t.value & 0x1F) | (t.length << 5)));
            } else {
                out.append(char(t.value & 0x1F));
                out.append(char(t.length - 8));
            }
        } else if (!t.isShort) {
            int const o = t.value - 1;
            out.append(char((o >> 2) & 0xC0));
            out.append(char(o & 0xFF));
            out.append(char(t.length - 3));
        } else {
            size_t const place = shortCount % 4;
            bool const inGroup = shortCount < grouped;
            uchar first = uchar(t.length - 1);
            if (inGroup) {
                int const fourth = tokens[shorts[shortCount - place + 3]].value - 1;
                first |= uchar(((fourth >> (6 - 2 * place)) & 3) << 6);
            }
            out.append(char(first));
            if (!inGroup || place < 3)
                out.append(char((t.value - 1) & 0xFF));
            ++shortCount;
        }
    }
    return out;
}

// Copies length bytes from offset bytes back, byte by byte as the format
// means it: a copy that overlaps its source repeats a pattern.
inline void copyBack(uchar *target, uint offset, uint length)
{
    uchar const *const source = target - offset;
    if (Q_LIKELY(offset >= 16)) {
        copyChunks(target, source, length);
    } else if (offset == 1) {
        fillChunks(target, *source, length);
    } else {
        for (uint i = 0; i < length; ++i)
            target[i] = source[i];
    }
}

/**
 * Decodes LZ5 packets into a buffer with Slack bytes of room behind its
 * pixels. The state between packets is the position, the kinds of the
 * group's remaining packets and the offset bits that short back-references
 * share.
 */
struct PacketReader
{
    explicit PacketReader(uchar *out) : out(out) {}

    /// Decodes one packet from \a byte; false for a reference to before the first pixel.
    template<typename Byte>
    bool packet(Byte &&byte)
    {
        if (control == 1)
            control = byte() | 0x100;
        bool const backReference = control & 1;
        control >>= 1;
        uint const first = byte();
        if (!backReference) {
            uint length = first >> 5;
            if (length == 0)
                length = byte() + 8;
            fillChunks(out + pos, uchar(first & 0x1F), length);
            pos += length;
            return true;
        }
        uint length = first & 0x3F;
        uint offset;
        if (length == 0) {
            uint const low = byte();
            offset = (((first >> 6) << 8) | low) + 1;
            length = byte() + 3;
        } else {
            length += 1;
            // The fourth of a group has no offset byte: its offset is made
            // of the high bits of the group's four first bytes.
            recycled = (recycled << 2) | (first >> 6);
            if (shortPlace < 3) {
                offset = byte() + 1;
                ++shortPlace;
            } else {
                offset = (recycled & 0xFF) + 1;
                shortPlace = 0;
            }
        }
        if (offset > pos)
            return false;
        copyBack(out + pos, offset, length);
        pos += length;
        return true;
    }

    /**
     * Decodes packets while all bytes of the next one lie before \a end and
     * the image of \a size pixels is not full. Short runs and short
     * back-references, nearly all packets, are read both ways and one
     * reading is kept by masks: the two kinds follow each other with little
     * order, and a branch on the kind would be mispredicted often. False for
     * a reference to before the first pixel.
     */
    bool packetsInChunk(uchar const *&cursor, uchar const *end, qint64 size)
    {
        // The state in locals, which the compiler can keep in registers.
        uchar const *next = cursor;
        qint64 at = pos;
        uint kinds = control;
        uint place = shortPlace;
        uint shared = recycled;
        bool valid = true;
        alignas(16) uchar pattern[16];
        while (at < size && end - next >= LongestPacket) {
            if (kinds == 1)
                kinds = *next++ | 0x100;
            uint const reference = 0u - (kinds & 1); // all ones for a back-reference
            kinds >>= 1;
            uint const first = next[0];
            uint const value = first & 0x1F;
            uint const high = first >> 6;
            // A run keeps its length in bits 7-5, a short back-reference in
            // bits 5-0; zero there means the long form of either.
            uint const lengthBits = (0x3F & reference) | (0xE0 & ~reference);
            uint length;
            uint offset;
            if (Q_LIKELY((first & lengthBits) != 0)) {
                // A run of 1 to 7 in one byte, or a short back-reference.
                // The high bits of the short references are shifted in as
                // they come; the fourth of a group reads its offset there.
                uint const fourth = 0u - uint(place == 3);
                shared = (shared << (2 & reference)) | (high & reference);
                offset = ((((shared & 0xFF) & fourth) | (next[1] & ~fourth)) + 1) & reference;
                length = (((first & 0x3F) + 1) & reference) | ((first >> 5) & ~reference);
                next += 1 + (reference & ~fourth & 1);
                place = (place + (reference & 1)) & 3;
            } else if (!reference) {
                length = next[1] + 8u;
                offset = 0;
                next += 2;
            } else {
                offset = ((high << 8) | next[1]) + 1;
                length = next[2] + 3u;
                next += 3;
            }
            if (Q_UNLIKELY(offset > at)) {
                valid = false;
                break;
            }
            uchar *const target = out + at;
            at += length;
            // A run reads its chunk from the pattern again and again.
            Chunk16::filled(uchar(value)).store(pattern);
            quintptr const wide = quintptr(qintptr(int(reference)));
            auto const *const source = reinterpret_cast<uchar const *>(
                ((quintptr(target) - offset) & wide) | (quintptr(pattern) & ~wide));
            qint64 const step = 16 & reference;
            // Up to 64 bytes from a source that ends before the target: all
            // chunks are read before any is written. A run has no such limit.
            uint const reach = offset | ~reference;
            if (Q_LIKELY(length <= 64 && reach >= length)) {
                Chunk16 const c0 = Chunk16::load(source);
                Chunk16 const c1 = Chunk16::load(source + step);
                Chunk16 const c2 = Chunk16::load(source + 2 * step);
                Chunk16 const c3 = Chunk16::load(source + 3 * step);
                c0.store(target);
                c1.store(target + 16);
                c2.store(target + 32);
                c3.store(target + 48);
            } else if (!reference) {
                fillChunks(target, uchar(value), length);
            } else {
                copyBack(target, offset, length);
            }
        }
        cursor = next;
        pos = at;
        control = kinds;
        shortPlace = place;
        recycled = shared;
        return valid;
    }

    uchar *out;
    qint64 pos = 0;
    uint control = 1; // the kinds of the group's packets still to come, above a marker bit
    uint shortPlace = 0; // place of the next short back-reference in its group
    // The high bits of the first bytes of short back-references, two by two,
    // the latest lowest: the fourth of a group takes its offset from them.
    uint recycled = 0;
};

} // namespace

bool loadLZ5(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    int const width = image.width();
    int const height = image.height();
    qint64 const size = qint64(width) * height;
    std::unique_ptr<uchar[]> const buffer(new (std::nothrow) uchar[size_t(size + Slack)]);
    uchar *const out = buffer.get();
    if (!out)
        return false;
    // Each packet gives at least one pixel and takes at most three bytes,
    // plus a control byte for every eight: a bound on the stream's length.
    DeviceReader in(device, size + size / 8 + 16);
    uchar const *next = in.next();
    uchar const *end = in.end();
    auto byte = [&in, &next, &end]() -> uint { return in.byte(next, end); };

    PacketReader reader(out);
    bool valid = true;
    while (valid && reader.pos < size) {
        valid = reader.packetsInChunk(next, end, size);
        if (!valid || reader.pos >= size || (next == end && !in.advance(next, end)))
            break;
        // The chunk ends within a packet's reach: one packet, byte by byte.
        valid = reader.packet(byte);
    }
    qint64 const pos = std::min(reader.pos, size);
    in.take(next);
    valid = valid && in.ok();
    in.finish();

    // A stream that ends early leaves the rest zero.
    std::memset(out + pos, 0, size_t(size - pos));
    copyToLines(image, out);
    return valid;
}

bool saveLZ5(QImage const &image, QIODevice *device, bool useBackReferences)
{
    if (!openForWriting(device))
        return false;
    PixelBytes const pixels(image, image.width());
    std::vector<Token> const tokens = tokenize(pixels.data(), pixels.size(), useBackReferences);
    return writeAll(device, pack(tokens));
}

} // namespace Kenro
