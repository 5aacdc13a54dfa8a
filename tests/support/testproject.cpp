#include "testproject.h"

#include <kenro/project/archive.h>

namespace KenroTest {

// Writes or reads the content whole; a copy keeps the name and the flag.
bool TextFile::transfer(Kenro::Archive &archive, QString const &fileName, unsigned int flags,
                        Kenro::JobStats *stats, bool write)
{
    QIODevice *device =
        archive.openFile(fileName, write ? QIODevice::WriteOnly : QIODevice::ReadOnly);
    if (!device)
        return false;
    if (write && device->write(content) >= 0)
        ++writes;
    if (!write)
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

} // namespace KenroTest
