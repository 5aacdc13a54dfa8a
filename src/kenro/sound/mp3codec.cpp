// MP3 reading through mpg123 over reader callbacks on the device.
#include <kenro/sound/soundcodecs.h>

#include "soundcodecs_p.h"

#include <QBuffer>

#include <mpg123.h>

#include <vector>

namespace Kenro {

namespace {

ssize_t readMp3(void *source, void *buffer, size_t count)
{
    return ssize_t(
        static_cast<QIODevice *>(source)->read(static_cast<char *>(buffer), qint64(count)));
}

off_t seekMp3(void *source, off_t offset, int whence)
{
    auto *device = static_cast<QIODevice *>(source);
    qint64 target = 0;
    if (whence == SEEK_SET)
        target = offset;
    else if (whence == SEEK_CUR)
        target = device->pos() + offset;
    else if (whence == SEEK_END)
        target = device->size() + offset;
    return SoundCodecs::seekWithin(device, target) ? off_t(target) : off_t(-1);
}

// Decodes the opened stream into \a sample.
void decode(mpg123_handle *handle, SoundSample &sample)
{
    long rate = 0;
    int channels = 0;
    int encoding = 0;
    if (mpg123_getformat(handle, &rate, &channels, &encoding) != MPG123_OK || channels < 1)
        return;
    if (encoding != MPG123_ENC_SIGNED_16) {
        mpg123_format_none(handle);
        mpg123_format(handle, rate, channels, MPG123_ENC_SIGNED_16);
    }
    mpg123_scan(handle);
    off_t const length = mpg123_length(handle);
    QByteArray data;
    if (length > 0 && qint64(length) * channels * 2 <= SoundCodecs::maxSampleBytes)
        data.reserve(qsizetype(length) * channels * 2);
    QBuffer output(&data);
    output.open(QIODevice::WriteOnly);
    std::vector<unsigned char> block(std::max<size_t>(mpg123_outblock(handle), 1));
    for (;;) {
        size_t done = 0;
        int const result = mpg123_read(handle, block.data(), block.size(), &done);
        output.write(reinterpret_cast<char const *>(block.data()), qint64(done));
        if (result != MPG123_OK || data.size() > SoundCodecs::maxSampleBytes)
            break;
    }
    output.close();
    if (data.size() > SoundCodecs::maxSampleBytes)
        return;
    sample.channels = quint16(channels);
    sample.frequency = quint32(rate);
    sample.bits = 16;
    sample.frames = quint32(data.size() / (channels * 2));
    sample.data = data;
}

} // namespace

SoundSample soundFromMP3(QIODevice *device)
{
    SoundSample sample;
    if (!SoundCodecs::openForReading(device))
        return sample;
    mpg123_init();
    int error = MPG123_OK;
    mpg123_handle *handle = mpg123_new(nullptr, &error);
    if (!handle) {
        mpg123_exit();
        return sample;
    }
    // The library reports nothing itself: failures come back as an empty sample.
    mpg123_param(handle, MPG123_ADD_FLAGS, MPG123_QUIET, 0.0);
    if (mpg123_replace_reader_handle(handle, readMp3, seekMp3, nullptr) == MPG123_OK &&
        mpg123_open_handle(handle, device) == MPG123_OK) {
        decode(handle, sample);
        mpg123_close(handle);
    }
    mpg123_delete(handle);
    mpg123_exit();
    return sample;
}

} // namespace Kenro
