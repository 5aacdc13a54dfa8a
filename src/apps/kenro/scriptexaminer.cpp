#include "scriptexaminer.h"

#include "inputfile.h"

#include <ikemen/script/scriptdocument.h>
#include <ikemen/script/scriptgroup.h>

#include <kenro/code/valuecode.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/pathhelpers.h>

namespace Kenro::Cli {

namespace {

QString kindLabel(Ikemen::ScriptGroup::Kind kind)
{
    using Ikemen::ScriptGroup;
    switch (kind) {
    case ScriptGroup::StateDef:
        return QStringLiteral("state definitions");
    case ScriptGroup::State:
        return QStringLiteral("state controllers");
    case ScriptGroup::Command:
        return QStringLiteral("commands");
    case ScriptGroup::Action:
        return QStringLiteral("actions");
    case ScriptGroup::List:
        return QStringLiteral("list sections");
    case ScriptGroup::Files:
        return QStringLiteral("file sections");
    case ScriptGroup::Plain:
        break;
    }
    return QString();
}

} // namespace

bool ScriptExaminer::handles(QByteArray const &suffix) const
{
    return suffix == "DEF" || suffix == "CNS" || suffix == "CMD" || suffix == "ST";
}

bool ScriptExaminer::examine(QString const &path, FileReport &report, QString &why) const
{
    if (looksBinary(path)) {
        why = QStringLiteral("not a text file");
        return false;
    }
    Ikemen::ScriptDocument document;
    if (!document.fromFile(FileSystemArchive::instance(), path, 0, nullptr)) {
        why = QStringLiteral("cannot be read");
        return false;
    }
    report.kind = QStringLiteral("%1 script").arg(QString::fromLatin1(fileExtension(path)));

    int values = 0;
    QMap<int, int> byKind;
    QStringList files;
    for (CodeNode *node : document.root()->childs()) {
        auto *group = dynamic_cast<Ikemen::ScriptGroup *>(node);
        if (!group)
            continue;
        int const entries = int(group->valueCount());
        values += entries;
        ++byKind[group->kind()];
        report.parts.append({group->name(), unsigned(group->lineNo() + 1), entries});
        if (group->kind() == Ikemen::ScriptGroup::Files) {
            for (ValueCode const *value : group->values())
                files.append(QStringLiteral("%1 = %2").arg(value->name(), value->valueText()));
        }
    }
    report.facts.append({QStringLiteral("sections"), int(report.parts.size())});
    report.facts.append({QStringLiteral("values"), values});
    for (auto kind = byKind.constBegin(); kind != byKind.constEnd(); ++kind) {
        QString const label = kindLabel(Ikemen::ScriptGroup::Kind(kind.key()));
        if (!label.isEmpty())
            report.facts.append({label, kind.value()});
    }
    if (!files.isEmpty())
        report.facts.append({QStringLiteral("files"), files});

    addMessages(document.messages(), report);
    return true;
}

} // namespace Kenro::Cli
