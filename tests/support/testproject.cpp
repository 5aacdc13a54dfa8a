#include "testproject.h"

#include <kenro/project/archive.h>

namespace KenroTest {

TextFile::TextFile() : diagnostics(this) {}

bool TextFile::canSave() const
{
    return canSaveFile;
}

bool TextFile::isModified() const
{
    return modified;
}

bool TextFile::isEmpty() const
{
    return content.isEmpty();
}

QString TextFile::fileName() const
{
    return name;
}

QList<Kenro::ProjectFile::SearchResult> TextFile::search(Kenro::RegExp const &, unsigned int) const
{
    return {};
}

void TextFile::replace(QList<SearchResult> const &, QString const &) {}

bool TextFile::toFile(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                      Kenro::JobStats *stats)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::WriteOnly);
    if (!device)
        return false;
    device->write(content);
    archive.closeFile(device);
    ++writes;
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    ProjectFile::toFile(archive, fileName, flags, stats);
    return true;
}

bool TextFile::fromFile(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                        Kenro::JobStats *stats)
{
    QIODevice *device = archive.openFile(fileName, QIODevice::ReadOnly);
    if (!device)
        return false;
    content = device->readAll();
    archive.closeFile(device);
    if (!(flags & Copy)) {
        name = fileName;
        modified = false;
    }
    ProjectFile::fromFile(archive, fileName, flags, stats);
    return true;
}

Kenro::Messages *TextFile::fileMessages() const
{
    return const_cast<Kenro::SimpleMessages *>(&diagnostics);
}

void TextFile::free()
{
    if (freed)
        *freed = true;
    delete this;
}

QString TestProject::name() const
{
    return QStringLiteral("test");
}

QString TestProject::version() const
{
    return QStringLiteral("1.0");
}

QString TestProject::author() const
{
    return QString();
}

QString TestProject::comment() const
{
    return QString();
}

void TestProject::fileList(QList<FileEntry> &list) const
{
    list.append(entries);
}

} // namespace KenroTest
