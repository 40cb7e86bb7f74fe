#pragma once

#include "tools/process/runprocess.h"

namespace quorvale {

/// runProcess() for the ffmpeg program.
[[nodiscard]] ProcessEnd runFFmpeg(const std::vector<std::string> &arguments, const ProcessInput &input = {});

/// The program's option that, with the value "passthrough", neither drops nor doubles a picture for the sake of
/// timestamps. It was renamed with version 5.1; the old name is gone in 9.0.
[[nodiscard]] const char *passthroughOption();

} // namespace quorvale
