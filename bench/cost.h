#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <vector>

#include <sys/resource.h>

/// What a piece of work took. On a machine that others use, too, the processor's time says more than the clock's.
struct Cost
{
    double wall = 0;
    double processor = 0; ///< of this process and of the programs it has run
};

inline double processorSeconds()
{
    double seconds = 0;
    for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage = {};
        getrusage(whose, &usage);
        for (const timeval &time : {usage.ru_utime, usage.ru_stime})
            seconds += double(time.tv_sec) + double(time.tv_usec) / 1e6;
    }
    return seconds;
}

inline Cost costOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    const double before = processorSeconds();
    work();
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
            processorSeconds() - before};
}

/// Of wall clock and processor time, each by itself.
inline Cost median(std::vector<Cost> costs)
{
    const auto middle = [&costs](double Cost::*part) {
        std::sort(costs.begin(), costs.end(), [part](const Cost &a, const Cost &b) { return a.*part < b.*part; });
        return costs[costs.size() / 2].*part;
    };
    return {middle(&Cost::wall), middle(&Cost::processor)};
}

inline void require(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}
