#include "sffsprites.h"

#include "sffpalette.h"
#include "sffreader.h"
#include "sffsprite.h"
#include "sffwriter.h"

#include <kenro/project/archive.h>
#include <kenro/project/messages.h>
#include <kenro/project/subitem.h>

#include <ikemen/script/unchangedcopy.h>

#include <cstring>

namespace Kenro::Ikemen {

namespace {

QString baseName(QString const &name)
{
    return name.mid(name.lastIndexOf(QLatin1Char('/')) + 1);
}

// Equal pixel bytes; for indexed images the indices only, as the palette
// belongs to the sprite.
bool samePixels(QImage const &a, QImage const &b)
{
    if (a.isNull() || a.format() != b.format() || a.size() != b.size())
        return false;
    qsizetype const bytes = qsizetype(a.width()) * a.depth() / 8;
    for (int y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.constScanLine(y), b.constScanLine(y), size_t(bytes)) != 0)
            return false;
    }
    return true;
}

} // namespace

SffSprites::SffSprites() : m_palettes(this), m_messages(new SimpleMessages(this, this)) {}

SffSprites::~SffSprites()
{
    qDeleteAll(m_items);
}

void SffSprites::free()
{
    delete this;
}

SffVersion SffSprites::version() const
{
    return m_version;
}

void SffSprites::setVersion(SffVersion version)
{
    if (version != m_version) {
        m_version = version;
        markModified();
    }
}

void SffSprites::setShareQuestion(std::function<bool()> question)
{
    m_shareQuestion = std::move(question);
}

bool SffSprites::mayShare(ShareMode share) const
{
    return share == Share || (share == AskToShare && m_shareQuestion && m_shareQuestion());
}

SffContent SffSprites::content() const
{
    SffContent content;
    content.version = m_version;
    content.sharedPalette = m_sharedPalette;
    QList<SffPalette const *> kept;
    for (unsigned int i = 0; i < m_palettes.count(); ++i) {
        SffPalette const *palette = m_palettes.palette(i);
        // Palettes of palette files go back to the archive only when a sprite uses them.
        bool used = palette->file().isEmpty();
        for (SffSprite const *sprite : m_items)
            used = used || sprite->palette() == palette;
        if (used) {
            kept.append(palette);
            content.palettes.append(palette->data());
        }
    }
    for (SffSprite const *sprite : m_items) {
        SffSpriteData data;
        data.group = sprite->group();
        data.number = sprite->number();
        data.axisX = qint16(sprite->axis().x());
        data.axisY = qint16(sprite->axis().y());
        data.image = sprite->imageData();
        data.palette = int(kept.indexOf(static_cast<SffPalette const *>(sprite->palette())));
        content.sprites.append(data);
    }
    return content;
}

void SffSprites::setContent(SffContent const &content)
{
    beginResetModel();
    qDeleteAll(m_items);
    m_items.clear();
    m_palettes.reset();
    for (SffPaletteData const &palette : content.palettes)
        m_palettes.append(palette);
    for (SffSpriteData const &data : content.sprites) {
        auto *sprite = new SffSprite(this, data.group, data.number, data.image,
                                     m_palettes.palette((unsigned int)(data.palette)));
        sprite->m_axis = QPoint(data.axisX, data.axisY);
        m_items.append(sprite);
    }
    m_version = content.version;
    m_sharedPalette = content.sharedPalette;
    endResetModel();
}

SffSprite *SffSprites::sprite(unsigned int index) const
{
    return index < count() ? m_items.at(int(index)) : nullptr;
}

QString SffSprites::freeIdentifier(quint16 group) const
{
    int number = 0;
    for (SffSprite const *sprite : m_items) {
        if (sprite->group() == group)
            number = qMax(number, sprite->number() + 1);
    }
    return QStringLiteral("%1, %2").arg(group).arg(qMin(number, 0xFFFF));
}

std::shared_ptr<SffImage> SffSprites::imageFor(QImage const &image, ShareMode share) const
{
    auto fresh = std::make_shared<SffImage>();
    fresh->image = image;
    if (image.isNull())
        return fresh;
    // Only the question of a real candidate is asked.
    for (SffSprite const *sprite : m_items) {
        std::shared_ptr<SffImage> const &other = sprite->imageData();
        if (other && samePixels(other->image, image))
            return mayShare(share) ? other : fresh;
    }
    return fresh;
}

void SffSprites::rowChanged(int row)
{
    if (row < 0)
        return;
    Q_EMIT dataChanged(index(row), index(row));
    markModified();
}

void SffSprites::markModified()
{
    Q_EMIT modified();
    if (!m_modified) {
        m_modified = true;
        Q_EMIT changed(true);
    }
}

void SffSprites::touched()
{
    markModified();
}

int SffSprites::compare(unsigned int a, unsigned int b) const
{
    SffSprite const *first = m_items.at(int(a));
    SffSprite const *second = m_items.at(int(b));
    if (first->group() != second->group())
        return first->group() < second->group() ? -1 : 1;
    return first->number() < second->number() ? -1 : (first->number() > second->number() ? 1 : 0);
}

void SffSprites::remove(unsigned int index)
{
    if (index >= count())
        return;
    beginRemoveRows(QModelIndex(), int(index), int(index));
    delete m_items.takeAt(int(index));
    endRemoveRows();
    markModified();
}

