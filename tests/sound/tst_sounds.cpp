#include <kenro/sound/soundcodecs.h>
#include <kenro/sound/sounds.h>

#include "memorysounds.h"
#include "soundtesthelpers.h"
#include "testdata.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>

#include <memory>

Q_DECLARE_METATYPE(Kenro::SoundSample)

using namespace Kenro;
using KenroTest::MemorySound;
using KenroTest::MemorySounds;

namespace {

struct Releaser
{
    void operator()(MemorySounds *sounds) const { sounds->release(); }
};
using SoundsPointer = std::unique_ptr<MemorySounds, Releaser>;

QString const identifierName = QStringLiteral("Identifier");

// What a list view shows, row by row.
QStringList shown(QAbstractItemModel const &model)
{
    QStringList result;
    for (int row = 0; row < model.rowCount(); ++row)
        result << model.index(row, 0).data().toString();
    return result;
}

// Adds sounds of the given identifiers through the abstract interface.
void addAll(Sounds &sounds, QStringList const &identifiers)
{
    for (QString const &identifier : identifiers)
        QVERIFY2(sounds.add(identifier), qPrintable(identifier));
}

// A short 16-bit mono ramp of \a frames, distinct for each \a seed.
SoundSample ramp(quint32 frames, int seed)
{
    QByteArray data;
    for (quint32 i = 0; i < frames; ++i) {
        qint16 const value = qint16(int(i) * 97 + seed * 1000);
        data.append(char(value & 0xff)).append(char((value >> 8) & 0xff));
    }
    return KenroTest::pcm(1, 16, 22050, data);
}

void compareSamples(SoundSample const &actual, SoundSample const &expected)
{
    QCOMPARE(actual.channels, expected.channels);
    QCOMPARE(actual.bits, expected.bits);
    QCOMPARE(actual.frequency, expected.frequency);
    QCOMPARE(actual.frames, expected.frames);
    QCOMPARE(actual.data.size(), expected.data.size());
    QVERIFY(actual.data == expected.data);
}

QStringList const fiveSounds = {QStringLiteral("2, 0"), QStringLiteral("0, 1"),
                                QStringLiteral("1, 0"), QStringLiteral("0, 0"),
                                QStringLiteral("1, 5")};

} // namespace

