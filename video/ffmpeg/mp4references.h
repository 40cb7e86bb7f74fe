#pragma once

#include <cstdint>
#include <vector>

struct AVIOContext;

namespace quorvale::ffmpeg {

// Where tables of an MP4 file say that fragments begin. FFmpeg takes what it finds there for boxes, whatever box it
// stands in.

/// Adds those of the segment index (sidx) that ends at `end`; `file` stands after its type.
void addSegments(AVIOContext &file, std::int64_t end, std::vector<std::int64_t> &places);

/// Adds those of the fragment random access table (tfra) that ends at `end`; `file` stands after its type.
void addFragments(AVIOContext &file, std::int64_t end, std::vector<std::int64_t> &places);

/// Adds the box around such tables (mfra) to which the last four bytes of `file` point.
void addFragmentTables(AVIOContext &file, std::vector<std::int64_t> &places);

} // namespace quorvale::ffmpeg
