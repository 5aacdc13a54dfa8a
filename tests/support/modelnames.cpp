#include "modelnames.h"

#include <kenro/project/messagelist.h>
#include <kenro/project/project.h>

namespace KenroTest {

QStringList listedFiles(Kenro::Project const &project)
{
    QList<Kenro::Project::FileEntry> entries;
    project.fileList(entries);
    QStringList out;
    for (Kenro::Project::FileEntry const &entry : entries)
        out.append(QStringLiteral("%1:%2").arg(entry.first).arg(entry.second.mid(1)));
    return out;
}

QList<ListedMessage> listedMessages(Kenro::Project const &project)
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

QStringList childNames(QAbstractItemModel const &model, QModelIndex const &parent)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(parent); ++row)
        names.append(model.index(row, 0, parent).data().toString());
    return names;
}

QModelIndex childIndex(QAbstractItemModel const &model, QModelIndex const &parent,
                       QString const &name)
{
    int const row = childNames(model, parent).indexOf(name);
    return row < 0 ? QModelIndex() : model.index(row, 0, parent);
}

QModelIndex indexAt(QAbstractItemModel const &model, QString const &path)
{
    QModelIndex index;
    for (QString const &name : path.split(QLatin1Char('/'), Qt::SkipEmptyParts))
        index = childIndex(model, index, name);
    return index;
}

} // namespace KenroTest
