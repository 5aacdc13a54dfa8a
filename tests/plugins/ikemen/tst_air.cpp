// AIR animations through the plug-in's classes: the parser and its model
// against a plain reading of the text, edits that write what an author
// would, the list of actions, the player, and the plug-in's engine.
#include <ikemen/air/airdocument.h>
#include <ikemen/air/airparser.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/animationplayer.h>
#include <kenro/code/animations.h>
#include <kenro/code/framecode.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/engine/engine.h>
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/project.h>

#include "memorysprites.h"
#include "testdata.h"
#include "testnodes.h"
#include "testparser.h"
#include "testproject.h"

#include <QDirIterator>
#include <QImage>
#include <QLibrary>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>

#include <functional>
#include <memory>

using namespace Kenro;
using Kenro::Ikemen::AirAnimations;
using Kenro::Ikemen::AirDocument;
using KenroTest::addRow;

namespace {

// What the format offers: titles, default and own boxes with comments, a
// loop start, flips and blends, a frame held for ever.
QString const sample = QStringLiteral(
    "; Sample\n[Begin Action 0]\nClsn2Default: 1\n Clsn2[0] = -10, 0, 10,-80   ; body\n"
    "0,0, 0,0, 5   ; stand\n0,1, 0,0, 5\nLoopstart\n0,2, 0,0, 5, H\n\n; Punch\n"
    "[Begin Action 200]\nClsn1: 1\n Clsn1[0] =  15,-70, 50,-60\n200,0, 10,-2, 3, ,A1\n"
    "200,1, 0,0, -1\n");
// The two sections of the sample without their blank lines.
QString const first = sample.section(QLatin1Char('\n'), 0, 7);
QString const second = sample.section(QLatin1Char('\n'), 9, 14);

QString rects(QList<QRect> const &list)
{
    QStringList parts;
    for (QRect const &r : list)
        parts << QString::asprintf("(%d %d %d %d)", r.x(), r.y(), r.width(), r.height());
    return parts.join(QLatin1Char(' '));
}
QString frameText(QString const &sprite, QPoint offset, int delay, int flip, int blend,
                  double source, double destination, QPointF scale, double angle,
                  QList<QRect> const &attack, QList<QRect> const &collision)
{
    auto n = [](double value) { return QString::number(value); };
    return QStringLiteral("%1 @%2,%3 t%4 f%5 b%6:%7:%8 ")
               .arg(sprite, n(offset.x()), n(offset.y()), n(delay), n(flip), n(blend), n(source),
                    n(destination)) +
        QStringLiteral("s%1,%2 a%3 A[%4] C[%5]")
            .arg(n(scale.x()), n(scale.y()), n(angle), rects(attack), rects(collision));
}
QString describeFrame(FrameCode const *f)
{
    return frameText(f->property(QStringLiteral("Identifier")).toString(), f->offset(), f->delay(),
                     f->flipFlags(), f->blendMode(), f->blendSource(), f->blendDestination(),
                     f->scale(), f->angle(), f->attackBoxes()->rects(),
                     f->collisionBoxes()->rects());
}
// Reads AIR text with regular expressions, line by line, the way the format
// is documented: each action and its frames as describeFrame writes them,
// the reference that the parser's model is checked against.
QStringList readReference(QString const &text)
{
    auto const caseless = QRegularExpression::CaseInsensitiveOption;
    static QRegularExpression const heading(R"(^\[\s*begin\s+action\s+(-?\d+)\s*\]$)", caseless),
        header(R"(^clsn([12])(default)?\s*:\s*\d+$)", caseless), asd(R"(^AS(\d+)D(\d+)$)"),
        box(R"(^clsn[12]\s*\[\s*\d+\s*\]\s*=\s*(-?\d+)\s*,\s*(-?\d+)\s*,\s*(-?\d+)\s*,\s*(-?\d+)$)",
            caseless);
    QStringList out;
    QList<QRect> defaults[2], own[2], *target = nullptr;
    bool ownSet[2] = {false, false};
    int loopAt = -1, frames = 0;
    QRegularExpressionMatch m;
    auto endFrame = [&] {
        own[0] = own[1] = {};
        ownSet[0] = ownSet[1] = false;
        target = nullptr;
    };
    for (QString line : text.split(QLatin1Char('\n'))) {
        line = line.left(line.indexOf(QLatin1Char(';'))).remove(QChar(0xFEFF)).trimmed();
        if (line.isEmpty()) {
        } else if ((m = heading.match(line)).hasMatch()) {
            out << QStringLiteral("action ") + m.captured(1);
            endFrame();
            defaults[0] = defaults[1] = {};
            loopAt = -1;
            frames = 0;
        } else if (out.isEmpty()) {
        } else if ((m = header.match(line)).hasMatch()) {
            int const t = m.captured(1).toInt() - 1;
            ownSet[t] = ownSet[t] || m.capturedLength(2) == 0;
            target = m.capturedLength(2) > 0 ? &defaults[t] : &own[t];
            target->clear();
        } else if ((m = box.match(line)).hasMatch()) {
            int const x1 = m.captured(1).toInt(), y1 = m.captured(2).toInt();
            int const x2 = m.captured(3).toInt(), y2 = m.captured(4).toInt();
            if (target)
                target->append(QRect(qMin(x1, x2), qMin(y1, y2), qAbs(x2 - x1), qAbs(y2 - y1)));
        } else if (line.compare(QLatin1String("loopstart"), Qt::CaseInsensitive) == 0) {
            loopAt = loopAt < 0 ? frames : loopAt;
        } else if (!line.startsWith(QLatin1String("interpolate"), Qt::CaseInsensitive)) {
            QStringList const fields = line.split(QLatin1Char(','));
            auto field = [&fields](int i) { return fields.value(i).trimmed().toUpper(); };
            auto real = [&field](int i, double fallback) {
                return field(i).isEmpty() ? fallback : field(i).toDouble();
            };
            QString const blend = field(6);
            bool const as = (m = asd.match(blend)).hasMatch();
            double const source = as ? m.captured(1).toInt() / 256.0 : 1.0;
            double const destination = as      ? m.captured(2).toInt() / 256.0
                : blend == QLatin1String("A1") ? 0.5
                                               : 1.0;
            out << frameText(field(0) + QLatin1Char(',') + field(1),
                             QPoint(field(2).toInt(), field(3).toInt()), field(4).toInt(),
                             (field(5).contains('H') ? 1 : 0) | (field(5).contains('V') ? 2 : 0),
                             blend == QLatin1String("S") ? 2 : int(!blend.isEmpty()), source,
                             destination, QPointF(real(7, 1), real(8, 1)), real(9, 0),
                             ownSet[0] ? own[0] : defaults[0], ownSet[1] ? own[1] : defaults[1]);
            if (loopAt == frames)
                out << QStringLiteral("loop start");
            ++frames;
            endFrame();
        }
    }
    return out;
}
// The model of \a document as readReference writes the text.
QStringList modelLines(AirDocument &document)
{
    QStringList out;
    for (AnimationCode const *animation : document.animations()->animations()) {
        out << QStringLiteral("action ") +
                animation->property(QStringLiteral("Identifier")).toString();
        for (FrameCode const *frame : animation->frames()) {
            out << describeFrame(frame);
            if (frame->isLoopPoint())
                out << QStringLiteral("loop start");
        }
    }
    return out;
}
// The model written out: each section with its lines, frames and values,
// then the frames and values that stand in none.
QString describe(CodeDocument *document)
{
    QString out;
    for (CodeNode *child : document->root()->childs()) {
        out +=
            QString::asprintf("%d %d-%d\n", child->type(), child->firstLine(), child->lastLine());
        if (auto *animation = dynamic_cast<AnimationCode *>(child)) {
            out +=
                animation->displayName() + QString::asprintf(" loop %d\n", animation->loopStart());
            for (FrameCode const *frame : animation->frames())
                out += describeFrame(frame) + QString::asprintf(" line %d\n", frame->firstLine());
        } else if (auto *group = dynamic_cast<GroupCode *>(child)) {
            for (ValueCode const *value : group->values())
                out += QString::asprintf("  value %d\n", value->lineNo());
        }
    }
    for (CodeNode *node = document->root()->next(); node; node = node->next()) {
        if (node->type() == CodeNode::Frame && !node->parent())
            out += QStringLiteral("loose ") + describeFrame(static_cast<FrameCode *>(node)) + '\n';
        else if (node->type() == CodeNode::Value && !node->parent())
            out += QString::asprintf("loose value %d\n", node->lineNo());
    }
    return out;
}
QStringList messages(CodeDocument &document)
{
    return KenroTest::messageLines(document.messages());
}
// AIR lines, and the test parser's "[Name]" headings and "key = value" values.
class MixedDocument final : public KenroTest::TestDocument
{
    class Parser final : public KenroTest::TestParser
    {
        CodeNode *parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                        CodeNode *context, RootCode *root, CodeParserSyntax *syntax) override
        {
            QString const line = text.trimmed();
            bool const ours = line.startsWith('[') ? !line.contains(QLatin1String("Action"))
                                                   : line.contains('=') && !line.startsWith("Clsn");
            return ours ? TestParser::parse(text, block, oldNode, context, root, syntax)
                        : air.parse(text, block, oldNode, context, root, syntax);
        }
        Kenro::Ikemen::AirParser air;
    };

public:
    MixedDocument() { setParser(&mixed); }
    ~MixedDocument() override { setParser(nullptr); }
    Parser mixed;
};

