#include <kenro/sound/soundsample.h>

#include <QTest>

#include <cmath>
#include <cstring>

using namespace Kenro;

namespace {

// A 16-bit mono tone of \a hertz at \a amplitude (of full scale).
SoundSample tone(quint32 frequency, quint32 frames, double hertz, double amplitude)
{
    SoundSample sample;
    sample.channels = 1;
    sample.bits = 16;
    sample.frequency = frequency;
    sample.frames = frames;
    sample.data.resize(frames * 2);
    auto *out = reinterpret_cast<qint16 *>(sample.data.data());
    for (quint32 i = 0; i < frames; ++i)
        out[i] =
            qint16(std::lround(amplitude * 32767 * std::sin(2 * M_PI * hertz * i / frequency)));
    return sample;
}

QVector<double> samples16(SoundSample const &sample)
{
    QVector<double> values;
    auto const *in = reinterpret_cast<qint16 const *>(sample.data.constData());
    for (qsizetype i = 0; i < sample.data.size() / 2; ++i)
        values.append(in[i] / 32768.0);
    return values;
}

double rms(QVector<double> const &values, qsizetype from, qsizetype to)
{
    double sum = 0;
    for (qsizetype i = from; i < to; ++i)
        sum += values[i] * values[i];
    return std::sqrt(sum / double(to - from));
}

// The frequency of a tone from its rising zero crossings between two
// indices, interpolated between samples.
double toneFrequency(QVector<double> const &values, qsizetype from, qsizetype to, double rate)
{
    double first = -1;
    double last = -1;
    int crossings = 0;
    for (qsizetype i = from; i + 1 < to; ++i) {
        if (values[i] < 0 && values[i + 1] >= 0) {
            double const at = double(i) + values[i] / (values[i] - values[i + 1]);
            if (first < 0)
                first = at;
            last = at;
            ++crossings;
        }
    }
    return crossings > 1 ? (crossings - 1) * rate / (last - first) : 0.0;
}

SoundSample pcm16(quint16 channels, quint32 frequency, QVector<qint16> const &values)
{
    SoundSample sample;
    sample.channels = channels;
    sample.bits = 16;
    sample.frequency = frequency;
    sample.frames = quint32(values.size() / channels);
    sample.data = QByteArray(reinterpret_cast<char const *>(values.constData()), values.size() * 2);
    return sample;
}

} // namespace

