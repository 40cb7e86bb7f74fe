#pragma once

#include <array>
#include <cstdint>

struct AVFrame;

namespace quorvale {

using FrameChecksum = std::array<std::uint8_t, 16>;

/// Checksum of the size, the format and the visible samples of a picture. Different pictures have different checksums,
/// unless someone constructed them.
[[nodiscard]] FrameChecksum checksumOf(const AVFrame &frame);

} // namespace quorvale
