#pragma once

#include "tools/sampledisk/catalogue.h"

#include <filesystem>
#include <string>
#include <vector>

/// The extensions of a recording's files: ".ts" alone, ".ts", ".ts1" and ".ts2" of a split one, none of a missing one.
[[nodiscard]] std::vector<std::string> fileExtensions(RecordingKind kind);

/// Makes the stream of a recording with the ffmpeg program, under the recording's name with ".part" until it is
/// finished, and puts its files into `folder`. `length`: pictures of a long recording; short ones have fewer of them.
/// Throws std::runtime_error with the ffmpeg program's message when it fails.
void encodeRecording(const Recording &recording, int length, const std::filesystem::path &folder);
