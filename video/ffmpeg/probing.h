#pragma once

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// Opens `path` as openSingleInput does, and reads from the beginning until it is known what its streams hold. False,
/// with `input` closed or still open, if nothing can be found out.
[[nodiscard]] bool openProbed(AVFormatContext *&input, const char *path);

} // namespace quorvale::ffmpeg
