#include "memoryarchive.h"

#include <QBuffer>
#include <QRegularExpression>

namespace KenroTest {

namespace {

char const nameProperty[] = "memoryArchiveName";

QString directoryOf(QString const &name)
{
    int const slash = name.lastIndexOf(QLatin1Char('/'));
    return slash < 0 ? QString() : name.left(slash);
}

} // namespace

MemoryArchive::MemoryArchive(QString const &name) : m_name(name) {}

QString MemoryArchive::name()
{
    return m_name;
}

QString MemoryArchive::path()
{
    return QStringLiteral("/memory/") + m_name;
}

QString MemoryArchive::absoluteFilePath(QString const &name)
{
    return directoryOf(name);
}

QString MemoryArchive::absoluteFileName(QString const &name)
{
    return name;
}

QStringList MemoryArchive::entries(QString const &path, QStringList nameFilters,
                                   QFlags<QDir::Filter> filter, QFlags<QDir::SortFlag>)
{
    QString prefix = path;
    if (!prefix.isEmpty() && !prefix.endsWith(QLatin1Char('/')))
        prefix += QLatin1Char('/');
    QStringList result;
    for (auto it = files.constBegin(); it != files.constEnd(); ++it) {
        if (!it.key().startsWith(prefix))
            continue;
        QString const rest = it.key().mid(prefix.size());
        int const slash = rest.indexOf(QLatin1Char('/'));
        QString const entry = slash < 0 ? rest : rest.left(slash);
        bool const isDirectory = slash >= 0;
        if ((isDirectory && !(filter & QDir::Dirs)) || (!isDirectory && !(filter & QDir::Files)))
            continue;
        bool passes = nameFilters.isEmpty();
        for (QString const &pattern : nameFilters) {
            QRegularExpression const wildcard(
                QRegularExpression::wildcardToRegularExpression(pattern),
                QRegularExpression::CaseInsensitiveOption);
            passes = passes || wildcard.match(entry).hasMatch();
        }
        if (passes && !result.contains(entry))
            result.append(entry);
    }
    return result;
}

QIODevice *MemoryArchive::openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode)
{
    bool const writing = mode & QIODevice::WriteOnly;
    if (writing && readOnly)
        return nullptr;
    if (!writing && !files.contains(name))
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

void MemoryArchive::discardFile(QIODevice *device)
{
    delete device;
}

bool MemoryArchive::removeFile(QString const &name)
{
    return files.remove(name) > 0;
}

bool MemoryArchive::renameFile(QString const &from, QString const &to)
{
    if (!files.contains(from) || files.contains(to))
        return false;
    files.insert(to, files.take(from));
    return true;
}

void MemoryArchive::flush()
{
    ++flushes;
}

bool MemoryArchive::isReadOnly() const
{
    return readOnly;
}

bool MemoryArchive::isWritable(QString const &) const
{
    return !readOnly;
}

bool MemoryArchive::fileExists(QString const &name) const
{
    return files.contains(name);
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

void MemoryArchive::free()
{
    // Tests own the object; the end of the count is only recorded.
    freed = true;
}

} // namespace KenroTest
