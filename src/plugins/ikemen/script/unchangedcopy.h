#pragma once

#include <kenro/project/archive.h>
#include <kenro/project/jobstats.h>
#include <kenro/project/pathhelpers.h>

namespace Kenro::Ikemen {

/**
 * True when \a file is unchanged, the file it was read from still exists and
 * \a name of \a archive is another place: saving it there is a byte copy.
 */
inline bool copiesUnchanged(ProjectFile &file, Archive &archive, QString const &name)
{
    Archive &source = file.archive();
    QString const from = file.fileName();
    if (file.isModified() || from.isEmpty() || !source.fileExists(from))
        return false;
    return &source != &archive || source.absoluteFileName(from) != archive.absoluteFileName(name);
}

/**
 * A code document of the content that goes to another place as the bytes it
 * was read from while it is unchanged: written from its text it would get
 * CRLF line ends, and the author's own line ends and spelling of the
 * encoding would be lost for no edit at all. \a Document is the code
 * document class below.
 */
template<class Document>
class UnchangedCopy : public Document
{
public:
    using Document::Document;

    /**
     * Copies the file byte for byte when it is unchanged, exists and \a name
     * of \a archive is another place; otherwise writes the text.
     */
    bool toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats) override
    {
        this->waitForSave();
        if (!copiesUnchanged(*this, archive, name))
            return Document::toFile(archive, name, flags, stats);

        if (!archive.isWritable(name) ||
            !copyFile(this->archive(), this->fileName(), archive, name))
            return false;
        this->fileSaved(archive, name, flags & ProjectFile::Copy);
        if (!(flags & ProjectFile::Copy))
            this->setFileName(name);
        ProjectFile::toFile(archive, name, flags & (ProjectFile::Copy | ProjectFile::Background),
                            stats);
        if (stats && (flags & ProjectFile::Background)) {
            // A background save owns its job; this one ended at once.
            stats->setValue(1);
            delete stats;
        }
        return true;
    }
};

} // namespace Kenro::Ikemen
