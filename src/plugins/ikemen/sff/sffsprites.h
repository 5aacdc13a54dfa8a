#pragma once

#include "sffcontent.h"
#include "sffitemlist.h"
#include "sffpalettes.h"
#include "sffsprite.h"

#include <kenro/imaging/sprites.h>

#include <functional>

namespace Kenro {
class SimpleMessages;
}

namespace Kenro::Ikemen {

/**
 * A sprite archive of the runtime (.sff, versions 1.01, 2.00 and 2.01) as a
 * sprite file of a project. Reading decodes every sprite; a damaged archive
 * is refused with an error message and leaves the file as it was. Writing
 * goes through the archive's device, so that a failed save leaves the
 * previous file in place, in the version that version() names. Palettes
 * shown from a character's palette files stay over a content read anew.
 */
class SffSprites : public SffItemList<Sprites, SffSprite>
{
    Q_OBJECT

public:
    SffSprites();

    /// The version that toFile() writes: the one read, 2.01 for a new file.
    SffVersion version() const;
    void setVersion(SffVersion version);
    /**
     * The question that AskToShare asks: true to reuse an equal image or
     * palette. Without one, AskToShare makes a new one, as no box is shown here.
     */
    void setShareQuestion(std::function<bool()> question);
    /// True when an equal image or palette may be reused under \a share.
    bool mayShare(ShareMode share) const;

    /// The content as the reader and writer see it; palettes of palette files are left out.
    SffContent content() const;
    /// Replaces the whole content by \a content, telling views.
    void setContent(SffContent const &content);

    /// The sprite at \a index as its own class, or null.
    SffSprite *sprite(unsigned int index) const;
    /// "group, number" text of a number that no sprite of \a group has.
    QString freeIdentifier(quint16 group) const;
    /// The image record for \a image: an equal one of another sprite under \a share, else new.
    std::shared_ptr<SffImage> imageFor(QImage const &image, ShareMode share) const;
    /// Tells views that the sprite at \a row changed, and marks the file modified.
    void rowChanged(int row);
    /// Marks the file modified.
    void markModified();

    /// By group, then number.
    int compare(unsigned int a, unsigned int b) const override;
    void remove(unsigned int index) override;

    Palettes *palettes() const override;
    unsigned int count() const override;
    Sprite *at(unsigned int index) const override;
    /// \a identifier is "group, number" text that no sprite has yet.
    Sprite *insert(unsigned int index, QVariant const &identifier, QImage const &image,
                   ShareMode share) override;
    Sprite *add(QVariant const &identifier, QImage const &image, ShareMode share) override;
    int find(unsigned int from, QVariant const &identifier) const override;
    void clear() override;

    /// The list of sprites.
    QAbstractItemModel *model() override;
    /// True: every content can be written, in a version that holds it.
    bool canSave() const override;
    bool isModified() const override;
    bool isEmpty() const override;
    void reset() override;
    QString fileName() const override;
    bool toFile(Archive &archive, QString const &name, unsigned int flags,
                JobStats *stats) override;
    bool fromFile(Archive &archive, QString const &name, unsigned int flags,
                  JobStats *stats) override;
    /// Sprites hold no text: nothing is found.
    QList<SearchResult> search(RegExp const &regExp, unsigned int flags) const override;
    void replace(QList<SearchResult> const &results, QString const &text) override;

protected:
    void touched() override;
    char const *fileExtension() const override;
    Messages *fileMessages() const override;

private:
    ~SffSprites() override;
    void free() override;
    void error(QString const &name, QString const &text);

    SffPalettes m_palettes;
    QString m_fileName;
    SffVersion m_version = SffVersion::V201;
    bool m_sharedPalette = false;
    bool m_modified = false;
    std::function<bool()> m_shareQuestion;
    SimpleMessages *m_messages;
};

} // namespace Kenro::Ikemen
