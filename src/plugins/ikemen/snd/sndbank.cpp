#include "sndbank.h"

namespace Kenro::Ikemen {

SndMember::SndMember(qint32 group, qint32 number, QByteArray const &wav)
    : group(group), number(number), m_buffer(wav), m_size(wav.size())
{}

SndMember::SndMember(qint32 group, qint32 number, QByteArray const &buffer, qsizetype offset,
                     qsizetype size)
    : group(group), number(number), m_buffer(buffer), m_offset(offset), m_size(size)
{
    Q_ASSERT(offset >= 0 && size >= 0 && offset <= buffer.size() - size);
}

QByteArrayView SndMember::wav() const
{
    return QByteArrayView(m_buffer.constData() + m_offset, m_size);
}

QByteArray SndMember::wavCopy() const
{
    return m_offset == 0 && m_size == m_buffer.size() ? m_buffer : wav().toByteArray();
}

qsizetype SndMember::size() const
{
    return m_size;
}

QByteArrayView SndBank::signature()
{
    // The terminating zero belongs to the 12 bytes of the signature.
    return QByteArrayView("ElecbyteSnd\0", 12);
}

} // namespace Kenro::Ikemen
