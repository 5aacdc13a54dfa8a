#include <kenro/sound/soundcodecs.h>

#include "soundtesthelpers.h"
#include "testdata.h"

#include <QBuffer>
#include <QFile>
#include <QTest>
#include <QtEndian>

#include <cmath>

using namespace Kenro;
using namespace KenroTest;

namespace {

QString coded(QString const &root, char const *name)
{
    return root + QStringLiteral("/sounds/coded/") + QString::fromLatin1(name);
}

SoundSample fromFile(QString const &path, char const *format)
{
    QFile file(path);
    SoundSample sample;
    loadSound(&file, format, sample);
    return sample;
}

// The left channel of a 16-bit stereo sample.
SoundSample leftChannel(SoundSample const &stereo)
{
    SoundSample mono = stereo;
    mono.channels = 1;
    mono.data.resize(stereo.frames * 2);
    auto const *in = reinterpret_cast<qint16 const *>(stereo.data.constData());
    auto *out = reinterpret_cast<qint16 *>(mono.data.data());
    for (quint32 i = 0; i < stereo.frames; ++i)
        out[i] = in[2 * i];
    return mono;
}

// A 16-bit mono sweep, loud enough to matter to a lossy coder.
SoundSample sweep(quint32 frames)
{
    QByteArray data(frames * 2, '\0');
    auto *out = reinterpret_cast<qint16 *>(data.data());
    for (quint32 i = 0; i < frames; ++i)
        out[i] = qint16(12000 * std::sin(0.02 * i + 1e-6 * double(i) * i));
    return pcm(1, 16, 44100, data);
}

// The header-type flags of every Ogg page in \a bytes.
QList<int> oggPageFlags(QByteArray const &bytes)
{
    QList<int> flags;
    qsizetype at = 0;
    while (at + 27 <= bytes.size() && bytes.mid(at, 4) == "OggS") {
        flags.append(quint8(bytes[at + 5]));
        int const segments = quint8(bytes[at + 26]);
        qsizetype body = 0;
        for (int i = 0; i < segments && at + 27 + i < bytes.size(); ++i)
            body += quint8(bytes[at + 27 + i]);
        at += 27 + segments + body;
    }
    return flags;
}

// The checksum of an Ogg page: CRC-32 with polynomial 0x04C11DB7, not
// reflected, starting from 0, over the page with its checksum field zeroed.
quint32 oggChecksum(QByteArray const &page)
{
    quint32 crc = 0;
    for (char const byte : page) {
        crc ^= quint32(quint8(byte)) << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 0x80000000u ? (crc << 1) ^ 0x04C11DB7u : crc << 1;
    }
    return crc;
}

} // namespace

