#include "newdefinition.h"

#include "definitionproject.h"

#include <QDate>
#include <QStringList>

namespace Kenro::Ikemen {

namespace {

// The [Info] section of both kinds.
QStringList info(QString const &name)
{
    return {QStringLiteral("[Info]"),
            QStringLiteral("name = \"%1\"").arg(name),
            QStringLiteral("displayname = \"%1\"").arg(name),
            QStringLiteral("versiondate = %1")
                .arg(QDate::currentDate().toString(QStringLiteral("MM,dd,yyyy"))),
            QStringLiteral("mugenversion = 1.0"),
            QStringLiteral("author = \"\"")};
}

QStringList character(QString const &name)
{
    QStringList lines{QStringLiteral("; The definition of the character %1").arg(name), QString()};
    lines += info(name);
    lines += QStringList{QStringLiteral("pal.defaults = 1"),
                         QStringLiteral("localcoord = 320,240"),
                         QString(),
                         QStringLiteral("; The files of the character, beside this one"),
                         QStringLiteral("[Files]"),
                         QStringLiteral("cmd ="),
                         QStringLiteral("cns ="),
                         QStringLiteral("st ="),
                         QStringLiteral("stcommon ="),
                         QStringLiteral("sprite ="),
                         QStringLiteral("anim ="),
                         QStringLiteral("sound ="),
                         QStringLiteral("pal1 ="),
                         QString(),
                         QStringLiteral("[Arcade]"),
                         QStringLiteral("intro.storyboard ="),
                         QStringLiteral("ending.storyboard =")};
    return lines;
}

QStringList stage(QString const &name)
{
    QStringList lines{QStringLiteral("; The definition of the stage %1").arg(name), QString()};
    lines += info(name);
    lines += QStringList{QString(),
                         QStringLiteral("[Camera]"),
                         QStringLiteral("startx = 0"),
                         QStringLiteral("starty = 0"),
                         QStringLiteral("boundleft = -150"),
                         QStringLiteral("boundright = 150"),
                         QStringLiteral("boundhigh = -25"),
                         QStringLiteral("boundlow = 0"),
                         QStringLiteral("verticalfollow = .2"),
                         QStringLiteral("floortension = 0"),
                         QStringLiteral("tension = 50"),
                         QString(),
                         QStringLiteral("[PlayerInfo]"),
                         QStringLiteral("p1startx = -70"),
                         QStringLiteral("p1starty = 0"),
                         QStringLiteral("p1facing = 1"),
                         QStringLiteral("p2startx = 70"),
                         QStringLiteral("p2starty = 0"),
                         QStringLiteral("p2facing = -1"),
                         QStringLiteral("leftbound = -1000"),
                         QStringLiteral("rightbound = 1000"),
                         QString(),
                         QStringLiteral("[Bound]"),
                         QStringLiteral("screenleft = 15"),
                         QStringLiteral("screenright = 15"),
                         QString(),
                         QStringLiteral("[StageInfo]"),
                         QStringLiteral("zoffset = 190"),
                         QStringLiteral("autoturn = 1"),
                         QStringLiteral("resetBG = 1"),
                         QStringLiteral("localcoord = 320, 240"),
                         QStringLiteral("xscale = 1"),
                         QStringLiteral("yscale = 1"),
                         QString(),
                         QStringLiteral("[Shadow]"),
                         QStringLiteral("intensity = 96"),
                         QStringLiteral("color = 0,0,0"),
                         QStringLiteral("yscale = .4"),
                         QString(),
                         QStringLiteral("[Music]"),
                         QStringLiteral("bgmusic ="),
                         QStringLiteral("bgmvolume = 100"),
                         QString(),
                         QStringLiteral("; The sprites of the background, and its elements below"),
                         QStringLiteral("[BGdef]"),
                         QStringLiteral("spr ="),
                         QStringLiteral("debugbg = 0")};
    return lines;
}

} // namespace

QByteArray newDefinition(int projectType, QString const &name)
{
    // A name is written between quotes, on one line.
    QString clean;
    for (QChar const c : name) {
        if (c != QLatin1Char('"') && c.isPrint())
            clean += c;
    }
    QStringList lines;
    if (projectType == DefinitionProject::Character)
        lines = character(clean);
    else if (projectType == DefinitionProject::Stage)
        lines = stage(clean);
    else
        return QByteArray();
    return (lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n")).toUtf8();
}

} // namespace Kenro::Ikemen
