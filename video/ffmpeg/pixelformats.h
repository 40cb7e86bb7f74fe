#pragma once

#include "video/bridgeimage.h"
#include "video/ffvideo.h"

#include <cstdint>
#include <optional>

// Translation between the numbers of this program and those of libavutil. libavutil's are written as plain integers,
// so that this header needs none of FFmpeg's.

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

/// The label of a picture decoded as libavutil's `avFormat`; nothing where it has none. Not the inverse of
/// avPixelFormatFor: some formats can be asked for and are never reported.
[[nodiscard]] std::optional<FFPixelFormat> labelOf(std::int32_t avFormat);

[[nodiscard]] PlaneLayout planeLayoutOf(std::int32_t avFormat);

/// libavutil's colour space for `colourSpace`; nothing for a value outside the enumeration.
[[nodiscard]] std::optional<std::int32_t> avColourSpaceFor(FFColourSpace colourSpace);

/// This program's name for libavutil's colour space; FF_CS_UNSPECIFIED for every one that has no name here.
[[nodiscard]] FFColourSpace colourSpaceOf(std::int32_t avColourSpace);
