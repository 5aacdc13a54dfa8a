// Opening the kfm character through the IKEMEN GO engine, as a host loads
// it from the plug-in: every file of the project read and parsed, every
// sprite decoded with its palette. The baseline, in the same run, reads the
// same files' bytes from disk.
#include <kenro/engine/engine.h>
#include <kenro/engine/extension.h>
#include <kenro/imaging/sprite.h>
#include <kenro/imaging/sprites.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/project.h>
#include <kenro/project/projectfile.h>

#include <QApplication>
#include <QFile>
#include <QImage>
#include <QLibrary>

#include <benchmark/benchmark.h>

#include <memory>

using namespace Kenro;

namespace {

Engine *engine = nullptr;
QStringList files; // every file that the project opens, the definition included

QString definitionPath()
{
    return qEnvironmentVariable("KENRO_TESTDATA") + QStringLiteral("/game/chars/kfm/kfm.def");
}

// Opens kfm and decodes its sprites; the project, or null.
Project *openKfm()
{
    ParentProject *root = engine->openRoot(definitionPath(), FileSystemArchive::instance());
    if (!root || root->openedProjects().isEmpty())
        return nullptr;
    Project *project = root->openedProjects().first();
    for (ProjectFile *file : project->filesByType(Project::Sprites)) {
        if (auto *sprites = dynamic_cast<Sprites *>(file)) {
            for (unsigned int i = 0; i < sprites->count(); ++i)
                benchmark::DoNotOptimize(sprites->at(i)->image().constBits());
        }
    }
    return project;
}

void BM_ReadBytes(benchmark::State &state)
{
    if (files.isEmpty()) {
        state.SkipWithError("KENRO_TESTDATA does not name the test data");
        return;
    }
    qint64 size = 0;
    for (auto _ : state) {
        size = 0;
        for (QString const &name : std::as_const(files)) {
            QFile file(name);
            if (!file.open(QIODevice::ReadOnly)) {
                state.SkipWithError("a file of kfm cannot be read");
                return;
            }
            QByteArray const bytes = file.readAll();
            size += bytes.size();
            benchmark::DoNotOptimize(bytes.constData());
        }
    }
    state.SetBytesProcessed(state.iterations() * size);
}

void BM_OpenThroughEngine(benchmark::State &state)
{
    if (files.isEmpty()) {
        state.SkipWithError("KENRO_TESTDATA does not name the test data");
        return;
    }
    for (auto _ : state) {
        Project *project = openKfm();
        if (!project) {
            state.SkipWithError("kfm cannot be opened");
            return;
        }
        project->release(); // the lone root ends with it
    }
}

} // namespace

BENCHMARK(BM_ReadBytes)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_OpenThroughEngine)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    auto manager = std::make_unique<ExtensionManager>(QStringLiteral(KENRO_PLUGIN_DIR));
    QLibrary library(QStringLiteral(KENRO_IKEMEN_PLUGIN));
    auto const take = reinterpret_cast<Engine *(*)()>(library.resolve("kenroEngine"));
    std::unique_ptr<Engine> owner(take ? take() : nullptr);
    if (!owner) {
        std::fprintf(stderr, "bench_kfm: the IKEMEN GO plug-in gives no engine\n");
        return 1;
    }
    engine = owner.get();
    if (Project *project = openKfm()) {
        for (ProjectFile *file : project->files())
            files.append(file->fileName());
        project->release();
    }
    std::printf("bench_kfm: %d files\n", int(files.size()));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    owner.reset();
    manager.reset();
    return 0;
}
