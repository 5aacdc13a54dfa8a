#include <kenro/engine/extension.h>
#include <kenro/sound/soundcodecs.h>
#include <kenro/sound/soundextension.h>

#include "soundtesthelpers.h"
#include "testdata.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <cstring>

using namespace Kenro;
using namespace KenroTest;

namespace {

// A format handler that answers with a fixed outcome and counts its calls.
class RecordingReader : public SoundReaderExtension
{
public:
    RecordingReader(char const *format, bool answer) : m_format(format), m_answer(answer) {}
    void release() override {}
    char const *format() const override { return m_format; }
    char const *description() const override { return "Test sound"; }
    bool read(QIODevice *device, SoundSample &sample) override
    {
        ++calls;
        if (!m_answer)
            return false;
        sample.channels = 1;
        sample.bits = 8;
        sample.frequency = 1234;
        sample.frames = 3;
        sample.data = device->read(3);
        return true;
    }
    int calls = 0;

private:
    char const *m_format;
    bool m_answer;
};

class RecordingWriter : public SoundWriterExtension
{
public:
    RecordingWriter(char const *format, bool answer) : m_format(format), m_answer(answer) {}
    void release() override {}
    char const *format() const override { return m_format; }
    char const *description() const override { return "Test sound"; }
    bool write(SoundSample const &sample, QIODevice *device) override
    {
        ++calls;
        return m_answer && device->write(sample.data) == sample.data.size();
    }
    int calls = 0;

private:
    char const *m_format;
    bool m_answer;
};

QByteArray mono16Format()
{
    return formatBody(1, 1, 8000, 16, 16000);
}

} // namespace

