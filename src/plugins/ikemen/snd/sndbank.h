#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

namespace Kenro::Ikemen {

/**
 * One member of a sound bank: a WAV file under a group and a number. The
 * bytes are a window into a shared buffer, so that the members of a bank
 * read from a file all point into the one copy of that file.
 */
class SndMember
{
public:
    SndMember() = default;
    /// A member that holds \a wav on its own.
    SndMember(qint32 group, qint32 number, QByteArray const &wav);
    /// A member whose bytes are \a size bytes of \a buffer from \a offset on.
    SndMember(qint32 group, qint32 number, QByteArray const &buffer, qsizetype offset,
              qsizetype size);

    qint32 group = 0;
    qint32 number = 0;

    /// The WAV bytes; valid as long as this member or a copy of it lives.
    QByteArrayView wav() const;
    /// The WAV bytes as an array of their own.
    QByteArray wavCopy() const;
    qsizetype size() const;

private:
    QByteArray m_buffer;
    qsizetype m_offset = 0;
    qsizetype m_size = 0;
};

/// The content of a sound bank file, apart from any model.
struct SndBank
{
    /// The version word as the file has it; new banks take the common one.
    quint32 version = defaultVersion;
    /**
     * The bytes that follow the fixed fields of the header up to the first
     * member, kept so that comments survive a save. Written padded with zeros
     * to the usual header of 512 bytes.
     */
    QByteArray reserved;
    QList<SndMember> members;

    static constexpr quint32 defaultVersion = 4;
    /// The fixed fields: signature, version, count and first offset.
    static constexpr qsizetype headerSize = 24;
    /// Where members start in a bank whose header holds no more than usual.
    static constexpr qsizetype usualHeaderSize = 512;
    /// Next offset, length, group and number.
    static constexpr qsizetype memberHeaderSize = 16;
    static QByteArrayView signature();
};

} // namespace Kenro::Ikemen
