// Opening kfm.sff (2.01, 281 sprites of LZ5 and RLE8) with every sprite
// decoded, against reading the same bytes from disk, the baseline, in the
// same run; and writing it back in both versions.
#include "sffsprite.h"
#include "sffsprites.h"
#include "sffwriter.h"

#include <kenro/project/filesystemarchive.h>

#include <QBuffer>
#include <QFile>
#include <QImage>

#include <benchmark/benchmark.h>

using namespace Kenro;
using namespace Kenro::Ikemen;

namespace {

QString archivePath()
{
    return qEnvironmentVariable("KENRO_TESTDATA") + QStringLiteral("/game/chars/kfm/kfm.sff");
}

void BM_ReadBytes(benchmark::State &state)
{
    QString const path = archivePath();
    qint64 size = 0;
    for (auto _ : state) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            state.SkipWithError("KENRO_TESTDATA does not name the test data");
            return;
        }
        QByteArray const bytes = file.readAll();
        size = bytes.size();
        benchmark::DoNotOptimize(bytes.constData());
    }
    state.SetBytesProcessed(state.iterations() * size);
}

void BM_OpenAndDecode(benchmark::State &state)
{
    QString const path = archivePath();
    for (auto _ : state) {
        auto *sprites = new SffSprites;
        if (!sprites->fromFile(FileSystemArchive::instance(), path, ProjectFile::Copy, nullptr)) {
            sprites->release();
            state.SkipWithError("kfm.sff cannot be opened");
            return;
        }
        // Each image with its palette, as an editor asks for it.
        for (unsigned int i = 0; i < sprites->count(); ++i)
            benchmark::DoNotOptimize(sprites->at(i)->image().constBits());
        sprites->release();
    }
    state.SetBytesProcessed(state.iterations() * QFile(path).size());
}

// Writing into memory: stored streams as they are (2.01), or all encoded anew as PCX (1.01).
void BM_Write(benchmark::State &state)
{
    auto *sprites = new SffSprites;
    if (!sprites->fromFile(FileSystemArchive::instance(), archivePath(), ProjectFile::Copy,
                           nullptr)) {
        sprites->release();
        state.SkipWithError("kfm.sff cannot be opened");
        return;
    }
    SffContent const content = sprites->content();
    SffVersion const version = state.range(0) ? SffVersion::V201 : SffVersion::V101;
    for (auto _ : state) {
        SffWriter writer;
        benchmark::DoNotOptimize(writer.write(content, version).size());
    }
    sprites->release();
}

} // namespace

BENCHMARK(BM_ReadBytes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenAndDecode)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Write)->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
