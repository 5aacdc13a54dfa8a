// The script parser of the IKEMEN content against its floor, measured in the
// same run: loading Training.cns (247 KB, 12,700 lines) and kfm.cns into a
// ScriptDocument, against bare QTextDocument::setPlainText of the same text.
// The files come from the folder named by KENRO_TESTDATA.
#include <ikemen/script/scriptdocument.h>

#include <kenro/project/filesystemarchive.h>

#include <QApplication>

#include <benchmark/benchmark.h>

using Kenro::FileSystemArchive;
using Kenro::Ikemen::ScriptDocument;

namespace {

// The decoded text of a file of the game folder; empty when it is missing.
QString gameText(char const *name)
{
    QString const data = qEnvironmentVariable("KENRO_TESTDATA");
    if (data.isEmpty())
        return QString();
    ScriptDocument document;
    if (!document.fromFile(FileSystemArchive::instance(),
                           data + QStringLiteral("/game/") + QString::fromLatin1(name), 0, nullptr))
        return QString();
    return document.toPlainText();
}

char const *const files[] = {"chars/training/Training.cns", "chars/kfm/kfm.cns"};

// The text of the file that the benchmark's argument selects; empty, with
// the benchmark skipped, without test data.
QString benchmarkText(benchmark::State &state)
{
    QString const text = gameText(files[state.range(0)]);
    if (text.isEmpty())
        state.SkipWithError("KENRO_TESTDATA does not name the test data");
    return text;
}

void BM_SetPlainTextFloor(benchmark::State &state)
{
    QString const text = benchmarkText(state);
    if (text.isEmpty())
        return;
    for (auto _ : state) {
        QTextDocument document;
        document.setPlainText(text);
        benchmark::DoNotOptimize(document.blockCount());
    }
}

void BM_ParseScript(benchmark::State &state)
{
    QString const text = benchmarkText(state);
    if (text.isEmpty())
        return;
    for (auto _ : state) {
        ScriptDocument document;
        document.fromString(text);
        benchmark::DoNotOptimize(document.root()->childCount());
    }
}

} // namespace

// Argument 0 is Training.cns, 1 is kfm.cns.
BENCHMARK(BM_SetPlainTextFloor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_ParseScript)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MinTime(1.0);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
