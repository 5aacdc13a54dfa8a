// The stage workspace, shown: tool bar, settings, surfaces, random input, kfm over the time line.
#include "graphicsrenderer_p.h"
#include "ikemenrenderer.h"
#include <QApplication>
#include <QDialog>
#include <QLayout>
#include <QPainter>
#include <QSpinBox>
#include <QToolBar>
#include <kenro/editors/graphicsworkspace.h>
#include <kenro/editors/timelinewidget.h>
#include <kenro/render/glrenderwidget.h>
#include <kfmstage.h>
#include <randominput.h>
#include <scenerenderer.h>
#include <testdata.h>
#include <testinterface.h>

using namespace Kenro;
using namespace KenroTest;
using namespace Qt::StringLiterals;

namespace {

// A shown workspace of a host, kfm's sprites on its stage, and what it reports.
struct Space
{
    TestInterface host;
    Ikemen::IkemenRenderer stage;
    Kfm kfm;
    StageSprites sprites;
    std::unique_ptr<GraphicsWorkspace> ws;
    QDialog *dialog = nullptr;
    QStringList log, before;

    bool open()
    {
        host.options = {{u"background_type"_s, 0}};
        ws = std::make_unique<GraphicsWorkspace>(host);
        for (QWidget *w : QApplication::topLevelWidgets())
            dialog = w->inherits("QDialog") ? static_cast<QDialog *>(w) : dialog;
        ws->setRenderer(&stage);
        stage.setSprites(&sprites), sprites.items = {kfm.info(kfm.frame(0, 0))};
        QObject::connect(ws.get(), &GraphicsWorkspace::extraAxisChanged,
                         [this](QPoint p) { log << u"axis %1,%2"_s.arg(p.x()).arg(p.y()); });
        GraphicsRenderer::setOrigin(QPoint(10, 20));
        ws->widget()->resize(480, 400);
        ws->widget()->show();
        return QTest::qWaitForWindowExposed(ws->widget());
    }
    QWidget *surface() const { return dynamic_cast<QWidget *>(ws->surface()); }
    // The actions' states by initial in the order of the stage's flags, and whether it follows.
    QString actions() const
    {
        QString out;
        QList<bool> checked;
        for (int i : {1, 2, 3, 7, 6, 4, 5}) {
            QAction *const a = ws->toolBar()->actions()[i];
            out += a->text()[0] + QString::number(a->isChecked());
            checked << a->isChecked();
        }
        return out + (checked == stage.visibility() ? u""_s : u" not shown"_s);
    }
    QStringList state()
    {
        GraphicsRendererStatics const &s = graphicsStatics();
        QPoint const o = GraphicsRenderer::origin(), b = s.backgroundPosition;
        QPoint const x = stage.itemPosition(GraphicsRenderer::ExtraCross, 0).toPoint();
        bool const c = o == QPoint(surface()->width() / 2, (surface()->height() + 1) / 2);
        // The renderer on a surface of the kind asked for, between the tool bar and the time line.
        bool const gl = glAvailable() && !host.options.value(u"native_painting"_s).toBool();
        bool const ready = QTest::qWaitFor([&] { return stage.renderWidget() == ws->surface(); }) &&
            gl == bool(dynamic_cast<GLRenderWidget *>(surface())) &&
            ws->widget()->layout()->indexOf(surface()) == 1 &&
            ws->widget()->layout()->indexOf(ws->timeLine()) == 2;
        QStringList out = QString::asprintf("surface %d|background %d,%d|zoom %d %d %d|actions "
                                            "%s|origin %d,%d|extra %d,%d %d %d%d",
                                            ready, b.x(), b.y(), s.zoomTable, s.zoomMode,
                                            stage.zoomLevel(), qPrintable(actions()), c ? 0 : o.x(),
                                            c ? 0 : o.y(), x.x(), x.y(), dialog->isVisible(),
                                            ws->toolBar()->isVisible(), ws->timeLine()->isVisible())
                              .split(u'|');
        // The settings that the workspace wrote: the script writes only text.
        for (auto it = host.options.cbegin(); it != host.options.cend(); ++it)
            if (it->typeId() != QMetaType::QString)
                out << u"%1=%2"_s.arg(it.key()).arg(it->toInt());
        return out;
    }
    // Events on each part in turn, the surface switched between rounds: the stage follows.
    void randomInput(int rounds)
    {
        QStringList const words =
            u"zoomIn zoomOut zoomFit zoomActual X9,-9 @main_cross @secondary_cross "
            "@extra_cross @rulers @guide_lines @attack_box @collision_box"_s.split(u' ');
        for (int round = 0; round < rounds; ++round) {
            run(u"native_painting=%1 reconfig deactivate activate"_s.arg(round % 2));
            QWidget *const parts[] = {
                surface(), ws->timeLine(),
                dialog->isVisible() ? dialog->findChild<QSpinBox *>() : surface(),
                ws->toolBar()->widgetForAction(ws->toolBar()->actions()[round % 8])};
            sendRandomInput(parts[round % 4], 600, quint32(round),
                            {Qt::Key_Left, Qt::Key_Up, Qt::Key_Space, Qt::Key_Escape},
                            [&](QRandomGenerator &r) { run(words[r.bounded(12)]); });
            if (QString const c = actions(); c.endsWith(u"shown") || state()[0] != u"surface 1" ||
                (c[5] == u'1') != dialog->isVisible())
                log << c + u" dialog "_s + QString::number(dialog->isVisible());
        }
        log.removeIf([](QString const &line) { return line.startsWith(u"axis"); });
    }
    // Runs \a script: key=value sets an option, a slot's name calls it, @key clicks view_key, k<x|y><key>
    // presses a key in a spin box of the extra cross, X<x,y> sets the extra axis,
    // r<n> sends n rounds of random input, mark keeps the state to compare with.
    void run(QString const &script)
    {
        for (QString const &word : script.split(u' ')) {
            if (word.contains(u'='))
                host.options[word.section(u'=', 0, 0)] = word.section(u'=', 1);
            else if (ws->metaObject()->indexOfSlot(qPrintable(word + u"()"_s)) >= 0)
                QMetaObject::invokeMethod(ws.get(), qPrintable(word));
            else if (QAction *action = host.actions.value(u"view_"_s + word.mid(1));
                     word[0] == u'@')
                QTest::mouseClick(ws->toolBar()->widgetForAction(action), Qt::LeftButton);
            else if (word[0] == u'k')
                QTest::keyClick(dialog->findChildren<QSpinBox *>().value(word[1] == u'y'),
                                QKeySequence(word.mid(2))[0].key());
            else if (word[0] == u'X')
                ws->setExtraAxis(
                    QPoint(word.section(u',', 0, 0).mid(1).toInt(), word.section(u',', 1).toInt()));
            else if (word[0] == u'r')
                randomInput(word.mid(1).toInt());
            else if (word == u"mark")
                before = state();
            else {
                // grab() runs the renderer of an OpenGL surface apart from its frame.
                QImage image = ws->widget()->grab().toImage();
                if (auto *gl = dynamic_cast<GLRenderWidget *>(surface()))
                    QPainter(&image).drawImage(gl->pos(), gl->grabFramebuffer());
                QVERIFY(image.save(picturePath(u"graphicsworkspace.png"_s)));
            }
        }
    }
};

} // namespace

class TestGraphicsWorkspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(setUpOpenGL(), "no OpenGL 2 context: run under a display"); }

    void script_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("expected");
        addRow("activate restores", "origin_x=9 origin_y=8 show_cross1=0 show_guides=1 activate",
               "actions M0S1E0C1A1R1G1; origin 9,8");
        addRow("deactivate keeps", "origin_x=9 origin_y=8 activate @guide_lines @rulers deactivate",
               "actions M1S1E0C1A1R0G1; origin 9,8; extra 0,0 0 00; origin_x=9; origin_y=8; "
               "show_attack_box=1; show_collision_box=1; show_cross1=1; show_cross2=1; "
               "show_guides=1; show_rulers=0");
        addRow("240p without a project, table 1, first origin",
               "background_type=1 zoom_mode=5 zoom_center=7 reconfig activate",
               "background -212,-207; zoom 1 1 2; origin 0,0");
        addRow("zoom_level past 255, zoom, centre",
               "zoom_level=300 reconfig zoomIn zoomIn zoomOut @center_origin",
               "zoom 0 0 1; origin 0,0");
        addRow("tool bar, dialog closed",
               "@rulers @attack_box @collision_box @main_cross @extra_cross kyEscape",
               "actions M0S1E0C0A0R0G0");
        addRow("spin boxes, silent setExtraAxis", "@extra_cross kxUp X3,4 kyDown",
               "axis 1,0; axis 3,3; actions M1S1E1C1A1R1G0; extra 3,3 1 11");
        addRow("renderer kept on a new surface", "native_painting=1 reconfig", "");
        addRow("random input, picture",
               "r16 zoomActual origin_x=240 origin_y=280 activate mark picture", "");
    }
    void script()
    {
        QFETCH(QString, script);
        QFETCH(QString, expected);
        KENRO_REQUIRE_TESTDATA(data);
        Space space;
        QVERIFY(space.kfm.load(data) && space.open());
        space.before = space.state();
        space.run(script);
        QStringList out = space.log;
        for (QString const &line : space.state())
            if (!space.before.contains(line))
                out << line;
        QCOMPARE(out.join(u"; "), expected);
    }
};

QTEST_MAIN(TestGraphicsWorkspace)
#include "tst_graphicsworkspace.moc"
