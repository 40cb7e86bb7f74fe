#pragma once

#include "video/exact/framechecksum.h"
#include "video/exact/run.h"
#include "video/ffmpeg/pointers.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace quorvale {

/// What comes of a DecodingTask.
struct DecodedPicture
{
    ffmpeg::FramePtr frame;               ///< null where the picture did not come out as foreseen
    std::vector<FrameChecksum> checksums; ///< of all pictures that came out, if they are kept
    ExactCounters counters;               ///< what it has cost
    bool lackedMemory = false;            ///< that may be why
};

/// One picture to be decoded, with all that it takes: a plan, its packets in memory, and a decoder of its own.
///
/// Shares nothing with other tasks but the budget of their pictures. Whoever runs it owns it.
class DecodingTask
{
public:
    /// `target` is to come out of `plan`; `worker` has the plan's packets and no others.
    DecodingTask(RunPlan plan, PictureIndex target, std::unique_ptr<DecodingWorker> worker);

    /// Has the checksums of all pictures kept, too.
    void keepChecksums() { m_keepsChecksums = true; }
    /// How many pictures it decodes, at most.
    [[nodiscard]] std::int64_t pictureCount() const { return m_plan.pictureCount(); }

    /// Decodes until the picture has come, or after the one in hand once `isEnding` is true. Once at most.
    DecodedPicture operator()(const std::atomic<bool> &isEnding);

private:
    RunPlan m_plan;
    PictureIndex m_target;
    std::unique_ptr<DecodingWorker> m_worker;
    bool m_keepsChecksums = false;
};

} // namespace quorvale
