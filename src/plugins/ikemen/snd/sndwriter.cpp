#include "sndwriter.h"

#include <QIODevice>
#include <QtEndian>

#include <algorithm>

#include <limits>

namespace Kenro::Ikemen {

namespace {

qint64 headerEnd(SndBank const &bank)
{
    return SndBank::headerSize +
        qMax<qint64>(bank.reserved.size(), SndBank::usualHeaderSize - SndBank::headerSize);
}

void putWord(char *at, quint32 value)
{
    qToLittleEndian(value, at);
}

} // namespace

qint64 SndWriter::fileSize(SndBank const &bank)
{
    qint64 size = headerEnd(bank);
    for (SndMember const &member : bank.members)
        size += SndBank::memberHeaderSize + member.size();
    return size;
}

bool SndWriter::write(SndBank const &bank, QIODevice *device)
{
    m_error.clear();
    qint64 const size = fileSize(bank);
    // Every offset, the end of the file included, is a 32-bit word.
    if (size > std::numeric_limits<quint32>::max()) {
        m_error = QStringLiteral("The sound bank would take %1 bytes, more than the 4 GiB that "
                                 "its offsets can reach.")
                      .arg(size);
        return false;
    }
    if (!device || !device->isWritable()) {
        m_error = QStringLiteral("The file is not open for writing.");
        return false;
    }

    char header[SndBank::headerSize];
    std::copy_n(SndBank::signature().data(), 12, header);
    putWord(header + 12, bank.version);
    putWord(header + 16, quint32(bank.members.size()));
    qint64 offset = headerEnd(bank);
    putWord(header + 20, quint32(offset));
    QByteArray reserved = bank.reserved;
    reserved.resize(offset - SndBank::headerSize, '\0');
    if (!put(device, QByteArrayView(header, sizeof header)) || !put(device, reserved))
        return false;

    for (SndMember const &member : bank.members) {
        offset += SndBank::memberHeaderSize + member.size();
        char memberHeader[SndBank::memberHeaderSize];
        putWord(memberHeader, quint32(offset)); // the last one links to the end of the file
        putWord(memberHeader + 4, quint32(member.size()));
        putWord(memberHeader + 8, quint32(member.group));
        putWord(memberHeader + 12, quint32(member.number));
        if (!put(device, QByteArrayView(memberHeader, sizeof memberHeader)) ||
            !put(device, member.wav()))
            return false;
    }
    return true;
}

QString SndWriter::errorString() const
{
    return m_error;
}

bool SndWriter::put(QIODevice *device, QByteArrayView bytes)
{
    if (device->write(bytes.data(), bytes.size()) == bytes.size())
        return true;
    m_error = QStringLiteral("Writing the sound bank failed: %1").arg(device->errorString());
    return false;
}

} // namespace Kenro::Ikemen
