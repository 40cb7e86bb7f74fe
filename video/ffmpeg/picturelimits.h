#pragma once

#include <cstdint>

namespace quorvale::ffmpeg {

inline constexpr std::int64_t kMiB = 1024 * 1024;

/// The most pixels that a picture may have: 7680x4320, rounded up to whole blocks, and a little wider. A header can
/// claim any size; what claims more is damage or malice, and is refused before there is memory for it.
inline constexpr std::int64_t kMostPixels = std::int64_t{8192} * 4352;

/// The most where nobody counts what is held: by a decoder that brings its pictures' memory itself, as AV1's does with
/// eleven of them, or by one decoder beside another.
inline constexpr std::int64_t kMostPixelsUncounted = std::int64_t{4096} * 2304;

/// Pictures of television in high definition, rounded up to whole blocks; the ones beyond are large.
inline constexpr std::int64_t kUsualPixels = std::int64_t{1920} * 1088;

/// The most bytes of any one piece of memory in the FFmpeg libraries: a plane of the largest picture with four bytes a
/// pixel, and some room around it.
inline constexpr std::int64_t kMostBytesInOnePiece = kMostPixels * 4 + kMiB;

} // namespace quorvale::ffmpeg
