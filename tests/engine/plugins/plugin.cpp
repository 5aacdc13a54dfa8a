// A test plug-in, built as "alpha" and "beta" (KENRO_TEST_PLUGIN): an image
// reader that only beta's succeeds with, an animation format (alpha's for one
// engine, beta's for all) and an archive format. It appends each event as a
// line to the file that KENRO_PLUGIN_LOG names.
#include <kenro/engine/extension.h>

#include <QFile>
#include <QImage>

using namespace Kenro;

namespace {

QString const name = QStringLiteral(KENRO_TEST_PLUGIN);
bool const isAlpha = name == QLatin1String("alpha");

void record(QString const &event)
{
    QFile log(qEnvironmentVariable("KENRO_PLUGIN_LOG"));
    if (log.open(QIODevice::Append))
        log.write(event.toUtf8() + '\n');
}

// Its destructor runs when the library is unloaded.
struct UnloadRecorder
{
    ~UnloadRecorder() { record(QStringLiteral("unload ") + name); }
} unloadRecorder;

template<class Base>
struct Recorded : Base
{
    void release() override
    {
        record(QStringLiteral("release %1 %2").arg(name, QLatin1String(this->format())));
        delete this;
    }
};

struct Reader : Recorded<ImageReaderExtension>
{
    char const *format() const override { return "TST"; }
    char const *description() const override { return "Test images"; }
    bool read(QIODevice *, QImage &image) override
    {
        record(name + QStringLiteral(" read"));
        image = isAlpha ? QImage() : QImage(2, 3, QImage::Format_ARGB32);
        return !isAlpha;
    }
};

struct Animations : Recorded<EngineExtension>
{
    Type type() const override { return AnimationReader; }
    char const *format() const override { return isAlpha ? "AIR" : "XAN"; }
    char const *description() const override { return isAlpha ? "Test animations" : "Any"; }
    char const *engine() const override { return isAlpha ? "kenro-test" : nullptr; }
};

struct Archives : Recorded<ArchiveExtension>
{
    char const *format() const override { return "PAK"; }
    char const *description() const override { return "Test packs"; }
    Archive *create(QString const &fileName, int mode) override
    {
        record(QStringLiteral("%1 create %2 %3").arg(name, fileName).arg(mode));
        return nullptr;
    }
};

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(QString const &directory)
{
    record(QStringLiteral("register %1 %2").arg(name, directory));
    ExtensionManager::add(new Reader);
    ExtensionManager::add(new Animations);
    ExtensionManager::add(new Archives);
}
