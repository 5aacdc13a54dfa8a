#pragma once

#include <kenro/kenro_export.h>

#include <QString>

namespace Kenro {

/**
 * Progress of one long operation. A null JobStats pointer is accepted
 * everywhere and means that nothing is reported.
 */
class KENRO_EXPORT JobStats
{
public:
    virtual ~JobStats();
    /// Reports an error of the job to the user.
    virtual void error(QString const &message) = 0;
    virtual void setMaximum(unsigned int maximum) = 0;
    virtual void setValue(unsigned int value) = 0;
    virtual void incrementValue() = 0;
    /// True once the user asked to stop; the job then ends at its next step.
    virtual bool wasCancelled() const = 0;
};

/**
 * A job handed out by a ProgressProvider. The library calls setDetached(1)
 * on a job that it passes to a background save, which then owns it and sets
 * its value to 1 when it ends.
 */
class KENRO_EXPORT ProgressJob : public JobStats
{
public:
    virtual void setDetached(int detached) = 0;
};

/// The host's source of progress jobs.
class KENRO_EXPORT ProgressProvider
{
public:
    virtual ~ProgressProvider();
    /// A new job titled \a title; the library always passes 0 as \a options.
    virtual ProgressJob *newJob(QString const &title, int options) = 0;
};

} // namespace Kenro
