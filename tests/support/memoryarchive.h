#pragma once

#include <kenro/project/archive.h>

#include <QByteArray>
#include <QMap>

namespace KenroTest {

/**
 * An archive held in memory: what a foreign store (a ZIP file, say) looks
 * like to the library. Written devices commit on closeFile() only. Counts
 * the calls that tests look at; `freed` turns true when the count ends.
 */
class MemoryArchive : public Kenro::Archive
{
public:
    explicit MemoryArchive(QString const &name = QStringLiteral("memory"));

    QMap<QString, QByteArray> files;
    bool readOnly = false;
    bool freed = false;
    int flushes = 0;

    QString name() override;
    QString path() override;
    QString absoluteFilePath(QString const &name) override;
    QString absoluteFileName(QString const &name) override;
    using Kenro::Archive::entries;
    QStringList entries(QString const &path, QStringList nameFilters, QFlags<QDir::Filter> filter,
                        QFlags<QDir::SortFlag> sort) override;
    QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) override;
    void closeFile(QIODevice *device) override;
    void discardFile(QIODevice *device) override;
    bool removeFile(QString const &name) override;
    bool renameFile(QString const &from, QString const &to) override;
    void flush() override;
    bool isReadOnly() const override;
    bool isWritable(QString const &name) const override;
    bool fileExists(QString const &name) const override;
    bool directoryExists(QString const &name) const override;

private:
    void free() override;

    QString m_name;
};

} // namespace KenroTest
