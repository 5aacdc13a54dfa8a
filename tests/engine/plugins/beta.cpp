// The second test plug-in: a working image reader of the same format as the
// first plug-in's, a duplicate that shares its format string, and animation
// formats for every engine and for another engine.
#include "recorder.h"

#include <kenro/engine/extension.h>

#include <QImage>

using namespace Kenro;
using KenroTestPlugin::record;

namespace {

KenroTestPlugin::UnloadRecorder unloadRecorder{QStringLiteral("beta")};

char const testFormat[] = "TST";

template<class Base>
class Recorded : public Base
{
public:
    void release() override
    {
        record(QStringLiteral("release beta ") + QString::fromLatin1(this->format()));
        delete this;
    }
};

class Reader : public Recorded<ImageReaderExtension>
{
public:
    char const *format() const override { return testFormat; }
    char const *description() const override { return "Test images"; }
    bool read(QIODevice *, QImage &image) override
    {
        record(QStringLiteral("beta read"));
        image = QImage(2, 3, QImage::Format_ARGB32);
        image.fill(Qt::green);
        return true;
    }
};

class Animations : public Recorded<EngineExtension>
{
public:
    Animations(Type type, char const *format, char const *description, char const *engine)
        : m_type(type), m_format(format), m_description(description), m_engine(engine)
    {}
    Type type() const override { return m_type; }
    char const *format() const override { return m_format; }
    char const *description() const override { return m_description; }
    char const *engine() const override { return m_engine; }

private:
    Type m_type;
    char const *m_format;
    char const *m_description;
    char const *m_engine;
};

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(QString const &)
{
    record(QStringLiteral("register beta"));
    ExtensionManager::add(new Reader);
    // The same format string again: the manager keeps the first and the
    // plug-in still owns this one, which it ends itself.
    Reader *twin = new Reader;
    ExtensionManager::add(twin);
    if (!ExtensionManager::list(Extension::ImageReader).contains(twin))
        delete twin;
    ExtensionManager::add(
        new Animations(Extension::AnimationReader, "XAN", "Any-engine animations", nullptr));
    ExtensionManager::add(
        new Animations(Extension::AnimationReader, "OAN", "Other animations", "other-engine"));
    ExtensionManager::add(new Animations(Extension::SoundBank, "BNK", "Test banks", "kenro-test"));
}
