#pragma once

#include <cstdint>

/// Matrix of a video's colours. The comment is libavutil's number for it.
enum FFColourSpace : std::int32_t {
    FF_CS_RGB = 0,         ///< 0
    FF_CS_BT709 = 1,       ///< 1
    FF_CS_BT470BG = 2,     ///< 5
    FF_CS_SMPTE170M = 3,   ///< 6
    FF_CS_SMPTE240M = 4,   ///< 7
    FF_CS_FCC = 5,         ///< 4
    FF_CS_YCGCO = 6,       ///< 8
    FF_CS_BT2020_CL = 7,   ///< 10
    FF_CS_BT2020_NCL = 8,  ///< 9
    FF_CS_UNSPECIFIED = 9, ///< 2
};
