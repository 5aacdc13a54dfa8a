#pragma once

#include <kenro/project/parentproject.h>

#include <kenro/project/messages.h>
#include <kenro/project/project.h>
#include <kenro/project/projectfile.h>

namespace KenroTest {

/**
 * A project file holding one byte string, read and written whole. Its
 * diagnostics are a SimpleMessages; `freed` turns true when it ends, and
 * `canSaveFile` and `modified` steer what saving sees.
 */
class TextFile : public Kenro::ProjectFile
{
public:
    TextFile();

    QByteArray content;
    QString name;
    bool *freed = nullptr;
    bool canSaveFile = true;
    bool modified = false;
    int writes = 0;
    Kenro::SimpleMessages diagnostics;

    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    QString fileName() const override;
    QList<SearchResult> search(Kenro::RegExp const &, unsigned int) const override;
    void replace(QList<SearchResult> const &, QString const &) override;
    bool toFile(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                Kenro::JobStats *stats) override;
    bool fromFile(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                  Kenro::JobStats *stats) override;

protected:
    Kenro::Messages *fileMessages() const override;

private:
    void free() override;
};

/// A project whose file list is set by the test.
class TestProject : public Kenro::Project
{
    Q_OBJECT

public:
    using Kenro::Project::Project;

    QList<FileEntry> entries;

    QString name() const override;
    QString version() const override;
    QString author() const override;
    QString comment() const override;
    void fileList(QList<FileEntry> &list) const override;

    using Kenro::Project::addToParent;
    using Kenro::Project::reload;
    using Kenro::Project::takeFile;
};

/// A root of projects whose engine the test chooses.
class TestParentProject : public Kenro::ParentProject
{
public:
    using Kenro::ParentProject::ParentProject;
    Kenro::Engine *engine() const override { return testEngine; }
    Kenro::Engine *testEngine = nullptr;
};

} // namespace KenroTest
