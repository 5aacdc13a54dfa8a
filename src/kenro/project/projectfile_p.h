#pragma once

#include <QMap>
#include <QString>
#include <QVariant>

namespace Kenro {

class Archive;
class Project;

class ProjectFilePrivate
{
public:
    Project *project = nullptr;
    Archive *archive = nullptr; // reference held; null is the file system
    QMap<QString, QVariant> options;
    unsigned int refCount = 1;
};

} // namespace Kenro
