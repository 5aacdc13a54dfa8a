#include "exaxisdlg.h"

#include <kenro/render/graphicsrenderer.h>

#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>

namespace Kenro {

ExAxisDlg::ExAxisDlg(QWidget *parent) : QDialog(parent, Qt::Tool)
{
    auto *layout = new QFormLayout(this);
    for (int i = 0; i < 2; ++i) {
        m_labels[i] = new QLabel(this);
        m_spins[i] = new QSpinBox(this);
        m_spins[i]->setRange(-GraphicsRenderer::worldLimit, GraphicsRenderer::worldLimit);
        layout->addRow(m_labels[i], m_spins[i]);
        connect(m_spins[i], &QSpinBox::valueChanged, this,
                [this] { Q_EMIT extraAxisChanged(axis()); });
    }
    retranslate();
}

QPoint ExAxisDlg::axis() const
{
    return QPoint(m_spins[0]->value(), m_spins[1]->value());
}

void ExAxisDlg::setAxis(QPoint point)
{
    m_spins[0]->setValue(point.x());
    m_spins[1]->setValue(point.y());
}

void ExAxisDlg::retranslate()
{
    setWindowTitle(tr("Extra cross"));
    m_labels[0]->setText(tr("X:"));
    m_labels[1]->setText(tr("Y:"));
}

void ExAxisDlg::done(int result)
{
    QDialog::done(result);
    Q_EMIT extraAxisClosed();
}

} // namespace Kenro
