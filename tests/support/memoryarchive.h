#pragma once

#include <kenro/project/archive.h>

#include <QBuffer>
#include <QRegularExpression>

namespace KenroTest {

// An archive in memory, as a foreign store looks to the library: written
// devices commit on closeFile(); `freed` tells that the references ended.
class MemoryArchive : public Kenro::Archive
{
public:
    explicit MemoryArchive(QString const &name = QStringLiteral("memory")) : m_name(name) {}

    QMap<QString, QByteArray> files;
    bool readOnly = false, freed = false;
    int flushes = 0;

    QString name() override { return m_name; }
    QString path() override { return QStringLiteral("/memory/") + m_name; }
    QString absoluteFilePath(QString const &name) override { return name.section(u'/', 0, -2); }
    QString absoluteFileName(QString const &name) override { return name; }
    using Kenro::Archive::entries;
    QStringList entries(QString const &path, QStringList nameFilters, QFlags<QDir::Filter> filter,
                        QFlags<QDir::SortFlag>) override
    {
        QString const prefix = path.isEmpty() || path.endsWith(u'/') ? path : path + u'/';
        QList<QRegularExpression> patterns;
        for (QString const &pattern : nameFilters)
            patterns.append(
                QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern),
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
    QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) override
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
    void closeFile(QIODevice *device) override
    {
        if (device->openMode() & QIODevice::WriteOnly)
            files.insert(device->objectName(), static_cast<QBuffer *>(device)->data());
        delete device;
    }
    void discardFile(QIODevice *device) override { delete device; }
    bool removeFile(QString const &name) override { return files.remove(name) > 0; }
    bool renameFile(QString const &from, QString const &to) override
    {
        return files.contains(from) && !files.contains(to) && (files[to] = files.take(from), true);
    }
    void flush() override { ++flushes; }
    bool isReadOnly() const override { return readOnly; }
    bool isWritable(QString const &) const override { return !readOnly; }
    bool fileExists(QString const &name) const override { return files.contains(name); }
    bool directoryExists(QString const &name) const override
    {
        QString const prefix = name.endsWith(u'/') ? name : name + u'/';
        auto const next = files.lowerBound(prefix); // keys are sorted: the first below is next
        return next != files.cend() && next.key().startsWith(prefix);
    }

private:
    void free() override { freed = true; } // the test owns the object

    QString m_name;
};

} // namespace KenroTest
