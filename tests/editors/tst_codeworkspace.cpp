#include <ikemen/script/scriptdocument.h>

#include <kenro/editors/codeeditor.h>
#include <kenro/editors/codefileeditor.h>
#include <kenro/editors/codeworkspace.h>
#include <kenro/editors/snipdlg.h>
#include <kenro/editors/snippetfile.h>
#include <kenro/editors/snippetmanager.h>
#include <kenro/project/filesystemarchive.h>
#include <kenro/project/messages.h>
#include <kenro/project/project.h>
#include <kenro/project/textcodecs.h>

#include "dialoganswerer.h"
#include "randominput.h"
#include "scenerenderer.h"
#include "testdata.h"
#include "testengine.h"
#include "testinterface.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QCompleter>
#include <QContextMenuEvent>
#include <QDir>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextCodec>
#include <QToolBar>
#include <QTreeView>

using namespace Kenro;
using namespace Qt::StringLiterals;
using KenroTest::addRow;

namespace {

// Fills a form: each control named in `values` takes its value (a combo box
// the item of that data); "*" fills all others, a line edit with "1", a spin
// box with 2, a combo box with its last item. "cancel" rejects the form. The
// controls' places go to `layout` as name@row,column.
bool fillForm(QDialog *form, QMap<QString, QString> const &values, QString *layout = nullptr)
{
    auto *grid = form->findChild<QGridLayout *>();
    if (!grid || form->metaObject() != &QDialog::staticMetaObject)
        return false;
    QStringList places;
    for (int i = 0; i < grid->count(); ++i) {
        QWidget *control = grid->itemAt(i)->widget();
        if (qobject_cast<QLabel *>(control))
            continue;
        int row, column, rows, columns;
        grid->getItemPosition(i, &row, &column, &rows, &columns);
        places << u"%1@%2,%3"_s.arg(control->objectName()).arg(row).arg(column);
        bool const given = values.contains(control->objectName());
        if (!given && !values.contains(u"*"_s))
            continue;
        QString const value = values.value(control->objectName());
        if (auto *edit = qobject_cast<QLineEdit *>(control))
            edit->setText(given ? value : u"1"_s);
        else if (auto *spin = qobject_cast<QSpinBox *>(control))
            spin->setValue(given ? value.toInt() : 2);
        else if (auto *real = qobject_cast<QDoubleSpinBox *>(control))
            real->setValue(value.toDouble());
        else if (auto *combo = qobject_cast<QComboBox *>(control))
            combo->setCurrentIndex(given ? combo->findData(value) : combo->count() - 1);
    }
    if (layout)
        *layout = places.join(u' ');
    values.contains(u"cancel"_s) ? form->reject() : form->accept();
    return true;
}

// A code workspace shown with a file editor of scripts, in a host with an
// engine whose scripts are the plug-in's, a snippets folder and a document.
struct Host
{
    KenroTest::TestInterface host;
    KenroTest::TestEngine engine;
    Ikemen::ScriptDocument document{Project::Scripts};
    QTemporaryDir dir;
    CodeWorkspace workspace{host};
    CodeFileEditor editor{&workspace, "scripts"};
    KenroTest::DialogAnswerer answerer;
    CodeEditor *text = workspace.editor();

