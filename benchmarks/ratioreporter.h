// Prints benchmarks against their baselines measured in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

// Keeps each benchmark's time, real or CPU, to print it against its
// baseline. A median of repetitions is also kept under the run's own name,
// so that "BM_x/1000" means the median where there are several.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    enum Clock { Real, Cpu };
    explicit RatioReporter(Clock clock = Real) : m_clock(clock) {}

    void ReportRuns(std::vector<Run> const &runs) override
    {
        for (Run const &run : runs) {
            double const time =
                m_clock == Cpu ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime();
            times[run.benchmark_name()] = time;
            if (run.aggregate_name == "median")
                times[run.run_name.str()] = time;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void printRatio(char const *name, char const *baseline) const
    {
        auto const a = times.find(name);
        auto const b = times.find(baseline);
        if (a == times.end() || b == times.end() || b->second <= 0)
            return;
        std::printf("%s: %.3f of %s\n", name, a->second / b->second, baseline);
    }

    std::map<std::string, double> times;

private:
    Clock m_clock;
};
