#include "zipfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <zip.h>

namespace KenroZip {

namespace {

// Deflate cannot expand data by more than about 1032 to 1; a member that
// claims more than this is not what it says.
constexpr quint64 maxDeflateRatio = 1100;
constexpr quint64 deflateSlack = 1024;

QString describe(int code)
{
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    QString const text = QString::fromUtf8(zip_error_strerror(&error));
    zip_error_fini(&error);
    return text;
}

QString describe(zip_t *archive)
{
    return QString::fromUtf8(zip_strerror(archive));
}

// Stated sizes that this file cannot hold are refused before anything is
// allocated for them.
bool plausible(zip_stat_t const &stat, qint64 fileSize, QString &error)
{
    if (!(stat.valid & ZIP_STAT_SIZE)) {
        error = QStringLiteral("no size stated");
        return false;
    }
    if (stat.size > maxMemberSize) {
        error = QStringLiteral("stated size %1 is beyond the limit").arg(stat.size);
        return false;
    }
    if (!(stat.valid & ZIP_STAT_COMP_SIZE) || !(stat.valid & ZIP_STAT_COMP_METHOD))
        return true;
    if (stat.comp_size > quint64(fileSize)) {
        error = QStringLiteral("stated compressed size %1 exceeds the file").arg(stat.comp_size);
        return false;
    }
    bool const encrypted =
        (stat.valid & ZIP_STAT_ENCRYPTION_METHOD) && stat.encryption_method != ZIP_EM_NONE;
    if (encrypted)
        return true; // libzip refuses to open it without a password
    if (stat.comp_method == ZIP_CM_STORE && stat.comp_size != stat.size) {
        error =
            QStringLiteral("stored member with sizes %1 and %2").arg(stat.size).arg(stat.comp_size);
        return false;
    }
    if (stat.comp_method == ZIP_CM_DEFLATE &&
        stat.size > stat.comp_size * maxDeflateRatio + deflateSlack) {
        error = QStringLiteral("stated size %1 from %2 deflated bytes")
                    .arg(stat.size)
                    .arg(stat.comp_size);
        return false;
    }
    return true;
}

// libzip deletes the file instead of writing an archive without members, so
// the empty archive (its end record alone) is written here, the same way:
// next to the target, then renamed over it.
bool writeEmptyZip(QString const &path, QString &error)
{
    static char const endRecord[22] = {'P', 'K', 5, 6};
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(endRecord, sizeof(endRecord)) != qint64(sizeof(endRecord)) || !file.commit()) {
        error = file.errorString();
        file.cancelWriting();
        return false;
    }
    return true;
}

} // namespace

ZipReader::ZipReader(zip *archive, qint64 fileSize) : m_archive(archive), m_fileSize(fileSize) {}

ZipReader::~ZipReader()
{
    zip_discard(m_archive); // read-only: there is nothing to write
}

std::unique_ptr<ZipReader> ZipReader::open(QString const &path, Members &members, QString &error)
{
    QFileInfo const info(path);
    if (!info.isFile()) {
        error = QStringLiteral("no such file");
        return nullptr;
    }
    int code = ZIP_ER_OK;
    zip_t *archive =
        zip_open(QFile::encodeName(path).constData(), ZIP_CHECKCONS | ZIP_RDONLY, &code);
    if (!archive) {
        error = describe(code);
        return nullptr;
    }
    std::unique_ptr<ZipReader> reader(new ZipReader(archive, info.size()));

    zip_int64_t const count = zip_get_num_entries(archive, 0);
    for (zip_int64_t index = 0; index < count; ++index) {
        zip_stat_t stat;
        zip_stat_init(&stat);
        if (zip_stat_index(archive, zip_uint64_t(index), 0, &stat) != 0 ||
            !(stat.valid & ZIP_STAT_NAME) || !stat.name)
            continue;
        QString const stored = QString::fromUtf8(stat.name);
        QString name;
        if (!normaliseName(stored, name) || name.isEmpty() || members.contains(name))
            continue;
        Member member;
        member.index = zip_uint64_t(index);
        member.size = (stat.valid & ZIP_STAT_SIZE) ? stat.size : 0;
        member.modified = (stat.valid & ZIP_STAT_MTIME) ? qint64(stat.mtime) : 0;
        member.directory = stored.endsWith(QLatin1Char('/'));
        members.insert(name, member);
    }
    return reader;
}

bool ZipReader::read(quint64 index, QByteArray &data, QString &error)
{
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(m_archive, index, 0, &stat) != 0) {
        error = describe(m_archive);
        return false;
    }
    if (!plausible(stat, m_fileSize, error))
        return false;
    zip_file_t *file = zip_fopen_index(m_archive, index, 0);
    if (!file) {
        error = describe(m_archive);
        return false;
    }

    QByteArray bytes(qsizetype(stat.size), Qt::Uninitialized);
    quint64 done = 0;
    while (done < stat.size) {
        zip_int64_t const got = zip_fread(file, bytes.data() + done, stat.size - done);
        if (got <= 0 || quint64(got) > stat.size - done)
            break;
        done += quint64(got);
    }
    // libzip checks the checksum when it reaches the end of the member, so
    // the end is read as well; anything past the stated size is an error.
    bool complete = done == stat.size;
    if (!complete) {
        error = QStringLiteral("member ends after %1 of %2 bytes").arg(done).arg(stat.size);
    } else {
        char probe = 0;
        zip_int64_t const past = zip_fread(file, &probe, 1);
        complete = past == 0;
        if (past > 0)
            error = QStringLiteral("member is longer than its stated %1 bytes").arg(stat.size);
        else if (past < 0)
            error = QString::fromUtf8(zip_file_strerror(file));
    }
    if (zip_fclose(file) != 0 && complete) {
        error = QStringLiteral("member could not be finished");
        complete = false;
    }
    if (!complete)
        return false;
    data = bytes;
    return true;
}

bool writeZip(QString const &path, Members const &members, QString &error)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (members.isEmpty())
        return writeEmptyZip(path, error);

    int code = ZIP_ER_OK;
    // Truncating: the file there is not read, and stays until zip_close()
    // renames the finished temporary file over it.
    zip_t *archive =
        zip_open(QFile::encodeName(path).constData(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    if (!archive) {
        error = describe(code);
        return false;
    }
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        Member const &member = it.value();
        QByteArray const name = it.key().toUtf8();
        zip_int64_t index = -1;
        if (member.directory) {
            index = zip_dir_add(archive, name.constData(), ZIP_FL_ENC_UTF_8);
        } else {
            // The bytes are read at zip_close(); the caller keeps them alive.
            zip_source_t *source = zip_source_buffer(archive, member.data.constData(),
                                                     zip_uint64_t(member.data.size()), 0);
            if (source) {
                index = zip_file_add(archive, name.constData(), source,
                                     ZIP_FL_ENC_UTF_8 | ZIP_FL_OVERWRITE);
                if (index < 0)
                    zip_source_free(source);
            }
        }
        bool const added = index >= 0 &&
            zip_file_set_mtime(archive, zip_uint64_t(index), time_t(member.modified), 0) == 0 &&
            (member.directory ||
             zip_set_file_compression(archive, zip_uint64_t(index),
                                      member.data.isEmpty() ? ZIP_CM_STORE : ZIP_CM_DEFLATE,
                                      0) == 0);
        if (!added) {
            error = describe(archive);
            zip_discard(archive);
            return false;
        }
    }
    if (zip_close(archive) != 0) {
        error = describe(archive);
        zip_discard(archive); // drops the temporary file; the target is untouched
        return false;
    }
    return true;
}

} // namespace KenroZip
