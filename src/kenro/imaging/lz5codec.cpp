#include <kenro/imaging/imagecodecs.h>

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
// last pixel, written in whole words.
constexpr qint64 Slack = MaximumRun + 8;

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

} // namespace

bool loadLZ5(QImage &image, QIODevice *device)
{
    if (!openForReading(device))
        return false;
    int const width = image.width();
    int const height = image.height();
    qint64 const size = qint64(width) * height;
    // Runs and copies are written in whole words and may run past the last
    // pixel into the slack; only the first size bytes count.
    std::unique_ptr<uchar[]> const buffer(new (std::nothrow) uchar[size_t(size + Slack)]);
    uchar *const out = buffer.get();
    if (!out)
        return false;
    // Each packet gives at least one pixel and takes at most three bytes,
    // plus a control byte for every eight: a bound on the stream's length.
    DeviceReader in(device, size + size / 8 + 16);
    uchar const *next = in.next();
    uchar const *end = in.end();
    auto byte = [&in, &next, &end]() -> uint {
        if (Q_LIKELY(next != end) || in.advance(next, end))
            return *next++;
        in.setPastEnd();
        return 0;
    };
    auto atEnd = [&in, &next, &end]() { return next == end && !in.advance(next, end); };

    qint64 pos = 0;
    uint control = 0;
    int packet = 0;
    int shortPlace = 0; // place of the next short back-reference in its group
    uint recycled = 0; // offset bits shared by a group of short back-references
    bool valid = true;
    while (pos < size && !atEnd()) {
        if (packet == 0)
            control = byte();
        bool const backReference = control & (1u << packet);
        packet = (packet + 1) & 7;
        uint const first = byte();
        if (!backReference) {
            uint const length = first >> 5;
            quint64 const value = (first & 0x1F) * 0x0101010101010101ULL;
            if (length != 0) {
                std::memcpy(out + pos, &value, 8);
                pos += length;
            } else {
                uint const longLength = byte() + 8;
                std::memset(out + pos, int(first & 0x1F), longLength);
                pos += longLength;
            }
            continue;
        }
        uint length = first & 0x3F;
        qint64 offset;
        if (length == 0) {
            uint const low = byte();
            offset = (((first >> 6) << 8) | low) + 1;
            length = byte() + 3;
        } else {
            length += 1;
            if (shortPlace < 3) {
                recycled |= (first >> 6) << (6 - 2 * shortPlace);
                offset = byte() + 1;
                ++shortPlace;
            } else {
                offset = ((first >> 6) | recycled) + 1;
                shortPlace = 0;
                recycled = 0;
            }
        }
        if (offset > pos) {
            valid = false; // reaches before the first pixel: the stream is broken
            break;
        }
        uchar *const target = out + pos;
        if (offset >= 8) {
            // Each word's source is complete before it is read, so copying a
            // word at a time repeats overlapping patterns like single bytes.
            for (uint i = 0; i < length; i += 8)
                std::memcpy(target + i, target + i - offset, 8);
        } else if (offset == 1) {
            std::memset(target, target[-1], length);
        } else {
            for (uint i = 0; i < length; ++i)
                target[i] = target[i - offset];
        }
        pos += length;
    }
    pos = std::min(pos, size);
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
