#include <kenro/imaging/sprite.h>

#include <cstring>

namespace Kenro {

Sprite::~Sprite() = default;

QStringList Sprite::propertyNames() const
{
    return {QStringLiteral("Identifier")};
}

void Sprite::setImage(QImage const &image)
{
    setImage(image, true);
}

QImage Sprite::aligned(QPoint oldAxis, QPoint newAxis, QPoint extent) const
{
    QImage const source = image();
    if (source.isNull())
        return QImage();
    int const width = newAxis.x() + extent.x();
    int const height = newAxis.y() + extent.y();
    if (width <= 0 || height <= 0)
        return QImage();
    QImage result(width, height, source.format());
    if (result.isNull())
        return QImage();
    if (source.colorCount() > 0)
        result.setColorTable(source.colorTable());
    std::memset(result.bits(), 0, static_cast<size_t>(result.sizeInBytes()));

    int const dx = newAxis.x() - oldAxis.x();
    int const dy = newAxis.y() - oldAxis.y();
    // Only what lies on the canvas is copied: a caller that got the canvas
    // wrong loses pixels instead of memory.
    int const left = qMax(0, -dx);
    int const right = qMin(source.width(), width - dx);
    int const top = qMax(0, -dy);
    int const bottom = qMin(source.height(), height - dy);
    if (left >= right || top >= bottom)
        return result;
    int const depth = source.depth();
    if (depth % 8 == 0) {
        int const bytes = depth / 8;
        for (int y = top; y < bottom; ++y) {
            std::memcpy(result.scanLine(y + dy) + (left + dx) * bytes,
                        source.constScanLine(y) + left * bytes,
                        static_cast<size_t>((right - left) * bytes));
        }
    } else {
        // Formats of less than a byte per pixel go pixel by pixel.
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x)
                result.setPixel(x + dx, y + dy, static_cast<uint>(source.pixelIndex(x, y)));
        }
    }
    return result;
}

} // namespace Kenro
