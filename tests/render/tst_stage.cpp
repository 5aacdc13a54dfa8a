// The stage's zoom tables and its mouse logic, driven by real mouse, key and
// wheel events on a shown surface, with kfm's attack frame and its boxes:
// what each gesture reports, and what it leaves in the stage and the file.
#include "ikemenrenderer.h"

#include <kfmstage.h>
#include <randominput.h>
#include <scenerenderer.h>
#include <testdata.h>

#include <kenro/render/glrenderwidget.h>
#include <kenro/render/renderwidget.h>

#include <QTest>

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace KenroTest;

namespace {

// A stage on a shown surface with kfm's attack frame, and what it reports.
struct Stage
{
    Kfm kfm;
    StageSprites sprites;
    IkemenRenderer renderer;
    std::unique_ptr<QWidget> widget;
    AirFrame *frame = nullptr;
    QStringList log;
    bool refuse = false;

    bool open(QString const &data, bool gl)
    {
        if (!kfm.load(data) || !(frame = kfm.frame(200, 2)))
            return false;
        sprites.items << kfm.info(frame);
        renderer.setSprites(&sprites);
        renderer.setContactBoxes(ContactBoxCode::Attack, frame->attackBoxes());
        renderer.setContactBoxes(ContactBoxCode::Collision, frame->collisionBoxes());
        renderer.setVisibility(true, true, true, true, true, false, false);
        auto item = [this](char const *what) {
            return [this, what](GraphicsRenderer::ItemType type, int index, QPoint p) {
                log << QString::asprintf("%s %d %d %d,%d", what, type, index, p.x(), p.y());
            };
        };
        QObject::connect(&renderer, &GraphicsRenderer::itemMoved, item("moved"));
        QObject::connect(&renderer, &GraphicsRenderer::itemReleased, item("released"));
        QObject::connect(&renderer, &GraphicsRenderer::appendContactBox,
                         [this](ContactBoxCode::BoxType type, QRect r) -> ContactBoxCode * {
                             log << QString::asprintf("append %d %d,%d %dx%d", type, r.x(), r.y(),
                                                      r.width(), r.height());
                             return refuse ? nullptr : frame->contactBoxes(type)->add(r);
                         });
        QObject::connect(&renderer, &GraphicsRenderer::contactDrawingExit,
                         [this] { log << QStringLiteral("exit"); });
        QObject::connect(&renderer, &GraphicsRenderer::colorCaptured,
                         [this](uchar index) { log << QStringLiteral("colour %1").arg(index); });
        widget.reset(gl ? static_cast<QWidget *>(new GLRenderWidget) : new RenderWidget);
        widget->resize(400, 300);
        dynamic_cast<RenderWidgetBase *>(widget.get())->setRenderer(&renderer);
        widget->show();
        GraphicsRenderer::setOrigin(QPoint(200, 250));
        return QTest::qWaitForWindowExposed(widget.get());
    }
    SffSprite const *sprite() const
    {
        return static_cast<SffSprite const *>(sprites.items[0].sprite);
    }
    // What the stage and the file hold: the boxes and the view.
    QStringList state()
    {
        QStringList out;
        for (auto type : {ContactBoxCode::Attack, ContactBoxCode::Collision}) {
            for (QRect const &r : renderer.contactBoxRects(type))
                out << QString::asprintf("%d %d,%d %dx%d", type, r.x(), r.y(), r.width(),
                                         r.height());
            out << QStringLiteral("file %1: %2").arg(type).arg(frame->contactBoxes(type)->count());
        }
        QPoint const g = renderer.guideLines(), o = GraphicsRenderer::origin();
        return out
            << QString::asprintf("mode %d", renderer.clickMode())
            << QStringLiteral("level %1 x%2").arg(renderer.zoomLevel()).arg(renderer.zoomFactor())
            << QString::asprintf("guides %d,%d", g.x(), g.y())
            << QString::asprintf("origin %d,%d", o.x(), o.y());
    }
    // Runs \a script: press (p, P with Shift, C with Control), move (m), release (r), right click
    // (R) at a world point ("S": the sprite's corner), wheel (w), keys (kRight, kEsc...), draw
    // (da, dc), capture (g), guides on top (G), refuse boxes (n), zoom level (z, +, -), table (T),
    // mode (M), actual size (a), centralize (c).
    void run(QString const &script)
    {
        QWidget *w = widget.get();
        for (QString const &word : script.split(u' ')) {
            char const op = word[0].toLatin1();
            QString const arg = word.mid(1);
            bool const corner = arg.startsWith(u'S');
            QStringList const xy = arg.mid(corner).split(u',');
            QPoint const world = (corner ? QPoint(1, 1) - sprite()->axis() : QPoint()) +
                QPoint(xy[0].toInt(), xy.value(1).toInt());
            QPointF const s = renderer.scale();
            QPoint const at =
                GraphicsRenderer::origin() + QPoint(int(world.x() * s.x()), int(world.y() * s.y()));
            auto const modifiers = op == 'P' ? Qt::ShiftModifier
                : op == 'C'                  ? Qt::ControlModifier
                                             : Qt::NoModifier;
            if (op == 'p' || op == 'P' || op == 'C')
                QTest::mousePress(w, Qt::LeftButton, modifiers, at);
            else if (op == 'm' || op == 'r' || op == 'R')
                op == 'm'       ? QTest::mouseMove(w, at)
                    : op == 'r' ? QTest::mouseRelease(w, Qt::LeftButton, {}, at)
                                : QTest::mouseClick(w, Qt::RightButton, {}, at);
            else if (op == 'w')
                sendWheel(w, QPoint(100, 100), arg.toInt());
            else if (op == 'k')
                QTest::keyClick(w, QKeySequence(arg)[0].key());
            else if (op == 'd')
                renderer.setDrawContactBoxMode(arg == u'a' ? ContactBoxCode::Attack
                                                           : ContactBoxCode::Collision);
            else if (op == 'g')
                renderer.setCaptureMode();
            else if (op == 'z')
                renderer.setZoomLevel(uchar(arg.toInt()));
            else if (op == '+' || op == '-')
                op == '+' ? renderer.addZoom() : renderer.subZoom();
            else if (op == 'T' || op == 'M')
                op == 'T' ? GraphicsRenderer::setZoomTable(arg.toInt())
                          : GraphicsRenderer::setZoomMode(arg.toInt());
            else if (op == 'a' || op == 'c')
                op == 'a' ? renderer.zoomActual() : renderer.centralize();
            refuse = refuse || op == 'n';
            if (op == 'G') {
                GraphicsRenderer::setPriority(false, false);
                renderer.setVisibility(true, true, true, true, true, false, true);
                renderer.setGuideLines(QPoint(-100, -120));
            }
        }
    }
};

} // namespace

