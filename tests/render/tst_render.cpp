// Textures and the renderer on its three surfaces: the GL surfaces draw the
// same pixels as the surfaces without GL, a frame costs only what changed,
// textures come from any thread, and events reach the renderer. Run with
// KENRO_OPENGL=0 the same suite runs with OpenGL switched off.
#include <kenro/render/glrenderwidget.h>
#include <kenro/render/offscreenrenderwidget.h>
#include <kenro/render/renderwidget.h>
#include <kenro/render/texture.h>

#include "localgl_p.h"
#include "scenerenderer.h"
#include "sffreader.h"
#include "testdata.h"

#include <QOpenGLContext>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>
#include <QtConcurrent>

using namespace Kenro;
using namespace KenroTest;
using Blend = PacketPainter::Blend;

Q_DECLARE_METATYPE(QList<KenroTest::SceneItem>)

namespace {

QSize const frameSize(320, 240);

struct Archive
{
    QList<QImage> images;
    QList<QList<RGBA>> palettes;
};

// The sprites of a real archive with their palettes: images of indices, or colours.
Archive readArchive(QString const &path)
{
    Archive archive;
    Ikemen::SffContent content;
    Ikemen::SffReader reader;
    if (!reader.read(readFile(path), content))
        return archive;
    for (Ikemen::SffPaletteData const &p : content.palettes)
        archive.palettes << QList<RGBA>(p.colors, p.colors + 256);
    for (Ikemen::SffSpriteData const &s : content.sprites)
        archive.images << s.image->image;
    return archive;
}

SceneItem item(QImage const &image, QPointF position, int palette = -1)
{
    SceneItem it;
    it.image = image;
    it.position = position;
    it.palette = palette;
    return it;
}

// Draws \a renderer on an off-screen surface, by GL or not.
QImage draw(SceneRenderer &renderer, bool openGL)
{
    OffScreenRenderWidget surface(openGL, frameSize);
    surface.setRenderer(&renderer);
    surface.update();
    QImage const out = surface.output();
    surface.setRenderer(nullptr);
    renderer.clearTextures();
    return out;
}

bool glAvailable()
{
    return Texture::isOpenGLEnabled() && Texture::globalGLContext();
}

} // namespace

class TestRender : public QObject
{
    Q_OBJECT

