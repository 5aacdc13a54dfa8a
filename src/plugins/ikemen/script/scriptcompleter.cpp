#include "scriptkeywords.h"

#include <QStringList>
#include <QXmlStreamWriter>

namespace Kenro::Ikemen {

namespace {

char const *const sections[] = {
    "Arcade",     "Begin Action", "BG",       "BGdef",    "Bound",          "Camera",
    "Characters", "Command",      "Data",     "Defaults", "ExtraStages",    "Files",
    "Info",       "Movement",     "Music",    "Options",  "Palette Keymap", "PlayerInfo",
    "Quotes",     "Reflection",   "Remap",    "Shadow",   "Size",           "StageInfo",
    "State",      "Statedef",     "Velocity",
};

// The parameters of a character's [Data], [Size], [Velocity] and
// [Movement] sections, as Const() reads them.
char const *const constants[] = {
    "data.life",
    "data.power",
    "data.attack",
    "data.defence",
    "data.fall.defence_mul",
    "data.liedown.time",
    "data.airjuggle",
    "data.sparkno",
    "data.guard.sparkno",
    "data.ko.echo",
    "data.intpersistindex",
    "data.floatpersistindex",
    "size.xscale",
    "size.yscale",
    "size.ground.back",
    "size.ground.front",
    "size.air.back",
    "size.air.front",
    "size.height",
    "size.attack.dist",
    "size.proj.attack.dist",
    "size.proj.doscale",
    "size.head.pos.x",
    "size.head.pos.y",
    "size.mid.pos.x",
    "size.mid.pos.y",
    "size.shadowoffset",
    "size.draw.offset.x",
    "size.draw.offset.y",
    "velocity.walk.fwd.x",
    "velocity.walk.back.x",
    "velocity.run.fwd.x",
    "velocity.run.fwd.y",
    "velocity.run.back.x",
    "velocity.run.back.y",
    "velocity.jump.y",
    "velocity.jump.neu.x",
    "velocity.jump.back.x",
    "velocity.jump.fwd.x",
    "velocity.runjump.back.x",
    "velocity.runjump.fwd.x",
    "velocity.airjump.y",
    "velocity.airjump.neu.x",
    "velocity.airjump.back.x",
    "velocity.airjump.fwd.x",
    "velocity.air.gethit.groundrecover.x",
    "velocity.air.gethit.groundrecover.y",
    "velocity.air.gethit.airrecover.mul.x",
    "velocity.air.gethit.airrecover.mul.y",
    "velocity.air.gethit.airrecover.add.x",
    "velocity.air.gethit.airrecover.add.y",
    "velocity.air.gethit.airrecover.back",
    "velocity.air.gethit.airrecover.fwd",
    "velocity.air.gethit.airrecover.up",
    "velocity.air.gethit.airrecover.down",
    "movement.airjump.num",
    "movement.airjump.height",
    "movement.yaccel",
    "movement.stand.friction",
    "movement.crouch.friction",
    "movement.stand.friction.threshold",
    "movement.crouch.friction.threshold",
    "movement.jump.changeanim.threshold",
    "movement.air.gethit.groundlevel",
    "movement.air.gethit.groundrecover.ground.threshold",
    "movement.air.gethit.groundrecover.groundlevel",
    "movement.air.gethit.airrecover.threshold",
    "movement.air.gethit.airrecover.yaccel",
    "movement.air.gethit.trip.groundlevel",
    "movement.down.bounce.offset.x",
    "movement.down.bounce.offset.y",
    "movement.down.bounce.yaccel",
    "movement.down.bounce.groundlevel",
    "movement.down.friction.threshold",
};

char const *const hitVars[] = {
    "xveladd",
    "yveladd",
    "type",
    "animtype",
    "airtype",
    "groundtype",
    "damage",
    "hitcount",
    "fallcount",
    "hitshaketime",
    "hittime",
    "slidetime",
    "ctrltime",
    "recovertime",
    "xoff",
    "yoff",
    "zoff",
    "xvel",
    "yvel",
    "yaccel",
    "hitid",
    "chainid",
    "guarded",
    "isbound",
    "fall",
    "fall.damage",
    "fall.xvel",
    "fall.yvel",
    "fall.recover",
    "fall.time",
    "fall.recovertime",
    "fall.kill",
    "fall.envshake.time",
    "fall.envshake.freq",
    "fall.envshake.ampl",
    "fall.envshake.phase",
};

template<std::size_t N>
QStringList words(char const *const (&list)[N])
{
    QStringList out;
    for (char const *word : list)
        out << QString::fromLatin1(word);
    return out;
}

void writeModel(QXmlStreamWriter &xml, QString const &prefix, QStringList const &list)
{
    xml.writeStartElement(QStringLiteral("model"));
    xml.writeAttribute(QStringLiteral("prefix"), prefix);
    for (QString const &word : list) {
        xml.writeEmptyElement(QStringLiteral("word"));
        xml.writeAttribute(QStringLiteral("value"), word);
    }
    xml.writeEndElement();
}

} // namespace

QByteArray ScriptKeywords::completerXml()
{
    QStringList controllerNames, triggerNames;
    for (int i = 0; i < controllerCount(); ++i)
        controllerNames << controllerName(static_cast<unsigned int>(i));
    for (int i = 0; i < triggerCount(); ++i)
        triggerNames << triggerName(static_cast<unsigned int>(i));

    QByteArray out;
    QXmlStreamWriter xml(&out);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("completer"));
    writeModel(xml, QStringLiteral("["), words(sections));
    writeModel(xml, QStringLiteral("type="), controllerNames);
    writeModel(xml, QStringLiteral("triggerall="), triggerNames);
    for (int i = 1; i <= 9; ++i)
        writeModel(xml, QStringLiteral("trigger%1=").arg(i), triggerNames);
    writeModel(xml, QStringLiteral("const("), words(constants));
    writeModel(xml, QStringLiteral("gethitvar("), words(hitVars));
    writeModel(xml, QStringLiteral("statetype="),
               QStringLiteral("S C A L").split(QLatin1Char(' ')));
    writeModel(xml, QStringLiteral("movetype="), QStringLiteral("I A H").split(QLatin1Char(' ')));
    writeModel(xml, QStringLiteral("physics="), QStringLiteral("S C A N").split(QLatin1Char(' ')));
    xml.writeEndElement();
    xml.writeEndDocument();
    return out;
}

} // namespace Kenro::Ikemen