class TestSoundSample : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaults()
    {
        SampleInfo const info;
        QCOMPARE(info.channels, 0);
        QCOMPARE(info.bits, 1);
        QCOMPARE(info.frequency, 0u);
        QCOMPARE(info.frames, 0u);
        SoundSample const sample;
        QCOMPARE(sample.channels, 0);
        QCOMPARE(sample.bits, 0);
        QCOMPARE(sample.frequency, 0u);
        QCOMPARE(sample.frames, 0u);
        QVERIFY(sample.data.isEmpty());
        QCOMPARE(int(SoundSample::Playing), 0);
        QCOMPARE(int(SoundSample::Stopped), 3);
    }

    void fileExtensions()
    {
        QCOMPARE(soundFileExtension(SoundExtensionAll), " (*.wav *.ogg *.flac *.mp3);;");
        QCOMPARE(soundFileExtension(SoundExtensionRead),
                 "WAVEform audio format (*.wav);;Ogg Vorbis (*.ogg);;Free Lossless Audio Codec "
                 "(*.flac);;MPEG-1/2 Audio Layer 3 (*.mp3)");
        QCOMPARE(soundFileExtension(SoundExtensionWrite),
                 "WAVEform audio format (*.wav);;Ogg Vorbis (*.ogg);;Free Lossless Audio Codec "
                 "(*.flac)");
        QVERIFY(!soundFileExtension(SoundExtensionType(3)));
        QVERIFY(!soundFileExtension(SoundExtensionType(-1)));
    }

    void decode_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<float>("expected");
        QTest::newRow("8 centre") << 8 << QByteArray("\x80", 1) << 0.0f;
        QTest::newRow("8 low") << 8 << QByteArray("\x00", 1) << -1.0f;
        QTest::newRow("8 high") << 8 << QByteArray("\xFF", 1) << 0.9921875f;
        QTest::newRow("16 low") << 16 << QByteArray("\x00\x80", 2) << -1.0f;
        QTest::newRow("16 high") << 16 << QByteArray("\xFF\x7F", 2) << 32767.0f / 32768.0f;
        QTest::newRow("16 small") << 16 << QByteArray("\x01\x00", 2) << 1.0f / 32768.0f;
        QTest::newRow("24 low") << 24 << QByteArray("\x00\x00\x80", 3) << -1.0f;
        QTest::newRow("24 half") << 24 << QByteArray("\x00\x00\x40", 3) << 0.5f;
        QTest::newRow("20 as 24") << 20 << QByteArray("\x00\x00\xC0", 3) << -0.5f;
        QTest::newRow("32 low") << 32 << QByteArray("\x00\x00\x00\x80", 4) << -1.0f;
        QTest::newRow("32 quarter") << 32 << QByteArray("\x00\x00\x00\x20", 4) << 0.25f;
    }

    void decode()
    {
        QFETCH(int, bits);
        QFETCH(QByteArray, bytes);
        QFETCH(float, expected);
        QCOMPARE(decodeSample(bytes.constData(), bits), expected);
    }

    void encode_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<float>("value");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("8 zero") << 8 << 0.0f << QByteArray("\x80", 1);
        QTest::newRow("8 half") << 8 << 0.5f << QByteArray("\xC0", 1);
        QTest::newRow("8 low") << 8 << -1.0f << QByteArray("\x00", 1);
        // 256 wraps to 0.
        QTest::newRow("8 one wraps") << 8 << 1.0f << QByteArray("\x00", 1);
        // Truncated toward zero: 0.99 * 128 + 128 = 254.72.
        QTest::newRow("8 truncates") << 8 << 0.99f << QByteArray("\xFE", 1);
        QTest::newRow("16 half") << 16 << 0.5f << QByteArray("\x00\x40", 2);
        QTest::newRow("16 low") << 16 << -1.0f << QByteArray("\x00\x80", 2);
        QTest::newRow("16 one wraps") << 16 << 1.0f << QByteArray("\x00\x80", 2);
        QTest::newRow("16 toward zero") << 16 << -1.5f / 32768 << QByteArray("\xFF\xFF", 2);
        QTest::newRow("24 half") << 24 << 0.5f << QByteArray("\x00\x00\x40", 3);
        QTest::newRow("24 minus half") << 24 << -0.5f << QByteArray("\x00\x00\xC0", 3);
        QTest::newRow("20 small") << 20 << 256.0f / 2147483648.0f << QByteArray("\x01\x00\x00", 3);
        QTest::newRow("32 quarter") << 32 << 0.25f << QByteArray("\x00\x00\x00\x20", 4);
        QTest::newRow("32 low") << 32 << -1.0f << QByteArray("\x00\x00\x00\x80", 4);
    }

    void encode()
    {
        QFETCH(int, bits);
        QFETCH(float, value);
        QFETCH(QByteArray, expected);
        QByteArray bytes(expected.size() + 1, '\x5A');
        encodeSample(value, bytes.data(), bits);
        QCOMPARE(bytes.left(expected.size()).toHex(), expected.toHex());
        QCOMPARE(bytes.back(), '\x5A');
    }

    void encodeUnknownDepth()
    {
        QByteArray bytes(4, '\x5A');
        encodeSample(0.5f, bytes.data(), 12);
        QCOMPARE(bytes, QByteArray(4, '\x5A'));
    }

    void decodeEncodeRoundTrip_data()
    {
        QTest::addColumn<int>("bits");
        QTest::newRow("8") << 8;
        QTest::newRow("16") << 16;
        QTest::newRow("24") << 24;
        QTest::newRow("32") << 32;
    }

    void decodeEncodeRoundTrip()
    {
        QFETCH(int, bits);
        float const step = std::ldexp(1.0f, 1 - bits);
        for (float value = -1.0f; value < 0.99f; value += 0.0625f) {
            char bytes[4] = {};
            encodeSample(value, bytes, bits);
            QVERIFY2(std::fabs(decodeSample(bytes, bits) - value) <= step,
                     qPrintable(QString::number(value)));
        }
    }

    void scale_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<QByteArray>("source");
        QTest::addColumn<float>("factor");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("8 half") << 8 << QByteArray("\xC0", 1) << 0.5f << QByteArray("\xA0", 1);
        QTest::newRow("8 saturates high")
            << 8 << QByteArray("\xC0", 1) << 100.0f << QByteArray("\xFF", 1);
        QTest::newRow("8 saturates low")
            << 8 << QByteArray("\x40", 1) << 100.0f << QByteArray("\x00", 1);
        QTest::newRow("8 truncates") << 8 << QByteArray("\x83", 1) << 0.5f << QByteArray("\x81", 1);
        QTest::newRow("16 unchanged")
            << 16 << QByteArray("\x34\x92", 2) << 1.0f << QByteArray("\x34\x92", 2);
        QTest::newRow("16 saturates")
            << 16 << QByteArray("\x00\x60", 2) << 2.0f << QByteArray("\xFF\x7F", 2);
        QTest::newRow("16 negative")
            << 16 << QByteArray("\x00\x10", 2) << -2.0f << QByteArray("\x00\xE0", 2);
        // The clamp acts on the value still shifted by 8: 1/256 of full scale.
        QTest::newRow("24 loud clamped")
            << 24 << QByteArray("\x00\x00\x40", 3) << 1.0f << QByteArray("\xFF\x7F\x00", 3);
        QTest::newRow("24 loud negative")
            << 24 << QByteArray("\x00\x00\xC0", 3) << 1.0f << QByteArray("\x00\x80\xFF", 3);
        QTest::newRow("24 quiet") << 24 << QByteArray("\x00\x01\x00", 3) << 2.0f
                                  << QByteArray("\x00\x02\x00", 3);
        // Only the low 16 bits are stored; the upper bytes stay as they were.
        QTest::newRow("32 low half")
            << 32 << QByteArray("\x45\x23\x01\x00", 4) << 2.0f << QByteArray("\x8A\x46\x5A\x5A", 4);
        QTest::newRow("32 saturates")
            << 32 << QByteArray("\x00\x00\x00\x60", 4) << 2.0f << QByteArray("\xFF\xFF\x5A\x5A", 4);
        QTest::newRow("unknown depth")
            << 12 << QByteArray("\x12\x34", 2) << 2.0f << QByteArray("\x5A\x5A", 2);
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
        QByteArray inPlace = source;
        scaleSample(inPlace.data(), inPlace.constData(), factor, bits);
        QCOMPARE(inPlace.left(written).toHex(), expected.left(written).toHex());
        QCOMPARE(inPlace.mid(written).toHex(), source.mid(written).toHex());
    }

    void requantizeOnly()
    {
        // Same rate and channels: only the float round trip of the converter.
        SoundSample sample;
        sample.channels = 1;
        sample.bits = 8;
        sample.frequency = 8000;
        sample.frames = 256;
        for (int b = 0; b < 256; ++b)
            sample.data.append(char(b));
        QByteArray const before = sample.data;
        QVERIFY(resampleSound(sample, sample));
        QCOMPARE(sample.frames, 256u);
        QCOMPARE(sample.data.size(), 256);
        int lowered = 0;
        for (int b = 0; b < 256; ++b) {
            int const now = quint8(sample.data[b]);
            QVERIFY2(now == b || now == b - 1, qPrintable(QString::number(b)));
            lowered += now != b;
        }
        // The 127.5 centre loses a step on some bytes, never on the ends.
        QVERIFY(lowered > 0);
        QCOMPARE(quint8(sample.data[0]), quint8(0));
        QCOMPARE(quint8(sample.data[255]), quint8(255));
        QVERIFY(before != sample.data);
    }

    void frameCountTruncates()
    {
        SoundSample sample = tone(44100, 1001, 440, 0.3);
        SampleInfo target = sample;
        target.frequency = 22050;
        QVERIFY(resampleSound(sample, target));
        QCOMPARE(sample.frames, 500u);
        QCOMPARE(sample.frequency, 22050u);
        QCOMPARE(sample.data.size(), 1000);
    }

    void channels_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("to");
        QTest::addColumn<QVector<qint16>>("input");
        QTest::addColumn<QVector<qint16>>("expected");
        QTest::newRow("stereo to mono")
            << 2 << 1 << QVector<qint16>{1000, 3000, -400, -200, 0, 32766}
            << QVector<qint16>{2000, -300, 16383};
        QTest::newRow("mono to stereo") << 1 << 2 << QVector<qint16>{1000, -5, 77}
                                        << QVector<qint16>{1000, 1000, -5, -5, 77, 77};
        // Three channels still average consecutive pairs.
        QTest::newRow("three to mono") << 3 << 1 << QVector<qint16>{100, 300, 5000, 7000, 10, 20}
                                       << QVector<qint16>{200, 6000};
    }

    void channels()
    {
        QFETCH(int, from);
        QFETCH(int, to);
        QFETCH(QVector<qint16>, input);
        QFETCH(QVector<qint16>, expected);
        SoundSample sample = pcm16(quint16(from), 11025, input);
        SampleInfo target = sample;
        target.channels = quint16(to);
        QVERIFY(resampleSound(sample, target));
        QCOMPARE(sample.channels, to);
        QCOMPARE(sample.frames, quint32(input.size() / from));
        QCOMPARE(sample.data.size(), expected.size() * 2);
        QVector<qint16> result(expected.size());
        std::memcpy(result.data(), sample.data.constData(), sample.data.size());
        QCOMPARE(result, expected);
    }

    void depths_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("bytesPerValue");
        QTest::newRow("8") << 8 << 1;
        QTest::newRow("16") << 16 << 2;
        QTest::newRow("24") << 24 << 3;
        QTest::newRow("32") << 32 << 4;
    }

    void depths()
    {
        QFETCH(int, bits);
        QFETCH(int, bytesPerValue);
        SoundSample sample = pcm16(1, 8000, {16384, -16384, 0, 8192});
        SampleInfo target = sample;
        target.bits = quint16(bits);
        QVERIFY(resampleSound(sample, target));
        QCOMPARE(sample.bits, bits);
        QCOMPARE(sample.data.size(), 4 * bytesPerValue);
        if (bits == 8) {
            // Centre 127.5, scale 127.5, truncated.
            QCOMPARE(sample.data.toHex(), QByteArray("bf3f7f9f"));
        } else if (bits == 32) {
            auto const *values = reinterpret_cast<qint32 const *>(sample.data.constData());
            QCOMPARE(values[0], 1 << 30);
            QCOMPARE(values[1], -(1 << 30));
            QCOMPARE(values[2], 0);
            QCOMPARE(values[3], 1 << 29);
        } else if (bits == 24) {
            // 4-byte values cut to the room of 3 bytes each: the first value
            // whole and the start of the second.
            QCOMPARE(sample.data.left(4).toHex(), QByteArray("00000040"));
        }
    }

    void rejectedRatios_data()
    {
        QTest::addColumn<quint32>("from");
        QTest::addColumn<quint32>("to");
        QTest::newRow("too high") << 8000u << 8000u * 300;
        QTest::newRow("too low") << 48000u << 100u;
        QTest::newRow("to zero") << 22050u << 0u;
        QTest::newRow("from zero") << 0u << 22050u;
    }

    void rejectedRatios()
    {
        QFETCH(quint32, from);
        QFETCH(quint32, to);
        SoundSample sample = tone(22050, 100, 440, 0.5);
        sample.frequency = from;
        SoundSample const before = sample;
        SampleInfo target = sample;
        target.frequency = to;
        target.channels = 2;
        QVERIFY(!resampleSound(sample, target));
        QCOMPARE(sample.frequency, before.frequency);
        QCOMPARE(sample.channels, before.channels);
        QCOMPARE(sample.frames, before.frames);
        QCOMPARE(sample.data, before.data);
    }

    void tooManyFrames()
    {
        // A frame count past 32 bits after conversion is refused up front.
        SoundSample sample = tone(8000, 10, 440, 0.5);
        sample.frames = 3000000000u;
        SampleInfo target = sample;
        target.frequency = 16000;
        QVERIFY(!resampleSound(sample, target));
        QCOMPARE(sample.frequency, 8000u);
        QCOMPARE(sample.data.size(), 20);
    }

    void emptySample()
    {
        // Equal rates with nothing to copy go to the converter, which takes
        // an empty job; the new header is set.
        SoundSample sample;
        sample.channels = 1;
        sample.bits = 16;
        sample.frequency = 22050;
        SampleInfo target = sample;
        target.bits = 8;
        QVERIFY(resampleSound(sample, target));
        QCOMPARE(sample.frames, 0u);
        QCOMPARE(sample.bits, 8);
        QVERIFY(sample.data.isEmpty());
        // No channels at all is refused by the converter.
        SoundSample none;
        none.frequency = 8000;
        none.bits = 8;
        target = none;
        target.bits = 16;
        QVERIFY(!resampleSound(none, target));
        QCOMPARE(none.bits, 8);
    }

    void toneSurvivesRoundTrip()
    {
        // Half a second of a 1 kHz tone, up to 44,100 Hz and back down; the
        // first and last tenth of a second are left out of the measures.
        SoundSample sample = tone(22050, 11025, 1000, 0.5);
        QVector<double> const original = samples16(sample);
        double const level = rms(original, 2205, 8820);
        QVector<double> back;
        for (quint32 rate : {44100u, 22050u}) {
            SampleInfo target = sample;
            target.frequency = rate;
            QVERIFY(resampleSound(sample, target));
            QCOMPARE(sample.frames, rate / 2);
            back = samples16(sample);
            qsizetype const from = rate / 10;
            qsizetype const to = rate * 4 / 10;
            double const hertz = toneFrequency(back, from, to, rate);
            QVERIFY2(std::fabs(hertz - 1000) < 0.5, qPrintable(QString::number(hertz)));
            QVERIFY(std::fabs(rms(back, from, to) / level - 1) < 0.01);
        }
        // Away from the ends the wave itself comes back.
        double noise = 0;
        double signal = 0;
        for (int i = 2205; i < 8820; ++i) {
            noise += (back[i] - original[i]) * (back[i] - original[i]);
            signal += original[i] * original[i];
        }
        QVERIFY2(10 * std::log10(signal / noise) > 60, qPrintable(QString::number(signal / noise)));
    }
};

QTEST_GUILESS_MAIN(TestSoundSample)
#include "tst_soundsample.moc"
