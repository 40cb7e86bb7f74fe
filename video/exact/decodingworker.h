#pragma once

#include "video/exact/decoding.h"
#include "video/exact/packetreplay.h"

namespace quorvale {

/// A decoder with a demultiplexer of its own, and what it knows.
struct DecodingWorker
{
    DecodingWorker(VideoLocation location, ffmpeg::DecoderPtr decoder)
        : replay(std::move(location))
        , decoding(std::move(decoder))
    {
    }

    PacketReplay replay;
    Decoding decoding;
    PictureIndex knowsUpTo; ///< it was shown every picture before it that sets parameters
};

} // namespace quorvale
