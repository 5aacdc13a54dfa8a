#pragma once

#include <kenro/project/projectfile.h>

#include <QObject>
#include <QString>

namespace Kenro {

class Archive;
class ProjectFile;

/**
 * What the user opens: a root directory or archive holding many projects.
 * It tells its listeners when files of its projects are added, closed,
 * opened and saved.
 */
class KENRO_EXPORT ParentProject : public QObject
{
    Q_OBJECT

public:
    /// A root at \a basePath in \a archive, holding one reference on it.
    ParentProject(QString const &basePath, Archive &archive);
    ~ParentProject() override;

    /// The root directory of all projects.
    QString basePath() const;
    Archive &archive() const;

Q_SIGNALS:
    void fileAdded(Kenro::ProjectFile *file);
    void fileClosed(Kenro::ProjectFile *file);
    void fileOpened(Kenro::ProjectFile *file);
    void fileSaved(Kenro::ProjectFile *file);

private:
    QString m_basePath;
    Archive *m_archive;
};

} // namespace Kenro
