#pragma once

#include "tools/process/runprocess.h"

namespace quorvale {

/// runProcess() for the ffmpeg program.
[[nodiscard]] ProcessEnd runFFmpeg(const std::vector<std::string> &arguments, const ProcessInput &input = {});

} // namespace quorvale
