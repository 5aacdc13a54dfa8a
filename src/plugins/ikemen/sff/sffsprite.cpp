#include "sffsprite.h"

#include "sffpalette.h"
#include "sffpalettes.h"
#include "sffsprites.h"

#include <kenro/project/subitem.h>

namespace Kenro::Ikemen {

namespace {

QString const identifierName = QStringLiteral("Identifier");
QString const axisName = QStringLiteral("Axis");

// Pixels that count as drawn: index 0 of an indexed image is transparent,
// as is alpha 0 of any other.
bool isDrawn(QImage const &image, int x, int y)
{
    if (image.format() == QImage::Format_Indexed8)
        return image.constScanLine(y)[x] != 0;
    return qAlpha(image.pixel(x, y)) != 0;
}

// An image in one of the forms an archive keeps: indexed, RGB32 or ARGB32.
QImage storable(QImage const &image)
{
    switch (image.format()) {
    case QImage::Format_Indexed8:
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
        return image;
    default:
        return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                             : QImage::Format_RGB32);
    }
}

} // namespace

SffSprite::SffSprite(SffSprites *owner, quint16 group, quint16 number,
                     std::shared_ptr<SffImage> image, SffPalette *palette)
    : m_owner(owner),
      m_group(group),
      m_number(number),
      m_image(std::move(image)),
      m_palette(palette)
{}

QString SffSprite::label() const
{
    return QStringLiteral("%1, %2").arg(m_group).arg(m_number);
}

quint16 SffSprite::group() const
{
    return m_group;
}

quint16 SffSprite::number() const
{
    return m_number;
}

QPoint SffSprite::axis() const
{
    return m_axis;
}

void SffSprite::setAxis(QPoint axis)
{
    if (axis == m_axis)
        return;
    m_axis = axis;
    m_owner->rowChanged(int(index()));
}

std::shared_ptr<SffImage> const &SffSprite::imageData() const
{
    return m_image;
}

QImage SffSprite::pixels() const
{
    return m_image ? m_image->image : QImage();
}

void SffSprite::usePalette(SffPalette *palette)
{
    m_palette = palette;
}

QStringList SffSprite::propertyNames() const
{
    return Sprite::propertyNames() +
        QStringList{QStringLiteral("Group"), QStringLiteral("Number"), axisName};
}

QVariant SffSprite::property(QString const &name) const
{
    if (name == identifierName)
        return label();
    if (name == QLatin1String("Group"))
        return m_group;
    if (name == QLatin1String("Number"))
        return m_number;
    if (name == axisName)
        return m_axis;
    return QVariant();
}

void SffSprite::setProperty(QString const &name, QVariant const &value)
{
    if (name == axisName) {
        setAxis(value.toPoint());
        return;
    }
    SubItem item;
    if (name != identifierName || !SubItem::parse(value.toString(), item) || item.first < 0 ||
        item.first > 0xFFFF || item.second < 0 || item.second > 0xFFFF ||
        m_owner->find(0, value) >= 0)
        return;
    m_group = quint16(item.first);
    m_number = quint16(item.second);
    m_owner->rowChanged(int(index()));
}

unsigned int SffSprite::index() const
{
    return (unsigned int)(m_owner->indexOf(this));
}

Sprites *SffSprite::parent() const
{
    return m_owner;
}

Sprite *SffSprite::duplicate()
{
    auto *copy =
        static_cast<SffSprite *>(m_owner->add(m_owner->freeIdentifier(m_group), QImage(), NoShare));
    if (copy) {
        copy->m_image = m_image; // a link to the same image
        copy->m_palette = m_palette;
        copy->m_axis = m_axis;
    }
    return copy;
}

void SffSprite::crop()
{
    if (isEmpty())
        return;
    QImage const &source = m_image->image;
    QRect drawn;
    for (int y = 0; y < source.height(); ++y) {
        for (int x = 0; x < source.width(); ++x) {
            if (isDrawn(source, x, y))
                drawn |= QRect(x, y, 1, 1);
        }
    }
    if (drawn == source.rect())
        return;
    auto image = std::make_shared<SffImage>();
    if (!drawn.isEmpty())
        image->image = source.copy(drawn);
    m_axis -= drawn.isEmpty() ? QPoint() : drawn.topLeft();
    m_image = image;
    m_owner->rowChanged(int(index()));
}

