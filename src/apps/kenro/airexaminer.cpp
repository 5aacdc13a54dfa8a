#include "airexaminer.h"

#include "inputfile.h"

#include <ikemen/air/airdocument.h>

#include <kenro/code/animationcode.h>
#include <kenro/code/contactboxcode.h>
#include <kenro/code/framecode.h>
#include <kenro/project/filesystemarchive.h>

namespace Kenro::Cli {

namespace {

unsigned int boxCount(ContactBoxesCode const *boxes)
{
    return boxes ? boxes->count() : 0;
}

} // namespace

bool AirExaminer::handles(QByteArray const &suffix) const
{
    return suffix == "AIR";
}

bool AirExaminer::examine(QString const &path, FileReport &report, QString &why) const
{
    if (looksBinary(path)) {
        why = QStringLiteral("not a text file");
        return false;
    }
    Ikemen::AirDocument document;
    if (!document.fromFile(FileSystemArchive::instance(), path, 0, nullptr)) {
        why = QStringLiteral("cannot be read");
        return false;
    }
    report.kind = QStringLiteral("AIR animations");
    int frames = 0;
    int attacking = 0;
    int hittable = 0;
    for (CodeNode *node : document.root()->childs()) {
        auto *action = dynamic_cast<AnimationCode *>(node);
        if (!action)
            continue;
        frames += int(action->frameCount());
        for (FrameCode const *frame : action->frames()) {
            attacking += boxCount(frame->attackBoxes()) ? 1 : 0;
            hittable += boxCount(frame->collisionBoxes()) ? 1 : 0;
        }
        report.parts.append({QStringLiteral("Begin Action %1").arg(action->name()),
                             unsigned(action->lineNo() + 1), int(action->frameCount()),
                             QStringLiteral("frame")});
    }
    report.facts = {{QStringLiteral("actions"), int(report.parts.size())},
                    {QStringLiteral("frames"), frames},
                    {QStringLiteral("frames with attack boxes"), attacking},
                    {QStringLiteral("frames with collision boxes"), hittable}};
    addMessages(document.messages(), report);
    return true;
}

} // namespace Kenro::Cli
