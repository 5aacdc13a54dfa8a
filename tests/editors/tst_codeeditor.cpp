#include <ikemen/script/scriptdocument.h>

#include <kenro/editors/codeeditor.h>
#include <kenro/project/filesystemarchive.h>

#include "editorband.h"
#include "scenerenderer.h"
#include "testdata.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCompleter>
#include <QPaintEvent>
#include <QPainter>
#include <QRandomGenerator>
#include <QStyleOption>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTimer>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::addRow;

namespace {

class Mark : public CodeMark
{
public:
    void setLine(int) override {}
    void setDocument(CodeDocument *) override {}
    void removed() override {}
    void drawIcon(QPainter *painter, QRect const &rect) const override
    {
        painter->fillRect(rect.adjusted(2, 2, -2, -2), Qt::magenta);
    }
};

// The region that a widget painted since it was last cleared.
struct PaintSpy : QObject
{
    QRegion region;
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
};

// A script in a shown editor, with what a test reads of it.
struct Shown
{
    Ikemen::ScriptDocument document;
    CodeEditor editor;

    explicit Shown(QString const &text)
    {
        document.fromString(text);
        editor.setDocument(&document);
        editor.resize(480, 320);
        editor.show();
        QApplication::setActiveWindow(&editor);
        editor.setFocus();
    }
    QTextBlock block(int line) const { return document.findBlockByNumber(line); }
    QTextCursor cursor(int line, int column) const
    {
        QTextCursor c(block(line));
        c.setPosition(c.position() + column);
        return c;
    }
    void put(int line, int column) { editor.setTextCursor(cursor(line, column)); }
    void fire(char const *name)
    {
        auto *timer = editor.findChild<QTimer *>(QLatin1String(name));
        timer->stop();
        QMetaObject::invokeMethod(timer, "timeout");
    }
    QAbstractItemView *popup() const { return editor.findChild<QCompleter *>()->popup(); }
    // Keys as a user types them, into the popup while it is up; \n is Return,
    // \x1b Escape, \x02 Down and \b Backspace.
    void type(QString const &keys)
    {
        Qt::Key const special[] = {Qt::Key_Return, Qt::Key_Escape, Qt::Key_Down, Qt::Key_Backspace};
        for (QChar c : keys) {
            QWidget *target = popup()->isVisible() ? static_cast<QWidget *>(popup()) : &editor;
            qsizetype const i = u"\n\x1b\x02\b"_s.indexOf(c);
            i < 0 ? QTest::keyClick(target, c.toLatin1()) : QTest::keyClick(target, special[i]);
        }
    }
    // The extra selections as kind, line:column-line:column.
    QString selections() const
    {
        CodeEditor::SyntaxFormatting const &f = editor.syntaxFormatting();
        QStringList out;
        for (QTextEdit::ExtraSelection const &s : editor.extraSelections()) {
            char const kind = s.format == f.parenMatch ? 'm'
                : s.format == f.parenRangeFormat       ? 'r'
                : s.format == f.parenMismatch          ? 'x'
                                                       : 'l';
            QTextCursor a(s.cursor), b(s.cursor);
            a.setPosition(s.cursor.selectionStart());
            b.setPosition(s.cursor.selectionEnd());
            out << QString::asprintf("%c%d:%d-%d:%d", kind, a.blockNumber(), a.positionInBlock(),
                                     b.blockNumber(), b.positionInBlock());
        }
        return out.join(u' ');
    }
    QString visibleLines() const
    {
        QString out;
        for (QTextBlock b = document.begin(); b.isValid(); b = b.next())
            out += b.isVisible() ? u'v' : u'-';
        return out;
    }
};

} // namespace

class TestCodeEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The GL driver that a shown window may load stays until the end.
    void cleanupTestCase() { KenroTest::keepGLDriverLoaded(); }

    void parentheses_data()
    {
        QTest::addColumn<QString>("text"); // | is the cursor
        QTest::addColumn<QString>("option");
        QTest::addColumn<QString>("expected");
        QString const state = u"[State 0, 1]\ntrigger1 = "_s;
        addRow("forward", state + u"|(a + (b))"_s, "", "r1:12-1:19 m1:11-1:12 m1:19-1:20");
        addRow("backward", state + u"(a + (b)|)"_s, "", "r1:17-1:18 m1:16-1:17 m1:18-1:19");
        addRow("no range", state + u"|(a + (b))"_s, "norange", "m1:11-1:12 m1:19-1:20");
        addRow("unmatched", state + u"|(a"_s, "", "x1:11-1:12");
        addRow("mismatch", state + u"|(a]"_s, "", "x1:11-1:12 x1:13-1:14");
        addRow("next line", state + u"|(a\ntrigger2 = b)"_s, "",
               "r1:12-2:12 m1:11-1:12 m2:12-2:13");
        addRow("heading", u"|[State 0, 1]"_s, "", "r0:1-0:11 m0:0-0:1 m0:11-0:12");
        addRow("none here", state + u"(a|)"_s, "", "");
        addRow("off", state + u"|(a + (b))"_s, "off", "");
        addRow("read-only", state + u"|(a + (b))"_s, "readonly", "");
    }
    void parentheses()
    {
        QFETCH(QString, text);
        QFETCH(QString, option);
        qsizetype const cursor = text.indexOf(u'|');
        Shown shown(QString(text).remove(u'|'));
        QTextBlock const block = shown.document.findBlock(int(cursor));
        shown.put(block.blockNumber(), int(cursor) - block.position());
        CodeEditor::SyntaxFormatting formatting = shown.editor.syntaxFormatting();
        formatting.parenRange = option != u"norange";
        formatting.parenMatching = option != u"off";
        shown.editor.setSyntaxFormatting(formatting);
        shown.editor.setReadOnly(option == u"readonly");
        shown.fire("parenTimer");
        QTEST(shown.selections(), "expected");
    }

    void completion_data()
    {
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("extra"); // word lists read after the engine's
        QTest::addColumn<QString>("expected"); // popup shown, current word | line
        addRow("controller", "type = chan\x02\x02\n", "", "0 | type = ChangeState");
        addRow("shown", "type = chan", "", "1 ChangeAnim | type = chan");
        addRow("trigger", "trigger1 = anime\n", "", "0 | trigger1 = AnimElem");
        addRow("constant", "trigger1 = const(vel\n", "",
               "0 | trigger1 = const(velocity.air.gethit.airrecover.add.x");
        addRow("section", "[ stated\n", "", "0 | [ Statedef");
        addRow("end of word", "type = chan,", "", "0 | type = chan,");
        addRow("escape", "type = chan\x1b", "", "0 | type = chan");
        addRow("no prefix", "value = chan", "", "0 | value = chan");
        addRow("after a word", "animtype = chan", "", "0 | animtype = chan");
        addRow("empty list", "type = chan", "<c><model prefix=\"type=\"/></c>", "0 | type = chan");
    }
    void completion()
    {
        QFETCH(QString, extra);
        Shown shown(u"[State 0]\n"_s);
        QVERIFY(shown.editor.completerFromFile(QStringLiteral(KENRO_IKEMEN_COMPLETER)));
        QTemporaryDir dir;
        KenroTest::writeFile(dir.filePath(u"c.xml"_s), extra.isEmpty() ? "<c/>" : extra.toUtf8());
        QVERIFY(shown.editor.completerFromFile(dir.filePath(u"c.xml"_s)));
        QVERIFY(QTest::qWaitForWindowExposed(&shown.editor));
        QFETCH(QString, keys);
        shown.put(1, 0);
        shown.type(keys);
        QAbstractItemView *popup = shown.popup();
        QString const current = popup->currentIndex().data().toString();
        QTEST(u"%1 %2| %3"_s.arg(popup->isVisible())
                  .arg(popup->isVisible() ? current + u' ' : QString())
                  .arg(shown.block(1).text()),
              "expected");
    }

    void changeBarsAndMarks()
    {
        QTemporaryDir dir;
        QString const path = dir.filePath(u"a.cns"_s);
        KenroTest::writeFile(path, "[Data]\nlife = 1\npower = 2\nattack = 3\ndefence = 4\n");
        Shown shown(QString{});
        QVERIFY(shown.document.fromFile(FileSystemArchive::instance(), path, 0, nullptr));
        QVERIFY(QTest::qWaitForWindowExposed(&shown.editor));
        QStringList bands;
        Mark mark;
        QVERIFY(shown.document.addMark(&mark, 4));
        shown.put(2, 0);
        shown.type(u"x"_s);
        bands << KenroTest::bandSummary(shown.editor);
        QVERIFY(shown.document.toFile(FileSystemArchive::instance(), path, 0, nullptr));
        bands << KenroTest::bandSummary(shown.editor);
        shown.put(4, 0);
        shown.editor.markCurrentLine(true);
        shown.put(1, 0);
        shown.type(u"y\n\n"_s); // two lines above the marks
        bands << KenroTest::bandSummary(shown.editor);
        QCOMPARE(bands.join(u" / "), u"0:f 2:r 3:m / 0:f 2:g 3:m / 0:f 1:r 2:r 3:r 4:g 5:m 6:M"_s);
        QCOMPARE(shown.editor.markedLine(), 6);
        QCOMPARE(shown.document.marksAt(6), QList<CodeMark *>({&mark}));
    }

    void foldingByClicks()
    {
        Shown shown(u"[A]\na = 1\n\n; b\n[B]\nb = 2\n[C]\nc = 3"_s);
        QVERIFY(QTest::qWaitForWindowExposed(&shown.editor));
        auto *band = shown.editor.findChild<QWidget *>(u"extraArea"_s);
        auto click = [&](int line) {
            QTest::mouseClick(band, Qt::LeftButton, {},
                              QPoint(band->width() - 3,
                                     shown.editor.cursorRect(shown.cursor(line, 0)).center().y()));
        };
        QStringList out{KenroTest::bandSummary(shown.editor)};
        click(0);
        out << shown.visibleLines() + u' ' + KenroTest::bandSummary(shown.editor);
        click(4);
        click(6); // the last line of the file stays
        click(7); // the last line: nothing to fold
        out << shown.visibleLines();
        click(0);
        click(2); // a line with no fold box
        out << shown.visibleLines() + u' ' + KenroTest::bandSummary(shown.editor);
        QCOMPARE(out.join(u" / "),
                 u"0:f 4:f 6:f / v-vvvvvv 0:f 4:f 6:f / v-vvv-vv / vvvvv-vv 0:f 4:f 6:f"_s);
        QCOMPARE(shown.document.toPlainText(), u"[A]\na = 1\n\n; b\n[B]\nb = 2\n[C]\nc = 3"_s);
    }

    void currentLine()
    {
        Shown shown(QString(u"a\n"_s).repeated(199) + u"a"_s);
        QVERIFY(QTest::qWaitForWindowExposed(&shown.editor));
        int const fits = shown.editor.viewport()->height() / shown.editor.cursorRect().height();
        int const n = shown.editor.displayedLineCount();
        QStringList out; // the cursor's line @ the first line in view
        int const lines[] = {3, 100, 100, 198};
        for (CodeEditor::LineType type :
             {CodeEditor::Centre, CodeEditor::Bottom, CodeEditor::Centre, CodeEditor::Centre}) {
            shown.editor.setCurrentLine(0, CodeEditor::Top);
            shown.editor.setCurrentLine(unsigned(lines[out.size()]), type);
            out << u"%1@%2"_s.arg(shown.editor.textCursor().blockNumber())
                       .arg(shown.editor.cursorForPosition({0, 0}).blockNumber());
        }
        QCOMPARE(out.join(u' '),
                 u"3@0 100@100 100@%1 198@%2"_s.arg(100 + n / 2 - fits + 1).arg(200 - fits));
    }

    // The lines that a keystroke repaints whole, in the text and in the band, and those keeping
    // their shaped text: the cursor's and the two around it.
    void keystrokeRepaints()
    {
        Shown shown(u"[Stat 0]\ntrigger1 = time\n\n[Size]\n"_s + u"x = 1\n"_s.repeated(5));
        QVERIFY(QTest::qWaitForWindowExposed(&shown.editor));
        PaintSpy text, band;
        shown.editor.viewport()->installEventFilter(&text);
        shown.editor.findChild<QWidget *>(u"extraArea"_s)->installEventFilter(&band);
        QStringList out;
        auto step = [&](int line, int column, QString const &keys) {
            shown.put(line, column);
            QCoreApplication::processEvents();
            text.region = band.region = QRegion();
            shown.type(keys);
            QCoreApplication::processEvents();
            QString rows, cached;
            for (QTextBlock b = shown.document.begin(); b.isValid(); b = b.next()) {
                QRect const line = shown.editor.cursorRect(QTextCursor(b));
                QRegion const row(0, line.top(), 40, line.height());
                rows += QLatin1Char(
                    ".btp"[((text.region & row) == row) * 2 + ((band.region & row) == row)]);
                cached += b.layout()->cacheEnabled() ? QString::number(b.blockNumber()) : QString();
            }
            out << rows + u'@' + cached;
        };
        step(4, 5, u"0"_s); // a value: its line, and the band as the file is now modified
        step(4, 6, u"\b"_s); // the pass looks a line further, which stays
        step(0, 5, u"e"_s); // a heading of another kind: its colours
        step(2, 0, u"a="_s); // a blank line joins the section: the marker above it too
        step(1, 0, u"\n"_s); // a new line: all below it
        QCOMPARE(out.join(u' '),
                 u"bbbbpbbbbb@345 ....p.....@345 pp........@01 .pp.......@123 ppppppppppp@123"_s);
    }

    // The band's numbers as QPainter::drawText writes them, bold where selected, and its fold boxes
    // as the style draws them, open and closed, in a palette set after they were first drawn; not
    // on the last line, which is taller by the document's margin.
    void bandPicture()
    {
        Shown shown(u"[A]\na = 1\n[B]\nb = 2\n\n"_s.repeated(3));
        QVERIFY(QTest::qWaitForWindowExposed(&shown.editor));
        shown.editor.toggleBlockVisible(shown.block(5));
        shown.put(2, 1);
        QTest::keyClick(&shown.editor, Qt::Key_Down, Qt::ShiftModifier);
        QPalette palette = shown.editor.palette();
        palette.setColor(QPalette::WindowText, Qt::darkRed);
        shown.editor.setPalette(palette);
        auto *band = shown.editor.findChild<QWidget *>(u"extraArea"_s);
        int const spacing = shown.editor.fontMetrics().lineSpacing();
        int const box = spacing + 1 + spacing % 2, boxLeft = band->width() - box,
                  ground = shown.editor.cursorRect(shown.cursor(1, 0)).top(); // no box there
        QImage const image = band->grab().toImage();
        QImage expected = image;
        QPainter painter(&expected);
        painter.setPen(QColor(Qt::darkRed));
        QString differ;
        for (QTextBlock b = shown.document.begin(); b.next().isValid(); b = b.next()) {
            QRect const row = shown.editor.cursorRect(QTextCursor(b));
            QRect const number(spacing, row.top(), boxLeft - 6 - spacing, row.height()),
                fold(boxLeft, row.top(), box, qMin(row.height(), box));
            QFont font = shown.editor.font();
            font.setBold(b.blockNumber() == 2 || b.blockNumber() == 3);
            painter.setFont(font);
            painter.fillRect(number, palette.window());
            painter.drawText(number, Qt::AlignRight | Qt::AlignVCenter,
                             QString::number(b.blockNumber() + 1));
            if (b.text().startsWith(u'[')) {
                painter.drawImage(fold, image, fold.translated(0, ground - row.top()));
                QStyleOption option;
                option.initFrom(band);
                option.rect = fold;
                option.state = QStyle::State_Item | QStyle::State_Children | QStyle::State_Enabled |
                    (b.next().isVisible() ? QStyle::State_Open : QStyle::State_None);
                band->style()->drawPrimitive(QStyle::PE_IndicatorBranch, &option, &painter, band);
            }
            if (b.isVisible() &&
                (image.copy(number) != expected.copy(number) ||
                 image.copy(fold) != expected.copy(fold)))
                differ += QString::number(b.blockNumber()) + u' ';
        }
        QCOMPARE(differ, QString());
    }

    void randomInput()
    {
        QString text;
        for (int i = 0; i < 40; ++i)
            text += u"[State %1]\ntype = ChangeState\nvalue = %1\ntrigger1 = (a + [b)\n\n"_s.arg(i);
        Shown shown(text);
        QVERIFY(shown.editor.completerFromFile(QStringLiteral(KENRO_IKEMEN_COMPLETER)));
        QVERIFY(QTest::qWaitForWindowExposed(&shown.editor));
        auto *band = shown.editor.findChild<QWidget *>(u"extraArea"_s);
        QRandomGenerator random(24);
        QString const keys = u"ab =([)]\n\x1b\x02,"_s;
        Qt::KeyboardModifier const mods[] = {Qt::NoModifier, Qt::ControlModifier, Qt::ShiftModifier,
                                             Qt::AltModifier};
        for (int i = 0; i < 3000; ++i) {
            QWidget *surface = random.bounded(2) ? band : shown.editor.viewport();
            QPoint const pos(random.bounded(surface->width()), random.bounded(surface->height()));
            Qt::KeyboardModifier const mod = mods[random.bounded(4)];
            switch (random.bounded(6)) {
            case 0:
                shown.type(QString(keys[random.bounded(keys.size())]));
                break;
            case 1:
                QTest::mouseClick(surface, Qt::LeftButton, mod, pos);
                break;
            case 2:
                QTest::mouseMove(surface, pos);
                break;
            case 3: {
                QWheelEvent wheel(pos, surface->mapToGlobal(pos), {},
                                  {0, random.bounded(2) ? 120 : -120}, Qt::NoButton, mod,
                                  Qt::NoScrollPhase, false);
                QApplication::sendEvent(surface, &wheel);
                break;
            }
            case 4:
                QTest::keyClick(&shown.editor, Qt::Key(Qt::Key_Left + random.bounded(4)), mod);
                break;
            default:
                shown.fire(random.bounded(2) ? "parenTimer" : "blockTimer");
            }
        }
        for (QTextBlock b = shown.document.begin(); b.isValid(); b = b.next())
            QVERIFY(b.isVisible() ? b.lineCount() >= 1 : b.lineCount() == 0);
    }
};

QTEST_MAIN(TestCodeEditor)
#include "tst_codeeditor.moc"
