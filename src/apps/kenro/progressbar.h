#pragma once

#include <kenro/project/jobstats.h>

#include <QString>

namespace Kenro::Cli {

/**
 * Progress of one long job, drawn as a bar on stderr when stderr is a
 * terminal and silent otherwise, so that logs and pipes stay clean. The
 * bar is drawn again only when its percentage moves, and the line is
 * cleared when the job ends.
 */
class ProgressBar : public ProgressJob
{
public:
    /// A job titled \a title; \a enabled false keeps it silent whatever stderr is.
    explicit ProgressBar(QString const &title, bool enabled = true);
    ~ProgressBar() override;

    /// True when the bar is drawn at all.
    bool isVisible() const;
    /// Clears the bar's line; the destructor does it too.
    void finish();

    void error(QString const &message) override;
    void setMaximum(unsigned int maximum) override;
    void setValue(unsigned int value) override;
    void incrementValue() override;
    bool wasCancelled() const override;
    void setDetached(int detached) override;

private:
    void draw();

    QString m_title;
    bool m_visible;
    bool m_drawn = false;
    unsigned int m_maximum = 0;
    unsigned int m_value = 0;
    int m_percent = -1;
};

} // namespace Kenro::Cli
