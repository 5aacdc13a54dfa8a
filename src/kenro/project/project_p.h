#pragma once

#include <kenro/project/messagelist.h>
#include <kenro/project/project.h>

#include <QMap>

namespace Kenro {

// The private part of a project is the list of its diagnostics.
class ProjectPrivate : public MessageList
{
public:
    explicit ProjectPrivate(Project *project) : MessageList(project) {}

    ParentProject *parent = nullptr;
    ProjectFile *mainFile = nullptr; // reference held
    QMap<QString, QVariant> options;
    QMap<ProjectFile *, Project::FileTypes> filesWithIDs;
    QMap<int, unsigned int> selected;
    QMap<int, QList<ProjectFile *>> filesByType;
};

} // namespace Kenro
