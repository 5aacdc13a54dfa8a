#pragma once

// Helpers of the image codec tests: byte strings, tiny images, devices, and
// the paths of the RLE8 decoder.
#include <kenro/imaging/imagecodecs.h>

#include "rle8paths_p.h"

#include <QBuffer>
#include <QImage>
#include <QRandomGenerator>

#include <initializer_list>

namespace CodecTest {

/// Bytes from numbers, for streams written out by hand.
inline QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray data;
    for (int value : values)
        data.append(char(value));
    return data;
}

/// An indexed image whose pixels are \a pixels, line after line.
inline QImage indexed(int width, int height, QByteArray const &pixels)
{
    QImage image(width, height, QImage::Format_Indexed8);
    for (int y = 0; y < height && width > 0; ++y)
        memcpy(image.scanLine(y), pixels.constData() + y * width, size_t(width));
    return image;
}

/// The pixel bytes of \a image, lines packed without padding.
inline QByteArray pixels(QImage const &image)
{
    QByteArray packed;
    for (int y = 0; y < image.height(); ++y)
        packed.append(reinterpret_cast<char const *>(image.constScanLine(y)),
                      qsizetype(image.width()) * image.depth() / 8);
    return packed;
}

/// \a count bytes of noise below \a modulo, the same for the same seed.
inline QByteArray noise(int count, quint32 seed, int modulo = 256)
{
    QRandomGenerator generator(seed);
    QByteArray data(count, Qt::Uninitialized);
    for (char &byte : data)
        byte = char(generator.bounded(modulo));
    return data;
}

/// An image of \a size and \a format whose every byte, padding included, is \a value.
inline QImage filled(QSize size, QImage::Format format, uchar value = 0xEE)
{
    QImage image(size, format);
    memset(image.bits(), value, size_t(image.sizeInBytes()));
    return image;
}

/// What \a save writes into a buffer, or "<failed>".
template<typename Save>
QByteArray saved(Save save)
{
    QByteArray stream;
    QBuffer out(&stream);
    return save(&out) ? stream : QByteArray("<failed>");
}

/// A buffer of its own, open for reading.
class Source : public QBuffer
{
public:
    explicit Source(QByteArray data) : m_data(std::move(data))
    {
        setBuffer(&m_data);
        open(QIODevice::ReadOnly);
    }

private:
    QByteArray m_data;
};

/// The RLE8 decoding paths this processor can take, the portable one first, with their names.
inline QList<QPair<Kenro::Rle8Path, char const *>> rle8Paths()
{
    Kenro::Rle8Path const chosen = Kenro::rle8Path();
    QList<QPair<Kenro::Rle8Path, char const *>> paths{{Kenro::Rle8Path::Portable, "portable"}};
    if (Kenro::setRle8Path(Kenro::Rle8Path::Avx2))
        paths.append({Kenro::Rle8Path::Avx2, "AVX2"});
    if (Kenro::setRle8Path(Kenro::Rle8Path::Avx512))
        paths.append({Kenro::Rle8Path::Avx512, "AVX-512"});
    Kenro::setRle8Path(chosen);
    return paths;
}

/// Makes loadRLE8() take \a path while it lives, then the one chosen before.
struct Rle8PathScope
{
    explicit Rle8PathScope(Kenro::Rle8Path path) : taken(Kenro::setRle8Path(path)) {}
    ~Rle8PathScope() { Kenro::setRle8Path(previous); }

    Kenro::Rle8Path const previous = Kenro::rle8Path();
    bool const taken; ///< whether the processor took the path
};

} // namespace CodecTest