QString fresh(QString const &text, bool mixed = false)
{
    std::unique_ptr<CodeDocument> document(mixed ? static_cast<CodeDocument *>(new MixedDocument)
                                                 : new AirDocument);
    document->fromString(text);
    return describe(document.get());
}
AnimationCode *action(CodeDocument &document, int index)
{
    return static_cast<AnimationCode *>(document.root()->childAt(static_cast<unsigned int>(index)));
}
FrameCode *frame(CodeDocument &document, int index, int row)
{
    return action(document, index)->frameAt(static_cast<unsigned int>(row));
}
QStringList identifiers(Animations const *animations)
{
    QStringList ids;
    for (AnimationCode const *animation : animations->animations())
        ids << animation->property(QStringLiteral("Identifier")).toString();
    return ids;
}
// The time that each tick of a player returns and the frame shown at it,
// played, and worked out from the delays and the loop start alone.
using Ticks = QList<QPair<int, int>>;
Ticks playedTicks(AnimationPlayer &player, AnimationCode const *animation, int ticks)
{
    Ticks result;
    for (int i = 0; i < ticks; ++i)
        result.append({player.tick(), animation->indexOfFrame(player.currentFrame())});
    return result;
}
Ticks expectedTicks(AnimationCode const *animation, int ticks)
{
    QList<int> delays;
    for (FrameCode const *frame : animation->frames())
        delays << frame->delay();
    int total = 0, loop = 0;
    for (int i = 0; i < delays.size(); ++i) {
        total = (total < 0 || delays.at(i) < 0) ? -1 : total + delays.at(i);
        loop += i < animation->loopStart() ? delays.at(i) : 0;
    }
    Ticks result;
    for (int tick = 0, time = 0; tick < ticks; ++tick, ++time) {
        if (total >= 0 && time >= total)
            time = loop;
        int frame = 0;
        for (int i = 0, start = 0; i < delays.size() && time >= start; ++i) {
            frame = i;
            if (delays.at(i) < 0)
                break;
            start += delays.at(i);
        }
        result.append({time, frame});
    }
    return result;
}

