#include "memoryarchive.h"

#include <QBuffer>
#include <QRegularExpression>

namespace KenroTest {

QStringList MemoryArchive::entries(QString const &path, QStringList nameFilters,
                                   QFlags<QDir::Filter> filter, QFlags<QDir::SortFlag>)
{
    QString const prefix = path.isEmpty() || path.endsWith(u'/') ? path : path + u'/';
    QList<QRegularExpression> patterns;
    for (QString const &pattern : nameFilters)
        patterns.append(QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern),
                                           QRegularExpression::CaseInsensitiveOption));
    QStringList result;
    for (QString const &key : files.keys()) {
        QString const rest = key.mid(prefix.size());
        QString const entry = rest.section(u'/', 0, 0);
        bool passes = patterns.isEmpty();
        for (QRegularExpression const &pattern : std::as_const(patterns))
            passes = passes || pattern.match(entry).hasMatch();
        if (key.startsWith(prefix) && passes &&
            (filter & (entry != rest ? QDir::Dirs : QDir::Files)) && !result.contains(entry))
            result.append(entry);
    }
    return result;
}

QIODevice *MemoryArchive::openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode)
{
    bool const writing = mode & QIODevice::WriteOnly;
    if (writing ? readOnly : !files.contains(name))
        return nullptr;
    auto *buffer = new QBuffer;
    if (!(mode & QIODevice::Truncate) && (mode & QIODevice::ReadOnly || !writing))
        buffer->setData(files.value(name));
    buffer->setObjectName(name);
    buffer->open(mode);
    return buffer;
}

void MemoryArchive::closeFile(QIODevice *device)
{
    if (device->openMode() & QIODevice::WriteOnly)
        files.insert(device->objectName(), static_cast<QBuffer *>(device)->data());
    delete device;
}

} // namespace KenroTest
