#include <kenro/project/messagelist.h>
#include <kenro/project/messages.h>

#include <QIcon>

namespace Kenro {

Messages::Messages(QObject *parent) : QAbstractListModel(parent) {}

Messages::~Messages()
{
    if (m_list)
        m_list->unregisterMessages(this);
}

int Messages::rowCount(QModelIndex const &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(count(Message::All));
}

QVariant Messages::data(QModelIndex const &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() != 0)
        return QVariant();
    Message const message = at(index.row(), Message::All);
    switch (role) {
    case Qt::DisplayRole:
        return message.text;
    case Qt::DecorationRole:
        return MessageList::typeIcon(message.type);
    default:
        return QVariant();
    }
}

void Messages::notifyUpdate()
{
    if (m_list)
        m_list->update();
}

MessageList *Messages::messageList() const
{
    return m_list;
}

SimpleMessages::SimpleMessages(ProjectFile *const file, QObject *parent)
    : Messages(parent), m_file(file)
{}

SimpleMessages::~SimpleMessages()
{
    qDeleteAll(m_messages);
}

ProjectFile *SimpleMessages::file() const
{
    return m_file;
}

unsigned int SimpleMessages::count(Message::Type type) const
{
    if (type == Message::All)
        return static_cast<unsigned int>(m_messages.size());
    return type >= 0 && type < Message::All ? m_counts[type] : 0;
}

Message SimpleMessages::at(unsigned int index, Message::Type type) const
{
    if (type == Message::All)
        return index < static_cast<unsigned int>(m_messages.size()) ? *m_messages.at(index)
                                                                    : Message();
    for (Message const *message : m_messages) {
        if (message->type == type && index-- == 0)
            return *message;
    }
    return Message();
}

void SimpleMessages::add(Message::Type type, QString const &text, unsigned int line,
                         unsigned int column)
{
    if (type < Message::Error || type > Message::Information)
        type = Message::Error;
    int const row = m_messages.size();
    beginInsertRows(QModelIndex(), row, row);
    m_messages.append(new Message{type, line, column, text});
    ++m_counts[type];
    endInsertRows();
    changed();
}

void SimpleMessages::clear()
{
    beginResetModel();
    qDeleteAll(m_messages);
    m_messages.clear();
    m_counts[0] = m_counts[1] = m_counts[2] = 0;
    endResetModel();
    changed();
}

void SimpleMessages::beginChange()
{
    ++m_changes;
}

void SimpleMessages::endChange()
{
    if (m_changes > 0 && --m_changes == 0)
        notifyUpdate();
}

void SimpleMessages::changed()
{
    if (m_changes == 0)
        notifyUpdate();
}

} // namespace Kenro
