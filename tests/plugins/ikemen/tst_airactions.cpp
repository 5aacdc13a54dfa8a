#include "airhelpers.h"
#include <ikemen/air/airdocument.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/animationplayer.h>
#include <kenro/code/framecode.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/engine/engine.h>
#include <kenro/engine/extension.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/project.h>

#include "memorysprites.h"
#include "testdata.h"
#include "testproject.h"

#include <QImage>
#include <QLibrary>
#include <QSignalSpy>
#include <QTest>

#include <functional>
#include <memory>

using namespace Kenro;
using Kenro::Ikemen::AirAnimations;
using Kenro::Ikemen::AirDocument;

namespace {

QString const sample = KenroTest::airSample();

// The two sections of the sample without their blank lines.
QString const first = sample.section(QLatin1Char('\n'), 0, 7);
QString const second = sample.section(QLatin1Char('\n'), 9, 14);

QString fresh(QString const &text)
{
    AirDocument document;
    document.fromString(text);
    return KenroTest::describe(&document);
}

QStringList identifiers(Animations const *animations)
{
    QStringList ids;
    for (AnimationCode const *animation : animations->animations())
        ids.append(animation->property(QStringLiteral("Identifier")).toString());
    return ids;
}

using Act = std::function<void(Animations &)>;

// An animation known only by its identifier.
class Named final : public AnimationCode
{
public:
    explicit Named(QString const &identifier) : AnimationCode(QTextBlock(), nullptr), id(identifier)
    {}
    QString id;
    QString name() const override { return id; }
    void setName(QString const &name) override { id = name; }
    QVariant property(QString const &key) const override
    {
        return key == QLatin1String("Identifier") ? QVariant(id) : AnimationCode::property(key);
    }
    int loopStart() const override { return 0; }
    FrameCode *insertFrame(unsigned int, int) override { return nullptr; }
    FrameCode *addFrame(int) override { return nullptr; }
};

struct PlayerCase
{
    QList<int> delays;
    int loopStart = 0;
};

// What a player gives, worked out from the delays alone: the time that each
// tick returns and the frame shown at it.
QList<QPair<int, int>> expectedTicks(PlayerCase const &animation, int ticks)
{
    int total = 0;
    for (int delay : animation.delays)
        total = (total < 0 || delay < 0) ? -1 : total + delay;
    int loop = 0;
    for (int i = 0; i < animation.loopStart; ++i)
        loop += animation.delays.at(i);
    QList<QPair<int, int>> result;
    int time = 0;
    for (int tick = 0; tick < ticks; ++tick) {
        if (total >= 0 && time >= total)
            time = loop;
        int frame = 0;
        int start = 0;
        for (int i = 0; i < animation.delays.size(); ++i) {
            if (time >= start)
                frame = i;
            if (animation.delays.at(i) < 0)
                break;
            start += animation.delays.at(i);
        }
        result.append({time, frame});
        ++time;
    }
    return result;
}

} // namespace

Q_DECLARE_METATYPE(Act)

class TestAirActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { setGlobalInterface(nullptr); }

    void actionsAreListed()
    {
        AirDocument document;
        document.fromString(sample);
        Animations *animations = document.animations();
        QVERIFY(animations);
        QCOMPARE(identifiers(animations),
                 QStringList({QStringLiteral("0"), QStringLiteral("200")}));
        QCOMPARE(animations->rowCount(), 2);
        QCOMPARE(animations->data(animations->index(1), Qt::DisplayRole).toString(),
                 QStringLiteral("Action 200 - Punch"));
        QVERIFY(!animations->data(animations->index(1), Qt::DecorationRole).isValid());
        QVERIFY(!animations->data(animations->index(2), Qt::DisplayRole).isValid());
        QCOMPARE(animations->at(2), nullptr);
        QCOMPARE(animations->indexOf(animations->at(1)), 1);
        QCOMPARE(animations->find(0, 200), 1);
        QCOMPARE(animations->find(0, QStringLiteral("0")), 0);
        QCOMPARE(animations->find(1, 0), -1);
        QCOMPARE(animations->find(5, 200), -1);
        animations->beginChange();
        QVERIFY(!animations->data(animations->index(0), Qt::DisplayRole).isValid());
        animations->endChange();
        QVERIFY(animations->data(animations->index(0), Qt::DisplayRole).isValid());
    }

    void compareOrdersIdentifiers_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("expected");
        QTest::newRow("10 9") << "10"
                              << "9" << 1;
        QTest::newRow("9 10") << "9"
                              << "10" << -1;
        QTest::newRow("tie") << "5"
                             << "5" << 1;
        QTest::newRow("a b") << "a"
                             << "b" << -1;
        QTest::newRow("B a") << "B"
                             << "a" << 1;
        QTest::newRow("word and number") << "a"
                                         << "1" << 1;
        QTest::newRow("number and word") << "1"
                                         << "a" << 1;
    }

    void compareOrdersIdentifiers()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, expected);
        // Identifiers of any kind, on animations outside of any text.
        AirDocument document;
        auto *list = new AirAnimations(&document);
        Named *left = new Named(a);
        Named *right = new Named(b);
        list->insertChild(left, 0);
        list->insertChild(right, 1);
        QCOMPARE(list->compare(0, 1), expected);
        QCOMPARE(list->compare(0, 7), 1);
        list->release();
        left->release();
        right->release();
    }

    void actsWriteWhatAnAuthorWould_data()
    {
        QTest::addColumn<Act>("act");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("add") << Act([](Animations &a) {
            AnimationCode *added = a.add(QStringLiteral("300"));
            QVERIFY(added);
            QCOMPARE(added->property(QStringLiteral("Identifier")).toString(),
                     QStringLiteral("300"));
        }) << sample + QStringLiteral("\n[Begin Action 300]\n")
                             << QStringList{"0", "200", "300"};
        QTest::newRow("insert") << Act([](Animations &a) {
            AnimationCode *added = a.insert(1, QStringLiteral("100"));
            QVERIFY(added);
            QCOMPARE(a.indexOf(added), 1);
        }) << first + QStringLiteral("\n\n[Begin Action 100]\n\n") + second + QLatin1Char('\n')
                                << QStringList{"0", "100", "200"};
        QTest::newRow("insert past the end")
            << Act([](Animations &a) { QVERIFY(a.insert(9, QStringLiteral("5"))); })
            << sample + QStringLiteral("\n[Begin Action 5]\n") << QStringList{"0", "200", "5"};
        QTest::newRow("duplicate") << Act([](Animations &a) { QVERIFY(a.duplicate(0, QString())); })
                                   << first + QStringLiteral("\n\n") + first +
                QStringLiteral("\n\n") + second + QLatin1Char('\n')
                                   << QStringList{"0", "0", "200"};
        QTest::newRow("duplicate renamed")
            << Act([](Animations &a) { QVERIFY(a.duplicate(0, QStringLiteral("7"))); })
            << first + QStringLiteral("\n\n") +
                QString(first).replace(QStringLiteral("Action 0"), QStringLiteral("Action 7")) +
                QStringLiteral("\n\n") + second + QLatin1Char('\n')
            << QStringList{"0", "7", "200"};
        QTest::newRow("duplicate the last") << Act([](Animations &a) {
            AnimationCode *copy = a.duplicate(1, QStringLiteral("201"));
            QVERIFY(copy);
            QCOMPARE(copy->frameCount(), 2u);
        })
                                            << sample + QLatin1Char('\n') +
                QString(second).replace(QStringLiteral("Action 200"),
                                        QStringLiteral("Action 201")) +
                QLatin1Char('\n') << QStringList{"0", "200", "201"};
        QTest::newRow("remove") << Act([](Animations &a) { a.remove(0); })
                                << second + QLatin1Char('\n') << QStringList{"200"};
        QTest::newRow("remove the last") << Act([](Animations &a) { a.remove(1); })
                                         << first + QStringLiteral("\n\n") << QStringList{"0"};
        QTest::newRow("remove out of range")
            << Act([](Animations &a) { a.remove(2); }) << sample << QStringList{"0", "200"};
        QTest::newRow("move down") << Act([](Animations &a) { a.move(0, 1); })
                                   << second + QStringLiteral("\n\n") + first + QLatin1Char('\n')
                                   << QStringList{"200", "0"};
        QTest::newRow("move up") << Act([](Animations &a) { a.move(1, 0); })
                                 << second + QStringLiteral("\n\n") + first + QStringLiteral("\n\n")
                                 << QStringList{"200", "0"};
        QTest::newRow("move in place") << Act([](Animations &a) {
            a.move(1, 1);
            a.move(0, 0);
        }) << sample << QStringList{"0", "200"};
        QTest::newRow("move out of range")
            << Act([](Animations &a) { a.move(0, 2); }) << sample << QStringList{"0", "200"};
        QTest::newRow("sort") << Act([](Animations &a) {
            a.at(0)->setName(QStringLiteral("900"));
            a.autoOrganize();
        })
                              << second + QStringLiteral("\n\n") +
                QString(first).replace(QStringLiteral("Action 0"), QStringLiteral("Action 900")) +
                QStringLiteral("\n\n")
                              << QStringList{"200", "900"};
    }

    void actsWriteWhatAnAuthorWould()
    {
        QFETCH(Act, act);
        QFETCH(QString, expected);
        QFETCH(QStringList, order);
        AirDocument document;
        document.fromString(sample);
        Animations *animations = document.animations();
        act(*animations);
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(document.toPlainText(), expected);
        QCOMPARE(identifiers(animations), order);
        QCOMPARE(KenroTest::describe(&document), fresh(expected));
        // The list is the one that a fresh document gives.
        AirDocument other;
        other.fromString(expected);
        QCOMPARE(identifiers(other.animations()), order);
    }

    void aNewNumberIsShown()
    {
        AirDocument document;
        document.fromString(sample);
        Animations *animations = document.animations();
        AnimationCode *punch = animations->at(1);
        QSignalSpy listed(animations, &QAbstractItemModel::dataChanged);
        QSignalSpy tree(document.model(), &QAbstractItemModel::dataChanged);
        QTextCursor cursor(document.findBlockByNumber(punch->lineNo()));
        cursor.select(QTextCursor::LineUnderCursor);
        cursor.insertText(QStringLiteral("[Begin Action 201]"));
        QCOMPARE(animations->at(1), punch); // the same node, renamed
        QCOMPARE(listed.size(), 1);
        QCOMPARE(listed.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(tree.size(), 1);
        QCOMPARE(animations->data(animations->index(1)).toString(),
                 QStringLiteral("Action 201 - Punch"));
        cursor.select(QTextCursor::LineUnderCursor);
        cursor.insertText(QStringLiteral("[Begin Action 201]")); // the same again: no news
        QCOMPARE(listed.size(), 1);
    }

    void movesPublishOneMove()
    {
        AirDocument document;
        document.fromString(sample + QStringLiteral("\n[Begin Action 300]\n1,1, 0,0, 1\n"));
        Animations *animations = document.animations();
        QSignalSpy moved(animations, &QAbstractItemModel::rowsMoved);
        QSignalSpy inserted(animations, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(animations, &QAbstractItemModel::rowsRemoved);
        animations->move(0, 2);
        QCOMPARE(moved.size(), 1);
        QCOMPARE(moved.first().at(1).toInt(), 0);
        QCOMPARE(moved.first().at(4).toInt(), 3);
        QCOMPARE(inserted.size(), 0);
        QCOMPARE(removed.size(), 0);
        QCOMPARE(identifiers(animations), QStringList({"200", "300", "0"}));
        animations->move(1, 1);
        QCOMPARE(moved.size(), 1);
        animations->remove(0);
        QCOMPARE(removed.size(), 1);
        animations->add(QStringLiteral("9"));
        QCOMPARE(inserted.size(), 1);
        // Each act is one step of undo.
        for (int i = 0; i < 4; ++i)
            document.undo();
        QCOMPARE(identifiers(animations), QStringList({"0", "200", "300"}));
        QCOMPARE(KenroTest::describe(&document), fresh(document.toPlainText()));
        document.redo();
        QCOMPARE(identifiers(animations), QStringList({"200", "300", "0"}));
    }

    void playerFollowsTheRules()
    {
        AirDocument document;
        document.fromString(QStringLiteral("[Begin Action 1]\n1,0, 0,0, 3\nLoopstart\n1,1, 0,0, 2\n"
                                           "[Begin Action 2]\n2,0, 0,0, 2\n2,1, 0,0, -1\n"
                                           "[Begin Action 3]\n"));
        Animations *animations = document.animations();
        AnimationCode *looping = animations->at(0);
        AnimationPlayer player;
        QVERIFY(player.change(animations, 0, false));
        QCOMPARE(player.currentFrame(), looping->frameAt(0));
        QCOMPARE(player.nextFrame(), looping->frameAt(1));
        QList<int> times;
        QList<int> frames;
        for (int i = 0; i < 9; ++i) {
            times.append(player.tick());
            frames.append(looping->indexOfFrame(player.currentFrame()));
        }
        QCOMPARE(times, QList<int>({0, 1, 2, 3, 4, 3, 4, 3, 4}));
        QCOMPARE(frames, QList<int>({0, 0, 0, 1, 1, 1, 1, 1, 1}));
        // The last frame's next is the loop start.
        QCOMPARE(player.nextFrame(), looping->frameAt(1));
        // The loop starts the frame's time again.
        QCOMPARE(player.frameTime(), 2u);

        // A copy shares the time.
        AnimationPlayer copy = player;
        QCOMPARE(copy.tick(), 3);
        QCOMPARE(player.tick(), 4);

        // The same pair without force stops the player.
        QVERIFY(!player.change(animations, 0, false));
        QCOMPARE(player.currentFrame(), nullptr);
        QCOMPARE(player.tick(), 0);
        QVERIFY(player.change(animations, 0, true));
        QCOMPARE(player.tick(), 0);
        player.reset();
        QCOMPARE(player.tick(), 0);

        // A frame held for ever ends the looping.
        QVERIFY(player.change(animations, 1, false));
        for (int i = 0; i < 50; ++i)
            QCOMPARE(player.tick(), i);
        QCOMPARE(player.currentFrame(), animations->at(1)->frameAt(1));
        QCOMPARE(player.nextFrame(), animations->at(1)->frameAt(0));

        // No frames: nothing to show, and the ticks go on.
        QVERIFY(player.change(animations, 2, false));
        QCOMPARE(player.currentFrame(), nullptr);
        QCOMPARE(player.nextFrame(), nullptr);
        QCOMPARE(player.tick(), 0);
        QCOMPARE(player.tick(), 0);

        QVERIFY(!player.change(animations, 3, false)); // the count itself
        QVERIFY(!player.change(animations, -1, true));
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

    void playerStepsRealActions_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("action");
        QTest::newRow("kfm stand") << "chars/kfm/kfm.air" << 0;
        QTest::newRow("kfm jump with a loop start") << "chars/kfm/kfm.air" << 41;
        QTest::newRow("kfm held") << "chars/kfm/kfm.air" << 5200;
        QTest::newRow("training held") << "chars/training/Training.air" << 20200;
        QTest::newRow("fightfx spark") << "data/fightfx.air" << 3;
    }

    void playerStepsRealActions()
    {
        QFETCH(QString, file);
        QFETCH(int, action);
        KENRO_REQUIRE_TESTDATA(root);
        AirDocument document;
        QVERIFY(document.fromFile(FileSystemArchive::instance(),
                                  root + QStringLiteral("/game/") + file, 0, nullptr));
        Animations *animations = document.animations();
        int const index = animations->find(0, action);
        QVERIFY(index >= 0);
        AnimationCode const *animation = animations->at(static_cast<unsigned int>(index));
        // The delays and the loop start as the text gives them.
        QList<KenroTest::ReferenceAction> const reference =
            KenroTest::readReference(document.toPlainText());
        PlayerCase expected;
        for (KenroTest::ReferenceAction const &candidate : reference) {
            if (candidate.identifier.toInt() != action)
                continue;
            expected.loopStart = candidate.loopStart;
            for (KenroTest::ReferenceFrame const &frame : candidate.frames)
                expected.delays.append(frame.delay);
        }
        QVERIFY(!expected.delays.isEmpty());
        AnimationPlayer player;
        QVERIFY(player.change(animations, index, false));
        QList<QPair<int, int>> const ticks = expectedTicks(expected, 400);
        for (int i = 0; i < ticks.size(); ++i) {
            int const time = player.tick();
            int const frame = animation->indexOfFrame(player.currentFrame());
            if (time != ticks.at(i).first || frame != ticks.at(i).second)
                QFAIL(qPrintable(QStringLiteral("tick %1: time %2 frame %3, expected %4 and %5")
                                     .arg(i)
                                     .arg(time)
                                     .arg(frame)
                                     .arg(ticks.at(i).first)
                                     .arg(ticks.at(i).second)));
        }
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
        // A file opened alone has no sprites.
        AirDocument alone;
        alone.fromString(sample);
        QCOMPARE(alone.animations()->at(0)->frameAt(0)->sprite(), nullptr);
        // The project gives its files back only when it is released.
        project.removeFile(file);
        project.removeFile(sprites);
    }

    void engineComesFromThePlugin()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QString engineFile;
        {
            ExtensionManager manager{QStringLiteral(KENRO_PLUGIN_DIR)};
            QLibrary library(QStringLiteral(KENRO_IKEMEN_PLUGIN));
            auto const take = reinterpret_cast<Engine *(*)()>(library.resolve("kenroEngine"));
            QVERIFY(take);
            std::unique_ptr<Engine> engine(take());
            QVERIFY(engine);
            QCOMPARE(take(), nullptr); // taken once
            QCOMPARE(engine->queryString(Engine::CommentString, 0), QStringLiteral(";"));
            QCOMPARE(engine->queryString(Engine::EngineIdentifier, 0), QStringLiteral("ikemen"));
            QCOMPARE(engine->fileTypeOf(QStringLiteral("a/KFM.AIR")), int(Project::Animations));
            QCOMPARE(engine->fileTypeOf(QStringLiteral("kfm.txt")), -1);
            QCOMPARE(engine->fileFilters().value(Project::Animations), QStringLiteral("*.air"));
            QCOMPARE(
                engine->openFile(root + QStringLiteral("/game/missing.air"), Project::Animations),
                nullptr);
            ProjectFile *file = engine->openFile(root + QStringLiteral("/game/chars/kfm/kfm.air"),
                                                 Project::Animations);
            QVERIFY(file);
            auto *animations = dynamic_cast<Animations *>(file);
            QVERIFY(animations);
            QVERIFY(animations->count() > 100);
            QCOMPARE(animations->at(0)->frameCount(), 11u);
            file->release();
            ProjectFile *empty = engine->createFile(Project::Animations, nullptr);
            QVERIFY(dynamic_cast<Animations *>(empty));
            QVERIFY(empty->isEmpty());
            empty->release();
            QCOMPARE(engine->createFile(42, nullptr), nullptr);
        }
    }
};

QTEST_MAIN(TestAirActions)
#include "tst_airactions.moc"