class TestStage : public QObject
{
    Q_OBJECT

    QString m_data;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(setUpOpenGL(), "no OpenGL 2 context: run under a display with OpenGL");
        KENRO_REQUIRE_TESTDATA(data);
        m_data = data;
    }
    void init()
    {
        GraphicsRenderer::setPriority(true, false);
        GraphicsRenderer::setZoomTable(0);
        GraphicsRenderer::setZoomMode(GraphicsRenderer::ZoomAroundOrigin);
    }

    void mouse_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expected");
        addRow("table 0 level 16 reads the next row", "z16", "level 16 x0.25");
        addRow("table 1 level 16 is 14x", "T1 z16", "level 16 x14");
        addRow("255 is level 0", "z255", "level 0 x0.25");
        addRow("above 16 is 16", "z40", "level 16 x0.25");
        addRow("down from 0 stays", "z0 -", "level 0 x0.25");
        addRow("up from 16 stays", "z16 +", "level 16 x0.25");
        addRow("up and down", "T1 z4 + + -", "level 5 x4");
        addRow("wheel from 12 is 9", "z12 w120", "level 9 x3");
        addRow("wheel below 0", "z1 w-480", "level 0 x0.25");
        addRow("actual, table 0", "z9 a", "");
        addRow("actual, table 1", "T1 z9 a", "level 2 x1");
        addRow("zoomed around the centre", "M1 z5", "level 5 x2; origin 200,350");
        addRow("zoomed out around the centre", "M1 z1", "level 1 x0.5; origin 200,200");
        addRow("centralized", "c", "origin 200,150");
        addRow("sprite dragged at 2x", "w240 pS mS10,5 rS10,5",
               "moved 3 0 10,5; released 3 0 10,5; level 5 x2");
        addRow("cross dragged", "p0,0 m7,-3 r7,-3", "moved 2 2 7,-3; released 2 2 7,-3");
        addRow("view panned", "C60,-150 m80,-140 r80,-140", "origin 220,260");
        addRow("guide dragged", "G p-100,-50 m-90,-50 r-90,-50", "guides -90,-120");
        addRow("box drawn", "da p-60,-40 m-40,-30 r-40,-30",
               "moved 4 -1 20,10; append 1 -60,-40 20x10; 1 -60,-40 20x10; file 1: 2; mode 1");
        addRow("box drawn upwards", "dc p-40,-30 m-60,-40 r-60,-40",
               "moved 4 -1 -20,-10; append 2 -60,-40 20x10; 2 -60,-40 20x10; file 2: 4; mode 1");
        addRow("box of no width", "da p-60,-40 m-60,-30 r-60,-30", "moved 4 -1 0,10; mode 1");
        addRow("box refused", "n da p-60,-40 m-40,-30 r-40,-30",
               "moved 4 -1 20,10; append 1 -60,-40 20x10; mode 1");
        addRow("right click ends drawing", "da R0,-150", "exit");
        addRow("escape ends drawing", "da kEsc", "exit");
        addRow("drawn box selected at the end", "da p-60,-40 m-40,-30 r-40,-30 R0,-150 kRight",
               "moved 4 -1 20,10; append 1 -60,-40 20x10; exit; moved 4 -1 0,0; 1 -59,-40 20x10; "
               "file 1: 2");
        addRow("box dragged", "p12,-86 m14,-83 r14,-83",
               "moved 4 1 2,3; released 4 1 0,0; 2 8,-91 12x16");
        addRow("shift selects more", "p12,-86 r12,-86 P0,-40 m2,-40 r2,-40",
               "moved 4 0 2,0; released 4 0 0,0; 2 -8,-80 29x80; 2 8,-94 12x16");
        addRow("keys move and delete", "p12,-86 r12,-86 kRight kDown kDel",
               "moved 4 -1 0,0; moved 4 -1 0,0; file 2: 2");
        addRow("colour captured", "g p0,-40 r0,-40", "colour %1; mode 2");
        // Each handle of box 1 (6,-94 12x16), from the top left to the right middle, dragged by 4, 2.
        QStringList const handles =
            QStringLiteral("6,-94 10,-92 8x14|12,-94 6,-92 12x14|6,-86 10,-94 8x16|"
                           "18,-94 6,-92 16x14|6,-78 10,-94 8x18|12,-78 6,-94 12x18|"
                           "18,-78 6,-94 16x18|18,-86 6,-94 16x16")
                .split(u'|');
        for (QString const &h : handles) {
            QStringList const p = h.section(u' ', 0, 0).split(u',');
            QString const to = QStringLiteral("%1,%2").arg(p[0].toInt() + 4).arg(p[1].toInt() + 2);
            addRow(qPrintable(QStringLiteral("handle %1").arg(handles.indexOf(h) + 8)),
                   QStringLiteral("p12,-86 r12,-86 p%1 m%2 r%2").arg(h.section(u' ', 0, 0), to),
                   QStringLiteral("moved 4 1 4,2; released 4 1 0,0; 2 ") + h.section(u' ', 1));
        }
    }
    void mouse()
    {
        QFETCH(QString, script);
        QFETCH(QString, expected);
        for (bool gl : {false, true}) {
            if (gl && !glAvailable())
                continue;
            Stage stage;
            QVERIFY(stage.open(m_data, gl));
            QStringList const before = stage.state();
            stage.run(script);
            // The log, then what changed.
            QStringList out = stage.log;
            for (QString const &line : stage.state())
                out << (before.contains(line) ? QString() : line);
            out.removeAll(QString());
            int const colour =
                stage.sprite()->pixels().pixelIndex(stage.sprite()->axis() - QPoint(0, 40));
            QCOMPARE(out.join(u"; "),
                     QString(expected).replace(QStringLiteral("%1"), QString::number(colour)));
        }
    }

    void randomInput_data()
    {
        QTest::addColumn<bool>("gl");
        QTest::newRow("QPainter widget") << false;
        QTest::newRow("OpenGL widget") << true;
    }
    void randomInput()
    {
        // Events of every kind in any order, boxes accepted into the file: nothing
        // crashes, and every signal names an item that exists, within the world.
        QFETCH(bool, gl);
        if (gl && !glAvailable())
            QSKIP("OpenGL is off in this run: the QPainter widget takes the events");
        Stage stage;
        QVERIFY(stage.open(m_data, gl));
        stage.renderer.setVisibility(true, true, true, true, true, true, true);
        stage.renderer.setOnionSkin(true, GraphicsRenderer::Lighter, 0.5f);
        stage.renderer.setOnionSkinSprite(stage.sprite(), QPoint(-40, 0));
        int const limit = GraphicsRenderer::worldLimit;
        QStringList bad;
        QObject::connect(&stage.renderer, &GraphicsRenderer::cursorChanged, [&](QPoint p) {
            if (std::abs(p.x()) > limit || std::abs(p.y()) > limit)
                bad << QString::asprintf("cursor %d,%d", p.x(), p.y());
        });
        sendRandomInput(stage.widget.get(), 20000, 23,
                        {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down, Qt::Key_Delete,
                         Qt::Key_Control, Qt::Key_Escape, Qt::Key_A},
                        [&](QRandomGenerator &random) {
                            int const what = random.bounded(8);
                            if (what == 0)
                                stage.renderer.setDrawContactBoxMode(
                                    ContactBoxCode::BoxType(1 + random.bounded(2)));
                            else if (what == 1)
                                stage.renderer.setCaptureMode();
                            else if (what == 2)
                                stage.renderer.zoomFit();
                            else if (what == 3)
                                QCoreApplication::processEvents();
                        });
        QCoreApplication::processEvents();
        // Each item reported exists: crosses by their type, the one sprite, a box of the lists.
        int boxes = 4;
        for (QString const &line : stage.log) {
            QStringList const f = QString(line).replace(u',', u' ').replace(u'x', u' ').split(u' ');
            int const type = f.value(1).toInt(), index = f.value(2).toInt();
            boxes += f[0] == QLatin1String("append");
            bool const ok = std::all_of(f.begin() + 1, f.end(), [&](QString const &n) {
                return std::abs(n.toInt()) <= limit;
            });
            if (!ok ||
                (f[0].startsWith(u'm') || f[0].startsWith(u'r')) &&
                    (type < 3        ? index != type
                         : type == 3 ? index != 0
                                     : index < -1 || index >= boxes))
                bad << line;
        }
        QVERIFY2(bad.isEmpty(), qPrintable(bad.mid(0, 5).join(u'\n')));
        QVERIFY(stage.log.filter(QStringLiteral("append")).size() > 10);
    }
};

QTEST_MAIN(TestStage)
#include "tst_stage.moc"
