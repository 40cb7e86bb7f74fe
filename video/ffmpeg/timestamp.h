#pragma once

#include <cstdint>

namespace quorvale {

/// No timestamp: FFmpeg's AV_NOPTS_VALUE, without FFmpeg's headers. compat.h asserts that both are equal.
inline constexpr std::int64_t kNoTimestamp = INT64_MIN;

} // namespace quorvale
