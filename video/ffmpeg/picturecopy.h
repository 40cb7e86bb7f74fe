#pragma once

#include "video/bridgeimage.h"

#include <cstdint>

struct AVFrame;

namespace quorvale {

/// Labels `image` and copies the planes of `frame` into it, in display order. False, with nothing but the size and the
/// label set, for a layout that is not copied. A format without a label leaves a line on stderr.
/// `bottomUpRows`: how many rows are copied where the picture is stored bottom-up.
bool copyPicture(const AVFrame &frame, std::int32_t bottomUpRows, BridgeImage &image);

} // namespace quorvale
