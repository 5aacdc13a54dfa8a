// The stage with kfm's content. A mouse move while a contact box is dragged,
// without the repaint, against a move with no button down (the hit test
// alone); a repaint of the whole stage (background, rulers, guides, crosses,
// boxes, the onion sprite and kfm's largest frame) at zoom 1 and 8 on the
// off-screen surface with OpenGL and with QPainter, against QPainter drawing
// that frame's image alone at the same zoom. Run under a display with
// OpenGL (xvfb-run), with KENRO_TESTDATA set.
#include "ikemenrenderer.h"
#include "kfmstage.h"
#include "scenerenderer.h"

#include <kenro/code/animations.h>
#include <kenro/render/offscreenrenderwidget.h>
#include <kenro/render/texture.h>

#include <QApplication>
#include <QPainter>

#include <benchmark/benchmark.h>

#include "ratioreporter.h"

#include <cstdio>
#include <map>
#include <memory>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace KenroTest;

namespace {

QSize const viewSize(640, 480);
QPoint const origin(320, 440);

struct Content
{
    Kfm kfm;
    AirFrame *attack = nullptr; // 200, 2: one attack and three collision boxes
    AirFrame *largest = nullptr; // the frame of most pixels
    bool loaded = false;
};

// Made on first use, and let go before the application ends: the documents need it.
std::unique_ptr<Content> loaded;

Content &content()
{
    if (!loaded)
        loaded = std::make_unique<Content>();
    Content &c = *loaded;
    if (c.loaded || !c.kfm.load(qEnvironmentVariable("KENRO_TESTDATA")))
        return c;
    c.loaded = true;
    c.attack = c.kfm.frame(200, 2);
    qint64 most = 0;
    Animations *actions = c.kfm.air.animations();
    for (unsigned int a = 0; a < actions->count(); ++a) {
        for (FrameCode *frame : actions->at(a)->frames()) {
            auto *air = static_cast<AirFrame *>(frame);
            Sprite const *sprite = c.kfm.info(air).sprite;
            qint64 const pixels =
                sprite ? qint64(sprite->image().width()) * sprite->image().height() : 0;
            if (pixels > most) {
                most = pixels;
                c.largest = air;
            }
        }
    }
    return c;
}

bool ready(benchmark::State &state, bool gl)
{
    if (!content().loaded) {
        state.SkipWithError("KENRO_TESTDATA does not name the test data");
        return false;
    }
    if (gl && !Texture::globalGLContext()) {
        state.SkipWithError("no OpenGL: run under a display with OpenGL");
        return false;
    }
    return true;
}

// A stage of kfm's attack frame, on no surface: moves are not repainted.
void mouseBenchmark(benchmark::State &state, bool dragging)
{
    if (!ready(state, false))
        return;
    IkemenRenderer stage;
    StageSprites sprites;
    sprites.items << content().kfm.info(content().attack);
    stage.setSprites(&sprites);
    stage.setContactBoxes(ContactBoxCode::Attack, content().attack->attackBoxes());
    stage.setContactBoxes(ContactBoxCode::Collision, content().attack->collisionBoxes());
    stage.setVisibility(true, true, true, true, true, true, true);
    stage.sizeChanged(viewSize.width(), viewSize.height());
    GraphicsRenderer::setOrigin(origin);
    QPoint const box = origin + QPoint(12, -86); // inside collision box 1
    if (dragging)
        stage.mousePressed(box, Qt::LeftButton, Qt::NoModifier);
    // Counted, so that the figures show that each move of the drag moved the box.
    int step = 0, moved = 0;
    QObject::connect(&stage, &GraphicsRenderer::itemMoved, [&moved] { ++moved; });
    for (auto _ : state) {
        stage.mouseMoved(box + QPoint(step % 40, step % 23), Qt::NoModifier);
        ++step;
    }
    state.counters["moved"] = step ? double(moved) / step : 0.0;
    if (dragging)
        stage.mouseReleased(box, Qt::LeftButton, Qt::NoModifier);
}

void BM_MoveHover(benchmark::State &state)
{
    mouseBenchmark(state, false);
}
void BM_MoveDraggingBox(benchmark::State &state)
{
    mouseBenchmark(state, true);
}

// The zoom level of factor \a zoom in table 1.
unsigned char levelOf(int zoom)
{
    return zoom == 1 ? 2 : uchar(zoom + 1);
}

void BM_PlainImage(benchmark::State &state)
{
    if (!ready(state, false))
        return;
    int const zoom = int(state.range(0));
    Sprite const *sprite = content().kfm.info(content().largest).sprite;
    QImage const image = sprite->image().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QImage frame(viewSize, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        QPainter painter(&frame);
        painter.fillRect(frame.rect(), Qt::black);
        painter.scale(zoom, zoom);
        painter.drawImage(QPoint(10, 10), image);
    }
}

void repaintBenchmark(benchmark::State &state, bool gl)
{
    if (!ready(state, gl))
        return;
    GraphicsRenderer::setZoomTable(1);
    IkemenRenderer stage;
    StageSprites sprites;
    sprites.items << content().kfm.info(content().largest);
    stage.setSprites(&sprites);
    stage.setContactBoxes(ContactBoxCode::Attack, content().largest->attackBoxes());
    stage.setContactBoxes(ContactBoxCode::Collision, content().largest->collisionBoxes());
    stage.setOnionSkin(true, GraphicsRenderer::Grayscale, 0.5f);
    stage.setOnionSkinSprite(sprites.items[0].sprite, QPoint(-30, 0));
    stage.setVisibility(true, true, true, true, true, true, true);
    stage.setZoomLevel(levelOf(int(state.range(0))));
    OffScreenRenderWidget surface(gl, viewSize);
    surface.setRenderer(&stage);
    GraphicsRenderer::setOrigin(origin);
    surface.update();
    for (auto _ : state) {
        surface.update();
        if (gl)
            Texture::globalGLFunctions()->glFinish();
    }
    surface.setRenderer(nullptr);
}

void BM_RepaintPainter(benchmark::State &state)
{
    repaintBenchmark(state, false);
}
void BM_RepaintGL(benchmark::State &state)
{
    repaintBenchmark(state, true);
}

} // namespace

BENCHMARK(BM_MoveHover)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly();
BENCHMARK(BM_MoveDraggingBox)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly();
BENCHMARK(BM_PlainImage)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RepaintPainter)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RepaintGL)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatio("BM_MoveDraggingBox/repeats:5_median", "BM_MoveHover/repeats:5_median");
    for (char const *zoom : {"1", "8"}) {
        std::string const plain = std::string("BM_PlainImage/") + zoom;
        for (char const *name : {"BM_RepaintPainter/", "BM_RepaintGL/"})
            reporter.printRatio((std::string(name) + zoom).c_str(), plain.c_str());
    }
    benchmark::Shutdown();
    loaded.reset();
    return 0;
}
