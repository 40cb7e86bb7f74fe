#include "video/exact/decodingtask.h"

#include "video/ffmpeg/compat.h"

#include <utility>

namespace quorvale {

DecodingTask::DecodingTask(RunPlan plan, PictureIndex target, std::unique_ptr<DecodingWorker> worker)
    : m_plan(std::move(plan))
    , m_target(target)
    , m_worker(std::move(worker))
{
}

DecodedPicture DecodingTask::operator()(const std::atomic<bool> &isEnding)
{
    // A decoder holds many times the memory of the picture: it goes before the picture is taken.
    const std::unique_ptr<DecodingWorker> worker = std::move(m_worker);
    DecodedPicture decoded;
    ffmpeg::FramePtr frame = ffmpeg::makeFrame();
    Run run(m_plan, *worker, decoded.counters);
    while (!isEnding && run.next(*frame) == Run::Step::Picture) {
        if (m_keepsChecksums)
            decoded.checksums.push_back(checksumOf(*frame));
        if (Decoding::pictureOf(*frame) != m_target)
            continue;
        if (run.isSoundUpTo(m_target))
            decoded.frame = std::move(frame);
        break;
    }
    decoded.lackedMemory = worker->decoding.lacksMemory();
    return decoded;
}

} // namespace quorvale