class TestSounds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void soundsKeepTheListModelContract()
    {
        SoundsPointer file(new MemorySounds);
        MemorySounds &memory = *file;
        Sounds &sounds = memory;
        QAbstractItemModelTester tester(&sounds,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(sounds.model(), static_cast<QAbstractItemModel *>(&sounds));
        QVERIFY(sounds.isEmpty());
        QCOMPARE(sounds.currentIndex(), -1);

        addAll(sounds, fiveSounds);
        QCOMPARE(shown(sounds), fiveSounds);
        QCOMPARE(sounds.count(), 5u);
        QVERIFY(!sounds.isEmpty());

        // A sound without an identifier gets a free one; a taken identifier,
        // or one of the wrong form, gives nothing.
        Sound *fresh = sounds.add(QVariant());
        QVERIFY(fresh);
        QCOMPARE(fresh->name(), QStringLiteral("0, 2"));
        QCOMPARE(fresh->index(), 5u);
        QCOMPARE(fresh->parent(), &sounds);
        QCOMPARE(sounds.add(QStringLiteral("1, 0")), nullptr);
        QCOMPARE(sounds.add(QStringLiteral("loud")), nullptr);
        memory.capacity = 6;
        QCOMPARE(sounds.add(QStringLiteral("9, 9")), nullptr);
        QCOMPARE(sounds.count(), 6u);

        // Identity and search by identifier.
        QCOMPARE(sounds.soundAt(3)->propertyNames(), QStringList{identifierName});
        QCOMPARE(sounds.soundAt(3)->property(identifierName), QVariant(QStringLiteral("0, 0")));
        QVERIFY(!sounds.soundAt(3)->property(QStringLiteral("Volume")).isValid());
        QCOMPARE(sounds.soundAt(6), nullptr);
        QCOMPARE(sounds.find(0, QStringLiteral("1, 5")), 4);
        QCOMPARE(sounds.find(4, QStringLiteral("1, 5")), 4);
        QCOMPARE(sounds.find(5, QStringLiteral("1, 5")), -1);
        QCOMPARE(sounds.find(0, QStringLiteral("7, 7")), -1);
        QCOMPARE(sounds.find(99, QStringLiteral("2, 0")), -1);
        QCOMPARE(sounds.data(sounds.index(1), Qt::EditRole), QVariant(QStringLiteral("0, 1")));
        QVERIFY(!sounds.data(sounds.index(1), Qt::DecorationRole).isValid());
        QVERIFY(!sounds.data(sounds.index(6), Qt::DisplayRole).isValid());

        // A new identifier shows at once; a taken one is refused.
        sounds.soundAt(5)->setProperty(identifierName, QStringLiteral("3, 3"));
        sounds.soundAt(4)->setProperty(identifierName, QStringLiteral("3, 3"));
        QCOMPARE(sounds.index(5).data().toString(), QStringLiteral("3, 3"));
        QCOMPARE(sounds.index(4).data().toString(), QStringLiteral("1, 5"));
        sounds.remove(5);

        // Moves both ways; moves onto the same place or past the end do nothing.
        sounds.move(4, 0);
        sounds.move(1, 3);
        sounds.move(2, 2);
        sounds.move(0, 9);
        QCOMPARE(
            shown(sounds),
            QStringList({QStringLiteral("1, 5"), QStringLiteral("0, 1"), QStringLiteral("1, 0"),
                         QStringLiteral("2, 0"), QStringLiteral("0, 0")}));
        QCOMPARE(sounds.soundAt(3)->index(), 3u);

        // Rows 2 and 4 dragged to the top keep their order.
        std::unique_ptr<QMimeData> drag(sounds.mimeData({sounds.index(4), sounds.index(2)}));
        QVERIFY(!sounds.dropMimeData(drag.get(), Qt::MoveAction, 0, 0, QModelIndex()));
        QCOMPARE(
            shown(sounds),
            QStringList({QStringLiteral("1, 0"), QStringLiteral("0, 0"), QStringLiteral("1, 5"),
                         QStringLiteral("0, 1"), QStringLiteral("2, 0")}));
        QCOMPARE(sounds.changeDepth(), 0);
        QVERIFY(!sounds.isMoveFromDrag());

        sounds.autoOrganize();
        QCOMPARE(
            shown(sounds),
            QStringList({QStringLiteral("0, 0"), QStringLiteral("0, 1"), QStringLiteral("1, 0"),
                         QStringLiteral("1, 5"), QStringLiteral("2, 0")}));
        QCOMPARE(sounds.changeDepth(), 0);

        // The selection follows setSelected and falls away past the end.
        sounds.setSelected(4);
        QCOMPARE(sounds.currentIndex(), 4);
        sounds.remove(0);
        sounds.remove(9);
        QCOMPARE(sounds.count(), 4u);
        QCOMPARE(sounds.currentIndex(), -1);
        sounds.setSelected(1);
        QCOMPARE(sounds.currentIndex(), 1);
        QCOMPARE(shown(sounds),
                 QStringList({QStringLiteral("0, 1"), QStringLiteral("1, 0"),
                              QStringLiteral("1, 5"), QStringLiteral("2, 0")}));

        memory.clear();
        QVERIFY(sounds.isEmpty());
        QCOMPARE(sounds.rowCount(), 0);
        QCOMPARE(sounds.currentIndex(), -1);
    }

    void bracketsMarkTheFileOnceAtTheLastClose()
    {
        SoundsPointer file(new MemorySounds);
        Sounds &sounds = *file;
        QAbstractItemModelTester tester(&sounds,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy modified(&sounds, &OrganizableObject::modified);
        QSignalSpy changed(&sounds, &OrganizableObject::changed);
        QSignalSpy counts(&sounds, &Sounds::soundCountChanged);
        QSignalSpy edited(&sounds, &Sounds::soundChanged);

        sounds.beginChange();
        sounds.beginChange();
        Sound *first = sounds.add(QStringLiteral("0, 0"));
        Sound *second = sounds.add(QStringLiteral("0, 1"));
        QVERIFY(first && second);
        QVERIFY(first->setSample(ramp(100, 1)));
        sounds.beginChange();
        sounds.endChange();
        sounds.endChange();
        QCOMPARE(sounds.changeDepth(), 1);
        QVERIFY(!sounds.isModified());
        QCOMPARE(modified.size(), 0);
        QCOMPARE(counts.size(), 0);
        QCOMPARE(edited.size(), 0);
        sounds.endChange();
        QCOMPARE(sounds.changeDepth(), 0);
        QVERIFY(sounds.isModified());
        QCOMPARE(modified.size(), 1);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0).at(0), QVariant(true));
        QCOMPARE(counts.size(), 1);
        QCOMPARE(edited.size(), 1);
        QCOMPARE(edited.at(0).at(0).value<Sound *>(), first);

        // A close without an open bracket is ignored.
        sounds.endChange();
        QCOMPARE(sounds.changeDepth(), 0);
        QCOMPARE(modified.size(), 1);

        // After a save, the next bracket marks the file again, even when its
        // edits came to nothing. A sound removed inside the bracket is not
        // named, and each changed one is named once.
        static_cast<MemorySounds &>(sounds).markSaved();
        QVERIFY(!sounds.isModified());
        QCOMPARE(changed.size(), 2);
        QCOMPARE(changed.at(1).at(0), QVariant(false));
        Sound *third = sounds.add(QStringLiteral("0, 2"));
        QCOMPARE(modified.size(), 2);
        QCOMPARE(counts.size(), 2);
        sounds.beginChange();
        QVERIFY(second->setSample(ramp(10, 2)));
        QVERIFY(third->setSample(ramp(10, 3)));
        QVERIFY(second->setSample(ramp(20, 4)));
        QVERIFY(!third->setSample(KenroTest::pcm(3, 16, 8000, QByteArray(6, '\0'))));
        sounds.remove(third->index());
        sounds.move(1, 0);
        sounds.endChange();
        QCOMPARE(modified.size(), 3);
        QCOMPARE(changed.size(), 3);
        QCOMPARE(counts.size(), 3);
        QCOMPARE(edited.size(), 2);
        QCOMPARE(edited.at(1).at(0).value<Sound *>(), second);
        QCOMPARE(sounds.soundAt(0), second);

        static_cast<MemorySounds &>(sounds).markSaved();
        sounds.beginChange();
        sounds.endChange();
        QVERIFY(sounds.isModified());
        QCOMPARE(modified.size(), 4);
        QCOMPARE(counts.size(), 3);
        QCOMPARE(edited.size(), 2);

        // Edits outside a bracket tell at once; a drop of several rows, a
        // sort and a reset are one step each.
        addAll(sounds, {QStringLiteral("5, 0"), QStringLiteral("4, 0"), QStringLiteral("3, 0")});
        QCOMPARE(modified.size(), 7);
        QCOMPARE(counts.size(), 6);
        std::unique_ptr<QMimeData> drag(sounds.mimeData({sounds.index(2), sounds.index(4)}));
        sounds.dropMimeData(drag.get(), Qt::MoveAction, 0, 0, QModelIndex());
        QCOMPARE(modified.size(), 8);
        sounds.autoOrganize();
        QCOMPARE(modified.size(), 9);
        QCOMPARE(counts.size(), 6);
        sounds.beginChange();
        QVERIFY(sounds.soundAt(0)->setSample(ramp(5, 5)));
        static_cast<MemorySounds &>(sounds).clear();
        sounds.endChange();
        QCOMPARE(modified.size(), 10);
        QCOMPARE(counts.size(), 7);
        QCOMPARE(edited.size(), 2);
    }

    void listenersThatRemoveSoundsAreSafe()
    {
        SoundsPointer file(new MemorySounds);
        Sounds &sounds = *file;
        QAbstractItemModelTester tester(&sounds,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        addAll(sounds, {QStringLiteral("0, 0"), QStringLiteral("0, 1"), QStringLiteral("0, 2")});
        Sound *kept = sounds.soundAt(0);
        Sound *doomed = sounds.soundAt(2);
        Sound *middle = sounds.soundAt(1);
        QList<Sound *> named;
        bool removing = false;
        connect(&sounds, &Sounds::soundChanged, this, [&](Sound *sound) {
            named << sound;
            // Hearing of the first sound, this listener deletes another one
            // that was also changed.
            if (removing && sound == kept && sounds.count() == 3)
                sounds.remove(2);
        });

        // Sounds are named in row order, whatever the order of their changes.
        sounds.beginChange();
        QVERIFY(doomed->setSample(ramp(8, 4)));
        QVERIFY(kept->setSample(ramp(8, 5)));
        QVERIFY(middle->setSample(ramp(8, 6)));
        QVERIFY(doomed->setSample(ramp(8, 7)));
        sounds.endChange();
        QCOMPARE(named, QList<Sound *>({kept, middle, doomed}));

        named.clear();
        removing = true;
        sounds.beginChange();
        QVERIFY(kept->setSample(ramp(8, 1)));
        QVERIFY(doomed->setSample(ramp(8, 2)));
        QVERIFY(middle->setSample(ramp(8, 3)));
        sounds.endChange();
        QCOMPARE(sounds.count(), 2u);
        QCOMPARE(named, QList<Sound *>({kept, middle}));

        // A listener that removes a row above the ones still to be named
        // shifts them up; none of them is missed.
        Sound *last = sounds.add(QStringLiteral("0, 3"));
        QVERIFY(last);
        removing = false;
        named.clear();
        QObject guard;
        connect(&sounds, &Sounds::soundChanged, &guard, [&](Sound *sound) {
            if (sound == middle)
                sounds.remove(0);
        });
        sounds.beginChange();
        QVERIFY(kept->setSample(ramp(8, 8)));
        QVERIFY(middle->setSample(ramp(8, 9)));
        QVERIFY(last->setSample(ramp(8, 10)));
        sounds.endChange();
        QCOMPARE(named, QList<Sound *>({kept, middle, last}));
        QCOMPARE(sounds.count(), 2u);
    }

    void setSampleKeepsToTheFormat_data()
    {
        QTest::addColumn<SoundSample>("sample");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("8-bit mono")
            << KenroTest::pcm(1, 8, 11025, QByteArray(40, char(128))) << true;
        QTest::newRow("16-bit stereo")
            << KenroTest::pcm(2, 16, 44100, KenroTest::noise(400, 7)) << true;
        QTest::newRow("no data") << SoundSample() << true;
        QTest::newRow("24-bit") << KenroTest::pcm(1, 24, 48000, QByteArray(30, '\1')) << false;
        QTest::newRow("three channels")
            << KenroTest::pcm(3, 8, 8000, QByteArray(30, '\1')) << false;
        SoundSample noRate = KenroTest::pcm(1, 8, 8000, QByteArray(30, '\1'));
        noRate.frequency = 0;
        QTest::newRow("no frequency") << noRate << false;
        SoundSample shortData = KenroTest::pcm(1, 16, 8000, QByteArray(30, '\1'));
        shortData.frames = 16;
        QTest::newRow("data shorter than its header") << shortData << false;
        SoundSample longData = KenroTest::pcm(2, 16, 8000, QByteArray(40, '\1'));
        longData.frames = 9;
        QTest::newRow("data longer than its header") << longData << false;
        QTest::newRow("past the size limit")
            << KenroTest::pcm(1, 8, 8000, QByteArray(4097, '\1')) << false;
    }

    void setSampleKeepsToTheFormat()
    {
        QFETCH(SoundSample, sample);
        QFETCH(bool, accepted);
        SoundsPointer file(new MemorySounds);
        file->maxBytes = 4096;
        Sound *sound = file->add(QVariant());
        QVERIFY(sound);
        SoundSample const before = ramp(50, 9);
        QVERIFY(sound->setSample(before));
        QSignalSpy rows(file.get(), &QAbstractItemModel::dataChanged);

        QCOMPARE(sound->setSample(sample), accepted);
        QCOMPARE(rows.size(), accepted ? 1 : 0);
        SoundSample after;
        sound->sample(after);
        compareSamples(after, accepted ? sample : before);
        SampleInfo const info = sound->info();
        QCOMPARE(info.frames, after.frames);
        QCOMPARE(info.channels, after.channels);
        QCOMPARE(info.frequency, after.frequency);
        if (!after.data.isEmpty())
            QCOMPARE(info.bits, after.bits);
    }

    void realSoundsRoundTrip_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<bool>("fits");
        QString const root = KenroTest::testDataPath();
        if (root.isEmpty()) {
            QTest::newRow("no test data") << QString() << QByteArray() << false;
            return;
        }
        QDir const wav(root + QStringLiteral("/sounds/wav"));
        QStringList const names = wav.entryList({QStringLiteral("*.wav")}, QDir::Files);
        for (QString const &name : names)
            QTest::newRow(qPrintable(name)) << wav.filePath(name) << QByteArray("WAV") << true;
        QString const coded = root + QStringLiteral("/sounds/coded/");
        QTest::newRow("stereo") << coded + QStringLiteral("voice_44k_stereo16.wav")
                                << QByteArray("WAV") << true;
        // 24 bits are more than this format holds.
        QTest::newRow("24-bit") << coded + QStringLiteral("voice_48k_mono24.flac")
                                << QByteArray("FLAC") << false;
    }

    void realSoundsRoundTrip()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QString, path);
        QFETCH(QByteArray, format);
        QFETCH(bool, fits);
        QFile source(path);
        SoundSample loaded;
        QVERIFY2(loadSound(&source, format.constData(), loaded), qPrintable(path));
        QVERIFY(KenroTest::consistent(loaded));

        SoundsPointer file(new MemorySounds);
        Sounds &sounds = *file;
        QVERIFY(sounds.add(QStringLiteral("0, 0")));
        Sound *sound = sounds.add(QStringLiteral("1, 0"));
        QVERIFY(sound);
        QVERIFY(sound->setSample(ramp(64, 3)));
        QCOMPARE(sound->setSample(loaded), fits);
        if (!fits) {
            SoundSample kept;
            sound->sample(kept);
            compareSamples(kept, ramp(64, 3));
            return;
        }

        // The header comes without decoding, and matches the file's own.
        auto *memory = static_cast<MemorySound *>(sound);
        memory->decodes = 0;
        SampleInfo const info = sounds.soundAt(1)->info();
        QCOMPARE(memory->decodes, 0);
        QCOMPARE(info.channels, loaded.channels);
        QCOMPARE(info.bits, loaded.bits);
        QCOMPARE(info.frequency, loaded.frequency);
        QCOMPARE(info.frames, loaded.frames);
        QFile again(path);
        SampleInfo const header = soundInfoFromWAV(&again);
        QCOMPARE(header.frames, info.frames);

        SoundSample out;
        sounds.soundAt(1)->sample(out);
        QCOMPARE(memory->decodes, 1);
        compareSamples(out, loaded);

        // What came out goes into another sound unchanged, and the first
        // sound is not touched by it.
        Sound *copy = sounds.soundAt(0);
        QVERIFY(copy->setSample(out));
        SoundSample copied;
        copy->sample(copied);
        compareSamples(copied, loaded);
        SoundSample still;
        sound->sample(still);
        compareSamples(still, loaded);
        QCOMPARE(sounds.find(0, sound->name()), 1);
    }
};

QTEST_GUILESS_MAIN(TestSounds)
#include "tst_sounds.moc"
