// One libFuzzer target per stream decoder, chosen by KENRO_FUZZ_<FORMAT>.
//
// The headerless formats take their image from the input's first five bytes:
// width and height (little-endian, each up to 1023, together up to 65536
// pixels) and a choice of format and device; the stream follows. The device
// is a buffer, which the decoders read in place, or a pipe that hands out a
// few bytes a read, which they read in chunks that end anywhere in a packet. A PCX input is a whole file. Whatever decodes is encoded
// again and must decode to the same pixels.
#include <kenro/imaging/imagecodecs.h>
#include <kenro/imaging/rle8paths_p.h>

#include "sequentialdevice.h"

#include <QBuffer>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

QImage::Format chosenFormat(uchar choice)
{
    switch (choice % 5) {
    case 1:
        return QImage::Format_RGB32;
    case 2:
        return QImage::Format_ARGB32;
    case 3:
        return QImage::Format_Mono;
    default:
        return QImage::Format_Indexed8;
    }
}

// The pixel bytes of each line; RGB32's unused fourth byte is left out.
QByteArray pixelBytes(QImage const &image)
{
    QByteArray bytes;
    int const perPixel = image.depth() / 8;
    for (int y = 0; y < image.height(); ++y) {
        uchar const *line = image.constScanLine(y);
        for (int x = 0; x < image.width() * perPixel; ++x) {
            if (image.format() != QImage::Format_RGB32 || x % 4 != 3)
                bytes.append(char(line[x]));
        }
    }
    return bytes;
}

std::unique_ptr<QIODevice> chosenDevice(uchar choice, QByteArray &bytes)
{
    if (choice / 5 % 2 == 0)
        return std::make_unique<QBuffer>(&bytes);
    // A pipe that gives at most 1 to 8 bytes a read.
    return std::make_unique<KenroTest::SequentialDevice>(bytes, QIODevice::NotOpen,
                                                         choice / 10 % 8 + 1);
}

using Loader = bool (*)(QImage &, QIODevice *);

// Encodes \a image with \a save, decodes the result with \a load, and stops
// the run when the pixels differ.
template<typename Save>
void checkRoundTrip(QImage const &image, Save save, Loader load)
{
    QByteArray encoded;
    QBuffer out(&encoded);
    if (!save(image, &out))
        abort();
    QImage again(image.width(), image.height(), image.format());
    QBuffer in(&encoded);
    if (!load(again, &in) || pixelBytes(again) != pixelBytes(image))
        abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const *data, size_t size)
{
#ifdef KENRO_FUZZ_PCX
    QByteArray bytes(reinterpret_cast<char const *>(data), qsizetype(size));
    QBuffer device(&bytes);
    QImage image;
    bool hasPalette = false;
    // The header keeps the width in the 16 bits of its bytes per line: a
    // file can say 65536 pixels a line, but no file written can.
    if (Kenro::loadPCX(image, &device, &hasPalette) && !image.isNull() && image.width() <= 0xFFFF) {
        checkRoundTrip(image, Kenro::savePCX,
                       [](QImage &i, QIODevice *d) { return Kenro::loadPCX(i, d, nullptr); });
    }
#else
    if (size < 5)
        return 0;
    int const width = (data[0] | data[1] << 8) & 1023;
    int const height = (data[2] | data[3] << 8) & 1023;
    // Large images cost time and find nothing that small ones do not.
    if (width * height > 1 << 16)
        return 0;
    QImage image(width, height, chosenFormat(data[4]));
    QByteArray bytes(reinterpret_cast<char const *>(data + 5), qsizetype(size - 5));
    std::unique_ptr<QIODevice> const device = chosenDevice(data[4], bytes);
#if defined(KENRO_FUZZ_LZ5)
    if (Kenro::loadLZ5(image, device.get()) && image.format() == QImage::Format_Indexed8) {
        // The match search is slow under the sanitizers: back-references are
        // tried on small images only, so that each run covers many inputs.
        bool const small = qint64(width) * height <= 1024;
        for (bool useBackReferences : {false, small}) {
            checkRoundTrip(
                image,
                [useBackReferences](QImage const &i, QIODevice *d) {
                    return Kenro::saveLZ5(i, d, useBackReferences);
                },
                Kenro::loadLZ5);
        }
    }
#elif defined(KENRO_FUZZ_RLE5)
    Kenro::loadRLE5(image, device.get());
#elif defined(KENRO_FUZZ_RLE8)
    // Every path the processor can take agrees with the portable one on
    // every input, on what they write and what they leave.
    image.fill(0);
    Kenro::Rle8Path const chosen = Kenro::rle8Path();
    Kenro::setRle8Path(Kenro::Rle8Path::Portable);
    bool const ok = Kenro::loadRLE8(image, device.get());
    for (Kenro::Rle8Path path : {Kenro::Rle8Path::Avx2, Kenro::Rle8Path::Avx512}) {
        if (!Kenro::setRle8Path(path))
            continue;
        QImage other(width, height, image.format());
        other.fill(0);
        QByteArray copy(reinterpret_cast<char const *>(data + 5), qsizetype(size - 5));
        std::unique_ptr<QIODevice> const again = chosenDevice(data[4], copy);
        bool const otherOk = Kenro::loadRLE8(other, again.get());
        if (otherOk != ok || pixelBytes(other) != pixelBytes(image))
            abort();
    }
    Kenro::setRle8Path(chosen);
    // RGB32 lines are read with three bytes a pixel but written with four,
    // so only the other two formats come back as they went.
    if (ok &&
        (image.format() == QImage::Format_Indexed8 || image.format() == QImage::Format_ARGB32))
        checkRoundTrip(image, Kenro::saveRLE8, Kenro::loadRLE8);
#endif
#endif
    return 0;
}
