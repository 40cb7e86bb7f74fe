#include "video/exact/skipahead.h"

namespace {

constexpr std::int64_t kLookAhead = 3;       // packets: as far as one packet can cast doubt on an earlier one
constexpr std::int64_t kShortestProof = 12;  // pictures, and up to a key picture
constexpr std::int64_t kLongestProof = 40;   // pictures, where no key picture comes before
constexpr std::int64_t kOldestAnchor = 4096; // packets: what is kept of them must not grow for ever
constexpr std::int64_t kWithoutAnchor = 128; // packets that are kept until one of them is an anchor

} // namespace

bool SkipAhead::take(AVPacket &packet)
{
    if (!ahead.take(packet))
        return false;
    while (window().packetEnd() - ahead.next() < kLookAhead && ahead.fill()) {
    }
    if (window().facts(this->packet()).doubts != 0)
        strictNow = false;
    if (anchor && ahead.next() - window().picture(anchor->picture).firstPacket > kOldestAnchor)
        loseAnchor();
    if (!anchor)
        window().discardBeforePacket(ahead.next() - kWithoutAnchor);
    return true;
}

void SkipAhead::dropStaleAnchor()
{
    if (anchor && window().lastDoubtBefore(ahead.next()) >= window().picture(anchor->picture).firstPacket)
        loseAnchor();
}

void SkipAhead::loseAnchor()
{
    anchor.reset();
    proven = false;
    provenPictures = 0;
}

void SkipAhead::becomeAnchor(std::int64_t picture, std::int64_t number)
{
    anchor = Anchor{picture, number, window().pictureOf(packet()) - picture};
    window().picture(picture).delivered = true;
    window().discardBefore(picture);
}

bool SkipAhead::canBeAnchor(std::int64_t picture) const
{
    const CodedPicture &candidate = window().picture(picture);
    return candidate.closedKey && candidate.firstPacket >= soundFrom &&
           candidate.firstPacket > window().lastDoubtBefore(ahead.next());
}

// Whether pictures are delivered with the same one of the packets of a frame in two fields every time.
bool SkipAhead::phaseHolds()
{
    const CodedPicture &current = window().picture(window().pictureOf(packet()));
    if (current.firstPacket == current.lastPacket)
        return true;
    const Phase seen = packet() == current.firstPacket ? Phase::FirstPacket : Phase::LastPacket;
    if (phase == Phase::Unknown)
        phase = seen;
    return phase == seen;
}

bool SkipAhead::completesStep() const
{
    const CodedPicture &current = window().picture(window().pictureOf(packet()));
    return packet() == (phase == Phase::FirstPacket ? current.firstPacket : current.lastPacket);
}

std::int64_t SkipAhead::earliestUndelivered() const
{
    const CodedPicture &first = window().picture(anchor->picture);
    std::int64_t earliest = -1;
    for (std::int64_t i = anchor->picture + 1; i <= window().pictureOf(packet()); ++i) {
        const CodedPicture &picture = window().picture(i);
        if (!picture.delivered && !picture.comesBefore(first) &&
            (earliest < 0 || picture.comesBefore(window().picture(earliest))))
            earliest = i;
    }
    return earliest;
}

bool SkipAhead::continues(std::int64_t picture, std::int64_t number, bool row) const
{
    const std::int64_t delivering = anchor->picture + (number - anchor->number) + anchor->delay;
    return picture > anchor->picture && picture == earliestUndelivered() &&
           window().pictureOf(packet()) == delivering && window().picture(picture).tableRow == row;
}

void SkipAhead::delivered(std::int64_t firstPacket, std::int64_t number, bool sound, bool row)
{
    if (!sound)
        failed();
    lastNumber = number;
    dropStaleAnchor();
    const bool known = window().holdsPacket(firstPacket) && firstPacket <= packet();
    const std::int64_t picture = known ? window().pictureOf(firstPacket) : -1;
    const bool inPhase = phaseHolds();

    if (anchor && (!known || !inPhase || !continues(picture, number, row))) {
        surprised = surprised || hasSkipped;
        soundFrom = ahead.next();
        loseAnchor();
        return;
    }
    if (!known)
        return;
    if (anchor) {
        window().picture(picture).delivered = true;
        ++provenPictures;
        const bool key = canBeAnchor(picture);
        proven = proven || provenPictures >= kLongestProof || (key && provenPictures >= kShortestProof);
        if (key)
            becomeAnchor(picture, number);
    } else if (inPhase && canBeAnchor(picture)) {
        becomeAnchor(picture, number);
    }
}

void SkipAhead::failed()
{
    // Where a packet was doubtful before, complaints are no surprise.
    surprised = surprised || (hasSkipped && anchor && window().facts(packet()).doubts == 0);
    window().doubtPacket(packet(), kDecoderFailed);
}

bool SkipAhead::trusted()
{
    dropStaleAnchor();
    return !hasSkipped || (anchor && !surprised);
}
