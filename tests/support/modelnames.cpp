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
    for (int row = 0; row < model.rowCount(parent); ++row) {
        QModelIndex const index = model.index(row, 0, parent);
        if (index.data().toString() == name)
            return index;
    }
    return QModelIndex();
}

} // namespace KenroTest
