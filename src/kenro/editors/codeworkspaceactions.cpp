// The commands of the code workspace: snippets, going to lines and
// messages, comments, folding, formatting and encodings.
#include "codeworkspace_p.h"

#include <kenro/code/codeblockdata.h>
#include <kenro/code/codedocument.h>
#include <kenro/editors/codeeditor.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/editors/snipdlg.h>
#include <kenro/engine/engine.h>
#include <kenro/project/messages.h>
#include <kenro/project/parentproject.h>
#include <kenro/project/project.h>
#include <kenro/project/textcodecs.h>

#include <QAction>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QSpinBox>
#include <QTextBlock>
#include <QVBoxLayout>

namespace Kenro {

namespace {

void addButtons(QDialog *dialog, QVBoxLayout *layout)
{
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);
}

int foldingIndent(QTextBlock const &block)
{
    CodeBlockData const *data = CodeBlockData::testBlockData(block);
    return data ? data->foldingIndent() : 0;
}

} // namespace

EncDlg::EncDlg(QWidget *parent, int codec) : QDialog(parent), m_codecs(new QComboBox(this))
{
    setWindowTitle(Interface::instance() ? Interface::instance()->text(28)
                                         : QStringLiteral("Encoding"));
    for (int index = 0; index < TextCodecs::count(); ++index)
        m_codecs->addItem(TextCodecs::name(index));
    m_codecs->setCurrentIndex(codec);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_codecs);
    addButtons(this, layout);
}

int EncDlg::codec() const
{
    return m_codecs->currentIndex();
}

GoToDlg::GoToDlg(QWidget *parent, int line) : QDialog(parent), m_line(new QSpinBox(this))
{
    setWindowTitle(Interface::instance() ? Interface::instance()->text(18)
                                         : QStringLiteral("Go to line..."));
    m_line->setRange(1, INT_MAX);
    m_line->setValue(line);
    m_line->selectAll();
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_line);
    addButtons(this, layout);
}

int GoToDlg::line() const
{
    return m_line->value();
}

CodeDocument *CodeWorkspacePrivate::writableDocument() const
{
    return editor->isReadOnly() ? nullptr : document.data();
}

void CodeWorkspacePrivate::encTriggered(QAction *encoding)
{
    setCodec(encoding->objectName().toInt());
}

