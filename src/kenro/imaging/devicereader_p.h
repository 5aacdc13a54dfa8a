#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QIODevice>

#include <algorithm>
#include <typeinfo>

namespace Kenro {

/// Opens \a device for reading unless it is readable already; false when that fails.
inline bool openForReading(QIODevice *device)
{
    return device && (device->isReadable() || device->open(QIODevice::ReadOnly));
}

/// Opens \a device for writing unless it is writable already; false when that fails.
inline bool openForWriting(QIODevice *device)
{
    return device && (device->isWritable() || device->open(QIODevice::WriteOnly));
}

/// Writes all of \a data; false when the device takes less.
inline bool writeAll(QIODevice *device, QByteArray const &data)
{
    return data.isEmpty() || device->write(data) == data.size();
}

/**
 * Reads the bytes of a stream from a device in chunks, for decoders that take
 * a byte at a time. Chunks are only peeked at; finish() consumes from the
 * device exactly the bytes that were taken, so that what follows the stream
 * stays unread. Reading past the end gives zeros and marks the reader as
 * failed, as a data stream would.
 *
 * A plain QBuffer is read in place: its one chunk is all of its bytes from
 * the current position, and finish() seeks behind the bytes taken. In text
 * mode the reader gives what reading would give, without carriage returns.
 */
class DeviceReader
{
public:
    /// A reader of \a device whose first chunk holds \a expected bytes, when there are so many.
    DeviceReader(QIODevice *device, qint64 expected) : m_device(device)
    {
        // A subclass may change what reading gives, and text mode changes line ends.
        if (typeid(*device) == typeid(QBuffer) && !device->isTextModeEnabled()) {
            QByteArray const &data = static_cast<QBuffer *>(device)->data();
            m_start = device->pos();
            if (m_start >= 0 && m_start <= data.size()) {
                m_inPlace = true;
                m_base = m_next = reinterpret_cast<uchar const *>(data.constData()) + m_start;
                m_end = m_base + (data.size() - m_start);
                return;
            }
        }
        // A peek takes memory for all it asks for, whatever the device holds.
        if (!device->isSequential())
            expected = std::min(expected, device->bytesAvailable());
        m_chunkSize = std::clamp<qint64>(expected, 256, MaximumChunk);
    }
    ~DeviceReader() { finish(); }
    DeviceReader(DeviceReader const &) = delete;
    DeviceReader &operator=(DeviceReader const &) = delete;

    /// The next byte, or 0 past the end.
    uchar byte()
    {
        if (Q_LIKELY(m_next != m_end) || refill())
            return *m_next++;
        m_pastEnd = true;
        return 0;
    }

    /// The next two bytes as a little-endian number.
    quint16 word()
    {
        uchar const low = byte();
        return quint16(low | (byte() << 8));
    }

    /**
     * For decoders that keep their own cursor in local variables, where the
     * compiler can hold it in registers: the untaken bytes of the chunk run
     * from next() to end(). advance() takes everything before \a next and,
     * when that is the whole chunk, moves both to the next one; false when
     * the device has no more. take() hands back the cursor at the end.
     */
    uchar const *next() const { return m_next; }
    uchar const *end() const { return m_end; }
    bool advance(uchar const *&next, uchar const *&end)
    {
        m_next = next;
        if (m_next != m_end)
            return true;
        bool const more = refill();
        next = m_next;
        end = m_end;
        return more;
    }
    void take(uchar const *next) { m_next = next; }
    /// Marks a read past the end, for decoders with their own cursor.
    void setPastEnd() { m_pastEnd = true; }
    /// byte() for decoders with their own cursor: the byte at \a next, moving to the next chunk when needed.
    uchar byte(uchar const *&next, uchar const *&end)
    {
        if (Q_LIKELY(next != end) || advance(next, end))
            return *next++;
        m_pastEnd = true;
        return 0;
    }

    /// True when no byte is left, on the device either.
    bool atEnd() { return m_next == m_end && !refill(); }

    /// False once a read went past the end.
    bool ok() const { return !m_pastEnd; }

    /// Consumes the bytes taken so far from the device.
    void finish()
    {
        qint64 const used = m_next - m_base;
        if (used > 0) {
            if (m_inPlace)
                m_device->seek(m_start + used);
            else
                m_device->skip(used);
        }
        m_chunk.clear();
        m_base = m_next = m_end = nullptr;
    }

private:
    static constexpr qint64 MaximumChunk = 1 << 24;

    bool refill()
    {
        finish();
        // A buffer read in place has nothing beyond its one chunk.
        if (m_inPlace)
            return false;
        // A peek takes memory for all it asks for: no more than the device
        // says it holds, when it says so.
        qint64 const available = m_device->bytesAvailable();
        qint64 const asked =
            available > 0 ? std::min(m_chunkSize, std::max<qint64>(available, 256)) : m_chunkSize;
        m_chunk = m_device->peek(asked);
        // A decoder that outgrows its first guess gets larger chunks, unless
        // the device hands out less at a time anyway.
        if (m_chunk.size() == asked)
            m_chunkSize = std::min<qint64>(m_chunkSize * 2, MaximumChunk);
        // Reading in text mode drops every carriage return, and skip() then
        // counts the bytes that are left; a peek gives them all.
        if (m_device->isTextModeEnabled())
            m_chunk.removeIf([](char c) { return c == '\r'; });
        m_base = m_next = reinterpret_cast<uchar const *>(m_chunk.constData());
        m_end = m_next + m_chunk.size();
        return m_next != m_end;
    }

    QIODevice *m_device;
    qint64 m_chunkSize = 256;
    QByteArray m_chunk;
    uchar const *m_base = nullptr; // the first byte of the chunk
    uchar const *m_next = nullptr;
    uchar const *m_end = nullptr;
    qint64 m_start = 0; // where a buffer read in place was when reading began
    bool m_inPlace = false;
    bool m_pastEnd = false;
};

} // namespace Kenro
