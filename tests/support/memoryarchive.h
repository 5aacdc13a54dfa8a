#pragma once

#include <kenro/project/archive.h>

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
                        QFlags<QDir::SortFlag> sort) override;
    QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) override;
    void closeFile(QIODevice *device) override;
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
