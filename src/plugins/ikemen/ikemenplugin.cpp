// The IKEMEN GO engine for Kenro: the 2D fighting-game content that the
// open-source IKEMEN GO runtime reads.
#include "ikemenengine.h"

#include <kenro/engine/extension.h>

namespace {

Kenro::Ikemen::IkemenEngine *engine = nullptr;

// The formats of the engine that the editors offer in their file dialogs:
// animations in AIR, to read and to write, and sound banks in SND.
class FormatExtension final : public Kenro::EngineExtension
{
public:
    FormatExtension(Type type, char const *format, char const *description)
        : m_type(type), m_format(format), m_description(description)
    {}
    void release() override { delete this; }
    Type type() const override { return m_type; }
    char const *format() const override { return m_format; }
    char const *description() const override { return m_description; }
    char const *engine() const override { return Kenro::Ikemen::IkemenEngine::identifier(); }

private:
    Type m_type;
    char const *m_format;
    char const *m_description;
};

// One literal per format: the manager tells formats apart by their address.
char const airFormat[] = "AIR";
char const sndFormat[] = "SND";

// A second manager registers the library again; its formats are there already.
void offer(Kenro::Extension::Type type, char const *format, char const *description)
{
    if (Kenro::ExtensionManager::byFormat(type, format).isEmpty())
        Kenro::ExtensionManager::add(new FormatExtension(type, format, description));
}

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
    using Kenro::Extension;
    offer(Extension::AnimationReader, airFormat, "IKEMEN GO animations");
    offer(Extension::AnimationWriter, airFormat, "IKEMEN GO animations");
    offer(Extension::SoundBank, sndFormat, "IKEMEN GO sound banks");
}
