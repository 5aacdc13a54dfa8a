#include "sequentialdevice.h"

#include <algorithm>
#include <cstring>

namespace KenroTest {

SequentialDevice::SequentialDevice(QByteArray data, OpenMode extra) : m_data(std::move(data))
{
    open(ReadOnly | extra);
}

qint64 SequentialDevice::bytesAvailable() const
{
    return m_data.size() - m_offset + QIODevice::bytesAvailable();
}

qint64 SequentialDevice::readData(char *data, qint64 maxSize)
{
    ++reads;
    qint64 const count = std::min<qint64>(maxSize, m_data.size() - m_offset);
    if (count > 0)
        std::memcpy(data, m_data.constData() + m_offset, size_t(count));
    m_offset += count;
    return count;
}

} // namespace KenroTest
