#include "airhelpers.h"
#include <ikemen/air/airdocument.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/framecode.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>

#include "testdata.h"

#include <QDirIterator>
#include <QRandomGenerator>
#include <QTest>

using namespace Kenro;
using Kenro::Ikemen::AirDocument;
using KenroTest::ReferenceAction;
using KenroTest::ReferenceFrame;

namespace {

QList<AnimationCode *> actionsOf(CodeDocument &document)
{
    QList<AnimationCode *> actions;
    for (CodeNode *child : document.root()->childs()) {
        if (child->type() == CodeNode::Animation)
            actions.append(static_cast<AnimationCode *>(child));
    }
    return actions;
}

unsigned int errorCount(CodeDocument &document)
{
    return document.messages() ? document.messages()->count(Message::Error) : 0;
}

QStringList airFiles(QString const &root)
{
    QStringList files;
    QDirIterator it(root + QStringLiteral("/game"), {QStringLiteral("*.air")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    files.sort();
    return files;
}

// The shared sample with a heading in lower case and every optional field.
QString const sample =
    KenroTest::airSample()
        .replace(QStringLiteral("[Begin Action 200]"), QStringLiteral("[begin action 200]"))
        .replace(QStringLiteral("200,0, 10,-2, 3, ,A1\n200,1, 0,0, -1\n"),
                 QStringLiteral("200,0, 10,-2, 3, ,A1, 1.5, 2, 30\n"
                                "200,1, 0,0, -1, VH, AS128D64\n"));

} // namespace

class TestAir : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }

    void readsEveryField()
    {
        AirDocument document;
        document.fromString(sample);
        QCOMPARE(KenroTest::messagesOf(&document), QString());
        QList<AnimationCode *> const actions = actionsOf(document);
        QCOMPARE(actions.size(), 2);
        QCOMPARE(actions.at(0)->property(QStringLiteral("Identifier")).toString(),
                 QStringLiteral("0"));
        QCOMPARE(actions.at(0)->displayName(), QStringLiteral("Action 0 - Sample"));
        QCOMPARE(actions.at(1)->property(QStringLiteral("Identifier")).toString(),
                 QStringLiteral("200"));
        QCOMPARE(actions.at(0)->frameCount(), 3u);
        QCOMPARE(actions.at(0)->loopStart(), 2);
        QVERIFY(actions.at(0)->frameAt(2)->isLoopPoint());
        QVERIFY(!actions.at(0)->frameAt(0)->isLoopPoint());
        QCOMPARE(actions.at(1)->loopStart(), 0);
        QVERIFY(!actions.at(1)->frameAt(0)->isLoopPoint());

        FrameCode const *stand = actions.at(0)->frameAt(0);
        QCOMPARE(stand->collisionBoxes()->rects(), QList<QRect>{QRect(-10, -80, 20, 80)});
        QVERIFY(stand->sharesContactBoxes(ContactBoxCode::Collision));
        QCOMPARE(stand->attackBoxes()->count(), 0u);
        QCOMPARE(actions.at(0)->frameAt(2)->flipFlags(), FrameCode::Horizontal);

        FrameCode const *punch = actions.at(1)->frameAt(0);
        QCOMPARE(punch->offset(), QPoint(10, -2));
        QCOMPARE(punch->delay(), 3);
        QCOMPARE(punch->flipFlags(), FrameCode::None);
        QVERIFY(punch->blend() == FrameCode::Blend(FrameCode::Blend::Addition, 1.0, 0.5));
        QCOMPARE(punch->scale(), QPointF(1.5, 2));
        QCOMPARE(punch->angle(), 30.0);
        QVERIFY(punch->isTransformed());
        QCOMPARE(punch->attackBoxes()->rects(), QList<QRect>{QRect(15, -70, 35, 10)});
        QVERIFY(!punch->sharesContactBoxes(ContactBoxCode::Attack));
        QCOMPARE(punch->contactBoxes(ContactBoxCode::Attack), punch->attackBoxes());
        QCOMPARE(punch->attackBoxes()->parent(), punch);
        QCOMPARE(punch->property(QStringLiteral("Identifier")).toString(), QStringLiteral("200,0"));
        QCOMPARE(punch->index(), 0);
        QCOMPARE(punch->firstLine(), 11);

        FrameCode const *hold = actions.at(1)->frameAt(1);
        QCOMPARE(hold->delay(), -1);
        QCOMPARE(hold->flipFlags(), FrameCode::Both);
        QVERIFY(hold->blend() == FrameCode::Blend(FrameCode::Blend::Addition, 0.5, 0.25));
        QCOMPARE(hold->attackBoxes()->count(), 0u); // "Clsn1:" held for one frame only
        QVERIFY(!hold->isTransformed());

        // The title comment belongs to the action below it.
        QCOMPARE(actions.at(0)->firstLine(), 0);
        QCOMPARE(actions.at(0)->lastLine(), 8);
        QCOMPARE(actions.at(1)->firstLine(), 9);
        QCOMPARE(actions.at(1)->code(), QString(sample).section(QLatin1Char('\n'), 9).trimmed());
    }

