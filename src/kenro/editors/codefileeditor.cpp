#include <kenro/editors/codefileeditor.h>

#include "codefileeditor_p.h"
#include "codeworkspace_p.h"

#include <kenro/code/codedocument.h>
#include <kenro/editors/codeeditor.h>
#include <kenro/editors/codeworkspace.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/engine/engine.h>
#include <kenro/project/messages.h>
#include <kenro/project/project.h>
#include <kenro/project/textcodecs.h>

#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QTextBlock>
#include <QTimer>
#include <QTreeView>

#include <algorithm>

namespace Kenro {

CodeFileEditorPrivate::CodeFileEditorPrivate(CodeFileEditor *editor, CodeWorkspace *workspace,
                                             char const *name)
    : q(editor),
      workspace(workspace),
      name(name),
      tree(new QTreeView),
      removeAction(menu.addAction(QString())),
      copyAction(menu.addAction(QString())),
      pasteBeforeAction(menu.addAction(QString())),
      pasteAfterAction(menu.addAction(QString()))
{
    tree->setHeaderHidden(true);
    tree->setUniformRowHeights(true);
    tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree->setContextMenuPolicy(Qt::CustomContextMenu);
    workspace->addPanel(tree);
    connect(tree, &QWidget::customContextMenuRequested, this,
            &CodeFileEditorPrivate::onCustomContextMenu);
    connect(tree, &QAbstractItemView::clicked, this, &CodeFileEditorPrivate::selectedItem);
    connect(tree, &QAbstractItemView::activated, this, &CodeFileEditorPrivate::selectedItem);
    connect(removeAction, &QAction::triggered, this, &CodeFileEditorPrivate::deleteNode);
    connect(copyAction, &QAction::triggered, this, &CodeFileEditorPrivate::copyNode);
    connect(pasteBeforeAction, &QAction::triggered, this, [this] { paste(false); });
    connect(pasteAfterAction, &QAction::triggered, this, [this] { paste(true); });
}

CodeFileEditorPrivate::~CodeFileEditorPrivate()
{
    delete tree;
}

void CodeFileEditorPrivate::onCustomContextMenu(QPoint const &position)
{
    menuIndex = tree->indexAt(position);
    if (!tree->selectionModel() || !tree->selectionModel()->hasSelection())
        return;
    bool const paste = menuIndex.isValid() && !QApplication::clipboard()->text().isEmpty();
    pasteBeforeAction->setEnabled(paste);
    pasteAfterAction->setEnabled(paste);
    menu.popup(tree->viewport()->mapToGlobal(position));
}

QList<std::pair<int, int>> CodeFileEditorPrivate::selectedLines() const
{
    QList<std::pair<int, int>> lines;
    if (!document || !tree->selectionModel())
        return lines;
    QModelIndexList const rows = tree->selectionModel()->selectedRows();
    for (QModelIndex const &row : rows) {
        bool inside = false;
        for (QModelIndex up = row.parent(); up.isValid() && !inside; up = up.parent())
            inside = rows.contains(up);
        CodeNode const *node = CodeDocument::nodeFromIndex(row);
        if (!inside && node && node->isValid())
            lines.append(linesOf(node));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::pair<int, int> CodeFileEditorPrivate::linesOf(CodeNode const *node) const
{
    int const count = document->blockCount();
    int first = qBound(0, node->firstLine(), count - 1);
    int last = qBound(first, node->lastLine(), count - 1);
    QString const marker = CodeWorkspacePrivate::commentMarker(Interface::instance(), document);
    auto comment = [&](int line) {
        return !marker.isEmpty() &&
            document->findBlockByNumber(line).text().trimmed().startsWith(marker);
    };
    while (first > 0 && comment(first - 1))
        --first;
    while (last > first && last < count - 1 && comment(last))
        --last;
    return {first, last};
}

QTextCursor CodeFileEditorPrivate::selectLines(std::pair<int, int> const &lines) const
{
    QTextBlock const first = document->findBlockByNumber(lines.first);
    QTextBlock const last = document->findBlockByNumber(lines.second);
    QTextCursor cursor(document);
    if (last.next().isValid()) {
        cursor.setPosition(first.position());
        cursor.setPosition(last.next().position(), QTextCursor::KeepAnchor);
    } else {
        // The last lines take the line break before them along.
        cursor.setPosition(qMax(first.position() - 1, 0));
        cursor.setPosition(last.position() + last.length() - 1, QTextCursor::KeepAnchor);
    }
    return cursor;
}

QString CodeFileEditorPrivate::clipboardLines()
{
    QString text = QApplication::clipboard()->text();
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(u'\r', u'\n');
    // Whole lines come with their line break, which the insertion makes itself.
    if (text.endsWith(u'\n'))
        text.chop(1);
    return text;
}

void CodeFileEditorPrivate::change(std::function<void()> const &change)
{
    if (!document || workspace->editor()->isReadOnly())
        return;
    int const scroll = tree->verticalScrollBar()->value();
    document->beginChange();
    change();
    document->endChange();
    // A change that rebuilds the tree scrolls it to the top; it comes back once it is laid out.
    QTimer::singleShot(0, tree, [view = tree, scroll] {
        if (view)
            view->verticalScrollBar()->setValue(scroll);
    });
}

void CodeFileEditorPrivate::deleteNode()
{
    QList<std::pair<int, int>> const lines = selectedLines();
    // From the last: the lines above stay where they are.
    change([&] {
        for (auto range = lines.rbegin(); range != lines.rend(); ++range)
            document->insertOnCursor(QString(), selectLines(*range));
    });
}

void CodeFileEditorPrivate::copyNode()
{
    QString text;
    for (std::pair<int, int> const &range : selectedLines()) {
        QTextCursor lines(document->findBlockByNumber(range.first));
        QTextBlock const last = document->findBlockByNumber(range.second);
        lines.setPosition(last.position() + last.length() - 1, QTextCursor::KeepAnchor);
        text += lines.selectedText() + u'\n';
    }
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text.replace(QChar::ParagraphSeparator, u'\n'));
}

void CodeFileEditorPrivate::paste(bool after)
{
    CodeNode const *node = CodeDocument::nodeFromIndex(menuIndex);
    QString const text = clipboardLines();
    if (!document || !menuIndex.isValid() || !node || !node->isValid() || text.isEmpty())
        return;
    std::pair<int, int> const lines = linesOf(node);
    QTextBlock const block = document->findBlockByNumber(after ? lines.second : lines.first);
    QTextCursor cursor(document);
    if (!after)
        cursor.setPosition(block.position());
    else if (block.next().isValid())
        cursor.setPosition(block.next().position());
    else
        cursor.setPosition(block.position() + block.length() - 1);
    bool const atEnd = after && !block.next().isValid();
    change([&] {
        document->insertOnCursor(atEnd ? QString(u'\n' + text) : QString(text + u'\n'), cursor);
    });
}

void CodeFileEditorPrivate::cursorChanged(QPoint position)
{
    Interface *host = Interface::instance();
    if (!host || !document)
        return;
    host->setStatusText(0,
                        QStringLiteral("Line: %1, Column: %2, Line count: %3")
                            .arg(position.x() + 1)
                            .arg(position.y() + 1)
                            .arg(document->blockCount()));
    Messages const *messages = document->messages();
    host->setStatusText(1,
                        QStringLiteral("Syntax error count: %1")
                            .arg(messages ? messages->count(Message::Error) : 0));
}

void CodeFileEditorPrivate::currLineChanged(int line)
{
    Interface *host = Interface::instance();
    if (!host || !document || !tree->selectionModel() ||
        !host->option(QStringLiteral("auto_expand_tree"), false).toBool())
        return;
    tree->collapseAll();
    QModelIndex const index = document->indexInLine(line);
    if (!index.isValid())
        return;
    tree->selectionModel()->select(index,
                                   QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    tree->expand(index);
    tree->scrollTo(index);
}

void CodeFileEditorPrivate::selectedItem(QModelIndex const &index)
{
    if (document && index.isValid())
        workspace->editor()->setCurrentLine(document->lineNo(index), CodeEditor::Centre);
}

CodeFileEditor::CodeFileEditor(CodeWorkspace *workspace, char const *name, QObject *parent)
    : FileEditor(parent), d(new CodeFileEditorPrivate(this, workspace, name))
{
    retranslate();
}

CodeFileEditor::~CodeFileEditor()
{
    delete d;
}

void CodeFileEditor::release()
{
    delete this;
}

QAction *CodeFileEditor::action()
{
    Engine const *engine = m_interface ? m_interface->engine() : nullptr;
    QString const type = engine ? engine->fileTypeName(fileType()) : QString();
    d->action.setText(type.isEmpty() ? QStringLiteral("Scripts") : type);
    return &d->action;
}

char const *CodeFileEditor::name() const
{
    return d->name;
}

unsigned int CodeFileEditor::areas() const
{
    return 1;
}

int CodeFileEditor::fileType() const
{
    return Project::Scripts;
}

CodeWorkspace *CodeFileEditor::workspace() const
{
    return d->workspace;
}

QTreeView *CodeFileEditor::tree() const
{
    return d->tree;
}

void CodeFileEditor::setCodeModel(QAbstractItemModel *model)
{
    d->tree->setModel(model);
}

void CodeFileEditor::setCurrentFile(ProjectFile *file)
{
    FileEditor::setCurrentFile(file);
    if (d->document)
        disconnect(d->document, nullptr, this, nullptr);
    d->document = dynamic_cast<CodeDocument *>(file);
    setCodeModel(d->document ? d->document->model() : nullptr);
    if (d->document)
        connect(d->document, &QTextDocument::modificationChanged, this,
                &FileEditor::contentsChanged);
    if (isActive())
        d->workspace->setDocument(d->document);
}

void CodeFileEditor::navigateTo(unsigned int line, unsigned int column)
{
    CodeEditor *editor = d->workspace->editor();
    QTextBlock const block = d->document ? d->document->findBlockByNumber(int(line)) : QTextBlock();
    if (!block.isValid())
        return;
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + qMin(int(column), block.length() - 1));
    editor->setTextCursor(cursor);
    editor->setFocus();
}

QList<ProjectFile::SearchResult> CodeFileEditor::find(RegExp const &regExp, unsigned int flags)
{
    CodeEditor *editor = d->workspace->editor();
    editor->setFoundSelections({});
    CodeDocument *document = d->document;
    if (!document || regExp.pattern().isEmpty())
        return {};
    document->setCursor(editor->textCursor());
    QList<ProjectFile::SearchResult> const results = document->search(regExp, flags);
    auto select = [document](ProjectFile::SearchResult const &result) {
        QTextCursor cursor(document->findBlockByNumber(result.line));
        cursor.setPosition(cursor.position() + result.position);
        cursor.setPosition(cursor.position() + result.length, QTextCursor::KeepAnchor);
        return cursor;
    };
    QList<QTextEdit::ExtraSelection> others;
    for (qsizetype i = 1; i < results.size(); ++i) {
        QTextEdit::ExtraSelection other;
        other.cursor = select(results.at(i));
        other.format.setBackground(Qt::yellow);
        other.format.setForeground(Qt::black);
        others.append(other);
    }
    if (results.isEmpty())
        return results;
    // Half a screen past the match first, so that the view stops with it near the middle.
    int const half = editor->displayedLineCount() / 2;
    int const line = results.first().line + (flags & ProjectFile::SearchBackward ? -half : half);
    editor->setTextCursor(
        QTextCursor(document->findBlockByNumber(qBound(0, line, document->blockCount() - 1))));
    editor->setTextCursor(select(results.first()));
    editor->setFoundSelections(others);
    return results;
}

void CodeFileEditor::replace(QList<ProjectFile::SearchResult> const &results,
                             QString const &replacement)
{
    if (d->document)
        d->document->replace(results, replacement);
}

void CodeFileEditor::activate()
{
    FileEditor::activate();
    CodeEditor *editor = d->workspace->editor();
    d->workspace->setDocument(d->document);
    if (m_interface)
        m_interface->setWorkspace(d->workspace->widget());
    d->workspace->activate();
    d->tree->show();
    connect(editor, &CodeEditor::cursorChanged, d, &CodeFileEditorPrivate::cursorChanged);
    connect(editor, &CodeEditor::currentLineChanged, d, &CodeFileEditorPrivate::currLineChanged);
    QTextCursor const cursor = editor->textCursor();
    d->cursorChanged(QPoint(cursor.blockNumber(), cursor.positionInBlock()));
}

void CodeFileEditor::deactivate()
{
    disconnect(d->workspace->editor(), nullptr, d, nullptr);
    d->tree->hide();
    d->workspace->deactivate();
    FileEditor::deactivate();
}

void CodeFileEditor::retranslate()
{
    d->removeAction->setText(QStringLiteral("Remove"));
    d->copyAction->setText(QStringLiteral("Copy"));
    d->pasteBeforeAction->setText(QStringLiteral("Paste before"));
    d->pasteAfterAction->setText(QStringLiteral("Paste after"));
}

void CodeFileEditor::cut()
{
    d->workspace->editor()->cut();
}

void CodeFileEditor::copy()
{
    d->workspace->editor()->copy();
}

void CodeFileEditor::paste()
{
    d->workspace->editor()->paste();
}

void CodeFileEditor::saveAsUTF8()
{
    if (!d->document)
        return;
    d->document->waitForSave();
    int const utf8 = TextCodecs::index("UTF-8");
    if (d->document->codecId() != utf8) {
        d->document->setCodecId(utf8);
        d->document->setModified(true);
    }
    save();
}

} // namespace Kenro
