// The code editor against a bare QPlainTextEdit, both shown, measured in the
// same run: one keystroke (a letter typed and taken back) in the middle of a
// script of 1,000 and of 100,000 lines, opening the 100,000 lines, and
// folding all of their sections. The script is kfm.cns of the folder named
// by KENRO_TESTDATA, repeated to the length. Run on a display or with
// QT_QPA_PLATFORM=offscreen.
#include <ikemen/script/scriptdocument.h>

#include <kenro/code/codeblockdata.h>
#include <kenro/editors/codeeditor.h>
#include <kenro/project/filesystemarchive.h>

#include <QApplication>
#include <QPlainTextDocumentLayout>
#include <QPlainTextEdit>
#include <QTest>
#include <QTextBlock>

#include <benchmark/benchmark.h>

#include "ratioreporter.h"

#include <cstdio>
#include <map>

using namespace Kenro;
using Kenro::Ikemen::ScriptDocument;

namespace {

// kfm.cns repeated to \a lines lines; empty without the test data.
QString script(int lines)
{
    static QStringList const source = [] {
        ScriptDocument document;
        QString const path =
            qEnvironmentVariable("KENRO_TESTDATA") + QStringLiteral("/game/chars/kfm/kfm.cns");
        if (!document.fromFile(FileSystemArchive::instance(), path, 0, nullptr))
            return QStringList();
        return document.toPlainText().split(QLatin1Char('\n'));
    }();
    if (source.isEmpty())
        return QString();
    QStringList out;
    while (out.size() < lines)
        out += source.mid(0, lines - int(out.size()));
    return out.join(QLatin1Char('\n'));
}

bool ready(benchmark::State &state, QString const &text)
{
    if (text.isEmpty())
        state.SkipWithError("KENRO_TESTDATA does not name the test data");
    return !text.isEmpty();
}

void showAt(QPlainTextEdit &edit, int line)
{
    edit.resize(800, 600);
    edit.show();
    QTextCursor cursor(edit.document()->findBlockByNumber(line));
    cursor.movePosition(QTextCursor::EndOfBlock);
    edit.setTextCursor(cursor);
    edit.centerCursor();
    QCoreApplication::processEvents();
}

// A letter typed and taken back, each painted.
void keystrokes(benchmark::State &state, QPlainTextEdit &edit)
{
    for (auto _ : state) {
        QTest::keyClick(&edit, Qt::Key_A);
        QCoreApplication::processEvents();
        QTest::keyClick(&edit, Qt::Key_Backspace);
        QCoreApplication::processEvents();
    }
}

void BM_KeystrokePlain(benchmark::State &state)
{
    QString const text = script(int(state.range(0)));
    if (!ready(state, text))
        return;
    QPlainTextEdit edit;
    edit.setPlainText(text);
    showAt(edit, int(state.range(0)) / 2);
    keystrokes(state, edit);
}

// The bare widget over the parsed document: what the highlighting pass
// costs apart from the editor.
void BM_KeystrokePlainScript(benchmark::State &state)
{
    QString const text = script(int(state.range(0)));
    if (!ready(state, text))
        return;
    ScriptDocument document;
    document.fromString(text);
    QPlainTextEdit edit;
    edit.setDocument(&document);
    showAt(edit, int(state.range(0)) / 2);
    keystrokes(state, edit);
    edit.setDocument(nullptr);
}

void BM_KeystrokeCodeEditor(benchmark::State &state)
{
    QString const text = script(int(state.range(0)));
    if (!ready(state, text))
        return;
    ScriptDocument document;
    document.fromString(text);
    CodeEditor editor;
    editor.setDocument(&document);
    showAt(editor, int(state.range(0)) / 2);
    keystrokes(state, editor);
    editor.setDocument(nullptr);
}

void BM_OpenPlain(benchmark::State &state)
{
    QString const text = script(100000);
    if (!ready(state, text))
        return;
    QPlainTextEdit edit;
    showAt(edit, 0);
    for (auto _ : state) {
        edit.setPlainText(text);
        QCoreApplication::processEvents();
        state.PauseTiming();
        edit.clear();
        state.ResumeTiming();
    }
}

void BM_OpenCodeEditor(benchmark::State &state)
{
    QString const text = script(100000);
    if (!ready(state, text))
        return;
    CodeEditor editor;
    showAt(editor, 0);
    for (auto _ : state) {
        auto *document = new ScriptDocument;
        document->fromString(text);
        editor.setDocument(document);
        QCoreApplication::processEvents();
        state.PauseTiming();
        editor.setDocument(nullptr);
        document->release();
        state.ResumeTiming();
    }
}

// Every section heading that follows a shallower line folded, and all
// unfolded again outside the clock.
void BM_FoldAllCodeEditor(benchmark::State &state)
{
    QString const text = script(100000);
    if (!ready(state, text))
        return;
    ScriptDocument document;
    document.fromString(text);
    CodeEditor editor;
    editor.setDocument(&document);
    showAt(editor, 0);
    auto indent = [](QTextBlock const &block) {
        CodeBlockData const *data = CodeBlockData::testBlockData(block);
        return data ? data->foldingIndent() : 0;
    };
    for (auto _ : state) {
        int folds = 0;
        for (QTextBlock b = document.begin(); b.isValid(); b = b.next()) {
            if (b.next().isValid() && b.isVisible() && indent(b.next()) > indent(b)) {
                editor.toggleBlockVisible(b);
                ++folds;
            }
        }
        QCoreApplication::processEvents();
        state.counters["folds"] = folds;
        state.PauseTiming();
        for (QTextBlock b = document.begin(); b.isValid(); b = b.next()) {
            if (CodeBlockData::testBlockData(b) && CodeBlockData::testBlockData(b)->isFolded())
                editor.toggleBlockVisible(b);
        }
        state.ResumeTiming();
    }
    editor.setDocument(nullptr);
}

} // namespace

BENCHMARK(BM_KeystrokePlain)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_KeystrokePlainScript)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_KeystrokeCodeEditor)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OpenPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_OpenCodeEditor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FoldAllCodeEditor)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter(RatioReporter::Cpu);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatio("BM_KeystrokeCodeEditor/1000", "BM_KeystrokePlain/1000");
    reporter.printRatio("BM_KeystrokeCodeEditor/100000", "BM_KeystrokePlain/100000");
    reporter.printRatio("BM_KeystrokeCodeEditor/100000", "BM_KeystrokeCodeEditor/1000");
    reporter.printRatio("BM_KeystrokePlainScript/1000", "BM_KeystrokePlain/1000");
    reporter.printRatio("BM_KeystrokePlainScript/100000", "BM_KeystrokePlain/100000");
    reporter.printRatio("BM_OpenCodeEditor", "BM_OpenPlain");
    benchmark::Shutdown();
    return 0;
}