void CodeWorkspacePrivate::setCodec(int codec)
{
    if (!document)
        return;
    document->waitForSave();
    bool const changed = codec != document->codecId();
    document->setCodecId(codec);
    if (document->fileExists() &&
        QMessageBox::question(interface.mainWindow(), interface.text(2), interface.text(3),
                              QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes)
        document->reload();
    else if (changed)
        document->setModified(true); // the next save writes the new encoding
    checkCodec();
}

void CodeWorkspacePrivate::snipActivated(int index)
{
    bool const chosen = index >= 0 && index < snippets.rowCount();
    action("code_snippet_insert")->setEnabled(chosen);
    action("code_snippet_edit")->setEnabled(chosen);
}

void CodeWorkspacePrivate::errorActivated(int row)
{
    Messages const *messages = document ? document->messages() : nullptr;
    if (!messages || row < 0)
        return;
    Message const message = messages->at(static_cast<unsigned int>(row), Message::All);
    if (message.type == Message::All)
        return;
    editor->setCurrentLine(message.line, CodeEditor::Centre);
    QTextCursor cursor = editor->textCursor();
    QTextBlock const block = cursor.block();
    cursor.setPosition(block.position() + qMin(int(message.column), block.length() - 1));
    editor->setTextCursor(cursor);
    editor->setFocus();
}

void CodeWorkspacePrivate::showContextMenu(QPoint const &position)
{
    QMenu *context = editor->createStandardContextMenu();
    context->addSeparator();
    context->addMenu(menu);
    context->setAttribute(Qt::WA_DeleteOnClose);
    context->popup(editor->viewport()->mapToGlobal(position));
}

void CodeWorkspacePrivate::jumpToMessage(int type, bool forward)
{
    if (!writableDocument())
        return;
    QTextCursor cursor = editor->textCursor();
    int column = cursor.positionInBlock();
    for (QTextBlock block = cursor.block(); block.isValid();
         block = forward ? block.next() : block.previous()) {
        CodeBlockData const *data = CodeBlockData::testBlockData(block);
        QVector<CodeBlockData::SyntaxMessage> const messages =
            data ? data->syntaxMessages() : QVector<CodeBlockData::SyntaxMessage>();
        // Backwards the nearest message before the cursor comes first.
        for (qsizetype i = 0; i < messages.size(); ++i) {
            CodeBlockData::SyntaxMessage const &message =
                messages.at(forward ? i : messages.size() - 1 - i);
            if (message.type == type &&
                (forward ? message.start >= column + 1 : message.end < column)) {
                cursor.setPosition(block.position() + message.start);
                editor->setTextCursor(cursor);
                return;
            }
        }
        QTextBlock const following = forward ? block.next() : block.previous();
        column = forward ? -1 : following.length();
    }
}

QString CodeWorkspacePrivate::commentMarker(Interface *host, CodeDocument const *document)
{
    Engine *engine = nullptr;
    if (Project const *project = document ? document->project() : nullptr)
        engine = project->parent() ? project->parent()->engine() : nullptr;
    if (!engine && host)
        engine = host->engine();
    return engine ? engine->queryString(Engine::CommentString, 0) : QString();
}

void CodeWorkspacePrivate::relistSnippets(QString const &name)
{
    snippets.setPath(snippets.path());
    snippetCombo->setCurrentIndex(snippets.indexOf(name));
    snipActivated(snippetCombo->currentIndex());
}

void CodeWorkspace::statusClicked()
{
    if (!d->document)
        return;
    EncDlg dialog(interface().mainWindow(), d->document->codecId());
    if (dialog.exec() == QDialog::Accepted)
        d->setCodec(dialog.codec());
}

void CodeWorkspace::snipInsert()
{
    if (!d->writableDocument())
        return;
    QString text = d->snippets.snippet(d->editor, d->snippetCombo->currentIndex());
    if (text.isEmpty())
        return;
    qsizetype const marker = text.indexOf(QLatin1String("CURSOR"));
    if (marker >= 0)
        text.remove(marker, 6);
    d->editor->insertPlainText(text);
    if (marker >= 0) {
        QTextCursor cursor = d->editor->textCursor();
        cursor.setPosition(cursor.position() - static_cast<int>(text.size() - marker));
        d->editor->setTextCursor(cursor);
    }
    d->editor->setFocus();
}

void CodeWorkspace::snipNew()
{
    SnipDlg dialog(interface(),
                   d->editor->textCursor().selectedText().replace(QChar::ParagraphSeparator,
                                                                  QLatin1Char('\n')),
                   interface().mainWindow());
    dialog.setDirectory(d->snippets.path());
    dialog.exec();
    d->relistSnippets(QFileInfo(dialog.fileName()).completeBaseName());
}

void CodeWorkspace::snipEdit()
{
    int const index = d->snippetCombo->currentIndex();
    if (index < 0)
        return;
    SnipDlg dialog(interface(), d->snippets.fileName(index), interface().mainWindow());
    dialog.exec();
    d->relistSnippets(d->snippets.name(index));
}

void CodeWorkspace::goToLine()
{
    CodeDocument *document = d->writableDocument();
    if (!document)
        return;
    GoToDlg dialog(interface().mainWindow(), d->editor->textCursor().blockNumber() + 1);
    if (dialog.exec() != QDialog::Accepted)
        return;
    int line = dialog.line();
    if (line > document->blockCount()) {
        if (QMessageBox::question(interface().mainWindow(), QStringLiteral("Go to line"),
                                  QStringLiteral("Invalid line! Do you want go to the last line?"),
                                  QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes)
            return;
        line = document->blockCount();
    }
    d->editor->setCurrentLine(static_cast<unsigned int>(line - 1), CodeEditor::Bottom);
    d->editor->setFocus();
}

void CodeWorkspace::prevError()
{
    d->jumpToMessage(0, false);
}

void CodeWorkspace::nextError()
{
    d->jumpToMessage(0, true);
}

void CodeWorkspace::prevDepr()
{
    d->jumpToMessage(1, false);
}

void CodeWorkspace::nextDepr()
{
    d->jumpToMessage(1, true);
}

void CodeWorkspace::comment()
{
    CodeDocument *document = d->writableDocument();
    QString const marker = CodeWorkspacePrivate::commentMarker(&interface(), document);
    if (!document || marker.isEmpty())
        return;
    QTextCursor const selection = d->editor->textCursor();
    QTextBlock block = document->findBlock(selection.selectionStart());
    QTextBlock last = document->findBlock(selection.selectionEnd());
    // A selection that ends at the start of a line leaves that line alone.
    if (last != block && selection.selectionEnd() == last.position())
        last = last.previous();
    bool const uncomment = block.text().startsWith(marker);
    QTextCursor edit(document);
    edit.beginEditBlock();
    for (int const end = last.blockNumber(); block.isValid() && block.blockNumber() <= end;
         block = block.next()) {
        edit.setPosition(block.position());
        if (!uncomment) {
            edit.insertText(marker);
        } else if (block.text().startsWith(marker)) {
            edit.setPosition(block.position() + static_cast<int>(marker.size()),
                             QTextCursor::KeepAnchor);
            edit.removeSelectedText();
        }
    }
    edit.endEditBlock();
}

void CodeWorkspace::foldAll()
{
    if (!d->document)
        return;
    for (QTextBlock block = d->document->begin(); block.isValid(); block = block.next()) {
        QTextBlock const previous = block.previous();
        if (block.isVisible() && previous.isValid() &&
            foldingIndent(block) > foldingIndent(previous))
            d->editor->toggleBlockVisible(previous);
    }
}

void CodeWorkspace::unfoldAll()
{
    if (!d->document)
        return;
    for (QTextBlock block = d->document->begin(); block.isValid(); block = block.next()) {
        QTextBlock const previous = block.previous();
        if (!block.isVisible() && foldingIndent(block) == 1 && previous.isValid() &&
            foldingIndent(previous) == 0)
            d->editor->toggleBlockVisible(previous);
    }
}

namespace {

void formatSelection(CodeEditor *editor, CodeDocument *document, bool indentOnly)
{
    if (!document)
        return;
    QTextCursor cursor = editor->textCursor();
    document->formatLines(document->findBlock(cursor.selectionStart()).blockNumber(),
                          document->findBlock(cursor.selectionEnd()).blockNumber(), indentOnly);
    cursor = editor->textCursor();
    cursor.clearSelection();
    editor->setTextCursor(cursor);
}

} // namespace

void CodeWorkspace::autoIndent()
{
    formatSelection(d->editor, d->writableDocument(), true);
}

void CodeWorkspace::autoFormat()
{
    formatSelection(d->editor, d->writableDocument(), false);
}

} // namespace Kenro
