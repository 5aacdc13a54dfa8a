#include "rawzip.h"

#include <QtEndian>

namespace KenroTest {

namespace {

void put16(QByteArray &out, quint16 value)
{
    char bytes[2];
    qToLittleEndian(value, bytes);
    out.append(bytes, 2);
}

void put32(QByteArray &out, quint32 value)
{
    char bytes[4];
    qToLittleEndian(value, bytes);
    out.append(bytes, 4);
}

// Version, flags, method, time, date, checksum, sizes and the name length:
// the fields that the local and the central header share.
void putCommon(QByteArray &out, RawMember const &member)
{
    put16(out, 20);
    put16(out, 0);
    put16(out, member.method);
    put16(out, 0);
    put16(out, (44 << 9) | (3 << 5) | 2); // 2 March 2024
    put32(out, member.crc);
    put32(out, member.compressedSize);
    put32(out, member.size);
    put16(out, quint16(member.name.size()));
    put16(out, 0);
}

} // namespace

quint32 crc32(QByteArray const &data)
{
    quint32 crc = 0xFFFFFFFFu;
    for (char const c : data) {
        crc ^= quint8(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

RawMember storedMember(QByteArray const &name, QByteArray const &data)
{
    quint32 const size = quint32(data.size());
    return RawMember{name, data, 0, crc32(data), size, size};
}

RawMember deflatedMember(QByteArray const &name, QByteArray const &data)
{
    // qCompress gives a 4-byte length, a 2-byte zlib header, the raw deflate
    // stream and a 4-byte Adler checksum.
    QByteArray const zlib = qCompress(data);
    QByteArray const raw = zlib.mid(6, zlib.size() - 10);
    return RawMember{name, raw, 8, crc32(data), quint32(raw.size()), quint32(data.size())};
}

QByteArray buildZip(QList<RawMember> const &members)
{
    QByteArray out;
    QByteArray directory;
    for (RawMember const &member : members) {
        quint32 const offset = quint32(out.size());
        put32(out, 0x04034b50);
        putCommon(out, member);
        out.append(member.name);
        out.append(member.payload);

        put32(directory, 0x02014b50);
        put16(directory, 20);
        putCommon(directory, member);
        put16(directory, 0); // comment
        put16(directory, 0); // disk
        put16(directory, 0); // internal attributes
        put32(directory, 0); // external attributes
        put32(directory, offset);
        directory.append(member.name);
    }
    quint32 const directoryOffset = quint32(out.size());
    out.append(directory);
    put32(out, 0x06054b50);
    put16(out, 0);
    put16(out, 0);
    put16(out, quint16(members.size()));
    put16(out, quint16(members.size()));
    put32(out, quint32(directory.size()));
    put32(out, directoryOffset);
    put16(out, 0);
    return out;
}

} // namespace KenroTest
