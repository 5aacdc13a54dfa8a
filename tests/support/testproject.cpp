#include "testproject.h"

#include <kenro/project/archive.h>

namespace KenroTest {

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

void TextFile::free()
{
    if (freed)
        *freed = true;
    delete this;
}

} // namespace KenroTest
