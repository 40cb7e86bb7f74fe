// Decoding everything, as the literal reader does it: from the start of the file, or from so far before a picture that
// the decoder's state is the same when it comes.

#include "video/exact/framesource.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace quorvale {

FrameSource::Status FrameSource::findFromStart(FrameNumber number)
{
    if (m_literal && m_literal->end() > number)
        m_literal.reset();
    return beginFromStart() ? goOnLiterally(number) : Status::Failed;
}

// Has a literal run that goes on, or begins, from the start of the file; false without a decoder.
bool FrameSource::beginFromStart()
{
    if (m_literal && m_literalFromStart)
        return true;
    std::unique_ptr<DecodingWorker> worker = makeWorker();
    if (!worker)
        return false;
    m_literal = std::make_unique<LiteralRun>(std::move(worker), m_counters);
    m_literalFromStart = true;
    m_literalIsPlain = true;
    m_literalStandsIn = false;
    return true;
}

// Whether the literal run in hand, which delivers what plain decoding does, has just delivered it.
bool FrameSource::isDecodedPlainly(FrameNumber number) const
{
    return m_frameNumber == number && m_literal && m_literalIsPlain;
}

// Whether the literal run in hand delivers what plain decoding does, and has come as far as whoever decodes everything.
bool FrameSource::mayGoOn(FrameNumber number) const
{
    return m_literal && m_literalIsPlain && m_literal->end() <= number && m_literal->end() >= m_plainUpTo;
}

// Whether the literal run in hand is to go on to the picture, for which no task has begun: a run of its own would be
// longer, or, where it failed soon after a bridge, have made that vain.
bool FrameSource::isNearer(Anchor &anchor, OutputIndex place)
{
    const FrameNumber number = anchor.numberAt(place);
    if (!mayGoOn(number) || m_ahead.count(number) > 0)
        return false;
    const std::optional<EntryPoint> entry = entryFor(anchor, place);
    if (!entry)
        return false;
    const bool isAfterBridge = &anchor != &m_anchors.front() && m_literal->end() >= anchor.number;
    if (isAfterBridge && !entryWellBefore(anchor, entry->place))
        return true;
    return number - m_literal->end() <
           picturesOnTheWay(pictures(), entry->picture, stretchOf(anchor).at(place), rules(anchor));
}

// Goes on where whoever decodes everything would have to be asked.
FrameSource::Status FrameSource::standIn(FrameNumber number)
{
    if (!mayGoOn(number))
        return Status::NotProven;
    m_literalStandsIn = true;
    return goOnLiterally(number);
}

FrameSource::Status FrameSource::goOnLiterally(FrameNumber number)
{
    while (m_literal->end() <= number) {
        switch (decodeLiterally(kToTheEnd)) {
        case LiteralRun::Step::Picture:
            break;
        case LiteralRun::Step::NeedsPacket:
            return endAt(m_literal->end(), number);
        case LiteralRun::Step::Stopped:
        case LiteralRun::Step::Failed:
            return Status::Failed;
        }
    }
    return Status::Found;
}

// The next picture of the literal run, for which it decodes up to coded picture `last`; NeedsPacket at the end of the
// file only.
LiteralRun::Step FrameSource::decodeLiterally(PictureIndex last)
{
    for (;;) {
        const bool isAll = pictures().isFinished();
        const LiteralRun::Step step = m_literal->next(pictures(), *m_nextFrame, last);
        if (step == LiteralRun::Step::Picture) {
            takeNextFrame();
            m_frameNumber = m_literal->end() - 1;
            keepPassed(*m_frameNumber);
        }
        if (step != LiteralRun::Step::NeedsPacket || isAll)
            return step;
        m_scan.readOn();
        if (m_scan.hasFailed())
            return LiteralRun::Step::Failed;
    }
}

// A run did not decode as foreseen: something is damaged that shows in no header.
FrameSource::Status FrameSource::findAfterBetrayal(Anchor &anchor, FrameNumber number)
{
    for (auto &[announced, ahead] : m_ahead)
        finish(ahead); // One decoder more would be one too many.
    if (!mayGoOn(number) && !beginWellBefore(anchor, *anchor.betrayedFrom)) {
        m_literal.reset();
        if (m_plainUpTo > FrameNumber() || !beginFromStart())
            return Status::NotProven;
    }
    return goOnLiterally(number);
}

// The random access point from which as many pictures are to come out before `trouble` as show, for a bridge, that the
// decoder's state is that of plain decoding.
std::optional<EntryPoint> FrameSource::entryWellBefore(Anchor &anchor, OutputIndex trouble)
{
    for (const std::int64_t proof : {kProofAfterDamage, kLongProofAfterDamage}) {
        const OutputIndex last = trouble - proof;
        const std::optional<EntryPoint> entry = last >= anchor.point.place ? entryFor(anchor, last) : std::nullopt;
        if (entry && proofFrom(pictures().picture(entry->picture).randomAccess, true) <= proof)
            return entry;
    }
    return std::nullopt;
}

// From there on, if they do. Where there is hidden damage on the way, once more from before that.
bool FrameSource::beginWellBefore(Anchor &anchor, OutputIndex trouble)
{
    for (int tries = 0; tries < 2; ++tries) {
        const std::optional<EntryPoint> entry = entryWellBefore(anchor, trouble);
        if (!entry || anchor.numberAt(entry->place) < m_plainUpTo || !beginBridge(anchor, *entry))
            return false;
        const std::int64_t proof = proofFrom(pictures().picture(entry->picture).randomAccess, true);
        const Candidate known = {anchor.stretch, *entry, proof};
        const std::int64_t before = m_counters.picturesDecoded;
        Verdict verdict = judge(known);
        while (verdict == Verdict::Open && decodeLiterally(kToTheEnd) == LiteralRun::Step::Picture)
            verdict = judge(known);
        m_literalIsPlain = verdict == Verdict::Proven;
        if (m_literalIsPlain)
            return true;
        m_inVain += m_counters.picturesDecoded - before;
        if (m_literal->lastTrouble() < entry->picture)
            return false;
        trouble =
            std::min(stretchOf(anchor).placeWithoutReordering(m_literal->lastTrouble()), entry->place + (proof - 1));
    }
    return false;
}

// The last picture was the latest to come out of the literal run.
FrameSource::Status FrameSource::endAt(FrameNumber end, FrameNumber wanted)
{
    m_fileEnd = end;
    // Where there is damage, whoever goes back may find pictures that it has cost before.
    const bool isDamaged = std::any_of(m_anchors.begin(), m_anchors.end(),
                                       [](const Anchor &anchor) { return anchor.betrayedFrom.has_value(); });
    if (isDamaged && wanted > end && wanted.value() <= pictures().packetEnd().value())
        return Status::NotProven;
    if (wanted >= end)
        return Status::PastEnd;
    return m_frameNumber == wanted ? Status::Found : Status::NotProven;
}

} // namespace quorvale
