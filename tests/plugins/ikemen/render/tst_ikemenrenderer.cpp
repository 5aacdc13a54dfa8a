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

#include <QTest>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace KenroTest;
using namespace Qt::StringLiterals;

namespace {

QSize const viewSize(640, 480);
QPoint const origin(320, 440);
QColor const first(30, 30, 60), second(90, 90, 140);
QPoint const crossAt[3] = {{0, 0}, {-40, -60}, {60, -90}};
QRgb const crossColor[3] = {qRgb(255, 0, 0), qRgb(0, 96, 255), qRgb(0, 200, 0)};
QPoint const guides(-70, 8);

// The stage on an off-screen surface, showing crosses, attack and collision boxes, rulers, guides.
QImage draw(GraphicsRenderer &stage, bool gl, char const *show)
{
    auto on = [show](char c) { return QByteArray(show).contains(c); };
    stage.setVisibility(on('x'), on('x'), on('x'), on('c'), on('a'), on('r'), on('g'));
    OffScreenRenderWidget surface(gl, viewSize);
    surface.setRenderer(&stage);
    GraphicsRenderer::setOrigin(origin);
    surface.update();
    return surface.output().convertToFormat(QImage::Format_RGB32);
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
                    auto mix = [&](int from, int to) {
                        if (item.blendMode == FrameCode::Blend::Subtraction)
                            return std::max(0, to - from);
                        return item.blendMode ? std::min(255, to + from)
                                              : (from * qAlpha(c) + to * (255 - qAlpha(c))) / 255;
                    };
                    expected.setPixel(px, py,
                                      qRgb(mix(qRed(c), qRed(d)), mix(qGreen(c), qGreen(d)),
                                           mix(qBlue(c), qBlue(d))));
                    covered.setPixel(px, py, 1);
                }
            }
        }
    }
}

QString spot(QImage const &image, int x, int y)
{
    QString const color = image.valid(x, y) ? QColor(image.pixel(x, y)).name() : QString();
    return QStringLiteral("%1,%2 ").arg(x).arg(y) + color;
}

} // namespace

class TestIkemenRenderer : public QObject
{
    Q_OBJECT

