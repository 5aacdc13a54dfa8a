#pragma once

#include "bytechunks_p.h"

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

/**
 * Copies \a count bytes that lie one \a length bytes line after the other
 * from \a from into lines \a stride bytes apart at \a to, each line's
 * bytes behind \a length left as they are.
 */
inline void copyLines(uchar *to, qsizetype stride, uchar const *from, qsizetype length,
                      qint64 count)
{
    if (count <= 0 || length <= 0)
        return;
    if (stride == length) {
        std::memcpy(to, from, size_t(count));
        return;
    }
    qint64 const lines = count / length;
    if (length >= 16) {
        // Chunks from the start of the line, the last one ending with it;
        // short lines do not pay for a call each.
        for (qint64 y = 0; y < lines; ++y, to += stride, from += length) {
            for (qsizetype x = 0; x < length - 16; x += 16)
                Chunk16::load(from + x).store(to + x);
            Chunk16::load(from + length - 16).store(to + length - 16);
        }
    } else {
        for (qint64 y = 0; y < lines; ++y, to += stride, from += length)
            std::memcpy(to, from, size_t(length));
    }
    std::memcpy(to, from, size_t(count - lines * length));
}

/// Copies \a pixels, width bytes a line without padding, into the lines of \a image.
inline void copyToLines(QImage &image, uchar const *pixels)
{
    if (image.isNull())
        return;
    int const width = image.width();
    qsizetype const stride = image.bytesPerLine();
    qsizetype const taken = std::min<qsizetype>(width, stride);
    if (taken == width) {
        copyLines(image.bits(), stride, pixels, width, qint64(width) * image.height());
        return;
    }
    // Lines of narrow formats hold fewer bytes than pixels.
    uchar *const bits = image.bits();
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(bits + y * stride, pixels + qint64(y) * width, size_t(taken));
}

} // namespace Kenro
