#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvale::h264 {

/// An access unit with CABAC whose slices are cut after `headerBytes` bytes (see AccessUnit), with what no decoder
/// takes for slice data put there instead: it then does all that headers say, and decodes no macroblocks, or a few.
[[nodiscard]] std::vector<std::uint8_t> withoutSliceData(const std::uint8_t *data, std::size_t size,
                                                         std::uint16_t headerBytes);

} // namespace quorvale::h264
