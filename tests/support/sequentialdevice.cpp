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
    qint64 const count =
        std::min({maxSize, qint64(m_data.size() - m_offset), m_piece > 0 ? m_piece : maxSize});
    if (count > 0)
        std::memcpy(data, m_data.constData() + m_offset, size_t(count));
    m_offset += count;
    return count;
}

} // namespace KenroTest
