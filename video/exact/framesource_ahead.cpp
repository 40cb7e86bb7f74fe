// Pictures that were announced are decoded ahead, several at once. Numbers, anchors and plans stay with the asking
// thread, which also reads all packets; a task gets what it decodes. Where its picture does not come out as foreseen,
// that says as much as if the asking thread had decoded it.

#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <utility>

namespace quorvale {

namespace {

// Packets that wait to be decoded: five groups of 50 pictures at 24 Mbit/s.
constexpr std::int64_t kMostLoadedBytes = std::int64_t{32} * 1024 * 1024;

} // namespace

// Has as many of the pictures in m_toLoad decoded as there is room for. Those after a doubt wait for a bridge.
void FrameSource::loadAhead()
{
    const auto most = static_cast<std::size_t>(m_limits.pictures);
    for (auto next = m_toLoad.begin(); next != m_toLoad.end() && m_ahead.size() + m_passed.size() < most;) {
        const Loading loading = loadNext(*next);
        if (loading == Loading::NoRoom)
            break;
        next = loading == Loading::Done ? m_toLoad.erase(next) : next + 1;
    }
    if (m_toLoad.empty())
        m_kept.clear();
}

// A picture that has no plan is left to findAnywhere().
FrameSource::Loading FrameSource::loadNext(FrameNumber number)
{
    if (m_passed.count(number) > 0)
        return Loading::Done;
    if (number.value() < kNearStart || !hasFirstAnchor() || number < m_anchors.front().number)
        return Loading::Done;
    const auto found = anchorFor(number);
    Anchor &anchor = *found;
    const OutputIndex place = anchor.placeOf(number);
    if (!isProven(anchor, place))
        return Loading::NoAnchor;
    const std::optional<EntryPoint> entry = entryFor(anchor, place);
    const PictureIndex target = stretchOf(anchor).at(place);
    if (!entry)
        return Loading::Done;
    PlanningRules rules = this->rules(anchor);
    rules.primeFrom = PictureIndex(); // The decoder will be a new one, so that what it knows depends on no other task.
    std::optional<RunPlan> plan = planToPicture(pictures(), stretchOf(anchor), *entry, place, rules);
    if (!plan)
        return Loading::Done;
    Ahead ahead;
    ahead.stretch = anchor.stretch;
    ahead.entry = entry->place;
    ahead.place = place;
    ahead.depth = anchor.depth;
    ahead.byReferenceLists = m_coding == VideoCoding::Hevc && rules.byReferenceLists;
    ahead.pictures = plan->pictureCount();
    ahead.bytes = LoadedPackets::bytesOf(*plan);
    if (!isRoomFor(ahead))
        return Loading::NoRoom; // One that is too large even alone holds up the others until it was asked for.

    m_literal.reset(); // as for any run: its decoder has done what it was for
    std::optional<DecodingTask> task = makeTask(std::move(*plan), target);
    if (!task)
        return Loading::Done;
    ahead.picture = begin(std::move(*task));
    m_ahead.emplace(number, std::move(ahead));
    return Loading::Done;
}

bool FrameSource::isRoomFor(const Ahead &further) const
{
    std::int64_t bytes = further.bytes;
    std::int64_t pictures = further.pictures;
    for (const auto &[number, ahead] : m_ahead) {
        bytes += ahead.bytes;
        pictures += ahead.pictures;
    }
    return bytes <= kMostLoadedBytes && (m_ahead.empty() ? mayTry(pictures) : isWithinBudget(pictures));
}

// Nothing without a decoder, or without the packets.
std::optional<DecodingTask> FrameSource::makeTask(RunPlan plan, PictureIndex target)
{
    ffmpeg::DecoderPtr decoder = m_recipe.make();
    std::unique_ptr<LoadedPackets> packets = load(plan);
    if (!decoder || !packets)
        return std::nullopt;
    auto worker = std::make_unique<DecodingWorker>(std::move(packets), std::move(decoder));
    return DecodingTask(std::move(plan), target, std::move(worker));
}

// On a thread.
std::future<DecodedPicture> FrameSource::begin(DecodingTask task)
{
    if (!m_threads)
        m_threads = std::make_unique<DecodingThreads>(m_limits.decoders);
    return m_threads->add(std::move(task));
}

// From memory, or from the disk where not all is kept.
std::unique_ptr<LoadedPackets> FrameSource::load(const RunPlan &plan)
{
    std::unique_ptr<LoadedPackets> packets = LoadedPackets::load(plan, m_kept);
    return packets ? std::move(packets) : LoadedPackets::load(plan, m_loader);
}

// The literal run from the start of the file comes by a picture once, be it for a proof or a test.
void FrameSource::keepPassed(FrameNumber number)
{
    const bool isAnnounced = std::count(m_toLoad.begin(), m_toLoad.end(), number) > 0;
    if (!isAnnounced || !m_literalFromStart ||
        m_ahead.size() + m_passed.size() >= static_cast<std::size_t>(m_limits.pictures))
        return;
    ffmpeg::FramePtr passed = ffmpeg::makeFrame();
    if (av_frame_ref(passed.get(), m_frame.get()) == 0)
        m_passed.emplace(number, std::move(passed));
}

// Makes frame() a picture that was kept.
bool FrameSource::takePassed(FrameNumber number)
{
    const auto found = m_passed.extract(number);
    if (!found)
        return false;
    av_frame_unref(m_frame.get());
    av_frame_move_ref(m_frame.get(), found.mapped().get());
    m_frameNumber = number;
    return true;
}

// Makes frame() the picture at `place` where a task has decoded it.
FrameSource::Taken FrameSource::takeAhead(Anchor &anchor, OutputIndex place)
{
    const auto found = m_ahead.extract(anchor.numberAt(place));
    if (!found)
        return Taken::Nothing;
    Ahead &ahead = found.mapped();
    const DecodedPicture &decoded = finish(ahead);
    // What other runs have shown since may be that another picture has this number.
    const bool isWanted = ahead.stretch == anchor.stretch && ahead.place == place && ahead.depth == anchor.depth;
    if (!isWanted || !decoded.frame)
        m_inVain += ahead.pictures;
    if (!isWanted)
        return Taken::Nothing;
    if (decoded.lackedMemory) { // which the others have
        for (const auto &[number, other] : m_ahead)
            m_inVain += other.pictures;
        dropAhead();
    }
    if (!decoded.frame && (decoded.lackedMemory || (ahead.byReferenceLists && mayRetry(anchor, ahead.entry, place)))) {
        m_byReferenceLists = m_byReferenceLists && !ahead.byReferenceLists;
        return Taken::Nothing;
    }
    if (!decoded.frame) {
        betray(anchor, ahead.entry);
        return Taken::Betrayal;
    }
    av_frame_unref(m_frame.get());
    av_frame_move_ref(m_frame.get(), decoded.frame.get());
    m_frameNumber = anchor.numberAt(place);
    return Taken::Picture;
}

// Waits for the task's end.
const DecodedPicture &FrameSource::finish(Ahead &ahead)
{
    if (ahead.picture.valid()) {
        ahead.decoded = m_threads->wait(std::move(ahead.picture));
        m_counters += ahead.decoded.counters;
    }
    return ahead.decoded;
}

// Of a picture that was had or refused without it, so that there is room for the next one.
void FrameSource::dropTask(FrameNumber number)
{
    m_toLoad.erase(std::remove(m_toLoad.begin(), m_toLoad.end(), number), m_toLoad.end());
    if (m_toLoad.empty())
        m_kept.clear();
    m_passed.erase(number);
    const auto left = m_ahead.extract(number);
    if (!left)
        return;
    finish(left.mapped());
    m_inVain += left.mapped().pictures;
}

void FrameSource::dropAhead()
{
    m_ahead.clear();
    m_passed.clear();
    m_threads.reset();
    m_toLoad.clear();
    m_kept.clear();
}

} // namespace quorvale
