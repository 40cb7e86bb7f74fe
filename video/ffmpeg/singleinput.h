#pragma once

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// Opens the file `path`, and never another one, whatever the content names: playlists and lists of files pass for
/// recordings too, and one that says it will grow would be asked for its growth without end. False, with `input` null,
/// where the file cannot be opened. `input` is owned by the caller, who closes it with avformat_close_input.
[[nodiscard]] bool openSingleInput(AVFormatContext *&input, const char *path);

} // namespace quorvale::ffmpeg
