#pragma once

#include <cstdint>

struct AVRational;

namespace quorvale {

/// An estimate of a file's pictures before they are counted: duration times frame rate, truncated and saturated, in
/// single precision as it has always been shown.
///
/// `durationMicroseconds`: kNoTimestamp if unknown; `stated`: the stream's own figure, the result if the duration or
/// the rate is unknown (a denominator of 0).
[[nodiscard]] std::int32_t likelyFrameCount(std::int64_t durationMicroseconds, AVRational rate, std::int64_t stated);

} // namespace quorvale