    void realFilesMatchTheirText_data()
    {
        QTest::addColumn<QString>("path");
        KENRO_REQUIRE_TESTDATA(root);
        QStringList const files = airFiles(root);
        QVERIFY2(files.size() >= 3, "the test data holds three AIR files");
        for (QString const &file : files)
            QTest::newRow(qPrintable(QFileInfo(file).fileName())) << file;
    }

    void realFilesMatchTheirText()
    {
        QFETCH(QString, path);
        AirDocument document;
        QVERIFY(document.fromFile(FileSystemArchive::instance(), path, 0, nullptr));
        QCOMPARE(errorCount(document), 0u);
        // Some boxes of kfm are written as "Clsn2[i]" under a "Clsn1: n" header:
        // they are attack boxes, with a warning.
        QString const messages = KenroTest::messagesOf(&document);
        QStringList const lines = messages.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines.isEmpty(), !path.endsWith(QLatin1String("kfm.air")));
        for (QString const &line : lines)
            QVERIFY2(
                line.endsWith(QLatin1String(":1 A Clsn2 box under a Clsn1 header is a Clsn1 box")),
                qPrintable(line));
        QVERIFY(messages.isEmpty() || messages.startsWith(QLatin1String("962:1 ")));
        QList<ReferenceAction> const reference = KenroTest::readReference(document.toPlainText());
        QList<AnimationCode *> const actions = actionsOf(document);
        QCOMPARE(actions.size(), reference.size());
        if (path.endsWith(QLatin1String("kfm.air")))
            QVERIFY(actions.size() > 100);
        int loops = 0;
        for (int a = 0; a < actions.size(); ++a) {
            AnimationCode const *action = actions.at(a);
            ReferenceAction const &expected = reference.at(a);
            QCOMPARE(action->property(QStringLiteral("Identifier")).toString(),
                     expected.identifier);
            QCOMPARE(action->frameCount(), static_cast<unsigned int>(expected.frames.size()));
            QCOMPARE(action->loopStart(), expected.loopStart);
            loops += action->loopStart() > 0;
            for (int f = 0; f < expected.frames.size(); ++f) {
                FrameCode const *frame = action->frameAt(static_cast<unsigned int>(f));
                ReferenceFrame const &want = expected.frames.at(f);
                QString const where =
                    QStringLiteral("action %1 frame %2").arg(expected.identifier).arg(f);
                QVERIFY2(frame->property(QStringLiteral("Identifier")).toString() == want.sprite,
                         qPrintable(where));
                QVERIFY2(frame->offset() == QPoint(want.x, want.y), qPrintable(where));
                QVERIFY2(frame->delay() == want.delay, qPrintable(where));
                QVERIFY2(frame->flipFlags() == want.flip, qPrintable(where));
                QVERIFY2(frame->blendMode() == want.blendMode, qPrintable(where));
                QVERIFY2(frame->blendSource() == want.blendSource, qPrintable(where));
                QVERIFY2(frame->blendDestination() == want.blendDestination, qPrintable(where));
                QVERIFY2(frame->attackBoxes()->rects() == want.attack, qPrintable(where));
                QVERIFY2(frame->collisionBoxes()->rects() == want.collision, qPrintable(where));
            }
        }
        QVERIFY(loops > 0 || path.endsWith(QLatin1String("fightfx.air")));
    }

    void handPickedFrames_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("frame");
        QTest::addColumn<QString>("expected");
        // Read off the files by eye.
        QTest::newRow("kfm stand 5")
            << "chars/kfm/kfm.air" << 0 << 5
            << "0,5 @0,0 t45 f0 b0:1:1 s1,1 a0 A[] C[(-13 -79 29 79) (-7 -93 12 14)]";
        QTest::newRow("kfm turn")
            << "chars/kfm/kfm.air" << 5 << 0
            << "5,0 @0,0 t4 f1 b0:1:1 s1,1 a0 A[] C[(-10 -79 20 79) (-4 -92 10 13)]";
        QTest::newRow("kfm crouch 2")
            << "chars/kfm/kfm.air" << 10 << 1
            << "11,1 @0,0 t2 f0 b0:1:1 s1,1 a0 A[] C[(-12 -52 29 52) (-7 -67 13 15)]";
        QTest::newRow("kfm VH") << "chars/kfm/kfm.air" << 5200 << 0
                                << "41,4 @0,-120 t3 f3 b0:1:1 s1,1 a0 A[] C[(-14 -75 30 29)]";
        QTest::newRow("fightfx A1")
            << "data/fightfx.air" << 3 << 1 << "3,0 @0,0 t1 f0 b1:1:0.5 s1,1 a0 A[] C[]";
        QTest::newRow("training AS") << "chars/training/Training.air" << 20200 << 1
                                     << "20200,0 @0,0 t12 f0 b1:0.5:0.5 s1,1 a0 A[] C[]";
        QTest::newRow("training hold") << "chars/training/Training.air" << 416 << 0
                                       << "415,0 @0,0 t-1 f1 b0:1:1 s1,1 a0 A[] C[]";
    }

    void handPickedFrames()
    {
        QFETCH(QString, file);
        QFETCH(int, action);
        QFETCH(int, frame);
        QFETCH(QString, expected);
        KENRO_REQUIRE_TESTDATA(root);
        AirDocument document;
        QVERIFY(document.fromFile(FileSystemArchive::instance(),
                                  root + QStringLiteral("/game/") + file, 0, nullptr));
        AnimationCode const *found = document.animations()->at(
            static_cast<unsigned int>(document.animations()->find(0, action)));
        QVERIFY(found);
        FrameCode const *picked = found->frameAt(static_cast<unsigned int>(frame));
        QVERIFY(picked);
        QCOMPARE(KenroTest::describeFrame(picked), expected);
    }

    void faultsAreReportedWhereTheyAre_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("nodeType");
        QTest::newRow("letters in x")
            << "0,0, zz,0, 5" << 5 << "The x offset must be a whole number" << 0;
        QTest::newRow("missing time") << "0,0, 0,0" << 7 << "The time is missing" << 0;
        QTest::newRow("empty y") << "0,0, 0,, 5" << 6 << "The y offset is missing" << 0;
        QTest::newRow("bad flip") << "0,0, 0,0, 5, X" << 13 << "Flip is H, V or HV"
                                  << int(CodeNode::Frame);
        QTest::newRow("bad blend") << "0,0, 0,0, 5, , AS300D1" << 15
                                   << "Blend is A, A1, S or AS<n>D<m>" << int(CodeNode::Frame);
        QTest::newRow("bad scale")
            << "0,0, 0,0, 5, , , x" << 17 << "A number expected" << int(CodeNode::Frame);
        QTest::newRow("unknown section")
            << "[Statedef 0]" << 0 << "Unknown section: only [Begin Action n] is known" << 0;
        QTest::newRow("no number")
            << "[Begin Action ]" << 14 << "The action number is missing" << 0;
        QTest::newRow("open heading")
            << "[Begin Action 3" << 0 << "Missing ']' at the end of the heading" << 0;
        QTest::newRow("tail") << "[Begin Action 3] x" << 17
                              << "Unexpected text at the end of the line"
                              << int(CodeNode::Animation);
        QTest::newRow("clsn3") << "Clsn3: 2" << 0 << "Clsn1 or Clsn2 expected" << 0;
        QTest::newRow("header count") << "Clsn2: x" << 7 << "The number of boxes is missing" << 0;
        QTest::newRow("box coords")
            << " Clsn1[0] = 1, 2, 3" << 18 << "A box needs four coordinates" << 0;
        QTest::newRow("box word") << " Clsn1[0] = 1, 2, b, 4" << 18 << "A whole number expected"
                                  << 0;
        QTest::newRow("box equals") << " Clsn1[0] 1, 2, 3, 4" << 10 << "'=' expected" << 0;
        QTest::newRow("keyword") << "Loopend" << 0 << "Unknown keyword" << 0;
        QTest::newRow("interpolate")
            << "Interpolate Colour" << 12 << "Offset, Blend, Scale or Angle expected" << 0;
        QTest::newRow("symbol") << "*0,0" << 0 << "A frame, a box or a heading expected" << 0;
    }

    void faultsAreReportedWhereTheyAre()
    {
        QFETCH(QString, line);
        QFETCH(int, column);
        QFETCH(QString, message);
        QFETCH(int, nodeType);
        AirDocument document;
        document.fromString(QStringLiteral("[Begin Action 1]\n") + line +
                            QStringLiteral(" ; note\n"));
        QCOMPARE(KenroTest::messagesOf(&document),
                 QStringLiteral("1:%1 %2\n").arg(column).arg(message));
        QCOMPARE(errorCount(document), 1u);
        CodeNode const *node = document.nodeInBlock(document.findBlockByNumber(1));
        QCOMPARE(node ? int(node->type()) : 0, nodeType);
    }

    void keywordsIgnoreCase()
    {
        AirDocument document;
        document.fromString(
            QStringLiteral("[BEGIN ACTION 7]\nCLSN1DEFAULT: 1\n clsn1[0]=1,2,3,4\n"
                           "LOOPSTART\ninterpolate offset\n1,2,3,4,5,hv,as10d20\n"));
        QCOMPARE(KenroTest::messagesOf(&document), QString());
        QList<AnimationCode *> const actions = actionsOf(document);
        QCOMPARE(actions.size(), 1);
        FrameCode const *frame = actions.first()->frameAt(0);
        QCOMPARE(KenroTest::describeFrame(frame),
                 QStringLiteral("1,2 @3,4 t5 f3 b1:0.0390625:0.078125 s1,1 a0 A[(1 2 2 2)] C[]"));
        QVERIFY(frame->isLoopPoint());
    }

    void framesAboveAllActionsStayLoose()
    {
        AirDocument document;
        document.fromString(QStringLiteral("1,1, 0,0, 3\n[Begin Action 1]\n2,2, 0,0, 3\n"));
        QVERIFY(KenroTest::describe(&document).contains(QLatin1String("loose 1,1")));
        QCOMPARE(actionsOf(document).first()->frameCount(), 1u);
        FrameCode const *loose =
            static_cast<FrameCode *>(document.nodeInBlock(document.firstBlock()));
        QCOMPARE(loose->index(), -1);
        QCOMPARE(loose->firstLine(), 0);
    }

    void brokenInputFailsCleanly()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QByteArray const real =
            KenroTest::readFile(root + QStringLiteral("/game/chars/kfm/kfm.air"));
        QVERIFY(real.size() > 1000);
        QRandomGenerator random(7);
        // Truncated at random places, with random bytes thrown in, and one huge line.
        for (int round = 0; round < 12; ++round) {
            QByteArray data = real.left(random.bounded(real.size()));
            for (int i = 0; i < 40 && !data.isEmpty(); ++i)
                data[random.bounded(data.size())] = static_cast<char>(random.bounded(256));
            AirDocument document;
            document.fromString(QString::fromLatin1(data));
            KenroTest::describe(&document);
            QVERIFY(actionsOf(document).size() <= data.count('['));
        }
        QString huge = QStringLiteral("[Begin Action 1]\n");
        huge += QString(200000, QLatin1Char('9')) + QStringLiteral(",") +
            QString(100000, QLatin1Char(','));
        huge += QStringLiteral("\n Clsn1[99999999999] = 1,2,3,4\n[Begin Action 99999999999]\n");
        AirDocument document;
        document.fromString(huge);
        QCOMPARE(errorCount(document), 3u);
        QCOMPARE(actionsOf(document).size(), 1);
        QCOMPARE(actionsOf(document).first()->frameCount(), 0u);
    }
};

QTEST_MAIN(TestAir)
#include "tst_air.moc"
