#pragma once

#include <kenro/code/propertyitem.h>
#include <kenro/sound/soundsample.h>

namespace Kenro {

class Sounds;

/**
 * One sound of a sound collection. The engine's extension keeps the bytes
 * and gives each sound an identifier (the property "Identifier") that only
 * it understands; editors find sounds by it and name exported files after it.
 * A sound lives as long as its collection.
 */
class KENRO_EXPORT Sound : public PropertyItem
{
public:
    Sound(Sound const &) = default;
    Sound &operator=(Sound const &) = default;

    /// "Identifier"; an extension may add more.
    QStringList propertyNames() const override;

    /// The identifier as text, as the user sees it; empty when there is none.
    QString name() const;

    /// The position of the sound in its collection.
    virtual unsigned int index() const = 0;
    /// The collection.
    virtual Sounds *parent() const = 0;
    /**
     * Copies the whole sample into \a sample, decoding it where the
     * collection keeps it packed. A sound without data gives an empty sample.
     */
    virtual void sample(SoundSample &sample) const = 0;
    /// Channels, bits, frequency and frames, without decoding the samples.
    virtual SampleInfo info() const = 0;
    /**
     * Replaces the sample by \a sample. False, with the sound left as it
     * was, when the collection's format cannot hold it.
     */
    virtual bool setSample(SoundSample const &sample) = 0;

protected:
    Sound() = default;
    ~Sound() override;
};

} // namespace Kenro
