// Pictures that were announced are decoded ahead, several at once. Numbers, anchors and plans stay with the asking
// thread, which also reads all packets; a task gets what it decodes. Nothing is decided here: where a picture does not
// come out as foreseen, it is looked for as if nobody had tried.

#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace quorvale {

namespace {

// Packets that wait to be decoded: five groups of 50 pictures at 24 Mbit/s.
constexpr std::int64_t kMostLoadedBytes = std::int64_t{32} * 1024 * 1024;

} // namespace

// Has as many of the pictures in m_toLoad decoded as there is room for.
void FrameSource::loadAhead()
{
    const auto most = static_cast<std::size_t>(m_limits.pictures);
    while (!m_toLoad.empty() && m_ahead.size() < most && loadNext(m_toLoad.front()))
        m_toLoad.pop_front();
    if (m_toLoad.empty())
        m_kept.clear();
}

// False where it has to wait for room. A picture that has no anchor, or no plan, is left to findAnywhere().
bool FrameSource::loadNext(FrameNumber number)
{
    if (number.value() < kNearStart || !hasFirstAnchor() || number < m_anchors.front().number)
        return true;
    const auto found = anchorFor(number);
    Anchor &anchor = *found;
    const OutputIndex place = anchor.placeOf(number);
    if (!isProven(anchor, place))
        return true;
    const std::optional<EntryPoint> entry = entryFor(anchor, place);
    const PictureIndex target = stretchOf(anchor).at(place);
    if (!entry || !mayTry(target - entry->picture))
        return true;
    PlanningRules rules = this->rules(anchor);
    rules.primeFrom = PictureIndex(); // The decoder will be a new one, so that what it knows depends on no other task.
    std::optional<RunPlan> plan = planToPicture(pictures(), stretchOf(anchor), *entry, place, rules);
    if (!plan)
        return true;
    const std::int64_t bytes = LoadedPackets::bytesOf(*plan);
    const auto sum = [](std::int64_t all, const auto &ahead) { return all + ahead.second.bytes; };
    if (std::accumulate(m_ahead.begin(), m_ahead.end(), bytes, sum) > kMostLoadedBytes)
        return m_ahead.empty(); // Alone, it is too large for good.

    m_literal.reset(); // as for any run: its decoder has done what it was for
    std::optional<DecodingTask> task = makeTask(std::move(*plan), target);
    if (!task)
        return true;
    const auto anchorIndex = static_cast<std::size_t>(found - m_anchors.begin());
    m_ahead.emplace(number, Ahead{begin(std::move(*task)), anchorIndex, place, bytes});
    return true;
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

// Makes frame() picture `number` where a task has decoded it.
bool FrameSource::takeAhead(FrameNumber number)
{
    const auto found = m_ahead.extract(number);
    if (!found)
        return false;
    Ahead &ahead = found.mapped();
    DecodedPicture decoded = m_threads->wait(std::move(ahead.picture));
    m_counters += decoded.counters;
    // What another run has shown since may be that the anchor cannot be trusted so far.
    if (!decoded.frame || ahead.place >= provenEnd(m_anchors[ahead.anchor])) {
        dropAhead();
        return false;
    }
    m_literal.reset(); // At the end of the file it would take this picture for its own last one.
    m_frame = std::move(decoded.frame);
    m_frameNumber = number;
    return true;
}

// What the tasks have cost is not counted: how far they came is chance.
void FrameSource::dropAhead()
{
    m_ahead.clear();
    m_threads.reset();
    m_toLoad.clear();
    m_kept.clear();
}

} // namespace quorvale
