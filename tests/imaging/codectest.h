#pragma once

// Helpers of the image codec tests: byte strings, tiny images and devices.
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
    for (int y = 0; y < height; ++y)
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

/// \a count bytes of noise, the same for the same seed.
inline QByteArray noise(int count, quint32 seed, int modulo = 256)
{
    QRandomGenerator generator(seed);
    QByteArray data(count, Qt::Uninitialized);
    for (char &byte : data)
        byte = char(generator.bounded(modulo));
    return data;
}

/// Fills every byte of \a image, padding included, with \a value.
inline void fillBytes(QImage &image, uchar value)
{
    memset(image.bits(), value, size_t(image.sizeInBytes()));
}

/// A read-only buffer over a copy of \a data that stays alive with it.
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

} // namespace CodecTest
