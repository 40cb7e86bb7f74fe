#pragma once

#include "video/exact/decodingworker.h"

#include <vector>

namespace quorvale {

/// What is to be decoded, and what must come out. Self-contained: a run of it needs nothing else.
struct RunPlan
{
    StartPlan start;
    std::vector<PlannedPacket> packets; ///< from the entry point on
    std::vector<PictureIndex> leading;  ///< may come out too: decoded after the entry point and output before it
    std::vector<PictureIndex> skimmed;  ///< likewise: decoded by headers only
    std::vector<PictureIndex> outputs;  ///< must come out, in this order; what comes after them is not foreseen
    bool isDrained = false;             ///< whether the decoder is drained after the last packet

    /// How many pictures it decodes, at most. Those that are decoded by headers only count, too: they are in the budget
    /// of what may be in vain, which is not to grow with what is saved.
    [[nodiscard]] std::int64_t pictureCount() const;
};

/// Decodes what a plan says.
class Run
{
public:
    enum class Step { Picture, End, Failed };

    /// All are borrowed.
    Run(const RunPlan &plan, DecodingWorker &worker, ExactCounters &counters);

    /// The next picture at or after the entry point, as foreseen. Failed where anything is not.
    Step next(AVFrame &frame);
    /// Whether none of the pictures that the decoder still holds back and that `target`, which came out, can refer to
    /// is damaged. Nothing can be decoded afterwards.
    [[nodiscard]] bool isSoundUpTo(PictureIndex target);

private:
    bool sendNext();
    [[nodiscard]] bool isLeading(PictureIndex picture) const;
    [[nodiscard]] bool isIgnored(PictureIndex picture) const;

    const RunPlan &m_plan;
    DecodingWorker &m_worker;
    ExactCounters &m_counters;
    ffmpeg::PacketPtr m_packet;
    PictureIndex m_latest; ///< the picture whose packet was sent last
    int m_failures = 0;    ///< in leading pictures
    std::size_t m_sent = 0;
    std::size_t m_received = 0;
    bool m_begun = false;
    bool m_drained = false;
};

} // namespace quorvale
