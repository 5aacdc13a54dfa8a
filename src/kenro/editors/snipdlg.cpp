#include <kenro/editors/snipdlg.h>

#include "snipfielddlg_p.h"
#include "snipfieldsmodel_p.h"

#include <kenro/code/codedocument.h>
#include <kenro/editors/codeeditor.h>
#include <kenro/editors/filedialogs.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/editors/snipfield.h>
#include <kenro/editors/snippetfile.h>
#include <kenro/engine/engine.h>
#include <kenro/project/project.h>

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QTextStream>
#include <QVBoxLayout>

namespace Kenro {

struct SnipDlg::Private
{
    explicit Private(Interface &host) : interface(host), directory(snippetsDirectory(host)) {}

    Interface &interface;
    QString fileName;
    QString directory;
    SnipFieldsModel fields;
    QListView *view = nullptr;
    CodeEditor *code = nullptr;
    CodeDocument *document = nullptr; // of the engine's script type, released at the end

    // Writes \a text as UTF-8 over \a path, leaving the old file whole on a failure.
    bool write(QWidget *parent, QString const &path, QString const &text)
    {
        QSaveFile file(path);
        if (file.open(QIODevice::WriteOnly)) {
            QTextStream stream(&file);
            stream.setEncoding(QStringConverter::Utf8);
            stream << text;
            stream.flush();
            if (file.commit())
                return true;
        }
        QMessageBox::critical(
            parent, QStringLiteral("Save file error!"),
            QStringLiteral("An error has occurred while trying to save the file!"),
            QMessageBox::Ok);
        return false;
    }
    // A name from the save dialog, with \a suffix added when it has none.
    QString askName(QWidget *parent, QString const &title, QString const &filter,
                    QString const &suffix)
    {
        QString path = getSaveFileName(parent, title, directory, filter);
        if (!path.isEmpty() && !path.endsWith(suffix, Qt::CaseInsensitive))
            path += suffix;
        return path;
    }
};

SnipDlg::SnipDlg(Interface &interface, QString const &source, QWidget *parent)
    : QDialog(parent), d(new Private(interface))
{
    bool const editing = QFileInfo(source).isFile();
    setWindowTitle(interface.text(editing ? 16 : 15));
    setWindowIcon(interface.icon(editing ? QStringLiteral("code_snippet_edit")
                                         : QStringLiteral("code_snippet_new")));
    d->view = new QListView(this);
    d->view->setModel(&d->fields);
    d->code = new CodeEditor(this);
    // The code pane shows the snippet as the engine's scripts are shown.
    if (Engine *engine = interface.engine()) {
        ProjectFile *file = engine->createFile(Project::Scripts, nullptr);
        d->document = dynamic_cast<CodeDocument *>(file);
        if (file && !d->document)
            file->release();
    }
    d->code->setDocument(d->document);

    auto *add = new QPushButton(tr("Add..."), this);
    auto *edit = new QPushButton(tr("Edit..."), this);
    auto *remove = new QPushButton(tr("Remove"), this);
    connect(add, &QPushButton::clicked, this, &SnipDlg::addField);
    connect(edit, &QPushButton::clicked, this, &SnipDlg::editField);
    connect(remove, &QPushButton::clicked, this, &SnipDlg::removeField);
    connect(d->view, &QListView::doubleClicked, this, &SnipDlg::editField);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close, this);
    QPushButton *translation =
        buttons->addButton(tr("Save for translation..."), QDialogButtonBox::ActionRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (save())
            accept();
    });
    connect(translation, &QPushButton::clicked, this, &SnipDlg::saveForTranslation);

    auto *fieldButtons = new QVBoxLayout;
    for (QPushButton *button : {add, edit, remove})
        fieldButtons->addWidget(button);
    fieldButtons->addStretch();
    auto *fields = new QHBoxLayout;
    fields->addWidget(d->view);
    fields->addLayout(fieldButtons);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(fields, 1);
    layout->addWidget(d->code, 3);
    layout->addWidget(buttons);
    resize(640, 480);

    if (!editing) {
        d->code->setPlainText(source);
        return;
    }
    d->fileName = source;
    SnippetFile file;
    if (!file.load(source))
        file.showError(this);
    for (QXmlStreamAttributes const &field : file.fields())
        d->fields.append(SnipField::fromAttributes(field));
    d->code->setPlainText(file.codeLines().join(QLatin1Char('\n')));
}

SnipDlg::~SnipDlg()
{
    d->code->setDocument(nullptr);
    if (d->document)
        d->document->release();
    delete d;
}

QString SnipDlg::snippetsDirectory(Interface &interface)
{
    Engine const *engine = interface.engine();
    return engine ? interface.resourceDirectory() + engine->directory() + QLatin1String("/snippets")
                  : QString();
}

QString SnipDlg::fileName() const
{
    return d->fileName;
}

QString SnipDlg::directory() const
{
    return d->directory;
}

void SnipDlg::setDirectory(QString const &directory)
{
    d->directory = directory;
}

CodeEditor *SnipDlg::codeEditor() const
{
    return d->code;
}

QListView *SnipDlg::fieldsView() const
{
    return d->view;
}

bool SnipDlg::save()
{
    QString path = d->fileName;
    if (path.isEmpty())
        path = d->askName(this, windowTitle(), QStringLiteral("Extensible Markup Language (*.xml)"),
                          QStringLiteral(".xml"));
    if (path.isEmpty() ||
        !d->write(this, path, SnippetFile::write(d->fields.fields(), d->code->toPlainText())))
        return false;
    d->fileName = path;
    return true;
}

bool SnipDlg::saveForTranslation()
{
    // The source is made from the snippet as it would be written, so that a
    // snippet whose file would not read again is told before anything is written.
    SnippetFile file;
    if (!file.read(SnippetFile::write(d->fields.fields(), d->code->toPlainText()))) {
        file.showError(this);
        return false;
    }
    QString const path =
        d->askName(this, QStringLiteral("Save for translation"),
                   QStringLiteral("Qt translation sources (*.ts)"), QStringLiteral(".ts"));
    QString const name = QFileInfo(d->fileName.isEmpty() ? path : d->fileName).completeBaseName();
    return !path.isEmpty() && d->write(this, path, file.translationSource(name));
}

void SnipDlg::addField()
{
    SnipFieldDlg dialog(this);
    if (dialog.exec() == QDialog::Accepted)
        d->fields.append(dialog.field());
}

void SnipDlg::editField()
{
    int const row = d->view->currentIndex().row();
    if (row < 0 || row >= d->fields.rowCount())
        return;
    SnipFieldDlg dialog(this, d->fields.fields().at(row));
    if (dialog.exec() == QDialog::Accepted)
        d->fields.replace(row, dialog.field());
}

void SnipDlg::removeField()
{
    d->fields.remove(d->view->currentIndex().row());
}

} // namespace Kenro
