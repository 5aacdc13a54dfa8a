#pragma once

#include "sndbank.h"
#include "sndsound.h"

#include <kenro/sound/sounds.h>

#include <memory>

namespace Kenro {
class SimpleMessages;
}

namespace Kenro::Ikemen {

/**
 * A sound bank file of the content (format "SND"): WAV files under "group,
 * number" identifiers, in the file's order. Opening a bank reads the file
 * once and keeps the sounds as windows into those bytes; a save writes
 * through the archive, which keeps the old file until the new one is whole.
 */
class SndSounds : public Sounds
{
    Q_OBJECT

public:
    SndSounds();

    /**
     * Reads the bank \a name of \a archive. A damaged file is refused: the
     * content stays as it was, false is returned and the fault is an error of
     * messages(). Warnings about odd members go to messages() as well.
     */
    bool fromFile(Archive &archive, QString const &name, unsigned int flags,
                  JobStats *stats) override;
    /**
     * Writes the bank as \a name of \a archive. False, with the archive's
     * previous file left in place, when it cannot be written.
     */
    bool toFile(Archive &archive, QString const &name, unsigned int flags,
                JobStats *stats) override;
    QString fileName() const override;
    bool canSave() const override;
    /// Removes every sound.
    void reset() override;

    /// The bank as it would be written now.
    SndBank bank() const;
    /// The sound at \a index, or null.
    SndSound *sound(unsigned int index) const;
    /// The row of \a sound, or -1.
    int indexOf(Sound const *sound) const;
    /// The index of the first sound under \a group and \a number, or -1.
    int find(qint32 group, qint32 number) const;
    using Sounds::find;
    /// Tells views that the sound at \a index changed.
    void soundChangedAt(unsigned int index);

    // The list shows what Sounds makes of count() and soundAt().
    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

    void move(unsigned int from, unsigned int to) override;
    /// By group, then number.
    int compare(unsigned int a, unsigned int b) const override;
    void remove(unsigned int index) override;
    /**
     * Appends a sound without sample under \a identifier ("group, number"
     * text), or under "0, n" with the first free n when it is invalid. Null
     * when the identifier is malformed or taken.
     */
    Sound *add(QVariant const &identifier) override;
    Sound *soundAt(unsigned int index) const override;
    unsigned int count() const override;

    /// Searches the identifiers of the sounds.
    QList<SearchResult> search(RegExp const &regExp, unsigned int flags) const override;
    /// Renames the sounds found; names taken by another sound are left as they were.
    void replace(QList<SearchResult> const &results, QString const &replacement) override;

protected:
    ~SndSounds() override;
    char const *fileExtension() const override;
    Messages *fileMessages() const override;

private:
    class Search;

    void free() override;
    void setSounds(SndBank const &bank);
    // Ends a read or write that failed: \a error becomes the file's error.
    bool failWith(QString const &error);

    QList<SndSound *> m_sounds;
    QString m_fileName;
    quint32 m_version = SndBank::defaultVersion;
    QByteArray m_reserved;
    SimpleMessages *m_messages;
    std::unique_ptr<Search> m_search;
};

} // namespace Kenro::Ikemen
