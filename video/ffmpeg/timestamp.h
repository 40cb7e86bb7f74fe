#pragma once

#include <cstdint>

namespace quorvale {

/// The timestamp of what has none: FFmpeg's AV_NOPTS_VALUE, without FFmpeg's headers. compat.h holds the two together.
inline constexpr std::int64_t kNoTimestamp = INT64_MIN;

} // namespace quorvale
