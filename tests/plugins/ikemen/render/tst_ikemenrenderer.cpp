// kfm's actions on the plug-in's stage, drawn off-screen by OpenGL and by
// QPainter: every opaque pixel of the sprites where their axis, flips, scale
// and blend put them, and the crosses, guides, rulers and box corners where
// the stage puts them, at zoom 1, 2 and 4. Run with KENRO_OPENGL=0 the same
// suite runs with OpenGL switched off.
#include "ikemenrenderer.h"

#include <kfmstage.h>
#include <scenerenderer.h>
#include <testdata.h>

#include <kenro/render/offscreenrenderwidget.h>
#include <kenro/render/texture.h>

#include <QTest>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace KenroTest;

namespace {

QSize const viewSize(640, 480);
QPoint const origin(320, 440);
QColor const first(30, 30, 60), second(90, 90, 140);
QPoint const crossAt[3] = {{0, 0}, {-40, -60}, {60, -90}};
QRgb const crossColor[3] = {qRgb(255, 0, 0), qRgb(0, 96, 255), qRgb(0, 200, 0)};
QPoint const guides(-70, 8);

bool glAvailable()
{
    return Texture::isOpenGLEnabled() && Texture::globalGLContext();
}

// The stage on an off-screen surface, showing crosses, attack and collision boxes, rulers, guides.
QImage draw(GraphicsRenderer &stage, bool gl, QString const &show)
{
    auto on = [&show](char c) { return show.contains(QLatin1Char(c)); };
    stage.setVisibility(on('x'), on('x'), on('x'), on('c'), on('a'), on('r'), on('g'));
    OffScreenRenderWidget surface(gl, viewSize);
    surface.setRenderer(&stage);
    GraphicsRenderer::setOrigin(origin);
    surface.update();
    QImage const out = surface.output().convertToFormat(QImage::Format_RGB32);
    surface.setRenderer(nullptr);
    return out;
}

// Paints the opaque pixels of \a item into \a expected where the stage puts
// them, s pixels a world unit, and marks them in \a covered.
void expectSprite(QImage &expected, QImage &covered, SpriteProvider::Info const &item, int s,
                  bool grey)
{
    auto const *sprite = static_cast<SffSprite const *>(item.sprite);
    QImage const image = sprite->image();
    int const sx = s * int(item.scale.x()), sy = s * int(item.scale.y());
    QPoint const at = origin + (item.position * s).toPoint(), axis = sprite->axis();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QRgb c = image.pixel(x, y);
            if (qAlpha(c) == 0)
                continue;
            c = grey ? qRgb(qRed(c), qRed(c), qRed(c)) : c;
            int const left = at.x() + (item.flip & 1 ? axis.x() - x - 1 : x - axis.x()) * sx;
            int const top = at.y() + (item.flip & 2 ? axis.y() - y - 1 : y - axis.y()) * sy;
            for (int py = top; py < top + sy; ++py) {
                for (int px = left; px < left + sx; ++px) {
                    if (!expected.valid(px, py))
                        continue;
                    QRgb const d = expected.pixel(px, py);
                    expected.setPixel(px, py,
                                      item.blendMode ? qRgb(std::min(255, qRed(d) + qRed(c)),
                                                            std::min(255, qGreen(d) + qGreen(c)),
                                                            std::min(255, qBlue(d) + qBlue(c)))
                                                     : c);
                    covered.setPixel(px, py, 1);
                }
            }
        }
    }
}

QString colorAt(QImage const &image, int x, int y)
{
    return image.valid(x, y) ? QColor(image.pixel(x, y)).name() : QStringLiteral("outside");
}

} // namespace

class TestIkemenRenderer : public QObject
{
    Q_OBJECT

    Kfm m_kfm;

private Q_SLOTS:
    void initTestCase()
    {
        if (qEnvironmentVariable("KENRO_OPENGL") == QLatin1String("0"))
            Texture::setOpenGLEnabled(false);
        else
            QVERIFY2(glAvailable(), "no OpenGL 2 context: run under a display with OpenGL");
        keepGLDriverLoaded();
        KENRO_REQUIRE_TESTDATA(data);
        QVERIFY(m_kfm.load(data));
        GraphicsRenderer::setBackground(first, second, GraphicsRenderer::GradientOnly, QPoint(),
                                        QString(), QSize());
        GraphicsRenderer::setPriority(true, false);
        GraphicsRenderer::setZoomTable(0);
        GraphicsRenderer::setZoomMode(GraphicsRenderer::ZoomAroundOrigin);
    }

