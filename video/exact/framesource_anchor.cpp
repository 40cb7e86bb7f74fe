#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>

namespace quorvale {

namespace {

// Pictures from a random access point on that must come out as foreseen before it is an anchor. At the start of the
// file they only show that the forecast is right for this decoder.
constexpr std::int64_t kProof = 16;

constexpr PictureIndex kLastBeforeStretch{std::int64_t{300}}; // where the first stretch is to have begun
constexpr std::int64_t kLeastEffort = 48;    // pictures that are decoded in search of the first anchor at least
constexpr std::int64_t kEffortDivisor = 12;  // of what decoding everything costs, where that is more
constexpr std::int64_t kBeyondBridge = 64;   // pictures that a bridge may be longer than it looked
constexpr std::int64_t kBeyondHorizon = 100; // pictures after the wanted one in which an anchor is still looked for

} // namespace

// Pictures that a candidate must show to be as foreseen.
std::int64_t FrameSource::proofFrom(RandomAccess kind, bool isBridge)
{
    if (!isBridge)
        return kProof;
    const bool isClean = kind == RandomAccess::Idr || kind == RandomAccess::Bla || kind == RandomAccess::Cra;
    return isClean ? kProofAfterDamage : kLongProofAfterDamage;
}

// Decodes the beginning until the first random access point that can be counted from has shown its number.
bool FrameSource::hasFirstAnchor()
{
    if (!m_anchors.empty() || m_hopeless)
        return !m_anchors.empty();
    m_hopeless = true;
    while (m_scan.stretches().count() == 0 && pictures().pictureEnd() < kLastBeforeStretch && m_scan.readOn()) {
    }
    if (m_scan.stretches().count() == 0)
        return false;
    const PictureIndex last(std::max(kLeastEffort, m_horizon.value() / kEffortDivisor));
    const std::optional<Candidate> first = candidate(kBeforeFirstPicture, 0, false);
    if (!first || first->point.picture + kProof > last)
        return false;
    return beginFromStart() && searchAnchor(kBeforeFirstPicture, false, last, m_horizon + kBeyondHorizon);
}

// Decodes through a doubt, from the last random access point well before it on.
bool FrameSource::bridge(Anchor &from, FrameNumber wanted)
{
    if (from.wasBridgedFrom)
        return false;
    const Stretch &home = stretchOf(from);
    const OutputIndex last = provenEnd(from) - 1;
    const std::optional<EntryPoint> entry = last >= from.point.place ? entryFor(from, last) : std::nullopt;
    // Where everything is decoded anyway, that is the bridge.
    const bool goesOn = mayGoOn(wanted) && (from.betrayedFrom || standsIn() || !m_literalFromStart) &&
                        (!entry || m_literal->position() >= entry->picture);
    if (!entry && !goesOn)
        return false;
    PictureIndex trouble = home.end();
    if (from.betrayedFrom)
        trouble = std::min(trouble, home.at(*from.betrayedFrom));
    if (const std::optional<PictureIndex> tooDeep = home.firstDeeperThan(from.depth))
        trouble = std::min(trouble, *tooDeep);

    const std::optional<Candidate> first = candidate(trouble, 0, true);
    if (!first)
        return false;
    const PictureIndex end = first->point.picture + first->proof;
    if (goesOn) {
        if (!m_literalFromStart && !mayBridge(end - m_literal->position()))
            return false;
        const std::int64_t before = m_counters.picturesDecoded;
        const bool isFound = searchAnchor(trouble, true, end + kBeyondBridge, wanted);
        m_onBridges += m_literalFromStart ? 0 : m_counters.picturesDecoded - before;
        return isFound;
    }
    // A bridge must cost less than decoding up to the farthest picture that was asked for.
    const std::int64_t effort = m_horizon - from.numberAt(entry->place) + kBeyondHorizon;
    const std::int64_t cost = end - entry->picture;
    if (cost > effort || !mayBridge(cost) || !beginBridge(from, *entry))
        return false;
    from.wasBridgedFrom = true;
    const std::int64_t before = m_counters.picturesDecoded;
    const bool isFound = searchAnchor(trouble, true, entry->picture + std::min(effort, cost + kBeyondBridge),
                                      m_horizon + kBeyondHorizon);
    m_onBridges += m_counters.picturesDecoded - before;
    m_inVain += isFound ? 0 : m_counters.picturesDecoded - before;
    m_literalIsPlain = isFound; // The proof shows it.
    return isFound;
}

// A literal run from a random access point on.
bool FrameSource::beginBridge(Anchor &from, const EntryPoint &entry)
{
    if (!knowsDepth(from, entry.picture) || !prepareWorker(entry.picture))
        return false;
    std::optional<StartPlan> start = planStart(pictures(), entry.picture, rules(from));
    if (!start)
        return false;
    start->strict = false;
    if (!m_worker->start(*start, m_counters))
        return false;
    m_literal = std::make_unique<LiteralRun>(std::move(m_worker), m_counters, pictures(), entry.picture,
                                             from.numberAt(entry.place), start->ways);
    m_literalFromStart = false;
    m_literalIsPlain = false;
    m_literalStandsIn = false;
    return true;
}

// Decodes on until a random access point after picture `after` is proven, but not beyond picture `last`, nor beyond the
// one with the number `lastNumber`.
bool FrameSource::searchAnchor(PictureIndex after, bool isBridge, PictureIndex last, FrameNumber lastNumber)
{
    for (std::size_t refuted = 0;; ++refuted) {
        const std::optional<Candidate> found = candidate(after, refuted, isBridge);
        if (!found)
            return false;
        Verdict verdict = judge(*found);
        while (verdict == Verdict::Open) {
            if (m_literal->position() >= last || m_literal->end() > lastNumber)
                return false;
            const LiteralRun::Step step = decodeLiterally(last + kMostDelay);
            if (step == LiteralRun::Step::NeedsPacket && m_literalIsPlain)
                endAt(m_literal->end(), m_horizon);
            if (step != LiteralRun::Step::Picture)
                return false;
            verdict = judge(*found);
        }
        if (verdict == Verdict::Proven) {
            Anchor anchor;
            anchor.stretch = found->stretch;
            anchor.point = found->point;
            anchor.number = *m_literal->numberOf(found->point.picture);
            anchor.depth = m_literal->depth();
            m_anchors.push_back(anchor);
            // A point that may not be used leads nowhere.
            m_literalStandsIn = m_literalStandsIn && m_inexact == Trust::No && anchor.point.isInexact;
            return true;
        }
    }
}

// The next random access point after picture `after` with enough pictures for a proof, after `passedOver` others.
std::optional<FrameSource::Candidate> FrameSource::candidate(PictureIndex after, std::size_t passedOver, bool isBridge)
{
    const PictureIndex farthest = std::max(after, pictureNear(m_horizon)) + kBeyondHorizon;
    for (std::size_t i = 0;; ++i) {
        while (i >= m_scan.stretches().count() && pictures().pictureEnd() < farthest && m_scan.readOn()) {
        }
        if (i >= m_scan.stretches().count())
            return std::nullopt;
        const Stretch &home = m_scan.stretches().at(i);
        for (std::size_t point = 0;; ++point) {
            while (home.entryPoints().size() <= point && !home.isClosed() && pictures().pictureEnd() < farthest &&
                   m_scan.readOn()) {
            }
            if (home.entryPoints().size() <= point)
                break;
            const EntryPoint found = home.entryPoints()[point]; // a copy: scanning adds points
            const std::int64_t proof = proofFrom(pictures().picture(found.picture).randomAccess, isBridge);
            while (home.certainEnd() - found.place < proof && !home.isClosed() && m_scan.readOn()) {
            }
            if (found.picture > after && home.certainEnd() - found.place >= proof && passedOver-- == 0)
                return Candidate{i, found, proof};
        }
    }
}

FrameSource::Verdict FrameSource::judge(const Candidate &candidate) const
{
    const Stretch &home = m_scan.stretches().at(candidate.stretch);
    if (m_literal->lastTrouble() >= candidate.point.picture)
        return Verdict::Refuted;
    const std::optional<FrameNumber> number = m_literal->numberOf(candidate.point.picture);
    if (!number) {
        const bool isLate = m_literal->position() - candidate.point.picture > kMostDelay;
        return isLate ? Verdict::Refuted : Verdict::Open;
    }
    OutputIndex place = candidate.point.place;
    for (FrameNumber shown = *number; shown < m_literal->end(); ++shown, ++place) {
        if (place - candidate.point.place == candidate.proof)
            return Verdict::Proven;
        if (m_literal->at(shown) != home.at(place))
            return Verdict::Refuted;
    }
    return place - candidate.point.place == candidate.proof ? Verdict::Proven : Verdict::Open;
}

} // namespace quorvale
