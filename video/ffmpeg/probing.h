#pragma once

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// Reads on from the beginning until it is known what the streams of `input` hold. False where nothing can be found
/// out.
[[nodiscard]] bool probeStreams(AVFormatContext &input);

} // namespace quorvale::ffmpeg
