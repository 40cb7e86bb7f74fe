#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <utility>

namespace quorvale {

namespace {

constexpr std::int64_t kBehind = 16;    // pictures behind a target that must be without doubt
constexpr std::int64_t kNearStart = 24; // pictures that are decoded from the start rather than proven

} // namespace

FrameSource::FrameSource(VideoLocation location, VideoCoding coding, std::int64_t unitsInASecond, DecoderRecipe recipe)
    : m_location(location)
    , m_coding(coding)
    , m_recipe(std::move(recipe))
    , m_scan(std::move(location), coding, unitsInASecond)
    , m_frame(ffmpeg::makeFrame())
    , m_nextFrame(ffmpeg::makeFrame())
{
}

ExactCounters FrameSource::counters() const
{
    ExactCounters counters = m_counters;
    counters.packetsScanned = pictures().packetEnd().value();
    return counters;
}

FrameSource::Status FrameSource::find(FrameNumber number)
{
    if (m_frameNumber == number)
        return Status::Found;
    if (m_fileEnd && number >= *m_fileEnd)
        return Status::PastEnd;
    Status status = Status::NotProven;
    if (number.value() < kNearStart || (m_anchor && number < m_anchor->number))
        status = findFromStart(number);
    else if (m_anchor || anchorIsProven(number))
        status = number < m_anchor->number ? findFromStart(number) : findFromAnchor(number);
    else if (m_fileEnd)
        status = number < *m_fileEnd ? findFromStart(number) : Status::PastEnd;
    if (m_scan.hasFailed() && status == Status::NotProven)
        status = Status::Failed;
    m_counters.refusals += status == Status::NotProven || status == Status::Failed ? 1 : 0;
    return status;
}

// As the literal reader does it.
FrameSource::Status FrameSource::findFromStart(FrameNumber number)
{
    if (!m_beginning || FrameNumber(m_beginning->shown().size()) > number)
        m_beginning = std::make_unique<Beginning>(makeWorker(), m_counters);
    while (FrameNumber(m_beginning->shown().size()) <= number) {
        switch (decodeBeginning()) {
        case Beginning::Step::Picture:
            break;
        case Beginning::Step::NeedsPacket:
            return endAt(FrameNumber(m_beginning->shown().size()), number);
        case Beginning::Step::Failed:
            return Status::Failed;
        }
    }
    keep(number);
    return Status::Found;
}

// The next picture of the beginning; NeedsPacket at the end of the file only.
Beginning::Step FrameSource::decodeBeginning()
{
    m_frameNumber.reset();
    for (;;) {
        const bool isAll = pictures().isFinished();
        const Beginning::Step step = m_beginning->next(pictures(), *m_nextFrame);
        if (step == Beginning::Step::Picture)
            takeNextFrame();
        if (step != Beginning::Step::NeedsPacket || isAll)
            return step;
        m_scan.readOn();
        if (m_scan.hasFailed())
            return Beginning::Step::Failed;
    }
}

// Received beside m_frame, which at the end of the file keeps the last picture.
void FrameSource::takeNextFrame()
{
    av_frame_unref(m_frame.get());
    av_frame_move_ref(m_frame.get(), m_nextFrame.get());
}

FrameSource::Status FrameSource::endAt(FrameNumber end, FrameNumber wanted)
{
    m_fileEnd = end;
    if (end > FrameNumber())
        keep(end - 1);
    if (wanted >= end)
        return Status::PastEnd;
    return m_frameNumber == wanted ? Status::Found : Status::NotProven;
}

void FrameSource::keep(FrameNumber number)
{
    m_frameNumber = number;
}

// Places before it can be counted on.
OutputIndex FrameSource::provenEnd() const
{
    OutputIndex end = stretch().certainEnd() - kBehind;
    const std::optional<PictureIndex> tooDeep = stretch().firstDeeperThan(m_depth);
    if (tooDeep) {
        const std::optional<OutputIndex> place = stretch().placeOf(*tooDeep);
        end = std::min(end, place ? *place - (kBehind + 2 * kMostReordering) : OutputIndex());
    }
    return m_betrayedFrom ? std::min(end, *m_betrayedFrom) : end;
}

FrameSource::Status FrameSource::findFromAnchor(FrameNumber number)
{
    const OutputIndex place = m_anchor->place + (number - m_anchor->number);
    while (place >= provenEnd() && !stretch().isClosed() && m_scan.readOn()) {
    }
    if (place < provenEnd())
        return hop(place);
    if (stretch().endsFile() && !m_betrayedFrom && !stretch().firstDeeperThan(m_depth))
        return findNearEnd(number);
    return Status::NotProven;
}

FrameSource::Status FrameSource::hop(OutputIndex place)
{
    const EntryPoint *entry = entryPointFor(stretch(), place, m_anchor->place);
    if (!entry || !prepareWorker(entry->picture))
        return Status::NotProven;
    PlanningRules rules{m_coding == VideoCoding::H264, m_coding == VideoCoding::Hevc, m_depth, m_worker->knowsUpTo};
    const std::optional<RunPlan> plan = planToPicture(pictures(), stretch(), *entry, place, rules);
    if (!plan)
        return Status::NotProven;

    Run run(*plan, m_worker->replay, m_worker->decoding, m_counters);
    const PictureIndex target = stretch().at(place);
    m_frameNumber.reset();
    for (;;) {
        if (run.next(*m_frame) != Run::Step::Picture) {
            m_worker.reset();
            m_betrayedFrom = std::min(m_betrayedFrom.value_or(entry->place), entry->place);
            return Status::NotProven;
        }
        if (Decoding::pictureOf(*m_frame) == target)
            break;
    }
    m_worker->knowsUpTo = std::max(m_worker->knowsUpTo, target);
    keep(m_anchor->number + (place - m_anchor->place));
    return Status::Found;
}

// Which of a file's last pictures exist is up to the decoder: it gets all that come behind the last one that is
// certain, and is not drained.
FrameSource::Status FrameSource::findNearEnd(FrameNumber number)
{
    const OutputIndex lastCertain = stretch().certainEnd() - 1 - kBehind;
    const EntryPoint *entry =
        lastCertain >= m_anchor->place ? entryPointFor(stretch(), lastCertain, m_anchor->place) : nullptr;
    // Going on from the start is no dearer, and needs no plan.
    if (!entry || (m_beginning && m_beginning->position() >= entry->picture))
        return findFromStart(number);
    if (!prepareWorker(entry->picture))
        return Status::NotProven;
    PlanningRules rules{m_coding == VideoCoding::H264, m_coding == VideoCoding::Hevc, m_depth, m_worker->knowsUpTo};
    const std::optional<RunPlan> plan = planToEnd(pictures(), stretch(), *entry, rules);
    if (!plan)
        return Status::NotProven;

    Run run(*plan, m_worker->replay, m_worker->decoding, m_counters);
    const FrameNumber first = m_anchor->number + (entry->place - m_anchor->place);
    FrameNumber end = first;
    const ffmpeg::FramePtr wanted = ffmpeg::makeFrame();
    m_frameNumber.reset();
    Run::Step step = Run::Step::Picture;
    while ((step = run.next(*m_nextFrame)) == Run::Step::Picture) {
        takeNextFrame();
        if (end == number && av_frame_ref(wanted.get(), m_frame.get()) < 0)
            return Status::Failed;
        ++end;
    }
    m_worker.reset();
    if (step == Run::Step::Failed || end - first < static_cast<std::int64_t>(plan->outputs.size())) {
        m_betrayedFrom = entry->place;
        return Status::NotProven;
    }
    const Status status = endAt(end, number);
    if (status == Status::PastEnd || number == end - 1)
        return status;
    av_frame_unref(m_frame.get());
    av_frame_move_ref(m_frame.get(), wanted.get());
    keep(number);
    return Status::Found;
}

// A worker for a run from `entry` on, which knows no parameters that are other ones there.
bool FrameSource::prepareWorker(PictureIndex entry)
{
    if (!m_worker && m_beginning)
        m_worker = m_beginning->takeWorker();
    m_beginning.reset();
    const std::vector<PictureIndex> &setters = pictures().parameterSetters();
    const bool knowsTooMuch =
        m_worker && std::any_of(setters.begin(), setters.end(), [&](PictureIndex setter) {
            return setter >= entry && setter < m_worker->knowsUpTo && pictures().picture(setter).doubts != 0;
        });
    if (!m_worker || knowsTooMuch)
        m_worker = makeWorker();
    return m_worker != nullptr;
}

std::unique_ptr<DecodingWorker> FrameSource::makeWorker() const
{
    ffmpeg::DecoderPtr decoder = m_recipe.make();
    return decoder ? std::make_unique<DecodingWorker>(m_location, std::move(decoder)) : nullptr;
}

} // namespace quorvale
