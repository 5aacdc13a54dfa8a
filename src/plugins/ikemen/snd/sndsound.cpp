#include "sndsound.h"

#include "sndsounds.h"

#include <kenro/project/subitem.h>
#include <kenro/sound/soundcodecs.h>

#include <QBuffer>

#include <limits>

namespace Kenro::Ikemen {

namespace {

QString const identifierName = QStringLiteral("Identifier");

} // namespace

SndSound::SndSound(SndSounds *owner, SndMember const &member) : m_owner(owner), m_member(member) {}

qint32 SndSound::group() const
{
    return m_member.group;
}

qint32 SndSound::number() const
{
    return m_member.number;
}

QByteArrayView SndSound::wav() const
{
    return m_member.wav();
}

SndMember const &SndSound::member() const
{
    return m_member;
}

QVariant SndSound::property(QString const &name) const
{
    if (name != identifierName)
        return QVariant();
    return QStringLiteral("%1, %2").arg(m_member.group).arg(m_member.number);
}

void SndSound::setProperty(QString const &name, QVariant const &value)
{
    SubItem item;
    if (name != identifierName || !SubItem::parse(value.toString(), item))
        return;
    if (item.first == m_member.group && item.second == m_member.number)
        return;
    if (m_owner->find(item.first, item.second) >= 0)
        return;
    m_member.group = item.first;
    m_member.number = item.second;
    m_owner->soundChangedAt(index());
}

unsigned int SndSound::index() const
{
    return static_cast<unsigned int>(m_owner->indexOf(this));
}

Sounds *SndSound::parent() const
{
    return m_owner;
}

void SndSound::sample(SoundSample &sample) const
{
    if (m_member.size() == 0) {
        sample = SoundSample();
        return;
    }
    QByteArray bytes = rawWav();
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    sample = soundFromWAV(&buffer);
}

SampleInfo SndSound::info() const
{
    if (m_member.size() == 0)
        return SampleInfo();
    QByteArray bytes = rawWav();
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return soundInfoFromWAV(&buffer);
}

QByteArray SndSound::rawWav() const
{
    // A read-only window on the bank's bytes: nothing is copied before decoding.
    QByteArrayView const wav = m_member.wav();
    return QByteArray::fromRawData(wav.data(), wav.size());
}

bool SndSound::accepts(SoundSample const &sample)
{
    if (sample.data.isEmpty())
        return true;
    if (sample.channels < 1 || sample.channels > 2 || (sample.bits != 8 && sample.bits != 16) ||
        sample.frequency == 0)
        return false;
    qint64 const bytes = qint64(sample.frames) * sample.channels * (sample.bits / 8);
    // The WAV file's sizes are 32-bit words, and the bank's offsets too.
    return bytes == sample.data.size() && bytes < std::numeric_limits<qint32>::max();
}

bool SndSound::setSample(SoundSample const &sample)
{
    if (!accepts(sample))
        return false;
    QByteArray wav;
    if (!sample.data.isEmpty()) {
        QBuffer buffer(&wav);
        if (!buffer.open(QIODevice::WriteOnly) || !soundToWAV(sample, &buffer))
            return false;
    }
    m_member = SndMember(m_member.group, m_member.number, wav);
    m_owner->soundChangedAt(index());
    return true;
}

} // namespace Kenro::Ikemen
