#pragma once

struct AVCodecParameters;

namespace quorvale::ffmpeg {

/// Whether FFV1's decoder would take little memory for the slices of `video`. It keeps the contexts of each slice,
/// and 200 bytes of a stream's header can claim a thousand slices of 3 MB. False, too, where the header cannot be read.
[[nodiscard]] bool hasBoundedSlices(const AVCodecParameters &video);

} // namespace quorvale::ffmpeg