    Host()
    {
        host.currentEngine = &engine;
        engine.fileFactory = [](int, Project *) { return new Ikemen::ScriptDocument; };
        editor.setCurrentFile(&document);
        host.switchToEditor(&editor);
        workspace.widget()->resize(900, 600);
        workspace.widget()->show();
        QApplication::setActiveWindow(workspace.widget());
        workspace.snippets()->setPath(dir.path());
    }
    void trigger(char const *key) { workspace.action(QLatin1String(key))->trigger(); }
    // The text with "|" for the cursor and "^" for the anchor of a selection.
    void setMarked(QString value)
    {
        qsizetype const anchor = value.indexOf(u'^');
        value.remove(u'^');
        qsizetype const position = value.indexOf(u'|');
        document.fromString(value.remove(u'|'));
        QTextCursor cursor(&document);
        cursor.setPosition(int(anchor < 0 ? position : anchor));
        cursor.setPosition(int(position), QTextCursor::KeepAnchor);
        text->setTextCursor(cursor);
    }
    QString marked() const
    {
        QString result = document.toPlainText();
        QTextCursor const cursor = text->textCursor();
        result.insert(cursor.position(), u'|');
        if (cursor.hasSelection())
            result.insert(cursor.anchor() + (cursor.anchor() > cursor.position()), u'^');
        return result;
    }
    void writeSnippet(QString const &name, QByteArray const &xml)
    {
        KenroTest::writeFile(dir.filePath(name + u".xml"_s), xml);
    }
    // Inserts snippet \a name of \a folder (the test's by default), its form filled with \a values.
    QString insert(QString const &name, QMap<QString, QString> const &values, QString *layout,
                   QString const &folder = QString())
    {
        workspace.snippets()->setPath(folder.isEmpty() ? dir.path() : folder);
        auto *combo = workspace.toolBar()->findChild<QComboBox *>(u"snippets"_s);
        combo->setCurrentIndex(workspace.snippets()->indexOf(name));
        answerer.handle = [&](QDialog *form) { return fillForm(form, values, layout); };
        trigger("code_snippet_insert");
        return marked();
    }
    QTreeView *tree() const { return editor.tree(); }
    // Right-clicks the tree on \a index, selected, and triggers the menu's \a label;
    // "no menu" or "off" when there is none or it is disabled.
    QString treeMenu(QModelIndex const &index, QString const &label)
    {
        tree()->selectionModel()->select(
            index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        tree()->scrollTo(index);
        QPoint const at = tree()->visualRect(index).center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, tree()->viewport()->mapToGlobal(at));
        QCoreApplication::sendEvent(tree()->viewport(), &event);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu)
            return u"no menu"_s;
        QString result;
        for (QAction *action : menu->actions()) {
            if (action->text() == label)
                action->isEnabled() ? action->trigger() : void(result = u"off"_s);
        }
        menu->close();
        return result;
    }
};

QMap<QString, QString> values(QString const &list)
{
    QMap<QString, QString> result;
    for (QString const &pair : list.split(u';', Qt::SkipEmptyParts))
        result.insert(pair.section(u'=', 0, 0), pair.section(u'=', 1));
    return result;
}

} // namespace

