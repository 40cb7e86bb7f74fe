#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <sys/resource.h>

namespace quorvale {

/// How a run of another program ended.
struct ProcessEnd
{
    int exitStatus = 0;   ///< the program's own; 128 + signal when it was killed; 127 when it could not be started
    std::string errors{}; ///< what it wrote to its standard error, or why it could not be started or fed
    rusage usage{};       ///< what it took from the system, all its threads together

    [[nodiscard]] bool ok() const { return exitStatus == 0; }
};

/// Replaces `bytes` with the next piece of input; false when there is no more.
using ProcessInput = std::function<bool(std::vector<std::uint8_t> &bytes)>;

/// Runs a program (found in PATH), feeds `input` to its standard input, discards its standard output and waits for its
/// end. `command`: the program, then its arguments. No shell is involved. A program that stops reading early is no
/// error by itself: its exit status decides. May be called from several threads at once; SIGPIPE never reaches the
/// caller.
[[nodiscard]] ProcessEnd runProcess(const std::vector<std::string> &command, const ProcessInput &input = {});

} // namespace quorvale
