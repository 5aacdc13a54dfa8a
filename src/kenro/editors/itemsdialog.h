#pragma once

#include <kenro/project/object.h>

#include <QDialog>
#include <QList>

class QAbstractItemModel;
class QListView;

namespace Kenro {

/**
 * A dialog that lets the user pick rows of a model, made by
 * Interface::itemsDialog(). The caller executes it and ends it with
 * release().
 */
class KENRO_EXPORT ItemsDialog : public QDialog, public Object
{
    Q_OBJECT

public:
    explicit ItemsDialog(QWidget *parent = nullptr);
    ~ItemsDialog() override;

    /// Deletes the dialog.
    void release() override;
    /// The model rows that the user selected, in ascending order.
    virtual QList<int> selectedRows() const = 0;
};

/**
 * The library's items dialog: one list view over the model and the Ok and
 * Cancel buttons. Several rows may be selected; a double click picks one.
 */
class KENRO_EXPORT ItemsDlg : public ItemsDialog
{
    Q_OBJECT

public:
    explicit ItemsDlg(QWidget *parent = nullptr);

    /// Shows \a model in the list.
    void setModel(QAbstractItemModel *model);
    /// Selects \a row alone and scrolls to it; a negative row selects nothing.
    void selectRow(int row);
    QListView *view() const;

    QList<int> selectedRows() const override;

private:
    QListView *m_view;
};

} // namespace Kenro
