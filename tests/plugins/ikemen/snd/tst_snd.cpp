#include <ikemen/snd/sndreader.h>
#include <ikemen/snd/sndsounds.h>
#include <ikemen/snd/sndwriter.h>

#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>
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

Q_DECLARE_METATYPE(Kenro::SoundSample)

using namespace Kenro;
using namespace Kenro::Ikemen;
using namespace Qt::StringLiterals;
using KenroTest::MemoryArchive;

namespace {

using Bank = std::unique_ptr<SndSounds, void (*)(SndSounds *)>;

Bank makeSounds()
{
    return Bank(new SndSounds, [](SndSounds *sounds) { sounds->release(); });
}

QString const identifier = u"Identifier"_s;

QList<quint32> words(QByteArray const &bytes, QList<qsizetype> const &offsets)
{
    QList<quint32> values;
    for (qsizetype offset : offsets)
        values << qFromLittleEndian<quint32>(bytes.constData() + offset);
    return values;
}

// The offsets of the members of a sound bank known to be sound.
QList<qsizetype> memberOffsets(QByteArray const &bank)
{
    QList<qsizetype> offsets{words(bank, {20}).at(0)};
    while (offsets.size() < qsizetype(words(bank, {16}).at(0)))
        offsets << words(bank, {offsets.last()}).at(0);
    return offsets;
}

// Each member of \a bank as its group, number and bytes.
QList<QByteArray> members(SndBank const &bank)
{
    QList<QByteArray> list;
    for (SndMember const &m : bank.members)
        list << QByteArray::number(m.group) + ',' + QByteArray::number(m.number) + ':' +
                m.wavCopy();
    return list;
}

// The error of reading \a bytes, or "<read>" when the read succeeds.
QString readError(QByteArray const &bytes)
{
    SndReader reader;
    return reader.read(bytes) ? u"<read>"_s : reader.errorString();
}

QStringList texts(Messages const *messages, Message::Type type)
{
    QStringList texts;
    for (unsigned int i = 0; messages && i < messages->count(type); ++i)
        texts << messages->at(i, type).text;
    return texts;
}

QByteArray written(SndBank const &bank)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    return SndWriter().write(bank, &buffer) ? bytes : QByteArray("<failed>");
}

// A sample of \a frames frames of a ramp that starts at \a seed.
SoundSample ramp(quint16 channels, quint16 bits, quint32 frames, int seed = 0)
{
    SoundSample sample;
    static_cast<SampleInfo &>(sample) = {channels, bits, 11025, frames};
    for (qsizetype i = 0; i < qsizetype(frames) * channels * bits / 8; ++i)
        sample.data.append(char(i * 7 + seed));
    return sample;
}

QList<quint32> header(SampleInfo const &info)
{
    return {info.channels, info.bits, info.frequency, info.frames};
}

SoundSample sampleOf(Sound const *sound)
{
    SoundSample sample;
    sound->sample(sample);
    return sample;
}

// What a list view shows, row by row.
QString shown(QAbstractItemModel const &model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row)
        rows << model.index(row, 0).data().toString();
    return rows.join(u'/');
}

// A device that takes \a room bytes and refuses the rest.
struct ShortDevice : QBuffer
{
    explicit ShortDevice(qint64 room) : room(room) {}
    qint64 writeData(char const *data, qint64 size) override
    {
        setErrorString(u"disk full"_s);
        return pos() + size > room ? -1 : QBuffer::writeData(data, size);
    }
    qint64 room;
};

// An archive in memory whose writes run out of room after a few bytes.
struct FullArchive : MemoryArchive
{
    QIODevice *openFile(QString const &name, QFlags<QIODevice::OpenModeFlag> mode) override
    {
        if (!(mode & QIODevice::WriteOnly))
            return MemoryArchive::openFile(name, mode);
        auto *device = new ShortDevice(1000);
        device->open(mode);
        return device;
    }
    void closeFile(QIODevice *device) override { delete device, committed = true; }
    void discardFile(QIODevice *device) override { delete device, ++discarded; }
    int discarded = 0;
    bool committed = false;
};

} // namespace

