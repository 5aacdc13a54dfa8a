#include <ikemen/script/scriptdocument.h>
#include <ikemen/script/scriptgroup.h>
#include <ikemen/script/scriptkeywords.h>
#include <ikemen/script/scriptparser.h>
#include <ikemen/script/scriptvalue.h>

#include <kenro/code/codeblockdata.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>

#include "testdata.h"
#include "testnodes.h"

#include <QRandomGenerator>
#include <QTest>
#include <QTextLayout>

using namespace Kenro;
using namespace Kenro::Ikemen;

namespace {

QString variantText(QVariant const &value)
{
    switch (value.typeId()) {
    case QMetaType::QPoint:
        return QStringLiteral("%1,%2").arg(value.toPoint().x()).arg(value.toPoint().y());
    case QMetaType::QPointF:
        return QStringLiteral("%1,%2").arg(value.toPointF().x()).arg(value.toPointF().y());
    case QMetaType::QVariantList: {
        QStringList parts;
        for (QVariant const &item : value.toList())
            parts.append(item.toString());
        return parts.join(QLatin1Char(','));
    }
    default:
        return value.toString();
    }
}

QString describeNode(CodeNode const *node)
{
    QString out = QStringLiteral("%1@%2").arg(node->type()).arg(node->lineNo());
    if (auto const *group = dynamic_cast<ScriptGroup const *>(node))
        out += QStringLiteral(" [%1] kind %2 values %3")
                   .arg(group->name())
                   .arg(group->kind())
                   .arg(group->valueCount());
    if (auto const *value = dynamic_cast<ScriptValue const *>(node)) {
        ParentCode const *parent = value->parent();
        out += QStringLiteral(" %1 form %2 type %3 = %4 quoted %5 in %6")
                   .arg(value->name())
                   .arg(value->form())
                   .arg(value->valueType())
                   .arg(variantText(value->rawValue()))
                   .arg(value->isQuoted())
                   .arg(parent ? parent->lineNo() : -2);
    }
    return out;
}

QStringList messageList(CodeDocument &document, bool errorsOnly)
{
    QStringList out;
    Messages *list = document.messages();
    Message::Type const type = errorsOnly ? Message::Error : Message::All;
    for (unsigned int i = 0; i < list->count(type); ++i) {
        Message const message = list->at(i, type);
        out.append(QStringLiteral("%1 %2:%3 %4")
                       .arg(message.type)
                       .arg(message.line)
                       .arg(message.column)
                       .arg(message.text));
    }
    return out;
}

// The chain, the tree, the messages and the colours of a document, for
// comparing an edited document with a fresh one.
QString describe(ScriptDocument &document)
{
    QString out = QStringLiteral("chain\n");
    for (CodeNode const *node = document.root()->next(); node; node = node->next())
        out += describeNode(node) + QLatin1Char('\n');
    out += QStringLiteral("tree\n");
    for (CodeNode const *node : document.root()->childs()) {
        out += describeNode(node) + QLatin1Char('\n');
        if (auto const *group = dynamic_cast<GroupCode const *>(node)) {
            for (ValueCode const *value : group->values())
                out += QStringLiteral("  ") + describeNode(value) + QLatin1Char('\n');
        }
    }
    out += QStringLiteral("messages\n") + messageList(document, false).join(QLatin1Char('\n'));
    out += QStringLiteral("\nformats\n");
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (QTextLayout::FormatRange const &range : block.layout()->formats())
            out += QStringLiteral("%1:%2+%3 %4 %5\n")
                       .arg(block.blockNumber())
                       .arg(range.start)
                       .arg(range.length)
                       .arg(range.format.foreground().color().name())
                       .arg(range.format.underlineStyle());
    }
    return out;
}

// Fails with the first differing line of two descriptions.
bool sameDescription(QString const &actual, QString const &expected, QByteArray *why)
{
    if (actual == expected)
        return true;
    QStringList const a = actual.split(QLatin1Char('\n'));
    QStringList const e = expected.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < qMax(a.size(), e.size()); ++i) {
        if (a.value(i) != e.value(i)) {
            *why = QStringLiteral("line %1: edited '%2', fresh '%3'")
                       .arg(i)
                       .arg(a.value(i), e.value(i))
                       .toUtf8();
            break;
        }
    }
    return false;
}

QString gamePath(QString const &data, QString const &name)
{
    return data + QStringLiteral("/game/") + name;
}

ScriptGroup *findGroup(CodeDocument &document, QString const &name, int occurrence = 0)
{
    for (CodeNode *node : document.root()->childs()) {
        auto *group = dynamic_cast<ScriptGroup *>(node);
        if (group && group->name() == name && occurrence-- == 0)
            return group;
    }
    return nullptr;
}

ScriptValue *findValue(CodeDocument &document, QString const &section, QString const &key,
                       int occurrence = 0)
{
    ScriptGroup *group = findGroup(document, section, occurrence);
    return group ? dynamic_cast<ScriptValue *>(group->valueByName(key)) : nullptr;
}

