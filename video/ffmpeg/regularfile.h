#pragma once

struct AVIOContext;

namespace quorvale::ffmpeg {

/// Opens the regular file `path` for FFmpeg, which sees neither its name nor a protocol. Null if it cannot be opened,
/// or is a pipe, a device or a folder: this tests the open file, and waits for none of them. Owned by the caller, who
/// closes it with closeRegularFile.
[[nodiscard]] AVIOContext *openRegularFile(const char *path);

/// Says that `file`, opened with openRegularFile, will be read on from wherever it is read: see ReadAhead.
void readAhead(AVIOContext &file);

/// Closes `file` and makes it null; it may be null already.
void closeRegularFile(AVIOContext *&file);

} // namespace quorvale::ffmpeg