    void kfmActions_data()
    {
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("frame");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("flip");
        QTest::addColumn<QPointF>("scale");
        QTest::addColumn<bool>("added");
        addRow("standing 1x", 0, 0, 3, 0, QPointF(1, 1), false);
        addRow("standing 2x flipped", 0, 4, 5, 1, QPointF(1, 1), false);
        addRow("standing 4x upside down", 0, 5, 11, 3, QPointF(1, 1), false);
        addRow("attack 1x added", 200, 2, 3, 0, QPointF(1, 1), true);
        addRow("attack 2x wide", 200, 2, 5, 0, QPointF(2, 1), false);
        addRow("attack 4x flipped", 200, 2, 11, 2, QPointF(1, 1), false);
    }
    void kfmActions()
    {
        QFETCH(int, action);
        QFETCH(int, frame);
        QFETCH(int, level);
        QFETCH(int, flip);
        QFETCH(QPointF, scale);
        QFETCH(bool, added);
        AirFrame *shown = m_kfm.frame(action, frame);
        QVERIFY(shown);
        StageSprites sprites;
        sprites.items << m_kfm.info(shown);
        SpriteProvider::Info &item = sprites.items[0];
        item.flip = uchar(flip);
        item.scale = scale;
        item.blendMode = added ? FrameCode::Blend::Addition : FrameCode::Blend::None;
        SpriteProvider::Info onion = m_kfm.info(m_kfm.frame(action, 0));
        onion.position = QPointF(-60, 0);
        for (bool gl : {false, true}) {
            if (gl && !glAvailable())
                continue;
            IkemenRenderer stage;
            stage.setZoomLevel(uchar(level));
            int const s = int(stage.zoomFactor()), t = s;
            for (int i = 0; i < 3; ++i)
                stage.setItemPosition(GraphicsRenderer::ItemType(i), crossAt[i], 0, false);
            stage.setGuideLines(guides);
            stage.setContactBoxes(ContactBoxCode::Attack, shown->attackBoxes());
            stage.setContactBoxes(ContactBoxCode::Collision, shown->collisionBoxes());
            stage.setOnionSkinSprite(onion.sprite, onion.position.toPoint());
            QImage expected = draw(stage, gl, QString());
            stage.setSprites(&sprites);
            stage.setOnionSkin(true, GraphicsRenderer::Grayscale, 1.0f);
            QImage const drawn = draw(stage, gl, QString());
            QImage covered(viewSize, QImage::Format_Mono);
            covered.fill(0);
            expectSprite(expected, covered, onion, s, true);
            expectSprite(expected, covered, item, s, false);
            int count = 0, wrong = 0;
            QString firstWrong;
            for (int y = 0; y < viewSize.height(); ++y) {
                for (int x = 0; x < viewSize.width(); ++x) {
                    if (!covered.pixelIndex(x, y))
                        continue;
                    ++count;
                    QRgb const a = drawn.pixel(x, y), b = expected.pixel(x, y);
                    if (std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                                  std::abs(qBlue(a) - qBlue(b))}) > 1 &&
                        !wrong++)
                        firstWrong = QStringLiteral("%1,%2 is %3, not %4")
                                         .arg(x)
                                         .arg(y)
                                         .arg(colorAt(drawn, x, y), colorAt(expected, x, y));
                }
            }
            QVERIFY(count > 2000 * s);
            QVERIFY2(
                !wrong,
                qPrintable(
                    QStringLiteral("%1 pixels of %2: %3").arg(wrong).arg(count).arg(firstWrong)));

