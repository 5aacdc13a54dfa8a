// Code documents against their floors, measured in the same run:
// - loading and parsing a 100,000-line script against bare
//   QTextDocument::setPlainText of the same text;
// - one keystroke in the middle of a 1,000-line and of a 100,000-line document;
// - toFile with the background flag on the 100,000-line document, which
//   returns while the bytes are written on the pool.
#include <kenro/project/filesystemarchive.h>

#include "testparser.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QPlainTextDocumentLayout>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using KenroTest::TestDocument;

namespace {

QString script(int lines)
{
    QString text;
    text.reserve(lines * 16);
    text +=
        QStringLiteral("; Generated benchmark script: sections of numbered values with a note now "
                       "and then\n");
    for (int i = 0; i + 1 < lines; ++i) {
        if (i % 50 == 0)
            text += QStringLiteral("[Section%1]\n").arg(i / 50);
        else if (i % 7 == 0)
            text += QStringLiteral("; note %1\n").arg(i);
        else
            text += QStringLiteral("value%1 = %1\n").arg(i);
    }
    return text;
}

void BM_SetPlainTextFloor(benchmark::State &state)
{
    QString const text = script(100000);
    for (auto _ : state) {
        QTextDocument document;
        document.setPlainText(text);
        benchmark::DoNotOptimize(document.blockCount());
    }
}

void BM_LoadAndParse(benchmark::State &state)
{
    QString const text = script(100000);
    for (auto _ : state) {
        TestDocument document;
        document.fromString(text);
        benchmark::DoNotOptimize(document.root()->childCount());
    }
}

// Lays out a screenful of lines from the given one, as a view showing them
// would have done.
void layOutScreen(QTextDocument &document, int first)
{
    QTextBlock block = document.findBlockByNumber(first);
    for (int i = 0; i < 40 && block.isValid(); ++i, block = block.next())
        document.documentLayout()->blockBoundingRect(block);
}

// Types and takes back one character at the end of the middle line. The
// editor was opened at the top and then scrolled to the middle, so both
// screens are laid out; the widest of their lines is the heading comment, as
// in most scripts, so Qt's plain-text layout never rescans every block for a
// new widest line.
void typeInTheMiddle(QTextDocument &document, benchmark::State &state)
{
    // Line n + 1 holds value n; both sizes land on a value line this way.
    int const middle = static_cast<int>(state.range(0) / 2) + 4;
    if (!document.findBlockByNumber(middle).text().startsWith(QStringLiteral("value"))) {
        state.SkipWithError("the middle line is not a value line");
        return;
    }
    layOutScreen(document, 0);
    layOutScreen(document, middle - 20);
    QTextCursor cursor(document.findBlockByNumber(middle));
    cursor.movePosition(QTextCursor::EndOfBlock);
    bool insert = true;
    for (auto _ : state) {
        if (insert)
            cursor.insertText(QStringLiteral("7"));
        else
            cursor.deletePreviousChar();
        insert = !insert;
    }
}

void BM_Keystroke(benchmark::State &state)
{
    TestDocument document;
    document.fromString(script(static_cast<int>(state.range(0))));
    typeInTheMiddle(document, state);
}

// The same keystroke in a bare document with the same layout: Qt's own cost.
void BM_KeystrokeFloor(benchmark::State &state)
{
    QTextDocument document;
    document.setDocumentLayout(new QPlainTextDocumentLayout(&document));
    document.setPlainText(script(static_cast<int>(state.range(0))));
    typeInTheMiddle(document, state);
}

void BM_BackgroundSaveReturns(benchmark::State &state)
{
    QTemporaryDir dir;
    QString const path = dir.filePath(QStringLiteral("big.cns"));
    TestDocument document;
    document.fromString(script(100000));
    Kenro::FileSystemArchive &fs = Kenro::FileSystemArchive::instance();
    for (auto _ : state) {
        document.toFile(fs, path, Kenro::ProjectFile::Background, nullptr);
        state.PauseTiming();
        document.waitForSave();
        state.ResumeTiming();
    }
}

} // namespace

BENCHMARK(BM_SetPlainTextFloor)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_LoadAndParse)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Keystroke)
    ->Arg(1000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_KeystrokeFloor)
    ->Arg(1000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_BackgroundSaveReturns)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
