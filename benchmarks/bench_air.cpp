// AIR documents against their floor, measured in the same run: loading and
// parsing the largest AIR file of the test data, and a generated file of
// 1,000 actions, each against bare QTextDocument::setPlainText of the same
// text. The ratio of each pair is the figure to watch.
#include <ikemen/air/airdocument.h>

#include "testdata.h"

#include <QApplication>
#include <QDirIterator>
#include <QFileInfo>
#include <QTextDocument>

#include <benchmark/benchmark.h>

using Kenro::Ikemen::AirDocument;

namespace {

// The largest AIR file of the test data; empty without test data.
QString const &largestRealFile()
{
    static QString const text = [] {
        QString const root = KenroTest::testDataPath();
        QString largest;
        qint64 size = -1;
        if (!root.isEmpty()) {
            QDirIterator it(root + QStringLiteral("/game"), {QStringLiteral("*.air")}, QDir::Files,
                            QDirIterator::Subdirectories);
            while (it.hasNext()) {
                QString const path = it.next();
                if (QFileInfo(path).size() > size) {
                    size = QFileInfo(path).size();
                    largest = path;
                }
            }
        }
        return largest.isEmpty() ? QString() : QString::fromUtf8(KenroTest::readFile(largest));
    }();
    return text;
}

// 1,000 actions in the manner of a character's file: a title, default
// boxes, frames with boxes of their own, flips, blends and loop starts.
QString const &generatedFile()
{
    static QString const text = [] {
        QString result;
        for (int action = 0; action < 1000; ++action) {
            result += QStringLiteral("; Action number %1\n[Begin Action %1]\n").arg(action);
            result += QStringLiteral("Clsn2Default: 2\n Clsn2[0] = -13,  0, 16,-79\n"
                                     " Clsn2[1] =   5,-79, -7,-93\n");
            for (int frame = 0; frame < 8; ++frame) {
                if (frame == 3)
                    result += QStringLiteral("Loopstart\n");
                if (frame % 3 == 1)
                    result += QStringLiteral("Clsn1: 1\n Clsn1[0] =  15,-70, 50,-60\n");
                result += QStringLiteral("%1,%2, %3,0, %4%5\n")
                              .arg(action)
                              .arg(frame)
                              .arg(frame - 4)
                              .arg(frame + 2)
                              .arg(frame % 4 == 2 ? QStringLiteral(", H, A1") : QString());
            }
            result += QLatin1Char('\n');
        }
        return result;
    }();
    return text;
}

void setPlainText(benchmark::State &state, QString const &text)
{
    if (text.isEmpty()) {
        state.SkipWithError("KENRO_TESTDATA is not set");
        return;
    }
    for (auto _ : state) {
        QTextDocument document;
        document.setPlainText(text);
        benchmark::DoNotOptimize(document.blockCount());
    }
    state.counters["lines"] = static_cast<double>(text.count(QLatin1Char('\n')));
}

void parse(benchmark::State &state, QString const &text)
{
    if (text.isEmpty()) {
        state.SkipWithError("KENRO_TESTDATA is not set");
        return;
    }
    unsigned int actions = 0;
    for (auto _ : state) {
        AirDocument document;
        document.fromString(text);
        actions = document.animations()->count();
        benchmark::DoNotOptimize(actions);
    }
    state.counters["actions"] = actions;
}

void BM_RealFloor(benchmark::State &state)
{
    setPlainText(state, largestRealFile());
}

void BM_RealParse(benchmark::State &state)
{
    parse(state, largestRealFile());
}

void BM_GeneratedFloor(benchmark::State &state)
{
    setPlainText(state, generatedFile());
}

void BM_GeneratedParse(benchmark::State &state)
{
    parse(state, generatedFile());
}

} // namespace

BENCHMARK(BM_RealFloor)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_RealParse)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(BM_GeneratedFloor)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_GeneratedParse)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
