#pragma once

#include <cstdint>
#include <optional>
#include <vector>

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// What probing a file with FFmpeg's own decoders could take.
struct ProbingCost
{
    /// Whether the pictures of all streams fit into memory together, whatever their decoders hold of them.
    bool fits = false;
    /// For each stream that was known when the file was opened: the pixels of its largest picture, as far as it is
    /// known, and at least those of a usual one.
    std::vector<std::int64_t> pixels;
};

/// Reads as much of `input` as probing does, which was opened for that purpose alone, and decodes nothing: the parsers
/// say which sizes and kinds of pictures its decoders would meet. Nullopt if it must not be probed at all.
[[nodiscard]] std::optional<ProbingCost> probingCost(AVFormatContext &input);

} // namespace quorvale::ffmpeg