    Archive m_kfm;
    Archive m_font;

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariable("KENRO_OPENGL") == QLatin1String("0"))
            Texture::setOpenGLEnabled(false);
        else
            QVERIFY2(glAvailable(), "no OpenGL 2 context: run under a display with OpenGL");
        keepGLDriverLoaded();
        KENRO_REQUIRE_TESTDATA(data);
        m_kfm = readArchive(data + QStringLiteral("/game/chars/kfm/kfm.sff"));
        m_font = readArchive(data + QStringLiteral("/game/screenpack/num72.sff"));
        QVERIFY(m_kfm.images.size() > 200 && m_kfm.palettes.size() >= 4);
        QVERIFY(!m_font.images.isEmpty() && m_font.images[0].hasAlphaChannel());
    }

    void textureData_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<bool>("pad");
        QTest::addColumn<QSize>("block");
        QTest::addColumn<QSizeF>("uv");
        QTest::addColumn<int>("type");
        QImage indexed(100, 33, QImage::Format_Indexed8);
        indexed.fill(7);
        QImage mono(9, 3, QImage::Format_Mono);
        mono.fill(1);
        auto row = [](char const *name, QImage const &image, bool pad, QSize block, QSizeF uv,
                      int type) { QTest::newRow(name) << image << pad << block << uv << type; };
        row("padded", indexed, true, {128, 64}, {0.78125, 0.515625}, Texture::Indexed);
        row("not padded", indexed, false, {100, 33}, {1, 1}, Texture::Indexed);
        row("power of two", QImage(64, 32, QImage::Format_RGB888), true, {64, 32}, {1, 1},
            Texture::RGB);
        row("one pixel", QImage(1, 1, QImage::Format_ARGB32), true, {1, 1}, {1, 1}, Texture::RGBA);
        row("16 bits", QImage(3, 5, QImage::Format_RGB16), true, {4, 8}, {0.75, 0.625},
            Texture::RGB);
        row("1 bit", mono, false, {9, 3}, {1, 1}, Texture::Indexed);
        row("null", QImage(), true, {0, 0}, {0, 0}, Texture::Indexed);
    }
    void textureData()
    {
        QFETCH(QImage, image);
        QFETCH(bool, pad);
        QFETCH(QSize, block);
        QFETCH(QSizeF, uv);
        QFETCH(int, type);
        setTexturePadding(pad);
        Texture::ImageData data;
        Texture::dataFromImage(image, data);
        Texture texture(data);
        setTexturePadding(!Texture::hasNonPowerOfTwo());
        QCOMPARE(QSize(data.textureWidth, data.textureHeight), block);
        int const bytes = data.depth <= 8 ? 1 : data.depth <= 24 ? 3 : 4;
        QCOMPARE(data.data.size(), qsizetype(block.width()) * block.height() * bytes);
        QCOMPARE(int(texture.type()), type);
        QCOMPARE(texture.size(), image.size());
        if (image.isNull()) {
            QCOMPARE(texture.glId(), 0u);
            return;
        }
        QCOMPARE(texture.maximumUV(), uv);
        QCOMPARE(texture.glId() != 0, glAvailable());
        // The first pixel of the second row stands a block's width in.
        QImage const argb = image.convertToFormat(QImage::Format_ARGB32);
        if (bytes == 1 && image.format() == QImage::Format_Indexed8)
            QCOMPARE(uchar(data.data[block.width()]), image.pixelIndex(0, 1));
        if (bytes == 3 && image.height() > 1)
            QCOMPARE(uchar(data.data[3 * block.width()]), uchar(qRed(argb.pixel(0, 1))));
    }

    void colorsArePremultiplied()
    {
        QImage image(2, 2, QImage::Format_ARGB32);
        image.setPixel(0, 0, qRgba(200, 100, 50, 128));
        image.setPixel(1, 0, qRgba(255, 255, 255, 0));
        image.setPixel(0, 1, qRgba(10, 20, 30, 255));
        image.setPixel(1, 1, qRgba(255, 3, 254, 1));
        Texture::ImageData data;
        Texture::dataFromImage(image, data);
        QByteArray const expected(
            "\x64\x32\x19\x80\x00\x00\x00\x00\x0a\x14\x1e\xff\x01\x00\x00\x01", 16);
        QCOMPARE(data.data, expected);
    }

    void openGLOffFreesEveryName()
    {
        if (!glAvailable())
            QSKIP("OpenGL is off in this run: there are no names to free");
        Texture image(m_kfm.images[0]);
        Texture palette(m_kfm.palettes[0].constData());
        QVERIFY(image.glId() && palette.glId());
        QOGLFunctions::resetCallCounts();
        Texture::setOpenGLEnabled(false);
        QCOMPARE(image.glId() + palette.glId(), 0u);
        QVERIFY(QOGLFunctions::callCounts().deleteTextures >= 2);
        QCOMPARE(image.size(), m_kfm.images[0].size());
        QCOMPARE(int(image.type()), int(Texture::Indexed));
        QCOMPARE(int(palette.type()), int(Texture::Palette));
        image.fromImage(m_kfm.images[1]);
        QCOMPARE(image.glId(), 0u);
        QCOMPARE(image.size(), m_kfm.images[1].size());
        Texture::setOpenGLEnabled(true);
        image.fromImage(m_kfm.images[1]);
        QVERIFY(image.glId());
    }

    void projectionsMeetOnTheGrid_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("400x300") << QSize(400, 300);
        QTest::newRow("1x1") << QSize(1, 1);
        QTest::newRow("1920x1080") << QSize(1920, 1080);
    }
    void projectionsMeetOnTheGrid()
    {
        QFETCH(QSize, size);
        QMatrix4x4 const flat = Renderer::projection(size.width(), size.height(), false);
        QMatrix4x4 const deep = Renderer::projection(size.width(), size.height(), true);
        for (QPointF p : {QPointF(0, 0), QPointF(size.width(), size.height()),
                          QPointF(size.width() / 3.0, size.height() * 0.75)}) {
            QPointF const a = flat.map(p);
            QPointF const b = deep.map(p);
            QVERIFY2(qAbs(a.x() - b.x()) < 1e-4 && qAbs(a.y() - b.y()) < 1e-4,
                     qPrintable(QStringLiteral("%1,%2").arg(p.x()).arg(p.y())));
            // x from -1 on the left to 1 on the right, y from 1 at the top to -1 at the bottom.
            QVERIFY(qAbs(a.x() - (2 * p.x() / size.width() - 1)) < 1e-4);
            QVERIFY(qAbs(a.y() - (1 - 2 * p.y() / size.height())) < 1e-4);
        }
    }

    void scenes_data()
    {
        QTest::addColumn<QList<SceneItem>>("items");
        QList<SceneItem> sprites;
        for (int i = 0; i < 8; ++i)
            sprites << item(m_kfm.images[i * 31], QPointF(10 + i * 37, 20 + (i % 3) * 60), i % 4);
        QTest::newRow("indexed sprites, four palettes") << sprites;
        QList<SceneItem> unmasked = sprites.mid(0, 3);
        for (SceneItem &s : unmasked)
            s.mask = false;
        QTest::newRow("index 0 shown") << unmasked;
        QList<SceneItem> font;
        for (int i = 0; i < m_font.images.size(); ++i)
            font << item(m_font.images[i], QPointF((i % 8) * 38 - 3, (i / 8) * 70 + 5));
        QTest::newRow("true colour with alpha") << font;
        QList<SceneItem> flips;
        for (uchar flip = 0; flip < 4; ++flip) {
            flips << item(m_kfm.images[5], QPointF(10 + flip * 75, 30), 1)
                  << item(m_font.images[3], QPointF(10 + flip * 75, 140));
            flips[flips.size() - 2].flip = flips.back().flip = flip;
        }
        QTest::newRow("flips") << flips;
        QImage tile = m_font.images[1].copy(0, 0, 16, 16);
        SceneItem repeated = item(tile, QPointF(5, 5));
        repeated.tiles = QPoint(6, 3);
        repeated.step = QSizeF(16, 16);
        SceneItem listed = item(m_kfm.images[40], QPointF(130, 20), 2);
        listed.tiles = QPoint(2, 1);
        listed.step = QSizeF(m_kfm.images[40].width() + 3, m_kfm.images[40].height() - 5);
        listed.flip = 1;
        QTest::newRow("tiles") << QList<SceneItem>{repeated, listed};
        // A top scale such as 0.5 puts the pixel centres of the top rows exactly on
        // texel edges, where the GL may take either texel: these scales do not.
        QList<SceneItem> trapezoids;
        for (float scale : {2.0f, 0.6f}) {
            for (float anchor : {0.0f, 0.5f, 1.0f}) {
                trapezoids << item(m_kfm.images[60], QPointF(20 + trapezoids.size() * 50, 40), 0);
                trapezoids.back().topScale = scale;
                trapezoids.back().topAnchor = anchor;
            }
        }
        QTest::newRow("trapezoids") << trapezoids;
        QList<SceneItem> effects;
        for (uchar effect = 0; effect < 4; ++effect) {
            effects << item(m_kfm.images[10], QPointF(10 + effect * 75, 20), 3)
                    << item(m_font.images[5], QPointF(10 + effect * 75, 150));
            effects[effects.size() - 2].effect = effects.back().effect = effect;
            effects.back().opacity = 0.5f + 0.125f * effect;
        }
        QTest::newRow("effects and opacity") << effects;
        QList<SceneItem> blends{item(m_kfm.images[0], QPointF(0, 0), 0)};
        blends[0].tiles = QPoint(4, 2);
        blends[0].step = QSizeF(70, 90);
        auto blend = [](Renderer::BlendEquation e, Renderer::BlendFactor s,
                        Renderer::BlendFactor d) {
            Blend b;
            b.enabled = true;
            b.equation = e;
            b.source = s;
            b.destination = d;
            b.constant = QColor(64, 128, 192, 96);
            return b;
        };
        QList<Blend> const modes{
            blend(Renderer::Add, Renderer::SourceAlpha, Renderer::OneMinusSourceAlpha),
            blend(Renderer::Add, Renderer::One, Renderer::One),
            blend(Renderer::ReverseSubtract, Renderer::One, Renderer::One),
            blend(Renderer::Add, Renderer::DestinationColor, Renderer::Zero),
            blend(Renderer::Add, Renderer::SourceColor, Renderer::OneMinusSourceAlpha),
            blend(Renderer::Add, Renderer::ConstantAlpha, Renderer::ConstantColor),
            blend(Renderer::ReverseSubtract, Renderer::SourceAlpha, Renderer::One)};
        for (qsizetype i = 0; i < modes.size(); ++i) {
            blends << item(m_kfm.images[100 + i], QPointF(5 + (i % 4) * 75, 10 + (i / 4) * 110),
                           int(i % 4))
                   << item(m_font.images[i], QPointF(30 + (i % 4) * 75, 40 + (i / 4) * 110));
            blends[blends.size() - 2].blend = blends.back().blend = modes[i];
        }
        QTest::newRow("blend equations and factors") << blends;
    }
    void scenes()
    {
        // The GL surface against PacketPainter, which the surfaces without GL use.
        QFETCH(QList<SceneItem>, items);
        SceneRenderer renderer;
        renderer.items = items;
        renderer.palettes = m_kfm.palettes.mid(0, 4);
        QImage const software = draw(renderer, false);
        QCOMPARE(renderer.drawn, items.size());
        QImage const gl = draw(renderer, true);
        QString const name = QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'-');
        software.save(picturePath(name + QStringLiteral("-painter.png")));
        gl.save(picturePath(name + QStringLiteral("-gl.png")));
        // Something must be drawn for the comparison to mean anything.
        QImage empty(frameSize, QImage::Format_ARGB32_Premultiplied);
        empty.fill(renderer.background);
        int covered = 0;
        largestDifference(software, empty, &covered);
        QVERIFY(covered > 2000);
        int differing = 0;
        QImage map;
        int const largest = largestDifference(software, gl, &differing, &map);
        map.save(picturePath(name + QStringLiteral("-differences.png")));
        QVERIFY2(largest <= 1,
                 qPrintable(QStringLiteral("%1 pixels differ, by up to %2; see %3")
                                .arg(differing)
                                .arg(largest)
                                .arg(picturePath(name))));
    }

    void geometry_data()
    {
        QTest::addColumn<uchar>("flip");
        QTest::addColumn<float>("topScale");
        QTest::addColumn<float>("topAnchor");
        QTest::addColumn<QString>("topRow"); // first and last covered column of the top row
        addRow("across", uchar(1), 1.0f, 0.5f, "100 139");
        addRow("down", uchar(2), 1.0f, 0.5f, "100 139");
        addRow("both", uchar(3), 1.0f, 0.5f, "100 139");
        addRow("top x2 from the left", uchar(0), 2.0f, 0.0f, "100 178");
        addRow("top x2 centred", uchar(0), 2.0f, 0.5f, "80 159");
        addRow("top x2 from the right", uchar(0), 2.0f, 1.0f, "61 139");
        addRow("top x0.5 centred", uchar(0), 0.5f, 0.5f, "110 129");
    }
    void geometry()
    {
        // The surfaces share a packet's geometry: checked on the software path alone.
        QFETCH(uchar, flip);
        QFETCH(float, topScale);
        QFETCH(float, topAnchor);
        QFETCH(QString, topRow);
        QImage image(40, 30, QImage::Format_ARGB32);
        for (int i = 0; i < 40 * 30; ++i)
            image.setPixel(i % 40, i / 40, qRgb(i % 40 * 6, i / 40 * 8, 200));
        SceneRenderer renderer;
        renderer.items = {item(image, QPointF(100, 50))};
        QImage const plain = draw(renderer, false).copy(100, 50, 40, 30);
        SceneItem &shown = renderer.items[0];
        shown.flip = flip, shown.topScale = topScale, shown.topAnchor = topAnchor;
        QImage const drawn = draw(renderer, false);
        QStringList covered;
        for (int x = 0; x < drawn.width(); ++x)
            if (drawn.pixelColor(x, 50) != renderer.background)
                covered << QString::number(x);
        QCOMPARE(covered.first() + u' ' + covered.last(), topRow);
        if (topScale == 1.0f)
            QCOMPARE(drawn.copy(100, 50, 40, 30), plain.mirrored(flip & 1, flip & 2));
    }

    void onScreenSurfaces()
    {
        // The widgets draw what the off-screen surfaces draw.
        SceneRenderer renderer;
        renderer.palettes = m_kfm.palettes.mid(0, 4);
        for (int i = 0; i < 6; ++i)
            renderer.items << item(m_kfm.images[i * 17], QPointF(i * 50, 20 + i * 10), i % 4);
        // Blending for premultiplied colour keeps the frame opaque, as a window shows it.
        renderer.items << item(m_font.images[2], QPointF(200, 120));
        renderer.items.back().blend.enabled = true;
        renderer.items.back().blend.source = Renderer::One;
        QImage const software = draw(renderer, false);
        RenderWidget plain;
        plain.resize(frameSize);
        plain.setRenderer(&renderer);
        plain.show();
        QVERIFY(QTest::qWaitForWindowExposed(&plain));
        QCOMPARE(largestDifference(plain.grab().toImage(), software), 0);
        plain.setRenderer(nullptr);
        renderer.clearTextures();
        if (!glAvailable())
            return;
        QImage const gl = draw(renderer, true);
        GLRenderWidget widget;
        widget.resize(frameSize);
        widget.setRenderer(&renderer);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QVERIFY(widget.isUsable() && renderer.isOpenGL());
        QCOMPARE(largestDifference(widget.grabFramebuffer(), gl), 0);
        widget.setRenderer(nullptr);
        QVERIFY(!renderer.isOpenGL());
    }

    void framesCostWhatChanged()
    {
        if (!glAvailable())
            QSKIP("OpenGL is off in this run: nothing is uploaded or bound");
        // Sprites in runs of one effect: a program is bound once a run.
        SceneRenderer renderer;
        renderer.palettes = m_kfm.palettes.mid(0, 4);
        uchar const effects[] = {0, 0, 0, 1, 1, 0, 0, 2};
        for (int i = 0; i < 8; ++i) {
            renderer.items << item(m_kfm.images[i * 20], QPointF(i * 35, 40), i / 2);
            renderer.items.back().effect = effects[i];
        }
        OffScreenRenderWidget surface(true, frameSize);
        surface.setRenderer(&renderer);
        surface.update();
        QOGLFunctions::resetCallCounts();
        surface.update();
        QOGLFunctions::CallCounts const plain = QOGLFunctions::callCounts();
        QCOMPARE(plain.texImage2D, 0);
        QCOMPARE(plain.drawArrays, 8);
        QCOMPARE(plain.useProgram, 4 + 1); // four runs, then the program is let go
        QImage const before = surface.output();
        // A palette change is one 256 x 1 upload, and the frame after it costs what any does.
        QList<RGBA> red(256, RGBA{255, 0, 0, 255});
        red[0].a = 0;
        QOGLFunctions::resetCallCounts();
        renderer.setPalette(1, red);
        QOGLFunctions::CallCounts const change = QOGLFunctions::callCounts();
        QCOMPARE(change.texImage2D, 1);
        QCOMPARE(change.texturePixels, 256);
        QOGLFunctions::resetCallCounts();
        surface.update();
        QOGLFunctions::CallCounts const after = QOGLFunctions::callCounts();
        QCOMPARE(after.texImage2D, 0);
        QCOMPARE(after.bindTexture, plain.bindTexture);
        QCOMPARE(after.useProgram, plain.useProgram);
        // The sprites of palette 1 turned red, and only they.
        QRect repainted;
        for (SceneItem const &it : renderer.items.mid(2, 2))
            repainted |= QRect(it.position.toPoint(), it.image.size());
        QImage const changed = surface.output();
        QImage map;
        int differing = 0;
        largestDifference(before, changed, &differing, &map);
        QVERIFY(differing > 100);
        for (int y = 0; y < map.height(); ++y) {
            for (int x = 0; x < map.width(); ++x)
                QVERIFY(map.pixel(x, y) == qRgb(0, 0, 0) || repainted.contains(x, y));
        }
        surface.setRenderer(nullptr);
    }

    void culling_data()
    {
        QTest::addColumn<QPointF>("origin");
        QTest::addColumn<int>("drawn");
        QTest::newRow("inside") << QPointF(0, 0) << 500;
        QTest::newRow("right") << QPointF(400, 0) << 0;
        QTest::newRow("above") << QPointF(0, -500) << 0;
        QTest::newRow("left, one pixel in") << QPointF(-m_kfm.images[0].width() + 1, 0) << 500;
    }
    void culling()
    {
        QFETCH(QPointF, origin);
        QFETCH(int, drawn);
        SceneRenderer renderer;
        renderer.cull = true;
        renderer.palettes = m_kfm.palettes.mid(0, 1);
        for (int i = 0; i < 500; ++i)
            renderer.items << item(m_kfm.images[0], origin + QPointF(0, (i % 10) * 10), 0);
        for (bool gl : {false, true}) {
            if (gl && !glAvailable())
                continue;
            draw(renderer, gl);
            QCOMPARE(renderer.drawn, drawn);
            QCOMPARE(renderer.culled, 500 - drawn);
        }
    }

    void texturesFromThreads()
    {
        // Workers make, fill, swap and free textures while the main thread draws.
        QOGLFunctions::resetCallCounts();
        SceneRenderer renderer;
        renderer.palettes = m_kfm.palettes.mid(0, 1);
        renderer.items << item(m_kfm.images[3], QPointF(10, 10), 0);
        OffScreenRenderWidget surface(true, frameSize);
        surface.setRenderer(&renderer);
        QList<QImage> const images = m_kfm.images.mid(0, 40);
        QAtomicInt named;
        QList<QFuture<void>> futures;
        for (int task = 0; task < 8; ++task) {
            futures << QtConcurrent::run([&images, &named, task] {
                for (int i = task; i < images.size(); i += 8) {
                    Texture::ImageData data;
                    Texture::dataFromImage(images[i], data);
                    Texture a(data);
                    Texture b(images[(i + 1) % images.size()]);
                    a.swap(b);
                    named.fetchAndAddRelaxed((a.glId() && b.glId() && a.glId() != b.glId()) ? 1
                                                                                            : 0);
                    b.reset();
                }
            });
        }
        auto running = [&futures] {
            return std::any_of(futures.begin(), futures.end(),
                               [](QFuture<void> const &f) { return !f.isFinished(); });
        };
        while (running()) {
            surface.update();
            QCoreApplication::processEvents();
        }
        surface.setRenderer(nullptr);
        renderer.clearTextures();
        QOGLFunctions::CallCounts const counts = QOGLFunctions::callCounts();
        QCOMPARE(counts.offMainThread, 0);
        QCOMPARE(named.loadRelaxed(), glAvailable() ? images.size() : 0);
        // Every name made by the workers was given back.
        if (glAvailable())
            QCOMPARE(counts.deleteTextures, counts.texImage2D);
    }

    void viewportIsACentredSquare()
    {
        if (!glAvailable())
            QSKIP("OpenGL is off in this run: there is no viewport");
        SceneRenderer renderer;
        GLRenderWidget widget;
        widget.resize(400, 300);
        widget.setRenderer(&renderer);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        widget.makeCurrent();
        widget.setupViewport(400, 300);
        GLint viewport[4];
        renderer.glGetIntegerv(GL_VIEWPORT, viewport);
        QCOMPARE(QRect(viewport[0], viewport[1], viewport[2], viewport[3]), QRect(50, 0, 300, 300));
        // The matrices still span the whole widget.
        QPointF const corner = renderer.viewProjectionMatrix().map(QPointF(400, 300));
        QVERIFY(qAbs(corner.x() - 1) < 1e-5 && qAbs(corner.y() + 1) < 1e-5);
        widget.doneCurrent();
    }

    void customPixelShader()
    {
        if (!glAvailable())
            QSKIP("OpenGL is off in this run: there are no shaders");
        SceneRenderer renderer;
        renderer.items << item(m_font.images[0], QPointF(0, 0));
        GLRenderWidget widget;
        widget.resize(frameSize);
        widget.setRenderer(&renderer);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        widget.setCustomPixelShader(nullptr,
                                    "uniform highp vec4 tint;\n"
                                    "void main() { gl_FragColor = tint; }\n");
        int told = 0;
        connect(&widget, &GLRenderWidget::setCustomShaderUniformValues, this,
                [&told](QOGLShaderProgram *program) {
                    ++told;
                    program->setUniformValue("tint", QVector4D(0.0f, 1.0f, 0.0f, 1.0f));
                });
        QImage const image = widget.grabFramebuffer();
        QVERIFY(told > 0);
        QCOMPARE(image.pixelColor(5, 5), QColor(0, 255, 0));
        QCOMPARE(image.pixelColor(300, 230), renderer.background);
    }

    void events_data()
    {
        QTest::addColumn<bool>("gl");
        QTest::newRow("QPainter widget") << false;
        if (glAvailable())
            QTest::newRow("OpenGL widget") << true;
    }
    void events()
    {
        QFETCH(bool, gl);
        SceneRenderer renderer;
        renderer.palettes = m_kfm.palettes.mid(0, 1);
        renderer.items << item(m_kfm.images[0], QPointF(10, 10), 0);
        std::unique_ptr<QWidget> widget;
        if (gl)
            widget = std::make_unique<GLRenderWidget>();
        else
            widget = std::make_unique<RenderWidget>();
        widget->resize(frameSize);
        dynamic_cast<RenderWidgetBase *>(widget.get())->setRenderer(&renderer);
        widget->show();
        widget->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(widget.get()));
        QCOMPARE(renderer.widget(), widget.get());
        QVERIFY(renderer.events.contains(QStringLiteral("size 320x240")));
        renderer.events.clear();
        QTest::mousePress(widget.get(), Qt::LeftButton, Qt::ShiftModifier, QPoint(10, 20));
        QVERIFY(widget->hasFocus());
        QTest::mouseMove(widget.get(), QPoint(30, 40));
        QTest::mouseRelease(widget.get(), Qt::RightButton, Qt::NoModifier, QPoint(31, 41));
        QTest::keyClick(widget.get(), Qt::Key_A, Qt::NoModifier);
        QKeyEvent repeat(QEvent::KeyRelease, Qt::Key_B, Qt::NoModifier, QStringLiteral("b"), true);
        QCoreApplication::sendEvent(widget.get(), &repeat);
        QWheelEvent wheel(QPointF(5, 5), widget->mapToGlobal(QPointF(5, 5)), QPoint(),
                          QPoint(0, -240), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(widget.get(), &wheel);
        widget->resize(200, 100);
        QTRY_VERIFY(renderer.events.contains(QStringLiteral("size 200x100")));
        QStringList expected{QStringLiteral("press 10,20 1 %1").arg(int(Qt::ShiftModifier)),
                             QStringLiteral("move 30,40 0"),
                             QStringLiteral("release 31,41 2 0"),
                             QStringLiteral("press key %1 0").arg(Qt::Key_A),
                             QStringLiteral("release key %1 0").arg(Qt::Key_A),
                             QStringLiteral("text a %1").arg(Qt::Key_A)};
        // An auto-repeated release reaches the renderer of the QPainter widget only.
        if (!gl)
            expected << QStringLiteral("release key %1 0").arg(Qt::Key_B)
                     << QStringLiteral("text b %1").arg(Qt::Key_B);
        expected << QStringLiteral("wheel -240") << QStringLiteral("size 200x100");
        QCOMPARE(renderer.events, expected);
    }

    void randomInput_data() { events_data(); }
    void randomInput()
    {
        // Thousands of events and frames in any order: each reaches the renderer once.
        QFETCH(bool, gl);
        SceneRenderer renderer;
        renderer.palettes = m_kfm.palettes.mid(0, 4);
        for (int i = 0; i < 6; ++i)
            renderer.items << item(m_kfm.images[i * 9], QPointF(i * 40, 30), i % 4);
        std::unique_ptr<QWidget> widget;
        if (gl)
            widget = std::make_unique<GLRenderWidget>();
        else
            widget = std::make_unique<RenderWidget>();
        widget->resize(frameSize);
        auto *surface = dynamic_cast<RenderWidgetBase *>(widget.get());
        surface->setRenderer(&renderer);
        widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(widget.get()));
        QRandomGenerator random(21);
        int presses = 0, wheels = 0;
        renderer.events.clear();
        for (int i = 0; i < 3000; ++i) {
            QPoint const at(random.bounded(widget->width()), random.bounded(widget->height()));
            auto const button = Qt::MouseButton(1 << random.bounded(3));
            auto const modifiers = Qt::KeyboardModifiers(random.bounded(4) << 25);
            switch (random.bounded(8)) {
            case 0:
                QTest::mousePress(widget.get(), button, modifiers, at);
                ++presses;
                break;
            case 1:
                QTest::mouseRelease(widget.get(), button, modifiers, at);
                break;
            case 2:
                QTest::mouseMove(widget.get(), at);
                break;
            case 3: {
                QWheelEvent wheel(at, widget->mapToGlobal(at), QPoint(),
                                  QPoint(0, random.bounded(-480, 480)), Qt::NoButton, modifiers,
                                  Qt::NoScrollPhase, false);
                QCoreApplication::sendEvent(widget.get(), &wheel);
                ++wheels;
                break;
            }
            case 4:
                QTest::keyClick(widget.get(), Qt::Key(Qt::Key_A + random.bounded(26)), modifiers);
                break;
            case 5:
                widget->resize(50 + random.bounded(400), 50 + random.bounded(300));
                break;
            case 6:
                surface->setRenderer(random.bounded(4) ? &renderer : nullptr);
                break;
            default:
                surface->update();
                QCoreApplication::processEvents();
                break;
            }
        }
        surface->setRenderer(&renderer);
        QCoreApplication::processEvents();
        QVERIFY(renderer.frames > 0);
        QVERIFY(presses > 0 && wheels > 0);
        // Events sent while no renderer was set went nowhere.
        QVERIFY(renderer.events.filter(QRegularExpression(QStringLiteral("^press \\d"))).size() <=
                presses);
        QVERIFY(renderer.events.filter(QStringLiteral("wheel")).size() <= wheels);
    }
};

QTEST_MAIN(TestRender)
#include "tst_render.moc"
