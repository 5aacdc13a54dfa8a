#include <kenro/editors/codeworkspace.h>

#include "codeworkspace_p.h"

#include <kenro/code/codedocument.h>
#include <kenro/editors/codeeditor.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/editors/snipdlg.h>
#include <kenro/engine/engine.h>
#include <kenro/project/messages.h>
#include <kenro/project/textcodecs.h>

#include <QAction>
#include <QActionGroup>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QSplitter>
#include <QStackedWidget>
#include <QToolBar>
#include <QVBoxLayout>

namespace Kenro {

namespace {

// The actions of the workspace in their order: key, text id, slot.
struct ActionEntry
{
    char const *key;
    int text;
    void (CodeWorkspace::*slot)();
    char const *shortcut;
};

ActionEntry const actionEntries[] = {
    {"view_code_bar", 4, nullptr, nullptr},
    {"code_snippet_insert", 14, &CodeWorkspace::snipInsert, nullptr},
    {"code_snippet_new", 15, &CodeWorkspace::snipNew, nullptr},
    {"code_snippet_edit", 16, &CodeWorkspace::snipEdit, nullptr},
    {"code_goto", 18, &CodeWorkspace::goToLine, "Ctrl+G"},
    {"code_prev_error", 19, &CodeWorkspace::prevError, "Shift+F8"},
    {"code_next_error", 20, &CodeWorkspace::nextError, "F8"},
    {"code_prev_deprecation", 21, &CodeWorkspace::prevDepr, nullptr},
    {"code_next_deprecation", 22, &CodeWorkspace::nextDepr, nullptr},
    {"code_comment", 23, &CodeWorkspace::comment, "Ctrl+/"},
    {"code_fold_all", 24, &CodeWorkspace::foldAll, nullptr},
    {"code_unfold_all", 25, &CodeWorkspace::unfoldAll, nullptr},
    {"code_auto_indent", 26, &CodeWorkspace::autoIndent, "Ctrl+I"},
    {"code_auto_format", 27, &CodeWorkspace::autoFormat, nullptr},
};

QColor colourOption(Interface &host, char const *key, QColor const &fallback)
{
    QColor const colour = host.option(QLatin1String(key), QVariant()).value<QColor>();
    return colour.isValid() ? colour : fallback;
}

} // namespace

CodeWorkspacePrivate::CodeWorkspacePrivate(CodeWorkspace *workspace)
    : q(workspace),
      interface(workspace->interface()),
      widget(new QWidget),
      splitter(new QSplitter(widget)),
      stack(new QStackedWidget(splitter)),
      placeholder(new QLabel(stack)),
      editor(new CodeEditor(stack)),
      toolBar(new QToolBar(widget)),
      snippetCombo(new QComboBox(toolBar)),
      errorCombo(new QComboBox(toolBar)),
      menu(new QMenu),
      snippetMenu(new QMenu(menu)),
      encodingMenu(new QMenu(menu)),
      encodings(new QActionGroup(this))
{
    widget->setObjectName(QStringLiteral("code"));
    placeholder->setAlignment(Qt::AlignCenter);
    stack->addWidget(editor);
    stack->addWidget(placeholder);
    stack->setCurrentWidget(placeholder);
    splitter->addWidget(stack);
    splitter->setStretchFactor(0, 1);
    editor->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(editor, &QWidget::customContextMenuRequested, this,
            &CodeWorkspacePrivate::showContextMenu);

    snippetCombo->setObjectName(QStringLiteral("snippets"));
    errorCombo->setObjectName(QStringLiteral("messages"));
    snippetCombo->setModel(&snippets);
    snippetCombo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(snippetCombo, &QComboBox::activated, this, &CodeWorkspacePrivate::snipActivated);
    auto updateSnippets = [this] { snipActivated(snippetCombo->currentIndex()); };
    connect(&snippets, &QAbstractItemModel::rowsInserted, this, updateSnippets);
    connect(&snippets, &QAbstractItemModel::rowsRemoved, this, updateSnippets);
    errorCombo->setModel(&noMessages);
    errorCombo->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(errorCombo, &QComboBox::activated, this, &CodeWorkspacePrivate::errorActivated);

    encodings->setExclusionPolicy(QActionGroup::ExclusionPolicy::ExclusiveOptional);
    for (int codec = 0; codec < TextCodecs::count(); ++codec) {
        QAction *encoding = encodingMenu->addAction(TextCodecs::name(codec));
        encoding->setObjectName(QString::number(codec));
        encoding->setCheckable(true);
        encodings->addAction(encoding);
    }
    connect(encodings, &QActionGroup::triggered, this, &CodeWorkspacePrivate::encTriggered);
    makeActions();

    auto *layout = new QVBoxLayout(widget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(toolBar);
    layout->addWidget(splitter, 1);
}

CodeWorkspacePrivate::~CodeWorkspacePrivate()
{
    delete widget;
    delete menu;
}

QAction *CodeWorkspacePrivate::action(char const *key) const
{
    for (QAction *candidate : actions) {
        if (candidate->objectName() == QLatin1String(key))
            return candidate;
    }
    return nullptr;
}

void CodeWorkspacePrivate::makeActions()
{
    for (ActionEntry const &entry : actionEntries) {
        auto *created = new QAction(this);
        created->setObjectName(QLatin1String(entry.key));
        created->setIcon(interface.icon(QLatin1String(entry.key)));
        created->setText(interface.text(entry.text));
        created->setToolTip(interface.toolTip(entry.text));
        if (entry.shortcut) {
            created->setShortcut(QKeySequence(QLatin1String(entry.shortcut)));
            created->setShortcutContext(Qt::WidgetWithChildrenShortcut);
            widget->addAction(created);
        }
        if (entry.slot)
            connect(created, &QAction::triggered, q, entry.slot);
        actions.append(created);
    }
    QAction *bar = actions.first();
    bar->setCheckable(true);
    connect(bar, &QAction::toggled, q, &CodeWorkspace::showTextBar);

    for (char const *key : {"code_snippet_insert", "code_snippet_new", "code_snippet_edit"})
        interface.actionControl(QLatin1String(key), action(key), snippetMenu);
    menu->addMenu(snippetMenu);
    menu->addSeparator();
    for (QAction *entry : actions.mid(4)) {
        if (entry->objectName() == QLatin1String("code_comment") ||
            entry->objectName() == QLatin1String("code_fold_all"))
            menu->addSeparator();
        interface.actionControl(entry->objectName(), entry, menu);
    }
    menu->addSeparator();
    menu->addMenu(encodingMenu);
    interface.actionControl(bar->objectName(), bar, menu);

    toolBar->addWidget(snippetCombo);
    toolBar->addActions(actions.mid(1, 3));
    toolBar->addSeparator();
    toolBar->addWidget(errorCombo);
    toolBar->addActions({action("code_prev_error"), action("code_next_error")});
    toolBar->addSeparator();
    toolBar->addActions({action("code_goto"), action("code_comment")});
}

void CodeWorkspacePrivate::checkCodec()
{
    encodingMenu->setEnabled(document);
    QString const codec = document ? QString::number(document->codecId()) : QString();
    for (QAction *encoding : encodings->actions())
        encoding->setChecked(encoding->objectName() == codec);
}

CodeWorkspace::CodeWorkspace(Interface &interface, QObject *parent)
    : Workspace(interface, parent), d(new CodeWorkspacePrivate(this))
{
    retranslate();
    reconfig();
    d->checkCodec();
    d->snipActivated(-1);
}

CodeWorkspace::~CodeWorkspace()
{
    delete d;
}

char const *CodeWorkspace::name() const
{
    return "code";
}

QWidget *CodeWorkspace::widget()
{
    return d->widget;
}

CodeEditor *CodeWorkspace::editor() const
{
    return d->editor;
}

QToolBar *CodeWorkspace::toolBar() const
{
    return d->toolBar;
}

QMenu *CodeWorkspace::menu() const
{
    return d->menu;
}

QAction *CodeWorkspace::action(QString const &key) const
{
    return d->action(key.toLatin1().constData());
}

SnippetManager *CodeWorkspace::snippets() const
{
    return &d->snippets;
}

CodeDocument *CodeWorkspace::document() const
{
    return d->document;
}

void CodeWorkspace::setDocument(CodeDocument *document)
{
    Messages *messages = document ? document->messages() : nullptr;
    d->errorCombo->setModel(messages ? static_cast<QAbstractItemModel *>(messages)
                                     : &d->noMessages);
    if (d->document) {
        CodeEditor::LinePos const place = d->editor->currentLine();
        d->document->setObjectName(
            QStringLiteral("%1,%2,%3").arg(place.line).arg(place.column).arg(place.scrollValue));
        disconnect(d->document, nullptr, d, nullptr);
    }
    d->document = document;
    d->editor->setDocument(document);
    if (document) {
        QString const kept = document->objectName();
        QStringList const parts =
            (kept.isEmpty() ? QStringLiteral("0,0,0") : kept).split(QLatin1Char(','));
        if (parts.size() == 3)
            d->editor->setCurrentLine(
                CodeEditor::LinePos{parts[0].toInt(), parts[1].toInt(), parts[2].toInt()});
        // A document that goes while shown leaves the placeholder.
        connect(document, &QObject::destroyed, d, [this] {
            d->errorCombo->setModel(&d->noMessages);
            d->stack->setCurrentWidget(d->placeholder);
            d->checkCodec();
        });
    }
    d->editor->setFocus();
    d->checkCodec();
    d->stack->setCurrentWidget(document ? static_cast<QWidget *>(d->editor) : d->placeholder);
}

void CodeWorkspace::addPanel(QWidget *widget)
{
    widget->hide();
    d->splitter->insertWidget(d->splitter->count() - 1, widget);
    d->splitter->setStretchFactor(d->splitter->count() - 1, 1);
}

void CodeWorkspace::activate()
{
    for (QAction *entry : std::as_const(d->actions))
        entry->setEnabled(true);
    d->snipActivated(d->snippetCombo->currentIndex());
}

void CodeWorkspace::deactivate()
{
    for (QAction *entry : std::as_const(d->actions))
        entry->setEnabled(false);
}

void CodeWorkspace::reconfig()
{
    Interface &host = interface();
    auto flag = [&host](char const *key, bool fallback) {
        return host.option(QLatin1String(key), fallback).toBool();
    };
    CodeEditor::SyntaxFormatting formatting = d->editor->syntaxFormatting();
    formatting.lineNumbers = flag("code_line_numbers", true);
    formatting.highlightLine = flag("code_highlight_line", true);
    formatting.highlightBlocks = flag("code_highlight_blocks", false);
    formatting.foldingMarkers = flag("code_folding_markers", true);
    formatting.parenMatching = flag("code_paren_matching", true);
    formatting.lineColor = colourOption(host, "line", formatting.lineColor);
    formatting.blockRangeColor = colourOption(host, "block_range", formatting.blockRangeColor);
    formatting.parenRangeFormat.setBackground(
        colourOption(host, "paren_range", formatting.parenRangeFormat.background().color()));
    QVariant const paren = host.option(QStringLiteral("paren"), QVariant());
    if (paren.canConvert<QTextFormat>() && paren.value<QTextFormat>().isCharFormat())
        formatting.parenMatch = paren.value<QTextFormat>().toCharFormat();
    d->editor->setSyntaxFormatting(formatting);

    QColor const background = colourOption(host, "background", QColor());
    QColor const foreground = colourOption(host, "foreground", QColor());
    d->editor->setStyleSheet(
        background.isValid() && foreground.isValid()
            ? QStringLiteral("QPlainTextEdit { background-color: %1; color: %2; }")
                  .arg(background.name(), foreground.name())
            : QString());
    QString const family = host.option(QStringLiteral("font_name"), QString()).toString();
    if (!family.isEmpty())
        d->editor->setFont(QFont(family, host.option(QStringLiteral("font_size"), 10).toInt()));
    bool const bar = flag("show_code_bar", true);
    d->actions.first()->setChecked(bar);
    d->toolBar->setVisible(bar);
    if (d->document)
        d->document->rehighlight();
}

void CodeWorkspace::retranslate()
{
    Interface &host = interface();
    for (ActionEntry const &entry : actionEntries) {
        QAction *target = d->action(entry.key);
        target->setText(host.text(entry.text));
        target->setToolTip(host.toolTip(entry.text));
    }
    d->menu->setTitle(host.text(17));
    d->snippetMenu->setTitle(host.text(13));
    d->encodingMenu->setTitle(host.text(28));
    d->encodingMenu->setToolTip(host.toolTip(28));
    d->encodings->actions().first()->setText(TextCodecs::name(0));
    d->placeholder->setText(host.text(1));
}

void CodeWorkspace::engineSwitched(bool changed)
{
    if (!changed)
        return;
    Engine const *engine = interface().engine();
    if (engine)
        d->editor->completerFromFile(interface().resourceDirectory() + engine->directory() +
                                     QLatin1String("/completer.xml"));
    d->snippets.setPath(SnipDlg::snippetsDirectory(interface()));
}

void CodeWorkspace::showTextBar(bool show)
{
    d->toolBar->setVisible(show);
    d->actions.first()->setChecked(show);
    interface().setOption(QStringLiteral("show_code_bar"), show);
}

} // namespace Kenro
