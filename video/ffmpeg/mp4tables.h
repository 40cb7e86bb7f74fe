#pragma once

#include <cstdint>
#include <optional>

struct AVIOContext;

namespace quorvale::ffmpeg {

/// The memory that FFmpeg takes for the tables of `file`, from its start an MP4 or QuickTime file. It makes an index of
/// all samples and fragments when it opens one, and 400 bytes can claim 140 MB of it. Nullopt if that is more than any
/// recording needs, and where it cannot be told: of a compressed header, one with tables where none belong, and one of
/// more boxes than any recording has. Leaves `file` at its start.
[[nodiscard]] std::optional<std::int64_t> mp4TableBytes(AVIOContext &file);

} // namespace quorvale::ffmpeg
