// The first test plug-in: an image reader that always fails, an animation
// format for one engine, an archive format and a described extension.
#include "recorder.h"

#include <kenro/engine/extension.h>

#include <QImage>

using namespace Kenro;
using KenroTestPlugin::record;

namespace {

KenroTestPlugin::UnloadRecorder unloadRecorder{QStringLiteral("alpha")};

template<class Base>
class Recorded : public Base
{
public:
    void release() override
    {
        record(QStringLiteral("release alpha ") + QString::fromLatin1(this->format()));
        delete this;
    }
};

class FailingReader : public Recorded<ImageReaderExtension>
{
public:
    char const *format() const override { return "TST"; }
    char const *description() const override { return "Test images"; }
    bool read(QIODevice *, QImage &) override
    {
        record(QStringLiteral("alpha read"));
        return false;
    }
};

class Animations : public Recorded<EngineExtension>
{
public:
    Type type() const override { return AnimationReader; }
    char const *format() const override { return "AIR"; }
    char const *description() const override { return "Test animations"; }
    char const *engine() const override { return "kenro-test"; }
};

class Archives : public Recorded<ArchiveExtension>
{
public:
    char const *format() const override { return "PAK"; }
    char const *description() const override { return "Test packs"; }
    Archive *create(QString const &fileName, int mode) override
    {
        record(QStringLiteral("alpha create %1 %2").arg(fileName).arg(mode));
        return nullptr;
    }
};

class Described : public Recorded<Extension>
{
public:
    Type type() const override { return Extension::Described; }
    char const *format() const override { return "DSC"; }
    char const *description() const override { return "described"; }
};

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(QString const &directory)
{
    record(QStringLiteral("register alpha ") + directory);
    ExtensionManager::add(new FailingReader);
    ExtensionManager::add(new Animations);
    ExtensionManager::add(new Archives);
    ExtensionManager::add(new Described);
}
