#pragma once

#include <kenro/kenro_export.h>

#include <QString>
#include <QStringList>

namespace Kenro {

class Archive;

/**
 * A document that stands for a file on disk. All such objects share one
 * file-system watcher; when a watched file changes, the user is asked once
 * whether to reload every object of that file.
 */
class KENRO_EXPORT FileWatchObject
{
public:
    FileWatchObject();
    /// Stops watching the object's file.
    virtual ~FileWatchObject();

    /// The file that the object stands for.
    virtual QString fileName() const = 0;
    /// Reads the file again.
    virtual void reload() = 0;
    /// While paused, the next change notice of the file is swallowed.
    virtual void pauseWatch(bool pause);

    /// The object now stands for \a name of \a archive (nothing for a copy or another archive).
    void fileLoaded(Archive &archive, QString const &name, bool copy);
    /// As fileLoaded(), and the change notice of this save is ignored.
    void fileSaved(Archive &archive, QString const &name, bool copy);
    bool isWatchPaused() const;

    /// The files being watched now, for diagnostics.
    static QStringList watchedFiles();

private:
    void watch(Archive &archive, QString const &name, bool copy);

    bool m_paused = false;
};

} // namespace Kenro
