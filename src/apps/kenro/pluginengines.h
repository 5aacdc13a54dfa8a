#pragma once

#include <QList>
#include <QString>

#include <memory>
#include <vector>

class QLibrary;

namespace Kenro {
class Engine;
}

namespace Kenro::Cli {

/**
 * The engines of the plug-ins that the extension manager loaded: each
 * library that exports "kenroEngine" hands over its engine. The engines are
 * deleted when this object ends, which must be before the extension manager
 * unloads their libraries.
 */
class PluginEngines
{
public:
    /// Takes the engine of each loaded plug-in library in \a directory; none for an empty name.
    explicit PluginEngines(QString const &directory);
    ~PluginEngines();

    PluginEngines(PluginEngines const &) = delete;
    PluginEngines &operator=(PluginEngines const &) = delete;

    /// The engines, in the order of their libraries' names.
    QList<Engine *> engines() const;

private:
    std::vector<std::unique_ptr<QLibrary>> m_libraries;
    std::vector<std::unique_ptr<Engine>> m_engines;
};

} // namespace Kenro::Cli
