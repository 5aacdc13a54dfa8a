#pragma once

#include <QByteArray>
#include <QList>

namespace KenroTest {

/// One member of a ZIP made byte by byte, for inputs that no writer makes.
struct RawMember
{
    QByteArray name;
    /// The bytes as they lie in the file.
    QByteArray payload;
    /// 0 stored, 8 deflated.
    quint16 method = 0;
    quint32 crc = 0;
    quint32 compressedSize = 0;
    quint32 size = 0;
};

quint32 crc32(QByteArray const &data);
/// \a data stored, with true sizes and checksum.
RawMember storedMember(QByteArray const &name, QByteArray const &data);
/// \a data deflated, with true sizes and checksum.
RawMember deflatedMember(QByteArray const &name, QByteArray const &data);

/// A whole ZIP: each local header and its bytes, the central directory and
/// its end record. Both headers of a member state the same fields.
QByteArray buildZip(QList<RawMember> const &members);

} // namespace KenroTest