using Edit = std::function<void(CodeDocument &)>;
using Act = std::function<void(Animations &)>;
#define EDIT(...) Edit([](CodeDocument &d) { __VA_ARGS__; })
// An edit of frame \a row of action \a index, or of that action itself.
#define FRAME(index, row, ...) EDIT(frame(d, index, row)->__VA_ARGS__)
#define ACTION(index, ...) EDIT(action(d, index)->__VA_ARGS__)
#define ACT(...) Act([](Animations &a) { __VA_ARGS__; })

} // namespace

Q_DECLARE_METATYPE(Edit)
Q_DECLARE_METATYPE(Act)

class TestAir : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }

    // Keywords in any case, a frame above the first heading that stands in
    // no action, and every field of a frame line.
    void readsEveryField()
    {
        AirDocument document;
        document.fromString(
            "1,1, 0,0, 3\n" +
            QString(sample)
                .replace("[Begin Action 200]", "[begin action 200]")
                .replace("3, ,A1\n200,1, 0,0, -1\n",
                         "3, ,A1, 1.5, 2, 30\n200,1, 0,0, -1, VH, AS128D64\n") +
            "[BEGIN ACTION 7]\nCLSN1DEFAULT: 1\n clsn1[0]=1,2,3,4\nLOOPSTART\ninterpolate offset\n"
            "1,2,3,4,5,hv,as10d20\n");
        QCOMPARE(messages(document), QStringList());
        QCOMPARE(modelLines(document), readReference(document.toPlainText()));
        AnimationCode const *stand = action(document, 0);
        QCOMPARE(stand->displayName(), QStringLiteral("Action 0 - Sample"));
        QCOMPARE(stand->loopStart(), 2);
        QCOMPARE(stand->firstLine(), 1); // the title comment belongs to the action below it
        QCOMPARE(stand->lastLine(), 9);
        QVERIFY(stand->frameAt(0)->sharesContactBoxes(ContactBoxCode::Collision));
        FrameCode const *punch = frame(document, 1, 0);
        QVERIFY(punch->isTransformed() && !punch->sharesContactBoxes(ContactBoxCode::Attack));
        QCOMPARE(punch->attackBoxes()->parent(), punch);
        QCOMPARE(punch->firstLine(), 12);
        QCOMPARE(action(document, 1)->firstLine(), 10);
        QCOMPARE(describeFrame(frame(document, 2, 0)),
                 "1,2 @3,4 t5 f3 b1:0.0390625:0.078125 s1,1 a0 A[(1 2 2 2)] C[]");
        auto const *loose = static_cast<FrameCode *>(document.nodeInBlock(document.firstBlock()));
        QCOMPARE(loose->index(), -1);
        QCOMPARE(loose->firstLine(), 0);
    }
    void realFilesMatchTheirText_data()
    {
        QTest::addColumn<QString>("path");
        KENRO_REQUIRE_TESTDATA(root);
        QDirIterator it(root + "/game", {"*.air"}, QDir::Files, QDirIterator::Subdirectories);
        int files = 0;
        for (; it.hasNext(); ++files)
            QTest::newRow(qPrintable(it.next().mid(root.size()))) << it.filePath();
        QVERIFY2(files >= 3, "the test data holds three AIR files");
    }
    void realFilesMatchTheirText()
    {
        QFETCH(QString, path);
        AirDocument document;
        QVERIFY(document.fromFile(FileSystemArchive::instance(), path, 0, nullptr));
        // Some boxes of kfm are written as "Clsn2[i]" under a "Clsn1: n" header:
        // they are attack boxes, with a warning.
        bool const kfm = path.endsWith(QLatin1String("kfm.air"));
        QStringList const warnings = messages(document);
        QCOMPARE(warnings.isEmpty(), !kfm);
        for (QString const &line : warnings)
            QVERIFY2(line.endsWith(":1 A Clsn2 box under a Clsn1 header is a Clsn1 box"),
                     qPrintable(line));
        QVERIFY(warnings.isEmpty() || warnings.first().startsWith(QLatin1String("1 962:1 ")));
        QStringList const lines = modelLines(document);
        QCOMPARE(lines, readReference(document.toPlainText()));
        QVERIFY(!kfm || document.animations()->count() > 100);
        QVERIFY(lines.contains("loop start") || path.endsWith(QLatin1String("fightfx.air")));
    }
    // Frames read off the files by eye, and actions played through.
    void realActions_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("frame");
        QTest::addColumn<QString>("expected");
        auto row = [](char const *file, int action, int frame, char const *expected) {
            QTest::addRow("%s %d/%d", file, action, frame)
                << QString::fromLatin1(file) << action << frame << QString::fromLatin1(expected);
        };
        char const *kfm = "chars/kfm/kfm.air", *training = "chars/training/Training.air";
        row(kfm, 0, 5, "0,5 @0,0 t45 f0 b0:1:1 s1,1 a0 A[] C[(-13 -79 29 79) (-7 -93 12 14)]");
        row(kfm, 41, -1, ""); // a jump with a loop start
        row(kfm, 5200, 0, "41,4 @0,-120 t3 f3 b0:1:1 s1,1 a0 A[] C[(-14 -75 30 29)]");
        row("data/fightfx.air", 3, 1, "3,0 @0,0 t1 f0 b1:1:0.5 s1,1 a0 A[] C[]");
        row(training, 20200, 1, "20200,0 @0,0 t12 f0 b1:0.5:0.5 s1,1 a0 A[] C[]");
        row(training, 416, 0, "415,0 @0,0 t-1 f1 b0:1:1 s1,1 a0 A[] C[]");
    }
    // The delays and loop start of the model, which the reading of the real
    // files checks against their text, give the player's ticks.
    void realActions()
    {
        QFETCH(QString, file);
        QFETCH(int, action);
        QFETCH(int, frame);
        QFETCH(QString, expected);
        KENRO_REQUIRE_TESTDATA(root);
        AirDocument document;
        QVERIFY(
            document.fromFile(FileSystemArchive::instance(), root + "/game/" + file, 0, nullptr));
        Animations *animations = document.animations();
        int const index = animations->find(0, action);
        QVERIFY(index >= 0);
        AnimationCode const *animation = animations->at(unsigned(index));
        QVERIFY(frame < 0 || animation->frameAt(unsigned(frame)));
        QCOMPARE(frame < 0 ? QString() : describeFrame(animation->frameAt(unsigned(frame))),
                 expected);
        AnimationPlayer player;
        QVERIFY(player.change(animations, index, false));
        QCOMPARE(playedTicks(player, animation, 400), expectedTicks(animation, 400));
    }
    void faultsAreReportedWhereTheyAre_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("nodeType");
        auto row = [](char const *line, char const *message, int type = 0) {
            addRow(line, line, message, type);
        };
        row("0,0, zz,0, 5", "5 The x offset must be a whole number");
        row("0,0, 0,0", "7 The time is missing");
        row("0,0, 0,, 5", "6 The y offset is missing");
        row("0,0, 0,0, 5, X", "13 Flip is H, V or HV", CodeNode::Frame);
        row("0,0, 0,0, 5, , AS300D1", "15 Blend is A, A1, S or AS<n>D<m>", CodeNode::Frame);
        row("0,0, 0,0, 5, , , x", "17 A number expected", CodeNode::Frame);
        row("[Statedef 0]", "0 Unknown section: only [Begin Action n] is known");
        row("[Begin Action ]", "14 The action number is missing");
        row("[Begin Action 3", "0 Missing ']' at the end of the heading");
        row("[Begin Action 3] x", "17 Unexpected text at the end of the line", CodeNode::Animation);
        row("Clsn3: 2", "0 Clsn1 or Clsn2 expected");
        row("Clsn2: x", "7 The number of boxes is missing");
        row(" Clsn1[0] = 1, 2, 3", "18 A box needs four coordinates");
        row(" Clsn1[0] = 1, 2, b, 4", "18 A whole number expected");
        row(" Clsn1[0] 1, 2, 3, 4", "10 '=' expected");
        row("Loopend", "0 Unknown keyword");
        row("Interpolate Colour", "12 Offset, Blend, Scale or Angle expected");
        row("*0,0", "0 A frame, a box or a heading expected");
    }
    void faultsAreReportedWhereTheyAre()
    {
        QFETCH(QString, line);
        QFETCH(QString, message);
        QFETCH(int, nodeType);
        AirDocument document;
        document.fromString("[Begin Action 1]\n" + line + " ; note\n");
        QCOMPARE(messages(document), QStringList("0 1:" + message));
        CodeNode const *node = document.nodeInBlock(document.findBlockByNumber(1));
        QCOMPARE(node ? int(node->type()) : 0, nodeType);
    }
    void brokenInputFailsCleanly()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QByteArray const real = KenroTest::readFile(root + "/game/chars/kfm/kfm.air");
        QVERIFY(real.size() > 1000);
        QRandomGenerator random(7);
        // Truncated at random places, with random bytes thrown in.
        for (int round = 0; round < 12; ++round) {
            QByteArray data = real.left(random.bounded(real.size()));
            for (int i = 0; i < 40 && !data.isEmpty(); ++i)
                data[random.bounded(data.size())] = static_cast<char>(random.bounded(256));
            AirDocument document;
            document.fromString(QString::fromLatin1(data));
            describe(&document);
            QVERIFY(document.animations()->count() <= unsigned(data.count('[')));
        }
        // Numbers past the range of int and a huge line.
        AirDocument document;
        document.fromString("[Begin Action 1]\n" + QString(200000, '9') + "," +
                            QString(100000, ',') +
                            "\n Clsn1[99999999999] = 1,2,3,4\n[Begin Action 99999999999]\n");
        QCOMPARE(document.messages()->count(Message::Error), 3u);
        QCOMPARE(document.animations()->count(), 1u);
        QCOMPARE(action(document, 0)->frameCount(), 0u);
    }
    void editsWriteWhatAnAuthorWould_data()
    {
        QTest::addColumn<Edit>("edit");
        QTest::addColumn<QString>("expected");
        using Blend = FrameCode::Blend;
        // Each edit changes \a from of the sample into \a to; an empty \a from changes nothing.
        auto row = [](char const *name, Edit edit, QString const &from, QString const &to) {
            Q_ASSERT(from.isEmpty() || sample.count(from) == 1);
            QTest::newRow(name) << edit << QString(sample).replace(from, to);
        };
        QString const stand = QStringLiteral("0,0, 0,0, 5   ; stand");
        QString const frame1 = QStringLiteral("0,1, 0,0, 5\n");
        QString const frame2 = QStringLiteral("0,2, 0,0, 5, H\n");
        QString const punch = QStringLiteral("200,0, 10,-2, 3, ,A1\n");
        QString const hold = QStringLiteral("200,1, 0,0, -1\n");
        QString const punchBoxes = QStringLiteral("Clsn1: 1\n Clsn1[0] =  15,-70, 50,-60\n");
        QString const copiedBoxes = QStringLiteral("Clsn1: 1\n Clsn1[0] = 15, -70, 50, -60\n");
        row("offset", FRAME(0, 0, setOffsetX(3)), stand, "0,0, 3,0, 5   ; stand");
        row("offset property", FRAME(1, 1, setProperty("Offset", QPoint(1, 2))), hold,
            "200,1, 1,2, -1\n");
        row("delay", FRAME(0, 1, setDelay(-1)), frame1, "0,1, 0,0, -1\n");
        row("flip both", FRAME(0, 2, setFlipFlags(FrameCode::Both)), frame2, "0,2, 0,0, 5, HV\n");
        row("flip off", FRAME(0, 2, setFlipFlags(FrameCode::None)), frame2, "0,2, 0,0, 5\n");
        row("flip added", FRAME(0, 1, setFlipFlags(FrameCode::Vertical)), frame1,
            "0,1, 0,0, 5, V\n");
        row("blend before the comment", FRAME(0, 0, setBlend(Blend(Blend::Addition, 1, 1))), stand,
            "0,0, 0,0, 5, , A   ; stand");
        row("blend off", FRAME(1, 0, setBlendMode(Blend::None)), punch, "200,0, 10,-2, 3\n");
        row("blend factors", FRAME(1, 0, setBlendDestination(0.25)), punch,
            "200,0, 10,-2, 3, ,AS256D64\n");
        row("subtraction", FRAME(0, 2, setBlendMode(Blend::Subtraction)), frame2,
            "0,2, 0,0, 5, H, S\n");
        row("blend AIR cannot write", FRAME(1, 0, setBlendMode(Blend::Overlay)), {}, {});
        row("scale", FRAME(0, 1, setScale(QPointF(2, 0.5))), frame1, "0,1, 0,0, 5, , , 2, 0.5\n");
        row("angle writes the scale", FRAME(0, 1, setAngle(45)), frame1,
            "0,1, 0,0, 5, , , 1, 1, 45\n");
        row("scale back to one", FRAME(0, 2, setScaleY(3); frame(d, 0, 2)->setScaleY(1)), {}, {});
        row("sprite", FRAME(0, 1, setProperty("Identifier", "9, 8")), frame1, "9,8, 0,0, 5\n");
        row("action number", ACTION(1, setProperty("Identifier", 300)), "Action 200", "Action 300");
        row("box keeps its corner order",
            FRAME(0, 0, collisionBoxes()->at(0)->setRect(QRect(-12, -80, 22, 80))),
            " Clsn2[0] = -10, 0", " Clsn2[0] = -12, 0");
        row("first attack box", FRAME(0, 0, attackBoxes()->add(QRect(1, 2, 3, 4))), stand,
            "Clsn1: 1\n Clsn1[0] = 1, 2, 4, 6\n" + stand);
        row("second box of its own", FRAME(1, 0, attackBoxes()->add(QRect(0, -10, 5, 5))),
            punchBoxes, "Clsn1: 2\n Clsn1[0] =  15,-70, 50,-60\n Clsn1[1] = 0, -10, 5, -5\n");
        row("a shared box added to", FRAME(0, 1, collisionBoxes()->add(QRect(0, 0, 1, 1))), frame1,
            "Clsn2: 2\n Clsn2[0] = -10, -80, 10, 0\n Clsn2[1] = 0, 0, 1, 1\n" + frame1);
        row("last own box removed", FRAME(1, 0, attackBoxes()->remove(0)), punchBoxes, {});
        row("a shared box removed", FRAME(0, 1, collisionBoxes()->remove(0)), frame1,
            "Clsn2: 0\n" + frame1);
        row("boxes cleared", FRAME(0, 2, collisionBoxes()->clear()), frame2, "Clsn2: 0\n" + frame2);
        row("boxes of the frame before",
            FRAME(1, 1,
                  setContactBoxes(ContactBoxCode::Attack, frame(d, 1, 0)->attackBoxes()->rects())),
            hold, copiedBoxes + hold);
        row("frame added", EDIT(QVERIFY(action(d, 0)->addFrame(-1))), frame2,
            frame2 + "0,0, 0,0, 1\n");
        row("frame copied with its boxes", EDIT(QVERIFY(action(d, 1)->insertFrame(1, 0))), hold,
            copiedBoxes + punch + hold);
        row("frame duplicated", EDIT(QVERIFY(frame(d, 0, 2)->duplicate())), frame2,
            frame2 + frame2);
        row("frame removed, defaults stay", ACTION(0, removeFrame(0)), stand + '\n', {});
        row("frame removed with its boxes", ACTION(1, removeFrame(0)), punchBoxes + punch, {});
        row("frame moved down", ACTION(0, moveFrame(0, 2)),
            stand + '\n' + frame1 + "Loopstart\n" + frame2,
            frame1 + "Loopstart\n" + frame2 + stand + '\n');
        row("frame moved up with its boxes", ACTION(1, moveFrame(1, 0)), punchBoxes + punch + hold,
            hold + punchBoxes + punch);
        row("loop point moved", FRAME(0, 1, setLoopPoint(true)), frame1 + "Loopstart\n",
            "Loopstart\n" + frame1);
        row("loop point dropped", FRAME(0, 2, setProperty("LoopPoint", false)), "Loopstart\n", {});
        row("action code", ACTION(1, setCode("[Begin Action 7]\n7,7, 0,0, 7\n")),
            "; Punch\n[Begin Action 200]\n" + punchBoxes + punch + hold,
            "[Begin Action 7]\n7,7, 0,0, 7\n\n");
        row("out of range",
            EDIT(QCOMPARE(action(d, 0)->frameAt(7), nullptr); action(d, 0)->removeFrame(9);
                 action(d, 0)->moveFrame(0, 9); frame(d, 1, 0)->attackBoxes()->remove(3)),
            {}, {});
    }
    void editsWriteWhatAnAuthorWould()
    {
        QFETCH(Edit, edit);
        QFETCH(QString, expected);
        AirDocument document;
        document.fromString(sample);
        edit(document);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(document.toPlainText(), expected);
        // The model that the edit left is the one the text gives.
        QCOMPARE(describe(&document), fresh(expected));
        QCOMPARE(messages(document), QStringList());
        // One user action is one step of undo.
        if (expected != sample) {
            document.undo();
            QCOMPARE(document.toPlainText(), sample);
            QCOMPARE(describe(&document), fresh(sample));
        }
    }
    void formatting()
    {
        QString const messy =
            "  [Begin Action 1]  \nClsn2: 1\nClsn2[0] = 1,2,3,4 \n   1,1, 0,0, 1   ; c\n";
        AirDocument document;
        document.fromString(messy);
        document.formatLines(0, document.blockCount() - 1, true);
        QCOMPARE(document.toPlainText(),
                 "[Begin Action 1]  \nClsn2: 1\n Clsn2[0] = 1,2,3,4 \n1,1, 0,0, 1   ; c\n");
        document.formatLines(0, 1, false);
        QCOMPARE(document.toPlainText(),
                 "[Begin Action 1]\nClsn2: 1\n Clsn2[0] = 1,2,3,4 \n1,1, 0,0, 1   ; c\n");
        document.undo(); // one step each
        document.undo();
        QCOMPARE(document.toPlainText(), messy);
        QCOMPARE(describe(&document), fresh(messy));
    }
    // Typing, deleting and moving lines keep the model the one a fresh parse
    // of the same text gives, with sections of values among the actions too.
    void editSequencesMatchAFreshParse_data()
    {
        QTest::addColumn<bool>("mixed");
        QTest::addColumn<quint32>("seed");
        QTest::newRow("air") << false << 11u;
        for (quint32 seed = 5; seed < 9; ++seed)
            QTest::addRow("mixed %u", seed) << true << seed;
    }
    void editSequencesMatchAFreshParse()
    {
        QFETCH(bool, mixed);
        QFETCH(quint32, seed);
        // A section's death hands values on only up to a frame, while a new
        // value looks past frames, so the mixed edits make no values: they
        // keep to whole lines.
        QString const snippets = mixed
            ? QStringLiteral("[Begin Action 5]|[Data]|[Other]|1,2, 3,4, 5| Clsn1[0] = 1,2,3,4|"
                             "; note|")
            : QStringLiteral("[Begin Action 5]|[Begin Action 6] ; x|1,2, 3,4, 5|7,7, 0,0, -1, H, "
                             "A|Clsn1: 1|Clsn2Default: 2| Clsn1[0] = 1,2,3,4| Clsn2[1] = "
                             "-5,0,5,-9|Loopstart|; comment|bad line|");
        std::unique_ptr<CodeDocument> document(
            mixed ? static_cast<CodeDocument *>(new MixedDocument) : new AirDocument);
        document->fromString(mixed ? "[Begin Action 1]\n1,1, 0,0, 1\n[Data]\n2,2, 0,0, 1\n"
                                   : sample);
        KenroTest::checkRandomEdits(
            *document, snippets.split(QLatin1Char('|')), seed, 300,
            [&document] { return describe(document.get()); },
            [mixed](QString const &text) { return fresh(text, mixed); }, mixed);
    }
    // Sections of values end animations, and frames below them stand in none.
    void actsWriteWhatAnAuthorWould_data()
    {
        QTest::addColumn<Act>("act");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("order");
        auto renamed = [](QString text, char const *to) {
            return text.replace(QRegularExpression("Action \\d+"), to);
        };
        auto row = [](char const *name, Act act, QString const &expected, char const *order) {
            QTest::newRow(name) << act << expected << QString::fromLatin1(order);
        };
        row("add", ACT(QVERIFY(a.add("300"))), sample + "\n[Begin Action 300]\n", "0 200 300");
        row("insert", ACT(QCOMPARE(a.indexOf(a.insert(1, "100")), 1)),
            first + "\n\n[Begin Action 100]\n\n" + second + '\n', "0 100 200");
        row("insert past the end", ACT(QVERIFY(a.insert(9, "5"))), sample + "\n[Begin Action 5]\n",
            "0 200 5");
        row("duplicate renamed", ACT(QVERIFY(a.duplicate(0, "7"))),
            first + "\n\n" + renamed(first, "Action 7") + "\n\n" + second + '\n', "0 7 200");
        row("duplicate the last", ACT(QCOMPARE(a.duplicate(1, "201")->frameCount(), 2u)),
            sample + '\n' + renamed(second, "Action 201") + '\n', "0 200 201");
        row("remove", ACT(a.remove(0)), second + '\n', "200");
        row("move down", ACT(a.move(0, 1)), second + "\n\n" + first + '\n', "200 0");
        row("move up", ACT(a.move(1, 0)), second + "\n\n" + first + "\n\n", "200 0");
        row("out of range", ACT(a.remove(2); a.move(0, 2); a.move(1, 1)), sample, "0 200");
        row("sorted", ACT(a.at(0)->setName("900"); a.autoOrganize()),
            second + "\n\n" + renamed(first, "Action 900") + "\n\n", "200 900");
    }
    void actsWriteWhatAnAuthorWould()
    {
        QFETCH(Act, act);
        QFETCH(QString, expected);
        QFETCH(QString, order);
        AirDocument document;
        document.fromString(sample);
        act(*document.animations());
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(document.toPlainText(), expected);
        QCOMPARE(identifiers(document.animations()).join(' '), order);
        QCOMPARE(describe(&document), fresh(expected));
        AirDocument other;
        other.fromString(expected);
        QCOMPARE(identifiers(other.animations()).join(' '), order);
    }
    void listChangesArePublished()
    {
        AirDocument document;
        document.fromString(sample + "\n[Begin Action 300]\n1,1, 0,0, 1\n");
        Animations *animations = document.animations();
        QCOMPARE(animations->data(animations->index(1)).toString(),
                 QStringLiteral("Action 200 - Punch"));
        QCOMPARE(animations->find(0, 200), 1);
        animations->beginChange();
        QVERIFY(!animations->data(animations->index(0)).isValid());
        animations->endChange();
        AnimationCode *punch = animations->at(1);
        QSignalSpy listed(animations, &QAbstractItemModel::dataChanged);
        QSignalSpy tree(document.model(), &QAbstractItemModel::dataChanged);
        QTextCursor cursor(document.findBlockByNumber(punch->lineNo()));
        for (int i = 0; i < 2; ++i) { // the same text again is no news
            cursor.select(QTextCursor::LineUnderCursor);
            cursor.insertText(QStringLiteral("[Begin Action 201]"));
        }
        QCOMPARE(animations->at(1), punch); // the same node, renamed
        QCOMPARE(listed.size(), 1);
        QCOMPARE(listed.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(tree.size(), 1);
        QSignalSpy moved(animations, &QAbstractItemModel::rowsMoved);
        QSignalSpy inserted(animations, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(animations, &QAbstractItemModel::rowsRemoved);
        animations->move(0, 2);
        QCOMPARE(moved.size(), 1);
        QCOMPARE(moved.first().at(4).toInt(), 3);
        QCOMPARE(inserted.size() + removed.size(), 0);
        QCOMPARE(identifiers(animations), QStringList({"201", "300", "0"}));
        animations->remove(0);
        animations->add(QStringLiteral("9"));
        QCOMPARE(removed.size() + inserted.size(), 2);
        for (int i = 0; i < 3; ++i) // each act is one step of undo
            document.undo();
        QCOMPARE(identifiers(animations), QStringList({"0", "201", "300"}));
        QCOMPARE(describe(&document), fresh(document.toPlainText()));
    }
    void playerFollowsTheRules()
    {
        AirDocument document;
        document.fromString("[Begin Action 1]\n1,0, 0,0, 3\nLoopstart\n1,1, 0,0, 2\n"
                            "[Begin Action 2]\n2,0, 0,0, 2\n2,1, 0,0, -1\n[Begin Action 3]\n");
        Animations *animations = document.animations();
        AnimationCode *looping = animations->at(0), *held = animations->at(1);
        AnimationPlayer player;
        QVERIFY(player.change(animations, 0, false));
        QCOMPARE(playedTicks(player, looping, 9), expectedTicks(looping, 9));
        // The last frame's next is the loop start, which starts the frame's time again.
        QCOMPARE(player.nextFrame(), looping->frameAt(1));
        QCOMPARE(player.frameTime(), 2u);
        AnimationPlayer copy = player; // a copy shares the time
        QCOMPARE(copy.tick(), 3);
        QCOMPARE(player.tick(), 4);
        // The same pair without force stops the player.
        QVERIFY(!player.change(animations, 0, false));
        QCOMPARE(player.currentFrame(), nullptr);
        QCOMPARE(player.tick(), 0);
        QVERIFY(player.change(animations, 0, true));
        player.tick();
        player.reset();
        QCOMPARE(player.tick(), 0);
        QVERIFY(player.change(animations, 1, false));
        QCOMPARE(playedTicks(player, held, 50), expectedTicks(held, 50));
        QCOMPARE(player.nextFrame(), held->frameAt(0));
        // No frames: nothing to show, and the ticks go on.
        QVERIFY(player.change(animations, 2, false));
        QCOMPARE(player.currentFrame(), nullptr);
        QCOMPARE(player.tick(), 0);
        QVERIFY(!player.change(animations, 3, false) && !player.change(animations, -1, true));
        QVERIFY(!player.change(nullptr, 0, true));
        // The text may change under the player.
        QVERIFY(player.change(animations, 0, true));
        player.tick();
        animations->remove(0);
        player.tick();
        animations->remove(0);
        animations->remove(0);
        QCOMPARE(player.tick(), 0);
        QCOMPARE(player.currentFrame(), nullptr);
    }
    void framesFindTheirSprites()
    {
        KenroTest::TestProject project(nullptr, 0, nullptr, false);
        auto *sprites = new KenroTest::MemorySprites;
        QImage picture(4, 4, QImage::Format_Indexed8);
        picture.fill(1);
        QVERIFY(sprites->add(QStringLiteral("200, 1"), picture, NoShare));
        QVERIFY(sprites->add(QStringLiteral("0, 0"), picture, NoShare));
        QVERIFY(project.addFile(sprites, Project::Sprites));
        AirAnimations *file = AirDocument::createAnimations();
        QVERIFY(project.addFile(file, Project::Animations));
        file->document()->fromString(sample);
        QCOMPARE(file->at(0)->frameAt(0)->sprite(), sprites->at(1));
        QCOMPARE(file->at(0)->frameAt(1)->sprite(), nullptr); // 0,1 is not there
        QCOMPARE(file->at(1)->frameAt(1)->sprite(), sprites->at(0));
        AirDocument alone; // a file opened alone has no sprites
        alone.fromString(sample);
        QCOMPARE(alone.animations()->at(0)->frameAt(0)->sprite(), nullptr);
        project.removeFile(file);
        project.removeFile(sprites);
    }
    void engineComesFromThePlugin()
    {
        KENRO_REQUIRE_TESTDATA(root);
        ExtensionManager manager{QStringLiteral(KENRO_PLUGIN_DIR)};
        QLibrary library(QStringLiteral(KENRO_IKEMEN_PLUGIN));
        auto const take = reinterpret_cast<Engine *(*)()>(library.resolve("kenroEngine"));
        QVERIFY(take);
        std::unique_ptr<Engine> engine(take());
        QVERIFY(engine && !take()); // taken once
        QCOMPARE(engine->queryString(Engine::CommentString, 0), QStringLiteral(";"));
        QCOMPARE(engine->openFile(root + "/game/missing.air", Project::Animations), nullptr);
        ProjectFile *file = engine->openFile(root + "/game/chars/kfm/kfm.air", Project::Animations);
        auto *animations = dynamic_cast<Animations *>(file);
        QVERIFY(animations);
        QCOMPARE(animations->at(0)->frameCount(), 11u);
        file->release();
    }
};

QTEST_MAIN(TestAir)
#include "tst_air.moc"
