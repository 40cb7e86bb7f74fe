#pragma once

#include "video/colourspace.h"

#include <cstdint>
#include <optional>

// Translation between this program's numbers of colour spaces and those of libavutil, which are written as plain
// integers, so that this header needs none of FFmpeg's.

namespace quorvale::ffmpeg {

/// libavutil's colour space for `colourSpace`; nothing for a value outside the enumeration.
[[nodiscard]] std::optional<std::int32_t> avColourSpaceFor(FFColourSpace colourSpace);

/// This program's name for libavutil's colour space; FF_CS_UNSPECIFIED for those without a name here.
[[nodiscard]] FFColourSpace colourSpaceOf(std::int32_t avColourSpace);

} // namespace quorvale::ffmpeg
