#pragma once

#include "video/exact/framechecksum.h"
#include "video/exact/run.h"
#include "video/ffmpeg/pointers.h"

#include <atomic>
#include <memory>
#include <vector>

namespace quorvale {

/// One picture to be decoded, with all that it takes: a plan, its packets in memory, and a decoder of its own.
///
/// Shares nothing with other tasks but the budget of their pictures. Belongs to one thread at a time: to the one that
/// makes it, then to the one that runs it, then to the first again; DecodingThreads hands it over.
class DecodingTask
{
public:
    /// `target` is to come out of `plan`; `worker` has the plan's packets and no others.
    DecodingTask(RunPlan plan, PictureIndex target, std::unique_ptr<DecodingWorker> worker);

    /// Has the checksums of all pictures kept, too.
    void keepChecksums() { m_keepsChecksums = true; }

    /// Decodes until the picture has come, or after the one in hand once `isEnding` is true. Once at most.
    void run(const std::atomic<bool> &isEnding);

    /// The picture, once the task has run; null where it did not come out as foreseen.
    [[nodiscard]] AVFrame *picture() const { return m_found ? m_frame.get() : nullptr; }
    /// Of the pictures that came out, if they are kept.
    [[nodiscard]] const std::vector<FrameChecksum> &checksums() const { return m_checksums; }
    /// What running it has cost.
    [[nodiscard]] const ExactCounters &counters() const { return m_counters; }

private:
    RunPlan m_plan;
    PictureIndex m_target;
    std::unique_ptr<DecodingWorker> m_worker;
    ffmpeg::FramePtr m_frame;
    std::vector<FrameChecksum> m_checksums;
    ExactCounters m_counters;
    bool m_keepsChecksums = false;
    bool m_found = false;
};

} // namespace quorvale