class TestCodeWorkspace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanupTestCase() { KenroTest::keepGLDriverLoaded(); }

    void snippetFile_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("expected"); // fields | code lines | error
        addRow("whole",
               "<snippet><field name=\"a\" title=\"A\"/>\n<field name=\"b\" type=\"items\"/>"
               "<code>\n  x = @a\n\n y\n</code></snippet>",
               "a: b:items|  x = @a// y|");
        addRow("one blank line at each end goes", "<snippet><code>\n\nx\n \n</code></snippet>",
               "|/x/ |");
        addRow("bad xml", "<snippet>\n<field name=\"a\">\n</snippet>",
               "a:|@|Opening and ending tag mismatch. 3:10");
        addRow("field without name", "<snippet>\n<field title=\"A\"/><code>x</code></snippet>",
               "|@|A field has no name 2:18");
        addRow("no code", "<snippet><field name=\"a\"/></snippet>",
               "a:|@|The snippet has no 'code' element 1:36");
        addRow("another root", "<snip><code>x</code></snip>",
               "|@|The file is no snippet: its root is 'snip' 1:6");
        addRow("after the code", "<snippet><code>x</code></snippet><a/>",
               "|x|Extra content at end of document. 1:37");
    }
    void snippetFile()
    {
        QFETCH(QString, xml);
        SnippetFile file;
        file.read(xml);
        QStringList fields;
        for (QXmlStreamAttributes const &field : file.fields())
            fields << field.value(u"name"_s).toString() + u':' + field.value(u"type"_s).toString();
        QString const error = file.errorString().isEmpty()
            ? QString()
            : u"%1 %2:%3"_s.arg(file.errorString()).arg(file.line()).arg(file.column());
        QString const code = file.hasCode() ? file.codeLines().join(u'/') : u"@"_s;
        QTEST(fields.join(u' ') + u'|' + code + u'|' + error, "expected");
    }

    // The form of a snippet, what it puts in, and where the cursor goes.
    void insertion_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("fill");
        QTest::addColumn<QString>("expected"); // the text, the form's controls, the boxes shown
        QString const fields =
            u"<field name=\"s\" title=\"S\"/><field name=\"i\" title=\"I\" type=\"int\" "
            "column=\"1\"/><field name=\"c\" title=\"C\" type=\"items\" column=\"1\" "
            "value=\"1,2\" value_title=\"one,two\"/><field name=\"f\" type=\"float\" "
            "column=\"12\"/>"_s;
        addRow("fields",
               u"<snippet>"_s + fields +
                   u"<code>\n  a = @s\n b = @i, @c CURSOR\n"
                   "d = @f\n</code></snippet>"_s,
               "s=x;i=-5;c=2;f=65.7", "a = x\nb = -5, 2 |\nd = A\n|s@1,0 i@1,1 c@3,1 f@1,10|");
        addRow("no cursor marker", "<snippet><field name=\"s\"/><code>a = @s</code></snippet>",
               "s=1", "a = 1\n||s@1,0|");
        addRow("choice that does not pair up",
               "<snippet><field name=\"c\" type=\"items\" value=\"1,2\" value_title=\"one\"/>"
               "<field name=\"s\"/><code>a = @c @s</code></snippet>",
               "s=x", "a = @c x\n||s@1,0|");
        addRow("in form order",
               "<snippet><field name=\"p\"/><field name=\"pos\"/><code>a = @pos</code></snippet>",
               "p=1;pos=2", "a = 1os\n||p@1,0 pos@3,0|");
        addRow("cancelled", "<snippet><field name=\"s\"/><code>a = @s</code></snippet>", "cancel",
               "||s@1,0|");
        addRow("no code", "<snippet><field name=\"s\"/></snippet>", "",
               "|||XML error: The snippet has no 'code' element at line 1, column 36");
        addRow("fault behind the code", "<snippet><code>a = 1</code></snippet><x/>", "",
               "a = 1\n|||XML error: Extra content at end of document. at line 1, column 41");
    }
    void insertion()
    {
        QFETCH(QString, xml);
        QFETCH(QString, fill);
        Host h;
        h.writeSnippet(u"broken"_s, "<snippet><field name=\"a\"></snippet>");
        h.writeSnippet(u"row"_s, xml.toUtf8());
        KenroTest::writeFile(h.dir.filePath(u"notes.ts"_s), "not a snippet");
        QString layout;
        QString text = h.insert(u"row"_s, values(fill), &layout);
        QStringList boxes;
        for (auto const &seen : std::as_const(h.answerer.seen))
            if (!seen.text.isEmpty())
                boxes << seen.title + u": "_s + seen.text;
        QTEST(text + u'|' + layout + u'|' + boxes.join(u','), "expected");
        // The broken file is listed, and tells its fault when it is chosen.
        QCOMPARE(h.workspace.snippets()->rowCount(), 2);
        h.answerer.seen.clear();
        QCOMPARE(h.insert(u"broken"_s, {}, nullptr), text);
        QCOMPARE(h.answerer.seen.value(0).text,
                 u"Opening and ending tag mismatch. at line 1, column 35"_s);
    }

    void shippedSnippets_data()
    {
        QTest::addColumn<QString>("name");
        for (QString const &file :
             QDir(QStringLiteral(KENRO_IKEMEN_SNIPPETS)).entryList(QDir::Files))
            QTest::newRow(qPrintable(file)) << QFileInfo(file).completeBaseName();
    }
    // Every snippet of the plug-in, filled in, is a script without a fault.
    void shippedSnippets()
    {
        QFETCH(QString, name);
        Host h;
        SnippetFile file;
        QVERIFY(file.load(QStringLiteral(KENRO_IKEMEN_SNIPPETS "/") + name + u".xml"_s));
        QString layout;
        h.insert(name, {{u"*"_s, QString()}}, &layout, QStringLiteral(KENRO_IKEMEN_SNIPPETS));
        QString const text = h.document.toPlainText();
        QCOMPARE(layout.count(u'@'), file.fields().size()); // a control for every field
        QVERIFY2(!text.contains(u'@') && !text.contains(u"CURSOR"_s), qPrintable(text));
        QCOMPARE(h.document.messages()->count(Message::All), 0u);
        QVERIFY(h.document.root()->childCount() > 0);
        QVERIFY(h.text->textCursor().position() < h.document.characterCount() - 2);
    }

    // A snippet made in the dialog from the selection: a field added, saved,
    // written for translators, listed, inserted, and edited again.
    void snipDlg()
    {
        Host h;
        h.setMarked(u"^a = @n\n\nb = 2|"_s);
        QString const file = h.dir.filePath(u"made.xml"_s), ts = h.dir.filePath(u"made.ts"_s);
        h.answerer.files = {{ts}, {file}};
        QStringList seen;
        h.answerer.handle = [&](QDialog *dialog) {
            if (auto *snippet = qobject_cast<SnipDlg *>(dialog)) {
                seen << snippet->windowTitle() + u':' + snippet->codeEditor()->toPlainText();
                QTimer::singleShot(0, snippet, [snippet] {
                    snippet->addField();
                    snippet->saveForTranslation();
                    snippet->save();
                    snippet->accept();
                });
                return true;
            }
            QList<QLineEdit *> const edits = dialog->findChildren<QLineEdit *>();
            if (dialog->windowTitle() != "Snippet field"_L1 || edits.size() < 2)
                return fillForm(dialog, {{u"n"_s, u"7"_s}});
            edits[0]->setText(u"n"_s);
            edits[1]->setText(u"Number"_s);
            dialog->findChild<QComboBox *>()->setCurrentIndex(1);
            dialog->accept();
            return true;
        };
        h.trigger("code_snippet_new");
        QCOMPARE(seen.join(u'|'), u"New code snippet:a = @n\n\nb = 2"_s);
        QCOMPARE(KenroTest::readFile(file),
                 "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<snippet>\r\n\r\n\t<field name=\"n\" "
                 "title=\"Number\" type=\"int\" />\r\n\r\n\t<code>\r\na = @n\r\nb = 2\r\n\t</code>"
                 "\r\n\r\n</snippet>");
        QCOMPARE(KenroTest::readFile(ts),
                 "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.0\">\n"
                 "<context>\n\t<name>Kenro::SnippetManager</name>\t<message>\n\t\t<source>made"
                 "</source>\n\t\t<comment>made</comment>\n\t\t<translation type=\"unfinished\">"
                 "</translation>\n\t</message>\n\t<message>\n\t\t<source>Number</source>\n\t\t"
                 "<comment>made</comment>\n\t\t<translation type=\"unfinished\"></translation>\n"
                 "\t</message>\n</context>\n</TS>");
        // Listed and chosen: inserted at once with its field filled.
        h.setMarked(u"|"_s);
        h.trigger("code_snippet_insert");
        QCOMPARE(h.marked(), u"a = 7\nb = 2\n|"_s);

        // Edited: the field comes back as it was made, becomes a choice, and is written over.
        seen.clear();
        h.answerer.handle = [&](QDialog *dialog) {
            if (auto *snippet = qobject_cast<SnipDlg *>(dialog)) {
                QAbstractItemModel *model = snippet->fieldsView()->model();
                seen << snippet->windowTitle() + u':' + model->index(0, 0).data().toString();
                snippet->fieldsView()->setCurrentIndex(model->index(0, 0));
                QTimer::singleShot(0, snippet, [snippet] {
                    snippet->editField();
                    snippet->save();
                    snippet->accept();
                });
                return true;
            }
            QList<QPlainTextEdit *> const panes = dialog->findChildren<QPlainTextEdit *>();
            seen << dialog->findChildren<QLineEdit *>().value(0)->text() + u' ' +
                    dialog->findChild<QComboBox *>()->currentText();
            dialog->findChild<QComboBox *>()->setCurrentIndex(3);
            panes[0]->setPlainText(u"1\n2\n"_s);
            panes[1]->setPlainText(u"one\ntwo"_s);
            dialog->accept();
            return true;
        };
        h.trigger("code_snippet_edit");
        QCOMPARE(seen.join(u'|'), u"Edit code snippet:Number (@n)|n int"_s);
        QVERIFY(KenroTest::readFile(file).contains(
            "type=\"items\" value=\"1,2\" value_title=\"one,two\"/>"));
    }

    // The commands of the workspace on a small script with two faults.
    void commands_data()
    {
        QTest::addColumn<QString>("text"); // | the cursor, ^ the anchor
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("expected");
        QString const script = u"[Statedef 0]\ntype = S\n[State 0, 1]\ntype = ChangeState\n"
                               "trigger1 = (time\nvalue = 1)"_s;
        auto at = [&script](int position) { return QString(script).insert(position, u'|'); };
        int const error1 = int(script.indexOf(u'(')), error2 = int(script.indexOf(u')'));
        addRow("go to line", at(0), "code_goto 3", at(int(script.indexOf(u"[State 0"_s))));
        addRow("past the end, no", at(3), "code_goto 99 no", at(3));
        addRow("past the end, yes", at(3), "code_goto 99 yes", at(int(script.indexOf(u"value"_s))));
        addRow("next error", at(0), "code_next_error", at(error1));
        addRow("next error again", at(error1), "code_next_error", at(error2));
        addRow("previous error", at(int(script.size()) - 3), "code_prev_error", at(error1));
        addRow("none further", at(error2 + 1), "code_next_error", at(error2 + 1));
        addRow("read-only", at(0), "code_next_error ro", at(0));
        addRow("comment", u"[Statedef 0]\nty^pe = S\n[State 0, 1]\ntyp|e"_s, "code_comment",
               "[Statedef 0]\n;ty^pe = S\n;[State 0, 1]\n;typ|e");
        addRow("uncomment", u"^;a\nb\n;c|"_s, "code_comment", "^a\nb\nc|");
        addRow("up to a line's start", u"^a\nb\n|c"_s, "code_comment", ";^a\n;b\n|c");
        addRow("auto-format", u"  [State 0 ,1]\n^  type=S|"_s, "code_auto_format",
               "  [State 0 ,1]\ntype = S|");
        addRow("auto-indent", u"^  [State 0 ,1]\n  type=S|"_s, "code_auto_indent",
               "[State 0 ,1]\ntype=S|");
        addRow("fold all", at(0), "code_fold_all", "v-v--v");
        addRow("unfold all", at(0), "code_fold_all code_unfold_all", "vvvvvv");
    }
    void commands()
    {
        QFETCH(QString, text);
        QFETCH(QString, command);
        Host h;
        h.setMarked(text);
        QStringList const words = command.split(u' ');
        h.text->setReadOnly(words.contains(u"ro"_s));
        h.answerer.answer = words.contains(u"yes"_s) ? QMessageBox::Yes : QMessageBox::No;
        h.answerer.handle = [&](QDialog *dialog) {
            auto *spin = dialog->findChild<QSpinBox *>();
            if (spin) {
                spin->setValue(words.value(1).toInt());
                dialog->accept();
            }
            return spin != nullptr;
        };
        for (QString const &word : words) {
            if (QAction *action = h.workspace.action(word))
                action->trigger();
        }
        QString visible;
        for (QTextBlock b = h.document.begin(); b.isValid(); b = b.next())
            visible += b.isVisible() ? u'v' : u'-';
        QTEST(command.contains(u"fold"_s) ? visible : h.marked(), "expected");
        if (command == "code_comment"_L1) { // one step of the undo
            h.document.undo();
            QCOMPARE(h.document.toPlainText(), QString(text).remove(u'|').remove(u'^'));
        }
    }

    // Each document keeps its place; a name that is no place opens at the top.
    void documentsKeepTheirPlace()
    {
        Host h;
        QString lines;
        for (int i = 0; i < 200; ++i)
            lines += u"a%1 = %1\n"_s.arg(i);
        Ikemen::ScriptDocument other;
        h.document.fromString(lines);
        other.fromString(lines);
        other.setObjectName(u"abc"_s);
        h.text->setCurrentLine(CodeEditor::LinePos{120, 3, 90});
        h.workspace.setDocument(&other);
        auto place = [&h] {
            CodeEditor::LinePos const p = h.text->currentLine();
            return u"%1,%2,%3"_s.arg(p.line).arg(p.column).arg(p.scrollValue);
        };
        QString const kept = h.document.objectName();
        QString const top = place();
        h.text->setCurrentLine(CodeEditor::LinePos{7, 1, 2});
        h.workspace.setDocument(&h.document);
        QCOMPARE(kept + u'|' + top + u'|' + place(), u"120,3,90|0,0,0|120,3,90"_s);
        h.workspace.setDocument(&other);
        QCOMPARE(place(), u"7,1,2"_s);
        h.workspace.setDocument(nullptr);
        auto *stack = h.workspace.widget()->findChild<QStackedWidget *>();
        QCOMPARE(qobject_cast<QLabel *>(stack->currentWidget())->text(), u"No document."_s);
    }

    // The engine's word lists and snippets, the settings, and the actions given to the host.
    void engineAndSettings()
    {
        Host h;
        QString const engineDir = h.host.resourceDirectory() + h.engine.directory();
        KenroTest::writeFile(engineDir + u"/completer.xml"_s,
                             "<c><model prefix=\"x=\"><word value=\"alpha\"/></model></c>");
        KenroTest::writeFile(engineDir + u"/snippets/one.xml"_s, "<snippet><code/></snippet>");
        h.workspace.engineSwitched(false);
        QCOMPARE(h.workspace.snippets()->rowCount(), 0);
        h.workspace.engineSwitched(true);
        QCOMPARE(h.workspace.snippets()->name(0), u"one"_s);
        h.setMarked(u"|"_s);
        QTest::keyClicks(h.text, u"x = "_s);
        QCOMPARE(h.text->findChild<QCompleter *>()->model()->rowCount(), 1);

        h.host.options = {{u"code_line_numbers"_s, false},      {u"code_highlight_blocks"_s, true},
                          {u"code_paren_matching"_s, false},    {u"background"_s, u"#102030"_s},
                          {u"foreground"_s, QColor(Qt::white)}, {u"show_code_bar"_s, false}};
        h.workspace.reconfig();
        CodeEditor::SyntaxFormatting const &f = h.text->syntaxFormatting();
        QCOMPARE(u"%1%2%3%4 %5 %6"_s.arg(int(f.lineNumbers))
                     .arg(int(f.highlightBlocks))
                     .arg(int(f.parenMatching))
                     .arg(int(f.highlightLine))
                     .arg(int(h.workspace.toolBar()->isVisible()))
                     .arg(h.text->styleSheet()),
                 u"0101 0 QPlainTextEdit { background-color: #102030; color: #ffffff; }"_s);
        h.trigger("view_code_bar");
        QVERIFY(h.workspace.toolBar()->isVisible() && h.host.options[u"show_code_bar"_s].toBool());
        QCOMPARE(h.host.registered.join(u','),
                 u"code_snippet_insert=Insert code snippet,code_snippet_new=New code snippet,"
                 "code_snippet_edit=Edit code snippet,code_goto=Go to line...,code_prev_error="
                 "Previous syntax error,code_next_error=Next syntax error,code_prev_deprecation="
                 "Previous deprecation,code_next_deprecation=Next deprecation,code_comment="
                 "Comment/Uncomment selection,code_fold_all=Fold all code blocks,code_unfold_all="
                 "Unfold all coded blocks,code_auto_indent=Auto-indent selection,code_auto_format="
                 "Auto-format selection,view_code_bar=Code toolbar"_s);
        h.host.switchToEditor(nullptr);
        QVERIFY(!h.workspace.action(u"code_goto"_s)->isEnabled());
    }

    // Remove, Copy and the Pastes of the tree, each one step of the undo.
    void treeMenu_data()
    {
        QTest::addColumn<QString>("node"); // row, or row/child
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("clipboard");
        QTest::addColumn<QString>("expected");
        addRow("remove a section", "1", "Remove", "", "[A]\nx = 1\n");
        addRow("remove one above", "0", "Remove", "", "; about B\n[B]\ny = 2");
        addRow("remove a value", "0/0", "Remove", "", "[A]\n\n; about B\n[B]\ny = 2");
        addRow("copy", "1", "Copy", "", "; about B\n[B]\ny = 2\n");
        addRow("paste before", "0", "Paste before", "[C]\r\nz = 3\r\n",
               "[C]\nz = 3\n[A]\nx = 1\n\n; about B\n[B]\ny = 2");
        addRow("paste after", "0", "Paste after", "[C]\nz = 3\n",
               "[A]\nx = 1\n\n[C]\nz = 3\n; about B\n[B]\ny = 2");
        addRow("paste at the end", "1", "Paste after", "[C]",
               "[A]\nx = 1\n\n; about B\n[B]\ny = 2\n[C]");
        addRow("empty clipboard", "1", "Paste after", "", "off");
    }
    void treeMenu()
    {
        QFETCH(QString, node);
        QFETCH(QString, action);
        QFETCH(QString, clipboard);
        Host h;
        QString const text = u"[A]\nx = 1\n\n; about B\n[B]\ny = 2"_s;
        h.document.fromString(text);
        QApplication::clipboard()->setText(clipboard);
        QModelIndex index = h.document.model()->index(node.section(u'/', 0, 0).toInt(), 0);
        if (node.contains(u'/'))
            index = h.document.model()->index(node.section(u'/', 1).toInt(), 0, index);
        QString const off = h.treeMenu(index, action);
        QString const result =
            action == "Copy"_L1 ? QApplication::clipboard()->text() : h.document.toPlainText();
        QTEST(off.isEmpty() ? result : off, "expected");
        h.document.undo();
        QCOMPARE(h.document.toPlainText(), text);
        h.tree()->clearSelection();
        QCOMPARE(h.treeMenu(QModelIndex(), u"Remove"_s), u"no menu"_s);
    }

    // kfm's states in the file editor: the messages, the tree, the encoding, the file.
    void kfmStates()
    {
        KENRO_REQUIRE_TESTDATA(data);
        Host h;
        QString const path = h.dir.filePath(u"kfm.cns"_s);
        QVERIFY(QFile::copy(data + u"/game/chars/kfm/kfm.cns"_s, path));
        QVERIFY(h.document.fromFile(FileSystemArchive::instance(), path, 0, nullptr));
        QString const original = h.document.toPlainText();
        h.document.toFile(FileSystemArchive::instance(), path, 0, nullptr);
        QByteArray const saved = KenroTest::readFile(path);

        // The messages, one of them chosen with the keyboard.
        QTextCursor end(&h.document);
        end.movePosition(QTextCursor::End);
        end.insertText(u"\n[State 200, 1\ntrigger1 = (1"_s);
        auto *combo = h.workspace.toolBar()->findChild<QComboBox *>(u"messages"_s);
        Messages const *messages = h.document.messages();
        QStringList listed, texts;
        for (int i = 0; i < combo->count(); ++i)
            listed << combo->itemText(i), texts << messages->at(i, Message::All).text;
        QVERIFY(combo->count() >= 2);
        QCOMPARE(listed, texts);
        combo->setCurrentIndex(combo->count() - 2);
        QTest::keyClick(combo, Qt::Key_Down);
        Message const chosen = messages->at(combo->count() - 1, Message::All);
        QCOMPARE(h.text->textCursor().blockNumber(), int(chosen.line));
        QCOMPARE(h.host.status.value(0),
                 u"Line: %1, Column: %2, Line count: %3"_s.arg(chosen.line + 1)
                     .arg(chosen.column + 1)
                     .arg(h.document.blockCount()));
        h.document.undo();
        QCOMPARE(h.document.toPlainText(), original);

        // A state moved about through the clipboard, each change one undo step.
        QAbstractItemModel *model = h.document.model();
        auto state = [model](int number) {
            return model
                ->match(model->index(0, 0), Qt::DisplayRole, u"Statedef %1"_s.arg(number), 1,
                        Qt::MatchExactly)
                .value(0);
        };
        QVERIFY(state(181).isValid());
        QCOMPARE(h.treeMenu(state(181), u"Copy"_s), QString());
        QString const moved = QApplication::clipboard()->text();
        QVERIFY(moved.startsWith(u";----"_s) &&
                moved.contains(u"; Win pose 1 - Bow\n; CNS difficulty: basic\n[Statedef 181]"_s));
        qsizetype const at = original.indexOf(moved);
        qsizetype const before =
            original.lastIndexOf(u";----"_s, original.indexOf(u"[Statedef 180]"_s));
        QVERIFY(at > 0 && original.indexOf(moved, at + 1) < 0 && before < at);
        QStringList const steps = {u"Remove"_s, u"Paste before"_s, u"Paste after"_s};
        QStringList const results = {
            QString(original).remove(at, moved.size()), QString(original).insert(before, moved),
            QString(original).insert(original.indexOf(u"[State 180, 1]"_s), moved)};
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(h.treeMenu(state(i ? 180 : 181), steps[i]), QString());
            QVERIFY2(h.document.toPlainText() == results[i], qPrintable(steps[i]));
            h.document.undo();
            QVERIFY2(h.document.toPlainText() == original, qPrintable(steps[i]));
        }
        // A node chosen in the tree puts the cursor on its line; with auto_expand_tree the
        // cursor's line is chosen in the tree.
        h.tree()->selectionModel()->clear();
        h.tree()->scrollTo(state(180));
        QTest::mouseClick(h.tree()->viewport(), Qt::LeftButton, {},
                          h.tree()->visualRect(state(180)).center());
        QCOMPARE(h.text->textCursor().block().text(), u"[Statedef 180]"_s);
        h.host.options[u"auto_expand_tree"_s] = true;
        int const line = h.document.lineNo(state(181)) + 2;
        h.editor.navigateTo(line, 2);
        QCOMPARE(h.document.lineNo(h.tree()->selectionModel()->selectedRows().value(0)), line);

        h.workspace.widget()->grab().save(KenroTest::picturePath(u"codeworkspace-kfm.png"_s));
        // Saved after all: the file as it was, byte for byte.
        h.document.toFile(FileSystemArchive::instance(), path, 0, nullptr);
        QCOMPARE(KenroTest::readFile(path), saved);
        // A new encoding, kept without reloading, is what the next save writes.
        QAction *utf16 = nullptr;
        for (QAction *action : h.workspace.menu()->findChildren<QAction *>())
            if (action->text() == "UTF-16LE"_L1)
                utf16 = action;
        h.answerer.answer = QMessageBox::No;
        utf16->trigger();
        QVERIFY(h.document.isModified() && utf16->isChecked());
        h.editor.save();
        h.document.waitForSave();
        QCoreApplication::processEvents();
        QByteArray const written = KenroTest::readFile(path);
        QCOMPARE(QTextCodec::codecForName("UTF-16LE")
                     ->toUnicode(written)
                     .remove(u'\r')
                     .remove(QChar(0xFEFF)),
                 original);
        QCOMPARE(h.answerer.titles(), QStringList{u"Reload"_s});
        // Reloaded with the encoding named in the dialog: the text as the file says.
        h.answerer.answer = QMessageBox::Yes;
        h.answerer.handle = [](QDialog *dialog) {
            bool const encodings = !qobject_cast<QMessageBox *>(dialog);
            if (encodings)
                dialog->accept();
            return encodings;
        };
        h.document.insert(u"changed"_s);
        h.workspace.statusClicked();
        QVERIFY(h.document.toPlainText() == original && !h.document.isModified());
        h.editor.saveAsUTF8();
        h.document.waitForSave();
        QCoreApplication::processEvents();
        QCOMPARE(KenroTest::readFile(path), saved);
    }

    // Search marks the hits, the first one selected near the middle of the view.
    void find()
    {
        Host h;
        QString text;
        for (int i = 0; i < 100; ++i)
            text += i % 10 ? u"a = 1\n"_s : u"key = %1\n"_s.arg(i);
        h.setMarked(u"|"_s + text);
        QList<ProjectFile::SearchResult> const results =
            h.editor.find(RegExp(u"key"_s), ProjectFile::SearchAll);
        QCOMPARE(results.size(), 10);
        QCOMPARE(h.text->textCursor().selectedText() +
                     QString::number(h.text->textCursor().blockNumber()),
                 u"key0"_s);
        QCOMPARE(h.text->extraSelections().size(), 9);
        h.editor.find(RegExp(u"key = 50"_s), 0);
        int const middle =
            h.text->cursorForPosition(QPoint(4, h.text->viewport()->height() / 2)).blockNumber();
        QVERIFY2(qAbs(middle - 50) <= 2, qPrintable(QString::number(middle)));
        QVERIFY(h.editor.find(RegExp(), 0).isEmpty() && h.text->extraSelections().isEmpty());
    }

    // Thousands of random events on the shown workspace, with commands in between;
    // the undo takes every change back.
    void randomInput()
    {
        Host h;
        h.writeSnippet(u"one"_s,
                       "<snippet><field name=\"s\"/><code>a = @s CURSOR</code></snippet>");
        h.workspace.snippets()->setPath(h.dir.path());
        QString text;
        for (int i = 0; i < 60; ++i)
            text += u"[State %1, 1]\ntype = Null\ntrigger1 = (time\n"_s.arg(i);
        h.document.fromString(text);
        QList<QAction *> actions;
        for (QString const &entry : std::as_const(h.host.registered))
            actions << h.workspace.action(entry.section(u'=', 0, 0));
        h.answerer.handle = [](QDialog *dialog) { return fillForm(dialog, {{u"*"_s, {}}}); };
        QApplication::setStartDragDistance(1 << 20); // a drag would wait for a real drop
        QList<Qt::Key> const keys = {Qt::Key_A,          Qt::Key_Return, Qt::Key_Backspace,
                                     Qt::Key_Down,       Qt::Key_PageUp, Qt::Key_Semicolon,
                                     Qt::Key_BracketLeft};
        for (QWidget *target : {static_cast<QWidget *>(h.text->viewport()),
                                static_cast<QWidget *>(h.tree()->viewport()),
                                static_cast<QWidget *>(h.workspace.toolBar())}) {
            KenroTest::sendRandomInput(target, 1500, 25, keys, [&](QRandomGenerator &random) {
                actions[random.bounded(int(actions.size()))]->trigger();
                if (QWidget *popup = QApplication::activePopupWidget())
                    popup->close();
            });
        }
        QVERIFY(h.document.toPlainText() != text);
        while (h.document.isUndoAvailable())
            h.document.undo();
        QCOMPARE(h.document.toPlainText(), text);
    }
};

QTEST_MAIN(TestCodeWorkspace)
#include "tst_codeworkspace.moc"
