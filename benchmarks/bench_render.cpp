// A frame of 500 sprites of kfm's archive with four palettes: drawn by the
// off-screen OpenGL surface, against the same scene drawn by QPainter from
// images made once, the baseline; the GL frame right after a palette change
// and a frame whose sprites all lie outside the view, against the plain GL
// frame. Run under a display with OpenGL (xvfb-run), with KENRO_TESTDATA set.
#include "scenerenderer.h"
#include "sffreader.h"

#include <kenro/render/offscreenrenderwidget.h>
#include <kenro/render/texture.h>

#include <QApplication>
#include <QFile>
#include <QPainter>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#include "ratioreporter.h"

#include <cstdio>
#include <map>

using namespace Kenro;
using namespace KenroTest;

namespace {

QSize const frameSize(640, 480);

struct Scene
{
    QList<SceneItem> items;
    QList<QList<RGBA>> palettes;
    QList<QImage> colored; ///< the items as the painter draws them, made once
};

Scene const &scene()
{
    static Scene s = [] {
        Scene made;
        QFile file(qEnvironmentVariable("KENRO_TESTDATA") +
                   QStringLiteral("/game/chars/kfm/kfm.sff"));
        Ikemen::SffContent content;
        if (!file.open(QIODevice::ReadOnly) || !Ikemen::SffReader().read(file.readAll(), content))
            return made;
        for (int p = 0; p < 4; ++p)
            made.palettes << QList<RGBA>(content.palettes[p].colors,
                                         content.palettes[p].colors + 256);
        QRandomGenerator random(5);
        for (int i = 0; i < 500; ++i) {
            SceneItem item;
            item.image = content.sprites[i % content.sprites.size()].image->image;
            item.palette = i % 4;
            item.position = QPointF(random.bounded(frameSize.width()) - 60,
                                    random.bounded(frameSize.height()) - 60);
            made.items << item;
            QImage colored = item.image;
            QList<QRgb> table;
            for (RGBA const &c : made.palettes[item.palette])
                table << c.toQRgb();
            table[0] = 0;
            colored.setColorTable(table);
            made.colored << colored.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        }
        return made;
    }();
    return s;
}

bool ready(benchmark::State &state)
{
    if (scene().items.isEmpty()) {
        state.SkipWithError("KENRO_TESTDATA does not name the test data");
        return false;
    }
    if (!Texture::globalGLContext()) {
        state.SkipWithError("no OpenGL: run under a display with OpenGL");
        return false;
    }
    return true;
}

// One frame drawn and finished by the GL.
void glFrame(OffScreenRenderWidget &surface)
{
    surface.update();
    Texture::globalGLFunctions()->glFinish();
}

void BM_PainterFrame(benchmark::State &state)
{
    if (scene().items.isEmpty())
        return state.SkipWithError("KENRO_TESTDATA does not name the test data");
    QImage frame(frameSize, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        QPainter painter(&frame);
        painter.fillRect(frame.rect(), QColor(20, 40, 60));
        for (qsizetype i = 0; i < scene().items.size(); ++i)
            painter.drawImage(scene().items[i].position, scene().colored[i]);
    }
}

void glBenchmark(benchmark::State &state, bool changePalette, bool outside)
{
    if (!ready(state))
        return;
    SceneRenderer renderer;
    renderer.items = scene().items;
    renderer.palettes = scene().palettes;
    renderer.cull = true;
    if (outside) {
        for (SceneItem &item : renderer.items)
            item.position += QPointF(2000, 2000);
    }
    OffScreenRenderWidget surface(true, frameSize);
    surface.setRenderer(&renderer);
    glFrame(surface);
    QList<RGBA> other = scene().palettes[0];
    std::reverse(other.begin() + 1, other.end());
    int frame = 0;
    for (auto _ : state) {
        if (changePalette) {
            int const p = frame % 4;
            renderer.setPalette(p, (frame / 4) % 2 ? scene().palettes[p] : other);
        }
        glFrame(surface);
        ++frame;
    }
    state.counters["drawn"] = renderer.drawn;
    surface.setRenderer(nullptr);
}

void BM_GLFrame(benchmark::State &state)
{
    glBenchmark(state, false, false);
}
void BM_GLFrameAfterPaletteChange(benchmark::State &state)
{
    glBenchmark(state, true, false);
}
void BM_GLFrameAllCulled(benchmark::State &state)
{
    glBenchmark(state, false, true);
}

} // namespace

BENCHMARK(BM_PainterFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GLFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GLFrameAfterPaletteChange)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GLFrameAllCulled)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatio("BM_GLFrame", "BM_PainterFrame");
    reporter.printRatio("BM_GLFrameAfterPaletteChange", "BM_GLFrame");
    reporter.printRatio("BM_GLFrameAllCulled", "BM_GLFrame");
    benchmark::Shutdown();
    return 0;
}
