#pragma once

// What the test plug-ins do is appended, a line per event, to the file that
// KENRO_PLUGIN_LOG names; the test reads it after the manager has ended.
#include <QFile>
#include <QString>

namespace KenroTestPlugin {

inline void record(QString const &event)
{
    QString const path = qEnvironmentVariable("KENRO_PLUGIN_LOG");
    if (path.isEmpty())
        return;
    QFile log(path);
    if (log.open(QIODevice::Append))
        log.write(event.toUtf8() + '\n');
}

// A static object of each plug-in: its destructor runs when the library is
// unloaded.
struct UnloadRecorder
{
    QString name;
    ~UnloadRecorder() { record(QStringLiteral("unload ") + name); }
};

} // namespace KenroTestPlugin