// A delegate for animation lines: headings become animation nodes, the rest
// is only recorded.
class RecordingActionParser : public CodeParser
{
public:
    QStringList lines;

    CodeNode *parse(QString const &text, QTextBlock const &block, CodeNode *oldNode,
                    CodeNode *context, RootCode *, CodeParserSyntax *) override
    {
        lines.append(text);
        QString const trimmed = text.trimmed();
        if (!trimmed.startsWith(QLatin1Char('[')))
            return nullptr;
        QString const name = trimmed.mid(1, trimmed.indexOf(QLatin1Char(']')) - 1);
        auto *old = dynamic_cast<KenroTest::TestAnimation *>(oldNode);
        if (old && old->name() == name)
            return old;
        return new KenroTest::TestAnimation(name, block, context);
    }
};

// Counts taken from the text alone, apart from the parser: headings, and
// the lines with "=" or list entries below other headings.
struct TextCounts
{
    int headings = 0;
    int statedefs = 0;
    int values = 0;
};

TextCounts countText(CodeDocument &document)
{
    TextCounts counts;
    bool action = false;
    bool list = false;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QString line = block.text();
        line.remove(QChar(0xFEFF));
        bool quoted = false;
        for (qsizetype i = 0; i < line.size(); ++i) {
            if (line[i] == QLatin1Char('"'))
                quoted = !quoted;
            if (line[i] == QLatin1Char(';') && !quoted) {
                line.truncate(i);
                break;
            }
        }
        line = line.trimmed();
        if (line.isEmpty())
            continue;
        if (line.startsWith(QLatin1Char('['))) {
            ++counts.headings;
            QString const name = line.mid(1, line.indexOf(QLatin1Char(']')) - 1).toLower();
            counts.statedefs += name.startsWith(QLatin1String("statedef ")) ? 1 : 0;
            action = name.startsWith(QLatin1String("begin action"));
            list = name == QLatin1String("characters") || name == QLatin1String("extrastages");
        } else if (!action && (list || line.contains(QLatin1Char('=')))) {
            ++counts.values;
        }
    }
    return counts;
}

} // namespace

class TestScriptParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keywordTables()
    {
        for (int i = 1; i < ScriptKeywords::controllerCount(); ++i) {
            QLatin1String const before = ScriptKeywords::controllerName(i - 1);
            QLatin1String const name = ScriptKeywords::controllerName(i);
            QVERIFY2(before.compare(name, Qt::CaseInsensitive) < 0, name.data());
            QCOMPARE(ScriptKeywords::controllerIndex(name.toString().toLower()), i);
        }
        QCOMPARE(ScriptKeywords::controllerIndex(u"CHANGESTATE"),
                 ScriptKeywords::controllerIndex(u"ChangeState"));
        QCOMPARE(ScriptKeywords::controllerIndex(u"NoSuchController"), -1);
        QCOMPARE(ScriptKeywords::controllerName(9999), QLatin1String());
        QVERIFY(ScriptKeywords::isTrigger(u"animelemtime"));
        QVERIFY(ScriptKeywords::isTrigger(u"Parent"));
        QVERIFY(!ScriptKeywords::isTrigger(u"trigger1"));
    }

    void values_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("raw");
        QTest::addColumn<QString>("valueText");

        QTest::newRow("int") << "[Data]\nlife = 1000"
                             << "life" << int(ValueCode::Int) << "1000"
                             << "1000";
        QTest::newRow("real") << "[M]\nyaccel = .44 ; fall"
                              << "yaccel" << int(ValueCode::Float) << "0.44"
                              << "0.44";
        QTest::newRow("point") << "[S]\nhead.pos= 0,-90"
                               << "head.pos" << int(ValueCode::IntVec2) << "0,-90"
                               << "0, -90";
        QTest::newRow("real point") << "[V]\nrun.back=-4.5,-3.8"
                                    << "run.back" << int(ValueCode::FloatVec2) << "-4.5,-3.8"
                                    << "-4.5, -3.8";
        QTest::newRow("four") << "[I]\npal.defaults = 1,2,3,4"
                              << "pal.defaults" << int(ValueCode::IntVec4) << "1,2,3,4"
                              << "1, 2, 3, 4";
        QTest::newRow("vector") << "[O]\nm = 6,1,1,0,0"
                                << "m" << int(ValueCode::IntVector) << "6,1,1,0,0"
                                << "6, 1, 1, 0, 0";
        QTest::newRow("mixed reals") << "[S]\nampl = 128,-3,-.2,.005"
                                     << "ampl" << int(ValueCode::FloatVec4) << "128,-3,-0.2,0.005"
                                     << "128, -3, -0.2, 0.005";
        QTest::newRow("string") << "[Info]\nname = \"Kung Fu Man\" ;n"
                                << "name" << int(ValueCode::String) << "Kung Fu Man"
                                << "\"Kung Fu Man\"";
        QTest::newRow("semicolon in string") << "[Info]\nname = \"a;b\""
                                             << "name" << int(ValueCode::String) << "a;b"
                                             << "\"a;b\"";
        QTest::newRow("empty") << "[Music]\ntitle.bgm = "
                               << "title.bgm" << int(ValueCode::String) << ""
                               << "";
        QTest::newRow("file section") << "[Files]\ncmd     = kfm.cmd ;c"
                                      << "cmd" << int(ValueCode::File) << "kfm.cmd"
                                      << "kfm.cmd";
        QTest::newRow("file name") << "[Arcade]\nintro.storyboard = intro.def"
                                   << "intro.storyboard" << int(ValueCode::File) << "intro.def"
                                   << "intro.def";
        QTest::newRow("controller") << "[State 0, 1]\ntype = changestate"
                                    << "type" << int(ValueCode::Keyword) << "17"
                                    << "ChangeState";
        QTest::newRow("unknown controller") << "[State 0]\ntype = MyOwnThing"
                                            << "type" << int(ValueCode::String) << "MyOwnThing"
                                            << "MyOwnThing";
        QTest::newRow("statedef type") << "[Statedef 0]\ntype = S"
                                       << "type" << int(ValueCode::String) << "S"
                                       << "S";
        QTest::newRow("trigger") << "[State 0]\ntrigger1 = command = \"x\" && time > 2"
                                 << "trigger1" << int(ValueCode::String)
                                 << "command = \"x\" && time > 2"
                                 << "command = \"x\" && time > 2";
        QTest::newRow("var key") << "[State 0]\nvar(3) = 1"
                                 << "var(3)" << int(ValueCode::Int) << "1"
                                 << "1";
        QTest::newRow("entry") << "[Characters]\nkfm, stages/kfm.def, order=3"
                               << "" << int(ValueCode::String) << "kfm, stages/kfm.def, order=3"
                               << "kfm, stages/kfm.def, order=3";
    }

    void values()
    {
        QFETCH(QString, text);
        QFETCH(QString, name);
        QFETCH(int, type);
        QFETCH(QString, raw);
        QFETCH(QString, valueText);
        ScriptDocument document;
        document.fromString(text);
        QCOMPARE(messageList(document, false), QStringList());
        QCOMPARE(document.root()->childCount(), 1u);
        auto *group = dynamic_cast<ScriptGroup *>(document.root()->childAt(0));
        QVERIFY(group);
        QCOMPARE(group->valueCount(), 1u);
        auto *value = dynamic_cast<ScriptValue *>(group->valueAt(0));
        QVERIFY(value);
        QCOMPARE(value->name(), name);
        QCOMPARE(int(value->valueType()), type);
        QCOMPARE(variantText(value->rawValue()), raw);
        QCOMPARE(value->valueText(), valueText);
        QCOMPARE(value->lineNo(), 1);
    }

    void sectionKinds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("problem");
        QTest::newRow("plain") << "Info" << int(ScriptGroup::Plain) << false;
        QTest::newRow("files") << "Files" << int(ScriptGroup::Files) << false;
        QTest::newRow("statedef") << "Statedef -1" << int(ScriptGroup::StateDef) << false;
        QTest::newRow("statedef label")
            << "statedef 200, punch" << int(ScriptGroup::StateDef) << false;
        QTest::newRow("statedef without number")
            << "Statedef" << int(ScriptGroup::StateDef) << true;
        QTest::newRow("statedef junk") << "Statedef 1 2" << int(ScriptGroup::StateDef) << true;
        QTest::newRow("state") << "State -1, Smash" << int(ScriptGroup::State) << false;
        QTest::newRow("state lower") << "state 20000" << int(ScriptGroup::State) << false;
        QTest::newRow("command") << "Command" << int(ScriptGroup::Command) << false;
        QTest::newRow("characters") << "Characters" << int(ScriptGroup::List) << false;
        QTest::newRow("extra stages") << "ExtraStages" << int(ScriptGroup::List) << false;
        QTest::newRow("action") << "Begin Action 10" << int(ScriptGroup::Action) << false;
        QTest::newRow("action case") << "begin action -1" << int(ScriptGroup::Action) << false;
        QTest::newRow("action without number")
            << "Begin Action" << int(ScriptGroup::Action) << true;
        QTest::newRow("begin other") << "Begin Foo 1" << int(ScriptGroup::Plain) << true;
        QTest::newRow("numbered plain") << "BG 1" << int(ScriptGroup::Plain) << false;
    }

    void sectionKinds()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QFETCH(bool, problem);
        QString message;
        QCOMPARE(int(ScriptParser::sectionKind(name, &message)), kind);
        QCOMPARE(!message.isEmpty(), problem);
    }

    void malformed_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("message");

        QTest::newRow("unclosed string") << "[Info]\nname = \"abc ;x"
                                         << "0 1:7 The string";
        QTest::newRow("unclosed heading") << "[Info\n"
                                          << "0 0:0 The section heading lacks";
        QTest::newRow("state number") << " [Statedef abc]"
                                      << "0 0:1 A state number";
        QTest::newRow("unknown begin") << "[Begin Foo]"
                                       << "0 0:0 Unknown section";
        QTest::newRow("action number") << "[Begin Action x]"
                                       << "0 0:0 An action number";
        QTest::newRow("text after heading") << "[Info] junk ;c"
                                            << "0 0:7 Unexpected text";
        QTest::newRow("empty heading") << "[ ]"
                                       << "0 0:0 The section has no name";
        QTest::newRow("bare words") << "[Info]\n  just words"
                                    << "0 1:2 A line of this section";
        QTest::newRow("no name") << "[Info]\n = 3"
                                 << "0 1:1 A name must";
        QTest::newRow("blank in name") << "[Info]\nmy key = 3"
                                       << "0 1:0 'my key' is not a name";
        QTest::newRow("outside") << "x = 1\n[Info]"
                                 << "0 0:0 A value outside";
        QTest::newRow("open parenthesis") << "[State 0]\ntrigger1 = (time = 1"
                                          << "0 1:11 '(' is not closed";
        QTest::newRow("closing nothing") << "[State 0]\ntrigger1 = time = 1)"
                                         << "0 1:19 ')' closes nothing";
        QTest::newRow("empty trigger") << "[State 0]\n TriggerAll = ;x"
                                       << "0 1:1 The trigger has no condition";
        QTest::newRow("animation word") << "[Begin Action 1]\nfoo"
                                        << "0 1:0 Not an animation";
        QTest::newRow("frame number") << "[Begin Action 1]\n 1x, 0"
                                      << "0 1:1 A frame starts";
        QTest::newRow("value in action") << "[Begin Action 1]\ntype = S"
                                         << "0 1:0 Not an animation";
    }

    void malformed()
    {
        QFETCH(QString, text);
        QFETCH(QString, message);
        ScriptDocument document;
        document.fromString(text);
        QStringList const messages = messageList(document, false);
        QCOMPARE(messages.size(), 1);
        QVERIFY2(messages.first().startsWith(message), qPrintable(messages.first()));
    }

    void wellFormed_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("range") << "[State 0]\ntrigger1 = stateno != [3050,3100)";
        QTest::newRow("nested") << "[State 0]\npos = ifelse(facing = 1,150,10) ,60+parent,var(0)";
        QTest::newRow("animation lines")
            << "[Begin Action 1]\nClsn2Default: 1\n Clsn2[0] = -10, 0, 10,-79\nLoopstart\n"
               "10,0, 0,0, 1, , S\n-1,-1, 0,0, 5\n200,2, 0,0, 2, ,A1\nInterpolate Offset\n";
        QTest::newRow("list") << "[Characters]\nrandomselect\n kfm, stages/kfm.def, 1=kfm\n"
                                 "[ExtraStages]\nstages/kfm.def";
        QTest::newRow("byte-order mark") << QStringLiteral("\uFEFF; comment\n[Info]");
        QTest::newRow("comment after heading") << "[State 20000];0\n[Info] ; x";
        QTest::newRow("empty value") << "[Music]\nselect.bgm.loopstart =";
        QTest::newRow("blank lines") << "\n\n   \n\t\n";
    }

    void wellFormed()
    {
        QFETCH(QString, text);
        ScriptDocument document;
        document.fromString(text);
        QCOMPARE(messageList(document, false), QStringList());
    }

    void highlighting()
    {
        ScriptDocument document;
        document.fromString(QStringLiteral("[State 0, 1] ; c\ntype = ChangeState\n"
                                           "trigger1 = Time = 2 && command = \"x\"\n"));
        auto formatAt = [&document](int line, int column) {
            QTextBlock const block = document.findBlockByNumber(line);
            for (QTextLayout::FormatRange const &range : block.layout()->formats()) {
                if (column >= range.start && column < range.start + range.length)
                    return range.format.foreground().color();
            }
            return QColor();
        };
        auto color = [](ScriptParser::Token token) {
            return CodeParserSyntax::syntaxFormat(CodeParserSyntax::TokenType(token))
                .foreground()
                .color();
        };
        QCOMPARE(formatAt(0, 1), color(ScriptParser::Section));
        QCOMPARE(formatAt(0, 14), color(ScriptParser::Comment));
        QCOMPARE(formatAt(1, 0), color(ScriptParser::Key));
        QCOMPARE(formatAt(1, 8), color(ScriptParser::Controller));
        QCOMPARE(formatAt(2, 11), color(ScriptParser::Trigger));
        QCOMPARE(formatAt(2, 18), color(ScriptParser::Number));
        QCOMPARE(formatAt(2, 33), color(ScriptParser::String));
        QTextBlock const heading = document.begin();
        CodeBlockData const *data = CodeBlockData::testBlockData(heading);
        QVERIFY(data);
        QCOMPARE(data->parenthesis().size(), 2);
        QVERIFY(data->isParsed());

        // Each section folds: its heading at depth 0, its lines one deeper.
        document.fromString(QStringLiteral("[Info]\na = 1\n\n; c\n[Next]\nb = 2\n"));
        QList<int> depths;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
            depths.append(CodeBlockData::testBlockData(block)->foldingIndent());
        QCOMPARE(depths, QList<int>({0, 1, 0, 0, 0, 1, 1}));
    }

    void realFiles_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("statedefs");
        for (char const *name :
             {"chars/kfm/kfm.def", "chars/kfm/kfm.cns", "chars/kfm/kfm.cmd", "chars/kfm/intro.def",
              "chars/kfm/ending.def", "chars/training/Training.def", "chars/training/Training.cns",
              "chars/training/Training.cmd", "data/common1.cns", "data/common.cmd",
              "data/fight.def", "data/system.def", "data/select.def", "stages/kfm.def",
              "stages/stage0.def"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void realFiles()
    {
        QFETCH(QString, file);
        KENRO_REQUIRE_TESTDATA(data);
        ScriptDocument document;
        QVERIFY(document.fromFile(FileSystemArchive::instance(), gamePath(data, file), 0, nullptr));
        QStringList const errors = messageList(document, false);
        QVERIFY2(errors.isEmpty(), qPrintable(errors.mid(0, 10).join(QLatin1Char('\n'))));

        TextCounts const counts = countText(document);
        QCOMPARE(int(document.root()->childCount()), counts.headings);
        int statedefs = 0;
        int values = 0;
        for (CodeNode *node : document.root()->childs()) {
            auto *group = dynamic_cast<ScriptGroup *>(node);
            QVERIFY(group);
            statedefs += group->kind() == ScriptGroup::StateDef ? 1 : 0;
            values += int(group->valueCount());
            for (ValueCode *child : group->values()) {
                auto *value = dynamic_cast<ScriptValue *>(child);
                QVERIFY(value);
                // The name is what stands before the "=" of its own line.
                QString const line = value->block().text();
                if (value->form() == ScriptValue::Assignment)
                    QCOMPARE(line.left(line.indexOf(QLatin1Char('='))).trimmed(), value->name());
                else
                    QVERIFY(line.contains(value->rawValue().toString()));
            }
        }
        QCOMPARE(statedefs, counts.statedefs);
        QCOMPARE(values, counts.values);
    }

    void handPicked()
    {
        KENRO_REQUIRE_TESTDATA(data);
        FileSystemArchive &fs = FileSystemArchive::instance();

        ScriptDocument kfm;
        QVERIFY(kfm.fromFile(fs, gamePath(data, QStringLiteral("chars/kfm/kfm.def")), 0, nullptr));
        ScriptValue *value = findValue(kfm, QStringLiteral("Info"), QStringLiteral("name"));
        QVERIFY(value);
        QCOMPARE(value->value(), QVariant(QStringLiteral("Kung Fu Man")));
        QVERIFY(value->isQuoted());
        value = findValue(kfm, QStringLiteral("Info"), QStringLiteral("pal.defaults"));
        QVERIFY(value);
        QCOMPARE(value->valueType(), ValueCode::IntVec4);
        QCOMPARE(value->asIntVector(), QList<int>({1, 2, 3, 4}));
        value = findValue(kfm, QStringLiteral("Info"), QStringLiteral("localcoord"));
        QVERIFY(value);
        QCOMPARE(value->asPoint(), QPoint(320, 240));
        value = findValue(kfm, QStringLiteral("Info"), QStringLiteral("mugenversion"));
        QVERIFY(value);
        QCOMPARE(value->valueType(), ValueCode::Float);
        QCOMPARE(value->asReal(), 1.0);
        value = findValue(kfm, QStringLiteral("Files"), QStringLiteral("sprite"));
        QVERIFY(value);
        QCOMPARE(value->valueType(), ValueCode::File);
        QCOMPARE(value->value(), QVariant(QStringLiteral("kfm.sff")));
        QCOMPARE(findGroup(kfm, QStringLiteral("Palette Keymap"))->valueCount(), 6u);

        ScriptDocument training;
        QVERIFY(training.fromFile(fs, gamePath(data, QStringLiteral("chars/training/Training.cns")),
                                  0, nullptr));
        value = findValue(training, QStringLiteral("Velocity"), QStringLiteral("run.back"));
        QVERIFY(value);
        QCOMPARE(value->asPointF(), QPointF(-4.5, -3.8));
        value = findValue(training, QStringLiteral("Movement"), QStringLiteral("yaccel"));
        QVERIFY(value);
        QCOMPARE(value->asReal(), 0.44);
        value = findValue(training, QStringLiteral("Size"), QStringLiteral("head.pos"));
        QVERIFY(value);
        QCOMPARE(value->asPoint(), QPoint(0, -90));
        value = findValue(training, QStringLiteral("Data"), QStringLiteral("life"));
        QVERIFY(value);
        QCOMPARE(value->asInt(), 1000);
        value = findValue(training, QStringLiteral("State 0, 0"), QStringLiteral("type"));
        QVERIFY(value);
        QCOMPARE(value->valueType(), ValueCode::Keyword);
        QCOMPARE(value->value(), QVariant(QStringLiteral("LifeSet")));

        ScriptDocument commands;
        QVERIFY(
            commands.fromFile(fs, gamePath(data, QStringLiteral("chars/kfm/kfm.cmd")), 0, nullptr));
        ScriptGroup *group = findGroup(commands, QStringLiteral("State -1, Smash Kung Fu Upper"));
        QVERIFY(group);
        QCOMPARE(group->kind(), ScriptGroup::State);
        QCOMPARE(group->valueCount(), 10u);
        QCOMPARE(group->value(QStringLiteral("type")), QVariant(QStringLiteral("ChangeState")));
        QCOMPARE(group->value(QStringLiteral("triggerall")),
                 QVariant(QStringLiteral("command = \"SmashKFUpper\"")));
        QCOMPARE(group->valueAt(9)->name(), QStringLiteral("trigger3"));
        QCOMPARE(group->valueAt(9)->value(),
                 QVariant(QStringLiteral("stateno = 1310 || stateno = 1330")));
        group = findGroup(commands, QStringLiteral("Command"));
        QVERIFY(group);
        QCOMPARE(group->kind(), ScriptGroup::Command);

        ScriptDocument select;
        QVERIFY(select.fromFile(fs, gamePath(data, QStringLiteral("data/select.def")), 0, nullptr));
        group = findGroup(select, QStringLiteral("Characters"));
        QVERIFY(group);
        QCOMPARE(group->valueCount(), 5u);
        QCOMPARE(group->valueAt(0)->value(),
                 QVariant(QStringLiteral("kfm, stages/kfm.def, 1=kfm")));
        QCOMPARE(group->valueAt(2)->displayName(), QStringLiteral("randomselect"));
        group = findGroup(select, QStringLiteral("ExtraStages"));
        QVERIFY(group);
        QCOMPARE(group->valueCount(), 2u);
        QCOMPARE(group->valueAt(1)->value(), QVariant(QStringLiteral("stages/stage0.def")));
        value = findValue(select, QStringLiteral("Options"), QStringLiteral("arcade.maxmatches"));
        QVERIFY(value);
        QCOMPARE(value->valueType(), ValueCode::IntVector);
        QCOMPARE(value->asIntVector(), QList<int>({6, 1, 1, 0, 0, 0, 0, 0, 0, 0}));

        ScriptDocument fight;
        QVERIFY(fight.fromFile(fs, gamePath(data, QStringLiteral("data/fight.def")), 0, nullptr));
        group = findGroup(fight, QStringLiteral("Begin Action 10"));
        QVERIFY(group);
        QCOMPARE(group->kind(), ScriptGroup::Action);
        QCOMPARE(group->valueCount(), 0u);
        value = findValue(fight, QStringLiteral("Lifebar"), QStringLiteral("p1.range.x"));
        QVERIFY(value);
        QCOMPARE(value->asPoint(), QPoint(0, -127));
    }

    void actionParser()
    {
        ScriptDocument document;
        RecordingActionParser recorder;
        document.scriptParser()->setActionParser(&recorder);
        QCOMPARE(document.scriptParser()->actionParser(), &recorder);
        document.fromString(QStringLiteral("[Info]\na = 1\n[Begin Action 5] ;x\n10,0, 0,0, 1\n"
                                           "Loopstart\n\n[Next]\nb = 2"));
        QCOMPARE(recorder.lines,
                 QStringList({QStringLiteral("[Begin Action 5] ;x"), QStringLiteral("10,0, 0,0, 1"),
                              QStringLiteral("Loopstart"), QString()}));
        QCOMPARE(document.root()->childCount(), 3u);
        QCOMPARE(document.root()->childAt(1)->type(), CodeNode::Animation);
        auto *next = dynamic_cast<ScriptGroup *>(document.root()->childAt(2));
        QVERIFY(next);
        QCOMPARE(next->valueCount(), 1u);
        QCOMPARE(messageList(document, false), QStringList());

        // Another action number: the heading goes to the action parser again
        // (with the line behind a replacement, which the pass always takes).
        recorder.lines.clear();
        QTextCursor cursor(document.findBlockByNumber(2));
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(QStringLiteral("[Begin Action 6]"));
        QCOMPARE(recorder.lines.value(0), QStringLiteral("[Begin Action 6]"));
        QVERIFY(recorder.lines.size() <= 2);
        // A state heading instead: the lines below are this parser's again.
        recorder.lines.clear();
        cursor = QTextCursor(document.findBlockByNumber(2));
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(QStringLiteral("[Statedef 1]"));
        QCOMPARE(recorder.lines, QStringList());
        QCOMPARE(document.root()->childAt(1)->type(), CodeNode::Group);
        QStringList const errors = messageList(document, true);
        QCOMPARE(errors.size(), 2);
        QVERIFY(errors.at(0).startsWith(QLatin1String("0 3:0 A line of this section")));
        QVERIFY(errors.at(1).startsWith(QLatin1String("0 4:0 A line of this section")));
    }

    void keepsNodes()
    {
        ScriptDocument document;
        document.fromString(QStringLiteral("[Info]\nname = 1\nother = 2\n"));
        QTextBlock const line = document.findBlockByNumber(1);
        CodeNode *value = document.nodeInBlock(line);
        CodeNode *heading = document.nodeInBlock(document.begin());
        QTextCursor cursor(line);
        cursor.movePosition(QTextCursor::EndOfBlock);
        cursor.insertText(QStringLiteral("5"));
        QCOMPARE(document.nodeInBlock(line), value);
        QCOMPARE(static_cast<ScriptValue *>(value)->asInt(), 15);
        QCOMPARE(document.nodeInBlock(document.begin()), heading);
        cursor.insertText(QStringLiteral(".5"));
        // Another type is another node.
        QVERIFY(document.nodeInBlock(line) != value);
        QCOMPARE(static_cast<ScriptValue *>(document.nodeInBlock(line))->asReal(), 15.5);
    }

    void edits()
    {
        KENRO_REQUIRE_TESTDATA(data);
        // Slices of real files, so that every kind of section is met: the
        // states of a command file, a fight screen with an animation, and
        // a list of characters.
        auto slice = [&data](char const *name, int first, int count) {
            QString const text =
                QString::fromUtf8(KenroTest::readFile(gamePath(data, QString::fromLatin1(name))));
            return text.split(QLatin1Char('\n')).mid(first, count).join(QLatin1Char('\n'));
        };
        ScriptDocument document;
        document.fromString(slice("chars/kfm/kfm.cmd", 370, 90) + QLatin1Char('\n') +
                            slice("data/fight.def", 35, 35) +
                            QStringLiteral("\n[Characters]\nkfm, stages/kfm.def\nrandomselect\n"));
        QCOMPARE(messageList(document, true), QStringList());
        QStringList const pieces = {QStringLiteral("[Statedef 7]"),
                                    QStringLiteral("[Begin Action 3]"),
                                    QStringLiteral("type = VarSet"),
                                    QStringLiteral("x = 1,2"),
                                    QStringLiteral("; note"),
                                    QString(),
                                    QStringLiteral("kfm, a"),
                                    QStringLiteral("[Characters]"),
                                    QStringLiteral("[Files]"),
                                    QStringLiteral("name = \"open"),
                                    QStringLiteral("0,0, 0,0, 5"),
                                    QStringLiteral("trigger1 = (1"),
                                    QStringLiteral("[State -1, x]\ntype = ChangeState\nvalue = 3"),
                                    QStringLiteral("sprite = a.sff")};
        QRandomGenerator random(1234);
        for (int step = 0; step < 60; ++step) {
            int const lines = document.blockCount();
            QTextBlock const block =
                document.findBlockByNumber(int(random.bounded(quint32(lines))));
            QTextCursor cursor(block);
            QString const piece = pieces.at(int(random.bounded(quint32(pieces.size()))));
            switch (random.bounded(4)) {
            case 0: // a new line
                cursor.insertText(piece + QLatin1Char('\n'));
                break;
            case 1: // the line goes
                cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
                cursor.removeSelectedText();
                break;
            case 2: // the line is replaced
                cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
                cursor.insertText(piece);
                break;
            default: // one character is typed
                cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::MoveAnchor,
                                    int(random.bounded(quint32(block.length()))));
                cursor.insertText(piece.left(1));
                break;
            }
            ScriptDocument fresh;
            fresh.fromString(document.toPlainText());
            QByteArray why;
            QVERIFY2(
                sameDescription(describe(document), describe(fresh), &why),
                qPrintable(QStringLiteral("step %1: %2").arg(step).arg(QString::fromUtf8(why))));
        }
    }

    void nodeOperations()
    {
        ScriptDocument document;
        document.fromString(
            QStringLiteral("[Info] ; head\nname = \"A\" ; who\n[Characters]\nkfm\n"));
        auto *info = dynamic_cast<ScriptGroup *>(document.root()->childAt(0));
        QVERIFY(info);
        ValueCode *added = info->addValue(QStringLiteral("author"), QStringLiteral("\"Me\""));
        QVERIFY(added);
        QCOMPARE(added->name(), QStringLiteral("author"));
        QCOMPARE(added->value(), QVariant(QStringLiteral("Me")));
        ValueCode *first = info->insertValue(0, QStringLiteral("life"), QStringLiteral("100"));
        QVERIFY(first);
        QCOMPARE(first->valueType(), ValueCode::Int);
        QCOMPARE(info->valueAt(0), first);
        auto *name = dynamic_cast<ScriptValue *>(info->valueByName(QStringLiteral("name")));
        QVERIFY(name);
        name->setValueText(QStringLiteral("\"B\""));
        info->setName(QStringLiteral("Data"));
        auto *list = dynamic_cast<ScriptGroup *>(document.root()->childAt(1));
        QVERIFY(list);
        ValueCode *entry = list->addValue(QString(), QStringLiteral("ryu, stages/x.def"));
        QVERIFY(entry);
        QCOMPARE(entry->displayName(), QStringLiteral("ryu, stages/x.def"));
        QCOMPARE(document.toPlainText(),
                 QStringLiteral("[Data] ; head\nlife = 100\nname = \"B\" ; who\nauthor = \"Me\"\n"
                                "[Characters]\nkfm\nryu, stages/x.def\n"));
        first = dynamic_cast<ScriptGroup *>(document.root()->childAt(0))->valueAt(0);
        static_cast<ScriptValue *>(first)->setName(QStringLiteral("power"));
        QCOMPARE(document.findBlockByNumber(1).text(), QStringLiteral("power = 100"));

        // A ";" inside a string is no comment; the comment behind it stays.
        ScriptDocument quotes;
        quotes.fromString(QStringLiteral("[Info]\ntitle = \"a;b\" ; keep\n"));
        auto *title = findValue(quotes, QStringLiteral("Info"), QStringLiteral("title"));
        QVERIFY(title);
        QCOMPARE(title->value(), QVariant(QStringLiteral("a;b")));
        title->setValueText(QStringLiteral("\"c;d\""));
        QCOMPARE(quotes.findBlockByNumber(1).text(), QStringLiteral("title = \"c;d\" ; keep"));
        title = findValue(quotes, QStringLiteral("Info"), QStringLiteral("title"));
        QCOMPARE(title->value(), QVariant(QStringLiteral("c;d")));

        // A new name keeps the value as it is spelled.
        ScriptDocument state;
        state.fromString(QStringLiteral("[State 0]\ntype = changestate ;go\n"));
        auto *type = findValue(state, QStringLiteral("State 0"), QStringLiteral("type"));
        QVERIFY(type);
        QCOMPARE(type->valueText(), QStringLiteral("ChangeState"));
        type->setProperty(QStringLiteral("Name"), QStringLiteral("Type"));
        QCOMPARE(state.findBlockByNumber(1).text(), QStringLiteral("Type = changestate ;go"));
    }

    void formatting()
    {
        QCOMPARE(ScriptParser::formatLine(QStringLiteral("   [ Info ]   ;c"), false, false),
                 QStringLiteral("[Info] ;c"));
        QCOMPARE(ScriptParser::formatLine(QStringLiteral("  a.b=  1, 2 ;c"), false, true),
                 QStringLiteral("a.b = 1, 2 ;c"));
        QCOMPARE(ScriptParser::formatLine(QStringLiteral("  a.b=  1"), true, true),
                 QStringLiteral("a.b=  1"));
        QCOMPARE(ScriptParser::formatLine(QStringLiteral("  ; only"), false, true),
                 QStringLiteral("  ; only"));
        ScriptDocument document;
        document.fromString(QStringLiteral("  [Info]\n name=1\n[Characters]\n  kfm, order=3\n"));
        document.formatLines(0, 10, false);
        QCOMPARE(document.toPlainText(),
                 QStringLiteral("[Info]\nname = 1\n[Characters]\nkfm, order=3\n"));
        QCOMPARE(messageList(document, false), QStringList());
    }

    void garbage()
    {
        QRandomGenerator random(99);
        QString const alphabet = QStringLiteral("[]=;\",()ab1 .-\n\t\uFEFF\u00e9");
        for (int round = 0; round < 30; ++round) {
            QString text;
            int const size = int(random.bounded(2000));
            for (int i = 0; i < size; ++i)
                text += alphabet.at(int(random.bounded(quint32(alphabet.size()))));
            ScriptDocument document;
            document.fromString(text);
            ScriptDocument again;
            again.fromString(document.toPlainText());
            QCOMPARE(describe(document), describe(again));
        }
        // Many values before the first heading: each line finds at once
        // that it stands in no section.
        {
            ScriptDocument document;
            document.fromString(QStringLiteral("x = 1\n").repeated(1500) +
                                QStringLiteral("[Info]\ny = 2"));
            QCOMPARE(document.messages()->count(Message::Error), 1500u);
            QCOMPARE(findGroup(document, QStringLiteral("Info"))->valueCount(), 1u);
        }
        // One huge line of each kind.
        for (QString const &head :
             {QStringLiteral("[State 0]\ntrigger1 = "), QStringLiteral("[Info]\nx = \""),
              QStringLiteral("["), QStringLiteral("[Begin Action 1]\n1,")}) {
            ScriptDocument document;
            document.fromString(head + QString(200000, QLatin1Char('(')));
            // Animation lines are only read lightly here; the others are errors.
            if (!head.startsWith(QLatin1String("[Begin")))
                QVERIFY(document.messages()->count(Message::Error) >= 1);
            QCOMPARE(document.blockCount(), head.count(QLatin1Char('\n')) + 1);
        }
    }

    void truncated()
    {
        KENRO_REQUIRE_TESTDATA(data);
        QByteArray const bytes =
            KenroTest::readFile(gamePath(data, QStringLiteral("data/fight.def")));
        QVERIFY(bytes.size() > 1000);
        QString const text = QString::fromUtf8(bytes);
        QRandomGenerator random(7);
        for (int round = 0; round < 20; ++round) {
            ScriptDocument document;
            document.fromString(text.left(int(random.bounded(quint32(text.size())))));
            for (CodeNode *node : document.root()->childs())
                QVERIFY(dynamic_cast<ScriptGroup *>(node));
        }
    }
};

QTEST_MAIN(TestScriptParser)
#include "tst_scriptparser.moc"
