#pragma once

#include "memorysprites.h"

#include <kenro/sound/sound.h>
#include <kenro/sound/sounds.h>

namespace KenroTest {

class MemorySounds;

/**
 * A sound held in memory the way a sound bank keeps it: as the bytes of a
 * WAV file, decoded only when the sample is asked for. Its identifier is
 * "group, number" text.
 */
class MemorySound : public Kenro::Sound
{
public:
    MemorySound(MemorySounds *owner, QVariant const &identifier);

    MemorySounds *owner;
    QVariant identifier;
    /// The sample as a WAV file; empty for a sound without sample.
    QByteArray wav;
    /// How many times sample() decoded the bytes.
    mutable int decodes = 0;

    QVariant property(QString const &name) const override;
    /// "Identifier" takes "group, number" text that no other sound has.
    void setProperty(QString const &name, QVariant const &value) override;
    unsigned int index() const override;
    Kenro::Sounds *parent() const override;
    void sample(Kenro::SoundSample &sample) const override;
    Kenro::SampleInfo info() const override;
    bool setSample(Kenro::SoundSample const &sample) override;
};

/**
 * A sound file held in memory, as an engine's extension would make one. Its
 * format has limits, which tests set: how many channels, which depths, how
 * many bytes of samples and how many sounds. Identifiers are unique.
 */
class MemorySounds : public MemoryList<Kenro::Sounds, MemorySound>
{
    Q_OBJECT

public:
    MemorySounds();

    quint16 maxChannels = 2;
    QList<quint16> depths = {8, 16};
    /// The most bytes of samples in one sound.
    qsizetype maxBytes = 16 * 1024 * 1024;
    /// The most sounds in the file.
    unsigned int capacity = 1000;

    /// Whether the format holds \a sample: a sample without data always fits.
    bool accepts(Kenro::SoundSample const &sample) const;
    /// "0, n" text that no sound has.
    QString freeIdentifier() const;
    /// True when \a identifier is "group, number" text that no sound has.
    bool isFreeIdentifier(QVariant const &identifier) const;
    /// The row of \a sound, or -1.
    int indexOf(Kenro::Sound const *sound) const;
    /// Tells views that the sound at \a row changed.
    void rowChanged(int row);
    /// Removes every sound at once.
    void clear();
    /// As a successful save or load does: the file is no longer modified.
    void markSaved();

    // The list shows what Sounds makes of count() and soundAt().
    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

    /// By group, then number.
    int compare(unsigned int a, unsigned int b) const override;
    void remove(unsigned int index) override;
    Kenro::Sound *add(QVariant const &identifier) override;
    Kenro::Sound *soundAt(unsigned int index) const override;
    unsigned int count() const override;

    QList<SearchResult> search(Kenro::RegExp const &regExp, unsigned int flags) const override;
    void replace(QList<SearchResult> const &results, QString const &text) override;

protected:
    Kenro::Messages *fileMessages() const override;
    // Sounds learns of each change from the model's signals.
    void touched() override {}

private:
    ~MemorySounds() override;
    void free() override;
};

} // namespace KenroTest
