#pragma once

#include <algorithm>
#include <cstdint>

namespace quorvale::ffmpeg {

inline constexpr std::int64_t kMiB = 1024 * 1024;

/// The most pixels that a picture may have: 7680x4320, rounded up to whole blocks, and a little wider. A header can
/// claim any size; what claims more is damage or malice, and is refused before there is memory for it.
inline constexpr std::int64_t kMostPixels = std::int64_t{8192} * 4352;

/// The pixels of a picture whose sides a header claims: none below 0, and no more than twice kMostPixels, which is too
/// many already and can be multiplied.
[[nodiscard]] constexpr std::int64_t pixelsClaimed(int width, int height)
{
    return std::clamp(std::int64_t{width} * height, std::int64_t{0}, 2 * kMostPixels);
}

/// The most where nobody counts what is held: by a decoder that brings its pictures' memory itself, as AV1's does with
/// eleven of them, or by one decoder beside another.
inline constexpr std::int64_t kMostPixelsUncounted = std::int64_t{4096} * 2304;

/// Pictures of television in high definition, rounded up to whole blocks; the ones beyond are large.
inline constexpr std::int64_t kUsualPixels = std::int64_t{1920} * 1088;

/// The most bytes of any one piece of memory in the FFmpeg libraries: a plane of the largest picture with two bytes a
/// sample, and some room around it. Packets that are put together are that large, too, in two or three copies.
inline constexpr std::int64_t kMostBytesInOnePiece = kMostPixels * 2 + 2 * kMiB;

/// The most bytes of a packet: 1920x1088 pixels of 8 bytes, and as much again.
inline constexpr std::int64_t kMostPacketBytes = 32 * kMiB;

/// Pictures that are larger and refer to no others may be stored as they are, in as many bytes a pixel, up to
/// kMostBytesInOnePiece; without compression up to the largest picture of four bytes a pixel.
inline constexpr std::int64_t kMostPacketBytesAPixel = 8;
inline constexpr std::int64_t kMostUncompressedBytes = kMostPixels * 4 + kMiB;

} // namespace quorvale::ffmpeg
