// Decoding the coded voice of the test data with our codecs against the
// Debian command-line decoders (flac -d, oggdec, mpg123) doing the same job,
// file in and WAV file out, and our resampler against sox at very high
// quality. The tools run as processes, so their times include starting one;
// both sides write their WAV into the same temporary folder.
#include <kenro/sound/soundcodecs.h>

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtEndian>

#include <benchmark/benchmark.h>

namespace {

QString coded(char const *name)
{
    return qEnvironmentVariable("KENRO_TESTDATA") + QStringLiteral("/sounds/coded/") +
        QString::fromLatin1(name);
}

bool ready(benchmark::State &state, QString const &input, QString const &tool)
{
    if (!QFile::exists(input)) {
        state.SkipWithError("KENRO_TESTDATA does not name the test data");
        return false;
    }
    if (!tool.isEmpty() && QStandardPaths::findExecutable(tool).isEmpty()) {
        state.SkipWithError("the command-line tool is not installed (scripts/setup.sh)");
        return false;
    }
    return true;
}

// Our side: file to sample to WAV file.
void decodeOurs(benchmark::State &state, char const *name, char const *format)
{
    QString const input = coded(name);
    if (!ready(state, input, QString()))
        return;
    QTemporaryDir dir;
    QString const output = dir.filePath(QStringLiteral("out.wav"));
    qint64 bytes = 0;
    for (auto _ : state) {
        QFile in(input);
        Kenro::SoundSample sample;
        if (!Kenro::loadSound(&in, format, sample)) {
            state.SkipWithError("decoding failed");
            return;
        }
        QFile out(output);
        Kenro::saveSound(&out, "WAV", sample);
        bytes += sample.data.size();
    }
    state.SetBytesProcessed(bytes);
}

// The "data" chunk of a WAV file, found by walking the chunks: the tools
// write headers of their own shape (flac uses the extensible format for 24
// bits).
QByteArray dataChunk(QByteArray const &file)
{
    qsizetype at = 12;
    while (at + 8 <= file.size()) {
        quint32 const size = qFromLittleEndian<quint32>(file.constData() + at + 4);
        if (file.mid(at, 4) == "data")
            return file.mid(at + 8, size);
        at += 8 + qsizetype(size) + (size & 1);
    }
    return QByteArray();
}

void runTool(benchmark::State &state, QString const &tool, QStringList const &arguments)
{
    QProcess process;
    process.start(tool, arguments);
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        state.SkipWithError("the command-line tool failed");
}

// Their side: the same file decoded to a WAV file by the tool. The counter
// "same_pcm" tells whether the tool's samples equal ours.
void decodeTool(benchmark::State &state, char const *name, char const *format, QString const &tool,
                QStringList (*arguments)(QString const &input, QString const &output))
{
    QString const input = coded(name);
    if (!ready(state, input, tool))
        return;
    QTemporaryDir dir;
    QString const output = dir.filePath(QStringLiteral("out.wav"));
    for (auto _ : state)
        runTool(state, tool, arguments(input, output));
    QFile theirs(output);
    QFile ours(input);
    Kenro::SoundSample mine;
    Kenro::loadSound(&ours, format, mine);
    bool const same = theirs.open(QIODevice::ReadOnly) && !mine.data.isEmpty() &&
        dataChunk(theirs.readAll()) == mine.data;
    state.counters["same_pcm"] = same ? 1 : 0;
}

QStringList flacArguments(QString const &input, QString const &output)
{
    return {QStringLiteral("-d"),
            QStringLiteral("-s"),
            QStringLiteral("-f"),
            QStringLiteral("-o"),
            output,
            input};
}

void BM_FlacOurs(benchmark::State &state)
{
    decodeOurs(state, "voice_44k_stereo16.flac", "FLAC");
}

void BM_FlacTool(benchmark::State &state)
{
    decodeTool(state, "voice_44k_stereo16.flac", "FLAC", QStringLiteral("flac"), flacArguments);
}

void BM_Flac24Ours(benchmark::State &state)
{
    decodeOurs(state, "voice_48k_mono24.flac", "FLAC");
}

void BM_Flac24Tool(benchmark::State &state)
{
    decodeTool(state, "voice_48k_mono24.flac", "FLAC", QStringLiteral("flac"), flacArguments);
}

void BM_OggOurs(benchmark::State &state)
{
    decodeOurs(state, "voice_44k_stereo16.ogg", "OGG");
}

void BM_OggTool(benchmark::State &state)
{
    decodeTool(state, "voice_44k_stereo16.ogg", "OGG", QStringLiteral("oggdec"),
               [](QString const &in, QString const &out) {
                   return QStringList{QStringLiteral("-Q"), QStringLiteral("-o"), out, in};
               });
}

void BM_Mp3Ours(benchmark::State &state)
{
    decodeOurs(state, "voice_44k_stereo16.mp3", "MP3");
}

void BM_Mp3Tool(benchmark::State &state)
{
    decodeTool(state, "voice_44k_stereo16.mp3", "MP3", QStringLiteral("mpg123"),
               [](QString const &in, QString const &out) {
                   return QStringList{QStringLiteral("-q"), QStringLiteral("-w"), out, in};
               });
}

// \a name resampled to \a rate, WAV in and WAV out, on both sides.
void resampleOurs(benchmark::State &state, char const *name, quint32 rate)
{
    QString const input = coded(name);
    if (!ready(state, input, QString()))
        return;
    QTemporaryDir dir;
    QString const output = dir.filePath(QStringLiteral("out.wav"));
    for (auto _ : state) {
        QFile in(input);
        Kenro::SoundSample sample;
        Kenro::loadSound(&in, "WAV", sample);
        Kenro::SampleInfo target = sample;
        target.frequency = rate;
        if (!Kenro::resampleSound(sample, target)) {
            state.SkipWithError("resampling failed");
            return;
        }
        QFile out(output);
        Kenro::saveSound(&out, "WAV", sample);
    }
}

void resampleSox(benchmark::State &state, char const *name, quint32 rate)
{
    QString const input = coded(name);
    if (!ready(state, input, QStringLiteral("sox")))
        return;
    QTemporaryDir dir;
    QString const output = dir.filePath(QStringLiteral("out.wav"));
    // "rate -v", sox's very high quality, is the peer of the best sinc
    // converter; -D leaves out the dither that we do not add either.
    for (auto _ : state)
        runTool(state, QStringLiteral("sox"),
                {QStringLiteral("-D"), input, output, QStringLiteral("rate"), QStringLiteral("-v"),
                 QString::number(rate)});
}

// 22,050 Hz 8-bit mono voice up to 44,100 Hz.
void BM_ResampleUpOurs(benchmark::State &state)
{
    resampleOurs(state, "voice_22k_mono8.wav", 44100);
}

void BM_ResampleUpSox(benchmark::State &state)
{
    resampleSox(state, "voice_22k_mono8.wav", 44100);
}

// 44,100 Hz 16-bit stereo voice down to 22,050 Hz.
void BM_ResampleDownOurs(benchmark::State &state)
{
    resampleOurs(state, "voice_44k_stereo16.wav", 22050);
}

void BM_ResampleDownSox(benchmark::State &state)
{
    resampleSox(state, "voice_44k_stereo16.wav", 22050);
}

// The fixed cost in every tool figure: starting a process and waiting for it.
void BM_ProcessStart(benchmark::State &state)
{
    QString const tool = QStandardPaths::findExecutable(QStringLiteral("true"));
    if (tool.isEmpty()) {
        state.SkipWithError("no true(1) on the path");
        return;
    }
    for (auto _ : state)
        runTool(state, tool, {});
}

} // namespace

BENCHMARK(BM_FlacOurs)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FlacTool)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Flac24Ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Flac24Tool)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OggOurs)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OggTool)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Mp3Ours)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Mp3Tool)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ResampleUpOurs)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ResampleUpSox)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ResampleDownOurs)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ResampleDownSox)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ProcessStart)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_MAIN();
