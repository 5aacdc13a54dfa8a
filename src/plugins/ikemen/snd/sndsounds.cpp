#include "sndsounds.h"

#include "sndreader.h"
#include "sndwriter.h"

#include <kenro/project/archive.h>
#include <kenro/project/messages.h>
#include <kenro/project/searchableprojectfile.h>
#include <kenro/project/subitem.h>

#include <QIODevice>

#include <limits>

namespace Kenro::Ikemen {

/**
 * The generic search and replace over item identifiers, run on the sounds of
 * the bank: Sounds is no SearchableProjectFile, so this small file lends it
 * the algorithm and passes change brackets back to the bank.
 */
class SndSounds::Search : public SearchableProjectFile
{
public:
    explicit Search(SndSounds *owner) : m_owner(owner) {}
    ~Search() override = default;

    unsigned int itemCount() const override { return m_owner->count(); }
    int currentItem() const override { return m_owner->currentIndex(); }
    PropertyItem *item(unsigned int index) const override { return m_owner->sound(index); }
    bool isEmpty() const override { return m_owner->isEmpty(); }
    void beginChange() override { m_owner->beginChange(); }
    void endChange() override { m_owner->endChange(); }

protected:
    Messages *fileMessages() const override { return nullptr; }

private:
    // Owned by the bank, never released.
    void free() override {}

    SndSounds *m_owner;
};

SndSounds::SndSounds()
    : m_messages(new SimpleMessages(this, this)), m_search(std::make_unique<Search>(this))
{}

SndSounds::~SndSounds()
{
    qDeleteAll(m_sounds);
}

void SndSounds::free()
{
    delete this;
}

bool SndSounds::fromFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats)
{
    m_messages->beginChange();
    m_messages->clear();
    QIODevice *device = archive.openFile(name, QIODevice::ReadOnly);
    if (!device)
        return failWith(QStringLiteral("The file cannot be opened."));
    // The one copy of the file's bytes: the sounds point into it.
    QByteArray const bytes = device->readAll();
    archive.closeFile(device);

    SndReader reader;
    if (!reader.read(bytes))
        return failWith(reader.errorString());
    for (QString const &warning : reader.warnings())
        m_messages->add(Message::Warning, warning, 0, 0);
    m_messages->endChange();

    setSounds(reader.takeBank());
    if (!(flags & Copy))
        m_fileName = name;
    // A copy read from elsewhere is not yet saved where this file lives.
    setModified(flags & Copy);
    ProjectFile::fromFile(archive, name, flags, stats);
    return true;
}

bool SndSounds::toFile(Archive &archive, QString const &name, unsigned int flags, JobStats *stats)
{
    m_messages->beginChange();
    m_messages->clear();
    QIODevice *device =
        archive.isWritable(name) ? archive.openFile(name, QIODevice::WriteOnly) : nullptr;
    if (!device)
        return failWith(QStringLiteral("The file cannot be written."));
    SndWriter writer;
    if (!writer.write(bank(), device)) {
        // The archive keeps its previous file.
        archive.discardFile(device);
        return failWith(writer.errorString());
    }
    archive.closeFile(device);
    m_messages->endChange();
    if (!(flags & Copy)) {
        m_fileName = name;
        setModified(false);
    }
    ProjectFile::toFile(archive, name, flags, stats);
    return true;
}

bool SndSounds::failWith(QString const &error)
{
    m_messages->add(Message::Error, error, 0, 0);
    m_messages->endChange();
    return false;
}

QString SndSounds::fileName() const
{
    return m_fileName;
}

bool SndSounds::canSave() const
{
    return true;
}

void SndSounds::reset()
{
    setSounds(SndBank());
}

void SndSounds::setSounds(SndBank const &bank)
{
    beginResetModel();
    qDeleteAll(m_sounds);
    m_sounds.clear();
    m_sounds.reserve(bank.members.size());
    for (SndMember const &member : bank.members)
        m_sounds.append(new SndSound(this, member));
    m_version = bank.version;
    m_reserved = bank.reserved;
    endResetModel();
}

