#pragma once

#include "video/exact/decoding.h"
#include "video/exact/exactcounters.h"
#include "video/exact/packetreplay.h"

#include <vector>

namespace quorvale {

/// What is to be decoded, and what must come out. Self-contained: a run of it needs nothing else.
struct RunPlan
{
    /// A picture to show to the decoder before the run, because it sets parameters; what comes out is dropped.
    struct Primer
    {
        std::vector<PlannedPacket> packets;
        WaysIn ways = {-1, -1, -1};
    };

    std::vector<Primer> primers;
    std::vector<PlannedPacket> packets; ///< from the entry point on
    WaysIn ways = {-1, -1, -1};         ///< to the first of them
    std::vector<PictureIndex> inFront;  ///< may come out too: decoded after the entry point and output before it
    std::vector<PictureIndex> outputs;  ///< must come out, in this order; what comes after them is not foreseen
    std::int64_t depth = 0;             ///< of the decoder, see Decoding::depth()
    bool strict = false;                ///< any complaint of the decoder means damage that no packet showed
    bool drains = false;                ///< the decoder is drained after the last packet
};

/// Decodes what a plan says with a decoder that knows the parameters of the stream's beginning.
class Run
{
public:
    enum class Step { Picture, End, Failed };

    /// All are borrowed.
    Run(const RunPlan &plan, PacketReplay &replay, Decoding &decoding, ExactCounters &counters);

    /// The next picture at or after the entry point, as foreseen. Failed where anything is not.
    Step next(AVFrame &frame);

private:
    bool begin();
    bool prime(const RunPlan::Primer &primer);
    bool sendNext();
    [[nodiscard]] bool isInFront(PictureIndex picture) const;

    const RunPlan &m_plan;
    PacketReplay &m_replay;
    Decoding &m_decoding;
    ExactCounters &m_counters;
    ffmpeg::PacketPtr m_packet;
    std::size_t m_sent = 0;
    std::size_t m_received = 0;
    bool m_begun = false;
    bool m_drained = false;
};

} // namespace quorvale
