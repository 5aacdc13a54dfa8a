#pragma once

#include "sndbank.h"

#include <QString>
#include <QStringList>

namespace Kenro::Ikemen {

/**
 * Reads a sound bank: a 24-byte header (signature, version, count, offset of
 * the first member) and a linked list of members, each a 16-byte header
 * (offset of the next member, length, group, number) followed by a WAV file.
 * Every offset and length is checked against the file before it is used, so
 * that a damaged bank is refused with the fault named instead of read wrong.
 */
class SndReader
{
public:
    /**
     * Reads \a file. On success the members point into \a file, which is not
     * copied. On failure returns false, leaves the bank empty and tells why
     * in errorString().
     */
    bool read(QByteArray const &file);

    SndBank const &bank() const;
    /// Takes the bank out of the reader.
    SndBank takeBank();
    /// What is wrong with the file, after a failed read.
    QString errorString() const;
    /// Oddities that did not stop the read: members taken twice, members that are no WAV files.
    QStringList warnings() const;

private:
    bool fail(QString const &message);
    void checkMembers();

    SndBank m_bank;
    QString m_error;
    QStringList m_warnings;
};

} // namespace Kenro::Ikemen
