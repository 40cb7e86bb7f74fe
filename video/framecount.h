#pragma once

#include <cstdint>

struct AVRational;

namespace quorvale {

/// How many pictures a file should have, before any of them is counted: those of its duration at its frame rate, cut
/// off and saturated, in single precision as it has always been shown.
///
/// `durationMicroseconds`: kNoTimestamp where it is not known; `stated`: the stream's own figure, which holds where
/// the duration or the rate is not known (a denominator of 0).
[[nodiscard]] std::int32_t likelyFrameCount(std::int64_t durationMicroseconds, AVRational rate, std::int64_t stated);

} // namespace quorvale
