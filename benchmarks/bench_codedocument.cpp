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
    for (int i = 0; i < lines; ++i) {
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

// Types and takes back one character at the end of the middle line, which
// an editor would have laid out since it shows the cursor there.
void typeInTheMiddle(QTextDocument &document, benchmark::State &state)
{
    QTextCursor cursor(document.findBlockByNumber(static_cast<int>(state.range(0) / 2) + 1));
    cursor.movePosition(QTextCursor::EndOfBlock);
    document.documentLayout()->blockBoundingRect(cursor.block());
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

BENCHMARK(BM_SetPlainTextFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadAndParse)->Unit(benchmark::kMillisecond);
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
