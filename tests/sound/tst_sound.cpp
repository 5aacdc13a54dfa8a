#include <kenro/engine/extension.h>
#include <kenro/sound/soundcodecs.h>
#include <kenro/sound/soundextension.h>

#include "testdata.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <cmath>
#include <random>

Q_DECLARE_METATYPE(Kenro::SoundSample)
Q_DECLARE_METATYPE(Kenro::SampleInfo)

using namespace Kenro;

namespace {

QByteArray le(quint32 value, int size)
{
    char raw[4];
    qToLittleEndian(value, raw);
    return QByteArray(raw, size);
}

QByteArray le16(QVector<qint16> const &values)
{
    return QByteArray(reinterpret_cast<char const *>(values.constData()), values.size() * 2);
}

// The chunks of a RIFF file by name, the first of each name, found by walking the list.
QMap<QByteArray, QByteArray> chunks(QByteArray const &file)
{
    QMap<QByteArray, QByteArray> found;
    for (qsizetype at = 12; file.startsWith("RIFF") && at + 8 <= file.size();) {
        quint32 const size = qFromLittleEndian<quint32>(file.constData() + at + 4);
        found.insert(file.mid(at, 4), found.value(file.mid(at, 4), file.mid(at + 8, size)));
        at += 8 + qsizetype(size) + (size & 1);
    }
    return found;
}

// A RIFF WAVE file of \a chunks in that order, each padded to even size.
QByteArray riff(QList<QPair<QByteArray, QByteArray>> const &chunks)
{
    QByteArray body("WAVE");
    for (auto const &[id, bytes] : chunks)
        body += id + le(quint32(bytes.size()), 4) + bytes + QByteArray(bytes.size() & 1, '\0');
    return "RIFF" + le(quint32(body.size()), 4) + body;
}

QByteArray format(quint16 tag, quint16 channels, quint32 rate, quint16 bits, quint32 byteRate)
{
    return le(tag, 2) + le(channels, 2) + le(rate, 4) + le(byteRate, 4) +
        le(channels * bits / 8, 2) + le(bits, 2);
}

QByteArray const mono16 = format(1, 1, 8000, 16, 16000);

QByteArray wav(QByteArray const &data, QByteArray const &fmt = mono16)
{
    return riff({{"fmt ", fmt}, {"data", data}});
}

// The signal-to-noise ratio in dB of 16-bit \a test against \a reference, over the common length.
double snr16(QByteArray const &reference, QByteArray const &test)
{
    auto const *a = reinterpret_cast<qint16 const *>(reference.constData());
    auto const *b = reinterpret_cast<qint16 const *>(test.constData());
    double signal = 0;
    double error = 0;
    for (qsizetype i = 0; i < std::min(reference.size(), test.size()) / 2; ++i) {
        signal += double(a[i]) * a[i];
        error += double(a[i] - b[i]) * (a[i] - b[i]);
    }
    return error > 0 ? 10 * std::log10(signal / error) : 999.0;
}

QByteArray noise(int count, quint32 seed)
{
    std::mt19937 random(seed);
    QByteArray bytes(count, '\0');
    for (char &byte : bytes)
        byte = char(random() & 0xFF);
    return bytes;
}

SoundSample pcm(quint16 channels, quint16 bits, quint32 frequency, QByteArray const &data)
{
    SoundSample sample;
    static_cast<SampleInfo &>(sample) = {channels, bits, frequency,
                                         quint32(data.size() / (channels * bits / 8))};
    sample.data = data;
    return sample;
}

// A 16-bit mono tone of 1 kHz at half of full scale.
SoundSample tone(quint32 frequency, quint32 frames)
{
    QVector<qint16> values(frames);
    for (quint32 i = 0; i < frames; ++i)
        values[i] = qint16(std::lround(16383 * std::sin(2 * M_PI * 1000 * i / frequency)));
    return pcm(1, 16, frequency, le16(values));
}

// Whether \a sample is empty or its data has the size that its header gives.
bool consistent(SoundSample const &sample)
{
    return sample.data.isEmpty() ||
        sample.data.size() == qsizetype(sample.frames) * sample.channels * sample.bits / 8;
}

QList<quint32> header(SampleInfo const &info)
{
    return {info.channels, info.bits, info.frequency, info.frames};
}

SoundSample decoded(QByteArray bytes, char const *format)
{
    QBuffer buffer(&bytes);
    SoundSample sample;
    loadSound(&buffer, format, sample);
    return sample;
}

QByteArray encoded(SoundSample const &sample, char const *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    return saveSound(&buffer, format, sample) ? bytes : QByteArray();
}

SoundSample coded(QString const &root, char const *name, char const *format)
{
    return decoded(KenroTest::readFile(root + "/sounds/coded/" + name), format);
}

// The header-type flags of every Ogg page in \a bytes.
QList<int> oggPageFlags(QByteArray const &bytes)
{
    QList<int> flags;
    for (qsizetype at = 0; at + 27 <= bytes.size() && bytes.mid(at, 4) == "OggS";) {
        flags.append(quint8(bytes[at + 5]));
        qsizetype const lacing = at + 27, segments = quint8(bytes[at + 26]);
        at = lacing + segments;
        for (qsizetype i = lacing; i < lacing + segments && i < bytes.size(); ++i)
            at += quint8(bytes[i]);
    }
    return flags;
}

// CRC-32 of an Ogg page: polynomial 0x04C11DB7, not reflected, from 0.
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

// Handlers of a test format that answer as told and count their calls.
template<class Base>
struct Recording : Base
{
    Recording(char const *format, bool answer) : name(format), answer(answer) {}
    void release() override {}
    char const *format() const override { return name; }
    char const *description() const override { return "Test sound"; }
    char const *name;
    bool answer;
    int calls = 0;
};

struct Reader : Recording<SoundReaderExtension>
{
    using Recording::Recording;
    bool read(QIODevice *device, SoundSample &sample) override
    {
        ++calls;
        sample = answer ? pcm(1, 8, 1234, device->read(3)) : sample;
        return answer;
    }
};

struct Writer : Recording<SoundWriterExtension>
{
    using Recording::Recording;
    bool write(SoundSample const &sample, QIODevice *device) override
    {
        return ++calls && answer && device->write(sample.data) == sample.data.size();
    }
};

} // namespace

