#include "scriptkeywords.h"

#include <algorithm>
#include <array>

namespace Kenro::Ikemen {

namespace {

// Kept in alphabetical order (ignoring case): the lookups search them by
// halves, so a line costs no allocation.
constexpr std::array controllers = {
    QLatin1String("AfterImage"),
    QLatin1String("AfterImageTime"),
    QLatin1String("AllPalFX"),
    QLatin1String("AngleAdd"),
    QLatin1String("AngleDraw"),
    QLatin1String("AngleMul"),
    QLatin1String("AngleSet"),
    QLatin1String("AppendToClipboard"),
    QLatin1String("AssertSpecial"),
    QLatin1String("AttackDist"),
    QLatin1String("AttackMulSet"),
    QLatin1String("BGPalFX"),
    QLatin1String("BindToParent"),
    QLatin1String("BindToRoot"),
    QLatin1String("BindToTarget"),
    QLatin1String("ChangeAnim"),
    QLatin1String("ChangeAnim2"),
    QLatin1String("ChangeState"),
    QLatin1String("ClearClipboard"),
    QLatin1String("CtrlSet"),
    QLatin1String("DefenceMulSet"),
    QLatin1String("DestroySelf"),
    QLatin1String("DisplayToClipboard"),
    QLatin1String("EnvColor"),
    QLatin1String("EnvShake"),
    QLatin1String("Explod"),
    QLatin1String("ExplodBindTime"),
    QLatin1String("FallEnvShake"),
    QLatin1String("ForceFeedback"),
    QLatin1String("GameMakeAnim"),
    QLatin1String("Gravity"),
    QLatin1String("Helper"),
    QLatin1String("HitAdd"),
    QLatin1String("HitBy"),
    QLatin1String("HitDef"),
    QLatin1String("HitFallDamage"),
    QLatin1String("HitFallSet"),
    QLatin1String("HitFallVel"),
    QLatin1String("HitOverride"),
    QLatin1String("HitVelSet"),
    QLatin1String("LifeAdd"),
    QLatin1String("LifeSet"),
    QLatin1String("MakeDust"),
    QLatin1String("ModifyExplod"),
    QLatin1String("MoveHitReset"),
    QLatin1String("NotHitBy"),
    QLatin1String("Null"),
    QLatin1String("Offset"),
    QLatin1String("PalFX"),
    QLatin1String("ParentVarAdd"),
    QLatin1String("ParentVarSet"),
    QLatin1String("Pause"),
    QLatin1String("PlayerPush"),
    QLatin1String("PlaySnd"),
    QLatin1String("PosAdd"),
    QLatin1String("PosFreeze"),
    QLatin1String("PosSet"),
    QLatin1String("PowerAdd"),
    QLatin1String("PowerSet"),
    QLatin1String("Projectile"),
    QLatin1String("RemapPal"),
    QLatin1String("RemoveExplod"),
    QLatin1String("ReversalDef"),
    QLatin1String("ScreenBound"),
    QLatin1String("SelfState"),
    QLatin1String("SndPan"),
    QLatin1String("SprPriority"),
    QLatin1String("StateTypeSet"),
    QLatin1String("StopSnd"),
    QLatin1String("SuperPause"),
    QLatin1String("TargetBind"),
    QLatin1String("TargetDrop"),
    QLatin1String("TargetFacing"),
    QLatin1String("TargetLifeAdd"),
    QLatin1String("TargetPowerAdd"),
    QLatin1String("TargetState"),
    QLatin1String("TargetVelAdd"),
    QLatin1String("TargetVelSet"),
    QLatin1String("Trans"),
    QLatin1String("Turn"),
    QLatin1String("VarAdd"),
    QLatin1String("VarRandom"),
    QLatin1String("VarRangeSet"),
    QLatin1String("VarSet"),
    QLatin1String("VelAdd"),
    QLatin1String("VelMul"),
    QLatin1String("VelSet"),
    QLatin1String("VictoryQuote"),
    QLatin1String("Width"),
};

// Trigger functions, and the redirections (parent, root, helper, ...) that
// are highlighted like them.
constexpr std::array triggers = {
    QLatin1String("Abs"),
    QLatin1String("Acos"),
    QLatin1String("AILevel"),
    QLatin1String("Alive"),
    QLatin1String("Anim"),
    QLatin1String("AnimElem"),
    QLatin1String("AnimElemNo"),
    QLatin1String("AnimElemTime"),
    QLatin1String("AnimExist"),
    QLatin1String("AnimTime"),
    QLatin1String("Asin"),
    QLatin1String("Atan"),
    QLatin1String("AuthorName"),
    QLatin1String("BackEdge"),
    QLatin1String("BackEdgeBodyDist"),
    QLatin1String("BackEdgeDist"),
    QLatin1String("BottomEdge"),
    QLatin1String("CameraPos"),
    QLatin1String("CameraZoom"),
    QLatin1String("CanRecover"),
    QLatin1String("Ceil"),
    QLatin1String("Command"),
    QLatin1String("Cond"),
    QLatin1String("Const"),
    QLatin1String("Const240p"),
    QLatin1String("Const480p"),
    QLatin1String("Const720p"),
    QLatin1String("Cos"),
    QLatin1String("Ctrl"),
    QLatin1String("DrawGame"),
    QLatin1String("E"),
    QLatin1String("Enemy"),
    QLatin1String("EnemyNear"),
    QLatin1String("Exp"),
    QLatin1String("Facing"),
    QLatin1String("Floor"),
    QLatin1String("FrontEdge"),
    QLatin1String("FrontEdgeBodyDist"),
    QLatin1String("FrontEdgeDist"),
    QLatin1String("FVar"),
    QLatin1String("GameHeight"),
    QLatin1String("GameTime"),
    QLatin1String("GameWidth"),
    QLatin1String("GetHitVar"),
    QLatin1String("Helper"),
    QLatin1String("HitCount"),
    QLatin1String("HitDefAttr"),
    QLatin1String("HitFall"),
    QLatin1String("HitOver"),
    QLatin1String("HitPauseTime"),
    QLatin1String("HitShakeOver"),
    QLatin1String("HitVel"),
    QLatin1String("ID"),
    QLatin1String("IfElse"),
    QLatin1String("InGuardDist"),
    QLatin1String("IsHelper"),
    QLatin1String("IsHomeTeam"),
    QLatin1String("LeftEdge"),
    QLatin1String("Life"),
    QLatin1String("LifeMax"),
    QLatin1String("Ln"),
    QLatin1String("Log"),
    QLatin1String("Lose"),
    QLatin1String("LoseKO"),
    QLatin1String("LoseTime"),
    QLatin1String("MatchNo"),
    QLatin1String("MatchOver"),
    QLatin1String("MoveContact"),
    QLatin1String("MoveGuarded"),
    QLatin1String("MoveHit"),
    QLatin1String("MoveReversed"),
    QLatin1String("MoveType"),
    QLatin1String("Name"),
    QLatin1String("NumEnemy"),
    QLatin1String("NumExplod"),
    QLatin1String("NumHelper"),
    QLatin1String("NumPartner"),
    QLatin1String("NumProj"),
    QLatin1String("NumProjID"),
    QLatin1String("NumTarget"),
    QLatin1String("P1Name"),
    QLatin1String("P2BodyDist"),
    QLatin1String("P2Dist"),
    QLatin1String("P2Life"),
    QLatin1String("P2MoveType"),
    QLatin1String("P2Name"),
    QLatin1String("P2StateNo"),
    QLatin1String("P2StateType"),
    QLatin1String("P3Name"),
    QLatin1String("P4Name"),
    QLatin1String("PalNo"),
    QLatin1String("Parent"),
    QLatin1String("ParentDist"),
    QLatin1String("Partner"),
    QLatin1String("Pi"),
    QLatin1String("PlayerID"),
    QLatin1String("PlayerIDExist"),
    QLatin1String("Pos"),
    QLatin1String("Power"),
    QLatin1String("PowerMax"),
    QLatin1String("PrevStateNo"),
    QLatin1String("ProjCancelTime"),
    QLatin1String("ProjContact"),
    QLatin1String("ProjContactTime"),
    QLatin1String("ProjGuarded"),
    QLatin1String("ProjGuardedTime"),
    QLatin1String("ProjHit"),
    QLatin1String("ProjHitTime"),
    QLatin1String("Random"),
    QLatin1String("RightEdge"),
    QLatin1String("Root"),
    QLatin1String("RootDist"),
    QLatin1String("RoundNo"),
    QLatin1String("RoundsExisted"),
    QLatin1String("RoundState"),
    QLatin1String("ScreenHeight"),
    QLatin1String("ScreenPos"),
    QLatin1String("ScreenWidth"),
    QLatin1String("SelfAnimExist"),
    QLatin1String("Sin"),
    QLatin1String("StageVar"),
    QLatin1String("StateNo"),
    QLatin1String("StateType"),
    QLatin1String("SysFVar"),
    QLatin1String("SysVar"),
    QLatin1String("Tan"),
    QLatin1String("Target"),
    QLatin1String("TeamMode"),
    QLatin1String("TeamSide"),
    QLatin1String("TicksPerSecond"),
    QLatin1String("Time"),
    QLatin1String("TimeMod"),
    QLatin1String("TopEdge"),
    QLatin1String("UniqHitCount"),
    QLatin1String("Var"),
    QLatin1String("Vel"),
    QLatin1String("Win"),
    QLatin1String("WinKO"),
    QLatin1String("WinPerfect"),
    QLatin1String("WinTime"),
};

template<std::size_t N>
int find(std::array<QLatin1String, N> const &list, QStringView name)
{
    auto const found =
        std::lower_bound(list.begin(), list.end(), name, [](QLatin1String entry, QStringView key) {
            return QStringView(key).compare(entry, Qt::CaseInsensitive) > 0;
        });
    if (found == list.end() || name.compare(*found, Qt::CaseInsensitive) != 0)
        return -1;
    return static_cast<int>(found - list.begin());
}

} // namespace

int ScriptKeywords::controllerIndex(QStringView name)
{
    return find(controllers, name);
}

QLatin1String ScriptKeywords::controllerName(unsigned int index)
{
    return index < controllers.size() ? controllers[index] : QLatin1String();
}

int ScriptKeywords::controllerCount()
{
    return static_cast<int>(controllers.size());
}

bool ScriptKeywords::isTrigger(QStringView name)
{
    return find(triggers, name) >= 0;
}

QLatin1String ScriptKeywords::triggerName(unsigned int index)
{
    return index < triggers.size() ? triggers[index] : QLatin1String();
}

int ScriptKeywords::triggerCount()
{
    return static_cast<int>(triggers.size());
}

} // namespace Kenro::Ikemen
