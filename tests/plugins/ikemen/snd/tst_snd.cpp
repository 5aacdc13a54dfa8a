#include <ikemen/snd/sndreader.h>
#include <ikemen/snd/sndsounds.h>
#include <ikemen/snd/sndwriter.h>

#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>
#include <kenro/project/regexp.h>
#include <kenro/sound/soundcodecs.h>

#include "memoryarchive.h"
#include "testdata.h"

#include <QAbstractItemModelTester>
#include <QBuffer>
#include <QDir>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <memory>

using namespace Kenro;
using namespace Kenro::Ikemen;
using KenroTest::MemoryArchive;

namespace {

struct Releaser
{
    void operator()(SndSounds *sounds) const { sounds->release(); }
};
using SoundsPointer = std::unique_ptr<SndSounds, Releaser>;

SoundsPointer makeSounds()
{
    return SoundsPointer(new SndSounds);
}

quint32 word(QByteArray const &bytes, qsizetype offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

void setWord(QByteArray &bytes, qsizetype offset, quint32 value)
{
    qToLittleEndian(value, bytes.data() + offset);
}

// The offsets of the members of a sound bank known to be sound.
QList<quint32> memberOffsets(QByteArray const &bank)
{
    QList<quint32> offsets;
    quint32 offset = word(bank, 20);
    for (quint32 i = 0; i < word(bank, 16); ++i) {
        offsets << offset;
        offset = word(bank, offset);
    }
    return offsets;
}

// The error of reading \a bytes, or "<read>" when the read succeeds.
QString readError(QByteArray const &bytes)
{
    SndReader reader;
    return reader.read(bytes) ? QStringLiteral("<read>") : reader.errorString();
}

// The text of every message of \a type of \a messages.
QStringList messageTexts(Messages const *messages, Message::Type type)
{
    QStringList texts;
    for (unsigned int i = 0; messages && i < messages->count(type); ++i)
        texts << messages->at(i, type).text;
    return texts;
}

// The bytes written for \a bank.
QByteArray written(SndBank const &bank)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    SndWriter writer;
    return writer.write(bank, &buffer) ? bytes : QByteArray("<failed>");
}

// A sample of \a frames frames of a rising ramp.
SoundSample ramp(quint16 channels, quint16 bits, quint32 frames)
{
    SoundSample sample;
    sample.channels = channels;
    sample.bits = bits;
    sample.frequency = 11025;
    sample.frames = frames;
    sample.data.resize(qsizetype(frames) * channels * bits / 8);
    for (qsizetype i = 0; i < sample.data.size(); ++i)
        sample.data[i] = char(i * 7);
    return sample;
}

// A device that takes \a room bytes and refuses the rest.
class ShortDevice : public QBuffer
{
public:
    explicit ShortDevice(qint64 room) : m_room(room) {}

protected:
    qint64 writeData(char const *data, qint64 size) override
    {
        if (pos() + size > m_room) {
            setErrorString(QStringLiteral("disk full"));
            return -1;
        }
        return QBuffer::writeData(data, size);
    }

private:
    qint64 m_room;
};

// An archive in memory whose writes run out of room after a few bytes.
class FullArchive : public MemoryArchive
{
public:
    int discarded = 0;

    QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) override
    {
        if (!(mode & QIODevice::WriteOnly))
            return MemoryArchive::openFile(name, mode);
        auto *device = new ShortDevice(1000);
        device->open(mode);
        return device;
    }
    void closeFile(QIODevice *device) override
    {
        // Nothing may be committed from a device that failed.
        files.insert(QStringLiteral("<committed>"), QByteArray());
        delete device;
    }
    void discardFile(QIODevice *device) override
    {
        ++discarded;
        delete device;
    }
};

} // namespace

