// What is worth trying. Nothing here makes a picture right or wrong; it only bounds what is decoded in vain.

#include "video/exact/framesource.h"

#include <algorithm>
#include <utility>

namespace quorvale {

namespace {

constexpr std::int64_t kInVainDivisor = 10; // of the pictures to the farthest one: so many may be decoded in vain
constexpr std::int64_t kBridgeDivisor = 2;  // likewise: so many may be decoded on bridges
constexpr std::int64_t kForeseenBridgeDivisor = 3;     // likewise, as far as can be told before the first
constexpr std::int64_t kWorthAfterBridge = 300;        // pictures for which reading exactly is taken up again
constexpr PictureIndex kWorthAnEnd{std::int64_t{100}}; // a file that ends before it is decoded as a whole for its end
constexpr std::int64_t kLongestWay = 300;              // pictures from an entry point; from the start on is no dearer
constexpr std::int64_t kUsualWay = 24;                 // pictures that are decoded for one in the groups of broadcasts
constexpr std::int64_t kLookedAtAfter = 33;            // pictures after a target that a doubt must not be in
constexpr std::int64_t kScannedAfter = 2 * kLookedAtAfter; // so that what casts a doubt on them was seen

} // namespace

void FrameSource::announce(const std::vector<FrameNumber> &numbers)
{
    dropAhead();
    m_announced = numbers;
    std::sort(m_announced.begin(), m_announced.end());
    m_announced.erase(std::unique(m_announced.begin(), m_announced.end()), m_announced.end());
    for (const FrameNumber number : numbers)
        m_horizon = std::max(m_horizon, number);
}

// Where a picture is certain to be refused, those before it are had for nothing from whoever decodes everything. What
// is read is kept: where the disk fails on the way, the pictures before that can still be had.
void FrameSource::lookAtProspects()
{
    const bool isFirst = !m_announced.empty();
    for (const FrameNumber number : std::exchange(m_announced, {})) {
        while (pictures().pictureEnd() <= pictureNear(number) + kScannedAfter && m_scan.readOn(&m_kept)) {
        }
        if (m_scan.hasFailed() || !isSurelyRefused(number)) {
            m_toLoad.push_back(number);
            continue;
        }
        m_toLoad.clear();
        const bool isWorthIt = m_horizon - number >= kWorthAfterBridge;
        m_refusedUpTo = isWorthIt ? number : m_horizon;
        if (!isWorthIt)
            break;
    }
    if (isFirst)
        testForAnnounced();
    loadAhead();
}

// As far as can be told before numbers are known.
bool FrameSource::isSurelyRefused(FrameNumber number) const
{
    const PictureIndex target = pictureNear(number);
    const PictureIndex end = pictures().pictureEnd();
    if (target >= end) // Whoever decodes everything is nearly there, if some before it were refused.
        return m_refusedUpTo || !isUndoubted() || (!pictures().isUndoubted() && end < kWorthAnEnd);
    PictureIndex first = target;
    while (first > PictureIndex() && pictures().picture(first).randomAccess == RandomAccess::None)
        first = first - 1;
    if (target - first > kLongestWay || isTooLong(first, target))
        return true;
    const PictureIndex last = std::min(end - kLookedAtAfter / 2, target + kLookedAtAfter);
    for (PictureIndex i = first; i < last; ++i) {
        if (pictures().picture(i).doubts != 0)
            return true;
    }
    const std::int64_t left = m_horizon - m_refusedUpTo.value_or(FrameNumber()); // for whoever decodes everything
    return bridgesBefore(first) > std::min(m_horizon.value() / kForeseenBridgeDivisor, left / kBridgeDivisor);
}

// Whether it would cost too much if it were in vain. From the start on everything can be decoded, which never is.
bool FrameSource::isTooLong(PictureIndex entry, PictureIndex target) const
{
    if (entry == PictureIndex())
        return false;
    PlanningRules rules;
    rules.coding = m_coding;
    const std::int64_t most = std::max(reach() / kInVainDivisor, kUsualWay);
    return picturesOnTheWay(pictures(), entry, target, rules) > most;
}

// The pictures that all bridges to picture `end` decode, at least. What is doubtful before the first anchor needs none.
std::int64_t FrameSource::bridgesBefore(PictureIndex end) const
{
    std::int64_t cost = 0;
    PictureIndex entry;   // the last random access point without a doubt
    PictureIndex begin;   // of the bridge
    PictureIndex runFrom; // from it on, no picture has a doubt
    bool isDoubted = true;
    bool isInRun = false;
    bool hasAnchor = false;
    for (PictureIndex i; i < end; ++i) {
        const CodedPicture &picture = pictures().picture(i);
        if (picture.doubts != 0) {
            begin = isDoubted ? begin : entry;
            isDoubted = true;
            isInRun = false;
        } else if (picture.randomAccess != RandomAccess::None) {
            entry = i;
            runFrom = isInRun ? runFrom : i;
            isInRun = true;
        }
        if (isDoubted && isInRun && i - runFrom >= proofFrom(pictures().picture(runFrom).randomAccess, hasAnchor)) {
            cost += hasAnchor ? i - begin : 0;
            hasAnchor = true;
            isDoubted = false;
        }
    }
    return hasAnchor && isDoubted ? cost + (end - begin) : cost;
}

// The pictures that decoding everything decodes, at least.
std::int64_t FrameSource::reach() const
{
    const std::int64_t farthest = m_horizon.value();
    return pictures().isFinished() ? std::min(farthest, pictures().pictureEnd().value()) : farthest;
}

// Whether up to `cost` pictures may be decoded that may be in vain, beside those that were.
bool FrameSource::isWithinBudget(std::int64_t cost) const
{
    // So is a run that stands in for decoding everything, where it ends for them.
    const std::int64_t ended = standsIn() ? m_literal->position().value() : 0;
    return m_inVain + ended + cost <= reach() / kInVainDivisor;
}

// Likewise. The first try is free: nothing speaks against it.
bool FrameSource::mayTry(std::int64_t cost) const
{
    return (m_inVain == 0 && !standsIn()) || isWithinBudget(cost);
}

bool FrameSource::mayBridge(std::int64_t cost) const
{
    return mayTry(cost) && m_onBridges + cost <= m_horizon.value() / kBridgeDivisor;
}

} // namespace quorvale
