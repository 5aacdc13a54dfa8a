// The script parser of the plug-in over the section-and-value files of the
// content: value types, what it reports, real files, edits that keep the
// author's spacing and comments, and garbage.
#include <ikemen/script/scriptdocument.h>
#include <ikemen/script/scriptgroup.h>
#include <ikemen/script/scriptkeywords.h>
#include <ikemen/script/scriptparser.h>
#include <ikemen/script/scriptvalue.h>

#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>

#include "testdata.h"
#include "testnodes.h"
#include "testparser.h"

#include <QRandomGenerator>
#include <QTextLayout>

using namespace Kenro;
using namespace Kenro::Ikemen;
using KenroTest::addRow;
using KenroTest::messageLines;

namespace {

QString variantText(QVariant const &value)
{
    if (value.typeId() == QMetaType::QPoint || value.typeId() == QMetaType::QPointF)
        return QStringLiteral("%1,%2").arg(value.toPointF().x()).arg(value.toPointF().y());
    if (value.typeId() == QMetaType::QVariantList)
        return value.toStringList().join(QLatin1Char(','));
    return value.toString();
}
// The chain with each node's place in the tree, the messages and the
// colours, for comparing an edited document with a fresh one.
QString describe(ScriptDocument &document)
{
    QStringList out = messageLines(document.messages());
    for (CodeNode *node = document.root()->next(); node; node = node->next()) {
        ParentCode *parent = node->parent();
        QString line = QString::asprintf("%d@%d in %d row %d", node->type(), node->lineNo(),
                                         parent ? parent->lineNo() : -2,
                                         parent ? parent->childIndex(node) : -1);
        if (auto const *group = dynamic_cast<ScriptGroup const *>(node))
            line += QStringLiteral(" [%1] kind %2").arg(group->name()).arg(group->kind());
        if (auto const *value = dynamic_cast<ScriptValue const *>(node))
            line += QString::asprintf(
                " %s form %d type %d = %s quoted %d", qPrintable(value->name()), value->form(),
                value->valueType(), qPrintable(variantText(value->rawValue())), value->isQuoted());
        out << line;
    }
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (QTextLayout::FormatRange const &r : block.layout()->formats())
            out << QString::asprintf("%d:%d+%d %s %d", block.blockNumber(), r.start, r.length,
                                     qPrintable(r.format.foreground().color().name()),
                                     r.format.underlineStyle());
    }
    return out.join(QLatin1Char('\n'));
}
QString freshDescription(QString const &text)
{
    ScriptDocument document;
    document.fromString(text);
    return describe(document);
}
ScriptGroup *findGroup(CodeDocument &document, QString const &name)
{
    for (CodeNode *node : document.root()->childs()) {
        auto *group = dynamic_cast<ScriptGroup *>(node);
        if (group && group->name() == name)
            return group;
    }
    return nullptr;
}
ScriptValue *findValue(CodeDocument &document, QString const &section, QString const &key)
{
    ScriptGroup *group = findGroup(document, section);
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
        return old && old->name() == name ? old
                                          : new KenroTest::TestAnimation(name, block, context);
    }
};

} // namespace

class TestScriptParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keywordsAreSortedForTheirSearch()
    {
        for (int i = 1; i < ScriptKeywords::controllerCount(); ++i) {
            QLatin1String const name = ScriptKeywords::controllerName(i);
            QVERIFY2(ScriptKeywords::controllerName(i - 1).compare(name, Qt::CaseInsensitive) < 0,
                     name.data());
            QCOMPARE(ScriptKeywords::controllerIndex(name.toString().toLower()), i);
        }
        QVERIFY(ScriptKeywords::isTrigger(u"Parent") && !ScriptKeywords::isTrigger(u"trigger1"));
    }
    void values_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("raw");
        QTest::addColumn<QString>("valueText"); // empty: the same as the raw value
        using V = ValueCode;
        auto row = [](char const *text, V::Type type, char const *raw, char const *written = "") {
            addRow(text, text, type, raw, written);
        };
        row("[Data]\nlife = 1000", V::Int, "1000");
        row("[M]\nyaccel = .44 ; fall", V::Float, "0.44");
        row("[S]\nhead.pos= 0,-90", V::IntVec2, "0,-90", "0, -90");
        row("[V]\nrun.back=-4.5,-3.8", V::FloatVec2, "-4.5,-3.8", "-4.5, -3.8");
        row("[O]\nm = 6,1,1,0,0", V::IntVector, "6,1,1,0,0", "6, 1, 1, 0, 0");
        row("[S]\na = 128,-3,-.2,.005", V::FloatVec4, "128,-3,-0.2,0.005", "128, -3, -0.2, 0.005");
        row("[Info]\nname = \"Kung;Fu\" ;n", V::String, "Kung;Fu", "\"Kung;Fu\"");
        row("[Music]\ntitle.bgm = ", V::String, "");
        row("[Files]\ncmd     = kfm ;c", V::File, "kfm");
        row("[Arcade]\nintro = intro.def", V::File, "intro.def");
        row("[State 0, 1]\ntype = changestate", V::Keyword, "17", "ChangeState");
        row("[State 0]\ntype = MyOwnThing", V::String, "MyOwnThing");
        row("[State 0]\nvar(3) = 1", V::Int, "1");
        row("[Characters]\nkfm, stages/kfm.def, order=3", V::String,
            "kfm, stages/kfm.def, order=3");
    }
    void values()
    {
        QFETCH(QString, text);
        QFETCH(int, type);
        QFETCH(QString, raw);
        QFETCH(QString, valueText);
        ScriptDocument document;
        document.fromString(text);
        QCOMPARE(messageLines(document.messages()), QStringList());
        QCOMPARE(document.root()->childCount(), 1u);
        auto *group = dynamic_cast<ScriptGroup *>(document.root()->childAt(0));
        QVERIFY(group && group->valueCount() == 1);
        auto *value = dynamic_cast<ScriptValue *>(group->valueAt(0));
        QString const line = text.section(QLatin1Char('\n'), 1);
        QCOMPARE(value->name(),
                 text.startsWith("[Characters]") ? QString() : line.section('=', 0, 0).trimmed());
        QCOMPARE(int(value->valueType()), type);
        QCOMPARE(variantText(value->rawValue()), raw);
        QCOMPARE(value->valueText(), valueText.isEmpty() ? raw : valueText);
    }
    void reports_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("message"); // empty: nothing to report
        auto row = [](char const *text, char const *message) { addRow(text, text, message); };
        row("[Info]\nname = \"abc ;x", "0 1:7 The string");
        row("[Info\n", "0 0:0 The section heading lacks");
        row(" [Statedef abc]", "0 0:1 A state number");
        row("[Statedef 1 2]", "0 0:0 Unexpected text after the state number");
        row("[Begin Foo]", "0 0:0 Unknown section");
        row("[Begin Action x]", "0 0:0 An action number");
        row("[Info] junk ;c", "0 0:7 Unexpected text");
        row("[ ]", "0 0:0 The section has no name");
        row("[Info]\n  just words", "0 1:2 A line of this section");
        row("[Info]\n = 3", "0 1:1 A name must");
        row("[Info]\nmy key = 3", "0 1:0 'my key' is not a name");
        row("x = 1\n[Info]", "0 0:0 A value outside");
        row("[State 0]\ntrigger1 = (time = 1", "0 1:11 '(' is not closed");
        row("[State 0]\ntrigger1 = time = 1)", "0 1:19 ')' closes nothing");
        row("[State 0]\n TriggerAll = ;x", "0 1:1 The trigger has no condition");
        row("[Begin Action 1]\ntype = S", "0 1:0 Not an animation");
        row("[Begin Action 1]\n 1x, 0", "0 1:1 A frame starts");
        row("[State 0]\ntrigger1 = stateno != [3050,3100)", "");
        row("[State 0]\npos = ifelse(facing = 1,150,10) ,60+parent,var(0)", "");
        row("[Begin Action 1]\nClsn2Default: 1\n Clsn2[0] = -10, 0, 10,-79\nLoopstart\n"
            "10,0, 0,0, 1, , S\n-1,-1, 0,0, 5\nInterpolate Offset\n",
            "");
        row("[Characters]\nrandomselect\n kfm, stages/kfm.def, 1=kfm\n[ExtraStages]\nx", "");
        row("[State 20000];0\n[Info] ; x\n\n   \n\t\n", "");
        addRow("byte-order mark", QStringLiteral("\uFEFF; comment\n[Info]"), QString());
    }
    void reports()
    {
        QFETCH(QString, text);
        QFETCH(QString, message);
        ScriptDocument document;
        document.fromString(text);
        QStringList const messages = messageLines(document.messages());
        QCOMPARE(messages.size(), message.isEmpty() ? 0 : 1);
        QVERIFY2(messages.isEmpty() || messages.first().startsWith(message),
                 qPrintable(messages.join(' ')));
    }
    void realFiles_data()
    {
        QTest::addColumn<QString>("file");
        for (QString const &name :
             QStringLiteral(
                 "chars/kfm/kfm.def chars/kfm/kfm.cns chars/kfm/kfm.cmd chars/kfm/intro.def "
                 "chars/kfm/ending.def chars/training/Training.def "
                 "chars/training/Training.cns chars/training/Training.cmd "
                 "data/common1.cns data/common.cmd data/fight.def data/system.def "
                 "data/select.def stages/kfm.def stages/stage0.def")
                 .split(' '))
            QTest::newRow(qPrintable(name)) << name;
    }
    // Headings, state definitions and values, counted from the text apart
    // from the parser: values are the lines with "=", or the entries of a list.
    void realFiles()
    {
        QFETCH(QString, file);
        KENRO_REQUIRE_TESTDATA(data);
        ScriptDocument document;
        QVERIFY(
            document.fromFile(FileSystemArchive::instance(), data + "/game/" + file, 0, nullptr));
        QStringList const errors = messageLines(document.messages());
        QVERIFY2(errors.isEmpty(), qPrintable(errors.mid(0, 10).join(QLatin1Char('\n'))));
        int headings = 0, statedefs = 0, values = 0;
        bool action = false, list = false;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
            QString line = block.text().remove(QChar(0xFEFF));
            bool quoted = false;
            for (qsizetype i = 0; i < line.size(); ++i) {
                quoted = quoted != (line[i] == QLatin1Char('"'));
                if (line[i] == QLatin1Char(';') && !quoted)
                    line.truncate(i);
            }
            line = line.trimmed();
            if (line.startsWith(QLatin1Char('['))) {
                QString const name = line.mid(1, line.indexOf(QLatin1Char(']')) - 1).toLower();
                ++headings;
                statedefs += name.startsWith(QLatin1String("statedef "));
                action = name.startsWith(QLatin1String("begin action"));
                list = name == QLatin1String("characters") || name == QLatin1String("extrastages");
            } else if (!line.isEmpty() && !action && (list || line.contains(QLatin1Char('=')))) {
                ++values;
            }
        }
        QCOMPARE(int(document.root()->childCount()), headings);
        for (CodeNode *node : document.root()->childs()) {
            auto *group = dynamic_cast<ScriptGroup *>(node);
            QVERIFY(group);
            statedefs -= group->kind() == ScriptGroup::StateDef;
            values -= int(group->valueCount());
            for (ValueCode *child : group->values()) {
                auto *value = dynamic_cast<ScriptValue *>(child);
                // The name is what stands before the "=" of its own line.
                QString const line = value->block().text();
                if (value->form() == ScriptValue::Assignment)
                    QCOMPARE(line.left(line.indexOf(QLatin1Char('='))).trimmed(), value->name());
                else
                    QVERIFY(line.contains(value->rawValue().toString()));
            }
        }
        QCOMPARE(statedefs, 0);
        QCOMPARE(values, 0);
    }
    void handPicked_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("raw");
        using V = ValueCode;
        QString const kfm = QStringLiteral("chars/kfm/kfm.def");
        QString const training = QStringLiteral("chars/training/Training.cns");
        addRow("name", kfm, "Info", "name", V::String, "Kung Fu Man");
        addRow("pal.defaults", kfm, "Info", "pal.defaults", V::IntVec4, "1,2,3,4");
        addRow("sprite", kfm, "Files", "sprite", V::File, "kfm.sff");
        addRow("run.back", training, "Velocity", "run.back", V::FloatVec2, "-4.5,-3.8");
        addRow("type", training, "State 0, 0", "type", V::Keyword, "LifeSet");
        addRow("arcade.maxmatches", "data/select.def", "Options", "arcade.maxmatches", V::IntVector,
               "6,1,1,0,0,0,0,0,0,0");
        addRow("p1.range.x", "data/fight.def", "Lifebar", "p1.range.x", V::IntVec2, "0,-127");
    }
    void handPicked()
    {
        QFETCH(QString, file);
        QFETCH(QString, section);
        QFETCH(QString, key);
        QFETCH(int, type);
        QFETCH(QString, raw);
        KENRO_REQUIRE_TESTDATA(data);
        ScriptDocument document;
        QVERIFY(
            document.fromFile(FileSystemArchive::instance(), data + "/game/" + file, 0, nullptr));
        ScriptValue const *value = findValue(document, section, key);
        QVERIFY(value);
        QCOMPARE(int(value->valueType()), type);
        QCOMPARE(type == ValueCode::Keyword ? value->value().toString()
                                            : variantText(value->rawValue()),
                 raw);
    }
    void actionParser()
    {
        ScriptDocument document;
        RecordingActionParser recorder;
        document.scriptParser()->setActionParser(&recorder);
        document.fromString(
            "[Info]\na = 1\n[Begin Action 5] ;x\n10,0, 0,0, 1\nLoopstart\n\n[N]\nb = 2");
        QCOMPARE(recorder.lines,
                 QStringList({"[Begin Action 5] ;x", "10,0, 0,0, 1", "Loopstart", ""}));
        QCOMPARE(document.root()->childAt(1)->type(), CodeNode::Animation);
        QCOMPARE(findGroup(document, "N")->valueCount(), 1u);
        QCOMPARE(messageLines(document.messages()), QStringList());
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
        cursor.movePosition(QTextCursor::StartOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(QStringLiteral("[Statedef 1]"));
        QCOMPARE(recorder.lines, QStringList());
        QCOMPARE(document.root()->childAt(1)->type(), CodeNode::Group);
        QStringList const errors = messageLines(document.messages(), Message::Error);
        QCOMPARE(errors.size(), 2);
        QVERIFY(errors.at(0).startsWith(QLatin1String("0 3:0 A line of this section")));
        QVERIFY(errors.at(1).startsWith(QLatin1String("0 4:0 A line of this section")));
    }
    void editsKeepSpacingAndComments()
    {
        ScriptDocument document;
        document.fromString(
            "  [Info] ; head\nname = \"A\" ; who\ntitle = \"a;b\" ; keep\n[State 0]\n"
            "type = changestate ;go\n[Characters]\n  kfm, order=3\n");
        auto *info = static_cast<ScriptGroup *>(document.nodeInBlock(document.begin()));
        ScriptValue *name = findValue(document, "Info", "name");
        QCOMPARE(info->addValue(QStringLiteral("author"), QStringLiteral("\"Me\""))->value(),
                 QVariant("Me"));
        ValueCode *first = info->insertValue(0, QStringLiteral("life"), QStringLiteral("100"));
        QCOMPARE(info->valueAt(0), first);
        // Typed on its line, a value keeps its node while its type stays.
        QTextCursor cursor(first->block());
        cursor.movePosition(QTextCursor::EndOfBlock);
        cursor.insertText(QStringLiteral("5"));
        QCOMPARE(info->valueAt(0), first);
        QCOMPARE(first->asInt(), 1005);
        cursor.insertText(QStringLiteral(".5"));
        QVERIFY(info->valueAt(0) != first);
        QCOMPARE(document.nodeInBlock(document.begin()), info);
        name->setValueText(QStringLiteral("\"B\""));
        findValue(document, "Info", "title")->setValueText("\"c;d\"");
        // A new name keeps the value as it is spelled.
        ScriptValue *type = findValue(document, "State 0", "type");
        QCOMPARE(type->valueText(), QStringLiteral("ChangeState"));
        type->setProperty(QStringLiteral("Name"), QStringLiteral("Type"));
        ValueCode *entry = findGroup(document, "Characters")->addValue(QString(), "ryu, x.def");
        QCOMPARE(entry->displayName(), QStringLiteral("ryu, x.def"));
        info->setName(QStringLiteral("Data"));
        document.formatLines(0, 2, true);
        document.formatLines(7, 20, false);
        QCOMPARE(document.toPlainText(),
                 "[Data] ; head\nlife = 1005.5\nname = \"B\" ; who\ntitle = \"c;d\" ; keep\n"
                 "author = \"Me\"\n[State 0]\nType = changestate ;go\n[Characters]\nkfm, order=3\n"
                 "ryu, x.def\n");
        QCOMPARE(findValue(document, "Data", "title")->value(), QVariant("c;d"));
        QCOMPARE(messageLines(document.messages()), QStringList());
        QCOMPARE(ScriptParser::formatLine("   [ Info ]   ;c", false, false), "[Info] ;c");
        QCOMPARE(ScriptParser::formatLine("  a.b=  1, 2 ;c", false, true), "a.b = 1, 2 ;c");
        QCOMPARE(ScriptParser::formatLine("  ; only", false, true), "  ; only");
    }
    // Random edits of slices of real files keep the document the one a fresh
    // parse of the same text gives, every kind of section included.
    void editsMatchAFreshParse()
    {
        KENRO_REQUIRE_TESTDATA(data);
        auto slice = [&data](char const *name, int first, int count) {
            QString const text = QString::fromUtf8(KenroTest::readFile(data + "/game/" + name));
            return text.split(QLatin1Char('\n')).mid(first, count).join(QLatin1Char('\n'));
        };
        ScriptDocument document;
        document.fromString(slice("chars/kfm/kfm.cmd", 370, 90) + '\n' +
                            slice("data/fight.def", 35, 35) +
                            "\n[Characters]\nkfm, stages/kfm.def\nrandomselect\n");
        QCOMPARE(messageLines(document.messages(), Message::Error), QStringList());
        QStringList const pieces =
            QStringLiteral("[Statedef 7]|[Begin Action 3]|type = VarSet|x = 1,2|; note||kfm, a|"
                           "[Characters]|[Files]|name = \"open|0,0, 0,0, 5|trigger1 = (1|"
                           "[State -1, x]\ntype = ChangeState\nvalue = 3|sprite = a.sff")
                .split(QLatin1Char('|'));
        KenroTest::checkRandomEdits(
            document, pieces, 1234, 60, [&document] { return describe(document); },
            freshDescription);
    }
    void garbageTruncatedAndHugeInput()
    {
        QRandomGenerator random(99);
        QString const alphabet = QStringLiteral("[]=;\",()ab1 .-\n\t\uFEFF\u00e9");
        for (int round = 0; round < 30; ++round) {
            QString text;
            for (int i = random.bounded(2000); i > 0; --i)
                text += alphabet.at(random.bounded(alphabet.size()));
            ScriptDocument document;
            document.fromString(text);
            QCOMPARE(describe(document), freshDescription(document.toPlainText()));
        }
        // Many values before the first heading: each line finds at once
        // that it stands in no section.
        ScriptDocument outside;
        outside.fromString(QStringLiteral("x = 1\n").repeated(1500) +
                           QStringLiteral("[Info]\ny = 2"));
        QCOMPARE(outside.messages()->count(Message::Error), 1500u);
        QCOMPARE(findGroup(outside, "Info")->valueCount(), 1u);
        // One huge line of each kind; animation lines are only read lightly here.
        for (char const *head :
             {"[State 0]\ntrigger1 = ", "[Info]\nx = \"", "[", "[Begin Action 1]\n1,"}) {
            ScriptDocument document;
            document.fromString(QString::fromLatin1(head) + QString(200000, QLatin1Char('(')));
            QVERIFY(head[1] == 'B' || document.messages()->count(Message::Error) >= 1);
            QCOMPARE(document.blockCount(), QString::fromLatin1(head).count(QLatin1Char('\n')) + 1);
        }
        KENRO_REQUIRE_TESTDATA(data);
        QString const text = QString::fromUtf8(KenroTest::readFile(data + "/game/data/fight.def"));
        QVERIFY(text.size() > 1000);
        for (int round = 0; round < 20; ++round) {
            ScriptDocument document;
            document.fromString(text.left(random.bounded(text.size())));
            for (CodeNode *node : document.root()->childs())
                QVERIFY(dynamic_cast<ScriptGroup *>(node));
        }
    }
};

QTEST_MAIN(TestScriptParser)
#include "tst_scriptparser.moc"
