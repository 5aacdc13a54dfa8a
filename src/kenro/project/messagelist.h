#pragma once

#include <kenro/project/messages.h>

#include <QAbstractTableModel>

namespace Kenro {

class Project;

/**
 * The diagnostics of all files of a project in one table: one row per
 * message that passes the filter, in three columns: text, file and line.
 */
class KENRO_EXPORT MessageList : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { TextColumn = 0, FileColumn = 1, LineColumn = 2 };

    explicit MessageList(Project *project, QObject *parent = nullptr);
    ~MessageList() override;

    Project *project() const;

    /// Adds \a messages to the sources and updates.
    void registerMessages(Messages *messages);
    /// Takes \a messages out of the sources and updates.
    void unregisterMessages(Messages *messages);
    QList<Messages *> sources() const;

    /// Recounts every source and announces all rows again.
    void update();
    /**
     * The message shown at \a row, with the Messages it comes from in
     * \a source; the empty message and a null source for a bad row.
     */
    Message messageAt(int row, Messages const *&source) const;

    unsigned int errorCount() const;
    unsigned int warningCount() const;
    unsigned int informationCount() const;

    /// Message::All shows every type; another type shows only that one.
    Message::Type filter() const;
    void setFilter(Message::Type type);

    int rowCount(QModelIndex const &parent = QModelIndex()) const override;
    int columnCount(QModelIndex const &parent = QModelIndex()) const override;
    QVariant data(QModelIndex const &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    /// The icon of a message type: the host's, or the built-in one without a host.
    static QIcon typeIcon(Message::Type type);

Q_SIGNALS:
    /// The totals or the rows changed.
    void updated();

private:
    Project *m_project;
    QList<Messages *> m_sources;
    unsigned int m_totals[3] = {0, 0, 0};
    int m_rows = 0;
    Message::Type m_filter = Message::All;
};

} // namespace Kenro
