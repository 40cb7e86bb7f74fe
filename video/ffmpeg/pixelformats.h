#pragma once

#include "video/bridgeimage.h"

#include <cstdint>
#include <optional>

// Translation between this program's numbers of pixel formats and those of libavutil, which are written as plain
// integers, so that this header needs none of FFmpeg's.

namespace quorvale::ffmpeg {

/// How the planes of a decoded picture are copied.
enum class PlaneLayout {
    None,             ///< not copied
    Planar420,        ///< three planes, chroma of half the height, rounded down
    PlanarFullHeight, ///< three planes, chroma of full height
    PlanarWithAlpha,  ///< four planes of full height
    Packed,           ///< one plane
};

/// libavutil's format that `format` asks for, -1 for none; nothing for a value outside the enumeration.
[[nodiscard]] std::optional<std::int32_t> avPixelFormatFor(FFPixelFormat format);

/// The label of a picture decoded as libavutil's `avFormat`; nothing if it has none. Not the inverse of
/// avPixelFormatFor: some formats can be asked for and are never reported.
[[nodiscard]] std::optional<FFPixelFormat> labelOf(std::int32_t avFormat);

[[nodiscard]] PlaneLayout planeLayoutOf(std::int32_t avFormat);

} // namespace quorvale::ffmpeg
