#include "sounds.h"

#include <kenro/sound/soundcodecs.h>

#include <QBuffer>

#include <algorithm>
#include <cmath>

namespace KenroSample {

namespace {

// A fixed linear congruential sequence: the same noise on every machine.
class Noise
{
public:
    /// The next value, between -1 and 1.
    double next()
    {
        m_state = m_state * 1664525u + 1013904223u;
        return double(m_state >> 8) / double(1u << 23) - 1.0;
    }

private:
    quint32 m_state = 20260101u;
};

QByteArray wav(QList<double> const &samples)
{
    Kenro::SoundSample sample;
    sample.channels = 1;
    sample.bits = 16;
    sample.frequency = soundRate;
    sample.frames = quint32(samples.size());
    sample.data.resize(samples.size() * 2);
    for (qsizetype i = 0; i < samples.size(); ++i) {
        auto const value = qint16(std::lround(std::clamp(samples[i], -1.0, 1.0) * 32767));
        sample.data[2 * i] = char(quint16(value) & 0xFF);
        sample.data[2 * i + 1] = char(quint16(value) >> 8);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    Kenro::soundToWAV(sample, &buffer);
    return bytes;
}

QList<double> swing()
{
    Noise noise;
    int const frames = int(soundRate * 15 / 100);
    QList<double> samples;
    double low = 0;
    for (int i = 0; i < frames; ++i) {
        double const t = double(i) / frames;
        // A one-pole low pass whose corner rises with the swing: the rush sharpens.
        double const corner = 0.05 + 0.25 * t;
        low += corner * (noise.next() - low);
        double const envelope = std::sin(M_PI * t) * std::sin(M_PI * t);
        samples.append(0.7 * envelope * low * 2.5);
    }
    return samples;
}

QList<double> hit()
{
    Noise noise;
    int const frames = int(soundRate * 2 / 10);
    QList<double> samples;
    double phase = 0;
    for (int i = 0; i < frames; ++i) {
        double const seconds = double(i) / soundRate;
        // The tone falls from 220 to 55 Hz; the burst is over after a few ms.
        double const frequency = 55 + 165 * std::exp(-seconds * 30);
        phase += 2 * M_PI * frequency / soundRate;
        double const tone = std::sin(phase) * std::exp(-seconds * 14);
        double const burst = noise.next() * std::exp(-seconds * 120);
        samples.append(0.75 * tone + 0.35 * burst);
    }
    return samples;
}

} // namespace

Kenro::Ikemen::SndBank sampleSounds()
{
    Kenro::Ikemen::SndBank bank;
    bank.members.append(Kenro::Ikemen::SndMember(0, 0, wav(swing())));
    bank.members.append(Kenro::Ikemen::SndMember(1, 0, wav(hit())));
    return bank;
}

} // namespace KenroSample
