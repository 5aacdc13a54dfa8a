// Copying and rewriting through the file-system archive against plain QFile,
// the baseline, on the same data in the same run.
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

struct Scratch
{
    Scratch()
    {
        source = dir.filePath(QStringLiteral("source.bin"));
        target = dir.filePath(QStringLiteral("target.bin"));
        QFile file(source);
        file.open(QIODevice::WriteOnly);
        file.write(QByteArray(8 << 20, 'k'));
    }
    QTemporaryDir dir;
    QString source;
    QString target;
};

void BM_QFileCopy(benchmark::State &state)
{
    Scratch scratch;
    for (auto _ : state) {
        QFile::remove(scratch.target);
        benchmark::DoNotOptimize(QFile::copy(scratch.source, scratch.target));
    }
    state.SetBytesProcessed(state.iterations() * (8 << 20));
}

void BM_CopyFile(benchmark::State &state)
{
    Scratch scratch;
    Kenro::FileSystemArchive &fs = Kenro::FileSystemArchive::instance();
    for (auto _ : state)
        benchmark::DoNotOptimize(Kenro::copyFile(fs, scratch.source, fs, scratch.target));
    state.SetBytesProcessed(state.iterations() * (8 << 20));
}

// Rewriting an existing file: in place with QFile against the safe replace.
void BM_QFileRewrite(benchmark::State &state)
{
    Scratch scratch;
    QByteArray const data(1 << 20, 'r');
    for (auto _ : state) {
        QFile file(scratch.source);
        file.open(QIODevice::WriteOnly);
        file.write(data);
    }
}

void BM_SafeReplace(benchmark::State &state)
{
    Scratch scratch;
    QByteArray const data(1 << 20, 'r');
    Kenro::FileSystemArchive &fs = Kenro::FileSystemArchive::instance();
    for (auto _ : state) {
        QIODevice *device = fs.openFile(scratch.source, QIODevice::WriteOnly);
        device->write(data);
        fs.closeFile(device);
    }
}

} // namespace

BENCHMARK(BM_QFileCopy)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CopyFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QFileRewrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SafeReplace)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
