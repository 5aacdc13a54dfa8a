#pragma once

#include "ziptree.h"

#include <QByteArray>
#include <QString>

#include <memory>

struct zip;

namespace KenroZip {

/// The largest member read into memory; a stated size beyond it is refused.
constexpr quint64 maxMemberSize = quint64(1) << 30;

/**
 * A ZIP file open for reading through libzip. It keeps the file open, so
 * that members are read when asked for, and closes it when it ends.
 */
class ZipReader
{
public:
    /**
     * Opens \a path with libzip's consistency checks and adds its entries to
     * \a members. Names that climb out of the root are left out, and of two
     * names that normalise alike the first is kept. Null, with \a error
     * set, when the file is missing, is no ZIP or is damaged.
     */
    static std::unique_ptr<ZipReader> open(QString const &path, Members &members, QString &error);
    ~ZipReader();

    ZipReader(ZipReader const &) = delete;
    ZipReader &operator=(ZipReader const &) = delete;

    /**
     * The whole content of the member at \a index into \a data. False, with
     * \a error set, when the stated sizes cannot be true of this file, the
     * member is encrypted or of an unknown method, or its bytes do not match
     * its size and checksum.
     */
    bool read(quint64 index, QByteArray &data, QString &error);

private:
    ZipReader(zip *archive, qint64 fileSize);

    zip *m_archive;
    qint64 m_fileSize;
};

/**
 * Writes \a members as a new ZIP at \a path, making its folder when needed.
 * The file is written next to the target and renamed over it once complete,
 * so a failure (reported as false, with \a error set) or a crash leaves any
 * earlier file at \a path as it was.
 */
bool writeZip(QString const &path, Members const &members, QString &error);

} // namespace KenroZip
