#pragma once

#include "sndbank.h"

#include <kenro/sound/sound.h>

namespace Kenro::Ikemen {

class SndSounds;

/**
 * One sound of a sound bank: a WAV file under a group and a number, whose
 * identifier reads "group, number". The samples are decoded only when they
 * are asked for.
 */
class SndSound : public Sound
{
public:
    SndSound(SndSounds *owner, SndMember const &member);

    qint32 group() const;
    qint32 number() const;
    /// The WAV file as the bank keeps it; empty for a sound without sample.
    QByteArrayView wav() const;
    /// The member as the bank file holds it.
    SndMember const &member() const;

    /// "group, number".
    QVariant property(QString const &name) const override;
    /**
     * "Identifier" takes "group, number" text that no other sound of the
     * bank has; anything else is ignored.
     */
    void setProperty(QString const &name, QVariant const &value) override;
    unsigned int index() const override;
    Sounds *parent() const override;
    /// Decodes the WAV file; a sound without sample gives an empty one.
    void sample(SoundSample &sample) const override;
    /// The header of the WAV file, read without the samples.
    SampleInfo info() const override;
    /**
     * Stores \a sample as a WAV file. False, leaving the sound as it was, for
     * a sample that the games do not play: other than 8 or 16 bits, one or
     * two channels, or with a header that does not match its data. A sample
     * without data leaves the sound without sample.
     */
    bool setSample(SoundSample const &sample) override;

    /// Whether the bank's WAV files can hold \a sample.
    static bool accepts(SoundSample const &sample);

private:
    // The WAV bytes without a copy, valid while the member is unchanged.
    QByteArray rawWav() const;

    SndSounds *m_owner;
    SndMember m_member;
};

} // namespace Kenro::Ikemen
