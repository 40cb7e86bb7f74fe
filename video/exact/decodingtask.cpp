#include "video/exact/decodingtask.h"

#include "video/ffmpeg/compat.h"

#include <utility>

namespace quorvale {

DecodingTask::DecodingTask(RunPlan plan, PictureIndex target, std::unique_ptr<DecodingWorker> worker)
    : m_plan(std::move(plan))
    , m_target(target)
    , m_worker(std::move(worker))
    , m_frame(ffmpeg::makeFrame())
{
}

void DecodingTask::run(const std::atomic<bool> &isEnding)
{
    Run run(m_plan, *m_worker, m_counters);
    while (!m_found && !isEnding && run.next(*m_frame) == Run::Step::Picture) {
        m_found = Decoding::pictureOf(*m_frame) == m_target && run.isSoundUpTo(m_target);
        if (m_keepsChecksums)
            m_checksums.push_back(checksumOf(*m_frame));
    }
    m_worker.reset(); // A decoder holds many times the memory of the picture.
    if (!m_found)
        av_frame_unref(m_frame.get());
}

} // namespace quorvale
