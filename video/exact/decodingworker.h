#pragma once

#include "video/bitstream/accessunitreader.h"
#include "video/exact/decoding.h"
#include "video/exact/exactcounters.h"
#include "video/exact/packetsource.h"

#include <memory>
#include <utility>
#include <vector>

namespace quorvale {

/// How decoding is to begin at an entry point.
struct StartPlan
{
    /// A picture of which the decoder is shown the parameters first.
    struct Primer
    {
        std::vector<PlannedPacket> packets;
        WaysIn ways = {-1, -1, -1};
    };

    std::vector<Primer> primers;
    WaysIn ways = {-1, -1, -1}; ///< to the entry point's first packet
    VideoCoding coding{};
    std::int64_t depth = 0; ///< of the decoder, see Decoding::depth()
    /// FFmpeg's H.264 decoder takes pictures that were decoded before a recovery point's own came out for damaged.
    /// Without this it loses them where it is drained.
    bool showsAll = false;
    bool strict = false; ///< any complaint of the decoder means damage that no packet showed
};

/// A decoder with packets of its own, and what it knows. Belongs to one thread at a time.
struct DecodingWorker
{
    DecodingWorker(std::unique_ptr<PacketSource> source, ffmpeg::DecoderPtr decoder)
        : packets(std::move(source))
        , decoding(std::move(decoder))
    {
    }

    /// Prepares the decoder for the entry point's packets. False if the primers' are not found again.
    bool start(const StartPlan &plan, ExactCounters &counters);

    std::unique_ptr<PacketSource> packets; ///< never null
    Decoding decoding;
    PictureIndex knowsUpTo; ///< it was shown every picture before it that sets parameters

private:
    bool prime(const StartPlan::Primer &primer, VideoCoding coding);
};

} // namespace quorvale