void SffSprite::splitRGB()
{
    if (isEmpty())
        return;
    QImage const colour = image().convertToFormat(QImage::Format_RGB32);
    RGBA grey[256];
    for (int i = 0; i < 256; ++i)
        grey[i] = RGBA{uchar(i), uchar(i), uchar(i), 255};
    m_owner->beginChange();
    auto *palettes = static_cast<SffPalettes *>(m_owner->palettes());
    Palette *greyPalette = palettes->add(grey, palettes->freeIdentifier(m_group), Share);
    for (int channel = 0; channel < 3; ++channel) {
        QImage plane(colour.size(), QImage::Format_Indexed8);
        for (int y = 0; y < colour.height(); ++y) {
            auto const *in = reinterpret_cast<QRgb const *>(colour.constScanLine(y));
            uchar *out = plane.scanLine(y);
            for (int x = 0; x < colour.width(); ++x)
                out[x] = uchar(channel == 0       ? qRed(in[x])
                                   : channel == 1 ? qGreen(in[x])
                                                  : qBlue(in[x]));
        }
        auto *sprite = static_cast<SffSprite *>(
            m_owner->add(m_owner->freeIdentifier(m_group), plane, NoShare));
        if (sprite) {
            sprite->m_axis = m_axis;
            sprite->m_palette = static_cast<SffPalette *>(greyPalette);
        }
    }
    m_owner->endChange();
}

bool SffSprite::isEmpty() const
{
    return !m_image || m_image->image.isNull();
}

QImage SffSprite::image() const
{
    if (isEmpty())
        return QImage();
    QImage image = m_image->image;
    if (image.format() == QImage::Format_Indexed8 && m_palette)
        image.setColorTable(m_palette->qtColorTable());
    return image;
}

ImageInfo SffSprite::imageProperties() const
{
    ImageInfo info;
    if (!isEmpty()) {
        info.width = quint16(m_image->image.width());
        info.height = quint16(m_image->image.height());
        info.format = m_image->image.format();
    }
    return info;
}

bool SffSprite::imageIsShared() const
{
    return m_image && m_image.use_count() > 1;
}

void SffSprite::setImage(QImage const &image, bool notify, PaletteMode mode, Palette *palette,
                         ShareMode share)
{
    auto *target = palette ? static_cast<SffPalette *>(palette) : m_palette;
    QImage stored = storable(image);
    bool const indexed = stored.format() == QImage::Format_Indexed8;
    RGBA colors[256] = {};
    if (indexed) {
        QList<QRgb> const table = stored.colorTable();
        for (int i = 0; i < table.size() && i < 256; ++i)
            colors[i] = RGBA::fromQRgb(table.at(i));
    }
    auto *palettes = static_cast<SffPalettes *>(m_owner->palettes());
    switch (mode) {
    case Ignore:
        break;
    case OwnPalette:
        if (indexed)
            m_palette = static_cast<SffPalette *>(
                palettes->add(colors, palettes->freeIdentifier(m_group), share));
        break;
    case AdaptImage:
        if (target) {
            // Through true colour, since Qt keeps an indexed image's own table.
            stored = stored.convertToFormat(QImage::Format_ARGB32)
                         .convertToFormat(QImage::Format_Indexed8, target->qtColorTable(),
                                          Qt::ThresholdDither);
            m_palette = target;
        }
        break;
    case SwapPalette:
        if (indexed && target)
            target->setColorTable(colors, share);
        break;
    }
    m_image = m_owner->imageFor(stored, share);
    if (notify)
        m_owner->rowChanged(int(index()));
    else
        m_owner->markModified();
}

void SffSprite::setImage(QImage const &image, bool notify)
{
    setImage(image, notify, Ignore, nullptr, NoShare);
}

Palette *SffSprite::palette() const
{
    return m_palette;
}

void SffSprite::setPalette(Palette *palette)
{
    auto *palettes = static_cast<SffPalettes *>(m_owner->palettes());
    if (palette && palettes->indexOf(palette) < 0)
        return;
    m_palette = static_cast<SffPalette *>(palette);
    m_owner->rowChanged(int(index()));
}

} // namespace Kenro::Ikemen
