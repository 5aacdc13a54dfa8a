#include "sequentialdevice.h"

#include <algorithm>
#include <cstring>

namespace KenroTest {

SequentialDevice::SequentialDevice(QByteArray data, OpenMode extra, qint64 piece)
    : m_data(std::move(data)), m_piece(piece)
{
    open(ReadOnly | extra);
}
qint64 SequentialDevice::bytesAvailable() const
{
    return m_data.size() - m_offset + QIODevice::bytesAvailable();
}
qint64 SequentialDevice::readData(char *data, qint64 maxSize)
{
    qint64 count = std::min<qint64>(maxSize, m_data.size() - m_offset);
    if (m_piece > 0)
        count = std::min(count, m_piece);
    if (count > 0)
        std::memcpy(data, m_data.constData() + m_offset, size_t(count));
    m_offset += count;
    return count;
}

} // namespace KenroTest
