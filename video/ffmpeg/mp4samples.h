#pragma once

struct AVIOContext;

namespace quorvale::ffmpeg {

/// Whether `file`, from its start an MP4 or QuickTime file, claims more samples than its bytes can hold, or than the
/// longest recording has. FFmpeg makes an index of all of them when it opens the file: 400 bytes for a track of equal
/// samples can take 140 MB. Looks at the boxes alone, and leaves `file` at its start.
[[nodiscard]] bool claimsTooManySamples(AVIOContext &file);

} // namespace quorvale::ffmpeg
