#pragma once

#include <kenro/project/jobstats.h>

#include <QStringList>

#include <memory>
#include <vector>

namespace KenroTest {

/// A progress provider that keeps every job it hands out, and its title.
struct TestJobs : Kenro::ProgressProvider
{
    struct Job : Kenro::ProgressJob
    {
        void error(QString const &) override {}
        void setMaximum(unsigned int value) override { maximum = value; }
        void setValue(unsigned int value) override { this->value = value; }
        void incrementValue() override { ++value; }
        bool wasCancelled() const override { return false; }
        void setDetached(int value) override { detached = value; }
        unsigned int maximum = 0, value = 0;
        int detached = -1;
    };
    Kenro::ProgressJob *newJob(QString const &title, int) override
    {
        titles.append(title);
        return jobs.emplace_back(std::make_unique<Job>()).get();
    }
    QStringList titles;
    std::vector<std::unique_ptr<Job>> jobs;
};

} // namespace KenroTest
