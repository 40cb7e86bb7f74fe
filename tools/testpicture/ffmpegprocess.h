#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// How a run of the ffmpeg program ended.
struct FFmpegResult
{
    int exitStatus = 0;   ///< the program's own; 128 + signal when it was killed; 127 when it could not be started
    std::string errors{}; ///< what it wrote to its standard error, or why it could not be started or fed

    [[nodiscard]] bool ok() const { return exitStatus == 0; }
};

/// Replaces `bytes` with the next piece of input; false when there is no more.
using FFmpegInput = std::function<bool(std::vector<std::uint8_t> &bytes)>;

/// Runs the ffmpeg program (found in PATH) with `arguments`, feeds `input` to its standard input and waits for its end.
/// No shell is involved. A program that stops reading early is no error by itself: its exit status decides.
/// May be called from several threads at once; SIGPIPE never reaches the caller.
[[nodiscard]] FFmpegResult runFFmpeg(const std::vector<std::string> &arguments, const FFmpegInput &input = {});
