#include "memorysounds.h"

#include <kenro/project/subitem.h>
#include <kenro/sound/soundcodecs.h>

#include <QBuffer>

using namespace Kenro;

namespace KenroTest {

namespace {

QString const identifierName = QStringLiteral("Identifier");

} // namespace

MemorySound::MemorySound(MemorySounds *owner, QVariant const &identifier)
    : owner(owner), identifier(identifier)
{}

QVariant MemorySound::property(QString const &name) const
{
    return name == identifierName ? identifier : QVariant();
}

void MemorySound::setProperty(QString const &name, QVariant const &value)
{
    if (name == identifierName && owner->isFreeIdentifier(value)) {
        identifier = value.toString();
        owner->rowChanged(owner->indexOf(this));
    }
}

unsigned int MemorySound::index() const
{
    return static_cast<unsigned int>(owner->indexOf(this));
}

Sounds *MemorySound::parent() const
{
    return owner;
}

void MemorySound::sample(SoundSample &sample) const
{
    if (wav.isEmpty()) {
        sample = SoundSample();
        return;
    }
    ++decodes;
    QByteArray bytes = wav;
    QBuffer buffer(&bytes);
    sample = soundFromWAV(&buffer);
}

SampleInfo MemorySound::info() const
{
    if (wav.isEmpty())
        return SampleInfo();
    QByteArray bytes = wav;
    QBuffer buffer(&bytes);
    return soundInfoFromWAV(&buffer);
}

bool MemorySound::setSample(SoundSample const &sample)
{
    if (!owner->accepts(sample))
        return false;
    QByteArray bytes;
    if (!sample.data.isEmpty()) {
        QBuffer buffer(&bytes);
        if (!buffer.open(QIODevice::WriteOnly) || !soundToWAV(sample, &buffer))
            return false;
    }
    wav = bytes;
    owner->rowChanged(owner->indexOf(this));
    return true;
}

MemorySounds::MemorySounds() = default;

MemorySounds::~MemorySounds()
{
    qDeleteAll(items);
}

void MemorySounds::free()
{
    delete this;
}

bool MemorySounds::accepts(SoundSample const &sample) const
{
    if (sample.data.isEmpty())
        return true;
    if (sample.channels == 0 || sample.channels > maxChannels || !depths.contains(sample.bits) ||
        sample.frequency == 0 || sample.data.size() > maxBytes)
        return false;
    // The header must tell the size of the data.
    qint64 const bytes =
        qint64(sample.frames) * sample.channels * ((sample.bits == 20 ? 24 : sample.bits) / 8);
    return bytes == sample.data.size();
}

QString MemorySounds::freeIdentifier() const
{
    int number = 0;
    for (MemorySound const *sound : items) {
        SubItem item;
        if (SubItem::parse(sound->identifier.toString(), item) && item.first == 0)
            number = qMax(number, item.second + 1);
    }
    return QStringLiteral("0, %1").arg(number);
}

bool MemorySounds::isFreeIdentifier(QVariant const &identifier) const
{
    SubItem item;
    return SubItem::parse(identifier.toString(), item) && find(0, identifier.toString()) < 0;
}

int MemorySounds::indexOf(Sound const *sound) const
{
    for (int i = 0; i < items.size(); ++i) {
        if (items.at(i) == sound)
            return i;
    }
    return -1;
}

void MemorySounds::rowChanged(int row)
{
    if (row >= 0)
        Q_EMIT dataChanged(index(row), index(row));
}

void MemorySounds::clear()
{
    beginResetModel();
    qDeleteAll(items);
    items.clear();
    endResetModel();
}

void MemorySounds::markSaved()
{
    setModified(false);
}

int MemorySounds::rowCount(QModelIndex const &parent) const
{
    return Sounds::rowCount(parent);
}

QVariant MemorySounds::data(QModelIndex const &index, int role) const
{
    return Sounds::data(index, role);
}

int MemorySounds::compare(unsigned int a, unsigned int b) const
{
    return compareSubItems(items.at(int(a))->identifier, items.at(int(b))->identifier);
}

void MemorySounds::remove(unsigned int index)
{
    delete takeRow(index);
}

Sound *MemorySounds::add(QVariant const &identifier)
{
    if (count() >= capacity)
        return nullptr;
    QVariant const name = identifier.isValid() ? identifier : QVariant(freeIdentifier());
    if (!isFreeIdentifier(name))
        return nullptr;
    auto *sound = new MemorySound(this, name.toString());
    insertRow(count(), sound);
    return sound;
}

Sound *MemorySounds::soundAt(unsigned int index) const
{
    return index < count() ? items.at(int(index)) : nullptr;
}

unsigned int MemorySounds::count() const
{
    return static_cast<unsigned int>(items.size());
}

QList<ProjectFile::SearchResult> MemorySounds::search(RegExp const &, unsigned int) const
{
    return {};
}

void MemorySounds::replace(QList<SearchResult> const &, QString const &) {}

Messages *MemorySounds::fileMessages() const
{
    return nullptr;
}

} // namespace KenroTest
