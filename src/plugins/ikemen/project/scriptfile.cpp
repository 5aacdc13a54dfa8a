#include "scriptfile.h"

#include <kenro/project/archive.h>
#include <kenro/project/jobstats.h>
#include <kenro/project/pathhelpers.h>

namespace Kenro::Ikemen {

ScriptFile::ScriptFile(short fileType) : ScriptDocument(fileType) {}

bool ScriptFile::toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats)
{
    waitForSave();
    Archive &source = this->archive();
    QString const from = fileName();
    bool const samePlace =
        &source == &archive && source.absoluteFileName(from) == archive.absoluteFileName(name);
    if (isModified() || from.isEmpty() || samePlace || !source.fileExists(from))
        return ScriptDocument::toFile(archive, name, flags, stats);

    if (!archive.isWritable(name) || !copyFile(source, from, archive, name))
        return false;
    fileSaved(archive, name, flags & Copy);
    if (!(flags & Copy))
        setFileName(name);
    ProjectFile::toFile(archive, name, flags & (Copy | Background), stats);
    if (stats && (flags & Background)) {
        // A background save owns its job; this one ended at once.
        stats->setValue(1);
        delete stats;
    }
    return true;
}

void ScriptFile::free()
{
    delete this;
}

} // namespace Kenro::Ikemen
