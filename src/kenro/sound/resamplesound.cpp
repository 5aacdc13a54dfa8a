#include <kenro/sound/soundsample.h>

#include <QVector>

#include <samplerate.h>

#include <algorithm>
#include <cstring>

namespace Kenro {

namespace {

// The samples as floats. This mapping is the converter's own: 8-bit sound is
// centred on 127.5, and every depth other than 8 and 16 is read as 4-byte
// integers. Values past the end of the data count as silence.
QVector<float> toFloats(SoundSample const &sample)
{
    qsizetype const count = qsizetype(sample.channels) * sample.frames;
    QVector<float> values(count, 0.0f);
    float *out = values.data();
    auto const *bytes = reinterpret_cast<unsigned char const *>(sample.data.constData());
    qsizetype const size = sample.data.size();
    if (sample.bits == 8) {
        qsizetype const n = std::min(count, size);
        for (qsizetype i = 0; i < n; ++i)
            out[i] = float(bytes[i]) / 127.5f - 1.0f;
    } else if (sample.bits == 16) {
        qsizetype const n = std::min(count, size / 2);
        for (qsizetype i = 0; i < n; ++i) {
            auto const value = qint16(quint16(bytes[2 * i] | bytes[2 * i + 1] << 8));
            out[i] = float(value * 3.0517578125e-05);
        }
    } else {
        qsizetype const n = std::min(count, size / 4);
        for (qsizetype i = 0; i < n; ++i) {
            qint32 value;
            std::memcpy(&value, bytes + 4 * i, 4);
            out[i] = float(value * 4.656612873077393e-10);
        }
    }
    return values;
}

void fromFloats(QVector<float> const &values, unsigned short bits, QByteArray &data)
{
    qsizetype const count = values.size();
    float const *in = values.constData();
    data.resize(qsizetype(bits) * count / 8);
    if (bits == 8) {
        auto *out = reinterpret_cast<unsigned char *>(data.data());
        for (qsizetype i = 0; i < count; ++i) {
            // No clamp: an overshoot wraps, as it always has.
            double const scaled = (in[i] + 1.0) * 127.5;
            out[i] = quint8(scaled > -1e9 && scaled < 1e9 ? qint64(scaled) : 0);
        }
    } else if (bits == 16) {
        src_float_to_short_array(in, reinterpret_cast<short *>(data.data()), int(count));
    } else {
        // The converter writes 4 bytes per value whatever the depth; the data
        // keeps as many of those bytes as it has room for.
        QVector<int> wide(count);
        src_float_to_int_array(in, wide.data(), int(count));
        std::memcpy(data.data(), wide.constData(),
                    std::min<size_t>(size_t(data.size()), size_t(count) * 4));
    }
}

} // namespace

bool resampleSound(SoundSample &sample, SampleInfo info)
{
    bool const sameRate = info.frequency == sample.frequency;
    double const ratio = sameRate ? 1.0 : double(info.frequency) / double(sample.frequency);
    // The converter refuses such ratios anyway; refusing them first keeps the
    // frame count below from overflowing.
    if (!sameRate && !src_is_valid_ratio(ratio))
        return false;
    double const newFrames = double(sample.frames) * ratio;
    if (newFrames >= 4294967296.0)
        return false;
    auto const frames = quint32(newFrames);
    qsizetype const channels = sample.channels;

    QVector<float> const input = toFloats(sample);
    QVector<float> output;
    if (sameRate)
        output = input;
    if (output.isEmpty()) {
        output = QVector<float>(channels * frames, 0.0f);
        // A channel count below 1 is the converter's error too, but Debian's
        // build asserts on it instead of reporting it.
        if (channels < 1)
            return false;
        int error = 0;
        SRC_STATE *state = src_new(SRC_SINC_BEST_QUALITY, int(channels), &error);
        if (!state || error)
            return false;
        SRC_DATA job{};
        job.data_in = input.constData();
        job.data_out = output.data();
        job.input_frames = long(sample.frames);
        job.output_frames = long(frames);
        job.src_ratio = ratio;
        job.end_of_input = 1;
        // The frames generated are not read back: the computed count stands
        // and whatever the converter left out stays silent.
        error = src_process(state, &job);
        src_delete(state);
        if (error)
            return false;
    }

    if (info.channels != sample.channels) {
        if (info.channels == 1) {
            // Averages consecutive pairs, whatever the source channel count.
            QVector<float> mono(frames);
            float const *in = output.constData();
            for (quint32 i = 0; i < frames; ++i)
                mono[i] = (in[2 * i] + in[2 * i + 1]) * 0.5f;
            output = mono;
        } else {
            // Any other target is taken as stereo from mono.
            QVector<float> stereo(qsizetype(frames) * 2);
            float const *in = output.constData();
            for (quint32 i = 0; i < frames; ++i)
                stereo[2 * i] = stereo[2 * i + 1] = in[i];
            output = stereo;
        }
    }

    sample.channels = info.channels;
    sample.frequency = info.frequency;
    sample.bits = info.bits;
    sample.frames = frames;
    fromFloats(output, info.bits, sample.data);
    return true;
}

} // namespace Kenro
