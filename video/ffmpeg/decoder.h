#pragma once

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

namespace ffmpeg {

/// A decoder for a stream with these parameters and this time base, not opened yet; null without memory.
[[nodiscard]] DecoderPtr makeDecoder(const AVCodecParameters &parameters, AVRational timeBase, const AVCodec *codec);

} // namespace ffmpeg
