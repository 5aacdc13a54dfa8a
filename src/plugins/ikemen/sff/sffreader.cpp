#include "sffreader.h"

#include "sfflayout.h"

#include <kenro/imaging/imagecodecs.h>

#include <QBuffer>

#include <cstring>

namespace Kenro::Ikemen {

namespace {

using namespace SffLayout;

char const signature[12] = {'E', 'l', 'e', 'c', 'b', 'y', 't', 'e', 'S', 'p', 'r', 0};

quint16 u16(QByteArray const &data, qint64 at)
{
    return get16(data, at);
}

qint16 s16(QByteArray const &data, qint64 at)
{
    return qint16(get16(data, at));
}

quint32 u32(QByteArray const &data, qint64 at)
{
    return get32(data, at);
}

quint8 u8(QByteArray const &data, qint64 at)
{
    return quint8(data.at(at));
}

// True when [offset, offset + length) lies inside [0, size).
bool fits(quint64 offset, quint64 length, quint64 size)
{
    return offset <= size && length <= size - offset;
}

QString where(int index, quint16 group, quint16 number)
{
    return QStringLiteral("sprite %1 (group %2, number %3)").arg(index).arg(group).arg(number);
}

// The most pixels that a compressed stream of \a length bytes can fill:
// an LZ5 run packet gives 263 pixels for 2 bytes and an RLE5 packet 256.
quint64 mostPixels(quint8 format, quint64 length)
{
    return format == FormatRLE8 ? length * 32 + 64 : length * 132 + 264;
}

// False when the PCX header of \a pcx names an image that its data cannot
// fill: a run packet gives at most 63 bytes for 2, and a line is never
// narrower than the image. Nothing is allocated for such a header.
bool pcxFits(QByteArray const &pcx)
{
    constexpr int PcxHeaderSize = 128;
    if (pcx.size() < PcxHeaderSize)
        return true; // the decoder refuses it
    qint64 const width = qint64(get16(pcx, 8)) - get16(pcx, 4) + 1;
    qint64 const height = qint64(get16(pcx, 10)) - get16(pcx, 6) + 1;
    qint64 const planes = quint8(pcx.at(65));
    qint64 const lineBytes = get16(pcx, 66);
    if (width <= 0 || height <= 0)
        return true;
    return width <= lineBytes &&
        height * planes * lineBytes <= 32 * qint64(pcx.size() - PcxHeaderSize) + 64;
}

// Colours as the image of a PCX file carries them, with the archive's alpha.
void colorsOf(QImage const &image, RGBA (&colors)[256])
{
    std::memset(colors, 0, sizeof colors);
    QList<QRgb> const table = image.colorTable();
    for (int i = 0; i < 256 && i < table.size(); ++i)
        colors[i] = RGBA::fromQRgb(table.at(i));
    setSffAlpha(colors);
}

bool sameColors(SffPaletteData const &palette, RGBA const (&colors)[256])
{
    return std::memcmp(palette.colors, colors, sizeof colors) == 0;
}

// An 8-bit PNG as palette indices. Qt loads a PNG whose palette is a grey
// ramp as grey levels and one of 1, 2 or 4 bits as a mono or indexed image;
// their bytes are indices all the same. False for a PNG of more colours.
bool asIndices(QImage &image)
{
    switch (image.format()) {
    case QImage::Format_Indexed8:
        return true;
    case QImage::Format_Grayscale8: {
        QImage indexed(image.size(), QImage::Format_Indexed8);
        if (indexed.isNull())
            return false;
        for (int y = 0; y < image.height(); ++y)
            std::memcpy(indexed.scanLine(y), image.constScanLine(y), size_t(image.width()));
        image = indexed;
        return true;
    }
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        image = image.convertToFormat(QImage::Format_Indexed8);
        return image.format() == QImage::Format_Indexed8;
    default:
        return false;
    }
}

// Where the chain of links from \a index ends (-1 entries store data);
// -1 when the chain goes round.
int linkTarget(QList<int> const &links, int index)
{
    int target = index;
    for (int steps = 0; links.at(target) >= 0; ++steps) {
        if (steps >= links.size())
            return -1;
        target = links.at(target);
    }
    return target;
}

} // namespace

QString SffReader::errorString() const
{
    return m_error;
}

bool SffReader::fail(QString const &message)
{
    m_error = message;
    return false;
}

bool SffReader::read(QByteArray const &data, SffContent &content)
{
    m_error.clear();
    content = SffContent();
    if (data.size() < HeaderSize)
        return fail(QStringLiteral("the file is shorter than the 512 bytes of an archive header"));
    if (std::memcmp(data.constData(), signature, sizeof signature) != 0)
        return fail(
            QStringLiteral("the file is not a sprite archive (no \"ElecbyteSpr\" signature)"));
    quint8 const major = u8(data, 15);
    quint8 const minor = u8(data, 14);
    quint8 const patch = u8(data, 13);
    if (major == 1)
        return readVersion1(data, content);
    if (major == 2 && minor == 0 && patch <= 1) {
        content.version = patch == 0 ? SffVersion::V200 : SffVersion::V201;
        return readVersion2(data, content);
    }
    return fail(QStringLiteral("archive version %1.%2%3 is not supported")
                    .arg(major)
                    .arg(minor)
                    .arg(patch));
}

bool SffReader::readVersion1(QByteArray const &data, SffContent &content)
{
    content.version = SffVersion::V101;
    quint64 const size = quint64(data.size());
    quint32 const count = u32(data, 20);
    quint32 offset = u32(data, 24);
    content.sharedPalette = u8(data, 32) == 1;
    if (count > (size - HeaderSize) / Version1SubheaderSize)
        return fail(
            QStringLiteral("the header counts %1 sprites, more than the file can hold").arg(count));
    for (quint32 k = 0; k < count; ++k) {
        if (offset == 0)
            return fail(QStringLiteral("the list of sprites ends after %1 of the %2 counted")
                            .arg(k)
                            .arg(count));
        if (!fits(offset, Version1SubheaderSize, size))
            return fail(QStringLiteral("sprite %1: its header at offset %2 lies past the end")
                            .arg(k)
                            .arg(offset));
        quint32 const next = u32(data, offset);
        quint32 const length = u32(data, offset + 4);
        SffSpriteData sprite;
        sprite.axisX = s16(data, offset + 8);
        sprite.axisY = s16(data, offset + 10);
        sprite.group = u16(data, offset + 12);
        sprite.number = u16(data, offset + 14);
        quint16 const link = u16(data, offset + 16);
        bool const same = u8(data, offset + 18) != 0;
        // Named only for a message: formatting costs more than reading the node.
        auto const name = [&] { return where(int(k), sprite.group, sprite.number); };
        if (next != 0 && next <= offset)
            return fail(QStringLiteral("%1: the next sprite lies at offset %2, not after it")
                            .arg(name())
                            .arg(next));
        SffSpriteData const *previous = k > 0 ? &content.sprites.last() : nullptr;
        if (length == 0) {
            // A linked sprite: a copy of an earlier one.
            if (link >= k)
                return fail(QStringLiteral("%1 links to sprite %2, which does not come before it")
                                .arg(name())
                                .arg(link));
            SffSpriteData const &source = content.sprites.at(link);
            sprite.image = source.image;
            sprite.palette = same && previous ? previous->palette : source.palette;
        } else {
            quint64 const start = quint64(offset) + Version1SubheaderSize;
            quint64 extent = length;
            // Some writers count the 768 palette bytes that a sprite sharing
            // the previous palette does not store: the next sprite says where
            // the data really ends.
            if (next > start && next < start + extent)
                extent = next - start;
            if (!fits(start, extent, size))
                return fail(QStringLiteral("%1: its %2 bytes of data run past the end of the file")
                                .arg(name())
                                .arg(length));
            QByteArray bytes = QByteArray::fromRawData(data.constData() + start, qsizetype(extent));
            if (!pcxFits(bytes))
                return fail(QStringLiteral("%1: the PCX header asks for more pixels than its %2 "
                                           "bytes can hold")
                                .arg(name())
                                .arg(extent));
            QBuffer buffer(&bytes);
            auto image = std::make_shared<SffImage>();
            bool hasPalette = false;
            if (!loadPCX(image->image, &buffer, &hasPalette) || image->image.isNull())
                return fail(QStringLiteral("%1: the PCX data cannot be decoded").arg(name()));
            image->image.detach();
            sprite.image = image;
            if (same && previous && previous->palette >= 0) {
                sprite.palette = previous->palette;
            } else if (image->image.format() == QImage::Format_Indexed8) {
                RGBA colors[256];
                colorsOf(image->image, colors);
                // Equal palettes of several sprites are one palette.
                int found = -1;
                for (int i = 0; i < content.palettes.size() && found < 0; ++i) {
                    if (sameColors(content.palettes.at(i), colors))
                        found = i;
                }
                if (found < 0) {
                    SffPaletteData palette;
                    palette.group = sprite.group;
                    palette.number = sprite.number;
                    std::memcpy(palette.colors, colors, sizeof colors);
                    content.palettes.append(palette);
                    found = int(content.palettes.size() - 1);
                }
                sprite.palette = found;
            }
        }
        content.sprites.append(sprite);
        offset = next;
    }
    return true;
}

bool SffReader::readVersion2(QByteArray const &data, SffContent &content)
{
    quint64 const size = quint64(data.size());
    quint32 const spriteOffset = u32(data, SpriteListOffset);
    quint32 const spriteCount = u32(data, SpriteCount);
    quint32 const paletteOffset = u32(data, PaletteListOffset);
    quint32 const paletteCount = u32(data, PaletteCount);
    quint32 const literalOffset = u32(data, LiteralOffset);
    quint32 const literalLength = u32(data, LiteralLength);
    quint32 const translateOffset = u32(data, TranslateOffset);
    quint32 const translateLength = u32(data, TranslateLength);
    if (!fits(spriteOffset, quint64(spriteCount) * SpriteNodeSize, size))
        return fail(
            QStringLiteral("the list of %1 sprites at offset %2 runs past the end of the file")
                .arg(spriteCount)
                .arg(spriteOffset));
    if (!fits(paletteOffset, quint64(paletteCount) * PaletteNodeSize, size))
        return fail(
            QStringLiteral("the list of %1 palettes at offset %2 runs past the end of the file")
                .arg(paletteCount)
                .arg(paletteOffset));
    if (!fits(literalOffset, literalLength, size))
        return fail(QStringLiteral("the literal data block runs past the end of the file"));
    if (!fits(translateOffset, translateLength, size))
        return fail(QStringLiteral("the translate data block runs past the end of the file"));

    // Palettes, then their links.
    QList<int> paletteLinks;
    for (quint32 i = 0; i < paletteCount; ++i) {
        quint64 const node = paletteOffset + quint64(i) * PaletteNodeSize;
        SffPaletteData palette;
        palette.group = u16(data, node);
        palette.number = u16(data, node + 2);
        palette.colorCount = u16(data, node + 4);
        quint16 const link = u16(data, node + 6);
        quint32 const offset = u32(data, node + 8);
        quint32 const length = u32(data, node + 12);
        auto const name = [&] {
            return QStringLiteral("palette %1 (group %2, number %3)")
                .arg(i)
                .arg(palette.group)
                .arg(palette.number);
        };
        if (palette.colorCount > 256)
            return fail(QStringLiteral("%1 counts %2 colours; 256 is the most")
                            .arg(name())
                            .arg(palette.colorCount));
        std::memset(palette.colors, 0, sizeof palette.colors);
        if (length == 0) {
            if (link >= paletteCount)
                return fail(QStringLiteral("%1 links to palette %2, past the end of the list")
                                .arg(name())
                                .arg(link));
            paletteLinks.append(link);
        } else {
            if (!fits(offset, length, literalLength))
                return fail(QStringLiteral("%1: its data runs past the end of the literal block")
                                .arg(name()));
            if (length < quint64(palette.colorCount) * 4)
                return fail(QStringLiteral("%1: %2 bytes do not hold its %3 colours")
                                .arg(name())
                                .arg(length)
                                .arg(palette.colorCount));
            auto const *colors =
                reinterpret_cast<uchar const *>(data.constData()) + literalOffset + offset;
            palette.stored = QByteArray(reinterpret_cast<char const *>(colors),
                                        qsizetype(palette.colorCount) * 4);
            for (int c = 0; c < palette.colorCount; ++c)
                palette.colors[c] = RGBA{colors[4 * c], colors[4 * c + 1], colors[4 * c + 2], 0};
            paletteLinks.append(-1);
        }
        setSffAlpha(palette.colors);
        content.palettes.append(palette);
    }
    for (int i = 0; i < paletteLinks.size(); ++i) {
        int const target = linkTarget(paletteLinks, i);
        if (target < 0)
            return fail(QStringLiteral("palette %1: its links go round in a loop").arg(i));
        if (target != i) {
            quint16 const count = content.palettes.at(i).colorCount;
            std::memcpy(content.palettes[i].colors, content.palettes.at(target).colors,
                        sizeof(SffPaletteData::colors));
            content.palettes[i].colorCount = count;
            content.palettes[i].stored = content.palettes.at(target).stored.left(count * 4);
        }
    }

    // Sprites, then their links.
    QList<int> spriteLinks;
    for (quint32 i = 0; i < spriteCount; ++i) {
        quint64 const node = spriteOffset + quint64(i) * SpriteNodeSize;
        SffSpriteData sprite;
        sprite.group = u16(data, node);
        sprite.number = u16(data, node + 2);
        quint16 const width = u16(data, node + 4);
        quint16 const height = u16(data, node + 6);
        sprite.axisX = s16(data, node + 8);
        sprite.axisY = s16(data, node + 10);
        quint16 const link = u16(data, node + 12);
        quint8 const format = u8(data, node + 14);
        quint8 const depth = u8(data, node + 15);
        quint32 const offset = u32(data, node + 16);
        quint32 const length = u32(data, node + 20);
        quint16 const palette = u16(data, node + 24);
        bool const translate = (u16(data, node + 26) & 1) != 0;
        auto const name = [&] { return where(int(i), sprite.group, sprite.number); };
        sprite.palette = palette < paletteCount ? int(palette) : -1;
        if (length == 0) {
            if (link >= spriteCount)
                return fail(QStringLiteral("%1 links to sprite %2, past the end of the list")
                                .arg(name())
                                .arg(link));
            spriteLinks.append(link);
            content.sprites.append(sprite);
            continue;
        }
        spriteLinks.append(-1);
        quint64 const blockOffset = translate ? translateOffset : literalOffset;
        quint64 const blockLength = translate ? translateLength : literalLength;
        if (!fits(offset, length, blockLength))
            return fail(
                QStringLiteral("%1: its data runs past the end of the %2 block")
                    .arg(name(),
                         translate ? QStringLiteral("translate") : QStringLiteral("literal")));
        auto image = std::make_shared<SffImage>();
        image->stored = data.mid(qsizetype(blockOffset + offset), qsizetype(length));
        image->storedFormat = format;
        image->storedDepth = depth;
        image->storedInTranslateBlock = translate;
        quint64 const pixels = quint64(width) * height;
        bool const png = format == FormatPNG8 || format == FormatPNG24 || format == FormatPNG32;
        if (format != FormatRaw && !png && format != FormatRLE8 && format != FormatRLE5 &&
            format != FormatLZ5)
            return fail(QStringLiteral("%1: unknown pixel format %2").arg(name()).arg(format));
        if (format != FormatRaw && length < 4)
            return fail(QStringLiteral("%1: its %2 bytes of data are too short for a length")
                            .arg(name())
                            .arg(length));
        if (!png && format != FormatRaw && pixels > mostPixels(format, length - 4))
            return fail(QStringLiteral("%1: %2 bytes cannot hold an image of %3 x %4 pixels")
                            .arg(name())
                            .arg(length)
                            .arg(width)
                            .arg(height));
        QByteArray stream =
            QByteArray::fromRawData(image->stored.constData() + 4, image->stored.size() - 4);
        QBuffer buffer(&stream);
        bool decoded = true;
        if (format == FormatRaw) {
            // Raw pixels, with or without a length in front.
            quint64 const skip = length >= pixels + 4 && u32(image->stored, 0) == pixels ? 4 : 0;
            if (length - skip < pixels)
                return fail(QStringLiteral("%1: %2 bytes are fewer than its %3 x %4 pixels")
                                .arg(name())
                                .arg(length)
                                .arg(width)
                                .arg(height));
            if (pixels > 0) {
                image->image = QImage(width, height, QImage::Format_Indexed8);
                decoded = !image->image.isNull();
                for (int y = 0; decoded && y < height; ++y)
                    std::memcpy(image->image.scanLine(y),
                                image->stored.constData() + skip + qint64(y) * width, width);
            }
        } else if (png) {
            decoded = loadPNG(image->image, &buffer) && image->image.width() == width &&
                image->image.height() == height;
            if (decoded && format == FormatPNG8)
                decoded = asIndices(image->image);
            else if (decoded)
                image->image = image->image.convertToFormat(
                    format == FormatPNG24 ? QImage::Format_RGB32 : QImage::Format_ARGB32);
        } else if (pixels > 0) {
            image->image = QImage(width, height, QImage::Format_Indexed8);
            decoded = !image->image.isNull();
            if (decoded) {
                image->image.fill(0);
                decoded = format == FormatRLE8 ? loadRLE8(image->image, &buffer)
                    : format == FormatRLE5     ? loadRLE5(image->image, &buffer)
                                               : loadLZ5(image->image, &buffer);
            }
        }
        if (!decoded)
            return fail(QStringLiteral("%1: the pixel data (format %2) cannot be decoded")
                            .arg(name())
                            .arg(format));
        if (image->image.format() == QImage::Format_Indexed8) {
            if (sprite.palette < 0 && paletteCount > 0)
                return fail(QStringLiteral("%1 uses palette %2 of %3")
                                .arg(name())
                                .arg(palette)
                                .arg(paletteCount));
        }
        // PNG sprites need 2.01, whatever the header says.
        if (png)
            content.version = SffVersion::V201;
        sprite.image = image;
        content.sprites.append(sprite);
    }
    for (int i = 0; i < spriteLinks.size(); ++i) {
        int const target = linkTarget(spriteLinks, i);
        if (target < 0)
            return fail(
                QStringLiteral("%1: its links go round in a loop")
                    .arg(where(i, content.sprites.at(i).group, content.sprites.at(i).number)));
        content.sprites[i].image = content.sprites.at(target).image;
        if (content.sprites.at(i).palette < 0)
            content.sprites[i].palette = content.sprites.at(target).palette;
    }
    return true;
}

} // namespace Kenro::Ikemen