Palettes *SffSprites::palettes() const
{
    return const_cast<SffPalettes *>(&m_palettes);
}

unsigned int SffSprites::count() const
{
    return (unsigned int)(m_items.size());
}

Sprite *SffSprites::at(unsigned int index) const
{
    return sprite(index);
}

Sprite *SffSprites::insert(unsigned int index, QVariant const &identifier, QImage const &image,
                           ShareMode share)
{
    SubItem item;
    if (!SubItem::parse(identifier.toString(), item) || item.first < 0 || item.first > 0xFFFF ||
        item.second < 0 || item.second > 0xFFFF || find(0, identifier) >= 0)
        return nullptr;
    auto *sprite = new SffSprite(this, quint16(item.first), quint16(item.second), nullptr, nullptr);
    int const row = int(qMin(index, count()));
    beginInsertRows(QModelIndex(), row, row);
    m_items.insert(row, sprite);
    endInsertRows();
    if (!image.isNull())
        sprite->setImage(image, false, Sprite::OwnPalette, nullptr, share);
    else
        sprite->m_image = imageFor(image, share);
    markModified();
    return sprite;
}

Sprite *SffSprites::add(QVariant const &identifier, QImage const &image, ShareMode share)
{
    return insert(count(), identifier, image, share);
}

int SffSprites::find(unsigned int from, QVariant const &identifier) const
{
    SubItem item;
    if (!SubItem::parse(identifier.toString(), item))
        return -1;
    for (int i = int(from); i < m_items.size(); ++i) {
        if (m_items.at(i)->group() == item.first && m_items.at(i)->number() == item.second)
            return i;
    }
    return -1;
}

void SffSprites::clear()
{
    beginResetModel();
    qDeleteAll(m_items);
    m_items.clear();
    endResetModel();
    markModified();
}

QAbstractItemModel *SffSprites::model()
{
    return this;
}

bool SffSprites::canSave() const
{
    return true;
}

bool SffSprites::isModified() const
{
    return m_modified;
}

bool SffSprites::isEmpty() const
{
    return m_items.isEmpty();
}

void SffSprites::reset()
{
    setContent(SffContent());
    m_modified = false;
}

bool SffSprites::fromFile(Archive &archive, QString const &name, unsigned int flags,
                          JobStats *stats)
{
    m_messages->clear();
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device) {
        error(name, QStringLiteral("the file cannot be opened"));
        return false;
    }
    QByteArray const bytes = device->readAll();
    archive.closeFile(device);
    SffReader reader;
    SffContent content;
    if (!reader.read(bytes, content)) {
        error(name, reader.errorString());
        return false;
    }
    // The palettes of a character's palette files are not the archive's:
    // they stay shown over the new content.
    QList<QPair<SffPaletteData, QString>> files;
    for (unsigned int i = 0; i < m_palettes.count(); ++i) {
        if (SffPalette const *palette = m_palettes.palette(i); !palette->file().isEmpty())
            files.append({palette->data(), palette->file()});
    }
    setContent(content);
    for (auto const &[data, file] : std::as_const(files))
        m_palettes.showFile(data.colors, file, unsigned(data.group) << 16 | data.number);
    m_modified = false;
    if (!(flags & Copy))
        m_fileName = name;
    ProjectFile::fromFile(archive, name, flags, stats);
    return true;
}

bool SffSprites::toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats)
{
    m_messages->clear();
    if (copiesUnchanged(*this, archive, name)) {
        // Written anew, an archive read in another layout would change for no edit.
        if (!archive.isWritable(name) || !copyFile(this->archive(), m_fileName, archive, name)) {
            error(name, QStringLiteral("the file cannot be written"));
            return false;
        }
        if (!(flags & Copy))
            m_fileName = name;
        ProjectFile::toFile(archive, name, flags, stats);
        return true;
    }
    SffWriter writer;
    // The whole archive is made before the file is touched.
    QByteArray const bytes = writer.write(content(), m_version);
    if (bytes.isEmpty()) {
        error(name, writer.errorString());
        return false;
    }
    for (QString const &warning : writer.warnings())
        m_messages->add(Message::Warning, baseName(name) + QStringLiteral(": ") + warning, 0, 0);
    QIODevice *device = archive.openFile(name, QIODevice::WriteOnly);
    if (!device) {
        error(name, QStringLiteral("the file cannot be opened for writing"));
        return false;
    }
    if (device->write(bytes) != bytes.size()) {
        archive.discardFile(device);
        error(name, QStringLiteral("the file cannot be written"));
        return false;
    }
    archive.closeFile(device);
    if (!(flags & Copy)) {
        m_fileName = name;
        if (m_modified) {
            m_modified = false;
            Q_EMIT changed(false);
        }
    }
    ProjectFile::toFile(archive, name, flags, stats);
    return true;
}

QString SffSprites::fileName() const
{
    return m_fileName;
}

QList<ProjectFile::SearchResult> SffSprites::search(RegExp const &, unsigned int) const
{
    return {};
}

void SffSprites::replace(QList<SearchResult> const &, QString const &) {}

char const *SffSprites::fileExtension() const
{
    return "SFF";
}

Messages *SffSprites::fileMessages() const
{
    return m_messages;
}

void SffSprites::error(QString const &name, QString const &text)
{
    m_messages->add(Message::Error, baseName(name) + QStringLiteral(": ") + text, 0, 0);
}

} // namespace Kenro::Ikemen
