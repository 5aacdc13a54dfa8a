#include "memoryarchive.h"

#include <QBuffer>
#include <QRegularExpression>

namespace KenroTest {

namespace {

char const nameProperty[] = "memoryArchiveName";

} // namespace

QStringList MemoryArchive::entries(QString const &path, QStringList nameFilters,
                                   QFlags<QDir::Filter> filter, QFlags<QDir::SortFlag>)
{
    QString prefix = path;
    if (!prefix.isEmpty() && !prefix.endsWith(QLatin1Char('/')))
        prefix += QLatin1Char('/');
    QList<QRegularExpression> patterns;
    for (QString const &pattern : nameFilters)
        patterns.append(QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern),
                                           QRegularExpression::CaseInsensitiveOption));
    QStringList result;
    for (auto it = files.constBegin(); it != files.constEnd(); ++it) {
        if (!it.key().startsWith(prefix))
            continue;
        QString const rest = it.key().mid(prefix.size());
        QString const entry = rest.section(QLatin1Char('/'), 0, 0);
        bool const isDirectory = entry != rest;
        bool passes = patterns.isEmpty();
        for (QRegularExpression const &pattern : std::as_const(patterns))
            passes = passes || pattern.match(entry).hasMatch();
        if (passes && (filter & (isDirectory ? QDir::Dirs : QDir::Files)) &&
            !result.contains(entry))
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
    buffer->setProperty(nameProperty, name);
    buffer->open(mode);
    return buffer;
}

void MemoryArchive::closeFile(QIODevice *device)
{
    auto *buffer = qobject_cast<QBuffer *>(device);
    if (buffer && (buffer->openMode() & QIODevice::WriteOnly))
        files.insert(buffer->property(nameProperty).toString(), buffer->data());
    delete device;
}

bool MemoryArchive::renameFile(QString const &from, QString const &to)
{
    if (!files.contains(from) || files.contains(to))
        return false;
    files.insert(to, files.take(from));
    return true;
}

bool MemoryArchive::directoryExists(QString const &name) const
{
    QString const prefix = name.endsWith(QLatin1Char('/')) ? name : name + QLatin1Char('/');
    for (auto it = files.constBegin(); it != files.constEnd(); ++it) {
        if (it.key().startsWith(prefix))
            return true;
    }
    return false;
}

} // namespace KenroTest