    Kfm m_kfm;
    Kfm m_font;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(setUpOpenGL(), "no OpenGL 2 context: run under a display with OpenGL");
        KENRO_REQUIRE_TESTDATA(data);
        QVERIFY(m_kfm.load(data));
        QVERIFY(m_font.sprites->fromFile(FileSystemArchive::instance(),
                                         data + QStringLiteral("/game/screenpack/num72.sff"), 0,
                                         nullptr));
        GraphicsRenderer::setBackground(first, second, GraphicsRenderer::GradientOnly, QPoint(),
                                        QString(), QSize());
        GraphicsRenderer::setPriority(true, false);
        GraphicsRenderer::setZoomTable(0);
        GraphicsRenderer::setZoomMode(GraphicsRenderer::ZoomAroundOrigin);
    }

    void kfmActions_data()
    {
        // Action, frame, zoom level, flip, frame scale x, blend (1 added, 2 subtracted).
        QTest::addColumn<QList<int>>("row");
        QTest::newRow("standing 1x") << QList<int>{0, 0, 3, 0, 1, 0};
        QTest::newRow("standing 2x flipped") << QList<int>{0, 4, 5, 1, 1, 0};
        QTest::newRow("standing 4x upside down") << QList<int>{0, 5, 11, 3, 1, 0};
        QTest::newRow("attack 1x added") << QList<int>{200, 2, 3, 0, 1, 1};
        QTest::newRow("attack 2x wide") << QList<int>{200, 2, 5, 0, 2, 0};
        QTest::newRow("attack 2x subtracted") << QList<int>{200, 2, 5, 0, 1, 2};
        QTest::newRow("attack 4x flipped") << QList<int>{200, 2, 11, 2, 1, 0};
    }
    void kfmActions()
    {
        QFETCH(QList<int>, row);
        int const action = row[0], level = row[2];
        AirFrame *shown = m_kfm.frame(action, row[1]);
        QVERIFY(shown);
        // The frame's sprite, and a true-colour glyph beside it.
        StageSprites sprites;
        sprites.items << m_kfm.info(shown) << m_kfm.info(shown);
        for (SpriteProvider::Info &item : sprites.items) {
            item.flip = uchar(row[3]);
            item.scale = QPointF(row[4], 1);
        }
        sprites.items[0].blendMode = FrameCode::Blend::Mode(row[5]);
        sprites.items[1].sprite = m_font.sprites->sprite(3);
        sprites.items[1].position = QPointF(-100, -20);
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
            QImage expected = draw(stage, gl, "");
            stage.setSprites(&sprites);
            stage.setOnionSkin(true, GraphicsRenderer::Grayscale, 1.0f);
            QImage const drawn = draw(stage, gl, "");
            QImage covered(viewSize, QImage::Format_Mono);
            covered.fill(0);
            expectSprite(expected, covered, onion, s, true);
            expectSprite(expected, covered, sprites.items[0], s, false);
            expectSprite(expected, covered, sprites.items[1], s, false);
            int count = 0;
            QStringList wrong;
            for (int y = 0; y < viewSize.height(); ++y) {
                for (int x = 0; x < viewSize.width(); ++x) {
                    count += covered.pixelIndex(x, y);
                    if (covered.pixelIndex(x, y) &&
                        largestDifference(drawn.copy(x, y, 1, 1), expected.copy(x, y, 1, 1)) > 1)
                        wrong << spot(drawn, x, y) + QStringLiteral(" for ") + spot(expected, x, y);
                }
            }
            QVERIFY(count > 2000 * s);
            QVERIFY2(wrong.isEmpty(),
                     qPrintable((gl ? u"GL: "_s : u"QPainter: "_s) + wrong.mid(0, 3).join(u' ')));

            // Each kind of box alone: the corners that the file gives are edge, the
            // pixels beside them are not.
            for (auto type : {ContactBoxCode::Attack, ContactBoxCode::Collision}) {
                QImage const boxes = draw(stage, gl, type == ContactBoxCode::Attack ? "a" : "c");
                QString const color = type == ContactBoxCode::Attack ? "#ff0000" : "#0000ff";
                QList<QRect> rects = shown->contactBoxes(type)->rects();
                for (QRect &r : rects)
                    r = QRect(origin + r.topLeft() * s, r.size() * s);
                for (QRect const &r : rects) {
                    auto alone = [&](QPoint p) {
                        return std::none_of(rects.begin(), rects.end(), [&](QRect const &o) {
                            return o != r && o.adjusted(-1, -1, 1, 1).contains(p);
                        });
                    };
                    for (QPoint c : {r.topLeft(), r.topRight(), r.bottomLeft(), r.bottomRight()}) {
                        QPoint const out(c.x() + (c.x() == r.left() ? -1 : 1), c.y());
                        QVERIFY(!alone(c) || spot(boxes, c.x(), c.y()).endsWith(color));
                        QVERIFY(!alone(out) || !spot(boxes, out.x(), out.y()).endsWith(color));
                    }
                }
            }

            // Everything: the crosses' middle and arm ends, the guides, the rulers.
            QImage const full = draw(stage, gl, "xacrg");
            full.save(picturePath(
                QStringLiteral("kfm-%1-%2.png")
                    .arg(QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'-'),
                         gl ? QStringLiteral("gl") : QStringLiteral("painter"))));
            QStringList seen, wanted;
            auto look = [&](int x, int y, QRgb color) {
                seen << spot(full, x, y);
                wanted << QStringLiteral("%1,%2 %3").arg(x).arg(y).arg(QColor(color).name());
            };
            for (int i = 0; i < 3; ++i) {
                QPoint const c = origin + crossAt[i] * s;
                look(c.x(), c.y(), crossColor[i]);
                look(c.x() + 7 * t, c.y(), crossColor[i]);
                look(c.x(), c.y() - 7 * t, crossColor[i]);
            }
            QPoint const g = origin + guides * s;
            QRgb const cyan = qRgb(0, 255, 255), ink = qRgb(225, 225, 195), one = first.rgb();
            look(g.x(), 35, cyan);
            look(g.x() + t - 1, 35, cyan);
            look(620, g.y(), cyan);
            look(620, g.y() + t - 1, cyan);
            // The first long tick of a bar has no number beside it.
            int const step = int(std::max(1, int(10 / s)) * s), major = 5 * step;
            look(origin.x() - (origin.x() - 30) / major * major, 21, ink);
            look(21, origin.y() - (origin.y() - 30) / major * major, ink);
            look(5, 5, one);
            look(15, 15, one);
            look(origin.x() + 2 * step + 1, 15, second.rgb());
            look(origin.x(), 28, ink);
            look(origin.x() + step, 25, ink);
            look(origin.x() + step, 22, one);
            look(27, origin.y(), ink);
            look(25, origin.y() - step, ink);
            look(22, origin.y() - step, one);
            QCOMPARE(seen.join(u'\n'), wanted.join(u'\n'));
        }
    }
};

QTEST_MAIN(TestIkemenRenderer)
#include "tst_ikemenrenderer.moc"
