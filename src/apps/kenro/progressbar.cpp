#include "progressbar.h"

#include "console.h"

namespace Kenro::Cli {

namespace {

constexpr int barWidth = 30;

} // namespace

ProgressBar::ProgressBar(QString const &title, bool enabled)
    : m_title(title), m_visible(enabled && Console::stderrIsTerminal())
{}

ProgressBar::~ProgressBar()
{
    finish();
}

bool ProgressBar::isVisible() const
{
    return m_visible;
}

void ProgressBar::finish()
{
    if (!m_drawn)
        return;
    // "\033[2K" clears the whole line, whatever was longer before.
    Console::err(QStringLiteral("\r\033[2K"));
    m_drawn = false;
}

void ProgressBar::error(QString const &message)
{
    finish();
    Console::warn(m_title, message);
}

void ProgressBar::setMaximum(unsigned int maximum)
{
    m_maximum = maximum;
    draw();
}

void ProgressBar::setValue(unsigned int value)
{
    m_value = value;
    draw();
}

void ProgressBar::incrementValue()
{
    ++m_value;
    draw();
}

bool ProgressBar::wasCancelled() const
{
    // Ctrl+C ends the process; there is no other way to cancel.
    return false;
}

void ProgressBar::setDetached(int) {}

void ProgressBar::draw()
{
    if (!m_visible || m_maximum == 0)
        return;
    int const percent = int(qMin<quint64>(100, quint64(m_value) * 100 / m_maximum));
    if (percent == m_percent)
        return;
    m_percent = percent;
    int const filled = percent * barWidth / 100;
    QString const bar =
        QString(filled, QLatin1Char('#')) + QString(barWidth - filled, QLatin1Char(' '));
    Console::err(QStringLiteral("\r%1 [%2] %3%").arg(m_title, bar).arg(percent, 3));
    m_drawn = true;
}

} // namespace Kenro::Cli
