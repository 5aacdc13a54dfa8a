#include "ziparchive.h"

#include <QBuffer>
#include <QDateTime>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMutexLocker>

namespace KenroZip {

namespace {

Q_LOGGING_CATEGORY(zipLog, "kenro.zip")

// The device openFile() hands out: a buffer that remembers which member of
// which archive it stands for.
class MemberDevice : public QBuffer
{
public:
    MemberDevice(ZipArchive const *owner, QString const &member) : owner(owner), member(member) {}

    ZipArchive const *const owner;
    QString const member;
};

// The normalised name of a member that can hold content, or empty.
QString memberName(QString const &name)
{
    QString result;
    return normaliseName(name, result) ? result : QString();
}

} // namespace

ZipArchive::ZipArchive(QString const &path) : m_path(path) {}

ZipArchive::~ZipArchive() = default;

ZipArchive *ZipArchive::createWriter(QString const &path)
{
    return new ZipArchive(path);
}

ZipArchive *ZipArchive::openReader(QString const &path)
{
    Members members;
    QString error;
    std::unique_ptr<ZipReader> reader = ZipReader::open(path, members, error);
    if (!reader) {
        qCWarning(zipLog) << "cannot read" << path << ":" << error;
        return nullptr;
    }
    auto *archive = new ZipArchive(path);
    archive->m_reader = std::move(reader);
    archive->m_members = std::move(members);
    archive->m_changed = false;
    return archive;
}

QString ZipArchive::name()
{
    return QFileInfo(m_path).fileName();
}

QString ZipArchive::path()
{
    return m_path;
}

QString ZipArchive::absoluteFilePath(QString const &name)
{
    QString const normalised = memberName(name);
    qsizetype const slash = normalised.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : normalised.left(slash);
}

QString ZipArchive::absoluteFileName(QString const &name)
{
    return memberName(name);
}

QStringList ZipArchive::entries(QString const &path, QStringList nameFilters,
                                QFlags<QDir::Filter> filter, QFlags<QDir::SortFlag> sort)
{
    QString directory;
    if (!normaliseName(path, directory))
        return {};
    QMutexLocker locker(&m_mutex);
    return listEntries(m_members, directory, nameFilters, filter, sort, !m_reader);
}

QIODevice *ZipArchive::openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode)
{
    QString const member = memberName(name);
    if (member.isEmpty())
        return nullptr;
    // As with QFile, Append and Truncate imply writing.
    bool const writing = mode & (QIODevice::WriteOnly | QIODevice::Append | QIODevice::Truncate);
    bool const keepContent =
        (mode & (QIODevice::ReadOnly | QIODevice::Append)) && !(mode & QIODevice::Truncate);

    QMutexLocker locker(&m_mutex);
    if (writing && (m_reader || !canHoldFile(m_members, member)))
        return nullptr;
    auto const found = m_members.constFind(member);
    bool const exists = found != m_members.cend() && !found->directory;
    if (!writing && !exists)
        return nullptr;

    QByteArray content;
    if (exists && (!writing || keepContent)) {
        if (!m_reader) {
            content = found->data;
        } else {
            QString error;
            if (!m_reader->read(found->index, content, error)) {
                qCWarning(zipLog) << "cannot read" << member << "of" << m_path << ":" << error;
                return nullptr;
            }
        }
    }
    locker.unlock();

    auto *device = new MemberDevice(this, member);
    device->setData(content);
    if (!device->open(mode)) {
        delete device;
        return nullptr;
    }
    return device;
}

void ZipArchive::closeFile(QIODevice *device)
{
    auto *member = dynamic_cast<MemberDevice *>(device);
    if (member && member->owner == this && (member->openMode() & QIODevice::WriteOnly)) {
        QMutexLocker locker(&m_mutex);
        // Something may have made a directory of the name meanwhile.
        if (canHoldFile(m_members, member->member)) {
            Member &entry = m_members[member->member];
            entry = Member();
            entry.data = member->data();
            entry.size = quint64(entry.data.size());
            entry.modified = QDateTime::currentSecsSinceEpoch();
            m_changed = true;
        } else {
            qCWarning(zipLog) << "cannot add" << member->member << "to" << m_path;
        }
    }
    delete device;
}

void ZipArchive::discardFile(QIODevice *device)
{
    delete device;
}

bool ZipArchive::removeFile(QString const &name)
{
    QString const member = memberName(name);
    QMutexLocker locker(&m_mutex);
    if (m_reader || !isFile(m_members, member))
        return false;
    m_members.remove(member);
    m_changed = true;
    return true;
}

bool ZipArchive::renameFile(QString const &from, QString const &to)
{
    QString const source = memberName(from);
    QString const target = memberName(to);
    QMutexLocker locker(&m_mutex);
    if (m_reader || !isFile(m_members, source) || m_members.contains(target))
        return false;
    // A target below the source itself would be below a file.
    if (!canHoldFile(m_members, target))
        return false;
    m_members.insert(target, m_members.take(source));
    m_changed = true;
    return true;
}

void ZipArchive::flush()
{
    QMutexLocker locker(&m_mutex);
    if (m_reader || !m_changed)
        return;
    QString error;
    if (writeZip(m_path, m_members, error))
        m_changed = false;
    else
        qCWarning(zipLog) << "cannot write" << m_path << ":" << error;
}

bool ZipArchive::isReadOnly() const
{
    return m_reader != nullptr;
}

bool ZipArchive::isWritable(QString const &name) const
{
    QString const member = memberName(name);
    QMutexLocker locker(&m_mutex);
    return !m_reader && canHoldFile(m_members, member);
}

bool ZipArchive::fileExists(QString const &name) const
{
    QString const member = memberName(name);
    QMutexLocker locker(&m_mutex);
    return !member.isEmpty() && isFile(m_members, member);
}

bool ZipArchive::directoryExists(QString const &name) const
{
    QString directory;
    if (!normaliseName(name, directory))
        return false;
    QMutexLocker locker(&m_mutex);
    return isDirectory(m_members, directory);
}

void ZipArchive::free()
{
    flush();
    delete this;
}

} // namespace KenroZip
