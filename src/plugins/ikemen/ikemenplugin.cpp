// The IKEMEN GO engine for Kenro: the 2D fighting-game content that the
// open-source IKEMEN GO runtime reads.
#include "ikemenengine.h"

#include <kenro/engine/extension.h>

namespace {

Kenro::Ikemen::IkemenEngine *engine = nullptr;

// An engine that no host took ends with the library, and writes its
// configuration as engines do.
struct EngineKeeper
{
    ~EngineKeeper() { delete engine; }
} keeper;

} // namespace

/**
 * The engine of this library, made by registerExtension(): a host resolves
 * this symbol, takes the engine and deletes it before it ends the extension
 * manager. Null before the registration or after the host took it.
 */
extern "C" Q_DECL_EXPORT Kenro::Engine *kenroEngine()
{
    Kenro::Engine *result = engine;
    engine = nullptr;
    return result;
}

extern "C" Q_DECL_EXPORT void registerExtension(QString const &directory)
{
    Q_UNUSED(directory);
    if (!engine)
        engine = new Kenro::Ikemen::IkemenEngine;
}
