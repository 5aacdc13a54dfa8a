#include "binaryfile.h"

#include <kenro/project/archive.h>
#include <kenro/project/jobstats.h>

namespace Kenro::Ikemen {

BinaryFile::BinaryFile() : m_messages(this) {}

QByteArray const &BinaryFile::data() const
{
    return m_data;
}

void BinaryFile::setData(QByteArray const &data)
{
    setData(data, true);
}

void BinaryFile::setData(QByteArray const &data, bool modified)
{
    m_data = data;
    m_modified = modified;
}

bool BinaryFile::canSave() const
{
    return true;
}

bool BinaryFile::isModified() const
{
    return m_modified;
}

bool BinaryFile::isEmpty() const
{
    return m_data.isEmpty();
}

void BinaryFile::reset()
{
    m_data.clear();
    m_name.clear();
    m_modified = false;
}

bool BinaryFile::toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats)
{
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    bool const written = device && device->write(m_data) == m_data.size();
    if (device) {
        if (written)
            archive.closeFile(device);
        else
            archive.discardFile(device);
    }
    if (written && !(flags & Copy)) {
        m_name = name;
        m_modified = false;
    }
    if (written)
        ProjectFile::toFile(archive, name, flags & (Copy | Background), stats);
    if (stats && (flags & Background)) {
        // A background save owns its job, which ends here at once.
        stats->setValue(1);
        delete stats;
    }
    return written;
}

bool BinaryFile::fromFile(Archive &archive, QString const &name, unsigned int flags,
                          JobStats *stats)
{
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device)
        return false;
    m_data = device->readAll();
    archive.closeFile(device);
    if (!(flags & Copy)) {
        m_name = name;
        m_modified = false;
    } else {
        m_modified = true;
    }
    ProjectFile::fromFile(archive, name, flags, stats);
    return true;
}

QString BinaryFile::fileName() const
{
    return m_name;
}

QList<ProjectFile::SearchResult> BinaryFile::search(RegExp const &, unsigned int) const
{
    return {};
}

void BinaryFile::replace(QList<SearchResult> const &, QString const &) {}

Messages *BinaryFile::fileMessages() const
{
    return const_cast<SimpleMessages *>(&m_messages);
}

void BinaryFile::free()
{
    delete this;
}

} // namespace Kenro::Ikemen
