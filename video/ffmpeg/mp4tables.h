#pragma once

struct AVIOContext;

namespace quorvale::ffmpeg {

/// Whether FFmpeg would take little memory for the tables of `file`, from its start an MP4 or QuickTime file. It makes
/// an index of all samples and fragments when it opens one, and 400 bytes can claim 140 MB of it. False, too, where
/// that cannot be told: of a compressed header, one with tables where none belong, and one of more boxes than any
/// recording has. Leaves `file` at its start.
[[nodiscard]] bool hasBoundedTables(AVIOContext &file);

} // namespace quorvale::ffmpeg
