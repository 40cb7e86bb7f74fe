#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>

namespace quorvale {

namespace {

constexpr std::size_t kProof = 16; // pictures that must come out as foreseen, the anchor's own among them
// Pictures after which the first stretch is to begin, and those that are decoded in search of an anchor at least.
constexpr std::int64_t kMostBeforeStretch = 300;
constexpr std::int64_t kLeastEffort = 48;
// What may be in vain of what decoding everything costs.
constexpr std::int64_t kEffortDivisor = 12;
// Pictures that come out while one waits for its turn, at most.
constexpr std::int64_t kMostDelay = 2 * kMostReordering;

} // namespace

bool FrameSource::scanToFirstStretch()
{
    while (m_scan.stretches().count() == 0 && pictures().pictureEnd().value() < kMostBeforeStretch && m_scan.readOn()) {
    }
    return m_scan.stretches().count() > 0;
}

// Decodes the beginning until the first random access point that can be counted from has shown its number, and the
// pictures after it came out as foreseen. `horizon`: the last picture that it is done for.
bool FrameSource::anchorIsProven(FrameNumber horizon)
{
    const std::int64_t effort = std::max(kLeastEffort, horizon.value() / kEffortDivisor);
    if (m_hopeless || !scanToFirstStretch()) {
        m_hopeless = true;
        return false;
    }
    while (const std::optional<Anchor> candidate = firstCandidate()) {
        const Stretch &home = m_scan.stretches().at(candidate->stretch);
        const EntryPoint point = {home.at(candidate->place), candidate->place};
        if (!m_beginning && point.picture.value() + static_cast<std::int64_t>(kProof) > effort)
            break;
        if (!m_beginning)
            m_beginning = std::make_unique<Beginning>(makeWorker(), m_counters);
        Verdict verdict = judgeCandidate(candidate->stretch, point);
        while (verdict == Verdict::Open && m_beginning->position().value() < effort) {
            const Beginning::Step step = decodeBeginning();
            if (step == Beginning::Step::NeedsPacket) {
                endAt(FrameNumber(m_beginning->shown().size()), horizon);
                return false;
            }
            if (step == Beginning::Step::Failed) {
                m_hopeless = true;
                return false;
            }
            verdict = judgeCandidate(candidate->stretch, point);
        }
        if (verdict == Verdict::Proven) {
            m_anchor = candidate;
            m_depth = m_beginning->depth();
            return true;
        }
        if (verdict == Verdict::Open)
            break;
        ++m_refuted;
    }
    m_hopeless = true;
    return false;
}

// The first random access point that was not refuted, without its number where it was not shown yet.
std::optional<Anchor> FrameSource::firstCandidate()
{
    std::size_t passed = 0;
    for (std::size_t i = 0; i < m_scan.stretches().count(); ++i) {
        const Stretch &home = m_scan.stretches().at(i);
        const auto needed = static_cast<std::int64_t>(kProof);
        for (std::size_t point = 0;; ++point) {
            const auto enough = [&] {
                return home.entryPoints().size() > point &&
                       home.certainEnd() - home.entryPoints()[point].place >= needed;
            };
            while (!enough() && !home.isClosed() && m_scan.readOn()) {
            }
            if (!enough())
                break;
            if (passed++ < m_refuted)
                continue;
            const EntryPoint &found = home.entryPoints()[point];
            Anchor anchor = {i, found.place, FrameNumber()};
            if (m_beginning) {
                const std::vector<PictureIndex> &shown = m_beginning->shown();
                const auto at = std::find(shown.begin(), shown.end(), found.picture);
                anchor.number = FrameNumber(static_cast<std::int64_t>(at - shown.begin()));
            }
            return anchor;
        }
    }
    return std::nullopt;
}

FrameSource::Verdict FrameSource::judgeCandidate(std::size_t stretchIndex, const EntryPoint &candidate)
{
    const std::vector<PictureIndex> &shown = m_beginning->shown();
    const Stretch &home = m_scan.stretches().at(stretchIndex);
    if (m_beginning->lastTrouble() >= candidate.picture)
        return Verdict::Refuted;
    const auto at = std::find(shown.begin(), shown.end(), candidate.picture);
    if (at == shown.end())
        return m_beginning->position() - candidate.picture > kMostDelay ? Verdict::Refuted : Verdict::Open;
    OutputIndex place = candidate.place;
    for (auto picture = at; picture != shown.end(); ++picture, ++place) {
        if (picture - at == static_cast<std::ptrdiff_t>(kProof))
            return Verdict::Proven;
        if (place >= home.certainEnd() || *picture != home.at(place))
            return Verdict::Refuted;
    }
    return shown.end() - at >= static_cast<std::ptrdiff_t>(kProof) ? Verdict::Proven : Verdict::Open;
}

} // namespace quorvale
