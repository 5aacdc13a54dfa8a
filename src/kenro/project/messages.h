#pragma once

#include <kenro/kenro_export.h>

#include <QAbstractListModel>
#include <QList>
#include <QString>

namespace Kenro {

class MessageList;
class ProjectFile;

/// One diagnostic of a file: where it is and what it says.
struct KENRO_EXPORT Message
{
    enum Type {
        Error = 0,
        Warning = 1,
        Information = 2,
        /// Every type, in queries; also the type of the empty message.
        All = 3
    };

    Type type = All;
    unsigned int line = 0; ///< zero-based
    unsigned int column = 0;
    QString text;
};

/**
 * The diagnostics of one file as a list model. A file's Messages are
 * registered in the MessageList of its project, which merges them.
 */
class KENRO_EXPORT Messages : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit Messages(QObject *parent = nullptr);
    /// Takes itself out of its MessageList, which updates.
    ~Messages() override;

    /// The file that these messages are about.
    virtual ProjectFile *file() const = 0;
    /// How many messages of \a type there are; All counts every one.
    virtual unsigned int count(Message::Type type) const = 0;
    /**
     * The \a index-th message of \a type, or the empty message (type All,
     * line 0, column 0, no text) past the end.
     */
    virtual Message at(unsigned int index, Message::Type type) const = 0;

    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    /// The text, and in the first column the icon of the message's type.
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;

    /// Tells the MessageList that this object is registered in to update.
    void notifyUpdate();
    /// The list this object is registered in, or null.
    MessageList *messageList() const;

private:
    friend class MessageList;
    MessageList *m_list = nullptr;
};

/// Messages kept in a plain list, with counters by type.
class KENRO_EXPORT SimpleMessages : public Messages
{
    Q_OBJECT

public:
    explicit SimpleMessages(ProjectFile *const file, QObject *parent = nullptr);
    ~SimpleMessages() override;

    ProjectFile *file() const override;
    unsigned int count(Message::Type type) const override;
    Message at(unsigned int index, Message::Type type) const override;

    /**
     * Appends a message. A type outside error, warning and information is
     * kept as an error. The list updates unless a change is open.
     */
    void add(Message::Type type, QString const &text, unsigned int line, unsigned int column);
    /// Removes every message.
    void clear();
    /// Opens a change: the list updates once, at the last endChange().
    void beginChange();
    void endChange();

private:
    void changed();

    ProjectFile *const m_file;
    QList<Message *> m_messages;
    unsigned int m_counts[3] = {0, 0, 0};
    int m_changes = 0;
};

} // namespace Kenro
