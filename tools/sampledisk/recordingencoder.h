#pragma once

#include "tools/sampledisk/catalogue.h"

#include <filesystem>
#include <string>
#include <vector>

namespace quorvale {

/// The extensions of a recording's files: ".ts" alone, ".ts", ".ts1" and ".ts2" of a split one, none of a missing one.
[[nodiscard]] std::vector<std::string> fileExtensions(RecordingKind kind);

/// How many pictures a recording has if a long one has `length`: a short one has no more than 260. A radio programme
/// takes as long as so many pictures.
[[nodiscard]] int pictureCount(RecordingKind kind, int length);

/// Makes the stream of a recording with the ffmpeg program in the folder `work` and moves its files to `folder`, on the
/// same file system, when they are complete. `length`: pictures of a long recording.
/// Throws std::runtime_error with the ffmpeg program's message when it fails.
void encodeRecording(const Recording &recording, int length, const std::filesystem::path &work,
                     const std::filesystem::path &folder);

} // namespace quorvale
