#pragma once

#include <array>
#include <cstdint>

struct AVFrame;

namespace quorvale {

using FrameChecksum = std::array<std::uint8_t, 16>;

/// Of the size, the format and the visible samples of a picture; pictures that differ have different ones, unless they
/// were made not to.
[[nodiscard]] FrameChecksum checksumOf(const AVFrame &frame);

} // namespace quorvale