class TestSoundCodecs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codedVoice_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QString>("name");
        QTest::addColumn<double>("minimumSnr");
        // Waveform ratios of the lossy files against the WAV: 21.90 dB for
        // Ogg and 24.88 dB for MP3, the same as oggdec and mpg123 give for
        // these files. The bounds leave a little room below.
        QTest::newRow("flac") << QByteArray("FLAC") << QStringLiteral("voice_44k_stereo16.flac")
                              << 999.0;
        QTest::newRow("ogg") << QByteArray("OGG") << QStringLiteral("voice_44k_stereo16.ogg")
                             << 21.5;
        QTest::newRow("mp3") << QByteArray("MP3") << QStringLiteral("voice_44k_stereo16.mp3")
                             << 24.5;
    }

    void codedVoice()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QByteArray, format);
        QFETCH(QString, name);
        QFETCH(double, minimumSnr);
        SoundSample const reference = fromFile(coded(root, "voice_44k_stereo16.wav"), "WAV");
        QVERIFY(!reference.data.isEmpty());
        SoundSample const sample =
            fromFile(root + QStringLiteral("/sounds/coded/") + name, format.constData());
        QVERIFY(!sample.data.isEmpty());
        QCOMPARE(sample.channels, 2);
        QCOMPARE(sample.bits, 16);
        QCOMPARE(sample.frequency, 44100u);
        QCOMPARE(sample.frames, reference.frames);
        QVERIFY(consistent(sample));
        double const snr = snr16(reference.data, sample.data);
        QVERIFY2(snr >= minimumSnr, qPrintable(QString::number(snr)));
        if (format == "FLAC")
            QCOMPARE(sample.data, reference.data);
    }

    void flac24()
    {
        KENRO_REQUIRE_TESTDATA(root);
        SoundSample const sample = fromFile(coded(root, "voice_48k_mono24.flac"), "FLAC");
        QCOMPARE(sample.bits, 24);
        QCOMPARE(sample.channels, 1);
        QCOMPARE(sample.frequency, 48000u);
        QVERIFY(sample.frames > 48000);
        QVERIFY(consistent(sample));
        // The same voice as the 44.1 kHz file: about as long, and audible.
        SoundSample const voice = fromFile(coded(root, "voice_44k_stereo16.wav"), "WAV");
        QVERIFY(std::fabs(sample.frames / 48000.0 - voice.frames / 44100.0) < 0.05);
        float peak = 0;
        for (quint32 i = 0; i < sample.frames; ++i)
            peak = std::max(peak, std::fabs(decodeSample(sample.data.constData() + 3 * i, 24)));
        QVERIFY2(peak > 0.1f && peak <= 1.0f, qPrintable(QString::number(peak)));
        // Written back by our encoder, it is the same.
        SoundSample const back = decoded(encoded(sample, "FLAC"), "FLAC");
        QCOMPARE(back.frames, sample.frames);
        QCOMPARE(back.bits, 24);
        QVERIFY(back.data == sample.data);
    }

    void flacRoundTrip_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("frames");
        for (int bits : {24, 32}) {
            QTest::addRow("%d bits mono", bits) << 1 << bits << 25001;
            QTest::addRow("%d bits stereo", bits) << 2 << bits << 777;
        }
    }

    void flacRoundTrip()
    {
        QFETCH(int, channels);
        QFETCH(int, bits);
        QFETCH(int, frames);
        QByteArray data = noise(frames * channels * bits / 8, quint32(bits + channels));
        if (bits == 32) {
            // libFLAC keeps 32-bit samples within a signed 32-bit residual, so
            // give it sound rather than full-scale noise.
            auto *values = reinterpret_cast<qint32 *>(data.data());
            for (int i = 0; i < frames * channels; ++i)
                values[i] /= 4;
        }
        SoundSample const sample = pcm(quint16(channels), quint16(bits), 32000, data);
        QByteArray const file = encoded(sample, "FLAC");
        QVERIFY(file.startsWith("fLaC"));
        SoundSample const back = decoded(file, "FLAC");
        QCOMPARE(back.channels, sample.channels);
        QCOMPARE(back.bits, sample.bits);
        QCOMPARE(back.frequency, 32000u);
        QCOMPARE(back.frames, sample.frames);
        QVERIFY(back.data == sample.data);
    }

    void flacNarrowDepths()
    {
        // 16-bit samples reach the encoder through their first byte only,
        // sign-extended: the high byte comes back as the sign of the low one.
        QByteArray const data = noise(2 * 5000, 11);
        SoundSample const back = decoded(encoded(pcm(1, 16, 8000, data), "FLAC"), "FLAC");
        QCOMPARE(back.frames, 5000u);
        QCOMPARE(back.data.size(), data.size());
        for (int i = 0; i < 5000; ++i) {
            QCOMPARE(back.data[2 * i], data[2 * i]);
            QCOMPARE(back.data[2 * i + 1], char(data[2 * i] < 0 ? 0xFF : 0x00));
        }
        // 8-bit bytes go in uncentred: bytes up to 127 come back as they
        // were (centred, 0 would come back as 128)...
        QByteArray low = noise(3000, 12);
        for (char &byte : low)
            byte = char(byte & 0x7F);
        low[0] = 0;
        SoundSample const narrow = decoded(encoded(pcm(1, 8, 8000, low), "FLAC"), "FLAC");
        QCOMPARE(narrow.bits, 8);
        QCOMPARE(narrow.frames, 3000u);
        QVERIFY(narrow.data == low);
        // ...and values up to 255 are out of the range that libFLAC takes.
        QVERIFY(encoded(pcm(1, 8, 8000, noise(3000, 12)), "FLAC").isEmpty());
    }

    void oggRoundTrip()
    {
        KENRO_REQUIRE_TESTDATA(root);
        SoundSample const voice =
            leftChannel(fromFile(coded(root, "voice_44k_stereo16.wav"), "WAV"));
        QByteArray const file = encoded(voice, "OGG");
        QVERIFY(file.startsWith("OggS"));
        SoundSample const back = decoded(file, "OGG");
        QCOMPARE(back.channels, 1);
        QCOMPARE(back.frequency, 44100u);
        QCOMPARE(back.bits, 16);
        // The stream ends without its last packets (134,802 frames are no
        // multiple of 65,536): the pages written so far hold 128,320 frames,
        // at 20.44 dB against the source.
        QVERIFY(back.frames < voice.frames);
        QVERIFY(back.frames > voice.frames - 8192);
        QVERIFY(consistent(back));
        double const snr = snr16(voice.data, back.data);
        QVERIFY2(snr > 20.0, qPrintable(QString::number(snr)));
    }

    void oggEndOfStream_data()
    {
        QTest::addColumn<int>("frames");
        QTest::addColumn<bool>("ended");
        QTest::addColumn<int>("decodedFrames");
        QTest::newRow("none") << 0 << true << 0;
        QTest::newRow("one round") << 65536 << true << 65536;
        QTest::newRow("two rounds") << 131072 << true << 131072;
        // Without the end of stream the packets still in the stream state
        // never reach a page.
        QTest::newRow("one round and a frame") << 65537 << false << 0;
        QTest::newRow("short") << 1000 << false << 0;
    }

    void oggEndOfStream()
    {
        QFETCH(int, frames);
        QFETCH(bool, ended);
        QFETCH(int, decodedFrames);
        QByteArray const file = encoded(sweep(quint32(frames)), "OGG");
        QList<int> const flags = oggPageFlags(file);
        QVERIFY(flags.size() >= 2);
        QCOMPARE(flags.first() & 2, 2);
        QCOMPARE(bool(flags.last() & 4), ended);
        SoundSample const back = decoded(file, "OGG");
        QCOMPARE(back.frames, quint32(decodedFrames));
        QVERIFY(consistent(back));
    }

    void oggStereoKeepsHalf()
    {
        // frames / channels frames are written: the first half of the sound.
        QByteArray data = sweep(4 * 65536).data;
        SoundSample const stereo = pcm(2, 16, 22050, data);
        QCOMPARE(stereo.frames, 131072u);
        SoundSample const back = decoded(encoded(stereo, "OGG"), "OGG");
        QCOMPARE(back.channels, 2);
        QCOMPARE(back.frequency, 22050u);
        QCOMPARE(back.frames, 65536u);
        double const snr = snr16(data.left(back.data.size()), back.data);
        QVERIFY2(snr > 10.0, qPrintable(QString::number(snr)));
    }

    void writersFail()
    {
        SoundSample const sample = sweep(100);
        QByteArray bytes;
        QBuffer readOnly(&bytes);
        QVERIFY(readOnly.open(QIODevice::ReadOnly));
        QVERIFY(!saveSound(&readOnly, "FLAC", sample));
        QVERIFY(!saveSound(&readOnly, "OGG", sample));
        QVERIFY(!soundToFLAC(sample, nullptr));
        QVERIFY(!soundToOGG(sample, nullptr));
        SoundSample none = sample;
        none.channels = 0;
        QVERIFY(encoded(none, "FLAC").isEmpty());
        QVERIFY(encoded(none, "OGG").isEmpty());
        QVERIFY(soundFromFLAC(nullptr).data.isEmpty());
        QVERIFY(soundFromOGG(nullptr).data.isEmpty());
        QVERIFY(soundFromMP3(nullptr).data.isEmpty());
    }

    void damaged_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QString>("name");
        QTest::newRow("flac") << QByteArray("FLAC") << QStringLiteral("voice_44k_stereo16.flac");
        QTest::newRow("flac 24") << QByteArray("FLAC") << QStringLiteral("voice_48k_mono24.flac");
        QTest::newRow("ogg") << QByteArray("OGG") << QStringLiteral("voice_44k_stereo16.ogg");
        QTest::newRow("mp3") << QByteArray("MP3") << QStringLiteral("voice_44k_stereo16.mp3");
    }

    void damaged()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QByteArray, format);
        QFETCH(QString, name);
        QByteArray const file = readFile(root + QStringLiteral("/sounds/coded/") + name);
        QVERIFY(file.size() > 1000);
        char const *codec = format.constData();
        for (qsizetype cut : {qsizetype(0), qsizetype(1), qsizetype(4), qsizetype(41),
                              qsizetype(300), file.size() / 3, file.size() - 1}) {
            SoundSample const sample = decoded(file.left(cut), codec);
            QVERIFY2(consistent(sample), qPrintable(QString::number(cut)));
            if (cut < 42)
                QVERIFY(sample.data.isEmpty());
        }
        // Bytes flipped all over the body.
        for (quint32 seed = 1; seed <= 6; ++seed) {
            QByteArray broken = file;
            QByteArray const flips = noise(64, seed);
            for (int i = 0; i < 32; ++i) {
                qsizetype const at = 200 +
                    qFromLittleEndian<quint16>(flips.constData() + 2 * i) * (broken.size() - 200) /
                        65536;
                broken[at] = char(broken[at] ^ flips[i]);
            }
            QVERIFY(consistent(decoded(broken, codec)));
        }
        // The right magic followed by noise, and noise alone.
        for (quint32 seed = 1; seed <= 12; ++seed) {
            QByteArray const junk = noise(int(seed * 1500), seed);
            QVERIFY(consistent(decoded(file.left(64) + junk, codec)));
            SoundSample const pure = decoded(junk, codec);
            QVERIFY(consistent(pure));
            if (format != "MP3")
                QVERIFY(pure.data.isEmpty());
        }
        QVERIFY(decoded(QByteArray(50000, '\0'), codec).data.isEmpty());
    }

    void flacOversized()
    {
        KENRO_REQUIRE_TESTDATA(root);
        // A stream header that claims 4 billion frames builds no sample of
        // 16 GB.
        QByteArray file = readFile(coded(root, "voice_44k_stereo16.flac"));
        QCOMPARE(file.mid(0, 4), QByteArray("fLaC"));
        // STREAMINFO starts at 8; the low 32 bits of the total are at 22.
        qToBigEndian<quint32>(0xFFFFFFFFu, file.data() + 22);
        QVERIFY(decoded(file, "FLAC").data.isEmpty());
    }

    void oggOversized()
    {
        KENRO_REQUIRE_TESTDATA(root);
        // The last page claims a granule position of 2^40 frames, with a
        // valid checksum: no sample of terabytes is built.
        QByteArray file = readFile(coded(root, "voice_44k_stereo16.ogg"));
        qsizetype const last = file.lastIndexOf("OggS");
        QVERIFY(last > 0);
        QByteArray page = file.mid(last);
        qToLittleEndian<quint64>(quint64(1) << 40, page.data() + 6);
        qToLittleEndian<quint32>(0, page.data() + 22);
        qToLittleEndian<quint32>(oggChecksum(page), page.data() + 22);
        QVERIFY(decoded(file, "OGG").frames == 134802u);
        file.replace(last, page.size(), page);
        QVERIFY(decoded(file, "OGG").data.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSoundCodecs)
#include "tst_soundcodecs.moc"
