// Decoding and encoding the real LZ5 and RLE8 sprites and the PCX files of the
// test data ($KENRO_TESTDATA), and decoding the LZ5 sprites made into RLE5. Decoding is measured in bytes of pixels a second
// against memcpy of the same output sizes, the baseline; the ratios are printed
// after the run. Each decode reads from a buffer device made and opened before
// the timing, rewound for every pass; the NewDevice variants make the buffer
// anew for each sprite, as the sprite archive reader does. Encoding gives the
// time per sprite.
#include <kenro/imaging/imagecodecs.h>

#include "rle8paths_p.h"
#include "streammanifest.h"
#include "testdata.h"

#include <QBuffer>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Sprite
{
    QByteArray stream;
    QImage image; // decoded, also the target of each decode
};

struct Sprites
{
    std::vector<Sprite> list;
    qint64 pixels = 0;
};

bool loadPcx(QImage &image, QIODevice *device)
{
    return Kenro::loadPCX(image, device, nullptr);
}

Sprites loadSprites(QString const &format)
{
    Sprites sprites;
    QString const root = KenroTest::testDataPath();
    for (KenroTest::StreamEntry const &e : KenroTest::streamManifest(root, format)) {
        Sprite sprite{KenroTest::readFile(e.path),
                      QImage(e.width, e.height, QImage::Format_Indexed8)};
        QBuffer device(&sprite.stream);
        bool const ok = format == QLatin1String("lz5") ? Kenro::loadLZ5(sprite.image, &device)
            : format == QLatin1String("rle8")          ? Kenro::loadRLE8(sprite.image, &device)
                                                       : loadPcx(sprite.image, &device);
        if (ok) {
            sprites.pixels += qint64(e.width) * e.height;
            sprites.list.push_back(std::move(sprite));
        }
    }
    return sprites;
}

Sprites const &lz5()
{
    static Sprites const sprites = loadSprites(QStringLiteral("lz5"));
    return sprites;
}

Sprites const &rle8()
{
    static Sprites const sprites = loadSprites(QStringLiteral("rle8"));
    return sprites;
}

Sprites const &pcx()
{
    static Sprites const sprites = loadSprites(QStringLiteral("pcx"));
    return sprites;
}

// An RLE5 stream of the low five bits of each pixel of \a image. The test data
// has no RLE5 streams and the library no RLE5 encoder: each packet has a
// first run of up to 256 with its colour byte, then up to 31 runs of up to 8.
QByteArray rle5Stream(QImage const &image)
{
    QByteArray pixels;
    for (int y = 0; y < image.height(); ++y)
        pixels.append(reinterpret_cast<char const *>(image.constScanLine(y)), image.width());
    auto runAt = [&pixels](qsizetype at, int longest) {
        int run = 1;
        while (run < longest && at + run < pixels.size() && pixels[at + run] == pixels[at])
            ++run;
        return run;
    };
    QByteArray stream;
    for (qsizetype at = 0; at < pixels.size();) {
        int const first = runAt(at, 256);
        stream.append(char(first - 1));
        qsizetype const countAt = stream.size();
        stream.append(char(0x80));
        stream.append(char(pixels[at] & 0x1F));
        at += first;
        int count = 0;
        for (; count < 31 && at < pixels.size(); ++count) {
            int const run = runAt(at, 8);
            stream.append(char(((run - 1) << 5) | (pixels[at] & 0x1F)));
            at += run;
        }
        stream[countAt] = char(0x80 | count);
    }
    return stream;
}

// The LZ5 sprites as RLE5 streams.
Sprites const &rle5()
{
    static Sprites const sprites = [] {
        Sprites converted = lz5();
        for (Sprite &s : converted.list)
            s.stream = rle5Stream(s.image);
        return converted;
    }();
    return sprites;
}

bool usable(benchmark::State &state, Sprites const &sprites)
{
    if (sprites.list.empty()) {
        state.SkipWithError("no sprites: set KENRO_TESTDATA to the test data folder");
        return false;
    }
    return true;
}