SndBank SndSounds::bank() const
{
    SndBank bank;
    bank.version = m_version;
    bank.reserved = m_reserved;
    bank.members.reserve(m_sounds.size());
    for (SndSound const *sound : m_sounds)
        bank.members.append(sound->member());
    return bank;
}

SndSound *SndSounds::sound(unsigned int index) const
{
    return index < count() ? m_sounds.at(index) : nullptr;
}

int SndSounds::indexOf(Sound const *sound) const
{
    for (int i = 0; i < m_sounds.size(); ++i) {
        if (m_sounds.at(i) == sound)
            return i;
    }
    return -1;
}

int SndSounds::find(qint32 group, qint32 number) const
{
    for (int i = 0; i < m_sounds.size(); ++i) {
        if (m_sounds.at(i)->group() == group && m_sounds.at(i)->number() == number)
            return i;
    }
    return -1;
}

void SndSounds::soundChangedAt(unsigned int index)
{
    if (index < count())
        Q_EMIT dataChanged(this->index(int(index)), this->index(int(index)));
}

int SndSounds::rowCount(QModelIndex const &parent) const
{
    return Sounds::rowCount(parent);
}

QVariant SndSounds::data(QModelIndex const &index, int role) const
{
    return Sounds::data(index, role);
}

void SndSounds::move(unsigned int from, unsigned int to)
{
    if (from == to || from >= count() || to >= count())
        return;
    int const f = int(from);
    int const t = int(to);
    beginMoveRows(QModelIndex(), f, f, QModelIndex(), t > f ? t + 1 : t);
    m_sounds.move(f, t);
    endMoveRows();
}

int SndSounds::compare(unsigned int a, unsigned int b) const
{
    SndSound const *first = m_sounds.at(a);
    SndSound const *second = m_sounds.at(b);
    if (first->group() != second->group())
        return first->group() < second->group() ? -1 : 1;
    if (first->number() != second->number())
        return first->number() < second->number() ? -1 : 1;
    return 0;
}

void SndSounds::remove(unsigned int index)
{
    if (index >= count())
        return;
    beginRemoveRows(QModelIndex(), int(index), int(index));
    SndSound *const sound = m_sounds.takeAt(index);
    endRemoveRows();
    delete sound;
}

Sound *SndSounds::add(QVariant const &identifier)
{
    SubItem item;
    if (identifier.isValid()) {
        if (!SubItem::parse(identifier.toString(), item) || find(item.first, item.second) >= 0)
            return nullptr;
    } else {
        // Past the highest number of group 0, so that new sounds line up.
        qint64 number = 0;
        for (SndSound const *sound : m_sounds) {
            if (sound->group() == 0)
                number = qMax(number, qint64(sound->number()) + 1);
        }
        if (number > std::numeric_limits<qint32>::max())
            return nullptr; // group 0 is used up to its largest number
        item.second = int(number);
    }
    int const row = m_sounds.size();
    beginInsertRows(QModelIndex(), row, row);
    auto *sound = new SndSound(this, SndMember(item.first, item.second, QByteArray()));
    m_sounds.append(sound);
    endInsertRows();
    return sound;
}

Sound *SndSounds::soundAt(unsigned int index) const
{
    return sound(index);
}

unsigned int SndSounds::count() const
{
    return static_cast<unsigned int>(m_sounds.size());
}

QList<ProjectFile::SearchResult> SndSounds::search(RegExp const &regExp, unsigned int flags) const
{
    return m_search->search(regExp, flags);
}

void SndSounds::replace(QList<SearchResult> const &results, QString const &replacement)
{
    m_search->replace(results, replacement);
}

char const *SndSounds::fileExtension() const
{
    return "SND";
}

Messages *SndSounds::fileMessages() const
{
    return m_messages;
}

} // namespace Kenro::Ikemen
