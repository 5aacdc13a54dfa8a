#include <kenro/sound/sounds.h>

#include <QSet>

#include <limits>
#include <utility>

namespace Kenro {

Sounds::Sounds(QObject *parent) : OrganizableObject(parent)
{
    // The subclass tells views of every change; the same signals tell this
    // class what to report when a bracket closes, so that no subclass has
    // to report twice.
    connect(this, &QAbstractItemModel::dataChanged, this,
            [this](QModelIndex const &topLeft, QModelIndex const &bottomRight) {
                noteSoundsChanged(topLeft.row(), bottomRight.row());
            });
    connect(this, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](QModelIndex const &parent, int first, int last) {
                if (!parent.isValid())
                    noteSoundsLeaving(first, last);
            });
    connect(this, &QAbstractItemModel::rowsRemoved, this, &Sounds::noteListChanged);
    connect(this, &QAbstractItemModel::rowsInserted, this, &Sounds::noteListChanged);
    connect(this, &QAbstractItemModel::rowsMoved, this, &Sounds::noteEdit);
    connect(this, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
        m_changedSounds.clear();
        ++m_removals;
    });
    connect(this, &QAbstractItemModel::modelReset, this, &Sounds::noteListChanged);
    connect(this, &QAbstractItemModel::layoutChanged, this, &Sounds::noteEdit);
}

Sounds::~Sounds() = default;

void Sounds::beginChange()
{
    ++m_depth;
}

void Sounds::endChange()
{
    if (m_depth == 0)
        return;
    if (--m_depth == 0)
        settle();
}

int Sounds::changeDepth() const
{
    return m_depth;
}

int Sounds::currentIndex() const
{
    unsigned int const current = selected();
    return current < count() ? static_cast<int>(current) : -1;
}

int Sounds::find(unsigned int from, QVariant const &identifier) const
{
    QString const key = QStringLiteral("Identifier");
    unsigned int const total = count();
    for (unsigned int i = from; i < total; ++i) {
        Sound const *sound = soundAt(i);
        if (sound && sound->property(key) == identifier)
            return static_cast<int>(i);
    }
    return -1;
}

int Sounds::rowCount(QModelIndex const &parent) const
{
    if (parent.isValid())
        return 0;
    return static_cast<int>(
        qMin(count(), static_cast<unsigned int>(std::numeric_limits<int>::max())));
}

QVariant Sounds::data(QModelIndex const &index, int role) const
{
    using Check = QAbstractItemModel::CheckIndexOption;
    if ((role != Qt::DisplayRole && role != Qt::EditRole) ||
        !checkIndex(index, Check::IndexIsValid | Check::ParentIsInvalid))
        return QVariant();
    Sound const *sound = soundAt(static_cast<unsigned int>(index.row()));
    return sound ? QVariant(sound->name()) : QVariant();
}

QAbstractItemModel *Sounds::model()
{
    return this;
}

bool Sounds::isEmpty() const
{
    return count() == 0;
}

bool Sounds::isModified() const
{
    return m_modified;
}

void Sounds::setModified(bool modified)
{
    if (m_modified == modified)
        return;
    m_modified = modified;
    Q_EMIT changed(modified);
}

void Sounds::noteSoundsChanged(int first, int last)
{
    for (int row = qMax(first, 0); row <= last && row < rowCount(); ++row) {
        if (Sound *sound = soundAt(static_cast<unsigned int>(row)))
            m_changedSounds.insert(sound);
    }
    noteEdit();
}

void Sounds::noteSoundsLeaving(int first, int last)
{
    // Rows about to go still hold their sounds: forget those now, since once
    // freed their addresses may come back for new sounds before the report.
    for (int row = qMax(first, 0); row <= last && row < rowCount(); ++row)
        m_changedSounds.remove(soundAt(static_cast<unsigned int>(row)));
    ++m_removals;
}

void Sounds::noteListChanged()
{
    m_listChanged = true;
    noteEdit();
}

void Sounds::noteEdit()
{
    if (m_depth == 0)
        settle();
}

void Sounds::settle()
{
    bool const listChanged = std::exchange(m_listChanged, false);
    QSet<Sound *> pending = std::exchange(m_changedSounds, {});
    setModified(true);
    Q_EMIT modified();
    if (listChanged)
        Q_EMIT soundCountChanged();
    // Changed sounds are named in row order, each once. A listener may
    // remove sounds while hearing of others: after a removal the rows are
    // walked again from the top, so that only sounds still present are named.
    quint64 removals = m_removals;
    unsigned int row = 0;
    while (!pending.isEmpty() && row < count()) {
        Sound *sound = soundAt(row++);
        if (!pending.remove(sound))
            continue;
        Q_EMIT soundChanged(sound);
        if (m_removals != removals) {
            removals = m_removals;
            row = 0;
        }
    }
}

} // namespace Kenro
