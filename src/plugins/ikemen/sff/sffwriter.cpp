#include "sffwriter.h"

#include "sfflayout.h"

#include <kenro/imaging/imagecodecs.h>

#include <QBuffer>
#include <QSet>

#include <cstring>
#include <unordered_map>

namespace Kenro::Ikemen {

namespace {

using namespace SffLayout;

// A PCX file ends with a marker byte and 256 RGB triples.
constexpr int PcxPaletteSize = 769;

QByteArray length32(quint32 value)
{
    QByteArray bytes(4, 0);
    put32(bytes, 0, value);
    return bytes;
}

QByteArray header(quint8 major, quint8 minor, quint8 patch)
{
    QByteArray out(HeaderSize, 0);
    std::memcpy(out.data(), "ElecbyteSpr", 12);
    out[13] = char(patch);
    out[14] = char(minor);
    out[15] = char(major);
    return out;
}

QString name(SffSpriteData const &sprite)
{
    return QStringLiteral("sprite (group %1, number %2)").arg(sprite.group).arg(sprite.number);
}

bool isTrueColor(QImage const &image)
{
    return !image.isNull() && image.format() != QImage::Format_Indexed8;
}

// The colours of \a palette as the image's colour table, so that a PCX file
// carries them.
QImage withColors(QImage image, SffPaletteData const *palette)
{
    if (!palette)
        return image;
    QList<QRgb> table;
    table.reserve(256);
    for (RGBA const &color : palette->colors)
        table.append(qRgb(color.r, color.g, color.b));
    image.setColorTable(table);
    return image;
}

// Two palettes that an archive stores alike.
bool storedAlike(SffPaletteData const &a, SffPaletteData const &b)
{
    if (a.colorCount != b.colorCount)
        return false;
    for (int i = 0; i < a.colorCount; ++i) {
        if (a.colors[i].r != b.colors[i].r || a.colors[i].g != b.colors[i].g ||
            a.colors[i].b != b.colors[i].b)
            return false;
    }
    return true;
}

// True when the stored bytes of \a palette still hold its colours.
bool keepsStored(SffPaletteData const &palette)
{
    if (palette.stored.size() != qsizetype(palette.colorCount) * 4)
        return false;
    auto const *bytes = reinterpret_cast<uchar const *>(palette.stored.constData());
    for (int c = 0; c < palette.colorCount; ++c) {
        RGBA const &color = palette.colors[c];
        if (bytes[4 * c] != color.r || bytes[4 * c + 1] != color.g || bytes[4 * c + 2] != color.b)
            return false;
    }
    return true;
}

} // namespace

QString SffWriter::errorString() const
{
    return m_error;
}

QStringList SffWriter::warnings() const
{
    return m_warnings;
}

QByteArray SffWriter::fail(QString const &message)
{
    m_error = message;
    return QByteArray();
}

QByteArray SffWriter::write(SffContent const &content, SffVersion version)
{
    m_error.clear();
    m_warnings.clear();
    for (SffSpriteData const &sprite : content.sprites) {
        if (sprite.palette >= content.palettes.size())
            return fail(
                QStringLiteral("%1 uses a palette that is not in the list").arg(name(sprite)));
        QImage const image = sprite.image ? sprite.image->image : QImage();
        if (image.width() > 0xFFFF || image.height() > 0xFFFF)
            return fail(
                QStringLiteral("%1 is %2 x %3 pixels; an archive holds at most 65535 a side")
                    .arg(name(sprite))
                    .arg(image.width())
                    .arg(image.height()));
    }
    if (content.sprites.size() > 0xFFFF || content.palettes.size() > 0xFFFF)
        return fail(
            QStringLiteral("%1 sprites and %2 palettes: an archive holds at most 65535 of each")
                .arg(content.sprites.size())
                .arg(content.palettes.size()));
    return version == SffVersion::V101 ? writeVersion1(content) : writeVersion2(content, version);
}

QByteArray SffWriter::writeVersion1(SffContent const &content)
{
    QByteArray out = header(1, 0, 1);
    put32(out, 20, quint32(content.sprites.size()));
    put32(out, 24, content.sprites.isEmpty() ? 0 : HeaderSize);
    put32(out, 28, Version1SubheaderSize);
    out[32] = char(content.sharedPalette ? 1 : 0);

    QSet<quint16> groups;
    QSet<int> usedPalettes;
    // The first sprite that stores each image, so that later ones link to it.
    std::unordered_map<SffImage const *, int> firstUser;
    for (int k = 0; k < content.sprites.size(); ++k) {
        SffSpriteData const &sprite = content.sprites.at(k);
        groups.insert(sprite.group);
        QImage const image = sprite.image ? sprite.image->image : QImage();
        if (image.isNull())
            return fail(QStringLiteral("%1 has no image, which version 1.01 cannot hold")
                            .arg(name(sprite)));
        if (isTrueColor(image))
            return fail(QStringLiteral("%1 is a true-colour image; version 1.01 holds only "
                                       "256-colour images")
                            .arg(name(sprite)));
        int const previousPalette = k > 0 ? content.sprites.at(k - 1).palette : -2;
        bool const same = k > 0 && sprite.palette == previousPalette;
        if (sprite.palette >= 0)
            usedPalettes.insert(sprite.palette);

        QByteArray subheader(Version1SubheaderSize, 0);
        put16(subheader, 8, quint16(sprite.axisX));
        put16(subheader, 10, quint16(sprite.axisY));
        put16(subheader, 12, sprite.group);
        put16(subheader, 14, sprite.number);
        QByteArray data;
        auto const first = firstUser.find(sprite.image.get());
        // A linked sprite takes the previous palette or that of its source,
        // so only then can it stay a link.
        bool const linked = first != firstUser.end() &&
            (same || content.sprites.at(first->second).palette == sprite.palette);
        if (linked) {
            put16(subheader, 16, quint16(first->second));
        } else {
            QBuffer buffer(&data);
            SffPaletteData const *palette =
                sprite.palette >= 0 ? &content.palettes.at(sprite.palette) : nullptr;
            if (!savePCX(withColors(image, palette), &buffer))
                return fail(QStringLiteral("%1 cannot be encoded as PCX").arg(name(sprite)));
            // A sprite on the previous palette does not repeat it.
            if (same)
                data.chop(PcxPaletteSize);
            firstUser.emplace(sprite.image.get(), k);
        }
        subheader[18] = char(same ? 1 : 0);
        put32(subheader, 4, quint32(data.size()));
        bool const last = k + 1 == content.sprites.size();
        put32(subheader, 0, last ? 0 : quint32(out.size() + Version1SubheaderSize + data.size()));
        out += subheader;
        out += data;
    }
    put32(out, 16, quint32(groups.size()));
    for (int i = 0; i < content.palettes.size(); ++i) {
        if (!usedPalettes.contains(i))
            m_warnings.append(QStringLiteral("palette (group %1, number %2) is used by no sprite; "
                                             "version 1.01 keeps only the palettes of its sprites")
                                  .arg(content.palettes.at(i).group)
                                  .arg(content.palettes.at(i).number));
    }
    return out;
}

QByteArray SffWriter::writeVersion2(SffContent const &content, SffVersion version)
{
    bool const png = version == SffVersion::V201;
    QByteArray out = header(2, 0, png ? 1 : 0);
    out[27] = 2; // readers of 2.00 and later

    QByteArray literal;
    QByteArray translate;
    QByteArray paletteNodes;
    for (int i = 0; i < content.palettes.size(); ++i) {
        SffPaletteData const &palette = content.palettes.at(i);
        QByteArray node(PaletteNodeSize, 0);
        put16(node, 0, palette.group);
        put16(node, 2, palette.number);
        put16(node, 4, palette.colorCount);
        int link = -1;
        for (int j = 0; j < i && link < 0; ++j) {
            if (storedAlike(content.palettes.at(j), palette))
                link = j;
        }
        if (link >= 0) {
            put16(node, 6, quint16(link));
        } else {
            put32(node, 8, quint32(literal.size()));
            // A length of 0 would make a link: an empty palette keeps one colour's bytes.
            put32(node, 12, quint32(qMax<int>(palette.colorCount, 1)) * 4);
            if (palette.colorCount == 0) {
                literal += QByteArray(4, 0);
                paletteNodes += node;
                continue;
            }
            if (keepsStored(palette)) {
                // Whatever the fourth bytes held goes back as it was.
                literal += palette.stored;
                paletteNodes += node;
                continue;
            }
            for (int c = 0; c < palette.colorCount; ++c) {
                RGBA const &color = palette.colors[c];
                // The fourth byte is reserved in 2.00; 2.01 writers put alpha there.
                char const alpha = png ? char(color.a) : 0;
                char const bytes[4] = {char(color.r), char(color.g), char(color.b), alpha};
                literal.append(bytes, 4);
            }
        }
        paletteNodes += node;
    }

    QByteArray spriteNodes;
    std::unordered_map<SffImage const *, int> firstUser;
    for (int i = 0; i < content.sprites.size(); ++i) {
        SffSpriteData const &sprite = content.sprites.at(i);
        SffImage const *image = sprite.image.get();
        QImage const pixels = image ? image->image : QImage();
        QByteArray node(SpriteNodeSize, 0);
        put16(node, 0, sprite.group);
        put16(node, 2, sprite.number);
        put16(node, 4, quint16(pixels.width()));
        put16(node, 6, quint16(pixels.height()));
        put16(node, 8, quint16(sprite.axisX));
        put16(node, 10, quint16(sprite.axisY));
        put16(node, 24, quint16(qMax(0, sprite.palette)));
        auto const first = image ? firstUser.find(image) : firstUser.end();
        if (first != firstUser.end()) {
            // A linked sprite: no data of its own, the source's format and place.
            QByteArray const source =
                spriteNodes.mid(qsizetype(first->second) * SpriteNodeSize, SpriteNodeSize);
            put16(node, 12, quint16(first->second));
            for (int at : {14, 15, 16, 17, 18, 19, 26, 27})
                node[at] = source[at];
            spriteNodes += node;
            continue;
        }
        quint8 format = FormatNone;
        quint8 depth = 0;
        bool toTranslate = false;
        QByteArray data;
        bool const pngStored = image &&
            (image->storedFormat == FormatPNG8 || image->storedFormat == FormatPNG24 ||
             image->storedFormat == FormatPNG32);
        if (image && image->storedFormat != FormatNone && (png || !pngStored)) {
            format = image->storedFormat;
            depth = image->storedDepth;
            toTranslate = image->storedInTranslateBlock;
            data = image->stored;
        } else if (pixels.isNull()) {
            format = FormatRaw;
            depth = 8;
            data = length32(0);
        } else if (!isTrueColor(pixels)) {
            format = FormatRLE8;
            depth = 8;
            QByteArray stream;
            QBuffer buffer(&stream);
            if (!saveRLE8(pixels, &buffer))
                return fail(QStringLiteral("%1 cannot be encoded as RLE8").arg(name(sprite)));
            data = length32(quint32(pixels.width() * pixels.height())) + stream;
        } else if (!png) {
            return fail(QStringLiteral("%1 is a true-colour image, which version 2.00 cannot "
                                       "hold; version 2.01 can")
                            .arg(name(sprite)));
        } else {
            bool const alpha = pixels.hasAlphaChannel();
            format = alpha ? FormatPNG32 : FormatPNG24;
            depth = alpha ? 32 : 24;
            QImage const stored =
                pixels.convertToFormat(alpha ? QImage::Format_ARGB32 : QImage::Format_RGB888);
            QByteArray stream;
            QBuffer buffer(&stream);
            if (!savePNG(stored, &buffer))
                return fail(QStringLiteral("%1 cannot be encoded as PNG").arg(name(sprite)));
            data = length32(quint32(pixels.width() * pixels.height() * (alpha ? 4 : 3))) + stream;
        }
        if (data.isEmpty())
            data = length32(0);
        QByteArray &block = toTranslate ? translate : literal;
        node[14] = char(format);
        node[15] = char(depth);
        put32(node, 16, quint32(block.size()));
        put32(node, 20, quint32(data.size()));
        put16(node, 26, toTranslate ? 1 : 0);
        block += data;
        if (image)
            firstUser.emplace(image, i);
        spriteNodes += node;
    }

    quint32 const paletteOffset = HeaderSize;
    quint32 const spriteOffset = paletteOffset + quint32(paletteNodes.size());
    quint32 const literalOffset = spriteOffset + quint32(spriteNodes.size());
    quint32 const translateOffset = literalOffset + quint32(literal.size());
    put32(out, SpriteListOffset, spriteOffset);
    put32(out, SpriteCount, quint32(content.sprites.size()));
    put32(out, PaletteListOffset, paletteOffset);
    put32(out, PaletteCount, quint32(content.palettes.size()));
    put32(out, LiteralOffset, literalOffset);
    put32(out, LiteralLength, quint32(literal.size()));
    put32(out, TranslateOffset, translateOffset);
    put32(out, TranslateLength, quint32(translate.size()));
    out += paletteNodes;
    out += spriteNodes;
    out += literal;
    out += translate;
    return out;
}

} // namespace Kenro::Ikemen