class TestSnd : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void realBanks_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("count");
        QTest::newRow("kfm") << u"game/chars/kfm/kfm.snd"_s << 12;
        QTest::newRow("training") << u"game/chars/training/Training.snd"_s << 16;
    }
    void realBanks()
    {
        // Written back, the bank is the file it was read from; every sound is its WAV file byte
        // for byte, a window into the one copy of the bank.
        KENRO_REQUIRE_TESTDATA(data);
        QFETCH(QString, path);
        QFETCH(int, count);
        QString const name = data + u'/' + path;
        MemoryArchive archive;
        Bank sounds = makeSounds();
        QVERIFY(sounds->fromFile(FileSystemArchive::instance(), name, 0, nullptr));
        QVERIFY(!sounds->isModified());
        QCOMPARE(texts(sounds->messages(), Message::All), QStringList());
        QCOMPARE(int(sounds->count()), count);
        QVERIFY(sounds->toFile(archive, u"copy.snd"_s, ProjectFile::Copy, nullptr));
        QCOMPARE(archive.files.value(u"copy.snd"_s), KenroTest::readFile(name));
        QCOMPARE(sounds->fileName(), name);

        QDir const wavs(data + u"/sounds/wav"_s);
        QString const source = QTest::currentDataTag();
        QStringList found;
        for (unsigned int i = 0; i < sounds->count(); ++i) {
            SndSound *sound = sounds->sound(i);
            found << u"%1_%2_%3.wav"_s.arg(source).arg(sound->group()).arg(sound->number());
            QVERIFY2(sound->wav() == KenroTest::readFile(wavs.filePath(found.last())),
                     qPrintable(found.last()));
            QCOMPARE(sound->name(), u"%1, %2"_s.arg(sound->group()).arg(sound->number()));
            QByteArrayView const before = i ? sounds->sound(i - 1)->wav() : QByteArrayView();
            QVERIFY(!i || sound->wav().data() == before.end() + SndBank::memberHeaderSize);
        }
        found.sort();
        QCOMPARE(found, wavs.entryList({source + u"_*.wav"_s}, QDir::Files, QDir::Name));
        // 24 bits are more than the bank's WAV files hold.
        QFile deep(data + u"/sounds/coded/voice_48k_mono24.flac"_s);
        SoundSample sample;
        QVERIFY(loadSound(&deep, "FLAC", sample));
        QByteArray const kept = sounds->sound(0)->wav().toByteArray();
        QVERIFY(!sounds->sound(0)->setSample(sample));
        QCOMPARE(sounds->sound(0)->wav().toByteArray(), kept);

        // Edited, saved twice and read again, the bank keeps its members: the second save replaced
        // the first whole. A copy read in counts as a change of the file.
        QVERIFY(sounds->sound(0)->setSample(ramp(1, 16, 300)));
        sounds->remove(1);
        sounds->sound(0)->setProperty(identifier, u"7, -3"_s);
        QTemporaryDir dir;
        QString const target = dir.filePath(u"bank.snd"_s);
        for (int round = 0; round < 2; ++round) {
            QVERIFY(sounds->isModified() != bool(round));
            QVERIFY(sounds->toFile(FileSystemArchive::instance(), target, 0, nullptr));
            QCOMPARE(sounds->fileName(), target);
        }
        QVERIFY(!sounds->isModified());
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{u"bank.snd"_s});
        Bank again = makeSounds();
        QVERIFY(again->fromFile(FileSystemArchive::instance(), target, 0, nullptr));
        QCOMPARE(again->bank().version, sounds->bank().version);
        QCOMPARE(members(again->bank()), members(sounds->bank()));
        QCOMPARE(again->sound(0)->name(), u"7, -3"_s);
        QVERIFY(again->fromFile(FileSystemArchive::instance(), target, ProjectFile::Copy, nullptr));
        QVERIFY(again->isModified());
        QCOMPARE(again->fileName(), target);
    }

    void writerLayout()
    {
        // An empty bank is a 512-byte header; a longer comment moves the first member behind it;
        // members link forward, the last one to the end of the file.
        QByteArray const bytes = written(SndBank());
        QCOMPARE(bytes.size(), qsizetype(512));
        QVERIFY(bytes.startsWith(QByteArrayView("ElecbyteSnd\0", 12)));
        QCOMPARE(words(bytes, {12, 16, 20}), QList<quint32>({SndBank::defaultVersion, 0, 512}));
        QCOMPARE(readError(bytes), u"<read>"_s);
        SndBank bank;
        bank.version = 0x00010001;
        bank.reserved = QByteArray(600, 'c');
        bank.members << SndMember(3, 4, QByteArray("RIFF....WAVEabc")) << SndMember(-1, 9, {});
        QByteArray const two = written(bank);
        QCOMPARE(two.size(), qsizetype(24 + 600 + 16 + 15 + 16));
        QCOMPARE(words(two, {12, 16, 20, 624, 628, 632, 636, 655, 659, 663, 667}),
                 QList<quint32>({0x00010001, 2, 624, 655, 15, 3, 4, 671, 0, 0xFFFFFFFF, 9}));
        SndReader reader;
        QVERIFY(reader.read(two));
        QCOMPARE(reader.bank().reserved, bank.reserved);
        QCOMPARE(members(reader.bank()), members(bank));
        QCOMPARE(reader.warnings(), QStringList());
        // A device that refuses bytes fails the write with its reason.
        ShortDevice device(100);
        device.open(QIODevice::WriteOnly);
        SndWriter writer;
        QVERIFY(!writer.write(bank, &device));
        QVERIFY2(writer.errorString().contains(u"disk full"_s), qPrintable(writer.errorString()));

        // A repeated group and number, or a member that is no WAV file, reads with a warning each;
        // the sounds are all kept, and the one that is no WAV file decodes to nothing.
        bank.members << SndMember(3, 4, QByteArray("OggS and more"));
        MemoryArchive archive;
        archive.files.insert(u"odd.snd"_s, written(bank));
        Bank sounds = makeSounds();
        QVERIFY(sounds->fromFile(archive, u"odd.snd"_s, 0, nullptr));
        QCOMPARE(sounds->count(), 3u);
        QStringList const warnings = texts(sounds->messages(), Message::Warning);
        QVERIFY2(warnings.size() == 2 && warnings.at(0).startsWith(u"Sound 3 (3, 4) repeats"_s) &&
                     warnings.at(1).startsWith(u"Sound 3 (3, 4) holds no WAV"_s),
                 qPrintable(warnings.join(u'\n')));
        QVERIFY(sampleOf(sounds->sound(2)).data.isEmpty());
    }

    void malformed_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("fault");
        KENRO_REQUIRE_TESTDATA(data);
        QByteArray const kfm = KenroTest::readFile(data + u"/game/chars/kfm/kfm.snd"_s);
        QList<qsizetype> const at = memberOffsets(kfm);
        QCOMPARE(at.size(), 12);
        qsizetype const size = kfm.size();
        auto row = [](char const *name, QByteArray const &bytes, char const *fault,
                      qint64 arg = -1) {
            QString const text = QString::fromLatin1(fault);
            QTest::newRow(name) << bytes << (arg < 0 ? text : text.arg(arg));
        };
        auto changed = [&](char const *name, qsizetype offset, qint64 value, char const *fault,
                           qint64 arg = -1) {
            QByteArray bytes = kfm;
            qToLittleEndian(quint32(value), bytes.data() + offset);
            row(name, bytes, fault, arg);
        };
        row("empty", QByteArray(), "truncated: its 0 bytes");
        row("short header", kfm.left(23), "truncated: its 23 bytes");
        row("signature", QByteArray(kfm).replace(8, 1, "X"), "not a sound bank");
        row("header only", kfm.left(512), "first sound lies past the end of the file (512 bytes)");
        row("count past the room", kfm.left(200),
            "counts 12 sounds, more than a file of 200 bytes");
        changed("count huge", 16, 0xFFFFFFFF, "counts 4294967295 sounds, more than");
        changed("count past the list", 16, 13,
                "counts 13 sounds, but the list of sounds ends after 12");
        changed("list ends with null", at[4], 0,
                "counts 12 sounds, but the list of sounds ends after 5");
        changed("first in header", 20, 8, "offset 8 of the first sound points into the header");
        changed("first past end", 20, size, "offset %1 of the first sound lies past the end", size);
        changed("first at last bytes", 20, size - 15, "lies past the end of the file");
        changed("link past end", at[2], size + 100, "Sound 3 (0, 2) links to offset %1, past",
                size + 100);
        changed("link to last bytes", at[2], size - 8, "Sound 3 (0, 2) links to offset %1, past",
                size - 8);
        changed("link into header", at[6], 3,
                "Sound 7 (5, 0) links to offset 3, inside the header");
        changed("loop to itself", at[0], at[0],
                "Sound 1 (0, 0) links back to offset 512, where sound 1");
        changed("loop back", at[9], at[3],
                "Sound 10 (40, 0) links back to offset %1, where sound 4", at[3]);
        changed("length past end", at[5] + 4, size, "Sound 6 (1, 1) at offset %1: its length of",
                at[5]);
        changed("length huge", at[0] + 4, 0xFFFFFFF0, "length of 4294967280");
        row("truncated in last sound", kfm.left(size - 1),
            "Sound 12 (800, 0) at offset %1: its length of 4653 bytes runs past the end", at[11]);
        row("truncated in a header", kfm.left(at[8] + 10),
            "Sound 8 (6, 0) links to offset %1, past", at[8]);
    }
    void malformed()
    {
        // A damaged bank is refused with its fault named; an open bank keeps its sounds.
        QFETCH(QByteArray, bytes);
        QFETCH(QString, fault);
        QString const error = readError(bytes);
        QVERIFY2(error.contains(fault), qPrintable(error));
        MemoryArchive archive;
        SndBank good;
        good.members << SndMember(1, 1, QByteArray("RIFF\0\0\0\0WAVE", 12));
        archive.files.insert(u"good.snd"_s, written(good));
        archive.files.insert(u"bad.snd"_s, bytes);
        Bank sounds = makeSounds();
        QVERIFY(sounds->fromFile(archive, u"good.snd"_s, 0, nullptr));
        QSignalSpy resets(sounds.get(), &QAbstractItemModel::modelReset);
        QVERIFY(!sounds->fromFile(archive, u"bad.snd"_s, 0, nullptr));
        QCOMPARE(resets.size(), 0);
        QCOMPARE(sounds->count(), 1u);
        QCOMPARE(sounds->fileName(), u"good.snd"_s);
        QCOMPARE(texts(sounds->messages(), Message::Error), QStringList{error});
    }

    void mutations()
    {
        // Random damage to the real banks, seeded: every read fails with a reason or gives a bank
        // whose sounds decode and are written back to the same members.
        KENRO_REQUIRE_TESTDATA(data);
        QList<QByteArray> const banks = {
            KenroTest::readFile(data + u"/game/chars/kfm/kfm.snd"_s),
            KenroTest::readFile(data + u"/game/chars/training/Training.snd"_s)};
        QRandomGenerator random(0x534e44);
        int refused = 0;
        for (int round = 0; round < 3000; ++round) {
            // The small bank most of the time: decoding is the costly part.
            QByteArray const &original = banks.at(round % 10 == 9 ? 1 : 0);
            QList<qsizetype> const offsets = memberOffsets(original);
            QByteArray bytes = original;
            for (int c = 1 + int(random.bounded(4)); c > 0; --c) {
                int const kind = int(random.bounded(5));
                // Aim at the fields that matter: the header and the member headers.
                qsizetype const at = kind == 0 ? random.bounded(24)
                    : kind == 1 ? offsets.at(random.bounded(offsets.size())) + random.bounded(64)
                                : random.bounded(bytes.size());
                if (kind == 4)
                    bytes.truncate(at);
                else if (at < bytes.size())
                    bytes[at] = kind == 3 ? char(random.bounded(256))
                                          : char(bytes.at(at) ^ (1 << random.bounded(8)));
            }
            SndReader reader;
            if (!reader.read(bytes)) {
                QVERIFY(!reader.errorString().isEmpty());
                ++refused;
                continue;
            }
            QCOMPARE(quint32(reader.bank().members.size()), words(bytes, {16}).at(0));
            SndReader again;
            QVERIFY2(again.read(written(reader.bank())), qPrintable(again.errorString()));
            QCOMPARE(members(again.bank()), members(reader.bank()));
            // The WAV decoder meets the damaged members too.
            for (SndMember const &member : reader.bank().members) {
                QBuffer buffer;
                buffer.setData(member.wavCopy());
                soundInfoFromWAV(&buffer);
                if (member.size() < 20000 && buffer.seek(0))
                    soundFromWAV(&buffer);
            }
        }
        QVERIFY(refused > 100 && refused < 2900);
    }

    void editing()
    {
        // Adding, naming, finding, moving, sorting and removing sounds, as a list model.
        Bank bank = makeSounds();
        SndSounds &sounds = *bank;
        QAbstractItemModelTester tester(&sounds,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(sounds.isEmpty());
        QCOMPARE(sounds.currentIndex(), -1);
        for (char16_t const *name : {u"2, 0", u"0, 1", u"1, 0", u"0, 0", u"1, 5"})
            QVERIFY(sounds.add(QString::fromUtf16(name)));
        // Without an identifier a sound takes the next number of group 0; a
        // taken identifier, or one of the wrong form, gives nothing.
        Sound *fresh = sounds.add(QVariant());
        QCOMPARE(fresh->index(), 5u);
        QCOMPARE(fresh->parent(), &sounds);
        QCOMPARE(sounds.add(u"1, 0"_s), nullptr);
        QCOMPARE(sounds.add(u"loud"_s), nullptr);
        QCOMPARE(shown(sounds), u"2, 0/0, 1/1, 0/0, 0/1, 5/0, 2"_s);
        QString const id = u"1, 5"_s;
        QCOMPARE(QList<int>({sounds.find(0, id), sounds.find(4, id), sounds.find(5, id),
                             sounds.find(99, u"2, 0"_s)}),
                 QList<int>({4, 4, -1, -1}));
        QCOMPARE(sounds.data(sounds.index(1), Qt::EditRole), QVariant(u"0, 1"_s));
        QCOMPARE(sounds.soundAt(6), nullptr);

        // Renaming takes only free "group, number" text, and shows at once.
        QSignalSpy changes(&sounds, &Sounds::soundChanged);
        fresh->setProperty(identifier, u"1, 0"_s);
        fresh->setProperty(identifier, u"5"_s);
        fresh->setProperty(u"Other"_s, u"6, 6"_s);
        QCOMPARE(changes.size(), 0);
        fresh->setProperty(identifier, u"3, 3"_s);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(shown(sounds), u"2, 0/0, 1/1, 0/0, 0/1, 5/3, 3"_s);
        sounds.remove(5);
        sounds.remove(9);

        // Moves both ways; moves onto the same place or past the end do nothing.
        for (auto const &[from, to] : {std::pair{4u, 0u}, {1u, 3u}, {2u, 2u}, {0u, 9u}})
            sounds.move(from, to);
        QCOMPARE(shown(sounds), u"1, 5/0, 1/1, 0/2, 0/0, 0"_s);
        QCOMPARE(sounds.soundAt(3)->index(), 3u);
        sounds.autoOrganize();
        QCOMPARE(shown(sounds), u"0, 0/0, 1/1, 0/1, 5/2, 0"_s);
        // The selection falls away past the end.
        sounds.setSelected(4);
        QCOMPARE(sounds.currentIndex(), 4);
        sounds.remove(0);
        QCOMPARE(sounds.currentIndex(), -1);

        // No free number is made up past the largest one.
        sounds.reset();
        QVERIFY(sounds.isEmpty());
        QVERIFY(sounds.add(u"0, 2147483647"_s));
        QCOMPARE(sounds.add(QVariant()), nullptr);
        QVERIFY(sounds.add(u"0, -5"_s));
    }

    void setSample_data()
    {
        QTest::addColumn<SoundSample>("sample");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("8-bit mono") << ramp(1, 8, 40) << true;
        QTest::newRow("16-bit stereo") << ramp(2, 16, 100, 3) << true;
        QTest::newRow("no data") << SoundSample() << true;
        QTest::newRow("24-bit") << ramp(1, 24, 10) << false;
        QTest::newRow("three channels") << ramp(3, 8, 10) << false;
        auto with = [](SoundSample sample, SampleInfo const &info) {
            static_cast<SampleInfo &>(sample) = info;
            return sample;
        };
        QTest::newRow("no frequency") << with(ramp(1, 8, 30), {1, 8, 0, 30}) << false;
        QTest::newRow("data shorter than its header")
            << with(ramp(1, 16, 15), {1, 16, 11025, 16}) << false;
        QTest::newRow("data longer than its header")
            << with(ramp(2, 16, 10), {2, 16, 11025, 9}) << false;
    }
    void setSample()
    {
        // 8 or 16 bits, 1 or 2 channels; a refused sample leaves the sound and its row alone.
        QFETCH(SoundSample, sample);
        QFETCH(bool, accepted);
        Bank sounds = makeSounds();
        Sound *sound = sounds->add(QVariant());
        SoundSample const before = ramp(1, 16, 50, 9);
        QVERIFY(sound->setSample(before));
        QSignalSpy rows(sounds.get(), &QAbstractItemModel::dataChanged);
        QCOMPARE(sound->setSample(sample), accepted);
        QCOMPARE(rows.size(), accepted ? 1 : 0);
        SoundSample const after = sampleOf(sound);
        QCOMPARE(header(after), header(accepted ? sample : before));
        QVERIFY(after.data == (accepted ? sample : before).data);
        QCOMPARE(header(sound->info()),
                 header(after.data.isEmpty() ? SampleInfo() : SampleInfo(after)));
    }

    void bracketsMarkTheFileOnceAtTheLastClose()
    {
        MemoryArchive archive;
        Bank bank = makeSounds();
        SndSounds &sounds = *bank;
        QSignalSpy modified(&sounds, &OrganizableObject::modified);
        QSignalSpy changed(&sounds, &OrganizableObject::changed);
        QSignalSpy counts(&sounds, &Sounds::soundCountChanged);
        QSignalSpy edited(&sounds, &Sounds::soundChanged);
        auto tally = [&] {
            return QList<qsizetype>{modified.size(), changed.size(), counts.size(), edited.size()};
        };
        sounds.beginChange();
        sounds.beginChange();
        Sound *first = sounds.add(u"0, 0"_s);
        Sound *second = sounds.add(u"0, 1"_s);
        QVERIFY(first->setSample(ramp(1, 16, 100)));
        sounds.beginChange();
        sounds.endChange();
        sounds.endChange();
        QCOMPARE(sounds.changeDepth(), 1);
        QVERIFY(!sounds.isModified());
        QCOMPARE(tally(), QList<qsizetype>({0, 0, 0, 0}));
        sounds.endChange();
        QCOMPARE(sounds.changeDepth(), 0);
        QVERIFY(sounds.isModified());
        QCOMPARE(tally(), QList<qsizetype>({1, 1, 1, 1}));
        QCOMPARE(changed.at(0).at(0), QVariant(true));
        QCOMPARE(edited.at(0).at(0).value<Sound *>(), first);
        // A close without an open bracket is ignored.
        sounds.endChange();
        QCOMPARE(sounds.changeDepth(), 0);
        QCOMPARE(modified.size(), 1);

        // After a save, the next bracket marks the file again. A sound removed
        // inside the bracket is not named, and each changed one is named once.
        QVERIFY(sounds.toFile(archive, u"bank.snd"_s, 0, nullptr));
        QCOMPARE(changed.at(1).at(0), QVariant(false));
        Sound *third = sounds.add(u"0, 2"_s);
        QCOMPARE(tally(), QList<qsizetype>({2, 3, 2, 1}));
        sounds.beginChange();
        QVERIFY(second->setSample(ramp(1, 16, 10)));
        QVERIFY(third->setSample(ramp(1, 16, 10, 1)));
        QVERIFY(second->setSample(ramp(1, 16, 20)));
        QVERIFY(!third->setSample(ramp(3, 16, 2)));
        sounds.remove(third->index());
        sounds.move(1, 0);
        sounds.endChange();
        QCOMPARE(tally(), QList<qsizetype>({3, 3, 3, 2}));
        QCOMPARE(edited.at(1).at(0).value<Sound *>(), second);
        QCOMPARE(sounds.soundAt(0), second);

        // Edits outside a bracket tell at once; a reset forgets the changed sounds.
        for (char16_t const *added : {u"5, 0", u"4, 0", u"3, 0"})
            QVERIFY(sounds.add(QString::fromUtf16(added)));
        QCOMPARE(tally(), QList<qsizetype>({6, 3, 6, 2}));
        sounds.beginChange();
        QVERIFY(sounds.soundAt(0)->setSample(ramp(1, 16, 5)));
        sounds.reset();
        sounds.endChange();
        QCOMPARE(tally(), QList<qsizetype>({7, 3, 7, 2}));
    }

    void listenersThatRemoveSoundsAreSafe()
    {
        Bank bank = makeSounds();
        SndSounds &sounds = *bank;
        for (char16_t const *name : {u"0, 0", u"0, 1", u"0, 2"})
            QVERIFY(sounds.add(QString::fromUtf16(name)));
        Sound *kept = sounds.soundAt(0);
        Sound *middle = sounds.soundAt(1);
        Sound *doomed = sounds.soundAt(2);
        QList<Sound *> named;
        bool removing = false;
        connect(&sounds, &Sounds::soundChanged, this, [&](Sound *sound) {
            named << sound;
            // Hearing of the first sound, it deletes another one that was also changed.
            if (removing && sound == kept && sounds.count() == 3)
                sounds.remove(2);
        });
        auto change = [&](QList<Sound *> const &order) {
            named.clear();
            sounds.beginChange();
            for (Sound *sound : order)
                QVERIFY(sound->setSample(ramp(1, 16, 8)));
            sounds.endChange();
        };
        // Sounds are named in row order, whatever the order of their changes.
        change({doomed, kept, middle, doomed});
        QCOMPARE(named, QList<Sound *>({kept, middle, doomed}));
        removing = true;
        change({kept, doomed, middle});
        QCOMPARE(named, QList<Sound *>({kept, middle}));

        // A removal above the sounds still to be named shifts them up; none is missed.
        Sound *last = sounds.add(u"0, 3"_s);
        removing = false;
        QObject guard;
        connect(&sounds, &Sounds::soundChanged, &guard, [&](Sound *sound) {
            if (sound == middle)
                sounds.remove(0);
        });
        change({kept, middle, last});
        QCOMPARE(named, QList<Sound *>({kept, middle, last}));
        QCOMPARE(sounds.count(), 2u);
    }

    void failedSaveKeepsTheOldFile()
    {
        // A write that fails midway is thrown away and the archive keeps the previous file; a
        // place that cannot be written is refused, and so is a file that is not there.
        FullArchive full;
        full.files.insert(u"bank.snd"_s, "previous");
        Bank sounds = makeSounds();
        QVERIFY(sounds->add(QVariant())->setSample(ramp(1, 8, 4000)));
        QVERIFY(!sounds->toFile(full, u"bank.snd"_s, 0, nullptr));
        QCOMPARE(full.discarded, 1);
        QVERIFY(!full.committed);
        QCOMPARE(full.files.value(u"bank.snd"_s), QByteArray("previous"));
        QVERIFY(sounds->isModified());
        QCOMPARE(sounds->fileName(), QString());
        QStringList const errors = texts(sounds->messages(), Message::Error);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.at(0).contains(u"disk full"_s), qPrintable(errors.at(0)));

        MemoryArchive readOnly;
        readOnly.readOnly = true;
        QVERIFY(!sounds->toFile(readOnly, u"bank.snd"_s, 0, nullptr));
        QVERIFY(readOnly.files.isEmpty());
        QVERIFY(!sounds->fromFile(readOnly, u"none.snd"_s, 0, nullptr));
        QCOMPARE(texts(sounds->messages(), Message::Error),
                 QStringList{u"The file cannot be opened."_s});
    }
};

QTEST_GUILESS_MAIN(TestSnd)
#include "tst_snd.moc"
