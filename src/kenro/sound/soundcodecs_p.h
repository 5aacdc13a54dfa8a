#pragma once

#include <QIODevice>

namespace Kenro::SoundCodecs {

// No codec builds a sample larger than this: a damaged header cannot make
// one allocate gigabytes.
constexpr qint64 maxSampleBytes = qint64(1) << 30;

// The device, opened read-only if it is not readable yet.
inline bool openForReading(QIODevice *device)
{
    return device && (device->isReadable() || device->open(QIODevice::ReadOnly));
}

// The device, opened write-only if it is not writable yet.
inline bool openForWriting(QIODevice *device)
{
    return device && (device->isWritable() || device->open(QIODevice::WriteOnly));
}

// Up to \a count bytes of \a device, without reserving room for bytes that a
// file does not have.
inline QByteArray readUpTo(QIODevice *device, qint64 count)
{
    if (!device->isSequential())
        count = qMin(count, device->size() - device->pos());
    return device->read(qBound<qint64>(0, count, maxSampleBytes));
}

// Seeks \a device to \a target unless that lies outside a device of known
// size; the libraries probe past the end of damaged files.
inline bool seekWithin(QIODevice *device, qint64 target)
{
    if (target < 0 || (!device->isSequential() && target > device->size()))
        return false;
    return device->seek(target);
}

} // namespace Kenro::SoundCodecs
