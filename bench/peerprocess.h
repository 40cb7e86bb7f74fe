#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What one run of a program cost, from its start to its end.
struct ProcessCost
{
    double wallSeconds = 0;
    double cpuSeconds = 0; ///< user and system time of all its threads
    /// Its peak memory. Never below that of the measuring process, because the new process begins as a copy of it: to
    /// get a useful figure, the measuring process must not do heavy work itself.
    std::int64_t peakBytes = 0;
};

/// Runs a program (found in PATH, no shell) with empty input, discards its output, waits for its end and gives what it
/// cost. Throws std::runtime_error, with the program's messages, if it cannot be started, fails or is killed.
[[nodiscard]] ProcessCost runMeasured(const std::vector<std::string> &command);

/// Whether PATH has this program.
[[nodiscard]] bool isInstalled(const std::string &program);
