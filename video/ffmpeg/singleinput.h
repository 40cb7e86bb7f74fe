#pragma once

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// Opens the regular file `path`, and never another one, whatever the content names: playlists and lists of files pass
/// for recordings too. Nothing that is no regular file is waited for: a pipe without a writer would hold up whoever
/// opens it. The bytes of `path` go to the operating system as they are. False, with `input` null, where the file
/// cannot be opened. `input` is owned by the caller, who closes it with closeSingleInput alone.
[[nodiscard]] bool openSingleInput(AVFormatContext *&input, const char *path);

/// Closes `input` and its file, and makes it null, which it may be already.
void closeSingleInput(AVFormatContext *&input);

} // namespace quorvale::ffmpeg
