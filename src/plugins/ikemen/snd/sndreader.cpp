#include "sndreader.h"

#include <QHash>
#include <QSet>
#include <QtEndian>

#include <utility>

namespace Kenro::Ikemen {

namespace {

quint32 readWord(QByteArray const &file, qsizetype offset)
{
    return qFromLittleEndian<quint32>(file.constData() + offset);
}

QString memberName(qsizetype index, qint32 group, qint32 number)
{
    return QStringLiteral("Sound %1 (%2, %3)").arg(index + 1).arg(group).arg(number);
}

} // namespace

bool SndReader::read(QByteArray const &file)
{
    m_bank = SndBank();
    m_error.clear();
    m_warnings.clear();

    qsizetype const size = file.size();
    if (size < SndBank::headerSize)
        return fail(QStringLiteral("The file is truncated: its %1 bytes are too few for the "
                                   "%2-byte header of a sound bank.")
                        .arg(size)
                        .arg(SndBank::headerSize));
    if (!file.startsWith(SndBank::signature()))
        return fail(QStringLiteral(
            "The file is not a sound bank: it does not begin with \"ElecbyteSnd\"."));

    quint32 const version = readWord(file, 12);
    quint32 const count = readWord(file, 16);
    quint32 const first = readWord(file, 20);

    // Each member takes at least its header, which bounds what a count may
    // claim before anything is reserved for it.
    qsizetype const room = (size - SndBank::headerSize) / SndBank::memberHeaderSize;
    if (qsizetype(count) > room)
        return fail(QStringLiteral("The header counts %1 sounds, more than a file of %2 bytes "
                                   "can hold.")
                        .arg(count)
                        .arg(size));
    if (count > 0 && first < SndBank::headerSize)
        return fail(
            QStringLiteral("The offset %1 of the first sound points into the header.").arg(first));
    if (count > 0 && first > size - SndBank::memberHeaderSize)
        return fail(QStringLiteral("The offset %1 of the first sound lies past the end of the "
                                   "file (%2 bytes).")
                        .arg(first)
                        .arg(size));

    SndBank bank;
    bank.version = version;
    if (first > SndBank::headerSize)
        bank.reserved =
            file.mid(SndBank::headerSize, qMin<qsizetype>(first, size) - SndBank::headerSize);
    // A damaged count must not make a large reservation before the list proves it.
    qsizetype const expected = qMin<qsizetype>(count, 4096);
    bank.members.reserve(expected);

    // Offset of each member read so far, to its index: a link back to one of
    // them is a loop.
    QHash<quint32, quint32> visited;
    visited.reserve(expected);
    quint32 offset = first;
    for (quint32 i = 0; i < count; ++i) {
        // The offset was checked to leave room for the member's header.
        quint32 const next = readWord(file, offset);
        quint32 const length = readWord(file, offset + 4);
        auto const group = qint32(readWord(file, offset + 8));
        auto const number = qint32(readWord(file, offset + 12));
        qsizetype const start = qsizetype(offset) + SndBank::memberHeaderSize;
        if (length > size - start)
            return fail(QStringLiteral("%1 at offset %2: its length of %3 bytes runs past the "
                                       "end of the file (%4 bytes).")
                            .arg(memberName(i, group, number))
                            .arg(offset)
                            .arg(length)
                            .arg(size));
        bank.members.append(SndMember(group, number, file, start, length));
        visited.insert(offset, i);

        if (i + 1 == count)
            break; // the last link is not followed: files end it with 0 or their size
        if (next == 0 || next == size)
            return fail(QStringLiteral("The header counts %1 sounds, but the list of sounds "
                                       "ends after %2.")
                            .arg(count)
                            .arg(i + 1));
        if (next < SndBank::headerSize)
            return fail(QStringLiteral("%1 links to offset %2, inside the header.")
                            .arg(memberName(i, group, number))
                            .arg(next));
        if (next > size - SndBank::memberHeaderSize)
            return fail(QStringLiteral("%1 links to offset %2, past the end of the file "
                                       "(%3 bytes).")
                            .arg(memberName(i, group, number))
                            .arg(next)
                            .arg(size));
        if (visited.contains(next))
            return fail(QStringLiteral("%1 links back to offset %2, where sound %3 stands: the "
                                       "list of sounds loops.")
                            .arg(memberName(i, group, number))
                            .arg(next)
                            .arg(visited.value(next) + 1));
        offset = next;
    }

    m_bank = std::move(bank);
    checkMembers();
    return true;
}

SndBank const &SndReader::bank() const
{
    return m_bank;
}

SndBank SndReader::takeBank()
{
    return std::exchange(m_bank, SndBank());
}

QString SndReader::errorString() const
{
    return m_error;
}

QStringList SndReader::warnings() const
{
    return m_warnings;
}

bool SndReader::fail(QString const &message)
{
    m_bank = SndBank();
    m_error = message;
    return false;
}

void SndReader::checkMembers()
{
    QSet<QPair<qint32, qint32>> seen;
    for (qsizetype i = 0; i < m_bank.members.size(); ++i) {
        SndMember const &member = m_bank.members.at(i);
        if (seen.contains({member.group, member.number}))
            m_warnings.append(QStringLiteral("%1 repeats a group and number taken before it; "
                                             "the first one is what the game plays.")
                                  .arg(memberName(i, member.group, member.number)));
        seen.insert({member.group, member.number});
        QByteArrayView const wav = member.wav();
        if (member.size() > 0 &&
            (wav.size() < 12 || !wav.startsWith("RIFF") ||
             wav.sliced(8, 4) != QByteArrayView("WAVE")))
            m_warnings.append(QStringLiteral("%1 holds no WAV file.")
                                  .arg(memberName(i, member.group, member.number)));
    }
}

} // namespace Kenro::Ikemen
