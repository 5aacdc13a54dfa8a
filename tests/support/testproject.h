#pragma once

#include <kenro/project/archive.h>
#include <kenro/project/messages.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/project.h>

namespace KenroTest {

// A project file of one byte string, read and written whole. `freed` turns
// true when it ends; a copy keeps its name and its flag.
class TextFile : public Kenro::ProjectFile
{
public:
    TextFile() : diagnostics(this) {}

    QByteArray content;
    QString name;
    bool *freed = nullptr;
    bool canSaveFile = true, modified = false;
    int writes = 0;
    mutable Kenro::SimpleMessages diagnostics;

    bool canSave() const override { return canSaveFile; }
    bool isModified() const override { return modified; }
    bool isEmpty() const override { return content.isEmpty(); }
    QString fileName() const override { return name; }
    QList<SearchResult> search(Kenro::RegExp const &, unsigned int) const override { return {}; }
    void replace(QList<SearchResult> const &, QString const &) override {}
    bool toFile(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                Kenro::JobStats *stats) override
    {
        return transfer(archive, fileName, flags, stats, true);
    }
    bool fromFile(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                  Kenro::JobStats *stats) override
    {
        return transfer(archive, fileName, flags, stats, false);
    }

protected:
    Kenro::Messages *fileMessages() const override { return &diagnostics; }

private:
    bool transfer(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                  Kenro::JobStats *stats, bool write)
    {
        QIODevice *device =
            archive.openFile(fileName, write ? QIODevice::WriteOnly : QIODevice::ReadOnly);
        if (!device)
            return false;
        if (write)
            writes += device->write(content) >= 0;
        else
            content = device->readAll();
        archive.closeFile(device);
        if (!(flags & Copy)) {
            name = fileName;
            modified = false;
        }
        write ? ProjectFile::toFile(archive, fileName, flags, stats)
              : ProjectFile::fromFile(archive, fileName, flags, stats);
        return true;
    }
    void free() override
    {
        if (freed)
            *freed = true;
        delete this;
    }
};

/// A project whose file list is set by the test.
class TestProject : public Kenro::Project
{
    Q_OBJECT

public:
    using Kenro::Project::Project;
    QList<FileEntry> entries;
    QString name() const override { return QStringLiteral("test"); }
    QString version() const override { return QStringLiteral("1.0"); }
    QString author() const override { return QString(); }
    QString comment() const override { return QString(); }
    void fileList(QList<FileEntry> &list) const override { list.append(entries); }
    using Kenro::Project::addToParent;
    using Kenro::Project::fileHierarchyChanged;
    using Kenro::Project::reload;
    using Kenro::Project::takeFile;
};

// A root of projects whose closed projects list `projectFileLists`; dispose() counts.
class TestParentProject : public Kenro::ParentProject
{
    Q_OBJECT

public:
    using Kenro::ParentProject::ParentProject;
    Kenro::Engine *engine() const override { return testEngine; }
    Kenro::Project *openProject(Path const *) override { return nullptr; }
    Kenro::Engine *testEngine = nullptr;
    QMap<QString, QStringList> projectFileLists;
    int disposed = 0;
    using Kenro::ParentProject::addPath;
    using Kenro::ParentProject::addRef;
    using Kenro::ParentProject::removePath;

protected:
    void projectFiles(QString const &relativePath, QStringList &files) override
    {
        files += projectFileLists.value(relativePath);
    }
    void dispose() override { ++disposed; }
};

} // namespace KenroTest
