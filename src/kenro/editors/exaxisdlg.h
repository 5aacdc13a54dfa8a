#pragma once

#include <QDialog>
#include <QPoint>

class QLabel;
class QSpinBox;

namespace Kenro {

/// The small tool window that places the extra cross by number.
class ExAxisDlg : public QDialog
{
    Q_OBJECT

public:
    explicit ExAxisDlg(QWidget *parent = nullptr);

    QPoint axis() const;
    /// Shows \a point in the spin boxes; each one that changes sends extraAxisChanged().
    void setAxis(QPoint point);
    void retranslate();
    /// Closing the window in any way sends extraAxisClosed().
    void done(int result) override;

Q_SIGNALS:
    void extraAxisChanged(QPoint point);
    void extraAxisClosed();

private:
    QLabel *m_labels[2];
    QSpinBox *m_spins[2];
};

} // namespace Kenro
