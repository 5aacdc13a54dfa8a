#include <kenro/project/messagelist.h>

#include <kenro/editors/interface/interface.h>
#include <kenro/project/projectfile.h>

#include <QFileInfo>
#include <QIcon>

namespace Kenro {

MessageList::MessageList(Project *project, QObject *parent)
    : QAbstractTableModel(parent), m_project(project)
{}

MessageList::~MessageList()
{
    for (Messages *source : std::as_const(m_sources))
        source->m_list = nullptr;
}

Project *MessageList::project() const
{
    return m_project;
}

void MessageList::registerMessages(Messages *messages)
{
    if (!messages || m_sources.contains(messages))
        return;
    if (messages->m_list && messages->m_list != this)
        messages->m_list->unregisterMessages(messages);
    messages->m_list = this;
    m_sources.append(messages);
    update();
}

void MessageList::unregisterMessages(Messages *messages)
{
    if (!m_sources.removeOne(messages))
        return;
    messages->m_list = nullptr;
    update();
}

QList<Messages *> MessageList::sources() const
{
    return m_sources;
}

void MessageList::update()
{
    if (m_rows > 0) {
        beginRemoveRows(QModelIndex(), 0, m_rows - 1);
        m_rows = 0;
        endRemoveRows();
    }
    m_totals[0] = m_totals[1] = m_totals[2] = 0;
    for (Messages const *source : std::as_const(m_sources)) {
        for (int type = Message::Error; type <= Message::Information; ++type)
            m_totals[type] += source->count(static_cast<Message::Type>(type));
    }
    int const rows = static_cast<int>(
        m_filter == Message::All ? m_totals[0] + m_totals[1] + m_totals[2] : m_totals[m_filter]);
    if (rows > 0) {
        beginInsertRows(QModelIndex(), 0, rows - 1);
        m_rows = rows;
        endInsertRows();
    }
    Q_EMIT updated();
}

Message MessageList::messageAt(int row, Messages const *&source) const
{
    source = nullptr;
    if (row < 0 || row >= m_rows)
        return Message();
    unsigned int remaining = static_cast<unsigned int>(row);
    for (Messages const *messages : m_sources) {
        unsigned int const count = messages->count(m_filter);
        if (remaining < count) {
            source = messages;
            return messages->at(remaining, m_filter);
        }
        remaining -= count;
    }
    return Message();
}

unsigned int MessageList::errorCount() const
{
    return m_totals[Message::Error];
}

unsigned int MessageList::warningCount() const
{
    return m_totals[Message::Warning];
}

unsigned int MessageList::informationCount() const
{
    return m_totals[Message::Information];
}

Message::Type MessageList::filter() const
{
    return m_filter;
}

void MessageList::setFilter(Message::Type type)
{
    if (type < Message::Error || type > Message::All || type == m_filter)
        return;
    m_filter = type;
    update();
}

int MessageList::rowCount(QModelIndex const &parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

int MessageList::columnCount(QModelIndex const &parent) const
{
    return parent.isValid() ? 0 : 3;
}

QVariant MessageList::data(QModelIndex const &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows || index.column() > LineColumn)
        return QVariant();
    Messages const *source = nullptr;
    Message const message = messageAt(index.row(), source);
    if (role == Qt::DecorationRole)
        return index.column() == TextColumn ? typeIcon(message.type) : QIcon();
    if (role != Qt::DisplayRole)
        return QVariant();
    switch (index.column()) {
    case TextColumn:
        return message.text;
    case FileColumn: {
        ProjectFile const *file = source ? source->file() : nullptr;
        return file ? QFileInfo(file->fileName()).fileName() : QString();
    }
    default:
        return message.line + 1;
    }
}

QVariant MessageList::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case TextColumn:
        return tr("Description");
    case FileColumn:
        return tr("File");
    case LineColumn:
        return tr("Line");
    default:
        return QVariant();
    }
}

QIcon MessageList::typeIcon(Message::Type type)
{
    Interface *host = Interface::instance();
    switch (type) {
    case Message::Warning:
        return host ? host->icon(QStringLiteral("warning"))
                    : QIcon(QStringLiteral(":/kenro_icons/icons/warn.png"));
    case Message::Information:
        return host ? host->icon(QStringLiteral("information"))
                    : QIcon(QStringLiteral(":/kenro_icons/icons/info.png"));
    default:
        return host ? host->icon(QStringLiteral("error"))
                    : QIcon(QStringLiteral(":/kenro_icons/icons/error.png"));
    }
}

} // namespace Kenro
