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
    while (const std::optional<Candidate> candidate = firstCandidate()) {
        const EntryPoint &point = candidate->point;
        if (!m_beginning && point.picture.value() + static_cast<std::int64_t>(kProof) > effort)
            break;
        if (!m_beginning)
            m_beginning = std::make_unique<Beginning>(makeWorker(), m_counters);
        Verdict verdict = judgeCandidate(*candidate);
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
            verdict = judgeCandidate(*candidate);
        }
        if (verdict == Verdict::Proven) {
            const std::vector<PictureIndex> &shown = m_beginning->shown();
            const auto at = std::find(shown.begin(), shown.end(), point.picture);
            m_anchor = Anchor{candidate->stretch, point.place, FrameNumber(std::int64_t{at - shown.begin()})};
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

// The first random access point that was not refuted.
std::optional<FrameSource::Candidate> FrameSource::firstCandidate()
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
            return Candidate{i, home.entryPoints()[point]};
        }
    }
    return std::nullopt;
}

FrameSource::Verdict FrameSource::judgeCandidate(const Candidate &candidate)
{
    const std::vector<PictureIndex> &shown = m_beginning->shown();
    const Stretch &home = m_scan.stretches().at(candidate.stretch);
    if (m_beginning->lastTrouble() >= candidate.point.picture)
        return Verdict::Refuted;
    const auto at = std::find(shown.begin(), shown.end(), candidate.point.picture);
    if (at == shown.end())
        return m_beginning->position() - candidate.point.picture > kMostDelay ? Verdict::Refuted : Verdict::Open;
    OutputIndex place = candidate.point.place;
    for (auto picture = at; picture != shown.end(); ++picture, ++place) {
        if (picture - at == static_cast<std::ptrdiff_t>(kProof))
            return Verdict::Proven;
        if (place >= home.certainEnd() || *picture != home.at(place))
            return Verdict::Refuted;
    }
    return shown.end() - at >= static_cast<std::ptrdiff_t>(kProof) ? Verdict::Proven : Verdict::Open;
}

} // namespace quorvale
