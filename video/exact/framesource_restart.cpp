#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quorvale {

namespace {

constexpr std::int64_t kFarAway = 60;          // pictures to a target, below which a test would cost more than it saves
constexpr std::int64_t kCompared = 12;         // pictures that must look the same after a restart, about
constexpr std::int64_t kWellBefore = 8;        // pictures that the running decoder had decoded before it
constexpr std::int64_t kTestEffortDivisor = 2; // of the way to the target, at most

// Of the pictures to compare, the one that is decoded last: up to it, all have come out when it was decoded.
OutputIndex lastToCompare(const Stretch &stretch, const EntryPoint &point)
{
    OutputIndex last = point.place;
    for (OutputIndex i = point.place; i < point.place + kCompared; ++i)
        last = stretch.at(i) > stretch.at(last) ? i : last;
    return last;
}

} // namespace

// The entry point for the picture at `place`. Points that promise nothing are tested first.
std::optional<EntryPoint> FrameSource::entryFor(Anchor &anchor, OutputIndex place)
{
    const auto exact = entryPointFor(pictures(), stretchOf(anchor), place, anchor.point.place, false);
    const auto any = entryPointFor(pictures(), stretchOf(anchor), place, anchor.point.place, true);
    const bool isFar = place - (exact ? exact->place : anchor.point.place) > kFarAway;
    if (any && any->isInexact && m_inexact == Trust::Unknown && isFar && &anchor == &m_anchors.front())
        testRestart(anchor, place);
    return m_inexact == Trust::Yes ? any : exact;
}

// Before any announced picture is decoded: the decoder from the file's start has not come far then, and where the test
// fails goes on to the end.
void FrameSource::testForAnnounced()
{
    for (auto number = m_toLoad.rbegin(); number != m_toLoad.rend() && m_inexact == Trust::Unknown; ++number) {
        if (number->value() < kNearStart || !hasFirstAnchor() || *number < m_anchors.front().number)
            return;
        Anchor &anchor = *anchorFor(*number);
        if (isProven(anchor, anchor.placeOf(*number)))
            static_cast<void>(entryFor(anchor, anchor.placeOf(*number)));
    }
}

// A second decoder begins at a point that promises nothing, the first one that the decoder from the file's start has
// not reached yet. Both must output the same pictures from there on.
void FrameSource::testRestart(Anchor &anchor, OutputIndex place)
{
    if (!beginFromStart())
        return;
    const std::vector<EntryPoint> &points = stretchOf(anchor).entryPoints();
    const auto point = std::find_if(points.begin(), points.end(), [&](const EntryPoint &entry) {
        return entry.isInexact && entry.place - anchor.point.place >= kWellBefore &&
               entry.picture > m_literal->position();
    });
    if (point == points.end() || point->place + kCompared >= provenEnd(anchor) ||
        point->place.value() + kCompared > place.value() / kTestEffortDivisor || !mayTest(anchor, *point))
        return;
    const EntryPoint tested = *point; // a copy: scanning adds points
    m_inexact = restartsAlike(anchor, tested) ? Trust::Yes : Trust::No;
    m_literalStandsIn = m_inexact == Trust::No;
}

// Whether a test that fails costs little: the first decoder can go on after it, and nothing that it passes on the way
// is decoded again.
bool FrameSource::mayTest(const Anchor &anchor, const EntryPoint &point) const
{
    const FrameNumber end = anchor.numberAt(point.place + kCompared);
    const auto passed =
        std::count_if(m_toLoad.begin(), m_toLoad.end(), [&](FrameNumber number) { return number < end; });
    const bool goesOn = !m_refusedUpTo || *m_refusedUpTo < end; // Whoever decodes everything has not come farther.
    return (goesOn && passed <= m_limits.pictures) || isWithinBudget(end.value() + kCompared);
}

// While the first decoder goes on, the second one decodes on a thread.
bool FrameSource::restartsAlike(Anchor &anchor, const EntryPoint &point)
{
    PlanningRules all = rules(anchor);
    all.leavesOut = false;
    all.primeFrom = PictureIndex();
    const OutputIndex last = lastToCompare(stretchOf(anchor), point);
    std::optional<RunPlan> plan = planToPicture(pictures(), stretchOf(anchor), point, last, all);
    std::optional<DecodingTask> task = plan ? makeTask(std::move(*plan), stretchOf(anchor).at(last)) : std::nullopt;
    if (!task)
        return false;
    task->keepChecksums();
    std::future<DecodedPicture> second = begin(std::move(*task));
    const std::vector<FrameChecksum> expected = decodeChecksums(anchor, point, last);
    const DecodedPicture decoded = m_threads->wait(std::move(second));
    m_counters += decoded.counters;
    const bool isAlike = decoded.frame && decoded.checksums == expected;
    m_inVain += isAlike ? 0 : decoded.counters.picturesDecoded; // The first decoder may go on.
    return isAlike;
}

// Of the pictures from `point` on, by the decoder that began at the file's start; none where they are not as foreseen,
// or did not all come out soon after the last of them was decoded.
std::vector<FrameChecksum> FrameSource::decodeChecksums(const Anchor &anchor, const EntryPoint &point, OutputIndex last)
{
    const PictureIndex soonAfter = stretchOf(anchor).at(last) + kMostDelay;
    std::vector<FrameChecksum> checksums;
    while (point.place + static_cast<std::int64_t>(checksums.size()) <= last) {
        if (decodeLiterally(soonAfter) != LiteralRun::Step::Picture || m_literal->lastTrouble() >= point.picture)
            return {};
        const PictureIndex latest = m_literal->at(m_literal->end() - 1);
        const OutputIndex place = point.place + static_cast<std::int64_t>(checksums.size());
        if (latest == stretchOf(anchor).at(place))
            checksums.push_back(checksumOf(*m_frame));
        else if (!checksums.empty())
            return {};
    }
    return checksums;
}

} // namespace quorvale