            // Each kind of box alone: its edges reach the corners the file gives.
            for (auto type : {ContactBoxCode::Attack, ContactBoxCode::Collision}) {
                QImage const boxes = draw(stage, gl,
                                          type == ContactBoxCode::Attack ? QStringLiteral("a")
                                                                         : QStringLiteral("c"));
                QList<QRect> const rects = shown->contactBoxes(type)->rects();
                QRgb const color =
                    type == ContactBoxCode::Attack ? qRgb(255, 0, 0) : qRgb(0, 0, 255);
                auto inOther = [&](QPoint p, qsizetype self) {
                    for (qsizetype j = 0; j < rects.size(); ++j) {
                        QRect const r(origin + rects[j].topLeft() * s, rects[j].size() * s);
                        if (j != self && r.adjusted(-1, -1, 1, 1).contains(p))
                            return true;
                    }
                    return false;
                };
                for (qsizetype i = 0; i < rects.size(); ++i) {
                    QRect const r(origin + rects[i].topLeft() * s, rects[i].size() * s);
                    for (QPoint c : {r.topLeft(), r.topRight(), r.bottomLeft(), r.bottomRight()}) {
                        QPoint const out(c.x() + (c.x() == r.left() ? -1 : 1), c.y());
                        if (!inOther(c, i))
                            QCOMPARE(colorAt(boxes, c.x(), c.y()), QColor(color).name());
                        if (!inOther(out, i))
                            QVERIFY(colorAt(boxes, out.x(), out.y()) != QColor(color).name());
                    }
                    if (r.width() > 2 * t && !inOther(r.topLeft() + QPoint(t, t), i))
                        QVERIFY(colorAt(boxes, r.left() + t, r.top() + t) != QColor(color).name());
                }
            }

            // Everything: the crosses' middle and arm ends, the guides, the rulers.
            QImage const full = draw(stage, gl, QStringLiteral("xacrg"));
            full.save(picturePath(
                QStringLiteral("kfm-%1-%2-%3.png")
                    .arg(QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'-'))
                    .arg(gl ? QStringLiteral("gl") : QStringLiteral("painter"))
                    .arg(s)));
            QStringList seen, wanted;
            auto look = [&](QPoint p, QRgb c) {
                seen << QStringLiteral("%1,%2 %3")
                            .arg(p.x())
                            .arg(p.y())
                            .arg(colorAt(full, p.x(), p.y()));
                wanted << QStringLiteral("%1,%2 %3").arg(p.x()).arg(p.y()).arg(QColor(c).name());
            };
            for (int i = 0; i < 3; ++i) {
                QPoint const at = origin + crossAt[i] * s;
                look(at, crossColor[i]);
                look(at + QPoint(7 * t, 0), crossColor[i]);
                look(at + QPoint(0, -7 * t), crossColor[i]);
            }
            QRgb const cyan = qRgb(0, 255, 255), inverse = qRgb(225, 225, 195);
            QPoint const guide = origin + guides * s;
            look(QPoint(guide.x(), 35), cyan);
            look(QPoint(guide.x() + t - 1, 35), cyan);
            look(QPoint(35, guide.y()), cyan);
            look(QPoint(35, guide.y() + t - 1), cyan);
            int const pixelStep = int(std::max(1, int(10 / s)) * s), major = 5 * pixelStep;
            // The first long tick of a bar has no number beside it.
            look(QPoint(origin.x() - (origin.x() - 30) / major * major, 21), inverse);
            look(QPoint(21, origin.y() - (origin.y() - 30) / major * major), inverse);
            look(QPoint(5, 5), first.rgb());
            look(QPoint(15, 15), first.rgb());
            look(QPoint(origin.x() + 2 * pixelStep + 1, 15), second.rgb());
            look(QPoint(origin.x(), 28), inverse);
            look(QPoint(origin.x() + pixelStep, 25), inverse);
            look(QPoint(origin.x() + pixelStep, 22), first.rgb());
            look(QPoint(27, origin.y()), inverse);
            look(QPoint(25, origin.y() - pixelStep), inverse);
            look(QPoint(22, origin.y() - pixelStep), first.rgb());
            QCOMPARE(seen.join(u'\n'), wanted.join(u'\n'));
        }
    }
};

QTEST_MAIN(TestIkemenRenderer)
#include "tst_ikemenrenderer.moc"
