#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <string>
#include <vector>

/// Prints the usual table and then, for pairs of benchmarks, how many times the peer's time ours takes: the median of
/// the ratios of the repetitions, which ran in turn.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    struct Pair
    {
        std::string what;
        std::string ours;
        std::string peer;
    };

    explicit RatioReporter(std::vector<Pair> pairs)
        : benchmark::ConsoleReporter(OO_None)
        , m_pairs(std::move(pairs))
    {
    }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        std::vector<Run> summary;
        std::copy_if(runs.begin(), runs.end(), std::back_inserter(summary),
                     [](const Run &run) { return run.run_type == Run::RT_Aggregate || run.repetitions <= 1; });
        benchmark::ConsoleReporter::ReportRuns(summary);
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                m_times[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
        }
    }

    void Finalize() override
    {
        benchmark::ConsoleReporter::Finalize();
        for (const Pair &pair : m_pairs) {
            const std::vector<double> &ours = m_times[pair.ours];
            const std::vector<double> &peer = m_times[pair.peer];
            std::vector<double> ratios;
            for (std::size_t i = 0; i < std::min(ours.size(), peer.size()); ++i)
                ratios.push_back(ours[i] / peer[i]);
            if (ratios.empty()) {
                std::printf("ratio: %s: not measured\n", pair.what.c_str());
                continue;
            }
            std::sort(ratios.begin(), ratios.end());
            std::printf("ratio: %s: %.2f (%.2f to %.2f in %zu runs)\n", pair.what.c_str(), ratios[ratios.size() / 2],
                        ratios.front(), ratios.back(), ratios.size());
        }
    }

private:
    std::vector<Pair> m_pairs;
    std::map<std::string, std::vector<double>> m_times;
};

/// The main function of a benchmark that compares.
inline int runAndCompare(int argc, char **argv, std::vector<RatioReporter::Pair> pairs)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter(std::move(pairs));
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