class TestSnd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void realBanks_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("source");
        QTest::addColumn<int>("count");
        QTest::newRow("kfm") << QStringLiteral("game/chars/kfm/kfm.snd") << QStringLiteral("kfm")
                             << 12;
        QTest::newRow("training") << QStringLiteral("game/chars/training/Training.snd")
                                  << QStringLiteral("training") << 16;
    }

    void realBanks()
    {
        // Every sound matches its WAV file byte for byte, decodes as that file
        // does, and the bank written back is the file it was read from.
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, path);
        QFETCH(QString, source);
        QFETCH(int, count);
        QString const name = data + QLatin1Char('/') + path;
        SoundsPointer sounds = makeSounds();
        QVERIFY(sounds->fromFile(FileSystemArchive::instance(), name, 0, nullptr));
        QCOMPARE(sounds->fileName(), name);
        QVERIFY(!sounds->isModified());
        QCOMPARE(messageTexts(sounds->messages(), Message::All), QStringList());
        QCOMPARE(int(sounds->count()), count);

        QDir const wavs(data + QStringLiteral("/sounds/wav"));
        QStringList expected =
            wavs.entryList({source + QStringLiteral("_*.wav")}, QDir::Files, QDir::Name);
        QCOMPARE(expected.size(), count);
        QStringList found;
        for (unsigned int i = 0; i < sounds->count(); ++i) {
            SndSound const *sound = sounds->sound(i);
            QString const file =
                QStringLiteral("%1_%2_%3.wav").arg(source).arg(sound->group()).arg(sound->number());
            found << file;
            QByteArray wav = KenroTest::readFile(wavs.filePath(file));
            QVERIFY2(sound->wav() == wav, qPrintable(file));
            QCOMPARE(sound->name(),
                     QStringLiteral("%1, %2").arg(sound->group()).arg(sound->number()));

            QBuffer buffer(&wav);
            SoundSample const reference = soundFromWAV(&buffer);
            QVERIFY(!reference.data.isEmpty());
            SoundSample sample;
            sound->sample(sample);
            QCOMPARE(sample.data, reference.data);
            QCOMPARE(sample.channels, reference.channels);
            QCOMPARE(sample.bits, reference.bits);
            QCOMPARE(sample.frequency, reference.frequency);
            QCOMPARE(sample.frames, reference.frames);
            SampleInfo const info = sound->info();
            QCOMPARE(info.frames, reference.frames);
            QCOMPARE(info.frequency, reference.frequency);
            QCOMPARE(info.bits, reference.bits);
        }
        found.sort();
        expected.sort();
        QCOMPARE(found, expected);

        // Written back, the bank is the same file.
        QByteArray const original = KenroTest::readFile(name);
        MemoryArchive archive;
        QVERIFY(sounds->toFile(archive, QStringLiteral("copy.snd"), ProjectFile::Copy, nullptr));
        QCOMPARE(sounds->fileName(), name);
        QCOMPARE(archive.files.value(QStringLiteral("copy.snd")), original);
    }

    void readingDoesNotCopySounds()
    {
        // The sounds of a bank point into the one copy of the file.
        KENRO_REQUIRE_TESTDATA(data);
        SoundsPointer sounds = makeSounds();
        QVERIFY(sounds->fromFile(FileSystemArchive::instance(),
                                 data + QStringLiteral("/game/chars/kfm/kfm.snd"), 0, nullptr));
        for (unsigned int i = 1; i < sounds->count(); ++i) {
            QByteArrayView const before = sounds->sound(i - 1)->wav();
            QCOMPARE(sounds->sound(i)->wav().data(),
                     before.data() + before.size() + SndBank::memberHeaderSize);
        }
    }

    void roundTripThroughFiles()
    {
        // Saved under a new name and read again, a bank keeps its groups,
        // numbers and bytes, and a save over the same name replaces it whole.
        KENRO_REQUIRE_TESTDATA(data);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        for (QString const path : {QStringLiteral("game/chars/kfm/kfm.snd"),
                                   QStringLiteral("game/chars/training/Training.snd")}) {
            SoundsPointer sounds = makeSounds();
            QVERIFY(sounds->fromFile(FileSystemArchive::instance(), data + QLatin1Char('/') + path,
                                     0, nullptr));
            SndSound *first = sounds->sound(0);
            QVERIFY(first->setSample(ramp(1, 16, 300)));
            sounds->remove(1);
            first->setProperty(QStringLiteral("Identifier"), QStringLiteral("7, -3"));
            QVERIFY(sounds->isModified());
            SndBank const expected = sounds->bank();

            QString const target = dir.filePath(QStringLiteral("bank.snd"));
            for (int round = 0; round < 2; ++round) {
                QVERIFY(sounds->toFile(FileSystemArchive::instance(), target, 0, nullptr));
                QCOMPARE(sounds->fileName(), target);
                QVERIFY(!sounds->isModified());
            }
            QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
                     QStringList{QStringLiteral("bank.snd")});

            SoundsPointer again = makeSounds();
            QVERIFY(again->fromFile(FileSystemArchive::instance(), target, 0, nullptr));
            SndBank const read = again->bank();
            QCOMPARE(read.members.size(), expected.members.size());
            QCOMPARE(read.version, expected.version);
            for (int i = 0; i < read.members.size(); ++i) {
                QCOMPARE(read.members.at(i).group, expected.members.at(i).group);
                QCOMPARE(read.members.at(i).number, expected.members.at(i).number);
                QVERIFY(read.members.at(i).wav() == expected.members.at(i).wav());
            }
            QCOMPARE(again->sound(0)->name(), QStringLiteral("7, -3"));
            SoundSample sample;
            again->sound(0)->sample(sample);
            QCOMPARE(sample.data, ramp(1, 16, 300).data);
        }
    }

    void writerLayout()
    {
        // An empty bank is a 512-byte header; a comment longer than the usual
        // header moves the first member behind it; members link forward and
        // the last one links to the end of the file.
        SndBank empty;
        QByteArray const bytes = written(empty);
        QCOMPARE(bytes.size(), qsizetype(512));
        QVERIFY(bytes.startsWith(QByteArrayView("ElecbyteSnd\0", 12)));
        QCOMPARE(word(bytes, 12), SndBank::defaultVersion);
        QCOMPARE(word(bytes, 16), 0u);
        QCOMPARE(word(bytes, 20), 512u);
        QCOMPARE(readError(bytes), QStringLiteral("<read>"));

        SndBank bank;
        bank.version = 0x00010001;
        bank.reserved = QByteArray(600, 'c');
        bank.members << SndMember(3, 4, QByteArray("RIFF....WAVEabc")) << SndMember(-1, 9, {});
        QByteArray const two = written(bank);
        QCOMPARE(two.size(), qsizetype(24 + 600 + 16 + 15 + 16));
        QCOMPARE(word(two, 12), 0x00010001u);
        QCOMPARE(word(two, 20), 624u);
        QCOMPARE(word(two, 624), 624u + 16 + 15);
        QCOMPARE(word(two, 624 + 16 + 15), quint32(two.size()));
        QCOMPARE(qint32(word(two, 624 + 16 + 15 + 8)), -1);
        SndReader reader;
        QVERIFY(reader.read(two));
        QCOMPARE(reader.bank().reserved, bank.reserved);
        QCOMPARE(reader.bank().members.size(), 2);
        QVERIFY(reader.bank().members.at(0).wav() == QByteArrayView("RIFF....WAVEabc"));
        QCOMPARE(reader.bank().members.at(1).size(), qsizetype(0));
        QCOMPARE(reader.warnings(), QStringList());

        // A device that refuses bytes fails the write with its reason.
        ShortDevice device(100);
        device.open(QIODevice::WriteOnly);
        SndWriter writer;
        QVERIFY(!writer.write(bank, &device));
        QVERIFY2(writer.errorString().contains(QStringLiteral("disk full")),
                 qPrintable(writer.errorString()));
    }

    void oddMembersWarn()
    {
        // A repeated group and number, or a member that is no WAV file, reads
        // with a warning each; the sounds are all kept.
        SndBank bank;
        bank.members << SndMember(1, 2, QByteArray("RIFF\0\0\0\0WAVEfmt ", 16))
                     << SndMember(1, 2, QByteArray("RIFF\0\0\0\0WAVEfmt ", 16))
                     << SndMember(5, 5, QByteArray("OggS and more"));
        MemoryArchive archive;
        archive.files.insert(QStringLiteral("odd.snd"), written(bank));
        SoundsPointer sounds = makeSounds();
        QVERIFY(sounds->fromFile(archive, QStringLiteral("odd.snd"), 0, nullptr));
        QCOMPARE(sounds->count(), 3u);
        QStringList const warnings = messageTexts(sounds->messages(), Message::Warning);
        QCOMPARE(warnings.size(), 2);
        QVERIFY2(warnings.at(0).startsWith(QStringLiteral("Sound 2 (1, 2) repeats")),
                 qPrintable(warnings.at(0)));
        QVERIFY2(warnings.at(1).startsWith(QStringLiteral("Sound 3 (5, 5) holds no WAV")),
                 qPrintable(warnings.at(1)));
        QCOMPARE(sounds->find(0, QStringLiteral("1, 2")), 0);
        // The undecodable member gives an empty sample, not a crash.
        SoundSample sample;
        sounds->sound(2)->sample(sample);
        QVERIFY(sample.data.isEmpty());
    }

    void malformed_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("fault");

        KENRO_REQUIRE_TESTDATA(data);
        QByteArray const kfm =
            KenroTest::readFile(data + QStringLiteral("/game/chars/kfm/kfm.snd"));
        QList<quint32> const offsets = memberOffsets(kfm);
        QCOMPARE(offsets.size(), 12);
        auto changed = [&kfm](qsizetype offset, quint32 value) {
            QByteArray bytes = kfm;
            setWord(bytes, offset, value);
            return bytes;
        };
        auto const size = quint32(kfm.size());

        QTest::newRow("empty") << QByteArray() << QStringLiteral("truncated: its 0 bytes");
        QTest::newRow("short header") << kfm.left(23) << QStringLiteral("truncated: its 23 bytes");
        QByteArray foreign = kfm;
        foreign[8] = 'X';
        QTest::newRow("signature") << foreign << QStringLiteral("not a sound bank");
        QTest::newRow("header only")
            << kfm.left(512)
            << QStringLiteral("The offset 512 of the first sound lies past the end of the file "
                              "(512 bytes).");
        QTest::newRow("count past the room")
            << kfm.left(200) << QStringLiteral("counts 12 sounds, more than a file of 200 bytes");
        QTest::newRow("count huge")
            << changed(16, 0xFFFFFFFF) << QStringLiteral("counts 4294967295 sounds, more than");
        QTest::newRow("count past the list")
            << changed(16, 13)
            << QStringLiteral("counts 13 sounds, but the list of sounds ends "
                              "after 12");
        QTest::newRow("list ends with null")
            << changed(offsets.at(4), 0)
            << QStringLiteral("counts 12 sounds, but the list of sounds ends after 5");
        QTest::newRow("first in header") << changed(20, 8)
                                         << QStringLiteral("offset 8 of the first "
                                                           "sound points into "
                                                           "the header");
        QTest::newRow("first past end")
            << changed(20, size)
            << QStringLiteral("offset %1 of the first sound lies past the "
                              "end")
                   .arg(size);
        QTest::newRow("first at last bytes")
            << changed(20, size - 15) << QStringLiteral("lies past the end of the file");
        QTest::newRow("link past end")
            << changed(offsets.at(2), size + 100)
            << QStringLiteral("Sound 3 (0, 2) links to offset %1, past the end").arg(size + 100);
        QTest::newRow("link to last bytes")
            << changed(offsets.at(2), size - 8) << QStringLiteral("Sound 3 (0, 2) links to offset");
        QTest::newRow("link into header") << changed(offsets.at(6), 3)
                                          << QStringLiteral("Sound 7 (5, 0) links to offset 3, "
                                                            "inside the header");
        QTest::newRow("loop to itself")
            << changed(offsets.at(0), offsets.at(0))
            << QStringLiteral("Sound 1 (0, 0) links back to offset 512, where sound 1 stands: "
                              "the list of sounds loops");
        QTest::newRow("loop back")
            << changed(offsets.at(9), offsets.at(3))
            << QStringLiteral("Sound 10 (40, 0) links back to offset %1, where sound 4 stands")
                   .arg(offsets.at(3));
        QTest::newRow("length past end")
            << changed(offsets.at(5) + 4, size)
            << QStringLiteral("Sound 6 (1, 1) at offset %1: its length of %2 bytes runs past")
                   .arg(offsets.at(5))
                   .arg(size);
        QTest::newRow("length huge")
            << changed(offsets.at(0) + 4, 0xFFFFFFF0) << QStringLiteral("length of 4294967280");
        QTest::newRow("truncated in last sound")
            << kfm.left(kfm.size() - 1)
            << QStringLiteral("Sound 12 (800, 0) at offset %1: its length of 4653 bytes runs past "
                              "the end of the file (%2 bytes)")
                   .arg(offsets.at(11))
                   .arg(size - 1);
        QTest::newRow("truncated in a header")
            << kfm.left(offsets.at(8) + 10)
            << QStringLiteral("Sound 8 (6, 0) links to offset %1, past the end").arg(offsets.at(8));
    }

    void malformed()
    {
        // A damaged bank is refused with its fault named; a bank that was
        // open keeps its sounds.
        QFETCH(QByteArray, bytes);
        QFETCH(QString, fault);
        QString const error = readError(bytes);
        QVERIFY2(error.contains(fault), qPrintable(error));

        MemoryArchive archive;
        SndBank good;
        good.members << SndMember(1, 1, QByteArray("RIFF\0\0\0\0WAVE", 12));
        archive.files.insert(QStringLiteral("good.snd"), written(good));
        archive.files.insert(QStringLiteral("bad.snd"), bytes);
        SoundsPointer sounds = makeSounds();
        QVERIFY(sounds->fromFile(archive, QStringLiteral("good.snd"), 0, nullptr));
        QSignalSpy resets(sounds.get(), &QAbstractItemModel::modelReset);
        QVERIFY(!sounds->fromFile(archive, QStringLiteral("bad.snd"), 0, nullptr));
        QCOMPARE(resets.size(), 0);
        QCOMPARE(sounds->count(), 1u);
        QCOMPARE(sounds->fileName(), QStringLiteral("good.snd"));
        QCOMPARE(messageTexts(sounds->messages(), Message::Error), QStringList{error});
    }

    void missingFile()
    {
        MemoryArchive archive;
        SoundsPointer sounds = makeSounds();
        QVERIFY(!sounds->fromFile(archive, QStringLiteral("none.snd"), 0, nullptr));
        QCOMPARE(messageTexts(sounds->messages(), Message::Error),
                 QStringList{QStringLiteral("The file cannot be opened.")});
    }

    void mutations()
    {
        // Random damage to the real banks: every read either fails with a
        // reason or gives a bank whose sounds can be decoded and written back
        // to the same members. Seeded, so that a failure can be replayed.
        KENRO_REQUIRE_TESTDATA(data);
        QList<QByteArray> const banks = {
            KenroTest::readFile(data + QStringLiteral("/game/chars/kfm/kfm.snd")),
            KenroTest::readFile(data + QStringLiteral("/game/chars/training/Training.snd"))};
        QRandomGenerator random(0x534e44);
        int refused = 0;
        int read = 0;
        for (int round = 0; round < 3000; ++round) {
            // The small bank most of the time: decoding is the costly part.
            QByteArray const &original = banks.at(round % 10 == 9 ? 1 : 0);
            QList<quint32> const offsets = memberOffsets(original);
            QByteArray bytes = original;
            int const changes = 1 + int(random.bounded(4));
            for (int c = 0; c < changes; ++c) {
                int const kind = int(random.bounded(5));
                // Aim at the fields that matter: the header and the member headers.
                qsizetype const at = kind == 0 ? random.bounded(24)
                    : kind == 1
                    ? offsets.at(random.bounded(offsets.size())) + random.bounded(16 + 48)
                    : random.bounded(bytes.size());
                if (kind == 4) {
                    bytes.truncate(at);
                } else if (at < bytes.size()) {
                    bytes[at] = kind == 3 ? char(random.bounded(256))
                                          : char(bytes.at(at) ^ (1 << random.bounded(8)));
                }
            }
            SndReader reader;
            if (!reader.read(bytes)) {
                QVERIFY(!reader.errorString().isEmpty());
                ++refused;
                continue;
            }
            ++read;
            SndBank const bank = reader.bank();
            QCOMPARE(quint32(bank.members.size()), word(bytes, 16));
            SndReader again;
            QVERIFY2(again.read(written(bank)), qPrintable(again.errorString()));
            QCOMPARE(again.bank().members.size(), bank.members.size());
            for (int i = 0; i < bank.members.size(); ++i) {
                SndMember const &member = bank.members.at(i);
                QCOMPARE(again.bank().members.at(i).group, member.group);
                QCOMPARE(again.bank().members.at(i).number, member.number);
                QVERIFY(again.bank().members.at(i).wav() == member.wav());
                // The WAV decoder meets the damaged members too.
                QBuffer buffer;
                buffer.setData(member.wavCopy());
                soundInfoFromWAV(&buffer);
                if (member.size() < 20000) {
                    buffer.seek(0);
                    soundFromWAV(&buffer);
                }
            }
        }
        QVERIFY(refused > 100);
        QVERIFY(read > 100);
    }

    void editing()
    {
        // The model side: identifiers, adding, removing, moving, limits of
        // the samples and the modified state.
        MemoryArchive archive;
        SoundsPointer sounds = makeSounds();
        QAbstractItemModelTester tester(sounds.get(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy counts(sounds.get(), &Sounds::soundCountChanged);
        QSignalSpy changes(sounds.get(), &Sounds::soundChanged);

        Sound *first = sounds->add(QVariant());
        QVERIFY(first);
        QCOMPARE(first->name(), QStringLiteral("0, 0"));
        QCOMPARE(counts.size(), 1);
        QVERIFY(sounds->isModified());
        QCOMPARE(sounds->add(QStringLiteral("0, 0")), nullptr);
        QCOMPARE(sounds->add(QStringLiteral("zero")), nullptr);
        Sound *second = sounds->add(QStringLiteral("5, 1"));
        QVERIFY(second);
        QCOMPARE(sounds->add(QVariant())->name(), QStringLiteral("0, 1"));
        QCOMPARE(sounds->data(sounds->index(1)).toString(), QStringLiteral("5, 1"));

        // A sound without sample decodes to nothing.
        SoundSample sample;
        first->sample(sample);
        QVERIFY(sample.data.isEmpty());
        QCOMPARE(first->info().frames, 0u);

        QVERIFY(first->setSample(ramp(2, 8, 100)));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.at(0).at(0).value<Sound *>(), first);
        QCOMPARE(first->info().channels, quint16(2));
        QCOMPARE(first->info().frames, 100u);
        SoundSample noChannels = ramp(1, 8, 10);
        noChannels.channels = 0;
        for (SoundSample const &refused :
             {ramp(1, 24, 10), ramp(3, 16, 10), ramp(1, 32, 10), noChannels}) {
            QVERIFY(!first->setSample(refused));
        }
        SoundSample mismatched = ramp(1, 16, 10);
        mismatched.frames = 11;
        QVERIFY(!first->setSample(mismatched));
        SoundSample silent = ramp(1, 16, 10);
        silent.frequency = 0;
        QVERIFY(!first->setSample(silent));
        first->sample(sample);
        QCOMPARE(sample.data, ramp(2, 8, 100).data);
        QCOMPARE(changes.size(), 1);

        // Renaming takes only free "group, number" text.
        second->setProperty(QStringLiteral("Identifier"), QStringLiteral("0, 1"));
        second->setProperty(QStringLiteral("Identifier"), QStringLiteral("5"));
        second->setProperty(QStringLiteral("Other"), QStringLiteral("6, 6"));
        QCOMPARE(second->name(), QStringLiteral("5, 1"));
        second->setProperty(QStringLiteral("Identifier"), QStringLiteral("6, 2"));
        QCOMPARE(second->name(), QStringLiteral("6, 2"));
        QCOMPARE(changes.size(), 2);

        // Search and replace through the identifiers.
        QList<ProjectFile::SearchResult> found =
            sounds->search(RegExp(QStringLiteral("^0, (\\d+)")), ProjectFile::SearchAll);
        QCOMPARE(found.size(), 2);
        sounds->replace(found, QStringLiteral("9, %1"));
        QCOMPARE(sounds->soundAt(0)->name(), QStringLiteral("9, 0"));
        QCOMPARE(sounds->soundAt(2)->name(), QStringLiteral("9, 1"));

        sounds->move(2, 0);
        QCOMPARE(sounds->soundAt(0)->name(), QStringLiteral("9, 1"));
        QCOMPARE(second->index(), 2u);
        sounds->autoOrganize();
        QCOMPARE(sounds->soundAt(0)->name(), QStringLiteral("6, 2"));
        QCOMPARE(sounds->soundAt(2)->name(), QStringLiteral("9, 1"));
        sounds->remove(0);
        sounds->remove(7);
        QCOMPARE(sounds->count(), 2u);
        QCOMPARE(sounds->soundAt(2), nullptr);

        // Saved, the bank is no longer modified; read back it is the same.
        QVERIFY(sounds->toFile(archive, QStringLiteral("edited.snd"), 0, nullptr));
        QVERIFY(!sounds->isModified());
        SoundsPointer again = makeSounds();
        QVERIFY(again->fromFile(archive, QStringLiteral("edited.snd"), 0, nullptr));
        QCOMPARE(again->count(), 2u);
        QCOMPARE(again->soundAt(0)->name(), QStringLiteral("9, 0"));
        again->soundAt(0)->sample(sample);
        QCOMPARE(sample.data, ramp(2, 8, 100).data);
        QCOMPARE(again->soundAt(1)->info().frames, 0u);

        // A copy read in counts as a change of this file.
        QVERIFY(again->fromFile(archive, QStringLiteral("edited.snd"), ProjectFile::Copy, nullptr));
        QVERIFY(again->isModified());
        again->reset();
        QVERIFY(again->isEmpty());
    }

    void groupZeroFull()
    {
        // No free number is made up past the largest one.
        SoundsPointer sounds = makeSounds();
        QVERIFY(sounds->add(QStringLiteral("0, 2147483647")));
        QCOMPARE(sounds->add(QVariant()), nullptr);
        QVERIFY(sounds->add(QStringLiteral("0, -5")));
    }

    void failedSaveKeepsTheOldFile()
    {
        // A write that fails midway is thrown away, and the archive keeps
        // the previous file; a place that cannot be written is refused. (The
        // file system's own replace of a whole file is in roundTripThroughFiles.)
        FullArchive full;
        full.files.insert(QStringLiteral("bank.snd"), "previous");
        SoundsPointer sounds = makeSounds();
        QVERIFY(sounds->add(QVariant())->setSample(ramp(1, 8, 4000)));
        QVERIFY(!sounds->toFile(full, QStringLiteral("bank.snd"), 0, nullptr));
        QCOMPARE(full.discarded, 1);
        QCOMPARE(full.files.value(QStringLiteral("bank.snd")), QByteArray("previous"));
        QVERIFY(!full.files.contains(QStringLiteral("<committed>")));
        QVERIFY(sounds->isModified());
        QCOMPARE(sounds->fileName(), QString());
        QStringList const errors = messageTexts(sounds->messages(), Message::Error);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.at(0).contains(QStringLiteral("disk full")), qPrintable(errors.at(0)));

        MemoryArchive readOnly;
        readOnly.readOnly = true;
        QVERIFY(!sounds->toFile(readOnly, QStringLiteral("bank.snd"), 0, nullptr));
        QVERIFY(readOnly.files.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSnd)
#include "tst_snd.moc"