class TestSound : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void samples_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<float>("value");
        // 1: the bytes decode to the value, 2: the value encodes to the bytes.
        QTest::addColumn<int>("ways");
        auto row = [](char const *name, int bits, char const *hex, float value, int ways) {
            QTest::newRow(name) << bits << QByteArray::fromHex(hex) << value << ways;
        };
        row("8 centre", 8, "80", 0.0f, 3);
        row("8 one wraps", 8, "00", 1.0f, 2);
        row("8 truncates", 8, "fe", 0.99f, 2);
        row("16 low", 16, "0080", -1.0f, 3);
        row("16 toward zero", 16, "ffff", -1.5f / 32768, 2);
        row("24 half", 24, "000040", 0.5f, 3);
        row("20 as 24", 20, "0100c0", -0.5f + 256.0f / 2147483648.0f, 3);
        row("32 quarter", 32, "00000020", 0.25f, 3);
        row("unknown depth reads nothing", 12, "1234", 0.0f, 1);
        row("unknown depth writes nothing", 12, "", 0.5f, 2);
    }
    void samples()
    {
        QFETCH(int, bits);
        QFETCH(QByteArray, bytes);
        QFETCH(float, value);
        QFETCH(int, ways);
        if (ways & 1)
            QCOMPARE(decodeSample(bytes.constData(), bits), value);
        QByteArray out(bytes.size() + 1, '\x5A'); // with a guard byte that must stay
        encodeSample(value, out.data(), bits);
        if (ways & 2)
            QCOMPARE(out.toHex(), (bytes + '\x5A').toHex());
    }

    void samplesRoundTrip()
    {
        for (int bits : {8, 16, 24, 32}) {
            for (float value = -1.0f; value < 0.99f; value += 0.0625f) {
                char bytes[4] = {};
                encodeSample(value, bytes, bits);
                QVERIFY2(std::fabs(decodeSample(bytes, bits) - value) <= std::ldexp(1.0f, 1 - bits),
                         qPrintable(QStringLiteral("%1 bits, %2").arg(bits).arg(value)));
            }
        }
    }

    void scale_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("source");
        QTest::addColumn<float>("factor");
        QTest::addColumn<QByteArray>("expected");
        auto row = [](char const *name, int bits, char const *from, float factor, char const *to) {
            QTest::newRow(name) << bits << QByteArray::fromHex(from) << factor
                                << QByteArray::fromHex(to);
        };
        row("8 saturates low", 8, "40", 100.0f, "00");
        row("8 truncates", 8, "83", 0.5f, "81");
        row("8 negative truncates", 8, "7d", 0.5f, "7f");
        row("16 saturates", 16, "0060", 2.0f, "ff7f");
        row("16 negative truncates", 16, "fdff", 0.5f, "ffff");
        // The clamp acts on the value still shifted by 8: 1/256 of full scale.
        row("24 loud clamped", 24, "000040", 1.0f, "ff7f00");
        row("24 loud negative", 24, "0000c0", 1.0f, "0080ff");
        // Only the low 16 bits are stored; the upper bytes stay as they were.
        row("32 low half", 32, "45230100", 2.0f, "8a465a5a");
        row("32 saturates", 32, "00000060", 2.0f, "ffff5a5a");
        row("unknown depth", 12, "1234", 2.0f, "5a5a");
    }
    void scale()
    {
        QFETCH(int, bits);
        QFETCH(QByteArray, source);
        QFETCH(float, factor);
        QFETCH(QByteArray, expected);
        QByteArray destination(source.size(), '\x5A');
        scaleSample(destination.data(), source.constData(), factor, bits);
        QCOMPARE(destination.toHex(), expected.toHex());
        // In place, the bytes that the depth does not write keep the source.
        int const written = bits == 32 ? 2 : bits == 12 ? 0 : int(expected.size());
        QByteArray const original = source;
        scaleSample(source.data(), source.constData(), factor, bits);
        QCOMPARE(source.toHex(), (expected.left(written) + original.mid(written)).toHex());
    }

    void resample_data()
    {
        QTest::addColumn<SoundSample>("sample");
        QTest::addColumn<SampleInfo>("target");
        // Null when the conversion is refused, which leaves the sample as it was.
        QTest::addColumn<QByteArray>("expected");
        auto row = [](char const *name, SoundSample const &sample, SampleInfo const &target,
                      QByteArray const &expected) {
            QTest::newRow(name) << sample << target << expected;
        };
        SoundSample const mono = pcm(1, 16, 11025, le16({16384, -16384, 0, 8192}));
        auto odd = [&](quint16 channels, quint32 frequency, quint32 frames) {
            SoundSample sample = mono;
            static_cast<SampleInfo &>(sample) = {channels, 16, frequency, frames};
            return sample;
        };
        row("stereo to mono", pcm(2, 16, 11025, le16({1000, 3000, -400, -200, 0, 32766})),
            {1, 16, 11025, 3}, le16({2000, -300, 16383}));
        row("mono to stereo", mono, {2, 16, 11025, 4},
            le16({16384, 16384, -16384, -16384, 0, 0, 8192, 8192}));
        // Three channels still average consecutive pairs.
        row("three to mono", pcm(3, 16, 11025, le16({100, 300, 5000, 7000, 10, 20})),
            {1, 16, 11025, 2}, le16({200, 6000}));
        // Centre 127.5, scale 127.5, truncated.
        row("8 bits", mono, {1, 8, 11025, 4}, QByteArray::fromHex("bf3f7f9f"));
        // 4-byte values, cut to the room of 3 bytes each.
        row("24 bits", mono, {1, 24, 11025, 4}, QByteArray::fromHex("00000040000000c000000000"));
        row("32 bits", mono, {1, 32, 11025, 4},
            QByteArray::fromHex("00000040000000c00000000000000020"));
        row("empty", pcm(1, 16, 11025, {}), {1, 8, 11025, 0}, "");
        row("ratio too high", mono, {1, 16, 11025 * 300, 0}, {});
        row("ratio too low", mono, {1, 16, 11025 / 300, 0}, {});
        row("to zero", mono, {1, 16, 0, 0}, {});
        row("from zero", odd(1, 0, 4), {1, 16, 11025, 0}, {});
        // A frame count past 32 bits after conversion is refused up front.
        row("too many frames", odd(1, 11025, 3000000000u), {1, 16, 22050, 0}, {});
        row("no channels", odd(0, 11025, 4), {0, 8, 11025, 0}, {});
    }
    void resample()
    {
        QFETCH(SoundSample, sample);
        QFETCH(SampleInfo, target);
        QFETCH(QByteArray, expected);
        SoundSample const before = sample;
        QCOMPARE(resampleSound(sample, target), !expected.isNull());
        QCOMPARE(header(sample), header(expected.isNull() ? SampleInfo(before) : target));
        QCOMPARE(sample.data.toHex(), (expected.isNull() ? before.data : expected).toHex());
    }

    void requantize8()
    {
        // The same rate leaves the float round trip: centred on 127.5, some bytes lose a step.
        QByteArray bytes;
        for (int b = 0; b < 256; ++b)
            bytes.append(char(b));
        SoundSample sample = pcm(1, 8, 8000, bytes);
        QVERIFY(resampleSound(sample, sample));
        QByteArray steps;
        for (int b = 0; b < 256; ++b)
            steps.append(char(b - quint8(sample.data.at(b))));
        QVERIFY2(steps.count('\0') + steps.count('\1') == 256 && steps.contains('\1') &&
                     steps.at(0) == 0 && steps.at(255) == 0,
                 steps.toHex().constData());
    }

    void toneSurvivesResampling()
    {
        // A 1 kHz tone up to 44,100 Hz and back is the same tone at each rate, away from the ends.
        SoundSample sample = tone(22050, 11025);
        for (quint32 rate : {44100u, 22050u}) {
            QVERIFY(resampleSound(sample, SampleInfo{1, 16, rate, 0}));
            QCOMPARE(sample.frames, rate / 2);
            QByteArray const middle = tone(rate, rate / 2).data.mid(rate / 5, rate * 3 / 5);
            double const snr = snr16(middle, sample.data.mid(rate / 5, rate * 3 / 5));
            QVERIFY2(snr > 60, qPrintable(QString::number(snr)));
        }
        // A frame count that does not divide is truncated.
        sample = tone(44100, 1001);
        QVERIFY(resampleSound(sample, SampleInfo{1, 16, 22050, 0}));
        QCOMPARE(sample.frames, 500u);
        QCOMPARE(sample.data.size(), 1000);
    }

    void realWavFiles_data()
    {
        QTest::addColumn<QString>("path");
        QString const root = KenroTest::testDataPath();
        QStringList names = QDir(root + "/sounds/wav").entryList({"*.wav"}, QDir::Files);
        if (!names.isEmpty())
            names << "../coded/voice_44k_stereo16.wav"
                  << "../coded/voice_22k_mono8.wav";
        for (QString const &name : names)
            QTest::newRow(qPrintable(name)) << root + "/sounds/wav/" + name;
        if (root.isEmpty())
            QTest::newRow("no test data") << QString();
    }
    void realWavFiles()
    {
        // As the chunks give them; written back, a 44-byte header, a format and a data chunk.
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QString, path);
        QByteArray bytes = KenroTest::readFile(path);
        QByteArray const fmt = chunks(bytes).value("fmt "), data = chunks(bytes).value("data");
        QVERIFY(fmt.size() >= 16 && !data.isEmpty());
        auto const channels = qFromLittleEndian<quint16>(fmt.constData() + 2);
        auto const rate = qFromLittleEndian<quint32>(fmt.constData() + 4);
        auto const bits = qFromLittleEndian<quint16>(fmt.constData() + 14);
        QVERIFY((bits == 8 || bits == 16) && rate >= 8000 && rate <= 48000);
        SampleInfo const expected{channels, bits, rate,
                                  quint32(data.size() / (channels * bits / 8))};
        SoundSample const sample = decoded(bytes, "WAV");
        QCOMPARE(header(sample), header(expected));
        QCOMPARE(sample.data, data);
        QBuffer buffer(&bytes);
        QCOMPARE(header(soundInfoFromWAV(&buffer)), header(expected));
        QByteArray const written = encoded(sample, "WAV");
        QByteArray const canonical =
            wav(data, format(1, channels, rate, bits, rate * channels * bits / 8));
        QCOMPARE(written.mid(8), canonical.mid(8, 36 + data.size()));
        QCOMPARE(qFromLittleEndian<quint32>(written.constData() + 4), quint32(written.size() - 8));
    }

    void wavRoundTrip()
    {
        for (quint16 bits : {8, 16, 24, 32}) {
            for (quint16 channels : {1, 2}) {
                SoundSample const sample =
                    pcm(channels, bits, 22050, noise(channels * bits / 8 * 999, bits + channels));
                SoundSample const back = decoded(encoded(sample, "WAV"), "WAV");
                QCOMPARE(header(back), header(sample));
                QVERIFY2(back.data == sample.data, qPrintable(QString::number(bits)));
            }
        }
    }

    void wavLayouts_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("expected");
        QTest::addColumn<quint32>("frames");
        // Of soundInfoFromWAV, which checks neither the RIFF header nor the tag.
        QTest::addColumn<quint32>("infoFrames");
        QByteArray const samples("\x10\x00\x20\x00\x30\x00", 6);
        auto row = [](char const *name, QByteArray const &file, QByteArray const &expected,
                      quint32 frames, quint32 infoFrames) {
            QTest::newRow(name) << file << expected << frames << infoFrames;
        };
        row("plain", wav(samples), samples, 3, 3);
        // The byte search for "data" skips other chunks unparsed.
        row("LIST before data", riff({{"fmt ", mono16}, {"LIST", "INFOISFT"}, {"data", samples}}),
            samples, 3, 3);
        row("LIST before fmt", riff({{"LIST", "INFO"}, {"fmt ", mono16}, {"data", samples}}), {}, 0,
            0);
        // A false hit inside an earlier chunk wins: its next 4 bytes are the size.
        row("false hit",
            riff({{"fmt ", mono16},
                  {"junk", QByteArray("data\x02\0\0\0\x7F\x7E", 10)},
                  {"data", samples}}),
            "\x7F\x7E", 1, 1);
        row("byte rate 0", wav(samples, format(1, 1, 8000, 16, 0)), samples, 0, 0);
        row("not PCM", wav(samples, format(3, 1, 8000, 32, 32000)), {}, 0, 0);
        row("no RIFF header", "ABCDEFGHIJKL" + wav("12345678").mid(12), {}, 0, 4);
        row("not WAVE", wav("12345678").replace(8, 4, "AVI "), {}, 0, 4);
        // No "data" anywhere: reading goes on behind the format fields.
        row("no data chunk", riff({{"fmt ", mono16}, {"nada", "\x01\x02\x03\x04"}}),
            "\x01\x02\x03\x04", 2, 2);
        // A damaged size conjures no gigabytes of silence: what the file holds is loaded.
        QByteArray big = wav(samples);
        qToLittleEndian<quint32>(0xFFFFFFF0u, big.data() + 40);
        row("data size huge", big, samples, 3, 0x7FFFFFF8);
        qToLittleEndian<quint32>(0xFFFFFFFFu, big.data() + 4);
        row("RIFF size huge", big, samples, 3, 0x7FFFFFF8);
        row("empty file", {}, {}, 0, 0);
        row("header only", QByteArray("RIFF\x04\0\0\0WAVE", 12), {}, 0, 0);
    }
    void wavLayouts()
    {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, expected);
        QFETCH(quint32, frames);
        QFETCH(quint32, infoFrames);
        SoundSample const sample = decoded(file, "WAV");
        QCOMPARE(sample.data.toHex(), expected.toHex());
        QCOMPARE(sample.frames, frames);
        QCOMPARE(sample.frequency, expected.isEmpty() ? 0u : 8000u);
        QBuffer buffer(&file);
        QCOMPARE(soundInfoFromWAV(&buffer).frames, infoFrames);
    }

    void wavDamaged()
    {
        // Cut short, a file ends in silence once the data size is in; noise
        // with and without a WAV header reads as nothing or as what it holds.
        QByteArray const samples = noise(4000, 3);
        QByteArray const file = wav(samples);
        for (qsizetype cut = file.size() - 1; cut >= 0; cut -= cut > 100 ? 397 : 1) {
            SoundSample const sample = decoded(file.left(cut), "WAV");
            QCOMPARE(sample.frames, cut < 44 ? 0u : 2000u);
            if (cut >= 44)
                QCOMPARE(sample.data, samples.left(cut - 44) + QByteArray(4044 - cut, '\0'));
        }
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

    void devices()
    {
        // Closed devices are opened as needed; wrong directions, missing places and null fail.
        QTemporaryDir dir;
        QFile file(dir.filePath("tone.wav"));
        SoundSample const sample = pcm(1, 8, 8000, "\x80\x90\xA0");
        QVERIFY(saveSound(&file, "WAV", sample) && file.openMode() == QIODevice::WriteOnly);
        file.close();
        SoundSample back;
        QVERIFY(loadSound(&file, "WAV", back) && back.data == sample.data);
        for (char const *format : {"WAV", "FLAC", "OGG"})
            QVERIFY2(!saveSound(&file, format, sample), format);
        file.close();
        QVERIFY(file.open(QIODevice::WriteOnly) && !loadSound(&file, "WAV", back));
        QFile nowhere(dir.filePath("no/such/dir.wav"));
        QVERIFY(!saveSound(&nowhere, "WAV", sample) && soundFromWAV(&nowhere).data.isEmpty());
        QCOMPARE(header(soundInfoFromWAV(&nowhere)), header(SampleInfo{0, 1, 0, 0}));
        QVERIFY(!soundToFLAC(sample, nullptr) && !soundToOGG(sample, nullptr));
        QVERIFY(soundFromFLAC(nullptr).data.isEmpty() && soundFromOGG(nullptr).data.isEmpty() &&
                soundFromMP3(nullptr).data.isEmpty());
        SoundSample none = sample;
        none.channels = 0;
        QVERIFY(encoded(none, "FLAC").isEmpty() && encoded(none, "OGG").isEmpty());
    }

    void extensions()
    {
        // Formats are told apart by address and compared case-sensitively ("wav" is no built-in
        // one); built-in ones never reach the extensions, others go to each in turn.
        static char const refusedFormat[] = "XYZ", readFormat[] = "XYZ";
        static char const refusedMp3[] = "MP3", writtenMp3[] = "MP3";
        static Reader refusing(refusedFormat, false), reader(readFormat, true), lower("wav", true);
        static Writer refusingWriter(refusedMp3, false), writer(writtenMp3, true);
        QByteArray const file = wav("abcd");
        SoundSample const abc = pcm(1, 8, 8000, "abc");
        QVERIFY(decoded(file, "wav").data.isEmpty() && decoded(file, "XYZ").data.isEmpty());
        QVERIFY(encoded(abc, "MP3").isEmpty());
        for (Extension *extension : std::initializer_list<Extension *>{&refusing, &reader, &lower,
                                                                       &refusingWriter, &writer})
            ExtensionManager::add(extension);
        QCOMPARE(decoded(file, "XYZ").data, file.left(3));
        QCOMPARE(decoded(file, "wav").frequency, 1234u);
        QCOMPARE(decoded(file, "WAV").data, QByteArray("abcd"));
        QCOMPARE(encoded(abc, "MP3"), QByteArray("abc"));
        QVERIFY(encoded(abc, "AAC").isEmpty() && encoded(abc, "mp3").isEmpty());
        QCOMPARE(encoded(abc, "WAV").size(), 47);
        QCOMPARE(QList<int>({refusing.calls, reader.calls, lower.calls, refusingWriter.calls,
                             writer.calls}),
                 QList<int>({1, 1, 1, 1, 1}));
    }

    void codedVoice_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<double>("minimumSnr");
        // Against the WAV: 21.90 dB for Ogg and 24.88 dB for MP3, as oggdec
        // and mpg123 give for these files, less a little room.
        QTest::newRow("FLAC") << QByteArray("voice_44k_stereo16.flac") << 999.0;
        QTest::newRow("OGG") << QByteArray("voice_44k_stereo16.ogg") << 21.5;
        QTest::newRow("MP3") << QByteArray("voice_44k_stereo16.mp3") << 24.5;
    }
    void codedVoice()
    {
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QByteArray, name);
        QFETCH(double, minimumSnr);
        SoundSample const reference = coded(root, "voice_44k_stereo16.wav", "WAV");
        QVERIFY(!reference.data.isEmpty());
        SoundSample const sample = coded(root, name.constData(), QTest::currentDataTag());
        QCOMPARE(header(sample), header(SampleInfo{2, 16, 44100, reference.frames}));
        QVERIFY(consistent(sample));
        double const snr = snr16(reference.data, sample.data);
        QVERIFY2(snr >= minimumSnr, qPrintable(QString::number(snr)));
    }

    void realVoiceThroughOurEncoders()
    {
        // The 24-bit voice is as long as the 44.1 kHz one, audible, and survives our FLAC encoder.
        KENRO_REQUIRE_TESTDATA(root);
        SoundSample const deep = coded(root, "voice_48k_mono24.flac", "FLAC");
        SoundSample const stereo = coded(root, "voice_44k_stereo16.wav", "WAV");
        QCOMPARE(deep.frames / 480, stereo.frames / 441);
        QCOMPARE(header(deep), header(SampleInfo{1, 24, 48000, deep.frames}));
        QVERIFY(consistent(deep));
        float peak = 0;
        for (quint32 i = 0; i < deep.frames; ++i)
            peak = std::max(peak, std::fabs(decodeSample(deep.data.constData() + 3 * i, 24)));
        QVERIFY2(peak > 0.1f && peak <= 1.0f, qPrintable(QString::number(peak)));
        SoundSample const back = decoded(encoded(deep, "FLAC"), "FLAC");
        QCOMPARE(header(back), header(deep));
        QVERIFY(back.data == deep.data);
        // Its left channel through our Ogg encoder: 134,802 frames are no multiple of 65,536, so
        // the stream ends without its last packets and the pages hold 128,320 frames.
        QVector<qint16> left(stereo.frames);
        for (quint32 i = 0; i < stereo.frames; ++i)
            left[i] = reinterpret_cast<qint16 const *>(stereo.data.constData())[2 * i];
        SoundSample const voice = pcm(1, 16, 44100, le16(left));
        SoundSample const ogg = decoded(encoded(voice, "OGG"), "OGG");
        QCOMPARE(header(ogg), header(SampleInfo{1, 16, 44100, ogg.frames}));
        QVERIFY(ogg.frames < voice.frames && ogg.frames > voice.frames - 8192 && consistent(ogg));
        double const snr = snr16(voice.data, ogg.data);
        QVERIFY2(snr > 20.0, qPrintable(QString::number(snr)));
    }

    void flacRoundTrip_data()
    {
        QTest::addColumn<SoundSample>("sample");
        // What comes back; null when the encoder refuses the sample.
        QTest::addColumn<QByteArray>("expected");
        for (quint16 bits : {24, 32}) {
            for (quint16 channels : {1, 2}) {
                QByteArray data = noise((channels == 1 ? 25001 : 777) * channels * bits / 8, bits);
                // Within libFLAC's signed 32-bit residual: sound rather than full-scale noise.
                for (qsizetype i = 0; bits == 32 && i < data.size(); i += 4)
                    qToLittleEndian(qFromLittleEndian<qint32>(data.constData() + i) / 4,
                                    data.data() + i);
                QTest::addRow("%d bits, %d channels", bits, channels)
                    << pcm(channels, bits, 32000, data) << data;
            }
        }
        // 8-bit bytes go in uncentred: those up to 127 come back as they were,
        // and those above are out of the range that libFLAC takes.
        QByteArray bytes = noise(3000, 12);
        QTest::newRow("8 bits above 127") << pcm(1, 8, 8000, bytes) << QByteArray();
        for (char &byte : bytes)
            byte = char(byte & 0x7F);
        QTest::newRow("8 bits up to 127") << pcm(1, 8, 8000, bytes) << bytes;
        // 16-bit samples go in through their first byte, sign-extended.
        QByteArray data = noise(10000, 11), narrowed = data;
        for (int i = 0; i < 5000; ++i)
            narrowed[2 * i + 1] = char(data[2 * i] < 0 ? 0xFF : 0x00);
        QTest::newRow("16 bits") << pcm(1, 16, 8000, data) << narrowed;
    }
    void flacRoundTrip()
    {
        QFETCH(SoundSample, sample);
        QFETCH(QByteArray, expected);
        QByteArray const file = encoded(sample, "FLAC");
        QCOMPARE(file.isEmpty(), expected.isNull());
        if (!file.isEmpty()) {
            QVERIFY(file.startsWith("fLaC"));
            SoundSample const back = decoded(file, "FLAC");
            QCOMPARE(header(back), header(sample));
            QVERIFY(back.data == expected);
        }
    }

    void oggEndOfStream_data()
    {
        QTest::addColumn<int>("channels");
        QTest::addColumn<int>("frames");
        QTest::addColumn<bool>("ended");
        QTest::addColumn<int>("decodedFrames");
        QTest::newRow("none") << 1 << 0 << true << 0;
        QTest::newRow("one round") << 1 << 65536 << true << 65536;
        // Without the end of stream the last packets never reach a page.
        QTest::newRow("one round and a frame") << 1 << 65537 << false << 0;
        QTest::newRow("short") << 1 << 1000 << false << 0;
        // frames / channels frames are written: the first half of the sound.
        QTest::newRow("stereo") << 2 << 131072 << true << 65536;
    }
    void oggEndOfStream()
    {
        QFETCH(int, channels);
        QFETCH(int, frames);
        QFETCH(bool, ended);
        QFETCH(int, decodedFrames);
        QVector<qint16> values(frames * channels); // a sweep, loud enough for a lossy coder
        for (qsizetype i = 0; i < values.size(); ++i)
            values[i] = qint16(12000 * std::sin(0.02 * double(i) + 1e-6 * double(i) * double(i)));
        SoundSample const sample = pcm(quint16(channels), 16, 22050, le16(values));
        QByteArray const file = encoded(sample, "OGG");
        QList<int> const flags = oggPageFlags(file);
        QVERIFY(flags.size() >= 2);
        QCOMPARE(flags.first() & 2, 2);
        QCOMPARE(bool(flags.last() & 4), ended);
        SoundSample const back = decoded(file, "OGG");
        QCOMPARE(back.frames, quint32(decodedFrames));
        QVERIFY(consistent(back));
        if (decodedFrames) {
            QCOMPARE(back.channels, quint16(channels));
            double const snr = snr16(sample.data, back.data);
            QVERIFY2(snr > 10.0, qPrintable(QString::number(snr)));
        }
    }

    void damaged_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("FLAC 16") << QByteArray("voice_44k_stereo16.flac");
        QTest::newRow("FLAC 24") << QByteArray("voice_48k_mono24.flac");
        QTest::newRow("OGG") << QByteArray("voice_44k_stereo16.ogg");
        QTest::newRow("MP3") << QByteArray("voice_44k_stereo16.mp3");
    }
    void damaged()
    {
        // Truncated, flipped, garbage and empty input: no read or one that fits its header.
        KENRO_REQUIRE_TESTDATA(root);
        QFETCH(QByteArray, name);
        QByteArray const format = QByteArray(QTest::currentDataTag()).split(' ').value(0);
        char const *codec = format.constData();
        QByteArray const file = KenroTest::readFile(root + "/sounds/coded/" + name);
        QVERIFY(file.size() > 1000);
        for (qsizetype cut : {0, 1, 4, 41, 300, int(file.size() / 3), int(file.size() - 1)}) {
            SoundSample const sample = decoded(file.left(cut), codec);
            QVERIFY2(consistent(sample) && (cut >= 42 || sample.data.isEmpty()),
                     qPrintable(QString::number(cut)));
        }
        for (quint32 seed = 1; seed <= 6; ++seed) {
            QByteArray broken = file;
            QByteArray const flips = noise(64, seed);
            for (int i = 0; i < 32; ++i) {
                qsizetype const at = 200 +
                    qFromLittleEndian<quint16>(flips.constData() + 2 * i) * (file.size() - 200) /
                        65536;
                broken[at] = char(broken[at] ^ flips[i]);
            }
            QVERIFY(consistent(decoded(broken, codec)));
        }
        for (quint32 seed = 1; seed <= 12; ++seed) {
            QByteArray const junk = noise(int(seed * 1500), seed);
            QVERIFY(consistent(decoded(file.left(64) + junk, codec)));
            SoundSample const pure = decoded(junk, codec);
            QVERIFY(consistent(pure) && (format == "MP3" || pure.data.isEmpty()));
        }
        QVERIFY(decoded(QByteArray(50000, '\0'), codec).data.isEmpty());
        // A FLAC stream header that claims 4 billion frames builds no sample
        // of gigabytes: STREAMINFO starts at 8, the low 32 bits of the total at 22.
        QByteArray flac = file;
        qToBigEndian<quint32>(0xFFFFFFFFu, flac.data() + 22);
        QVERIFY(format != "FLAC" || decoded(flac, codec).data.isEmpty());
    }

    void oggOversized()
    {
        // A last page claiming 2^40 frames, with a valid checksum, builds no sample of terabytes.
        KENRO_REQUIRE_TESTDATA(root);
        QByteArray ogg = KenroTest::readFile(root + "/sounds/coded/voice_44k_stereo16.ogg");
        qsizetype const last = ogg.lastIndexOf("OggS");
        QByteArray page = ogg.mid(last);
        qToLittleEndian<quint64>(quint64(1) << 40, page.data() + 6);
        qToLittleEndian<quint32>(0, page.data() + 22);
        qToLittleEndian<quint32>(oggChecksum(page), page.data() + 22);
        QCOMPARE(decoded(ogg, "OGG").frames, 134802u);
        QVERIFY(last > 0 && decoded(ogg.replace(last, page.size(), page), "OGG").data.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSound)
#include "tst_sound.moc"
