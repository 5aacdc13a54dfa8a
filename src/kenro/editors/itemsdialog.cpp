#include <kenro/editors/itemsdialog.h>

#include <kenro/editors/interface/interface.h>

#include <QDialogButtonBox>
#include <QIcon>
#include <QItemSelectionModel>
#include <QListView>
#include <QVBoxLayout>

#include <algorithm>

namespace Kenro {

ItemsDialog::ItemsDialog(QWidget *parent) : QDialog(parent) {}

ItemsDialog::~ItemsDialog() = default;

void ItemsDialog::release()
{
    delete this;
}

ItemsDlg::ItemsDlg(QWidget *parent) : ItemsDialog(parent), m_view(new QListView(this))
{
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_view, &QAbstractItemView::doubleClicked, this, &QDialog::accept);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_view);
    layout->addWidget(buttons);
}

void ItemsDlg::setModel(QAbstractItemModel *model)
{
    m_view->setModel(model);
}

void ItemsDlg::selectRow(int row)
{
    QAbstractItemModel *model = m_view->model();
    if (row < 0 || !model)
        return;
    QModelIndex const index = model->index(row, 0);
    if (!index.isValid())
        return;
    m_view->selectionModel()->select(index, QItemSelectionModel::ClearAndSelect);
    m_view->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    m_view->scrollTo(index);
}

QListView *ItemsDlg::view() const
{
    return m_view;
}

QList<int> ItemsDlg::selectedRows() const
{
    QList<int> rows;
    if (QItemSelectionModel *selection = m_view->selectionModel()) {
        for (QModelIndex const &index : selection->selectedIndexes()) {
            if (!rows.contains(index.row()))
                rows.append(index.row());
        }
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

// Interface's own helper lives here, beside the dialog that it makes, so
// that the host boundary itself depends on nothing.
ItemsDialog *Interface::itemsDialog(QWidget *parent, char const *iconName, QString const &title,
                                    QAbstractItemModel *model, int currentRow) const
{
    auto *dialog = new ItemsDlg(parent);
    dialog->setWindowTitle(title);
    dialog->setModel(model);
    dialog->selectRow(currentRow);
    // icon() is the host's and not const; asking for an icon changes nothing here.
    dialog->setWindowIcon(const_cast<Interface *>(this)->icon(QString::fromLatin1(iconName)));
    return dialog;
}

} // namespace Kenro
