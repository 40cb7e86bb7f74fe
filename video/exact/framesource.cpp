#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <utility>

namespace quorvale {

namespace {

constexpr std::int64_t kUndoubtedAfterTarget = 16; // pictures

} // namespace

FrameSource::FrameSource(VideoLocation location, VideoCoding coding, std::int64_t unitsInASecond, DecoderRecipe recipe,
                         AheadLimits limits)
    : m_location(location)
    , m_coding(coding)
    , m_recipe(std::move(recipe))
    , m_scan(location, coding, unitsInASecond)
    , m_frame(ffmpeg::makeFrame())
    , m_nextFrame(ffmpeg::makeFrame())
    , m_limits(limits)
    , m_loader(std::move(location), m_kept)
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
    m_horizon = std::max(m_horizon, number);
    lookAtProspects();
    Status status = m_refusedUpTo && number <= *m_refusedUpTo ? Status::NotProven : findAnywhere(number);
    dropTask(number);
    if (status == Status::NotProven) {
        m_plainUpTo = std::max(m_plainUpTo, number);
        m_frameNumber.reset(); // What was decoded last may be of the doubt.
    }
    if (m_scan.hasFailed() && status == Status::NotProven)
        status = Status::Failed;
    m_counters.refusals += status == Status::NotProven || status == Status::Failed ? 1 : 0;
    return status;
}

FrameSource::Status FrameSource::findAnywhere(FrameNumber number)
{
    if (m_frameNumber == number || takePassed(number))
        return Status::Found;
    if (m_fileEnd && number >= *m_fileEnd)
        return Status::PastEnd;
    if (number.value() < kNearStart)
        return findFromStart(number);
    if (hasFirstAnchor())
        return number < m_anchors.front().number ? findFromStart(number) : findFromAnchors(number);
    if (m_fileEnd)
        return number < *m_fileEnd ? findFromStart(number) : Status::PastEnd;
    return Status::NotProven;
}

// Received beside m_frame, which at the end of the file keeps the last picture.
void FrameSource::takeNextFrame()
{
    m_frameNumber.reset();
    av_frame_unref(m_frame.get());
    av_frame_move_ref(m_frame.get(), m_nextFrame.get());
}

// Places before it can be counted on.
OutputIndex FrameSource::provenEnd(const Anchor &anchor) const
{
    const Stretch &home = stretchOf(anchor);
    OutputIndex end = home.certainEnd() - kUndoubtedAfterTarget;
    if (const std::optional<PictureIndex> tooDeep = home.firstDeeperThan(anchor.depth)) {
        // Up to there, pictures are decoded no more than `depth` places after their place in output order.
        end = std::min(end, home.placeWithoutReordering(*tooDeep) - (kUndoubtedAfterTarget + 1 + anchor.depth));
    }
    return anchor.betrayedFrom ? std::min(end, *anchor.betrayedFrom) : end;
}

// Whether the decoder that began with the file waits for as many pictures at `entry` as it did at the anchor: which
// ones come out where order or file end depends on it.
bool FrameSource::knowsDepth(const Anchor &anchor, PictureIndex entry) const
{
    const std::optional<PictureIndex> hint = stretchOf(anchor).firstHintAtReordering();
    return m_coding != VideoCoding::H264 || anchor.depth > 0 || !hint || *hint > entry;
}

// The last one that is not after the picture; the first one must not be.
std::deque<Anchor>::iterator FrameSource::anchorFor(FrameNumber number)
{
    return std::find_if(m_anchors.begin(), m_anchors.end(),
                        [&](const Anchor &anchor) { return anchor.number > number; }) -
           1;
}

// Whether the place can be counted on; scans on where that is to be seen yet.
bool FrameSource::isProven(const Anchor &anchor, OutputIndex place)
{
    while (place >= provenEnd(anchor) && !stretchOf(anchor).isClosed() && m_scan.readOn()) {
    }
    return place < provenEnd(anchor);
}

PlanningRules FrameSource::rules(const Anchor &anchor) const
{
    PlanningRules rules;
    rules.coding = m_coding;
    rules.byReferenceLists = m_byReferenceLists;
    rules.depth = anchor.depth;
    if (m_worker)
        rules.primeFrom = m_worker->knowsUpTo;
    return rules;
}

