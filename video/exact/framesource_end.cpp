#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

namespace quorvale {

namespace {

constexpr std::int64_t kUndoubtedAfterEntry = 16; // pictures between the entry point and the last one that is certain

} // namespace

// Most recordings begin in the middle of a group: what comes before the first random access point is doubtful.
bool FrameSource::isUndoubted() const
{
    if (!pictures().isFinished() || m_scan.stretches().count() == 0)
        return pictures().isFinished() && pictures().isUndoubted();
    const Stretch &only = m_scan.stretches().at(0);
    if (m_scan.stretches().count() > 1 || !only.endsFile())
        return pictures().isUndoubted();
    for (PictureIndex i = only.end(); i < pictures().pictureEnd(); ++i) {
        if ((pictures().picture(i).doubts & ~kLastOfFile) != 0)
            return false;
    }
    return true;
}

// The decoder decides which of a file's last pictures exist: it gets all packets from a point well before the last
// certain picture to the end, and is not drained.
FrameSource::Status FrameSource::findNearEnd(Anchor &anchor, FrameNumber number)
{
    const Stretch &home = stretchOf(anchor);
    const OutputIndex lastCertain = home.certainEnd() - 1 - kUndoubtedAfterEntry;
    const std::optional<EntryPoint> entry =
        lastCertain >= anchor.point.place ? entryFor(anchor, lastCertain) : std::nullopt;
    // FFmpeg 5.1 hands out one HEVC picture a packet: after parameters that ask for less reordering it stays late.
    const bool mayLag = m_coding == VideoCoding::Hevc && pictures().parameterSetters().size() > 1;
    // To go on costs no more, and needs no plan.
    const bool isThere = entry && m_literal && m_literalIsPlain && (m_literalFromStart || !mayLag) &&
                         m_literal->position() >= entry->picture;
    if (isThere && m_literal->end() <= number)
        return goOnLiterally(number);
    if (!entry || (isThere && m_literalFromStart))
        return findFromStart(number);
    if (mayLag || !knowsDepth(anchor, entry->picture) || !prepareWorker(entry->picture))
        return Status::NotProven;
    const std::optional<RunPlan> plan = planToEnd(pictures(), home, *entry, rules(anchor));
    if (!plan)
        return Status::NotProven;

    const std::int64_t before = m_counters.picturesDecoded;
    Run run(*plan, *m_worker, m_counters);
    const FrameNumber first = anchor.numberAt(entry->place);
    FrameNumber end = first;
    const ffmpeg::FramePtr wanted = ffmpeg::makeFrame();
    Run::Step step = Run::Step::Picture;
    while ((step = run.next(*m_nextFrame)) == Run::Step::Picture) {
        takeNextFrame();
        if (end == number && av_frame_ref(wanted.get(), m_frame.get()) < 0)
            return Status::Failed;
        ++end;
    }
    m_worker.reset();
    if (step == Run::Step::Failed || end - first < static_cast<std::int64_t>(plan->outputs.size())) {
        m_inVain += m_counters.picturesDecoded - before;
        betray(anchor, entry->place);
        return findAfterBetrayal(anchor, number);
    }
    if (end > FrameNumber())
        m_frameNumber = end - 1;
    const Status status = endAt(end, number);
    if (status == Status::PastEnd || number == end - 1)
        return status;
    av_frame_unref(m_frame.get());
    av_frame_move_ref(m_frame.get(), wanted.get());
    m_frameNumber = number;
    return Status::Found;
}

} // namespace quorvale
