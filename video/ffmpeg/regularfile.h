#pragma once

struct AVIOContext;

namespace quorvale::ffmpeg {

/// Opens the regular file `path` to be read by FFmpeg, which sees the file alone and neither its name nor a protocol.
/// Null where it cannot be opened, or is a pipe, a device or a folder: it is the open file that is looked at, and none
/// of these is waited for. Owned by the caller, who closes it with closeRegularFile.
[[nodiscard]] AVIOContext *openRegularFile(const char *path);

/// Closes `file`; null where it is null already.
void closeRegularFile(AVIOContext *&file);

} // namespace quorvale::ffmpeg