void finish(benchmark::State &state, Sprites const &sprites)
{
    state.SetBytesProcessed(state.iterations() * sprites.pixels);
    state.counters["sprites"] = double(sprites.list.size());
    // The time per sprite: the rate of sprites, inverted.
    state.counters["per_sprite"] = benchmark::Counter(
        double(sprites.list.size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The baseline: copying each sprite's pixel bytes from one buffer to another.
void copyPixels(benchmark::State &state, Sprites const &sprites)
{
    if (!usable(state, sprites))
        return;
    std::vector<std::vector<uchar>> sources;
    std::vector<std::vector<uchar>> targets;
    for (Sprite const &s : sprites.list) {
        size_t const size = size_t(s.image.width()) * size_t(s.image.height());
        sources.emplace_back(size, uchar(1));
        targets.emplace_back(size, uchar(0));
    }
    for (auto _ : state) {
        for (size_t i = 0; i < sources.size(); ++i) {
            std::memcpy(targets[i].data(), sources[i].data(), sources[i].size());
            benchmark::DoNotOptimize(targets[i].data());
        }
        benchmark::ClobberMemory();
    }
    finish(state, sprites);
}

using Load = bool (*)(QImage &, QIODevice *);

// Each sprite's stream in a buffer that is open before the timing starts.
void decode(benchmark::State &state, Sprites const &sprites, Load load)
{
    if (!usable(state, sprites))
        return;
    std::vector<Sprite> work = sprites.list;
    std::vector<std::unique_ptr<QBuffer>> devices;
    for (Sprite &s : work) {
        devices.push_back(std::make_unique<QBuffer>(&s.stream));
        devices.back()->open(QIODevice::ReadOnly);
    }
    for (auto _ : state) {
        for (size_t i = 0; i < work.size(); ++i) {
            devices[i]->seek(0);
            benchmark::DoNotOptimize(load(work[i].image, devices[i].get()));
        }
        benchmark::ClobberMemory();
    }
    finish(state, sprites);
}

// A buffer made for each sprite, and opened by the decoder.
void decodeWithNewDevices(benchmark::State &state, Sprites const &sprites, Load load)
{
    if (!usable(state, sprites))
        return;
    std::vector<Sprite> work = sprites.list;
    for (auto _ : state) {
        for (Sprite &s : work) {
            QBuffer device(&s.stream);
            benchmark::DoNotOptimize(load(s.image, &device));
        }
        benchmark::ClobberMemory();
    }
    finish(state, sprites);
}

template<typename Save>
void encode(benchmark::State &state, Sprites const &sprites, Save save)
{
    if (!usable(state, sprites))
        return;
    QByteArray stream;
    for (auto _ : state) {
        for (Sprite const &s : sprites.list) {
            stream.clear();
            QBuffer device(&stream);
            benchmark::DoNotOptimize(save(s.image, &device));
        }
    }
    finish(state, sprites);
}

void BM_MemcpyLZ5Pixels(benchmark::State &state)
{
    copyPixels(state, lz5());
}
void BM_LoadLZ5(benchmark::State &state)
{
    decode(state, lz5(), Kenro::loadLZ5);
}
void BM_MemcpyRLE8Pixels(benchmark::State &state)
{
    copyPixels(state, rle8());
}
void BM_LoadRLE8(benchmark::State &state)
{
    decode(state, rle8(), Kenro::loadRLE8);
}
// The RLE8 decoders of other processors, on this one.
void decodeRle8On(benchmark::State &state, Kenro::Rle8Path path)
{
    Kenro::Rle8Path const chosen = Kenro::rle8Path();
    if (!Kenro::setRle8Path(path)) {
        state.SkipWithError("this processor cannot take that path");
        return;
    }
    decode(state, rle8(), Kenro::loadRLE8);
    Kenro::setRle8Path(chosen);
}
void BM_LoadRLE8Avx2(benchmark::State &state)
{
    decodeRle8On(state, Kenro::Rle8Path::Avx2);
}
void BM_LoadRLE8Portable(benchmark::State &state)
{
    decodeRle8On(state, Kenro::Rle8Path::Portable);
}
void BM_MemcpyPCXPixels(benchmark::State &state)
{
    copyPixels(state, pcx());
}
void BM_LoadRLE5(benchmark::State &state)
{
    decode(state, rle5(), Kenro::loadRLE5);
}
void BM_LoadPCX(benchmark::State &state)
{
    decode(state, pcx(), loadPcx);
}
void BM_LoadLZ5NewDevice(benchmark::State &state)
{
    decodeWithNewDevices(state, lz5(), Kenro::loadLZ5);
}
void BM_LoadRLE8NewDevice(benchmark::State &state)
{
    decodeWithNewDevices(state, rle8(), Kenro::loadRLE8);
}
void BM_SaveLZ5(benchmark::State &state)
{
    encode(state, lz5(), [](QImage const &image, QIODevice *device) {
        return Kenro::saveLZ5(image, device, true);
    });
}
void BM_SaveLZ5RunsOnly(benchmark::State &state)
{
    encode(state, lz5(), [](QImage const &image, QIODevice *device) {
        return Kenro::saveLZ5(image, device, false);
    });
}
void BM_SaveRLE8(benchmark::State &state)
{
    encode(state, rle8(), Kenro::saveRLE8);
}

// Keeps the rate of each benchmark, to print each decoder against its baseline.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(std::vector<Run> const &runs) override
    {
        for (Run const &run : runs) {
            auto const rate = run.counters.find("bytes_per_second");
            if (rate != run.counters.end())
                rates[run.benchmark_name()] = rate->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void printRatio(char const *name, char const *baseline) const
    {
        auto const a = rates.find(name);
        auto const b = rates.find(baseline);
        if (a == rates.end() || b == rates.end() || b->second <= 0)
            return;
        std::printf("%s: %.1f MB/s of pixels, %.4f of %s (%.1f MB/s)\n", name, a->second / 1e6,
                    a->second / b->second, baseline, b->second / 1e6);
    }

    std::map<std::string, double> rates;
};

} // namespace

BENCHMARK(BM_MemcpyLZ5Pixels)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadLZ5)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MemcpyRLE8Pixels)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadRLE8)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadRLE8Avx2)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadRLE8Portable)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MemcpyPCXPixels)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadPCX)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadRLE5)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadLZ5NewDevice)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_LoadRLE8NewDevice)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SaveLZ5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveLZ5RunsOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveRLE8)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatio("BM_LoadLZ5", "BM_MemcpyLZ5Pixels");
    reporter.printRatio("BM_LoadRLE8", "BM_MemcpyRLE8Pixels");
    reporter.printRatio("BM_LoadRLE8Avx2", "BM_MemcpyRLE8Pixels");
    reporter.printRatio("BM_LoadRLE8Portable", "BM_MemcpyRLE8Pixels");
    reporter.printRatio("BM_LoadPCX", "BM_MemcpyPCXPixels");
    reporter.printRatio("BM_LoadRLE5", "BM_MemcpyLZ5Pixels");
    reporter.printRatio("BM_LoadLZ5NewDevice", "BM_MemcpyLZ5Pixels");
    reporter.printRatio("BM_LoadRLE8NewDevice", "BM_MemcpyRLE8Pixels");
    benchmark::Shutdown();
    return 0;
}
