#include <kenro/editors/extraeditor.h>
#include <kenro/editors/filedialogs.h>
#include <kenro/editors/interface/interface.h>
#include <kenro/editors/itemsdialog.h>

#include "dialoganswerer.h"
#include "testdata.h"
#include "testinterface.h"

#include <QDialogButtonBox>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QStringListModel>
#include <QTemporaryDir>
#include <QTest>

using namespace Kenro;
using KenroTest::DialogAnswerer;

namespace {

class Panel : public ExtraEditor
{
    Q_OBJECT

public:
    QWidget *widget() override { return nullptr; }
    char const *name() const override { return "panel"; }
    QString title() const override { return QStringLiteral("Panel"); }
    void retranslate() override {}
    void release() override {}
    Interface *host() const { return m_interface; }
};

// A handle on a dialog from itemsDialog() that ends it with release().
struct DialogHandle
{
    explicit DialogHandle(ItemsDialog *dialog) : dialog(dialog) {}
    ~DialogHandle()
    {
        if (dialog)
            dialog->release();
    }
    QListView *view() const { return dialog->findChild<QListView *>(); }
    QPointer<ItemsDialog> dialog;
};

} // namespace

class TestEditorDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void extraEditor()
    {
        KenroTest::TestInterface host;
        Panel panel;
        QCOMPARE(panel.host(), &host);
        QVERIFY(!panel.isActive());
        panel.activate();
        QVERIFY(panel.isActive());
        panel.reconfig();
        panel.engineSwitched(true);
        panel.projectSwitched(nullptr);
        QVERIFY(panel.isActive());
        panel.deactivate();
        QVERIFY(!panel.isActive());
        QSignalSpy modified(&panel, &ExtraEditor::modified);
        panel.contentsChanged();
        panel.contentsChanged();
        QCOMPARE(modified.count(), 2);
    }

    void itemsDialogSelection_data()
    {
        QTest::addColumn<int>("currentRow");
        QTest::addColumn<QList<int>>("selected");

        QTest::newRow("first") << 0 << QList<int>{0};
        QTest::newRow("last") << 4 << QList<int>{4};
        QTest::newRow("none") << -1 << QList<int>{};
        QTest::newRow("past the end") << 5 << QList<int>{};
    }

    void itemsDialogSelection()
    {
        QFETCH(int, currentRow);
        QFETCH(QList<int>, selected);
        KenroTest::TestInterface host;
        QStringListModel model({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                                QStringLiteral("d"), QStringLiteral("e")});
        DialogHandle handle(host.itemsDialog(nullptr, "icon_folder", QStringLiteral("Pick one"),
                                             &model, currentRow));
        QVERIFY(handle.dialog);
        QCOMPARE(handle.dialog->windowTitle(), QStringLiteral("Pick one"));
        QCOMPARE(host.iconRequests, QStringList{QStringLiteral("icon_folder")});
        QVERIFY(!handle.dialog->windowIcon().isNull());
        QCOMPARE(handle.view()->model(), &model);
        QCOMPARE(handle.dialog->selectedRows(), selected);
        if (!selected.isEmpty())
            QCOMPARE(handle.view()->currentIndex().row(), currentRow);
    }

    void itemsDialogPicksRows()
    {
        KenroTest::TestInterface host;
        QStringListModel model({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
        DialogHandle handle(
            host.itemsDialog(nullptr, "icon_file", QStringLiteral("Pick"), &model, 0));
        QListView *view = handle.view();
        QItemSelectionModel *selection = view->selectionModel();
        selection->select(model.index(2, 0), QItemSelectionModel::Select);
        selection->select(model.index(1, 0), QItemSelectionModel::Select);
        // Rows come back in model order, each once.
        QCOMPARE(handle.dialog->selectedRows(), (QList<int>{0, 1, 2}));
        selection->select(model.index(0, 0), QItemSelectionModel::Deselect);
        QCOMPARE(handle.dialog->selectedRows(), (QList<int>{1, 2}));

        handle.dialog->show();
        auto *buttons = handle.dialog->findChild<QDialogButtonBox *>();
        QVERIFY(buttons);
        buttons->button(QDialogButtonBox::Ok)->click();
        QCOMPARE(handle.dialog->result(), int(QDialog::Accepted));
        handle.dialog->show();
        buttons->button(QDialogButtonBox::Cancel)->click();
        QCOMPARE(handle.dialog->result(), int(QDialog::Rejected));

        // A double click picks the row under it.
        handle.dialog->show();
        QSignalSpy accepted(handle.dialog.data(), &QDialog::accepted);
        Q_EMIT view->doubleClicked(model.index(1, 0));
        QCOMPARE(accepted.count(), 1);

        // release() ends the dialog.
        QPointer<ItemsDialog> watched = handle.dialog;
        handle.dialog->release();
        QVERIFY(watched.isNull());
    }

    void openDialogOptions_data()
    {
        QTest::addColumn<QVariant>("native");
        QTest::addColumn<bool>("qtOwn");

        QTest::newRow("unset") << QVariant() << true;
        QTest::newRow("false") << QVariant(false) << true;
        QTest::newRow("true") << QVariant(true) << false;
    }

    void openDialogOptions()
    {
        QFETCH(QVariant, native);
        QFETCH(bool, qtOwn);
        KenroTest::TestInterface host;
        if (native.isValid())
            host.options.insert(QStringLiteral("use_native_open"), native);
        QTemporaryDir dir;
        QString const path = dir.path() + QStringLiteral("/a.txt");
        QVERIFY(KenroTest::writeFile(path, "a"));
        DialogAnswerer answerer;
        answerer.files = {{path}, {path}};

        QCOMPARE(getOpenFileName(nullptr, QStringLiteral("Open"), dir.path(),
                                 QStringLiteral("Text (*.txt)")),
                 path);
        QCOMPARE(getOpenFileNames(nullptr, QStringLiteral("Open many"), dir.path(),
                                  QStringLiteral("Text (*.txt)")),
                 QStringList{path});
        QCOMPARE(answerer.seen.size(), 2);
        for (DialogAnswerer::Seen const &seen : std::as_const(answerer.seen)) {
            QVERIFY(seen.fileDialog);
            QCOMPARE(seen.directory, dir.path());
            QCOMPARE(seen.nameFilters, QStringList{QStringLiteral("Text (*.txt)")});
            QCOMPARE(seen.options.testFlag(QFileDialog::DontUseNativeDialog), qtOwn);
        }
        QCOMPARE(answerer.titles(),
                 (QStringList{QStringLiteral("Open"), QStringLiteral("Open many")}));

        // Cancelled dialogs give nothing.
        QVERIFY(getOpenFileName(nullptr, QString(), dir.path(), QString()).isEmpty());
        QVERIFY(getOpenFileNames(nullptr, QString(), dir.path(), QString()).isEmpty());
    }

    void openFileNamesOrder_data()
    {
        QTest::addColumn<bool>("sort");
        QTest::newRow("as chosen") << false;
        QTest::newRow("sorted") << true;
    }

    void openFileNamesOrder()
    {
        QFETCH(bool, sort);
        KenroTest::TestInterface host;
        host.options.insert(QStringLiteral("sort_file_names"), sort);
        QTemporaryDir dir;
        QStringList chosen;
        for (char const *name : {"c.txt", "a.txt", "b.txt"}) {
            chosen.append(dir.path() + QLatin1Char('/') + QLatin1String(name));
            QVERIFY(KenroTest::writeFile(chosen.last(), name));
        }
        DialogAnswerer answerer;
        answerer.files = {chosen};
        QStringList const names = getOpenFileNames(nullptr, QStringLiteral("Open"), dir.path(),
                                                   QStringLiteral("Text (*.txt)"));
        QStringList sorted = chosen;
        sorted.sort();
        QCOMPARE(names, sort ? sorted : chosen);
    }

    void saveAndDirectoryDialogs()
    {
        KenroTest::TestInterface host;
        // These dialogs ignore the open dialog's setting.
        host.options.insert(QStringLiteral("use_native_open"), true);
        QTemporaryDir dir;
        QString const sub = dir.path() + QStringLiteral("/sub");
        QVERIFY(QDir().mkpath(sub));
        QString const target = dir.path() + QStringLiteral("/new.txt");
        DialogAnswerer answerer;
        answerer.files = {{target}, {sub}, {}};

        QCOMPARE(getSaveFileName(nullptr, QStringLiteral("Save"), dir.path(),
                                 QStringLiteral("Text (*.txt);;All files (*.*)")),
                 target);
        QCOMPARE(getExistingDirectory(nullptr, QStringLiteral("Folder"), dir.path()), sub);
        QVERIFY(getSaveFileName(nullptr, QStringLiteral("Save"), dir.path(), QString()).isEmpty());

        QCOMPARE(answerer.seen.size(), 3);
        QCOMPARE(answerer.seen.at(0).acceptMode, QFileDialog::AcceptSave);
        QCOMPARE(answerer.seen.at(0).nameFilters,
                 (QStringList{QStringLiteral("Text (*.txt)"), QStringLiteral("All files (*.*)")}));
        QCOMPARE(answerer.seen.at(1).title, QStringLiteral("Folder"));
        QVERIFY(answerer.seen.at(1).options.testFlag(QFileDialog::ShowDirsOnly));
        QVERIFY(!answerer.seen.at(0).options.testFlag(QFileDialog::DontUseNativeDialog));
    }
};

QTEST_MAIN(TestEditorDialogs)
#include "tst_editordialogs.moc"
