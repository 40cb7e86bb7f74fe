#pragma once

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// Reads from the beginning until it is known what the streams of `input` hold. False if nothing can be found out.
[[nodiscard]] bool probeStreams(AVFormatContext &input);

} // namespace quorvale::ffmpeg