FrameSource::Status FrameSource::findFromAnchors(FrameNumber number)
{
    for (;;) {
        const auto found = anchorFor(number);
        Anchor &anchor = *found;
        const Stretch &home = stretchOf(anchor);
        const OutputIndex place = anchor.placeOf(number);
        if (isDecodedPlainly(number))
            return Status::Found; // on the way to an anchor
        if (isProven(anchor, place)) {
            if (isNearer(anchor, place))
                return goOnLiterally(number);
            loadAhead(); // Others may have got their anchor with it.
            return hop(anchor, place);
        }
        if (home.endsFile() && !anchor.betrayedFrom && !home.firstDeeperThan(anchor.depth))
            return findNearEnd(anchor, number);
        // It lies in what is doubtful, or after it.
        if (found + 1 != m_anchors.end() || !bridge(anchor, number)) {
            if (isDecodedPlainly(number))
                return Status::Found; // on the way to an anchor that is not proven yet
            return anchor.betrayedFrom || standsIn() ? standIn(number) : Status::NotProven;
        }
    }
}

FrameSource::Status FrameSource::hop(Anchor &anchor, OutputIndex place)
{
    const Stretch &home = stretchOf(anchor);
    const FrameNumber number = anchor.numberAt(place);
    switch (takeAhead(anchor, place)) {
    case Taken::Picture:
        return Status::Found;
    case Taken::Betrayal:
        return findAfterBetrayal(anchor, number);
    case Taken::Nothing:
        break;
    }
    const std::optional<EntryPoint> entry = entryFor(anchor, place);
    if (!entry && !standsIn())
        return Status::NotProven;
    if (!entry || !mayTry(home.at(place) - entry->picture))
        return standIn(number);
    if (!prepareWorker(entry->picture))
        return Status::NotProven;
    const std::optional<RunPlan> plan = planToPicture(pictures(), home, *entry, place, rules(anchor));
    if (!plan)
        return Status::NotProven;

    const PictureIndex target = home.at(place);
    const std::int64_t before = m_counters.picturesDecoded;
    Run run(*plan, *m_worker, m_counters);
    while (run.next(*m_nextFrame) == Run::Step::Picture) {
        if (Decoding::pictureOf(*m_nextFrame) != target)
            continue;
        if (!run.isSoundUpTo(target))
            break;
        m_worker->knowsUpTo = std::max(m_worker->knowsUpTo, target);
        takeNextFrame();
        m_frameNumber = number;
        return Status::Found;
    }
    m_worker.reset();
    m_inVain += m_counters.picturesDecoded - before;
    if (m_coding == VideoCoding::Hevc && m_byReferenceLists && mayRetry(anchor, entry->place, place)) {
        m_byReferenceLists = false;
        return hop(anchor, place);
    }
    betray(anchor, entry->place);
    return findAfterBetrayal(anchor, number);
}

// Whether a run that failed may be tried again with all pictures: a decoder may miss those that are still in a
// reference picture set, but that neither this picture nor the wanted one needs. Most likely something is damaged.
bool FrameSource::mayRetry(const Anchor &anchor, OutputIndex entry, OutputIndex place) const
{
    return mayTry(stretchOf(anchor).at(place) - stretchOf(anchor).at(entry));
}

void FrameSource::betray(Anchor &anchor, OutputIndex from)
{
    anchor.betrayedFrom = std::min(anchor.betrayedFrom.value_or(from), from);
}

// A worker for a run from `entry` on, which knows no parameters that are other ones there.
bool FrameSource::prepareWorker(PictureIndex entry)
{
    if (!m_worker && m_literal)
        m_worker = m_literal->takeWorker();
    m_literal.reset();
    const std::vector<PictureIndex> &setters = pictures().parameterSetters();
    const bool knowsTooMuch =
        m_worker && std::any_of(setters.begin(), setters.end(), [&](PictureIndex setter) {
            return setter >= entry && setter < m_worker->knowsUpTo && pictures().picture(setter).doubts != 0;
        });
    if (!m_worker || knowsTooMuch)
        m_worker = makeWorker();
    return m_worker != nullptr;
}

std::unique_ptr<DecodingWorker> FrameSource::makeWorker()
{
    ffmpeg::DecoderPtr decoder = m_recipe.make();
    return decoder ? std::make_unique<DecodingWorker>(std::make_unique<PacketReplay>(m_location, m_kept),
                                                      std::move(decoder))
                   : nullptr;
}

} // namespace quorvale
