#pragma once

#include <cstdint>
#include <limits>

namespace quorvale {

// A file can state any duration, rate or row number. A figure that does not fit its field becomes the nearest one that
// does, instead of undefined behaviour.

/// `value`, or the nearer end of the 32-bit range if it does not fit.
[[nodiscard]] constexpr std::int32_t saturateToInt32(std::int64_t value)
{
    using Range = std::numeric_limits<std::int32_t>;
    if (value > Range::max())
        return Range::max();
    if (value < Range::min())
        return Range::min();
    return static_cast<std::int32_t>(value);
}

/// `value` without its fraction, saturated; 0 if `value` is not a number.
[[nodiscard]] constexpr std::int32_t truncateToInt32(float value)
{
    using Range = std::numeric_limits<std::int32_t>;
    constexpr float kBeyond = 2147483648.0F; // 2^31; the largest 32-bit integer itself is no float
    if (value >= kBeyond)
        return Range::max();
    if (value <= -kBeyond)
        return Range::min();
    return value == value ? static_cast<std::int32_t>(value) : 0;
}

} // namespace quorvale
