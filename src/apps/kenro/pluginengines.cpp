#include "pluginengines.h"

#include <kenro/engine/engine.h>

#include <QDir>
#include <QLibrary>

namespace Kenro::Cli {

PluginEngines::PluginEngines(QString const &directory)
{
    if (directory.isEmpty())
        return;
    QStringList const names = QDir(directory).entryList(
        {QStringLiteral("*.so"), QStringLiteral("*.dylib"), QStringLiteral("*.dll")}, QDir::Files,
        QDir::Name);
    for (QString const &name : names) {
        auto library = std::make_unique<QLibrary>(directory + QLatin1Char('/') + name);
        // Only the libraries that the extension manager keeps loaded are
        // asked; this object neither loads nor unloads any, since an unload
        // here would take away the manager's hold.
        if (!library->isLoaded())
            continue;
        using TakeEngine = Engine *(*)();
        auto const take = reinterpret_cast<TakeEngine>(library->resolve("kenroEngine"));
        Engine *engine = take ? take() : nullptr;
        if (!engine)
            continue;
        m_engines.emplace_back(engine);
        m_libraries.push_back(std::move(library));
    }
}

PluginEngines::~PluginEngines()
{
    // The engines' code lives in the libraries, which the manager unloads later.
    m_engines.clear();
}

QList<Engine *> PluginEngines::engines() const
{
    QList<Engine *> list;
    for (auto const &engine : m_engines)
        list.append(engine.get());
    return list;
}

} // namespace Kenro::Cli
