#pragma once

#include <cstdint>

struct AVCodecParameters;

namespace quorvale::ffmpeg {

/// The memory that FFV1's decoder takes for the slices of `video`; 0 for other codecs. It keeps the contexts of each
/// slice, and 200 bytes of a stream's header can claim a thousand slices of 3 MB.
[[nodiscard]] std::int64_t sliceBytes(const AVCodecParameters &video);

/// Whether that is little. False, too, where the header cannot be read.
[[nodiscard]] bool hasBoundedSlices(const AVCodecParameters &video);

} // namespace quorvale::ffmpeg
