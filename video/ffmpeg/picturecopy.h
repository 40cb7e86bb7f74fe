#pragma once

#include "video/bridgeimage.h"

#include <cstdint>

struct AVFrame;

namespace quorvale::ffmpeg {

/// Copies a decoded picture into `image`: its size, its label and its planes, which are owned by the caller.
///
/// `bottomUpRows`: how many rows are copied if the picture is stored bottom-up. A format without a label leaves that of
/// `image` as it was, with a line on stderr. False, without planes, if the format is not one that is copied.
[[nodiscard]] bool copyPicture(const AVFrame &frame, std::int32_t bottomUpRows, BridgeImage &image);

} // namespace quorvale::ffmpeg
