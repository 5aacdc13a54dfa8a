#pragma once

#include <kenro/project/messagelist.h>
#include <kenro/project/project.h>

#include <QAbstractItemModel>

namespace KenroTest {

/// A message of a project's list and its file (null: the project's own).
struct ListedMessage
{
    Kenro::ProjectFile const *file;
    Kenro::Message message;
};

// listedFiles(): a project's file list as "type:name", without the leading "/".
// listedMessages(): every message of a project and of its files, in the list's order.
// childNames(), childIndex(): the texts of the rows below a parent, and the first
// row that shows a name. indexAt(): the row reached through the names of a path
// ("chars/kfm"); rowNames(): the names below it, joined.
inline QStringList listedFiles(Kenro::Project const &project)
{
    QList<Kenro::Project::FileEntry> entries;
    project.fileList(entries);
    QStringList out;
    for (Kenro::Project::FileEntry const &entry : entries)
        out.append(QStringLiteral("%1:%2").arg(entry.first).arg(entry.second.mid(1)));
    return out;
}

inline QList<ListedMessage> listedMessages(Kenro::Project const &project)
{
    QList<ListedMessage> out;
    Kenro::MessageList *list = project.messages();
    list->setFilter(Kenro::Message::All);
    for (int row = 0; row < list->rowCount(); ++row) {
        Kenro::Messages const *source = nullptr;
        Kenro::Message const message = list->messageAt(row, source);
        out.append({source ? source->file() : nullptr, message});
    }
    return out;
}

inline QStringList childNames(QAbstractItemModel const &model, QModelIndex const &parent)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row)
        names.append(model.index(row, 0, parent).data().toString());
    return names;
}

inline QModelIndex childIndex(QAbstractItemModel const &model, QModelIndex const &parent,
                              QString const &name)
{
    int const row = childNames(model, parent).indexOf(name);
    return row < 0 ? QModelIndex() : model.index(row, 0, parent);
}

inline QModelIndex indexAt(QAbstractItemModel const &model, QString const &path)
{
    QModelIndex index;
    for (QString const &name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        index = childIndex(model, index, name);
    return index;
}

inline QString rowNames(QAbstractItemModel const &model, QString const &path)
{
    return childNames(model, indexAt(model, path)).join(u' ');
}

} // namespace KenroTest
