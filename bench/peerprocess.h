#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What one run of a program cost, from its start to its end.
struct ProcessCost
{
    double wallSeconds = 0;
    double cpuSeconds = 0; ///< user and system time of all its threads
    /// The most memory it held at once. Never below what the measuring process itself has held so far, because the new
    /// process begins as its image: whoever wants this figure does the heavy work in children, never here.
    std::int64_t peakBytes = 0;
};

/// Runs a program (found in PATH, no shell) with nothing on its standard input and its output thrown away, waits for
/// its end and gives what it cost. Throws std::runtime_error, with what the program said, when it cannot be started,
/// fails or is killed.
[[nodiscard]] ProcessCost runMeasured(const std::vector<std::string> &command);

/// Whether PATH has this program.
[[nodiscard]] bool isInstalled(const std::string &program);
