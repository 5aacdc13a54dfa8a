#pragma once

#include <QImage>

#include <algorithm>
#include <cstring>
#include <vector>

namespace Kenro {

/**
 * The pixel bytes of an image as one contiguous array of \a lineBytes bytes a
 * line. Lines are gathered into a copy only when the image pads them; a line
 * shorter than \a lineBytes (images of fewer than 8 bits) is zero-filled.
 */
class PixelBytes
{
public:
    PixelBytes(QImage const &image, qint64 lineBytes)
        : m_size(std::max<qint64>(lineBytes, 0) * image.height())
    {
        qsizetype const stride = image.bytesPerLine();
        if (stride == lineBytes || m_size == 0) {
            m_data = image.constBits();
            return;
        }
        m_copy.assign(size_t(m_size), 0);
        size_t const taken = size_t(std::min<qint64>(lineBytes, stride));
        for (int y = 0; y < image.height(); ++y)
            std::memcpy(m_copy.data() + y * lineBytes, image.constScanLine(y), taken);
        m_data = m_copy.data();
    }

    uchar const *data() const { return m_data; }
    qint64 size() const { return m_size; }

private:
    qint64 m_size;
    uchar const *m_data = nullptr;
    std::vector<uchar> m_copy;
};

/// Copies \a pixels, width bytes a line without padding, into the lines of \a image.
inline void copyToLines(QImage &image, uchar const *pixels)
{
    if (image.isNull())
        return;
    int const width = image.width();
    qsizetype const stride = image.bytesPerLine();
    size_t const taken = size_t(std::min<qsizetype>(width, stride));
    uchar *const bits = image.bits();
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(bits + y * stride, pixels + qint64(y) * width, taken);
}

} // namespace Kenro