class TestWav : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void realFiles_data()
    {
        QTest::addColumn<QString>("path");
        QString const root = KenroTest::testDataPath();
        if (root.isEmpty()) {
            QTest::newRow("no test data") << QString();
            return;
        }
        QDir const wav(root + QStringLiteral("/sounds/wav"));
        QStringList const names = wav.entryList({QStringLiteral("*.wav")}, QDir::Files);
        for (QString const &name : names)
            QTest::newRow(qPrintable(name)) << wav.filePath(name);
        for (char const *name : {"voice_44k_stereo16.wav", "voice_22k_mono8.wav"}) {
            QTest::newRow(name) << root + QStringLiteral("/sounds/coded/") +
                    QString::fromLatin1(name);
        }
    }

    void realFiles()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QString, path);
        QByteArray const bytes = KenroTest::readFile(path);
        QList<RiffChunk> const chunks = riffChunks(bytes);
        QByteArray const format = chunkBody(chunks, "fmt ");
        QByteArray const data = chunkBody(chunks, "data");
        QVERIFY(format.size() >= 16);
        QVERIFY(!data.isEmpty());
        quint16 const channels = qFromLittleEndian<quint16>(format.constData() + 2);
        quint32 const rate = qFromLittleEndian<quint32>(format.constData() + 4);
        quint16 const bits = qFromLittleEndian<quint16>(format.constData() + 14);

        QFile file(path);
        SoundSample sample;
        QVERIFY(loadSound(&file, "WAV", sample));
        QCOMPARE(sample.channels, channels);
        QCOMPARE(sample.bits, bits);
        QCOMPARE(sample.frequency, rate);
        QCOMPARE(sample.frames, quint32(data.size() / (channels * bits / 8)));
        QVERIFY(bits == 8 || bits == 16);
        QVERIFY(rate >= 8000 && rate <= 48000);
        QCOMPARE(sample.data, data);

        QBuffer info(const_cast<QByteArray *>(&bytes));
        SampleInfo const header = soundInfoFromWAV(&info);
        QCOMPARE(header.channels, channels);
        QCOMPARE(header.bits, bits);
        QCOMPARE(header.frequency, rate);
        QCOMPARE(header.frames, sample.frames);

        QByteArray const written = encoded(sample, "WAV");
        QCOMPARE(written.size(), 44 + data.size());
        QList<RiffChunk> const back = riffChunks(written);
        QCOMPARE(back.size(), 2);
        QCOMPARE(chunkBody(back, "data"), data);
        QCOMPARE(chunkBody(back, "fmt "),
                 formatBody(1, channels, rate, bits, rate * (channels * bits / 8)));
    }

    void canonicalHeader()
    {
        SoundSample const sample =
            pcm(2, 16, 44100, QByteArray("\x01\x02\x03\x04\x05\x06\x07\x08", 8));
        QByteArray const written = encoded(sample, "WAV");
        QCOMPARE(written.size(), 52);
        QCOMPARE(written.left(4), QByteArray("RIFF"));
        QCOMPARE(qFromLittleEndian<quint32>(written.constData() + 4), 44u);
        QCOMPARE(written.mid(8, 8), QByteArray("WAVEfmt "));
        QCOMPARE(qFromLittleEndian<quint32>(written.constData() + 16), 16u);
        QCOMPARE(qFromLittleEndian<quint32>(written.constData() + 28), 176400u);
        QCOMPARE(qFromLittleEndian<quint16>(written.constData() + 32), quint16(4));
        QCOMPARE(written.mid(36, 4), QByteArray("data"));
        QCOMPARE(qFromLittleEndian<quint32>(written.constData() + 40), 8u);
        QCOMPARE(written.mid(44), sample.data);
    }

    void roundTrip_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("bits");
        for (int bits : {8, 16, 24, 32}) {
            for (int channels : {1, 2}) {
                QTest::addRow("%d bits, %d channels", bits, channels) << channels << bits;
            }
        }
    }

    void roundTrip()
    {
        QFETCH(int, channels);
        QFETCH(int, bits);
        SoundSample const sample =
            pcm(quint16(channels), quint16(bits), 22050, noise(channels * bits / 8 * 999, 7));
        SoundSample const back = decoded(encoded(sample, "WAV"), "WAV");
        QCOMPARE(back.channels, sample.channels);
        QCOMPARE(back.bits, sample.bits);
        QCOMPARE(back.frequency, sample.frequency);
        QCOMPARE(back.frames, 999u);
        QCOMPARE(back.data, sample.data);
    }

    void chunkLayouts_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<quint32>("frames");
        QByteArray const samples("\x10\x00\x20\x00\x30\x00", 6);
        QTest::newRow("plain") << riffFile({{"fmt ", mono16Format()}, {"data", samples}}) << samples
                               << 3u;
        // The byte search for "data" skips other chunks unparsed.
        QTest::newRow("LIST before data")
            << riffFile(
                   {{"fmt ", mono16Format()}, {"LIST", "INFOISFT\x04\0\0\0abc"}, {"data", samples}})
            << samples << 3u;
        QTest::newRow("LIST before fmt")
            << riffFile({{"LIST", "INFO"}, {"fmt ", mono16Format()}, {"data", samples}})
            << QByteArray() << 0u;
        // A false hit inside an earlier chunk wins: its next 4 bytes are the size.
        QTest::newRow("false hit") << riffFile({{"fmt ", mono16Format()},
                                                {"junk", QByteArray("data\x02\0\0\0\x7F\x7E", 10)},
                                                {"data", samples}})
                                   << QByteArray("\x7F\x7E", 2) << 1u;
        QTest::newRow("byte rate 0")
            << riffFile({{"fmt ", formatBody(1, 1, 8000, 16, 0)}, {"data", samples}}) << samples
            << 0u;
        QTest::newRow("not PCM") << riffFile({{"fmt ", formatBody(3, 1, 8000, 32, 32000)},
                                              {"data", samples}})
                                 << QByteArray() << 0u;
        QByteArray notWave = riffFile({{"fmt ", mono16Format()}, {"data", samples}});
        notWave.replace(8, 4, "AVI ");
        QTest::newRow("not WAVE") << notWave << QByteArray() << 0u;
        // No "data" anywhere: reading goes on behind the format fields.
        QTest::newRow("no data chunk")
            << riffFile({{"fmt ", mono16Format()}, {"nada", QByteArray("\x01\x02\x03\x04", 4)}})
            << QByteArray("\x01\x02\x03\x04", 4) << 2u;
        QTest::newRow("empty file") << QByteArray() << QByteArray() << 0u;
        QTest::newRow("header only") << QByteArray("RIFF\x04\0\0\0WAVE", 12) << QByteArray() << 0u;
    }

    void chunkLayouts()
    {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, expected);
        QFETCH(quint32, frames);
        SoundSample const sample = decoded(file, "WAV");
        QCOMPARE(sample.data.toHex(), expected.toHex());
        QCOMPARE(sample.frames, frames);
        if (!expected.isEmpty()) {
            QCOMPARE(sample.channels, 1);
            QCOMPARE(sample.bits, 16);
            QCOMPARE(sample.frequency, 8000u);
        }
    }

    void truncated()
    {
        QByteArray const samples = noise(4000, 3);
        QByteArray const file = riffFile({{"fmt ", mono16Format()}, {"data", samples}});
        for (qsizetype cut = file.size() - 1; cut >= 0; cut -= cut > 100 ? 397 : 1) {
            SoundSample const sample = decoded(file.left(cut), "WAV");
            if (cut < 44) {
                // The chunk size did not arrive: nothing to load.
                QVERIFY(sample.data.isEmpty());
                continue;
            }
            // The missing tail is silence.
            QCOMPARE(sample.data.size(), 4000);
            QCOMPARE(sample.frames, 2000u);
            QCOMPARE(sample.data.left(cut - 44), samples.left(cut - 44));
            QCOMPARE(sample.data.mid(cut - 44), QByteArray(4000 - (cut - 44), '\0'));
        }
    }

    void oversized()
    {
        // A damaged size field does not conjure gigabytes of silence: what
        // the file holds is loaded.
        QByteArray file = riffFile({{"fmt ", mono16Format()}, {"data", noise(100, 5)}});
        qToLittleEndian<quint32>(0xFFFFFFF0u, file.data() + 40);
        SoundSample const sample = decoded(file, "WAV");
        QCOMPARE(sample.data, noise(100, 5));
        QCOMPARE(sample.frames, 50u);
        // Nor does a huge RIFF size.
        qToLittleEndian<quint32>(0xFFFFFFFFu, file.data() + 4);
        QCOMPARE(decoded(file, "WAV").data, noise(100, 5));
        QBuffer buffer(&file);
        QCOMPARE(soundInfoFromWAV(&buffer).frames, 0x7FFFFFF8u);
    }

    void garbage()
    {
        for (quint32 seed = 1; seed <= 200; ++seed) {
            QByteArray bytes = noise(int(seed * 7), seed);
            if (seed % 2)
                bytes.replace(0, std::min<qsizetype>(22, bytes.size()),
                              QByteArray("RIFF\xFF\xFF\0\0WAVEfmt \x10\0\0\0\x01\0", 22));
            SoundSample const sample = decoded(bytes, "WAV");
            QVERIFY(sample.data.isEmpty() ||
                    sample.data.size() >=
                        qsizetype(sample.frames) * sample.channels * (sample.bits / 8));
            QBuffer buffer(&bytes);
            soundInfoFromWAV(&buffer);
        }
    }

    void infoEdgeCases()
    {
        QFile missing(QDir::temp().filePath(QStringLiteral("kenro-no-such-dir/none.wav")));
        SampleInfo const closed = soundInfoFromWAV(&missing);
        QCOMPARE(closed.channels, 0);
        QCOMPARE(closed.bits, 1);
        QCOMPARE(closed.frequency, 0u);
        QCOMPARE(closed.frames, 0u);

        QByteArray other =
            riffFile({{"fmt ", formatBody(3, 2, 8000, 32, 64000)}, {"data", "12345678"}});
        QBuffer buffer(&other);
        SampleInfo const notPcm = soundInfoFromWAV(&buffer);
        QCOMPARE(notPcm.channels, 0);
        QCOMPARE(notPcm.bits, 0);
        QCOMPARE(notPcm.frequency, 0u);
        QCOMPARE(notPcm.frames, 0u);

        // Neither the RIFF id, the form type nor the chunk id is checked.
        QByteArray loose = riffFile({{"xxxx", mono16Format()}, {"data", "12345678"}});
        loose.replace(0, 12, "ABCDEFGHIJKL");
        QBuffer looseBuffer(&loose);
        SampleInfo const info = soundInfoFromWAV(&looseBuffer);
        QCOMPARE(info.channels, 1);
        QCOMPARE(info.bits, 16);
        QCOMPARE(info.frequency, 8000u);
        QCOMPARE(info.frames, 4u);
        QVERIFY(decoded(loose, "WAV").data.isEmpty());
    }

    void deviceOpening()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(QStringLiteral("tone.wav"));
        SoundSample const sample = pcm(1, 8, 8000, QByteArray("\x80\x90\xA0", 3));
        QFile out(path);
        QVERIFY(saveSound(&out, "WAV", sample));
        QVERIFY(out.openMode().testFlag(QIODevice::WriteOnly));
        out.close();
        QFile in(path);
        SoundSample back;
        QVERIFY(loadSound(&in, "WAV", back));
        QCOMPARE(back.data, sample.data);

        // Wrong directions fail.
        QFile writeOnly(dir.filePath(QStringLiteral("other.wav")));
        QVERIFY(writeOnly.open(QIODevice::WriteOnly));
        QVERIFY(!loadSound(&writeOnly, "WAV", back));
        QFile readOnly(path);
        QVERIFY(readOnly.open(QIODevice::ReadOnly));
        QVERIFY(!saveSound(&readOnly, "WAV", sample));
        QFile nowhere(dir.filePath(QStringLiteral("no/such/dir.wav")));
        QVERIFY(!saveSound(&nowhere, "WAV", sample));
        QVERIFY(!soundToWAV(sample, &nowhere));
        QVERIFY(soundFromWAV(&nowhere).data.isEmpty());
    }

    void extensionDispatch()
    {
        // Distinct arrays: the manager tells formats apart by address.
        static char const refusedFormat[] = "XYZ";
        static char const readFormat[] = "XYZ";
        static RecordingReader refusing(refusedFormat, false);
        static RecordingReader reader(readFormat, true);
        static RecordingReader lower("wav", true);
        static char const refusedMp3[] = "MP3";
        static char const writtenMp3[] = "MP3";
        static RecordingWriter refusingWriter(refusedMp3, false);
        static RecordingWriter writer(writtenMp3, true);
        QByteArray const wav = riffFile({{"fmt ", mono16Format()}, {"data", "abcd"}});

        // Formats compare case-sensitively: "wav" is no built-in format.
        QVERIFY(decoded(wav, "wav").data.isEmpty());
        QVERIFY(decoded(wav, "XYZ").data.isEmpty());
        QVERIFY(encoded(pcm(1, 8, 8000, "abc"), "MP3").isEmpty());
        QVERIFY(encoded(pcm(1, 8, 8000, "abc"), "mp3").isEmpty());

        ExtensionManager::add(&refusing);
        ExtensionManager::add(&reader);
        ExtensionManager::add(&lower);
        ExtensionManager::add(&refusingWriter);
        ExtensionManager::add(&writer);

        SoundSample const viaExtension = decoded(wav, "XYZ");
        QCOMPARE(refusing.calls, 1);
        QCOMPARE(reader.calls, 1);
        QCOMPARE(viaExtension.frequency, 1234u);
        QCOMPARE(viaExtension.data, wav.left(3));
        QCOMPARE(decoded(wav, "wav").frequency, 1234u);
        QCOMPARE(lower.calls, 1);
        // Built-in formats never reach the extensions.
        QCOMPARE(decoded(wav, "WAV").data, QByteArray("abcd"));
        QCOMPARE(lower.calls, 1);

        QCOMPARE(encoded(pcm(1, 8, 8000, "abc"), "MP3"), QByteArray("abc"));
        QCOMPARE(refusingWriter.calls, 1);
        QCOMPARE(writer.calls, 1);
        QVERIFY(encoded(pcm(1, 8, 8000, "abc"), "AAC").isEmpty());
        QCOMPARE(writer.calls, 1);
        QCOMPARE(encoded(pcm(1, 8, 8000, "abc"), "WAV").size(), 47);
        QCOMPARE(writer.calls, 1);
    }
};

QTEST_GUILESS_MAIN(TestWav)
#include "tst_wav.moc"
